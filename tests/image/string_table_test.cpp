// The string table of an image: numbers in the order of first use, one number
// for equal content, and the replay of the numbering round that the writer
// goes through before it writes the records.

#include "image/string_table.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "image/image_block.h"

namespace Parsers {
namespace {

TEST(StringTable, NumbersInTheOrderOfFirstUse)
{
    const UString a = u"alpha", b = u"beta", a2 = u"alpha", empty;
    StringTable table;
    EXPECT_EQ(table.intern(a), 0u);
    EXPECT_EQ(table.intern(b), 1u);
    EXPECT_EQ(table.intern(a2), 0u);
    EXPECT_EQ(table.intern(empty), 2u);
    EXPECT_EQ(table.intern(b), 1u);
    ASSERT_EQ(table.size(), 3u);
    EXPECT_EQ(table.strings()[0].units, a.data());
    EXPECT_EQ(table.strings()[2].units, empty.data());
    EXPECT_EQ(table.byteSize(), 2u * 5 + 2 + 2u * 4 + 2 + 2);
}

TEST(StringTable, ReplayGivesBackTheNumbersInOrderAndCopiesEachStringOnce)
{
    const UString texts[] = {u"x", u"yy", u"x", u"z", u"yy"};
    StringTable table;
    std::vector<std::uint32_t> first;
    for (const UString& text : texts) first.push_back(table.intern(text));
    EXPECT_EQ(table.calls(), 5u);
    std::vector<std::uint8_t> area(table.byteSize(), 0);
    table.replay(area.data());
    std::vector<std::uint32_t> second;
    for (const UString& text : texts) second.push_back(table.intern(text));
    EXPECT_EQ(first, (std::vector<std::uint32_t>{0, 1, 0, 2, 1}));
    EXPECT_EQ(second, first);
    EXPECT_EQ(table.size(), 3u);
    // "x", "yy" and "z", each followed by the zero unit the area had.
    const std::vector<std::uint8_t> expected = {'x', 0, 0, 0, 'y', 0, 'y', 0, 0, 0, 'z', 0, 0, 0};
    EXPECT_EQ(area, expected);
}

// An empty text gets no number, and its answer is kept like the others: the
// replay gives it back without looking at the text, which may have changed
// or be gone by then.
TEST(StringTable, EmptyTextsHaveNoNumberAndTheirAnswersAreReplayed)
{
    UString empty;
    const UString word = u"w";
    StringTable table;
    EXPECT_EQ(table.internUnlessEmpty(empty), StringTable::kNoString);
    EXPECT_EQ(table.internUnlessEmpty(word), 0u);
    EXPECT_EQ(table.internUnlessEmpty(empty), StringTable::kNoString);
    EXPECT_EQ(table.calls(), 3u);
    EXPECT_EQ(table.size(), 1u);
    EXPECT_EQ(table.byteSize(), 4u);

    std::vector<std::uint8_t> area(table.byteSize(), 0xAA);
    table.replay(area.data());
    empty = u"changed";
    EXPECT_EQ(table.internUnlessEmpty(empty), StringTable::kNoString);
    EXPECT_EQ(table.internUnlessEmpty(empty), 0u);
    EXPECT_EQ(table.internUnlessEmpty(empty), StringTable::kNoString);
    EXPECT_EQ(area, (std::vector<std::uint8_t>{'w', 0, 0xAA, 0xAA}));
}

TEST(StringTable, ReplayCanBeReadFromTwoPlaces)
{
    const UString a = u"a", b = u"b", c = u"c";
    StringTable table;
    const StringTable::ReplayPosition start = table.position();
    table.intern(a);
    const StringTable::ReplayPosition atB = table.position();
    table.intern(b);
    const StringTable::ReplayPosition second = table.position();
    table.intern(c);
    table.intern(a);
    std::vector<std::uint8_t> area(table.byteSize(), 0);
    table.replay(area.data());
    table.seekReplay(second);
    EXPECT_EQ(table.intern(c), 2u);
    const StringTable::ReplayPosition after = table.position();
    table.seekReplay(start);
    EXPECT_EQ(table.intern(a), 0u);
    table.seekReplay(after);
    EXPECT_EQ(table.intern(a), 0u);
    table.seekReplay(atB);
    EXPECT_EQ(table.intern(b), 1u);
    EXPECT_EQ(area, (std::vector<std::uint8_t>{'a', 0, 0, 0, 'b', 0, 0, 0, 'c', 0, 0, 0}));
}

// Repeated numbers are kept in as many bytes as they need: numbers past 125
// and past 16,381 take one byte more each.
TEST(StringTable, ReplayGivesBackLargeNumbersOfRepeats)
{
    std::vector<UString> texts;
    for (std::uint32_t i = 0; i < 20000; ++i) {
        texts.push_back(UString(1, static_cast<char16_t>(0x4E00 + i % 1000)) +
                        static_cast<char16_t>(0x4E00 + i / 1000));
    }
    StringTable table;
    const UString empty;
    std::vector<std::uint32_t> first;
    for (const UString& text : texts) first.push_back(table.intern(text));
    const std::vector<std::size_t> repeats = {19999, 0, 125, 126, 127, 16381, 16382, 16383, 5, 19998};
    for (std::size_t index : repeats) {
        first.push_back(table.internUnlessEmpty(empty));
        first.push_back(table.intern(texts[index]));
    }
    EXPECT_EQ(table.calls(), texts.size() + 2 * repeats.size());
    std::vector<std::uint8_t> area(table.byteSize(), 0);
    table.replay(area.data());
    std::vector<std::uint32_t> second;
    for (const UString& text : texts) second.push_back(table.intern(text));
    for (std::size_t index : repeats) {
        second.push_back(table.internUnlessEmpty(empty));
        second.push_back(table.intern(texts[index]));
        EXPECT_EQ(second.back(), index);
    }
    EXPECT_EQ(second, first);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(area[6 * i], static_cast<std::uint8_t>(texts[i][0]));
        EXPECT_EQ(area[6 * i + 1], static_cast<std::uint8_t>(texts[i][0] >> 8));
        EXPECT_EQ(area[6 * i + 3], static_cast<std::uint8_t>(texts[i][1] >> 8));
    }
}

TEST(StringTable, ManyStringsOfSharedBeginningsKeepTheirNumbers)
{
    // Far more strings than the index was sized for, of every length up to
    // 40 units, with long shared beginnings and units above the low byte.
    std::vector<UString> texts;
    for (int i = 0; i < 5000; ++i) {
        UString text(static_cast<std::size_t>(i % 41), u'\u3042');
        text += static_cast<char16_t>(0x100 + i);
        texts.push_back(text);
    }
    StringTable table(4);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(table.intern(texts[i]), i);
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const UString copy = texts[i];
        EXPECT_EQ(table.intern(copy), i);
    }
    EXPECT_EQ(table.size(), texts.size());
}

TEST(StringTable, LongTextsDifferingInOneUnitAnywhereAreDifferentStrings)
{
    // Texts of 16 to 70 units, each with one unit changed at one place: in
    // each of the blocks that the long part is read in, in the blocks of
    // four behind them and in the last few units.
    std::vector<UString> texts;
    for (std::size_t length = 16; length <= 70; length += 9) {
        const UString base(length, u'x');
        texts.push_back(base);
        for (std::size_t place = 0; place < length; ++place) {
            UString changed = base;
            changed[place] = u'y';
            texts.push_back(changed);
        }
    }
    StringTable table;
    for (std::size_t i = 0; i < texts.size(); ++i) EXPECT_EQ(table.intern(texts[i]), i);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const UString copy = texts[i];
        EXPECT_EQ(table.intern(copy), i);
    }
    EXPECT_EQ(table.size(), texts.size());
}

// A text of one byte a unit and the same units at two bytes each are one
// string, whichever comes first, at every length the hash reads differently;
// the image gets the units at two bytes each.
TEST(StringTable, NarrowAndWideTextsOfTheSameUnitsAreOneString)
{
    for (std::size_t length : {0u, 1u, 3u, 4u, 7u, 15u, 16u, 17u, 40u}) {
        UString units;
        for (std::size_t index = 0; index < length; ++index) units.push_back(static_cast<char16_t>(0x20 + index * 5 % 200));
        CharacterText narrow(units, nullptr);
        ASSERT_FALSE(narrow.isWide());
        const UString longer = units + u'\u00FF';
        CharacterText narrowLonger(longer, nullptr);
        StringTable table;
        EXPECT_EQ(table.intern(narrow), 0u);
        EXPECT_EQ(table.intern(units), 0u);
        EXPECT_EQ(table.intern(longer), 1u);
        EXPECT_EQ(table.intern(narrowLonger), 1u);
        std::vector<std::uint8_t> area(table.byteSize(), 0xAA);
        table.replay(area.data());
        table.intern(narrow);
        table.intern(units);
        table.intern(longer);
        table.intern(narrowLonger);
        std::vector<std::uint8_t> expected;
        for (const UString* text : {static_cast<const UString*>(&units), &longer}) {
            for (char16_t unit : *text) {
                expected.push_back(static_cast<std::uint8_t>(unit));
                expected.push_back(static_cast<std::uint8_t>(unit >> 8));
            }
            expected.push_back(0xAA);
            expected.push_back(0xAA);
        }
        EXPECT_EQ(area, expected) << length;
        narrow.release(nullptr);
        narrowLonger.release(nullptr);
    }
}

TEST(StringTable, UnitsDifferingOnlyInTheHighByteAreDifferentStrings)
{
    const UString low = u"\u0041\u0042", high = u"\u0141\u0042";
    StringTable table;
    EXPECT_EQ(table.intern(low), 0u);
    EXPECT_EQ(table.intern(high), 1u);
    // Nor is a narrow text equal to a wide one whose units differ only there.
    CharacterText narrow(low, nullptr);
    EXPECT_EQ(table.intern(narrow), 0u);
    const UString wideOnly = u"\u0141\u0041\u0042\u0043\u0044";
    CharacterText narrowLike(u"\u0041\u0041\u0042\u0043\u0044", nullptr);
    EXPECT_EQ(table.intern(wideOnly), 2u);
    EXPECT_EQ(table.intern(narrowLike), 3u);
    narrowLike.release(nullptr);
}

TEST(ImageBlockCapacity, DoublingEndsAtTheFirstCapacityThatHolds)
{
    EXPECT_EQ(ImageBlock::doubledCapacity(4096, 0), 4096u);
    EXPECT_EQ(ImageBlock::doubledCapacity(4096, 4096), 4096u);
    EXPECT_EQ(ImageBlock::doubledCapacity(4096, 4097), 8192u);
    EXPECT_EQ(ImageBlock::doubledCapacity(4096, 1587006), 2097152u);
    EXPECT_EQ(ImageBlock::doubledCapacity(4096, 0x80000000ull), 0x80000000u);
    EXPECT_THROW(ImageBlock::doubledCapacity(4096, 0x80000001ull), std::bad_alloc);
    EXPECT_THROW(ImageBlock::doubledCapacity(4096, 0x100000000ull), std::bad_alloc);
}

}  // namespace
}  // namespace Parsers
