// The foreign content rules: tags as written under case preserving parsing,
// the end tag walk with its fold of the element's name, the attribute
// adjustments, and the breakout of case folding parsing.

#include <gtest/gtest.h>

#include "tree/tag_sets.h"
#include "tree_harness.h"

namespace Parsers {
namespace {

using Testing::AttributeSpec;
using Testing::makeElement;
using Testing::makeTag;
using Testing::stackNames;
using Testing::TreeFeed;
using Testing::TreeRun;
using Codes = std::vector<std::uint32_t>;

std::string body(const TreeRun& run)
{
    NodeRef bodyNode = run.constructor->document->getBODYNode();
    return bodyNode ? Testing::dump(*bodyNode) : "(no body)";
}

std::string body(const TreeFeed& feed)
{
    NodeRef bodyNode = feed.constructor->document->getBODYNode();
    return bodyNode ? Testing::dump(*bodyNode) : "(no body)";
}

TEST(ForeignContent, ParagraphsNestAsWritten)
{
    TreeRun run(u"<p>a<p>b");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(body(run), "<p>\n  \"a\"\n  <p>\n    \"b\"\n");
    EXPECT_EQ(run.errors->treeCodes(), Codes{});
}

TEST(ForeignContent, TableGetsNoImpliedElements)
{
    TreeRun run(u"<table><tr><td>x</td></tr></table>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(body(run), "<table>\n  <tr>\n    <td>\n      \"x\"\n");
    EXPECT_EQ(run.errors->treeCodes(), Codes{});
    EXPECT_EQ(stackNames(*run.constructor), "(html) body");
}

TEST(ForeignContent, UnclosedBrTakesWhatFollows)
{
    TreeRun run(u"<p><br>x<b>y</b></p>z");
    ASSERT_TRUE(run.runToEnd());
    // </p> finds the p below the br, closing both.
    EXPECT_EQ(body(run),
              "<p>\n"
              "  <br>\n"
              "    \"x\"\n"
              "    <b>\n"
              "      \"y\"\n"
              "\"z\"\n");
    EXPECT_EQ(run.errors->treeCodes(), Codes{193});
}

TEST(ForeignContent, SelfClosingTagIsClosedAndAcknowledged)
{
    TreeFeed feed;
    feed.start(u"p");
    TagTokenRef x = feed.start(u"x", {}, true);
    EXPECT_TRUE(x->selfClosingAcknowledged);
    feed.text(u"a");
    EXPECT_EQ(body(feed), "<p>\n  <x>\n  \"a\"\n");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{});
}

TEST(ForeignContent, ScriptContentPastTheFirstElementIsMarkup)
{
    TreeRun run(u"<p><script>a<b></script>c");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(body(run),
              "<p>\n"
              "  <script>\n"
              "    \"a\"\n"
              "    <b>\n"
              "  \"c\"\n");
    EXPECT_EQ(run.errors->treeCodes(), Codes{193});
}

TEST(ForeignContent, EndTagWithoutElementStopsAtASpecialElement)
{
    TreeRun run(u"<p>a</x>b");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{193, 150}));
    EXPECT_EQ(body(run), "<p>\n  \"ab\"\n");
}

TEST(ForeignContent, UnknownEndTagClosesAnUnknownElementMetFirst)
{
    TreeRun run(u"<y>a</x>b");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{193, 151}));
    EXPECT_EQ(body(run), "<y>\n  \"a\"\n\"b\"\n");
}

TEST(ForeignContent, MisnestedEndTagClosesEverythingAboveItsElement)
{
    TreeRun run(u"<a><b></a>c");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{193});
    EXPECT_EQ(body(run), "<a>\n  <b>\n\"c\"\n");
}

TEST(ForeignContent, NulBecomesAReplacementCharacterWithoutReport)
{
    TreeRun run(std::u16string(u"<p>a\0b", 6));
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(body(run), "<p>\n  \"a\\uFFFDb\"\n");
    EXPECT_EQ(run.errors->treeCodes(), Codes{});
}

TEST(ForeignContent, SpacesKeepFramesetOkAndVerticalTabClearsIt)
{
    TreeFeed feed;
    feed.start(u"p");
    feed.constructor->framesetOk = true;
    feed.text(u" \t\n\f\r");
    EXPECT_TRUE(feed.constructor->framesetOk);
    feed.text(u"\x0B");
    EXPECT_FALSE(feed.constructor->framesetOk);
}

TEST(ForeignContent, CommentsGoToTheCurrentNodeAndDoctypesAreDropped)
{
    TreeFeed feed;
    feed.start(u"p");
    feed.comment(u"c");
    auto doctype = feed.doctype(u"html");
    EXPECT_TRUE(doctype->ignored);
    EXPECT_EQ(feed.errors->treeCodes(), Codes{191});
    EXPECT_EQ(body(feed), "<p>\n  <!-- c -->\n");
}

TEST(ForeignContent, EndTagFoldsTheElementNameOnly)
{
    TreeRun upperElement(u"<p><P>x</p>y");
    ASSERT_TRUE(upperElement.runToEnd());
    EXPECT_EQ(upperElement.errors->treeCodes(), Codes{193});
    EXPECT_EQ(body(upperElement), "<p>\n  <P>\n    \"x\"\n  \"y\"\n");

    TreeRun camel(u"<svg><clipPath>x</clipPath>y</svg>");
    ASSERT_TRUE(camel.runToEnd());
    // The fold finds no clipPath; the walk of the body rules closes it by id.
    EXPECT_EQ(camel.errors->treeCodes(), Codes{});
    EXPECT_EQ(body(camel), "<svg>\n  <clipPath>\n    \"x\"\n  \"y\"\n");
}

TEST(ForeignContent, PrefixedTagsAreClosedByTheirLocalName)
{
    TreeRun run(u"<p><svg:rect>x</other:rect>y");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{});
    EXPECT_EQ(body(run), "<p>\n  <svg:rect>\n    \"x\"\n  \"y\"\n");
}

TEST(ForeignContent, FirstElementKeepsItsAttributesAsTheyAre)
{
    TreeRun run(u"<q i=1 xlink:href=a href=b>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(body(run),
              "<q>\n"
              "  href=\"b\"\n"
              "  i=\"1\"\n"
              "  xlink:href=\"a\"\n");
}

TEST(ForeignContent, LaterElementsHaveTheirForeignAttributesRekeyed)
{
    TreeRun run(u"<p><q href=b xlink:href=a xlinkz=1 xml:lang=en xmlns=u xmlns:xlink=v>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(body(run),
              "<p>\n"
              "  <q>\n"
              "    xlink:href=\"a\" ns=3 key=href\n"
              "    xml:lang=\"en\" ns=4 key=lang\n"
              "    xmlns:xlink=\"v\" ns=5 key=xlink\n"
              "    xlinkz=\"1\"\n"
              "    xmlns=\"u\"\n");
}

TEST(ForeignContent, EveryForeignAttributeRow)
{
    TreeFeed feed;
    feed.start(u"p");
    auto tag = makeTag(TokenType::StartTag, u"q",
                       {{u"actuate", u"0", u"xlink"},
                        {u"arcrole", u"1", u"xlink"},
                        {u"href", u"2", u"xlink"},
                        {u"role", u"3", u"xlink"},
                        {u"show", u"4", u"xlink"},
                        {u"title", u"5", u"xlink"},
                        {u"type", u"6", u"xlink"},
                        {u"base", u"7", u"xml"},
                        {u"lang", u"8", u"xml"},
                        {u"space", u"9", u"xml"},
                        {u"xmlns", u"10"},
                        {u"xlink", u"11", u"xmlns"},
                        {u"other", u"12", u"xlink"},
                        {u"HREF", u"13", u"xlink"}});
    feed.constructor->adjustForeignAttributes(tag);
    std::string keys;
    for (const auto& [key, attribute] : tag->attributes) {
        keys += Testing::escapeText(key) + "=" + Testing::escapeText(attribute->name) + "/" +
                std::to_string(static_cast<int>(attribute->namespaceId)) + " ";
    }
    EXPECT_EQ(keys,
              "actuate=actuate/3 arcrole=arcrole/3 base=base/4 href=href/3 lang=lang/4 role=role/3 "
              "show=show/3 space=space/4 title=title/3 type=type/3 xlink=xlink/5 xlink:HREF=HREF/-1 "
              "xlink:other=other/-1 xmlns=xmlns/-1 ");
}

TEST(ForeignContent, AdjustedNamesLoseTheirCachedId)
{
    auto tag = makeTag(TokenType::StartTag, u"q", {{u"href", u"a", u"xlink"}});
    Attribute& attribute = *tag->attributes.begin()->second;
    attribute.attributeId = AttributeId::Title;
    TreeFeed feed;
    feed.constructor->adjustForeignAttributes(tag);
    EXPECT_EQ(attribute.attributeId, AttributeId::Unknown);
    EXPECT_EQ(attribute.getAttributeId(), AttributeId::Href);
    EXPECT_EQ(attribute.prefix, u"xlink");
}

TEST(ForeignContent, MathmlAdjustmentRenamesDefinitionUrl)
{
    auto tag = makeTag(TokenType::StartTag, u"mi",
                       {{u"definitionurl", u"x"}, {u"definitionURL", u"y"}, {u"a", u"z"}});
    TreeFeed feed;
    feed.constructor->adjustMathmlAttributes(tag);
    ASSERT_EQ(tag->attributes.size(), 2u);
    EXPECT_EQ(tag->attributes.at(u"definitionURL")->value, u"x");
    EXPECT_EQ(tag->attributes.at(u"definitionURL")->name, u"definitionURL");
    EXPECT_EQ(tag->attributes.count(u"definitionurl"), 0u);
    EXPECT_EQ(tag->attributes.at(u"a")->value, u"z");
}

// Case folding parsing: opens an element of a namespace by hand, as the
// math and svg start tags of its body rules would.
Element* openForeign(TreeFeed& feed, const std::u16string& name, NamespaceId namespaceId,
                     std::initializer_list<AttributeSpec> attributes = {})
{
    auto element = makeElement(name, attributes);
    element->namespaceId = namespaceId;
    appendChild(element, feed.constructor->currentNode.get());
    feed.constructor->pushOpenElement(element);
    return element.get();
}

class CaseFoldingForeign : public ::testing::Test {
protected:
    void SetUp() override { feed.start(u"body"); }
    TreeFeed feed{1};
};

TEST_F(CaseFoldingForeign, FontWithoutPresentationalAttributesStaysForeign)
{
    openForeign(feed, u"svg", NamespaceId::Svg);
    feed.start(u"font", {{u"x:size", u"2"}});
    EXPECT_EQ(feed.errors->treeCodes(), Codes{});
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body svg font");
    EXPECT_EQ(feed.constructor->currentNode->namespaceId, NamespaceId::Svg);
}

TEST_F(CaseFoldingForeign, FontWithSizeBreaksOut)
{
    openForeign(feed, u"svg", NamespaceId::Svg);
    openForeign(feed, u"g", NamespaceId::Svg);
    feed.start(u"font", {{u"size", u"2"}});
    EXPECT_EQ(feed.errors->treeCodes(), Codes{192});
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body font");
    EXPECT_EQ(feed.constructor->currentNode->namespaceId, NamespaceId::Html);
}

TEST_F(CaseFoldingForeign, BreakoutStopsAtATextIntegrationPoint)
{
    openForeign(feed, u"math", NamespaceId::MathMl);
    openForeign(feed, u"mi", NamespaceId::MathMl);
    openForeign(feed, u"mo", NamespaceId::MathMl);
    openForeign(feed, u"ms", NamespaceId::MathMl);
    // b goes to the foreign rules at the text integration point, and breaks
    // out by the list: ms is popped first, then mo stops the popping.
    feed.start(u"b");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{192});
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body math mi mo b");
}

TEST_F(CaseFoldingForeign, MglyphAtATextIntegrationPointTakesTheInsertionMode)
{
    openForeign(feed, u"math", NamespaceId::MathMl);
    openForeign(feed, u"mi", NamespaceId::MathMl);
    feed.start(u"mglyph");
    EXPECT_EQ(feed.constructor->currentNode->namespaceId, NamespaceId::Html);
    feed.constructor->popOpenElement();
    feed.start(u"foo", {{u"definitionurl", u"u"}});
    EXPECT_EQ(feed.constructor->currentNode->namespaceId, NamespaceId::MathMl);
    EXPECT_EQ(static_cast<Element&>(*feed.constructor->currentNode).attributes.count(u"definitionURL"),
              1u);
    EXPECT_EQ(feed.errors->treeCodes(), Codes{});
}

TEST_F(CaseFoldingForeign, DefinitionUrlOnSvgKeepsItsName)
{
    openForeign(feed, u"svg", NamespaceId::Svg);
    feed.start(u"g", {{u"definitionurl", u"u"}});
    EXPECT_EQ(static_cast<Element&>(*feed.constructor->currentNode).attributes.count(u"definitionurl"),
              1u);
}

TEST_F(CaseFoldingForeign, AnnotationXmlWithHtmlEncodingTakesHtmlRules)
{
    openForeign(feed, u"math", NamespaceId::MathMl);
    openForeign(feed, u"annotation-xml", NamespaceId::MathMl, {{u"encoding", u"TEXT/HTML"}});
    feed.start(u"div");
    EXPECT_EQ(feed.constructor->currentNode->namespaceId, NamespaceId::Html);
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body math annotation-xml div");
}

TEST_F(CaseFoldingForeign, SvgScriptEndTagPopsIt)
{
    openForeign(feed, u"svg", NamespaceId::Svg);
    openForeign(feed, u"script", NamespaceId::Svg);
    feed.end(u"script");
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body svg");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{});
}

TEST_F(CaseFoldingForeign, EndTagWalkHandsOverAtTheHtmlNamespace)
{
    feed.start(u"span");
    openForeign(feed, u"svg", NamespaceId::Svg);
    openForeign(feed, u"g", NamespaceId::Svg);
    feed.end(u"span");
    // 193 for g; the walk reaches the HTML span, and the body rules close it
    // by tag id, with 151 for the g still open above it.
    EXPECT_EQ(feed.errors->treeCodes(), (Codes{193, 151}));
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body");
}

TEST(ForeignBreakoutList, HoldsItsTagsOnly)
{
    for (TagId tag : {TagId::B, TagId::Big, TagId::Blockquote, TagId::Body, TagId::Br, TagId::Center,
                      TagId::Code, TagId::Dd, TagId::Div, TagId::Dl, TagId::Dt, TagId::Em,
                      TagId::Embed, TagId::H1, TagId::H6, TagId::Head, TagId::Hr, TagId::I,
                      TagId::Img, TagId::Li, TagId::Listing, TagId::Menu, TagId::Meta, TagId::Nobr,
                      TagId::Ol, TagId::P, TagId::Pre, TagId::Ruby, TagId::S, TagId::Small,
                      TagId::Span, TagId::Strike, TagId::Strong, TagId::Sub, TagId::Sup,
                      TagId::Table, TagId::Tt, TagId::U, TagId::Ul, TagId::Var}) {
        EXPECT_TRUE(isForeignBreakout(tag)) << static_cast<int>(tag);
    }
    for (TagId tag : {TagId::A, TagId::Font, TagId::Svg, TagId::Math, TagId::Title, TagId::Td,
                      TagId::Unknown}) {
        EXPECT_FALSE(isForeignBreakout(tag)) << static_cast<int>(tag);
    }
}

TEST(ForeignContent, CasePreservingParsingNeverBreaksOut)
{
    TreeRun run(u"<svg><font size=2><b>x");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{124});
    EXPECT_EQ(body(run), "<svg>\n  <font>\n    size=\"2\"\n    <b>\n      \"x\"\n");
}

}  // namespace
}  // namespace Parsers
