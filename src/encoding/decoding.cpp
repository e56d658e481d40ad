// Decoding through the platform's MultiByteToWideChar.

#include "encoding/decoding.h"

#include <cstddef>

#include "platform/code_pages.h"

namespace Parsers {

int platformMultiByteToWideChar(unsigned int codePage, unsigned long flags, const char* bytes,
                                int byteCount, char16_t* out, int capacity)
{
#if defined(_WIN32)
    // wchar_t is the 16-bit unit there.
    return ::MultiByteToWideChar(codePage, static_cast<DWORD>(flags), bytes, byteCount,
                                 reinterpret_cast<wchar_t*>(out), capacity);
#else
    return ::MultiByteToWideChar(codePage, flags, bytes, byteCount, out, capacity);
#endif
}

void selectCodePage(SourceBuffer& source, std::uint32_t codePage, std::uint32_t fallback,
                    CodePageDecoder decoder)
{
    if (static_cast<std::int32_t>(codePage) == source.codePage) return;

    // No byte of any supported page gives more than one unit, so rawSize units
    // hold the text; the one more keeps a zero unit readable behind it.
    source.decodedText.resize(static_cast<std::size_t>(source.rawSize) + 1);
    const char* bytes = reinterpret_cast<const char*>(source.rawBytes);
    // Flags 0: invalid input is replaced by the page's rules, never an error.
    const int byteCount = static_cast<int>(source.rawSize);
    int produced = decoder(codePage, 0, bytes, byteCount, source.decodedText.data(), byteCount);
    if (produced == 0 && fallback != 0) {
        produced = decoder(fallback, 0, bytes, byteCount, source.decodedText.data(), byteCount);
    }

    if (produced > 0 && static_cast<std::uint32_t>(produced) <= source.rawSize) {
        source.textLength = static_cast<std::uint32_t>(produced);
        source.text = source.decodedText.data();
        source.decodedText[static_cast<std::size_t>(produced)] = 0;
        source.encodingFixed = 0;
        source.codePage = kUtf16CodePage;
    } else {
        source.decodedText.clear();
    }
}

}  // namespace Parsers
