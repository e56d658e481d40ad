// The two files that the image comparison passes between its driver and the
// dump programs of the Linux and the Windows build.
//
// Batch file (written by the driver, read by both dump programs):
//   "DPCB", u32 version 1, u32 entry count, then per entry
//   u32 name length, name bytes, u32 input kind, u16 record version,
//   u32 input size, input bytes.
//
// Results file (appended by a dump program, two records per parsed entry):
//   "DPCS", u32 entry index: the parse of the entry starts;
//   "DPCR", u32 entry index, u32 result code, u32 record result field,
//   u32 image length, image bytes: its outcome.
// A dump program flushes each record as it is written, so that when an entry
// ends the process, the file shows which entry it was, and every record
// before is complete.
//
// All numbers are little-endian. The header is shared by the two programs and
// needs only the standard library.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace Parsers::Compare {

inline constexpr char kBatchMagic[4] = {'D', 'P', 'C', 'B'};
inline constexpr char kStartMagic[4] = {'D', 'P', 'C', 'S'};
inline constexpr char kResultMagic[4] = {'D', 'P', 'C', 'R'};
inline constexpr std::uint32_t kBatchVersion = 1;

struct BatchEntry {
    std::string name;
    std::uint32_t inputKind = 0;
    std::uint16_t recordVersion = 2;
    std::vector<std::uint8_t> input;
};

struct EntryResult {
    std::uint32_t index = 0;
    std::uint32_t resultCode = 0;
    std::uint32_t recordResult = 0;
    std::vector<std::uint8_t> image;
};

// What a results file holds: the outcomes, and the entries whose parse
// started, in the order of the file.
struct ResultsFile {
    std::vector<EntryResult> results;
    std::vector<std::uint32_t> started;
};

// Little-endian reading from a byte vector, with a failure flag instead of
// reading past the end.
class ByteReader {
public:
    explicit ByteReader(const std::vector<std::uint8_t>& bytes) : data(bytes) {}

    bool failed() const { return broken; }
    bool atEnd() const { return offset == data.size(); }

    bool magic(const char (&expected)[4])
    {
        const std::uint8_t* at = take(4);
        if (!at) return false;
        for (int i = 0; i < 4; ++i) {
            if (at[i] != static_cast<std::uint8_t>(expected[i])) broken = true;
        }
        return !broken;
    }
    // Whether the next four bytes are `expected`, without consuming them.
    bool startsWith(const char (&expected)[4]) const
    {
        if (broken || data.size() - offset < 4) return false;
        for (int i = 0; i < 4; ++i) {
            if (data[offset + i] != static_cast<std::uint8_t>(expected[i])) return false;
        }
        return true;
    }
    std::uint32_t u32()
    {
        const std::uint8_t* at = take(4);
        return at ? at[0] | (at[1] << 8) | (at[2] << 16) | (static_cast<std::uint32_t>(at[3]) << 24) : 0;
    }
    std::uint16_t u16()
    {
        const std::uint8_t* at = take(2);
        return at ? static_cast<std::uint16_t>(at[0] | (at[1] << 8)) : 0;
    }
    std::vector<std::uint8_t> bytes(std::uint32_t size)
    {
        const std::uint8_t* at = take(size);
        return at ? std::vector<std::uint8_t>(at, at + size) : std::vector<std::uint8_t>();
    }

private:
    const std::uint8_t* take(std::size_t size)
    {
        if (broken || data.size() - offset < size) {
            broken = true;
            return nullptr;
        }
        const std::uint8_t* at = data.data() + offset;
        offset += size;
        return at;
    }

    const std::vector<std::uint8_t>& data;
    std::size_t offset = 0;
    bool broken = false;
};

inline void putU32(std::vector<std::uint8_t>& out, std::uint32_t value)
{
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

inline void putU16(std::vector<std::uint8_t>& out, std::uint16_t value)
{
    out.push_back(static_cast<std::uint8_t>(value));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
}

inline void putBytes(std::vector<std::uint8_t>& out, const void* bytes, std::size_t size)
{
    if (size == 0) return;
    const std::size_t at = out.size();
    out.resize(at + size);
    std::memcpy(out.data() + at, bytes, size);
}

inline std::vector<std::uint8_t> encodeBatch(const std::vector<BatchEntry>& entries)
{
    std::vector<std::uint8_t> out;
    putBytes(out, kBatchMagic, 4);
    putU32(out, kBatchVersion);
    putU32(out, static_cast<std::uint32_t>(entries.size()));
    for (const BatchEntry& entry : entries) {
        putU32(out, static_cast<std::uint32_t>(entry.name.size()));
        putBytes(out, entry.name.data(), entry.name.size());
        putU32(out, entry.inputKind);
        putU16(out, entry.recordVersion);
        putU32(out, static_cast<std::uint32_t>(entry.input.size()));
        putBytes(out, entry.input.data(), entry.input.size());
    }
    return out;
}

// Returns false for a file that is not a complete batch.
inline bool decodeBatch(const std::vector<std::uint8_t>& bytes, std::vector<BatchEntry>& entries)
{
    ByteReader reader(bytes);
    if (!reader.magic(kBatchMagic) || reader.u32() != kBatchVersion) return false;
    const std::uint32_t count = reader.u32();
    entries.clear();
    for (std::uint32_t i = 0; i < count && !reader.failed(); ++i) {
        BatchEntry entry;
        const std::vector<std::uint8_t> name = reader.bytes(reader.u32());
        entry.name.assign(name.begin(), name.end());
        entry.inputKind = reader.u32();
        entry.recordVersion = reader.u16();
        entry.input = reader.bytes(reader.u32());
        entries.push_back(std::move(entry));
    }
    return !reader.failed() && reader.atEnd();
}

inline std::vector<std::uint8_t> encodeStart(std::uint32_t index)
{
    std::vector<std::uint8_t> out;
    putBytes(out, kStartMagic, 4);
    putU32(out, index);
    return out;
}

inline std::vector<std::uint8_t> encodeResult(const EntryResult& result)
{
    std::vector<std::uint8_t> out;
    putBytes(out, kResultMagic, 4);
    putU32(out, result.index);
    putU32(out, result.resultCode);
    putU32(out, result.recordResult);
    putU32(out, static_cast<std::uint32_t>(result.image.size()));
    putBytes(out, result.image.data(), result.image.size());
    return out;
}

// Reads the complete records of a results file; a record cut short by the end
// of a process that died while writing it is left out.
inline ResultsFile decodeResults(const std::vector<std::uint8_t>& bytes)
{
    ResultsFile file;
    ByteReader reader(bytes);
    while (!reader.atEnd()) {
        if (reader.startsWith(kStartMagic)) {
            reader.magic(kStartMagic);
            const std::uint32_t index = reader.u32();
            if (reader.failed()) break;
            file.started.push_back(index);
            continue;
        }
        EntryResult result;
        if (!reader.magic(kResultMagic)) break;
        result.index = reader.u32();
        result.resultCode = reader.u32();
        result.recordResult = reader.u32();
        result.image = reader.bytes(reader.u32());
        if (reader.failed()) break;
        file.results.push_back(std::move(result));
    }
    return file;
}

inline bool readWholeFile(const std::string& path, std::vector<std::uint8_t>& bytes)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return false;
    bytes.clear();
    std::uint8_t chunk[1 << 16];
    std::size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) bytes.insert(bytes.end(), chunk, chunk + got);
    const bool ok = std::ferror(file) == 0;
    std::fclose(file);
    return ok;
}

}  // namespace Parsers::Compare
