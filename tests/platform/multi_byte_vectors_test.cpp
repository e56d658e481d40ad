// Replays every recorded answer of the platform's MultiByteToWideChar for the 24
// code pages this decoder reproduces: each call must return the same count and
// write the same units, read no byte past its input and write no unit past the
// returned count.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/code_pages.h"
#include "platform/multi_byte_test_support.h"

namespace {

using DecoderTests::GuardedInput;
using DecoderTests::RecordedSet;
using DecoderTests::VectorReader;

struct PageVectors {
    unsigned codePage;
    std::size_t recordedCalls;
};

// The number of recorded calls per page, so that a shortened file is noticed.
const PageVectors kPages[] = {
    {0, 463},      {720, 463},    {862, 463},    {874, 463},    {1250, 463},   {1251, 463},
    {1252, 463},   {1253, 463},   {1254, 463},   {1255, 463},   {1256, 463},   {1257, 463},
    {1258, 464},   {20866, 463},  {28592, 463},  {28594, 463},  {28595, 463},  {28597, 464},
    {28599, 463},  {932, 38579},  {936, 38580},  {949, 38579},  {950, 38579},  {65001, 125172},
};

constexpr char16_t kUntouched = 0xABCD;

std::string hexOf(const std::vector<std::uint8_t>& bytes)
{
    std::string text;
    char buffer[4];
    for (std::uint8_t byte : bytes) {
        std::snprintf(buffer, sizeof buffer, "%02x", byte);
        text += buffer;
    }
    return text;
}

std::string hexOf(const char16_t* units, std::size_t count)
{
    std::string text;
    char buffer[8];
    for (std::size_t i = 0; i < count; ++i) {
        std::snprintf(buffer, sizeof buffer, "%04x ", static_cast<unsigned>(units[i]));
        text += buffer;
    }
    return text;
}

class RecordedAnswers : public ::testing::TestWithParam<PageVectors> {};

TEST_P(RecordedAnswers, EveryCallGivesTheRecordedUnits)
{
    const PageVectors page = GetParam();
    VectorReader reader(DecoderTests::vectorPath(page.codePage));
    const std::vector<RecordedSet> sets = reader.readAll();
    ASSERT_EQ(reader.codePage, page.codePage);

    GuardedInput guarded;
    std::size_t replayed = 0;
    std::size_t mismatches = 0;
    std::vector<char16_t> out;
    for (const RecordedSet& set : sets) {
        for (std::size_t index = 0; index < set.calls.size(); ++index) {
            const auto& call = set.calls[index];
            const int size = static_cast<int>(call.input.size());
            out.assign(call.input.size() + 1, kUntouched);
            const int result =
                MultiByteToWideChar(page.codePage, 0, guarded.place(call.input), size, out.data(), size);
            ++replayed;
            const bool same = result == static_cast<int>(call.units.size()) &&
                              std::equal(call.units.begin(), call.units.end(), out.begin()) &&
                              out[call.input.size()] == kUntouched;
            if (!same && ++mismatches <= 20) {
                ADD_FAILURE() << "code page " << page.codePage << ", set " << set.name << " #" << index
                              << ", input " << hexOf(call.input) << ": returned " << result << " ["
                              << hexOf(out.data(), out.size()) << "], recorded " << call.units.size() << " ["
                              << hexOf(call.units.data(), call.units.size()) << "]";
            }
        }
    }
    EXPECT_EQ(replayed, page.recordedCalls);
    EXPECT_EQ(mismatches, 0u);
}

INSTANTIATE_TEST_SUITE_P(AllPages, RecordedAnswers, ::testing::ValuesIn(kPages),
                         [](const ::testing::TestParamInfo<PageVectors>& info) {
                             return "cp" + std::to_string(info.param.codePage);
                         });

TEST(RecordedAnswers, CoverAboutTwoHundredAndEightyEightThousandCalls)
{
    std::size_t total = 0;
    for (const PageVectors& page : kPages) total += page.recordedCalls;
    EXPECT_EQ(total, 288288u);
    EXPECT_EQ(std::size(kPages), 24u);
}

}  // namespace
