// domparse_profile: DOM_Parse over a fixed list of files, and nothing else, for
// a profiler. On a shared machine timings are noisy, so the effect of a change
// is judged by the instructions that callgrind counts, which repeat exactly:
//
//   valgrind --tool=callgrind ./domparse_profile [--repeat N] FILE...
//
// Each file is read once; every parse gets a fresh writable copy with the zero
// padding behind it, as a host gives, and the image is released at once. The
// program prints each file's result code and image size, so that a run also
// shows that the parses succeeded.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "domparse.h"

namespace {

std::vector<std::uint8_t> readFile(const char* path)
{
    std::FILE* file = std::fopen(path, "rb");
    if (!file) {
        std::fprintf(stderr, "domparse_profile: cannot read %s\n", path);
        std::exit(2);
    }
    std::vector<std::uint8_t> bytes;
    std::uint8_t chunk[65536];
    std::size_t count;
    while ((count = std::fread(chunk, 1, sizeof chunk, file)) > 0) {
        bytes.insert(bytes.end(), chunk, chunk + count);
    }
    std::fclose(file);
    return bytes;
}

struct Outcome {
    std::uint32_t resultCode;
    std::uint32_t imageSize;
};

Outcome parseOnce(const std::vector<std::uint8_t>& bytes, std::vector<std::uint8_t>& buffer)
{
    buffer.clear();
    buffer.reserve(bytes.size() + DOM_INPUT_PADDING);  // one block, no second copy
    buffer.assign(bytes.begin(), bytes.end());
    buffer.resize(bytes.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{DOM_RECORD_VERSION, DOM_INPUT_BYTES, 0};
    HGLOBAL block = nullptr;
    std::uint32_t code =
        DOM_Parse(buffer.data(), static_cast<std::uint32_t>(bytes.size()), &block, &record);
    if (code == DOM_RESULT_OK) GlobalFree(block);
    return Outcome{code, code == DOM_RESULT_OK ? record.result : 0};
}

}  // namespace

int main(int argc, char** argv)
{
    int repeat = 1;
    std::vector<const char*> paths;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--repeat") == 0 && i + 1 < argc) {
            repeat = std::atoi(argv[++i]);
        } else {
            paths.push_back(argv[i]);
        }
    }
    if (paths.empty() || repeat < 1) {
        std::fputs("usage: domparse_profile [--repeat N] FILE...\n", stderr);
        return 2;
    }
    std::vector<std::vector<std::uint8_t>> files;
    for (const char* path : paths) files.push_back(readFile(path));

    std::vector<std::uint8_t> buffer;
    for (int round = 0; round < repeat; ++round) {
        for (std::size_t i = 0; i < files.size(); ++i) {
            Outcome outcome = parseOnce(files[i], buffer);
            if (round == 0) {
                std::printf("%s\t%zu bytes\tresult %u\timage %u bytes\n", paths[i], files[i].size(),
                            outcome.resultCode, outcome.imageSize);
            }
        }
    }
    return 0;
}
