// src/tokenizer/named_reference_table.h
#pragma once
#include <cstddef>
#include <cstdint>
namespace Parsers {
struct NamedReference {
    const char16_t* name;        // without '&', with its ';' where it has one; null-terminated
    std::uint8_t length;         // units in name (2..32)
    std::uint8_t expansionLength;  // 1 or 2
    char16_t expansion[2];
    std::uint16_t index;         // sort position; >= kFirstIndexWithoutSemicolon: name has no ';'
};
inline constexpr std::size_t kNamedReferenceCount = 2098;
inline constexpr std::uint16_t kFirstIndexWithoutSemicolon = 1992;
// The row whose name is exactly these units, or null. Constant time, no allocation.
const NamedReference* findNamedReference(const char16_t* units, std::size_t length);
// Row by position in the table (0 .. kNamedReferenceCount - 1).
const NamedReference& namedReferenceRow(std::size_t row);
}
