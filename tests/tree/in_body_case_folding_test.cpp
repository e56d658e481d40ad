// The in body rules of case folding parsing, where a tree alone does not show
// the effect: the frameset-ok flag of every row, the checked reads of fixed
// stack entries, the line feed dropped behind pre, listing and textarea, the
// tokenizer states set by the rules, and the ignored flag of refused tokens.

#include <gtest/gtest.h>

#include <stdexcept>

#include "tree_harness.h"

namespace Parsers {
namespace {

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

struct FramesetCase {
    const char16_t* text;
    bool framesetOk;
};

// Each document starts with the tag under test, so the body is made up for it
// and the flag is set again just before the tag's own rule runs.
class FramesetOkOfEveryRow : public ::testing::TestWithParam<FramesetCase> {};

TEST_P(FramesetOkOfEveryRow, FlagAfterTheTag)
{
    const FramesetCase& c = GetParam();
    TreeRun run(c.text, 1);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.constructor->framesetOk, c.framesetOk);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FramesetOkOfEveryRow,
    ::testing::Values(
        // Blocks, headings and form keep it; pre, listing and the items clear it.
        FramesetCase{u"<address>", true}, FramesetCase{u"<div>", true}, FramesetCase{u"<p>", true},
        FramesetCase{u"<ul>", true}, FramesetCase{u"<summary>", true}, FramesetCase{u"<h3>", true},
        FramesetCase{u"<pre>", false}, FramesetCase{u"<listing>", false},
        FramesetCase{u"<form>", true}, FramesetCase{u"<li>", false}, FramesetCase{u"<dd>", false},
        FramesetCase{u"<dt>", false}, FramesetCase{u"<plaintext>", true},
        FramesetCase{u"<hr>", false},
        // Formatting and phrasing.
        FramesetCase{u"<a>", true}, FramesetCase{u"<b>", true}, FramesetCase{u"<font>", true},
        FramesetCase{u"<nobr>", true}, FramesetCase{u"<nobr><nobr>", true},
        FramesetCase{u"<button>", false}, FramesetCase{u"<applet>", false},
        FramesetCase{u"<marquee>", false}, FramesetCase{u"<object>", false},
        FramesetCase{u"<rt>", true}, FramesetCase{u"<rp>", true},
        // Void and raw content elements.
        FramesetCase{u"<area>", false}, FramesetCase{u"<br>", false}, FramesetCase{u"<embed>", false},
        FramesetCase{u"<img>", false}, FramesetCase{u"<keygen>", false}, FramesetCase{u"<wbr>", false},
        FramesetCase{u"<input>", false}, FramesetCase{u"<input type=text>", false},
        FramesetCase{u"<input type=HIDDEN>", true}, FramesetCase{u"<input type=hidden>", true},
        FramesetCase{u"<input type=' hidden'>", false}, FramesetCase{u"<param>", true},
        FramesetCase{u"<source>", true}, FramesetCase{u"<track>", true},
        // image becomes img, whose rule clears the flag.
        FramesetCase{u"<image>", false}, FramesetCase{u"<textarea>", false},
        FramesetCase{u"<xmp>", false}, FramesetCase{u"<iframe>", false},
        FramesetCase{u"<noembed>", true},
        // Table, select and the foreign roots.
        FramesetCase{u"<table>", false}, FramesetCase{u"<select>", false},
        FramesetCase{u"<option>", true}, FramesetCase{u"<optgroup>", true},
        FramesetCase{u"<math>", true}, FramesetCase{u"<svg>", true},
        // Handed on or refused.
        FramesetCase{u"<p><meta>", true}, FramesetCase{u"<p><script>", true},
        FramesetCase{u"<p><title>", true}, FramesetCase{u"<p><html>", true},
        FramesetCase{u"<p><body>", false}, FramesetCase{u"<frameset>", true},
        FramesetCase{u"<isindex>", true}, FramesetCase{u"<p><caption>", true},
        FramesetCase{u"<p><td>", true},
        // Tags without a row: only an unknown self-closing one clears it.
        FramesetCase{u"<span>", true}, FramesetCase{u"<span/>", true},
        FramesetCase{u"<foo>", true}, FramesetCase{u"<foo/>", false},
        FramesetCase{u"<p><noscript>", true}, FramesetCase{u"<main>", true}));

TEST(CaseFoldingBodyTag, MergesIntoEntryOneWhateverItIs)
{
    TreeRun run(u"<body a=1><div><body a=2 b=3>", 1);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{127, 124}));
    EXPECT_EQ(Testing::dump(*run.constructor->document),
              "<(html)> ns=0\n  <head> ns=0\n  <body> ns=0\n    a=\"1\"\n    b=\"3\"\n"
              "    <div> ns=0\n");
}

TEST(CaseFoldingBodyTag, ReadOfAMissingEntryOneThrows)
{
    TreeFeed feed(1);
    TreeConstructor& tree = *feed.constructor;
    tree.createHtmlRoot();
    tree.insertionMode = InsertionMode::InBody;
    EXPECT_THROW(feed.start(u"body", {{u"a", u"1"}}), std::out_of_range);
    // The report comes before the read; the flag was cleared on the way.
    EXPECT_EQ(feed.errors->treeCodes(), Codes{127});
    EXPECT_FALSE(tree.framesetOk);
}

TEST(CaseFoldingHtmlTag, ReadOfAMissingBottomEntryThrows)
{
    TreeFeed feed(1);
    feed.constructor->insertionMode = InsertionMode::InBody;
    EXPECT_THROW(feed.start(u"html"), std::out_of_range);
}

TEST(CaseFoldingHtmlTag, MergesIntoTheBottomEntryKeepingItsOwnValues)
{
    TreeRun run(u"<html a=1><p><html a=2 b=3>", 1);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{126});
    EXPECT_EQ(Testing::dump(*run.constructor->document),
              "<html> ns=0\n  a=\"1\"\n  b=\"3\"\n  <head> ns=0\n  <body> ns=0\n    <p> ns=0\n");
}

TEST(CaseFoldingLineFeed, OnlyTheVeryNextUnitIsDropped)
{
    TreeRun pre(u"<pre>\n\nx</pre><listing>\ny</listing><textarea>\n\nz</textarea>", 1);
    ASSERT_TRUE(pre.runToEnd());
    EXPECT_EQ(body(pre),
              "<pre> ns=0\n  \"\\nx\"\n<listing> ns=0\n  \"y\"\n<textarea> ns=0\n  \"\\nz\"\n");

    TreeRun spaced(u"<pre> \nx</pre>", 1);
    ASSERT_TRUE(spaced.runToEnd());
    EXPECT_EQ(body(spaced), "<pre> ns=0\n  \" \\nx\"\n");
}

TEST(CaseFoldingLineFeed, WithoutTokenizerNothingIsRead)
{
    TreeFeed feed(1);
    feed.start(u"pre");
    feed.text(u"\nx");
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head> ns=0\n  <body> ns=0\n    <pre> ns=0\n"
                           "      \"\\nx\"\n");
    EXPECT_EQ(feed.constructor->insertionMode, InsertionMode::InBody);
}

TEST(CaseFoldingTokenizerStates, TextareaPlaintextXmpAndIframe)
{
    TreeRun textarea(u"<textarea><b>x</b></textarea>y", 1);
    ASSERT_TRUE(textarea.runToEnd());
    EXPECT_EQ(body(textarea), "<textarea> ns=0\n  \"<b>x</b>\"\n\"y\"\n");

    TreeRun plaintext(u"<p><plaintext><b>x</plaintext>", 1);
    ASSERT_TRUE(plaintext.runToEnd());
    EXPECT_EQ(body(plaintext), "<p> ns=0\n<plaintext> ns=0\n  \"<b>x</plaintext>\"\n");

    TreeRun xmp(u"<p>a<xmp><b></xmp>c", 1);
    ASSERT_TRUE(xmp.runToEnd());
    EXPECT_EQ(body(xmp), "<p> ns=0\n  \"a\"\n<xmp> ns=0\n  \"<b>\"\n\"c\"\n");

    TreeRun iframe(u"<p><iframe><b></iframe>c", 1);
    ASSERT_TRUE(iframe.runToEnd());
    EXPECT_EQ(body(iframe), "<p> ns=0\n  <iframe> ns=0\n    \"<b>\"\n  \"c\"\n");
}

TEST(CaseFoldingRefusedTags, IgnoredFlagWhereTheRuleSetsIt)
{
    TreeFeed feed(1);
    feed.start(u"p");
    TagTokenRef frameset = feed.start(u"frameset");
    EXPECT_TRUE(frameset->ignored);
    TagTokenRef isindex = feed.start(u"isindex");
    EXPECT_TRUE(isindex->ignored);
    TagTokenRef caption = feed.start(u"caption");
    EXPECT_FALSE(caption->ignored);
    TagTokenRef form = feed.start(u"form");
    EXPECT_FALSE(form->ignored);
    TagTokenRef second = feed.start(u"form");
    EXPECT_TRUE(second->ignored);
    EXPECT_EQ(feed.errors->treeCodes(), (Codes{123, 136, 130}));
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body form");
}

TEST(CaseFoldingRefusedTags, FormElementPointerIsTheInsertedForm)
{
    TreeFeed feed(1);
    feed.start(u"div");
    TagTokenRef form = feed.start(u"form", {{u"id", u"f"}});
    ASSERT_TRUE(feed.constructor->formElement);
    EXPECT_EQ(feed.constructor->formElement, feed.constructor->currentNode);
    // Closing the div pops the form, but only its own end tag clears the
    // pointer; the form is then out of scope and the end tag is refused.
    feed.end(u"div");
    EXPECT_TRUE(feed.constructor->formElement);
    TagTokenRef end = feed.end(u"form");
    EXPECT_FALSE(feed.constructor->formElement);
    EXPECT_TRUE(end->ignored);
    EXPECT_EQ(feed.errors->treeCodes(), (Codes{141, 142}));
    EXPECT_FALSE(form->ignored);
}

TEST(CaseFoldingSelect, ModeFollowsTheModeItWasOpenedIn)
{
    TreeFeed inBody(1);
    inBody.start(u"select");
    EXPECT_EQ(inBody.constructor->insertionMode, InsertionMode::InSelect);

    TreeFeed inCell(1);
    inCell.start(u"table");
    inCell.start(u"td");
    ASSERT_EQ(inCell.constructor->insertionMode, InsertionMode::InCell);
    inCell.start(u"select");
    EXPECT_EQ(inCell.constructor->insertionMode, InsertionMode::InSelectInTable);
}

TEST(CaseFoldingTable, QuirksKeepsTheParagraphOpen)
{
    TreeRun quirks(u"<p><table>", 1);
    ASSERT_TRUE(quirks.runToEnd());
    EXPECT_EQ(body(quirks), "<p> ns=0\n  <table> ns=0\n");

    TreeRun standard(u"<!DOCTYPE html><p><table>", 1);
    ASSERT_TRUE(standard.runToEnd());
    EXPECT_EQ(standard.constructor->document->quirksMode, 0);
    EXPECT_EQ(body(standard), "<p> ns=0\n<table> ns=0\n");
    EXPECT_EQ(standard.constructor->insertionMode, InsertionMode::InTable);
}

TEST(CaseFoldingSelfClosing, KnownTagsStayOpenAndAreReported)
{
    TreeRun run(u"<div/>x<br/>y<svg/>", 1);
    ASSERT_TRUE(run.runToEnd());
    // 109 for the div after it was inserted; br and svg acknowledge.
    EXPECT_EQ(run.errors->treeCodes(), (Codes{109, 124}));
    EXPECT_EQ(body(run), "<div> ns=0\n  \"x\"\n  <br> ns=0\n  \"y\"\n  <svg> ns=2\n");
}

TEST(CaseFoldingEndTags, BodyEndTagChangesOnlyTheMode)
{
    TreeRun run(u"<p>a</body>", 1);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{});
    EXPECT_EQ(run.constructor->insertionMode, InsertionMode::AfterBody);
    EXPECT_EQ(stackNames(*run.constructor), "(html) body p");
}

TEST(CaseFoldingEndTags, HtmlEndTagWithTheHtmlElementAloneEmptiesTheStack)
{
    TreeFeed feed(1);
    TreeConstructor& tree = *feed.constructor;
    tree.createHtmlRoot();
    tree.insertionMode = InsertionMode::InBody;
    TagTokenRef end = feed.end(u"html");
    EXPECT_FALSE(end->ignored);
    EXPECT_TRUE(tree.openElements.empty());
    EXPECT_FALSE(tree.currentNode);
    // An element made afterwards has no parent to join. (The walk asked the
    // html element for its name, which filled it from the tag table.)
    feed.start(u"div");
    EXPECT_EQ(feed.tree(), "<html> ns=0\n");
    EXPECT_EQ(stackNames(tree), "div");
}

TEST(CaseFoldingEndTags, ParagraphEndTagWithoutParagraphMakesOne)
{
    TreeFeed feed(1);
    feed.start(u"div");
    TagTokenRef end = feed.end(u"p");
    EXPECT_FALSE(end->ignored);
    EXPECT_EQ(feed.errors->treeCodes(), Codes{144});
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head> ns=0\n  <body> ns=0\n    <div> ns=0\n"
                           "      <p> ns=0\n");
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body div");
}

TEST(CaseFoldingEndOfFile, OpenDivIsReportedOnceAndStays)
{
    TreeRun run(u"<div><span>", 1);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{124});
    EXPECT_EQ(stackNames(*run.constructor), "(html) body div span");
}

}  // namespace
}  // namespace Parsers
