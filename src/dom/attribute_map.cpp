#include "dom/attribute_map.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <unordered_map>

namespace Parsers {

namespace {

bool keyBefore(const AttributeMap::value_type& entry, std::u16string_view key)
{
    return std::u16string_view(entry.first) < key;
}

// The entry for a key: a name of the list is kept as the list's text. The key
// of an attribute without a prefix is its name, which names the list's text
// already when it is a name of the list.
AttributeMap::value_type makeEntry(const UString& key, const AttributeRef& value)
{
    AttributeMap::value_type entry{CompactText(), value};
    const UString* name = value ? value->name.referred() : nullptr;
    if (name && value->prefix.empty() && isAttributeNameListText(name) && *name == key) {
        entry.first.refer(*name);
        return entry;
    }
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
    Storage* sorting = storage();
    std::sort(sorting->entries(), sorting->entries() + sorting->count,
              [](const value_type& a, const value_type& b) { return a.first < b.first; });
    takePendingIndex(sorting);
}

namespace {

// The indexes of the storages that gather out of order, by storage. Maps of
// any parse on any thread share the table, so every use holds its lock; an
// index stays where it is while others come and go, and only its map's
// thread uses it. The table is never destroyed: a map may outlive the static
// objects of the library.
struct PendingIndexes {
    std::mutex lock;
    std::unordered_map<const void*, std::unique_ptr<std::map<UString, std::uint32_t, std::less<>>>> byStorage;
};

PendingIndexes& pendingIndexes()
{
    static PendingIndexes* const table = new PendingIndexes();
    return *table;
}

}  // namespace

AttributeMap::PendingIndex& AttributeMap::pendingIndexOf(const Storage* storage)
{
    PendingIndexes& table = pendingIndexes();
    const std::lock_guard<std::mutex> hold(table.lock);
    return *table.byStorage.at(storage);
}

void AttributeMap::setPendingIndex(Storage* storage, std::unique_ptr<PendingIndex> index)
{
    PendingIndexes& table = pendingIndexes();
    const std::lock_guard<std::mutex> hold(table.lock);
    table.byStorage[storage] = std::move(index);
    storage->pending = 1;
}

std::unique_ptr<AttributeMap::PendingIndex> AttributeMap::takePendingIndex(Storage* storage) noexcept
{
    if (!storage->pending) return nullptr;
    storage->pending = 0;
    PendingIndexes& table = pendingIndexes();
    const std::lock_guard<std::mutex> hold(table.lock);
    const auto found = table.byStorage.find(storage);
    std::unique_ptr<PendingIndex> index = std::move(found->second);
    table.byStorage.erase(found);
    return index;
}

AttributeMap::Storage* AttributeMap::newStorage(ParseHeap* source, std::size_t capacity)
{
    const std::size_t bytes = sizeof(Storage) + capacity * sizeof(value_type);
    void* block = allocateOn(source, bytes);
    return new (block) Storage{source, 1, 0, static_cast<std::uint32_t>(capacity), 0};
}

void AttributeMap::deleteStorage(Storage* gone) noexcept
{
    ParseHeap* from = gone->heap;
    const std::size_t bytes = sizeof(Storage) + std::size_t{gone->capacity} * sizeof(value_type);
    takePendingIndex(gone);
    std::destroy_n(gone->entries(), gone->count);
    gone->~Storage();
    releaseOn(from, gone, bytes);
}

AttributeMap::Storage& AttributeMap::ownStorage(std::size_t more)
{
    Storage* present = storage();
    const std::size_t count = present ? present->count : 0;
    if (present && present->sharers == 1 && present->capacity - count >= more) return *present;
    // A new array: of this map's own when the present one is shared, larger
    // when it is full. It grows from one entry: most maps keep a single
    // attribute, and room for more made at the start stayed unused in most
    // elements.
    const std::size_t capacity =
        present && present->capacity - count < more ? std::max(count + more, 2 * std::size_t{present->capacity})
                                                    : count + more;
    Storage* own = newStorage(heap(), std::max<std::size_t>(capacity, 1));
    if (present) {
        const bool shared = present->sharers > 1;
        try {
            if (shared) {
                sortedStorage();
                for (const value_type& entry : *this) appendEntry(*own, entry);
            } else {
                for (std::uint32_t index = 0; index < present->count; ++index) {
                    appendEntry(*own, std::move(present->entries()[index]));
                }
                if (present->pending) setPendingIndex(own, takePendingIndex(present));
            }
        } catch (...) {
            deleteStorage(own);
            throw;
        }
    }
    release();
    hold(own);
    return *own;
}

void AttributeMap::replaceStorage(Storage* own) noexcept
{
    release();
    if (own->count == 0) {
        deleteStorage(own);
        return;
    }
    hold(own);
}

AttributeMap::const_iterator AttributeMap::lowerBound(std::u16string_view key) const
{
    return std::lower_bound(begin(), end(), key, keyBefore);
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
    const auto offset = static_cast<std::size_t>(entry - begin());
    return ownStorage(0).entries()[offset].second;
}

std::pair<AttributeMap::const_iterator, bool> AttributeMap::try_emplace(UString key,
                                                                         const AttributeRef& value)
{
    const bool own = !storage() || storage()->sharers == 1;
    // A map of its own that gathers out of order checks its keys in its index:
    // a search of the array would sort it.
    if (own && storage() && storage()->pending) return tryAppend(std::move(key), value);
    if (own && (!storage() || storage()->entries()[storage()->count - 1].first < key)) {
        // In order: most tags write their attributes so, or have few.
        value_type entry = makeEntry(key, value);
        return {appendEntry(ownStorage(1), std::move(entry)), true};
    }
    const auto existing = find(key);
    if (existing != end()) return {existing, false};
    Storage& entries = ownStorage(1);
    if (entries.count >= kSortedInsertLimit) {
        auto index = std::make_unique<PendingIndex>();
        for (std::uint32_t position = 0; position < entries.count; ++position) {
            index->emplace_hint(index->end(), entries.entries()[position].first, position);
        }
        setPendingIndex(&entries, std::move(index));
        return tryAppend(std::move(key), value);
    }
    value_type entry = makeEntry(key, value);
    value_type* first = entries.entries();
    value_type* last = first + entries.count;
    value_type* position = std::lower_bound(first, last, key, keyBefore);
    if (position == last) return {appendEntry(entries, std::move(entry)), true};
    // Shifts the entries behind the place one up, the last one into the room.
    appendEntry(entries, std::move(last[-1]));
    std::move_backward(position, last - 1, last);
    *position = std::move(entry);
    return {position, true};
}

std::pair<AttributeMap::const_iterator, bool> AttributeMap::tryAppend(UString key,
                                                                       const AttributeRef& value)
{
    Storage* entries = storage();
    PendingIndex& index = pendingIndexOf(entries);
    const auto [indexed, added] = index.try_emplace(key, entries->count);
    if (!added) return {entries->entries() + indexed->second, false};
    try {
        value_type entry = makeEntry(key, value);
        return {appendEntry(ownStorage(1), std::move(entry)), true};
    } catch (...) {
        index.erase(indexed);
        throw;
    }
}

std::size_t AttributeMap::erase(std::u16string_view key)
{
    const auto found = find(key);
    if (found == end()) return 0;
    const auto offset = found - begin();
    Storage& entries = ownStorage(0);
    value_type* first = entries.entries();
    std::move(first + offset + 1, first + entries.count, first + offset);
    std::destroy_at(first + entries.count - 1);
    --entries.count;
    if (entries.count == 0) release();
    return 1;
}

}  // namespace Parsers
