// The token classes: names, the cached tag row, attributes under construction
// and the entry of finished attributes into the map.
#include <gtest/gtest.h>

#include <memory>

#include "recording.h"
#include "tokenizer/token.h"

namespace Parsers::Testing {
namespace {

constexpr std::int32_t kDivId = 51;  // row of "div" in the tag table
constexpr std::int32_t kAId = 0;     // row of "a"

std::int32_t idOf(TagToken& tag)
{
    return static_cast<std::int32_t>(tag.getTagId());
}

TEST(Token, NewTokensStartAtColumnZeroLineOne)
{
    const TagToken tag(TokenType::StartTag);
    const DoctypeToken doctype;
    const CommentToken comment;
    const EndOfFileToken endOfFile;
    for (const Token* token : {static_cast<const Token*>(&tag), static_cast<const Token*>(&doctype),
                               static_cast<const Token*>(&comment),
                               static_cast<const Token*>(&endOfFile)}) {
        EXPECT_EQ(token->position.column, 0u);
        EXPECT_EQ(token->position.line, 1u);
        EXPECT_FALSE(token->ignored);
    }
    EXPECT_EQ(doctype.type, TokenType::Doctype);
    EXPECT_EQ(comment.type, TokenType::Comment);
    EXPECT_EQ(endOfFile.type, TokenType::EndOfFile);
    EXPECT_FALSE(doctype.forceQuirks);
    EXPECT_FALSE(tag.selfClosing);
    EXPECT_FALSE(tag.selfClosingAcknowledged);
    EXPECT_EQ(tag.tagEntry, nullptr);
    EXPECT_EQ(tag.currentAttribute, nullptr);
}

TEST(Token, TypeValuesAreTheFixedNumbers)
{
    EXPECT_EQ(static_cast<std::uint32_t>(TokenType::EndOfFile), 1u);
    EXPECT_EQ(static_cast<std::uint32_t>(TokenType::StartTag), 2u);
    EXPECT_EQ(static_cast<std::uint32_t>(TokenType::EndTag), 3u);
    EXPECT_EQ(static_cast<std::uint32_t>(TokenType::Doctype), 4u);
    EXPECT_EQ(static_cast<std::uint32_t>(TokenType::Comment), 5u);
}

TEST(Token, SetFirstCharacterReplacesTheWholeName)
{
    DoctypeToken doctype;
    doctype.name = u"html";
    doctype.setFirstCharacter(u'x');
    EXPECT_EQ(doctype.name, u"x");

    TagToken tag(TokenType::StartTag);
    tag.name = u"div";
    ASSERT_EQ(idOf(tag), kDivId);
    ASSERT_NE(tag.tagEntry, nullptr);
    tag.setFirstCharacter(u'a');
    EXPECT_EQ(tag.name, u"a");
    EXPECT_EQ(tag.tagEntry, nullptr);
    EXPECT_EQ(idOf(tag), kAId);
}

TEST(Token, SetNameAssignsAndIgnoresItsOwnName)
{
    TagToken tag(TokenType::EndTag);
    tag.setName(u"span");
    EXPECT_EQ(tag.name, u"span");
    tag.setName(tag.name);
    EXPECT_EQ(tag.name, u"span");
    tag.setName(UString());
    EXPECT_TRUE(tag.name.empty());
}

TEST(Token, TagIdIsCachedOnceFound)
{
    TagToken tag(TokenType::StartTag);
    tag.name = u"div";
    EXPECT_EQ(idOf(tag), kDivId);
    const TagRow* cached = tag.tagEntry;
    ASSERT_NE(cached, nullptr);
    // The cache answers even after a change behind its back.
    tag.name = u"zzz";
    EXPECT_EQ(idOf(tag), kDivId);
    EXPECT_EQ(tag.tagEntry, cached);
}

TEST(Token, UnknownOrUpperCaseNameHasNoIdAndIsLookedUpAgain)
{
    TagToken tag(TokenType::StartTag);
    tag.name = u"DIV";
    EXPECT_EQ(idOf(tag), -1);
    EXPECT_EQ(tag.tagEntry, nullptr);
    tag.name = u"div";
    EXPECT_EQ(idOf(tag), kDivId);
}

TEST(Token, NamespaceIdOfATableNameIsHtml)
{
    TagToken tag(TokenType::StartTag);
    tag.name = u"div";
    EXPECT_EQ(tag.getNamespaceId(), NamespaceId::Html);
    EXPECT_NE(tag.tagEntry, nullptr);

    TagToken unknown(TokenType::StartTag);
    unknown.name = u"Div";
    EXPECT_EQ(unknown.getNamespaceId(), NamespaceId::None);
    EXPECT_EQ(unknown.tagEntry, nullptr);
}

TEST(Token, AppendToNameClearsTheCachedRow)
{
    TagToken tag(TokenType::StartTag);
    tag.name = u"di";
    EXPECT_EQ(idOf(tag), -1);
    tag.appendToName(u'v');
    EXPECT_EQ(idOf(tag), kDivId);
    tag.appendToName(u'x');
    EXPECT_EQ(tag.tagEntry, nullptr);
    EXPECT_EQ(idOf(tag), -1);
}

TEST(Token, BeginAttributeReplacesTheOneBeforeWithoutEnteringIt)
{
    ParseHeapOwner owner;
    ParseHeap& heap = *owner.get();
    TagToken tag(TokenType::StartTag);
    tag.beginAttribute(u'b', TextPosition{4, 2}, &heap);
    const void* first = tag.currentAttribute.get();
    EXPECT_EQ(tag.currentAttribute.use_count(), 1);
    EXPECT_EQ(tag.currentAttribute->name, u"b");
    EXPECT_TRUE(tag.currentAttribute->value.empty());
    EXPECT_EQ(tag.currentAttribute->position, (TextPosition{4, 2}));

    tag.beginAttribute(u'c', TextPosition{6, 2}, &heap);
    // The first attribute is gone: its block is the next of its size.
    void* reused = heap.allocate(sizeof(Attribute));
    EXPECT_EQ(reused, first);
    heap.deallocate(reused, sizeof(Attribute));
    EXPECT_EQ(tag.currentAttribute->name, u"c");
    EXPECT_TRUE(tag.attributes.empty());
}

TEST(Token, FinishAttributeEntersUnderTheQualifiedName)
{
    Recorder recorder;
    ErrorListenerList listeners{std::shared_ptr<ErrorListener>(&recorder, [](ErrorListener*) {})};
    TagToken tag(TokenType::StartTag);
    tag.beginAttribute(u'h', TextPosition{1, 1});
    tag.currentAttribute->name = u"href";
    tag.currentAttribute->prefix = u"xlink";
    tag.finishAttribute(listeners);
    tag.beginAttribute(u'h', TextPosition{2, 1});
    tag.currentAttribute->name = u"href";
    tag.finishAttribute(listeners);
    ASSERT_EQ(tag.attributes.size(), 2u);
    EXPECT_EQ(tag.attributes.begin()->first, u"href");
    EXPECT_EQ(std::next(tag.attributes.begin())->first, u"xlink:href");
    EXPECT_EQ(std::next(tag.attributes.begin())->second->prefix, u"xlink");
    EXPECT_TRUE(recorder.events.empty());
}

// A name grown in a builder is the builder's text until the attribute is
// finished, and then a lasting text: the builder may change afterwards.
TEST(Token, FinishingMakesANameGrownInABuilderLasting)
{
    ErrorListenerList listeners;
    TagToken tag(TokenType::StartTag);
    UString builder;
    tag.beginAttribute(u'h', TextPosition{1, 1}, nullptr, builder);
    EXPECT_EQ(builder, u"h");
    EXPECT_EQ(tag.currentAttribute->name.referred(), &builder);
    builder += u"ref";
    tag.nameChangedIn(builder);
    EXPECT_EQ(tag.currentAttribute->name, u"href");
    EXPECT_EQ(tag.currentAttribute->attributeId, AttributeId::Unknown);
    tag.finishAttribute(listeners);
    const AttributeRef href = tag.currentAttribute;
    tag.beginAttribute(u'z', TextPosition{2, 1}, nullptr, builder);
    builder += u"zz";
    tag.nameChangedIn(builder);
    tag.finishAttribute(listeners);
    builder = u"changed";
    EXPECT_EQ(href->name, u"href");
    EXPECT_FALSE(href->name.isCopy());
    EXPECT_EQ(tag.currentAttribute->name, u"zzz");
    EXPECT_TRUE(tag.currentAttribute->name.isCopy());
    EXPECT_EQ(tag.attributes.size(), 2u);
}

TEST(Token, DuplicateNameKeepsTheFirstAndReportsWithTheLatersPosition)
{
    Recorder recorder;
    ErrorListenerList listeners{std::shared_ptr<ErrorListener>(&recorder, [](ErrorListener*) {})};
    TagToken tag(TokenType::StartTag);
    tag.beginAttribute(u'b', TextPosition{4, 1});
    tag.currentAttribute->setValue(u"1");
    tag.finishAttribute(listeners);
    const AttributeRef first = tag.currentAttribute;

    tag.beginAttribute(u'b', TextPosition{8, 3});
    tag.currentAttribute->setValue(u"2");
    tag.finishAttribute(listeners);

    ASSERT_EQ(tag.attributes.size(), 1u);
    EXPECT_EQ(tag.attributes.at(u"b"), first);
    EXPECT_EQ(first->value, u"1");
    EXPECT_FALSE(first->duplicate);
    EXPECT_TRUE(tag.currentAttribute->duplicate);
    EXPECT_EQ(recorder.errors(), (Events{"E32 text \"b\" @8:3"}));
}

TEST(Token, DuplicateReportNamesThePrefixToo)
{
    Recorder recorder;
    ErrorListenerList listeners{std::shared_ptr<ErrorListener>(&recorder, [](ErrorListener*) {})};
    TagToken tag(TokenType::StartTag);
    for (int turn = 0; turn < 2; ++turn) {
        tag.beginAttribute(u'b', TextPosition{static_cast<std::uint32_t>(turn), 1});
        tag.currentAttribute->prefix = u"x";
        tag.finishAttribute(listeners);
    }
    EXPECT_EQ(tag.attributes.size(), 1u);
    EXPECT_EQ(recorder.errors(), (Events{"E32 text \"x:b\" @1:1"}));
}

TEST(Token, EmptyQualifiedNameEntersNothing)
{
    Recorder recorder;
    ErrorListenerList listeners{std::shared_ptr<ErrorListener>(&recorder, [](ErrorListener*) {})};
    TagToken tag(TokenType::StartTag);
    tag.beginAttribute(u'a', TextPosition{});
    tag.currentAttribute->setName(UString());
    tag.finishAttribute(listeners);
    tag.finishAttribute(listeners);
    EXPECT_TRUE(tag.attributes.empty());
    EXPECT_TRUE(recorder.events.empty());
}

TEST(Token, FinishWithoutAttributeDoesNothing)
{
    TagToken tag(TokenType::StartTag);
    tag.finishAttribute(ErrorListenerList{});
    EXPECT_TRUE(tag.attributes.empty());
}

TEST(Token, AttributeMapOrdersByUnitsShorterFirst)
{
    TagToken tag(TokenType::StartTag);
    tag.name = u"t";
    for (const char16_t* name : {u"ba", u"b", u"B", u"a"}) {
        tag.beginAttribute(name[0], TextPosition{});
        tag.currentAttribute->name = name;
        tag.finishAttribute(ErrorListenerList{});
    }
    EXPECT_EQ(describeToken(tag), "<t B=\"\" a=\"\" b=\"\" ba=\"\">");
}

}  // namespace
}  // namespace Parsers::Testing
