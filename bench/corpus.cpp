#include "corpus.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Parsers::Bench {

namespace {

bool isMarkupFile(const std::filesystem::directory_entry& entry)
{
    if (!entry.is_regular_file()) return false;
    std::string extension = entry.path().extension().string();
    return extension == ".html" || extension == ".htm";
}

std::vector<std::uint8_t> readFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path.string());
    std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw std::runtime_error("cannot read " + path.string());
    return bytes;
}

// The length of a well-formed sequence starting at `bytes`, 0 when it is not.
std::size_t utf8SequenceLength(const std::uint8_t* bytes, std::size_t left)
{
    std::uint8_t lead = bytes[0];
    std::size_t length;
    std::uint8_t low = 0x80;
    std::uint8_t high = 0xBF;
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;   // no overlong forms
        if (lead == 0xED) high = 0x9F;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
    } else {
        return 0;
    }
    if (left < length || bytes[1] < low || bytes[1] > high) return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if (bytes[i] < 0x80 || bytes[i] > 0xBF) return 0;
    }
    return length;
}

}  // namespace

// Sorted by name, so that every run and every parser sees the same order, and
// the block of the scaling series is the same pages each time.
std::vector<CorpusDocument> loadCorpus(const std::string& folder)
{
    std::error_code error;
    std::filesystem::directory_iterator entries(folder, error);
    if (error) throw std::runtime_error("cannot read the folder " + folder + ": " + error.message());
    std::vector<CorpusDocument> documents;
    for (const auto& entry : entries) {
        if (!isMarkupFile(entry)) continue;
        documents.push_back({entry.path().filename().string(), readFile(entry.path())});
    }
    std::sort(documents.begin(), documents.end(),
              [](const CorpusDocument& a, const CorpusDocument& b) { return a.name < b.name; });
    return documents;
}

std::uint64_t totalBytes(const std::vector<CorpusDocument>& documents)
{
    std::uint64_t total = 0;
    for (const auto& document : documents) total += document.bytes.size();
    return total;
}

// Whole documents only: a page cut in the middle would leave the next copy of
// the block to start inside a tag or a comment, unlike any real page.
std::vector<std::uint8_t> makeBlock(const std::vector<CorpusDocument>& documents, std::size_t limit)
{
    std::vector<std::uint8_t> block;
    for (const auto& document : documents) {
        if (block.size() + document.bytes.size() > limit) continue;
        if (!isUtf8(document.bytes.data(), document.bytes.size())) continue;
        block.insert(block.end(), document.bytes.begin(), document.bytes.end());
    }
    return block;
}

std::vector<std::uint8_t> repeatBlock(const std::vector<std::uint8_t>& block, std::size_t times)
{
    std::vector<std::uint8_t> repeated;
    repeated.reserve(block.size() * times);
    for (std::size_t i = 0; i < times; ++i) repeated.insert(repeated.end(), block.begin(), block.end());
    return repeated;
}

std::vector<std::uint8_t> nestedDivs(std::size_t depth)
{
    static constexpr char kTag[] = "<div>";
    constexpr std::size_t kTagLength = sizeof kTag - 1;
    std::vector<std::uint8_t> bytes(depth * kTagLength);
    for (std::size_t i = 0; i < depth; ++i) std::memcpy(bytes.data() + i * kTagLength, kTag, kTagLength);
    return bytes;
}

bool isUtf8(const std::uint8_t* bytes, std::size_t size)
{
    std::size_t at = 0;
    while (at < size) {
        // Runs of ASCII, the bulk of markup, eight bytes at a time.
        std::uint64_t word;
        while (size - at >= sizeof word) {
            std::memcpy(&word, bytes + at, sizeof word);
            if (word & 0x8080808080808080ull) break;
            at += sizeof word;
        }
        if (at == size) break;
        std::size_t length = utf8SequenceLength(bytes + at, size - at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

}  // namespace Parsers::Bench
