// Parses on several threads at once give the images of the same parses made
// one after the other. Every parse keeps its state in objects of its own call
// (the image writer's string table included); the one state parses share is
// the character of the reference rules that attribute values set and the
// reference after them clears, which is atomic and can change only which
// parse errors are reported, never an image. Run under ThreadSanitizer by
// `make test-tsan`, where any data race is a failure.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "domparse.h"
#include "support/case_files.h"
#include "support/padded_parse.h"

namespace {

using PaddedParse::Outcome;

constexpr int kThreads = 8;
#if defined(DOMPARSE_SANITIZED)
constexpr int kRounds = 2;
#else
constexpr int kRounds = 6;
#endif

struct Input {
    std::vector<std::uint8_t> bytes;
    std::uint32_t inputKind = DOM_INPUT_BYTES;
};

// The end-to-end cases that parse (none of them faults), documents full of
// references next to attribute values, so that the shared character is set
// and cleared on every thread, and the heads of a few corpus documents.
std::vector<Input> inputs()
{
    std::vector<Input> all;
    for (const CaseFiles::Case& c : CaseFiles::loadFolder(
             std::filesystem::path(DOMPARSE_SOURCE_DIR) / "tests" / "e2e" / "cases")) {
        if (c.recordVersion != DOM_RECORD_VERSION) continue;
        all.push_back({c.input, c.inputKind});
    }
    for (int variant = 0; variant < 16; ++variant) {
        std::string text;
        for (int i = 0; i < 200; ++i) {
            // Appended piece by piece: GCC 12 warns falsely (-Wrestrict) about
            // a literal put in front of a temporary string.
            text += "<p a=\"x&amp;";
            text += std::to_string(i + variant);
            text += "\" b='&quot;' c=y&gt>&\"&'&>&amp;&notin;&#65;&lt;x;</p>";
        }
        all.push_back({std::vector<std::uint8_t>(text.begin(), text.end())});
    }
    for (const char* name : {"rd-001.html", "parse5-cern.html", "gumbo-hacker-news.html"}) {
        PaddedParse::Document document = PaddedParse::corpusDocument(name);
        if (document.bytes.size() > (std::size_t{32} << 10)) document.bytes.resize(std::size_t{32} << 10);
        if (!document.bytes.empty()) all.push_back({document.bytes});
    }
    return all;
}

// The parse of input `index`, through DOM_Parse for even indices and through
// the guarded library for odd ones, so that both libraries run at once.
Outcome parse(const std::vector<Input>& all, std::size_t index)
{
    const Input& input = all[index];
    return PaddedParse::run(index % 2 ? DOM_ParseGuarded : DOM_Parse, input.bytes.data(),
                            input.bytes.size(), input.inputKind);
}

TEST(ConcurrentParses, EightThreadsGiveTheImagesOfSequentialParses)
{
    const std::vector<Input> all = inputs();
    ASSERT_GE(all.size(), 150u);
    std::vector<Outcome> sequential;
    sequential.reserve(all.size());
    for (std::size_t index = 0; index < all.size(); ++index) sequential.push_back(parse(all, index));

    // Each thread runs every input, starting at its own place, so that
    // different documents are in flight at once; the checks are made here,
    // after the threads have joined.
    std::vector<std::vector<Outcome>> results(kThreads);
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            ++ready;
            while (ready.load() < kThreads) std::this_thread::yield();
            std::vector<Outcome>& mine = results[static_cast<std::size_t>(thread)];
            mine.resize(all.size() * kRounds);
            for (std::size_t step = 0; step < all.size() * kRounds; ++step) {
                const std::size_t index = (step + static_cast<std::size_t>(thread) * 37) % all.size();
                mine[step] = parse(all, index);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    std::size_t compared = 0;
    for (int thread = 0; thread < kThreads; ++thread) {
        const std::vector<Outcome>& mine = results[static_cast<std::size_t>(thread)];
        for (std::size_t step = 0; step < mine.size(); ++step) {
            const std::size_t index = (step + static_cast<std::size_t>(thread) * 37) % all.size();
            ASSERT_TRUE(mine[step] == sequential[index])
                << "thread " << thread << ", input " << index << ": result " << mine[step].result
                << " against " << sequential[index].result;
            ++compared;
        }
    }
    EXPECT_EQ(compared, static_cast<std::size_t>(kThreads) * kRounds * all.size());
}

}  // namespace
