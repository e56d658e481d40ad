#include <gtest/gtest.h>

#include "dom/element.h"
#include "dom/node.h"
#include "library/parse_document.h"
#include "support/tree_builders.h"

namespace Parsers {
namespace {

using Testing::append;
using Testing::makeComment;
using Testing::makeElement;
using Testing::makeText;

// The shape the tree constructor leaves for a case preserving parse: html made
// from its tag id, with head and body under it.
struct Skeleton {
    Ref<Document> document = makeNode<Document>(nullptr, 2);
    Element* html = nullptr;
    Element* head = nullptr;
    Element* body = nullptr;

    Skeleton()
    {
        auto root = makeNode<Element>(nullptr, TagId::Html, NodeType::Element);
        appendChild(root, document.get());
        html = root.get();
        head = append(makeElement(u"head"), html);
        body = append(makeElement(u"body"), html);
    }
};

TEST(LiftBodyContent, BodyContentBecomesTheDocument)
{
    Skeleton tree;
    auto* p = append(makeElement(u"p"), tree.body);
    append(makeText(u"x"), p);
    append(makeElement(u"title"), tree.head);
    // The removed html element dies with its last reference; this one keeps it
    // to be looked at.
    const NodeRef html = tree.document->children[0];
    liftBodyContent(*tree.document);
    ASSERT_EQ(tree.document->children.size(), 1u);
    EXPECT_EQ(tree.document->children[0].get(), p);
    EXPECT_EQ(p->parent, tree.document.get());
    EXPECT_EQ(html->parent, nullptr);
    EXPECT_TRUE(tree.body->children.empty());
}

TEST(LiftBodyContent, NodesBesideHtmlStayInFront)
{
    Skeleton tree;
    auto comment = makeComment(u"first");
    insertBefore(comment, tree.document->children[0], tree.document.get());
    appendChild(makeNode<DocumentType>(nullptr, u"html", u"", u""), tree.document.get());
    append(makeElement(u"a"), tree.body);
    append(makeElement(u"b"), tree.body);
    liftBodyContent(*tree.document);
    const auto& children = tree.document->children;
    ASSERT_EQ(children.size(), 4u);
    EXPECT_EQ(children[0], comment);
    EXPECT_EQ(children[1]->nodeType, NodeType::DocumentType);
    EXPECT_EQ(children[2]->getNodeName(), u"a");
    EXPECT_EQ(children[3]->getNodeName(), u"b");
}

TEST(LiftBodyContent, FirstTextMergesWithTextBeforeIt)
{
    Skeleton tree;
    // A text after html, in front of which the body's content arrives.
    append(makeText(u"a"), tree.document.get());
    append(makeText(u"b"), tree.body);
    append(makeElement(u"br"), tree.body);
    liftBodyContent(*tree.document);
    const auto& children = tree.document->children;
    ASSERT_EQ(children.size(), 2u);
    EXPECT_EQ(static_cast<TextNode*>(children[0].get())->data, u"ab");
    EXPECT_EQ(children[1]->getNodeName(), u"br");
}

TEST(LiftBodyContent, ElementNamedHtmlFromATokenCountsAsHtml)
{
    auto document = makeNode<Document>(nullptr, 2);
    auto* html = append(makeElement(u"html"), document.get());
    auto* body = append(makeElement(u"body"), html);
    append(makeElement(u"div"), body);
    liftBodyContent(*document);
    ASSERT_EQ(document->children.size(), 1u);
    EXPECT_EQ(document->children[0]->getNodeName(), u"div");
}

using LiftBodyContentDeathTest = ::testing::Test;

// A document without a body under html has nothing to lift: the lifting reads
// through the missing body and the process dies.
TEST_F(LiftBodyContentDeathTest, DocumentWithoutHtmlFaults)
{
    auto document = makeNode<Document>(nullptr, 2);
    append(makeElement(u"p"), document.get());
    EXPECT_DEATH(liftBodyContent(*document), "");
}

TEST_F(LiftBodyContentDeathTest, HtmlWithoutBodyFaults)
{
    auto document = makeNode<Document>(nullptr, 2);
    auto* html = append(makeElement(u"html"), document.get());
    append(makeElement(u"head"), html);
    append(makeElement(u"p"), html);
    EXPECT_DEATH(liftBodyContent(*document), "");
}

TEST_F(LiftBodyContentDeathTest, CommentOrDoctypeIsNeverTakenForHtml)
{
    auto document = makeNode<Document>(nullptr, 2);
    append(makeComment(u"q"), document.get());
    appendChild(makeNode<DocumentType>(nullptr, u"html", u"", u""), document.get());
    EXPECT_DEATH(liftBodyContent(*document), "");
}

}  // namespace
}  // namespace Parsers
