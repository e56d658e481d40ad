// The children of a node.
//
// Every node has a child list, and most nodes (texts above all) never have a
// child, so the list is one pointer wide: to its array, which begins with the
// heap it came from, its size and its capacity; or, while there is no array,
// to the heap the first one will come from, marked in the lowest bit. Most
// elements that have children have one, so a list of one child points to a
// smaller block, of the heap and the child alone, marked in the second bit.
// A list made during a parse draws its blocks from the parse's heap (see
// makeNode), any other list from the general allocator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "dom/parse_heap.h"
#include "library/shared_types.h"

namespace Parsers {

class NodeList {
public:
    using value_type = NodeRef;
    using iterator = NodeRef*;
    using const_iterator = const NodeRef*;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    // A list whose array comes from the general allocator.
    NodeList() noexcept = default;
    // A list whose array comes from `source` (the general allocator for null).
    explicit NodeList(ParseHeap* source) noexcept : bits(emptyOn(source)) {}
    // Takes the other list's children and array; the other list is left empty,
    // drawing on the same heap as before.
    NodeList(NodeList&& other) noexcept : bits(other.bits) { other.bits = emptyOn(other.heap()); }
    NodeList& operator=(NodeList&& other) noexcept
    {
        if (this == &other) return *this;
        releaseArray();
        bits = other.bits;
        other.bits = emptyOn(heap());
        return *this;
    }
    NodeList(const NodeList&) = delete;
    NodeList& operator=(const NodeList&) = delete;
    ~NodeList()
    {
        if ((bits & kNoArray) == 0) releaseBlock();
    }

    // The heap the list's array comes from; null for the general allocator.
    ParseHeap* heap() const noexcept
    {
        if ((bits & kNoArray) != 0) return reinterpret_cast<ParseHeap*>(bits & ~kNoArray);
        return blockHeap();
    }
    std::size_t size() const noexcept { return (bits & kSingle) != 0 ? 1 : sizeOfArray(); }
    bool empty() const noexcept { return size() == 0; }

    iterator begin() noexcept { return items(); }
    iterator end() noexcept { return items() + size(); }
    const_iterator begin() const noexcept { return items(); }
    const_iterator end() const noexcept { return items() + size(); }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    NodeRef& operator[](std::size_t index) noexcept { return items()[index]; }
    const NodeRef& operator[](std::size_t index) const noexcept { return items()[index]; }
    NodeRef& front() noexcept { return items()[0]; }
    const NodeRef& front() const noexcept { return items()[0]; }
    NodeRef& back() noexcept { return items()[size() - 1]; }
    const NodeRef& back() const noexcept { return items()[size() - 1]; }

    void push_back(NodeRef node);
    void pop_back() noexcept;
    // Inserts in front of `position`; returns where the node now is.
    iterator insert(const_iterator position, NodeRef node);
    // Removes the entry at `position`; returns the position of the next one.
    iterator erase(const_iterator position) noexcept;
    // Releases every entry and keeps an array for new ones.
    void clear() noexcept;
    // Moves the entries to a block of exactly their number when the array has
    // room to spare: for a list that will hardly grow again.
    void shrinkToFit();

private:
    // The start of an array: the entries follow it.
    struct Array {
        ParseHeap* heap;
        std::uint32_t size;
        std::uint32_t capacity;
    };
    static_assert(sizeof(Array) % alignof(NodeRef) == 0);
    // The block of a list of one child.
    struct Single {
        ParseHeap* heap;
        NodeRef child;
    };
    static constexpr std::uintptr_t kNoArray = 1;
    static constexpr std::uintptr_t kSingle = 2;

    // The bytes of an array with room for `capacity` entries.
    static std::size_t arrayBytes(std::uint32_t capacity) noexcept;

    static std::uintptr_t emptyOn(ParseHeap* source) noexcept
    {
        return reinterpret_cast<std::uintptr_t>(source) | kNoArray;
    }
    Array* array() const noexcept
    {
        return (bits & (kNoArray | kSingle)) != 0 ? nullptr : reinterpret_cast<Array*>(bits);
    }
    Single* single() const noexcept
    {
        return (bits & kSingle) != 0 ? reinterpret_cast<Single*>(bits & ~kSingle) : nullptr;
    }
    NodeRef* items() const noexcept
    {
        if (Single* one = single()) return &one->child;
        Array* start = array();
        return start ? reinterpret_cast<NodeRef*>(start + 1) : nullptr;
    }
    std::size_t sizeOfArray() const noexcept
    {
        Array* start = array();
        return start ? start->size : 0;
    }
    // Frees the block of a list of one child, whose child is gone; the list
    // is empty afterwards.
    void releaseSingle(Single* one) noexcept;
    // Room for at least one more entry, the entries moved to a larger array
    // when the present one is full.
    void reserveOneMore();
    // Releases the entries and gives the block back, if there is one.
    void releaseArray() noexcept
    {
        if ((bits & kNoArray) == 0) releaseBlock();
    }
    void releaseBlock() noexcept;
    // The heap named at the start of the block of a list with children.
    ParseHeap* blockHeap() const noexcept;

    // An Array*, or the heap for the first array with kNoArray set.
    std::uintptr_t bits = kNoArray;
};

}  // namespace Parsers
