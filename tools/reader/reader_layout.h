// The byte layout of a document image and the reader's state of an open image.
//
// Internal to the reader: hosts see only domparse_reader.h. Every field of an
// image is little-endian at whatever offset the layout puts it, so fields are
// assembled byte by byte and never read through a cast pointer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "domparse_reader.h"

namespace Parsers::ReaderLayout {

// Header.
inline constexpr std::uint32_t kHeaderSize = 26;
inline constexpr std::uint32_t kImageVersionField = 0;  // u16
inline constexpr std::uint32_t kNodeCountField = 2;
inline constexpr std::uint32_t kNodeTableOffsetField = 6;
inline constexpr std::uint32_t kAttributeCountField = 10;
inline constexpr std::uint32_t kAttributeTableOffsetField = 14;
inline constexpr std::uint32_t kStringCountField = 18;
inline constexpr std::uint32_t kStringTableOffsetField = 22;

// The head every node record shares.
inline constexpr std::uint32_t kRecordSizeField = 0;
inline constexpr std::uint32_t kRecordKindField = 4;  // u16
inline constexpr std::uint32_t kIsTopLevelField = 6;
inline constexpr std::uint32_t kPayloadOffsetField = 10;
inline constexpr std::uint32_t kChildCountField = 14;
inline constexpr std::uint32_t kChildListOffsetField = 18;
inline constexpr std::uint32_t kNodeHeadSize = 22;
inline constexpr std::uint32_t kPayloadSizeField = 22;

// Text and comment records.
inline constexpr std::uint32_t kDataStringField = 26;
inline constexpr std::uint32_t kCharacterDataRecordSize = 30;
inline constexpr std::uint32_t kCharacterDataPayloadSize = 8;

// Element records. The list offsets count from the payload (offset 22).
inline constexpr std::uint32_t kTagIdField = 26;
inline constexpr std::uint32_t kNameStringField = 30;
inline constexpr std::uint32_t kPrefixStringField = 34;
inline constexpr std::uint32_t kNamespaceUriStringField = 38;
inline constexpr std::uint32_t kAttributeCountOfElementField = 42;
inline constexpr std::uint32_t kAttributeListOffsetField = 46;
inline constexpr std::uint32_t kDeclarationCountField = 50;
inline constexpr std::uint32_t kDeclarationListOffsetField = 54;
inline constexpr std::uint32_t kElementPayloadHeadSize = 36;
inline constexpr std::uint32_t kElementHeadSize = kNodeHeadSize + kElementPayloadHeadSize;

// Declaration entries.
inline constexpr std::uint32_t kDeclarationEntrySize = 12;
inline constexpr std::uint32_t kDeclaredPrefixField = 4;
inline constexpr std::uint32_t kDeclaredUriField = 8;

// Attribute records.
inline constexpr std::uint32_t kAttributeRecordSize = 24;
inline constexpr std::uint32_t kAttributeIdField = 4;
inline constexpr std::uint32_t kAttributeNameField = 8;
inline constexpr std::uint32_t kAttributePrefixField = 12;
inline constexpr std::uint32_t kAttributeNamespaceUriField = 16;
inline constexpr std::uint32_t kAttributeValueField = 20;

inline std::uint32_t readU16(const unsigned char* bytes, std::size_t offset)
{
    return static_cast<std::uint32_t>(bytes[offset]) |
           static_cast<std::uint32_t>(bytes[offset + 1]) << 8;
}

inline std::uint32_t readU32(const unsigned char* bytes, std::size_t offset)
{
    return static_cast<std::uint32_t>(bytes[offset]) |
           static_cast<std::uint32_t>(bytes[offset + 1]) << 8 |
           static_cast<std::uint32_t>(bytes[offset + 2]) << 16 |
           static_cast<std::uint32_t>(bytes[offset + 3]) << 24;
}

// What the reader keeps of each node once the image is checked.
struct NodeEntry {
    std::uint32_t offset = 0;      // of the record in the image
    std::uint32_t parent = DOM_IMAGE_ABSENT;
    std::uint32_t depth = 0;
    std::uint32_t subtreeEnd = 0;  // one past the last descendant
};

// Where each string of the string table lies.
struct StringEntry {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;  // in code units
};

}  // namespace Parsers::ReaderLayout

// The state behind the opaque handle of the C interface.
struct DOMImage {
    const unsigned char* bytes = nullptr;
    std::uint32_t size = 0;
    std::uint32_t nodeCount = 0;
    std::uint32_t attributeCount = 0;
    std::uint32_t attributeTableOffset = 0;
    std::uint32_t stringCount = 0;
    std::uint32_t stringTableOffset = 0;
    std::vector<Parsers::ReaderLayout::NodeEntry> nodes;
    std::vector<Parsers::ReaderLayout::StringEntry> strings;
    std::vector<std::uint32_t> roots;
};

namespace Parsers {

// Checks the image in `image.bytes` / `image.size` completely and fills the
// rest of `image`. Returns an empty string when the image is valid, otherwise
// the one-line reason for refusing it. Throws std::bad_alloc when memory runs
// out.
std::string validateImage(DOMImage& image);

}  // namespace Parsers
