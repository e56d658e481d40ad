// The writer's growing tables: items keep their index and their address across
// segment boundaries, and the segment size is a power of two of about 64 KiB.

#include "image/segmented_vector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace Parsers {
namespace {

struct Pair {
    std::uint64_t first;
    std::uint32_t second;
};

TEST(SegmentedVector, SegmentsHoldAboutSixtyFourKibibytes)
{
    EXPECT_EQ(SegmentedVector<std::uint8_t>::kSegmentSize, 65536u);
    EXPECT_EQ(SegmentedVector<std::uint8_t>::kSegmentShift, 16u);
    EXPECT_EQ(SegmentedVector<Pair>::kSegmentSize, 4096u);
    EXPECT_EQ(SegmentedVector<Pair>::kSegmentShift, 12u);
    // 12 bytes an item: 5,461 fit, and the power of two below is 4,096.
    struct Twelve {
        std::uint32_t a, b, c;
    };
    EXPECT_EQ(SegmentedVector<Twelve>::kSegmentSize, 4096u);
}

TEST(SegmentedVector, StartsEmpty)
{
    SegmentedVector<std::uint8_t> bytes;
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(bytes.size(), 0u);
}

TEST(SegmentedVector, IndexesAcrossSegmentBoundaries)
{
    SegmentedVector<Pair> items;
    const std::size_t count = 3 * SegmentedVector<Pair>::kSegmentSize + 5;
    for (std::size_t i = 0; i < count; ++i) items.push_back(Pair{i * 7, static_cast<std::uint32_t>(i)});
    ASSERT_EQ(items.size(), count);
    EXPECT_FALSE(items.empty());
    for (std::size_t i : {std::size_t{0}, std::size_t{4095}, std::size_t{4096}, std::size_t{8191},
                          std::size_t{12288}, count - 1}) {
        EXPECT_EQ(items[i].first, i * 7) << i;
        EXPECT_EQ(items[i].second, i) << i;
    }
}

TEST(SegmentedVector, ItemsNeverMove)
{
    SegmentedVector<std::uint8_t> bytes;
    bytes.push_back(1);
    const std::uint8_t* first = &bytes[0];
    std::vector<const std::uint8_t*> segmentStarts{first};
    for (std::size_t i = 1; i < 4 * SegmentedVector<std::uint8_t>::kSegmentSize; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(i));
        if (i % SegmentedVector<std::uint8_t>::kSegmentSize == 0) segmentStarts.push_back(&bytes[i]);
    }
    EXPECT_EQ(&bytes[0], first);
    EXPECT_EQ(bytes[0], 1);
    for (std::size_t segment = 0; segment < segmentStarts.size(); ++segment) {
        EXPECT_EQ(&bytes[segment * SegmentedVector<std::uint8_t>::kSegmentSize], segmentStarts[segment]);
    }
    bytes[70000] = 0xAB;
    EXPECT_EQ(bytes[70000], 0xAB);
    EXPECT_EQ(bytes[69999], static_cast<std::uint8_t>(69999));
}

}  // namespace
}  // namespace Parsers
