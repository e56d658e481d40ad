// The code page decoder of the platform layer.
//
// The library decodes bytes only through MultiByteToWideChar, with Windows code
// page numbers and flags 0. Windows provides the function; on other systems the
// platform layer supplies one of the same shape that answers, for the code pages
// the library's charset table names, with exactly the units that Windows' own
// function gives. It is internal to the library and never exported.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#include <windows.h>
#else

// Decodes byteCount bytes of the given code page into 16-bit units at out and
// returns the number of units written. Invalid input never fails the call: it
// is replaced by the units the code page's rules give. flags must be 0.
//
// - byteCount -1 decodes up to and including the first zero byte.
// - capacity 0 writes nothing and returns the number of units the input needs.
// - It returns 0 for an empty input, an unknown code page, flags other than 0,
//   a negative count or capacity, a null pointer where data is needed, and a
//   capacity too small for the result (no unit is then written).
//
// Code page 0 (CP_ACP, the default ANSI code page) is 1252 on these systems.
// 932, 936, 949, 950, 65001 and the single-byte pages 720, 862, 874, 1250 to
// 1258, 20866, 28592, 28594, 28595, 28597 and 28599 come from tables and rules
// that reproduce Windows' answers. 50220, 50225, 51932 and 54936 go through the
// C library's iconv; their answers may differ from Windows'.
extern "C" __attribute__((visibility("hidden"))) int MultiByteToWideChar(
    unsigned int codePage, unsigned long flags, const char* bytes, int byteCount, char16_t* out,
    int capacity);

#endif

namespace Parsers::CodePages {

// The code page that CP_ACP stands for in this decoder.
inline constexpr std::uint32_t kAnsiCodePage = 1252;

// A single-byte code page: one unit for every byte, with no context.
struct SingleBytePage {
    std::uint32_t codePage;
    const char16_t* units;  // 256 units, by byte
};

// A double-byte code page. The decoder keeps no state: a lead byte followed by
// any byte but 00 forms a pair; a lead at the end of the input or before a 00
// gives the default character; every other byte maps on its own.
struct DoubleBytePage {
    std::uint32_t codePage;
    char16_t defaultUnit;
    const char16_t* byteUnits;          // 256 units: a byte that leads no pair
    const std::uint8_t* leadRows;       // 256: 0 for no lead, else 1 + row of pairUnits
    const char16_t (*pairUnits)[256];   // one row per lead byte, by trail byte
};

inline constexpr std::size_t kSingleBytePageCount = 18;
extern const SingleBytePage kSingleBytePages[kSingleBytePageCount];

extern const DoubleBytePage kDoubleBytePage932;
extern const DoubleBytePage kDoubleBytePage936;
extern const DoubleBytePage kDoubleBytePage949;
extern const DoubleBytePage kDoubleBytePage950;

}  // namespace Parsers::CodePages
