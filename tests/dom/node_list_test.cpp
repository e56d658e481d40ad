// The child list: one pointer wide, a block of its heap and its one child,
// then an array that grows by doubling from two entries, on the heap it was
// made for.
#include <gtest/gtest.h>

#include <string>

#include "dom/element.h"
#include "dom/node_list.h"

namespace Parsers {
namespace {

NodeRef textOf(char16_t unit)
{
    return makeNodeOnHeap<TextNode>(nullptr, unit);
}

std::u16string unitsOf(const NodeList& list)
{
    std::u16string units;
    for (const NodeRef& node : list) units += static_cast<const TextNode&>(*node).data.str();
    return units;
}

TEST(NodeList, IsOnePointerWide)
{
    EXPECT_EQ(sizeof(NodeList), sizeof(void*));
}

TEST(NodeList, KeepsEntriesInOrderWhileItGrows)
{
    NodeList list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.begin(), list.end());
    const std::u16string letters = u"abcdefghijklmnopq";
    for (char16_t unit : letters) list.push_back(textOf(unit));
    ASSERT_EQ(list.size(), letters.size());
    EXPECT_EQ(unitsOf(list), letters);
    EXPECT_EQ(static_cast<TextNode&>(*list.front()).data, u"a");
    EXPECT_EQ(static_cast<TextNode&>(*list.back()).data, u"q");
    EXPECT_EQ(static_cast<TextNode&>(*list[4]).data, u"e");
    std::u16string backwards;
    for (auto entry = list.rbegin(); entry != list.rend(); ++entry) {
        backwards += static_cast<const TextNode&>(**entry).data.str();
    }
    EXPECT_EQ(backwards, u"qponmlkjihgfedcba");
}

TEST(NodeList, InsertsAndErasesAnywhere)
{
    NodeList list;
    list.push_back(textOf(u'b'));
    list.push_back(textOf(u'd'));
    auto at = list.insert(list.begin(), textOf(u'a'));
    EXPECT_EQ(at, list.begin());
    at = list.insert(list.begin() + 2, textOf(u'c'));
    EXPECT_EQ(at, list.begin() + 2);
    at = list.insert(list.end(), textOf(u'e'));
    EXPECT_EQ(at, list.begin() + 4);
    EXPECT_EQ(unitsOf(list), u"abcde");

    at = list.erase(list.begin() + 1);
    EXPECT_EQ(static_cast<TextNode&>(**at).data, u"c");
    EXPECT_EQ(unitsOf(list), u"acde");
    at = list.erase(list.end() - 1);
    EXPECT_EQ(at, list.end());
    list.pop_back();
    EXPECT_EQ(unitsOf(list), u"ac");
}

TEST(NodeList, ReleasesItsEntries)
{
    NodeRef kept = textOf(u'k');
    {
        NodeList list;
        list.push_back(kept);
        list.push_back(kept);
        EXPECT_EQ(kept.use_count(), 3);
        list.erase(list.begin());
        EXPECT_EQ(kept.use_count(), 2);
        list.clear();
        EXPECT_TRUE(list.empty());
        EXPECT_EQ(kept.use_count(), 1);
        list.push_back(kept);
    }
    EXPECT_EQ(kept.use_count(), 1);
}

TEST(NodeList, AMoveTakesTheEntriesAndLeavesAnEmptyListOnTheSameHeap)
{
    ParseHeapOwner owner;
    NodeList source(owner.get());
    EXPECT_EQ(source.heap(), owner.get());
    source.push_back(textOf(u'x'));
    source.push_back(textOf(u'y'));

    NodeList taken(std::move(source));
    EXPECT_EQ(unitsOf(taken), u"xy");
    EXPECT_TRUE(source.empty());
    EXPECT_EQ(source.heap(), owner.get());
    EXPECT_EQ(taken.heap(), owner.get());

    NodeList general;
    general.push_back(textOf(u'z'));
    general = std::move(taken);
    EXPECT_EQ(unitsOf(general), u"xy");
    EXPECT_EQ(general.heap(), owner.get());
    EXPECT_TRUE(taken.empty());
    EXPECT_EQ(taken.heap(), owner.get());

    // The emptied list takes new entries from its heap again.
    source.push_back(textOf(u'w'));
    EXPECT_EQ(source.heap(), owner.get());
    EXPECT_EQ(NodeList().heap(), nullptr);
}

// A list of one child keeps it in a block of its own, which goes when the
// child goes and becomes an array when a second child comes, whichever way
// the child came and went.
TEST(NodeList, ASingleChildComesAndGoesEveryWay)
{
    ParseHeapOwner owner;
    NodeRef kept = textOf(u'k');
    NodeList list(owner.get());
    list.push_back(kept);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list.front(), kept);
    EXPECT_EQ(list.back(), kept);
    EXPECT_EQ(list.end() - list.begin(), 1);
    EXPECT_EQ(list.heap(), owner.get());
    EXPECT_EQ(kept.use_count(), 2);

    list.pop_back();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.begin(), list.end());
    EXPECT_EQ(list.heap(), owner.get());
    EXPECT_EQ(kept.use_count(), 1);

    auto at = list.insert(list.end(), kept);
    EXPECT_EQ(at, list.begin());
    at = list.insert(list.begin(), textOf(u'a'));
    EXPECT_EQ(at, list.begin());
    EXPECT_EQ(unitsOf(list), u"ak");
    EXPECT_EQ(list.heap(), owner.get());
    list.erase(list.begin());
    EXPECT_EQ(unitsOf(list), u"k");
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(kept.use_count(), 1);

    list.push_back(textOf(u'x'));
    at = list.erase(list.begin());
    EXPECT_EQ(at, list.end());
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.heap(), owner.get());

    list.push_back(kept);
    NodeList taken(std::move(list));
    EXPECT_EQ(unitsOf(taken), u"k");
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.heap(), owner.get());
    EXPECT_EQ(taken.heap(), owner.get());
    taken.push_back(textOf(u'l'));
    EXPECT_EQ(unitsOf(taken), u"kl");
}

// Shrinking keeps the entries, their order and their references, and the
// list grows again as before.
TEST(NodeList, ShrinkingToFitKeepsEveryEntry)
{
    ParseHeapOwner owner;
    NodeRef kept = textOf(u'k');
    NodeList list(owner.get());
    list.shrinkToFit();
    EXPECT_TRUE(list.empty());
    for (char16_t unit : std::u16string(u"abcde")) list.push_back(textOf(unit));
    list.push_back(kept);
    list.shrinkToFit();
    EXPECT_EQ(unitsOf(list), u"abcdek");
    EXPECT_EQ(kept.use_count(), 2);
    EXPECT_EQ(list.heap(), owner.get());
    list.push_back(textOf(u'f'));
    EXPECT_EQ(unitsOf(list), u"abcdekf");
    while (list.size() > 1) list.erase(list.begin());
    list.shrinkToFit();
    EXPECT_EQ(unitsOf(list), u"f");
    list.push_back(textOf(u'g'));
    EXPECT_EQ(unitsOf(list), u"fg");
    list.pop_back();
    list.pop_back();
    list.shrinkToFit();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.heap(), owner.get());
    list.push_back(kept);
    EXPECT_EQ(unitsOf(list), u"k");
    list.clear();
    EXPECT_EQ(kept.use_count(), 1);
}

}  // namespace
}  // namespace Parsers
