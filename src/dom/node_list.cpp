#include "dom/node_list.h"

#include <algorithm>
#include <new>
#include <utility>

#include "dom/node.h"

namespace Parsers {

namespace {

// Past this many entries a doubling would not fit the 32-bit capacity.
constexpr std::uint32_t kLargestCapacity = 0x40000000u;

}  // namespace

std::size_t NodeList::arrayBytes(std::uint32_t capacity) noexcept
{
    return sizeof(Array) + capacity * sizeof(NodeRef);
}

ParseHeap* NodeList::blockHeap() const noexcept
{
    if (Single* one = single()) return one->heap;
    return array()->heap;
}

void NodeList::push_back(NodeRef node)
{
    if ((bits & kNoArray) != 0) {
        ParseHeap* source = heap();
        void* block = allocateOn(source, sizeof(Single));
        bits = reinterpret_cast<std::uintptr_t>(new (block) Single{source, std::move(node)}) | kSingle;
        return;
    }
    reserveOneMore();
    Array* start = array();
    new (items() + start->size) NodeRef(std::move(node));
    ++start->size;
}

void NodeList::pop_back() noexcept
{
    if (Single* one = single()) {
        releaseSingle(one);
        return;
    }
    Array* start = array();
    --start->size;
    items()[start->size].~NodeRef();
}

void NodeList::releaseSingle(Single* one) noexcept
{
    // The list is empty before the child goes, as an array's size drops
    // before its entry goes.
    ParseHeap* source = one->heap;
    bits = emptyOn(source);
    one->~Single();
    releaseOn(source, one, sizeof(Single));
}

NodeList::iterator NodeList::insert(const_iterator position, NodeRef node)
{
    const std::size_t index = static_cast<std::size_t>(position - items());
    if (empty() && !array()) {
        push_back(std::move(node));
        return items();
    }
    reserveOneMore();
    Array* start = array();
    NodeRef* first = items();
    NodeRef* last = first + start->size;
    new (last) NodeRef();
    ++start->size;
    std::move_backward(first + index, last, last + 1);
    first[index] = std::move(node);
    return first + index;
}

NodeList::iterator NodeList::erase(const_iterator position) noexcept
{
    const std::size_t index = static_cast<std::size_t>(position - items());
    NodeRef* first = items();
    std::move(first + index + 1, first + size(), first + index);
    pop_back();
    return items() + index;
}

void NodeList::clear() noexcept
{
    if (Single* one = single()) {
        releaseSingle(one);
        return;
    }
    while (!empty()) pop_back();
}

void NodeList::shrinkToFit()
{
    Array* old = array();
    if (!old || old->size == old->capacity) return;
    ParseHeap* source = old->heap;
    const std::uint32_t size = old->size;
    NodeRef* present = items();
    if (size == 0) {
        releaseOn(source, old, arrayBytes(old->capacity));
        bits = emptyOn(source);
        return;
    }
    std::uintptr_t moved;
    NodeRef* to;
    if (size == 1) {
        auto* one = new (allocateOn(source, sizeof(Single))) Single{source, NodeRef()};
        moved = reinterpret_cast<std::uintptr_t>(one) | kSingle;
        to = &one->child;
    } else {
        auto* exact = new (allocateOn(source, arrayBytes(size))) Array{source, size, size};
        moved = reinterpret_cast<std::uintptr_t>(exact);
        to = reinterpret_cast<NodeRef*>(exact + 1);
        for (std::uint32_t index = 0; index < size; ++index) new (to + index) NodeRef();
    }
    for (std::uint32_t index = 0; index < size; ++index) {
        to[index] = std::move(present[index]);
        present[index].~NodeRef();
    }
    releaseOn(source, old, arrayBytes(old->capacity));
    bits = moved;
}

void NodeList::reserveOneMore()
{
    Array* old = array();
    Single* one = single();
    const auto size = static_cast<std::uint32_t>(this->size());
    // A list of one child has exactly the room for it.
    const std::uint32_t capacity = old ? old->capacity : size;
    if (size < capacity) return;
    if (capacity >= kLargestCapacity) throw std::bad_alloc();
    // Doubling from one.
    const std::uint32_t grownCapacity = capacity == 0 ? 1 : 2 * capacity;
    ParseHeap* source = heap();
    void* block = allocateOn(source, arrayBytes(grownCapacity));
    auto* grown = new (block) Array{source, size, grownCapacity};
    auto* moved = reinterpret_cast<NodeRef*>(grown + 1);
    NodeRef* present = items();
    for (std::uint32_t index = 0; index < size; ++index) {
        new (moved + index) NodeRef(std::move(present[index]));
        present[index].~NodeRef();
    }
    if (one) {
        // The child is moved out; the block goes without touching it again.
        releaseOn(source, one, sizeof(Single));
    } else if (old) {
        releaseOn(source, old, arrayBytes(capacity));
    }
    bits = reinterpret_cast<std::uintptr_t>(grown);
}

void NodeList::releaseBlock() noexcept
{
    if (Single* one = single()) {
        releaseSingle(one);
        return;
    }
    Array* start = array();
    clear();
    ParseHeap* source = start->heap;
    releaseOn(source, start, arrayBytes(start->capacity));
    bits = emptyOn(source);
}

}  // namespace Parsers
