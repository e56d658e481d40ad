#include "library/dom_parse.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace Parsers {
namespace {

// A writable input with four zero bytes behind it, as callers must provide.
std::vector<std::uint8_t> paddedInput(const char* text)
{
    std::vector<std::uint8_t> bytes(text, text + std::strlen(text));
    bytes.resize(bytes.size() + DOM_INPUT_PADDING, 0);
    return bytes;
}

constexpr std::uint32_t kUntouched = 0xA5A5A5A5u;

TEST(ParseEntry, RecordVersionOtherThanTwoIsRefusedUntouched)
{
    for (std::uint16_t version : {0, 1, 3, 0xFFFF}) {
        std::vector<std::uint8_t> input = paddedInput("<p>x</p>");
        std::vector<std::uint8_t> before = input;
        DOM_ParseRecord record{version, DOM_INPUT_BYTES, kUntouched};
        auto* handle = reinterpret_cast<HGLOBAL>(static_cast<std::uintptr_t>(0x1234));
        EXPECT_EQ(parseToImage(input.data(), 8, &handle, &record), DOM_RESULT_BAD_RECORD) << version;
        // The record is packed: its fields are copied out, since a reference to
        // one (as EXPECT_EQ takes) would be misaligned.
        EXPECT_EQ(std::uint32_t{record.result}, kUntouched);
        EXPECT_EQ(std::uint16_t{record.version}, version);
        EXPECT_EQ(std::uint32_t{record.inputKind}, DOM_INPUT_BYTES);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(handle), 0x1234u);
        EXPECT_EQ(input, before);
    }
}

TEST(ParseEntry, RecordIsTenPackedBytes)
{
    EXPECT_EQ(sizeof(DOM_ParseRecord), 10u);
    std::uint8_t raw[10] = {2, 0, 1, 0, 0, 0, 0x78, 0x56, 0x34, 0x12};
    DOM_ParseRecord record;
    std::memcpy(&record, raw, sizeof raw);
    EXPECT_EQ(std::uint16_t{record.version}, 2u);
    EXPECT_EQ(std::uint32_t{record.inputKind}, DOM_INPUT_UTF16);
    EXPECT_EQ(std::uint32_t{record.result}, 0x12345678u);
}

TEST(ParseEntry, EmptyByteInputMakesNoText)
{
    std::vector<std::uint8_t> input = paddedInput("");
    DOM_ParseRecord record{DOM_RECORD_VERSION, DOM_INPUT_BYTES, kUntouched};
    HGLOBAL handle = nullptr;
    EXPECT_EQ(parseToImage(input.data(), 0, &handle, &record), DOM_RESULT_FAILED);
    EXPECT_EQ(handle, nullptr);
}

}  // namespace
}  // namespace Parsers
