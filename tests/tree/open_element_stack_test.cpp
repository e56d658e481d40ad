// The stack of open elements: its changes and caches, the scope searches and
// the implied end tags.

#include <gtest/gtest.h>

#include "tree_harness.h"

namespace Parsers {
namespace {

using Testing::makeElement;
using Testing::stackNames;
using Testing::TreeFeed;

class OpenElementStackTest : public ::testing::Test {
protected:
    // Pushes an element with the given name (no parent needed here).
    Ref<Element> push(const std::u16string& name,
                      NamespaceId namespaceId = NamespaceId::None)
    {
        auto element = makeElement(name);
        element->namespaceId = namespaceId;
        tree().pushOpenElement(element);
        return element;
    }
    void pushAll(std::initializer_list<const char16_t*> names)
    {
        for (const char16_t* name : names) push(name);
    }
    TreeConstructor& tree() { return *feed.constructor; }
    std::string stack() { return stackNames(tree()); }
    std::string top() { return tree().currentNode ? Testing::escapeText(tree().currentNode->getNodeName()) : "-"; }

    TreeFeed feed;
};

TEST_F(OpenElementStackTest, PushKeepsTheTopAndTheNearestTable)
{
    auto html = push(u"html");
    EXPECT_EQ(tree().currentNode, html);
    EXPECT_EQ(tree().currentTable, nullptr);
    auto outer = push(u"table");
    push(u"tr");
    EXPECT_EQ(top(), "tr");
    EXPECT_EQ(tree().currentTable, outer);
    auto inner = push(u"table");
    EXPECT_EQ(tree().currentTable, inner);
    EXPECT_EQ(tree().popOpenElement(), inner);
    EXPECT_EQ(tree().currentTable, outer);
    EXPECT_EQ(top(), "tr");
}

TEST_F(OpenElementStackTest, PopOfTheLastEntryEmptiesBothCaches)
{
    push(u"table");
    ASSERT_NE(tree().currentTable, nullptr);
    EXPECT_NE(tree().popOpenElement(), nullptr);
    EXPECT_EQ(tree().currentNode, nullptr);
    EXPECT_EQ(tree().currentTable, nullptr);
    EXPECT_EQ(tree().popOpenElement(), nullptr);
    EXPECT_TRUE(tree().openElements.empty());
}

TEST_F(OpenElementStackTest, ElementsLeavingTheStackOutsideTheFormattingListGiveUpTheirTags)
{
    auto open = push(u"s");
    auto listed = push(u"b");
    tree().activeFormatting.pushElement(listed);
    auto erased = push(u"i");
    auto cut = push(u"em");
    auto popped = push(u"u");
    for (const auto& element : {open, listed, erased, cut, popped}) {
        ASSERT_NE(element->getToken(), nullptr);
    }
    tree().removeOpenElement(erased.get());
    EXPECT_EQ(erased->getToken(), nullptr);
    EXPECT_EQ(tree().popOpenElement(), popped);
    EXPECT_EQ(popped->getToken(), nullptr);
    tree().popToDepth(1);
    EXPECT_EQ(stack(), "s");
    EXPECT_EQ(cut->getToken(), nullptr);
    // The entry of the list keeps its tag while it is one, open or not.
    EXPECT_NE(listed->getToken(), nullptr);
    tree().activeFormatting.removeElement(listed.get());
    EXPECT_EQ(listed->getToken(), nullptr);
    // The element that never left the stack keeps its tag.
    EXPECT_NE(open->getToken(), nullptr);
}

TEST_F(OpenElementStackTest, TableWithAnUppercaseNameIsNoTable)
{
    push(u"TABLE");
    EXPECT_EQ(tree().currentTable, nullptr);
}

TEST_F(OpenElementStackTest, PopUntilTagTakesTheNearestEntryOfTheTagAndAllAbove)
{
    pushAll({u"html", u"p", u"div", u"p", u"span"});
    tree().popUntilTag(TagId::P);
    EXPECT_EQ(stack(), "html p div");
    EXPECT_EQ(top(), "div");
    tree().popUntilTag(TagId::Table);
    EXPECT_EQ(stack(), "html p div");
    tree().popUntilTag(TagId::Html);
    EXPECT_EQ(stack(), "");
    EXPECT_EQ(tree().currentNode, nullptr);
}

TEST_F(OpenElementStackTest, PopToDepthCutsAndRecomputesTheCaches)
{
    pushAll({u"html", u"table", u"tbody", u"tr"});
    tree().popToDepth(5);
    EXPECT_EQ(stack(), "html table tbody tr");
    tree().popToDepth(3);
    EXPECT_EQ(top(), "tbody");
    EXPECT_NE(tree().currentTable, nullptr);
    tree().popToDepth(1);
    EXPECT_EQ(top(), "html");
    EXPECT_EQ(tree().currentTable, nullptr);
    tree().popToDepth(0);
    EXPECT_EQ(tree().currentNode, nullptr);
}

TEST_F(OpenElementStackTest, RemoveFindsTheEntryByIdentity)
{
    push(u"html");
    auto first = push(u"div");
    auto table = push(u"table");
    auto second = push(u"div");
    tree().removeOpenElement(second.get());
    EXPECT_EQ(stack(), "html div table");
    EXPECT_EQ(tree().currentNode, table);
    auto stranger = makeElement(u"div");
    tree().removeOpenElement(stranger.get());
    EXPECT_EQ(stack(), "html div table");
    tree().removeOpenElement(table.get());
    EXPECT_EQ(tree().currentNode, first);
    EXPECT_EQ(tree().currentTable, nullptr);
}

TEST_F(OpenElementStackTest, InsertAndEraseAtAPositionKeepTheCaches)
{
    pushAll({u"html", u"div"});
    auto table = makeElement(u"table");
    tree().insertIntoOpenElements(1, table);
    EXPECT_EQ(stack(), "html table div");
    EXPECT_EQ(tree().currentTable, table);
    EXPECT_EQ(top(), "div");
    auto span = makeElement(u"span");
    tree().insertIntoOpenElements(3, span);
    EXPECT_EQ(tree().currentNode, span);
    tree().eraseOpenElement(1);
    EXPECT_EQ(stack(), "html div span");
    EXPECT_EQ(tree().currentTable, nullptr);
    tree().eraseOpenElement(2);
    EXPECT_EQ(top(), "div");
    EXPECT_EQ(tree().findOpenElement(span.get()), -1);
    EXPECT_EQ(tree().findOpenElement(tree().currentNode.get()), 1);
}

TEST_F(OpenElementStackTest, NearestTableFollowsInsertsAndErasesBelowIt)
{
    push(u"html");
    auto lower = push(u"table");
    push(u"div");
    auto upper = push(u"table");
    push(u"span");
    auto middle = makeElement(u"table");
    tree().insertIntoOpenElements(3, middle);
    EXPECT_EQ(stack(), "html table div table table span");
    EXPECT_EQ(tree().currentTable, upper);
    tree().eraseOpenElement(4);
    EXPECT_EQ(tree().currentTable, middle);
    tree().insertIntoOpenElements(0, makeElement(u"p"));
    EXPECT_EQ(stack(), "p html table div table span");
    EXPECT_EQ(tree().currentTable, middle);
    tree().removeOpenElement(middle.get());
    EXPECT_EQ(tree().currentTable, lower);
    tree().popUntilTag(TagId::Div);
    EXPECT_EQ(tree().currentTable, lower);
    tree().popOpenElement();
    EXPECT_EQ(tree().currentTable, nullptr);
    EXPECT_EQ(stack(), "p html");
}

TEST_F(OpenElementStackTest, RefreshFindsTheTableNearestTheTop)
{
    pushAll({u"html", u"table", u"td"});
    auto table = tree().openElements[1];
    tree().refreshCurrentTable();
    EXPECT_EQ(tree().currentTable, table);
    tree().openElements.push_back(makeElement(u"table"));
    tree().refreshCurrentTable();
    EXPECT_EQ(tree().currentTable, tree().openElements[3]);
    EXPECT_EQ(tree().currentNode, tree().openElements[3]);
}

TEST_F(OpenElementStackTest, ClearToTheTableContextsStopsAtTheirTags)
{
    pushAll({u"html", u"table", u"tbody", u"tr", u"td", u"p"});
    tree().clearToTableRowContext();
    EXPECT_EQ(stack(), "html table tbody tr");
    tree().clearToTableBodyContext();
    EXPECT_EQ(stack(), "html table tbody");
    tree().clearToTableContext();
    EXPECT_EQ(stack(), "html table");
}

TEST_F(OpenElementStackTest, ClearToTableBodyContextStopsAtTfootAndThead)
{
    pushAll({u"html", u"table", u"thead", u"tr"});
    tree().clearToTableBodyContext();
    EXPECT_EQ(stack(), "html table thead");
    tree().popOpenElement();
    pushAll({u"tfoot", u"tr"});
    tree().clearToTableBodyContext();
    EXPECT_EQ(stack(), "html table tfoot");
}

TEST_F(OpenElementStackTest, ClearWithoutItsContextLeavesTheBottomEntry)
{
    pushAll({u"div", u"p", u"span"});
    tree().clearToTableContext();
    EXPECT_EQ(stack(), "div");
}

TEST_F(OpenElementStackTest, PopThroughFirstHeadingTakesTheLowestHeading)
{
    pushAll({u"html", u"h1", u"div", u"h2"});
    tree().popThroughFirstHeading();
    EXPECT_EQ(stack(), "html");
    pushAll({u"div", u"span"});
    tree().popThroughFirstHeading();
    EXPECT_EQ(stack(), "html div span");
    pushAll({u"h6"});
    tree().popThroughFirstHeading();
    EXPECT_EQ(stack(), "html div span");
}

TEST_F(OpenElementStackTest, ScopeOfAnEmptyStackIsTrue)
{
    for (auto kind : {ScopeKind::Default, ScopeKind::ListItem, ScopeKind::Button, ScopeKind::Table,
                      ScopeKind::Select}) {
        EXPECT_TRUE(tree().hasElementInScope(TagId::P, kind));
    }
}

TEST_F(OpenElementStackTest, ScopeRunningOffTheBottomIsTrue)
{
    push(u"div");
    EXPECT_TRUE(tree().hasElementInScope(TagId::P, ScopeKind::Default));
    EXPECT_TRUE(tree().hasElementInScope(TagId::Div, ScopeKind::Default));
}

TEST_F(OpenElementStackTest, HtmlStopsEveryKindButSelect)
{
    pushAll({u"html", u"div"});
    EXPECT_FALSE(tree().hasElementInScope(TagId::P, ScopeKind::Default));
    EXPECT_FALSE(tree().hasElementInScope(TagId::P, ScopeKind::ListItem));
    EXPECT_FALSE(tree().hasElementInScope(TagId::P, ScopeKind::Button));
    EXPECT_FALSE(tree().hasElementInScope(TagId::P, ScopeKind::Table));
    EXPECT_TRUE(tree().hasElementInScope(TagId::P, ScopeKind::Select));
}

TEST_F(OpenElementStackTest, SvgTitleStopsTheSearchForP)
{
    pushAll({u"html", u"p"});
    push(u"title", NamespaceId::Svg);
    EXPECT_FALSE(tree().hasElementInScope(TagId::P, ScopeKind::Default));
    tree().popOpenElement();
    push(u"mi", NamespaceId::MathMl);
    EXPECT_FALSE(tree().hasElementInScope(TagId::P, ScopeKind::Default));
    tree().popOpenElement();
    EXPECT_TRUE(tree().hasElementInScope(TagId::P, ScopeKind::Default));
}

TEST_F(OpenElementStackTest, ListItemAndButtonScopesAddTheirRows)
{
    pushAll({u"html", u"li", u"ul", u"span"});
    EXPECT_FALSE(tree().hasElementInScope(TagId::Li, ScopeKind::ListItem));
    EXPECT_TRUE(tree().hasElementInScope(TagId::Li, ScopeKind::Default));
    EXPECT_TRUE(tree().hasElementInScope(TagId::Li, ScopeKind::Button));
    tree().popToDepth(1);
    pushAll({u"p", u"button", u"span"});
    EXPECT_FALSE(tree().hasElementInScope(TagId::P, ScopeKind::Button));
    EXPECT_TRUE(tree().hasElementInScope(TagId::P, ScopeKind::Default));
    EXPECT_TRUE(tree().hasElementInScope(TagId::P, ScopeKind::ListItem));
}

TEST_F(OpenElementStackTest, TableScopeStopsOnlyAtHtmlAndTable)
{
    pushAll({u"html", u"div", u"table", u"td", u"p"});
    EXPECT_FALSE(tree().hasElementInScope(TagId::Div, ScopeKind::Table));
    EXPECT_TRUE(tree().hasElementInScope(TagId::Td, ScopeKind::Table));
    // td is a default barrier but no table barrier.
    EXPECT_FALSE(tree().hasElementInScope(TagId::Table, ScopeKind::Default));
    EXPECT_TRUE(tree().hasElementInScope(TagId::Table, ScopeKind::Table));
}

TEST_F(OpenElementStackTest, SelectScopeStopsAtOptgroupAndOptionOnly)
{
    pushAll({u"html", u"select", u"div", u"span"});
    EXPECT_TRUE(tree().hasElementInScope(TagId::Select, ScopeKind::Select));
    push(u"option");
    EXPECT_FALSE(tree().hasElementInScope(TagId::Select, ScopeKind::Select));
    tree().popOpenElement();
    push(u"optgroup");
    EXPECT_FALSE(tree().hasElementInScope(TagId::Select, ScopeKind::Select));
}

TEST_F(OpenElementStackTest, KindPastTheTableHasNoBarrier)
{
    pushAll({u"html", u"table", u"p"});
    EXPECT_TRUE(tree().hasElementInScope(TagId::Div, static_cast<ScopeKind>(5)));
    EXPECT_TRUE(tree().hasElementInScope(TagId::Html, static_cast<ScopeKind>(7)));
}

TEST_F(OpenElementStackTest, UnknownNamesNeitherMatchNorStop)
{
    pushAll({u"html", u"div", u"table"});
    pushAll({u"x-y", u"Table", u"DIV"});
    EXPECT_FALSE(tree().hasElementInScope(TagId::Div, ScopeKind::Default));
    tree().popToDepth(2);
    pushAll({u"x-y", u"Table", u"DIV"});
    EXPECT_TRUE(tree().hasElementInScope(TagId::Div, ScopeKind::Default));
}

TEST_F(OpenElementStackTest, BarrierRowsHoldTheirTags)
{
    for (TagId tag : {TagId::Applet, TagId::Caption, TagId::Html, TagId::Table, TagId::Td, TagId::Th,
                      TagId::Marquee, TagId::Object, TagId::Mi, TagId::Mo, TagId::Mn, TagId::Ms,
                      TagId::Mtext, TagId::AnnotationXml, TagId::ForeignObject, TagId::Desc,
                      TagId::Title}) {
        EXPECT_TRUE(TreeConstructor::isScopeBarrier(tag, 0));
    }
    EXPECT_FALSE(TreeConstructor::isScopeBarrier(TagId::Div, 0));
    EXPECT_FALSE(TreeConstructor::isScopeBarrier(TagId::Unknown, 0));
    EXPECT_TRUE(TreeConstructor::isScopeBarrier(TagId::Ol, 1));
    EXPECT_TRUE(TreeConstructor::isScopeBarrier(TagId::Ul, 1));
    EXPECT_FALSE(TreeConstructor::isScopeBarrier(TagId::Li, 1));
    EXPECT_TRUE(TreeConstructor::isScopeBarrier(TagId::Button, 2));
    EXPECT_TRUE(TreeConstructor::isScopeBarrier(TagId::Html, 3));
    EXPECT_TRUE(TreeConstructor::isScopeBarrier(TagId::Table, 3));
    EXPECT_FALSE(TreeConstructor::isScopeBarrier(TagId::Td, 3));
    EXPECT_TRUE(TreeConstructor::isScopeBarrier(TagId::Optgroup, 4));
    EXPECT_TRUE(TreeConstructor::isScopeBarrier(TagId::Option, 4));
    EXPECT_FALSE(TreeConstructor::isScopeBarrier(TagId::Select, 4));
    EXPECT_FALSE(TreeConstructor::isScopeBarrier(TagId::Html, 5));
}

TEST_F(OpenElementStackTest, ImpliedEndTagsLeaveASingleEntry)
{
    push(u"p");
    tree().generateImpliedEndTags(u"");
    EXPECT_EQ(stack(), "p");
}

TEST_F(OpenElementStackTest, ImpliedEndTagsCloseTheirEightTags)
{
    pushAll({u"html", u"dd", u"dt", u"li", u"optgroup", u"option", u"p", u"rp", u"rt"});
    tree().generateImpliedEndTags(u"");
    EXPECT_EQ(stack(), "html");
}

TEST_F(OpenElementStackTest, ImpliedEndTagsDoNotCloseRbOrRtc)
{
    pushAll({u"html", u"p", u"rb"});
    tree().generateImpliedEndTags(u"");
    EXPECT_EQ(stack(), "html p rb");
    tree().popOpenElement();
    push(u"rtc");
    tree().generateImpliedEndTags(u"");
    EXPECT_EQ(stack(), "html p rtc");
}

TEST_F(OpenElementStackTest, ImpliedEndTagsStopAtTheExceptionByName)
{
    pushAll({u"html", u"li", u"p"});
    tree().generateImpliedEndTags(u"p");
    EXPECT_EQ(stack(), "html li p");
    tree().generateImpliedEndTags(u"li");
    EXPECT_EQ(stack(), "html li");
    // The exception is compared in the element's own case.
    tree().generateImpliedEndTags(u"LI");
    EXPECT_EQ(stack(), "html");
}

TEST_F(OpenElementStackTest, ImpliedEndTagsStopAtAnythingElse)
{
    pushAll({u"html", u"p", u"div", u"li", u"P"});
    tree().generateImpliedEndTags(u"");
    EXPECT_EQ(stack(), "html p div li P");
}

}  // namespace
}  // namespace Parsers
