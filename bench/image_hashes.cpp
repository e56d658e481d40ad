// domparse_image_hashes: the SHA-256 of the image that DOM_Parse makes of each
// document of a corpus folder, to prove that a change of the parser leaves
// every output byte as it was.
//
//   domparse_image_hashes [--corpus DIR] [-o FILE]    write the hashes
//   domparse_image_hashes [--corpus DIR] --check FILE compare with a file
//
// One line per document, in the order of the names, with tabs between the
// fields: name, input bytes, result code, image bytes, SHA-256 of the image.
// A document whose parse ends the process (the fault of a finished tree
// without body) or never ends gives its fate instead of the last three
// fields. Each document is parsed in a child process, through the exported
// DOM_Parse, on a writable copy with the zero padding behind it.

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "child_process.h"
#include "corpus.h"
#include "domparse.h"
#include "sha256.h"

namespace Parsers::Bench {

namespace {

// A parse of a corpus document takes well under a second.
constexpr ChildLimits kChildLimits{120, 0};

const char kUsage[] =
    "usage: domparse_image_hashes [--corpus DIR] [-o FILE | --check FILE]\n"
    "\n"
    "  --corpus DIR  folder of documents (*.html, *.htm); default ../shared/corpus\n"
    "  -o FILE       write the hashes to FILE instead of standard output\n"
    "  --check FILE  compare the hashes with FILE; exit status 1 when any differs\n";

const char kFileHeader[] =
    "# domparse corpus image hashes: document, input bytes, DOM_Parse result, image bytes,\n"
    "# SHA-256 of the image. A document whose parse ends the process gives its fate instead.\n";

struct Options {
    std::string corpus = "../shared/corpus";
    std::string output;
    std::string check;
};

// The line of one document; the parse runs in a child process.
std::string hashLine(const CorpusDocument& document)
{
    std::string line;
    ChildOutcome outcome = runInChildForBytes(
        [&] {
            std::vector<std::uint8_t> buffer(document.bytes);
            buffer.resize(document.bytes.size() + DOM_INPUT_PADDING, 0);
            DOM_ParseRecord record{DOM_RECORD_VERSION, DOM_INPUT_BYTES, 0};
            HGLOBAL block = nullptr;
            std::uint32_t code =
                DOM_Parse(buffer.data(), static_cast<std::uint32_t>(document.bytes.size()), &block, &record);
            if (code != DOM_RESULT_OK) return std::to_string(code) + "\t-\t-";
            const auto* image = static_cast<const std::uint8_t*>(GlobalLock(block));
            std::string fields = std::to_string(code) + "\t" + std::to_string(record.result) + "\t" +
                                 sha256Hex(image, record.result);
            GlobalUnlock(block);
            GlobalFree(block);
            return fields;
        },
        kChildLimits, line);
    std::string prefix = document.name + "\t" + std::to_string(document.bytes.size()) + "\t";
    if (!outcome.finished()) return prefix + outcome.describe();
    return prefix + line;
}

std::vector<std::string> hashLines(const std::string& folder)
{
    std::vector<CorpusDocument> documents = loadCorpus(folder);
    if (documents.empty()) throw std::runtime_error("no documents (*.html, *.htm) in " + folder);
    std::vector<std::string> lines;
    for (const auto& document : documents) lines.push_back(hashLine(document));
    return lines;
}

// The lines of a hash file without its comments.
std::vector<std::string> readHashFile(const std::string& path)
{
    std::ifstream in(path);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line[0] != '#') lines.push_back(line);
    }
    return lines;
}

std::string firstField(const std::string& line)
{
    return line.substr(0, line.find('\t'));
}

// Reports every document whose line differs, is new or is gone; true when
// none does.
bool compareLines(const std::vector<std::string>& expected, const std::vector<std::string>& actual)
{
    std::size_t differences = 0;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < expected.size() || j < actual.size()) {
        if (j == actual.size() || (i < expected.size() && firstField(expected[i]) < firstField(actual[j]))) {
            std::printf("missing:  %s\n", expected[i++].c_str());
            ++differences;
        } else if (i == expected.size() || firstField(actual[j]) < firstField(expected[i])) {
            std::printf("new:      %s\n", actual[j++].c_str());
            ++differences;
        } else {
            if (expected[i] != actual[j]) {
                std::printf("expected: %s\nactual:   %s\n", expected[i].c_str(), actual[j].c_str());
                ++differences;
            }
            ++i;
            ++j;
        }
    }
    std::printf("%zu documents, %zu differing from the hash file.\n", actual.size(), differences);
    return differences == 0;
}

int run(const Options& options)
{
    if (!sha256SelfCheck()) throw std::runtime_error("SHA-256 gives wrong digests for its test messages");
    std::vector<std::string> lines = hashLines(options.corpus);
    if (!options.check.empty()) return compareLines(readHashFile(options.check), lines) ? 0 : 1;
    std::ofstream file;
    if (!options.output.empty()) {
        file.open(options.output);
        if (!file) throw std::runtime_error("cannot create " + options.output);
    }
    std::ostream& out = options.output.empty() ? std::cout : file;
    out << kFileHeader;
    for (const auto& line : lines) out << line << '\n';
    out.flush();
    if (!out) throw std::runtime_error("cannot write the hashes");
    return 0;
}

}  // namespace
}  // namespace Parsers::Bench

int main(int argc, char** argv)
{
    Parsers::Bench::Options options;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        bool hasValue = i + 1 < argc;
        if (argument == "--corpus" && hasValue) {
            options.corpus = argv[++i];
        } else if (argument == "-o" && hasValue) {
            options.output = argv[++i];
        } else if (argument == "--check" && hasValue) {
            options.check = argv[++i];
        } else if (argument == "-h" || argument == "--help") {
            std::fputs(Parsers::Bench::kUsage, stdout);
            return 0;
        } else {
            std::fprintf(stderr, "domparse_image_hashes: bad argument: %s\n%s", argument.c_str(),
                         Parsers::Bench::kUsage);
            return 64;
        }
    }
    try {
        return Parsers::Bench::run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "domparse_image_hashes: %s\n", error.what());
        return 1;
    }
}
