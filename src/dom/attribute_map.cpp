#include "dom/attribute_map.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace Parsers {

namespace {

bool keyBefore(const AttributeMap::value_type& entry, std::u16string_view key)
{
    return std::u16string_view(entry.first) < key;
}

// The entry for a key: a name of the list is kept as the list's text.
AttributeMap::value_type makeEntry(const UString& key, const AttributeRef& value)
{
    AttributeMap::value_type entry{CompactText(), value};
    const AttributeRow* row = key.empty() ? nullptr : lookupAttributeName(key.data(), key.size());
    if (row) {
        entry.first.refer(attributeNameStrings()[static_cast<std::size_t>(row->id)]);
    } else {
        entry.first = key;
    }
    return entry;
}

}  // namespace

void AttributeMap::sortPending() const
{
    std::sort(storage()->entries.begin(), storage()->entries.end(),
              [](const value_type& a, const value_type& b) { return a.first < b.first; });
    storage()->pendingIndex.reset();
}

AttributeMap::Storage* AttributeMap::newStorage() const
{
    ParseHeap* source = heap();
    if (!source) return new Storage(nullptr);
    return new (source->allocate(sizeof(Storage))) Storage(source);
}

void AttributeMap::deleteStorage(Storage* gone) noexcept
{
    ParseHeap* from = gone->heap();
    if (!from) {
        delete gone;
        return;
    }
    gone->~Storage();
    from->deallocate(gone, sizeof(Storage));
}

AttributeMap::Entries& AttributeMap::ownEntries()
{
    if (!storage()) {
        hold(newStorage());
    } else if (storage()->sharers > 1) {
        // Changes go to an array of this map's own.
        Storage* own = newStorage();
        try {
            own->entries = sortedEntries();
        } catch (...) {
            deleteStorage(own);
            throw;
        }
        --storage()->sharers;
        hold(own);
    }
    return storage()->entries;
}

void AttributeMap::replaceEntries(Entries&& entries)
{
    if (entries.empty()) {
        release();
        return;
    }
    if (!storage() || storage()->sharers > 1) {
        Storage* own = newStorage();
        own->entries = std::move(entries);
        release();
        hold(own);
        return;
    }
    storage()->entries = std::move(entries);
    storage()->pendingIndex.reset();
}

AttributeMap::const_iterator AttributeMap::lowerBound(std::u16string_view key) const
{
    const Entries& sorted = sortedEntries();
    return std::lower_bound(sorted.begin(), sorted.end(), key, keyBefore);
}

AttributeMap::const_iterator AttributeMap::find(std::u16string_view key) const
{
    const auto position = lowerBound(key);
    return position != end() && position->first == key ? position : end();
}

const AttributeRef& AttributeMap::at(std::u16string_view key) const
{
    const auto found = find(key);
    if (found == end()) throw std::out_of_range("AttributeMap::at");
    return found->second;
}

AttributeRef& AttributeMap::operator[](std::u16string_view key)
{
    // The entry's place is taken before the array may be given up for a copy
    // of its own; the copy has the same order.
    const auto entry = try_emplace(UString(key), AttributeRef()).first;
    const auto offset = static_cast<std::size_t>(entry - storage()->entries.cbegin());
    return ownEntries()[offset].second;
}

std::pair<AttributeMap::const_iterator, bool> AttributeMap::try_emplace(UString key,
                                                                         const AttributeRef& value)
{
    const bool own = !storage() || storage()->sharers == 1;
    // A map of its own that gathers out of order checks its keys in its index:
    // a search of the array would sort it.
    if (own && storage() && storage()->pendingIndex) return tryAppend(std::move(key), value);
    if (own && (!storage() || storage()->entries.back().first < key)) {
        // In order: most tags write their attributes so, or have few. The
        // array grows from one entry: most maps keep a single attribute, and
        // room for more made at the start stayed unused in most elements.
        Entries& entries = ownEntries();
        entries.push_back(makeEntry(key, value));
        return {entries.cend() - 1, true};
    }
    const auto existing = find(key);
    if (existing != end()) return {existing, false};
    Entries& entries = ownEntries();
    if (entries.size() >= kSortedInsertLimit) {
        auto index = std::make_unique<std::map<UString, std::uint32_t, std::less<>>>();
        for (std::size_t position = 0; position < entries.size(); ++position) {
            index->emplace_hint(index->end(), entries[position].first,
                                static_cast<std::uint32_t>(position));
        }
        storage()->pendingIndex = std::move(index);
        return tryAppend(std::move(key), value);
    }
    const auto position = std::lower_bound(entries.begin(), entries.end(), key, keyBefore);
    return {entries.insert(position, makeEntry(key, value)), true};
}

std::pair<AttributeMap::const_iterator, bool> AttributeMap::tryAppend(UString key,
                                                                       const AttributeRef& value)
{
    Entries& entries = storage()->entries;
    const auto [indexed, added] =
        storage()->pendingIndex->try_emplace(key, static_cast<std::uint32_t>(entries.size()));
    if (!added) return {entries.cbegin() + indexed->second, false};
    entries.push_back(makeEntry(key, value));
    return {entries.cend() - 1, true};
}

std::size_t AttributeMap::erase(std::u16string_view key)
{
    const auto found = find(key);
    if (found == end()) return 0;
    const auto offset = found - begin();
    Entries& entries = ownEntries();
    entries.erase(entries.begin() + offset);
    if (entries.empty()) release();
    return 1;
}

}  // namespace Parsers
