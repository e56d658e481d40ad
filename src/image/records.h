// The record of an element as the image writer writes it.
#pragma once

#include <cstdint>

namespace Parsers {

class Element;
class StringTable;

// Writes the element's record at `destination`, as Element::serialize does,
// except that the numbers of its children come from `subtreeEnds` instead of
// from the children: in pre-order the first child follows its parent, and each
// next one follows the subtree of the one before it, whose end the table gives
// for every numbered node. So writing the record visits none of the children.
// Returns the record's size.
std::uint32_t writeElementRecord(Element& element, std::uint8_t* destination, StringTable& strings,
                                 const std::uint32_t* subtreeEnds);

}  // namespace Parsers
