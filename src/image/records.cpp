// The records that nodes and attributes write into the image's tables.
#include "dom/element.h"
#include "dom/node.h"
#include "image/image_format.h"
#include "image/string_table.h"

namespace Parsers {

namespace {

using namespace ImageLayout;

std::uint32_t isTopLevel(const Node& node)
{
    return node.parent && node.parent->nodeType == NodeType::Document ? 1 : 0;
}

// A string's number, or absent for an empty string where the format allows.
std::uint32_t internUnlessEmpty(const UString& text, StringTable& strings)
{
    return text.empty() ? kAbsent : strings.intern(text);
}

std::uint32_t idOrAbsent(std::int32_t id)
{
    return id == -1 ? kAbsent : static_cast<std::uint32_t>(id);
}

void writeRecordHead(FieldWriter& fields, std::uint32_t recordSize, RecordKind kind,
                     const Node& node, std::uint32_t childCount, std::uint32_t childListOffset)
{
    fields.u32(recordSize);
    fields.u16(static_cast<std::uint16_t>(kind));
    fields.u32(isTopLevel(node));
    fields.u32(kRecordHeadSize);
    fields.u32(childCount);
    fields.u32(childListOffset);
}

std::uint32_t serializeCharacterData(const CharacterData& node, RecordKind kind,
                                     std::uint8_t* destination, StringTable* strings)
{
    if (!destination && !strings) return kCharacterDataRecordSize;
    FieldWriter fields(destination);
    writeRecordHead(fields, kCharacterDataRecordSize, kind, node, 0, 0);
    fields.u32(kCharacterDataPayloadSize);
    fields.u32(strings->intern(node.data));
    return kCharacterDataRecordSize;
}

std::uint32_t countDeclarations(const Element& element)
{
    std::uint32_t count = 0;
    for (const auto& entry : element.attributes) {
        if (isNamespaceDeclaration(*entry.second)) ++count;
    }
    return count;
}

void writeDeclaration(FieldWriter& fields, const Attribute& declaration, StringTable& strings)
{
    // "xmlns:foo" declares the prefix foo; a plain "xmlns" declares none.
    bool declaresPrefix = !declaration.prefix.empty();
    fields.u32(kDeclarationEntrySize);
    fields.u32(declaresPrefix ? strings.intern(declaration.name) : kAbsent);
    fields.u32(strings.intern(declaration.value));
}

}  // namespace

std::uint32_t TextNode::serialize(std::uint8_t* destination, StringTable* strings)
{
    return serializeCharacterData(*this, RecordKind::Text, destination, strings);
}

std::uint32_t Comment::serialize(std::uint8_t* destination, StringTable* strings)
{
    return serializeCharacterData(*this, RecordKind::Comment, destination, strings);
}

std::uint32_t Element::serialize(std::uint8_t* destination, StringTable* strings)
{
    auto attributeCount = static_cast<std::uint32_t>(attributes.size());
    std::uint32_t declarationCount = countDeclarations(*this);
    auto childCount = static_cast<std::uint32_t>(children.size());
    std::uint32_t payloadSize =
        kElementFixedPayloadSize + 4 * attributeCount + kDeclarationEntrySize * declarationCount;
    std::uint32_t recordSize = kRecordHeadSize + payloadSize + 4 * childCount;
    if (!destination && !strings) return recordSize;

    FieldWriter fields(destination);
    writeRecordHead(fields, recordSize, RecordKind::Element, *this, childCount,
                    childCount ? kRecordHeadSize + payloadSize : 0);
    fields.u32(payloadSize);
    // The id is looked up here if it is still unknown, but not stored.
    fields.u32(idOrAbsent(static_cast<std::int32_t>(lookUpTagId())));
    fields.u32(strings->intern(name));
    fields.u32(internUnlessEmpty(prefix, *strings));
    fields.u32(internUnlessEmpty(getNamespaceUri(), *strings));
    fields.u32(attributeCount);
    fields.u32(attributeCount ? kElementFixedPayloadSize : 0);
    fields.u32(declarationCount);
    fields.u32(declarationCount ? kElementFixedPayloadSize + 4 * attributeCount : 0);
    for (const auto& entry : attributes) fields.u32(static_cast<std::uint32_t>(entry.second->imageIndex));
    for (const auto& entry : attributes) {
        if (isNamespaceDeclaration(*entry.second)) writeDeclaration(fields, *entry.second, *strings);
    }
    for (const NodeRef& child : children) fields.u32(child->imageIndex);
    return recordSize;
}

template <>
std::uint32_t Attribute::serialize(std::uint8_t* destination, StringTable* strings)
{
    if (!destination && !strings) return kAttributeRecordSize;
    FieldWriter fields(destination);
    fields.u32(kAttributeRecordSize);
    // Like the tag id, an attribute id found here is not stored.
    fields.u32(idOrAbsent(static_cast<std::int32_t>(lookUpAttributeId())));
    fields.u32(strings->intern(name));
    fields.u32(internUnlessEmpty(prefix, *strings));
    fields.u32(internUnlessEmpty(getNamespaceUri(), *strings));
    fields.u32(internUnlessEmpty(value, *strings));
    return kAttributeRecordSize;
}

}  // namespace Parsers
