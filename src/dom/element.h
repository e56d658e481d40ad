// Elements: the nodes the tree constructor works with all the time.
//
// An element carries its identity twice, as the stored name and as a cached tag
// id, because the tree rules ask for the id constantly and a cached id is one
// load and one compare.
#pragma once

#include <cstdint>
#include <map>

#include "dom/attribute.h"
#include "dom/node.h"
#include "tokenizer/token.h"

namespace Parsers {

// The parts of an element that few elements have: a prefix, a namespace URI
// that is not empty, and a name that is not the tag name list's. They live in
// a table by element, which has an entry for an element only once it gets one
// of them: a pointer in every element would cost them all.
struct ElementRarities {
    CompactText prefix;
    const CharacterText* namespaceUri = nullptr;
    CompactText name;
};

class Element : public Node {
public:
    // An element known by its tag id alone: its name stays empty until someone
    // asks for getNodeName.
    Element(TagId id, NodeType type) : Node(type), tagId(id) {}
    // An element made from a start tag: takes the tag's name, prefix and
    // self-closing flag, and shares its attributes, which now belong to this
    // element. It does not keep the tag: only a FormattingElement does.
    explicit Element(const TagTokenRef& startTag);
    ~Element()
    {
        if (hasRarities) releaseRarities();
    }
    std::uint32_t serialize(std::uint8_t* destination, StringTable* stringTable);
    void writeMarkup(UString& out);
    // Fills an empty name from the tag name list first, if the tag id is known.
    const UString& getNodeName();
    // The element's name as it stands; the shared empty string for none.
    const UString& nameText() const
    {
        static const UString* const listTexts = tagNameStrings().data();
        if (nameTag != TagId::Unknown) return listTexts[static_cast<std::size_t>(nameTag)];
        return hasRarities ? rarityName() : sharedEmptyString();
    }
    // Gives the element this name: the list's own text for a name of the tag
    // name list, a copy otherwise.
    void setName(const UString& text);

    TagId getTagId();
    // The same answer as getTagId without storing a found id.
    TagId lookUpTagId() const;
    TagCategory getCategory();
    void setAttribute(const AttributeRef& attribute);
    // The first attribute named "encoding" with the given prefix, or null.
    Attribute* findAttribute(const UString& attributePrefix);
    // The first attribute in [from, to) with the given name and prefix.
    AttributeMap::iterator findAttributeExact(const UString& attributeName,
                                              const UString& attributePrefix,
                                              AttributeMap::iterator from,
                                              AttributeMap::iterator to);
    // The URI declared for the element's own prefix; cached at the first call.
    const CharacterText& getNamespaceUri();
    // The cached URI; null until getNamespaceUri or cacheNamespaceUri ran.
    const CharacterText* cachedNamespaceUri() const;
    // Caches the URI that getNamespaceUri answers from then on.
    void cacheNamespaceUri(const CharacterText& uri);
    // The element's prefix; empty for most.
    const CompactText& prefix() const;
    void setPrefix(const UString& value);
    // The value of the nearest xmlns (empty prefix) or xmlns:prefix attribute on
    // this element or an ancestor; the shared empty text when there is none.
    const CharacterText& findNamespaceUri(const UString& wantedPrefix);
    bool isSelfClosing() const;
    // The start tag that a FormattingElement keeps; null for any other
    // element and once released.
    const TagTokenRef& getToken() const;
    // Lets go of the start tag once no new element will be made from it.
    void releaseStartTag();

    // The small fields come first: they fill the room that the node's own
    // fields leave at their end.
    TagId tagId;
    TagCategory category = TagCategory::Unclassified;
    bool selfClosing : 1 = false;
    // True while the element is an entry of the list of active formatting
    // elements, the one place that makes new elements from its start tag.
    bool inFormattingList : 1 = false;
    // True for a FormattingElement, and for a TableCellElement: the classes
    // that destroyNode tells apart.
    bool keepsStartTag : 1 = false;
    bool isTableCell : 1 = false;
    // True once the namespace URI is cached: an empty one is cached so.
    bool namespaceUriKnown : 1 = false;
    // True while the element has an entry in the table of rarities.
    bool hasRarities : 1 = false;
    // The tag whose text in the tag name list is the element's name; Unknown
    // for a name outside the list, kept among the rarities, and for none yet
    // (an element made from its tag id alone, until asked for its name). The
    // name is not the cached tag id: that one is found when asked for.
    TagId nameTag = TagId::Unknown;
    AttributeMap attributes;

private:
    // The element's rarities, made empty first if it has none.
    ElementRarities& rarities();
    // The rarities if the element has them, or null.
    const ElementRarities* rare() const;
    const UString& rarityName() const;
    void releaseRarities() noexcept;

    void cacheRow(const TagRow* row);
    // The row a lookup of the name finds, or null.
    const TagRow* rowOfName() const;
    bool hasName() const { return nameTag != TagId::Unknown || !rarityName().empty(); }

};

// An element of a formatting tag (a, b, font, nobr and the like). It keeps
// its start tag: the list of active formatting elements makes new elements
// from the tags of its entries, and no other element is ever made again from
// its tag, so the others need no room for one. The tag's reference lies in a
// block of the element's heap while the element keeps it: most formatting
// elements of a document have given theirs up, and one pointer is half the
// room of a reference.
class FormattingElement : public Element {
public:
    FormattingElement(const TagTokenRef& startTag, ParseHeap* heap);
    ~FormattingElement() { releaseStartTag(); }

    TagTokenRef* heldTag = nullptr;
};

// The marker entry of the list of active formatting elements. Never in a tree.
class MarkerElement : public Element {
public:
    MarkerElement() : Element(TagId::Unknown, NodeType::Marker) {}
};

// td and th: the element with the span and width numbers of its attributes.
class TableCellElement : public Element {
public:
    explicit TableCellElement(const TagTokenRef& startTag);

    // Set a span from an attribute value, by the rules of construction.
    void setColSpan(const UString& value);
    void setRowSpan(const UString& value);

    std::uint32_t colSpan = 1;
    std::uint32_t rowSpan = 1;
    std::int32_t percentWidth = -1;
};

// The same element in the sense of the list of active formatting elements: same
// tag id, namespace and attributes (names, values and prefixes).
bool isSameFormatting(const Element& a, const Element& b);

// The element for a start tag, made from the heap when one is given: a
// TableCellElement for td and th, a FormattingElement for a formatting tag, an
// Element otherwise.
Ref<Element> makeElementForTag(const TagTokenRef& startTag, ParseHeap* heap = nullptr);

// Makes the element for a start tag as makeElementForTag does; null for any
// other token. Its namespace is None under
// documentKind 2 and the given one under any other kind. It is made from the
// heap when one is given.
NodeRef createElementFromToken(const TagTokenRef& startTag, NamespaceId namespaceId,
                               std::int32_t documentKind, ParseHeap* heap = nullptr);

}  // namespace Parsers
