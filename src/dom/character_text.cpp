#include "dom/character_text.h"

#include <algorithm>
#include <limits>
#include <new>

namespace Parsers {

namespace {

void widenInto(char16_t* to, const std::uint8_t* from, std::size_t count)
{
    for (std::size_t index = 0; index < count; ++index) to[index] = from[index];
}

}  // namespace

void CharacterText::assign(std::u16string_view units, ParseHeap* heap)
{
    length = 0;
    append(units, heap);
}

void CharacterText::grow(std::size_t units, bool wideAfter, ParseHeap* heap)
{
    constexpr std::size_t kLargest = std::numeric_limits<std::int32_t>::max();
    wideAfter = wideAfter || wide;
    if (isInline() && wideAfter && !wide && units * 2 <= kInlineBytes) {
        // Wide units that still fit stay in place.
        std::uint8_t narrow[kInlineBytes];
        std::memcpy(narrow, inlineBytes, length);
        widenInto(inlineUnits, narrow, length);
        wide = 1;
        return;
    }
    const std::size_t unitBytes = wideAfter ? 2 : 1;
    if (units > kLargest / unitBytes) throw std::bad_alloc();
    // Doubling keeps a text that grows a unit at a time linear in its length.
    const std::size_t grown = std::min(kLargest, std::max(units * unitBytes, std::size_t{2} * capacityBytes));
    void* block = allocateOn(heap, grown);
    if (!wide && wideAfter) {
        widenInto(static_cast<char16_t*>(block), narrowData(), length);
    } else {
        std::memcpy(block, narrowData(), length * unitBytes);
    }
    if (!isInline()) releaseOn(heap, external, capacityBytes);
    external = block;
    capacityBytes = static_cast<std::uint32_t>(grown);
    wide = wideAfter ? 1 : 0;
}

void CharacterText::appendAndGrow(std::u16string_view extra, ParseHeap* heap)
{
    // The units to append may be some of the text's own, in the block that
    // growing gives back: they are copied first then.
    const auto* ownStart = reinterpret_cast<const char*>(wideData());
    const auto* extraStart = reinterpret_cast<const char*>(extra.data());
    if (!extra.empty() && extraStart >= ownStart && extraStart < ownStart + capacityBytes) {
        const UString copy(extra);
        appendAndGrow(copy, heap);
        return;
    }
    const std::size_t needed = std::size_t{length} + extra.size();
    if (!wide) {
        // Most texts stay narrow: the units are copied as they are checked,
        // and only a text that meets a wide unit goes again, wide.
        if (needed > unitCapacity()) grow(needed, false, heap);
        if (narrowInto(narrowUnits() + length, extra)) {
            length = static_cast<std::uint32_t>(needed);
            return;
        }
        grow(needed, true, heap);
    } else if (needed > unitCapacity()) {
        grow(needed, true, heap);
    }
    std::memcpy(wideUnits() + length, extra.data(), extra.size() * 2);
    length = static_cast<std::uint32_t>(needed);
}

void CharacterText::append(const CharacterText& other, ParseHeap* heap)
{
    if (other.wide || wide) {
        append(other.str(), heap);
        return;
    }
    const std::size_t needed = std::size_t{length} + other.length;
    if (needed > unitCapacity()) grow(needed, false, heap);
    std::memmove(narrowUnits() + length, other.narrowData(), other.length);
    length = static_cast<std::uint32_t>(needed);
}

void CharacterText::release(ParseHeap* heap) noexcept
{
    if (!isInline()) releaseOn(heap, external, capacityBytes);
    capacityBytes = kInlineBytes;
    wide = 0;
    length = 0;
}

void CharacterText::appendTo(UString& out) const
{
    if (wide) {
        out.append(wideData(), length);
        return;
    }
    const std::size_t start = out.size();
    out.resize(start + length);
    widenInto(out.data() + start, narrowData(), length);
}

bool operator==(const CharacterText& text, std::u16string_view other)
{
    if (text.size() != other.size()) return false;
    if (text.isWide()) return std::u16string_view(text.wideData(), text.size()) == other;
    const std::uint8_t* units = text.narrowData();
    for (std::size_t index = 0; index < other.size(); ++index) {
        if (units[index] != other[index]) return false;
    }
    return true;
}

bool operator==(const CharacterText& text, const CharacterText& other)
{
    if (text.size() != other.size()) return false;
    if (other.isWide()) return text == std::u16string_view(other.wideData(), other.size());
    if (!text.isWide()) return std::memcmp(text.narrowData(), other.narrowData(), text.size()) == 0;
    const std::uint8_t* units = other.narrowData();
    const char16_t* wideUnits = text.wideData();
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (wideUnits[index] != units[index]) return false;
    }
    return true;
}

const CharacterText& sharedEmptyText()
{
    static const CharacterText empty;
    return empty;
}

}  // namespace Parsers
