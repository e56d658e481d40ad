// Attributes of tags and elements, and the narrow attribute of the encoding prescan.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "dom/character_text.h"
#include "dom/compact_text.h"
#include "dom/names.h"
#include "dom/node_ref.h"
#include "dom/parse_heap.h"
#include "library/shared_types.h"

namespace Parsers {

class Element;
class StringTable;

// Makes `name` the list's own text when the units are a name of the attribute
// name list, and a copy of them otherwise.
void nameAttributeText(CompactText& name, std::u16string_view units);

// An attribute over a string type: UString for tokens and elements, a narrow
// std::string for the encoding prescan, which reads raw bytes. Attributes of
// tokens and elements count their references themselves (see makeAttribute)
// and hold their prefix, nearly always empty, in one pointer.
template <typename String>
class BasicAttribute {
public:
    using CharType = typename String::value_type;
    using View = std::basic_string_view<CharType>;
    static constexpr bool kWide = std::is_same_v<String, UString>;
    using Prefix = std::conditional_t<kWide, CompactText, String>;
    // The local name of a tag's or element's attribute is one word: the
    // attribute name list's own text for a name of the list, a copy otherwise.
    // While the tokenizer builds it, it refers to the tokenizer's builder.
    using Name = std::conditional_t<kWide, CompactText, String>;
    // The value of a tag's or element's attribute takes one byte a unit while
    // its units are below 256, from the attribute's heap (see CharacterText).
    using Value = std::conditional_t<kWide, CharacterText, String>;

    BasicAttribute(CharType firstCharacter, TextPosition where) : position(where)
    {
        setName(String(1, firstCharacter));
    }
    // An attribute whose name is still empty.
    explicit BasicAttribute(TextPosition where) : position(where) {}
    BasicAttribute(const BasicAttribute&) = default;
    BasicAttribute& operator=(const BasicAttribute&) = delete;
    ~BasicAttribute()
    {
        if constexpr (kWide) value.release(heap);
    }

    // With a null destination returns the byte size of the record and writes
    // nothing; given a string table as well, it numbers the record's strings in
    // it in the order the record uses them. Otherwise writes the record at
    // destination, interning its strings in stringTable, and returns the same
    // size. Node::serialize works the same way.
    std::uint32_t serialize(std::uint8_t* destination, StringTable* stringTable);

    // Assigns the local name; the cached attribute id no longer holds.
    void setName(const String& newName)
    {
        if constexpr (kWide) {
            nameAttributeText(name, newName);
        } else {
            name = newName;
        }
        attributeId = AttributeId::Unknown;
    }

    // The attribute id of the name, cached once found. An unknown name is looked
    // up again on the next call.
    AttributeId getAttributeId()
    {
        if (attributeId != AttributeId::Unknown) return attributeId;
        AttributeId found = lookUpAttributeId();
        attributeId = found;
        return found;
    }

    // The same answer as getAttributeId without storing it.
    AttributeId lookUpAttributeId() const
    {
        if (attributeId != AttributeId::Unknown || name.empty()) return attributeId;
        const AttributeRow* row = lookupAttributeName(name.data(), name.size());
        return row ? row->id : AttributeId::Unknown;
    }

    // "prefix:name", or the name alone when there is no prefix: the key of the
    // attribute maps.
    String getQualifiedName() const
    {
        if (prefix.empty()) return String(name);
        String qualified;
        qualified.reserve(prefix.size() + 1 + name.size());
        qualified.append(View(prefix));
        qualified.push_back(static_cast<CharType>(':'));
        qualified.append(name);
        return qualified;
    }

    // Replaces the value.
    void setValue(View units)
    {
        if constexpr (kWide) {
            value.assign(units, heap);
        } else {
            value = units;
        }
    }
    // Appends to the value.
    void appendToValue(View units)
    {
        if constexpr (kWide) {
            value.append(units, heap);
        } else {
            value.append(units);
        }
    }
    void appendToValue(CharType unit)
    {
        if constexpr (kWide) {
            value.push_back(unit, heap);
        } else {
            value.push_back(unit);
        }
    }

    // The namespace URI declared for the attribute's prefix, seen from its owner
    // element (only over UString; see element.cpp).
    const CharacterText& getNamespaceUri();

    // Same name, value and prefix, unit for unit.
    bool equals(const BasicAttribute& other) const
    {
        return name == other.name && value == other.value && View(prefix) == View(other.prefix);
    }

    TextPosition position;
    bool duplicate = false;
    NamespaceId namespaceId = NamespaceId::None;
    AttributeId attributeId = AttributeId::Unknown;
    // The references to the attribute (see Ref).
    std::uint32_t referenceCount = 0;
    Name name;
    Value value;
    Prefix prefix;
    const CharacterText* namespaceUriCache = nullptr;
    Element* owner = nullptr;
    // Where makeAttribute took the attribute's memory from; null for the
    // general allocator.
    ParseHeap* heap = nullptr;
};

using Attribute = BasicAttribute<UString>;
using NarrowAttribute = BasicAttribute<std::string>;
using AttributeRef = Ref<Attribute>;

// A new attribute whose name begins with the unit, made from the heap when
// one is given and from the general allocator otherwise; its first
// reference.
AttributeRef makeAttribute(ParseHeap* heap, char16_t firstUnit, TextPosition where);
// The same with an empty name.
AttributeRef makeAttribute(ParseHeap* heap, TextPosition where);

// The narrow attribute exists for the prescan only and is never written into an
// image.
template <>
inline std::uint32_t NarrowAttribute::serialize(std::uint8_t*, StringTable*)
{
    throw enDPE::NotImplementedByClass;
}

// The name tables hold 16-bit names: a narrow name has no attribute id.
template <>
inline AttributeId NarrowAttribute::lookUpAttributeId() const
{
    return AttributeId::Unknown;
}

// Written in the image module.
template <>
std::uint32_t Attribute::serialize(std::uint8_t* destination, StringTable* stringTable);

template <>
const CharacterText& Attribute::getNamespaceUri();

// True for a namespace declaration: prefix "xmlns", or no prefix and the name
// "xmlns". Exact and case sensitive. Inline, and views compare their lengths
// first: the image writer asks this of every attribute several times, and
// almost none is a declaration.
inline bool isNamespaceDeclaration(const Attribute& attribute)
{
    constexpr std::u16string_view xmlns = u"xmlns";
    const std::u16string_view prefix = attribute.prefix;
    return prefix == xmlns || (prefix.empty() && std::u16string_view(attribute.name) == xmlns);
}

}  // namespace Parsers
