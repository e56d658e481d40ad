// domparse_image_dump: parses the entries of a batch file with the library's
// exported DOM_Parse and appends each result code and image to a results file
// (formats in batch_format.h). The Linux build links it with libdomparse.so,
// the Windows build with domparse.dll, and the image comparison runs both on
// the same batch.
//
//   domparse_image_dump BATCH RESULTS [FIRST]
//
// It parses the entries from index FIRST (default 0) to the end, one by one,
// as a host does: a writable copy of the input with DOM_INPUT_PADDING zero
// bytes behind it, a fresh record, and a block that it frees itself. Before
// each parse it notes the entry's start in the results file, so that an entry
// that ends the process is known; the driver then starts the program again
// behind that entry.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "batch_format.h"
#include "domparse.h"

namespace Parsers::Compare {
namespace {

EntryResult parseEntry(const BatchEntry& entry, std::uint32_t index)
{
    // The same buffer on both systems: input, then the padding, all writable.
    std::vector<std::uint8_t> buffer(entry.input);
    buffer.resize(entry.input.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = entry.recordVersion;
    record.inputKind = entry.inputKind;
    record.result = 0;
    HGLOBAL block = nullptr;

    EntryResult result;
    result.index = index;
    result.resultCode = DOM_Parse(buffer.data(), static_cast<std::uint32_t>(entry.input.size()), &block, &record);
    result.recordResult = record.result;
    if (result.resultCode == DOM_RESULT_OK && block) {
        const void* bytes = GlobalLock(block);
        if (bytes) {
            const auto* first = static_cast<const std::uint8_t*>(bytes);
            result.image.assign(first, first + record.result);
            GlobalUnlock(block);
        }
        GlobalFree(block);
    }
    return result;
}

int run(const std::string& batchPath, const std::string& resultsPath, std::uint32_t first)
{
    std::vector<std::uint8_t> bytes;
    std::vector<BatchEntry> entries;
    if (!readWholeFile(batchPath, bytes) || !decodeBatch(bytes, entries)) {
        std::fprintf(stderr, "domparse_image_dump: %s: not a readable batch file\n", batchPath.c_str());
        return 66;
    }
    std::FILE* out = std::fopen(resultsPath.c_str(), "ab");
    if (!out) {
        std::fprintf(stderr, "domparse_image_dump: %s: cannot open: %s\n", resultsPath.c_str(),
                     std::strerror(errno));
        return 73;
    }
    // Every record is flushed at once: should an entry end the process, the
    // file shows which one, and all before it are complete.
    auto write = [out](const std::vector<std::uint8_t>& record) {
        return std::fwrite(record.data(), 1, record.size(), out) == record.size() && std::fflush(out) == 0;
    };
    for (std::uint32_t index = first; index < entries.size(); ++index) {
        if (!write(encodeStart(index)) || !write(encodeResult(parseEntry(entries[index], index)))) {
            std::fprintf(stderr, "domparse_image_dump: %s: cannot write\n", resultsPath.c_str());
            std::fclose(out);
            return 74;
        }
    }
    return std::fclose(out) == 0 ? 0 : 74;
}

}  // namespace
}  // namespace Parsers::Compare

int main(int argc, char** argv)
{
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: domparse_image_dump BATCH RESULTS [FIRST]\n");
        return 64;
    }
    const std::uint32_t first = argc == 4 ? static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 10)) : 0;
    return Parsers::Compare::run(argv[1], argv[2], first);
}
