// The global memory block functions for systems that have none of their own.
// Hosts free the image block with GlobalFree and read it through GlobalLock, so
// the library exports these five under their usual names and meanings.
//
// A handle is not the block's address but a number from a process-wide
// registry. Every call looks its handle up first, so a forged, stale or null
// handle is answered with a failure value and no memory is touched through it.
// Numbers are handed out once and never again: a handle kept after GlobalFree
// can therefore never name a block allocated later.

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>
#include <unordered_map>

#include "domparse.h"

namespace Parsers {
namespace {

// The flags Windows accepts; any other bit makes GlobalAlloc fail there too.
constexpr unsigned int validAllocationFlags = 0x7F72u;

struct GlobalBlock {
    void* memory = nullptr;
    std::size_t size = 0;      // the size asked for, which GlobalSize reports
    std::size_t lockCount = 0;
};

class BlockRegistry {
public:
    // Registers zero-filled memory of `size` bytes and returns its new handle
    // number, or 0 when memory or handle numbers have run out.
    std::uintptr_t add(std::size_t size) noexcept;
    void* lock(std::uintptr_t handle) noexcept;
    bool unlock(std::uintptr_t handle) noexcept;
    bool release(std::uintptr_t handle) noexcept;
    std::size_t sizeOf(std::uintptr_t handle) noexcept;

private:
    GlobalBlock* find(std::uintptr_t handle);

    std::mutex mutex;
    std::unordered_map<std::uintptr_t, GlobalBlock> blocks;
    // The last number handed out. Numbers only grow, so none is used twice.
    std::uintptr_t lastHandle = 0;
};

GlobalBlock* BlockRegistry::find(std::uintptr_t handle)
{
    auto found = blocks.find(handle);
    return found == blocks.end() ? nullptr : &found->second;
}

std::uintptr_t BlockRegistry::add(std::size_t size) noexcept
{
    // Every block gets memory of its own, even one of 0 bytes, so that the
    // address GlobalLock returns is never null and never shared.
    void* memory = std::calloc(size == 0 ? 1 : size, 1);
    if (!memory) return 0;
    std::lock_guard<std::mutex> guard(mutex);
    if (lastHandle == UINTPTR_MAX) {
        std::free(memory);
        return 0;
    }
    try {
        blocks.emplace(lastHandle + 1, GlobalBlock{memory, size, 0});
    } catch (const std::bad_alloc&) {
        std::free(memory);
        return 0;
    }
    return ++lastHandle;
}

void* BlockRegistry::lock(std::uintptr_t handle) noexcept
{
    std::lock_guard<std::mutex> guard(mutex);
    GlobalBlock* block = find(handle);
    if (!block) return nullptr;
    ++block->lockCount;
    return block->memory;
}

bool BlockRegistry::unlock(std::uintptr_t handle) noexcept
{
    std::lock_guard<std::mutex> guard(mutex);
    GlobalBlock* block = find(handle);
    if (!block || block->lockCount == 0) return false;
    --block->lockCount;
    return block->lockCount != 0;
}

bool BlockRegistry::release(std::uintptr_t handle) noexcept
{
    void* memory = nullptr;
    {
        std::lock_guard<std::mutex> guard(mutex);
        auto found = blocks.find(handle);
        if (found == blocks.end()) return false;
        memory = found->second.memory;
        blocks.erase(found);
    }
    // The handle is gone from the registry, so no other thread can reach the
    // memory any more and it is freed outside the lock.
    std::free(memory);
    return true;
}

std::size_t BlockRegistry::sizeOf(std::uintptr_t handle) noexcept
{
    std::lock_guard<std::mutex> guard(mutex);
    GlobalBlock* block = find(handle);
    return block ? block->size : 0;
}

// The registry is built on first use in static storage and never destroyed:
// a host's static destructors may free their blocks after ours have run, and
// they must still find the registry whole. Blocks a host never frees stay
// allocated until the process ends, as they would on Windows.
BlockRegistry& registry() noexcept
{
    alignas(BlockRegistry) static unsigned char storage[sizeof(BlockRegistry)];
    static BlockRegistry* const instance = new (storage) BlockRegistry();
    return *instance;
}

std::uintptr_t handleNumber(HGLOBAL block)
{
    return reinterpret_cast<std::uintptr_t>(block);
}

}  // namespace
}  // namespace Parsers

using Parsers::handleNumber;
using Parsers::registry;

extern "C" DOMPARSE_API HGLOBAL GlobalAlloc(unsigned int flags, size_t bytes)
{
    // Every block is zero-filled, so GMEM_ZEROINIT needs no work of its own,
    // and blocks never move, so GMEM_MOVEABLE and GMEM_FIXED behave alike.
    if ((flags & ~Parsers::validAllocationFlags) != 0) return nullptr;
    return reinterpret_cast<HGLOBAL>(registry().add(bytes));
}

extern "C" DOMPARSE_API void* GlobalLock(HGLOBAL block)
{
    return registry().lock(handleNumber(block));
}

extern "C" DOMPARSE_API int GlobalUnlock(HGLOBAL block)
{
    return registry().unlock(handleNumber(block)) ? 1 : 0;
}

extern "C" DOMPARSE_API HGLOBAL GlobalFree(HGLOBAL block)
{
    return registry().release(handleNumber(block)) ? nullptr : block;
}

extern "C" DOMPARSE_API size_t GlobalSize(HGLOBAL block)
{
    return registry().sizeOf(handleNumber(block));
}
