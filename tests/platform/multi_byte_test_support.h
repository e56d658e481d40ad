// Helpers for the decoder tests: inputs that end at an unreadable page, and the
// recorded answers of the platform's decoder kept in tests/data/codepages.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace DecoderTests {

// Bytes placed so that the last one is the last readable byte before a page
// that cannot be read: a decoder that reads one byte too far faults.
class GuardedInput {
public:
    GuardedInput()
    {
        pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        // Room for the longest test input; pages are only mapped when touched.
        capacity = std::size_t{4} << 20;
        void* mapped = mmap(nullptr, capacity + pageSize, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) throw std::runtime_error("mmap failed");
        region = static_cast<std::uint8_t*>(mapped);
        if (mprotect(region + capacity, pageSize, PROT_NONE) != 0) throw std::runtime_error("mprotect failed");
    }
    ~GuardedInput() { munmap(region, capacity + pageSize); }
    GuardedInput(const GuardedInput&) = delete;
    GuardedInput& operator=(const GuardedInput&) = delete;

    // Copies the bytes in front of the guard page and returns where they start.
    const char* place(const std::uint8_t* bytes, std::size_t size)
    {
        if (size > capacity) throw std::length_error("input larger than the guarded region");
        std::uint8_t* start = region + capacity - size;
        if (size != 0) std::memcpy(start, bytes, size);
        return reinterpret_cast<const char*>(start);
    }
    const char* place(const std::vector<std::uint8_t>& bytes) { return place(bytes.data(), bytes.size()); }

private:
    std::size_t pageSize = 0;
    std::size_t capacity = 0;
    std::uint8_t* region = nullptr;
};

// One recorded call: the input bytes and the units the platform returned (their
// count is the return value; none for a call that returned 0).
struct RecordedCall {
    std::vector<std::uint8_t> input;
    std::vector<char16_t> units;
};

struct RecordedSet {
    std::string name;
    std::vector<RecordedCall> calls;
};

inline std::string vectorPath(unsigned codePage)
{
    return std::string(DOMPARSE_SOURCE_DIR) + "/tests/data/codepages/cp" + std::to_string(codePage) + ".vectors";
}

// Reads a vector file (format in tests/data/codepages/README.md).
class VectorReader {
public:
    explicit VectorReader(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        if (!file) throw std::runtime_error("cannot open " + path);
        data.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }

    unsigned codePage = 0;

    std::vector<RecordedSet> readAll()
    {
        if (data.size() < 10 || std::memcmp(data.data(), "DPCV", 4) != 0 || data[4] != 1) {
            throw std::runtime_error("not a vector file");
        }
        offset = 5;
        codePage = readU32();
        const unsigned setCount = readByte();
        std::vector<RecordedSet> sets;
        for (unsigned s = 0; s < setCount; ++s) sets.push_back(readSet());
        if (offset != data.size()) throw std::runtime_error("trailing bytes in vector file");
        return sets;
    }

private:
    RecordedSet readSet()
    {
        RecordedSet set;
        const unsigned nameLength = readByte();
        set.name.assign(reinterpret_cast<const char*>(take(nameLength)), nameLength);
        const unsigned layout = readByte();
        std::vector<std::vector<std::uint8_t>> positions;
        std::size_t count = 0;
        if (layout == 1) {
            // Every combination of one byte per position, the first position slowest.
            const unsigned positionCount = readByte();
            count = 1;
            for (unsigned p = 0; p < positionCount; ++p) {
                const unsigned choices = readU16();
                const std::uint8_t* bytes = take(choices);
                positions.emplace_back(bytes, bytes + choices);
                count *= choices;
            }
        } else {
            count = readU32();
        }
        std::vector<std::size_t> digits(positions.size(), 0);
        for (std::size_t i = 0; i < count; ++i) {
            RecordedCall call;
            if (layout == 1) {
                for (std::size_t p = 0; p < positions.size(); ++p) call.input.push_back(positions[p][digits[p]]);
                for (std::size_t p = positions.size(); p-- > 0;) {
                    if (++digits[p] < positions[p].size()) break;
                    digits[p] = 0;
                }
            } else {
                const std::size_t length = readVarint();
                const std::uint8_t* bytes = take(length);
                call.input.assign(bytes, bytes + length);
            }
            const std::size_t unitCount = readVarint();
            for (std::size_t u = 0; u < unitCount; ++u) call.units.push_back(static_cast<char16_t>(readU16()));
            set.calls.push_back(std::move(call));
        }
        return set;
    }

    const std::uint8_t* take(std::size_t size)
    {
        if (data.size() - offset < size) throw std::runtime_error("vector file ends early");
        const std::uint8_t* at = data.data() + offset;
        offset += size;
        return at;
    }
    unsigned readByte() { return *take(1); }
    unsigned readU16()
    {
        const std::uint8_t* at = take(2);
        return at[0] | (at[1] << 8);
    }
    unsigned readU32()
    {
        const std::uint8_t* at = take(4);
        return at[0] | (at[1] << 8) | (at[2] << 16) | (static_cast<unsigned>(at[3]) << 24);
    }
    std::size_t readVarint()
    {
        std::size_t value = 0;
        for (unsigned shift = 0;; shift += 7) {
            const unsigned byte = readByte();
            value |= static_cast<std::size_t>(byte & 0x7F) << shift;
            if (!(byte & 0x80)) return value;
        }
    }

    std::vector<std::uint8_t> data;
    std::size_t offset = 0;
};

}  // namespace DecoderTests
