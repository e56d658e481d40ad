// The string table of one image: each distinct string once, numbered in the
// order of first use.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "library/shared_types.h"

namespace Parsers {

// The interning state belongs to one image, so images can be written on several
// threads at once. An index map from content to number gives each repeated
// string the number of its first occurrence in constant time.
class StringTable {
public:
    // expectedStrings sizes the index map once, sparing the rehashes of
    // growing it step by step; it is an estimate, not a limit.
    explicit StringTable(std::size_t expectedStrings = 0);

    // The string's number: a new number for new content, the first number
    // given to equal content otherwise. The table keeps a pointer to the
    // string, which must outlive the table.
    std::uint32_t intern(const UString& text);

    const std::vector<const UString*>& strings() const { return entries; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(entries.size()); }
    // Bytes of the table in the image: each string's units and one zero unit.
    std::uint64_t byteSize() const { return bytes; }

private:
    std::vector<const UString*> entries;
    std::unordered_map<std::u16string_view, std::uint32_t> numbers;
    std::uint64_t bytes = 0;
};

// The number of a string in the table (the image writer's name for intern).
inline std::uint32_t internString(const UString& text, StringTable& stringTable)
{
    return stringTable.intern(text);
}

}  // namespace Parsers
