// Text content states: data, RCDATA, RAWTEXT, PLAINTEXT and the end tags that
// close raw text, reached the way the tree constructor reaches them.
#include <gtest/gtest.h>

#include "tokenizer_run.h"

namespace Parsers::Testing {
namespace {

using TextStates = TokenizerTest;

// Runs `input` with a tree constructor stand-in that switches to RCDATA after
// <title>, to RAWTEXT after <style>, to PLAINTEXT after <plaintext> (a plain
// store, as the tree constructor does it) and to script data after <script>.
Events tokenizeWithRawText(std::u16string_view input, std::uint32_t mode = kCasePreservingMode)
{
    TokenizerRun run(input, mode);
    run.enterOnStartTag(u"title", TokenizerState::Rcdata);
    run.enterOnStartTag(u"style", TokenizerState::Rawtext);
    run.enterOnStartTag(u"plaintext", TokenizerState::Plaintext, true);
    run.enterOnStartTag(u"script", TokenizerState::ScriptData, true);
    if (!run.runToEnd()) return {"NO END"};
    return run.recorder->compact();
}

TEST_F(TextStates, DataDeliversNulAsItStandsWithOneReport)
{
    EXPECT_EQ(tokenizeFull(std::u16string(u"a\0b", 3)),
              (Events{"'a' @1:1", "E11 @2:1", "'\\u0000' @2:1", "'b' @3:1", "EOF @0:1"}));
}

TEST_F(TextStates, NulAsTheLastUnitIsTheEnd)
{
    EXPECT_EQ(tokenize(std::u16string(u"a\0", 2)), (Events{"\"a\"", "EOF"}));
}

TEST_F(TextStates, DataStartsATagAtItsLessThanSign)
{
    TokenizerRun run(u"ab<c>");
    run.runSteps(3);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::TagOpen);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::Data);
    ASSERT_NE(run.tokenizer->currentTag, nullptr);
    EXPECT_EQ(run.tokenizer->currentTag->position, (TextPosition{3, 1}));
    EXPECT_EQ(run.tokenizer->currentTag->type, TokenType::StartTag);
}

TEST_F(TextStates, AmpersandLeadsToTheReferenceStateAndBack)
{
    TokenizerRun run(u"&lt;x");
    run.runSteps(1);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::CharacterReferenceInData);
    run.runSteps(1);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::Data);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::CharacterReferenceInData);
    EXPECT_EQ(run.recorder->full(), (Events{"'<' @4:1"}));
}

TEST_F(TextStates, RcdataReplacesNul)
{
    EXPECT_EQ(tokenizeWithRawText(std::u16string(u"<title>a\0b", 10)),
              (Events{"<title>", "\"a\"", "E12", "\"\\uFFFDb\"", "EOF"}));
}

TEST_F(TextStates, RcdataKeepsTagsAsTextAndResolvesReferences)
{
    EXPECT_EQ(tokenizeWithRawText(u"<title><b>&lt;&x</title>"),
              (Events{"<title>", "\"<b><&x\"", "</title>", "EOF"}));
}

TEST_F(TextStates, RcdataEndTagMustMatchTheCaseOfItsStartTag)
{
    EXPECT_EQ(tokenizeWithRawText(u"<title>a</TITLE>b</title>"),
              (Events{"<title>", "\"a</TITLE>b\"", "</title>", "EOF"}));
}

TEST_F(TextStates, RcdataEndTagNameFoldsInTheCaseFoldingMode)
{
    EXPECT_EQ(tokenizeWithRawText(u"<title>a</TITLE>b", kCaseFoldingMode),
              (Events{"<title>", "\"a\"", "</title>", "\"b\"", "EOF"}));
}

TEST_F(TextStates, RcdataEndTagBeginsAtItsSlash)
{
    TokenizerRun run(u"<title>\nx</title>");
    run.enterOnStartTag(u"title", TokenizerState::Rcdata);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->full(),
              (Events{"<title> @1:1", "'\\u000A' @8:1", "'x' @1:2", "</title> @3:2", "EOF @0:1"}));
}

TEST_F(TextStates, RcdataEndTagWithAttributesAndSelfClosing)
{
    EXPECT_EQ(tokenizeWithRawText(u"<title>a</title x=1>b<title>c</title/>"),
              (Events{"<title>", "\"a\"", "</title x=\"1\">", "\"b\"", "<title>", "\"c\"",
                      "</title/>", "EOF"}));
}

TEST_F(TextStates, RcdataOtherEndTagIsText)
{
    EXPECT_EQ(tokenizeWithRawText(u"<title></tit></titles></x1></title>"),
              (Events{"<title>", "\"</tit></titles></x1>\"", "</title>", "EOF"}));
}

TEST_F(TextStates, RcdataLessThanSignWithoutSlashIsText)
{
    EXPECT_EQ(tokenizeWithRawText(u"<title>a<b</ b</title>"),
              (Events{"<title>", "\"a<b</ b\"", "</title>", "EOF"}));
}

TEST_F(TextStates, RawtextIgnoresReferences)
{
    EXPECT_EQ(tokenizeWithRawText(u"<style>&amp;<b></style>"),
              (Events{"<style>", "\"&amp;<b>\"", "</style>", "EOF"}));
}

TEST_F(TextStates, RawtextReplacesNul)
{
    EXPECT_EQ(tokenizeWithRawText(std::u16string(u"<style>\0x", 9)),
              (Events{"<style>", "E13", "\"\\uFFFDx\"", "EOF"}));
    // A NUL as the very last unit is the end of the text, here as everywhere.
    EXPECT_EQ(tokenizeWithRawText(std::u16string(u"<style>\0", 8)), (Events{"<style>", "EOF"}));
}

TEST_F(TextStates, RawtextEndTagCutOffByTheEndRereadsItsLastUnit)
{
    // The name state at the end gives the name back as text and steps back over
    // its last letter, which the raw text state then reads a second time.
    EXPECT_EQ(tokenizeWithRawText(u"<style>a</style"),
              (Events{"<style>", "\"a</stylee\"", "EOF"}));
}

TEST_F(TextStates, RawtextLessThanSignAtTheEndNeverEnds)
{
    TokenizerRun run(u"<style><");
    run.enterOnStartTag(u"style", TokenizerState::Rawtext);
    run.runSteps(8);
    ASSERT_EQ(run.tokenizer->state, TokenizerState::RawtextLessThanSign);
    run.recorder->events.clear();
    for (int turn = 0; turn < 100; ++turn) run.runSteps(2);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::RawtextLessThanSign);
    const Events events = run.recorder->full();
    EXPECT_EQ(events, Events(100, "'<' @8:1"));
}

TEST_F(TextStates, PlaintextTakesEverythingToTheEnd)
{
    EXPECT_EQ(tokenizeWithRawText(std::u16string(u"<plaintext></plaintext>&amp;\0<", 30)),
              (Events{"<plaintext>", "\"</plaintext>&amp;\"", "E15", "\"\\uFFFD<\"", "EOF"}));
}

TEST_F(TextStates, EndOfFileTokenKeepsTheStateOfTheText)
{
    TokenizerRun run(u"<plaintext>x");
    run.enterOnStartTag(u"plaintext", TokenizerState::Plaintext, true);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.tokenizer->state, TokenizerState::Plaintext);
    EXPECT_EQ(run.recorder->full().back(), "EOF @0:1");
}

TEST_F(TextStates, AppropriateEndTagComparesWithTheLastStartTagEmitted)
{
    // After <title> and <b>, the last start tag is b; only </b> ends the text.
    TokenizerRun run(u"<b>x</title></b>");
    run.enterOnStartTag(u"b", TokenizerState::Rcdata);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->compact(), (Events{"<b>", "\"x</title>\"", "</b>", "EOF"}));
}

TEST_F(TextStates, WithoutAnyStartTagNoEndTagIsAppropriate)
{
    TokenizerRun run(u"a</a>");
    run.tokenizer->switchTo(TokenizerState::Rcdata);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->compact(), (Events{"\"a</a>\"", "EOF"}));
}

}  // namespace
}  // namespace Parsers::Testing
