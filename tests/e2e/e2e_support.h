// End-to-end support: runs DOM_Parse as a host does and turns the image into
// a readable tree through the image reader.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "domparse.h"
#include "domparse_reader.h"
#include "support/image_tree_text.h"

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

// The tree text, its escapes and the UTF-16 bytes of a text: shared with the
// other suites that read images (support/image_tree_text.h).
using ImageTreeText::escapeUnits;
using ImageTreeText::treeText;
using ImageTreeText::utf16Bytes;

}  // namespace E2e
