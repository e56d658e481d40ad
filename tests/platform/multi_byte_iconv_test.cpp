// The four code pages decoded through the C library's iconv: 50220
// (ISO-2022-JP), 50225 (ISO-2022-KR), 51932 (EUC-JP) and 54936 (GB18030). They
// decode valid text, replace what they refuse, and never read past the input,
// however it is cut or garbled.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "platform/code_pages.h"
#include "platform/multi_byte_test_support.h"

namespace {

using Units = std::u16string;
using Bytes = std::vector<std::uint8_t>;

constexpr char16_t kReplacement = 0xFFFD;

DecoderTests::GuardedInput& guardedInput()
{
    static DecoderTests::GuardedInput guarded;
    return guarded;
}

// Decodes with a destination of as many units as there are bytes, input ending
// at an unreadable page; checks nothing is written past the result.
Units decode(unsigned codePage, const Bytes& bytes)
{
    std::vector<char16_t> out(bytes.size() + 1, 0xABCD);
    const int size = static_cast<int>(bytes.size());
    const int result = MultiByteToWideChar(codePage, 0, guardedInput().place(bytes), size, out.data(), size);
    EXPECT_GE(result, 0);
    EXPECT_LE(result, size);
    for (std::size_t i = static_cast<std::size_t>(result > 0 ? result : 0); i < out.size(); ++i) {
        EXPECT_EQ(out[i], 0xABCD) << "unit " << i << " written past the result";
    }
    return Units(out.data(), static_cast<std::size_t>(result > 0 ? result : 0));
}

struct SampleText {
    unsigned codePage;
    Bytes bytes;
    Units units;
};

// Texts whose units follow from the published character sets: JIS X 0208 row
// 4 (hiragana) and row 16 (first kanji), JIS X 0201 katakana, KS X 1001 row 16
// (first hangul syllable), GB 2312 and the four-byte ranges of GB18030.
std::vector<SampleText> sampleTexts()
{
    return {
        // ESC $ B, hiragana A and I, kanji 0x3021, ESC ( B, "A".
        {50220, {0x1B, 0x24, 0x42, 0x24, 0x22, 0x24, 0x24, 0x30, 0x21, 0x1B, 0x28, 0x42, 0x41},
         {0x3042, 0x3044, 0x4E9C, 0x41}},
        // ESC ( I: half-width katakana A, I, U; then back to ASCII.
        {50220, {0x1B, 0x28, 0x49, 0x31, 0x32, 0x33, 0x1B, 0x28, 0x42, 0x78}, {0xFF71, 0xFF72, 0xFF73, 0x78}},
        // The designator, then SO, the syllable GA (0x3021), SI, "A".
        {50225, {0x1B, 0x24, 0x29, 0x43, 0x0E, 0x30, 0x21, 0x0F, 0x41}, {0xAC00, 0x41}},
        // Hiragana A, kanji 0x3021, single-shift half-width katakana A, "z".
        {51932, {0xA4, 0xA2, 0xB0, 0xA1, 0x8E, 0xB1, 0x7A}, {0x3042, 0x4E9C, 0xFF71, 0x7A}},
        // ZHONG, ideographic space, U+0080 and U+10000 in four bytes, "a".
        {54936, {0xD6, 0xD0, 0xA1, 0xA1, 0x81, 0x30, 0x81, 0x30, 0x90, 0x30, 0x81, 0x30, 0x61},
         {0x4E2D, 0x3000, 0x0080, 0xD800, 0xDC00, 0x61}},
    };
}

TEST(IconvCodePages, DecodeValidText)
{
    for (const SampleText& sample : sampleTexts()) {
        EXPECT_EQ(decode(sample.codePage, sample.bytes), sample.units) << "code page " << sample.codePage;
    }
}

TEST(IconvCodePages, PlainAsciiPassesThrough)
{
    const Bytes ascii = {'<', 'p', '>', 'H', 'i', '\r', '\n'};
    const Units expected = {u'<', u'p', u'>', u'H', u'i', u'\r', u'\n'};
    for (unsigned codePage : {50220u, 50225u, 51932u, 54936u}) {
        EXPECT_EQ(decode(codePage, ascii), expected) << codePage;
    }
}

TEST(IconvCodePages, RefusedBytesAreReplacedOneByOne)
{
    // A lead byte cut by the end of the input.
    EXPECT_EQ(decode(51932, {0x41, 0xA4}), (Units{0x41, kReplacement}));
    EXPECT_EQ(decode(54936, {0x41, 0xD6}), (Units{0x41, kReplacement}));
    // GB18030: 0xFF leads nothing.
    EXPECT_EQ(decode(54936, {0xFF, 0x41}), (Units{kReplacement, 0x41}));
}

bool isStateless(unsigned codePage)
{
    return codePage == 51932 || codePage == 54936;
}

TEST(IconvCodePages, EveryCutOfTheSampleTextsIsSafe)
{
    for (const SampleText& sample : sampleTexts()) {
        for (std::size_t length = 1; length <= sample.bytes.size(); ++length) {
            const Bytes cut(sample.bytes.begin(), sample.bytes.begin() + static_cast<long>(length));
            const Units units = decode(sample.codePage, cut);
            // An escape sequence alone decodes to nothing; bytes of the
            // stateless pages always give a unit or a replacement.
            if (isStateless(sample.codePage)) {
                EXPECT_FALSE(units.empty()) << sample.codePage << " cut at " << length;
            }
        }
        // Cut at the front as well: the text then starts inside a character.
        for (std::size_t start = 1; start < sample.bytes.size(); ++start) {
            const Bytes tail(sample.bytes.begin() + static_cast<long>(start), sample.bytes.end());
            const Units units = decode(sample.codePage, tail);
            if (isStateless(sample.codePage)) {
                EXPECT_FALSE(units.empty()) << sample.codePage << " from " << start;
            }
        }
    }
}

TEST(IconvCodePages, RandomBytesAreSafe)
{
    std::mt19937 random(7);
    for (unsigned codePage : {50220u, 50225u, 51932u, 54936u}) {
        for (int round = 0; round < 3000; ++round) {
            Bytes bytes(1 + random() % 24);
            for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
            const Units units = decode(codePage, bytes);
            if (isStateless(codePage)) {
                EXPECT_FALSE(units.empty()) << codePage;
            }
        }
        // Escape-heavy input for the stateful pages.
        for (int round = 0; round < 1000; ++round) {
            Bytes bytes(1 + random() % 24);
            const std::uint8_t alphabet[] = {0x1B, 0x24, 0x28, 0x29, 0x42, 0x40, 0x43, 0x49, 0x0E, 0x0F, 0x21, 0x7E, 0x80};
            for (std::uint8_t& byte : bytes) byte = alphabet[random() % std::size(alphabet)];
            decode(codePage, bytes);
        }
    }
}

TEST(IconvCodePages, SizeQueryAgreesWithTheDecoding)
{
    for (const SampleText& sample : sampleTexts()) {
        EXPECT_EQ(MultiByteToWideChar(sample.codePage, 0, reinterpret_cast<const char*>(sample.bytes.data()),
                                      static_cast<int>(sample.bytes.size()), nullptr, 0),
                  static_cast<int>(sample.units.size()));
    }
}

}  // namespace
