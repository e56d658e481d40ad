// End-to-end support: runs DOM_Parse as a host does and turns the image into
// a readable tree through the image reader.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "domparse.h"
#include "domparse_reader.h"

namespace E2e {

struct Outcome {
    std::uint32_t result = 0xFFFFFFFFu;
    std::uint32_t imageSize = 0;
    std::uint32_t nodeCount = 0;
    std::uint32_t rootCount = 0;
    // The top-level nodes: their kinds (E, T, C) and, for texts, their data.
    std::string roots;
    // The tree as treeText shows it; the reader's message when it refused the
    // image.
    std::string tree;
};

// Copies `input` into a writable buffer with 4 zero bytes behind it (the
// library looks one unit past the text), parses it and reads the image. Without
// `describe` the tree text is left empty: its indentation grows with the square
// of the depth.
Outcome parse(const std::vector<std::uint8_t>& input, std::uint32_t inputKind,
              std::uint16_t recordVersion = 2, bool describe = true);

// One line per node in document order, "| " and two spaces per level:
//   <name>  <prefix:name>  followed by " {uri}" when the image has a namespace URI
//     name="value"  prefix:name="value"  an attribute, one level deeper; " {uri}"
//   "text"  a text; <!-- data -->  a comment
// Texts are escaped: \n \t \\ \" and \uXXXX for every unit outside 0x20-0x7E.
// Lines starting with "!!" report an inconsistency of the image itself (a tag id
// that does not name the element, declarations that differ from the
// namespace declarations among the attributes).
std::string treeText(const DOMImage* image);

std::string escapeUnits(const std::u16string& units);

// UTF-8 text to UTF-16 little-endian bytes (for input kind 1).
std::vector<std::uint8_t> utf16Bytes(std::string_view utf8);

}  // namespace E2e
