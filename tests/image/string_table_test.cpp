// The string table of an image: numbers in the order of first use, one number
// for equal content, and the replay of the numbering round that the writer
// goes through before it writes the records.

#include "image/string_table.h"

#include <gtest/gtest.h>

#include <deque>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "dom/compact_text.h"
#include "dom/names.h"
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

// An empty text gets no number in either round: the writing round looks at
// the text as the numbering round did.
TEST(StringTable, EmptyTextsHaveNoNumberInEitherRound)
{
    const UString empty;
    const UString word = u"w";
    StringTable table;
    EXPECT_EQ(table.internUnlessEmpty(empty), StringTable::kNoString);
    EXPECT_EQ(table.internUnlessEmpty(word), 0u);
    EXPECT_EQ(table.internUnlessEmpty(CharacterText()), StringTable::kNoString);
    EXPECT_EQ(table.calls(), 3u);
    EXPECT_EQ(table.size(), 1u);
    EXPECT_EQ(table.byteSize(), 4u);

    std::vector<std::uint8_t> area(table.byteSize(), 0xAA);
    table.replay(area.data());
    EXPECT_EQ(table.internUnlessEmpty(empty), StringTable::kNoString);
    EXPECT_EQ(table.internUnlessEmpty(word), 0u);
    EXPECT_EQ(table.internUnlessEmpty(CharacterText()), StringTable::kNoString);
    EXPECT_EQ(area, (std::vector<std::uint8_t>{'w', 0, 0xAA, 0xAA}));
}

// A kept answer comes back in the writing round without a look at the text,
// which may have changed or be gone by then; a new string among them is
// copied from where the numbering round saw it.
TEST(StringTable, KeptAnswersComeBackWithoutTheText)
{
    ParseHeapOwner owner;
    ParseHeap* heap = owner.get();
    CharacterText uri(u"urn:x", heap);
    CharacterText none;
    const UString word = u"urn:x";
    StringTable table;
    EXPECT_EQ(table.internKeptUnlessEmpty(uri), 0u);
    EXPECT_EQ(table.internKeptUnlessEmpty(none), StringTable::kNoString);
    EXPECT_EQ(table.intern(word), 0u);
    EXPECT_EQ(table.internKeptUnlessEmpty(uri), 0u);
    EXPECT_EQ(table.calls(), 4u);

    std::vector<std::uint8_t> area(table.byteSize(), 0xAA);
    table.replay(area.data());
    EXPECT_EQ(table.internKeptUnlessEmpty(uri), 0u);
    uri.assign(u"changed", heap);
    none.assign(u"no longer empty", heap);
    EXPECT_EQ(table.internKeptUnlessEmpty(none), StringTable::kNoString);
    EXPECT_EQ(table.intern(word), 0u);
    EXPECT_EQ(table.internKeptUnlessEmpty(uri), 0u);
    EXPECT_EQ(area, (std::vector<std::uint8_t>{'u', 0, 'r', 0, 'n', 0, ':', 0, 'x', 0, 0xAA, 0xAA}));
    uri.release(heap);
    none.release(heap);
}

// Once the writing round has copied a string into the image, it compares
// later texts with the copy: the text it came from may be released.
TEST(StringTable, TheWritingRoundComparesWithTheCopyInTheImage)
{
    UString first = u"abc";
    const UString later = u"abc";
    StringTable table;
    EXPECT_EQ(table.intern(first), 0u);
    EXPECT_EQ(table.intern(later), 0u);
    std::vector<std::uint8_t> area(table.byteSize(), 0);
    table.replay(area.data());
    EXPECT_EQ(table.intern(first), 0u);
    first = u"zzz";
    EXPECT_EQ(table.intern(later), 0u);
    EXPECT_EQ(area, (std::vector<std::uint8_t>{'a', 0, 'b', 0, 'c', 0, 0, 0}));
}

// A name of the tag or attribute name lists keeps its number by its place
// there, equal content elsewhere shares it, and each string goes into the
// image once, at its first use.
TEST(StringTable, NamesOfTheListsKeepTheirNumbersByPlace)
{
    const UString& div = tagNameStrings()[static_cast<std::size_t>(TagId::Div)];
    const UString& href = attributeNameStrings()[static_cast<std::size_t>(AttributeId::Href)];
    const UString plainDiv = u"div";
    const CompactText listedHref = [&] {
        CompactText text;
        text.refer(href);
        return text;
    }();
    StringTable table;
    std::vector<std::uint32_t> first;
    const auto askAll = [&](std::vector<std::uint32_t>& numbers) {
        numbers.push_back(table.intern(plainDiv));
        numbers.push_back(table.intern(div));
        numbers.push_back(table.intern(listedHref));
        numbers.push_back(table.intern(div));
        numbers.push_back(table.internUnlessEmpty(href));
        numbers.push_back(table.intern(plainDiv));
    };
    askAll(first);
    EXPECT_EQ(first, (std::vector<std::uint32_t>{0, 0, 1, 0, 1, 0}));
    EXPECT_EQ(table.calls(), 6u);
    std::vector<std::uint8_t> area(table.byteSize(), 0xAA);
    table.replay(area.data());
    std::vector<std::uint32_t> second;
    askAll(second);
    EXPECT_EQ(second, first);
    EXPECT_EQ(area, (std::vector<std::uint8_t>{'d', 0, 'i', 0, 'v', 0, 0xAA, 0xAA, 'h', 0, 'r', 0, 'e', 0,
                                               'f', 0, 0xAA, 0xAA}));
}

// Kept answers of repeats take as many bytes as they need: numbers past 125
// and past 16,381 take one byte more each.
TEST(StringTable, KeptAnswersGiveBackLargeNumbersOfRepeats)
{
    std::vector<UString> texts;
    for (std::uint32_t i = 0; i < 20000; ++i) {
        texts.push_back(UString(1, static_cast<char16_t>(0x4E00 + i % 1000)) +
                        static_cast<char16_t>(0x4E00 + i / 1000));
    }
    StringTable table;
    for (const UString& text : texts) table.intern(text);
    const std::vector<std::size_t> repeats = {19999, 0, 125, 126, 127, 16381, 16382, 16383, 5, 19998};
    std::deque<CharacterText> kept;  // texts do not move
    for (std::size_t index : repeats) kept.emplace_back(texts[index], nullptr);
    for (std::size_t at = 0; at < repeats.size(); ++at) {
        EXPECT_EQ(table.internKeptUnlessEmpty(kept[at]), repeats[at]);
    }
    std::vector<std::uint8_t> area(table.byteSize(), 0);
    table.replay(area.data());
    for (const UString& text : texts) table.intern(text);
    for (CharacterText& text : kept) text.release(nullptr);
    for (std::size_t index : repeats) EXPECT_EQ(table.internKeptUnlessEmpty(CharacterText()), index);
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
