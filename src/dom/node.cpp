#include "dom/node.h"

#include <algorithm>
#include <type_traits>

#include "dom/element.h"
#include "dom/node_classes.h"

namespace Parsers {

const UString& Node::getNodeName()
{
    switch (nodeType) {
    case NodeType::Element:
    case NodeType::Marker:
        return static_cast<Element*>(this)->getNodeName();
    case NodeType::DocumentType:
        return static_cast<DocumentType*>(this)->getNodeName();
    default:
        return sharedEmptyString();
    }
}

Node::~Node()
{
    releaseChildren();
}

void destroyNode(Node* node) noexcept
{
    ParseHeap* heap = node->children.heap();
    const std::size_t bytes = std::size_t{node->blockWords} * ParseHeap::kAlignment;
    // The destructor of the node's own class.
    visitAsItsClass(*node, [](auto& typed) {
        using Class = std::remove_reference_t<decltype(typed)>;
        typed.~Class();
    });
    releaseOn(heap, node, bytes);
}

// A tree can be nested far deeper than the call stack allows, so the subtree is
// taken apart with an explicit list instead of by recursive destructors: every
// child whose last reference is ours gives its children to the list before it
// dies, and so dies without children of its own.
void Node::releaseChildren()
{
    if (children.empty()) return;
    NodeList pending = std::move(children);
    children.clear();
    while (!pending.empty()) {
        NodeRef node = std::move(pending.back());
        pending.pop_back();
        node->parent = nullptr;
        if (node.use_count() == 1) {
            for (NodeRef& child : node->children) pending.push_back(std::move(child));
            node->children.clear();
        }
    }
}

namespace {

NodeList::const_iterator findChild(const NodeList& children, const Node* child)
{
    return std::find_if(children.begin(), children.end(),
                        [child](const NodeRef& entry) { return entry.get() == child; });
}

}  // namespace

Node* Node::previousSibling() const
{
    if (!parent) return nullptr;
    const NodeList& siblings = parent->children;
    const auto position = findChild(siblings, this);
    if (position == siblings.begin() || position == siblings.end()) return nullptr;
    return (position - 1)->get();
}

Node* Node::nextSibling() const
{
    if (!parent) return nullptr;
    const NodeList& siblings = parent->children;
    const auto position = findChild(siblings, this);
    if (position == siblings.end() || position + 1 == siblings.end()) return nullptr;
    return (position + 1)->get();
}

Document* Node::getOwnerDocument() const
{
    for (Node* node = parent; node; node = node->parent) {
        if (node->nodeType == NodeType::Document) return static_cast<Document*>(node);
    }
    return nullptr;
}

namespace {

// The tag id of a node if it is an element, looked up and cached as elements do.
TagId elementTagId(Node* node)
{
    if (node->nodeType != NodeType::Element) return TagId::Unknown;
    return static_cast<Element*>(node)->getTagId();
}

NodeRef firstElementChildWithTag(Node* parent, TagId wanted)
{
    for (const NodeRef& child : parent->children) {
        if (elementTagId(child.get()) == wanted) return child;
    }
    return nullptr;
}

// True when candidate is node or one of node's ancestors. A node without
// children can be nobody's ancestor, which spares the walk for the new nodes
// that make up nearly every insertion.
bool isSelfOrAncestor(const Node* candidate, const Node* node)
{
    if (candidate == node) return true;
    if (candidate->children.empty()) return false;
    for (const Node* above = node->parent; above; above = above->parent) {
        if (above == candidate) return true;
    }
    return false;
}

bool isTextNode(const Node* node)
{
    return node && node->nodeType == NodeType::Text;
}

void appendText(Node* target, const Node* text)
{
    static_cast<CharacterData*>(target)->appendData(static_cast<const CharacterData*>(text)->data);
}

}  // namespace

NodeRef Document::getHTMLNode()
{
    return firstElementChildWithTag(this, TagId::Html);
}

NodeRef Document::getBODYNode()
{
    NodeRef html = getHTMLNode();
    if (!html) return nullptr;
    return firstElementChildWithTag(html.get(), TagId::Body);
}

NodeRef Document::getHEADNode()
{
    NodeRef html = getHTMLNode();
    if (!html) return nullptr;
    return firstElementChildWithTag(html.get(), TagId::Head);
}

bool canHoldChildren(const Node* parent)
{
    return parent &&
           (parent->nodeType == NodeType::Element || parent->nodeType == NodeType::Document);
}

void appendChild(NodeRef child, Node* parent)
{
    if (!canHoldChildren(parent)) return;
    if (isSelfOrAncestor(child.get(), parent)) return;
    if (isTextNode(child.get()) && isTextNode(parent->lastChild())) {
        appendText(parent->lastChild(), child.get());
        return;
    }
    child->parent = parent;
    linkAsLastChild(std::move(child), parent->children);
}

void insertBefore(NodeRef child, NodeRef reference, Node* parent)
{
    if (!canHoldChildren(parent)) return;
    if (!reference) {
        appendChild(std::move(child), parent);
        return;
    }
    if (reference->parent != parent) return;
    if (isSelfOrAncestor(child.get(), parent)) return;
    const NodeList& siblings = parent->children;
    const auto position = findChild(siblings, reference.get());
    Node* before = position == siblings.begin() || position == siblings.end() ? nullptr : (position - 1)->get();
    if (isTextNode(child.get()) && isTextNode(before)) {
        appendText(before, child.get());
        return;
    }
    child->parent = parent;
    parent->children.insert(position, std::move(child));
}

void appendCharacter(char16_t unit, Node* parent, ParseHeap* heap)
{
    if (!canHoldChildren(parent)) return;
    Node* last = parent->lastChild();
    if (isTextNode(last)) {
        static_cast<CharacterData*>(last)->appendData(unit);
        return;
    }
    auto text = makeNodeOnHeap<TextNode>(heap, unit);
    text->parent = parent;
    linkAsLastChild(std::move(text), parent->children);
}

void appendCharacters(const char16_t* units, std::size_t count, Node* parent, ParseHeap* heap)
{
    if (count == 0 || !canHoldChildren(parent)) return;
    Node* last = parent->lastChild();
    if (isTextNode(last)) {
        static_cast<CharacterData*>(last)->appendData(std::u16string_view(units, count));
        return;
    }
    auto text = makeNodeOnHeap<TextNode>(heap, std::u16string_view(units, count));
    text->parent = parent;
    linkAsLastChild(std::move(text), parent->children);
}

void insertCharacterBefore(char16_t unit, NodeRef reference, Node* parent, ParseHeap* heap)
{
    insertBefore(makeNodeOnHeap<TextNode>(heap, unit), std::move(reference), parent);
}

NodeRef removeChild(Node* child, Node* parent)
{
    if (!canHoldChildren(parent) || !child || child->parent != parent) return nullptr;
    NodeList& children = parent->children;
    const auto found = findChild(children, child);
    if (found == children.end()) return nullptr;
    child->parent = nullptr;
    const auto position = children.begin() + (found - children.begin());
    NodeRef removed = std::move(*position);
    children.erase(position);
    return removed;
}

// The result is that of taking the first child of source, removing it and
// appending it to target, until source has no children. Taking the whole list at
// once gives every child the same outcome without shifting the rest of the list
// for each one, which would be quadratic in the number of children.
void moveChildren(Node* source, Node* target)
{
    NodeList moving = std::move(source->children);
    source->children.clear();
    for (NodeRef& child : moving) child->parent = nullptr;
    for (NodeRef& child : moving) appendChild(std::move(child), target);
}

void moveChildren(const NodeRef& source, const NodeRef& target)
{
    moveChildren(source.get(), target.get());
}

}  // namespace Parsers
