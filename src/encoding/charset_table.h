// The charset labels that a meta declaration may name, and their code pages.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Parsers {

// One row of the constant label table (charset_table.cpp, generated).
struct CharsetRow {
    const char* label;        // lower case, null-terminated
    std::uint32_t codePage;   // Windows code page number for MultiByteToWideChar
    std::uint32_t fallback;   // code page to try when the first decodes nothing; 0 for none
    std::int64_t rowNumber;   // the row's place in sorted label order; nothing reads it
};

inline constexpr std::size_t kCharsetRowCount = 90;

// The row whose label is exactly the given bytes, or null. Constant time; no
// case folding (callers pass lower-cased bytes), so "UTF-8" is no label.
const CharsetRow* lookupCharsetLabel(const char* bytes, std::size_t length);

// The row by its number in sorted label order, or null past the end.
const CharsetRow* charsetRowByNumber(std::size_t number);

}  // namespace Parsers
