// The record of an element as the image writer writes it.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "dom/attribute.h"
#include "dom/character_text.h"

namespace Parsers {

class Element;
class StringTable;

// The numbers of an element's attributes in the attribute table, which
// lists the attributes of each element in element order: the number of the
// element's first one, and for an attribute that more than one element
// holds, the number it has where the last of them lists it.
struct AttributeNumbering {
    std::uint32_t first;
    const std::unordered_map<const Attribute*, std::uint32_t>& shared;
};

// Writes the element's record at `destination` (or, without one, numbers its
// strings and returns its size) as Element::serialize does, except that the
// namespace URI is the one given: the writer knows it from the declarations
// in force, and an element that has not looked its URI up keeps no copy of
// it. In the writing round the string table gives back the number of the
// numbering round without looking at the URI, so any URI will do there.
std::uint32_t writeElementRecord(Element& element, std::uint8_t* destination, StringTable& strings,
                                 const CharacterText& namespaceUri, const AttributeNumbering& numbering);

}  // namespace Parsers
