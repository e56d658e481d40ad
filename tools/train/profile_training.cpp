// domparse_training: the training run of the profile-feedback build. It is
// linked against an instrumented copy of the parsing core and parses one
// document the way a host does: a writable copy with the zero padding behind
// it, the image released at once. The counts the instrumented core gathers are
// written when the program ends; the release build of the core is then
// compiled with them (cmake/profile_feedback.cmake), so that the compiler lays
// out the hot paths of real pages first.
//
// One document per run: a document that brings the parse down costs the
// counts of its own run and nothing else.

#include <sys/resource.h>

#include <cstdio>
#include <vector>

#include "library/dom_parse.h"
#include "library/shared_types.h"

namespace {

bool readFile(const char* path, std::vector<std::uint8_t>& bytes)
{
    std::FILE* file = std::fopen(path, "rb");
    if (!file) return false;
    std::uint8_t chunk[65536];
    std::size_t count;
    while ((count = std::fread(chunk, 1, sizeof chunk, file)) > 0) {
        bytes.insert(bytes.end(), chunk, chunk + count);
    }
    const bool complete = std::ferror(file) == 0;
    std::fclose(file);
    return complete;
}

// Parses the document as DOM_Parse does and releases the image; the result
// code is all the caller learns.
std::uint32_t parseOnce(const std::vector<std::uint8_t>& bytes, std::uint32_t inputKind)
{
    std::vector<std::uint8_t> buffer(bytes);
    buffer.resize(bytes.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{DOM_RECORD_VERSION, inputKind, 0};
    HGLOBAL block = nullptr;
    const std::uint32_t code = Parsers::parseToImage(
        buffer.data(), static_cast<std::uint32_t>(bytes.size()), &block, &record);
    if (code == DOM_RESULT_OK) GlobalFree(block);
    return code;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: domparse_training DOCUMENT\n", stderr);
        return 2;
    }
    // A document whose parse ends the process (one whose tree has no body)
    // must not leave a core file in the build folder.
    const rlimit noCoreFile{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCoreFile);
    std::vector<std::uint8_t> bytes;
    if (!readFile(argv[1], bytes) || bytes.size() > 0xFFFFFFF0u) {
        std::fprintf(stderr, "domparse_training: cannot read %s\n", argv[1]);
        return 2;
    }
    const std::uint32_t code = parseOnce(bytes, DOM_INPUT_BYTES);
    if (code != DOM_RESULT_OK) {
        std::fprintf(stderr, "domparse_training: %s: result %u\n", argv[1], code);
        return 1;
    }
    return 0;
}
