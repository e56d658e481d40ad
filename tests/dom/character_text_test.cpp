// The text of text nodes and comments: units in place up to four, a block of
// the heap beyond, and the block's way back. The text keeps no heap: each
// call is given the one its owner knows, and the owner gives the block back.

#include "dom/character_text.h"

#include <gtest/gtest.h>

#include <string>

namespace Parsers {
namespace {

TEST(CharacterText, ShortTextsStayInsideTheObject)
{
    ParseHeapOwner owner;
    CharacterText text(u"abc", owner.get());
    const auto* object = reinterpret_cast<const char*>(&text);
    const auto* units = reinterpret_cast<const char*>(text.data());
    EXPECT_TRUE(units >= object && units < object + sizeof(CharacterText));
    text.push_back(u'd', owner.get());
    EXPECT_EQ(text, u"abcd");
    units = reinterpret_cast<const char*>(text.data());
    EXPECT_TRUE(units >= object && units < object + sizeof(CharacterText));
    EXPECT_EQ(sizeof(CharacterText), 16u);
    text.release(owner.get());
}

TEST(CharacterText, LongerTextsMoveToABlockOfTheirHeap)
{
    ParseHeapOwner owner;
    ParseHeap& heap = *owner.get();
    CharacterText text(u"abcd", &heap);
    text.push_back(u'e', &heap);
    EXPECT_EQ(text, u"abcde");
    EXPECT_EQ(text.size(), 5u);
    // The block holds eight units: the next block of that size is another.
    const char16_t* block = text.data();
    void* other = heap.allocate(8 * sizeof(char16_t));
    EXPECT_NE(other, static_cast<const void*>(block));
    heap.deallocate(other, 8 * sizeof(char16_t));
    // Released, the block is the next one of its size again, and the text
    // is empty.
    text.release(&heap);
    EXPECT_TRUE(text.empty());
    void* reused = heap.allocate(8 * sizeof(char16_t));
    EXPECT_EQ(reused, static_cast<const void*>(block));
    heap.deallocate(reused, 8 * sizeof(char16_t));
}

TEST(CharacterText, AGrownTextGivesItsOldBlockBack)
{
    ParseHeapOwner owner;
    ParseHeap& heap = *owner.get();
    CharacterText text(u"abcdefgh", &heap);
    const void* first = text.data();
    text.append(u"ijklmnop", &heap);
    EXPECT_EQ(text, u"abcdefghijklmnop");
    EXPECT_NE(static_cast<const void*>(text.data()), first);
    // The block of eight units is free again for the next of its size.
    void* reused = heap.allocate(8 * sizeof(char16_t));
    EXPECT_EQ(reused, first);
    heap.deallocate(reused, 8 * sizeof(char16_t));
    text.release(&heap);
}

TEST(CharacterText, GrowsUnitByUnitAndKeepsEveryUnit)
{
    CharacterText text(u"", nullptr);
    EXPECT_TRUE(text.empty());
    std::u16string expected;
    for (int index = 0; index < 5000; ++index) {
        const auto unit = static_cast<char16_t>(u'a' + index % 26);
        text.push_back(unit, nullptr);
        expected.push_back(unit);
    }
    EXPECT_EQ(text, expected);
    text.release(nullptr);
}

TEST(CharacterText, AppendingItselfAndAssigningPartOfItselfWork)
{
    ParseHeapOwner owner;
    ParseHeap* heap = owner.get();
    CharacterText text(u"abc", heap);
    text.append(text.view(), heap);
    EXPECT_EQ(text, u"abcabc");
    text.append(text.view(), heap);
    EXPECT_EQ(text, u"abcabcabcabc");
    text.assign(text.view().substr(3, 5), heap);
    EXPECT_EQ(text, u"abcab");
    text.assign(u"", heap);
    EXPECT_TRUE(text.empty());
    text.append(u"xy", heap);
    EXPECT_EQ(text, u"xy");
    text.release(heap);
}

TEST(CharacterText, UnitsZeroAndAboveAreKeptAsTheyAre)
{
    const std::u16string units{u'a', u'\0', u'\xFFFF', u'\xD800'};
    CharacterText text(units, nullptr);
    EXPECT_EQ(text.size(), 4u);
    EXPECT_EQ(std::u16string(text.view()), units);
}

}  // namespace
}  // namespace Parsers
