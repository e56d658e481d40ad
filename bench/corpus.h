// The inputs of the benchmark: the documents of a corpus folder, loaded into
// memory once, and the inputs made from them or from scratch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Parsers::Bench {

struct CorpusDocument {
    std::string name;
    std::vector<std::uint8_t> bytes;
};

// Every regular file of the folder whose name ends in .html or .htm, in the
// order of their names. Throws std::runtime_error when the folder or a file
// cannot be read.
std::vector<CorpusDocument> loadCorpus(const std::string& folder);

std::uint64_t totalBytes(const std::vector<CorpusDocument>& documents);

// Whole documents in the given order, as many as fit into `limit` bytes
// together, each skipped when it would not fit; documents that are not UTF-8
// are left out, so that every repetition decodes the same way.
std::vector<std::uint8_t> makeBlock(const std::vector<CorpusDocument>& documents, std::size_t limit);

// `block` written `times` times in a row.
std::vector<std::uint8_t> repeatBlock(const std::vector<std::uint8_t>& block, std::size_t times);

// `depth` start tags "<div>" and nothing else: each element stays open and
// holds the next.
std::vector<std::uint8_t> nestedDivs(std::size_t depth);

// Whether the bytes are well-formed UTF-8 (shortest forms, no surrogates,
// nothing above U+10FFFF).
bool isUtf8(const std::uint8_t* bytes, std::size_t size);

}  // namespace Parsers::Bench
