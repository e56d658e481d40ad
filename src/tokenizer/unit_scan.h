// Runs of units that a state takes alike. Most of a document is text, names
// and values in which only a few units mean anything to the state that reads
// them; finding the next such unit eight units at a time, and handing over
// what lies before it in one piece, is what keeps the cost of plain text low.
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Parsers {

#if defined(__SSE2__)
// Per 16-bit lane of the block: all ones where the unit is one of the set.
template <char16_t... Stops>
__m128i matchStops(__m128i block)
{
    __m128i hits = _mm_setzero_si128();
    ((hits = _mm_or_si128(hits, _mm_cmpeq_epi16(block, _mm_set1_epi16(static_cast<short>(Stops))))),
     ...);
    return hits;
}
#endif

// How many units from `from` on, at most `limit`, come before the first unit
// of the stop set. The units past `limit` are never read.
template <char16_t... Stops>
std::uint32_t unitsBeforeStop(const char16_t* from, std::uint32_t limit)
{
    std::uint32_t count = 0;
#if defined(__SSE2__)
    while (limit - count >= 8) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + count));
        const int mask = _mm_movemask_epi8(matchStops<Stops...>(block));
        if (mask != 0) return count + static_cast<std::uint32_t>(__builtin_ctz(mask)) / 2;
        count += 8;
    }
#endif
    while (count < limit) {
        const char16_t unit = from[count];
        if (((unit == Stops) || ...)) break;
        ++count;
    }
    return count;
}

}  // namespace Parsers
