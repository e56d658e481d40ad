// Making and placing nodes: element creation by kind, the appropriate place
// with foster parenting, text and comments, the html root, the raw text
// elements, attribute merging and the mode reset.

#include <gtest/gtest.h>

#include "tree_harness.h"

namespace Parsers {
namespace {

using Testing::dump;
using Testing::makeCommentToken;
using Testing::makeElement;
using Testing::makeTag;
using Testing::stackNames;
using Testing::TreeFeed;
using Testing::TreeRun;

// An element as case preserving parsing makes them: without namespace.
Ref<Element> plain(const std::u16string& name)
{
    auto element = makeElement(name);
    element->namespaceId = NamespaceId::None;
    return element;
}

class InsertionTest : public ::testing::Test {
protected:
    TreeConstructor& tree() { return *feed.constructor; }
    // An element placed under `parent` and pushed.
    Ref<Element> open(const std::u16string& name, Node* parent)
    {
        auto element = plain(name);
        appendChild(element, parent);
        tree().pushOpenElement(element);
        return element;
    }

    TreeFeed feed;
};

TEST(CreateElementForToken, OnlyStartTagsMakeElements)
{
    TreeFeed feed;
    EXPECT_EQ(feed.constructor->createElementForToken(makeTag(TokenType::EndTag, u"p"),
                                                      NamespaceId::Html),
              nullptr);
    EXPECT_EQ(feed.constructor->createElementForToken(makeCommentToken(u"p"), NamespaceId::Html),
              nullptr);
}

TEST(CreateElementForToken, CasePreservingParsingGivesNoNamespace)
{
    TreeFeed feed;
    NodeRef element = feed.constructor->createElementForToken(makeTag(TokenType::StartTag, u"svg"),
                                                              NamespaceId::Svg);
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->namespaceId, NamespaceId::None);
    EXPECT_EQ(element->parent, nullptr);
    EXPECT_TRUE(feed.constructor->openElements.empty());
}

TEST(CreateElementForToken, OtherKindsKeepTheNamespaceAsked)
{
    for (std::uint32_t kind : {1u, 3u}) {
        TreeFeed feed(kind);
        NodeRef element = feed.constructor->createElementForToken(
            makeTag(TokenType::StartTag, u"svg"), NamespaceId::Svg);
        EXPECT_EQ(element->namespaceId, NamespaceId::Svg) << kind;
    }
}

TEST(CreateElementForToken, CellsAreTableCellElements)
{
    TreeFeed feed;
    auto cell = feed.constructor->createElementForToken(
        makeTag(TokenType::StartTag, u"td", {{u"colspan", u"3"}}), NamespaceId::Html);
    ASSERT_TRUE(static_cast<Element&>(*cell).isTableCell);
    EXPECT_EQ(static_cast<TableCellElement&>(*cell).colSpan, 3u);
    const NodeRef th =
        feed.constructor->createElementForToken(makeTag(TokenType::StartTag, u"th"), NamespaceId::Html);
    EXPECT_TRUE(static_cast<Element&>(*th).isTableCell);
    const NodeRef upper =
        feed.constructor->createElementForToken(makeTag(TokenType::StartTag, u"TD"), NamespaceId::Html);
    EXPECT_FALSE(static_cast<Element&>(*upper).isTableCell);
}

TEST_F(InsertionTest, HtmlElementGoesUnderTheCurrentNodeAndOnTheStack)
{
    tree().createHtmlRoot();
    NodeRef div = tree().insertHtmlElement(makeTag(TokenType::StartTag, u"div"), false);
    EXPECT_EQ(tree().currentNode, div);
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <div>\n");
}

TEST_F(InsertionTest, FirstHeadBecomesTheHeadElementAndASecondDoesNot)
{
    tree().createHtmlRoot();
    NodeRef first = tree().insertHtmlElement(makeTag(TokenType::StartTag, u"head"), false);
    EXPECT_EQ(tree().headElement, first);
    tree().insertHtmlElement(makeTag(TokenType::StartTag, u"head"), false);
    EXPECT_EQ(tree().headElement, first);
    // A foreign element never becomes the head element.
    TreeFeed other;
    other.constructor->createHtmlRoot();
    other.constructor->insertForeignElement(makeTag(TokenType::StartTag, u"head"), NamespaceId::Svg,
                                            false);
    EXPECT_EQ(other.constructor->headElement, nullptr);
}

TEST_F(InsertionTest, ForeignElementWithTheNamespaceOfTheKind)
{
    TreeFeed folding(1);
    folding.constructor->createHtmlRoot();
    NodeRef svg = folding.constructor->insertForeignElement(makeTag(TokenType::StartTag, u"svg"),
                                                            NamespaceId::Svg, false);
    EXPECT_EQ(svg->namespaceId, NamespaceId::Svg);
    EXPECT_EQ(folding.tree(), "<(html)> ns=0\n  <svg> ns=2\n");
}

TEST_F(InsertionTest, FosterParentingGoesInFrontOfTheTable)
{
    tree().createHtmlRoot();
    auto body = open(u"body", tree().currentNode.get());
    open(u"table", body.get());
    open(u"tr", tree().currentNode.get());
    appendCharacter(u'a', body.get());
    // "a" is behind the table; put text and an element in front of it.
    tree().insertCharacter(tree().currentNode.get(), u'x', true);
    tree().insertCharacter(tree().currentNode.get(), u'y', true);
    tree().insertFosterParented(plain(u"b"));
    tree().insertCharacter(tree().currentNode.get(), u'z', true);
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n"
              "  <body>\n"
              "    \"xy\"\n"
              "    <b>\n"
              "    \"z\"\n"
              "    <table>\n"
              "      <tr>\n"
              "    \"a\"\n");
}

TEST_F(InsertionTest, TableOutOfTheTreeIsFosterParentedThroughTheEntryBelow)
{
    tree().createHtmlRoot();
    auto div = open(u"div", tree().currentNode.get());
    auto table = open(u"table", div.get());
    removeChild(table.get(), div.get());
    tree().insertFosterParented(plain(u"b"));
    tree().insertCharacter(tree().currentNode.get(), u'x', true);
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n"
              "  <div>\n"
              "    <b>\n"
              "    \"x\"\n");
}

TEST_F(InsertionTest, TableUnderTheDocumentIsFosterParentedThroughTheEntryBelow)
{
    auto div = plain(u"div");
    tree().pushOpenElement(div);
    open(u"table", tree().document.get());
    tree().insertFosterParented(plain(u"b"));
    EXPECT_EQ(dump(*div), "<b>\n");
    EXPECT_EQ(feed.tree(), "<table>\n");
}

TEST_F(InsertionTest, FosterParentingWithoutAPlaceDoesNothing)
{
    // A table at the bottom of the stack, out of the tree: nothing lies below.
    auto table = plain(u"table");
    tree().pushOpenElement(table);
    tree().insertFosterParented(plain(u"b"));
    tree().insertCharacter(table.get(), u'x', true);
    EXPECT_TRUE(table->children.empty());
    // No table at all.
    TreeFeed other;
    other.constructor->createHtmlRoot();
    other.constructor->insertFosterParented(plain(u"b"));
    EXPECT_EQ(other.tree(), "<(html)> ns=0\n");
}

TEST_F(InsertionTest, CharacterWithoutFosterGoesToTheNodeGiven)
{
    tree().createHtmlRoot();
    auto p = open(u"p", tree().currentNode.get());
    tree().insertCharacter(tree().document->children[0].get(), u'x', false);
    tree().insertCharacter(p.get(), u'y', false);
    tree().insertCharacter(nullptr, u'z', false);
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <p>\n    \"y\"\n  \"x\"\n");
}

TEST_F(InsertionTest, CommentGoesToTheParentGiven)
{
    tree().createHtmlRoot();
    tree().insertComment(tree().document.get(), makeCommentToken(u"d"));
    tree().insertComment(tree().currentNode.get(), makeCommentToken(u"e"));
    tree().insertComment(nullptr, makeCommentToken(u"f"));
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <!-- e -->\n<!-- d -->\n");
}

TEST_F(InsertionTest, HtmlRootKeepsTheHtmlNamespace)
{
    tree().createHtmlRoot();
    auto& root = static_cast<Element&>(*tree().currentNode);
    EXPECT_EQ(root.namespaceId, NamespaceId::Html);
    EXPECT_EQ(root.tagId, TagId::Html);
    EXPECT_TRUE(root.nameText().empty());
    EXPECT_EQ(root.getToken(), nullptr);
    EXPECT_TRUE(root.attributes.empty());
    EXPECT_EQ(root.parent, tree().document.get());
    EXPECT_EQ(tree().insertionMode, InsertionMode::BeforeHead);
    EXPECT_EQ(tree().document->getHTMLNode().get(), &root);
}

TEST_F(InsertionTest, TextModeElementsWithoutATokenizer)
{
    tree().createHtmlRoot();
    tree().insertionMode = InsertionMode::InHead;
    tree().insertRcdataElement(makeTag(TokenType::StartTag, u"title"));
    EXPECT_EQ(tree().insertionMode, InsertionMode::Text);
    EXPECT_EQ(tree().savedInsertionMode, InsertionMode::InHead);
    tree().popOpenElement();
    tree().insertionMode = InsertionMode::InBody;
    tree().insertScriptElement(makeTag(TokenType::StartTag, u"script"));
    EXPECT_EQ(tree().savedInsertionMode, InsertionMode::InBody);
    EXPECT_EQ(stackNames(tree()), "(html) script");
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <title>\n  <script>\n");
}

TEST_F(InsertionTest, RawTextElementCanBeFosterParented)
{
    TreeRun run(u"");
    TreeConstructor& tree = *run.constructor;
    tree.createHtmlRoot();
    auto div = plain(u"div");
    appendChild(div, tree.currentNode.get());
    tree.pushOpenElement(div);
    auto table = plain(u"table");
    appendChild(table, div.get());
    tree.pushOpenElement(table);
    tree.insertRawTextElement(makeTag(TokenType::StartTag, u"style"), true);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::Rawtext);
    EXPECT_EQ(run.tree(),
              "<(html)> ns=0\n"
              "  <div>\n"
              "    <style>\n"
              "    <table>\n");
    EXPECT_EQ(stackNames(tree), "(html) div table style");
}

TEST_F(InsertionTest, MergeIntoAnElementWithoutAttributesTakesThemAll)
{
    auto element = makeElement(u"html");
    tree().mergeAttributes(makeTag(TokenType::StartTag, u"html", {{u"a", u"1"}, {u"b", u"2"}}),
                           *element);
    ASSERT_EQ(element->attributes.size(), 2u);
    EXPECT_EQ(element->attributes.at(u"a")->value, u"1");
    EXPECT_EQ(element->attributes.at(u"b")->owner, element.get());
}

TEST_F(InsertionTest, MergeKeepsTheValuesAlreadyThere)
{
    auto element = makeElement(u"body", {{u"a", u"old"}});
    tree().mergeAttributes(
        makeTag(TokenType::StartTag, u"body", {{u"a", u"new"}, {u"c", u"3"}, {u"d", u"4", u"x"}}),
        *element);
    ASSERT_EQ(element->attributes.size(), 3u);
    EXPECT_EQ(element->attributes.at(u"a")->value, u"old");
    EXPECT_EQ(element->attributes.at(u"c")->value, u"3");
    EXPECT_EQ(element->attributes.at(u"x:d")->value, u"4");
    EXPECT_EQ(element->attributes.at(u"x:d")->owner, element.get());
}

TEST_F(InsertionTest, MergeOfNothingOrOfAnEndTagChangesNothing)
{
    auto element = makeElement(u"body", {{u"a", u"1"}});
    tree().mergeAttributes(makeTag(TokenType::StartTag, u"body"), *element);
    tree().mergeAttributes(makeTag(TokenType::EndTag, u"body", {{u"b", u"2"}}), *element);
    EXPECT_EQ(element->attributes.size(), 1u);
}

TEST(ResetInsertionMode, CasePreservingParsingAlwaysGoesToInBody)
{
    TreeFeed feed;
    feed.constructor->insertionMode = InsertionMode::InTable;
    feed.constructor->pushOpenElement(plain(u"table"));
    feed.constructor->resetInsertionMode();
    EXPECT_EQ(feed.constructor->insertionMode, InsertionMode::InBody);
}

TEST(ResetInsertionMode, CaseFoldingWalksFromTheTop)
{
    struct Case {
        std::initializer_list<const char16_t*> stack;
        InsertionMode expected;
    };
    const Case cases[] = {
        {{u"html", u"body", u"div"}, InsertionMode::InBody},
        {{u"html", u"body", u"table", u"caption", u"p"}, InsertionMode::InCaption},
        {{u"html", u"body", u"table"}, InsertionMode::InTable},
        {{u"html", u"body", u"table", u"tbody"}, InsertionMode::InTableBody},
        {{u"html", u"body", u"table", u"thead"}, InsertionMode::InTableBody},
        {{u"html", u"body", u"table", u"tfoot"}, InsertionMode::InTableBody},
        {{u"html", u"body", u"table", u"tbody", u"tr"}, InsertionMode::InRow},
        {{u"html", u"body", u"table", u"tr", u"td", u"span"}, InsertionMode::InCell},
        {{u"html", u"body", u"table", u"tr", u"th"}, InsertionMode::InCell},
        {{u"table", u"select"}, InsertionMode::InTable},
    };
    for (const Case& c : cases) {
        TreeFeed feed(1);
        for (const char16_t* name : c.stack) feed.constructor->pushOpenElement(makeElement(name));
        feed.constructor->insertionMode = InsertionMode::Text;
        feed.constructor->resetInsertionMode();
        EXPECT_EQ(feed.constructor->insertionMode, c.expected) << stackNames(*feed.constructor);
    }
}

TEST(ResetInsertionMode, CaseFoldingWithoutAKnownEntryKeepsTheMode)
{
    TreeFeed feed(1);
    for (const char16_t* name : {u"html", u"select", u"colgroup", u"head", u"frameset"}) {
        feed.constructor->pushOpenElement(makeElement(name));
    }
    feed.constructor->insertionMode = InsertionMode::InSelect;
    feed.constructor->resetInsertionMode();
    EXPECT_EQ(feed.constructor->insertionMode, InsertionMode::InSelect);
}

}  // namespace
}  // namespace Parsers
