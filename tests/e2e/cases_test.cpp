// The end-to-end cases of tests/e2e/cases/*.dat, one file per topic, each case
// run through the exported DOM_Parse and compared with its expected tree.
//
// A file is a list of cases. A case starts with one of the data blocks:
//   #data          the input as UTF-8 text; the line end before the next block
//                  is not part of it
//   #data-escaped  the input with escapes: \n \r \t \f \0 \\ \xHH (one raw
//                  byte) \uXXXX (the character in UTF-8); line ends in the
//                  block are not part of it
//   #data-hex      the input as hexadecimal bytes
// and may go on with
//   #input-kind     the record's input kind (default 0); under kind 1 the text
//                   of #data and #data-escaped is handed over as UTF-16
//   #record-version the record's version (default 2)
//   #result         the expected result code (default 0)
//   #document       the expected tree, lines of "| ...", as E2e::treeText
//                   writes it
//   #description    free text, not read

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "e2e_support.h"

namespace {

struct Case {
    std::string file;
    int index = 0;
    int line = 0;
    std::vector<std::uint8_t> input;
    std::string text;
    bool textIsUtf8 = false;
    std::uint32_t inputKind = 0;
    std::uint16_t recordVersion = 2;
    std::uint32_t result = 0;
    std::string tree;
    bool hasTree = false;
    std::string formatError;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.file << " #" << c.index << " (line " << c.line << ")";
}

void appendUtf8(std::string& out, std::uint32_t codePoint)
{
    if (codePoint < 0x80) {
        out += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        out += static_cast<char>(0xC0 | (codePoint >> 6));
        out += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (codePoint >> 12));
        out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

bool unescape(const std::string& text, std::string& out)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            out += text[i];
            continue;
        }
        if (++i == text.size()) return false;
        switch (text[i]) {
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'f': out += '\f'; break;
        case '0': out += '\0'; break;
        case '\\': out += '\\'; break;
        case 'x':
            if (i + 2 >= text.size()) return false;
            out += static_cast<char>(std::stoul(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
            break;
        case 'u':
            if (i + 4 >= text.size()) return false;
            appendUtf8(out, static_cast<std::uint32_t>(std::stoul(text.substr(i + 1, 4), nullptr, 16)));
            i += 4;
            break;
        default:
            return false;
        }
    }
    return true;
}

bool isHeader(const std::string& line)
{
    static const char* const headers[] = {"#data",          "#data-escaped", "#data-hex",
                                          "#input-kind",    "#record-version", "#result",
                                          "#document",      "#description"};
    return std::find(std::begin(headers), std::end(headers), line) != std::end(headers);
}

// Fills in the bytes once the whole case is read, since the input kind may
// follow the data.
void finish(Case& c)
{
    if (!c.textIsUtf8) return;
    if (c.inputKind == 1) {
        c.input = E2e::utf16Bytes(c.text);
    } else {
        c.input.assign(c.text.begin(), c.text.end());
    }
}

std::vector<Case> loadFile(const std::filesystem::path& path)
{
    std::vector<Case> cases;
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);

    const std::string name = path.stem().string();
    Case* current = nullptr;
    for (std::size_t i = 0; i < lines.size();) {
        const std::string& header = lines[i];
        if (!isHeader(header)) {
            if (!header.empty() && current) current->formatError = "stray line " + std::to_string(i + 1);
            ++i;
            continue;
        }
        std::vector<std::string> body;
        std::size_t next = i + 1;
        while (next < lines.size() && !isHeader(lines[next])) body.push_back(lines[next++]);
        if (header.rfind("#data", 0) == 0) {
            if (current) finish(*current);
            cases.emplace_back();
            current = &cases.back();
            current->file = name;
            current->index = static_cast<int>(cases.size()) - 1;
            current->line = static_cast<int>(i) + 1;
        }
        if (!current) {
            ++i;
            continue;
        }
        if (header == "#data") {
            // Trailing empty lines separate cases; they are no part of the data.
            while (!body.empty() && body.back().empty()) body.pop_back();
            for (std::size_t k = 0; k < body.size(); ++k) {
                if (k) current->text += '\n';
                current->text += body[k];
            }
            current->textIsUtf8 = true;
        } else if (header == "#data-escaped") {
            std::string joined;
            for (const std::string& part : body) joined += part;
            if (!unescape(joined, current->text)) current->formatError = "bad escape";
            current->textIsUtf8 = true;
        } else if (header == "#data-hex") {
            std::istringstream hex;
            std::string all;
            for (const std::string& part : body) all += part + " ";
            hex.str(all);
            for (std::string byte; hex >> byte;) {
                current->input.push_back(static_cast<std::uint8_t>(std::stoul(byte, nullptr, 16)));
            }
        } else if (header == "#input-kind" && !body.empty()) {
            current->inputKind = static_cast<std::uint32_t>(std::stoul(body[0]));
        } else if (header == "#record-version" && !body.empty()) {
            current->recordVersion = static_cast<std::uint16_t>(std::stoul(body[0]));
        } else if (header == "#result" && !body.empty()) {
            current->result = static_cast<std::uint32_t>(std::stoul(body[0]));
        } else if (header == "#document") {
            current->hasTree = true;
            for (const std::string& line : body) {
                if (line.empty()) continue;
                if (line.rfind("| ", 0) != 0) current->formatError = "tree line without \"| \"";
                current->tree += line + "\n";
            }
        }
        i = next;
    }
    if (current) finish(*current);
    for (Case& c : cases) {
        if (c.result == 0 && !c.hasTree) c.formatError = "no #document";
    }
    return cases;
}

std::vector<Case> loadAllCases()
{
    const std::filesystem::path folder =
        std::filesystem::path(DOMPARSE_SOURCE_DIR) / "tests" / "e2e" / "cases";
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".dat") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    std::vector<Case> all;
    for (const auto& path : files) {
        std::vector<Case> cases = loadFile(path);
        all.insert(all.end(), cases.begin(), cases.end());
    }
    return all;
}

const std::vector<Case>& allCases()
{
    static const std::vector<Case> cases = loadAllCases();
    return cases;
}

class CaseFiles : public ::testing::TestWithParam<Case> {};

TEST_P(CaseFiles, ParsesToTheExpectedImage)
{
    const Case& c = GetParam();
    const std::string where = c.file + ".dat case " + std::to_string(c.index) + " at line " +
                              std::to_string(c.line);
    ASSERT_EQ(c.formatError, "") << where;
    const E2e::Outcome outcome = E2e::parse(c.input, c.inputKind, c.recordVersion);
    ASSERT_EQ(outcome.result, c.result) << where;
    if (c.result == DOM_RESULT_OK) {
        EXPECT_EQ(outcome.tree, c.tree) << where;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, CaseFiles, ::testing::ValuesIn(allCases()),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             std::string name = info.param.file + "_" +
                                                std::to_string(info.param.index);
                             for (char& character : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(character))) {
                                     character = '_';
                                 }
                             }
                             return name;
                         });

TEST(CaseFilesCoverage, AtLeastOneHundredFiftyCases)
{
    EXPECT_GE(allCases().size(), 150u);
}

}  // namespace
