// Test support: a run that drives a Tokenizer over a padded copy of a text into
// a Recorder, the way the parse driver does.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "library/source_buffer.h"
#include "recording.h"
#include "tokenizer/tokenizer.h"

namespace Parsers::Testing {

// The tree constructor's answer to the CDATA question, set by the test.
class FixedCurrentNode : public CurrentNodeQuery {
public:
    explicit FixedCurrentNode(std::optional<NamespaceId> answer) : namespaceAnswer(answer) {}
    std::optional<NamespaceId> currentNodeNamespace() override
    {
        ++questions;
        return namespaceAnswer;
    }
    std::optional<NamespaceId> namespaceAnswer;
    int questions = 0;
};

// A tokenizer over a copy of `input` followed by `padding` zero units, with a
// recorder as its receiver and its only error listener.
class TokenizerRun {
public:
    explicit TokenizerRun(std::u16string_view input, std::uint32_t mode = kCasePreservingMode,
                          std::size_t padding = 8);
    TokenizerRun(const TokenizerRun&) = delete;
    TokenizerRun& operator=(const TokenizerRun&) = delete;

    // Steps as the driver does, until the end of input; false when the limit of
    // steps ran out first.
    bool runToEnd(std::size_t stepLimit = 100000);
    // Runs exactly `count` steps (the end of input does not stop them).
    void runSteps(std::size_t count);

    // Acts as the tree constructor does for elements with raw text: while a start
    // tag named `name` is being emitted, the tokenizer is put into `target`,
    // through switchTo or by a plain store of previousState and state. With
    // `dropLineFeed` a line feed right behind the tag is taken from the stream.
    void enterOnStartTag(std::u16string name, TokenizerState target, bool plainTransition = false,
                         bool dropLineFeed = false);

    std::u16string buffer;
    SourceBuffer source;
    std::shared_ptr<Recorder> recorder;
    std::unique_ptr<Tokenizer> tokenizer;

private:
    struct RawTextRule {
        std::u16string name;
        TokenizerState target;
        bool plainTransition;
        bool dropLineFeed;
    };
    std::vector<RawTextRule> rawTextRules;
};

// The suites start each test with no stale character left behind by an earlier
// test; the tests of the shared character set it themselves.
class TokenizerTest : public ::testing::Test {
protected:
    void SetUp() override { additionalAllowedCharacter.store(0); }
};

// Runs `input` to its end and returns the compact log; an input that does not
// end within the step limit gives the single event "NO END".
Events tokenize(std::u16string_view input, std::uint32_t mode = kCasePreservingMode);
// The same with positions.
Events tokenizeFull(std::u16string_view input, std::uint32_t mode = kCasePreservingMode);

}  // namespace Parsers::Testing
