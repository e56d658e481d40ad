// Shared by the fuzz targets: the entry point macro, the check that turns a
// broken promise into a finding, and a full walk of an image through the
// reader.
//
// Each target is one function. Built for libFuzzer (DOMPARSE_FUZZ_ENTRY set,
// one executable per target) it is LLVMFuzzerTestOneInput; built into the
// regression suite it keeps its own name, so that the suite replays every
// saved finding through all targets in one executable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "domparse_reader.h"

#if defined(DOMPARSE_FUZZ_ENTRY)
#define DOMPARSE_FUZZ_TARGET(name) \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
#else
#define DOMPARSE_FUZZ_TARGET(name) int name(const std::uint8_t* data, std::size_t size)
#endif

namespace DomparseFuzz {

// The targets, under the names the regression suite calls them by.
int fuzzParseBytes(const std::uint8_t* data, std::size_t size);
int fuzzParseUtf16(const std::uint8_t* data, std::size_t size);
int fuzzPrescanDecode(const std::uint8_t* data, std::size_t size);
int fuzzImageReader(const std::uint8_t* data, std::size_t size);

// Inputs above this size are cut: larger ones only make each run slower, and
// the stress tests cover sizes.
inline constexpr std::size_t kMaxInputSize = 1u << 16;

// A promise of the library that the input broke. Under libFuzzer: printed,
// then abort(), which libFuzzer records as a crash with the input that caused
// it. In the regression suite: thrown, so that the test names the input.
struct Finding : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[noreturn]] inline void finding(const char* what, unsigned long value)
{
#if defined(DOMPARSE_FUZZ_ENTRY)
    std::fprintf(stderr, "domparse fuzz finding: %s (%lu)\n", what, value);
    std::abort();
#else
    std::string message = what;
    message += " (";
    message += std::to_string(value);
    message += ")";
    throw Finding(message);
#endif
}

inline void check(bool holds, const char* what, unsigned long value = 0)
{
    if (!holds) finding(what, value);
}

// A writable copy of the input with four zero bytes behind it, as the library
// requires of its callers: it rewrites the input in place and looks one unit
// past the text. The vector's storage is aligned for UTF-16 units.
inline std::vector<std::uint8_t> paddedCopy(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::uint8_t> buffer(size + 4, 0);
    if (size) std::memcpy(buffer.data(), data, size);
    return buffer;
}

// Reads everything an open image offers: every node, its children, attributes
// and declarations, every string, each also as UTF-8. Returns a sum of what it
// read, so that nothing is optimised away.
inline std::uint64_t walkImage(const DOMImage* image)
{
    std::uint64_t sum = 0;
    char utf8[64];
    const std::uint32_t strings = DOMImage_StringCount(image);
    for (std::uint32_t index = 0; index < strings; ++index) {
        const DOMImageString string = DOMImage_String(image, index);
        for (std::uint32_t unit = 0; unit < string.length; ++unit) {
            sum += DOMImage_Unit(string, unit);
        }
        sum += DOMImage_ToUtf8(string, utf8, sizeof utf8);
    }
    const std::uint32_t nodes = DOMImage_NodeCount(image);
    for (std::uint32_t index = 0; index < nodes; ++index) {
        DOMImageNode node;
        if (DOMImage_GetNode(image, index, &node) != 1) finding("a node of an open image", index);
        sum += node.kind + node.depth + DOMImage_SubtreeEnd(image, index);
        for (std::uint32_t child = 0; child < node.childCount; ++child) {
            sum += DOMImage_Child(image, index, child);
        }
        for (std::uint32_t position = 0; position < node.attributeCount; ++position) {
            DOMImageAttribute attribute;
            const std::uint32_t at = DOMImage_ElementAttribute(image, index, position);
            if (DOMImage_GetAttribute(image, at, &attribute) == 1) sum += attribute.valueString;
        }
        for (std::uint32_t position = 0; position < node.declarationCount; ++position) {
            DOMImageDeclaration declaration;
            if (DOMImage_GetDeclaration(image, index, position, &declaration) == 1) {
                sum += declaration.uriString;
            }
        }
        if (node.kind == DOM_IMAGE_ELEMENT) sum += DOMImage_ElementName(image, index).length;
    }
    for (std::uint32_t position = 0; position < DOMImage_RootCount(image); ++position) {
        sum += DOMImage_Root(image, position);
    }
    return sum;
}

}  // namespace DomparseFuzz
