#include "image/string_table.h"

namespace Parsers {

std::size_t Fnv1aHash::operator()(std::u16string_view text) const noexcept
{
    std::uint64_t hash = 0xcbf29ce484222325ull;
    constexpr std::uint64_t prime = 0x100000001b3ull;
    for (char16_t unit : text) {
        hash = (hash ^ (unit & 0xFFu)) * prime;
        hash = (hash ^ (unit >> 8)) * prime;
    }
    return static_cast<std::size_t>(hash);
}

StringTable::StringTable()
{
    // Eight buckets and a load factor of 1 to begin with, grown as needed.
    numbers.max_load_factor(1.0f);
    numbers.rehash(8);
}

std::uint32_t StringTable::intern(const UString& text)
{
    auto [position, added] =
        numbers.try_emplace(std::u16string_view(text), static_cast<std::uint32_t>(entries.size()));
    if (added) {
        entries.push_back(&text);
        bytes += 2ull * text.size() + 2;
    }
    return position->second;
}

}  // namespace Parsers
