#include "dom/character_text.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace Parsers {

CharacterText::CharacterText(std::u16string_view units, ParseHeap* heap) : external(nullptr)
{
    append(units, heap);
}

void CharacterText::assign(std::u16string_view units, ParseHeap* heap)
{
    length = 0;
    append(units, heap);
}

void CharacterText::growAndAppend(std::size_t needed, std::u16string_view extra, ParseHeap* heap)
{
    constexpr std::size_t kLargest = std::numeric_limits<std::uint32_t>::max();
    if (needed > kLargest) throw std::bad_alloc();
    // Doubling keeps a text that grows a unit at a time linear in its length.
    const std::size_t grown = std::min(kLargest, std::max(needed, std::size_t{2} * capacity));
    auto* block = static_cast<char16_t*>(allocateOn(heap, grown * sizeof(char16_t)));
    std::memcpy(block, data(), std::size_t{length} * sizeof(char16_t));
    if (!extra.empty()) std::memcpy(block + length, extra.data(), extra.size() * sizeof(char16_t));
    if (!isInline()) releaseOn(heap, external, std::size_t{capacity} * sizeof(char16_t));
    external = block;
    capacity = static_cast<std::uint32_t>(grown);
    length = static_cast<std::uint32_t>(needed);
}

void CharacterText::release(ParseHeap* heap) noexcept
{
    if (!isInline()) releaseOn(heap, external, std::size_t{capacity} * sizeof(char16_t));
    capacity = kInlineUnits;
    length = 0;
}

}  // namespace Parsers
