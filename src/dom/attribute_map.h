// The attributes of a tag or an element by qualified name, ordered by the
// 16-bit units of the name (a name sorts before any longer name that it
// begins), as an ordered map.
//
// Tags have a handful of attributes, and an element copies its start tag's
// map and walks it again and again while its image is written, so the entries
// lie in one sorted array: a walk reads memory in order, and a search halves
// the array. Copies share the array until one of them changes (an element's
// map almost never does), so an element made from a tag costs no copy of its
// attributes. A tag that gathers many attributes out of order would make
// keeping the array sorted quadratic; past kSortedInsertLimit entries such a
// map takes new entries at its end, finds repeated names through a separate
// ordered index, and sorts itself once, at the first look at its order.
//
// The entries are only read through iterators; every change goes through the
// operations below, which give a shared array up first. A map and its copies
// belong to one thread, as the tree does.
//
// A map given a parse's heap (a tag's map, made by the tokenizer) keeps its
// array there; the copies that share it, and those that give it up for one
// of their own, use the same heap.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "dom/attribute.h"
#include "dom/compact_text.h"
#include "dom/parse_heap.h"

namespace Parsers {

// An entry of the map: the key, and the attribute. The key is one pointer
// wide: the attribute name list's own text for a key that is a name of the
// list, a copy of its own otherwise (see CompactText).
struct AttributeEntry {
    CompactText first;
    AttributeRef second;
};

class AttributeMap {
public:
    using key_type = UString;
    using mapped_type = AttributeRef;
    using value_type = AttributeEntry;
    using const_iterator = const value_type*;
    using iterator = const_iterator;

    // Entries kept sorted as they come in; past this many, out of order ones
    // are appended and sorted later.
    static constexpr std::size_t kSortedInsertLimit = 64;

    AttributeMap() = default;
    // A map whose array, once it has entries, comes from the heap.
    explicit AttributeMap(ParseHeap* source) : held(heldWithout(source)) {}
    AttributeMap(const AttributeMap& other) : held(other.held)
    {
        if (storage()) ++storage()->sharers;
    }
    AttributeMap(AttributeMap&& other) noexcept : held(other.held) { other.held = heldWithout(heap()); }
    AttributeMap& operator=(const AttributeMap& other)
    {
        AttributeMap copy(other);
        std::swap(held, copy.held);
        return *this;
    }
    AttributeMap& operator=(AttributeMap&& other) noexcept
    {
        std::swap(held, other.held);
        return *this;
    }
    ~AttributeMap() { release(); }

    const_iterator begin() const { return storage() ? sortedStorage()->entries() : nullptr; }
    const_iterator end() const { return storage() ? sortedStorage()->entries() + storage()->count : nullptr; }
    std::size_t size() const { return storage() ? storage()->count : 0; }
    // True while copies share the entries.
    bool isShared() const { return storage() && storage()->sharers > 1; }
    // The heap the entries lie on; null for the general allocator.
    ParseHeap* entriesHeap() const { return heap(); }
    bool empty() const { return size() == 0; }

    const_iterator find(std::u16string_view key) const;
    std::size_t count(std::u16string_view key) const { return find(key) == end() ? 0 : 1; }
    // The value of the key; throws std::out_of_range when there is none.
    const AttributeRef& at(std::u16string_view key) const;
    // The value of the key, entered empty first when there is none.
    AttributeRef& operator[](std::u16string_view key);
    // Enters the value under the key unless the key is taken; either way the
    // entry of the key comes back, with true when it is the new one.
    std::pair<const_iterator, bool> try_emplace(UString key, const AttributeRef& value);
    std::pair<const_iterator, bool> emplace(UString key, AttributeRef value)
    {
        return try_emplace(std::move(key), value);
    }
    std::size_t erase(std::u16string_view key);
    void clear() { release(); }

    // Enters every entry of `other` whose key this map lacks, in one pass over
    // both, and calls `entered` with each value entered. Entries of this map
    // stay as they are.
    template <typename Entered>
    void mergeMissing(const AttributeMap& other, Entered entered);

private:
    using PendingIndex = std::map<UString, std::uint32_t, std::less<>>;

    // The array, shared by the copies that have not changed since: one block
    // with this header and room for `capacity` entries behind it, so that a
    // map of one attribute, as most are, takes one small block.
    struct Storage {
        // Where the block comes from; null for the general allocator.
        ParseHeap* heap;
        std::uint32_t sharers = 1;
        std::uint32_t count = 0;
        std::uint32_t capacity : 31;
        // While entries are gathered out of order: the position of each key
        // is in an index of its own (see pendingIndexOf), which few maps
        // ever need.
        std::uint32_t pending : 1;

        value_type* entries() { return reinterpret_cast<value_type*>(this + 1); }
        const value_type* entries() const { return reinterpret_cast<const value_type*>(this + 1); }
    };
    static_assert(sizeof(Storage) % alignof(value_type) == 0, "the entries follow the header");
    static_assert(sizeof(Storage) <= 24, "a map of one attribute takes 40 bytes");

    static Storage* newStorage(ParseHeap* source, std::size_t capacity);
    static void deleteStorage(Storage* gone) noexcept;
    // Appends a copy or a moved entry to a storage with room for one more.
    template <typename Entry>
    static const value_type* appendEntry(Storage& into, Entry&& entry)
    {
        value_type* slot = into.entries() + into.count;
        new (slot) value_type(std::forward<Entry>(entry));
        ++into.count;
        return slot;
    }

    // The storage with its entries in order, sorting those gathered out of
    // order first: that changes no content, so it may happen in a reading
    // operation, and in an array that copies share.
    Storage* sortedStorage() const
    {
        if (storage()->pending) sortPending();
        return storage();
    }
    void sortPending() const;
    // The index of a storage that gathers out of order, which a table keeps
    // by storage; setting one marks the storage pending, dropping it unmarks.
    static PendingIndex& pendingIndexOf(const Storage* storage);
    static void setPendingIndex(Storage* storage, std::unique_ptr<PendingIndex> index);
    static std::unique_ptr<PendingIndex> takePendingIndex(Storage* storage) noexcept;
    // The storage of this map alone, ready to change, with room for `more`
    // further entries.
    Storage& ownStorage(std::size_t more);
    // Makes `own`, a storage of nobody else's, the content of this map,
    // leaving any copies as they are; an empty one goes at once.
    void replaceStorage(Storage* own) noexcept;
    // Where the key is or would go in the sorted entries.
    const_iterator lowerBound(std::u16string_view key) const;
    // Appends past kSortedInsertLimit, with the index of the keys.
    std::pair<const_iterator, bool> tryAppend(UString key, const AttributeRef& value);

    void release() noexcept
    {
        Storage* gone = storage();
        if (!gone) return;
        held = heldWithout(gone->heap);
        if (--gone->sharers == 0) deleteStorage(gone);
    }

    // The map is one word wide: the storage, or while there is none (most
    // elements have no attributes) the heap a storage will come from, marked
    // in the lowest bit.
    static constexpr std::uintptr_t kNoStorage = 1;
    static std::uintptr_t heldWithout(ParseHeap* source) noexcept
    {
        return reinterpret_cast<std::uintptr_t>(source) | kNoStorage;
    }
    Storage* storage() const noexcept
    {
        return (held & kNoStorage) != 0 ? nullptr : reinterpret_cast<Storage*>(held);
    }
    void hold(Storage* own) noexcept { held = reinterpret_cast<std::uintptr_t>(own); }
    // The heap of the storage, or the one a storage will come from.
    ParseHeap* heap() const noexcept
    {
        const Storage* present = storage();
        return present ? present->heap : reinterpret_cast<ParseHeap*>(held & ~kNoStorage);
    }

    std::uintptr_t held = kNoStorage;
};

template <typename Entered>
void AttributeMap::mergeMissing(const AttributeMap& other, Entered entered)
{
    Storage* merged = newStorage(heap(), size() + other.size());
    try {
        const value_type* own = begin();
        const value_type* ownEnd = end();
        for (const value_type& entry : other) {
            while (own != ownEnd && own->first < entry.first) appendEntry(*merged, *own++);
            if (own != ownEnd && own->first == entry.first) continue;
            appendEntry(*merged, entry);
            entered(entry.second);
        }
        for (; own != ownEnd; ++own) appendEntry(*merged, *own);
    } catch (...) {
        deleteStorage(merged);
        throw;
    }
    replaceStorage(merged);
}

}  // namespace Parsers
