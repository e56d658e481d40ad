// Types that every stage of a parse shares: the 16-bit string, source positions,
// the interned name identifiers and the values the library throws.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "dom/node_ref.h"

namespace Parsers {

// Text is a string of 16-bit code units in little-endian UTF-16 intent. Nothing
// in the library pairs surrogates: every unit is handled on its own.
using UString = std::u16string;

// Where something began in the text: column, then line (lines count from 1).
struct TextPosition {
    std::uint32_t column = 0;
    std::uint32_t line = 1;
};

inline bool operator==(const TextPosition& a, const TextPosition& b)
{
    return a.column == b.column && a.line == b.line;
}

// Identifiers of the fixed name tables. A name outside the tables keeps its text
// and has the identifier -1 (Unknown).
enum class TagId : std::int16_t;        // rows of the generated tag table
enum class AttributeId : std::int16_t;  // rows of the generated attribute table

// The small enumerations take one byte each: every node and element carries
// some of them.
enum class NamespaceId : std::int8_t {
    None = -1,
    Html = 0,
    MathMl = 1,
    Svg = 2,
    XLink = 3,
    Xml = 4,
    Xmlns = 5,
};

enum class TagCategory : std::int8_t {
    Unclassified = -1,
    Special = 0,
    Formatting = 1,
    Ordinary = 2,
};

enum class NodeType : std::int8_t {
    Marker = -1,
    Element = 1,
    Text = 2,
    Comment = 4,
    Document = 5,
    DocumentType = 6,
    // No parse makes a node of this type (see XmlDeclaration).
    XmlDeclaration = 7,
};

// The one enumeration of values the library throws as errors of its own. A base
// class operation that a derived class was meant to replace throws
// NotImplementedByClass; it ends the parse with result 2.
enum enDPE : std::int32_t {
    NotImplementedByClass = 2,
};

// Thrown when no text can be made of the input; it ends the parse with result 2.
inline constexpr int kNoTextThrown = 9;

class Node;
class Token;
using NodeRef = Ref<Node>;
using TokenRef = std::shared_ptr<Token>;

}  // namespace Parsers
