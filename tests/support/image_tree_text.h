// The tree of a document image as text, as the end-to-end suites compare it,
// and the UTF-16 bytes of a UTF-8 text. Header only, shared by the suites that
// read images (tests/e2e, tests/mode1).
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "domparse_reader.h"

namespace ImageTreeText {

// Texts are escaped: \n \t \\ \" and \uXXXX for every unit outside 0x20-0x7E.
std::string escapeUnits(const std::u16string& units);

namespace Detail {

inline std::u16string unitsOf(DOMImageString string)
{
    std::u16string units;
    for (std::uint32_t i = 0; i < string.length; ++i) {
        units.push_back(static_cast<char16_t>(DOMImage_Unit(string, i)));
    }
    return units;
}

inline std::u16string stringAt(const DOMImage* image, std::uint32_t index)
{
    return unitsOf(DOMImage_String(image, index));
}

inline bool present(std::uint32_t index)
{
    return index != DOM_IMAGE_ABSENT;
}

inline std::string qualified(const std::u16string& prefix, const std::u16string& name)
{
    std::string out;
    if (!prefix.empty()) {
        out += escapeUnits(prefix);
        out += ':';
    }
    out += escapeUnits(name);
    return out;
}

inline std::string uriSuffix(const DOMImage* image, std::uint32_t uriString)
{
    if (!present(uriString)) return "";
    std::string out = " {";
    out += escapeUnits(stringAt(image, uriString));
    out += '}';
    return out;
}

// The declarations an element must carry: its attributes that declare a
// namespace, in attribute order.
struct Declaration {
    std::u16string prefix;  // empty for plain xmlns
    std::u16string uri;
};

inline void appendElement(const DOMImage* image, std::uint32_t index, const DOMImageNode& node,
                          const std::string& indent, std::string& out)
{
    const std::u16string name = unitsOf(DOMImage_ElementName(image, index));
    const std::u16string prefix = present(node.prefixString) ? stringAt(image, node.prefixString)
                                                             : std::u16string();
    out += indent + "<" + qualified(prefix, name) + ">" + uriSuffix(image, node.namespaceUriString) +
           "\n";
    // An element made from its tag id alone (the implied html of case folding
    // parsing) stores no name: the reader names it from the tag id.
    if (present(node.tagId) && DOMImage_String(image, node.nameString).length != 0) {
        const std::u16string tagName = unitsOf(DOMImage_TagName(node.tagId));
        if (tagName != stringAt(image, node.nameString)) out += "!! tag id names " + escapeUnits(tagName) + "\n";
    }

    std::vector<Declaration> expected;
    for (std::uint32_t position = 0; position < node.attributeCount; ++position) {
        DOMImageAttribute attribute;
        if (!DOMImage_GetAttribute(image, DOMImage_ElementAttribute(image, index, position),
                                   &attribute)) {
            out += "!! attribute missing\n";
            continue;
        }
        const std::u16string attributeName = stringAt(image, attribute.nameString);
        const std::u16string attributePrefix =
            present(attribute.prefixString) ? stringAt(image, attribute.prefixString) : u"";
        const std::u16string value =
            present(attribute.valueString) ? stringAt(image, attribute.valueString) : u"";
        out += indent + "  " + qualified(attributePrefix, attributeName) + "=\"" +
               escapeUnits(value) + "\"" + uriSuffix(image, attribute.namespaceUriString) + "\n";
        if (attributePrefix == u"xmlns") expected.push_back({attributeName, value});
        if (attributePrefix.empty() && attributeName == u"xmlns") expected.push_back({u"", value});
    }

    bool same = expected.size() == node.declarationCount;
    for (std::uint32_t position = 0; same && position < node.declarationCount; ++position) {
        DOMImageDeclaration declaration;
        if (!DOMImage_GetDeclaration(image, index, position, &declaration)) {
            same = false;
            break;
        }
        const std::u16string declared = present(declaration.prefixString)
                                            ? stringAt(image, declaration.prefixString)
                                            : u"";
        same = declared == expected[position].prefix &&
               stringAt(image, declaration.uriString) == expected[position].uri;
    }
    if (!same) out += "!! declarations differ from the namespace attributes\n";
}

}  // namespace Detail

inline std::string escapeUnits(const std::u16string& units)
{
    std::string out;
    for (char16_t unit : units) {
        switch (unit) {
        case u'\n': out += "\\n"; break;
        case u'\t': out += "\\t"; break;
        case u'\\': out += "\\\\"; break;
        case u'"': out += "\\\""; break;
        default:
            if (unit >= 0x20 && unit < 0x7F) {
                out += static_cast<char>(unit);
            } else {
                char code[8];
                std::snprintf(code, sizeof code, "\\u%04X", static_cast<unsigned>(unit));
                out += code;
            }
        }
    }
    return out;
}

// One line per node in document order, "| " and two spaces per level:
//   <name>  <prefix:name>  followed by " {uri}" when the image has a namespace URI
//     name="value"  prefix:name="value"  an attribute, one level deeper; " {uri}"
//   "text"  a text; <!-- data -->  a comment
// Lines starting with "!!" report an inconsistency of the image itself (a tag id
// that does not name the element, declarations that differ from the
// namespace declarations among the attributes).
inline std::string treeText(const DOMImage* image)
{
    using namespace Detail;
    std::string out;
    const std::uint32_t count = DOMImage_NodeCount(image);
    for (std::uint32_t index = 0; index < count; ++index) {
        DOMImageNode node;
        if (!DOMImage_GetNode(image, index, &node)) return out + "!! node missing\n";
        const std::string indent = "| " + std::string(2 * node.depth, ' ');
        switch (node.kind) {
        case DOM_IMAGE_ELEMENT:
            appendElement(image, index, node, indent, out);
            break;
        case DOM_IMAGE_TEXT:
            out += indent + "\"" + escapeUnits(stringAt(image, node.dataString)) + "\"\n";
            break;
        case DOM_IMAGE_COMMENT:
            out += indent + "<!-- " + escapeUnits(stringAt(image, node.dataString)) + " -->\n";
            break;
        default:
            out += "!! node kind " + std::to_string(node.kind) + "\n";
        }
    }
    return out;
}

// UTF-8 text to UTF-16 little-endian bytes (for input kind 1).
inline std::vector<std::uint8_t> utf16Bytes(std::string_view utf8)
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

}  // namespace ImageTreeText
