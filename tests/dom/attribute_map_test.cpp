// The ordered map of attributes: order by 16-bit units, the first entry of a
// key wins, and maps built out of order past the sorted insert limit.

#include "dom/attribute_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace Parsers {
namespace {

AttributeRef attributeNamed(const UString& name)
{
    auto attribute = makeAttribute(nullptr, name[0], TextPosition{});
    attribute->name = name;
    return attribute;
}

std::vector<UString> keysOf(const AttributeMap& map)
{
    std::vector<UString> keys;
    for (const auto& entry : map) keys.push_back(entry.first);
    return keys;
}

// A key that is a name of the attribute name list is kept as the list's text,
// shared by every map; any other key, one spelled otherwise among them, is a
// copy of the map's own.
TEST(AttributeMap, KeysOfListedNamesShareTheListsText)
{
    AttributeMap first;
    AttributeMap second;
    first.try_emplace(u"href", attributeNamed(u"href"));
    second.try_emplace(u"href", attributeNamed(u"href"));
    second.try_emplace(u"HREF", attributeNamed(u"HREF"));
    second.try_emplace(u"data-x", attributeNamed(u"data-x"));
    const CompactText& shared = first.begin()->first;
    EXPECT_FALSE(shared.isCopy());
    EXPECT_EQ(shared.referred(), second.find(u"href")->first.referred());
    EXPECT_TRUE(second.find(u"HREF")->first.isCopy());
    EXPECT_TRUE(second.find(u"data-x")->first.isCopy());
    EXPECT_EQ(keysOf(second), (std::vector<UString>{u"HREF", u"data-x", u"href"}));
}

// An empty map is one word that names the heap its entries will come from;
// it names it still once emptied or moved from.
TEST(AttributeMap, IsOneWordAndKeepsItsHeapWhenEmptied)
{
    EXPECT_EQ(sizeof(AttributeMap), sizeof(void*));
    ParseHeapOwner owner;
    AttributeMap map(owner.get());
    EXPECT_EQ(map.entriesHeap(), owner.get());
    map.try_emplace(u"a", attributeNamed(u"a"));
    EXPECT_EQ(map.entriesHeap(), owner.get());
    map.clear();
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.entriesHeap(), owner.get());
    map.try_emplace(u"b", attributeNamed(u"b"));
    AttributeMap moved(std::move(map));
    EXPECT_EQ(moved.size(), 1u);
    EXPECT_EQ(moved.entriesHeap(), owner.get());
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.entriesHeap(), owner.get());
    EXPECT_EQ(AttributeMap().entriesHeap(), nullptr);
}

TEST(AttributeMap, OrdersByUnitsShorterFirstAndKeepsTheFirstOfAKey)
{
    AttributeMap map;
    const AttributeRef first = attributeNamed(u"b");
    EXPECT_TRUE(map.try_emplace(u"ba", attributeNamed(u"ba")).second);
    EXPECT_TRUE(map.try_emplace(u"b", first).second);
    EXPECT_TRUE(map.try_emplace(u"\u00E9", attributeNamed(u"\u00E9")).second);
    EXPECT_TRUE(map.try_emplace(u"B", attributeNamed(u"B")).second);
    const auto [entry, entered] = map.try_emplace(u"b", attributeNamed(u"b"));
    EXPECT_FALSE(entered);
    EXPECT_EQ(entry->second, first);
    EXPECT_EQ(keysOf(map), (std::vector<UString>{u"B", u"b", u"ba", u"\u00E9"}));
    EXPECT_EQ(map.at(u"b"), first);
    EXPECT_EQ(map.count(u"ba"), 1u);
    EXPECT_EQ(map.count(u"c"), 0u);
    EXPECT_THROW(map.at(u"c"), std::out_of_range);
}

TEST(AttributeMap, IndexingEntersAnEmptyValueAndErasingRemovesTheKey)
{
    AttributeMap map;
    map.try_emplace(u"x", attributeNamed(u"x"));
    EXPECT_EQ(map[u"a"], nullptr);
    EXPECT_EQ(keysOf(map), (std::vector<UString>{u"a", u"x"}));
    const AttributeRef replacement = attributeNamed(u"y");
    map[u"x"] = replacement;
    EXPECT_EQ(map.at(u"x"), replacement);
    EXPECT_EQ(map.erase(u"a"), 1u);
    EXPECT_EQ(map.erase(u"a"), 0u);
    EXPECT_EQ(keysOf(map), (std::vector<UString>{u"x"}));
}

// Keys in a shuffled order, a repeat of each now and then, against a std::map
// given the same calls.
TEST(AttributeMap, ManyKeysOutOfOrderGiveTheOrderAndAnswersOfAnOrderedMap)
{
    for (std::size_t count : {10u, 64u, 65u, 300u, 5000u}) {
        std::vector<UString> keys;
        for (std::size_t i = 0; i < count; ++i) {
            // Built by appending: GCC 12 warns falsely (-Wrestrict) about a
            // literal put in front of a temporary string.
            UString key = u"a";
            key += static_cast<char16_t>(u'0' + i % 10);
            key.append(i / 10 % 7, u'z');
            key += static_cast<char16_t>(0x100 + i);
            keys.push_back(key);
        }
        std::mt19937 random(static_cast<unsigned>(count));
        std::shuffle(keys.begin(), keys.end(), random);
        AttributeMap map;
        std::map<UString, AttributeRef> reference;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            const AttributeRef value = attributeNamed(keys[i]);
            const auto [entry, entered] = map.try_emplace(keys[i], value);
            const auto [expected, expectedEntered] = reference.try_emplace(keys[i], value);
            ASSERT_EQ(entered, expectedEntered);
            ASSERT_EQ(entry->second, expected->second);
            if (i % 7 == 0) {
                const UString& again = keys[i / 2];
                const auto [repeat, repeatEntered] = map.try_emplace(again, attributeNamed(again));
                EXPECT_FALSE(repeatEntered);
                EXPECT_EQ(repeat->second, reference.at(again));
            }
        }
        ASSERT_EQ(map.size(), reference.size());
        auto expected = reference.begin();
        for (const auto& entry : map) {
            EXPECT_EQ(entry.first, expected->first);
            EXPECT_EQ(entry.second, expected->second);
            ++expected;
        }
        // A copy of a map built out of order is in order too.
        const AttributeMap copy = map;
        EXPECT_EQ(keysOf(copy), keysOf(map));
    }
}

TEST(AttributeMap, MergeMissingKeepsOwnValuesAndEntersTheRest)
{
    AttributeMap own;
    const AttributeRef ownB = attributeNamed(u"b");
    own.try_emplace(u"b", ownB);
    own.try_emplace(u"d", attributeNamed(u"d"));
    AttributeMap other;
    other.try_emplace(u"a", attributeNamed(u"a"));
    other.try_emplace(u"b", attributeNamed(u"b"));
    other.try_emplace(u"c", attributeNamed(u"c"));
    other.try_emplace(u"e", attributeNamed(u"e"));
    std::vector<UString> entered;
    own.mergeMissing(other,
                     [&entered](const AttributeRef& attribute) { entered.push_back(attribute->name); });
    EXPECT_EQ(entered, (std::vector<UString>{u"a", u"c", u"e"}));
    EXPECT_EQ(keysOf(own), (std::vector<UString>{u"a", u"b", u"c", u"d", u"e"}));
    EXPECT_EQ(own.at(u"b"), ownB);
}

// A map made with a heap keeps its entries there, and so do the copies that
// share them or take entries of their own; a map without one uses the general
// allocator, also when it takes entries from a map with a heap.
TEST(AttributeMap, EntriesStayOnTheHeapOfTheMapTheyComeFrom)
{
    ParseHeapOwner owner;
    AttributeMap onHeap(owner.get());
    EXPECT_EQ(onHeap.entriesHeap(), owner.get());
    for (const char16_t* key : {u"b", u"a", u"c", u"e", u"d", u"f"}) {
        onHeap.try_emplace(key, attributeNamed(key));
    }
    EXPECT_EQ(onHeap.entriesHeap(), owner.get());
    AttributeMap shared = onHeap;
    EXPECT_EQ(shared.entriesHeap(), owner.get());
    shared.erase(u"a");
    EXPECT_EQ(shared.entriesHeap(), owner.get());
    AttributeMap assigned;
    assigned = onHeap;
    assigned[u"g"] = attributeNamed(u"g");
    EXPECT_EQ(assigned.entriesHeap(), owner.get());
    EXPECT_EQ(keysOf(onHeap), (std::vector<UString>{u"a", u"b", u"c", u"d", u"e", u"f"}));
    EXPECT_EQ(keysOf(shared), (std::vector<UString>{u"b", u"c", u"d", u"e", u"f"}));
    EXPECT_EQ(keysOf(assigned), (std::vector<UString>{u"a", u"b", u"c", u"d", u"e", u"f", u"g"}));

    AttributeMap general;
    EXPECT_EQ(general.entriesHeap(), nullptr);
    general.try_emplace(u"z", attributeNamed(u"z"));
    general.mergeMissing(onHeap, [](const AttributeRef&) {});
    EXPECT_EQ(general.entriesHeap(), nullptr);
    EXPECT_EQ(general.size(), 7u);
}

TEST(AttributeMap, CopiesAreIndependentOfEachOtherAfterAnyChange)
{
    AttributeMap original;
    original.try_emplace(u"a", attributeNamed(u"a"));
    original.try_emplace(u"c", attributeNamed(u"c"));
    const AttributeMap untouched = original;
    AttributeMap entered = original;
    entered.try_emplace(u"b", attributeNamed(u"b"));
    AttributeMap indexed = original;
    const AttributeRef replacement = attributeNamed(u"z");
    indexed[u"a"] = replacement;
    AttributeMap erased = original;
    erased.erase(u"c");
    AttributeMap merged = original;
    AttributeMap other;
    other.try_emplace(u"d", attributeNamed(u"d"));
    merged.mergeMissing(other, [](const AttributeRef&) {});
    EXPECT_EQ(keysOf(original), (std::vector<UString>{u"a", u"c"}));
    EXPECT_EQ(keysOf(untouched), (std::vector<UString>{u"a", u"c"}));
    EXPECT_EQ(keysOf(entered), (std::vector<UString>{u"a", u"b", u"c"}));
    EXPECT_EQ(keysOf(erased), (std::vector<UString>{u"a"}));
    EXPECT_EQ(keysOf(merged), (std::vector<UString>{u"a", u"c", u"d"}));
    EXPECT_EQ(indexed.at(u"a"), replacement);
    EXPECT_NE(original.at(u"a"), replacement);
    // The attributes themselves are shared, as between a tag and its element.
    EXPECT_EQ(untouched.at(u"c"), original.at(u"c"));
}

TEST(AttributeMap, ACopyOfAMapGatheredOutOfOrderSortsAndGrowsApart)
{
    AttributeMap map;
    for (int i = 99; i >= 0; --i) {
        UString key = u"k";
        key += static_cast<char16_t>(u'A' + i / 10);
        key += static_cast<char16_t>(u'0' + i % 10);
        map.try_emplace(key, attributeNamed(key));
    }
    AttributeMap copy = map;
    copy.try_emplace(u"a", attributeNamed(u"a"));
    map.try_emplace(u"z", attributeNamed(u"z"));
    EXPECT_EQ(copy.size(), 101u);
    EXPECT_EQ(map.size(), 101u);
    EXPECT_EQ(keysOf(copy).front(), u"a");
    EXPECT_EQ(keysOf(map).back(), u"z");
    const std::vector<UString> keys = keysOf(map);
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
    EXPECT_EQ(copy.count(u"z"), 0u);
    EXPECT_EQ(map.count(u"a"), 0u);
}

// Entries moved up for one entered before them, moved down for one erased,
// and moved to a larger array as the map grows: each attribute stays held by
// exactly one entry, and goes with the map.
TEST(AttributeMap, MovingEntriesKeepsOneReferenceEach)
{
    ParseHeapOwner owner;
    std::vector<AttributeRef> held;
    {
        AttributeMap map(owner.get());
        for (const char16_t* key : {u"m", u"k", u"q", u"a", u"z", u"c"}) {
            held.push_back(attributeNamed(key));
            map.try_emplace(key, held.back());
        }
        EXPECT_EQ(keysOf(map), (std::vector<UString>{u"a", u"c", u"k", u"m", u"q", u"z"}));
        for (const AttributeRef& attribute : held) EXPECT_EQ(attribute->referenceCount, 2u);
        EXPECT_EQ(map.erase(u"c"), 1u);
        EXPECT_EQ(map.erase(u"a"), 1u);
        EXPECT_EQ(keysOf(map), (std::vector<UString>{u"k", u"m", u"q", u"z"}));
        EXPECT_EQ(held[5]->referenceCount, 1u);
        EXPECT_EQ(held[3]->referenceCount, 1u);
        EXPECT_EQ(map.at(u"q"), held[2]);
        EXPECT_EQ(held[0]->referenceCount, 2u);
    }
    for (const AttributeRef& attribute : held) EXPECT_EQ(attribute->referenceCount, 1u);
}

}  // namespace
}  // namespace Parsers
