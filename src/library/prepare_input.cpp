// Input preparation. Everything works in place: UTF-16 input is swapped and
// normalised where it lies in the caller's buffer, never copied.

#include "library/prepare_input.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "encoding/prescan.h"
#include "library/guarded.h"

namespace Parsers {
namespace {

constexpr char16_t kCarriageReturn = 0x0D;
constexpr char16_t kLineFeed = 0x0A;

// The first two bytes as a little-endian value: 0xFEFF is a UTF-16 byte order
// mark in little-endian order, 0xFFFE one in big-endian order.
constexpr std::uint16_t kLittleEndianMark = 0xFEFF;
constexpr std::uint16_t kBigEndianMark = 0xFFFE;

bool startsWithUtf8Mark(const SourceBuffer& source)
{
    return source.rawSize >= 3 && source.rawBytes[0] == 0xEF && source.rawBytes[1] == 0xBB &&
           source.rawBytes[2] == 0xBF;
}

// Swaps the two bytes of each unit. The end is tested after the swap, so a
// count of 0 is not caught and the loop runs on past the buffer; that is kept.
void swapByteOrder(char16_t* units, std::uint32_t count)
{
    std::uint32_t index = 0;
    do {
        units[index] = static_cast<char16_t>((units[index] << 8) | (units[index] >> 8));
        ++index;
    } while (index != count);
}

void settleText(SourceBuffer& source, CodePageDecoder decoder)
{
    // Read whatever the size: a shorter buffer must still allow two bytes.
    const std::uint16_t first = static_cast<std::uint16_t>(source.rawBytes[0] | (source.rawBytes[1] << 8));
    if ((first == kLittleEndianMark && source.rawSize >= 2) || first == kBigEndianMark) {
        source.codePage = kUtf16CodePage;
        source.text = reinterpret_cast<char16_t*>(source.rawBytes + 2);
        source.textLength = (source.rawSize - 2) / 2;
        source.encodingFixed = 1;
        if (first == kBigEndianMark) {
            // A mark with less than one unit behind it leaves the swap a count
            // of 0 (or one wrapped from a size below 2): the guarded build
            // stops before the loop runs off the buffer.
            if constexpr (kGuardedBuild) {
                if (source.rawSize < 4) endGuardedParse(DOM_RESULT_BARE_BYTE_ORDER_MARK);
            }
            swapByteOrder(source.text, source.textLength);
        }
        return;
    }
    if (startsWithUtf8Mark(source)) {
        // No prescan: the mark wins over any meta declaration. Even when the
        // decoder makes nothing of what follows, no error is raised here.
        source.rawBytes += 3;
        source.rawSize -= 3;
        decodeWithCodePage(source, kUtf8CodePage, 0, decoder);
        source.encodingFixed = 1;
        return;
    }
    prescanEncoding(source, decoder);
    if (source.text == nullptr) {
        const std::uint32_t defaultPage = source.parseMode == 2 ? kUtf8CodePage : kSystemDefaultCodePage;
        decodeWithCodePage(source, defaultPage, 0, decoder);
    }
    if (source.text == nullptr) throw kNoTextThrown;
}

// Only a bare UTF-8 byte order mark brings a source without text to the
// line-end pass, which reads the first unit before it tests the length. The
// read goes through a volatile null pointer, so that it faults every time.
[[noreturn]] void readThroughMissingText()
{
    const volatile char16_t* missing = nullptr;
    (void)*missing;
    __builtin_trap();
}

// The first carriage return in [from, end), or end.
const char16_t* findCarriageReturn(const char16_t* from, const char16_t* end)
{
#if defined(__SSE2__)
    const __m128i carriageReturns = _mm_set1_epi16(static_cast<short>(kCarriageReturn));
    while (end - from >= 8) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const int mask = _mm_movemask_epi8(_mm_cmpeq_epi16(block, carriageReturns));
        if (mask != 0) return from + __builtin_ctz(static_cast<unsigned>(mask)) / 2;
        from += 8;
    }
#endif
    while (from < end && *from != kCarriageReturn) ++from;
    return from;
}

// One step of the line-end pass: takes the unit at `read` (a line feed for a
// CR, over both units of a CR LF pair) and stores it at `write`.
inline void takeUnit(SourceBuffer& source, char16_t*& read, char16_t*& write)
{
    char16_t unit = *read;
    if (unit == kCarriageReturn) {
        if (read[1] == kLineFeed) {
            --source.textLength;
            read += 2;
        } else {
            read += 1;
        }
        unit = kLineFeed;
    } else {
        read += 1;
    }
    *write++ = unit;
}

// Turns CR LF into LF and a lone CR into LF, in place. A CR in the last place
// looks at the unit behind the text: the zero of decoded text, or the caller's
// memory for UTF-16 input. Runs without a CR are moved as blocks.
void normaliseLineEnds(SourceBuffer& source)
{
    if constexpr (kGuardedBuild) {
        if (source.text == nullptr) endGuardedParse(DOM_RESULT_BARE_BYTE_ORDER_MARK);
    }
    if (source.text == nullptr) readThroughMissingText();
    char16_t* read = source.text;
    char16_t* write = source.text;
    char16_t* const end = source.text + source.textLength;
    if (source.textLength == 0) {
        // The first unit is taken before the end is tested, so even an empty
        // text has its first unit looked at.
        takeUnit(source, read, write);
        return;
    }
    while (read < end) {
        const char16_t* found = findCarriageReturn(read, end);
        const std::size_t run = static_cast<std::size_t>(found - read);
        if (write != read) std::memmove(write, read, run * sizeof(char16_t));
        read += run;
        write += run;
        if (read == end) break;
        takeUnit(source, read, write);
    }
    if (write < end) *write = 0;
}

// The controls that mode 1 removes: U+0001 to U+0008, U+000F to U+001D and the
// C1 controls except U+0085 (next line).
bool isFilteredControl(char16_t unit)
{
    return (unit >= 0x01 && unit <= 0x08) || (unit >= 0x0F && unit <= 0x1D) ||
           (unit >= 0x80 && unit <= 0x9F && unit != 0x85);
}

void filterControlCharacters(SourceBuffer& source)
{
    // In mode 2 the filter keeps every unit: the copy onto itself is skipped.
    if (source.parseMode == 2) return;
    char16_t* write = source.text;
    for (std::uint32_t index = 0; index < source.textLength; ++index) {
        const char16_t unit = source.text[index];
        if (!isFilteredControl(unit)) *write++ = unit;
    }
    source.textLength = static_cast<std::uint32_t>(write - source.text);
}

}  // namespace

void prepareInput(SourceBuffer& source, CodePageDecoder decoder)
{
    // Input the caller declared as UTF-16 is taken as it is, a byte order mark
    // included (it stays in the text as U+FEFF).
    if (source.encodingFixed != 1) settleText(source, decoder);
    normaliseLineEnds(source);
    filterControlCharacters(source);
}

}  // namespace Parsers
