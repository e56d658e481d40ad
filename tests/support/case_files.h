// The case files of the end-to-end suites (tests/e2e/cases, tests/mode1/cases):
// one file per topic, each a list of cases with an input and its expected
// tree. Header only, so that each suite's executable takes it as it is.
//
// A case starts with one of the data blocks:
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
//   #errors         the codes of the tree constructor's reports (107 and up),
//                   in order, separated by spaces or line ends; an empty block
//                   says that there are none. Without the block the reports
//                   are not checked.
//   #document       the expected tree, lines of "| ...", as treeText writes it
//   #markup         the expected markup text of the finished document (suites
//                   that write markup); line ends inside the block are part of
//                   it, the one before the next block is not
//   #description    free text, not read
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "support/image_tree_text.h"

namespace CaseFiles {

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
    std::string markup;
    bool hasMarkup = false;
    bool hasErrors = false;
    std::vector<std::uint32_t> errors;
    std::string formatError;

    std::string where() const
    {
        return file + ".dat case " + std::to_string(index) + " at line " + std::to_string(line);
    }
};

inline void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.file << " #" << c.index << " (line " << c.line << ")";
}

inline void appendUtf8(std::string& out, std::uint32_t codePoint)
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

inline bool unescape(const std::string& text, std::string& out)
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

inline bool isHeader(const std::string& line)
{
    static const char* const headers[] = {"#data",        "#data-escaped",   "#data-hex",
                                          "#input-kind",  "#record-version", "#result",
                                          "#errors",      "#document",       "#markup",
                                          "#description"};
    return std::find(std::begin(headers), std::end(headers), line) != std::end(headers);
}

// Fills in the bytes once the whole case is read, since the input kind may
// follow the data.
inline void finish(Case& c)
{
    if (!c.textIsUtf8) return;
    if (c.inputKind == 1) {
        c.input = ImageTreeText::utf16Bytes(c.text);
    } else {
        c.input.assign(c.text.begin(), c.text.end());
    }
}

inline void readBlock(Case& c, const std::string& header, std::vector<std::string>& body)
{
    if (header == "#data") {
        // Trailing empty lines separate cases; they are no part of the data.
        while (!body.empty() && body.back().empty()) body.pop_back();
        for (std::size_t k = 0; k < body.size(); ++k) {
            if (k) c.text += '\n';
            c.text += body[k];
        }
        c.textIsUtf8 = true;
    } else if (header == "#data-escaped") {
        std::string joined;
        for (const std::string& part : body) joined += part;
        if (!unescape(joined, c.text)) c.formatError = "bad escape";
        c.textIsUtf8 = true;
    } else if (header == "#data-hex") {
        std::istringstream hex;
        std::string all;
        for (const std::string& part : body) all += part + " ";
        hex.str(all);
        for (std::string byte; hex >> byte;) {
            c.input.push_back(static_cast<std::uint8_t>(std::stoul(byte, nullptr, 16)));
        }
    } else if (header == "#input-kind" && !body.empty()) {
        c.inputKind = static_cast<std::uint32_t>(std::stoul(body[0]));
    } else if (header == "#record-version" && !body.empty()) {
        c.recordVersion = static_cast<std::uint16_t>(std::stoul(body[0]));
    } else if (header == "#result" && !body.empty()) {
        c.result = static_cast<std::uint32_t>(std::stoul(body[0]));
    } else if (header == "#errors") {
        c.hasErrors = true;
        std::istringstream codes;
        std::string all;
        for (const std::string& part : body) all += part + " ";
        codes.str(all);
        for (std::string code; codes >> code;) {
            if (!std::all_of(code.begin(), code.end(),
                             [](char digit) { return std::isdigit(static_cast<unsigned char>(digit)); })) {
                c.formatError = "error code that is not a number";
                continue;
            }
            c.errors.push_back(static_cast<std::uint32_t>(std::stoul(code)));
        }
    } else if (header == "#markup") {
        while (!body.empty() && body.back().empty()) body.pop_back();
        for (std::size_t k = 0; k < body.size(); ++k) {
            if (k) c.markup += '\n';
            c.markup += body[k];
        }
        c.hasMarkup = true;
    } else if (header == "#document") {
        c.hasTree = true;
        for (const std::string& line : body) {
            if (line.empty()) continue;
            if (line.rfind("| ", 0) != 0) c.formatError = "tree line without \"| \"";
            c.tree += line + "\n";
        }
    }
}

inline std::vector<Case> loadFile(const std::filesystem::path& path)
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
        if (current) readBlock(*current, header, body);
        i = next;
    }
    if (current) finish(*current);
    for (Case& c : cases) {
        if (c.result == 0 && !c.hasTree && !c.hasMarkup) c.formatError = "no #document";
    }
    return cases;
}

// Every *.dat file of a folder, in the order of their names.
inline std::vector<Case> loadFolder(const std::filesystem::path& folder)
{
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

// A test name from the file name and the index: letters and digits only.
inline std::string testName(const Case& c)
{
    std::string name = c.file + "_" + std::to_string(c.index);
    for (char& character : name) {
        if (!std::isalnum(static_cast<unsigned char>(character))) character = '_';
    }
    return name;
}

}  // namespace CaseFiles
