// Assembles document image bytes by hand for the reader and formatter tests.
//
// Nodes are added in document order, each naming its parent (or none for a
// top-level node); the builder derives the child lists, numbers the attributes
// and interns the strings in the same order as the library's image writer:
// node strings in node order, then attribute strings. It never recurses, so it
// builds chains of any depth.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Parsers::ImageTesting {

inline constexpr std::uint32_t kAbsent = 0xFFFFFFFFu;
inline constexpr std::uint32_t kNoParent = 0xFFFFFFFFu;

struct AttributeSpec {
    std::u16string name;
    std::u16string value;
    std::u16string prefix;
    std::u16string namespaceUri;
    std::uint32_t attributeId = kAbsent;
};

struct DeclarationSpec {
    std::optional<std::u16string> prefix;  // none for a plain xmlns
    std::u16string uri;
};

struct ElementSpec {
    std::u16string name;
    std::uint32_t tagId = kAbsent;
    std::u16string prefix;
    std::u16string namespaceUri;
    std::vector<AttributeSpec> attributes;
    std::vector<DeclarationSpec> declarations;
};

// An element with a name and nothing else.
inline ElementSpec elementNamed(const std::u16string& name)
{
    ElementSpec element;
    element.name = name;
    return element;
}

class ImageBuilder {
public:
    std::uint32_t addElement(std::uint32_t parent, const ElementSpec& element);
    std::uint32_t addText(std::uint32_t parent, const std::u16string& data);
    std::uint32_t addComment(std::uint32_t parent, const std::u16string& data);

    // The image bytes, exactly as long as the image.
    std::vector<std::uint8_t> build();

    // Where things landed in the last build.
    std::uint32_t nodeOffset(std::uint32_t node) const { return nodeOffsets.at(node); }
    std::uint32_t attributeOffset(std::uint32_t attribute) const;
    std::uint32_t stringTableOffset() const { return stringTable; }
    std::uint32_t stringIndex(const std::u16string& text) const;

private:
    struct NodeData {
        std::uint16_t kind;
        std::uint32_t parent;
        // element: tag id, name, prefix and namespace URI strings; text/comment:
        // the data string in name.
        std::uint32_t tagId = kAbsent;
        std::uint32_t name = kAbsent;
        std::uint32_t prefix = kAbsent;
        std::uint32_t namespaceUri = kAbsent;
        std::uint32_t firstAttribute = 0;
        std::uint32_t attributeCount = 0;
        std::uint32_t firstDeclaration = 0;
        std::uint32_t declarationCount = 0;
    };

    std::uint32_t addNode(NodeData node);
    std::uint32_t intern(const std::u16string& text);
    std::uint32_t internUnlessEmpty(const std::u16string& text);

    std::vector<NodeData> nodes;
    std::vector<AttributeSpec> attributes;
    std::vector<std::uint32_t> attributeStrings;  // 4 per attribute, after build
    std::vector<std::uint32_t> declarations;      // prefix, uri string pairs
    std::vector<std::u16string> strings;
    std::map<std::u16string, std::uint32_t> stringIndices;
    std::vector<std::uint32_t> nodeOffsets;
    std::uint32_t attributeTable = 0;
    std::uint32_t stringTable = 0;
};

// Little-endian field access on built images, for corrupting them on purpose.
void putU32(std::vector<std::uint8_t>& image, std::uint32_t offset, std::uint32_t value);
void putU16(std::vector<std::uint8_t>& image, std::uint32_t offset, std::uint16_t value);
std::uint32_t getU32(const std::vector<std::uint8_t>& image, std::uint32_t offset);

}  // namespace Parsers::ImageTesting
