// Reading the inputs of the end-to-end case files.

#include "case_files.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <sstream>

namespace Parsers::Compare {
namespace {

const char* const kHeaders[] = {"#data",   "#data-escaped", "#data-hex",   "#input-kind", "#record-version",
                                "#result", "#document",     "#description"};

bool isHeader(const std::string& line)
{
    return std::find(std::begin(kHeaders), std::end(kHeaders), line) != std::end(kHeaders);
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

bool isHex(const std::string& text, std::size_t at, std::size_t count)
{
    if (text.size() < at + count) return false;
    return std::all_of(text.begin() + static_cast<std::ptrdiff_t>(at),
                       text.begin() + static_cast<std::ptrdiff_t>(at + count),
                       [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; });
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
            if (!isHex(text, i + 1, 2)) return false;
            out += static_cast<char>(std::stoul(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
            break;
        case 'u':
            if (!isHex(text, i + 1, 4)) return false;
            appendUtf8(out, static_cast<std::uint32_t>(std::stoul(text.substr(i + 1, 4), nullptr, 16)));
            i += 4;
            break;
        default:
            return false;
        }
    }
    return true;
}

// A case while it is read: text blocks become bytes only at its end, since the
// input kind may follow the data.
struct PendingCase {
    CaseInput input;
    std::string text;
    bool textIsUtf8 = false;

    CaseInput finish()
    {
        if (textIsUtf8) {
            input.input = input.inputKind == 1 ? utf16Bytes(text) : std::vector<std::uint8_t>(text.begin(), text.end());
        }
        return std::move(input);
    }
};

// Fills the case from one block; returns false for a malformed block.
bool readBlock(const std::string& header, std::vector<std::string> body, PendingCase& current)
{
    if (header == "#data") {
        // Trailing empty lines separate cases; they are no part of the data.
        while (!body.empty() && body.back().empty()) body.pop_back();
        for (std::size_t k = 0; k < body.size(); ++k) {
            if (k) current.text += '\n';
            current.text += body[k];
        }
        current.textIsUtf8 = true;
    } else if (header == "#data-escaped") {
        std::string joined;
        for (const std::string& part : body) joined += part;
        current.textIsUtf8 = true;
        return unescape(joined, current.text);
    } else if (header == "#data-hex") {
        std::string all;
        for (const std::string& part : body) all += part + " ";
        std::istringstream hex(all);
        for (std::string byte; hex >> byte;) {
            if (byte.size() > 2 || !isHex(byte, 0, byte.size())) return false;
            current.input.input.push_back(static_cast<std::uint8_t>(std::stoul(byte, nullptr, 16)));
        }
    } else if (header == "#input-kind" || header == "#record-version") {
        if (body.empty() || body[0].empty() ||
            !std::all_of(body[0].begin(), body[0].end(), [](char c) { return c >= '0' && c <= '9'; })) {
            return false;
        }
        const unsigned long value = std::stoul(body[0]);
        if (header == "#input-kind") {
            current.input.inputKind = static_cast<std::uint32_t>(value);
        } else {
            current.input.recordVersion = static_cast<std::uint16_t>(value);
        }
    }
    return true;
}

}  // namespace

std::vector<std::uint8_t> utf16Bytes(const std::string& utf8)
{
    std::vector<std::uint8_t> out;
    auto put = [&out](std::uint32_t unit) {
        out.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        out.push_back(static_cast<std::uint8_t>(unit >> 8));
    };
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        std::uint32_t codePoint = lead;
        std::size_t length = 1;
        if (lead >= 0xF0) {
            codePoint = lead & 0x07;
            length = 4;
        } else if (lead >= 0xE0) {
            codePoint = lead & 0x0F;
            length = 3;
        } else if (lead >= 0xC0) {
            codePoint = lead & 0x1F;
            length = 2;
        }
        for (std::size_t k = 1; k < length && i + k < utf8.size(); ++k) {
            codePoint = (codePoint << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
        }
        i += length;
        if (codePoint >= 0x10000) {
            codePoint -= 0x10000;
            put(0xD800 + (codePoint >> 10));
            put(0xDC00 + (codePoint & 0x3FF));
        } else {
            put(codePoint);
        }
    }
    return out;
}

std::vector<CaseInput> readCaseFile(const std::filesystem::path& path, std::string& error)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        error = path.string() + ": cannot read";
        return {};
    }
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);

    const std::string fileName = path.filename().string();
    std::vector<CaseInput> cases;
    PendingCase current;
    bool haveCase = false;
    for (std::size_t i = 0; i < lines.size();) {
        if (!isHeader(lines[i])) {
            ++i;
            continue;
        }
        const std::string& header = lines[i];
        std::vector<std::string> body;
        std::size_t next = i + 1;
        while (next < lines.size() && !isHeader(lines[next])) body.push_back(lines[next++]);
        if (header.rfind("#data", 0) == 0) {
            if (haveCase) cases.push_back(current.finish());
            current = PendingCase{};
            current.input.name = fileName + " #" + std::to_string(cases.size()) + " (line " + std::to_string(i + 1) + ")";
            haveCase = true;
        }
        if (haveCase && !readBlock(header, std::move(body), current) && error.empty()) {
            error = path.string() + ":" + std::to_string(i + 1) + ": malformed " + header + " block";
        }
        i = next;
    }
    if (haveCase) cases.push_back(current.finish());
    return cases;
}

std::vector<CaseInput> readCaseFolder(const std::filesystem::path& folder, std::string& error)
{
    std::vector<std::filesystem::path> files;
    std::error_code problem;
    for (const auto& entry : std::filesystem::directory_iterator(folder, problem)) {
        if (entry.path().extension() == ".dat") files.push_back(entry.path());
    }
    if (problem) {
        error = folder.string() + ": " + problem.message();
        return {};
    }
    if (files.empty()) {
        error = folder.string() + ": no case files (*.dat)";
        return {};
    }
    std::sort(files.begin(), files.end());
    std::vector<CaseInput> all;
    for (const auto& path : files) {
        std::vector<CaseInput> cases = readCaseFile(path, error);
        all.insert(all.end(), std::make_move_iterator(cases.begin()), std::make_move_iterator(cases.end()));
    }
    return all;
}

}  // namespace Parsers::Compare
