// DOM_ParseGuarded against DOM_Parse on the whole end-to-end suite, the
// inputs of the limits suite and every corpus document: on each input on
// which DOM_Parse returns, both return the same result and images that are
// equal byte for byte. Where the guarded parse ends with one of its own codes,
// DOM_Parse is run in a child process and shown not to come back normally.

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include "domparse.h"
#include "support/case_files.h"
#include "support/padded_parse.h"

namespace {

using PaddedParse::Outcome;

struct Input {
    std::string name;
    std::vector<std::uint8_t> bytes;
    std::uint32_t inputKind = DOM_INPUT_BYTES;
    std::uint16_t recordVersion = DOM_RECORD_VERSION;
};

bool isGuardedCode(std::uint32_t result)
{
    return result == DOM_RESULT_NO_BODY || result == DOM_RESULT_NEVER_ENDS ||
           result == DOM_RESULT_BARE_BYTE_ORDER_MARK;
}

// Runs DOM_Parse on `input` in a child process that an alarm ends after
// `seconds`. True when the child came back from the call with a result code.
bool faithfulReturnsInAChild(const Input& input, unsigned seconds)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        alarm(seconds);
        std::vector<std::uint8_t> buffer(input.bytes);
        buffer.resize(input.bytes.size() + DOM_INPUT_PADDING, 0);
        DOM_ParseRecord record{};
        record.version = input.recordVersion;
        record.inputKind = input.inputKind;
        HGLOBAL handle = nullptr;
        const std::uint32_t result = DOM_Parse(
            buffer.data(), static_cast<std::uint32_t>(input.bytes.size()), &handle, &record);
        // Out of memory (result 3) counts as coming back: the text that ends
        // in "<" may get there within the alarm on a small machine.
        _exit(result == DOM_RESULT_OUT_OF_MEMORY ? 90 : static_cast<int>(100 + result));
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return true;
    return WIFEXITED(status) && WEXITSTATUS(status) >= 100 && WEXITSTATUS(status) < 200;
}

struct Tally {
    int equal = 0;
    int guardedOnly = 0;
};

// Compares the two libraries on one input; returns whether the guarded parse
// ended with a code of its own.
void compare(const Input& input, Tally& tally)
{
    const Outcome guarded = PaddedParse::run(DOM_ParseGuarded, input.bytes.data(),
                                             input.bytes.size(), input.inputKind,
                                             input.recordVersion);
    if (isGuardedCode(guarded.result)) {
        EXPECT_EQ(guarded.imageSize, 0u) << input.name;
        EXPECT_FALSE(faithfulReturnsInAChild(input, 2))
            << input.name << ": DOM_Parse came back where the guarded parse gave "
            << guarded.result;
        ++tally.guardedOnly;
        return;
    }
    const Outcome faithful = PaddedParse::run(DOM_Parse, input.bytes.data(), input.bytes.size(),
                                              input.inputKind, input.recordVersion);
    EXPECT_EQ(guarded.result, faithful.result) << input.name;
    EXPECT_EQ(guarded.imageSize, faithful.imageSize) << input.name;
    EXPECT_TRUE(guarded.image == faithful.image) << input.name << ": the images differ";
    ++tally.equal;
}

TEST(GuardedEquality, EndToEndCases)
{
    const std::vector<CaseFiles::Case> cases = CaseFiles::loadFolder(
        std::filesystem::path(DOMPARSE_SOURCE_DIR) / "tests" / "e2e" / "cases");
    ASSERT_GE(cases.size(), 150u);
    Tally tally;
    for (const CaseFiles::Case& c : cases) {
        compare({c.where(), c.input, c.inputKind, c.recordVersion}, tally);
    }
    // Every case of the suite returns under DOM_Parse.
    EXPECT_EQ(tally.equal, static_cast<int>(cases.size()));
    EXPECT_EQ(tally.guardedOnly, 0);
}

TEST(GuardedEquality, InputsOfTheLimitsSuite)
{
    // The inputs on which DOM_Parse faults or turns for ever, and their
    // neighbours that return.
    const std::vector<Input> inputs{
        {"paragraph then <", {'<', 'p', '>', 'x', '<'}},
        {"attribute name and space", {'<', 'a', ' ', 'b', ' '}},
        {"two spaces", {'<', 'p', '>', 'x', '<', 'a', ' ', 'b', ' ', ' '}},
        {"html after doctype", std::vector<std::uint8_t>(
             {'<', '!', 'D', 'O', 'C', 'T', 'Y', 'P', 'E', ' ', 'h', 't', 'm', 'l', '>', '<', 'h',
              't', 'm', 'l', '>', '<', 'p', '>', 'x'})},
        {"doctype then paragraph",
         {'<', '!', 'D', 'O', 'C', 'T', 'Y', 'P', 'E', ' ', 'h', 't', 'm', 'l', '>', '<', 'p', '>',
          'x'}},
        {"empty UTF-16", {}, DOM_INPUT_UTF16},
        {"one byte of UTF-16", {'x'}, DOM_INPUT_UTF16},
        {"bare little-endian mark", {0xFF, 0xFE}},
        {"bare big-endian mark", {0xFE, 0xFF}},
        {"bare UTF-8 mark", {0xEF, 0xBB, 0xBF}},
        {"big-endian mark and a unit", {0xFE, 0xFF, 0x00, 0x41}},
    };
    Tally tally;
    for (const Input& input : inputs) compare(input, tally);
    EXPECT_EQ(tally.equal, 3);
    EXPECT_EQ(tally.guardedOnly, 8);
}

TEST(GuardedEquality, CorpusDocuments)
{
    const std::vector<PaddedParse::Document> documents = PaddedParse::corpusDocuments();
    ASSERT_FALSE(documents.empty())
        << "no corpus documents in " << PaddedParse::corpusFolder()
        << ": the comparison needs the corpus beside the source tree";
    Tally tally;
    for (const PaddedParse::Document& document : documents) {
        compare({document.name, document.bytes}, tally);
        // The same bytes handed over as UTF-16 text.
        compare({document.name + " as UTF-16", document.bytes, DOM_INPUT_UTF16}, tally);
    }
    EXPECT_EQ(tally.equal + tally.guardedOnly, static_cast<int>(2 * documents.size()));
    std::printf("corpus: %d inputs equal, %d ended by the guarded build alone\n", tally.equal,
                tally.guardedOnly);
}

}  // namespace
