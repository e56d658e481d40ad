// The document tree: node classes and the operations that change its shape.
//
// Parents own their children through NodeRef; the parent link is a plain
// pointer that owns nothing. A node finds its siblings in its parent's list
// of children: no operation of the tree needs them often enough to be worth
// two links in every node. Shape operations never fail loudly: an operation
// that is refused (a parent that cannot hold children, a node that would become
// its own ancestor, a reference node of another parent) leaves the tree as it was.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dom/character_text.h"
#include "dom/node_list.h"
#include "dom/parse_heap.h"
#include "library/shared_types.h"

namespace Parsers {

class Document;
class StringTable;

// Nodes have no table of virtual functions: a parse makes hundreds of
// thousands of them, and the node type tells the class. The operations that
// differ by class (the record, the markup, the name, the destruction in
// destroyNode) look at the type and go to the class's own function of the
// same name.
class Node {
public:
    explicit Node(NodeType type) : nodeType(type) {}
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    // Writes the node's record as Attribute::serialize describes
    // (records.cpp). Only elements, texts and comments have records in an
    // image; every other node throws here. A record ends with the numbers of
    // the node's children, 4 bytes each, which only the image writer knows:
    // it fills them in as it meets the children.
    std::uint32_t serialize(std::uint8_t* destination, StringTable* stringTable);
    // Releases the subtree without recursing on its depth.
    ~Node();
    // Unlinks the children and releases each subtree that nothing else holds,
    // without recursing on its depth. A child that something else holds stays
    // alive with its own children, but without parent and siblings.
    void releaseChildren();
    // Appends this node's markup, with its descendants, to `out` (markup.cpp).
    void writeMarkup(UString& out);
    // The name of an element or a doctype; every other node has none and
    // answers the shared empty string.
    const UString& getNodeName();

    // The node's markup as a new text: the forwarder to writeMarkup.
    UString markup()
    {
        UString out;
        writeMarkup(out);
        return out;
    }

    // The name as a null-terminated 16-bit text.
    const char16_t* getNodeNameText() { return getNodeName().c_str(); }
    NodeType getNodeType() const { return nodeType; }
    bool isDocument() const { return nodeType == NodeType::Document; }
    bool isElement() const { return nodeType == NodeType::Element; }
    bool isText() const { return nodeType == NodeType::Text; }
    Node* getParent() const { return parent; }
    // The children of the parent before and behind this node, found by a scan
    // of the parent's list; null for the first or last child and for a node
    // without a parent.
    Node* previousSibling() const;
    Node* nextSibling() const;
    NodeList& getChildren() { return children; }
    const NodeList& getChildren() const { return children; }
    Node* lastChild() const { return children.empty() ? nullptr : children.back().get(); }
    NamespaceId getNamespaceId() const { return namespaceId; }
    void setNamespaceId(NamespaceId id) { namespaceId = id; }
    // The nearest Document above this node, starting at its parent; null if none.
    Document* getOwnerDocument() const;

    // The small fields stand together, so that no padding lies between them
    // and the pointers.
    const NodeType nodeType;
    NamespaceId namespaceId = NamespaceId::Html;
    bool hiddenFromMarkup = false;
    // The size of the node's block in units of the heap's alignment, set by
    // makeNode.
    std::uint8_t blockWords = 0;
    // The references to the node (see Ref).
    std::uint32_t referenceCount = 0;
    Node* parent = nullptr;
    // Draws on the heap the node was made from: destroyNode finds it here.
    NodeList children;
};

// A node that carries text: a TextNode or a Comment. The text draws on the
// heap that the node's child list names, the one the node is made from (see
// makeNodeOnHeap), so that the node keeps its heap once.
class CharacterData : public Node {
public:
    // Comments start from a whole text.
    CharacterData(std::u16string_view text, ParseHeap* heap) : CharacterData(NodeType::Comment, text, heap)
    {
    }
    ~CharacterData() { data.release(children.heap()); }

    // Appends a run of units, or one unit, to the text.
    void appendData(std::u16string_view units) { data.append(units, children.heap()); }
    void appendData(char16_t unit) { data.push_back(unit, children.heap()); }
    void appendData(const CharacterText& units) { data.append(units, children.heap()); }
    // Replaces the text.
    void setData(std::u16string_view units) { data.assign(units, children.heap()); }

    // Read here; changed through the functions above, which know its heap.
    CharacterText data;

protected:
    // Text begins as one character or as a run of them, and grows by
    // appendCharacter.
    CharacterData(NodeType type, char16_t firstUnit, ParseHeap* heap)
        : CharacterData(type, std::u16string_view(&firstUnit, 1), heap)
    {
    }
    CharacterData(NodeType type, std::u16string_view units, ParseHeap* heap)
        : Node(type), data(units, heap)
    {
        children = NodeList(heap);
    }
};

// Texts and comments are made with the heap their text draws on: on the
// stack or by makeNodeOnHeap, never by makeNode, which would give the node a
// heap of its own choosing.
class TextNode : public CharacterData {
public:
    TextNode(char16_t firstUnit, ParseHeap* heap) : CharacterData(NodeType::Text, firstUnit, heap) {}
    // A text that starts as a whole run of units (at least one).
    TextNode(std::u16string_view units, ParseHeap* heap) : CharacterData(NodeType::Text, units, heap) {}
    std::uint32_t serialize(std::uint8_t* destination, StringTable* stringTable);
    void writeMarkup(UString& out);
};

class Comment : public CharacterData {
public:
    Comment(std::u16string_view text, ParseHeap* heap) : CharacterData(text, heap) {}
    std::uint32_t serialize(std::uint8_t* destination, StringTable* stringTable);
    void writeMarkup(UString& out);
};

class DocumentType : public Node {
public:
    DocumentType(const UString& doctypeName, const UString& publicIdentifier,
                 const UString& systemIdentifier)
        : Node(NodeType::DocumentType),
          name(doctypeName),
          publicId(publicIdentifier),
          systemId(systemIdentifier)
    {
    }
    // The name alone: the identifiers are not written.
    void writeMarkup(UString& out);
    const UString& getNodeName() { return name; }

    UString name;
    UString publicId;
    UString systemId;
};

// An XML declaration. It exists for markup output only: no parse makes one. Its
// node type is one of its own, so that no rule takes it for an element, a
// marker or a doctype, and the image writer passes over it at the top level.
class XmlDeclaration : public Node {
public:
    XmlDeclaration() : Node(NodeType::XmlDeclaration) {}
    void writeMarkup(UString& out);

    UString version;
    UString encoding;
    bool standalone = false;
};

class Document : public Node {
public:
    // documentKind 1 is case folding HTML parsing, 2 case preserving parsing.
    explicit Document(std::int32_t kind) : Node(NodeType::Document), documentKind(kind) {}
    void writeMarkup(UString& out);

    // The first child that is an element whose tag is html, or null.
    NodeRef getHTMLNode();
    // The first element child of getHTMLNode whose tag is body, or null.
    NodeRef getBODYNode();
    // The first element child of getHTMLNode whose tag is head, or null.
    NodeRef getHEADNode();

    std::int32_t quirksMode = 0;
    const std::int32_t documentKind;
};

// True for the nodes that may hold children: elements and documents.
bool canHoldChildren(const Node* parent);

// Appends child as parent's last child. A text appended behind a text is merged
// into it and stays unlinked. Refused when parent cannot hold children, or when
// child is parent or one of its ancestors.
void appendChild(NodeRef child, Node* parent);
// Inserts child in front of reference (appends when reference is null). A text is
// merged into a text sibling in front of reference, never into reference itself.
void insertBefore(NodeRef child, NodeRef reference, Node* parent);
// Appends one unit of text: extends a last TextNode or starts a new one. A new
// TextNode is made from the heap when one is given.
void appendCharacter(char16_t unit, Node* parent, ParseHeap* heap = nullptr);
// Appends the units as appendCharacter would one by one (nothing for none).
void appendCharacters(const char16_t* units, std::size_t count, Node* parent,
                      ParseHeap* heap = nullptr);
// Inserts one unit of text in front of reference, as insertBefore does.
void insertCharacterBefore(char16_t unit, NodeRef reference, Node* parent,
                           ParseHeap* heap = nullptr);
// Unlinks child from parent. Returns it, or null when child is not parent's.
NodeRef removeChild(Node* child, Node* parent);
// Moves all children of source, in order, to the end of target (with merging).
void moveChildren(Node* source, Node* target);
void moveChildren(const NodeRef& source, const NodeRef& target);
// Pushes child at the end of list: the siblings it has there follow from the
// list itself.
template <typename List>
void linkAsLastChild(NodeRef child, List& list)
{
    list.push_back(std::move(child));
}

// A node made from the heap when one is given and from the general allocator
// otherwise, with its child list drawing on the same heap; its first
// reference.
template <typename T, typename... Arguments>
Ref<T> makeNode(ParseHeap* heap, Arguments&&... arguments)
{
    constexpr std::size_t kWords = sizeof(T) / ParseHeap::kAlignment;
    static_assert(sizeof(T) % ParseHeap::kAlignment == 0 && kWords <= 0xFF,
                  "a node's block size is kept in one byte of heap words");
    void* block = allocateOn(heap, sizeof(T));
    T* node;
    try {
        node = new (block) T(std::forward<Arguments>(arguments)...);
    } catch (...) {
        releaseOn(heap, block, sizeof(T));
        throw;
    }
    node->blockWords = static_cast<std::uint8_t>(kWords);
    node->children = NodeList(heap);
    node->referenceCount = 1;
    return Ref<T>::adopt(node);
}

// A node that keeps its own text on the heap it is made from: the heap goes
// to its constructor as the last argument as well.
template <typename T, typename... Arguments>
Ref<T> makeNodeOnHeap(ParseHeap* heap, Arguments&&... arguments)
{
    return makeNode<T>(heap, std::forward<Arguments>(arguments)..., heap);
}

// The text with &, <, > and U+00A0 written as references, and " too inside an
// attribute value. The result is one static string that every call clears and
// fills again: it holds until the next call, and the function is not
// reentrant (markup.cpp).
const UString& escapeMarkup(std::u16string_view text, bool inAttribute);

}  // namespace Parsers
