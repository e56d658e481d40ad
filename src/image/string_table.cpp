#include "image/string_table.h"

namespace Parsers {

StringTable::StringTable(std::size_t expectedStrings)
{
    numbers.max_load_factor(1.0f);
    numbers.reserve(expectedStrings < 8 ? 8 : expectedStrings);
    entries.reserve(expectedStrings);
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
