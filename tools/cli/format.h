// Output forms of the domparse tool, over an image that the reader has checked.
//
// Kept apart from the tool's main so that tests drive every form directly on
// hand-built images. None of the writers recurses on the depth of a tree.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "domparse_reader.h"

namespace Parsers::Cli {

// Lines deeper than this are indented as at this depth and carry their depth
// as "@N ", so that a chain of a million elements prints in linear size.
inline constexpr std::uint32_t kMaxIndentDepth = 100;

// How a string is escaped: for the tree form or inside a JSON string.
enum class EscapeStyle {
    Tree,
    Json,
};

// Appends the string as UTF-8 with the escapes of the style. Both styles
// escape `"` and `\`, control units and lone surrogates as \uXXXX (with \n,
// \t and \r, and in JSON also \b and \f). The tree style also escapes
// non-characters (U+FDD0 to U+FDEF and every code point ending in FFFE or
// FFFF), as \uXXXX or a pair of them.
void appendEscaped(std::string& out, DOMImageString string, EscapeStyle style);

// The tree: one node per line, two spaces of indentation per level.
//   element  <prefix:name attr="value" p:attr2="v"> [ns=URI] [@p:attr2 ns=URI]
//   text     "..."
//   comment  <!--...-->
void writeTree(const DOMImage* image, std::ostream& out);

// One JSON object on one line, ended by a line feed:
// {"file":...,"result":0,"imageSize":N,"nodes":[...]}.
void writeJson(const DOMImage* image, std::string_view file, std::ostream& out);

// A JSON line for a file whose parse failed: {"file":...,"result":N,"error":...}.
void writeJsonFailure(std::string_view file, std::uint32_t result, std::string_view error,
                      std::ostream& out);

// A JSON line for a file that could not be read, so that no parse result
// exists: {"file":...,"result":null,"error":...}.
void writeJsonReadFailure(std::string_view file, std::string_view error, std::ostream& out);

// What the tool measured around the parse of one file.
struct ParseMeasure {
    std::uint64_t inputSize = 0;
    double milliseconds = 0;
};

// One line of counts, sizes and speed:
// FILE: nodes=7 elements=3 texts=3 comments=1 attributes=4 strings=13
//       imageSize=684 inputSize=1000 parseMs=0.500 MBps=2.00
void writeStats(const DOMImage* image, std::string_view file, const ParseMeasure& measure,
                std::ostream& out);

// The text of a DOM_Parse result code for messages.
const char* describeResult(std::uint32_t result);

}  // namespace Parsers::Cli
