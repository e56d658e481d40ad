// The record of an element as the image writer writes it.
#pragma once

#include <cstdint>

#include "dom/character_text.h"

namespace Parsers {

class Element;
class StringTable;

// Writes the element's record at `destination` (or, without one, numbers its
// strings and returns its size) as Element::serialize does, except that the
// namespace URI is the one given: the writer knows it from the declarations
// in force, and an element that has not looked its URI up keeps no copy of
// it. In the writing round the string table gives back the number of the
// numbering round without looking at the URI, so any URI will do there.
std::uint32_t writeElementRecord(Element& element, std::uint8_t* destination, StringTable& strings,
                                 const CharacterText& namespaceUri);

}  // namespace Parsers
