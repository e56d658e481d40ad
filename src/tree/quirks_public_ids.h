// The public identifiers of old doctypes that the doctype rule knows, with what
// a hit on each means.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Parsers {

// What a hit on a row does to the quirks value of the document.
enum class QuirksRowGroup : std::uint8_t {
    Quirks,          // quirks on a hit
    QuirksByLength,  // quirks when the identifier is as long as the row's text
    QuirksAlways,    // quirks on a hit, with or without a system identifier
    Allowed,         // the allowed strict identifiers, which give quirks as well
};

struct QuirksPublicIdRow {
    const char16_t* text;  // lower case, null-terminated
    std::uint8_t length;
    std::uint8_t number;  // the row's own number, 0 to 63, by which the rules name it
    QuirksRowGroup group;
};

inline constexpr std::size_t kQuirksPublicIdCount = 64;
inline constexpr std::size_t kQuirksPublicIdShortest = 4;
inline constexpr std::size_t kQuirksPublicIdLongest = 78;

// The row whose text equals the lower-cased identifier exactly, whole; null
// when there is none. An identifier that merely begins with a row's text finds
// nothing.
const QuirksPublicIdRow* lookupQuirksPublicId(const char16_t* lowerCased, std::size_t length);

// The row with the given number, or null outside 0 to 63.
const QuirksPublicIdRow* quirksPublicIdRowByNumber(std::uint32_t number);

}  // namespace Parsers
