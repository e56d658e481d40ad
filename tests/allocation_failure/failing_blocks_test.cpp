// Allocation failures of the image writer, through the guarded library: every
// GlobalAlloc and every GlobalLock it makes is failed in turn, and each parse
// must end with result 3 and leave no block behind (and, under the sanitizer
// suite, no leak of any kind).
//
// The guarded library takes its block functions from outside itself, so this
// executable's own definitions below serve it: a small registry that counts
// the calls, fails the one chosen, and knows which blocks are still alive.
// (libdomparse.so binds its own calls to its own functions, so DOM_Parse is
// not reached this way; the image writer is the same code in both.)

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "domparse.h"

namespace {

struct FakeBlock {
    std::size_t size = 0;
    int locks = 0;
    unsigned char* bytes = nullptr;
};

struct Registry {
    std::set<FakeBlock*> live;
    int allocations = 0;
    int locks = 0;
    // The call to fail, counted from 1; 0 fails nothing.
    int failAllocation = 0;
    int failLock = 0;

    void reset(int allocation, int lock)
    {
        allocations = 0;
        locks = 0;
        failAllocation = allocation;
        failLock = lock;
    }
};

Registry registry;

FakeBlock* blockOf(HGLOBAL handle)
{
    auto* block = reinterpret_cast<FakeBlock*>(handle);
    return registry.live.count(block) ? block : nullptr;
}

}  // namespace

extern "C" {

HGLOBAL GlobalAlloc(unsigned int flags, size_t bytes)
{
    if (++registry.allocations == registry.failAllocation) return nullptr;
    if (flags & GMEM_MOVEABLE) return nullptr;
    auto* block = new FakeBlock;
    block->size = bytes;
    block->bytes = static_cast<unsigned char*>(std::calloc(bytes ? bytes : 1, 1));
    registry.live.insert(block);
    return reinterpret_cast<HGLOBAL>(block);
}

void* GlobalLock(HGLOBAL handle)
{
    FakeBlock* block = blockOf(handle);
    if (!block || ++registry.locks == registry.failLock) return nullptr;
    ++block->locks;
    return block->bytes;
}

int GlobalUnlock(HGLOBAL handle)
{
    FakeBlock* block = blockOf(handle);
    if (!block || block->locks == 0) return 0;
    return --block->locks;
}

HGLOBAL GlobalFree(HGLOBAL handle)
{
    FakeBlock* block = blockOf(handle);
    if (!block) return handle;
    registry.live.erase(block);
    std::free(block->bytes);
    delete block;
    return nullptr;
}

size_t GlobalSize(HGLOBAL handle)
{
    FakeBlock* block = blockOf(handle);
    return block ? block->size : 0;
}

}  // extern "C"

namespace {

// A document of some thousands of nodes, attributes and strings.
std::string largeDocument()
{
    std::string text;
    for (int i = 0; i < 2000; ++i) {
        text += "<p class=c";
        text += std::to_string(i);
        text += ">text ";
        text += std::to_string(i);
        text += "</p>";
    }
    return text;
}

struct Parse {
    std::uint32_t result = 0;
    std::uint32_t imageSize = 0;
    HGLOBAL handle = nullptr;
};

Parse parseGuarded(const std::string& text)
{
    std::string buffer = text;
    buffer.append(DOM_INPUT_PADDING, '\0');
    DOM_ParseRecord record{};
    record.version = DOM_RECORD_VERSION;
    record.inputKind = DOM_INPUT_BYTES;
    Parse parse;
    parse.result = DOM_ParseGuarded(buffer.data(), static_cast<std::uint32_t>(text.size()),
                                    &parse.handle, &record);
    parse.imageSize = record.result;
    return parse;
}

TEST(AllocationFailure, TheBlockFunctionsOfThisProgramServeTheGuardedLibrary)
{
    registry.reset(0, 0);
    const Parse parse = parseGuarded("<p>x</p>");
    ASSERT_EQ(parse.result, DOM_RESULT_OK);
    EXPECT_EQ(registry.allocations, 1);
    EXPECT_EQ(registry.live.size(), 1u);
    EXPECT_EQ(GlobalFree(parse.handle), nullptr);
    EXPECT_TRUE(registry.live.empty());
}

// Which of the block functions is made to fail.
enum class Failing { Allocation, Lock };

// Parses a large document once to count the calls of the failing kind, then
// parses it again once for each of them, failing that call: every parse must
// end with result 3, no image and no block left behind.
void failEachCallInTurn(Failing failing)
{
    const char* label = failing == Failing::Allocation ? "allocation " : "lock ";
    const std::string text = largeDocument();
    registry.reset(0, 0);
    const Parse whole = parseGuarded(text);
    ASSERT_EQ(whole.result, DOM_RESULT_OK);
    const int calls = failing == Failing::Allocation ? registry.allocations : registry.locks;
    GlobalFree(whole.handle);
    ASSERT_GE(calls, 1);
    for (int fail = 1; fail <= calls; ++fail) {
        if (failing == Failing::Allocation) {
            registry.reset(fail, 0);
        } else {
            registry.reset(0, fail);
        }
        const Parse parse = parseGuarded(text);
        EXPECT_EQ(parse.result, DOM_RESULT_OUT_OF_MEMORY) << label << fail;
        EXPECT_EQ(parse.imageSize, 0u) << label << fail;
        EXPECT_TRUE(registry.live.empty()) << label << fail;
    }
}

TEST(AllocationFailure, EveryFailedAllocationEndsWithResultThreeAndNoBlockLeft)
{
    failEachCallInTurn(Failing::Allocation);
}

TEST(AllocationFailure, EveryFailedLockEndsWithResultThreeAndNoBlockLeft)
{
    failEachCallInTurn(Failing::Lock);
}

TEST(AllocationFailure, TheGuardedCodesLeaveNoBlockEither)
{
    registry.reset(0, 0);
    EXPECT_EQ(parseGuarded("<p>x<").result, DOM_RESULT_NEVER_ENDS);
    EXPECT_EQ(parseGuarded("<!DOCTYPE html><html><p>x").result, DOM_RESULT_NO_BODY);
    EXPECT_EQ(parseGuarded("\xEF\xBB\xBF").result, DOM_RESULT_BARE_BYTE_ORDER_MARK);
    EXPECT_EQ(registry.allocations, 0);
    EXPECT_TRUE(registry.live.empty());
}

}  // namespace
