// Layout of the document image: a header, a node table, an attribute table and
// a string table, all little-endian and unaligned.
#pragma once

#include <cstdint>
#include <cstring>

namespace Parsers {

namespace ImageLayout {
inline constexpr std::uint32_t kHeaderSize = 26;
inline constexpr std::uint32_t kRecordHeadSize = 22;
inline constexpr std::uint32_t kCharacterDataRecordSize = 30;
inline constexpr std::uint32_t kCharacterDataPayloadSize = 8;
inline constexpr std::uint32_t kElementFixedPayloadSize = 36;
inline constexpr std::uint32_t kDeclarationEntrySize = 12;
inline constexpr std::uint32_t kAttributeRecordSize = 24;
inline constexpr std::uint32_t kInitialBlockSize = 4096;
inline constexpr std::uint32_t kAbsent = 0xFFFFFFFFu;
}  // namespace ImageLayout

enum class RecordKind : std::uint16_t {
    Element = 1,
    Text = 2,
    Comment = 3,
};

// Writes little-endian values at any address.
inline void putU16(std::uint8_t* at, std::uint16_t value)
{
    at[0] = static_cast<std::uint8_t>(value);
    at[1] = static_cast<std::uint8_t>(value >> 8);
}

inline void putU32(std::uint8_t* at, std::uint32_t value)
{
    for (int shift = 0; shift < 32; shift += 8) *at++ = static_cast<std::uint8_t>(value >> shift);
}

// A cursor that writes consecutive little-endian fields.
class FieldWriter {
public:
    explicit FieldWriter(std::uint8_t* start) : position(start) {}

    void u16(std::uint16_t value)
    {
        putU16(position, value);
        position += 2;
    }
    void u32(std::uint32_t value)
    {
        putU32(position, value);
        position += 4;
    }

private:
    std::uint8_t* position;
};

}  // namespace Parsers
