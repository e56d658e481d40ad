// The record of one parse: the caller's input, the text the tokenizer reads, the
// error listeners and the finished documents.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "library/shared_types.h"

namespace Parsers {

class ErrorListener;

struct SourceBuffer {
    // Receivers of parse errors. Nothing in the library adds to the list.
    std::vector<std::shared_ptr<ErrorListener>> errorListeners;
    // The caller's buffer (not owned); moved past a UTF-8 byte order mark.
    std::uint8_t* rawBytes = nullptr;
    // The text the tokenizer reads: the caller's buffer for UTF-16 input, else
    // decodedText.
    char16_t* text = nullptr;
    std::uint32_t rawSize = 0;
    std::uint32_t textLength = 0;
    // Text made by a decoder.
    std::vector<char16_t> decodedText;
    // 1 once the input kind or a byte order mark has settled the text.
    std::uint32_t encodingFixed = 0;
    // Code page of the text once known (1200 for UTF-16); -1 while unknown.
    std::int32_t codePage = -1;
    // 1 is case folding parsing; the driver always sets 2, case preserving.
    std::uint32_t parseMode = 1;
    // Keeps the finished document alive after the driver's objects are gone.
    std::vector<NodeRef> documents;
};

// Releases what the source holds in its order: documents (and with them the
// trees), then the decoded text, then the listeners.
void releaseSource(SourceBuffer& source);

}  // namespace Parsers
