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
    const CharacterText& lookup(std::u16string_view prefix) const
    {
        // Most documents declare no namespace at all: no lookup is needed then.
        if (undo.empty()) return sharedEmptyText();
        auto found = bindings.find(prefix);
        if (found == bindings.end() || found->second.empty()) return sharedEmptyText();
        const CharacterText& uri = *found->second.back();
        return uri.empty() ? sharedEmptyText() : uri;
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

    std::unordered_map<std::u16string_view, std::vector<const CharacterText*>> bindings;
    std::vector<std::u16string_view> undo;
};

// The namespace URI of an element, from the declarations in force unless the
// element has cached one, and the caches of the attributes it owns filled the
// same way. The values are those the lazy lookups would find; attributes owned
// by another element keep the lazy lookup. The element's own URI is not
// cached: most elements never look theirs up, and a cache of their own would
// cost them a block.
const CharacterText& resolveNamespaces(Element& element, const NamespaceScopes& scopes)
{
    const CharacterText* cached = element.cachedNamespaceUri();
    const CharacterText& uri = cached ? *cached : scopes.lookup(element.prefix());
    for (const auto& entry : element.attributes) {
        Attribute& attribute = *entry.second;
        if (attribute.namespaceUriCache || attribute.owner != &element) continue;
        attribute.namespaceUriCache = attribute.prefix.empty() ? &uri : &scopes.lookup(attribute.prefix);
    }
    return uri;
}

// The number of attributes and of nodes, and the size of the node table.
struct Collection {
    std::uint32_t attributeCount = 0;
    // The attributes that more than one element may hold (see
    // countAttributes), with the number of the last place that lists them.
    std::unordered_map<const Attribute*, std::uint32_t> sharedAttributes;
    std::uint32_t nodeCount = 0;
    std::uint64_t nodeTableSize = 0;
    // Where the numbering round stood when the nodes had their strings: the
    // attributes' answers follow.
    StringTable::ReplayPosition attributeAnswers;
};

bool isImageRoot(const Node* node)
{
    return node->nodeType == NodeType::Element || node->nodeType == NodeType::Text ||
           node->nodeType == NodeType::Comment;
}

// Visits the nodes of the image in document order, from the document's
// element, text and comment children (a doctype is left out with all it might
// hold), with an explicit stack: trees nest deeper than the call stack would
// allow. `enter(node, parentFrame)` makes a node's frame (parentFrame is null
// for a top-level node); `leave(frame)` sees it once the node's subtree is
// done. A frame has the node and the position of its next child.
template <typename Frame, typename Enter, typename Leave>
void walkImageNodes(Document& document, Enter enter, Leave leave)
{
    std::vector<Frame> stack;
    for (const NodeRef& root : document.children) {
        if (!isImageRoot(root.get())) continue;
        stack.push_back(enter(root.get(), nullptr));
        while (!stack.empty()) {
            Frame& top = stack.back();
            if (top.nextChild < top.node->children.size()) {
                Node* child = top.node->children[top.nextChild++].get();
                Frame frame = enter(child, &top);
                stack.push_back(frame);
            } else {
                leave(top);
                stack.pop_back();
            }
        }
    }
}

// Gives the element's attributes the next numbers of the attribute table. An
// attribute may be listed by more than one element: by copies of one map, as
// the elements made again from one start tag share theirs, or by maps that
// hold the same attribute. Every element that lists it gives the number of
// the last place that lists it, so those attributes are remembered.
void countAttributes(const Element& element, Collection& collection)
{
    const bool copiesShare = element.attributes.isShared();
    for (const auto& entry : element.attributes) {
        if (copiesShare || entry.second->referenceCount > 1) {
            collection.sharedAttributes[entry.second.get()] = collection.attributeCount;
        }
        ++collection.attributeCount;
    }
}

struct NumberingFrame {
    Node* node;
    std::size_t nextChild;
    std::size_t bindings;
};

// Counts the node, and gives an element's attributes their numbers: the walk
// meets the elements in node order, which is the order of their attributes in
// the attribute table. The node's strings are numbered as it is
// met, after the namespace URIs it uses are settled, since the node table is
// in the same order.
NumberingFrame numberNode(Node* node, Collection& collection, NamespaceScopes& scopes,
                          StringTable& strings)
{
    ++collection.nodeCount;
    if (node->nodeType != NodeType::Element) {
        collection.nodeTableSize += node->serialize(nullptr, &strings);
        return NumberingFrame{node, 0, 0};
    }
    auto* element = static_cast<Element*>(node);
    const std::size_t bindings = scopes.enter(*element);
    const CharacterText& namespaceUri = resolveNamespaces(*element, scopes);
    const AttributeNumbering numbering{collection.attributeCount, collection.sharedAttributes};
    countAttributes(*element, collection);
    collection.nodeTableSize += writeElementRecord(*element, nullptr, strings, namespaceUri, numbering);
    return NumberingFrame{node, 0, bindings};
}

// Numbers the nodes in document order, then the attributes of each element in
// node order; the nodes' strings numbered on the way.
void collectImageItems(Document& document, Collection& collection, StringTable& strings)
{
    NamespaceScopes scopes;
    walkImageNodes<NumberingFrame>(
        document,
        [&](Node* node, NumberingFrame*) { return numberNode(node, collection, scopes, strings); },
        [&](const NumberingFrame& frame) { scopes.leave(frame.bindings); });
    collection.attributeAnswers = strings.position();
}

struct AttributeFrame {
    Node* node;
    std::size_t nextChild;
};

// The numbering round of the attribute table: the size of every record, and
// the strings that the records use, numbered in table order, which is the
// order of the elements and of each element's attributes. The walk is made
// again rather than the attributes kept in a list: a list of a large
// document's attributes would take its room beside the image.
std::uint64_t numberAttributeTable(Document& document, StringTable& strings)
{
    std::uint64_t size = 0;
    walkImageNodes<AttributeFrame>(
        document,
        [&](Node* node, AttributeFrame*) {
            if (node->nodeType == NodeType::Element) {
                for (const auto& entry : static_cast<Element*>(node)->attributes) {
                    size += entry.second->serialize(nullptr, &strings);
                }
            }
            return AttributeFrame{node, 0};
        },
        [](const AttributeFrame&) {});
    return size;
}

struct WritingFrame {
    Node* node;
    std::size_t nextChild;
    // Where the number of the next child goes in the node's record.
    std::uint8_t* childNumber;
};

// Writes the node records back to back from the start of the node table and,
// with each element, its attribute records, which follow one another in the
// same order from the start of the attribute table. The records take their
// numbers from the replay of the numbering round, the nodes' from its start
// and the attributes' from where the nodes' end, and the string table fills
// as they go. One walk instead of one per table and one for the strings:
// each string is copied while its record's memory is at hand. A node's
// record leaves the numbers of its children to the walk, which puts each
// child's number into its parent's record as it meets the child, so that the
// walk meets each node once, in order.
class RecordWriter {
public:
    RecordWriter(std::uint8_t* nodes, std::uint8_t* attributes, StringTable& table,
                 const Collection& collection)
        : nodeTable(nodes), attributeTable(attributes), strings(table),
          attributeAnswers(collection.attributeAnswers), sharedAttributes(collection.sharedAttributes)
    {
    }

    // Numbers the node as the numbering round did, in the walk's order.
    WritingFrame enter(Node* node, WritingFrame* parent)
    {
        if (parent) {
            putU32(parent->childNumber, nextNumber);
            parent->childNumber += 4;
        }
        ++nextNumber;
        if (node->nodeType == NodeType::Element) {
            auto& element = static_cast<Element&>(*node);
            // The URI's number comes back without a look at the text, which
            // may be gone (see StringTable::internKeptUnlessEmpty).
            const AttributeNumbering numbering{nextAttribute, sharedAttributes};
            nodeTable += writeElementRecord(element, nodeTable, strings, sharedEmptyText(), numbering);
            writeAttributeRecords(element);
            nextAttribute += static_cast<std::uint32_t>(element.attributes.size());
        } else {
            nodeTable += node->serialize(nodeTable, &strings);
        }
        return WritingFrame{node, 0, nodeTable - 4 * node->children.size()};
    }

private:
    void writeAttributeRecords(const Element& element)
    {
        const AttributeMap& attributes = element.attributes;
        if (attributes.empty()) return;
        const StringTable::ReplayPosition nodeAnswers = strings.position();
        strings.seekReplay(attributeAnswers);
        for (const auto& entry : attributes) {
            attributeTable += entry.second->serialize(attributeTable, &strings);
        }
        attributeAnswers = strings.position();
        strings.seekReplay(nodeAnswers);
    }

    std::uint8_t* nodeTable;
    std::uint8_t* attributeTable;
    StringTable& strings;
    StringTable::ReplayPosition attributeAnswers;
    const std::unordered_map<const Attribute*, std::uint32_t>& sharedAttributes;
    std::uint32_t nextNumber = 0;
    std::uint32_t nextAttribute = 0;
};

// With TreeAfterImage::Released, the children of each node are released once
// its subtree has been written. The nodes whose subtrees are still being
// written are the ancestors of the next node: they stay, with their parent
// links, which the records read. A record reads no string of another node,
// so the release of a finished subtree takes nothing that a later record
// needs.
void writeRecords(Document& document, std::uint8_t* nodeTable, std::uint8_t* attributeTable,
                  const Collection& collection, StringTable& strings, TreeAfterImage after)
{
    RecordWriter writer(nodeTable, attributeTable, strings, collection);
    walkImageNodes<WritingFrame>(
        document, [&](Node* node, WritingFrame* parent) { return writer.enter(node, parent); },
        [&](const WritingFrame& frame) {
            if (after == TreeAfterImage::Released) frame.node->releaseChildren();
        });
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
    const std::uint64_t attributeTableSize = numberAttributeTable(document, strings);
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
    writeRecords(document, image + ImageLayout::kHeaderSize, image + attributeTableOffset, collection,
                 strings, after);
    writeHeader(image, ImageHeader{collection.nodeCount,
                                   collection.attributeCount,
                                   static_cast<std::uint32_t>(attributeTableOffset), strings.size(),
                                   static_cast<std::uint32_t>(stringTableOffset)});
    block.unlock();
    *out = block.detach();
    return static_cast<std::uint32_t>(total);
}

}  // namespace Parsers
