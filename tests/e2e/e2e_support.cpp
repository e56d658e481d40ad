#include "e2e_support.h"

#include <cstdio>
#include <cstring>

namespace E2e {

namespace {

std::u16string unitsOf(DOMImageString string)
{
    std::u16string units;
    for (std::uint32_t i = 0; i < string.length; ++i) {
        units.push_back(static_cast<char16_t>(DOMImage_Unit(string, i)));
    }
    return units;
}

std::u16string stringAt(const DOMImage* image, std::uint32_t index)
{
    return unitsOf(DOMImage_String(image, index));
}

bool present(std::uint32_t index)
{
    return index != DOM_IMAGE_ABSENT;
}

std::string qualified(const std::u16string& prefix, const std::u16string& name)
{
    std::string out;
    if (!prefix.empty()) {
        out += escapeUnits(prefix);
        out += ':';
    }
    out += escapeUnits(name);
    return out;
}

std::string uriSuffix(const DOMImage* image, std::uint32_t uriString)
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

void appendElement(const DOMImage* image, std::uint32_t index, const DOMImageNode& node,
                   const std::string& indent, std::string& out)
{
    const std::u16string name = unitsOf(DOMImage_ElementName(image, index));
    const std::u16string prefix = present(node.prefixString) ? stringAt(image, node.prefixString)
                                                             : std::u16string();
    out += indent + "<" + qualified(prefix, name) + ">" + uriSuffix(image, node.namespaceUriString) +
           "\n";
    if (present(node.tagId)) {
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

}  // namespace

std::string escapeUnits(const std::u16string& units)
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

std::string treeText(const DOMImage* image)
{
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

Outcome parse(const std::vector<std::uint8_t>& input, std::uint32_t inputKind,
              std::uint16_t recordVersion, bool describe)
{
    std::vector<std::uint8_t> buffer(input);
    buffer.resize(input.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = recordVersion;
    record.inputKind = inputKind;
    record.result = 0;
    HGLOBAL handle = nullptr;

    Outcome outcome;
    outcome.result = DOM_Parse(buffer.data(), static_cast<std::uint32_t>(input.size()), &handle,
                               &record);
    if (outcome.result != DOM_RESULT_OK) return outcome;
    outcome.imageSize = record.result;

    const void* bytes = GlobalLock(handle);
    DOMImage* image = nullptr;
    char message[256];
    if (DOMImage_Open(bytes, record.result, &image, message, sizeof message) != 0) {
        outcome.tree = std::string("!! image refused: ") + message;
    } else {
        outcome.nodeCount = DOMImage_NodeCount(image);
        outcome.rootCount = DOMImage_RootCount(image);
        for (std::uint32_t position = 0; position < outcome.rootCount; ++position) {
            DOMImageNode root;
            DOMImage_GetNode(image, DOMImage_Root(image, position), &root);
            if (root.kind == DOM_IMAGE_TEXT) {
                outcome.roots += '"';
                outcome.roots += escapeUnits(stringAt(image, root.dataString));
                outcome.roots += "\" ";
            } else {
                outcome.roots += root.kind == DOM_IMAGE_ELEMENT ? "E " : "C ";
            }
        }
        if (describe) outcome.tree = treeText(image);
        DOMImage_Close(image);
    }
    GlobalUnlock(handle);
    GlobalFree(handle);
    return outcome;
}

std::vector<std::uint8_t> utf16Bytes(std::string_view utf8)
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

}  // namespace E2e
