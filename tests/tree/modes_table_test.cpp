// The table modes of case folding parsing: in table, in table text, in
// caption, in column group, in table body, in row and in cell, each row with
// its reports, and the runs of table text.

#include <gtest/gtest.h>

#include <stdexcept>

#include "case_folding_feed.h"

namespace Parsers {
namespace {

using Testing::CaseFoldingFeed;
using Testing::makeTag;
using Testing::Reports;

bool lastEntryIsMarker(const TreeConstructor& tree)
{
    return !tree.activeFormatting.empty() && isFormattingMarker(*tree.activeFormatting.entries.back());
}

// ---------------------------------------------------------------- in table text

TEST(InTableText, LetterInATableGoesInFrontOfItWithAReportForTheCharacter)
{
    CaseFoldingFeed f;
    f.openTable();
    f.text(u"x");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTableText);
    EXPECT_EQ(f.tree.savedInsertionMode, InsertionMode::InTable);
    f.end(u"table");
    EXPECT_EQ(f.body(), "\"x\"\n<table>\n");
    EXPECT_EQ(f.reports(), (Reports{"153 C x"}));
    EXPECT_FALSE(f.tree.framesetOk);
    EXPECT_EQ(f.stack(), "(html) body");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
}

TEST(InTableText, RunOfSpacesStaysInTheTable)
{
    CaseFoldingFeed f;
    f.openTable();
    f.text(u" \n\t\f\r");
    f.end(u"table");
    EXPECT_EQ(f.body(), "<table>\n  \" \\n\\t\\u000C\\u000D\"\n");
    EXPECT_EQ(f.reports(), Reports{});
    EXPECT_TRUE(f.tree.framesetOk);
}

TEST(InTableText, VerticalTabTurnsTheRunIntoAFosterRunReportedPerUnit)
{
    CaseFoldingFeed f;
    f.openTable();
    f.text(u" \x0B ");
    f.end(u"table");
    EXPECT_EQ(f.body(), "\" \\u000B \"\n<table>\n");
    EXPECT_EQ(f.reports(), (Reports{"153 C  ", "153 C \\u000B", "153 C  "}));
    // All three are whitespace to the in body text rule.
    EXPECT_TRUE(f.tree.framesetOk);
}

TEST(InTableText, OneLetterSendsTheSpacesOfTheRunAlongToo)
{
    CaseFoldingFeed f;
    f.openTable();
    f.text(u" a ");
    f.comment(u"c");
    EXPECT_EQ(f.body(), "\" a \"\n<table>\n  <!-- c -->\n");
    EXPECT_EQ(f.reports(), (Reports{"153 C  ", "153 C a", "153 C  "}));
}

TEST(InTableText, NulIsReportedAndDropped)
{
    CaseFoldingFeed f;
    f.openTable();
    f.text(std::u16string(u"\0", 1));
    EXPECT_TRUE(f.tree.pendingTableCharacters.empty());
    f.end(u"table");
    EXPECT_EQ(f.body(), "<table>\n");
    EXPECT_EQ(f.reports(), (Reports{"160 P"}));
}

TEST(InTableText, NulAmongSpacesLeavesASpaceRun)
{
    CaseFoldingFeed f;
    f.openTable();
    f.text(std::u16string(u" \0 ", 3));
    f.end(u"table");
    EXPECT_EQ(f.body(), "<table>\n  \"  \"\n");
    EXPECT_EQ(f.reports(), (Reports{"160 P"}));
}

TEST(InTableText, RunStaysPendingAfterTheFlushUntilTheNextRun)
{
    CaseFoldingFeed f;
    f.openTable();
    f.text(u"ab");
    f.comment(u"c");
    EXPECT_EQ(f.tree.pendingTableCharacters, u"ab");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
    f.text(u" ");
    EXPECT_EQ(f.tree.pendingTableCharacters, u" ");
    f.comment(u"d");
    EXPECT_EQ(f.body(), "\"ab\"\n<table>\n  <!-- c -->\n  \" \"\n  <!-- d -->\n");
}

TEST(InTableText, RunFromARowGoesBackToTheRow)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.clearReports();
    f.text(u"x");
    EXPECT_EQ(f.tree.savedInsertionMode, InsertionMode::InRow);
    f.start(u"td");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InCell);
    EXPECT_EQ(f.body(),
              "\"x\"\n"
              "<table>\n"
              "  <tbody>\n"
              "    <tr>\n"
              "      <td>\n");
    EXPECT_EQ(f.reports(), (Reports{"153 C x"}));
}

TEST(InTableText, RunFromATableBodyGoesBackToTheTableBody)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tbody");
    f.text(u"\n");
    EXPECT_EQ(f.tree.savedInsertionMode, InsertionMode::InTableBody);
    f.end(u"tbody");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
    EXPECT_EQ(f.body(), "<table>\n  <tbody>\n    \"\\n\"\n");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InTableText, EndOfInputFlushesTheRunAndThenReachesTheTable)
{
    CaseFoldingFeed f;
    f.openTable();
    f.text(u"x");
    f.endOfFile();
    EXPECT_EQ(f.body(), "\"x\"\n<table>\n");
    EXPECT_EQ(f.reports(), (Reports{"153 C x", "155 P"}));
}

TEST(InTableText, FosterRunInsideAForeignParentOfTheTableFollowsTheCurrentNode)
{
    // A span opened in the table is the current node: the run goes into it,
    // since the placing follows the current node and not the foster flag.
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"span");
    f.text(u"x");
    f.end(u"span");
    EXPECT_EQ(f.body(), "<span>\n  \"x\"\n<table>\n");
    EXPECT_EQ(f.reports(), (Reports{"153 T span", "153 C x", "153 T span"}));
    EXPECT_EQ(f.stack(), "(html) body table");
}

TEST(InTableText, FosterRunRebuildsClosedFormattingInFrontOfTheTable)
{
    CaseFoldingFeed f;
    f.openTable();
    // A formatting element that was closed but is still listed.
    f.tree.activeFormatting.pushElement(Testing::makeElement(u"b"));
    f.text(u"x");
    f.comment(u"c");
    // The rebuilt b was pushed above the table and is still open: the comment
    // goes into it.
    EXPECT_EQ(f.body(), "<b>\n  \"x\"\n  <!-- c -->\n<table>\n");
    EXPECT_EQ(f.stack(), "(html) body table b");
}

// ---------------------------------------------------------------- in table

TEST(InTable, CommentGoesIntoTheTable)
{
    CaseFoldingFeed f;
    f.openTable();
    f.comment(u"c");
    EXPECT_EQ(f.body(), "<table>\n  <!-- c -->\n");
}

TEST(InTable, DoctypeIsReportedAndNotFlagged)
{
    CaseFoldingFeed f;
    f.openTable();
    auto doctype = f.feed.doctype(u"html");
    EXPECT_EQ(f.reports(), (Reports{"154 P"}));
    EXPECT_FALSE(doctype->ignored);
    EXPECT_EQ(f.body(), "<table>\n");
}

TEST(InTable, EndOfInputIsReportedUnlessTheCurrentNodeIsHtml)
{
    CaseFoldingFeed f;
    f.openTable();
    f.endOfFile();
    EXPECT_EQ(f.reports(), (Reports{"155 P"}));
    EXPECT_EQ(f.stack(), "(html) body table");

    CaseFoldingFeed root;
    root.tree.createHtmlRoot();
    root.tree.insertionMode = InsertionMode::InTable;
    root.endOfFile();
    EXPECT_EQ(root.reports(), Reports{});

    CaseFoldingFeed empty;
    empty.tree.insertionMode = InsertionMode::InTable;
    empty.endOfFile();
    EXPECT_EQ(empty.reports(), (Reports{"155 P"}));
}

TEST(InTable, CaptionClearsToTheTableAndSetsAMarkerFirst)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"span");
    EXPECT_EQ(f.stack(), "(html) body table span");
    f.start(u"caption");
    EXPECT_EQ(f.body(), "<span>\n<table>\n  <caption>\n");
    EXPECT_EQ(f.stack(), "(html) body table caption");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InCaption);
    EXPECT_TRUE(lastEntryIsMarker(f.tree));
    EXPECT_EQ(f.reports(), (Reports{"153 T span"}));
}

TEST(InTable, ColgroupClearsToTheTable)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"span");
    f.start(u"colgroup");
    EXPECT_EQ(f.stack(), "(html) body table colgroup");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InColumnGroup);
    EXPECT_EQ(f.body(), "<span>\n<table>\n  <colgroup>\n");
}

TEST(InTable, ColMakesAColgroupThatStaysOpen)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"col");
    f.start(u"col", {}, true);
    EXPECT_EQ(f.body(), "<table>\n  <colgroup>\n    <col>\n    <col>\n");
    EXPECT_EQ(f.stack(), "(html) body table colgroup");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InColumnGroup);
    // The self-closing flag of col is acknowledged.
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InTable, SectionStartTagsClearToTheTable)
{
    for (const char16_t* name : {u"tbody", u"tfoot", u"thead"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"span");
        f.start(name);
        EXPECT_EQ(f.stack(), "(html) body table " + Testing::escapeText(name));
        EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTableBody);
    }
}

TEST(InTable, CellMakesTableBodyAndRowWithAReportInTheTableBody)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"td");
    EXPECT_EQ(f.body(),
              "<table>\n"
              "  <tbody>\n"
              "    <tr>\n"
              "      <td>\n");
    EXPECT_EQ(f.reports(), (Reports{"164 T td"}));
    EXPECT_EQ(f.stack(), "(html) body table tbody tr td");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InCell);
    EXPECT_TRUE(lastEntryIsMarker(f.tree));
}

TEST(InTable, RowMakesATableBodyWithoutReport)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    EXPECT_EQ(f.body(), "<table>\n  <tbody>\n    <tr>\n");
    EXPECT_EQ(f.reports(), Reports{});
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InRow);
}

TEST(InTable, TableInATableClosesTheFirstAndFollowsAsASibling)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"table");
    EXPECT_EQ(f.body(), "<table>\n<table>\n");
    EXPECT_EQ(f.stack(), "(html) body table");
    EXPECT_EQ(f.reports(), (Reports{"156 P"}));
}

TEST(InTable, ScriptAndStyleGoIntoTheTableAsTextElements)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"script");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::Text);
    EXPECT_EQ(f.tree.savedInsertionMode, InsertionMode::InTable);
    f.text(u"a<b");
    f.end(u"script");
    f.start(u"style");
    f.text(u"c");
    f.end(u"style");
    EXPECT_EQ(f.body(),
              "<table>\n"
              "  <script>\n"
              "    \"a<b\"\n"
              "  <style>\n"
              "    \"c\"\n");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InTable, InputWithAnInputAttributeOfHiddenGoesInFrontAndIsClosed)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"input", {{u"input", u"HIDDEN"}});
    EXPECT_EQ(f.body(), "<input>\n  input=\"HIDDEN\"\n<table>\n");
    EXPECT_EQ(f.stack(), "(html) body table");
    EXPECT_EQ(f.reports(), (Reports{"157 P"}));
}

TEST(InTable, HiddenInputRowDoesNotAcknowledgeTheSelfClosingFlag)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"input", {{u"input", u"hidden"}}, true);
    EXPECT_EQ(f.reports(), (Reports{"157 P", "109 T input"}));
    EXPECT_EQ(f.stack(), "(html) body table");
}

TEST(InTable, InputOfTypeHiddenIsAnyOtherStartTag)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"input", {{u"type", u"hidden"}});
    EXPECT_EQ(f.body(), "<input>\n  type=\"hidden\"\n<table>\n");
    EXPECT_EQ(f.reports(), (Reports{"153 T input"}));
}

TEST(InTable, InputAttributeWithAnotherValueIsAnyOtherStartTag)
{
    for (const char16_t* value : {u"hidde", u"hidden ", u"", u"hıdden"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"input", {{u"input", value}});
        EXPECT_EQ(f.reports(), (Reports{"153 T input"})) << Testing::escapeText(value);
    }
}

TEST(InTable, FormGoesInFrontIsClosedAndStaysTheFormElement)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"form");
    EXPECT_EQ(f.body(), "<form>\n<table>\n");
    EXPECT_EQ(f.stack(), "(html) body table");
    ASSERT_TRUE(f.tree.formElement);
    EXPECT_EQ(f.tree.formElement->getNodeName(), u"form");
    EXPECT_EQ(f.reports(), (Reports{"158 P"}));

    auto second = f.start(u"form");
    EXPECT_TRUE(second->ignored);
    EXPECT_EQ(f.body(), "<form>\n<table>\n");
    EXPECT_EQ(f.reports(), (Reports{"158 P", "158 P"}));
}

TEST(InTable, EndTableResetsToTheModeOfWhatIsLeft)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"td");
    // A table inside the cell, entered by hand.
    f.start(u"table");
    f.tree.insertionMode = InsertionMode::InTable;
    f.end(u"table");
    EXPECT_EQ(f.stack(), "(html) body table tbody tr td");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InCell);
}

TEST(InTable, EndTableWithoutATablePopsNothingAndResetsAllTheSame)
{
    CaseFoldingFeed f;
    f.enter({u"div"}, InsertionMode::InTable);
    auto token = f.end(u"table");
    EXPECT_EQ(f.stack(), "(html) body div");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
    EXPECT_FALSE(token->ignored);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InTable, EndTagsOfTheStructureAreDroppedWithoutReport)
{
    for (const char16_t* name : {u"body", u"caption", u"col", u"colgroup", u"html", u"tbody", u"td",
                                 u"tfoot", u"th", u"thead", u"tr"}) {
        CaseFoldingFeed f;
        f.openTable();
        auto token = f.end(name);
        EXPECT_TRUE(token->ignored) << Testing::escapeText(name);
        EXPECT_EQ(f.reports(), Reports{}) << Testing::escapeText(name);
        EXPECT_EQ(f.stack(), "(html) body table");
        EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
    }
}

TEST(InTable, AnyOtherEndTagIsReportedAndWalksTheStackWithFosterParenting)
{
    CaseFoldingFeed f;
    f.openTable();
    auto token = f.end(u"span");
    // The table is special: the walk stops there.
    EXPECT_EQ(f.reports(), (Reports{"153 T span", "150 T span"}));
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.stack(), "(html) body table");
}

TEST(InTable, AnyOtherStartTagIsFosterParentedAndPushed)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"foo");
    f.start(u"bar");
    // bar's current node is foo, no table structure: it goes into foo.
    EXPECT_EQ(f.body(), "<foo>\n  <bar>\n<table>\n");
    EXPECT_EQ(f.stack(), "(html) body table foo bar");
    EXPECT_EQ(f.reports(), (Reports{"153 T foo", "153 T bar"}));
}

TEST(InTable, TableWhoseParentWasRemovedPlacesStrayContentBelowItOnTheStack)
{
    CaseFoldingFeed f;
    f.openTable();
    removeChild(f.tree.currentTable.get(), f.tree.currentTable->parent);
    f.start(u"span");
    // Into the body, the stack entry below the table.
    EXPECT_EQ(f.body(), "<span>\n");
    EXPECT_EQ(f.stack(), "(html) body table span");
}

// ---------------------------------------------------------------- in caption

TEST(InCaption, TextAndTagsGoIntoTheCaption)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"caption");
    f.text(u"x");
    f.start(u"span");
    f.comment(u"c");
    EXPECT_EQ(f.body(),
              "<table>\n"
              "  <caption>\n"
              "    \"x\"\n"
              "    <span>\n"
              "      <!-- c -->\n");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InCaption, StructureStartTagClosesTheCaptionAndIsHandledAgain)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"caption");
    f.text(u"x");
    f.start(u"tr");
    EXPECT_EQ(f.body(),
              "<table>\n"
              "  <caption>\n"
              "    \"x\"\n"
              "  <tbody>\n"
              "    <tr>\n");
    EXPECT_EQ(f.reports(), Reports{});
    EXPECT_TRUE(f.tree.activeFormatting.empty());
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InRow);
}

TEST(InCaption, EveryStructureStartTagClosesTheCaption)
{
    for (const char16_t* name : {u"caption", u"col", u"colgroup", u"tbody", u"td", u"tfoot", u"th",
                                 u"thead", u"tr"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"caption");
        f.start(name);
        const std::string stack = f.stack();
        const std::string label = Testing::escapeText(name);
        if (std::u16string_view(name) == u"caption") {
            EXPECT_EQ(stack, "(html) body table caption");
        } else {
            EXPECT_EQ(stack.find("caption"), std::string::npos) << label;
        }
        const bool cell = label == "td" || label == "th";
        EXPECT_EQ(f.reports(), cell ? Reports{"164 T " + label} : Reports{}) << label;
    }
}

TEST(InCaption, EndTableClosesTheCaptionAndTheTable)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"caption");
    f.end(u"table");
    EXPECT_EQ(f.stack(), "(html) body");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InCaption, EndTagsOfTheStructureAreReportedAndDropped)
{
    for (const char16_t* name : {u"body", u"col", u"colgroup", u"html", u"tbody", u"td", u"tfoot",
                                 u"th", u"thead", u"tr"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"caption");
        auto token = f.end(name);
        const std::string label = Testing::escapeText(name);
        EXPECT_TRUE(token->ignored) << label;
        EXPECT_EQ(f.reports(), Reports{"162 T " + label});
        EXPECT_EQ(f.stack(), "(html) body table caption");
    }
}

TEST(InCaption, EndCaptionPopsAnOpenParagraphWithoutReport)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"caption");
    f.start(u"p");
    f.end(u"caption");
    EXPECT_EQ(f.body(), "<table>\n  <caption>\n    <p>\n");
    EXPECT_EQ(f.stack(), "(html) body table");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InCaption, EndCaptionOverAnOpenElementIsReported)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"caption");
    f.start(u"span");
    f.end(u"caption");
    EXPECT_EQ(f.stack(), "(html) body table");
    EXPECT_EQ(f.reports(), (Reports{"161 P"}));
}

TEST(InCaption, EndCaptionWithoutCaptionStillClearsTheListAndLeaves)
{
    CaseFoldingFeed f;
    f.openTable();
    f.tree.insertionMode = InsertionMode::InCaption;
    f.tree.activeFormatting.pushMarker();
    f.tree.activeFormatting.pushElement(Testing::makeElement(u"b"));
    f.end(u"caption");
    EXPECT_EQ(f.stack(), "(html) body table");
    EXPECT_TRUE(f.tree.activeFormatting.empty());
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
    EXPECT_EQ(f.reports(), (Reports{"161 P"}));
}

TEST(InCaption, DoctypeAndEndOfInputTakeTheInBodyRules)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"caption");
    f.feed.doctype(u"html");
    f.endOfFile();
    // The table is no element that may stay open at the end.
    EXPECT_EQ(f.reports(), (Reports{"123 P", "124 P"}));
}

// ---------------------------------------------------------------- in column group

TEST(InColumnGroup, SpacesAndVerticalTabAreAppended)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"colgroup");
    f.text(u" \x0B\n");
    EXPECT_EQ(f.body(), "<table>\n  <colgroup>\n    \" \\u000B\\n\"\n");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InColumnGroup);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InColumnGroup, LetterClosesTheGroupAndBecomesTableText)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"colgroup");
    f.text(u"x");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTableText);
    EXPECT_EQ(f.stack(), "(html) body table");
    f.endOfFile();
    EXPECT_EQ(f.body(), "\"x\"\n<table>\n  <colgroup>\n");
    EXPECT_EQ(f.reports(), (Reports{"153 C x", "155 P"}));
}

TEST(InColumnGroup, CommentGoesIntoTheGroupAndDoctypeIsDropped)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"colgroup");
    f.comment(u"c");
    auto doctype = f.feed.doctype(u"html");
    EXPECT_TRUE(doctype->ignored);
    EXPECT_EQ(f.body(), "<table>\n  <colgroup>\n    <!-- c -->\n");
    EXPECT_EQ(f.reports(), (Reports{"163 P"}));
}

TEST(InColumnGroup, ColIsInsertedClosedAndAcknowledged)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"colgroup");
    auto col = f.start(u"col", {{u"span", u"2"}}, true);
    EXPECT_TRUE(col->selfClosingAcknowledged);
    EXPECT_EQ(f.body(), "<table>\n  <colgroup>\n    <col>\n      span=\"2\"\n");
    EXPECT_EQ(f.stack(), "(html) body table colgroup");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InColumnGroup, EndColIsReportedAndDropped)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"colgroup");
    auto token = f.end(u"col");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.reports(), (Reports{"163 T col"}));
    EXPECT_EQ(f.stack(), "(html) body table colgroup");
}

TEST(InColumnGroup, EndColgroupPopsTheGroup)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"colgroup");
    f.end(u"colgroup");
    EXPECT_EQ(f.stack(), "(html) body table");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
}

TEST(InColumnGroup, EndColgroupPopsWhateverIsCurrent)
{
    CaseFoldingFeed f;
    f.openTable();
    f.tree.insertionMode = InsertionMode::InColumnGroup;
    f.end(u"colgroup");
    EXPECT_EQ(f.stack(), "(html) body");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InColumnGroup, EndOfInputClosesTheGroupAndReachesTheTable)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"colgroup");
    f.endOfFile();
    EXPECT_EQ(f.stack(), "(html) body table");
    EXPECT_EQ(f.reports(), (Reports{"155 P"}));
}

TEST(InColumnGroup, AnyOtherTagClosesTheGroupAndIsHandledAgain)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"colgroup");
    f.start(u"tr");
    f.end(u"span");
    EXPECT_EQ(f.body(), "<table>\n  <colgroup>\n  <tbody>\n    <tr>\n");
    EXPECT_EQ(f.reports(), (Reports{"153 T span", "150 T span"}));
}

// ---------------------------------------------------------------- in table body

TEST(InTableBody, RowClearsToTheSection)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tbody");
    f.start(u"span");
    f.start(u"tr");
    EXPECT_EQ(f.body(), "<span>\n<table>\n  <tbody>\n    <tr>\n");
    EXPECT_EQ(f.stack(), "(html) body table tbody tr");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InRow);
    EXPECT_EQ(f.reports(), (Reports{"153 T span"}));
}

TEST(InTableBody, CellOutsideARowGetsARowAndAReport)
{
    for (const char16_t* name : {u"td", u"th"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"thead");
        f.start(name);
        const std::string label = Testing::escapeText(name);
        EXPECT_EQ(f.stack(), "(html) body table thead tr " + label);
        EXPECT_EQ(f.reports(), Reports{"164 T " + label});
    }
}

TEST(InTableBody, SectionStartTagClosesTheOpenSection)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"thead");
    f.start(u"tr");
    f.start(u"tbody");
    EXPECT_EQ(f.body(), "<table>\n  <thead>\n    <tr>\n  <tbody>\n");
    EXPECT_EQ(f.stack(), "(html) body table tbody");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InTableBody, CaptionAndColumnsCloseTheSectionFirst)
{
    for (const char16_t* name : {u"caption", u"col", u"colgroup", u"tfoot"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"tbody");
        f.start(name);
        const std::string label = Testing::escapeText(name);
        EXPECT_EQ(f.stack().rfind("(html) body table ", 0), 0u) << label;
        EXPECT_EQ(f.stack().find("tbody"), std::string::npos) << label;
        EXPECT_EQ(f.reports(), Reports{}) << label;
    }
}

TEST(InTableBody, EndOfAnOpenSectionLeavesForTheTable)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tfoot");
    f.start(u"span");
    f.end(u"tfoot");
    EXPECT_EQ(f.stack(), "(html) body table");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
    EXPECT_EQ(f.reports(), (Reports{"153 T span"}));
}

TEST(InTableBody, EndOfASectionNotInTableScopeIsReported)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tbody");
    auto token = f.end(u"thead");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.reports(), (Reports{"165 T thead"}));
    EXPECT_EQ(f.stack(), "(html) body table tbody");
}

TEST(InTableBody, EndTableClosesSectionAndTable)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tbody");
    f.end(u"table");
    EXPECT_EQ(f.stack(), "(html) body");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InTableBody, EndTagsOfOtherPartsAreReportedUnderTheStartTagMessage)
{
    for (const char16_t* name : {u"body", u"caption", u"col", u"colgroup", u"html", u"td", u"th",
                                 u"tr"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"tbody");
        auto token = f.end(name);
        const std::string label = Testing::escapeText(name);
        EXPECT_TRUE(token->ignored) << label;
        EXPECT_EQ(f.reports(), Reports{"166 T " + label});
    }
    EXPECT_STREQ(parseErrorMessage(ParseErrorCode::UnexpectedStartTagInTableBody),
                 "Unexpected start tag in in table body insertion mode.");
}

TEST(InTableBody, AnythingElseTakesTheTableRules)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tbody");
    f.comment(u"c");
    f.start(u"span");
    EXPECT_EQ(f.body(), "<span>\n<table>\n  <tbody>\n    <!-- c -->\n");
    EXPECT_EQ(f.reports(), (Reports{"153 T span"}));
}

TEST(InTableBody, SectionStartTagWithoutASectionOpenDispatchesAgainWithoutEnd)
{
    // Nothing to close: the made up end tag names html and is dropped, and the
    // token comes back to the same rule. The chain ends by the failure path.
    CaseFoldingFeed f;
    f.openTable();
    f.tree.insertionMode = InsertionMode::InTableBody;
    EXPECT_THROW(f.start(u"caption"), std::length_error);
}

TEST(InTableBody, SectionStartTagOnAnEmptyStackEndsByTheFailurePath)
{
    CaseFoldingFeed f;
    f.tree.insertionMode = InsertionMode::InTableBody;
    EXPECT_THROW(f.start(u"caption"), std::out_of_range);
}

// ---------------------------------------------------------------- in row

TEST(InRow, CellClearsToTheRowAndComesBeforeItsMarker)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"span");
    f.start(u"th");
    EXPECT_EQ(f.stack(), "(html) body table tbody tr th");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InCell);
    ASSERT_TRUE(lastEntryIsMarker(f.tree));
    EXPECT_EQ(f.tree.activeFormatting.size(), 1u);
}

TEST(InRow, RowStartTagClosesTheRow)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"tr");
    EXPECT_EQ(f.body(), "<table>\n  <tbody>\n    <tr>\n    <tr>\n");
    EXPECT_EQ(f.stack(), "(html) body table tbody tr");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InRow, CaptionClosesRowAndSection)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"caption");
    EXPECT_EQ(f.body(), "<table>\n  <tbody>\n    <tr>\n  <caption>\n");
    EXPECT_EQ(f.stack(), "(html) body table caption");
}

TEST(InRow, StartTagAlreadyFlaggedAsIgnoredOnlyClosesTheRow)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    auto token = makeTag(TokenType::StartTag, u"tr");
    token->ignored = true;
    f.tree.dispatchToken(token, false);
    EXPECT_EQ(f.body(), "<table>\n  <tbody>\n    <tr>\n");
    EXPECT_EQ(f.stack(), "(html) body table tbody");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTableBody);
}

TEST(InRow, EndRowClearsToTheRowAndPopsIt)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"span");
    f.end(u"tr");
    EXPECT_EQ(f.stack(), "(html) body table tbody");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTableBody);
}

TEST(InRow, EndRowWithoutARowPopsDownToNothing)
{
    // No scope test: the clearing stops at the last entry, and the pop takes
    // that too.
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tbody");
    f.tree.insertionMode = InsertionMode::InRow;
    f.end(u"tr");
    EXPECT_EQ(f.stack(), "");
    EXPECT_FALSE(f.tree.currentNode);
    EXPECT_FALSE(f.tree.currentTable);
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTableBody);
}

TEST(InRow, EndTableClosesRowSectionAndTable)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.end(u"table");
    EXPECT_EQ(f.stack(), "(html) body");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InRow, EndOfTheOpenSectionClosesTheRowFirst)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"thead");
    f.start(u"tr");
    f.end(u"thead");
    EXPECT_EQ(f.stack(), "(html) body table");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTable);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InRow, EndOfASectionNotInTableScopeIsReported)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    auto token = f.end(u"tfoot");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.reports(), (Reports{"167 T tfoot"}));
    EXPECT_EQ(f.stack(), "(html) body table tbody tr");
}

TEST(InRow, EndTagsOfOtherPartsAreReportedAndDropped)
{
    for (const char16_t* name : {u"body", u"caption", u"col", u"colgroup", u"html", u"td", u"th"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"tr");
        auto token = f.end(name);
        const std::string label = Testing::escapeText(name);
        EXPECT_TRUE(token->ignored) << label;
        EXPECT_EQ(f.reports(), Reports{"168 T " + label});
    }
}

TEST(InRow, AnythingElseTakesTheTableRules)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"span");
    f.comment(u"c");
    EXPECT_EQ(f.body(), "<span>\n  <!-- c -->\n<table>\n  <tbody>\n    <tr>\n");
    EXPECT_EQ(f.reports(), (Reports{"153 T span"}));
}

// ---------------------------------------------------------------- in cell

TEST(InCell, TextAndTagsGoIntoTheCell)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"td");
    f.clearReports();
    f.text(u"x");
    f.start(u"span");
    EXPECT_EQ(f.body(),
              "<table>\n"
              "  <tbody>\n"
              "    <tr>\n"
              "      <td>\n"
              "        \"x\"\n"
              "        <span>\n");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InCell, CellStartTagClosesTheCell)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"td");
    f.text(u"x");
    f.start(u"td");
    f.text(u"y");
    EXPECT_EQ(f.body(),
              "<table>\n"
              "  <tbody>\n"
              "    <tr>\n"
              "      <td>\n"
              "        \"x\"\n"
              "      <td>\n"
              "        \"y\"\n");
    EXPECT_EQ(f.reports(), Reports{});
    // One marker: the first cell's went with it.
    EXPECT_EQ(f.tree.activeFormatting.size(), 1u);
}

TEST(InCell, EveryStructureStartTagClosesTheCell)
{
    for (const char16_t* name : {u"caption", u"col", u"colgroup", u"tbody", u"td", u"tfoot", u"th",
                                 u"thead", u"tr"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"tr");
        f.start(u"td");
        f.start(u"span");
        f.start(name);
        const std::string label = Testing::escapeText(name);
        // The span is still open when the made up end tag closes the cell.
        EXPECT_EQ(f.reports(), Reports{"169 T td"}) << label;
        EXPECT_EQ(f.stack().find("span"), std::string::npos) << label;
    }
}

TEST(InCell, CellInsideAHeaderCellClosesItAsHeaderCell)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"th");
    f.start(u"td");
    EXPECT_EQ(f.body(), "<table>\n  <tbody>\n    <tr>\n      <th>\n      <td>\n");
    EXPECT_EQ(f.stack(), "(html) body table tbody tr td");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InCell, EndCellPopsAnOpenParagraphWithoutReport)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"td");
    f.start(u"p");
    f.end(u"td");
    EXPECT_EQ(f.stack(), "(html) body table tbody tr");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InRow);
    EXPECT_TRUE(f.tree.activeFormatting.empty());
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InCell, EndCellOverAnOpenElementIsReported)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"th");
    f.start(u"span");
    f.end(u"th");
    EXPECT_EQ(f.stack(), "(html) body table tbody tr");
    EXPECT_EQ(f.reports(), (Reports{"169 T th"}));
}

TEST(InCell, EndCellOfTheOtherKindIsReportedAndDropped)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"td");
    auto token = f.end(u"th");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.reports(), (Reports{"169 T th"}));
    EXPECT_EQ(f.stack(), "(html) body table tbody tr td");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InCell);
}

TEST(InCell, EndRowClosesTheCellFirst)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"td");
    f.end(u"tr");
    EXPECT_EQ(f.stack(), "(html) body table tbody");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTableBody);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InCell, EndTableClosesEverything)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"td");
    f.end(u"table");
    EXPECT_EQ(f.stack(), "(html) body");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
    EXPECT_TRUE(f.tree.activeFormatting.empty());
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InCell, EndOfASectionNotInTableScopeIsReported)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"thead");
    f.start(u"tr");
    f.start(u"td");
    auto token = f.end(u"tbody");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.reports(), (Reports{"171 T tbody"}));
    EXPECT_EQ(f.stack(), "(html) body table thead tr td");
}

TEST(InCell, EndTagsOutsideTheCellAreReportedAndDropped)
{
    for (const char16_t* name : {u"body", u"caption", u"col", u"colgroup", u"html"}) {
        CaseFoldingFeed f;
        f.openTable();
        f.start(u"tr");
        f.start(u"td");
        auto token = f.end(name);
        const std::string label = Testing::escapeText(name);
        EXPECT_TRUE(token->ignored) << label;
        EXPECT_EQ(f.reports(), Reports{"170 T " + label});
        EXPECT_EQ(f.stack(), "(html) body table tbody tr td");
    }
}

TEST(InCell, DoctypeCommentAndEndOfInputTakeTheInBodyRules)
{
    CaseFoldingFeed f;
    f.openTable();
    f.start(u"tr");
    f.start(u"td");
    f.comment(u"c");
    f.feed.doctype(u"html");
    f.endOfFile();
    EXPECT_EQ(f.body(), "<table>\n  <tbody>\n    <tr>\n      <td>\n        <!-- c -->\n");
    EXPECT_EQ(f.reports(), (Reports{"123 P", "124 P"}));
}

TEST(CloseCell, WalkWithoutCellOrTableMakesAnEndTd)
{
    // An empty stack: the made up td finds "in scope" by running off the
    // bottom and is reported for the missing current node.
    CaseFoldingFeed f;
    f.tree.insertionMode = InsertionMode::InCell;
    f.start(u"tr");
    EXPECT_EQ(f.reports(), (Reports{"169 T td"}));
    EXPECT_EQ(f.stack(), "tr");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InRow);
}

TEST(CloseCell, CellStartTagWithNoCellOpenDispatchesAgainWithoutEnd)
{
    // The walk meets html first and makes an end th, which is not in table
    // scope and is dropped: the start tag comes back to the same rule. The
    // chain ends by the failure path.
    CaseFoldingFeed f;
    f.enter({u"div"}, InsertionMode::InCell);
    EXPECT_THROW(f.start(u"td"), std::length_error);
}

TEST(CloseCell, ChainThatEndsByTheFailurePathLeavesTheDepthAtZero)
{
    CaseFoldingFeed f;
    f.enter({u"div"}, InsertionMode::InCell);
    EXPECT_THROW(f.start(u"td"), std::length_error);
    // Dispatching works again afterwards, with the full depth available.
    f.tree.insertionMode = InsertionMode::InBody;
    f.start(u"span");
    EXPECT_EQ(f.stack(), "(html) body div span");
}

}  // namespace
}  // namespace Parsers
