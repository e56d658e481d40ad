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

NodeList& NodeList::operator=(NodeList&& other) noexcept
{
    if (this == &other) return *this;
    releaseArray();
    bits = other.bits;
    other.bits = emptyOn(heap());
    return *this;
}

ParseHeap* NodeList::heap() const noexcept
{
    if (Array* start = array()) return start->heap;
    return reinterpret_cast<ParseHeap*>(bits & ~kNoArray);
}

void NodeList::push_back(NodeRef node)
{
    reserveOneMore();
    Array* start = array();
    new (items() + start->size) NodeRef(std::move(node));
    ++start->size;
}

void NodeList::pop_back() noexcept
{
    Array* start = array();
    --start->size;
    items()[start->size].~NodeRef();
}

NodeList::iterator NodeList::insert(const_iterator position, NodeRef node)
{
    const std::size_t index = static_cast<std::size_t>(position - items());
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
    while (!empty()) pop_back();
}

void NodeList::reserveOneMore()
{
    Array* old = array();
    const std::uint32_t size = old ? old->size : 0;
    const std::uint32_t capacity = old ? old->capacity : 0;
    if (size < capacity) return;
    if (capacity >= kLargestCapacity) throw std::bad_alloc();
    // Doubling from one: most lists hold a single child.
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
    if (old) releaseOn(source, old, arrayBytes(capacity));
    bits = reinterpret_cast<std::uintptr_t>(grown);
}

void NodeList::releaseArray() noexcept
{
    Array* start = array();
    if (!start) return;
    clear();
    ParseHeap* source = start->heap;
    releaseOn(source, start, arrayBytes(start->capacity));
    bits = emptyOn(source);
}

}  // namespace Parsers
