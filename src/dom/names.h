// Interned element and attribute names: the fixed tables and their lookups.
//
// Every lookup is a generated perfect hash: a hash over the key's length and a
// few of its units picks one candidate row, which is then compared in full. The
// comparison is exact and case sensitive over whole 16-bit units, so "DIV" or a
// name whose high bytes differ from a row's finds nothing. Lookups allocate
// nothing and touch no state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "library/shared_types.h"
#include "dom/tag_ids.h"        // generated: enum class TagId
#include "dom/attribute_ids.h"  // generated: enum class AttributeId

namespace Parsers {

struct TagRow {
    const char16_t* name;  // null-terminated
    std::uint8_t length;
    TagId id;
    TagCategory category;
};

struct AttributeRow {
    const char16_t* name;  // null-terminated
    std::uint8_t length;
    AttributeId id;
};

struct ForeignAttributeRow {
    const char16_t* qualifiedName;  // null-terminated
    std::uint8_t length;
    std::int32_t number;            // the row's place in sorted order
    const char16_t* localName;      // null-terminated
    NamespaceId namespaceId;
};

// Number of tags in the tag table (ids 0 to kTagCount - 1).
inline constexpr std::int32_t kTagCount = 233;
// The tag name list goes on past the tags with the prefixes of the namespaces:
// row kNamespacePrefixRow + n is the prefix text of NamespaceId n (0 to 5).
inline constexpr std::int32_t kNamespacePrefixRow = 233;
inline constexpr std::int32_t kTagNameListSize = 239;
inline constexpr std::int32_t kAttributeCount = 450;
inline constexpr std::int32_t kForeignAttributeCount = 12;

// Returns the row of the tag whose name is exactly the given units, or null.
const TagRow* lookupTagName(const char16_t* units, std::size_t length);
// Returns the row of the attribute whose name is exactly the given units, or null.
const AttributeRow* lookupAttributeName(const char16_t* units, std::size_t length);
// Returns the row of the foreign attribute table for a qualified name, or null.
const ForeignAttributeRow* lookupForeignAttribute(const char16_t* units, std::size_t length);

// The tag name list by row (0 to kTagNameListSize - 1): a null-terminated text.
// Returns null for a row outside the list.
const char16_t* tagNameText(std::int32_t row);
// The row of a tag by id, or null for an id outside 0 to kTagCount - 1.
const TagRow* tagRowById(TagId id);
// The row of an attribute by id, or null for an id outside the table.
const AttributeRow* attributeRowById(AttributeId id);
// The row of the foreign attribute table by its number, or null.
const ForeignAttributeRow* foreignAttributeRowByNumber(std::int32_t number);

// The texts of the tag name list by row, and the names of the attribute table
// by id, as texts that live as long as the program: holders of a name that is
// in a list keep the address of the list's text instead of a copy (see
// CompactText). Made at the first call, constant from then on.
const std::vector<UString>& tagNameStrings();
const std::vector<UString>& attributeNameStrings();
// True when the text is one of attributeNameStrings().
bool isAttributeNameListText(const UString* text);

}  // namespace Parsers
