// Comments, bogus comments, the markup declaration and CDATA sections.
#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "tokenizer_run.h"

namespace Parsers::Testing {
namespace {

using CommentStates = TokenizerTest;

// Runs with a tree constructor that answers the CDATA question with `answer`.
Events tokenizeWithCurrentNode(std::u16string_view input, std::optional<NamespaceId> answer,
                               int* questions = nullptr)
{
    TokenizerRun run(input);
    FixedCurrentNode tree(answer);
    run.tokenizer->treeConstructor = &tree;
    if (!run.runToEnd()) return {"NO END"};
    if (questions) *questions = tree.questions;
    return run.recorder->compact();
}

TEST_F(CommentStates, PlainComment)
{
    EXPECT_EQ(tokenize(u"<!--a b-->x"), (Events{"<!--a b-->", "\"x\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!--a-b--->"), (Events{"E66", "<!--a-b--->", "EOF"}));
}

TEST_F(CommentStates, CommentBeginsWhereTheStreamStandsAfterItsDashes)
{
    EXPECT_EQ(tokenizeFull(u"\n<!--a-->"), (Events{"'\\u000A' @1:1", "<!--a--> @4:2", "EOF @0:1"}));
}

TEST_F(CommentStates, EmptyCommentWithReport)
{
    EXPECT_EQ(tokenize(u"<!-->"), (Events{"E57", "<!---->", "EOF"}));
}

TEST_F(CommentStates, StartDashGoesStraightToTheEndState)
{
    EXPECT_EQ(tokenize(u"<!--->"), (Events{"<!---->", "EOF"}));
    EXPECT_EQ(tokenize(u"<!---->"), (Events{"E66", "<!----->", "EOF"}));
    EXPECT_EQ(tokenize(u"<!---a-->"), (Events{"E63 char 'a'", "<!----a-->", "EOF"}));
    TokenizerRun run(u"<!---");
    run.runSteps(5);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::CommentEnd);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::CommentStartDash);
    EXPECT_EQ(run.tokenizer->stream->current, u'-');
    EXPECT_EQ(run.tokenizer->stream->remaining, 0u);
}

TEST_F(CommentStates, CommentAtTheEndRereadsItsLastUnit)
{
    EXPECT_EQ(tokenizeFull(u"<!-- a"), (Events{"E58 @6:1", "<!-- a--> @4:1", "'a' @6:1", "EOF @0:1"}));
}

TEST_F(CommentStates, EndOfInputInEachCommentState)
{
    EXPECT_EQ(tokenize(u"<!--"), (Events{"E52", "<!---->", "\"-\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!--a-"), (Events{"E60", "<!--a-->", "\"-\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!--a--"), (Events{"E62", "<!--a-->", "\"-\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!--a--!"), (Events{"E65", "E67", "<!--a-->", "\"!\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!---"), (Events{"E62", "<!---->", "\"-\"", "EOF"}));
}

TEST_F(CommentStates, NulsAreReplacedWithTheirDashes)
{
    EXPECT_EQ(tokenize(std::u16string(u"<!--\0-->", 8)), (Events{"E56", "<!--\\uFFFD-->", "EOF"}));
    EXPECT_EQ(tokenize(std::u16string(u"<!--a\0-->", 9)), (Events{"E59", "<!--a\\uFFFD-->", "EOF"}));
    EXPECT_EQ(tokenize(std::u16string(u"<!--a-\0-->", 10)),
              (Events{"E61", "<!--a-\\uFFFD-->", "EOF"}));
    EXPECT_EQ(tokenize(std::u16string(u"<!--a--\0-->", 11)),
              (Events{"E64", "<!--a--\\uFFFD-->", "EOF"}));
    EXPECT_EQ(tokenize(std::u16string(u"<!--a--!\0-->", 12)),
              (Events{"E65", "E68", "<!--a--!\\uFFFD-->", "EOF"}));
}

TEST_F(CommentStates, CommentEndRows)
{
    EXPECT_EQ(tokenize(u"<!--a--!>"), (Events{"E65", "<!--a-->", "EOF"}));
    EXPECT_EQ(tokenize(u"<!--a--!-b-->"), (Events{"E65", "<!--a--!-b-->", "EOF"}));
    EXPECT_EQ(tokenize(u"<!--a--!x-->"), (Events{"E65", "<!--a--!x-->", "EOF"}));
    EXPECT_EQ(tokenize(u"<!--a--b-->"), (Events{"E63 char 'b'", "<!--a--b-->", "EOF"}));
    EXPECT_EQ(tokenize(u"<!--a--->"), (Events{"E66", "<!--a--->", "EOF"}));
}

TEST_F(CommentStates, MarkupDeclarationWithoutCommentOrDoctype)
{
    EXPECT_EQ(tokenize(u"<!x>y"), (Events{"E51 char '!'", "\"y\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!>y"), (Events{"E51 char '!'", "\"y\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!-x>"), (Events{"E51 char '!'", "EOF"}));
}

TEST_F(CommentStates, CaseFoldingModeKeepsBogusCommentsFromTheUnitThatLedThere)
{
    EXPECT_EQ(tokenize(u"<!x>y", kCaseFoldingMode), (Events{"E51 char '!'", "<!--!x-->", "\"y\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!>", kCaseFoldingMode), (Events{"E51 char '!'", "<!--!-->", "EOF"}));
    EXPECT_EQ(tokenize(u"</1>", kCaseFoldingMode), (Events{"E6 char '1'", "<!--1-->", "EOF"}));
    EXPECT_EQ(tokenizeFull(u"a<?b\nc>", kCaseFoldingMode),
              (Events{"'a' @1:1", "E7 @3:1", "<!--?b\\u000Ac--> @3:1", "EOF @0:1"}));
}

TEST_F(CommentStates, BogusCommentAtTheEndRereadsItsLastUnit)
{
    EXPECT_EQ(tokenize(u"<?ab"), (Events{"E7", "\"b\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<?ab", kCaseFoldingMode), (Events{"E7", "<!--?ab-->", "\"b\"", "EOF"}));
}

TEST_F(CommentStates, BogusCommentRunsInOneStep)
{
    TokenizerRun run(u"<?abc>d");
    run.runSteps(3);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::Data);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::BogusComment);
    EXPECT_EQ(run.tokenizer->stream->current, u'>');
}

TEST_F(CommentStates, BogusCommentKeepsNulAsItStands)
{
    EXPECT_EQ(tokenize(std::u16string(u"<?a\0b>", 6), kCaseFoldingMode),
              (Events{"E7", "<!--?a\\u0000b-->", "EOF"}));
}

TEST_F(CommentStates, CdataWithoutTreeConstructorIsABogusComment)
{
    EXPECT_EQ(tokenize(u"<![CDATA[x]]>y"), (Events{"E51 char '!'", "\"y\"", "EOF"}));
}

TEST_F(CommentStates, CdataNeedsACurrentNodeOutsideHtml)
{
    int questions = 0;
    EXPECT_EQ(tokenizeWithCurrentNode(u"<![CDATA[x]]>", std::nullopt, &questions),
              (Events{"E51 char '!'", "EOF"}));
    EXPECT_EQ(questions, 1);
    EXPECT_EQ(tokenizeWithCurrentNode(u"<![CDATA[x]]>", NamespaceId::Html),
              (Events{"E51 char '!'", "EOF"}));
    EXPECT_EQ(tokenizeWithCurrentNode(u"<![CDATA[x]]>", NamespaceId::None),
              (Events{"\"x\"", "EOF"}));
    EXPECT_EQ(tokenizeWithCurrentNode(u"<![CDATA[x]]>", NamespaceId::Svg), (Events{"\"x\"", "EOF"}));
    EXPECT_EQ(tokenizeWithCurrentNode(u"<![CDATA[x]]>", NamespaceId::MathMl),
              (Events{"\"x\"", "EOF"}));
}

TEST_F(CommentStates, CdataOpeningIsMatchedExactly)
{
    EXPECT_EQ(tokenizeWithCurrentNode(u"<![cdata[x]]>", NamespaceId::None),
              (Events{"E51 char '!'", "EOF"}));
}

TEST_F(CommentStates, CommentAndDoctypeAreFoundBeforeTheCurrentNodeIsAsked)
{
    int questions = 0;
    EXPECT_EQ(tokenizeWithCurrentNode(u"<!--x--><!doctype a>", NamespaceId::None, &questions),
              (Events{"<!--x-->", "<!DOCTYPE a>", "EOF"}));
    EXPECT_EQ(questions, 0);
}

TEST_F(CommentStates, CdataDeliversEverythingUnfiltered)
{
    EXPECT_EQ(tokenizeWithCurrentNode(std::u16string(u"<![CDATA[a\0<b>&amp;]]]>c", 24),
                                      NamespaceId::None),
              (Events{"\"a\\u0000<b>&amp;]c\"", "EOF"}));
}

TEST_F(CommentStates, CdataRunsInOneStep)
{
    TokenizerRun run(u"<![CDATA[abc]]>d");
    FixedCurrentNode tree(NamespaceId::Svg);
    run.tokenizer->treeConstructor = &tree;
    run.runSteps(4);
    EXPECT_EQ(run.recorder->full(), (Events{"'a' @10:1", "'b' @11:1", "'c' @12:1"}));
    EXPECT_EQ(run.tokenizer->state, TokenizerState::Data);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::CdataSection);
}

TEST_F(CommentStates, CdataAtTheEndDeliversZeroOnceAndRereadsTheLastUnit)
{
    EXPECT_EQ(tokenizeWithCurrentNode(u"<![CDATA[x", NamespaceId::None),
              (Events{"\"x\\u0000x\"", "EOF"}));
    EXPECT_EQ(tokenizeWithCurrentNode(u"<![CDATA[", NamespaceId::None),
              (Events{"\"\\u0000[\"", "EOF"}));
    EXPECT_EQ(tokenizeWithCurrentNode(u"<![CDATA[x]]", NamespaceId::None),
              (Events{"\"x]]\\u0000]\"", "EOF"}));
}

}  // namespace
}  // namespace Parsers::Testing
