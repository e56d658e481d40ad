// The text of text nodes and comments: one byte a unit while every unit is
// below 256 and two bytes a unit from the first that is not, eight bytes of
// units in place, a block of the heap beyond, and the block's way back. The
// text keeps no heap: each call is given the one its owner knows, and the
// owner gives the block back.

#include "dom/character_text.h"

#include <gtest/gtest.h>

#include <string>

namespace Parsers {
namespace {

bool unitsInside(const CharacterText& text, const void* units)
{
    const auto* object = reinterpret_cast<const char*>(&text);
    const auto* at = static_cast<const char*>(units);
    return at >= object && at < object + sizeof(CharacterText);
}

TEST(CharacterText, EightNarrowUnitsStayInsideTheObject)
{
    ParseHeapOwner owner;
    CharacterText text(u"abc", owner.get());
    EXPECT_FALSE(text.isWide());
    EXPECT_TRUE(unitsInside(text, text.narrowData()));
    text.append(u"defgh", owner.get());
    EXPECT_EQ(text, u"abcdefgh");
    EXPECT_TRUE(unitsInside(text, text.narrowData()));
    EXPECT_EQ(sizeof(CharacterText), 16u);
    text.release(owner.get());
}

TEST(CharacterText, AUnitAtOrAbove256WidensTheWholeText)
{
    ParseHeapOwner owner;
    CharacterText text(u"\u00E9a", owner.get());
    EXPECT_FALSE(text.isWide());
    EXPECT_EQ(text.narrowData()[0], 0xE9);
    text.push_back(u'\u0100', owner.get());
    EXPECT_TRUE(text.isWide());
    EXPECT_EQ(text, u"\u00E9a\u0100");
    // Three wide units still fit in place; a fifth unit does not.
    EXPECT_TRUE(unitsInside(text, text.wideData()));
    text.append(u"bc", owner.get());
    EXPECT_EQ(text, u"\u00E9a\u0100bc");
    EXPECT_FALSE(unitsInside(text, text.wideData()));
    // Narrow units appended to a wide text stay wide.
    text.push_back(u'd', owner.get());
    EXPECT_TRUE(text.isWide());
    EXPECT_EQ(text.str(), u"\u00E9a\u0100bcd");
    text.release(owner.get());
}

TEST(CharacterText, LongerTextsMoveToABlockOfTheirHeap)
{
    ParseHeapOwner owner;
    ParseHeap& heap = *owner.get();
    CharacterText text(u"abcdefgh", &heap);
    text.push_back(u'i', &heap);
    EXPECT_EQ(text, u"abcdefghi");
    EXPECT_EQ(text.size(), 9u);
    // The block holds sixteen bytes: the next block of that size is another.
    const std::uint8_t* block = text.narrowData();
    EXPECT_FALSE(unitsInside(text, block));
    void* other = heap.allocate(16);
    EXPECT_NE(other, static_cast<const void*>(block));
    heap.deallocate(other, 16);
    // Released, the block is the next one of its size again, and the text
    // is empty.
    text.release(&heap);
    EXPECT_TRUE(text.empty());
    void* reused = heap.allocate(16);
    EXPECT_EQ(reused, static_cast<const void*>(block));
    heap.deallocate(reused, 16);
}

TEST(CharacterText, AGrownTextGivesItsOldBlockBack)
{
    ParseHeapOwner owner;
    ParseHeap& heap = *owner.get();
    CharacterText text(u"abcdefghijklmnop", &heap);
    const void* first = text.narrowData();
    text.append(u"qrstuvwx", &heap);
    EXPECT_EQ(text, u"abcdefghijklmnopqrstuvwx");
    EXPECT_NE(static_cast<const void*>(text.narrowData()), first);
    // The block of sixteen bytes is free again for the next of its size.
    void* reused = heap.allocate(16);
    EXPECT_EQ(reused, first);
    heap.deallocate(reused, 16);
    text.release(&heap);
}

TEST(CharacterText, GrowsUnitByUnitAndKeepsEveryUnit)
{
    CharacterText text(u"", nullptr);
    EXPECT_TRUE(text.empty());
    std::u16string expected;
    for (int index = 0; index < 5000; ++index) {
        // Narrow for the first half, then one wide unit in every 26.
        const auto unit = static_cast<char16_t>((index >= 2500 && index % 26 == 0 ? 0x3041 : u'a') + index % 26);
        text.push_back(unit, nullptr);
        expected.push_back(unit);
        if (index == 2499) {
            EXPECT_FALSE(text.isWide());
        }
    }
    EXPECT_TRUE(text.isWide());
    EXPECT_EQ(text, expected);
    text.release(nullptr);
}

TEST(CharacterText, AppendingItselfAndAssigningPartOfItselfWork)
{
    ParseHeapOwner owner;
    ParseHeap* heap = owner.get();
    CharacterText text(u"ab\u3042", heap);
    text.append(std::u16string_view(text.wideData(), text.size()), heap);
    EXPECT_EQ(text, u"ab\u3042ab\u3042");
    text.append(std::u16string_view(text.wideData(), text.size()), heap);
    EXPECT_EQ(text, u"ab\u3042ab\u3042ab\u3042ab\u3042");
    text.assign(std::u16string_view(text.wideData(), text.size()).substr(3, 5), heap);
    EXPECT_EQ(text, u"ab\u3042ab");
    text.assign(u"", heap);
    EXPECT_TRUE(text.empty());
    text.append(u"xy", heap);
    EXPECT_EQ(text, u"xy");
    text.release(heap);
}

TEST(CharacterText, AppendsAnotherTextOfEitherWidth)
{
    ParseHeapOwner owner;
    ParseHeap* heap = owner.get();
    CharacterText narrow(u"abcdef", heap);
    CharacterText more(u"ghijkl", heap);
    CharacterText wide(u"\u3042", heap);
    narrow.append(more, heap);
    EXPECT_FALSE(narrow.isWide());
    EXPECT_EQ(narrow, u"abcdefghijkl");
    more.append(wide, heap);
    EXPECT_TRUE(more.isWide());
    EXPECT_EQ(more, u"ghijkl\u3042");
    wide.append(narrow, heap);
    EXPECT_EQ(wide, u"\u3042abcdefghijkl");
    for (CharacterText* text : {&narrow, &more, &wide}) text->release(heap);
}

TEST(CharacterText, UnitsZeroAndAboveAreKeptAsTheyAre)
{
    const std::u16string units{u'a', u'\0', u'\xFFFF', u'\xD800'};
    CharacterText text(units, nullptr);
    EXPECT_EQ(text.size(), 4u);
    EXPECT_EQ(text.str(), units);
    const std::u16string low{u'\0', u'\xFF', u'b'};
    CharacterText narrow(low, nullptr);
    EXPECT_FALSE(narrow.isWide());
    UString out = u">";
    narrow.appendTo(out);
    EXPECT_EQ(out, u">" + low);
    EXPECT_TRUE(narrow == std::u16string_view(low));
    EXPECT_FALSE(narrow == std::u16string_view(u"\0\xFF", 2));
    EXPECT_FALSE(narrow == std::u16string_view(u"\0\xFF\x0162", 3));
}

TEST(CharacterText, ComparesWithAnotherTextOfEitherWidth)
{
    ParseHeapOwner owner;
    ParseHeap* heap = owner.get();
    CharacterText narrow(u"abcdefghijé", heap);
    CharacterText wide(u"abcdefghijé", heap);
    wide.push_back(u'あ', heap);
    EXPECT_FALSE(narrow == wide);
    EXPECT_FALSE(wide == narrow);
    narrow.push_back(u'ぃ', heap);
    EXPECT_FALSE(narrow == wide);
    CharacterText widened(u"あ", heap);
    widened.assign(u"abcdefghijéぃ", heap);
    EXPECT_TRUE(widened == narrow);
    CharacterText plain(u"abc", heap);
    CharacterText plainWide(u"あ", heap);
    plainWide.assign(u"abc", heap);
    ASSERT_TRUE(plainWide.isWide());
    ASSERT_FALSE(plain.isWide());
    EXPECT_TRUE(plain == plainWide);
    EXPECT_TRUE(plainWide == plain);
    EXPECT_FALSE(plain == CharacterText(u"abd", heap));
    EXPECT_TRUE(CharacterText() == sharedEmptyText());
    for (CharacterText* text : {&narrow, &wide, &widened, &plain, &plainWide}) text->release(heap);
}

TEST(CharacterText, GivesEachUnitByIndexInEitherWidth)
{
    CharacterText narrow(u"aÿz", nullptr);
    EXPECT_EQ(narrow[0], u'a');
    EXPECT_EQ(narrow[1], u'ÿ');
    EXPECT_EQ(narrow[2], u'z');
    CharacterText wide(u"aĀz", nullptr);
    EXPECT_EQ(wide[1], u'Ā');
    EXPECT_EQ(wide[2], u'z');
}

TEST(CharacterText, TheSharedEmptyTextLastsAndIsEmpty)
{
    EXPECT_EQ(&sharedEmptyText(), &sharedEmptyText());
    EXPECT_TRUE(sharedEmptyText().empty());
    EXPECT_EQ(sharedEmptyText(), u"");
    EXPECT_TRUE(CharacterText().empty());
    EXPECT_FALSE(CharacterText().isWide());
}

}  // namespace
}  // namespace Parsers
