// The C interface of the image reader: opening, the accessors, and the
// conversion of image strings to UTF-8.
//
// Everything a caller can ask for is read from the checked image on demand;
// the reader keeps only what cannot be found cheaply (where each record and
// each string starts, parents, depths, subtree ends and the roots). The
// accessors allocate nothing.

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "dom/names.h"
#include "reader_layout.h"

using namespace Parsers::ReaderLayout;

namespace {

constexpr DOMImageString kNoString{nullptr, 0};

void copyMessage(const std::string& text, char* message, std::size_t capacity)
{
    if (!message || capacity == 0) return;
    const std::size_t length = std::min(text.size(), capacity - 1);
    std::memcpy(message, text.data(), length);
    message[length] = '\0';
}

bool isElement(const DOMImage* image, std::uint32_t index)
{
    return image && index < image->nodeCount &&
           readU16(image->bytes, image->nodes[index].offset + kRecordKindField) ==
               DOM_IMAGE_ELEMENT;
}

std::uint32_t nodeField(const DOMImage* image, std::uint32_t index, std::uint32_t offset)
{
    return readU32(image->bytes, image->nodes[index].offset + offset);
}

// The tag names as UTF-16LE bytes. On a little-endian machine the table's own
// 16-bit units are those bytes; elsewhere they are converted once.
DOMImageString tagNameBytes(std::uint32_t tagId)
{
    if (tagId >= static_cast<std::uint32_t>(Parsers::kTagCount)) return kNoString;
    const char16_t* text = Parsers::tagNameText(static_cast<std::int32_t>(tagId));
    if (!text) return kNoString;
    std::uint32_t length = 0;
    while (text[length] != 0) ++length;
    if constexpr (std::endian::native == std::endian::little) {
        return {reinterpret_cast<const unsigned char*>(text), length};
    } else {
        static const auto converted = [] {
            std::array<std::basic_string<unsigned char>, Parsers::kTagCount> names;
            for (std::int32_t row = 0; row < Parsers::kTagCount; ++row) {
                for (const char16_t* unit = Parsers::tagNameText(row); unit && *unit; ++unit) {
                    names[row].push_back(static_cast<unsigned char>(*unit & 0xFF));
                    names[row].push_back(static_cast<unsigned char>(*unit >> 8));
                }
            }
            return names;
        }();
        return {converted[tagId].data(), length};
    }
}

}  // namespace

extern "C" {

int DOMImage_Open(const void* bytes, size_t size, DOMImage** imageOut, char* message,
                  size_t messageCapacity)
{
    // The caller's place and message are cleared first, so that no path out
    // leaves a stale reader or text behind.
    if (imageOut) *imageOut = nullptr;
    copyMessage(std::string(), message, messageCapacity);
    if (!imageOut || (!bytes && size != 0)) {
        copyMessage("no image bytes or no place for the reader", message, messageCapacity);
        return 1;
    }
    // Offsets in an image are 32 bits wide, and the writer reports the size in
    // 32 bits, so no image is larger.
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        copyMessage("image of " + std::to_string(size) + " bytes is larger than 4 GiB",
                    message, messageCapacity);
        return 1;
    }
    try {
        auto image = std::make_unique<DOMImage>();
        // A null pointer with size 0 is refused by the header check like any
        // short image; it still gets a valid address to point at.
        static const unsigned char noBytes[1] = {0};
        image->bytes = bytes ? static_cast<const unsigned char*>(bytes) : noBytes;
        image->size = static_cast<std::uint32_t>(size);
        const std::string refusal = Parsers::validateImage(*image);
        if (!refusal.empty()) {
            copyMessage(refusal, message, messageCapacity);
            return 1;
        }
        *imageOut = image.release();
        return 0;
    } catch (const std::bad_alloc&) {
        copyMessage("out of memory while reading the image", message, messageCapacity);
        return 2;
    }
}

void DOMImage_Close(DOMImage* image)
{
    delete image;
}

uint32_t DOMImage_Size(const DOMImage* image)
{
    return image ? image->size : 0;
}

uint32_t DOMImage_NodeCount(const DOMImage* image)
{
    return image ? image->nodeCount : 0;
}

uint32_t DOMImage_AttributeCount(const DOMImage* image)
{
    return image ? image->attributeCount : 0;
}

uint32_t DOMImage_StringCount(const DOMImage* image)
{
    return image ? image->stringCount : 0;
}

uint32_t DOMImage_RootCount(const DOMImage* image)
{
    return image ? static_cast<std::uint32_t>(image->roots.size()) : 0;
}

uint32_t DOMImage_Root(const DOMImage* image, uint32_t position)
{
    if (!image || position >= image->roots.size()) return DOM_IMAGE_ABSENT;
    return image->roots[position];
}

// Fields that do not belong to the node's kind are set to absent rather than
// left at whatever the record's bytes hold there, so callers never see a
// text's payload as a tag id.
int DOMImage_GetNode(const DOMImage* image, uint32_t index, DOMImageNode* node)
{
    if (!image || !node || index >= image->nodeCount) return 0;
    const NodeEntry& entry = image->nodes[index];
    DOMImageNode result{};
    result.kind = readU16(image->bytes, entry.offset + kRecordKindField);
    result.isTopLevel = nodeField(image, index, kIsTopLevelField);
    result.parent = entry.parent;
    result.depth = entry.depth;
    result.childCount = nodeField(image, index, kChildCountField);
    result.tagId = DOM_IMAGE_ABSENT;
    result.nameString = DOM_IMAGE_ABSENT;
    result.prefixString = DOM_IMAGE_ABSENT;
    result.namespaceUriString = DOM_IMAGE_ABSENT;
    result.dataString = DOM_IMAGE_ABSENT;
    if (result.kind == DOM_IMAGE_ELEMENT) {
        result.tagId = nodeField(image, index, kTagIdField);
        result.nameString = nodeField(image, index, kNameStringField);
        result.prefixString = nodeField(image, index, kPrefixStringField);
        result.namespaceUriString = nodeField(image, index, kNamespaceUriStringField);
        result.attributeCount = nodeField(image, index, kAttributeCountOfElementField);
        result.declarationCount = nodeField(image, index, kDeclarationCountField);
    } else {
        result.dataString = nodeField(image, index, kDataStringField);
    }
    *node = result;
    return 1;
}

// The list accessors check their position against the record's own count:
// the check on open proved the lists lie inside the record.
uint32_t DOMImage_Child(const DOMImage* image, uint32_t index, uint32_t position)
{
    if (!isElement(image, index) || position >= nodeField(image, index, kChildCountField)) {
        return DOM_IMAGE_ABSENT;
    }
    const std::uint32_t list =
        image->nodes[index].offset + nodeField(image, index, kChildListOffsetField);
    return readU32(image->bytes, list + 4 * position);
}

uint32_t DOMImage_SubtreeEnd(const DOMImage* image, uint32_t index)
{
    if (!image || index >= image->nodeCount) return 0;
    return image->nodes[index].subtreeEnd;
}

uint32_t DOMImage_ElementAttribute(const DOMImage* image, uint32_t index, uint32_t position)
{
    if (!isElement(image, index) ||
        position >= nodeField(image, index, kAttributeCountOfElementField)) {
        return DOM_IMAGE_ABSENT;
    }
    return readU32(image->bytes, image->nodes[index].offset + kElementHeadSize + 4 * position);
}

int DOMImage_GetDeclaration(const DOMImage* image, uint32_t index, uint32_t position,
                            DOMImageDeclaration* declaration)
{
    if (!declaration || !isElement(image, index) ||
        position >= nodeField(image, index, kDeclarationCountField)) {
        return 0;
    }
    const std::uint32_t attributeCount = nodeField(image, index, kAttributeCountOfElementField);
    const std::uint32_t entry = image->nodes[index].offset + kElementHeadSize +
                                4 * attributeCount + kDeclarationEntrySize * position;
    declaration->prefixString = readU32(image->bytes, entry + kDeclaredPrefixField);
    declaration->uriString = readU32(image->bytes, entry + kDeclaredUriField);
    return 1;
}

int DOMImage_GetAttribute(const DOMImage* image, uint32_t index, DOMImageAttribute* attribute)
{
    if (!image || !attribute || index >= image->attributeCount) return 0;
    const std::uint32_t offset = image->attributeTableOffset + index * kAttributeRecordSize;
    attribute->attributeId = readU32(image->bytes, offset + kAttributeIdField);
    attribute->nameString = readU32(image->bytes, offset + kAttributeNameField);
    attribute->prefixString = readU32(image->bytes, offset + kAttributePrefixField);
    attribute->namespaceUriString = readU32(image->bytes, offset + kAttributeNamespaceUriField);
    attribute->valueString = readU32(image->bytes, offset + kAttributeValueField);
    return 1;
}

DOMImageString DOMImage_String(const DOMImage* image, uint32_t index)
{
    if (!image || index >= image->stringCount) return kNoString;
    const StringEntry& entry = image->strings[index];
    return {image->bytes + entry.offset, entry.length};
}

DOMImageString DOMImage_ElementName(const DOMImage* image, uint32_t index)
{
    if (!isElement(image, index)) return kNoString;
    const DOMImageString name = DOMImage_String(image, nodeField(image, index, kNameStringField));
    if (name.length != 0) return name;
    // An element made from a tag id alone has an empty stored name.
    const DOMImageString fromTable = tagNameBytes(nodeField(image, index, kTagIdField));
    return fromTable.bytes ? fromTable : name;
}

DOMImageString DOMImage_TagName(uint32_t tagId)
{
    return tagNameBytes(tagId);
}

uint32_t DOMImage_Unit(DOMImageString string, uint32_t position)
{
    if (!string.bytes || position >= string.length) return 0;
    return readU16(string.bytes, std::size_t{2} * position);
}

// Counts every byte even when the buffer is full, so that one call with
// capacity 0 tells the caller how much to allocate.
size_t DOMImage_ToUtf8(DOMImageString string, char* out, size_t capacity)
{
    std::size_t written = 0;
    auto put = [&](std::uint32_t byte) {
        if (out && written + 1 < capacity) out[written] = static_cast<char>(byte);
        ++written;
    };
    for (std::uint32_t position = 0; position < string.length; ++position) {
        std::uint32_t code = DOMImage_Unit(string, position);
        if (code >= 0xD800 && code <= 0xDBFF && position + 1 < string.length) {
            const std::uint32_t low = DOMImage_Unit(string, position + 1);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                ++position;
            }
        }
        if (code >= 0xD800 && code <= 0xDFFF) code = 0xFFFD;  // a lone surrogate
        if (code < 0x80) {
            put(code);
        } else if (code < 0x800) {
            put(0xC0 | code >> 6);
            put(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            put(0xE0 | code >> 12);
            put(0x80 | (code >> 6 & 0x3F));
            put(0x80 | (code & 0x3F));
        } else {
            put(0xF0 | code >> 18);
            put(0x80 | (code >> 12 & 0x3F));
            put(0x80 | (code >> 6 & 0x3F));
            put(0x80 | (code & 0x3F));
        }
    }
    if (out && capacity > 0) out[std::min(written, capacity - 1)] = '\0';
    return written;
}

}  // extern "C"
