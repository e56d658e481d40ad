// Text handed over in runs: a receiver that takes runs gets the same units,
// the tokens at the same positions, and leaves the stream where one unit at a
// time would, as a receiver that takes every unit alone.

#include <gtest/gtest.h>

#include "recording.h"
#include "tokenizer_run.h"

namespace Parsers::Testing {
namespace {

// Logs runs, single units and tokens; takes runs while `accepting` is set.
class RunRecorder : public TokenReceiver, public CharacterRunReceiver {
public:
    void processCharacter(char16_t unit, const TextPosition* position) override
    {
        events.push_back(concat({"'", describeUnit(unit), "' ", describePosition(*position)}));
        text.push_back(unit);
    }
    void processToken(TokenRef token) override
    {
        events.push_back(concat({describeToken(*token), " ", describePosition(token->position)}));
        tokens.push_back(concat({describeToken(*token), " ", describePosition(token->position)}));
    }
    bool acceptsCharacterRun() override
    {
        ++questions;
        return accepting;
    }
    void processCharacterRun(const char16_t* units, std::uint32_t count) override
    {
        events.push_back(concat({"run \"", describeText(std::u16string_view(units, count)), "\""}));
        text.append(units, count);
    }

    bool accepting = true;
    int questions = 0;
    Events events;
    Events tokens;
    std::u16string text;
};

struct Outcome {
    std::u16string text;
    Events tokens;
    TextPosition position;
    std::vector<std::uint32_t> lineEndColumns;
};

// Runs the text to its end with a run recorder as the only receiver.
Outcome runWith(std::u16string_view input, bool accepting, Events* events = nullptr)
{
    TokenizerRun run(input);
    auto receiver = std::make_shared<RunRecorder>();
    receiver->accepting = accepting;
    run.tokenizer->receivers.clear();
    run.tokenizer->addReceiver(receiver);
    EXPECT_TRUE(run.runToEnd());
    if (events) *events = receiver->events;
    const CharacterStream& stream = *run.tokenizer->stream;
    return Outcome{receiver->text, receiver->tokens, stream.position, stream.lineEndColumns};
}

class CharacterRuns : public TokenizerTest {};

TEST_F(CharacterRuns, DataStateRunsStopAtReferencesTagsAndNul)
{
    Events events;
    runWith(std::u16string(u"ab\ncd&amp;e<f>g\0h", 17), true, &events);
    EXPECT_EQ(events, (Events{"run \"ab\\u000Acd\"", "'&' @7:2", "run \"e\"", "<f> @9:2", "run \"g\"",
                              "'\\u0000' @13:2", "run \"h\"", "EOF @0:1"}));
}

TEST_F(CharacterRuns, UnitsGoAloneWhileTheReceiverRefusesRuns)
{
    Events events;
    runWith(u"ab<c>", false, &events);
    EXPECT_EQ(events, (Events{"'a' @1:1", "'b' @2:1", "<c> @3:1", "EOF @0:1"}));
}

TEST_F(CharacterRuns, RunsLeaveTextTokensAndStreamAsSingleUnitsDo)
{
    const std::u16string inputs[] = {
        u"plain text without anything",
        u"line one\nline two\n\nline four<p>\n<q a=1>x\ny</q>\n",
        u"0123456789abcdefghij\n0123456789abcdefghij<b>0123456789</b>\nend",
        u"&lt;&gt; &amp x &#65; &notin; &nosuch; tail",
        std::u16string(u"a\0b\0\0c<d>\0", 10),
        u"<!-- c -->text<!DOCTYPE x>more\n",
        u"\n\n\n<x>\n\n\n",
    };
    for (const std::u16string& input : inputs) {
        Outcome runs = runWith(input, true);
        Outcome units = runWith(input, false);
        EXPECT_EQ(runs.text, units.text) << describeText(input);
        EXPECT_EQ(runs.tokens, units.tokens) << describeText(input);
        EXPECT_EQ(runs.position, units.position) << describeText(input);
        EXPECT_EQ(runs.lineEndColumns, units.lineEndColumns) << describeText(input);
    }
}

TEST_F(CharacterRuns, TwoReceiversGetEveryUnitAlone)
{
    TokenizerRun run(u"abc");
    auto receiver = std::make_shared<RunRecorder>();
    run.tokenizer->addReceiver(receiver);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(receiver->questions, 0);
    EXPECT_EQ(receiver->events, (Events{"'a' @1:1", "'b' @2:1", "'c' @3:1", "EOF @0:1"}));
    EXPECT_EQ(run.recorder->compact(), (Events{"\"abc\"", "EOF"}));
}

TEST_F(CharacterRuns, RawTextStatesEmitRuns)
{
    TokenizerRun run(u"<style>a&b</c></style>d");
    auto receiver = std::make_shared<RunRecorder>();
    run.tokenizer->receivers.clear();
    run.tokenizer->addReceiver(receiver);
    // The recorder is no longer a receiver; switch to RAWTEXT by hand after
    // the style start tag, as the tree constructor would.
    run.runSteps(7);
    ASSERT_EQ(run.tokenizer->state, TokenizerState::Data);
    run.tokenizer->switchTo(TokenizerState::Rawtext);
    ASSERT_TRUE(run.runToEnd());
    // "</c" is no end tag of style: its units go out alone, at the position of
    // the '>' that showed it, and the '>' is read again.
    EXPECT_EQ(receiver->events, (Events{"<style> @1:1", "run \"a\"", "run \"&b\"", "'<' @14:1",
                                        "'/' @14:1", "'c' @14:1", "run \">\"", "</style> @16:1",
                                        "run \"d\"", "EOF @0:1"}));
}

TEST_F(CharacterRuns, SkipMovesAsConsumesDo)
{
    const std::u16string text = u"ab\ncd\n\nef";
    for (std::uint32_t count = 0; count <= text.size() + 2; ++count) {
        CharacterStream skipped(text.data(), static_cast<std::uint32_t>(text.size()));
        CharacterStream consumed(text.data(), static_cast<std::uint32_t>(text.size()));
        skipped.consume();
        consumed.consume();
        skipped.skip(count);
        for (std::uint32_t i = 0; i < count && consumed.remaining != 0; ++i) consumed.consume();
        EXPECT_EQ(skipped.next, consumed.next) << count;
        EXPECT_EQ(skipped.remaining, consumed.remaining) << count;
        EXPECT_EQ(skipped.current, consumed.current) << count;
        EXPECT_EQ(skipped.position, consumed.position) << count;
        EXPECT_EQ(skipped.lineEndColumns, consumed.lineEndColumns) << count;
    }
}

TEST_F(CharacterRuns, StopUnitsAreFoundInEveryLaneAndInTheTail)
{
    for (std::uint32_t at = 0; at < 20; ++at) {
        std::u16string text(20, u'x');
        text[at] = u'<';
        EXPECT_EQ((unitsBeforeStop<u'&', u'<', 0>(text.data(), 20)), at);
        EXPECT_EQ((unitsBeforeStop<u'&', u'<', 0>(text.data(), at)), at);
    }
    const std::u16string none(19, u'y');
    EXPECT_EQ((unitsBeforeStop<u'&', u'<', 0>(none.data(), 19)), 19u);
    EXPECT_EQ((unitsBeforeStop<0>(none.data(), 0)), 0u);
}

}  // namespace
}  // namespace Parsers::Testing
