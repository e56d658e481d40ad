// The attributes of a tag or an element by qualified name, ordered by the
// 16-bit units of the name (a name sorts before any longer name that it
// begins), as an ordered map.
//
// Tags have a handful of attributes, and an element copies its start tag's
// map and walks it again and again while its image is written, so the entries
// lie in one sorted array: a copy is one allocation, a walk reads memory in
// order, and a search halves the array. A tag that gathers many attributes out
// of order would make keeping the array sorted quadratic; past
// kSortedInsertLimit entries such a map takes new entries at its end, finds
// repeated names through a separate ordered index, and sorts itself once, at
// the first look at its order.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "dom/attribute.h"

namespace Parsers {

class AttributeMap {
public:
    using key_type = UString;
    using mapped_type = AttributeRef;
    using value_type = std::pair<UString, AttributeRef>;
    using iterator = std::vector<value_type>::iterator;
    using const_iterator = std::vector<value_type>::const_iterator;

    // Entries kept sorted as they come in; past this many, out of order ones
    // are appended and sorted later.
    static constexpr std::size_t kSortedInsertLimit = 64;
    // The room that the first entry makes.
    static constexpr std::size_t kFirstCapacity = 4;

    AttributeMap() = default;
    AttributeMap(const AttributeMap& other) : entries(other.sortedEntries()) {}
    AttributeMap(AttributeMap&&) noexcept = default;
    AttributeMap& operator=(const AttributeMap& other)
    {
        if (this != &other) {
            entries = other.sortedEntries();
            pendingIndex.reset();
        }
        return *this;
    }
    AttributeMap& operator=(AttributeMap&&) noexcept = default;

    iterator begin() { return sortedEntries().begin(); }
    iterator end() { return sortedEntries().end(); }
    const_iterator begin() const { return sortedEntries().begin(); }
    const_iterator end() const { return sortedEntries().end(); }

    std::size_t size() const { return entries.size(); }
    bool empty() const { return entries.empty(); }

    iterator find(std::u16string_view key);
    const_iterator find(std::u16string_view key) const;
    std::size_t count(std::u16string_view key) const { return find(key) == end() ? 0 : 1; }
    // The value of the key; throws std::out_of_range when there is none.
    AttributeRef& at(std::u16string_view key);
    const AttributeRef& at(std::u16string_view key) const;
    // The value of the key, entered empty first when there is none.
    AttributeRef& operator[](std::u16string_view key);

    // Enters the value under the key unless the key is taken; either way the
    // entry of the key comes back, with true when it is the new one.
    std::pair<iterator, bool> try_emplace(UString key, const AttributeRef& value);
    std::pair<iterator, bool> emplace(UString key, AttributeRef value)
    {
        return try_emplace(std::move(key), value);
    }
    std::size_t erase(std::u16string_view key);
    void clear()
    {
        entries.clear();
        pendingIndex.reset();
    }

    // Enters every entry of `other` whose key this map lacks, in one pass over
    // both, and calls `entered` with each value entered. Entries of this map
    // stay as they are.
    template <typename Entered>
    void mergeMissing(const AttributeMap& other, Entered entered);

private:
    // The entries in order, sorting those gathered out of order first.
    std::vector<value_type>& sortedEntries() const
    {
        if (pendingIndex) sortPending();
        return entries;
    }
    void sortPending() const;
    // Where the key is or would go in the sorted entries.
    const_iterator lowerBound(std::u16string_view key) const;
    // Appends past kSortedInsertLimit, with the index of the keys.
    std::pair<iterator, bool> tryAppend(UString key, const AttributeRef& value);

    // Sorting on the first look at the order changes no content, so it may
    // happen in a reading operation.
    mutable std::vector<value_type> entries;
    // While entries are gathered out of order: the position of each key.
    mutable std::unique_ptr<std::map<UString, std::uint32_t, std::less<>>> pendingIndex;
};

template <typename Entered>
void AttributeMap::mergeMissing(const AttributeMap& other, Entered entered)
{
    const std::vector<value_type>& mine = sortedEntries();
    const std::vector<value_type>& theirs = other.sortedEntries();
    std::vector<value_type> merged;
    merged.reserve(mine.size() + theirs.size());
    auto own = mine.begin();
    for (const value_type& entry : theirs) {
        while (own != mine.end() && own->first < entry.first) merged.push_back(*own++);
        if (own != mine.end() && own->first == entry.first) continue;
        merged.push_back(entry);
        entered(entry.second);
    }
    merged.insert(merged.end(), own, mine.end());
    entries = std::move(merged);
}

}  // namespace Parsers
