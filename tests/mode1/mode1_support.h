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

// Codes as text, "126 127", for messages.
std::string codeList(const std::vector<std::uint32_t>& codes);

}  // namespace Mode1
