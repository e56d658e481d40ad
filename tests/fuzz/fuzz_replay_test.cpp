// The fuzz targets of fuzz/ as ordinary functions: every saved finding of
// fuzz/regressions/TARGET/ replayed through its target, and each target run
// on the end-to-end cases, so that the harness itself is tested in every
// build, sanitizer builds included. A broken promise throws Finding here,
// where under libFuzzer it aborts. Also the rerun of the dictionary generator.

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "domparse.h"
#include "fuzz_support.h"
#include "support/case_files.h"
#include "support/padded_parse.h"

namespace {

namespace fs = std::filesystem;
using Target = int (*)(const std::uint8_t*, std::size_t);

// The parts one after the other. (Appended: GCC 12 warns falsely about a
// literal put in front of a temporary string, -Wrestrict.)
template <typename... Parts>
std::string joined(const Parts&... parts)
{
    std::string text;
    (text += ... += parts);
    return text;
}

struct NamedTarget {
    const char* name;
    Target run;
};

const NamedTarget kTargets[] = {
    {"parse_bytes", DomparseFuzz::fuzzParseBytes},
    {"parse_utf16", DomparseFuzz::fuzzParseUtf16},
    {"prescan_decode", DomparseFuzz::fuzzPrescanDecode},
    {"image_reader", DomparseFuzz::fuzzImageReader},
};

// Runs one input through a target; a finding fails the test with its name.
void replay(const NamedTarget& target, const std::vector<std::uint8_t>& input,
            const std::string& what)
{
    try {
        target.run(input.data(), input.size());
    } catch (const DomparseFuzz::Finding& finding) {
        ADD_FAILURE() << target.name << " on " << what << ": " << finding.what();
    }
}

std::vector<CaseFiles::Case> endToEndCases()
{
    return CaseFiles::loadFolder(fs::path(DOMPARSE_SOURCE_DIR) / "tests" / "e2e" / "cases");
}

TEST(FuzzRegressions, EverySavedInputPassesItsTarget)
{
    const fs::path folder = fs::path(DOMPARSE_SOURCE_DIR) / "fuzz" / "regressions";
    std::size_t replayed = 0;
    for (const NamedTarget& target : kTargets) {
        const fs::path inputs = folder / target.name;
        ASSERT_TRUE(fs::is_directory(inputs)) << inputs;
        for (const auto& entry : fs::directory_iterator(inputs)) {
            if (!entry.is_regular_file() || entry.path().filename() == "README") continue;
            replay(target, PaddedParse::readFile(entry.path()), entry.path().string());
            ++replayed;
        }
    }
    std::printf("%zu saved inputs replayed\n", replayed);
}

TEST(FuzzTargets, ParseTheEndToEndCasesAsBytesAndAsUtf16)
{
    std::size_t cases = 0;
    for (const CaseFiles::Case& c : endToEndCases()) {
        replay(kTargets[c.inputKind == DOM_INPUT_UTF16 ? 1 : 0], c.input, c.where());
        ++cases;
    }
    EXPECT_GE(cases, 150u);
}

TEST(FuzzTargets, TakeTheInputsThatNeverEndOrFaultAsResults)
{
    // Under DOM_Parse these end or hold the process; the targets go through
    // the guarded library, where they are result codes.
    for (const std::string& text :
         {std::string("<p>x<"), std::string("<a b "), std::string("<!DOCTYPE html><html><p>x"),
          std::string("\xFE\xFF"), std::string("\xEF\xBB\xBF"), std::string()}) {
        const std::vector<std::uint8_t> bytes(text.begin(), text.end());
        replay(kTargets[0], bytes, "a required behaviour");
        replay(kTargets[1], bytes, "a required behaviour as UTF-16");
    }
}

TEST(FuzzTargets, RunEveryDecoderAndTheInputStage)
{
    // The first byte chooses: below 0x80 the whole input stage, from 0x80 on
    // the decoder of one charset table row.
    const std::string text = "<meta charset=koi8-r>\r\n\x82\xA0\xE3\x81\x82 <p>\r";
    for (unsigned selector = 0; selector < 256; ++selector) {
        std::vector<std::uint8_t> input{static_cast<std::uint8_t>(selector)};
        input.insert(input.end(), text.begin(), text.end());
        replay(kTargets[2], input, joined("selector ", std::to_string(selector)));
    }
    for (const CaseFiles::Case& c : endToEndCases()) {
        std::vector<std::uint8_t> input{0x00};
        input.insert(input.end(), c.input.begin(), c.input.end());
        replay(kTargets[2], input, c.where());
    }
}

TEST(FuzzTargets, ReadImagesAndEveryTruncationOfOne)
{
    std::vector<std::uint8_t> image;
    for (const CaseFiles::Case& c : endToEndCases()) {
        const PaddedParse::Outcome outcome = PaddedParse::run(
            DOM_ParseGuarded, c.input.data(), c.input.size(), c.inputKind, c.recordVersion);
        if (outcome.result != DOM_RESULT_OK) continue;
        replay(kTargets[3], outcome.image, c.where());
        if (outcome.image.size() > image.size()) image = outcome.image;
    }
    ASSERT_FALSE(image.empty());
    for (std::size_t size = 0; size < image.size(); ++size) {
        const std::vector<std::uint8_t> cut(image.begin(),
                                            image.begin() + static_cast<std::ptrdiff_t>(size));
        replay(kTargets[3], cut, joined("an image cut to ", std::to_string(size)));
    }
}

TEST(FuzzDictionaries, CommittedFilesAreWhatTheGeneratorMakes)
{
    const fs::path source = DOMPARSE_SOURCE_DIR;
    const fs::path output =
        fs::temp_directory_path() / joined("domparse_fuzz_dictionaries_", std::to_string(::getpid()));
    fs::remove_all(output);
    const std::string command = joined("python3 '", (source / "fuzz" / "gen_dictionaries.py").string(),
                                       "' '", output.string(), "'");
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    for (const char* name : {"markup.dict", "markup_utf16.dict", "prescan.dict", "image.dict"}) {
        const std::vector<std::uint8_t> made = PaddedParse::readFile(output / name);
        EXPECT_FALSE(made.empty()) << name;
        EXPECT_TRUE(made == PaddedParse::readFile(source / "fuzz" / "dictionaries" / name)) << name;
    }
    fs::remove_all(output);
}

}  // namespace
