// The record of an element as the image writer writes it.
#pragma once

#include <cstdint>

namespace Parsers {

class Element;
class StringTable;

// Writes the element's record at `destination`, as Element::serialize does,
// except that the numbers of its children, the last 4 bytes per child of the
// record, are left for the caller: the image writer fills them in as its walk
// meets the children, so that writing the record visits none of them.
// Returns the record's size.
std::uint32_t writeElementRecord(Element& element, std::uint8_t* destination, StringTable& strings);

}  // namespace Parsers
