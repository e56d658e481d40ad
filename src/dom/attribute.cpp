#include "dom/attribute.h"

#include <new>

namespace Parsers {

AttributeRef makeAttribute(ParseHeap* heap, char16_t firstUnit, TextPosition where)
{
    void* block = allocateOn(heap, sizeof(Attribute));
    Attribute* attribute;
    try {
        attribute = new (block) Attribute(firstUnit, where);
    } catch (...) {
        releaseOn(heap, block, sizeof(Attribute));
        throw;
    }
    attribute->heap = heap;
    attribute->referenceCount = 1;
    return AttributeRef::adopt(attribute);
}

void destroyAttribute(Attribute* attribute) noexcept
{
    ParseHeap* heap = attribute->heap;
    attribute->~Attribute();
    releaseOn(heap, attribute, sizeof(Attribute));
}

}  // namespace Parsers
