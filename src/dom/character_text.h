// The text of a TextNode or a Comment.
//
// A parse makes a text node for nearly every run of characters between two
// tags, so both the text object and its units count. The object takes 16
// bytes. While every unit of a text is below 256, as in most texts, its
// units take one byte each; the first unit at or above 256 widens the whole
// text to two bytes a unit. Up to eight bytes of units stand in the place of
// the pointer to them; a longer text takes a block from a heap, or from the
// general allocator without one. The text does not keep the heap: its owner,
// which knows it already, passes the same heap to every call that may take or
// give back a block, and gives the block back with release() before the text
// goes. No zero unit follows the units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "dom/parse_heap.h"
#include "library/shared_types.h"

namespace Parsers {

class CharacterText {
public:
    CharacterText() noexcept : external(nullptr) {}
    CharacterText(std::u16string_view units, ParseHeap* heap) : external(nullptr) { append(units, heap); }
    CharacterText(const CharacterText&) = delete;
    CharacterText& operator=(const CharacterText&) = delete;

    // Replaces the text.
    void assign(std::u16string_view units, ParseHeap* heap);
    // Inline: a parse appends to its texts for nearly every run and unit.
    void append(std::u16string_view extra, ParseHeap* heap)
    {
        const std::size_t needed = std::size_t{length} + extra.size();
        if (needed <= unitCapacity()) {
            if (wide) {
                // memmove: the new units may be some of the text's own.
                if (!extra.empty()) std::memmove(wideUnits() + length, extra.data(), extra.size() * 2);
                length = static_cast<std::uint32_t>(needed);
                return;
            }
            if (narrowInto(narrowUnits() + length, extra)) {
                length = static_cast<std::uint32_t>(needed);
                return;
            }
        }
        appendAndGrow(extra, heap);
    }
    void push_back(char16_t unit, ParseHeap* heap)
    {
        if (length < unitCapacity()) {
            if (wide) {
                wideUnits()[length++] = unit;
                return;
            }
            if (unit < 256) {
                narrowUnits()[length++] = static_cast<std::uint8_t>(unit);
                return;
            }
        }
        appendAndGrow(std::u16string_view(&unit, 1), heap);
    }
    // Appends the units of another text.
    void append(const CharacterText& other, ParseHeap* heap);
    // Gives the block back; the text is empty afterwards.
    void release(ParseHeap* heap) noexcept;

    std::size_t size() const { return length; }
    bool empty() const { return length == 0; }
    // True once a unit at or above 256 made the units two bytes each.
    bool isWide() const { return wide != 0; }
    // The units, one byte each, of a text that is not wide.
    const std::uint8_t* narrowData() const { return isInline() ? inlineBytes : static_cast<std::uint8_t*>(external); }
    // The units of a wide text.
    const char16_t* wideData() const
    {
        return isInline() ? inlineUnits : static_cast<char16_t*>(external);
    }
    // The unit at `index`, whatever the width.
    char16_t operator[](std::size_t index) const { return wide ? wideData()[index] : narrowData()[index]; }
    // The units at two bytes each, appended to `out`.
    void appendTo(UString& out) const;
    UString str() const
    {
        UString out;
        appendTo(out);
        return out;
    }

private:
    static constexpr std::uint32_t kInlineBytes = 8;

    bool isInline() const { return capacityBytes <= kInlineBytes; }
    std::size_t unitCapacity() const { return wide ? capacityBytes / 2 : capacityBytes; }
    std::uint8_t* narrowUnits() { return const_cast<std::uint8_t*>(narrowData()); }
    char16_t* wideUnits() { return const_cast<char16_t*>(wideData()); }
    // Copies the low bytes of the units to `to`; false when one of the units
    // is 256 or above, whose bytes then mean nothing.
    static bool narrowInto(std::uint8_t* to, std::u16string_view from)
    {
        char16_t high = 0;
        for (std::size_t index = 0; index < from.size(); ++index) {
            high |= from[index];
            to[index] = static_cast<std::uint8_t>(from[index]);
        }
        return high < 256;
    }
    // Appends `extra` where the room or the width does not suffice: moves the
    // units to a larger block, wide when one of them needs it.
    void appendAndGrow(std::u16string_view extra, ParseHeap* heap);
    // Moves the units to a new block of room for at least `units` units, of
    // two bytes each when `wideAfter`. A text that was wide stays wide.
    void grow(std::size_t units, bool wideAfter, ParseHeap* heap);

    union {
        void* external;
        std::uint8_t inlineBytes[kInlineBytes];
        char16_t inlineUnits[kInlineBytes / 2];
    };
    std::uint32_t length = 0;
    // One type for both fields: some compilers give fields of different
    // types separate words.
    std::uint32_t capacityBytes : 31 = kInlineBytes;
    std::uint32_t wide : 1 = 0;
};

// Unit for unit, whatever the width of the text.
bool operator==(const CharacterText& text, std::u16string_view other);
bool operator==(const CharacterText& text, const CharacterText& other);

// An empty text that lasts, for answers that are references to a text.
const CharacterText& sharedEmptyText();

}  // namespace Parsers
