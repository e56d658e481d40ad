// The frame of the tokenizer: construction, dispatch, switchTo and its pending
// tokens, emission, positions, the rule for the end of input, and the two texts
// that never end.
#include <gtest/gtest.h>

#include <memory>

#include "tokenizer_run.h"

namespace Parsers::Testing {
namespace {

using TokenizerCore = TokenizerTest;

TEST_F(TokenizerCore, StartsInDataWithNothingPending)
{
    TokenizerRun run(u"abc", kCaseFoldingMode);
    const Tokenizer& tokenizer = *run.tokenizer;
    EXPECT_EQ(tokenizer.state, TokenizerState::Data);
    EXPECT_EQ(tokenizer.previousState, kNoTokenizerState);
    EXPECT_EQ(tokenizer.source, &run.source);
    EXPECT_EQ(tokenizer.treeConstructor, nullptr);
    EXPECT_EQ(tokenizer.currentTag, nullptr);
    EXPECT_EQ(tokenizer.lastStartTag, nullptr);
    EXPECT_EQ(tokenizer.currentComment, nullptr);
    EXPECT_EQ(tokenizer.currentDoctype, nullptr);
    EXPECT_TRUE(tokenizer.temporaryBuffer.empty());
    EXPECT_TRUE(tokenizer.ownsStream);
    EXPECT_EQ(tokenizer.parseMode, kCaseFoldingMode);
    ASSERT_NE(tokenizer.stream, nullptr);
    EXPECT_EQ(tokenizer.stream->next, run.buffer.data());
    EXPECT_EQ(tokenizer.stream->length, 3u);
    EXPECT_EQ(tokenizer.stream->remaining, 3u);
}

TEST_F(TokenizerCore, StateNumbersFollowTheTable)
{
    EXPECT_EQ(static_cast<int>(TokenizerState::Data), 0);
    EXPECT_EQ(static_cast<int>(TokenizerState::Plaintext), 6);
    EXPECT_EQ(static_cast<int>(TokenizerState::TagName), 9);
    EXPECT_EQ(static_cast<int>(TokenizerState::ScriptDataDoubleEscapeEnd), 32);
    EXPECT_EQ(static_cast<int>(TokenizerState::BeforeAttributeName), 33);
    EXPECT_EQ(static_cast<int>(TokenizerState::CharacterReferenceInAttributeValue), 40);
    EXPECT_EQ(static_cast<int>(TokenizerState::BogusComment), 43);
    EXPECT_EQ(static_cast<int>(TokenizerState::Doctype), 51);
    EXPECT_EQ(static_cast<int>(TokenizerState::BogusDoctype), 66);
    EXPECT_EQ(static_cast<int>(TokenizerState::CdataSection), 67);
}

TEST_F(TokenizerCore, EmptyTextProducesNothingAtAll)
{
    TokenizerRun run(u"");
    EXPECT_TRUE(run.tokenizer->atEndOfInput());
    EXPECT_TRUE(run.runToEnd());
    EXPECT_TRUE(run.recorder->events.empty());
}

TEST_F(TokenizerCore, StateBeyondTheTableDoesNothing)
{
    TokenizerRun run(u"abc");
    run.tokenizer->state = static_cast<TokenizerState>(68);
    run.runSteps(5);
    EXPECT_TRUE(run.recorder->events.empty());
    EXPECT_EQ(run.tokenizer->stream->remaining, 3u);
    run.tokenizer->state = kNoTokenizerState;
    run.runSteps(1);
    EXPECT_TRUE(run.recorder->events.empty());
}

TEST_F(TokenizerCore, EachStepRunsOneStateOnce)
{
    TokenizerRun run(u"ab");
    run.runSteps(1);
    EXPECT_EQ(run.recorder->full(), (Events{"'a' @1:1"}));
    run.runSteps(1);
    run.runSteps(1);
    EXPECT_EQ(run.recorder->full(), (Events{"'a' @1:1", "'b' @2:1", "EOF @0:1"}));
    EXPECT_TRUE(run.tokenizer->atEndOfInput());
    // Stepping on at the end emits another end of file token; the driver stops
    // before that happens.
    run.runSteps(1);
    EXPECT_EQ(run.recorder->compact(), (Events{"\"ab\"", "EOF", "EOF"}));
}

TEST_F(TokenizerCore, PositionsAcrossLineFeeds)
{
    EXPECT_EQ(tokenizeFull(u"a\n<b c=1>\n</b>"),
              (Events{"'a' @1:1", "'\\u000A' @2:1", "<b c=\"1\"> @1:2", "'\\u000A' @8:2",
                      "</b> @2:3", "EOF @0:1"}));
}

TEST_F(TokenizerCore, AttributesKeepTheirOwnPositions)
{
    TokenizerRun run(u"<a\nb=1 cd=2>");
    ASSERT_TRUE(run.runToEnd());
    ASSERT_EQ(run.recorder->tokens.size(), 2u);
    const auto& tag = static_cast<const TagToken&>(*run.recorder->tokens[0]);
    EXPECT_EQ(tag.attributes.at(u"b")->position, (TextPosition{1, 2}));
    EXPECT_EQ(tag.attributes.at(u"cd")->position, (TextPosition{5, 2}));
}

// A name of the attribute name list ends as the list's own text, in the
// attribute and in the key of its entry; any other name as a copy of its own.
TEST_F(TokenizerCore, AttributeNamesEndAsTheListsTextsOrCopies)
{
    TokenizerRun run(u"<a href=1 data-x=2 xlink:href=3 c\u00E9=4 TITLE=5>", kCaseFoldingMode);
    ASSERT_TRUE(run.runToEnd());
    const auto& tag = static_cast<const TagToken&>(*run.recorder->tokens[0]);
    ASSERT_EQ(tag.attributes.size(), 5u);
    const auto listed = [](const CompactText& text) { return isAttributeNameListText(text.referred()); };
    const auto& href = tag.attributes.find(u"href");
    ASSERT_NE(href, tag.attributes.end());
    EXPECT_TRUE(listed(href->second->name));
    EXPECT_EQ(href->first.referred(), href->second->name.referred());
    const AttributeRef& data = tag.attributes.at(u"data-x");
    EXPECT_TRUE(data->name.isCopy());
    EXPECT_EQ(data->name, u"data-x");
    const AttributeRef& prefixed = tag.attributes.at(u"xlink:href");
    EXPECT_TRUE(listed(prefixed->name));
    EXPECT_EQ(prefixed->prefix, u"xlink");
    EXPECT_TRUE(prefixed->prefix.isCopy());
    EXPECT_TRUE(tag.attributes.at(u"c\u00E9")->name.isCopy());
    // The tokenizer folds the name first: the folded name is the list's.
    EXPECT_TRUE(listed(tag.attributes.at(u"title")->name));
}

TEST_F(TokenizerCore, TagsKeepTheirAttributesOnTheHeapOfTheirTokens)
{
    TokenizerRun run(u"<a b=1 c=2></a d=3><i>");
    ASSERT_TRUE(run.runToEnd());
    ASSERT_EQ(run.recorder->tokens.size(), 4u);
    const auto& first = static_cast<const TagToken&>(*run.recorder->tokens[0]);
    ParseHeap* heap = first.attributes.entriesHeap();
    EXPECT_NE(heap, nullptr);
    for (std::size_t index = 1; index < 3; ++index) {
        const auto& tag = static_cast<const TagToken&>(*run.recorder->tokens[index]);
        EXPECT_EQ(tag.attributes.entriesHeap(), heap);
    }
}

TEST_F(TokenizerCore, DroppedEndTagLeavesItsTokenPendingForTheNextTag)
{
    // "</>" leaves an end tag pending, and "<c>" fills it in: an end tag c that
    // begins at its '<'.
    EXPECT_EQ(tokenizeFull(u"a</>b<c>"),
              (Events{"'a' @1:1", "E8 @4:1", "'b' @5:1", "</c> @6:1", "EOF @0:1"}));
    EXPECT_EQ(tokenize(u"</ x><b>"), (Events{"E6 char ' '", "</b>", "EOF"}));
}

TEST_F(TokenizerCore, PendingTagIsTheSameTokenWhenReused)
{
    TokenizerRun run(u"</>");
    ASSERT_TRUE(run.runToEnd());
    const TagTokenRef pending = run.tokenizer->currentTag;
    ASSERT_NE(pending, nullptr);
    EXPECT_EQ(pending->type, TokenType::EndTag);
    run.tokenizer->switchTo(TokenizerState::TagOpen);
    EXPECT_EQ(run.tokenizer->currentTag, pending);
    EXPECT_EQ(pending->type, TokenType::EndTag);
}

TEST_F(TokenizerCore, AbandonedTagAtTheEndRereadsTheLastUnit)
{
    EXPECT_EQ(tokenizeFull(u"<a b"), (Events{"E29 @4:1", "'b' @4:1", "EOF @0:1"}));
    EXPECT_EQ(tokenizeFull(u"<div"), (Events{"E10 @4:1", "'v' @4:1", "EOF @0:1"}));
}

TEST_F(TokenizerCore, SwitchToCreatesTheTokensItsStateNeeds)
{
    TokenizerRun run(u"");
    Tokenizer& tokenizer = *run.tokenizer;
    tokenizer.switchTo(TokenizerState::TagOpen);
    ASSERT_NE(tokenizer.currentTag, nullptr);
    EXPECT_EQ(tokenizer.currentTag->type, TokenType::StartTag);
    EXPECT_TRUE(tokenizer.currentTag->name.empty());
    EXPECT_EQ(tokenizer.state, TokenizerState::TagOpen);
    EXPECT_EQ(tokenizer.previousState, TokenizerState::Data);

    for (TokenizerState endTagOpen :
         {TokenizerState::EndTagOpen, TokenizerState::RcdataEndTagOpen,
          TokenizerState::RawtextEndTagOpen, TokenizerState::ScriptDataEndTagOpen,
          TokenizerState::ScriptDataEscapedEndTagOpen}) {
        const TagTokenRef before = tokenizer.currentTag;
        before->type = TokenType::StartTag;
        tokenizer.switchTo(endTagOpen);
        EXPECT_EQ(tokenizer.currentTag, before);
        EXPECT_EQ(tokenizer.currentTag->type, TokenType::EndTag);
        tokenizer.currentTag.reset();
        tokenizer.switchTo(endTagOpen);
        ASSERT_NE(tokenizer.currentTag, nullptr);
        EXPECT_EQ(tokenizer.currentTag->type, TokenType::EndTag);
        EXPECT_EQ(tokenizer.state, endTagOpen);
    }

    tokenizer.switchTo(TokenizerState::Doctype);
    const auto doctype = tokenizer.currentDoctype;
    ASSERT_NE(doctype, nullptr);
    tokenizer.switchTo(TokenizerState::Doctype);
    EXPECT_EQ(tokenizer.currentDoctype, doctype);
    EXPECT_EQ(tokenizer.previousState, TokenizerState::Doctype);
}

TEST_F(TokenizerCore, SwitchToOtherStatesCreatesNothing)
{
    TokenizerRun run(u"");
    Tokenizer& tokenizer = *run.tokenizer;
    for (TokenizerState other : {TokenizerState::Rcdata, TokenizerState::Rawtext,
                                 TokenizerState::ScriptData, TokenizerState::Plaintext,
                                 TokenizerState::Comment, TokenizerState::TagName}) {
        tokenizer.switchTo(other);
        EXPECT_EQ(tokenizer.state, other);
    }
    EXPECT_EQ(tokenizer.previousState, TokenizerState::Comment);
    EXPECT_EQ(tokenizer.currentTag, nullptr);
    EXPECT_EQ(tokenizer.currentComment, nullptr);
    EXPECT_EQ(tokenizer.currentDoctype, nullptr);
    EXPECT_TRUE(tokenizer.temporaryBuffer.empty());
}

TEST_F(TokenizerCore, TagEmissionSetsTheFollowingStateFirst)
{
    TokenizerRun run(u"<a><b x=1><c/><d x='1'>");
    std::vector<TokenizerState> seen;
    run.recorder->onToken = [&](const TokenRef&) { seen.push_back(run.tokenizer->state); };
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(seen, (std::vector<TokenizerState>(5, TokenizerState::Data)));
}

TEST_F(TokenizerCore, LastStartTagIsKeptOnlyWhenSomeoneReceivedIt)
{
    TokenizerRun run(u"<a></a><b>");
    ASSERT_TRUE(run.runToEnd());
    ASSERT_NE(run.tokenizer->lastStartTag, nullptr);
    EXPECT_EQ(run.tokenizer->lastStartTag->name, u"b");

    TokenizerRun silent(u"<a>");
    silent.tokenizer->receivers.clear();
    ASSERT_TRUE(silent.runToEnd());
    EXPECT_EQ(silent.tokenizer->lastStartTag, nullptr);
    EXPECT_EQ(silent.tokenizer->currentTag, nullptr);
}

TEST_F(TokenizerCore, EveryReceiverGetsEveryEmissionInListOrder)
{
    TokenizerRun run(u"x<p>");
    auto second = std::make_shared<Recorder>();
    run.tokenizer->addReceiver(second);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(second->compact(), (Events{"\"x\"", "<p>", "EOF"}));
    EXPECT_EQ(run.recorder->compact(), (Events{"\"x\"", "<p>", "EOF"}));
    // The same token object reaches both.
    ASSERT_EQ(second->tokens.size(), 2u);
    EXPECT_EQ(second->tokens[0], run.recorder->tokens[0]);
}

TEST_F(TokenizerCore, EmittedTokensAreNotReused)
{
    TokenizerRun run(u"<a><a>");
    ASSERT_TRUE(run.runToEnd());
    ASSERT_EQ(run.recorder->tokens.size(), 3u);
    EXPECT_NE(run.recorder->tokens[0], run.recorder->tokens[1]);
    EXPECT_EQ(run.tokenizer->currentTag, nullptr);
    EXPECT_EQ(run.recorder->tokens[2]->type, TokenType::EndOfFile);
}

TEST_F(TokenizerCore, TextEndingInLessThanSignNeverEnds)
{
    TokenizerRun run(u"<");
    run.runSteps(1);
    const TagTokenRef pending = run.tokenizer->currentTag;
    ASSERT_NE(pending, nullptr);
    for (int turn = 0; turn < 500; ++turn) {
        run.runSteps(2);
        EXPECT_EQ(run.tokenizer->state, TokenizerState::TagOpen);
        EXPECT_FALSE(run.tokenizer->atEndOfInput());
    }
    // Each turn: the tag open state finds the end, reports it as an unexpected
    // unit 0, emits '<' and steps back over it; the data state reads it again.
    const Events events = run.recorder->full();
    ASSERT_EQ(events.size(), 1000u);
    for (std::size_t index = 0; index < events.size(); index += 2) {
        EXPECT_EQ(events[index], "E5 char '\\u0000' @1:1");
        EXPECT_EQ(events[index + 1], "'<' @1:1");
    }
    EXPECT_EQ(run.tokenizer->currentTag, pending);
    EXPECT_TRUE(run.tokenizer->stream->lineEndColumns.empty());
}

TEST_F(TokenizerCore, TextEndingInAttributeNameAndOneSpaceNeverEnds)
{
    TokenizerRun run(u"<a\nb ");
    run.runSteps(5);
    ASSERT_EQ(run.tokenizer->state, TokenizerState::AfterAttributeName);
    ASSERT_EQ(run.recorder->events.size(), 0u);
    const TagTokenRef tag = run.tokenizer->currentTag;
    // The addresses of the attributes of the last two turns.
    const Attribute* previous = tag->currentAttribute.get();
    const Attribute* beforePrevious = nullptr;
    const std::size_t lines = run.tokenizer->stream->lineEndColumns.size();
    for (int turn = 0; turn < 500; ++turn) {
        // After attribute name at the end: back to data, then a new attribute
        // from the re-read unit 'b' and on to the attribute name state.
        run.runSteps(1);
        EXPECT_EQ(run.tokenizer->state, TokenizerState::AttributeName);
        EXPECT_EQ(run.tokenizer->previousState, TokenizerState::Data);
        // The space again: the new attribute is a duplicate of b.
        run.runSteps(1);
        EXPECT_EQ(run.tokenizer->state, TokenizerState::AfterAttributeName);
        EXPECT_EQ(run.tokenizer->currentTag, tag);
        EXPECT_EQ(tag->attributes.size(), 1u);
        // The duplicate of the turn before is gone (the first b is in the
        // map): each new attribute takes the block that the duplicate before
        // the last one gave back.
        EXPECT_EQ(tag->currentAttribute.use_count(), 1);
        if (turn > 1) {
            EXPECT_EQ(tag->currentAttribute.get(), beforePrevious);
        }
        beforePrevious = previous;
        previous = tag->currentAttribute.get();
        EXPECT_EQ(run.tokenizer->stream->lineEndColumns.size(), lines);
    }
    const Events events = run.recorder->full();
    ASSERT_EQ(events.size(), 1000u);
    for (std::size_t index = 0; index < events.size(); index += 2) {
        EXPECT_EQ(events[index], "E35 @2:2");
        EXPECT_EQ(events[index + 1], "E32 text \"b\" @1:2");
    }
}

TEST_F(TokenizerCore, TwoSpacesAfterTheAttributeNameEndNormally)
{
    EXPECT_EQ(tokenizeFull(u"<a b  "), (Events{"E35 @6:1", "' ' @6:1", "EOF @0:1"}));
}

TEST_F(TokenizerCore, TreeConstructorSwitchesDuringTheEmission)
{
    TokenizerRun run(u"<title><b>&amp;</title>x");
    run.enterOnStartTag(u"title", TokenizerState::Rcdata);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->compact(), (Events{"<title>", "\"<b>&\"", "</title>", "\"x\"", "EOF"}));
}

TEST_F(TokenizerCore, TreeConstructorMayDropALineFeedFromTheStream)
{
    TokenizerRun run(u"<textarea>\nx\n</textarea>");
    run.enterOnStartTag(u"textarea", TokenizerState::Rcdata, true, true);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->full(), (Events{"<textarea> @1:1", "'x' @1:2", "'\\u000A' @2:2",
                                            "</textarea> @2:3", "EOF @0:1"}));
}

TEST_F(TokenizerCore, DestructionReleasesThePendingTokens)
{
    std::weak_ptr<TagToken> pending;
    std::weak_ptr<TagToken> last;
    {
        TokenizerRun run(u"<a><b");
        ASSERT_TRUE(run.runToEnd());
        pending = run.tokenizer->currentTag;
        last = run.tokenizer->lastStartTag;
        run.recorder->tokens.clear();
        ASSERT_FALSE(pending.expired());
        ASSERT_FALSE(last.expired());
        run.tokenizer.reset();
    }
    EXPECT_TRUE(pending.expired());
    EXPECT_TRUE(last.expired());
}

TEST_F(TokenizerCore, ReportsChangeNothing)
{
    const std::u16string input(
        u"<a b=1 b=2 c=1?><!--x--!><!doctype X PUBLIC \"p\"></ x>&amp&nosuch;<p\0q>", 70);
    TokenizerRun withListener(input);
    ASSERT_TRUE(withListener.runToEnd());
    TokenizerRun withoutListener(input);
    withoutListener.source.errorListeners.clear();
    ASSERT_TRUE(withoutListener.runToEnd());

    Events emitted;
    for (const Event& event : withListener.recorder->events) {
        if (event.kind == Event::Kind::Error) continue;
        emitted.push_back(event.kind == Event::Kind::Token ? event.text : describeUnit(event.unit));
    }
    Events emittedAlone;
    for (const Event& event : withoutListener.recorder->events) {
        emittedAlone.push_back(event.kind == Event::Kind::Token ? event.text
                                                                : describeUnit(event.unit));
    }
    EXPECT_EQ(emitted, emittedAlone);
    EXPECT_EQ(withListener.recorder->errors(),
              (Events{"E32 text \"b\" @8:1", "E46 char '?' @15:1", "E65 @24:1", "E78 @45:1",
                      "E6 char ' ' @51:1", "E3 text \"amp\" @57:1",
                      "E3 span \"nosuc\" @58:1", "E16 @68:1"}));
    EXPECT_TRUE(withoutListener.recorder->errors().empty());
}

TEST_F(TokenizerCore, StreamNotOwnedIsLeftToItsOwner)
{
    SourceBuffer source;
    std::u16string text = u"ab";
    source.text = text.data();
    source.textLength = 2;
    auto tokenizer = std::make_unique<Tokenizer>(&source);
    CharacterStream* stream = tokenizer->stream;
    tokenizer->ownsStream = false;
    tokenizer.reset();
    // Still ours to use and to free.
    stream->consume();
    EXPECT_EQ(stream->current, u'a');
    delete stream;
}

}  // namespace
}  // namespace Parsers::Testing
