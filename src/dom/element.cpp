#include "dom/element.h"

#include <mutex>
#include <unordered_map>
#include <vector>

namespace Parsers {

const UString& sharedEmptyString()
{
    static const UString empty;
    return empty;
}

namespace {

// A text of the tag name list; the shared empty string for a row outside the
// list.
const UString& tagNameString(std::int32_t row)
{
    if (row < 0 || row >= kTagNameListSize) return sharedEmptyString();
    return tagNameStrings()[row];
}

const char16_t kXmlns[] = u"xmlns";
const char16_t kEncoding[] = u"encoding";

bool isAsciiDigit(char16_t unit)
{
    return unit >= u'0' && unit <= u'9';
}

// The value up to its first zero unit, as the cell scan reads it.
std::u16string_view textBeforeZero(const UString& value)
{
    std::u16string_view text(value);
    return text.substr(0, text.find(u'\0'));
}

bool allDigits(std::u16string_view text)
{
    for (char16_t unit : text) {
        if (!isAsciiDigit(unit)) return false;
    }
    return true;
}

// Decimal value in unsigned 32-bit arithmetic: overflow wraps, unchecked.
std::uint32_t decimalValue(std::u16string_view digits)
{
    std::uint32_t value = 0;
    for (char16_t unit : digits) value = value * 10u + static_cast<std::uint32_t>(unit - u'0');
    return value;
}

// A span keeps its value for an empty or non-numeric text; otherwise it becomes
// the number when that is above 1, and 1 when it is not.
void readSpan(std::u16string_view text, std::uint32_t& span)
{
    if (text.empty() || !allDigits(text)) return;
    std::uint32_t value = decimalValue(text);
    span = value > 1 ? value : 1;
}

// A width counts only as digits followed by a percent sign; anything else is -1.
std::int32_t percentWidthOf(std::u16string_view text)
{
    if (text.empty() || text.back() != u'%') return -1;
    std::u16string_view digits = text.substr(0, text.size() - 1);
    if (digits.empty() || !allDigits(digits)) return -1;
    return static_cast<std::int32_t>(decimalValue(digits));
}

// Does this attribute declare the namespace of the given prefix (the default
// namespace for an empty prefix)?
bool declaresPrefix(const Attribute& attribute, const UString& wantedPrefix)
{
    if (wantedPrefix.empty()) return attribute.prefix.empty() && attribute.name == kXmlns;
    return attribute.prefix == kXmlns && attribute.name == wantedPrefix;
}

}  // namespace

template <>
const CharacterText& Attribute::getNamespaceUri()
{
    if (namespaceUriCache) return *namespaceUriCache;
    if (!owner) return sharedEmptyText();
    const CharacterText& uri = prefix.empty() ? owner->getNamespaceUri() : owner->findNamespaceUri(prefix);
    namespaceUriCache = &uri;
    return uri;
}

Element::Element(const TagTokenRef& startTag)
    : Node(NodeType::Element),
      tagId(TagId::Unknown),
      selfClosing(startTag->selfClosing)
{
    setPrefix(startTag->prefix);
    const TagRow* row = startTag->getTagId() != TagId::Unknown ? startTag->tagEntry : nullptr;
    // A name as the list writes it is kept as the list's text, which also
    // tells the name's row without a lookup.
    const UString& listed = row ? tagNameString(static_cast<std::int32_t>(row->id)) : sharedEmptyString();
    if (!listed.empty() && listed == startTag->name) {
        nameTag = row->id;
    } else if (!startTag->name.empty()) {
        rarities().name = startTag->name;
    }
    for (const auto& entry : startTag->attributes) entry.second->owner = this;
    attributes = startTag->attributes;
}

void Element::cacheRow(const TagRow* row)
{
    tagId = row->id;
    category = row->category;
}

const TagRow* Element::rowOfName() const
{
    if (nameTag != TagId::Unknown) return tagRowById(nameTag);
    const UString& text = nameText();
    return lookupTagName(text.data(), text.size());
}

TagId Element::lookUpTagId() const
{
    if (tagId != TagId::Unknown || !hasName()) return tagId;
    const TagRow* row = rowOfName();
    return row ? row->id : TagId::Unknown;
}

TagId Element::getTagId()
{
    if (tagId != TagId::Unknown || !hasName()) return tagId;
    const TagRow* row = rowOfName();
    if (!row) return TagId::Unknown;
    cacheRow(row);
    return tagId;
}

TagCategory Element::getCategory()
{
    if (category != TagCategory::Unclassified) return category;
    getTagId();
    return category;
}

const UString& Element::getNodeName()
{
    if (!hasName() && tagId != TagId::Unknown) nameTag = tagId;
    return nameText();
}

void Element::setName(const UString& text)
{
    const TagRow* row = text.empty() ? nullptr : lookupTagName(text.data(), text.size());
    if (row && tagNameString(static_cast<std::int32_t>(row->id)) == text) {
        nameTag = row->id;
        if (hasRarities) rarities().name = UString();
        return;
    }
    nameTag = TagId::Unknown;
    if (!text.empty() || hasRarities) rarities().name = text;
}

void Element::setAttribute(const AttributeRef& attribute)
{
    attribute->owner = this;
    attributes[attribute->getQualifiedName()] = attribute;
}

AttributeMap::iterator Element::findAttributeExact(const UString& attributeName,
                                                   const UString& attributePrefix,
                                                   AttributeMap::iterator from,
                                                   AttributeMap::iterator to)
{
    for (auto position = from; position != to; ++position) {
        const Attribute& attribute = *position->second;
        if (attribute.name == attributeName && attribute.prefix == attributePrefix) return position;
    }
    return to;
}

Attribute* Element::findAttribute(const UString& attributePrefix)
{
    static const UString encoding(kEncoding);
    auto found = findAttributeExact(encoding, attributePrefix, attributes.begin(), attributes.end());
    return found == attributes.end() ? nullptr : found->second.get();
}

const CharacterText& Element::findNamespaceUri(const UString& wantedPrefix)
{
    for (Node* node = this; node; node = node->parent) {
        if (node->nodeType != NodeType::Element) continue;
        for (const auto& entry : static_cast<Element*>(node)->attributes) {
            if (declaresPrefix(*entry.second, wantedPrefix)) return entry.second->value;
        }
    }
    return sharedEmptyText();
}

const CharacterText& Element::getNamespaceUri()
{
    if (const CharacterText* cached = cachedNamespaceUri()) return *cached;
    cacheNamespaceUri(findNamespaceUri(prefix()));
    return *cachedNamespaceUri();
}

const CharacterText* Element::cachedNamespaceUri() const
{
    if (!namespaceUriKnown) return nullptr;
    const ElementRarities* found = rare();
    return found && found->namespaceUri ? found->namespaceUri : &sharedEmptyText();
}

void Element::cacheNamespaceUri(const CharacterText& uri)
{
    namespaceUriKnown = true;
    if (!uri.empty()) {
        rarities().namespaceUri = &uri;
    } else if (hasRarities) {
        rarities().namespaceUri = nullptr;
    }
}

const CompactText& Element::prefix() const
{
    static const CompactText none;
    const ElementRarities* found = rare();
    return found ? found->prefix : none;
}

void Element::setPrefix(const UString& value)
{
    if (value.empty() && !hasRarities) return;
    rarities().prefix = value;
}

namespace {

// The rarities of the elements that have any, by element. Elements of any
// parse on any thread share it, so every use holds its lock; an entry stays
// where it is while others come and go, and only its element's thread reads
// or changes it. The table is never destroyed: an element may outlive the
// static objects of the library.
class RarityTable {
public:
    ElementRarities& entryOf(const Element* element)
    {
        const std::lock_guard<std::mutex> hold(lock);
        return entries[element];
    }
    const ElementRarities* find(const Element* element)
    {
        const std::lock_guard<std::mutex> hold(lock);
        const auto found = entries.find(element);
        return found == entries.end() ? nullptr : &found->second;
    }
    void erase(const Element* element) noexcept
    {
        const std::lock_guard<std::mutex> hold(lock);
        entries.erase(element);
    }

private:
    std::mutex lock;
    std::unordered_map<const Element*, ElementRarities> entries;
};

RarityTable& rarityTable()
{
    static RarityTable* const table = new RarityTable();
    return *table;
}

}  // namespace

ElementRarities& Element::rarities()
{
    ElementRarities& entry = rarityTable().entryOf(this);
    hasRarities = true;
    return entry;
}

const ElementRarities* Element::rare() const
{
    return hasRarities ? rarityTable().find(this) : nullptr;
}

const UString& Element::rarityName() const
{
    const ElementRarities* found = rare();
    return found ? found->name.str() : sharedEmptyString();
}

void Element::releaseRarities() noexcept
{
    rarityTable().erase(this);
    hasRarities = false;
}

bool Element::isSelfClosing() const
{
    if (!children.empty()) return false;
    return selfClosing;
}

FormattingElement::FormattingElement(const TagTokenRef& startTag, ParseHeap* heap) : Element(startTag)
{
    keepsStartTag = true;
    void* block = allocateOn(heap, sizeof(TagTokenRef));
    heldTag = new (block) TagTokenRef(startTag);
}

const TagTokenRef& Element::getToken() const
{
    static const TagTokenRef none;
    if (!keepsStartTag) return none;
    const TagTokenRef* held = static_cast<const FormattingElement*>(this)->heldTag;
    return held ? *held : none;
}

// The block of the tag's reference comes from the heap that the element's
// child list names: the one the element was made on.
void Element::releaseStartTag()
{
    if (!keepsStartTag) return;
    TagTokenRef*& held = static_cast<FormattingElement*>(this)->heldTag;
    if (!held) return;
    TagTokenRef* gone = held;
    held = nullptr;
    gone->~TagTokenRef();
    releaseOn(children.heap(), gone, sizeof(TagTokenRef));
}

TableCellElement::TableCellElement(const TagTokenRef& startTag) : Element(startTag)
{
    isTableCell = true;
    for (const auto& entry : startTag->attributes) {
        Attribute& attribute = *entry.second;
        const UString value = attribute.value.str();
        std::u16string_view text = textBeforeZero(value);
        switch (attribute.getAttributeId()) {
        case AttributeId::Colspan:
            readSpan(text, colSpan);
            break;
        case AttributeId::Rowspan:
            readSpan(text, rowSpan);
            break;
        case AttributeId::Width:
            percentWidth = percentWidthOf(text);
            break;
        default:
            break;
        }
    }
}

void TableCellElement::setColSpan(const UString& value)
{
    readSpan(textBeforeZero(value), colSpan);
}

void TableCellElement::setRowSpan(const UString& value)
{
    readSpan(textBeforeZero(value), rowSpan);
}

bool isSameFormatting(const Element& a, const Element& b)
{
    if (&a == &b) return true;
    if (a.tagId != b.tagId || a.namespaceId != b.namespaceId) return false;
    if (a.attributes.size() != b.attributes.size()) return false;
    for (const auto& [key, attribute] : a.attributes) {
        auto match = b.attributes.find(key);
        if (match == b.attributes.end() || !attribute->equals(*match->second)) return false;
    }
    return true;
}

Ref<Element> makeElementForTag(const TagTokenRef& startTag, ParseHeap* heap)
{
    const TagId id = startTag->getTagId();
    if (id == TagId::Td || id == TagId::Th) return makeNode<TableCellElement>(heap, startTag);
    if (id != TagId::Unknown && startTag->tagEntry->category == TagCategory::Formatting) {
        return makeNodeOnHeap<FormattingElement>(heap, startTag);
    }
    return makeNode<Element>(heap, startTag);
}

NodeRef createElementFromToken(const TagTokenRef& startTag, NamespaceId namespaceId,
                               std::int32_t documentKind, ParseHeap* heap)
{
    if (!startTag || startTag->type != TokenType::StartTag) return nullptr;
    Ref<Element> element = makeElementForTag(startTag, heap);
    // Case preserving parsing (kind 2) gives elements from tags no namespace.
    element->namespaceId = documentKind == 2 ? NamespaceId::None : namespaceId;
    return element;
}

}  // namespace Parsers
