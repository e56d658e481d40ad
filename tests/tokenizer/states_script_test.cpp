// Script data states: end tags in scripts, the escaped text after "<!--" and the
// double escaped text after an inner "<script>", entered the way the tree
// constructor enters script data (a plain store of the state).
#include <gtest/gtest.h>

#include "tokenizer_run.h"

namespace Parsers::Testing {
namespace {

using ScriptStates = TokenizerTest;

Events tokenizeScript(std::u16string_view input, std::uint32_t mode = kCasePreservingMode)
{
    TokenizerRun run(input, mode);
    run.enterOnStartTag(u"script", TokenizerState::ScriptData, true);
    if (!run.runToEnd()) return {"NO END"};
    return run.recorder->compact();
}

TEST_F(ScriptStates, ScriptDataEndsAtItsEndTag)
{
    EXPECT_EQ(tokenizeScript(u"<script>a<b>&amp;</script>c"),
              (Events{"<script>", "\"a<b>&amp;\"", "</script>", "\"c\"", "EOF"}));
}

TEST_F(ScriptStates, ScriptEndTagNameFoldsInEveryMode)
{
    EXPECT_EQ(tokenizeScript(u"<script>a</SCRIPT>"),
              (Events{"<script>", "\"a\"", "</script>", "EOF"}));
    EXPECT_EQ(tokenizeScript(u"<script>a</ScRiPt >"),
              (Events{"<script>", "\"a\"", "</script>", "EOF"}));
}

TEST_F(ScriptStates, StartTagNameIsNotFoldedSoAnUpperCaseScriptNeverEnds)
{
    // <SCRIPT> keeps its case; the folded end tag name cannot equal it.
    TokenizerRun run(u"<SCRIPT>a</SCRIPT>");
    run.enterOnStartTag(u"SCRIPT", TokenizerState::ScriptData, true);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->compact(), (Events{"<SCRIPT>", "\"a</SCRIPT>\"", "EOF"}));
}

TEST_F(ScriptStates, NulIsReplaced)
{
    EXPECT_EQ(tokenizeScript(std::u16string(u"<script>\0x", 10)),
              (Events{"<script>", "E14", "\"\\uFFFDx\"", "EOF"}));
}

TEST_F(ScriptStates, LessThanSignAtTheEndNeverEnds)
{
    TokenizerRun run(u"<script>x<");
    run.enterOnStartTag(u"script", TokenizerState::ScriptData, true);
    run.runSteps(10);
    ASSERT_EQ(run.tokenizer->state, TokenizerState::ScriptDataLessThanSign);
    run.recorder->events.clear();
    for (int turn = 0; turn < 100; ++turn) {
        run.runSteps(2);
        EXPECT_EQ(run.tokenizer->state, TokenizerState::ScriptDataLessThanSign);
    }
    EXPECT_EQ(run.recorder->full(), Events(100, "'<' @10:1"));
}

TEST_F(ScriptStates, EscapedTextAtTheEndRereadsItsLastUnit)
{
    EXPECT_EQ(tokenizeScript(u"<script><!-- a"),
              (Events{"<script>", "\"<!-- a\"", "E17", "\"a\"", "EOF"}));
}

TEST_F(ScriptStates, EscapeStartWithoutDashesFallsBackToScriptData)
{
    EXPECT_EQ(tokenizeScript(u"<script><!x<!-y</script>"),
              (Events{"<script>", "\"<!x<!-y\"", "</script>", "EOF"}));
}

TEST_F(ScriptStates, EscapedTextEndsAtTheEndTag)
{
    EXPECT_EQ(tokenizeScript(u"<script><!--a</script>"),
              (Events{"<script>", "\"<!--a\"", "</script>", "EOF"}));
}

TEST_F(ScriptStates, EscapedTextBackToScriptDataAfterDashDashGreaterThan)
{
    EXPECT_EQ(tokenizeScript(u"<script><!--a-b--c---></script>"),
              (Events{"<script>", "\"<!--a-b--c--->\"", "</script>", "EOF"}));
}

TEST_F(ScriptStates, EscapedOtherEndTagIsText)
{
    EXPECT_EQ(tokenizeScript(u"<script><!--</x>"),
              (Events{"<script>", "\"<!--</x>\"", "E17", "\">\"", "EOF"}));
}

TEST_F(ScriptStates, EscapedNulsAreReplaced)
{
    EXPECT_EQ(tokenizeScript(std::u16string(u"<script><!--\0-\0--\0</script>", 27)),
              (Events{"<script>", "\"<!--\"", "E22", "\"\\uFFFD-\"", "E20", "\"\\uFFFD--\"",
                      "E22", "\"\\uFFFD\"", "</script>", "EOF"}));
    EXPECT_EQ(tokenizeScript(std::u16string(u"<script><!--a\0</script>", 23)),
              (Events{"<script>", "\"<!--a\"", "E18", "\"\\uFFFD\"", "</script>", "EOF"}));
}

TEST_F(ScriptStates, EscapedEndOfInputCodes)
{
    EXPECT_EQ(tokenizeScript(u"<script><!--a-"),
              (Events{"<script>", "\"<!--a-\"", "E19", "\"-\"", "EOF"}));
    EXPECT_EQ(tokenizeScript(u"<script><!--a--"),
              (Events{"<script>", "\"<!--a--\"", "E21", "\"-\"", "EOF"}));
}

TEST_F(ScriptStates, EscapedLessThanSignAtTheEndNeverEnds)
{
    TokenizerRun run(u"<script><!--<");
    run.enterOnStartTag(u"script", TokenizerState::ScriptData, true);
    run.runSteps(13);
    ASSERT_EQ(run.tokenizer->state, TokenizerState::ScriptDataEscapedLessThanSign);
    run.recorder->events.clear();
    for (int turn = 0; turn < 50; ++turn) run.runSteps(2);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::ScriptDataEscapedLessThanSign);
    EXPECT_EQ(run.recorder->full(), Events(50, "'<' @13:1"));
}

TEST_F(ScriptStates, DoubleEscapingKeepsTheInnerEndTagFromEndingTheScript)
{
    EXPECT_EQ(tokenizeScript(u"<script><!--<script></script>-->x</script>"),
              (Events{"<script>", "\"<!--<script></script>-->x\"", "</script>", "EOF"}));
}

TEST_F(ScriptStates, DoubleEscapeStartIsFoundWhateverTheCase)
{
    // The inner end tag does not end the script: it leads back to the escaped
    // text, which the end of input then leaves.
    EXPECT_EQ(tokenizeScript(u"<script><!--<SCRIPT></script>"),
              (Events{"<script>", "\"<!--<SCRIPT></script>\"", "E17", "\">\"", "EOF"}));
}

TEST_F(ScriptStates, OtherTagNameInEscapedTextStaysEscaped)
{
    EXPECT_EQ(tokenizeScript(u"<script><!--<scripts></script>"),
              (Events{"<script>", "\"<!--<scripts>\"", "</script>", "EOF"}));
    EXPECT_EQ(tokenizeScript(u"<script><!--<s!</script>"),
              (Events{"<script>", "\"<!--<s!\"", "</script>", "EOF"}));
}

TEST_F(ScriptStates, DoubleEscapeEndsAtAnInnerScriptEndTag)
{
    // After the inner </script> the text is escaped again and the real end tag
    // ends it.
    EXPECT_EQ(tokenizeScript(u"<script><!--<script>a</script ></script>"),
              (Events{"<script>", "\"<!--<script>a</script >\"", "</script>", "EOF"}));
    EXPECT_EQ(tokenizeScript(u"<script><!--<script>a</scrip/x</script>"),
              (Events{"<script>", "\"<!--<script>a</scrip/x</script>\"", "E17", "\">\"", "EOF"}));
}

TEST_F(ScriptStates, DoubleEscapedDashesAndNuls)
{
    EXPECT_EQ(tokenizeScript(
                  std::u16string(u"<script><!--<script>\0-\0--\0-<->--></script>", 42)),
              (Events{"<script>", "\"<!--<script>\"", "E24", "\"\\uFFFD-\"", "E26",
                      "\"\\uFFFD--\"", "E28", "\"\\uFFFD-<->-->\"", "</script>", "EOF"}));
}

TEST_F(ScriptStates, DoubleEscapedLessThanSignWithoutSlash)
{
    EXPECT_EQ(tokenizeScript(u"<script><!--<script><x--></script>"),
              (Events{"<script>", "\"<!--<script><x-->\"", "</script>", "EOF"}));
}

TEST_F(ScriptStates, DoubleEscapedEndOfInputCodes)
{
    EXPECT_EQ(tokenizeScript(u"<script><!--<script>a"),
              (Events{"<script>", "\"<!--<script>a\"", "E23", "\"a\"", "EOF"}));
    EXPECT_EQ(tokenizeScript(u"<script><!--<script>-"),
              (Events{"<script>", "\"<!--<script>-\"", "E25", "\"-\"", "EOF"}));
    EXPECT_EQ(tokenizeScript(u"<script><!--<script>--"),
              (Events{"<script>", "\"<!--<script>--\"", "E27", "\"-\"", "EOF"}));
}

TEST_F(ScriptStates, DoubleEscapedLessThanSignAtTheEndNeverEnds)
{
    // The double escaped less-than state steps back over the '<' at the end, and
    // the double escaped state emits it again on the way back.
    TokenizerRun run(u"<script><!--<script><");
    run.enterOnStartTag(u"script", TokenizerState::ScriptData, true);
    run.runSteps(21);
    ASSERT_EQ(run.tokenizer->state, TokenizerState::ScriptDataDoubleEscapedLessThanSign);
    run.recorder->events.clear();
    for (int turn = 0; turn < 50; ++turn) {
        run.runSteps(2);
        EXPECT_EQ(run.tokenizer->state, TokenizerState::ScriptDataDoubleEscapedLessThanSign);
    }
    EXPECT_EQ(run.recorder->full(), Events(50, "'<' @21:1"));
}

TEST_F(ScriptStates, DoubleEscapeSwitchesUseSwitchTo)
{
    TokenizerRun run(u"<script><!--<script>");
    run.enterOnStartTag(u"script", TokenizerState::ScriptData, true);
    run.runSteps(20);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::ScriptDataDoubleEscaped);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::ScriptDataDoubleEscapeStart);
    EXPECT_EQ(run.tokenizer->temporaryBuffer, u"script");
}

TEST_F(ScriptStates, ScriptEndTagBeginsAtItsSlash)
{
    TokenizerRun run(u"<script>\n</script>");
    run.enterOnStartTag(u"script", TokenizerState::ScriptData, true);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->full(),
              (Events{"<script> @1:1", "'\\u000A' @9:1", "</script> @2:2", "EOF @0:1"}));
}

}  // namespace
}  // namespace Parsers::Testing
