// The text of a TextNode or a Comment.
//
// A parse makes a text node for nearly every run of characters between two
// tags, so the size of the text object itself counts: 16 bytes, where a
// string with its allocator takes 40. Up to four units stand in the place of
// the pointer to the units; a longer text takes a block from a heap, or from
// the general allocator without one. The text does not keep the heap: its
// owner, which knows it already, passes the same heap to every call that may
// take or give back a block, and gives the text's block back with release()
// before the text goes. No zero unit follows the units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "dom/parse_heap.h"

namespace Parsers {

class CharacterText {
public:
    CharacterText(std::u16string_view units, ParseHeap* heap);
    CharacterText(const CharacterText&) = delete;
    CharacterText& operator=(const CharacterText&) = delete;

    // Replaces the text.
    void assign(std::u16string_view units, ParseHeap* heap);
    // Inline: a parse appends to its texts for nearly every run and unit.
    void append(std::u16string_view extra, ParseHeap* heap)
    {
        const std::size_t needed = std::size_t{length} + extra.size();
        if (needed > capacity) {
            growAndAppend(needed, extra, heap);
            return;
        }
        // memmove: the new units may be some of the text's own.
        if (!extra.empty()) std::memmove(units() + length, extra.data(), extra.size() * sizeof(char16_t));
        length = static_cast<std::uint32_t>(needed);
    }
    void push_back(char16_t unit, ParseHeap* heap)
    {
        if (length < capacity) {
            units()[length++] = unit;
        } else {
            growAndAppend(std::size_t{length} + 1, std::u16string_view(&unit, 1), heap);
        }
    }
    // Gives the block back; the text is empty afterwards.
    void release(ParseHeap* heap) noexcept;

    std::size_t size() const { return length; }
    bool empty() const { return length == 0; }
    const char16_t* data() const { return isInline() ? inlineUnits : external; }
    std::u16string_view view() const { return std::u16string_view(data(), length); }
    operator std::u16string_view() const { return view(); }

private:
    static constexpr std::uint32_t kInlineUnits = 4;

    bool isInline() const { return capacity <= kInlineUnits; }
    char16_t* units() { return isInline() ? inlineUnits : external; }
    // Room for `needed` units, the units there so far kept. `extra` is a
    // text to copy behind them, read before an old block goes: it may lie
    // in that block.
    void growAndAppend(std::size_t needed, std::u16string_view extra, ParseHeap* heap);

    union {
        char16_t* external;
        char16_t inlineUnits[kInlineUnits];
    };
    std::uint32_t length = 0;
    std::uint32_t capacity = kInlineUnits;
};

inline bool operator==(const CharacterText& text, std::u16string_view other)
{
    return text.view() == other;
}

}  // namespace Parsers
