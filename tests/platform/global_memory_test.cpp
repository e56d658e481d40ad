// The global memory block functions: zero-filled blocks, lock counts, handles
// that are checked on every call and never reused, and use from many threads.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "domparse.h"

namespace {

HGLOBAL handleFromNumber(std::uintptr_t number)
{
    return reinterpret_cast<HGLOBAL>(number);
}

bool isAllZero(const void* memory, std::size_t size)
{
    const auto* bytes = static_cast<const unsigned char*>(memory);
    return std::all_of(bytes, bytes + size, [](unsigned char b) { return b == 0; });
}

// Checks that a handle is refused by every call and comes back from GlobalFree.
void expectRejected(HGLOBAL handle)
{
    EXPECT_EQ(GlobalLock(handle), nullptr);
    EXPECT_EQ(GlobalUnlock(handle), 0);
    EXPECT_EQ(GlobalSize(handle), 0u);
    EXPECT_EQ(GlobalFree(handle), handle);
}

TEST(GlobalMemory, BlocksAreZeroFilledAndReportTheirSize)
{
    const std::size_t sizes[] = {0, 1, 2, 7, 26, 4096, 4097, 65536, 1024 * 1024};
    for (std::size_t size : sizes) {
        HGLOBAL block = GlobalAlloc(GMEM_ZEROINIT, size);
        ASSERT_NE(block, nullptr) << size;
        EXPECT_EQ(GlobalSize(block), size);
        void* memory = GlobalLock(block);
        ASSERT_NE(memory, nullptr) << size;
        EXPECT_TRUE(isAllZero(memory, size)) << size;
        EXPECT_EQ(GlobalUnlock(block), 0);
        EXPECT_EQ(GlobalFree(block), nullptr);
    }
}

TEST(GlobalMemory, BlocksAreZeroFilledWithoutZeroInitToo)
{
    // Dirty memory, give it back, then ask again: the allocator likely hands
    // out the same memory, which must come back cleared whatever the flags.
    const unsigned int flagSets[] = {GMEM_FIXED, GMEM_MOVEABLE, GPTR, GHND};
    for (unsigned int flags : flagSets) {
        const std::size_t size = 1024 * 1024;
        HGLOBAL dirty = GlobalAlloc(flags, size);
        ASSERT_NE(dirty, nullptr);
        std::memset(GlobalLock(dirty), 0xA5, size);
        EXPECT_EQ(GlobalUnlock(dirty), 0);
        ASSERT_EQ(GlobalFree(dirty), nullptr);

        HGLOBAL block = GlobalAlloc(flags, size);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(GlobalSize(block), size);
        EXPECT_TRUE(isAllZero(GlobalLock(block), size)) << flags;
        EXPECT_EQ(GlobalUnlock(block), 0);
        EXPECT_EQ(GlobalFree(block), nullptr);
    }
}

TEST(GlobalMemory, EmptyBlockIsValidWithSizeZero)
{
    HGLOBAL block = GlobalAlloc(GPTR, 0);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalSize(block), 0u);
    EXPECT_NE(GlobalLock(block), nullptr);
    EXPECT_EQ(GlobalUnlock(block), 0);
    EXPECT_EQ(GlobalFree(block), nullptr);
    EXPECT_EQ(GlobalFree(block), block);
}

TEST(GlobalMemory, LockReturnsTheSameAddressAndCounts)
{
    HGLOBAL block = GlobalAlloc(GMEM_ZEROINIT, 100);
    ASSERT_NE(block, nullptr);
    void* first = GlobalLock(block);
    void* second = GlobalLock(block);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(second, first);
    EXPECT_EQ(GlobalUnlock(block), 1);  // one lock left
    EXPECT_EQ(GlobalUnlock(block), 0);  // now unlocked
    EXPECT_EQ(GlobalUnlock(block), 0);  // was not locked
    EXPECT_EQ(GlobalUnlock(block), 0);

    // The count did not go below zero: one lock is undone by one unlock.
    EXPECT_EQ(GlobalLock(block), first);
    EXPECT_EQ(GlobalUnlock(block), 0);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalMemory, UnlockOfANeverLockedBlockReturnsZero)
{
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 8);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalUnlock(block), 0);
    EXPECT_EQ(GlobalSize(block), 8u);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalMemory, WrittenContentsStayBetweenLocks)
{
    HGLOBAL block = GlobalAlloc(GPTR, 16);
    ASSERT_NE(block, nullptr);
    auto* bytes = static_cast<unsigned char*>(GlobalLock(block));
    ASSERT_NE(bytes, nullptr);
    for (int i = 0; i < 16; ++i) bytes[i] = static_cast<unsigned char>(i * 3 + 1);
    EXPECT_EQ(GlobalUnlock(block), 0);

    auto* again = static_cast<unsigned char*>(GlobalLock(block));
    ASSERT_EQ(again, bytes);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(again[i], i * 3 + 1) << i;
    EXPECT_EQ(GlobalUnlock(block), 0);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalMemory, FreeWorksWhileLocked)
{
    HGLOBAL block = GlobalAlloc(GPTR, 32);
    ASSERT_NE(block, nullptr);
    ASSERT_NE(GlobalLock(block), nullptr);
    ASSERT_NE(GlobalLock(block), nullptr);
    EXPECT_EQ(GlobalFree(block), nullptr);
    expectRejected(block);
}

TEST(GlobalMemory, FreedHandleIsRejectedEverywhere)
{
    HGLOBAL block = GlobalAlloc(GHND, 64);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalFree(block), nullptr);
    EXPECT_EQ(GlobalFree(block), block);
    expectRejected(block);
}

TEST(GlobalMemory, NullHandleIsRejected)
{
    expectRejected(nullptr);
}

TEST(GlobalMemory, ForgedHandlesAreRejected)
{
    // Keep a few real blocks alive, so the registry is not empty, and forge
    // handles that are none of them.
    std::vector<HGLOBAL> live;
    for (int i = 0; i < 4; ++i) {
        live.push_back(GlobalAlloc(GPTR, 48));
        ASSERT_NE(live.back(), nullptr);
    }
    const auto isLive = [&](HGLOBAL h) {
        return std::find(live.begin(), live.end(), h) != live.end();
    };

    std::vector<HGLOBAL> forged;
    std::mt19937_64 random(20240611u);
    for (int i = 0; i < 200; ++i) forged.push_back(handleFromNumber(static_cast<std::uintptr_t>(random())));
    int local = 0;
    forged.push_back(reinterpret_cast<HGLOBAL>(&local));
    forged.push_back(reinterpret_cast<HGLOBAL>(GlobalLock(live[0])));  // an address, not a handle
    forged.push_back(handleFromNumber(UINTPTR_MAX));
    forged.push_back(handleFromNumber(reinterpret_cast<std::uintptr_t>(live[0]) + 0x1000000u));

    int checked = 0;
    for (HGLOBAL handle : forged) {
        if (isLive(handle)) continue;
        expectRejected(handle);
        ++checked;
    }
    EXPECT_GE(checked, 200);
    EXPECT_EQ(local, 0);

    // The real blocks are untouched by all of that: still zero, still one lock.
    EXPECT_TRUE(isAllZero(GlobalLock(live[0]), 48));  // second lock
    EXPECT_EQ(GlobalUnlock(live[0]), 1);
    EXPECT_EQ(GlobalUnlock(live[0]), 0);
    for (HGLOBAL handle : live) {
        EXPECT_EQ(GlobalSize(handle), 48u);
        EXPECT_EQ(GlobalFree(handle), nullptr);
    }
}

TEST(GlobalMemory, ValidFlagsAreAccepted)
{
    const unsigned int flagSets[] = {GMEM_FIXED, GMEM_MOVEABLE, GMEM_ZEROINIT, GPTR, GHND,
                                     0x0100u, 0x7F72u};
    for (unsigned int flags : flagSets) {
        HGLOBAL block = GlobalAlloc(flags, 10);
        ASSERT_NE(block, nullptr) << flags;
        EXPECT_EQ(GlobalSize(block), 10u);
        EXPECT_EQ(GlobalFree(block), nullptr);
    }
}

TEST(GlobalMemory, InvalidFlagsFail)
{
    const unsigned int flagSets[] = {0x0001u, 0x0004u, 0x0008u, 0x0080u, 0x8000u, 0x10000u,
                                     0x80000000u, GHND | 0x0001u, GPTR | 0x8000u, 0xFFFFFFFFu};
    for (unsigned int flags : flagSets) {
        EXPECT_EQ(GlobalAlloc(flags, 10), nullptr) << flags;
        EXPECT_EQ(GlobalAlloc(flags, 0), nullptr) << flags;
    }
}

TEST(GlobalMemory, ImpossibleSizesFailWithNull)
{
    EXPECT_EQ(GlobalAlloc(GPTR, SIZE_MAX), nullptr);
    EXPECT_EQ(GlobalAlloc(GHND, SIZE_MAX - 4095), nullptr);
    EXPECT_EQ(GlobalAlloc(GMEM_FIXED, SIZE_MAX / 2 + 1), nullptr);

    // A failure leaves the functions working.
    HGLOBAL block = GlobalAlloc(GPTR, 12);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalSize(block), 12u);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalMemory, HandlesAreNeverReused)
{
    const int rounds = 5000;
    std::set<HGLOBAL> seen;
    HGLOBAL firstFreed = nullptr;
    for (int i = 0; i < rounds; ++i) {
        HGLOBAL block = GlobalAlloc(GPTR, 24);
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(seen.insert(block).second) << i;
        ASSERT_EQ(GlobalFree(block), nullptr);
        if (i == 0) firstFreed = block;
    }
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(rounds));

    // A stale handle still names nothing, though a block is alive again.
    HGLOBAL fresh = GlobalAlloc(GPTR, 24);
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(seen.count(fresh), 0u);
    expectRejected(firstFreed);
    EXPECT_EQ(GlobalSize(fresh), 24u);
    EXPECT_EQ(GlobalFree(fresh), nullptr);
}

TEST(GlobalMemory, ManyThreadsKeepTheirBlocksApart)
{
    constexpr int threadCount = 8;
    constexpr int rounds = 300;
    constexpr int heldAtOnce = 6;
    std::vector<std::vector<HGLOBAL>> handlesByThread(threadCount);
    std::vector<int> failures(threadCount, 0);
    std::vector<int> verifiedBlocks(threadCount, 0);

    // Each thread keeps a few blocks alive, fills each with a byte that names
    // the thread and the round, and checks them all before freeing them.
    const auto work = [&](int thread) {
        std::vector<HGLOBAL> held;
        std::vector<unsigned char> marks;
        std::vector<std::size_t> sizes;
        for (int round = 0; round < rounds; ++round) {
            const std::size_t size = 1 + static_cast<std::size_t>((thread * 131 + round * 17) % 3000);
            HGLOBAL block = GlobalAlloc(round % 2 ? GHND : GPTR, size);
            if (!block) { ++failures[thread]; continue; }
            handlesByThread[thread].push_back(block);
            void* memory = GlobalLock(block);
            if (!memory || !isAllZero(memory, size)) ++failures[thread];
            const auto mark = static_cast<unsigned char>(thread * 31 + round + 1);
            if (memory) std::memset(memory, mark, size);
            if (GlobalUnlock(block) != 0) ++failures[thread];
            held.push_back(block);
            marks.push_back(mark);
            sizes.push_back(size);
            if (held.size() < heldAtOnce && round + 1 < rounds) continue;
            for (std::size_t i = 0; i < held.size(); ++i) {
                const auto* bytes = static_cast<const unsigned char*>(GlobalLock(held[i]));
                bool intact = bytes && GlobalSize(held[i]) == sizes[i];
                for (std::size_t b = 0; intact && b < sizes[i]; ++b) intact = bytes[b] == marks[i];
                if (intact) ++verifiedBlocks[thread]; else ++failures[thread];
                if (GlobalUnlock(held[i]) != 0) ++failures[thread];
                if (GlobalFree(held[i]) != nullptr) ++failures[thread];
            }
            held.clear();
            marks.clear();
            sizes.clear();
        }
    };

    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) threads.emplace_back(work, t);
    for (std::thread& thread : threads) thread.join();

    std::set<HGLOBAL> all;
    for (int t = 0; t < threadCount; ++t) {
        EXPECT_EQ(failures[t], 0) << t;
        EXPECT_EQ(verifiedBlocks[t], rounds) << t;
        ASSERT_EQ(handlesByThread[t].size(), static_cast<std::size_t>(rounds));
        all.insert(handlesByThread[t].begin(), handlesByThread[t].end());
    }
    EXPECT_EQ(all.size(), static_cast<std::size_t>(threadCount * rounds));
    for (HGLOBAL handle : all) EXPECT_EQ(GlobalSize(handle), 0u);
}

// A host may free a block from its own static destructors, which can run
// after everything this library set up. This object is destroyed at exit,
// after the test's statics were made; if the block calls fail then, the
// process exits with a failure code that the test run reports.
struct FreedAtExit {
    HGLOBAL block = nullptr;
    ~FreedAtExit()
    {
        if (!block) return;
        const bool ok = GlobalSize(block) == 5 && GlobalLock(block) != nullptr &&
                        GlobalUnlock(block) == 0 && GlobalFree(block) == nullptr &&
                        GlobalFree(block) == block;
        if (!ok) {
            std::fputs("block functions failed from a static destructor\n", stderr);
            std::_Exit(3);
        }
    }
};
FreedAtExit freedAtExit;

TEST(GlobalMemory, BlockCanBeFreedFromAStaticDestructor)
{
    ASSERT_EQ(freedAtExit.block, nullptr);
    freedAtExit.block = GlobalAlloc(GPTR, 5);
    ASSERT_NE(freedAtExit.block, nullptr);
}

}  // namespace
