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

void* ParseHeap::allocateLarge(std::size_t bytes)
{
    void* block = ::operator new(bytes);
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

void* ParseHeap::carveFromNewChunk(std::size_t blockBytes)
{
    // The rest of the chunk, less than one block of this class, stays unused.
    // Room for the chunk's entry is made before the chunk, so that a failure
    // of either leaks nothing.
    if (chunks.size() == chunks.capacity()) chunks.reserve(2 * chunks.size() + 8);
    auto* chunk = static_cast<std::byte*>(::operator new(kChunkBytes));
    chunks.push_back(chunk);
    chunkNext = chunk + blockBytes;
    chunkEnd = chunk + kChunkBytes;
    ++liveBlocks;
    return chunk;
}

}  // namespace Parsers
