// MultiByteToWideChar for systems that have none: the library's only decoder.
//
// Documents are decoded once, whole, before tokenizing, so the decoder must
// reproduce Windows' answers exactly (including its handling of invalid input,
// which decides what text the parser sees) and be fast on UTF-8, the encoding
// of most documents. Single-byte and double-byte pages are driven by generated
// tables (code_page_tables_*.cpp); UTF-8 follows the rules below; four pages
// the tables do not cover are handed to the C library's iconv.
//
// No decoder here writes more units than it reads bytes: a single byte gives
// one unit, a pair one unit, a UTF-8 sequence of n bytes at most n units, and
// each replacement stands for at least one byte. The callers rely on it to size
// their buffers.

#include "platform/code_pages.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <iconv.h>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Parsers::CodePages {
namespace {

constexpr char16_t kReplacementUnit = 0xFFFD;

// ---------------------------------------------------------------- UTF-8

// What a byte starts in UTF-8: how many continuation bytes follow it (0 for a
// byte that is one replacement on its own: a lone continuation byte, C0, C1 and
// F5 to FF), and the range its second byte must lie in. The narrower ranges
// refuse overlong forms (E0, F0), encoded surrogates (ED) and code points above
// U+10FFFF (F4).
struct Utf8Lead {
    std::uint8_t continuationCount;
    std::uint8_t secondLow;
    std::uint8_t secondHigh;
    std::uint8_t payloadMask;
};

constexpr Utf8Lead utf8LeadOf(unsigned byte)
{
    if (byte >= 0xC2 && byte <= 0xDF) return {1, 0x80, 0xBF, 0x1F};
    if (byte == 0xE0) return {2, 0xA0, 0xBF, 0x0F};
    if (byte == 0xED) return {2, 0x80, 0x9F, 0x0F};
    if (byte >= 0xE1 && byte <= 0xEF) return {2, 0x80, 0xBF, 0x0F};
    if (byte == 0xF0) return {3, 0x90, 0xBF, 0x07};
    if (byte == 0xF4) return {3, 0x80, 0x8F, 0x07};
    if (byte >= 0xF1 && byte <= 0xF3) return {3, 0x80, 0xBF, 0x07};
    return {0, 0, 0, 0};
}

struct Utf8LeadTable {
    Utf8Lead entries[256];
};

constexpr Utf8LeadTable makeUtf8LeadTable()
{
    Utf8LeadTable table{};
    for (unsigned byte = 0; byte < 256; ++byte) table.entries[byte] = utf8LeadOf(byte);
    return table;
}

constexpr Utf8LeadTable kUtf8Leads = makeUtf8LeadTable();

inline bool isContinuationByte(std::uint8_t byte)
{
    return (byte & 0xC0) == 0x80;
}

// Widens bytes below 0x80 for as long as whole blocks of them last and returns
// the number of bytes done. Most documents are mostly ASCII, so this loop is
// where UTF-8 decoding spends its time: it tests 16 bytes at once and widens
// them with vector instructions where the machine has them.
#if defined(__SSE2__)
inline std::size_t copyAsciiRun(const std::uint8_t* bytes, std::size_t size, char16_t* out)
{
    const __m128i zero = _mm_setzero_si128();
    std::size_t done = 0;
    while (size - done >= 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + done));
        if (_mm_movemask_epi8(block) != 0) break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), _mm_unpacklo_epi8(block, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done + 8), _mm_unpackhi_epi8(block, zero));
        done += 16;
    }
    return done;
}
#else
inline std::size_t copyAsciiRun(const std::uint8_t* bytes, std::size_t size, char16_t* out)
{
    constexpr std::uint64_t highBits = 0x8080808080808080ull;
    std::size_t done = 0;
    while (size - done >= 16) {
        std::uint64_t low;
        std::uint64_t high;
        std::memcpy(&low, bytes + done, 8);
        std::memcpy(&high, bytes + done + 8, 8);
        if ((low | high) & highBits) break;
        for (std::size_t i = 0; i < 16; ++i) out[done + i] = bytes[done + i];
        done += 16;
    }
    return done;
}
#endif

// Decodes UTF-8 the way the reference platform does. For a lead byte L:
// - A byte that starts nothing (80-BF, C0, C1, F5-FF) is one U+FFFD.
// - When fewer bytes remain after L than it needs, one U+FFFD ends the text:
//   everything after L is dropped, even ASCII.
// - Otherwise the following bytes are read in turn. A byte that is no
//   continuation ends the sequence unread: one U+FFFD for what was read. A
//   second byte outside L's range is consumed with L: one U+FFFD for the two,
//   and decoding goes on after them.
// - A complete sequence gives its code point, above U+FFFF as a surrogate pair.
std::size_t decodeUtf8(const std::uint8_t* bytes, std::size_t size, char16_t* out)
{
    std::size_t read = 0;
    char16_t* write = out;
    while (read < size) {
        if (bytes[read] < 0x80) {
            const std::size_t run = copyAsciiRun(bytes + read, size - read, write);
            read += run;
            write += run;
            // Bytes below 0x80 that do not fill a block go one at a time.
            while (read < size && bytes[read] < 0x80) *write++ = bytes[read++];
            if (read == size) break;
        }

        const std::uint8_t leadByte = bytes[read];
        const Utf8Lead& lead = kUtf8Leads.entries[leadByte];
        if (lead.continuationCount == 0) {
            *write++ = kReplacementUnit;
            ++read;
            continue;
        }
        if (size - read - 1 < lead.continuationCount) {
            *write++ = kReplacementUnit;
            break;
        }
        const std::uint8_t second = bytes[read + 1];
        if (!isContinuationByte(second)) {
            *write++ = kReplacementUnit;
            read += 1;
            continue;
        }
        if (second < lead.secondLow || second > lead.secondHigh) {
            *write++ = kReplacementUnit;
            read += 2;
            continue;
        }
        std::uint32_t codePoint = ((leadByte & lead.payloadMask) << 6) | (second & 0x3F);
        std::size_t length = 2;
        while (length <= lead.continuationCount && isContinuationByte(bytes[read + length])) {
            codePoint = (codePoint << 6) | (bytes[read + length] & 0x3F);
            ++length;
        }
        read += length;
        if (length <= lead.continuationCount) {
            *write++ = kReplacementUnit;
        } else if (codePoint >= 0x10000) {
            codePoint -= 0x10000;
            *write++ = static_cast<char16_t>(0xD800 | (codePoint >> 10));
            *write++ = static_cast<char16_t>(0xDC00 | (codePoint & 0x3FF));
        } else {
            *write++ = static_cast<char16_t>(codePoint);
        }
    }
    return static_cast<std::size_t>(write - out);
}

// ---------------------------------------------------------------- table pages

std::size_t decodeSingleByte(const SingleBytePage& page, const std::uint8_t* bytes,
                             std::size_t size, char16_t* out)
{
    for (std::size_t i = 0; i < size; ++i) out[i] = page.units[bytes[i]];
    return size;
}

std::size_t decodeDoubleByte(const DoubleBytePage& page, const std::uint8_t* bytes,
                             std::size_t size, char16_t* out)
{
    std::size_t read = 0;
    char16_t* write = out;
    while (read < size) {
        const std::uint8_t byte = bytes[read];
        const std::uint8_t leadRow = page.leadRows[byte];
        if (leadRow == 0) {
            *write++ = page.byteUnits[byte];
            ++read;
        } else if (read + 1 == size || bytes[read + 1] == 0) {
            // A lead with nothing to pair with; a 00 after it is decoded on its own.
            *write++ = page.defaultUnit;
            ++read;
        } else {
            // Any other byte is taken as the trail, ASCII included.
            *write++ = page.pairUnits[leadRow - 1][bytes[read + 1]];
            read += 2;
        }
    }
    return static_cast<std::size_t>(write - out);
}

const SingleBytePage* findSingleBytePage(std::uint32_t codePage)
{
    for (const SingleBytePage& page : kSingleBytePages) {
        if (page.codePage == codePage) return &page;
    }
    return nullptr;
}

const DoubleBytePage* findDoubleBytePage(std::uint32_t codePage)
{
    switch (codePage) {
    case 932: return &kDoubleBytePage932;
    case 936: return &kDoubleBytePage936;
    case 949: return &kDoubleBytePage949;
    case 950: return &kDoubleBytePage950;
    default: return nullptr;
    }
}

// ---------------------------------------------------------------- iconv pages

// The C library's names for the pages the tables do not cover. ISO-2022-JP-3
// reads everything ISO-2022-JP does and also the half-width katakana escape;
// EUC-JP-MS carries the vendor mappings of Windows' EUC-JP.
const char* iconvCharsetOf(std::uint32_t codePage)
{
    switch (codePage) {
    case 50220: return "ISO-2022-JP-3";
    case 50225: return "ISO-2022-KR";
    case 51932: return "EUC-JP-MS";
    case 54936: return "GB18030";
    default: return nullptr;
    }
}

class IconvHandle {
public:
    explicit IconvHandle(const char* charset) : handle(iconv_open("UTF-16LE", charset)) {}
    ~IconvHandle()
    {
        if (valid()) iconv_close(handle);
    }
    IconvHandle(const IconvHandle&) = delete;
    IconvHandle& operator=(const IconvHandle&) = delete;
    bool valid() const { return handle != reinterpret_cast<iconv_t>(-1); }
    iconv_t get() const { return handle; }

private:
    iconv_t handle;
};

// Decodes through iconv into `units`, one U+FFFD for each byte iconv refuses
// (an invalid sequence, or an incomplete one at the end), going on at the next
// byte. The position after a refusal is computed from the start of the input
// and clamped to its end: some converters move their input pointer past the
// bytes they refuse, and stepping one byte further from there would read
// outside the input. Returns false when iconv cannot convert the page at all.
bool decodeWithIconv(const char* charset, const std::uint8_t* bytes, std::size_t size,
                     std::vector<char16_t>& units)
{
    IconvHandle converter(charset);
    if (!converter.valid()) return false;
    const char* const start = reinterpret_cast<const char*>(bytes);
    units.assign(size + 8, 0);
    std::size_t consumed = 0;
    std::size_t written = 0;
    auto makeRoom = [&units]() { units.resize(units.size() * 2 + 8); };

    while (consumed < size) {
        char* input = const_cast<char*>(start + consumed);
        std::size_t inputLeft = size - consumed;
        char* output = reinterpret_cast<char*>(units.data() + written);
        std::size_t outputLeft = (units.size() - written) * sizeof(char16_t);
        const std::size_t result = iconv(converter.get(), &input, &inputLeft, &output, &outputLeft);
        const int error = errno;
        written = units.size() - outputLeft / sizeof(char16_t);
        const std::size_t before = consumed;
        if (input >= start + consumed) {
            const std::size_t reached = static_cast<std::size_t>(input - start);
            consumed = reached < size ? reached : size;
        }
        if (result != static_cast<std::size_t>(-1) && consumed > before) continue;
        if (result == static_cast<std::size_t>(-1) && error == E2BIG) {
            makeRoom();
            continue;
        }
        // A refused byte, or a call that made no progress: replace one byte.
        if (written == units.size()) makeRoom();
        units[written++] = kReplacementUnit;
        if (consumed < size) ++consumed;
    }

    // Lets a stateful converter write what it still holds.
    for (;;) {
        char* output = reinterpret_cast<char*>(units.data() + written);
        std::size_t outputLeft = (units.size() - written) * sizeof(char16_t);
        const std::size_t result = iconv(converter.get(), nullptr, nullptr, &output, &outputLeft);
        const int error = errno;
        written = units.size() - outputLeft / sizeof(char16_t);
        if (result != static_cast<std::size_t>(-1) || error != E2BIG) break;
        makeRoom();
    }
    units.resize(written);
    return true;
}

// ---------------------------------------------------------------- dispatch

// Decodes the whole input into out, which has room for `size` units. Returns
// the unit count, or -1 for a code page this decoder does not know.
long decodeAll(std::uint32_t codePage, const std::uint8_t* bytes, std::size_t size, char16_t* out)
{
    if (codePage == 0) codePage = kAnsiCodePage;
    if (codePage == 65001) return static_cast<long>(decodeUtf8(bytes, size, out));
    if (const SingleBytePage* page = findSingleBytePage(codePage)) {
        return static_cast<long>(decodeSingleByte(*page, bytes, size, out));
    }
    if (const DoubleBytePage* page = findDoubleBytePage(codePage)) {
        return static_cast<long>(decodeDoubleByte(*page, bytes, size, out));
    }
    return -1;
}

bool isKnownCodePage(std::uint32_t codePage)
{
    return codePage == 0 || codePage == 65001 || findSingleBytePage(codePage) ||
           findDoubleBytePage(codePage) || iconvCharsetOf(codePage);
}

}  // namespace
}  // namespace Parsers::CodePages

extern "C" int MultiByteToWideChar(unsigned int codePage, unsigned long flags, const char* bytes,
                                   int byteCount, char16_t* out, int capacity)
{
    using namespace Parsers::CodePages;
    if (flags != 0 || bytes == nullptr || byteCount == 0 || byteCount < -1 || capacity < 0) return 0;
    if (capacity > 0 && out == nullptr) return 0;
    if (!isKnownCodePage(codePage)) return 0;
    const std::size_t size = byteCount == -1 ? std::strlen(bytes) + 1 : static_cast<std::size_t>(byteCount);
    const auto* input = reinterpret_cast<const std::uint8_t*>(bytes);

    if (const char* charset = iconvCharsetOf(codePage)) {
        std::vector<char16_t> units;
        if (!decodeWithIconv(charset, input, size, units) || units.empty()) return 0;
        if (units.size() > static_cast<std::size_t>(INT_MAX)) return 0;
        if (capacity == 0) return static_cast<int>(units.size());
        if (units.size() > static_cast<std::size_t>(capacity)) return 0;
        std::memcpy(out, units.data(), units.size() * sizeof(char16_t));
        return static_cast<int>(units.size());
    }

    // The table and UTF-8 decoders never write more units than there are bytes,
    // so a destination of that size takes the result directly; a smaller one
    // (or a size query) goes through a scratch buffer first.
    if (capacity > 0 && static_cast<std::size_t>(capacity) >= size) {
        return static_cast<int>(decodeAll(codePage, input, size, out));
    }
    std::vector<char16_t> scratch(size);
    const long count = decodeAll(codePage, input, size, scratch.data());
    if (capacity == 0) return static_cast<int>(count);
    if (count > capacity) return 0;
    std::memcpy(out, scratch.data(), static_cast<std::size_t>(count) * sizeof(char16_t));
    return static_cast<int>(count);
}
