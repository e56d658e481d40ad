#include "dom/node.h"

#include <gtest/gtest.h>

#include "dom/element.h"
#include "support/tree_builders.h"

namespace Parsers {
namespace {

using Testing::append;
using Testing::makeComment;
using Testing::makeElement;
using Testing::makeText;

UString dataOf(const NodeRef& node)
{
    const CharacterText& data = static_cast<CharacterData*>(node.get())->data;
    return data.str();
}

// Checks that the sibling links of parent's children agree with the list.
void expectLinksConsistent(const Node& parent)
{
    const auto& children = parent.children;
    for (std::size_t i = 0; i < children.size(); ++i) {
        EXPECT_EQ(children[i]->parent, &parent) << "child " << i;
        EXPECT_EQ(children[i]->previousSibling(), i == 0 ? nullptr : children[i - 1].get()) << i;
        EXPECT_EQ(children[i]->nextSibling(), i + 1 == children.size() ? nullptr : children[i + 1].get())
            << i;
    }
}

TEST(NodeShape, AppendChildLinksChildrenInOrder)
{
    Document document(2);
    auto* a = append(makeElement(u"a"), &document);
    auto* b = append(makeComment(u"c"), &document);
    auto* c = append(makeElement(u"b"), &document);
    ASSERT_EQ(document.children.size(), 3u);
    EXPECT_EQ(document.children[0].get(), a);
    EXPECT_EQ(document.children[1].get(), b);
    EXPECT_EQ(document.children[2].get(), c);
    expectLinksConsistent(document);
}

TEST(NodeShape, AppendCharacterAfterCommentStartsNewText)
{
    auto div = makeElement(u"div");
    append(makeComment(u"note"), div.get());
    appendCharacter(u'x', div.get());
    ASSERT_EQ(div->children.size(), 2u);
    EXPECT_EQ(div->children[1]->nodeType, NodeType::Text);
    EXPECT_EQ(dataOf(div->children[1]), u"x");
    expectLinksConsistent(*div);
}

TEST(NodeShape, AppendCharacterExtendsLastTextFromAnotherOperation)
{
    auto div = makeElement(u"div");
    append(makeText(u"ab"), div.get());
    appendCharacter(u'c', div.get());
    ASSERT_EQ(div->children.size(), 1u);
    EXPECT_EQ(dataOf(div->children[0]), u"abc");
}

TEST(NodeShape, AppendCharacterStartsTextInEmptyParent)
{
    Document document(2);
    appendCharacter(u'q', &document);
    ASSERT_EQ(document.children.size(), 1u);
    EXPECT_EQ(dataOf(document.children[0]), u"q");
    EXPECT_EQ(document.children[0]->parent, &document);
}

TEST(NodeShape, AppendedTextMergesIntoLastTextAndStaysUnlinked)
{
    auto div = makeElement(u"div");
    append(makeText(u"one"), div.get());
    auto second = makeText(u"two");
    appendChild(second, div.get());
    ASSERT_EQ(div->children.size(), 1u);
    EXPECT_EQ(dataOf(div->children[0]), u"onetwo");
    EXPECT_EQ(second->parent, nullptr);
    EXPECT_EQ(second->data, u"two");
}

TEST(NodeShape, AppendToOwnDescendantChangesNothing)
{
    auto outer = makeElement(u"outer");
    auto* middle = append(makeElement(u"middle"), outer.get());
    auto* inner = append(makeElement(u"inner"), middle);
    appendChild(outer, inner);
    EXPECT_TRUE(inner->children.empty());
    EXPECT_EQ(outer->parent, nullptr);
    appendChild(outer, outer.get());
    EXPECT_EQ(outer->children.size(), 1u);
    EXPECT_EQ(outer->parent, nullptr);
}

TEST(NodeShape, ParentsThatCannotHoldChildrenRefuseSilently)
{
    auto text = makeText(u"t");
    auto element = makeElement(u"a");
    appendChild(element, text.get());
    EXPECT_TRUE(text->children.empty());
    EXPECT_EQ(element->parent, nullptr);

    MarkerElement marker;
    appendChild(element, &marker);
    appendCharacter(u'x', &marker);
    EXPECT_TRUE(marker.children.empty());

    appendChild(element, nullptr);
    appendCharacter(u'x', nullptr);
    EXPECT_EQ(removeChild(element.get(), nullptr), nullptr);

    DocumentType doctype(u"html", u"", u"");
    appendChild(element, &doctype);
    EXPECT_TRUE(doctype.children.empty());
}

TEST(NodeShape, InsertBeforeReferenceOfAnotherParentChangesNothing)
{
    auto first = makeElement(u"first");
    auto second = makeElement(u"second");
    auto reference = makeElement(u"ref");
    appendChild(reference, second.get());
    auto child = makeElement(u"child");
    appendChild(child, first.get());

    insertBefore(child, reference, first.get());
    ASSERT_EQ(first->children.size(), 1u);
    EXPECT_EQ(first->children[0], child);
    EXPECT_EQ(child->parent, first.get());
    EXPECT_EQ(second->children.size(), 1u);
}

TEST(NodeShape, InsertBeforePlacesChildInFrontOfReference)
{
    auto list = makeElement(u"ul");
    auto a = makeElement(u"li");
    auto c = makeElement(u"li");
    appendChild(a, list.get());
    appendChild(c, list.get());
    auto b = makeElement(u"li");
    insertBefore(b, c, list.get());
    ASSERT_EQ(list->children.size(), 3u);
    EXPECT_EQ(list->children[1], b);
    expectLinksConsistent(*list);

    auto first = makeElement(u"li");
    insertBefore(first, a, list.get());
    EXPECT_EQ(list->children[0], first);
    expectLinksConsistent(*list);
}

TEST(NodeShape, InsertBeforeNullReferenceAppends)
{
    auto div = makeElement(u"div");
    append(makeElement(u"a"), div.get());
    auto b = makeElement(u"b");
    insertBefore(b, nullptr, div.get());
    EXPECT_EQ(div->children.back(), b);
}

TEST(NodeShape, InsertedTextBeforeTextWithoutTextInFrontLeavesTwoTexts)
{
    auto div = makeElement(u"div");
    auto existing = makeText(u"world");
    appendChild(existing, div.get());
    insertBefore(makeText(u"hello "), existing, div.get());
    ASSERT_EQ(div->children.size(), 2u);
    EXPECT_EQ(dataOf(div->children[0]), u"hello ");
    EXPECT_EQ(dataOf(div->children[1]), u"world");
    expectLinksConsistent(*div);
}

TEST(NodeShape, InsertedTextMergesIntoTextInFrontOfReference)
{
    auto div = makeElement(u"div");
    append(makeText(u"a"), div.get());
    auto reference = makeElement(u"br");
    appendChild(reference, div.get());
    insertCharacterBefore(u'b', reference, div.get());
    ASSERT_EQ(div->children.size(), 2u);
    EXPECT_EQ(dataOf(div->children[0]), u"ab");
}

TEST(NodeShape, InsertCharacterBeforeStartsTextWhenNoTextInFront)
{
    auto div = makeElement(u"div");
    auto reference = makeElement(u"br");
    appendChild(reference, div.get());
    insertCharacterBefore(u'z', reference, div.get());
    ASSERT_EQ(div->children.size(), 2u);
    EXPECT_EQ(dataOf(div->children[0]), u"z");
    expectLinksConsistent(*div);
}

TEST(NodeShape, InsertBeforeRefusesAncestor)
{
    auto outer = makeElement(u"outer");
    auto inner = makeElement(u"inner");
    appendChild(inner, outer.get());
    auto reference = makeElement(u"r");
    appendChild(reference, inner.get());
    insertBefore(outer, reference, inner.get());
    EXPECT_EQ(inner->children.size(), 1u);
}

TEST(NodeShape, RemoveChildOfAnotherParentReturnsNull)
{
    auto first = makeElement(u"first");
    auto second = makeElement(u"second");
    auto child = makeElement(u"child");
    appendChild(child, first.get());
    EXPECT_EQ(removeChild(child.get(), second.get()), nullptr);
    EXPECT_EQ(child->parent, first.get());
    EXPECT_EQ(removeChild(nullptr, first.get()), nullptr);
}

TEST(NodeShape, RemoveChildJoinsNeighboursAndKeepsTextsApart)
{
    auto div = makeElement(u"div");
    append(makeText(u"a"), div.get());
    auto* middle = append(makeElement(u"b"), div.get());
    append(makeText(u"c"), div.get());
    NodeRef removed = removeChild(middle, div.get());
    ASSERT_EQ(removed.get(), middle);
    EXPECT_EQ(middle->parent, nullptr);
    EXPECT_EQ(middle->previousSibling(), nullptr);
    EXPECT_EQ(middle->nextSibling(), nullptr);
    ASSERT_EQ(div->children.size(), 2u);
    EXPECT_EQ(dataOf(div->children[0]), u"a");
    EXPECT_EQ(dataOf(div->children[1]), u"c");
    expectLinksConsistent(*div);
}

TEST(NodeShape, MoveChildrenMergesTextsOnTheWay)
{
    auto source = makeElement(u"source");
    append(makeText(u"x"), source.get());
    append(makeElement(u"a"), source.get());
    append(makeText(u"y"), source.get());
    auto target = makeElement(u"target");
    append(makeText(u"t"), target.get());

    moveChildren(source.get(), target.get());
    EXPECT_TRUE(source->children.empty());
    ASSERT_EQ(target->children.size(), 3u);
    EXPECT_EQ(dataOf(target->children[0]), u"tx");
    EXPECT_EQ(target->children[1]->getNodeName(), u"a");
    EXPECT_EQ(dataOf(target->children[2]), u"y");
    expectLinksConsistent(*target);
}

TEST(NodeShape, MoveChildrenOfAdjacentTextsMakesOne)
{
    auto source = makeElement(u"source");
    auto first = makeText(u"1");
    auto second = makeText(u"2");
    appendChild(first, source.get());
    // Two texts side by side can only come from an insertion before a text.
    insertBefore(second, nullptr, source.get());
    insertBefore(makeText(u"0"), first, source.get());
    ASSERT_EQ(source->children.size(), 2u);
    Document document(2);
    moveChildren(source.get(), &document);
    ASSERT_EQ(document.children.size(), 1u);
    EXPECT_EQ(dataOf(document.children[0]), u"012");
}

TEST(NodeShape, OwnerDocumentIsFoundAboveTheParent)
{
    Document document(2);
    auto* html = append(makeElement(u"html"), &document);
    auto* text = append(makeText(u"t"), html);
    EXPECT_EQ(text->getOwnerDocument(), &document);
    EXPECT_EQ(html->getOwnerDocument(), &document);
    EXPECT_EQ(document.getOwnerDocument(), nullptr);
    auto detached = makeElement(u"p");
    EXPECT_EQ(detached->getOwnerDocument(), nullptr);
}

TEST(DocumentSearch, BodyOfDocumentWithoutHtmlIsNull)
{
    Document document(2);
    append(makeElement(u"body"), &document);
    EXPECT_EQ(document.getHTMLNode(), nullptr);
    EXPECT_EQ(document.getBODYNode(), nullptr);
}

TEST(DocumentSearch, BodyOfHtmlWithoutBodyChildIsNull)
{
    Document document(2);
    auto* html = append(makeElement(u"html"), &document);
    auto* head = append(makeElement(u"head"), html);
    append(makeElement(u"body"), head);  // not a child of html
    EXPECT_EQ(document.getHTMLNode().get(), html);
    EXPECT_EQ(document.getBODYNode(), nullptr);
    EXPECT_EQ(document.getHEADNode().get(), head);
}

TEST(DocumentSearch, FindsFirstHtmlAndItsFirstBody)
{
    Document document(2);
    append(makeComment(u"q"), &document);
    append(makeNode<DocumentType>(nullptr, u"html", u"", u""), &document);
    auto* html = append(makeElement(u"html"), &document);
    append(makeElement(u"html"), &document);
    append(makeText(u"body"), html);
    auto* body = append(makeElement(u"body"), html);
    append(makeElement(u"body"), html);
    EXPECT_EQ(document.getHTMLNode().get(), html);
    EXPECT_EQ(document.getBODYNode().get(), body);
}

TEST(DocumentSearch, UpperCaseNamesAreNotHtmlOrBody)
{
    Document document(2);
    append(makeElement(u"HTML"), &document);
    EXPECT_EQ(document.getHTMLNode(), nullptr);
}

TEST(DocumentSearch, ElementMadeFromTagIdIsFound)
{
    Document document(2);
    auto html = makeNode<Element>(nullptr, TagId::Html, NodeType::Element);
    appendChild(html, &document);
    appendChild(makeNode<Element>(nullptr, TagId::Body, NodeType::Element), html.get());
    EXPECT_EQ(document.getHTMLNode(), html);
    ASSERT_NE(document.getBODYNode(), nullptr);
    // The search caches the id it looked up on an element made from a tag.
    auto body = refCast<Element>(document.getBODYNode());
    EXPECT_EQ(body->tagId, TagId::Body);
}

TEST(DocumentSearch, SearchCachesLookedUpTagId)
{
    Document document(2);
    auto html = makeElement(u"html");
    appendChild(html, &document);
    EXPECT_EQ(html->tagId, TagId::Unknown);
    document.getHTMLNode();
    EXPECT_EQ(html->tagId, TagId::Html);
}

// A chain nested a million deep is released without recursing on its depth.
TEST(NodeLifetime, DeepChainIsDestroyedWithoutStackOverflow)
{
    auto document = makeNode<Document>(nullptr, 2);
    Node* parent = document.get();
    for (int depth = 0; depth < 1000000; ++depth) {
        auto element = makeNode<Element>(nullptr, TagId::Div, NodeType::Element);
        appendChild(element, parent);
        parent = element.get();
    }
    appendCharacter(u'x', parent);
    document.reset();
    SUCCEED();
}

TEST(NodeLifetime, ChildHeldElsewhereSurvivesItsParentDetached)
{
    auto parent = makeElement(u"div");
    auto child = makeElement(u"span");
    appendChild(child, parent.get());
    auto* grandchild = append(makeText(u"kept"), child.get());
    parent.reset();
    EXPECT_EQ(child->parent, nullptr);
    ASSERT_EQ(child->children.size(), 1u);
    EXPECT_EQ(child->children[0].get(), grandchild);
}

TEST(NodeLifetime, NodesStartInHtmlNamespace)
{
    TextNode text(u'a', nullptr);
    EXPECT_EQ(text.getNamespaceId(), NamespaceId::Html);
    EXPECT_FALSE(text.hiddenFromMarkup);
    Comment comment(u"c", nullptr);
    EXPECT_EQ(comment.getNodeType(), NodeType::Comment);
    EXPECT_EQ(text.getNodeType(), NodeType::Text);
    Document document(2);
    EXPECT_TRUE(document.isDocument());
    EXPECT_EQ(document.quirksMode, 0);
    EXPECT_EQ(document.documentKind, 2);
}

TEST(NodeSerialize, NodesWithoutRecordThrow)
{
    Document document(2);
    DocumentType doctype(u"html", u"a", u"b");
    try {
        document.serialize(nullptr, nullptr);
        FAIL() << "document serialized";
    } catch (enDPE value) {
        EXPECT_EQ(value, enDPE::NotImplementedByClass);
    }
    EXPECT_THROW(doctype.serialize(nullptr, nullptr), enDPE);
}

}  // namespace
}  // namespace Parsers
