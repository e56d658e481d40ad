// The cursor over the text: consuming, stepping back, the end of input, and the
// line and column of the current unit across line feeds.
#include <gtest/gtest.h>

#include <string>

#include "recording.h"
#include "tokenizer/character_stream.h"

namespace Parsers::Testing {
namespace {

// A stream over `text`, which keeps its terminating zero behind the last unit.
struct StreamOver {
    explicit StreamOver(std::u16string input) : text(std::move(input)),
        stream(text.data(), static_cast<std::uint32_t>(text.size()))
    {
    }
    std::string where() const { return describePosition(stream.position); }

    std::u16string text;
    CharacterStream stream;
};

TEST(CharacterStream, StartsBeforeTheFirstUnit)
{
    StreamOver s(u"ab");
    EXPECT_EQ(s.stream.current, 0);
    EXPECT_EQ(s.stream.remaining, 2u);
    EXPECT_EQ(s.stream.length, 2u);
    EXPECT_EQ(s.where(), "@0:1");
    EXPECT_FALSE(s.stream.atEndOfInput());
    EXPECT_TRUE(s.stream.lineEndColumns.empty());
}

TEST(CharacterStream, FirstUnitIsColumnOneLineOne)
{
    StreamOver s(u"ab");
    s.stream.consume();
    EXPECT_EQ(s.stream.current, u'a');
    EXPECT_EQ(s.where(), "@1:1");
    EXPECT_EQ(s.stream.remaining, 1u);
    s.stream.consume();
    EXPECT_EQ(s.stream.current, u'b');
    EXPECT_EQ(s.where(), "@2:1");
}

TEST(CharacterStream, LineFeedCountsAtTheEndOfItsLine)
{
    StreamOver s(u"ab\ncd\n\ne");
    std::string trail;
    for (int index = 0; index < 8; ++index) {
        s.stream.consume();
        trail += describeUnit(s.stream.current) + s.where() + " ";
    }
    EXPECT_EQ(trail, "a@1:1 b@2:1 \\u000A@3:1 c@1:2 d@2:2 \\u000A@3:2 \\u000A@1:3 e@1:4 ");
    EXPECT_EQ(s.stream.lineEndColumns, (std::vector<std::uint32_t>{3, 3, 1}));
}

TEST(CharacterStream, ConsumeAtTheEndSetsCurrentToZeroAndNothingElse)
{
    StreamOver s(u"a");
    s.stream.consume();
    s.stream.consume();
    EXPECT_TRUE(s.stream.atEndOfInput());
    EXPECT_EQ(s.stream.current, 0);
    EXPECT_EQ(s.where(), "@1:1");
    s.stream.consume();
    EXPECT_EQ(s.where(), "@1:1");
    EXPECT_EQ(s.stream.remaining, 0u);
}

TEST(CharacterStream, NulAsLastUnitReadsAsTheEnd)
{
    StreamOver s(std::u16string(u"a\0", 2));
    s.stream.consume();
    EXPECT_FALSE(s.stream.atEndOfInput());
    s.stream.consume();
    EXPECT_EQ(s.stream.current, 0);
    EXPECT_TRUE(s.stream.atEndOfInput());

    StreamOver middle(std::u16string(u"\0a", 2));
    middle.stream.consume();
    EXPECT_EQ(middle.stream.current, 0);
    EXPECT_FALSE(middle.stream.atEndOfInput());
}

TEST(CharacterStream, EmptyTextIsAtTheEndFromTheStart)
{
    StreamOver s(u"");
    EXPECT_TRUE(s.stream.atEndOfInput());
    s.stream.unconsume();
    EXPECT_EQ(s.stream.remaining, 0u);
    EXPECT_EQ(s.where(), "@0:1");
}

TEST(CharacterStream, UnconsumeStepsBackToTheUnitBefore)
{
    StreamOver s(u"abc");
    s.stream.consume();
    s.stream.consume();
    s.stream.unconsume();
    EXPECT_EQ(s.stream.current, u'a');
    EXPECT_EQ(s.where(), "@1:1");
    EXPECT_EQ(s.stream.remaining, 2u);
    s.stream.consume();
    EXPECT_EQ(s.stream.current, u'b');
    EXPECT_EQ(s.where(), "@2:1");
}

TEST(CharacterStream, UnconsumeToTheStartLeavesNoCurrent)
{
    StreamOver s(u"ab");
    s.stream.consume();
    s.stream.unconsume();
    EXPECT_EQ(s.stream.current, 0);
    EXPECT_EQ(s.where(), "@0:1");
    EXPECT_EQ(s.stream.remaining, 2u);
    // At the start there is nothing to step back over.
    s.stream.unconsume();
    EXPECT_EQ(s.stream.remaining, 2u);
    EXPECT_EQ(s.where(), "@0:1");
}

TEST(CharacterStream, UnconsumeOntoALineFeedRestoresItsLineAndColumn)
{
    StreamOver s(u"ab\ncd");
    for (int index = 0; index < 4; ++index) s.stream.consume();
    ASSERT_EQ(s.where(), "@1:2");
    s.stream.unconsume();
    EXPECT_EQ(s.stream.current, u'\n');
    EXPECT_EQ(s.where(), "@3:1");
    EXPECT_TRUE(s.stream.lineEndColumns.empty());
    s.stream.consume();
    EXPECT_EQ(s.stream.current, u'c');
    EXPECT_EQ(s.where(), "@1:2");
}

TEST(CharacterStream, UnconsumeAtTheEndStepsBackOverTheLastRealUnit)
{
    StreamOver s(u"ab");
    s.stream.consume();
    s.stream.consume();
    s.stream.consume();
    ASSERT_TRUE(s.stream.atEndOfInput());
    s.stream.unconsume();
    // The pseudo-unit 0 cannot be stepped back over: the 'b' is given back.
    EXPECT_EQ(s.stream.current, u'a');
    EXPECT_EQ(s.where(), "@1:1");
    EXPECT_EQ(s.stream.remaining, 1u);
    s.stream.consume();
    EXPECT_EQ(s.stream.current, u'b');
    EXPECT_EQ(s.where(), "@2:1");
}

TEST(CharacterStream, PeekTextCopiesWithoutMovingAndIsCutToWhatIsLeft)
{
    StreamOver s(u"abcd");
    s.stream.consume();
    EXPECT_EQ(s.stream.peekText(2), u"bc");
    EXPECT_EQ(s.stream.peekText(10), u"bcd");
    EXPECT_EQ(s.stream.peekText(0), u"");
    EXPECT_EQ(s.stream.current, u'a');
    EXPECT_EQ(s.stream.remaining, 3u);
    EXPECT_EQ(s.stream.peekUnit(), u'b');
}

TEST(CharacterStream, ConsumeTextTakesUnitsWithTheirPositions)
{
    StreamOver s(u"a\nbcd");
    EXPECT_EQ(s.stream.consumeText(3), u"a\nb");
    EXPECT_EQ(s.stream.current, u'b');
    EXPECT_EQ(s.where(), "@1:2");
    EXPECT_EQ(s.stream.consumeText(9), u"cd");
    EXPECT_EQ(s.stream.remaining, 0u);
    EXPECT_EQ(s.stream.current, u'd');
    EXPECT_FALSE(s.stream.atEndOfInput());
    EXPECT_EQ(s.stream.consumeText(1), u"");
    EXPECT_EQ(s.stream.current, u'd');
}

TEST(CharacterStream, SkipMovesLikeConsumeText)
{
    StreamOver s(u"abc\n");
    s.stream.skip(4);
    EXPECT_EQ(s.stream.current, u'\n');
    EXPECT_EQ(s.where(), "@4:1");
    EXPECT_EQ(s.stream.peekUnit(), 0);
}

TEST(CharacterStream, ReadsOnlyItsOwnLength)
{
    // A stream over the first two units of a longer buffer ends after them.
    const std::u16string text = u"abXYZ";
    CharacterStream stream(text.data(), 2);
    stream.consume();
    stream.consume();
    EXPECT_EQ(stream.peekText(5), u"");
    stream.consume();
    EXPECT_TRUE(stream.atEndOfInput());
}

}  // namespace
}  // namespace Parsers::Testing
