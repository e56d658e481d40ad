// Turns a finished document into its image in a global memory block.
#pragma once

#include <cstdint>

#include "domparse.h"

namespace Parsers {

class Document;

// Numbers the document's nodes and attributes in document order, writes the
// node, attribute and string tables and the header into a new block, and stores
// the block's handle in *out; the block then belongs to the caller. Returns the
// image size in bytes. Throws std::bad_alloc when no block can be had.
std::uint32_t writeDocumentImage(Document& document, HGLOBAL* out);

}  // namespace Parsers
