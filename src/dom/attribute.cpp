#include "dom/attribute.h"

#include <new>

namespace Parsers {

namespace {

template <typename... Arguments>
AttributeRef makeAttributeOn(ParseHeap* heap, Arguments... arguments)
{
    void* block = allocateOn(heap, sizeof(Attribute));
    Attribute* attribute;
    try {
        attribute = new (block) Attribute(arguments...);
    } catch (...) {
        releaseOn(heap, block, sizeof(Attribute));
        throw;
    }
    attribute->heap = heap;
    attribute->referenceCount = 1;
    return AttributeRef::adopt(attribute);
}

}  // namespace

AttributeRef makeAttribute(ParseHeap* heap, char16_t firstUnit, TextPosition where)
{
    return makeAttributeOn(heap, firstUnit, where);
}

AttributeRef makeAttribute(ParseHeap* heap, TextPosition where)
{
    return makeAttributeOn(heap, where);
}

void nameAttributeText(CompactText& name, std::u16string_view units)
{
    const AttributeRow* row = units.empty() ? nullptr : lookupAttributeName(units.data(), units.size());
    if (row) {
        name.refer(attributeNameStrings()[static_cast<std::size_t>(row->id)]);
    } else {
        name = UString(units);
    }
}

void destroyAttribute(Attribute* attribute) noexcept
{
    ParseHeap* heap = attribute->heap;
    attribute->~Attribute();
    releaseOn(heap, attribute, sizeof(Attribute));
}

}  // namespace Parsers
