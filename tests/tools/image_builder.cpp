#include "tools/image_builder.h"

#include <map>
#include <stdexcept>

namespace Parsers::ImageTesting {

namespace {

// The interning of one build: node strings first, attribute strings behind.
class StringList {
public:
    explicit StringList(const std::vector<std::u16string>& start) : strings(start)
    {
        for (std::uint32_t index = 0; index < strings.size(); ++index) {
            indices.emplace(strings[index], index);
        }
    }

    std::uint32_t intern(const std::u16string& text)
    {
        auto [place, added] = indices.emplace(text, static_cast<std::uint32_t>(strings.size()));
        if (added) strings.push_back(text);
        return place->second;
    }

    std::uint32_t internUnlessEmpty(const std::u16string& text)
    {
        return text.empty() ? kAbsent : intern(text);
    }

    std::vector<std::u16string> strings;
    std::map<std::u16string, std::uint32_t> indices;
};

void put(std::vector<std::uint8_t>& image, std::uint32_t offset, std::uint32_t value,
         std::uint32_t width)
{
    for (std::uint32_t byte = 0; byte < width; ++byte) {
        image.at(offset + byte) = static_cast<std::uint8_t>(value >> (8 * byte));
    }
}

}  // namespace

void putU32(std::vector<std::uint8_t>& image, std::uint32_t offset, std::uint32_t value)
{
    put(image, offset, value, 4);
}

void putU16(std::vector<std::uint8_t>& image, std::uint32_t offset, std::uint16_t value)
{
    put(image, offset, value, 2);
}

std::uint32_t getU32(const std::vector<std::uint8_t>& image, std::uint32_t offset)
{
    std::uint32_t value = 0;
    for (std::uint32_t byte = 0; byte < 4; ++byte) {
        value |= static_cast<std::uint32_t>(image.at(offset + byte)) << (8 * byte);
    }
    return value;
}

std::uint32_t ImageBuilder::intern(const std::u16string& text)
{
    auto [place, added] =
        stringIndices.emplace(text, static_cast<std::uint32_t>(strings.size()));
    if (added) strings.push_back(text);
    return place->second;
}

std::uint32_t ImageBuilder::internUnlessEmpty(const std::u16string& text)
{
    return text.empty() ? kAbsent : intern(text);
}

std::uint32_t ImageBuilder::addNode(NodeData node)
{
    if (node.parent != kNoParent &&
        (node.parent >= nodes.size() || nodes[node.parent].kind != 1)) {
        throw std::invalid_argument("the parent must be an element added before");
    }
    nodes.push_back(node);
    return static_cast<std::uint32_t>(nodes.size() - 1);
}

std::uint32_t ImageBuilder::addElement(std::uint32_t parent, const ElementSpec& element)
{
    NodeData node{1, parent};
    node.tagId = element.tagId;
    node.name = intern(element.name);
    node.prefix = internUnlessEmpty(element.prefix);
    node.namespaceUri = internUnlessEmpty(element.namespaceUri);
    node.firstDeclaration = static_cast<std::uint32_t>(declarations.size() / 2);
    node.declarationCount = static_cast<std::uint32_t>(element.declarations.size());
    for (const DeclarationSpec& declaration : element.declarations) {
        const std::uint32_t prefix = declaration.prefix ? intern(*declaration.prefix) : kAbsent;
        const std::uint32_t uri = intern(declaration.uri);
        declarations.push_back(prefix);
        declarations.push_back(uri);
    }
    node.firstAttribute = static_cast<std::uint32_t>(attributes.size());
    node.attributeCount = static_cast<std::uint32_t>(element.attributes.size());
    attributes.insert(attributes.end(), element.attributes.begin(), element.attributes.end());
    return addNode(node);
}

std::uint32_t ImageBuilder::addText(std::uint32_t parent, const std::u16string& data)
{
    NodeData node{2, parent};
    node.name = intern(data);
    return addNode(node);
}

std::uint32_t ImageBuilder::addComment(std::uint32_t parent, const std::u16string& data)
{
    NodeData node{3, parent};
    node.name = intern(data);
    return addNode(node);
}

std::uint32_t ImageBuilder::attributeOffset(std::uint32_t attribute) const
{
    return attributeTable + 24 * attribute;
}

std::uint32_t ImageBuilder::stringIndex(const std::u16string& text) const
{
    StringList list(strings);
    for (const AttributeSpec& attribute : attributes) {
        list.intern(attribute.name);
        list.internUnlessEmpty(attribute.prefix);
        list.internUnlessEmpty(attribute.namespaceUri);
        list.internUnlessEmpty(attribute.value);
    }
    auto found = list.indices.find(text);
    if (found == list.indices.end()) throw std::invalid_argument("no such string");
    return found->second;
}

std::vector<std::uint8_t> ImageBuilder::build()
{
    const auto count = static_cast<std::uint32_t>(nodes.size());
    // Child lists as one flat array: children of node n at childStart[n].
    std::vector<std::uint32_t> childCount(count, 0);
    for (const NodeData& node : nodes) {
        if (node.parent != kNoParent) ++childCount[node.parent];
    }
    std::vector<std::uint32_t> childStart(count + 1, 0);
    for (std::uint32_t index = 0; index < count; ++index) {
        childStart[index + 1] = childStart[index] + childCount[index];
    }
    std::vector<std::uint32_t> children(childStart[count]);
    std::vector<std::uint32_t> filled(count, 0);
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::uint32_t parent = nodes[index].parent;
        if (parent != kNoParent) children[childStart[parent] + filled[parent]++] = index;
    }

    StringList list(strings);
    attributeStrings.clear();
    for (const AttributeSpec& attribute : attributes) {
        attributeStrings.push_back(list.intern(attribute.name));
        attributeStrings.push_back(list.internUnlessEmpty(attribute.prefix));
        attributeStrings.push_back(list.internUnlessEmpty(attribute.namespaceUri));
        attributeStrings.push_back(list.internUnlessEmpty(attribute.value));
    }

    std::vector<std::uint8_t> image(26, 0);
    nodeOffsets.assign(count, 0);
    for (std::uint32_t index = 0; index < count; ++index) {
        const NodeData& node = nodes[index];
        const auto offset = static_cast<std::uint32_t>(image.size());
        nodeOffsets[index] = offset;
        const std::uint32_t isTopLevel = node.parent == kNoParent ? 1 : 0;
        if (node.kind != 1) {
            image.resize(offset + 30, 0);
            putU32(image, offset, 30);
            putU16(image, offset + 4, node.kind);
            putU32(image, offset + 6, isTopLevel);
            putU32(image, offset + 10, 22);
            putU32(image, offset + 22, 8);
            putU32(image, offset + 26, node.name);
            continue;
        }
        const std::uint32_t payload = 36 + 4 * node.attributeCount + 12 * node.declarationCount;
        const std::uint32_t size = 22 + payload + 4 * childCount[index];
        image.resize(offset + size, 0);
        putU32(image, offset, size);
        putU16(image, offset + 4, 1);
        putU32(image, offset + 6, isTopLevel);
        putU32(image, offset + 10, 22);
        putU32(image, offset + 14, childCount[index]);
        putU32(image, offset + 18, childCount[index] ? 22 + payload : 0);
        putU32(image, offset + 22, payload);
        putU32(image, offset + 26, node.tagId);
        putU32(image, offset + 30, node.name);
        putU32(image, offset + 34, node.prefix);
        putU32(image, offset + 38, node.namespaceUri);
        putU32(image, offset + 42, node.attributeCount);
        putU32(image, offset + 46, node.attributeCount ? 36 : 0);
        putU32(image, offset + 50, node.declarationCount);
        putU32(image, offset + 54, node.declarationCount ? 36 + 4 * node.attributeCount : 0);
        std::uint32_t at = offset + 58;
        for (std::uint32_t position = 0; position < node.attributeCount; ++position, at += 4) {
            putU32(image, at, node.firstAttribute + position);
        }
        for (std::uint32_t position = 0; position < node.declarationCount; ++position, at += 12) {
            const std::uint32_t entry = 2 * (node.firstDeclaration + position);
            putU32(image, at, 12);
            putU32(image, at + 4, declarations[entry]);
            putU32(image, at + 8, declarations[entry + 1]);
        }
        for (std::uint32_t position = 0; position < childCount[index]; ++position, at += 4) {
            putU32(image, at, children[childStart[index] + position]);
        }
    }

    attributeTable = static_cast<std::uint32_t>(image.size());
    for (std::uint32_t index = 0; index < attributes.size(); ++index) {
        const std::uint32_t offset = static_cast<std::uint32_t>(image.size());
        image.resize(offset + 24, 0);
        putU32(image, offset, 24);
        putU32(image, offset + 4, attributes[index].attributeId);
        putU32(image, offset + 8, attributeStrings[4 * index]);
        putU32(image, offset + 12, attributeStrings[4 * index + 1]);
        putU32(image, offset + 16, attributeStrings[4 * index + 2]);
        putU32(image, offset + 20, attributeStrings[4 * index + 3]);
    }

    stringTable = static_cast<std::uint32_t>(image.size());
    for (const std::u16string& text : list.strings) {
        for (char16_t unit : text) {
            image.push_back(static_cast<std::uint8_t>(unit & 0xFF));
            image.push_back(static_cast<std::uint8_t>(unit >> 8));
        }
        image.push_back(0);
        image.push_back(0);
    }

    putU16(image, 0, 200);
    putU32(image, 2, count);
    putU32(image, 6, 26);
    putU32(image, 10, static_cast<std::uint32_t>(attributes.size()));
    putU32(image, 14, attributeTable);
    putU32(image, 18, static_cast<std::uint32_t>(list.strings.size()));
    putU32(image, 22, stringTable);
    return image;
}

}  // namespace Parsers::ImageTesting
