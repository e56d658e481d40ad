// Turns a finished document into its image in a global memory block.
#pragma once

#include <cstdint>

#include "domparse.h"

namespace Parsers {

class Document;

// What becomes of the document's tree once its image is written.
enum class TreeAfterImage {
    // The tree stays as it is.
    Kept,
    // The writer takes the tree apart as it goes: the children of each node
    // whose subtree has been written are released, so that every node is
    // released while it is still in the caches from its record, instead of in
    // a walk of its own over the whole cold tree afterwards. The document is
    // left with its top-level children, none of which has children; nodes
    // that something else holds survive without parent and siblings.
    Released,
};

// Numbers the document's nodes and attributes in document order, writes the
// node, attribute and string tables and the header into a new block, and stores
// the block's handle in *out; the block then belongs to the caller. Returns the
// image size in bytes. Throws std::bad_alloc when no block can be had.
std::uint32_t writeDocumentImage(Document& document, HGLOBAL* out,
                                 TreeAfterImage after = TreeAfterImage::Kept);

}  // namespace Parsers
