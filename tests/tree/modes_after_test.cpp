// The modes at the end of a document and of a frameset under case folding
// parsing: after body, after after body, in frameset, after frameset and after
// after frameset, each row with its reports. No rule enters the frameset
// modes, so their tests put the tree constructor into them by hand.

#include <gtest/gtest.h>

#include <stdexcept>

#include "case_folding_feed.h"

namespace Parsers {
namespace {

using Testing::CaseFoldingFeed;
using Reports = Testing::Reports;

// An html root holding a frameset, in the in frameset mode.
void openFrameset(CaseFoldingFeed& f)
{
    f.tree.createHtmlRoot();
    f.tree.insertionMode = InsertionMode::InFrameset;
    f.start(u"frameset");
}

// ---------------------------------------------------------------- after body

TEST(AfterBody, CommentGoesIntoTheHtmlElement)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterBody);
    f.comment(u"c");
    EXPECT_EQ(f.document(),
              "<(html)>\n"
              "  <head>\n"
              "  <body>\n"
              "    <p>\n"
              "  <!-- c -->\n");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterBody);
}

TEST(AfterBody, CommentWithAnEmptyStackEndsByTheFailurePath)
{
    CaseFoldingFeed f;
    f.tree.insertionMode = InsertionMode::AfterBody;
    EXPECT_THROW(f.comment(u"c"), std::out_of_range);
}

TEST(AfterBody, DoctypeIsReportedAndDropped)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterBody);
    auto doctype = f.feed.doctype(u"html");
    EXPECT_TRUE(doctype->ignored);
    EXPECT_EQ(f.reports(), (Reports{"183 P"}));
}

TEST(AfterBody, EndOfInputDoesNothing)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterBody);
    f.endOfFile();
    EXPECT_EQ(f.reports(), Reports{});
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterBody);
    EXPECT_EQ(f.stack(), "(html) body p");
}

TEST(AfterBody, EndHtmlLeadsToAfterAfterBody)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterBody);
    f.end(u"html");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterAfterBody);
    EXPECT_EQ(f.stack(), "(html) body p");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(AfterBody, OtherStartTagIsReportedAndGoesBackToTheBody)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterBody);
    f.start(u"span");
    EXPECT_EQ(f.body(), "<p>\n  <span>\n");
    EXPECT_EQ(f.reports(), (Reports{"182 T span"}));
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
}

TEST(AfterBody, OtherEndTagIsReportedAndGoesBackToTheBody)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterBody);
    f.end(u"p");
    EXPECT_EQ(f.stack(), "(html) body");
    EXPECT_EQ(f.reports(), (Reports{"182 T p"}));
}

TEST(AfterBody, SpaceGoesToTheCurrentNodeAndALetterReturnsToTheBody)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterBody);
    f.text(u" ");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterBody);
    EXPECT_TRUE(f.tree.framesetOk);
    f.text(u"x");
    EXPECT_EQ(f.body(), "<p>\n  \" x\"\n");
    EXPECT_EQ(f.reports(), (Reports{"182 C x"}));
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
    EXPECT_FALSE(f.tree.framesetOk);
}

TEST(AfterBody, NulIsNoSpaceAndReachesTheBodyRule)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterBody);
    f.text(std::u16string(u"\0", 1));
    EXPECT_EQ(f.reports(), (Reports{"182 C \\u0000", "125 P"}));
    EXPECT_EQ(f.body(), "<p>\n");
}

// ---------------------------------------------------------------- after after body

TEST(AfterAfterBody, CommentGoesIntoTheDocument)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterAfterBody);
    f.comment(u"c");
    EXPECT_EQ(f.document(),
              "<(html)>\n"
              "  <head>\n"
              "  <body>\n"
              "    <p>\n"
              "<!-- c -->\n");
}

TEST(AfterAfterBody, DoctypeIsReportedByTheInBodyRules)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterAfterBody);
    f.feed.doctype(u"html");
    EXPECT_EQ(f.reports(), (Reports{"123 P"}));
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterAfterBody);
}

TEST(AfterAfterBody, EndOfInputDoesNothing)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterAfterBody);
    f.endOfFile();
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(AfterAfterBody, AnyOtherTokenIsReportedAndGoesBackToTheBody)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterAfterBody);
    f.start(u"span");
    f.end(u"html");
    EXPECT_EQ(f.body(), "<p>\n  <span>\n");
    EXPECT_EQ(f.reports().at(0), "189 T span");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
}

TEST(AfterAfterBody, LetterIsReportedAndThenTakesTheInBodyRules)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterAfterBody);
    f.text(u"x");
    EXPECT_EQ(f.body(), "<p>\n  \"x\"\n");
    EXPECT_EQ(f.reports(), (Reports{"189 C x"}));
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
}

TEST(AfterAfterBody, SpaceRebuildsClosedFormatting)
{
    CaseFoldingFeed f;
    f.enter({u"p"}, InsertionMode::AfterAfterBody);
    f.tree.activeFormatting.pushElement(Testing::makeElement(u"b"));
    f.text(u" ");
    EXPECT_EQ(f.body(), "<p>\n  <b>\n    \" \"\n");
    EXPECT_EQ(f.stack(), "(html) body p b");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterAfterBody);
    EXPECT_EQ(f.reports(), Reports{});
}

// ---------------------------------------------------------------- in frameset

TEST(InFrameset, FramesetsNestAndFramesAreClosedAtOnce)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.start(u"frameset");
    auto frame = f.start(u"frame", {}, true);
    EXPECT_TRUE(frame->selfClosingAcknowledged);
    EXPECT_EQ(f.stack(), "(html) frameset frameset");
    f.end(u"frameset");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InFrameset);
    f.end(u"frameset");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterFrameset);
    EXPECT_EQ(f.stack(), "(html)");
    EXPECT_EQ(f.document(),
              "<(html)>\n"
              "  <frameset>\n"
              "    <frameset>\n"
              "      <frame>\n");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InFrameset, EndFramesetPopsWhateverIsCurrentEvenTheHtmlElement)
{
    CaseFoldingFeed f;
    f.tree.createHtmlRoot();
    f.tree.insertionMode = InsertionMode::InFrameset;
    f.end(u"frameset");
    EXPECT_EQ(f.stack(), "");
    EXPECT_FALSE(f.tree.currentNode);
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterFrameset);
}

TEST(InFrameset, CommentGoesIntoTheCurrentNodeAndDoctypeIsDropped)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.comment(u"c");
    auto doctype = f.feed.doctype(u"html");
    EXPECT_TRUE(doctype->ignored);
    EXPECT_EQ(f.document(), "<(html)>\n  <frameset>\n    <!-- c -->\n");
    EXPECT_EQ(f.reports(), (Reports{"184 P"}));
}

TEST(InFrameset, EndOfInputIsReportedWithMoreThanOneEntry)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.endOfFile();
    EXPECT_EQ(f.reports(), (Reports{"185 P"}));

    CaseFoldingFeed root;
    root.tree.createHtmlRoot();
    root.tree.insertionMode = InsertionMode::InFrameset;
    root.endOfFile();
    EXPECT_EQ(root.reports(), Reports{});
}

TEST(InFrameset, AnyOtherTagIsReportedAndDropped)
{
    CaseFoldingFeed f;
    openFrameset(f);
    auto start = f.start(u"div");
    auto end = f.end(u"div");
    EXPECT_TRUE(start->ignored);
    EXPECT_TRUE(end->ignored);
    EXPECT_EQ(f.document(), "<(html)>\n  <frameset>\n");
    EXPECT_EQ(f.reports(), (Reports{"186 T div", "186 T div"}));
}

TEST(InFrameset, SpacesAreAppendedAndOtherUnitsDropped)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.text(u" x\x0B");
    EXPECT_EQ(f.document(), "<(html)>\n  <frameset>\n    \" \\u000B\"\n");
    EXPECT_EQ(f.reports(), (Reports{"186 C x"}));
}

TEST(InFrameset, NoframesComesBackWithoutEndThroughTheInHeadRules)
{
    // The in head rules know no noframes: their made up end tag head is
    // dropped here, and the start tag comes back to this mode. The chain ends
    // by the failure path.
    CaseFoldingFeed f;
    openFrameset(f);
    EXPECT_THROW(f.start(u"noframes"), std::length_error);
    ASSERT_FALSE(f.reports().empty());
    EXPECT_EQ(f.reports()[0], "186 T head");
}

// ---------------------------------------------------------------- after frameset

TEST(AfterFrameset, CommentGoesIntoTheCurrentNodeAndDoctypeIsDropped)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.end(u"frameset");
    f.comment(u"c");
    auto doctype = f.feed.doctype(u"html");
    EXPECT_TRUE(doctype->ignored);
    EXPECT_EQ(f.document(), "<(html)>\n  <frameset>\n  <!-- c -->\n");
    EXPECT_EQ(f.reports(), (Reports{"188 P"}));
}

TEST(AfterFrameset, EndOfInputDoesNothingAndEndHtmlMovesOn)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.end(u"frameset");
    f.endOfFile();
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterFrameset);
    f.end(u"html");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterAfterFrameset);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(AfterFrameset, AnyOtherTagIsReportedAndDropped)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.end(u"frameset");
    auto start = f.start(u"frame");
    auto end = f.end(u"frameset");
    EXPECT_TRUE(start->ignored);
    EXPECT_TRUE(end->ignored);
    EXPECT_EQ(f.reports(), (Reports{"187 T frame", "187 T frameset"}));
    EXPECT_EQ(f.stack(), "(html)");
}

TEST(AfterFrameset, SpacesAreAppendedAndOtherUnitsDropped)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.end(u"frameset");
    f.text(u"\nx");
    EXPECT_EQ(f.document(), "<(html)>\n  <frameset>\n  \"\\n\"\n");
    EXPECT_EQ(f.reports(), (Reports{"187 C x"}));
}

TEST(AfterFrameset, NoframesComesBackWithoutEnd)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.end(u"frameset");
    EXPECT_THROW(f.start(u"noframes"), std::length_error);
}

// ---------------------------------------------------------------- after after frameset

TEST(AfterAfterFrameset, CommentGoesIntoTheDocumentAndDoctypeTakesTheBodyRules)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.end(u"frameset");
    f.end(u"html");
    f.comment(u"c");
    f.feed.doctype(u"html");
    f.endOfFile();
    EXPECT_EQ(f.document(), "<(html)>\n  <frameset>\n<!-- c -->\n");
    EXPECT_EQ(f.reports(), (Reports{"123 P"}));
}

TEST(AfterAfterFrameset, AnyOtherTagIsReportedAndDropped)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.end(u"frameset");
    f.end(u"html");
    auto start = f.start(u"p");
    auto end = f.end(u"html");
    EXPECT_TRUE(start->ignored);
    EXPECT_TRUE(end->ignored);
    EXPECT_EQ(f.reports(), (Reports{"190 T p", "190 T html"}));
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::AfterAfterFrameset);
}

TEST(AfterAfterFrameset, SpacesTakeTheBodyTextRuleAndOtherUnitsAreDropped)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.end(u"frameset");
    f.end(u"html");
    f.text(u" x");
    EXPECT_EQ(f.document(), "<(html)>\n  <frameset>\n  \" \"\n");
    EXPECT_EQ(f.reports(), (Reports{"190 C x"}));
}

TEST(AfterAfterFrameset, NoframesComesBackWithoutEnd)
{
    CaseFoldingFeed f;
    openFrameset(f);
    f.end(u"frameset");
    f.end(u"html");
    EXPECT_THROW(f.start(u"noframes"), std::length_error);
}

}  // namespace
}  // namespace Parsers
