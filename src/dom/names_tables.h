// The generated tables behind the name lookups, defined in names_tables.cpp
// (written by tools/gen/gen_names.py) and read by names.cpp only.
//
// Each hash adds, onto the key's length, the associated values of the low
// bytes of a few fixed units of the key. The sum indexes the slot table, whose
// entry is the number of the one row that can match, or -1. A byte that no
// name has at a hashed place carries the slot count as its value, so any key
// with such a byte lands past the table and is refused without a comparison.
// Rows are in id order, so a slot's row number is also the row's id.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dom/names.h"

namespace Parsers::NameTables {

// Length gates of the three lookups: the shortest and longest name of each
// table. A key outside them is refused before any unit of it is read.
inline constexpr std::size_t kTagNameMinLength = 1;
inline constexpr std::size_t kTagNameMaxLength = 19;
inline constexpr std::size_t kAttributeNameMinLength = 1;
inline constexpr std::size_t kAttributeNameMaxLength = 28;
inline constexpr std::size_t kForeignAttributeMinLength = 5;
inline constexpr std::size_t kForeignAttributeMaxLength = 13;

extern const TagRow kTagRows[kTagCount];
extern const char16_t* const kTagNameList[kTagNameListSize];
extern const std::uint16_t kTagAssociatedValues[256];
extern const std::uint32_t kTagSlotCount;
extern const std::int16_t kTagSlots[];

extern const AttributeRow kAttributeRows[kAttributeCount];
extern const std::uint16_t kAttributeAssociatedValues[256];
extern const std::uint32_t kAttributeSlotCount;
extern const std::int16_t kAttributeSlots[];

extern const ForeignAttributeRow kForeignAttributeRows[kForeignAttributeCount];
extern const std::uint8_t kForeignAttributeAssociatedValues[256];
extern const std::uint32_t kForeignAttributeSlotCount;
extern const std::int8_t kForeignAttributeSlots[];

}  // namespace Parsers::NameTables
