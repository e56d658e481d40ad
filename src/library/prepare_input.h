// Input preparation: from the caller's bytes to the 16-bit text the tokenizer
// reads.
#pragma once

#include "encoding/decoding.h"
#include "library/source_buffer.h"

namespace Parsers {

// Settles the text of a source whose rawBytes, rawSize and parseMode are set
// (and, for UTF-16 input, encodingFixed 1 with text and textLength): a UTF-16
// or UTF-8 byte order mark, else a meta declaration found by the prescan, else
// UTF-8 (in mode 2; the system's ANSI code page in mode 1). Then turns CR LF
// and lone CR into LF in place, and in mode 1 removes control characters.
//
// Throws the integer 9 (kNoTextThrown) when no text can be made. Works in
// place: UTF-16 text stays in the caller's buffer, which a byte-swapped byte
// order mark swaps. The caller's buffer must be readable for two bytes, and,
// under UTF-16, readable and writable for one unit behind the text.
void prepareInput(SourceBuffer& source, CodePageDecoder decoder = platformMultiByteToWideChar);

}  // namespace Parsers
