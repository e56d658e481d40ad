// The select modes of case folding parsing: in select and in select in table,
// each row with its reports.

#include <gtest/gtest.h>

#include <stdexcept>

#include "case_folding_feed.h"

namespace Parsers {
namespace {

using Testing::CaseFoldingFeed;
using Reports = Testing::Reports;

// A select in the body, in the in select mode.
void openSelect(CaseFoldingFeed& f)
{
    f.enter({u"select"}, InsertionMode::InSelect);
}

// A select in a table cell, in the in select in table mode.
void openSelectInCell(CaseFoldingFeed& f)
{
    f.openTable();
    f.start(u"tr");
    f.start(u"td");
    f.start(u"select");
    f.tree.insertionMode = InsertionMode::InSelectInTable;
    f.clearReports();
}

// ---------------------------------------------------------------- in select

TEST(InSelect, TextGoesIntoTheCurrentNodeAndNulIsDropped)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.text(std::u16string(u"a\0b", 3));
    EXPECT_EQ(f.body(), "<select>\n  \"ab\"\n");
    EXPECT_EQ(f.reports(), (Reports{"172 P"}));
}

TEST(InSelect, CommentGoesIntoTheCurrentNodeAndDoctypeIsDropped)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.start(u"option");
    f.comment(u"c");
    auto doctype = f.feed.doctype(u"html");
    EXPECT_TRUE(doctype->ignored);
    EXPECT_EQ(f.body(), "<select>\n  <option>\n    <!-- c -->\n");
    EXPECT_EQ(f.reports(), (Reports{"174 P"}));
}

TEST(InSelect, EndOfInputIsReportedWithMoreThanOneEntryOnTheStack)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.endOfFile();
    EXPECT_EQ(f.reports(), (Reports{"173 P"}));

    CaseFoldingFeed root;
    root.tree.createHtmlRoot();
    root.tree.insertionMode = InsertionMode::InSelect;
    root.endOfFile();
    EXPECT_EQ(root.reports(), Reports{});

    CaseFoldingFeed empty;
    empty.tree.insertionMode = InsertionMode::InSelect;
    empty.endOfFile();
    EXPECT_EQ(empty.reports(), Reports{});
}

TEST(InSelect, OptionClosesAnOpenOption)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.start(u"option");
    f.text(u"a");
    f.start(u"option");
    f.text(u"b");
    EXPECT_EQ(f.body(), "<select>\n  <option>\n    \"a\"\n  <option>\n    \"b\"\n");
    EXPECT_EQ(f.stack(), "(html) body select option");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InSelect, OptgroupClosesAnOpenOptionAndThenAnOpenOptgroup)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.start(u"optgroup");
    f.start(u"option");
    f.start(u"optgroup");
    EXPECT_EQ(f.body(), "<select>\n  <optgroup>\n    <option>\n  <optgroup>\n");
    EXPECT_EQ(f.stack(), "(html) body select optgroup");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InSelect, SelectInSelectBecomesTheEndTagItself)
{
    CaseFoldingFeed f;
    openSelect(f);
    auto token = f.start(u"select", {}, true);
    EXPECT_EQ(token->type, TokenType::EndTag);
    EXPECT_EQ(f.stack(), "(html) body");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
    // As an end tag it has nothing to acknowledge: no 109.
    EXPECT_EQ(f.reports(), (Reports{"176 P"}));
    EXPECT_EQ(f.body(), "<select>\n");
}

TEST(InSelect, InputKeygenAndTextareaCloseTheSelectAndAreHandledAgain)
{
    for (const char16_t* name : {u"input", u"keygen", u"textarea"}) {
        CaseFoldingFeed f;
        openSelect(f);
        f.start(u"option");
        f.start(name);
        const std::string label = Testing::escapeText(name);
        EXPECT_EQ(f.body(), "<select>\n  <option>\n<" + label + ">\n") << label;
        EXPECT_EQ(f.reports(), Reports{"177 T " + label});
    }
}

TEST(InSelect, InputWithoutASelectOpenResetsTheModeAllTheSame)
{
    CaseFoldingFeed f;
    f.enter({u"div"}, InsertionMode::InSelect);
    f.start(u"keygen");
    EXPECT_EQ(f.body(), "<div>\n  <keygen>\n");
    EXPECT_EQ(f.reports(), (Reports{"177 T keygen"}));
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
}

TEST(InSelect, ScriptTakesTheInHeadRules)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.start(u"script");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::Text);
    f.text(u"<x>");
    f.end(u"script");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InSelect);
    EXPECT_EQ(f.body(), "<select>\n  <script>\n    \"<x>\"\n");
}

TEST(InSelect, AnyOtherStartTagIsReportedAndDropped)
{
    CaseFoldingFeed f;
    openSelect(f);
    auto token = f.start(u"div");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.body(), "<select>\n");
    EXPECT_EQ(f.reports(), (Reports{"175 T div"}));
}

TEST(InSelect, EndOptgroupClosesALastOptionWithoutReport)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.start(u"optgroup");
    f.start(u"option");
    f.end(u"optgroup");
    EXPECT_EQ(f.stack(), "(html) body select");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InSelect, EndOptgroupWithoutAnOptgroupOnTopIsReported)
{
    CaseFoldingFeed f;
    openSelect(f);
    auto token = f.end(u"optgroup");
    EXPECT_TRUE(token->ignored);
    // An option whose entry below is no optgroup stays.
    f.start(u"option");
    f.end(u"optgroup");
    EXPECT_EQ(f.stack(), "(html) body select option");
    EXPECT_EQ(f.reports(), (Reports{"178 P", "178 P"}));
}

TEST(InSelect, EndOptgroupOverAnOptionAtTheBottomEndsByTheFailurePath)
{
    CaseFoldingFeed f;
    f.tree.insertionMode = InsertionMode::InSelect;
    f.start(u"option");
    EXPECT_EQ(f.stack(), "option");
    EXPECT_THROW(f.end(u"optgroup"), std::out_of_range);
}

TEST(InSelect, EndOptionPopsAnOptionOnTop)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.start(u"option");
    f.end(u"option");
    EXPECT_EQ(f.stack(), "(html) body select");
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InSelect, EndOptionWithAnOptgroupOnTopIsReportedAndDropped)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.start(u"optgroup");
    auto token = f.end(u"option");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.stack(), "(html) body select optgroup");
    EXPECT_EQ(f.reports(), (Reports{"179 P"}));
}

TEST(InSelect, EndSelectPopsThroughTheSelectAndResets)
{
    CaseFoldingFeed f;
    openSelect(f);
    f.start(u"optgroup");
    f.start(u"option");
    f.end(u"select");
    EXPECT_EQ(f.stack(), "(html) body");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
    EXPECT_EQ(f.reports(), Reports{});
}

TEST(InSelect, EndSelectWithoutASelectPopsNothingAndResets)
{
    CaseFoldingFeed f;
    f.enter({u"div"}, InsertionMode::InSelect);
    f.end(u"select");
    EXPECT_EQ(f.stack(), "(html) body div");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InBody);
}

TEST(InSelect, AnyOtherEndTagIsReportedAndDropped)
{
    CaseFoldingFeed f;
    openSelect(f);
    auto token = f.end(u"div");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.reports(), (Reports{"175 T div"}));
    EXPECT_EQ(f.stack(), "(html) body select");
}

// ---------------------------------------------------------------- in select in table

TEST(InSelectInTable, CellStartTagClosesTheSelectAndIsHandledAgain)
{
    CaseFoldingFeed f;
    openSelectInCell(f);
    f.start(u"td");
    EXPECT_EQ(f.body(),
              "<table>\n"
              "  <tbody>\n"
              "    <tr>\n"
              "      <td>\n"
              "        <select>\n"
              "      <td>\n");
    EXPECT_EQ(f.reports(), (Reports{"180 T td"}));
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InCell);
}

TEST(InSelectInTable, EveryTableStartTagClosesTheSelect)
{
    for (const char16_t* name : {u"caption", u"table", u"tbody", u"td", u"tfoot", u"th", u"thead",
                                 u"tr"}) {
        CaseFoldingFeed f;
        openSelectInCell(f);
        f.start(name);
        const std::string label = Testing::escapeText(name);
        EXPECT_EQ(f.stack().find("select"), std::string::npos) << label;
        ASSERT_FALSE(f.reports().empty());
        EXPECT_EQ(f.reports()[0], "180 T " + label);
    }
}

TEST(InSelectInTable, EndTagInTableScopeClosesTheSelectAndIsHandledAgain)
{
    CaseFoldingFeed f;
    openSelectInCell(f);
    f.end(u"tr");
    EXPECT_EQ(f.stack(), "(html) body table tbody");
    EXPECT_EQ(f.tree.insertionMode, InsertionMode::InTableBody);
    EXPECT_EQ(f.reports(), (Reports{"181 T tr"}));
}

TEST(InSelectInTable, EndTagNotInTableScopeIsReportedAndDropped)
{
    CaseFoldingFeed f;
    f.enter({u"select"}, InsertionMode::InSelectInTable);
    auto token = f.end(u"table");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.stack(), "(html) body select");
    EXPECT_EQ(f.reports(), (Reports{"181 T table"}));
}

TEST(InSelectInTable, CaptionEndTagOutOfScopeIsDroppedThough)
{
    CaseFoldingFeed f;
    openSelectInCell(f);
    auto token = f.end(u"caption");
    EXPECT_TRUE(token->ignored);
    EXPECT_EQ(f.stack(), "(html) body table tbody tr td select");
    EXPECT_EQ(f.reports(), (Reports{"181 T caption"}));
}

TEST(InSelectInTable, AnythingElseTakesTheInSelectRules)
{
    CaseFoldingFeed f;
    openSelectInCell(f);
    f.start(u"option");
    f.text(std::u16string(u"x\0", 2));
    f.start(u"div");
    f.end(u"option");
    f.endOfFile();
    EXPECT_EQ(f.body(),
              "<table>\n"
              "  <tbody>\n"
              "    <tr>\n"
              "      <td>\n"
              "        <select>\n"
              "          <option>\n"
              "            \"x\"\n");
    EXPECT_EQ(f.reports(), (Reports{"172 P", "175 T div", "173 P"}));
}

}  // namespace
}  // namespace Parsers
