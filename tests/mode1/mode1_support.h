// Support of the case folding suite: runs a whole parse through the internal
// entry of case folding parsing, with a listener that keeps every report, and
// turns the image into the readable tree of the end-to-end suites.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tokenizer/parse_errors.h"

namespace Mode1 {

// Keeps the code of every report, in the order they came.
class RecordingListener : public Parsers::ErrorListener {
public:
    void reportCharacterError(Parsers::ParseErrorCode code, char16_t,
                              const Parsers::TextPosition*) override;
    void reportTextError(Parsers::ParseErrorCode code, const Parsers::UString&,
                         const Parsers::TextPosition*) override;
    void reportPositionError(Parsers::ParseErrorCode code, const Parsers::TextPosition*) override;
    void reportSpanError(Parsers::ParseErrorCode code, const char16_t*, std::uint32_t,
                         const Parsers::TextPosition*) override;

    // The codes of the tree constructor's reports (107 and up).
    std::vector<std::uint32_t> treeCodes() const;

    std::vector<std::uint32_t> codes;
};

struct Outcome {
    std::uint32_t result = 0xFFFFFFFFu;
    // The tree as ImageTreeText::treeText shows it; the reader's message when
    // it refused the image.
    std::string tree;
    std::vector<std::uint32_t> treeCodes;
};

// Copies `input` into a writable buffer with the padding behind it, parses it
// with case folding parsing and reads the image.
Outcome parse(const std::vector<std::uint8_t>& input, std::uint32_t inputKind = 0,
              std::uint16_t recordVersion = 2);
// The same for a UTF-8 text given as bytes.
Outcome parse(const std::string& text);

struct MarkupOutcome {
    std::uint32_t result = 0xFFFFFFFFu;
    // The finished document's markup as UTF-8 (a lone surrogate takes the three
    // bytes of its own value).
    std::string markup;
};

// Parses with case folding parsing and writes the finished tree as markup
// instead of an image. Under `parseMode` 2 the same text DOM_Parse would
// tidy.
MarkupOutcome parseToMarkup(const std::vector<std::uint8_t>& input, std::uint32_t inputKind = 0,
                            std::uint32_t parseMode = 1);

// UTF-16 units to UTF-8 bytes, pairs joined; a lone surrogate is encoded as
// its own value.
std::string utf8Of(const std::u16string& units);

// Codes as text, "126 127", for messages.
std::string codeList(const std::vector<std::uint32_t>& codes);

}  // namespace Mode1
