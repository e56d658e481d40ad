// The in body mode of case preserving parsing: its text, its start tags, the
// end tag walk, its end of file; and the text mode.

#include <gtest/gtest.h>

#include "tree_harness.h"

namespace Parsers {
namespace {

using Testing::makeCommentToken;
using Testing::makeEndOfFile;
using Testing::makeTag;
using Testing::stackNames;
using Testing::TreeFeed;
using Testing::TreeRun;
using Codes = std::vector<std::uint32_t>;

// The body subtree of a run's document, without the html, head and body lines.
std::string body(const TreeRun& run)
{
    NodeRef bodyNode = run.constructor->document->getBODYNode();
    return bodyNode ? Testing::dump(*bodyNode) : "(no body)";
}

TEST(InBodyText, NulIsReportedAndDroppedAndFramesetOkStays)
{
    TreeRun run(std::u16string(u"\0<p>", 4));
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{125});
    EXPECT_TRUE(run.constructor->framesetOk);
    EXPECT_EQ(body(run), "<p>\n");
    EXPECT_EQ(run.constructor->document->quirksMode, 2);
}

TEST(InBodyText, WhitespaceKeepsFramesetOkAndALetterClearsIt)
{
    TreeFeed feed;
    TreeConstructor& tree = *feed.constructor;
    tree.createHtmlRoot();
    tree.insertionMode = InsertionMode::InBody;
    TextPosition position;
    for (char16_t unit : {u' ', u'\n', u'\x0B', u'\f', u'\r', u'\t'}) {
        tree.handleInBodyCharacter(unit, &position, false);
    }
    EXPECT_TRUE(tree.framesetOk);
    tree.handleInBodyCharacter(u'x', &position, false);
    EXPECT_FALSE(tree.framesetOk);
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  \" \\n\\u000B\\u000C\\u000D\\tx\"\n");
}

TEST(InBodyText, TextWithoutCurrentNodeGoesNowhere)
{
    TreeFeed feed;
    feed.constructor->insertionMode = InsertionMode::InBody;
    TextPosition position;
    feed.constructor->handleInBodyCharacter(u'x', &position, false);
    EXPECT_EQ(feed.tree(), "");
    EXPECT_FALSE(feed.constructor->framesetOk);
}

TEST(InBodyStartTags, EveryTagIsInsertedAsWritten)
{
    TreeRun run(u"<p/><br>x<table><tr><td>y</td></tr></table><li>z<li>w");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(body(run),
              "<p>\n"
              "<br>\n"
              "  \"x\"\n"
              "  <table>\n"
              "    <tr>\n"
              "      <td>\n"
              "        \"y\"\n"
              "  <li>\n"
              "    \"z\"\n"
              "    <li>\n"
              "      \"w\"\n");
    // br is still open at the end, and br is no element that may stay open.
    EXPECT_EQ(run.errors->treeCodes(), Codes{124});
}

TEST(InBodyStartTags, FirstScriptLeavesTheTokenizerInItsState)
{
    TreeRun run(u"<script>a<b>c</b>&amp;</script>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(body(run),
              "<script>\n"
              "  \"a\"\n"
              "  <b>\n"
              "    \"c\"\n"
              "  \"&\"\n");
    EXPECT_EQ(run.constructor->insertionMode, InsertionMode::InBody);
}

TEST(InBodyStartTags, FirstTextareaKeepsItsLineFeedAndTitleItsMarkup)
{
    TreeRun textarea(u"<textarea>\nx</textarea>");
    ASSERT_TRUE(textarea.runToEnd());
    EXPECT_EQ(body(textarea), "<textarea>\n  \"\\nx\"\n");

    TreeRun title(u"<title><i>t</i></title>");
    ASSERT_TRUE(title.runToEnd());
    EXPECT_EQ(body(title), "<title>\n  <i>\n    \"t\"\n");
}

TEST(InBodyStartTags, CasePreservingRouteLeavesFramesetOkAndTheListAlone)
{
    TreeFeed feed;
    feed.text(u"x");
    TreeConstructor& tree = *feed.constructor;
    tree.popOpenElement();
    ASSERT_EQ(stackNames(tree), "(html)");
    tree.framesetOk = true;
    auto b = makeTag(TokenType::StartTag, u"b", {}, true);
    tree.handleInBodyStartTag(b, true);
    EXPECT_TRUE(tree.framesetOk);
    EXPECT_TRUE(tree.activeFormatting.empty());
    EXPECT_TRUE(b->selfClosingAcknowledged);
    EXPECT_EQ(stackNames(tree), "(html)");
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <body>\n    \"x\"\n  <b>\n");
}

TEST(InBodyStartTags, CaseFoldingClosesOnlyUnknownSelfClosingTags)
{
    TreeRun unknown(u"<x-y/>z", 1);
    ASSERT_TRUE(unknown.runToEnd());
    EXPECT_EQ(unknown.errors->treeCodes(), Codes{});
    EXPECT_EQ(stackNames(*unknown.constructor), "(html) body");
    EXPECT_EQ(body(unknown), "<x-y> ns=0\n\"z\"\n");
}

TEST(InBodyEndOfFile, OneReportForTheFirstElementThatShouldBeClosed)
{
    struct Case {
        const char16_t* text;
        Codes codes;
    };
    const Case cases[] = {
        {u"<p><dd><dt><li>", {}},
        {u"<div><span>", {124}},
        {u"<p><rt>", {124}},
        {u"<option>", {124}},
        {u"<x-y>", {124}},
        {u"<P>", {124}},
        {u"<tbody><tr><td><th><thead><tfoot>", {}},
        {u"<table>", {124}},
    };
    for (const Case& c : cases) {
        TreeRun run(c.text);
        ASSERT_TRUE(run.runToEnd());
        EXPECT_EQ(run.errors->treeCodes(), c.codes) << Testing::escapeText(c.text);
    }
}

TEST(InBodyEndOfFile, NothingIsPoppedAndTheModeStays)
{
    TreeRun run(u"<div><span>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(stackNames(*run.constructor), "(html) body div span");
    EXPECT_EQ(run.constructor->insertionMode, InsertionMode::InBody);
}

TEST(InBodyTokens, DoctypeAndCommentWithTheRootAsCurrentNode)
{
    TreeRun run(u"x</body><!DOCTYPE html><!--c-->");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{123});
    EXPECT_EQ(run.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    \"x\"\n"
              "  <!-- c -->\n");
}

TEST(AnyOtherEndTag, UnknownEndTagClosesTheNearestUnknownElement)
{
    TreeRun run(u"<Foo><Bar>x</Baz>y");
    ASSERT_TRUE(run.runToEnd());
    // 193 from the foreign rules, whose walk finds no Baz; 151 because Bar is
    // closed for a Baz; 124 for the Foo still open at the end.
    EXPECT_EQ(run.errors->treeCodes(), (Codes{193, 151, 124}));
    EXPECT_EQ(body(run),
              "<Foo>\n"
              "  <Bar>\n"
              "    \"x\"\n"
              "  \"y\"\n");
}

TEST(AnyOtherEndTag, BothNamesUnknownInLowerCase)
{
    TreeRun run(u"<bar>x</foo>y");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{193, 151}));
    EXPECT_EQ(body(run), "<bar>\n  \"x\"\n\"y\"\n");
}

TEST(AnyOtherEndTag, SpecialElementStopsTheWalk)
{
    TreeRun run(u"<p><Foo><div>x</Bar>y");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{193, 150, 124}));
    EXPECT_EQ(body(run),
              "<p>\n"
              "  <Foo>\n"
              "    <div>\n"
              "      \"xy\"\n");
}

TEST(AnyOtherEndTag, HtmlEndTagWhileBodyIsOpenIsDropped)
{
    TreeRun run(u"x</html>y");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{193, 150}));
    EXPECT_EQ(body(run), "\"xy\"\n");
}

TEST(AnyOtherEndTag, BrEndTagMakesNoElement)
{
    TreeRun run(u"<p></br>x");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{193, 150}));
    EXPECT_EQ(body(run), "<p>\n  \"x\"\n");
}

TEST(AnyOtherEndTag, ImpliedEndTagsCloseOrdinaryElementsAboveTheMatch)
{
    TreeRun run(u"<Foo><rt><option>x</Foo>y");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{193});
    EXPECT_EQ(body(run),
              "<Foo>\n"
              "  <rt>\n"
              "    <option>\n"
              "      \"x\"\n"
              "\"y\"\n");
    EXPECT_EQ(stackNames(*run.constructor), "(html) body");
}

TEST(AnyOtherEndTag, CaseOfTheEndTagDecides)
{
    TreeRun run(u"<p>x</P>y");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{193, 150}));
    EXPECT_EQ(body(run), "<p>\n  \"xy\"\n");
}

TEST(AnyOtherEndTag, NoMatchLeavesTheTokenUnmarked)
{
    TreeFeed feed;
    TreeConstructor& tree = *feed.constructor;
    for (const char16_t* name : {u"x-a", u"option"}) {
        auto element = Testing::makeElement(name);
        tree.pushOpenElement(element);
    }
    auto end = makeTag(TokenType::EndTag, u"p");
    tree.anyOtherEndTag(end);
    EXPECT_FALSE(end->ignored);
    EXPECT_EQ(stackNames(tree), "x-a option");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{});
}

TEST(AnyOtherEndTag, MatchedTokenStaysUnmarked)
{
    TreeFeed feed;
    feed.start(u"Foo");
    TagTokenRef end = feed.end(u"Bar");
    EXPECT_FALSE(end->ignored);
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body");
    EXPECT_EQ(feed.errors->treeCodes(), (Codes{193, 151}));
}

TEST(TextMode, EndTagEndsTheElementWhateverItsName)
{
    TreeFeed feed;
    TreeConstructor& tree = *feed.constructor;
    tree.createHtmlRoot();
    tree.insertionMode = InsertionMode::InHead;
    tree.insertScriptElement(makeTag(TokenType::StartTag, u"script"));
    tree.dispatchToken(makeTag(TokenType::StartTag, u"p"), false);
    tree.dispatchToken(makeCommentToken(u"c"), false);
    tree.dispatchToken(std::make_shared<DoctypeToken>(), false);
    TextPosition position;
    tree.dispatchCharacter(u'<', &position, 0);
    tree.dispatchCharacter(u'\0', &position, 0);
    EXPECT_EQ(tree.insertionMode, InsertionMode::Text);
    tree.dispatchToken(makeTag(TokenType::EndTag, u"style"), false);
    EXPECT_EQ(tree.insertionMode, InsertionMode::InHead);
    EXPECT_EQ(stackNames(tree), "(html)");
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <script>\n    \"<\\u0000\"\n");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{});
}

TEST(TextMode, EndOfFileEndsTheElementAndGoesOnInTheSavedMode)
{
    TreeFeed feed;
    TreeConstructor& tree = *feed.constructor;
    tree.createHtmlRoot();
    tree.dispatchToken(makeTag(TokenType::StartTag, u"head"), false);
    tree.dispatchToken(makeTag(TokenType::StartTag, u"title"), false);
    ASSERT_EQ(tree.insertionMode, InsertionMode::Text);
    tree.dispatchToken(makeEndOfFile(), false);
    EXPECT_EQ(feed.errors->treeCodes(), Codes{152});
    // Back in head, the end of file closes the head and makes the body.
    EXPECT_EQ(tree.insertionMode, InsertionMode::InBody);
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n    <title>\n  <body>\n");
}

}  // namespace
}  // namespace Parsers
