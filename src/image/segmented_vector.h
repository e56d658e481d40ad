// A vector that grows by whole segments of a fixed size and never moves what
// it holds. The writer's tables grow to megabytes while the image is written
// beside them; a vector that doubles or grows by half leaves every smaller
// buffer it outgrew behind in the process's memory, which a segment never
// does: the memory it takes is what it holds plus at most one segment.
#pragma once

#include <bit>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <vector>

namespace Parsers {

template <typename T>
class SegmentedVector {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>,
                  "segments hold plain values and are never constructed item by item");

public:
    // Items of a segment of about 64 KiB: a power of two, so that an index
    // splits into segment and offset with a shift and a mask.
    static constexpr std::size_t kSegmentSize = std::bit_floor(std::size_t{65536} / sizeof(T));
    static constexpr unsigned kSegmentShift = std::countr_zero(kSegmentSize);

    void push_back(const T& item)
    {
        const std::size_t offset = count & (kSegmentSize - 1);
        if (offset == 0) segments.push_back(std::make_unique_for_overwrite<T[]>(kSegmentSize));
        segments.back()[offset] = item;
        ++count;
    }

    T& operator[](std::size_t index) { return segments[index >> kSegmentShift][index & (kSegmentSize - 1)]; }
    const T& operator[](std::size_t index) const
    {
        return segments[index >> kSegmentShift][index & (kSegmentSize - 1)];
    }

    std::size_t size() const { return count; }
    bool empty() const { return count == 0; }

private:
    std::vector<std::unique_ptr<T[]>> segments;
    std::size_t count = 0;
};

}  // namespace Parsers
