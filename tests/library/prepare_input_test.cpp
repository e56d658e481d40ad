// Input preparation: byte order marks, the prescan and the default page, the
// integer 9 when no text can be made, line-end normalisation in place, and the
// control filter of mode 1.

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "library/prepare_input.h"

namespace Parsers {
namespace {

using Units = std::u16string;

// The caller's buffer: the input bytes followed by zero padding, as the
// library's callers must provide.
struct CallerBuffer {
    explicit CallerBuffer(const std::string& input, std::size_t padding = 4) : bytes(input.begin(), input.end())
    {
        bytes.resize(input.size() + padding, 0);
    }
    std::vector<std::uint8_t> bytes;
};

// A source over bytes, as the driver hands it to prepareInput.
SourceBuffer byteSource(CallerBuffer& buffer, std::uint32_t size, std::uint32_t mode = 2)
{
    SourceBuffer source;
    source.rawBytes = buffer.bytes.data();
    source.rawSize = size;
    source.parseMode = mode;
    return source;
}

SourceBuffer byteSource(CallerBuffer& buffer)
{
    return byteSource(buffer, static_cast<std::uint32_t>(buffer.bytes.size() - 4));
}

// A source over UTF-16 units, as the driver sets it up for input kind 1.
SourceBuffer utf16Source(std::vector<char16_t>& units, std::uint32_t length, std::uint32_t mode = 2)
{
    SourceBuffer source;
    source.rawBytes = reinterpret_cast<std::uint8_t*>(units.data());
    source.rawSize = length * 2;
    source.parseMode = mode;
    source.encodingFixed = 1;
    source.codePage = 1200;
    source.textLength = length;
    source.text = units.data();
    return source;
}

Units textOf(const SourceBuffer& source)
{
    return Units(source.text, source.textLength);
}

// Bytes that end right before a page that cannot be read or written.
class GuardedBuffer {
public:
    GuardedBuffer()
    {
        pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        void* mapped = mmap(nullptr, 2 * pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        region = static_cast<std::uint8_t*>(mapped);
        mprotect(region + pageSize, pageSize, PROT_NONE);
    }
    ~GuardedBuffer() { munmap(region, 2 * pageSize); }
    std::uint8_t* place(const std::vector<std::uint8_t>& bytes)
    {
        std::uint8_t* start = region + pageSize - bytes.size();
        std::memcpy(start, bytes.data(), bytes.size());
        return start;
    }

private:
    std::size_t pageSize = 0;
    std::uint8_t* region = nullptr;
};

int refuseEveryPage(unsigned, unsigned long, const char*, int, char16_t*, int)
{
    return 0;
}

std::vector<unsigned> requestedPages;

int recordingUtf8Decoder(unsigned codePage, unsigned long flags, const char* bytes, int byteCount, char16_t* out,
                         int capacity)
{
    requestedPages.push_back(codePage);
    return platformMultiByteToWideChar(codePage, flags, bytes, byteCount, out, capacity);
}

int thrownValue(SourceBuffer& source, CodePageDecoder decoder = platformMultiByteToWideChar)
{
    try {
        prepareInput(source, decoder);
    } catch (int value) {
        return value;
    }
    return -1;
}

// ---------------------------------------------------------------- byte order marks

TEST(PrepareInput, LittleEndianByteOrderMark)
{
    CallerBuffer buffer(std::string("\xFF\xFE" "A\0", 4));
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), u"A");
    EXPECT_EQ(source.text, reinterpret_cast<char16_t*>(buffer.bytes.data() + 2));
    EXPECT_EQ(source.codePage, 1200);
    EXPECT_EQ(source.encodingFixed, 1u);
    EXPECT_TRUE(source.decodedText.empty());
}

TEST(PrepareInput, BigEndianByteOrderMarkSwapsTheCallersBuffer)
{
    CallerBuffer buffer(std::string("\xFE\xFF\0A\0\r\0\n\0B\0\r", 12));
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(source.text, reinterpret_cast<char16_t*>(buffer.bytes.data() + 2));
    EXPECT_EQ(textOf(source), u"A\nB\n");
    EXPECT_EQ(source.codePage, 1200);
    EXPECT_EQ(source.encodingFixed, 1u);
    // Swapped in place; the byte order mark itself is left as it was.
    EXPECT_EQ(buffer.bytes[0], 0xFE);
    EXPECT_EQ(buffer.bytes[1], 0xFF);
    EXPECT_EQ(buffer.bytes[2], 'A');
    EXPECT_EQ(buffer.bytes[3], 0);
}

TEST(PrepareInput, ByteOrderMarkBeatsAMetaDeclaration)
{
    std::string utf16 = std::string("\xFF\xFE", 2);
    for (char c : std::string("<meta charset=koi8-r>")) utf16 += std::string(1, c) + std::string(1, '\0');
    CallerBuffer buffer(utf16);
    SourceBuffer source = byteSource(buffer);
    requestedPages.clear();
    prepareInput(source, recordingUtf8Decoder);
    EXPECT_EQ(requestedPages, std::vector<unsigned>{});
    EXPECT_EQ(textOf(source), u"<meta charset=koi8-r>");
}

TEST(PrepareInput, OddSizeDropsTheLastByteOfUtf16)
{
    CallerBuffer buffer(std::string("\xFF\xFE" "A\0B", 5));
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), u"A");
}

TEST(PrepareInput, BareLittleEndianMarkLeavesAnEmptyText)
{
    CallerBuffer buffer("\xFF\xFE");
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(source.textLength, 0u);
    EXPECT_EQ(source.text, reinterpret_cast<char16_t*>(buffer.bytes.data() + 2));
    EXPECT_EQ(source.encodingFixed, 1u);
}

TEST(PrepareInput, LittleEndianMarkNeedsTwoBytes)
{
    // With a size of 1 the bytes FF FE are no byte order mark: the one byte
    // FF is decoded as UTF-8.
    CallerBuffer buffer("\xFF\xFE");
    SourceBuffer source = byteSource(buffer, 1);
    prepareInput(source);
    EXPECT_EQ(textOf(source), Units(1, 0xFFFD));
    EXPECT_EQ(source.encodingFixed, 0u);
}

TEST(PrepareInputDeathTest, BareBigEndianMarkRunsTheSwapOffTheBuffer)
{
    // Nothing follows the mark: the swap loop tests for its end only after a
    // swap, so it runs on into the page behind the buffer.
    GuardedBuffer guarded;
    std::uint8_t* input = guarded.place({0xFE, 0xFF, 0x00, 0x00, 0x00, 0x00});
    SourceBuffer source;
    source.rawBytes = input;
    source.rawSize = 2;
    source.parseMode = 2;
    EXPECT_EXIT(prepareInput(source), ::testing::KilledBySignal(SIGSEGV), "");
}

TEST(PrepareInputDeathTest, BigEndianMarkIsTakenWhateverTheSize)
{
    // Size 1: the mark test reads two bytes anyway, and the length
    // (1 - 2) / 2 wraps to a huge count.
    GuardedBuffer guarded;
    std::uint8_t* input = guarded.place({0xFE, 0xFF, 0x00, 0x00});
    SourceBuffer source;
    source.rawBytes = input;
    source.rawSize = 1;
    source.parseMode = 2;
    EXPECT_EXIT(prepareInput(source), ::testing::KilledBySignal(SIGSEGV), "");
}

TEST(PrepareInput, Utf8ByteOrderMarkSkipsThePrescan)
{
    CallerBuffer buffer("\xEF\xBB\xBF<meta charset=koi8-r>\xC3\xA9");
    SourceBuffer source = byteSource(buffer);
    requestedPages.clear();
    prepareInput(source, recordingUtf8Decoder);
    EXPECT_EQ(requestedPages, std::vector<unsigned>{65001});
    EXPECT_EQ(textOf(source), Units(u"<meta charset=koi8-r>") + char16_t(0xE9));
    EXPECT_EQ(source.rawBytes, buffer.bytes.data() + 3);
    EXPECT_EQ(source.rawSize, 23u);
    EXPECT_EQ(source.encodingFixed, 1u);
    EXPECT_EQ(source.codePage, 1200);
    EXPECT_EQ(source.text, source.decodedText.data());
}

TEST(PrepareInputDeathTest, BareUtf8ByteOrderMarkFaultsInTheLineEndPass)
{
    // The decoder makes nothing of zero bytes and the mark's branch raises no
    // error, so the line-end pass reads the first unit of a text that is null.
    CallerBuffer buffer("\xEF\xBB\xBF");
    SourceBuffer source = byteSource(buffer);
    EXPECT_EXIT(prepareInput(source), ::testing::KilledBySignal(SIGSEGV), "");
}

TEST(PrepareInput, TruncatedUtf8MarkIsText)
{
    // EF BB is a sequence cut by the end: one replacement.
    CallerBuffer buffer("\xEF\xBB");
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), Units(1, 0xFFFD));
    EXPECT_EQ(source.encodingFixed, 0u);
}

// ---------------------------------------------------------------- prescan and default

TEST(PrepareInput, MetaDeclarationChoosesThePage)
{
    CallerBuffer buffer("<meta charset=koi8-r>\xC1\xC2");
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), Units(u"<meta charset=koi8-r>") + Units(u"\u0430\u0431"));
    EXPECT_EQ(source.encodingFixed, 0u);
    EXPECT_EQ(source.codePage, 1200);
}

TEST(PrepareInput, Utf8IsTheDefaultInMode2)
{
    CallerBuffer buffer("<p>caf\xC3\xA9 \x80</p>");
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), Units(u"<p>caf\u00E9 \uFFFD</p>"));
    EXPECT_EQ(source.text[source.textLength], 0);
}

TEST(PrepareInput, SystemDefaultPageIsTheDefaultInMode1)
{
    CallerBuffer buffer("caf\xC3\xA9 \xA4");
    SourceBuffer source = byteSource(buffer, 7, 1);
    requestedPages.clear();
    prepareInput(source, recordingUtf8Decoder);
    EXPECT_EQ(requestedPages, std::vector<unsigned>{0});
    EXPECT_EQ(textOf(source), (Units{u'c', u'a', u'f', 0xC3, 0xA9, u' ', 0xA4}));
}

TEST(PrepareInput, FailedDeclarationFallsToTheDefault)
{
    CallerBuffer buffer("<meta charset=utf-16>\xC3\xA9");
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), Units(u"<meta charset=utf-16>") + char16_t(0xE9));
}

TEST(PrepareInput, EmptyInputThrowsNine)
{
    CallerBuffer buffer("");
    SourceBuffer source = byteSource(buffer, 0);
    EXPECT_EQ(thrownValue(source), 9);
    EXPECT_EQ(source.text, nullptr);
    EXPECT_THROW(prepareInput(source), int);
}

TEST(PrepareInput, NoDecodableTextThrowsNine)
{
    CallerBuffer buffer("<p>x</p>");
    SourceBuffer source = byteSource(buffer);
    EXPECT_EQ(thrownValue(source, refuseEveryPage), 9);
}

// ---------------------------------------------------------------- line ends

TEST(PrepareInput, CarriageReturnsBecomeLineFeeds)
{
    CallerBuffer buffer("a\r\nb\rc");
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), u"a\nb\nc");
    EXPECT_EQ(source.textLength, 5u);
    EXPECT_EQ(source.text[5], 0);
}

TEST(PrepareInput, CarriageReturnBeforeCrLfGivesTwoLineFeeds)
{
    CallerBuffer buffer("\r\r\n");
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), u"\n\n");
    EXPECT_EQ(source.text[2], 0);
}

TEST(PrepareInput, CarriageReturnAtTheEndLooksAtTheZeroBehindDecodedText)
{
    CallerBuffer buffer("ab\r");
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), u"ab\n");
    CallerBuffer pair("ab\r\n");
    SourceBuffer other = byteSource(pair);
    prepareInput(other);
    EXPECT_EQ(textOf(other), u"ab\n");
}

TEST(PrepareInput, NulUnitsStayInTheText)
{
    CallerBuffer buffer(std::string("a\0\r\0b", 5));
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    EXPECT_EQ(textOf(source), Units(u"a\0\n\0b", 5));
    std::vector<char16_t> units = {u'x', 0, u'y', 0, 0};
    SourceBuffer utf16 = utf16Source(units, 3);
    prepareInput(utf16);
    EXPECT_EQ(textOf(utf16), Units(u"x\0y", 3));
}

TEST(PrepareInput, Utf16InputIsNormalisedInTheCallersBuffer)
{
    std::vector<char16_t> units = {u'a', u'\r', u'\n', u'b', u'\r', u'c', u'X'};
    SourceBuffer source = utf16Source(units, 6);
    prepareInput(source);
    EXPECT_EQ(source.text, units.data());
    EXPECT_EQ(textOf(source), u"a\nb\nc");
    // The unit after the shortened text is cleared; the caller's unit behind
    // the original text is left alone.
    EXPECT_EQ(units[5], 0);
    EXPECT_EQ(units[6], u'X');
    EXPECT_TRUE(source.decodedText.empty());
}

TEST(PrepareInput, Utf16ByteOrderMarkStaysInDeclaredUtf16)
{
    std::vector<char16_t> units = {0xFEFF, u'a', 0, 0};
    SourceBuffer source = utf16Source(units, 2);
    prepareInput(source);
    EXPECT_EQ(textOf(source), (Units{0xFEFF, u'a'}));
}

TEST(PrepareInput, LineFeedBehindUtf16TextShortensItOnceMore)
{
    // A CR in the last place pairs with the caller's LF behind the text.
    std::vector<char16_t> units = {u'a', u'\r', u'\n', 0};
    SourceBuffer source = utf16Source(units, 2);
    prepareInput(source);
    EXPECT_EQ(source.textLength, 1u);
    EXPECT_EQ(textOf(source), u"a");
    EXPECT_EQ(units[1], u'\n');
}

TEST(PrepareInput, EmptyUtf16TextHasItsFirstUnitLookedAt)
{
    // The pass takes the first unit before it tests the length: a CR behind an
    // empty text becomes a LF, and the length stays 0.
    std::vector<char16_t> units = {u'\r', 0, 0};
    SourceBuffer source = utf16Source(units, 0);
    prepareInput(source);
    EXPECT_EQ(source.textLength, 0u);
    EXPECT_EQ(units[0], u'\n');
}

TEST(PrepareInput, LongTextWithLineEndsFarApart)
{
    std::string text(100000, 'x');
    text[50000] = '\r';
    text[70000] = '\r';
    text[70001] = '\n';
    CallerBuffer buffer(text);
    SourceBuffer source = byteSource(buffer);
    prepareInput(source);
    ASSERT_EQ(source.textLength, 99999u);
    EXPECT_EQ(source.text[50000], u'\n');
    EXPECT_EQ(source.text[70000], u'\n');
    EXPECT_EQ(source.text[70001], u'x');
    EXPECT_EQ(source.text[99999], 0);
}

// The line-end rule one unit at a time, as a reference for the pass that
// moves runs as blocks.
std::uint32_t normaliseOneByOne(std::vector<char16_t>& units, std::uint32_t length)
{
    char16_t* read = units.data();
    char16_t* write = units.data();
    char16_t* const end = units.data() + length;
    do {
        char16_t unit = *read;
        if (unit == u'\r') {
            if (read[1] == u'\n') {
                --length;
                read += 2;
            } else {
                read += 1;
            }
            unit = u'\n';
        } else {
            read += 1;
        }
        *write++ = unit;
    } while (read < end);
    if (write < end) *write = 0;
    return length;
}

TEST(PrepareInput, LineEndsMatchTheOneUnitAtATimeRule)
{
    std::mt19937 random(5);
    const char16_t alphabet[] = {u'a', u'\r', u'\n', 0, u'b'};
    for (int round = 0; round < 20000; ++round) {
        const std::uint32_t length = random() % 40;
        std::vector<char16_t> units(length + 2);
        for (char16_t& unit : units) unit = alphabet[random() % std::size(alphabet)];
        std::vector<char16_t> expected = units;
        const std::uint32_t expectedLength = normaliseOneByOne(expected, length);
        SourceBuffer source = utf16Source(units, length);
        prepareInput(source);
        ASSERT_EQ(source.textLength, expectedLength);
        ASSERT_EQ(units, expected);
    }
}

// ---------------------------------------------------------------- control filter

Units everyUnitUpTo(char16_t last)
{
    Units units;
    for (char16_t unit = 0; unit <= last; ++unit) units.push_back(unit);
    return units;
}

TEST(PrepareInput, Mode1RemovesControlCharacters)
{
    Units all = everyUnitUpTo(0xA0);
    std::vector<char16_t> units(all.begin(), all.end());
    units.push_back(0);
    SourceBuffer source = utf16Source(units, static_cast<std::uint32_t>(all.size()), 1);
    prepareInput(source);
    Units expected = {0x00, 0x09, 0x0A, 0x0B, 0x0C, 0x0A, 0x0E, 0x1E, 0x1F};
    for (char16_t unit = 0x20; unit <= 0x7F; ++unit) expected.push_back(unit);
    expected.push_back(0x85);
    expected.push_back(0xA0);
    // 0x0D became a line feed before the filter ran.
    EXPECT_EQ(textOf(source), expected);
}

TEST(PrepareInput, Mode2KeepsControlCharacters)
{
    Units all = everyUnitUpTo(0xA0);
    std::vector<char16_t> units(all.begin(), all.end());
    units.push_back(0);
    SourceBuffer source = utf16Source(units, static_cast<std::uint32_t>(all.size()), 2);
    prepareInput(source);
    Units expected = all;
    expected[0x0D] = 0x0A;
    EXPECT_EQ(textOf(source), expected);
}

}  // namespace
}  // namespace Parsers
