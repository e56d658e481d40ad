// Decoding the raw bytes of a source into its 16-bit text.
#pragma once

#include <cstdint>

#include "library/source_buffer.h"

namespace Parsers {

// Code page numbers the library itself names.
inline constexpr std::int32_t kUtf16CodePage = 1200;   // the text once decoded
inline constexpr std::uint32_t kUtf8CodePage = 65001;
inline constexpr std::uint32_t kSystemDefaultCodePage = 0;  // the platform's ANSI code page

// A decoder with the shape of MultiByteToWideChar: code page, flags, bytes and
// their count, destination and its capacity in units; returns the units written,
// 0 on failure.
using CodePageDecoder = int (*)(unsigned int codePage, unsigned long flags, const char* bytes,
                                int byteCount, char16_t* out, int capacity);

// The platform's MultiByteToWideChar.
int platformMultiByteToWideChar(unsigned int codePage, unsigned long flags, const char* bytes,
                                int byteCount, char16_t* out, int capacity);

// Decodes the source's raw bytes with codePage, or with fallback (when not 0)
// if codePage decodes nothing. On success text points at decodedText, with a
// zero unit behind the textLength units, encodingFixed is 0 and codePage 1200.
// On failure text is left as it was, decodedText is emptied and codePage stays,
// so that the same page may be asked for again. Asking for the page the source
// already has does nothing; after a success that is only ever 1200.
void selectCodePage(SourceBuffer& source, std::uint32_t codePage, std::uint32_t fallback,
                    CodePageDecoder decoder = platformMultiByteToWideChar);

// The same operation, under the name input preparation uses.
inline void decodeWithCodePage(SourceBuffer& source, std::uint32_t codePage,
                               std::uint32_t fallbackCodePage,
                               CodePageDecoder decoder = platformMultiByteToWideChar)
{
    selectCodePage(source, codePage, fallbackCodePage, decoder);
}

}  // namespace Parsers
