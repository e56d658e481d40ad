#include "format.h"

#include <cstdio>
#include <vector>

namespace Parsers::Cli {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

// \uXXXX with four upper-case digits: the same form in the tree and in
// JSON, so that a unit reads the same in both.
void appendUnitEscape(std::string& out, std::uint32_t unit)
{
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) out += kHexDigits[(unit >> shift) & 0xF];
}

void appendUtf8(std::string& out, std::uint32_t code)
{
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | code >> 6);
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | code >> 12);
        out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | code >> 18);
        out += static_cast<char>(0x80 | (code >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// Code points that Unicode reserves for internal use: they print as nothing
// visible, so the tree names them instead.
bool isNonCharacter(std::uint32_t code)
{
    return (code >= 0xFDD0 && code <= 0xFDEF) || (code & 0xFFFE) == 0xFFFE;
}

bool isSurrogate(std::uint32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

// The escape of one unit below 0x80 or in the C1 range, or null when it is
// written as it is.
const char* shortEscape(std::uint32_t unit, EscapeStyle style)
{
    switch (unit) {
    case '"':
        return "\\\"";
    case '\\':
        return "\\\\";
    case '\n':
        return "\\n";
    case '\t':
        return "\\t";
    case '\r':
        return "\\r";
    case '\b':
        return style == EscapeStyle::Json ? "\\b" : nullptr;
    case '\f':
        return style == EscapeStyle::Json ? "\\f" : nullptr;
    default:
        return nullptr;
    }
}

bool needsUnitEscape(std::uint32_t unit, EscapeStyle style)
{
    if (unit < 0x20) return true;
    // JSON takes DEL and the C1 controls as they are; the tree makes them
    // visible, since a terminal would act on them.
    return style == EscapeStyle::Tree && unit >= 0x7F && unit <= 0x9F;
}

// Appends `text` (bytes, taken to be UTF-8) as a JSON string with quotes.
// File names and messages come from the system as bytes; bytes from 0x80 up
// pass through unchanged, since the tool cannot know their encoding.
void appendJsonBytes(std::string& out, std::string_view text)
{
    out += '"';
    for (unsigned char byte : text) {
        if (const char* escape = shortEscape(byte, EscapeStyle::Json)) {
            out += escape;
        } else if (byte < 0x20) {
            appendUnitEscape(out, byte);
        } else {
            out += static_cast<char>(byte);
        }
    }
    out += '"';
}

void appendJsonString(std::string& out, DOMImageString string)
{
    out += '"';
    appendEscaped(out, string, EscapeStyle::Json);
    out += '"';
}

// A string index field: the string in quotes, or null when absent.
void appendJsonOptional(std::string& out, const DOMImage* image, std::uint32_t index)
{
    if (index == DOM_IMAGE_ABSENT) {
        out += "null";
    } else {
        appendJsonString(out, DOMImage_String(image, index));
    }
}

// An id field: the number, or null when absent.
void appendJsonNumber(std::string& out, std::uint32_t value)
{
    if (value == DOM_IMAGE_ABSENT) {
        out += "null";
    } else {
        out += std::to_string(value);
    }
}

// "prefix:name", escaped for the tree.
void appendQualifiedName(std::string& out, const DOMImage* image, std::uint32_t prefix,
                         DOMImageString name)
{
    if (prefix != DOM_IMAGE_ABSENT) {
        appendEscaped(out, DOMImage_String(image, prefix), EscapeStyle::Tree);
        out += ':';
    }
    appendEscaped(out, name, EscapeStyle::Tree);
}

// Indentation grows with depth only up to kMaxIndentDepth: past it, the
// output of a deep chain would grow with the square of its depth.
void appendIndent(std::string& out, std::uint32_t depth)
{
    const std::uint32_t levels = depth < kMaxIndentDepth ? depth : kMaxIndentDepth;
    out.append(std::size_t{2} * levels, ' ');
    if (depth > kMaxIndentDepth) {
        out += '@';
        out += std::to_string(depth);
        out += ' ';
    }
}

void appendTreeElement(std::string& out, const DOMImage* image, std::uint32_t index,
                       const DOMImageNode& node)
{
    out += '<';
    appendQualifiedName(out, image, node.prefixString, DOMImage_ElementName(image, index));
    // The namespaces of the attributes are listed behind the tag, so that the
    // tag itself reads like markup.
    std::string namespaces;
    for (std::uint32_t position = 0; position < node.attributeCount; ++position) {
        DOMImageAttribute attribute{};
        DOMImage_GetAttribute(image, DOMImage_ElementAttribute(image, index, position),
                              &attribute);
        out += ' ';
        appendQualifiedName(out, image, attribute.prefixString,
                            DOMImage_String(image, attribute.nameString));
        out += "=\"";
        appendEscaped(out, DOMImage_String(image, attribute.valueString), EscapeStyle::Tree);
        out += '"';
        if (attribute.namespaceUriString != DOM_IMAGE_ABSENT) {
            namespaces += " [@";
            appendQualifiedName(namespaces, image, attribute.prefixString,
                                DOMImage_String(image, attribute.nameString));
            namespaces += " ns=";
            appendEscaped(namespaces, DOMImage_String(image, attribute.namespaceUriString),
                          EscapeStyle::Tree);
            namespaces += ']';
        }
    }
    out += '>';
    if (node.namespaceUriString != DOM_IMAGE_ABSENT) {
        out += " [ns=";
        appendEscaped(out, DOMImage_String(image, node.namespaceUriString), EscapeStyle::Tree);
        out += ']';
    }
    out += namespaces;
}

// One node's line. The image is in document order and the reader knows each
// node's depth, so the tree needs no stack at all.
void appendTreeLine(std::string& out, const DOMImage* image, std::uint32_t index)
{
    DOMImageNode node{};
    DOMImage_GetNode(image, index, &node);
    appendIndent(out, node.depth);
    switch (node.kind) {
    case DOM_IMAGE_ELEMENT:
        appendTreeElement(out, image, index, node);
        break;
    case DOM_IMAGE_TEXT:
        out += '"';
        appendEscaped(out, DOMImage_String(image, node.dataString), EscapeStyle::Tree);
        out += '"';
        break;
    default:
        out += "<!--";
        appendEscaped(out, DOMImage_String(image, node.dataString), EscapeStyle::Tree);
        out += "-->";
        break;
    }
    out += '\n';
}

// The opening of a node's JSON object. An element's object stays open at its
// children array; texts and comments are complete.
void appendJsonNodeHead(std::string& out, const DOMImage* image, std::uint32_t index)
{
    DOMImageNode node{};
    DOMImage_GetNode(image, index, &node);
    if (node.kind != DOM_IMAGE_ELEMENT) {
        out += node.kind == DOM_IMAGE_TEXT ? "{\"text\":" : "{\"comment\":";
        appendJsonString(out, DOMImage_String(image, node.dataString));
        out += '}';
        return;
    }
    out += "{\"name\":";
    appendJsonString(out, DOMImage_ElementName(image, index));
    out += ",\"prefix\":";
    appendJsonOptional(out, image, node.prefixString);
    out += ",\"tagId\":";
    appendJsonNumber(out, node.tagId);
    out += ",\"namespaceUri\":";
    appendJsonOptional(out, image, node.namespaceUriString);
    out += ",\"attributes\":[";
    for (std::uint32_t position = 0; position < node.attributeCount; ++position) {
        DOMImageAttribute attribute{};
        DOMImage_GetAttribute(image, DOMImage_ElementAttribute(image, index, position),
                              &attribute);
        if (position) out += ',';
        out += "{\"name\":";
        appendJsonString(out, DOMImage_String(image, attribute.nameString));
        out += ",\"prefix\":";
        appendJsonOptional(out, image, attribute.prefixString);
        out += ",\"namespaceUri\":";
        appendJsonOptional(out, image, attribute.namespaceUriString);
        out += ",\"attributeId\":";
        appendJsonNumber(out, attribute.attributeId);
        // An empty value is absent in the image; JSON shows it as "".
        out += ",\"value\":";
        appendJsonString(out, DOMImage_String(image, attribute.valueString));
        out += '}';
    }
    out += "],\"children\":[";
}

// Hands the buffered text to the stream once it is large, so that output of
// any size goes out in big writes without holding it all.
void flushIfLarge(std::string& buffer, std::ostream& out)
{
    if (buffer.size() >= 1 << 16) {
        out.write(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        buffer.clear();
    }
}

void flush(std::string& buffer, std::ostream& out)
{
    out.write(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    buffer.clear();
}

}  // namespace

void appendEscaped(std::string& out, DOMImageString string, EscapeStyle style)
{
    // The library pairs no surrogates, so a string may hold any sequence of
    // units: pairs are joined here, and everything else stays a single unit.
    for (std::uint32_t position = 0; position < string.length; ++position) {
        const std::uint32_t unit = DOMImage_Unit(string, position);
        if (unit < 0xA0) {
            if (const char* escape = shortEscape(unit, style)) {
                out += escape;
            } else if (needsUnitEscape(unit, style)) {
                appendUnitEscape(out, unit);
            } else {
                appendUtf8(out, unit);
            }
            continue;
        }
        if (!isSurrogate(unit)) {
            if (style == EscapeStyle::Tree && isNonCharacter(unit)) {
                appendUnitEscape(out, unit);
            } else {
                appendUtf8(out, unit);
            }
            continue;
        }
        const std::uint32_t next = DOMImage_Unit(string, position + 1);
        const bool pair = unit <= 0xDBFF && position + 1 < string.length && next >= 0xDC00 &&
                          next <= 0xDFFF;
        if (!pair) {
            appendUnitEscape(out, unit);  // a lone surrogate has no UTF-8 form
            continue;
        }
        const std::uint32_t code = 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
        ++position;
        if (style == EscapeStyle::Tree && isNonCharacter(code)) {
            appendUnitEscape(out, unit);
            appendUnitEscape(out, next);
        } else {
            appendUtf8(out, code);
        }
    }
}

void writeTree(const DOMImage* image, std::ostream& out)
{
    std::string buffer;
    const std::uint32_t count = DOMImage_NodeCount(image);
    for (std::uint32_t index = 0; index < count; ++index) {
        appendTreeLine(buffer, image, index);
        flushIfLarge(buffer, out);
    }
    flush(buffer, out);
}

void writeJson(const DOMImage* image, std::string_view file, std::ostream& out)
{
    std::string buffer = "{\"file\":";
    appendJsonBytes(buffer, file);
    buffer += ",\"result\":0,\"imageSize\":";
    buffer += std::to_string(DOMImage_Size(image));
    buffer += ",\"nodes\":[";
    // The image is in document order, so an element's subtree is a run of
    // nodes: the elements still open are a stack, closed when the walk passes
    // the end of their subtree.
    std::vector<std::uint32_t> open;
    bool firstInList = true;
    const std::uint32_t count = DOMImage_NodeCount(image);
    for (std::uint32_t index = 0; index < count; ++index) {
        while (!open.empty() && DOMImage_SubtreeEnd(image, open.back()) <= index) {
            buffer += "]}";
            open.pop_back();
            firstInList = false;
        }
        if (!firstInList) buffer += ',';
        appendJsonNodeHead(buffer, image, index);
        DOMImageNode node{};
        DOMImage_GetNode(image, index, &node);
        firstInList = node.kind == DOM_IMAGE_ELEMENT;
        if (firstInList) open.push_back(index);
        flushIfLarge(buffer, out);
    }
    for (std::size_t level = 0; level < open.size(); ++level) {
        buffer += "]}";
        flushIfLarge(buffer, out);
    }
    buffer += "]}\n";
    flush(buffer, out);
}

void writeJsonFailure(std::string_view file, std::uint32_t result, std::string_view error,
                      std::ostream& out)
{
    std::string buffer = "{\"file\":";
    appendJsonBytes(buffer, file);
    buffer += ",\"result\":";
    buffer += std::to_string(result);
    buffer += ",\"error\":";
    appendJsonBytes(buffer, error);
    buffer += "}\n";
    flush(buffer, out);
}

void writeJsonReadFailure(std::string_view file, std::string_view error, std::ostream& out)
{
    std::string buffer = "{\"file\":";
    appendJsonBytes(buffer, file);
    buffer += ",\"result\":null,\"error\":";
    appendJsonBytes(buffer, error);
    buffer += "}\n";
    flush(buffer, out);
}

void writeStats(const DOMImage* image, std::string_view file, const ParseMeasure& measure,
                std::ostream& out)
{
    // Indexed by record kind (1 to 3); the reader has checked every kind.
    std::uint32_t kinds[4] = {0, 0, 0, 0};
    const std::uint32_t count = DOMImage_NodeCount(image);
    for (std::uint32_t index = 0; index < count; ++index) {
        DOMImageNode node{};
        DOMImage_GetNode(image, index, &node);
        ++kinds[node.kind & 3];
    }
    char speed[64] = "n/a";
    if (measure.milliseconds > 0) {
        // MB are 10^6 bytes.
        const double megabytesPerSecond =
            static_cast<double>(measure.inputSize) / 1000.0 / measure.milliseconds;
        std::snprintf(speed, sizeof speed, "%.2f", megabytesPerSecond);
    }
    char time[64];
    std::snprintf(time, sizeof time, "%.3f", measure.milliseconds);
    std::string line(file);
    line += ": nodes=" + std::to_string(count);
    line += " elements=" + std::to_string(kinds[DOM_IMAGE_ELEMENT]);
    line += " texts=" + std::to_string(kinds[DOM_IMAGE_TEXT]);
    line += " comments=" + std::to_string(kinds[DOM_IMAGE_COMMENT]);
    line += " attributes=" + std::to_string(DOMImage_AttributeCount(image));
    line += " strings=" + std::to_string(DOMImage_StringCount(image));
    line += " imageSize=" + std::to_string(DOMImage_Size(image));
    line += " inputSize=" + std::to_string(measure.inputSize);
    line += " parseMs=";
    line += time;
    line += " MBps=";
    line += speed;
    line += '\n';
    flush(line, out);
}

// The texts of the result codes that the caller's documentation names. A
// code outside them would be a library that is newer than this tool.
const char* describeResult(std::uint32_t result)
{
    switch (result) {
    case 1:
        return "the library refused the call record (record version)";
    case 2:
        return "no document could be made of the input (no text could be decoded, or an "
               "internal error)";
    case 3:
        return "out of memory while parsing";
    default:
        return "the library returned an unknown result code";
    }
}

}  // namespace Parsers::Cli
