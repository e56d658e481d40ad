#include "image/image_writer.h"

#include <bit>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "dom/element.h"
#include "dom/node.h"
#include "image/image_block.h"
#include "image/image_format.h"
#include "image/records.h"
#include "image/string_table.h"

namespace Parsers {

namespace {

static_assert(std::endian::native == std::endian::little,
              "string units are copied into the image as they lie in memory");

const char16_t kXmlns[] = u"xmlns";

// The namespace declarations in force at the element being visited: for each
// prefix (empty for the default namespace) the values of the xmlns attributes
// that bind it, nearest last. Kept while the tree is walked from the top, so
// every element finds its namespace URI without walking up to the root.
class NamespaceScopes {
public:
    // Adds the bindings an element declares; returns how many it added.
    std::size_t enter(const Element& element)
    {
        std::size_t added = 0;
        for (const auto& entry : element.attributes) {
            const Attribute& attribute = *entry.second;
            std::u16string_view prefix;
            if (!boundPrefix(attribute, prefix)) continue;
            if (boundByLastEntries(prefix, added)) continue;  // the first declaration wins
            bindings[prefix].push_back(&attribute.value);
            undo.push_back(prefix);
            ++added;
        }
        return added;
    }

    void leave(std::size_t added)
    {
        for (; added > 0; --added) {
            bindings[undo.back()].pop_back();
            undo.pop_back();
        }
    }

    // The nearest declared URI for the prefix, or the shared empty string.
    const UString& lookup(std::u16string_view prefix) const
    {
        // Most documents declare no namespace at all: no lookup is needed then.
        if (undo.empty()) return sharedEmptyString();
        auto found = bindings.find(prefix);
        if (found == bindings.end() || found->second.empty()) return sharedEmptyString();
        const UString& uri = *found->second.back();
        return uri.empty() ? sharedEmptyString() : uri;
    }

private:
    // Which prefix an attribute declares: "xmlns" the default (empty) one,
    // "xmlns:p" the prefix p. An "xmlns:" with no name declares none.
    static bool boundPrefix(const Attribute& attribute, std::u16string_view& prefix)
    {
        if (attribute.prefix.empty() && attribute.name == kXmlns) {
            prefix = std::u16string_view();
            return true;
        }
        if (attribute.prefix == kXmlns && !attribute.name.empty()) {
            prefix = attribute.name;
            return true;
        }
        return false;
    }

    bool boundByLastEntries(std::u16string_view prefix, std::size_t count) const
    {
        for (std::size_t i = 0; i < count; ++i) {
            if (undo[undo.size() - 1 - i] == prefix) return true;
        }
        return false;
    }

    std::unordered_map<std::u16string_view, std::vector<const UString*>> bindings;
    std::vector<std::u16string_view> undo;
};

// Fills the namespace URI caches of an element and of the attributes it owns
// from the declarations in force. The values are those the lazy lookups would
// find; attributes owned by another element keep the lazy lookup.
void resolveNamespaces(Element& element, const NamespaceScopes& scopes)
{
    if (!element.namespaceUriCache) element.namespaceUriCache = &scopes.lookup(element.prefix);
    for (const auto& entry : element.attributes) {
        Attribute& attribute = *entry.second;
        if (attribute.namespaceUriCache || attribute.owner != &element) continue;
        attribute.namespaceUriCache = attribute.prefix.empty() ? element.namespaceUriCache
                                                               : &scopes.lookup(attribute.prefix);
    }
}

// The items of the image's tables in table order, and the size of the node
// table.
struct Collection {
    std::vector<Node*> nodes;
    // For each node, the number of the first node behind its subtree.
    std::vector<std::uint32_t> subtreeEnds;
    std::vector<BinarySerializable*> attributes;
    std::uint64_t nodeTableSize = 0;
    // How many strings the nodes asked for in the numbering round: the
    // attributes' answers follow.
    std::size_t nodeStringCalls = 0;
};

struct WalkFrame {
    Node* node;
    std::size_t nextChild;
    std::size_t bindings;
};

// Gives the node the next number, and an element's attributes theirs: the
// walk meets the elements in node order, which is the order of their
// attributes in the attribute table. The node's strings are numbered as it is
// met, after the namespace URIs it uses are settled, since the node table is
// in the same order.
WalkFrame enterNode(Node* node, Collection& collection, NamespaceScopes& scopes,
                    StringTable& strings)
{
    node->imageIndex = static_cast<std::uint32_t>(collection.nodes.size());
    collection.nodes.push_back(node);
    collection.subtreeEnds.push_back(0);  // known when the walk leaves the node
    std::size_t bindings = 0;
    if (node->nodeType == NodeType::Element) {
        auto* element = static_cast<Element*>(node);
        bindings = scopes.enter(*element);
        resolveNamespaces(*element, scopes);
        for (const auto& entry : element->attributes) {
            entry.second->imageIndex = static_cast<std::int32_t>(collection.attributes.size());
            collection.attributes.push_back(entry.second.get());
        }
    }
    collection.nodeTableSize += node->serialize(nullptr, &strings);
    return WalkFrame{node, 0, bindings};
}

// Numbers a subtree in pre-order with an explicit stack: trees nest deeper
// than the call stack would allow.
void collectSubtree(Node* root, Collection& collection, NamespaceScopes& scopes,
                    StringTable& strings)
{
    std::vector<WalkFrame> stack;
    stack.push_back(enterNode(root, collection, scopes, strings));
    while (!stack.empty()) {
        WalkFrame& top = stack.back();
        if (top.nextChild < top.node->children.size()) {
            Node* child = top.node->children[top.nextChild++].get();
            stack.push_back(enterNode(child, collection, scopes, strings));
        } else {
            scopes.leave(top.bindings);
            collection.subtreeEnds[top.node->imageIndex] =
                static_cast<std::uint32_t>(collection.nodes.size());
            stack.pop_back();
        }
    }
}

bool isImageRoot(const Node* node)
{
    return node->nodeType == NodeType::Element || node->nodeType == NodeType::Text ||
           node->nodeType == NodeType::Comment;
}

// Nodes in document order from the document's element, text and comment
// children (a doctype is left out with all it might hold), then the attributes
// of each element in node order; the nodes' strings numbered on the way.
void collectImageItems(Document& document, Collection& collection, StringTable& strings)
{
    NamespaceScopes scopes;
    for (const NodeRef& child : document.children) {
        if (isImageRoot(child.get())) collectSubtree(child.get(), collection, scopes, strings);
    }
    collection.nodeStringCalls = strings.calls();
}

// The numbering round of a table: the size of every record, and the strings
// that the records use, numbered in that order. Returns the table's size.
std::uint64_t numberTable(const std::vector<BinarySerializable*>& items, StringTable& strings)
{
    std::uint64_t size = 0;
    for (BinarySerializable* item : items) size += item->serialize(nullptr, &strings);
    return size;
}

// Releases the children of each node once its subtree has been written. The
// records are written in pre-order, so the nodes whose subtrees are still
// being written are the ancestors of the next node: they stay, with their
// parent links, which the records read. A record reads no string of
// another node, so the release of a finished subtree takes nothing that a
// later record needs.
class SubtreeRelease {
public:
    // The node is next: every subtree it does not belong to is finished.
    void enter(Node* node)
    {
        while (!open.empty() && open.back() != node->parent) finishLast();
        open.push_back(node);
    }
    void finishAll()
    {
        while (!open.empty()) finishLast();
    }

private:
    void finishLast()
    {
        open.back()->releaseChildren();
        open.pop_back();
    }

    std::vector<Node*> open;
};

// Writes the node records back to back from the start of the node table and,
// with each element, its attribute records, which follow one another in the
// same order from the start of the attribute table. The records take their
// numbers from the replay of the numbering round, the nodes' from its start
// and the attributes' from where the nodes' end, and the string table fills
// as they go. One walk instead of one per table and one for the strings:
// each string is copied while its record's memory is at hand. An element's
// record takes its children's numbers from the table of subtree ends, so that
// the walk meets each node once, in order.
void writeRecords(std::uint8_t* nodeTable, std::uint8_t* attributeTable,
                  const Collection& collection, StringTable& strings, TreeAfterImage after)
{
    std::size_t attributeAnswers = collection.nodeStringCalls;
    SubtreeRelease release;
    for (Node* node : collection.nodes) {
        if (after == TreeAfterImage::Released) release.enter(node);
        if (node->nodeType != NodeType::Element) {
            nodeTable += node->serialize(nodeTable, &strings);
            continue;
        }
        auto* element = static_cast<Element*>(node);
        nodeTable += writeElementRecord(*element, nodeTable, strings, collection.subtreeEnds.data());
        const AttributeMap& attributes = element->attributes;
        if (attributes.empty()) continue;
        const std::size_t nodeAnswers = strings.replayPosition();
        strings.seekReplay(attributeAnswers);
        for (const auto& entry : attributes) {
            attributeTable += entry.second->serialize(attributeTable, &strings);
        }
        attributeAnswers = strings.replayPosition();
        strings.seekReplay(nodeAnswers);
    }
    release.finishAll();
}

struct ImageHeader {
    std::uint32_t nodeCount;
    std::uint32_t attributeCount;
    std::uint32_t attributeTableOffset;
    std::uint32_t stringCount;
    std::uint32_t stringTableOffset;
};

void writeHeader(std::uint8_t* at, const ImageHeader& header)
{
    FieldWriter fields(at);
    fields.u16(static_cast<std::uint16_t>(DOM_LIBRARY_VERSION));
    fields.u32(header.nodeCount);
    fields.u32(ImageLayout::kHeaderSize);
    fields.u32(header.attributeCount);
    fields.u32(header.attributeTableOffset);
    fields.u32(header.stringCount);
    fields.u32(header.stringTableOffset);
}

}  // namespace

std::uint32_t writeDocumentImage(Document& document, HGLOBAL* out, TreeAfterImage after)
{
    // Every size is known before a byte is written: the tables' sizes, and the
    // string table's from the numbering of the strings in the order of first
    // use, which the records go through the same way when they are written.
    StringTable strings;
    Collection collection;
    collectImageItems(document, collection, strings);
    const std::uint64_t nodeTableSize = collection.nodeTableSize;
    const std::uint64_t attributeTableSize = numberTable(collection.attributes, strings);
    const std::uint64_t attributeTableOffset = ImageLayout::kHeaderSize + nodeTableSize;
    const std::uint64_t stringTableOffset = attributeTableOffset + attributeTableSize;
    const std::uint64_t total = stringTableOffset + strings.byteSize();

    // The block is made once at the capacity that growing it by doubling from
    // its first size would end at: the same capacity, without the copies of
    // each growth (a tenth of the writer's time) or two blocks at once.
    ImageBlock block;
    block.allocate(ImageBlock::doubledCapacity(ImageLayout::kInitialBlockSize, total));
    std::uint8_t* image = block.lock();
    strings.replay(image + stringTableOffset);
    writeRecords(image + ImageLayout::kHeaderSize, image + attributeTableOffset, collection, strings,
                 after);
    writeHeader(image, ImageHeader{static_cast<std::uint32_t>(collection.nodes.size()),
                                   static_cast<std::uint32_t>(collection.attributes.size()),
                                   static_cast<std::uint32_t>(attributeTableOffset), strings.size(),
                                   static_cast<std::uint32_t>(stringTableOffset)});
    block.unlock();
    *out = block.detach();
    return static_cast<std::uint32_t>(total);
}

}  // namespace Parsers
