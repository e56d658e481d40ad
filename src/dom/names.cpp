// Name lookups over the generated tables of names_tables.cpp.
//
// Each lookup reads the key only after its length passed the table's gate,
// reads only the units its hash needs to pick one candidate row, and then
// compares that row with the key in full. The hash looks at low bytes, so a
// key can land on a row whose units differ only in their high bytes; the full
// comparison refuses it.
#include "dom/names.h"

#include <functional>

#include "dom/names_tables.h"

namespace Parsers {

namespace {

using namespace NameTables;

inline std::uint32_t lowByte(char16_t unit)
{
    return static_cast<std::uint32_t>(unit) & 0xFFu;
}

// The same low byte moved on by an offset, wrapping inside the byte.
inline std::uint32_t shiftedByte(char16_t unit, std::uint32_t offset)
{
    return (lowByte(unit) + offset) & 0xFFu;
}

// True when the row's name is exactly the key: same length, same units.
bool matchesRow(const char16_t* key, std::size_t length, const char16_t* name, std::uint8_t nameLength)
{
    if (length != nameLength) return false;
    for (std::size_t i = 0; i < length; ++i) {
        if (key[i] != name[i]) return false;
    }
    return true;
}

// The slot of a tag name: the length plus the values of units 2 (when there
// is one past the first two), the last, and the first moved on by 2.
std::uint32_t tagSlot(const char16_t* key, std::size_t length)
{
    const std::uint16_t* values = kTagAssociatedValues;
    std::uint32_t hash = static_cast<std::uint32_t>(length);
    if (length > 2) hash += values[lowByte(key[2])];
    hash += values[lowByte(key[length - 1])];
    hash += values[shiftedByte(key[0], 2)];
    return hash;
}

// The slot of an attribute name: the length plus the values of unit 2 moved
// on by 1, units 5, 6, 8 and 9 where the name reaches them, unit 1, the first
// and the last.
std::uint32_t attributeSlot(const char16_t* key, std::size_t length)
{
    const std::uint16_t* values = kAttributeAssociatedValues;
    std::uint32_t hash = static_cast<std::uint32_t>(length);
    if (length >= 3) hash += values[shiftedByte(key[2], 1)];
    if (length >= 6) hash += values[lowByte(key[5])];
    if (length >= 7) hash += values[lowByte(key[6])];
    if (length >= 9) hash += values[lowByte(key[8])];
    if (length >= 10) hash += values[lowByte(key[9])];
    if (length >= 2) hash += values[lowByte(key[1])];
    hash += values[lowByte(key[0])];
    hash += values[lowByte(key[length - 1])];
    return hash;
}

// The slot of a foreign attribute's qualified name: the length, plus the
// value of unit 7 for names longer than 7 (the units after "xlink:" or "xml:").
std::uint32_t foreignAttributeSlot(const char16_t* key, std::size_t length)
{
    std::uint32_t hash = static_cast<std::uint32_t>(length);
    if (length > 7) hash += kForeignAttributeAssociatedValues[lowByte(key[7])];
    return hash;
}

}  // namespace

const TagRow* lookupTagName(const char16_t* units, std::size_t length)
{
    if (length < kTagNameMinLength || length > kTagNameMaxLength) return nullptr;
    std::uint32_t slot = tagSlot(units, length);
    if (slot >= kTagSlotCount) return nullptr;
    std::int16_t row = kTagSlots[slot];
    if (row < 0) return nullptr;
    const TagRow& candidate = kTagRows[row];
    return matchesRow(units, length, candidate.name, candidate.length) ? &candidate : nullptr;
}

const AttributeRow* lookupAttributeName(const char16_t* units, std::size_t length)
{
    if (length < kAttributeNameMinLength || length > kAttributeNameMaxLength) return nullptr;
    std::uint32_t slot = attributeSlot(units, length);
    if (slot >= kAttributeSlotCount) return nullptr;
    std::int16_t row = kAttributeSlots[slot];
    if (row < 0) return nullptr;
    const AttributeRow& candidate = kAttributeRows[row];
    return matchesRow(units, length, candidate.name, candidate.length) ? &candidate : nullptr;
}

const ForeignAttributeRow* lookupForeignAttribute(const char16_t* units, std::size_t length)
{
    if (length < kForeignAttributeMinLength || length > kForeignAttributeMaxLength) return nullptr;
    std::uint32_t slot = foreignAttributeSlot(units, length);
    if (slot >= kForeignAttributeSlotCount) return nullptr;
    std::int8_t row = kForeignAttributeSlots[slot];
    if (row < 0) return nullptr;
    const ForeignAttributeRow& candidate = kForeignAttributeRows[row];
    return matchesRow(units, length, candidate.qualifiedName, candidate.length) ? &candidate : nullptr;
}

const char16_t* tagNameText(std::int32_t row)
{
    if (row < 0 || row >= kTagNameListSize) return nullptr;
    return kTagNameList[row];
}

const TagRow* tagRowById(TagId id)
{
    auto row = static_cast<std::int32_t>(id);
    if (row < 0 || row >= kTagCount) return nullptr;
    return &kTagRows[row];
}

const AttributeRow* attributeRowById(AttributeId id)
{
    auto row = static_cast<std::int32_t>(id);
    if (row < 0 || row >= kAttributeCount) return nullptr;
    return &kAttributeRows[row];
}

const ForeignAttributeRow* foreignAttributeRowByNumber(std::int32_t number)
{
    if (number < 0 || number >= kForeignAttributeCount) return nullptr;
    return &kForeignAttributeRows[number];
}

namespace {

// The texts of a list of `count` rows as UStrings; empty for a row without.
template <typename TextOf>
std::vector<UString> listStrings(std::int32_t count, TextOf textOf)
{
    std::vector<UString> made(static_cast<std::size_t>(count));
    for (std::int32_t row = 0; row < count; ++row) {
        if (const char16_t* text = textOf(row)) made[static_cast<std::size_t>(row)] = text;
    }
    return made;
}

}  // namespace

const std::vector<UString>& tagNameStrings()
{
    static const std::vector<UString> texts = listStrings(kTagNameListSize, tagNameText);
    return texts;
}

const std::vector<UString>& attributeNameStrings()
{
    static const std::vector<UString> texts = listStrings(kAttributeCount, [](std::int32_t id) {
        const AttributeRow* row = attributeRowById(static_cast<AttributeId>(id));
        return row ? row->name : nullptr;
    });
    return texts;
}

bool isAttributeNameListText(const UString* text)
{
    const std::vector<UString>& texts = attributeNameStrings();
    const std::less<const UString*> before;
    return !before(text, texts.data()) && before(text, texts.data() + texts.size());
}

}  // namespace Parsers
