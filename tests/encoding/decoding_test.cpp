// Decoding a source's bytes with a code page: the text it leaves, the fallback
// page, failures that leave the source as it was, and the no-op for the page
// the source already has.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "encoding/charset_table.h"
#include "encoding/decoding.h"

namespace Parsers {
namespace {

// Bytes with room behind them, as a caller provides them.
struct RawInput {
    explicit RawInput(const std::string& text) : bytes(text.begin(), text.end()) { bytes.resize(text.size() + 4, 0); }
    void attachTo(SourceBuffer& source, std::uint32_t size)
    {
        source.rawBytes = bytes.data();
        source.rawSize = size;
    }
    std::vector<std::uint8_t> bytes;
};

std::u16string textOf(const SourceBuffer& source)
{
    return std::u16string(source.text, source.textLength);
}

struct DecoderCall {
    unsigned codePage;
    unsigned long flags;
    const char* bytes;
    int byteCount;
    char16_t* out;
    int capacity;
};

// A decoder that records its calls and knows no code page but 936, where it
// writes one unit per byte, each the byte plus 0x100.
std::vector<DecoderCall> recordedCalls;

int decoderKnowingOnly936(unsigned codePage, unsigned long flags, const char* bytes, int byteCount, char16_t* out,
                          int capacity)
{
    recordedCalls.push_back({codePage, flags, bytes, byteCount, out, capacity});
    if (codePage != 936 || byteCount <= 0) return 0;
    for (int i = 0; i < byteCount; ++i) out[i] = static_cast<char16_t>(0x100 + static_cast<unsigned char>(bytes[i]));
    return byteCount;
}

class SelectCodePage : public ::testing::Test {
protected:
    void SetUp() override { recordedCalls.clear(); }
};

TEST_F(SelectCodePage, SuccessSetsTheTextAndMarksItUtf16)
{
    RawInput input("a\xC3\xA9z");
    SourceBuffer source;
    input.attachTo(source, 4);
    source.encodingFixed = 1;
    selectCodePage(source, 65001, 0);
    ASSERT_NE(source.text, nullptr);
    EXPECT_EQ(source.text, source.decodedText.data());
    EXPECT_EQ(textOf(source), (std::u16string{u'a', 0xE9, u'z'}));
    EXPECT_EQ(source.textLength, 3u);
    EXPECT_EQ(source.decodedText.size(), 5u);  // rawSize + 1
    EXPECT_EQ(source.text[3], 0);              // a zero unit behind the text
    EXPECT_EQ(source.encodingFixed, 0u);
    EXPECT_EQ(source.codePage, 1200);
    EXPECT_EQ(source.rawBytes, input.bytes.data());
    EXPECT_EQ(source.rawSize, 4u);
}

TEST_F(SelectCodePage, LabelsDecodeThroughTheirPages)
{
    struct Case {
        const char* label;
        std::string bytes;
        std::u16string text;
    };
    const Case cases[] = {
        {"iso-8859-1", "\x80\xE9", {0x20AC, 0xE9}},
        {"us-ascii", "\x9F", {0x178}},
        {"hebrew", "\xE0", {0x5D0}},
        {"iso-8859-9", "\xD0\xFD", {0x11E, 0x131}},
        {"koi8-r", "\xC1", {0x430}},
        {"shift_jis", "\x82\xA0", {0x3042}},
        {"big5", "\xA4\xA4", {0x4E2D}},
        {"euc-kr", "\xB0\xA1", {0xAC00}},
        {"gb2312", "\xD6\xD0", {0x4E2D}},
        {"hz-gb-2312", "\x80", {0x20AC}},
    };
    for (const Case& testCase : cases) {
        RawInput input(testCase.bytes);
        SourceBuffer source;
        input.attachTo(source, static_cast<std::uint32_t>(testCase.bytes.size()));
        const CharsetRow* row = lookupCharsetLabel(testCase.label, std::char_traits<char>::length(testCase.label));
        ASSERT_NE(row, nullptr) << testCase.label;
        selectCodePage(source, row->codePage, row->fallback);
        ASSERT_NE(source.text, nullptr) << testCase.label;
        EXPECT_EQ(textOf(source), testCase.text) << testCase.label;
    }
}

TEST_F(SelectCodePage, FailureLeavesTheSourceAsItWas)
{
    RawInput input("abc");
    SourceBuffer source;
    input.attachTo(source, 3);
    selectCodePage(source, 12345, 0);
    EXPECT_EQ(source.text, nullptr);
    EXPECT_EQ(source.textLength, 0u);
    EXPECT_TRUE(source.decodedText.empty());
    EXPECT_EQ(source.codePage, -1);
    EXPECT_EQ(source.encodingFixed, 0u);
    // The failed page was not remembered: it is tried again.
    selectCodePage(source, 12345, 0, decoderKnowingOnly936);
    EXPECT_EQ(recordedCalls.size(), 1u);
}

TEST_F(SelectCodePage, EmptyInputMakesNoText)
{
    RawInput input("");
    SourceBuffer source;
    input.attachTo(source, 0);
    selectCodePage(source, 65001, 0);
    EXPECT_EQ(source.text, nullptr);
    EXPECT_TRUE(source.decodedText.empty());
    EXPECT_EQ(source.codePage, -1);
}

TEST_F(SelectCodePage, Gb18030FallsBackTo936WhenItsPageIsMissing)
{
    RawInput input("\xD6\xD0");
    SourceBuffer source;
    input.attachTo(source, 2);
    const CharsetRow* row = lookupCharsetLabel("gb18030", 7);
    ASSERT_NE(row, nullptr);
    selectCodePage(source, row->codePage, row->fallback, decoderKnowingOnly936);
    ASSERT_EQ(recordedCalls.size(), 2u);
    EXPECT_EQ(recordedCalls[0].codePage, 54936u);
    EXPECT_EQ(recordedCalls[1].codePage, 936u);
    for (const DecoderCall& call : recordedCalls) {
        EXPECT_EQ(call.flags, 0u);
        EXPECT_EQ(call.bytes, reinterpret_cast<const char*>(input.bytes.data()));
        EXPECT_EQ(call.byteCount, 2);
        EXPECT_EQ(call.out, source.decodedText.data());
        EXPECT_EQ(call.capacity, 2);
    }
    EXPECT_EQ(textOf(source), (std::u16string{0x1D6, 0x1D0}));
    EXPECT_EQ(source.codePage, 1200);
}

TEST_F(SelectCodePage, FallbackIsNotTriedAfterASuccessOrWhenZero)
{
    RawInput input("xy");
    SourceBuffer source;
    input.attachTo(source, 2);
    selectCodePage(source, 936, 54936, decoderKnowingOnly936);
    EXPECT_EQ(recordedCalls.size(), 1u);

    SourceBuffer other;
    input.attachTo(other, 2);
    recordedCalls.clear();
    selectCodePage(other, 1252, 0, decoderKnowingOnly936);
    EXPECT_EQ(recordedCalls.size(), 1u);
    EXPECT_EQ(other.text, nullptr);
}

TEST_F(SelectCodePage, BothPagesFailingLeavesNoText)
{
    RawInput input("xy");
    SourceBuffer source;
    input.attachTo(source, 2);
    selectCodePage(source, 54936, 949, decoderKnowingOnly936);
    EXPECT_EQ(recordedCalls.size(), 2u);
    EXPECT_EQ(source.text, nullptr);
    EXPECT_TRUE(source.decodedText.empty());
}

TEST_F(SelectCodePage, OnTheLinuxDecoderGb18030DecodesAsItself)
{
    // U+0080 in four bytes exists only in GB18030, not in 936.
    RawInput input(std::string("\x81\x30\x81\x30", 4));
    SourceBuffer source;
    input.attachTo(source, 4);
    selectCodePage(source, 54936, 936);
    EXPECT_EQ(textOf(source), std::u16string(1, 0x80));
}

TEST_F(SelectCodePage, OnlyTheCurrentPageIsANoOp)
{
    RawInput input("ab");
    SourceBuffer source;
    input.attachTo(source, 2);
    selectCodePage(source, 936, 0, decoderKnowingOnly936);
    ASSERT_EQ(source.codePage, 1200);
    // 1200 is what the source now has: nothing happens.
    selectCodePage(source, 1200, 0, decoderKnowingOnly936);
    EXPECT_EQ(recordedCalls.size(), 1u);
    // Any other page decodes again.
    selectCodePage(source, 936, 0, decoderKnowingOnly936);
    EXPECT_EQ(recordedCalls.size(), 2u);
    EXPECT_EQ(textOf(source), (std::u16string{0x161, 0x162}));
}

TEST_F(SelectCodePage, DecodeWithCodePageIsTheSameOperation)
{
    RawInput input("\xD6\xD0");
    SourceBuffer source;
    input.attachTo(source, 2);
    decodeWithCodePage(source, 54936, 936, decoderKnowingOnly936);
    EXPECT_EQ(recordedCalls.size(), 2u);
    EXPECT_EQ(textOf(source), (std::u16string{0x1D6, 0x1D0}));
}

}  // namespace
}  // namespace Parsers
