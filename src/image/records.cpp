// The records that nodes and attributes write into the image's tables.
#include "image/records.h"


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
template <typename Text>
std::uint32_t internUnlessEmpty(const Text& text, StringTable& strings)
{
    static_assert(StringTable::kNoString == kAbsent);
    return strings.internUnlessEmpty(text);
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
    if (!strings) return kCharacterDataRecordSize;
    const std::uint32_t dataString = strings->intern(node.data);
    if (!destination) return kCharacterDataRecordSize;
    FieldWriter fields(destination);
    writeRecordHead(fields, kCharacterDataRecordSize, kind, node, 0, 0);
    fields.u32(kCharacterDataPayloadSize);
    fields.u32(dataString);
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

// The two strings of a declaration entry. "xmlns:foo" declares the prefix
// foo; a plain "xmlns" declares none.
struct DeclarationStrings {
    std::uint32_t prefix;
    std::uint32_t uri;
};

DeclarationStrings internDeclaration(const Attribute& declaration, StringTable& strings)
{
    const bool declaresPrefix = !declaration.prefix.empty();
    const std::uint32_t prefix = declaresPrefix ? strings.intern(declaration.name) : kAbsent;
    return DeclarationStrings{prefix, strings.intern(declaration.value)};
}

// Each record takes its strings first, in the order it uses them. In the
// numbering round, which has no destination, that is all it does.
std::uint32_t serializeElement(Element& element, std::uint8_t* destination, StringTable* strings,
                               const CharacterText* namespaceUri, const AttributeNumbering* numbering)
{
    const AttributeMap& attributes = element.attributes;
    auto attributeCount = static_cast<std::uint32_t>(attributes.size());
    std::uint32_t declarationCount = countDeclarations(element);
    auto childCount = static_cast<std::uint32_t>(element.children.size());
    std::uint32_t payloadSize =
        kElementFixedPayloadSize + 4 * attributeCount + kDeclarationEntrySize * declarationCount;
    std::uint32_t recordSize = kRecordHeadSize + payloadSize + 4 * childCount;
    if (!strings) return recordSize;
    const std::uint32_t nameString = strings->intern(element.nameText());
    const std::uint32_t prefixString = internUnlessEmpty(element.prefix(), *strings);
    // A cached URI may be the value of a declaration on an element that is
    // no longer above this one and is gone by the time the records are
    // written: the writing round gets the number back without the text.
    const std::uint32_t uriString =
        strings->internKeptUnlessEmpty(namespaceUri ? *namespaceUri : element.getNamespaceUri());
    if (!destination) {
        for (const auto& entry : attributes) {
            if (isNamespaceDeclaration(*entry.second)) internDeclaration(*entry.second, *strings);
        }
        return recordSize;
    }

    FieldWriter fields(destination);
    writeRecordHead(fields, recordSize, RecordKind::Element, element, childCount,
                    childCount ? kRecordHeadSize + payloadSize : 0);
    fields.u32(payloadSize);
    // The id is looked up here if it is still unknown, but not stored.
    fields.u32(idOrAbsent(static_cast<std::int32_t>(element.lookUpTagId())));
    fields.u32(nameString);
    fields.u32(prefixString);
    fields.u32(uriString);
    fields.u32(attributeCount);
    fields.u32(attributeCount ? kElementFixedPayloadSize : 0);
    fields.u32(declarationCount);
    fields.u32(declarationCount ? kElementFixedPayloadSize + 4 * attributeCount : 0);
    std::uint32_t number = numbering ? numbering->first : kAbsent;
    for (const auto& entry : attributes) {
        // Outside an image an attribute has no number.
        if (!numbering) {
            fields.u32(kAbsent);
            continue;
        }
        const auto shared = numbering->shared.empty() ? numbering->shared.end()
                                                      : numbering->shared.find(entry.second.get());
        fields.u32(shared == numbering->shared.end() ? number : shared->second);
        ++number;
    }
    for (const auto& entry : attributes) {
        if (!isNamespaceDeclaration(*entry.second)) continue;
        const DeclarationStrings declaration = internDeclaration(*entry.second, *strings);
        fields.u32(kDeclarationEntrySize);
        fields.u32(declaration.prefix);
        fields.u32(declaration.uri);
    }
    return recordSize;
}

}  // namespace

std::uint32_t writeElementRecord(Element& element, std::uint8_t* destination, StringTable& strings,
                                 const CharacterText& namespaceUri, const AttributeNumbering& numbering)
{
    return serializeElement(element, destination, &strings, &namespaceUri, &numbering);
}

std::uint32_t Node::serialize(std::uint8_t* destination, StringTable* strings)
{
    switch (nodeType) {
    case NodeType::Element:
    case NodeType::Marker:
        return static_cast<Element*>(this)->serialize(destination, strings);
    case NodeType::Text:
        return static_cast<TextNode*>(this)->serialize(destination, strings);
    case NodeType::Comment:
        return static_cast<Comment*>(this)->serialize(destination, strings);
    default:
        throw enDPE::NotImplementedByClass;
    }
}

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
    return serializeElement(*this, destination, strings, nullptr, nullptr);
}

template <>
std::uint32_t Attribute::serialize(std::uint8_t* destination, StringTable* strings)
{
    if (!strings) return kAttributeRecordSize;
    const std::uint32_t nameString = strings->intern(name);
    const std::uint32_t prefixString = internUnlessEmpty(prefix, *strings);
    // The URI may be an attribute value of an element that is gone by the
    // time the records are written: the writing round gets the number back
    // without it.
    const std::uint32_t uriString = strings->internKeptUnlessEmpty(getNamespaceUri());
    const std::uint32_t valueString = internUnlessEmpty(value, *strings);
    if (!destination) return kAttributeRecordSize;
    FieldWriter fields(destination);
    fields.u32(kAttributeRecordSize);
    // Like the tag id, an attribute id found here is not stored.
    fields.u32(idOrAbsent(static_cast<std::int32_t>(lookUpAttributeId())));
    fields.u32(nameString);
    fields.u32(prefixString);
    fields.u32(uriString);
    fields.u32(valueString);
    return kAttributeRecordSize;
}

}  // namespace Parsers
