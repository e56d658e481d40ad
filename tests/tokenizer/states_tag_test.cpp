// Tag and attribute states, in both modes: names, prefixes, attribute values,
// duplicates, every report and the end of input in each state.
#include <gtest/gtest.h>

#include "tokenizer_run.h"

namespace Parsers::Testing {
namespace {

using TagStates = TokenizerTest;

const TagToken& firstTag(const TokenizerRun& run)
{
    return static_cast<const TagToken&>(*run.recorder->tokens.at(0));
}

TEST_F(TagStates, NamesKeepTheirCaseWhenCasePreserving)
{
    EXPECT_EQ(tokenize(u"<DIV CLASS=x>"), (Events{"<DIV CLASS=\"x\">", "EOF"}));
    EXPECT_EQ(tokenize(u"</DiV>"), (Events{"</DiV>", "EOF"}));
}

TEST_F(TagStates, NamesFoldWhenCaseFolding)
{
    EXPECT_EQ(tokenize(u"<DIV CLASS=X>", kCaseFoldingMode), (Events{"<div class=\"X\">", "EOF"}));
    EXPECT_EQ(tokenize(u"</DiV>", kCaseFoldingMode), (Events{"</div>", "EOF"}));
    EXPECT_EQ(tokenize(u"<A B C>", kCaseFoldingMode), (Events{"<a b=\"\" c=\"\">", "EOF"}));
}

TEST_F(TagStates, ColonSplitsOffThePrefixInBothModes)
{
    EXPECT_EQ(tokenize(u"<svg:rect xlink:href=a>"), (Events{"<svg:rect xlink:href=\"a\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<SVG:Rect XLink:Href=a>", kCaseFoldingMode),
              (Events{"<svg:rect xlink:href=\"a\">", "EOF"}));
    TokenizerRun run(u"<svg:rect xlink:href=a>");
    ASSERT_TRUE(run.runToEnd());
    const TagToken& tag = firstTag(run);
    EXPECT_EQ(tag.prefix, u"svg");
    EXPECT_EQ(tag.name, u"rect");
    const Attribute& attribute = *tag.attributes.at(u"xlink:href");
    EXPECT_EQ(attribute.prefix, u"xlink");
    EXPECT_EQ(attribute.name, u"href");
}

TEST_F(TagStates, LastColonWinsAndTheEarlierPrefixIsLost)
{
    EXPECT_EQ(tokenize(u"<a:b:c>"), (Events{"<b:c>", "EOF"}));
    EXPECT_EQ(tokenize(u"<a::b>"), (Events{"<b>", "EOF"}));
    EXPECT_EQ(tokenize(u"<x a:b:c=1>"), (Events{"<x b:c=\"1\">", "EOF"}));
}

TEST_F(TagStates, TagNameEndingInAColonIsEmpty)
{
    TokenizerRun run(u"<a:>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(firstTag(run).prefix, u"a");
    EXPECT_TRUE(firstTag(run).name.empty());
}

TEST_F(TagStates, AttributeNameEndingInAColonIsEnteredWithItsPrefix)
{
    EXPECT_EQ(tokenize(u"<x a:=1>"), (Events{"<x a:=\"1\">", "EOF"}));
}

TEST_F(TagStates, EmptyQualifiedAttributeNameEntersNothing)
{
    EXPECT_EQ(tokenize(u"<x a::=1 b>"), (Events{"<x b=\"\">", "EOF"}));
}

TEST_F(TagStates, DuplicateAttributeKeepsTheFirst)
{
    EXPECT_EQ(tokenize(u"<a b=1 b=2>"), (Events{"E32 text \"b\"", "<a b=\"1\">", "EOF"}));
    TokenizerRun run(u"<a b=1 b=2>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->errors(), (Events{"E32 text \"b\" @8:1"}));
}

TEST_F(TagStates, AttributesDifferingInCaseAreTwoWhenCasePreserving)
{
    EXPECT_EQ(tokenize(u"<a B=1 b=2>"), (Events{"<a B=\"1\" b=\"2\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a B=1 b=2>", kCaseFoldingMode),
              (Events{"E32 text \"b\"", "<a b=\"1\">", "EOF"}));
}

TEST_F(TagStates, AttributesWithDifferentPrefixesAreTwo)
{
    EXPECT_EQ(tokenize(u"<a x:b=1 y:b=2>"), (Events{"<a x:b=\"1\" y:b=\"2\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a x:b=1 x:b=2>"), (Events{"E32 text \"x:b\"", "<a x:b=\"1\">", "EOF"}));
}

TEST_F(TagStates, TagOpenReports)
{
    EXPECT_EQ(tokenize(u"a< b"), (Events{"\"a\"", "E5 char ' '", "\"< b\"", "EOF"}));
    EXPECT_EQ(tokenizeFull(u"<1"), (Events{"E5 char '1' @2:1", "'<' @2:1", "'1' @2:1", "EOF @0:1"}));
}

TEST_F(TagStates, QuestionMarkMakesABogusComment)
{
    EXPECT_EQ(tokenize(u"<?x>y"), (Events{"E7", "\"y\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<?x>y", kCaseFoldingMode), (Events{"E7", "<!--?x-->", "\"y\"", "EOF"}));
}

TEST_F(TagStates, EndTagOpenReports)
{
    EXPECT_EQ(tokenize(u"</>a"), (Events{"E8", "\"a\"", "EOF"}));
    EXPECT_EQ(tokenize(u"</ x>a"), (Events{"E6 char ' '", "\"a\"", "EOF"}));
    EXPECT_EQ(tokenize(u"</ x>a", kCaseFoldingMode),
              (Events{"E6 char ' '", "<!-- x-->", "\"a\"", "EOF"}));
    // At the end: "</" is emitted and the '/' is read once more.
    EXPECT_EQ(tokenizeFull(u"</"), (Events{"E9 @2:1", "'<' @2:1", "'/' @2:1", "'/' @2:1",
                                           "EOF @0:1"}));
}

TEST_F(TagStates, EndTagBeginsAtItsSlash)
{
    EXPECT_EQ(tokenizeFull(u"x\n</y>"), (Events{"'x' @1:1", "'\\u000A' @2:1", "</y> @2:2",
                                                "EOF @0:1"}));
}

TEST_F(TagStates, TagNameReplacesNulAndKeepsOtherUnits)
{
    EXPECT_EQ(tokenize(std::u16string(u"<a\0b-c.\u00E9>", 9)),
              (Events{"E16", "<a\\uFFFDb-c.\\u00E9>", "EOF"}));
}

TEST_F(TagStates, TagNameEndsAtEverySpace)
{
    EXPECT_EQ(tokenize(u"<a\tb><c\nd><e\fg><h i>"),
              (Events{"<a b=\"\">", "<c d=\"\">", "<e g=\"\">", "<h i=\"\">", "EOF"}));
}

TEST_F(TagStates, VerticalTabIsNoSpaceForTheTokenizer)
{
    EXPECT_EQ(tokenize(u"<a\vb>"), (Events{"<a\\u000Bb>", "EOF"}));
}

TEST_F(TagStates, SelfClosingTag)
{
    EXPECT_EQ(tokenize(u"<br/><a b/><c d=1/>"),
              (Events{"<br/>", "<a b=\"\"/>", "<c d=\"1/\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a/ b>"), (Events{"E50 char ' '", "<a b=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a/b>"), (Events{"E50 char 'b'", "<a b=\"\">", "EOF"}));
}

TEST_F(TagStates, SelfClosingAfterASpace)
{
    // The slash is read by the state before an attribute name.
    EXPECT_EQ(tokenize(u"<br /><a b=\"1\" />"), (Events{"<br/>", "<a b=\"1\"/>", "EOF"}));
}

TEST_F(TagStates, BeforeAttributeNameReports)
{
    EXPECT_EQ(tokenize(std::u16string(u"<a \0>", 5)), (Events{"E30", "<a \\uFFFD=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a \"x>"), (Events{"E31 char '\"'", "<a \\\"x=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a 'x>"), (Events{"E31 char '''", "<a 'x=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a <x>"), (Events{"E31 char '<'", "<a <x=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a =x>"), (Events{"E31 char '='", "<a =x=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a -x>"), (Events{"<a -x=\"\">", "EOF"}));
}

TEST_F(TagStates, AttributeNameReports)
{
    EXPECT_EQ(tokenize(std::u16string(u"<a b\0c>", 7)), (Events{"E34", "<a b\\uFFFDc=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b\"c'd<e>"),
              (Events{"E33 char '\"'", "E33 char '''", "E33 char '<'", "<a b\\\"c'd<e=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b-?.c>"), (Events{"<a b-?.c=\"\">", "EOF"}));
}

TEST_F(TagStates, AttributeNameAtTheEndLosesTheTagAndRereadsTheLastUnit)
{
    // The attribute name state borrows the code of the state before.
    EXPECT_EQ(tokenizeFull(u"<a b=c d"), (Events{"E29 @8:1", "'d' @8:1", "EOF @0:1"}));
}

TEST_F(TagStates, AttributeNameIsEnteredBeforeTheEndIsHandled)
{
    TokenizerRun run(u"<a b");
    ASSERT_TRUE(run.runToEnd());
    ASSERT_NE(run.tokenizer->currentTag, nullptr);
    EXPECT_EQ(run.tokenizer->currentTag->attributes.count(u"b"), 1u);
    EXPECT_EQ(run.recorder->compact(), (Events{"E29", "\"b\"", "EOF"}));
}

TEST_F(TagStates, AfterAttributeNameBeginsALetterTwice)
{
    TokenizerRun run(u"<a b c>");
    run.runSteps(5);
    ASSERT_EQ(run.tokenizer->state, TokenizerState::AfterAttributeName);
    run.runSteps(1);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::AttributeName);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::AttributeName);
    EXPECT_EQ(run.tokenizer->currentTag->currentAttribute->name, u"c");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->compact(), (Events{"<a b=\"\" c=\"\">", "EOF"}));
}

TEST_F(TagStates, AfterAttributeNameRows)
{
    EXPECT_EQ(tokenize(u"<a b =1>"), (Events{"<a b=\"1\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b >"), (Events{"<a b=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b />"), (Events{"<a b=\"\"/>", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b \t\n c>"), (Events{"<a b=\"\" c=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b -c>"), (Events{"<a -c=\"\" b=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(std::u16string(u"<a b \0>", 7)),
              (Events{"E36", "<a b=\"\" \\uFFFD=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b \"c>"), (Events{"E37 char '\"'", "<a \\\"c=\"\" b=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b 'c>"), (Events{"E37 char '''", "<a 'c=\"\" b=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b <c>"), (Events{"E37 char '<'", "<a <c=\"\" b=\"\">", "EOF"}));
}

TEST_F(TagStates, AfterAttributeNameFoldsInTheCaseFoldingMode)
{
    EXPECT_EQ(tokenize(u"<a b C>", kCaseFoldingMode), (Events{"<a b=\"\" c=\"\">", "EOF"}));
}

TEST_F(TagStates, AfterAttributeNameAtTheEndAfterAQuote)
{
    // The unit before the re-read space is a quote: it begins an attribute with a
    // report, and the loop goes on with that attribute.
    TokenizerRun run(u"<a b\" ");
    run.runSteps(40);
    EXPECT_FALSE(run.tokenizer->atEndOfInput());
    const Events errors = run.recorder->errors();
    ASSERT_GE(errors.size(), 7u);
    EXPECT_EQ(Events(errors.begin(), errors.begin() + 7),
              (Events{"E33 char '\"' @5:1", "E35 @6:1", "E37 char '\"' @5:1", "E35 @6:1",
                      "E37 char '\"' @5:1", "E32 text \"\\\"\" @5:1", "E35 @6:1"}));
}

TEST_F(TagStates, BeforeAttributeValueRows)
{
    EXPECT_EQ(tokenize(u"<a b= \t\"1\" c= '2' d= 3>"),
              (Events{"<a b=\"1\" c=\"2\" d=\"3\">", "EOF"}));
    EXPECT_EQ(tokenize(std::u16string(u"<a b=\0x>", 8)), (Events{"E39", "<a b=\"\\uFFFDx\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=<x>"), (Events{"E41", "<a b=\"<x\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b==x>"), (Events{"E41", "<a b=\"=x\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=`x>"), (Events{"E41", "<a b=\"`x\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=>"), (Events{"E40", "<a b=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=&lt;>"), (Events{"<a b=\"<\">", "EOF"}));
}

TEST_F(TagStates, BeforeAttributeValueAtTheEnd)
{
    EXPECT_EQ(tokenizeFull(u"<a b="), (Events{"E38 @5:1", "'=' @5:1", "EOF @0:1"}));
}

TEST_F(TagStates, QuotedValues)
{
    EXPECT_EQ(tokenize(u"<a b=\"x'y>z\" c='x\"y'>"),
              (Events{"<a b=\"x'y>z\" c=\"x\\\"y\">", "EOF"}));
    EXPECT_EQ(tokenize(std::u16string(u"<a b=\"\0\" c='\0'>", 15)),
              (Events{"E43", "E43", "<a b=\"\\uFFFD\" c=\"\\uFFFD\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=\"x&amp;y\" c='&lt;'>"), (Events{"<a b=\"x&y\" c=\"<\">", "EOF"}));
}

TEST_F(TagStates, QuotedValueAtTheEnd)
{
    EXPECT_EQ(tokenize(u"<a b=\"x"), (Events{"E42", "\"x\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b='"), (Events{"E42", "\"'\"", "EOF"}));
}

TEST_F(TagStates, UnquotedValues)
{
    EXPECT_EQ(tokenize(u"<a x=1?>"), (Events{"E46 char '?'", "<a x=\"1?\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a x=1\">"), (Events{"<a x=\"1\\\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a x=1'<=`>"),
              (Events{"E46 char '''", "E46 char '<'", "E46 char '='", "E46 char '`'",
                      "<a x=\"1'<=`\">", "EOF"}));
    EXPECT_EQ(tokenize(std::u16string(u"<a x=1\0>", 8)), (Events{"E45", "<a x=\"1\\uFFFD\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a x=1\ny=2>"), (Events{"<a x=\"1\" y=\"2\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a x=1/>"), (Events{"<a x=\"1/\">", "EOF"}));
}

TEST_F(TagStates, UnquotedValueAtTheEnd)
{
    EXPECT_EQ(tokenize(u"<a x=12"), (Events{"E44", "\"2\"", "EOF"}));
}

TEST_F(TagStates, AfterQuotedValueRows)
{
    EXPECT_EQ(tokenize(u"<a b=\"1\"c=2>"), (Events{"E48 char 'c'", "<a b=\"1\" c=\"2\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=\"1\"/>"), (Events{"<a b=\"1\"/>", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=\"1\"\nc>"), (Events{"<a b=\"1\" c=\"\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=\"1\""), (Events{"E47", "\"\\\"\"", "EOF"}));
}

TEST_F(TagStates, SelfClosingAtTheEnd)
{
    EXPECT_EQ(tokenize(u"<a/"), (Events{"E49", "\"/\"", "EOF"}));
}

TEST_F(TagStates, BeforeAttributeNameAtTheEnd)
{
    EXPECT_EQ(tokenize(u"<a "), (Events{"E29", "\" \"", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=\"1\" "), (Events{"E29", "\" \"", "EOF"}));
}

TEST_F(TagStates, TagNameAtTheEnd)
{
    EXPECT_EQ(tokenize(u"x<div"), (Events{"\"x\"", "E10", "\"v\"", "EOF"}));
}

TEST_F(TagStates, AbandonedTagWithAttributesIsReusedByTheNextLessThanSign)
{
    // An unquoted value that ends in '<' at the end of the text: the '<' is read
    // again, reuses the pending tag, and the tag open state loops on it.
    TokenizerRun run(u"<a b=<");
    run.runSteps(20);
    EXPECT_FALSE(run.tokenizer->atEndOfInput());
    ASSERT_NE(run.tokenizer->currentTag, nullptr);
    EXPECT_EQ(run.tokenizer->currentTag->name, u"a");
    EXPECT_EQ(run.tokenizer->currentTag->attributes.at(u"b")->value, u"<");
    const Events events = run.recorder->compact();
    ASSERT_GE(events.size(), 4u);
    EXPECT_EQ(Events(events.begin(), events.begin() + 4),
              (Events{"E41", "E44", "E5 char '\\u0000'", "\"<\""}));
}

TEST_F(TagStates, StartTagPositionIsItsLessThanSign)
{
    TokenizerRun run(u"ab\n  <x y=1>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->full().at(5), "<x y=\"1\"> @3:2");
    EXPECT_EQ(firstTag(run).attributes.at(u"y")->position, (TextPosition{6, 2}));
}

}  // namespace
}  // namespace Parsers::Testing
