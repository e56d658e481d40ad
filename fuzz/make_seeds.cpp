// Writes the seed inputs of the fuzz targets: every end-to-end case and pieces
// of every corpus document, in the form each target takes, and the images the
// guarded library makes of them for the image reader's target.
//
//   domparse_fuzz_seeds --cases tests/e2e/cases --corpus ../shared/corpus --out DIR
//
// Each target gets its folder under DIR (parse_bytes, parse_utf16,
// prescan_decode, image_reader). Corpus documents are cut to pieces of at most
// 16 KB: the targets cut longer inputs anyway, and short seeds run faster.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "domparse.h"
#include "support/case_files.h"
#include "support/image_tree_text.h"
#include "support/padded_parse.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kPieceSize = 16 * 1024;
constexpr std::size_t kPrescanPieceSize = 4 * 1024;
constexpr std::size_t kCharsetRows = 90;

void writeSeed(const fs::path& folder, const std::string& name, const Bytes& bytes)
{
    std::string safe = name;
    for (char& character : safe) {
        if (!std::isalnum(static_cast<unsigned char>(character)) && character != '-') {
            character = '_';
        }
    }
    std::ofstream file(folder / safe, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

Bytes slice(const Bytes& bytes, std::size_t from, std::size_t count)
{
    from = std::min(from, bytes.size());
    count = std::min(count, bytes.size() - from);
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                 bytes.begin() + static_cast<std::ptrdiff_t>(from + count));
}

// UTF-8 to UTF-16LE bytes, as the test cases turn their text into UTF-16
// input. A corpus piece may be cut inside a sequence or be in another
// encoding; whatever units come of it make a seed as good as any.
Bytes utf16Of(const Bytes& utf8)
{
    return ImageTreeText::utf16Bytes(
        std::string_view(reinterpret_cast<const char*>(utf8.data()), utf8.size()));
}

// The image the guarded library makes of `bytes`, or nothing.
void writeImageSeed(const fs::path& folder, const std::string& name, const Bytes& bytes,
                    std::uint32_t inputKind)
{
    const PaddedParse::Outcome outcome =
        PaddedParse::run(DOM_ParseGuarded, bytes.data(), bytes.size(), inputKind);
    if (outcome.result == DOM_RESULT_OK) writeSeed(folder, name, outcome.image);
}

}  // namespace

int main(int argc, char** argv)
{
    fs::path cases;
    fs::path corpus;
    fs::path out;
    for (int at = 1; at + 1 < argc; at += 2) {
        const std::string option = argv[at];
        if (option == "--cases") cases = argv[at + 1];
        if (option == "--corpus") corpus = argv[at + 1];
        if (option == "--out") out = argv[at + 1];
    }
    if (cases.empty() || out.empty()) {
        std::fprintf(stderr, "usage: domparse_fuzz_seeds --cases DIR [--corpus DIR] --out DIR\n");
        return 64;
    }
    const fs::path bytesSeeds = out / "parse_bytes";
    const fs::path utf16Seeds = out / "parse_utf16";
    const fs::path prescanSeeds = out / "prescan_decode";
    const fs::path imageSeeds = out / "image_reader";
    for (const fs::path& folder : {bytesSeeds, utf16Seeds, prescanSeeds, imageSeeds}) {
        fs::create_directories(folder);
    }

    std::size_t written = 0;
    for (const CaseFiles::Case& c : CaseFiles::loadFolder(cases)) {
        const std::string name = "case-" + CaseFiles::testName(c);
        if (c.inputKind == DOM_INPUT_UTF16) {
            writeSeed(utf16Seeds, name, c.input);
        } else {
            writeSeed(bytesSeeds, name, c.input);
            if (c.textIsUtf8) writeSeed(utf16Seeds, name, utf16Of(c.input));
            Bytes prescan{0x00};
            prescan.insert(prescan.end(), c.input.begin(), c.input.end());
            writeSeed(prescanSeeds, name, prescan);
        }
        writeImageSeed(imageSeeds, name, c.input, c.inputKind);
        ++written;
    }

    std::size_t documents = 0;
    for (const auto& entry : fs::directory_iterator(corpus.empty() ? fs::path(".") : corpus)) {
        if (corpus.empty()) break;
        const std::string extension = entry.path().extension().string();
        if (extension != ".html" && extension != ".htm") continue;
        const Bytes bytes = PaddedParse::readFile(entry.path());
        const std::string name = "corpus-" + entry.path().stem().string();
        const Bytes head = slice(bytes, 0, kPieceSize);
        const Bytes middle = slice(bytes, bytes.size() / 2, kPieceSize);
        writeSeed(bytesSeeds, name + "-head", head);
        writeSeed(bytesSeeds, name + "-middle", middle);
        writeSeed(utf16Seeds, name + "-head", utf16Of(slice(bytes, 0, kPieceSize / 2)));
        Bytes prescan{0x00};
        const Bytes prescanHead = slice(bytes, 0, kPrescanPieceSize);
        prescan.insert(prescan.end(), prescanHead.begin(), prescanHead.end());
        writeSeed(prescanSeeds, name + "-prescan", prescan);
        // One decoder seed per document, spread over the rows of the table.
        Bytes decoder{static_cast<std::uint8_t>(0x80 + (documents * 7) % kCharsetRows)};
        decoder.insert(decoder.end(), prescanHead.begin(), prescanHead.end());
        writeSeed(prescanSeeds, name + "-decoder", decoder);
        writeImageSeed(imageSeeds, name + "-head", head, DOM_INPUT_BYTES);
        ++documents;
    }
    std::printf("seeds from %zu cases and %zu corpus documents in %s\n", written, documents,
                out.string().c_str());
    return 0;
}
