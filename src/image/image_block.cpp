#include "image/image_block.h"

#include <cstring>
#include <new>

namespace Parsers {

namespace {

// Fixed, zero-filled memory: the flags the image block is always made with.
constexpr unsigned kBlockFlags = 0x0040;  // GMEM_ZEROINIT

HGLOBAL allocateBlock(std::uint32_t size)
{
    HGLOBAL block = GlobalAlloc(kBlockFlags, size);
    if (!block) throw std::bad_alloc();
    return block;
}

}  // namespace

ImageBlock::~ImageBlock()
{
    if (!blockHandle) return;
    if (lockedAddress) GlobalUnlock(blockHandle);
    if (!(flags & kKeep)) GlobalFree(blockHandle);
}

void ImageBlock::allocate(std::uint32_t size)
{
    blockHandle = allocateBlock(size);
    blockCapacity = size;
}

std::uint8_t* ImageBlock::lock()
{
    if (lockedAddress) return lockedAddress;
    void* address = GlobalLock(blockHandle);
    if (!address) throw std::bad_alloc();
    lockedAddress = static_cast<std::uint8_t*>(address);
    return lockedAddress;
}

void ImageBlock::unlock()
{
    if (!lockedAddress) return;
    GlobalUnlock(blockHandle);
    lockedAddress = nullptr;
}

void ImageBlock::grow(std::uint32_t newSize)
{
    std::uint8_t* oldBytes = lock();
    HGLOBAL newBlock = GlobalAlloc(kBlockFlags, newSize);
    void* newBytes = newBlock ? GlobalLock(newBlock) : nullptr;
    if (!newBytes) {
        unlock();
        if (newBlock) GlobalFree(newBlock);
        throw std::bad_alloc();
    }
    std::memcpy(newBytes, oldBytes, blockCapacity);
    GlobalUnlock(newBlock);
    unlock();
    GlobalFree(blockHandle);
    blockHandle = newBlock;
    blockCapacity = newSize;
}

std::uint32_t ImageBlock::doubledCapacity(std::uint32_t capacity, std::uint64_t needed)
{
    // The capacity is a 32-bit number: an image that would not fit in one is
    // as impossible to make as one that finds no memory.
    if (needed > 0xFFFFFFFFull) throw std::bad_alloc();
    std::uint64_t newCapacity = capacity;
    while (newCapacity < needed) newCapacity *= 2;
    if (newCapacity > 0xFFFFFFFFull) throw std::bad_alloc();
    return static_cast<std::uint32_t>(newCapacity);
}

void ImageBlock::ensureCapacity(std::uint64_t needed)
{
    const std::uint32_t newCapacity = doubledCapacity(blockCapacity, needed);
    if (newCapacity != blockCapacity) grow(newCapacity);
}

HGLOBAL ImageBlock::detach()
{
    flags |= kKeep;
    unlock();
    return blockHandle;
}

}  // namespace Parsers
