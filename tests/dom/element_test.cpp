#include "dom/element.h"

#include <gtest/gtest.h>

#include "support/tree_builders.h"
#include "tokenizer/tokenizer.h"

namespace Parsers {
namespace {

using Testing::makeAttribute;
using Testing::makeElement;
using Testing::makeStartTag;
using Testing::makeText;

TEST(ElementIdentity, ElementFromTokenTakesNameAndPrefixAndLooksUpLater)
{
    auto element = makeElement(u"rect", {}, u"svg");
    EXPECT_EQ(element->nodeType, NodeType::Element);
    EXPECT_EQ(element->nameText(), u"rect");
    EXPECT_EQ(element->prefix(), u"svg");
    EXPECT_EQ(element->tagId, TagId::Unknown);
    EXPECT_EQ(element->getTagId(), TagId::Rect);
    EXPECT_EQ(element->tagId, TagId::Rect);
    EXPECT_EQ(element->category, TagCategory::Unclassified);
}

TEST(ElementIdentity, PrefixAndCachedNamespaceUriAreKeptAndCleared)
{
    auto element = makeElement(u"x");
    EXPECT_TRUE(element->prefix().empty());
    EXPECT_EQ(element->cachedNamespaceUri(), nullptr);
    const CharacterText uri(u"urn:x", nullptr);
    element->cacheNamespaceUri(uri);
    EXPECT_EQ(element->cachedNamespaceUri(), &uri);
    element->setPrefix(u"p");
    EXPECT_EQ(element->prefix(), u"p");
    const CharacterText none;
    element->cacheNamespaceUri(none);
    EXPECT_EQ(element->cachedNamespaceUri(), &sharedEmptyText());
    EXPECT_EQ(element->prefix(), u"p");
    element->setPrefix(u"");
    EXPECT_TRUE(element->prefix().empty());
    EXPECT_EQ(&element->getNamespaceUri(), &sharedEmptyText());
}

TEST(ElementIdentity, NamesOfTheListAreSharedAndOtherNamesCopied)
{
    auto first = makeElement(u"div");
    auto second = makeElement(u"div");
    EXPECT_EQ(first->nameText(), u"div");
    EXPECT_EQ(&first->nameText(), &second->nameText());
    EXPECT_EQ(first->nameTag, TagId::Div);
    auto upper = makeElement(u"DIV");
    auto custom = makeElement(u"my-element");
    EXPECT_EQ(upper->nameText(), u"DIV");
    EXPECT_EQ(custom->nameText(), u"my-element");
    EXPECT_EQ(upper->nameTag, TagId::Unknown);
    EXPECT_NE(&upper->nameText(), &makeElement(u"DIV")->nameText());
    EXPECT_EQ(makeElement(u"rect")->prefix().str(), u"");
}

// A name of the tag name list is kept as its tag, any other name as a copy
// among the rarities; renaming moves between the two, and neither caches the
// tag id.
TEST(ElementIdentity, RenamingKeepsListedNamesAsTheirTagAndOthersAsCopies)
{
    auto element = makeElement(u"my-element");
    EXPECT_EQ(element->nameTag, TagId::Unknown);
    element->setName(u"span");
    EXPECT_EQ(element->nameTag, TagId::Span);
    EXPECT_EQ(element->nameText(), u"span");
    EXPECT_EQ(&element->nameText(), &tagNameStrings()[static_cast<std::size_t>(TagId::Span)]);
    EXPECT_EQ(element->tagId, TagId::Unknown);
    element->setName(u"Span");
    EXPECT_EQ(element->nameTag, TagId::Unknown);
    EXPECT_EQ(element->nameText(), u"Span");
    element->setName(u"");
    EXPECT_TRUE(element->nameText().empty());
    EXPECT_EQ(element->getTagId(), TagId::Unknown);
    element->setName(u"b");
    EXPECT_EQ(element->getTagId(), TagId::B);
    EXPECT_EQ(element->getNodeName(), u"b");
}

TEST(ElementIdentity, UnknownNameIsLookedUpAgainEachTime)
{
    auto element = makeElement(u"myWidget");
    EXPECT_EQ(element->getTagId(), TagId::Unknown);
    EXPECT_EQ(element->getTagId(), TagId::Unknown);
    // Nothing was cached, so a name that becomes known is found.
    element->setName(u"div");
    EXPECT_EQ(element->getTagId(), TagId::Div);
}

TEST(ElementIdentity, UpperCaseNameIsUnknown)
{
    EXPECT_EQ(makeElement(u"DIV")->getTagId(), TagId::Unknown);
}

TEST(ElementIdentity, CategoryComesWithTheLookup)
{
    auto p = makeElement(u"p");
    EXPECT_EQ(p->getCategory(), TagCategory::Special);
    EXPECT_EQ(p->tagId, TagId::P);
    EXPECT_EQ(makeElement(u"b")->getCategory(), TagCategory::Formatting);
    EXPECT_EQ(makeElement(u"span")->getCategory(), TagCategory::Ordinary);
    EXPECT_EQ(makeElement(u"main")->getCategory(), TagCategory::Unclassified);
    EXPECT_EQ(makeElement(u"unknown")->getCategory(), TagCategory::Unclassified);
}

// The category is cached only by a lookup of the name. An element made from a
// tag id already has its id, so no lookup happens and its category stays
// unclassified.
TEST(ElementIdentity, ElementFromTagIdHasNoCategory)
{
    Element html(TagId::Html, NodeType::Element);
    EXPECT_EQ(html.getTagId(), TagId::Html);
    EXPECT_EQ(html.getCategory(), TagCategory::Unclassified);
}

TEST(ElementIdentity, ElementFromTagIdFillsItsNameOnRequest)
{
    Element html(TagId::Html, NodeType::Element);
    EXPECT_TRUE(html.nameText().empty());
    EXPECT_EQ(html.getNodeName(), u"html");
    EXPECT_EQ(html.nameText(), u"html");
    Element unknown(TagId::Unknown, NodeType::Element);
    EXPECT_EQ(unknown.getNodeName(), u"");
}

TEST(ElementIdentity, MarkerIsNeverAnElement)
{
    MarkerElement marker;
    EXPECT_EQ(marker.nodeType, NodeType::Marker);
    EXPECT_EQ(marker.tagId, TagId::Unknown);
    EXPECT_TRUE(marker.nameText().empty());
}

TEST(ElementAttributes, ElementSharesTheTokensAttributesAndOwnsThem)
{
    auto token = makeStartTag(u"a", {{u"href", u"x"}, {u"id", u"y"}});
    auto element = makeElementForTag(token);
    ASSERT_EQ(element->attributes.size(), 2u);
    EXPECT_EQ(element->attributes.at(u"href"), token->attributes.at(u"href"));
    EXPECT_EQ(element->attributes.at(u"href")->owner, element.get());
    EXPECT_EQ(element->getToken(), token);
}

TEST(ElementAttributes, AttributesAreOrderedByUnitsShorterFirst)
{
    auto element = makeElement(u"a", {{u"b", u"1"}, {u"B", u"2"}, {u"ab", u"3"}, {u"a", u"4"}});
    std::vector<UString> keys;
    for (const auto& entry : element->attributes) keys.push_back(entry.first);
    EXPECT_EQ(keys, (std::vector<UString>{u"B", u"a", u"ab", u"b"}));
}

TEST(ElementAttributes, SetAttributeKeepsTheLast)
{
    auto element = makeElement(u"a");
    element->setAttribute(makeAttribute({u"id", u"first"}));
    element->setAttribute(makeAttribute({u"id", u"second"}));
    ASSERT_EQ(element->attributes.size(), 1u);
    EXPECT_EQ(element->attributes.at(u"id")->value, u"second");
    EXPECT_EQ(element->attributes.at(u"id")->owner, element.get());
}

TEST(ElementAttributes, FindAttributeAsksOnlyForEncoding)
{
    auto element = makeElement(u"annotation-xml",
                               {{u"encoding", u"text/html"}, {u"encoding", u"x", u"p"}});
    Attribute* found = element->findAttribute(u"");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->value, u"text/html");
    ASSERT_NE(element->findAttribute(u"p"), nullptr);
    EXPECT_EQ(element->findAttribute(u"p")->value, u"x");
    EXPECT_EQ(element->findAttribute(u"q"), nullptr);
    EXPECT_EQ(makeElement(u"math", {{u"ENCODING", u"x"}})->findAttribute(u""), nullptr);
}

TEST(ElementAttributes, FindAttributeExactScansTheRange)
{
    auto element = makeElement(u"a", {{u"id", u"1"}, {u"href", u"2", u"xlink"}});
    auto& map = element->attributes;
    auto found = element->findAttributeExact(u"href", u"xlink", map.begin(), map.end());
    ASSERT_NE(found, map.end());
    EXPECT_EQ(found->second->value, u"2");
    EXPECT_EQ(element->findAttributeExact(u"href", u"", map.begin(), map.end()), map.end());
}

TEST(ElementFormatting, SameAttributesInOtherSourceOrderAreSameFormatting)
{
    auto first = makeElement(u"b", {{u"class", u"x"}, {u"id", u"y"}});
    auto second = makeElement(u"b", {{u"id", u"y"}, {u"class", u"x"}});
    first->getTagId();
    second->getTagId();
    EXPECT_TRUE(isSameFormatting(*first, *second));
    EXPECT_TRUE(isSameFormatting(*first, *first));
}

TEST(ElementFormatting, DifferencesThatCount)
{
    auto b = makeElement(u"b", {{u"class", u"x"}});
    b->getTagId();
    auto otherValue = makeElement(u"b", {{u"class", u"y"}});
    otherValue->getTagId();
    EXPECT_FALSE(isSameFormatting(*b, *otherValue));

    auto otherPrefix = makeElement(u"b", {{u"class", u"x", u"p"}});
    otherPrefix->getTagId();
    EXPECT_FALSE(isSameFormatting(*b, *otherPrefix));

    auto moreAttributes = makeElement(u"b", {{u"class", u"x"}, {u"id", u"1"}});
    moreAttributes->getTagId();
    EXPECT_FALSE(isSameFormatting(*b, *moreAttributes));

    auto otherNamespace = makeElement(u"b", {{u"class", u"x"}});
    otherNamespace->getTagId();
    otherNamespace->namespaceId = NamespaceId::None;
    EXPECT_FALSE(isSameFormatting(*b, *otherNamespace));
}

// Tag ids are compared as they stand: one looked up and one not yet looked up
// differ even for the same name.
TEST(ElementFormatting, TagIdsAreComparedWithoutLookup)
{
    auto looked = makeElement(u"i");
    looked->getTagId();
    auto notLooked = makeElement(u"i");
    EXPECT_FALSE(isSameFormatting(*looked, *notLooked));
    EXPECT_TRUE(isSameFormatting(*makeElement(u"i"), *makeElement(u"i")));
}

TEST(ElementSelfClosing, FlagOfTheTokenUntilAChildArrives)
{
    auto token = makeStartTag(u"br");
    token->selfClosing = true;
    auto element = makeNode<Element>(nullptr, token);
    EXPECT_TRUE(element->isSelfClosing());
    appendChild(makeText(u"x"), element.get());
    EXPECT_FALSE(element->isSelfClosing());

    Element fromId(TagId::Br, NodeType::Element);
    EXPECT_FALSE(fromId.isSelfClosing());
    fromId.selfClosing = true;
    EXPECT_TRUE(fromId.isSelfClosing());
}

TEST(ElementSelfClosing, FlagIsTakenWhenTheElementIsMade)
{
    auto token = makeStartTag(u"br");
    auto element = makeNode<Element>(nullptr, token);
    token->selfClosing = true;
    EXPECT_FALSE(element->isSelfClosing());
}

TEST(ElementStartTag, OnlyFormattingElementsKeepTheirTag)
{
    for (const char16_t* name : {u"a", u"b", u"font", u"nobr", u"u"}) {
        auto token = makeStartTag(name);
        EXPECT_EQ(makeElementForTag(token)->getToken(), token);
    }
    for (const char16_t* name : {u"div", u"p", u"table", u"B", u"custom"}) {
        EXPECT_EQ(makeElementForTag(makeStartTag(name))->getToken(), nullptr);
    }
    auto cell = makeStartTag(u"td", {{u"colspan", u"2"}});
    EXPECT_EQ(makeElementForTag(cell)->getToken(), nullptr);
}

TEST(ElementStartTag, TagIdComesFromTheTagsRowOrFromALookup)
{
    auto token = makeStartTag(u"div");
    ASSERT_EQ(token->getTagId(), TagId::Div);
    auto element = makeNode<Element>(nullptr, token);
    EXPECT_EQ(element->tagId, TagId::Unknown);
    EXPECT_EQ(element->getTagId(), TagId::Div);
    EXPECT_EQ(element->category, TagCategory::Special);

    auto renamed = makeNode<Element>(nullptr, makeStartTag(u"div"));
    renamed->setName(u"span");
    EXPECT_EQ(renamed->getTagId(), TagId::Span);
}

Ref<TableCellElement> makeCell(std::initializer_list<Testing::AttributeSpec> attributes)
{
    return makeNode<TableCellElement>(nullptr, makeStartTag(u"td", attributes));
}

TEST(TableCell, DefaultsWithoutAttributes)
{
    auto cell = makeCell({});
    EXPECT_EQ(cell->colSpan, 1u);
    EXPECT_EQ(cell->rowSpan, 1u);
    EXPECT_EQ(cell->percentWidth, -1);
}

TEST(TableCell, SpanValues)
{
    EXPECT_EQ(makeCell({{u"colspan", u"0"}})->colSpan, 1u);
    EXPECT_EQ(makeCell({{u"colspan", u""}})->colSpan, 1u);
    EXPECT_EQ(makeCell({{u"colspan", u"x"}})->colSpan, 1u);
    EXPECT_EQ(makeCell({{u"colspan", u"3"}})->colSpan, 3u);
    EXPECT_EQ(makeCell({{u"colspan", u"4294967298"}})->colSpan, 2u);
    EXPECT_EQ(makeCell({{u"colspan", u"1"}})->colSpan, 1u);
    EXPECT_EQ(makeCell({{u"colspan", u"3x"}})->colSpan, 1u);
    EXPECT_EQ(makeCell({{u"colspan", u" 3"}})->colSpan, 1u);
    EXPECT_EQ(makeCell({{u"rowspan", u"7"}})->rowSpan, 7u);
    EXPECT_EQ(makeCell({{u"rowspan", u"7"}})->colSpan, 1u);
    EXPECT_EQ(makeCell({{u"rowspan", u"-2"}})->rowSpan, 1u);
}

TEST(TableCell, SpanValueEndsAtFirstZeroUnit)
{
    UString value = u"12";
    value.push_back(u'\0');
    value += u"x";
    auto cell = makeNode<TableCellElement>(nullptr, makeStartTag(u"th", {{u"colspan", value}}));
    EXPECT_EQ(cell->colSpan, 12u);
}

TEST(TableCell, PercentWidth)
{
    EXPECT_EQ(makeCell({{u"width", u"50%"}})->percentWidth, 50);
    EXPECT_EQ(makeCell({{u"width", u"0%"}})->percentWidth, 0);
    EXPECT_EQ(makeCell({{u"width", u"%"}})->percentWidth, -1);
    EXPECT_EQ(makeCell({{u"width", u"50"}})->percentWidth, -1);
    EXPECT_EQ(makeCell({{u"width", u"5x%"}})->percentWidth, -1);
    EXPECT_EQ(makeCell({{u"width", u""}})->percentWidth, -1);
}

TEST(TableCell, AttributeWithPrefixCountsByItsLocalName)
{
    // The scan asks each attribute for its id, which is that of its local name.
    EXPECT_EQ(makeCell({{u"colspan", u"5", u"x"}})->colSpan, 5u);
}

TEST(TableCell, SettersFollowTheSameRules)
{
    auto cell = makeCell({});
    cell->setColSpan(u"9");
    cell->setRowSpan(u"0");
    EXPECT_EQ(cell->colSpan, 9u);
    EXPECT_EQ(cell->rowSpan, 1u);
    cell->setColSpan(u"bad");
    EXPECT_EQ(cell->colSpan, 9u);
}

TEST(ElementCreation, CellsAndOtherElements)
{
    NodeRef td = createElementFromToken(makeStartTag(u"td"), NamespaceId::Html, 1);
    ASSERT_NE(td, nullptr);
    EXPECT_TRUE(static_cast<Element&>(*td).isTableCell);
    EXPECT_EQ(td->namespaceId, NamespaceId::Html);

    NodeRef th = createElementFromToken(makeStartTag(u"th"), NamespaceId::Svg, 1);
    EXPECT_TRUE(static_cast<Element&>(*th).isTableCell);
    EXPECT_EQ(th->namespaceId, NamespaceId::Svg);

    NodeRef upper = createElementFromToken(makeStartTag(u"TD"), NamespaceId::Html, 1);
    EXPECT_FALSE(static_cast<Element&>(*upper).isTableCell);

    NodeRef div = createElementFromToken(makeStartTag(u"div"), NamespaceId::Html, 2);
    EXPECT_FALSE(static_cast<Element&>(*div).isTableCell);
    EXPECT_EQ(div->namespaceId, NamespaceId::None);

    // Only case preserving parsing drops the namespace.
    NodeRef other = createElementFromToken(makeStartTag(u"div"), NamespaceId::MathMl, 3);
    EXPECT_EQ(other->namespaceId, NamespaceId::MathMl);
}

TEST(ElementCreation, OnlyStartTagsMakeElements)
{
    auto endTag = makeStartTag(u"div");
    endTag->type = TokenType::EndTag;
    EXPECT_EQ(createElementFromToken(endTag, NamespaceId::Html, 1), nullptr);
    EXPECT_EQ(createElementFromToken(nullptr, NamespaceId::Html, 1), nullptr);
}

TEST(ElementNamespaces, DefaultNamespaceFromNearestXmlns)
{
    auto outer = makeElement(u"svg", {{u"xmlns", u"urn:outer"}});
    auto middle = makeElement(u"g");
    auto inner = makeElement(u"rect", {{u"xmlns", u"urn:inner"}});
    appendChild(middle, outer.get());
    appendChild(inner, middle.get());
    EXPECT_EQ(middle->getNamespaceUri(), u"urn:outer");
    EXPECT_EQ(inner->getNamespaceUri(), u"urn:inner");
    EXPECT_EQ(outer->getNamespaceUri(), u"urn:outer");
}

TEST(ElementNamespaces, PrefixedNamesUseXmlnsPrefixDeclarations)
{
    auto root = makeElement(u"root", {{u"svg", u"urn:svg", u"xmlns"}, {u"xmlns", u"urn:default"}});
    auto child = makeElement(u"rect", {}, u"svg");
    auto other = makeElement(u"x", {}, u"undeclared");
    appendChild(child, root.get());
    appendChild(other, root.get());
    EXPECT_EQ(child->getNamespaceUri(), u"urn:svg");
    EXPECT_EQ(other->getNamespaceUri(), u"");
    EXPECT_EQ(&other->getNamespaceUri(), &sharedEmptyText());
}

TEST(ElementNamespaces, EmptyDeclarationGivesTheSharedEmptyString)
{
    auto element = makeElement(u"a", {{u"xmlns", u""}});
    EXPECT_EQ(&element->getNamespaceUri(), &sharedEmptyText());
    EXPECT_EQ(element->findNamespaceUri(u"").size(), 0u);
}

TEST(ElementNamespaces, FirstLookupIsCachedForLife)
{
    auto parent = makeElement(u"p", {{u"xmlns", u"urn:first"}});
    auto child = makeElement(u"c");
    appendChild(child, parent.get());
    EXPECT_EQ(child->getNamespaceUri(), u"urn:first");
    removeChild(child.get(), parent.get());
    EXPECT_EQ(child->getNamespaceUri(), u"urn:first");
}

TEST(ElementNamespaces, CaseMattersInDeclarations)
{
    auto element = makeElement(u"a", {{u"XMLNS", u"urn:x"}, {u"p", u"urn:p", u"XMLNS"}});
    EXPECT_EQ(element->findNamespaceUri(u""), u"");
    EXPECT_EQ(element->findNamespaceUri(u"p"), u"");
}

TEST(AttributeNamespaces, UnprefixedAttributeTakesItsOwnersUri)
{
    auto element = makeElement(u"rect", {{u"width", u"5"}}, u"svg");
    auto root = makeElement(u"root", {{u"svg", u"urn:svg", u"xmlns"}});
    appendChild(element, root.get());
    Attribute& width = *element->attributes.at(u"width");
    EXPECT_EQ(width.getNamespaceUri(), u"urn:svg");
}

TEST(AttributeNamespaces, PrefixedAttributeSearchesFromItsOwner)
{
    auto root = makeElement(u"root", {{u"xlink", u"urn:xlink", u"xmlns"}});
    auto use = makeElement(u"use", {{u"href", u"#a", u"xlink"}});
    appendChild(use, root.get());
    EXPECT_EQ(use->attributes.at(u"xlink:href")->getNamespaceUri(), u"urn:xlink");
    EXPECT_EQ(use->getNamespaceUri(), u"");
}

TEST(AttributeNamespaces, AttributeWithoutOwnerHasNoUriAndCachesNothing)
{
    AttributeRef loose = makeAttribute({u"href", u"x", u"xlink"});
    EXPECT_EQ(&loose->getNamespaceUri(), &sharedEmptyText());
    EXPECT_EQ(loose->namespaceUriCache, nullptr);
}

TEST(AttributeBasics, QualifiedNamesAndIds)
{
    AttributeRef href = makeAttribute({u"href", u"", u"xlink"});
    EXPECT_EQ(href->getQualifiedName(), u"xlink:href");
    EXPECT_EQ(href->getAttributeId(), AttributeId::Href);
    AttributeRef unknown = makeAttribute({u"data-x", u""});
    EXPECT_EQ(unknown->getQualifiedName(), u"data-x");
    EXPECT_EQ(unknown->getAttributeId(), AttributeId::Unknown);
    unknown->name = u"id";
    EXPECT_EQ(unknown->getAttributeId(), AttributeId::Id);  // the miss was not cached
    unknown->setName(u"class");
    EXPECT_EQ(unknown->attributeId, AttributeId::Unknown);
    EXPECT_EQ(unknown->getAttributeId(), AttributeId::Class);
}

TEST(AttributeBasics, FreshAttributeFields)
{
    Attribute attribute(u'n', TextPosition{4, 2});
    EXPECT_EQ(attribute.name, u"n");
    EXPECT_TRUE(attribute.value.empty());
    EXPECT_EQ(attribute.position.column, 4u);
    EXPECT_EQ(attribute.position.line, 2u);
    EXPECT_FALSE(attribute.duplicate);
    EXPECT_EQ(attribute.namespaceId, NamespaceId::None);
    EXPECT_EQ(attribute.owner, nullptr);
}

TEST(AttributeBasics, EqualsComparesNameValueAndPrefix)
{
    AttributeRef a = makeAttribute({u"id", u"1"});
    AttributeRef b = makeAttribute({u"id", u"1"});
    b->attributeId = AttributeId::Id;
    b->namespaceId = NamespaceId::Svg;
    EXPECT_TRUE(a->equals(*b));
    EXPECT_FALSE(a->equals(*makeAttribute({u"id", u"2"})));
    EXPECT_FALSE(a->equals(*makeAttribute({u"id", u"1", u"p"})));
    EXPECT_FALSE(a->equals(*makeAttribute({u"ID", u"1"})));
}

// A value takes one byte a unit from the attribute's heap until a unit at or
// above 256 widens it; the narrow attribute of the prescan keeps bytes.
TEST(AttributeBasics, ValuesGrowOnTheAttributesHeapAndWidenForLargeUnits)
{
    ParseHeapOwner owner;
    AttributeRef attribute = makeAttribute(owner.get(), u'v', TextPosition{});
    attribute->appendToValue(u'a');
    attribute->appendToValue(u"bcdefghijkl");
    EXPECT_EQ(attribute->value, u"abcdefghijkl");
    EXPECT_FALSE(attribute->value.isWide());
    attribute->appendToValue(u'\u3042');
    EXPECT_TRUE(attribute->value.isWide());
    EXPECT_EQ(attribute->value, u"abcdefghijkl\u3042");
    attribute->setValue(u"x");
    EXPECT_EQ(attribute->value, u"x");
    attribute->setValue(u"");
    EXPECT_TRUE(attribute->value.empty());

    NarrowAttribute narrow('c', TextPosition{});
    narrow.appendToValue('u');
    narrow.appendToValue("tf-8");
    EXPECT_EQ(narrow.value, "utf-8");
    narrow.setValue("x");
    EXPECT_EQ(narrow.value, "x");
}

TEST(AttributeBasics, ValuesCompareFoldedInEitherWidth)
{
    AttributeRef hidden = makeAttribute({u"type", u"HiDDen"});
    EXPECT_TRUE(equalsFoldedAscii(hidden->value, u"hidden"));
    EXPECT_FALSE(equalsFoldedAscii(hidden->value, u"hidde"));
    AttributeRef wide = makeAttribute({u"type", u"hidde\u0100"});
    EXPECT_FALSE(equalsFoldedAscii(wide->value, u"hidden"));
    AttributeRef kelvin = makeAttribute({u"type", u"\u212Aey"});
    EXPECT_FALSE(equalsFoldedAscii(kelvin->value, u"key"));
}

TEST(AttributeBasics, NamespaceDeclarations)
{
    EXPECT_TRUE(isNamespaceDeclaration(*makeAttribute({u"xmlns", u""})));
    EXPECT_TRUE(isNamespaceDeclaration(*makeAttribute({u"foo", u"u", u"xmlns"})));
    EXPECT_FALSE(isNamespaceDeclaration(*makeAttribute({u"xmlns", u"u", u"p"})));
    EXPECT_FALSE(isNamespaceDeclaration(*makeAttribute({u"XMLNS", u""})));
    EXPECT_FALSE(isNamespaceDeclaration(*makeAttribute({u"foo", u"u", u"Xmlns"})));
}

TEST(AttributeBasics, NarrowAttributeIsNeverSerialized)
{
    NarrowAttribute narrow('c', TextPosition{});
    narrow.name = "charset";
    EXPECT_EQ(narrow.getQualifiedName(), "charset");
    EXPECT_EQ(narrow.getAttributeId(), AttributeId::Unknown);
    EXPECT_THROW(narrow.serialize(nullptr, nullptr), enDPE);
}

}  // namespace
}  // namespace Parsers
