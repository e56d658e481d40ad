// Memory for the small objects of one parse: tokens and attributes, each
// together with its reference count, and nodes (see makeNode).
//
// A parse makes some hundred thousand of them per megabyte of input and frees
// them all at its end; through the general allocator that cost a quarter of
// the whole parse. The heap hands out blocks of a few size classes from large
// chunks, one after the other, and keeps freed blocks on a list per class for
// the next object of that size, so that a parse that frees as it goes (a token
// per end tag, an attribute per turn of a loop that never ends) does not grow.
// Objects made one after the other also lie one after the other, in the order
// in which the image writer visits them.
//
// A heap is not shared between threads: everything made from it is made and
// released on the thread of its parse. Its owner (the tokenizer, the tree
// constructor) gives it up with release(); the memory goes back to the system
// when the owner has done so and the last object made from it is gone, so
// nodes and tokens may outlive the objects that made them.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace Parsers {

class ParseHeap {
public:
    // A new heap, owned by the caller until release().
    static ParseHeap* create() { return new ParseHeap(); }
    ParseHeap(const ParseHeap&) = delete;
    ParseHeap& operator=(const ParseHeap&) = delete;

    // The owner is done with the heap; it goes once nothing made from it is
    // alive.
    void release() noexcept;

    // A block of at least `bytes` bytes, aligned to kAlignment. Throws
    // std::bad_alloc. Inline: a parse asks for one per token and node.
    void* allocate(std::size_t bytes)
    {
        if (bytes > kLargestBlock) return allocateLarge(bytes);
        const std::size_t sizeIndex = sizeClass(bytes);
        if (FreeBlock* reused = freeLists[sizeIndex]) {
            freeLists[sizeIndex] = reused->next;
            ++liveBlocks;
            return reused;
        }
        const std::size_t blockBytes = sizeIndex * kGranule;
        if (static_cast<std::size_t>(chunkEnd - chunkNext) < blockBytes) {
            return carveFromNewChunk(blockBytes);
        }
        void* block = chunkNext;
        chunkNext += blockBytes;
        ++liveBlocks;
        return block;
    }
    // Takes back a block of `allocate(bytes)`.
    void deallocate(void* block, std::size_t bytes) noexcept;

    // The alignment of every block: that of pointers and 64-bit numbers, the
    // strictest that the objects of a parse ask for. Blocks are multiples of
    // it, so that an object of 120 bytes takes 120 and not 128.
    static constexpr std::size_t kAlignment = 8;

private:
    // Blocks are multiples of the granule; larger requests go to the general
    // allocator.
    static constexpr std::size_t kGranule = kAlignment;
    static constexpr std::size_t kLargestBlock = 512;
    static constexpr std::size_t kChunkBytes = 64 * 1024;

    struct FreeBlock {
        FreeBlock* next;
    };

    ParseHeap() = default;
    ~ParseHeap();
    static std::size_t sizeClass(std::size_t bytes) { return (bytes + kGranule - 1) / kGranule; }
    // The slow ways, which count the block themselves once they have it.
    void* allocateLarge(std::size_t bytes);
    // A block from a new chunk, the current one being too full for it.
    void* carveFromNewChunk(std::size_t blockBytes);

    std::array<FreeBlock*, kLargestBlock / kGranule + 1> freeLists{};
    std::vector<std::byte*> chunks;
    std::byte* chunkNext = nullptr;
    std::byte* chunkEnd = nullptr;
    std::size_t liveBlocks = 0;
    bool released = false;
};

// A block from the heap, or from the general allocator when there is none.
inline void* allocateOn(ParseHeap* heap, std::size_t bytes)
{
    return heap ? heap->allocate(bytes) : ::operator new(bytes);
}

// Gives back a block of allocateOn(heap, bytes).
inline void releaseOn(ParseHeap* heap, void* block, std::size_t bytes) noexcept
{
    if (heap) {
        heap->deallocate(block, bytes);
    } else {
        ::operator delete(block);
    }
}

// The allocator that makes std::allocate_shared, or a container, take its
// blocks from a heap; without a heap, from the general allocator. A container
// that is given one by move takes its heap along.
template <typename T>
class ParseHeapAllocator {
public:
    using value_type = T;
    using propagate_on_container_move_assignment = std::true_type;
    using propagate_on_container_swap = std::true_type;

    ParseHeapAllocator() noexcept = default;
    explicit ParseHeapAllocator(ParseHeap* source) noexcept : heap(source) {}
    template <typename U>
    ParseHeapAllocator(const ParseHeapAllocator<U>& other) noexcept : heap(other.heap)
    {
    }

    T* allocate(std::size_t count)
    {
        static_assert(alignof(T) <= ParseHeap::kAlignment, "the heap's blocks are not aligned for T");
        return static_cast<T*>(allocateOn(heap, count * sizeof(T)));
    }
    void deallocate(T* block, std::size_t count) noexcept { releaseOn(heap, block, count * sizeof(T)); }

    template <typename U>
    bool operator==(const ParseHeapAllocator<U>& other) const noexcept
    {
        return heap == other.heap;
    }

    ParseHeap* heap = nullptr;
};

// A token or an attribute with its reference count in one block: from the
// heap when there is one, from the general allocator otherwise (objects made
// outside a parse). Nodes count their references themselves: see makeNode.
template <typename T, typename... Arguments>
std::shared_ptr<T> makeShared(ParseHeap* heap, Arguments&&... arguments)
{
    if (!heap) return std::make_shared<T>(std::forward<Arguments>(arguments)...);
    return std::allocate_shared<T>(ParseHeapAllocator<T>(heap), std::forward<Arguments>(arguments)...);
}

// An object that keeps its own texts or arrays on the heap it is made from:
// the heap goes to its constructor as the last argument as well.
template <typename T, typename... Arguments>
std::shared_ptr<T> makeSharedOnHeap(ParseHeap* heap, Arguments&&... arguments)
{
    return makeShared<T>(heap, std::forward<Arguments>(arguments)..., heap);
}

// Owns a heap and releases it at the end of its own life.
class ParseHeapOwner {
public:
    ParseHeapOwner() : owned(ParseHeap::create()) {}
    ~ParseHeapOwner() { owned->release(); }
    ParseHeapOwner(const ParseHeapOwner&) = delete;
    ParseHeapOwner& operator=(const ParseHeapOwner&) = delete;

    ParseHeap* get() const { return owned; }

private:
    ParseHeap* owned;
};

}  // namespace Parsers
