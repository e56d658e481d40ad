// The decoder's interface (counts, capacities, refused calls) and its rules,
// each shown on inputs worked out by hand: UTF-8 replacement, the stateless
// lead-byte rule of the double-byte pages and the single-byte tables.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "platform/code_pages.h"
#include "platform/multi_byte_test_support.h"

namespace {

using Units = std::u16string;

constexpr char16_t kReplacement = 0xFFFD;

// Decodes the bytes with a destination of as many units as there are bytes, the
// way the library calls the decoder; the input ends at an unreadable page.
Units decode(unsigned codePage, const std::vector<std::uint8_t>& bytes)
{
    static DecoderTests::GuardedInput guarded;
    std::vector<char16_t> out(bytes.size() + 1, 0xABCD);
    const int size = static_cast<int>(bytes.size());
    const int result = MultiByteToWideChar(codePage, 0, guarded.place(bytes), size, out.data(), size);
    EXPECT_GE(result, 0);
    EXPECT_EQ(out[bytes.size()], 0xABCD) << "a unit was written past the destination";
    return Units(out.data(), static_cast<std::size_t>(result));
}

const unsigned kEveryPage[] = {0,     720,   862,   874,   932,   936,   949,   950,
                               1250,  1251,  1252,  1253,  1254,  1255,  1256,  1257,
                               1258,  20866, 28592, 28594, 28595, 28597, 28599, 50220,
                               50225, 51932, 54936, 65001};

TEST(MultiByteToWideChar, EmptyInputGivesZeroOnEveryPage)
{
    char16_t out[4] = {};
    for (unsigned codePage : kEveryPage) {
        EXPECT_EQ(MultiByteToWideChar(codePage, 0, "", 0, out, 4), 0) << codePage;
        EXPECT_EQ(MultiByteToWideChar(codePage, 0, "", 0, out, 0), 0) << codePage;
    }
}

TEST(MultiByteToWideChar, UnknownCodePagesGiveZero)
{
    char16_t out[8] = {};
    for (unsigned codePage : {1u, 2u, 437u, 850u, 1200u, 1201u, 12000u, 20127u, 28591u, 28603u,
                              50221u, 50222u, 51949u, 52936u, 65000u, 65002u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MultiByteToWideChar(codePage, 0, "abc", 3, out, 8), 0) << codePage;
    }
}

TEST(MultiByteToWideChar, RefusesFlagsNegativeCountsAndNullPointers)
{
    char16_t out[8] = {};
    EXPECT_EQ(MultiByteToWideChar(65001, 1, "abc", 3, out, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(65001, 8, "abc", 3, out, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(65001, 0, "abc", -2, out, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(65001, 0, "abc", 3, out, -1), 0);
    EXPECT_EQ(MultiByteToWideChar(65001, 0, nullptr, 3, out, 8), 0);
    EXPECT_EQ(MultiByteToWideChar(65001, 0, "abc", 3, nullptr, 8), 0);
}

TEST(MultiByteToWideChar, CapacityZeroAsksForTheSize)
{
    EXPECT_EQ(MultiByteToWideChar(65001, 0, "a\xF0\x9F\x98\x80z", 6, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(932, 0, "\x82\xA0x", 3, nullptr, 0), 2);
    EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", 3, nullptr, 0), 3);
    EXPECT_EQ(MultiByteToWideChar(54936, 0, "\xD6\xD0", 2, nullptr, 0), 1);
}

TEST(MultiByteToWideChar, TooSmallADestinationGivesZeroAndStaysUntouched)
{
    char16_t out[4] = {1, 2, 3, 4};
    EXPECT_EQ(MultiByteToWideChar(1252, 0, "abcde", 5, out, 4), 0);
    EXPECT_EQ(MultiByteToWideChar(65001, 0, "abcde", 5, out, 4), 0);
    EXPECT_EQ(Units(out, 4), (Units{1, 2, 3, 4}));
    // Fewer units than bytes: a destination smaller than the input still does.
    EXPECT_EQ(MultiByteToWideChar(65001, 0, "\xE4\xB8\xAD", 3, out, 1), 1);
    EXPECT_EQ(out[0], 0x4E2D);
}

TEST(MultiByteToWideChar, CountMinusOneStopsAfterTheZeroByte)
{
    char16_t out[8] = {};
    EXPECT_EQ(MultiByteToWideChar(1252, 0, "ab\x80", -1, out, 8), 4);
    EXPECT_EQ(Units(out, 4), (Units{u'a', u'b', 0x20AC, 0}));
}

TEST(MultiByteToWideChar, DefaultAnsiCodePageIs1252)
{
    std::vector<std::uint8_t> everyByte;
    for (unsigned byte = 0; byte < 256; ++byte) everyByte.push_back(static_cast<std::uint8_t>(byte));
    EXPECT_EQ(decode(0, everyByte), decode(1252, everyByte));
    EXPECT_EQ(decode(0, {0x80, 0x81, 0x9F}), (Units{0x20AC, 0x0081, 0x0178}));
}

TEST(MultiByteToWideChar, SingleBytePagesKeepBestFitUnitsForUndefinedBytes)
{
    // Undefined bytes give the C1 control of the same number or a private-use
    // character, never U+FFFD.
    EXPECT_EQ(decode(1252, {0x81, 0x8D, 0x8F, 0x90, 0x9D}), (Units{0x81, 0x8D, 0x8F, 0x90, 0x9D}));
    EXPECT_EQ(decode(874, {0xDB, 0xFF}), (Units{0xF8C1, 0xF8C8}));
    EXPECT_EQ(decode(28597, {0xA1, 0xA2}), (Units{0x02BD, 0x02BC}));
    // 1258 composes nothing: a letter and a tone mark stay two units.
    EXPECT_EQ(decode(1258, {0x61, 0xEC}), (Units{0x61, 0x0301}));
}

TEST(MultiByteToWideChar, DoubleByteLeadTakesAnyTrailButZero)
{
    // Hiragana A, then an unassigned pair that swallows the '<' after its lead.
    EXPECT_EQ(decode(932, {0x82, 0xA0, 0x81, 0x3C, 0x41}), (Units{0x3042, 0x30FB, 0x41}));
    EXPECT_EQ(decode(936, {0xD6, 0xD0, 0x81, 0x20}), (Units{0x4E2D, 0x3F}));
    // A lead before a zero byte or at the end gives the default character.
    EXPECT_EQ(decode(949, {0xB0, 0x00, 0x41, 0xB0}), (Units{0x3F, 0x00, 0x41, 0x3F}));
    EXPECT_EQ(decode(932, {0x81}), (Units{0x30FB}));
    // Bytes that lead nothing map on their own: half-width katakana in 932, the
    // euro sign in 936, and the private-use units of 932's A0 and FD to FF.
    EXPECT_EQ(decode(932, {0xB1, 0xA0, 0xFD, 0xFF}), (Units{0xFF71, 0xF8F0, 0xF8F1, 0xF8F3}));
    EXPECT_EQ(decode(936, {0x80}), (Units{0x20AC}));
    EXPECT_EQ(decode(950, {0xA4, 0xA4, 0x80}), (Units{0x4E2D, 0x80}));
}

TEST(MultiByteToWideChar, Utf8ValidInputAndSupplementaryCharacters)
{
    EXPECT_EQ(decode(65001, {0x41, 0xC2, 0x80, 0xDF, 0xBF, 0xE0, 0xA0, 0x80, 0xEF, 0xBF, 0xBF}),
              (Units{0x41, 0x80, 0x7FF, 0x800, 0xFFFF}));
    EXPECT_EQ(decode(65001, {0xF0, 0x90, 0x80, 0x80, 0xF4, 0x8F, 0xBF, 0xBF}),
              (Units{0xD800, 0xDC00, 0xDBFF, 0xDFFF}));
    // A byte order mark and noncharacters pass as they are.
    EXPECT_EQ(decode(65001, {0xEF, 0xBB, 0xBF, 0xEF, 0xBF, 0xBE}), (Units{0xFEFF, 0xFFFE}));
}

TEST(MultiByteToWideChar, Utf8BytesThatStartNothingAreOneReplacementEach)
{
    EXPECT_EQ(decode(65001, {0x80, 0xBF, 0xC0, 0xC1, 0xF5, 0xFF, 0x41}),
              (Units{kReplacement, kReplacement, kReplacement, kReplacement, kReplacement, kReplacement, 0x41}));
    // Five- and six-byte forms: one replacement per byte.
    EXPECT_EQ(decode(65001, {0xF8, 0x88, 0x80, 0x80, 0x80}), Units(5, kReplacement));
}

TEST(MultiByteToWideChar, Utf8SequenceCutByTheEndSwallowsTheRest)
{
    EXPECT_EQ(decode(65001, {0xE0, 0x41}), Units{kReplacement});
    EXPECT_EQ(decode(65001, {0xF0, 0x90, 0x41}), Units{kReplacement});
    EXPECT_EQ(decode(65001, {0x61, 0xC3}), (Units{0x61, kReplacement}));
}

TEST(MultiByteToWideChar, Utf8SequenceEndsAtTheFirstByteThatContinuesNothing)
{
    EXPECT_EQ(decode(65001, {0xE0, 0xA0, 0x41}), (Units{kReplacement, 0x41}));
    EXPECT_EQ(decode(65001, {0xF0, 0x90, 0x80, 0x41}), (Units{kReplacement, 0x41}));
    EXPECT_EQ(decode(65001, {0xE1, 0x41, 0x42}), (Units{kReplacement, 0x41, 0x42}));
}

TEST(MultiByteToWideChar, Utf8SecondByteOutOfRangeIsConsumedWithItsLead)
{
    EXPECT_EQ(decode(65001, {0xE0, 0x80, 0x80}), Units(2, kReplacement));        // overlong
    EXPECT_EQ(decode(65001, {0xED, 0xA0, 0x80}), Units(2, kReplacement));        // surrogate
    EXPECT_EQ(decode(65001, {0xF0, 0x80, 0x80, 0x80}), Units(3, kReplacement));  // overlong
    EXPECT_EQ(decode(65001, {0xF4, 0x90, 0x80, 0x80}), Units(3, kReplacement));  // past U+10FFFF
    EXPECT_EQ(decode(65001, {0xED, 0xA0, 0x80, 0xED, 0xB0, 0x80}), Units(4, kReplacement));
}

// Long texts run through the fast path for ASCII runs and leave it at every
// offset: the result must equal the character-by-character expectation.
TEST(MultiByteToWideChar, Utf8LongMixedTextMatchesItsCharacters)
{
    std::mt19937 random(20240611);
    std::vector<std::uint8_t> bytes;
    Units expected;
    auto appendCodePoint = [&](std::uint32_t codePoint) {
        if (codePoint < 0x80) {
            bytes.push_back(static_cast<std::uint8_t>(codePoint));
        } else if (codePoint < 0x800) {
            bytes.push_back(static_cast<std::uint8_t>(0xC0 | (codePoint >> 6)));
            bytes.push_back(static_cast<std::uint8_t>(0x80 | (codePoint & 0x3F)));
        } else if (codePoint < 0x10000) {
            bytes.push_back(static_cast<std::uint8_t>(0xE0 | (codePoint >> 12)));
            bytes.push_back(static_cast<std::uint8_t>(0x80 | ((codePoint >> 6) & 0x3F)));
            bytes.push_back(static_cast<std::uint8_t>(0x80 | (codePoint & 0x3F)));
        } else {
            bytes.push_back(static_cast<std::uint8_t>(0xF0 | (codePoint >> 18)));
            bytes.push_back(static_cast<std::uint8_t>(0x80 | ((codePoint >> 12) & 0x3F)));
            bytes.push_back(static_cast<std::uint8_t>(0x80 | ((codePoint >> 6) & 0x3F)));
            bytes.push_back(static_cast<std::uint8_t>(0x80 | (codePoint & 0x3F)));
        }
        if (codePoint >= 0x10000) {
            expected.push_back(static_cast<char16_t>(0xD800 | ((codePoint - 0x10000) >> 10)));
            expected.push_back(static_cast<char16_t>(0xDC00 | ((codePoint - 0x10000) & 0x3FF)));
        } else {
            expected.push_back(static_cast<char16_t>(codePoint));
        }
    };
    const std::uint8_t loneBytes[] = {0x80, 0x9F, 0xBF, 0xC0, 0xC1, 0xF5, 0xF8, 0xFE, 0xFF};
    while (bytes.size() < (1u << 20)) {
        switch (random() % 5) {
        case 0: {
            const unsigned run = random() % 48;
            for (unsigned i = 0; i < run; ++i) appendCodePoint(random() % 0x80);
            break;
        }
        case 1: appendCodePoint(0x80 + random() % (0x800 - 0x80)); break;
        case 2: {
            std::uint32_t codePoint = 0x800 + random() % (0x10000 - 0x800);
            if (codePoint >= 0xD800 && codePoint < 0xE000) codePoint -= 0x800;
            appendCodePoint(codePoint);
            break;
        }
        case 3: appendCodePoint(0x10000 + random() % 0x100000); break;
        default:
            bytes.push_back(loneBytes[random() % std::size(loneBytes)]);
            expected.push_back(kReplacement);
        }
    }
    // A sequence cut by the end is one replacement.
    bytes.insert(bytes.end(), {0xF0, 0x9F, 0x98});
    expected.push_back(kReplacement);
    EXPECT_EQ(decode(65001, bytes), expected);
}

TEST(MultiByteToWideChar, Utf8AsciiRunsOfEveryLengthAndAlignment)
{
    for (std::size_t before = 0; before < 40; ++before) {
        for (std::size_t after = 0; after < 40; after += 3) {
            std::vector<std::uint8_t> bytes(before, 'a');
            bytes.insert(bytes.end(), {0xC3, 0xA9});
            bytes.insert(bytes.end(), after, 'b');
            Units expected(before, u'a');
            expected.push_back(0xE9);
            expected.append(after, u'b');
            EXPECT_EQ(decode(65001, bytes), expected) << before << " " << after;
        }
    }
}

}  // namespace
