// Owner of the global memory block that receives an image.
#pragma once

#include <cstdint>

#include "domparse.h"

namespace Parsers {

// Holds the block while the image is written. A failure anywhere frees it in
// the destructor; success hands it over with detach, after which the caller
// alone frees it. Growth replaces the block, so the handle changes and no
// locked address survives a grow.
class ImageBlock {
public:
    ImageBlock() = default;
    ImageBlock(const ImageBlock&) = delete;
    ImageBlock& operator=(const ImageBlock&) = delete;
    ~ImageBlock();

    // A new zero-filled block of this many bytes. Throws std::bad_alloc.
    void allocate(std::uint32_t size);
    // Moves to a zero-filled block of newSize bytes holding the old bytes.
    void grow(std::uint32_t newSize);
    // Grows by doubling the capacity until it holds needed bytes.
    void ensureCapacity(std::uint64_t needed);
    // The capacity at which doubling `capacity` first holds `needed` bytes
    // (`capacity` itself when it does). A capacity past 32 bits is an
    // allocation failure: throws std::bad_alloc.
    static std::uint32_t doubledCapacity(std::uint32_t capacity, std::uint64_t needed);
    // The block's address, locking it unless it is locked already.
    std::uint8_t* lock();
    void unlock();
    // Keeps the block past this owner's life and returns its handle, unlocked.
    HGLOBAL detach();

    HGLOBAL handle() const { return blockHandle; }
    std::uint32_t capacity() const { return blockCapacity; }

private:
    static constexpr std::uint32_t kKeep = 1;

    HGLOBAL blockHandle = nullptr;
    std::uint8_t* lockedAddress = nullptr;
    std::uint32_t flags = 0;
    std::uint32_t blockCapacity = 0;
};

}  // namespace Parsers
