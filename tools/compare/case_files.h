// The inputs of the end-to-end case files (tests/e2e/cases/*.dat), read the
// way the end-to-end suite reads them, for the image comparison. Only what a
// parse needs is taken: the input bytes, the input kind and the record
// version; the expected results stay with the suite.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Parsers::Compare {

struct CaseInput {
    std::string name;  // "<file>.dat #<index> (line <n>)"
    std::uint32_t inputKind = 0;
    std::uint16_t recordVersion = 2;
    std::vector<std::uint8_t> input;
};

// Reads one case file. A case starts at one of the data blocks:
//   #data          UTF-8 text; the line ends before the next block are not part of it
//   #data-escaped  text with \n \r \t \f \0 \\ \xHH \uXXXX; line ends are not part of it
//   #data-hex      hexadecimal bytes
// and may go on with #input-kind and #record-version (one number each). Under
// input kind 1 the text of #data and #data-escaped becomes UTF-16LE. Other
// blocks are skipped. A malformed block is reported in `error`, with its line.
std::vector<CaseInput> readCaseFile(const std::filesystem::path& path, std::string& error);

// Every *.dat file of the folder in name order; `error` names the first
// problem, or that the folder holds no case file.
std::vector<CaseInput> readCaseFolder(const std::filesystem::path& folder, std::string& error);

// UTF-8 text to UTF-16LE bytes, as the suite converts it: a lead byte takes
// the continuation bits of the bytes that its length claims, whatever they are.
std::vector<std::uint8_t> utf16Bytes(const std::string& utf8);

}  // namespace Parsers::Compare
