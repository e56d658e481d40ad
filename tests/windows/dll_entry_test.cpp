// DOM_Parse through domparse.dll on Windows: the image block is a real global
// memory block of kernel32, the text is decoded by kernel32's
// MultiByteToWideChar, and a finished tree without body ends the process.

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "domparse.h"

namespace {

struct Parsed {
    std::uint32_t result = 0;
    DOM_ParseRecord record{};
    HGLOBAL block = nullptr;
};

// Parses `input` as a host does: a writable copy with the padding behind it.
Parsed parse(const std::string& input, std::uint32_t inputKind = DOM_INPUT_BYTES)
{
    std::vector<char> buffer(input.begin(), input.end());
    buffer.resize(input.size() + DOM_INPUT_PADDING, 0);
    Parsed parsed;
    parsed.record = {DOM_RECORD_VERSION, inputKind, 0};
    parsed.result =
        DOM_Parse(buffer.data(), static_cast<std::uint32_t>(input.size()), &parsed.block, &parsed.record);
    return parsed;
}

// The image's string table as one text: the strings in order, each ended by
// a zero unit.
std::u16string strings(const std::uint8_t* image, std::uint32_t size)
{
    // Header: version, then count and offset of nodes, attributes, strings.
    std::uint32_t stringOffset = 0;
    std::memcpy(&stringOffset, image + 22, 4);
    std::u16string text;
    for (std::uint32_t at = stringOffset; at + 1 < size; at += 2) {
        text += static_cast<char16_t>(image[at] | (image[at + 1] << 8));
    }
    return text;
}

TEST(ImageBlock, IsAFixedZeroFilledGlobalMemoryBlock)
{
    Parsed parsed = parse("<p>x</p>");
    ASSERT_EQ(parsed.result, DOM_RESULT_OK);
    ASSERT_NE(parsed.block, nullptr);
    // A small image sits in a block of the writer's first size, 4096 bytes,
    // which kernel32 knows as the handle's size.
    EXPECT_EQ(GlobalSize(parsed.block), 4096u);
    EXPECT_EQ(GlobalFlags(parsed.block) & GMEM_LOCKCOUNT, 0u);
    auto* bytes = static_cast<const std::uint8_t*>(GlobalLock(parsed.block));
    ASSERT_NE(bytes, nullptr);
    // Fixed memory: the handle is the block's address, and kernel32 finds the
    // handle back from it.
    EXPECT_EQ(static_cast<const void*>(bytes), static_cast<const void*>(parsed.block));
    EXPECT_EQ(GlobalHandle(bytes), parsed.block);
    EXPECT_EQ(bytes[0] | (bytes[1] << 8), 200);
    for (std::uint32_t at = parsed.record.result; at < 4096; ++at) ASSERT_EQ(bytes[at], 0) << at;
    GlobalUnlock(parsed.block);
    EXPECT_EQ(GlobalFree(parsed.block), nullptr);
}

TEST(ImageBlock, LargeImageGrowsIntoOneBlockOfItsSize)
{
    std::string input;
    for (int i = 0; i < 2000; ++i) input += "<i>" + std::to_string(i) + "</i>";
    Parsed parsed = parse(input);
    ASSERT_EQ(parsed.result, DOM_RESULT_OK);
    EXPECT_GE(GlobalSize(parsed.block), parsed.record.result);
    EXPECT_GT(parsed.record.result, 4096u);
    EXPECT_EQ(GlobalFree(parsed.block), nullptr);
}

TEST(Decoding, DeclaredPagesGoThroughKernel32)
{
    // Windows-1252 0x80 is the euro sign; windows-1251 0xC0 is Cyrillic A.
    // kernel32 decodes both, as the library asks it with the page's number.
    const struct {
        const char* input;
        std::u16string text;
    } documents[] = {
        {"<meta charset=windows-1252><b>\x80</b>", u"\u20AC"},
        {"<meta charset=windows-1251><b>\xC0</b>", u"\u0410"},
        {"<meta charset=shift_jis><b>\x82\xA0</b>", u"\u3042"},
    };
    for (const auto& document : documents) {
        Parsed parsed = parse(document.input);
        ASSERT_EQ(parsed.result, DOM_RESULT_OK) << document.input;
        auto* bytes = static_cast<const std::uint8_t*>(GlobalLock(parsed.block));
        const std::u16string all = strings(bytes, parsed.record.result);
        EXPECT_NE(all.find(u'\0' + document.text + u'\0'), std::u16string::npos) << document.input;
        GlobalUnlock(parsed.block);
        GlobalFree(parsed.block);
    }
}

TEST(Decoding, TheAnsiCodePageOfTheTestRunsIs1252)
{
    // hz-gb-2312 names code page 0, the system's ANSI code page: the test runs
    // set it to 1252, as on Linux.
    EXPECT_EQ(GetACP(), 1252u);
    Parsed parsed = parse("<meta charset=hz-gb-2312><b>\x80</b>");
    ASSERT_EQ(parsed.result, DOM_RESULT_OK);
    auto* bytes = static_cast<const std::uint8_t*>(GlobalLock(parsed.block));
    EXPECT_NE(strings(bytes, parsed.record.result).find(std::u16string(u"\0\u20AC\0", 3)), std::u16string::npos);
    GlobalUnlock(parsed.block);
    GlobalFree(parsed.block);
}

// A process that faults ends with the exception's code; under Wine the
// status is not always the same, so only the error severity is asked for.
bool endedByAnException(int status)
{
    return (static_cast<unsigned>(status) & 0xC0000000u) == 0xC0000000u;
}

using DomParseDeathTest = ::testing::Test;

TEST_F(DomParseDeathTest, FinishedTreeWithoutBodyEndsTheProcess)
{
    // An explicit html start tag first: the tree has html, but no body under
    // it, and lifting the body's content reads through the missing body.
    EXPECT_EXIT(parse("<!DOCTYPE html><html><p>x</p></html>"), endedByAnException, "");
}

TEST_F(DomParseDeathTest, ClosedHeadOrTitleAfterADoctypeEndsTheProcess)
{
    EXPECT_EXIT(parse("<!DOCTYPE html><head></head><body><p>x</p></body>"), endedByAnException, "");
    EXPECT_EXIT(parse("<!DOCTYPE html><title>a</title>"), endedByAnException, "");
}

TEST_F(DomParseDeathTest, InputWithoutUnitsEndsTheProcess)
{
    // No unit, no end-of-file token, no html: the lifting faults as well.
    EXPECT_EXIT(parse("", DOM_INPUT_UTF16), endedByAnException, "");
    EXPECT_EXIT(parse("x", DOM_INPUT_UTF16), endedByAnException, "");
    EXPECT_EXIT(parse("\xFF\xFE"), endedByAnException, "");
}

TEST(DomParse, DoctypeWithoutHtmlTagKeepsTheBody)
{
    // The contrast: without the html start tag the body is made and lifted.
    for (const char* input : {"<!DOCTYPE html><p>x</p>", "<!DOCTYPE html><title>a"}) {
        Parsed parsed = parse(input);
        EXPECT_EQ(parsed.result, DOM_RESULT_OK) << input;
        if (parsed.result == DOM_RESULT_OK) GlobalFree(parsed.block);
    }
}

}  // namespace
