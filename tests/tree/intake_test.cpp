// Token intake: the checks around every token, the choice between insertion
// modes and foreign content, the integration points, and the two dispatches.

#include <gtest/gtest.h>

#include "tree_harness.h"

namespace Parsers {
namespace {

using Testing::AttributeSpec;
using Testing::makeElement;
using Testing::makeEndOfFile;
using Testing::makeTag;
using Testing::stackNames;
using Testing::TreeFeed;
using Testing::TreeRun;
using Codes = std::vector<std::uint32_t>;

// Opens an element of the given namespace under the current node, as the
// foreign rules of case folding parsing would.
Element* openForeign(TreeConstructor& tree, const std::u16string& name, NamespaceId namespaceId,
                     std::initializer_list<AttributeSpec> attributes = {})
{
    auto element = makeElement(name, attributes);
    element->namespaceId = namespaceId;
    appendChild(element, tree.currentNode.get());
    tree.pushOpenElement(element);
    return element.get();
}

TEST(TreeIntake, FirstTagMakesHtmlHeadAndBodyAndLandsInBody)
{
    TreeRun run(u"<p class=x>Hi</p>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    <p>\n"
              "      class=\"x\"\n"
              "      \"Hi\"\n");
    EXPECT_EQ(run.constructor->insertionMode, InsertionMode::InBody);
    EXPECT_EQ(stackNames(*run.constructor), "(html) body");
    EXPECT_EQ(run.errors->treeCodes(), Codes{});
    EXPECT_EQ(run.constructor->document->quirksMode, 0);
}

TEST(TreeIntake, EndTagWithSlashAndAttributesReports107Then108AndStillCloses)
{
    TreeRun run(u"<p>x</p a=1 />y");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{107, 108}));
    EXPECT_EQ(run.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    <p>\n"
              "      \"x\"\n"
              "    \"y\"\n");
}

TEST(TreeIntake, SelfClosingTagsOfCasePreservingParsingAreAcknowledged)
{
    TreeRun run(u"<br/><p><x/></p>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{});
    EXPECT_EQ(run.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    <br>\n"
              "    <p>\n"
              "      <x>\n");
}

TEST(TreeIntake, KnownSelfClosingTagOfCaseFoldingParsingIsReportedAfterInsertion)
{
    TreeRun run(u"<div/>", 1);
    ASSERT_TRUE(run.runToEnd());
    // 109 for the flag; the div stays open and the end of file reports it.
    EXPECT_EQ(run.errors->treeCodes(), (Codes{109, 124}));
    EXPECT_EQ(run.tree(),
              "<(html)> ns=0\n"
              "  <head> ns=0\n"
              "  <body> ns=0\n"
              "    <div> ns=0\n");
    EXPECT_EQ(stackNames(*run.constructor), "(html) body div");
}

TEST(TreeIntake, TextAtTheStartSetsQuirksUnderBothKinds)
{
    TreeRun text(u"x<p>");
    ASSERT_TRUE(text.runToEnd());
    EXPECT_EQ(text.constructor->document->quirksMode, 2);
    EXPECT_EQ(text.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    \"x\"\n"
              "    <p>\n");

    TreeRun folding(u"x", 1);
    ASSERT_TRUE(folding.runToEnd());
    EXPECT_EQ(folding.constructor->document->quirksMode, 2);
}

TEST(TreeIntake, StartTagAtTheStartSetsQuirksOnlyUnderCaseFolding)
{
    TreeRun preserving(u"<p>x");
    ASSERT_TRUE(preserving.runToEnd());
    EXPECT_EQ(preserving.constructor->document->quirksMode, 0);

    TreeRun folding(u"<p>x", 1);
    ASSERT_TRUE(folding.runToEnd());
    EXPECT_EQ(folding.constructor->document->quirksMode, 2);
}

TEST(TreeIntake, WhitespaceAtTheStartIsDroppedAndSetsNothing)
{
    TreeRun run(u" \t\n\x0B\f<p>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.constructor->document->quirksMode, 0);
    EXPECT_EQ(run.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    <p>\n");
}

TEST(TreeIntake, EndOfFileInForeignContentStillRunsTheInsertionMode)
{
    TreeRun open(u"<div>");
    ASSERT_TRUE(open.runToEnd());
    EXPECT_EQ(open.errors->treeCodes(), Codes{124});

    TreeRun paragraph(u"<p><li><dd>");
    ASSERT_TRUE(paragraph.runToEnd());
    EXPECT_EQ(paragraph.errors->treeCodes(), Codes{});
}

TEST(TreeIntake, UseHtmlRulesWithoutCurrentNodeOrWithHtmlNamespace)
{
    TreeFeed feed;
    TreeConstructor& tree = *feed.constructor;
    auto start = makeTag(TokenType::StartTag, u"b");
    auto end = makeTag(TokenType::EndTag, u"b");
    EXPECT_TRUE(tree.useHtmlRules(*start));
    EXPECT_TRUE(tree.useHtmlRules(*end));
    tree.createHtmlRoot();
    EXPECT_TRUE(tree.useHtmlRules(*start));
    EXPECT_TRUE(tree.useHtmlRules(*end));
    EXPECT_TRUE(tree.useHtmlRules(*Testing::makeCommentToken(u"c")));
}

TEST(TreeIntake, ElementWithoutNamespaceSendsAllButEndOfFileToForeignRules)
{
    TreeFeed feed;
    feed.start(u"p");
    TreeConstructor& tree = *feed.constructor;
    ASSERT_EQ(tree.currentNode->namespaceId, NamespaceId::None);
    EXPECT_FALSE(tree.useHtmlRules(*makeTag(TokenType::StartTag, u"p")));
    EXPECT_FALSE(tree.useHtmlRules(*makeTag(TokenType::EndTag, u"p")));
    EXPECT_FALSE(tree.useHtmlRules(*Testing::makeCommentToken(u"c")));
    EXPECT_FALSE(tree.useHtmlRules(*std::make_shared<DoctypeToken>()));
    EXPECT_TRUE(tree.useHtmlRules(*makeEndOfFile()));
}

TEST(TreeIntake, MathmlTextIntegrationPointLetsOnlyMglyphAndMalignmarkThrough)
{
    TreeFeed feed(1);
    feed.start(u"p");
    TreeConstructor& tree = *feed.constructor;
    openForeign(tree, u"math", NamespaceId::MathMl);
    openForeign(tree, u"mi", NamespaceId::MathMl);
    EXPECT_TRUE(tree.useHtmlRules(*makeTag(TokenType::StartTag, u"mglyph")));
    EXPECT_TRUE(tree.useHtmlRules(*makeTag(TokenType::StartTag, u"malignmark")));
    EXPECT_FALSE(tree.useHtmlRules(*makeTag(TokenType::StartTag, u"b")));
    EXPECT_FALSE(tree.useHtmlRules(*makeTag(TokenType::EndTag, u"mglyph")));
    EXPECT_TRUE(tree.useHtmlRules(*makeEndOfFile()));
    EXPECT_TRUE(tree.isMathmlTextIntegrationPoint(static_cast<Element&>(*tree.currentNode)));
}

TEST(TreeIntake, MathmlTextIntegrationPointNeedsTheMathmlNamespace)
{
    TreeFeed feed(1);
    feed.start(u"p");
    TreeConstructor& tree = *feed.constructor;
    Element* mi = openForeign(tree, u"mi", NamespaceId::Svg);
    EXPECT_FALSE(tree.isMathmlTextIntegrationPoint(*mi));
    EXPECT_FALSE(tree.useHtmlRules(*makeTag(TokenType::StartTag, u"mglyph")));
    for (const char16_t* name : {u"mi", u"mn", u"mo", u"ms", u"mtext"}) {
        auto element = makeElement(name);
        element->namespaceId = NamespaceId::MathMl;
        EXPECT_TRUE(tree.isMathmlTextIntegrationPoint(*element));
    }
}

TEST(TreeIntake, AnnotationXmlLetsSvgThroughByExactName)
{
    TreeFeed feed(1);
    feed.start(u"p");
    TreeConstructor& tree = *feed.constructor;
    openForeign(tree, u"math", NamespaceId::MathMl);
    openForeign(tree, u"annotation-xml", NamespaceId::MathMl);
    EXPECT_TRUE(tree.useHtmlRules(*makeTag(TokenType::StartTag, u"svg")));
    EXPECT_FALSE(tree.useHtmlRules(*makeTag(TokenType::StartTag, u"SVG")));
    EXPECT_FALSE(tree.useHtmlRules(*makeTag(TokenType::StartTag, u"div")));
    EXPECT_FALSE(tree.useHtmlRules(*makeTag(TokenType::EndTag, u"svg")));
}

TEST(TreeIntake, AnnotationXmlWithHtmlEncodingIsAnIntegrationPoint)
{
    TreeFeed feed(1);
    feed.start(u"p");
    TreeConstructor& tree = *feed.constructor;
    auto annotation = [](std::u16string encoding) {
        auto element = makeElement(u"annotation-xml", {{u"encoding", encoding}});
        element->namespaceId = NamespaceId::MathMl;
        return element;
    };
    EXPECT_TRUE(tree.isHtmlIntegrationPoint(*annotation(u"TEXT/HTML")));
    EXPECT_TRUE(tree.isHtmlIntegrationPoint(*annotation(u"text/html")));
    EXPECT_TRUE(tree.isHtmlIntegrationPoint(*annotation(u"Application/XHTML+XML")));
    EXPECT_FALSE(tree.isHtmlIntegrationPoint(*annotation(u"text/plain")));
    EXPECT_FALSE(tree.isHtmlIntegrationPoint(*annotation(u"text/html ")));
    auto bare = makeElement(u"annotation-xml");
    bare->namespaceId = NamespaceId::MathMl;
    EXPECT_FALSE(tree.isHtmlIntegrationPoint(*bare));
    auto prefixed = makeElement(u"annotation-xml", {{u"encoding", u"text/html", u"x"}});
    prefixed->namespaceId = NamespaceId::MathMl;
    EXPECT_FALSE(tree.isHtmlIntegrationPoint(*prefixed));

    openForeign(tree, u"annotation-xml", NamespaceId::MathMl, {{u"encoding", u"text/html"}});
    EXPECT_TRUE(tree.useHtmlRules(*makeTag(TokenType::StartTag, u"div")));
    EXPECT_FALSE(tree.useHtmlRules(*makeTag(TokenType::EndTag, u"div")));
    EXPECT_FALSE(tree.useHtmlRules(*Testing::makeCommentToken(u"c")));
    EXPECT_TRUE(tree.useHtmlRules(*makeEndOfFile()));
}

TEST(TreeIntake, SvgDescForeignObjectAndTitleAreIntegrationPointsOnlyInSvg)
{
    TreeFeed feed(1);
    TreeConstructor& tree = *feed.constructor;
    for (const char16_t* name : {u"desc", u"foreignObject", u"title"}) {
        auto svg = makeElement(name);
        svg->namespaceId = NamespaceId::Svg;
        EXPECT_TRUE(tree.isHtmlIntegrationPoint(*svg));
        auto math = makeElement(name);
        math->namespaceId = NamespaceId::MathMl;
        EXPECT_FALSE(tree.isHtmlIntegrationPoint(*math));
        auto none = makeElement(name);
        none->namespaceId = NamespaceId::None;
        EXPECT_FALSE(tree.isHtmlIntegrationPoint(*none));
    }
    auto foreignobject = makeElement(u"foreignobject");
    foreignobject->namespaceId = NamespaceId::Svg;
    EXPECT_FALSE(tree.isHtmlIntegrationPoint(*foreignobject));
}

TEST(TreeIntake, TextInMiGoesToForeignRulesButTextInDescToTheMode)
{
    TreeFeed feed(1);
    feed.start(u"p");
    TreeConstructor& tree = *feed.constructor;
    Element* mi = openForeign(tree, u"mi", NamespaceId::MathMl);
    feed.text(std::u16string(1, u'\0'));
    ASSERT_EQ(mi->children.size(), 1u);
    EXPECT_EQ(static_cast<TextNode&>(*mi->children[0]).data, u"\uFFFD");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{});

    tree.popOpenElement();
    Element* desc = openForeign(tree, u"desc", NamespaceId::Svg);
    feed.text(std::u16string(1, u'\0'));
    feed.text(u"a");
    // The NUL goes to the in body rules, which report and drop it.
    EXPECT_EQ(feed.errors->treeCodes(), Codes{125});
    ASSERT_EQ(desc->children.size(), 1u);
    EXPECT_EQ(static_cast<TextNode&>(*desc->children[0]).data, u"a");
}

TEST(TreeIntake, StackEmptiedByHtmlEndTagLeavesLaterNodesWithoutParent)
{
    TreeRun run(u"x</body></html><p>y</p>z");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_TRUE(run.constructor->openElements.empty());
    EXPECT_FALSE(run.constructor->currentNodeNamespace().has_value());
    EXPECT_FALSE(run.constructor->isTableStructureNode());
    EXPECT_TRUE(run.constructor->useHtmlRules(*makeTag(TokenType::StartTag, u"p")));
    // The html root was named by the end tag's comparison; p, y and z are lost.
    EXPECT_EQ(run.tree(),
              "<html> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    \"x\"\n");
    EXPECT_EQ(run.errors->treeCodes(), Codes{});
}

TEST(TreeIntake, ElementMadeAfterTheStackRanEmptyTakesItsOwnChildren)
{
    TreeFeed feed;
    feed.text(u"x");
    feed.end(u"body");
    feed.end(u"html");
    ASSERT_TRUE(feed.constructor->openElements.empty());
    feed.start(u"p");
    feed.text(u"y");
    ASSERT_EQ(stackNames(*feed.constructor), "p");
    Node* paragraph = feed.constructor->currentNode.get();
    EXPECT_EQ(paragraph->parent, nullptr);
    ASSERT_EQ(paragraph->children.size(), 1u);
    EXPECT_EQ(static_cast<TextNode&>(*paragraph->children[0]).data, u"y");
}

TEST(TreeIntake, CdataIsRecognisedInsideAnElementWithoutNamespace)
{
    TreeRun inside(u"<p><![CDATA[a<b>&amp;]]>c</p>");
    ASSERT_TRUE(inside.runToEnd());
    EXPECT_EQ(inside.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    <p>\n"
              "      \"a<b>&amp;c\"\n");

    TreeRun outside(u"<![CDATA[a]]>");
    ASSERT_TRUE(outside.runToEnd());
    EXPECT_EQ(outside.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n");
}

TEST(TreeIntake, CurrentNodeNamespaceAnswersTheTokenizer)
{
    TreeFeed feed;
    EXPECT_FALSE(feed.constructor->currentNodeNamespace().has_value());
    feed.constructor->createHtmlRoot();
    EXPECT_EQ(feed.constructor->currentNodeNamespace(), NamespaceId::Html);
    feed.start(u"p");
    EXPECT_EQ(feed.constructor->currentNodeNamespace(), NamespaceId::None);
}

TEST(TreeIntake, ConstructorRegistersWithItsTokenizer)
{
    TreeRun run(u"");
    EXPECT_EQ(run.tokenizer->treeConstructor, run.constructor.get());
    EXPECT_EQ(run.constructor->document->documentKind, 2);
    EXPECT_EQ(run.constructor->insertionMode, InsertionMode::Initial);
    EXPECT_TRUE(run.constructor->framesetOk);
    // An empty text makes no end of file: nothing at all is built.
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.tree(), "");
}

TEST(TreeIntake, MadeUpTagCarriesNameAndPositionOnly)
{
    TreeFeed feed;
    TagTokenRef tag = feed.constructor->makeSyntheticTag(TokenType::EndTag, TagId::AnnotationXml,
                                                         TextPosition{7, 3});
    EXPECT_EQ(tag->type, TokenType::EndTag);
    EXPECT_EQ(tag->name, u"annotation-xml");
    EXPECT_EQ(tag->getTagId(), TagId::AnnotationXml);
    EXPECT_TRUE(tag->attributes.empty());
    EXPECT_EQ(tag->position, (TextPosition{7, 3}));
    EXPECT_FALSE(tag->selfClosing);
}

TEST(TreeIntake, DispatchOfAModePastTheLastChangesNothing)
{
    TreeFeed feed;
    feed.start(u"p");
    const std::string before = feed.tree();
    TextPosition position;
    feed.constructor->insertionMode = static_cast<InsertionMode>(22);
    feed.constructor->dispatchToken(makeTag(TokenType::StartTag, u"b"), false);
    feed.constructor->dispatchCharacter(u'x', &position, 0);
    EXPECT_EQ(feed.tree(), before);
}

TEST(TreeIntake, WhitespaceSetOfTheTreeConstructorHasVerticalTab)
{
    for (char16_t unit : {u' ', u'\t', u'\n', u'\x0B', u'\f', u'\r'}) {
        EXPECT_TRUE(isWhitespaceUnit(unit)) << static_cast<int>(unit);
    }
    for (char16_t unit : {u'\0', u'\x08', u'\x0E', u'x', u'\u00A0', u'\u3000'}) {
        EXPECT_FALSE(isWhitespaceUnit(unit)) << static_cast<int>(unit);
    }
}

}  // namespace
}  // namespace Parsers
