// Parses as a host does, through either exported entry (DOM_Parse of
// libdomparse.so, DOM_ParseGuarded of the guarded library): a writable copy of
// the input with DOM_INPUT_PADDING zero bytes behind it, a record, and the
// image block copied out and freed. Also the corpus documents beside the
// source tree. Header only, for the suites that compare the two libraries.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "domparse.h"

namespace PaddedParse {

using ParseFunction = std::uint32_t (*)(void*, std::uint32_t, HGLOBAL*, DOM_ParseRecord*);

struct Outcome {
    std::uint32_t result = 0xFFFFFFFFu;
    // The record's result field after the call.
    std::uint32_t imageSize = 0;
    // The image bytes; empty unless the result is DOM_RESULT_OK.
    std::vector<std::uint8_t> image;
};

inline bool operator==(const Outcome& a, const Outcome& b)
{
    return a.result == b.result && a.imageSize == b.imageSize && a.image == b.image;
}

// Parses `size` bytes at `data` with `parse`, from a copy with the padding
// behind it, and frees the block after copying the image out.
inline Outcome run(ParseFunction parse, const std::uint8_t* data, std::size_t size,
                   std::uint32_t inputKind = DOM_INPUT_BYTES,
                   std::uint16_t recordVersion = DOM_RECORD_VERSION)
{
    // Room for the padding, and an even start for UTF-16 input.
    std::vector<std::uint8_t> buffer(size + DOM_INPUT_PADDING, 0);
    if (size) std::memcpy(buffer.data(), data, size);
    DOM_ParseRecord record{};
    record.version = recordVersion;
    record.inputKind = inputKind;
    HGLOBAL handle = nullptr;
    Outcome outcome;
    outcome.result = parse(buffer.data(), static_cast<std::uint32_t>(size), &handle, &record);
    outcome.imageSize = record.result;
    if (outcome.result == DOM_RESULT_OK) {
        const auto* bytes = static_cast<const std::uint8_t*>(GlobalLock(handle));
        if (bytes) outcome.image.assign(bytes, bytes + record.result);
        GlobalUnlock(handle);
        GlobalFree(handle);
    }
    return outcome;
}

inline Outcome run(ParseFunction parse, const std::vector<std::uint8_t>& input,
                   std::uint32_t inputKind = DOM_INPUT_BYTES)
{
    return run(parse, input.data(), input.size(), inputKind);
}

inline Outcome run(ParseFunction parse, const std::string& text,
                   std::uint32_t inputKind = DOM_INPUT_BYTES)
{
    return run(parse, reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), inputKind);
}

struct Document {
    std::string name;
    std::vector<std::uint8_t> bytes;
};

inline std::vector<std::uint8_t> readFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(file), {});
}

// The folder of corpus documents beside the source tree (../shared/corpus).
inline std::filesystem::path corpusFolder()
{
    return std::filesystem::path(DOMPARSE_SHARED_DIR) / "corpus";
}

// Every *.html and *.htm document of the corpus, in the order of their names;
// empty when the folder is missing.
inline std::vector<Document> corpusDocuments()
{
    std::vector<Document> documents;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(corpusFolder(), error)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".html" && extension != ".htm") continue;
        documents.push_back({entry.path().filename().string(), readFile(entry.path())});
    }
    std::sort(documents.begin(), documents.end(),
              [](const Document& a, const Document& b) { return a.name < b.name; });
    return documents;
}

// One corpus document by its file name; empty bytes when it is missing.
inline Document corpusDocument(const std::string& name)
{
    return {name, readFile(corpusFolder() / name)};
}

}  // namespace PaddedParse
