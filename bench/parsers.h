// The parsers the benchmark compares: the library through its exported
// DOM_Parse, and two peers from the system's packages, gumbo and libxml2's HTML
// parser. Each parses a document and releases its result, as a host does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Parsers::Bench {

class Parser {
public:
    virtual ~Parser() = default;
    // Short name for the tables: "domparse", "libxml2", "gumbo".
    virtual std::string name() const = 0;
    // The calls that a parse makes, for the report.
    virtual std::string calls() const = 0;
    // Untimed preparation before a timed parse of the same bytes (a writable
    // copy, where the parser needs one).
    virtual void prepare(const std::vector<std::uint8_t>& bytes) = 0;
    // Parses the bytes last prepared and releases the result. False when the
    // parser gave no document.
    virtual bool parse(const std::vector<std::uint8_t>& bytes) = 0;
    // Parses and tells the depth of the deepest element of the parser's own
    // tree (a root element is at depth 1), or nothing when there is no tree.
    virtual std::optional<std::size_t> parseForDepth(const std::vector<std::uint8_t>& bytes) = 0;
};

// DOM_Parse of libdomparse.so with byte input, and GlobalFree of the image.
std::unique_ptr<Parser> makeDomParseParser();
// gumbo_parse_with_options with the default options, gumbo_destroy_output.
std::unique_ptr<Parser> makeGumboParser();
// htmlReadMemory with recovery, no network, no reports, huge inputs allowed;
// xmlFreeDoc.
std::unique_ptr<Parser> makeLibxml2Parser();

// One DOM_Parse of a copy of the bytes: its result code and image.
struct DomParseResult {
    std::uint32_t resultCode = 0;
    std::vector<std::uint8_t> image;
};
DomParseResult parseWithDomParse(const std::vector<std::uint8_t>& bytes);
// One DOM_Parse of a copy of the bytes, its image released at once: the
// result code alone. A child that measures the parse's peak memory parses
// this way, so that the peak holds no copy of the image made by this program.
std::uint32_t parseWithDomParseAndRelease(const std::vector<std::uint8_t>& bytes);

// A writable copy of the input with the zero padding that DOM_Parse may read
// and write behind it. The parse may rewrite the buffer, so each parse gets a
// fresh copy.
void copyPadded(const std::vector<std::uint8_t>& bytes, std::vector<std::uint8_t>& buffer);

// Whether the global memory block functions that this program calls are those
// of libdomparse.so, which made the blocks that DOM_Parse hands over.
bool blockFunctionsAreTheLibrarys();

}  // namespace Parsers::Bench
