// The list of active formatting elements and the reconstruction of closed
// formatting elements.

#include <gtest/gtest.h>

#include "tree_harness.h"

namespace Parsers {
namespace {

using Testing::AttributeSpec;
using Testing::makeElement;
using Testing::stackNames;
using Testing::TreeFeed;

// The list as names, markers as "|".
std::string describe(const ActiveFormattingList& list)
{
    std::string out;
    for (const NodeRef& entry : list.entries) {
        if (!out.empty()) out += " ";
        out += isFormattingMarker(*entry) ? "|" : Testing::escapeText(entry->getNodeName());
    }
    return out;
}

std::size_t positionOf(const ActiveFormattingList& list, const Node* element)
{
    for (std::size_t position = 0; position < list.entries.size(); ++position) {
        if (list.entries[position].get() == element) return position;
    }
    return list.entries.size();
}

TEST(ActiveFormattingList, FourthEqualElementPushesOutTheOldestOfThree)
{
    ActiveFormattingList list;
    list.pushMarker();
    auto first = makeElement(u"b", {{u"class", u"x"}});
    list.pushElement(first);
    list.pushElement(makeElement(u"i"));
    auto second = makeElement(u"b", {{u"class", u"x"}});
    list.pushElement(second);
    list.pushElement(makeElement(u"b", {{u"class", u"x"}}));
    list.pushElement(makeElement(u"b", {{u"class", u"y"}}));
    EXPECT_EQ(describe(list), "| b i b b b");
    auto fourth = makeElement(u"b", {{u"class", u"x"}});
    list.pushElement(fourth);
    EXPECT_EQ(describe(list), "| i b b b b");
    EXPECT_FALSE(list.contains(first.get()));
    EXPECT_EQ(positionOf(list, second.get()), 2u);
    EXPECT_EQ(list.entries.back(), fourth);
    list.pushMarker();
    EXPECT_EQ(describe(list), "| i b b b b |");
}

TEST(ActiveFormattingList, ElementsLeavingTheListGiveUpTheirStartTags)
{
    ActiveFormattingList list;
    auto pushedOut = makeElement(u"b");
    auto removed = makeElement(u"i");
    auto replaced = makeElement(u"u");
    auto cleared = makeElement(u"s");
    auto kept = makeElement(u"em");
    // Their tag ids are looked up, as the tree constructor's elements' are:
    // the list compares the ids that elements hold.
    for (const auto& element : {pushedOut, removed, replaced, cleared, kept}) {
        element->getTagId();
        ASSERT_NE(element->getToken(), nullptr);
    }
    list.pushElement(pushedOut);
    list.pushElement(removed);
    list.pushElement(replaced);
    list.pushElement(kept);
    for (int i = 0; i < 3; ++i) {
        auto another = makeElement(u"b");
        another->getTagId();
        list.pushElement(another);
    }
    list.removeElement(removed.get());
    auto replacement = makeElement(u"u");
    replacement->getTagId();
    list.replaceElement(replaced.get(), replacement);
    list.pushMarker();
    list.pushElement(cleared);
    list.clearToLastMarker();
    EXPECT_EQ(describe(list), "u em b b b");
    EXPECT_EQ(pushedOut->getToken(), nullptr);
    EXPECT_EQ(removed->getToken(), nullptr);
    EXPECT_EQ(replaced->getToken(), nullptr);
    EXPECT_EQ(cleared->getToken(), nullptr);
    EXPECT_NE(kept->getToken(), nullptr);
    EXPECT_NE(replacement->getToken(), nullptr);
}

TEST(ActiveFormattingList, EqualElementsOnBothSidesOfAMarkerDoNotCountTogether)
{
    ActiveFormattingList list;
    list.pushElement(makeElement(u"b"));
    list.pushElement(makeElement(u"b"));
    list.pushMarker();
    list.pushElement(makeElement(u"b"));
    list.pushElement(makeElement(u"b"));
    EXPECT_EQ(describe(list), "b b | b b");
    list.pushElement(makeElement(u"b"));
    EXPECT_EQ(describe(list), "b b | b b b");
    list.pushElement(makeElement(u"b"));
    EXPECT_EQ(describe(list), "b b | b b b");
}

TEST(ActiveFormattingList, WithoutMarkerTheWholeListCounts)
{
    ActiveFormattingList list;
    for (int i = 0; i < 4; ++i) list.pushElement(makeElement(u"b", {{u"class", u"x"}}));
    EXPECT_EQ(list.size(), 3u);
}

TEST(ActiveFormattingList, AttributesCompareByKeyWithoutFoldingTheirValues)
{
    ActiveFormattingList list;
    list.pushElement(makeElement(u"font", {{u"color", u"red"}, {u"size", u"2"}}));
    list.pushElement(makeElement(u"font", {{u"size", u"2"}, {u"color", u"red"}}));
    list.pushElement(makeElement(u"font", {{u"color", u"red"}, {u"size", u"2"}}));
    list.pushElement(makeElement(u"font", {{u"color", u"RED"}, {u"size", u"2"}}));
    EXPECT_EQ(list.size(), 4u);
    list.pushElement(makeElement(u"font", {{u"size", u"2"}, {u"color", u"red"}}));
    EXPECT_EQ(list.size(), 4u);
}

TEST(ActiveFormattingList, SameObjectTwiceCountsAsEqual)
{
    ActiveFormattingList list;
    auto b = makeElement(u"b", {{u"id", u"1"}});
    list.pushElement(b);
    list.pushElement(b);
    list.pushElement(b);
    list.pushElement(b);
    EXPECT_EQ(list.size(), 3u);
}

TEST(ActiveFormattingList, FindAfterLastMarkerLooksBackToTheMarkerOnly)
{
    ActiveFormattingList list;
    EXPECT_EQ(list.findAfterLastMarker(TagId::B), nullptr);
    auto outer = makeElement(u"b");
    list.pushElement(outer);
    EXPECT_EQ(list.findAfterLastMarker(TagId::B), outer);
    list.pushMarker();
    EXPECT_EQ(list.findAfterLastMarker(TagId::B), nullptr);
    auto older = makeElement(u"b");
    auto newer = makeElement(u"b", {{u"id", u"n"}});
    list.pushElement(older);
    list.pushElement(makeElement(u"i"));
    list.pushElement(newer);
    EXPECT_EQ(list.findAfterLastMarker(TagId::B), newer);
    EXPECT_EQ(list.findAfterLastMarker(TagId::A), nullptr);
}

TEST(ActiveFormattingList, RemoveAndReplaceFindTheObject)
{
    ActiveFormattingList list;
    auto a = makeElement(u"a");
    auto b = makeElement(u"b");
    auto c = makeElement(u"c");
    list.pushElement(a);
    list.pushMarker();
    list.pushElement(b);
    auto stranger = makeElement(u"b");
    list.removeElement(stranger.get());
    EXPECT_EQ(describe(list), "a | b");
    EXPECT_EQ(list.replaceElement(b.get(), c), 2u);
    EXPECT_EQ(describe(list), "a | c");
    EXPECT_EQ(list.replaceElement(stranger.get(), b), 3u);
    EXPECT_EQ(describe(list), "a | c");
    list.removeElement(a.get());
    EXPECT_EQ(describe(list), "| c");
}

TEST(ActiveFormattingList, ClearToLastMarkerPopsThroughTheMarker)
{
    ActiveFormattingList list;
    list.clearToLastMarker();
    EXPECT_TRUE(list.empty());
    list.pushElement(makeElement(u"a"));
    list.pushMarker();
    list.pushElement(makeElement(u"b"));
    list.pushMarker();
    list.pushElement(makeElement(u"i"));
    list.pushElement(makeElement(u"u"));
    list.clearToLastMarker();
    EXPECT_EQ(describe(list), "a | b");
    list.clearToLastMarker();
    EXPECT_EQ(describe(list), "a");
    list.clearToLastMarker();
    EXPECT_TRUE(list.empty());
}

TEST(ActiveFormattingList, MarkersAreKnownByTheirNodeType)
{
    ActiveFormattingList list;
    list.pushMarker();
    EXPECT_EQ(list.entries[0]->nodeType, NodeType::Marker);
    EXPECT_EQ(static_cast<Element&>(*list.entries[0]).tagId, TagId::Unknown);
    EXPECT_FALSE(isFormattingMarker(*makeElement(u"b")));
}

class Reconstruction : public ::testing::Test {
protected:
    void SetUp() override
    {
        feed.start(u"p");
        ASSERT_EQ(stackNames(tree()), "(html) body p");
    }
    TreeConstructor& tree() { return *feed.constructor; }
    // An element as a formatting start tag makes it: placed, pushed, listed.
    Ref<Element> format(const std::u16string& name,
                        std::initializer_list<AttributeSpec> attributes = {})
    {
        auto element = makeElement(name, attributes);
        appendChild(element, tree().currentNode.get());
        tree().pushOpenElement(element);
        tree().activeFormatting.pushElement(element);
        return element;
    }

    TreeFeed feed{1};
};

TEST_F(Reconstruction, NothingToDoWhenTheNewestIsOpenOrAMarker)
{
    tree().reconstructActiveFormatting(false);
    format(u"b");
    tree().reconstructActiveFormatting(false);
    EXPECT_EQ(stackNames(tree()), "(html) body p b");
    tree().popOpenElement();
    tree().activeFormatting.pushMarker();
    tree().reconstructActiveFormatting(false);
    EXPECT_EQ(stackNames(tree()), "(html) body p");
}

TEST_F(Reconstruction, ClosedEntriesComeBackAsNewElementsOfTheirTokens)
{
    auto b = format(u"b", {{u"class", u"x"}});
    auto i = format(u"i");
    const TagTokenRef bTag = b->getToken();
    tree().popToDepth(3);
    tree().pushOpenElement(makeElement(u"div"));
    appendChild(tree().currentNode, tree().openElements[2].get());
    tree().reconstructActiveFormatting(false);
    EXPECT_EQ(stackNames(tree()), "(html) body p div b i");
    ASSERT_EQ(tree().activeFormatting.size(), 2u);
    const NodeRef& newB = tree().activeFormatting.entries[0];
    EXPECT_NE(newB, b);
    EXPECT_EQ(tree().openElements[4], newB);
    EXPECT_EQ(static_cast<Element&>(*newB).getToken(), bTag);
    // The closed element left the list and gave up its tag.
    EXPECT_EQ(b->getToken(), nullptr);
    EXPECT_EQ(newB->namespaceId, NamespaceId::Html);
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n"
              "  <head> ns=0\n"
              "  <body> ns=0\n"
              "    <p> ns=0\n"
              "      <b> ns=0\n"
              "        class=\"x\"\n"
              "        <i> ns=0\n"
              "      <div> ns=0\n"
              "        <b> ns=0\n"
              "          class=\"x\"\n"
              "          <i> ns=0\n");
}

TEST_F(Reconstruction, StartsBehindTheNewestOpenEntryOrMarker)
{
    format(u"a");
    tree().activeFormatting.pushMarker();
    format(u"b");
    auto i = format(u"i");
    format(u"u");
    // Close all four, then open i again.
    tree().popToDepth(3);
    tree().pushOpenElement(i);
    tree().reconstructActiveFormatting(false);
    // Only u, behind the open i, comes back.
    EXPECT_EQ(stackNames(tree()), "(html) body p i u");
    tree().popToDepth(3);
    tree().reconstructActiveFormatting(false);
    // Now b, i and u are closed: all three after the marker come back; a does
    // not.
    EXPECT_EQ(stackNames(tree()), "(html) body p b i u");
}

TEST_F(Reconstruction, FosterPlacesTheElementsInFrontOfTheTable)
{
    format(u"b");
    tree().popToDepth(3);
    auto table = makeElement(u"table");
    appendChild(table, tree().currentNode.get());
    tree().pushOpenElement(table);
    tree().reconstructActiveFormatting(true);
    EXPECT_EQ(stackNames(tree()), "(html) body p table b");
    Node& p = *tree().openElements[2];
    ASSERT_EQ(p.children.size(), 3u);
    EXPECT_EQ(p.children[1]->getNodeName(), u"b");
    EXPECT_EQ(p.children[2], table);
}

}  // namespace
}  // namespace Parsers
