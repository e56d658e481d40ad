#include "dom/parse_heap.h"

#include <new>

namespace Parsers {

ParseHeap::~ParseHeap()
{
    for (std::byte* chunk : chunks) ::operator delete(chunk);
}

void ParseHeap::release() noexcept
{
    released = true;
    if (liveBlocks == 0) delete this;
}

void* ParseHeap::allocate(std::size_t bytes)
{
    if (bytes > kLargestBlock) {
        void* block = ::operator new(bytes);
        ++liveBlocks;
        return block;
    }
    const std::size_t sizeIndex = sizeClass(bytes);
    void* block;
    if (FreeBlock* reused = freeLists[sizeIndex]) {
        freeLists[sizeIndex] = reused->next;
        block = reused;
    } else {
        block = carve(sizeIndex * kGranule);
    }
    ++liveBlocks;
    return block;
}

void ParseHeap::deallocate(void* block, std::size_t bytes) noexcept
{
    if (bytes > kLargestBlock) {
        ::operator delete(block);
    } else {
        const std::size_t sizeIndex = sizeClass(bytes);
        freeLists[sizeIndex] = new (block) FreeBlock{freeLists[sizeIndex]};
    }
    // The last object of a heap whose owner is gone takes the heap with it.
    if (--liveBlocks == 0 && released) delete this;
}

void* ParseHeap::carve(std::size_t blockBytes)
{
    if (static_cast<std::size_t>(chunkEnd - chunkNext) < blockBytes) {
        // The rest of the chunk, less than one block of this class, stays
        // unused. The chunk is entered before it is used, so that a failure
        // to enter it leaks nothing.
        if (chunks.size() == chunks.capacity()) chunks.reserve(2 * chunks.size() + 8);
        auto* chunk = static_cast<std::byte*>(::operator new(kChunkBytes));
        chunks.push_back(chunk);
        chunkNext = chunk;
        chunkEnd = chunk + kChunkBytes;
    }
    void* block = chunkNext;
    chunkNext += blockBytes;
    return block;
}

}  // namespace Parsers
