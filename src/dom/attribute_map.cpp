#include "dom/attribute_map.h"

#include <algorithm>
#include <stdexcept>

namespace Parsers {

namespace {

bool keyBefore(const AttributeMap::value_type& entry, std::u16string_view key)
{
    return std::u16string_view(entry.first) < key;
}

}  // namespace

void AttributeMap::sortPending() const
{
    std::sort(entries.begin(), entries.end(),
              [](const value_type& a, const value_type& b) { return a.first < b.first; });
    pendingIndex.reset();
}

AttributeMap::const_iterator AttributeMap::lowerBound(std::u16string_view key) const
{
    const std::vector<value_type>& sorted = sortedEntries();
    return std::lower_bound(sorted.begin(), sorted.end(), key, keyBefore);
}

AttributeMap::iterator AttributeMap::find(std::u16string_view key)
{
    const auto position = entries.begin() + (lowerBound(key) - entries.cbegin());
    return position != entries.end() && position->first == key ? position : entries.end();
}

AttributeMap::const_iterator AttributeMap::find(std::u16string_view key) const
{
    const auto position = lowerBound(key);
    return position != entries.cend() && position->first == key ? position : entries.cend();
}

AttributeRef& AttributeMap::at(std::u16string_view key)
{
    const auto found = find(key);
    if (found == entries.end()) throw std::out_of_range("AttributeMap::at");
    return found->second;
}

const AttributeRef& AttributeMap::at(std::u16string_view key) const
{
    const auto found = find(key);
    if (found == entries.cend()) throw std::out_of_range("AttributeMap::at");
    return found->second;
}

AttributeRef& AttributeMap::operator[](std::u16string_view key)
{
    return try_emplace(UString(key), AttributeRef()).first->second;
}

std::pair<AttributeMap::iterator, bool> AttributeMap::try_emplace(UString key,
                                                                   const AttributeRef& value)
{
    if (pendingIndex) return tryAppend(std::move(key), value);
    if (entries.empty() || entries.back().first < key) {
        // In order: most tags write their attributes so, or have few. Room
        // for a few from the start spares the first steps of growth.
        if (entries.empty()) entries.reserve(kFirstCapacity);
        entries.emplace_back(std::move(key), value);
        return {entries.end() - 1, true};
    }
    const auto position = entries.begin() + (lowerBound(key) - entries.cbegin());
    if (position != entries.end() && position->first == key) return {position, false};
    if (entries.size() >= kSortedInsertLimit) {
        pendingIndex = std::make_unique<std::map<UString, std::uint32_t, std::less<>>>();
        for (std::size_t index = 0; index < entries.size(); ++index) {
            pendingIndex->emplace_hint(pendingIndex->end(), entries[index].first,
                                       static_cast<std::uint32_t>(index));
        }
        return tryAppend(std::move(key), value);
    }
    return {entries.insert(position, value_type(std::move(key), value)), true};
}

std::pair<AttributeMap::iterator, bool> AttributeMap::tryAppend(UString key,
                                                                 const AttributeRef& value)
{
    const auto [indexed, added] =
        pendingIndex->try_emplace(key, static_cast<std::uint32_t>(entries.size()));
    if (!added) return {entries.begin() + indexed->second, false};
    entries.emplace_back(std::move(key), value);
    return {entries.end() - 1, true};
}

std::size_t AttributeMap::erase(std::u16string_view key)
{
    const auto found = find(key);
    if (found == entries.end()) return 0;
    entries.erase(found);
    return 1;
}

}  // namespace Parsers
