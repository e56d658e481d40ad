// The encoding prescan: which meta declarations it honours, what ends it, and
// its cursor, markup classes, attribute reading and content parsing.

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "encoding/prescan.h"

namespace Parsers {
namespace {

// The code pages asked of the decoder during the last prescan.
std::vector<unsigned> requestedPages;
// Pages the recording decoder refuses (returns 0 for).
std::set<unsigned> refusedPages;

// Decodes every page but the refused ones as one unit per byte.
int recordingDecoder(unsigned codePage, unsigned long, const char* bytes, int byteCount, char16_t* out, int)
{
    requestedPages.push_back(codePage);
    if (refusedPages.count(codePage) != 0 || byteCount <= 0) return 0;
    for (int i = 0; i < byteCount; ++i) out[i] = static_cast<unsigned char>(bytes[i]);
    return byteCount;
}

class Prescan : public ::testing::Test {
protected:
    void SetUp() override
    {
        requestedPages.clear();
        refusedPages.clear();
    }

    // Runs the prescan over the document and returns the pages it asked for.
    std::vector<unsigned> pagesFor(const std::string& document)
    {
        bytes.assign(document.begin(), document.end());
        bytes.resize(document.size() + 4, 0);
        source = SourceBuffer();
        source.rawBytes = bytes.data();
        source.rawSize = static_cast<std::uint32_t>(document.size());
        prescanEncoding(source, recordingDecoder);
        return requestedPages;
    }

    std::vector<std::uint8_t> bytes;
    SourceBuffer source;
};

using Pages = std::vector<unsigned>;

TEST_F(Prescan, NoDeclarationAsksForNothing)
{
    EXPECT_EQ(pagesFor("<html><head><title>x</title></head><body>text</body></html>"), Pages{});
    EXPECT_EQ(source.text, nullptr);
    EXPECT_EQ(pagesFor(""), Pages{});
    EXPECT_EQ(pagesFor("<"), Pages{});
    EXPECT_EQ(pagesFor("plain text, no markup"), Pages{});
}

TEST_F(Prescan, CharsetAttributeSelectsItsPage)
{
    EXPECT_EQ(pagesFor("<meta charset=\"utf-8\">"), Pages{65001});
    ASSERT_NE(source.text, nullptr);
    EXPECT_EQ(source.codePage, 1200);
    EXPECT_EQ(source.textLength, 22u);
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<head><meta charset=windows-1252></head>"), Pages{1252});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta charset='koi8-r'>"), Pages{20866});
}

TEST_F(Prescan, NamesAndValuesAreFoldedToLowerCase)
{
    EXPECT_EQ(pagesFor("<META CHARSET=UTF-8>"), Pages{65001});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<MeTa ChArSeT=\"Windows-1250\">"), Pages{1250});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; CHARSET=ISO-8859-2\">"), Pages{28592});
}

TEST_F(Prescan, ContentNeedsHttpEquiv)
{
    EXPECT_EQ(pagesFor("<meta content=\"text/html; charset=iso-8859-2\"><meta charset=koi8-r>"), Pages{20866});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta http-equiv=\"content-type\" content=\"text/html; charset=iso-8859-2\">"), Pages{28592});
    requestedPages.clear();
    // An http-equiv of another value is no pragma.
    EXPECT_EQ(pagesFor("<meta http-equiv=refresh content=\"text/html; charset=iso-8859-2\">"), Pages{});
}

TEST_F(Prescan, HttpEquivAfterContentStillCounts)
{
    EXPECT_EQ(pagesFor("<meta content=\"text/html;charset=koi8-r\" http-equiv=content-type>"), Pages{20866});
}

TEST_F(Prescan, ContentWithoutCharsetWipesAnEarlierCharset)
{
    EXPECT_EQ(pagesFor("<meta charset=koi8-r content=\"text/html\">"), Pages{});
    EXPECT_EQ(source.text, nullptr);
    // The tag gives nothing, and the search goes on to the next one.
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta charset=koi8-r content=\"text/html\"><meta charset=utf-8>"), Pages{65001});
}

TEST_F(Prescan, CharsetThatIsNoLabelWipesAnEarlierContent)
{
    EXPECT_EQ(pagesFor("<meta content=\"text/html; charset=utf-8\" charset=bogus http-equiv=content-type>"), Pages{});
}

TEST_F(Prescan, LastLabelWinsButContentStillNeedsThePragma)
{
    EXPECT_EQ(pagesFor("<meta charset=koi8-r content=\"text/html; charset=utf-8\">"), Pages{});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta content=\"text/html; charset=utf-8\" charset=koi8-r http-equiv=content-type>"),
              Pages{20866});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta content=\"text/html; charset=utf-8\" charset=koi8-r>"), Pages{});
}

TEST_F(Prescan, SecondAttributeOfTheSameNameIsIgnored)
{
    EXPECT_EQ(pagesFor("<meta charset=koi8-r charset=utf-8>"), Pages{20866});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta CHARSET=koi8-r charset=utf-8>"), Pages{20866});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta http-equiv=content-type content=\"charset=koi8-r\" content=\"charset=utf-8\">"),
              Pages{20866});
}

TEST_F(Prescan, MetalIsNoMetaTag)
{
    EXPECT_EQ(pagesFor("<metal charset=utf-8>"), Pages{});
    EXPECT_EQ(pagesFor("<meta>"), Pages{});
    EXPECT_EQ(pagesFor("<metacharset=utf-8>"), Pages{});
    EXPECT_EQ(pagesFor("</meta charset=utf-8>"), Pages{});
}

TEST_F(Prescan, MetaNameEndsAtSpaceBytesOrSlash)
{
    EXPECT_EQ(pagesFor("<meta/charset=utf-8>"), Pages{65001});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta\x0B" "charset=utf-8>"), Pages{65001});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta\ncharset=utf-8>"), Pages{65001});
}

TEST_F(Prescan, MetaReachingTheEndOfDataGivesNothing)
{
    EXPECT_EQ(pagesFor("<meta charset=utf-8"), Pages{});
    EXPECT_EQ(pagesFor("<meta charset=\"utf-8\""), Pages{});
    EXPECT_EQ(pagesFor("<meta charset=utf-8 "), Pages{});
    EXPECT_EQ(pagesFor("<meta charset=\"utf-8"), Pages{});
    EXPECT_EQ(pagesFor("<meta charset="), Pages{});
    EXPECT_EQ(pagesFor("<meta "), Pages{});
    // Closed by its ">", the same declaration counts.
    EXPECT_EQ(pagesFor("<meta charset=utf-8>"), Pages{65001});
}

TEST_F(Prescan, FailingCodePageStillEndsThePrescan)
{
    refusedPages = {20866};
    EXPECT_EQ(pagesFor("<meta charset=koi8-r><meta charset=utf-8>"), Pages{20866});
    EXPECT_EQ(source.text, nullptr);
    EXPECT_EQ(source.codePage, -1);
}

TEST_F(Prescan, Gb18030FallsBackTo936)
{
    refusedPages = {54936};
    EXPECT_EQ(pagesFor("<meta charset=gb18030>"), (Pages{54936, 936}));
    EXPECT_NE(source.text, nullptr);
}

TEST_F(Prescan, UnknownLabelsAreAsIfThereWereNoCharset)
{
    EXPECT_EQ(pagesFor("<meta charset=utf-16><meta charset=x-user-defined><meta charset=koi8-r>"), Pages{20866});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta charset=\" utf-8\"><meta charset=utf-8>"), Pages{65001});
}

TEST_F(Prescan, UnclosedCommentHidesTheRest)
{
    EXPECT_EQ(pagesFor("<!-- <meta charset=utf-8>"), Pages{});
    EXPECT_EQ(pagesFor("<!-- -- > <meta charset=utf-8>"), Pages{});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<!-- x --> <meta charset=utf-8>"), Pages{65001});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<!-- <meta charset=koi8-r> --><meta charset=utf-8>"), Pages{65001});
}

TEST_F(Prescan, ZeroByteInACommentEndsThePrescan)
{
    EXPECT_EQ(pagesFor(std::string("<!-- \0 --><meta charset=utf-8>", 31)), Pages{});
    // Outside a comment a zero byte is just a byte.
    EXPECT_EQ(pagesFor(std::string("a\0<meta charset=utf-8>", 23)), Pages{65001});
}

TEST_F(Prescan, CommentOpenedAndClosedAtOnce)
{
    // The search starts on the "!", so "<!-->" and "<!--->" are whole comments.
    EXPECT_EQ(pagesFor("<!--><meta charset=utf-8>"), Pages{65001});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<!---><meta charset=koi8-r>"), Pages{20866});
}

TEST_F(Prescan, DeclarationsAndProcessingInstructionsAreSkipped)
{
    EXPECT_EQ(pagesFor("<!DOCTYPE html><meta charset=utf-8>"), Pages{65001});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<?xml version=\"1.0\" encoding=\"koi8-r\"?><meta charset=utf-8>"), Pages{65001});
    requestedPages.clear();
    // The declaration runs to the first ">", which here closes the meta tag.
    EXPECT_EQ(pagesFor("<!DOCTYPE <meta charset=utf-8>"), Pages{});
    EXPECT_EQ(pagesFor("<!DOCTYPE html"), Pages{});
    EXPECT_EQ(pagesFor("</ <meta charset=utf-8>"), Pages{});
}

TEST_F(Prescan, AttributeValuesOfOtherTagsAreNotLookedInto)
{
    EXPECT_EQ(pagesFor("<div title=\"<meta charset=utf-8>\">x</div>"), Pages{});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<div title=\"<meta charset=utf-8>\"><meta charset=koi8-r>"), Pages{20866});
}

TEST_F(Prescan, SpaceAroundTheEqualsSignAndValuelessAttributes)
{
    EXPECT_EQ(pagesFor("<meta charset = \"utf-8\">"), Pages{65001});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta foo charset=koi8-r>"), Pages{20866});
    requestedPages.clear();
    EXPECT_EQ(pagesFor("<meta / charset=koi8-r / >"), Pages{20866});
}

TEST_F(Prescan, HasNoLimitOnHowFarItReads)
{
    std::string document = "<html><head>";
    for (int i = 0; i < 20000; ++i) document += "<p class=x>filler text</p>\n";
    document += "<meta charset=koi8-r>";
    EXPECT_EQ(pagesFor(document), Pages{20866});
}

TEST_F(Prescan, ASecondPrescanOfADecodedSourceDoesNothing)
{
    pagesFor("<meta charset=utf-8>");
    ASSERT_EQ(source.codePage, 1200);
    // The source has a text; a page of 1200 would be a no-op, any other decodes again.
    prescanEncoding(source, recordingDecoder);
    EXPECT_EQ(requestedPages, (Pages{65001, 65001}));
}

TEST(PrescanCursor, AdvanceTracksLinesAndEndsOneStepLate)
{
    const std::uint8_t bytes[] = {'a', '\n', 'b'};
    PrescanCursor cursor(bytes, 3);
    EXPECT_FALSE(cursor.atEnd());
    EXPECT_EQ(cursor.peek(), 'a');
    EXPECT_EQ(cursor.current, 0);
    cursor.advance();
    EXPECT_EQ(cursor.current, 'a');
    EXPECT_EQ(cursor.column, 1u);
    cursor.advance();
    EXPECT_EQ(cursor.current, '\n');
    EXPECT_EQ(cursor.column, 2u);
    cursor.advance();
    EXPECT_EQ(cursor.current, 'b');
    EXPECT_EQ(cursor.line, 2u);
    EXPECT_EQ(cursor.column, 1u);
    EXPECT_EQ(cursor.lineEndColumns, std::vector<std::uint32_t>{2});
    // The last byte is consumed, yet the cursor is not at the end.
    EXPECT_EQ(cursor.remaining, 0u);
    EXPECT_EQ(cursor.peek(), 0);
    EXPECT_FALSE(cursor.atEnd());
    cursor.advance();
    EXPECT_TRUE(cursor.atEnd());
    EXPECT_EQ(cursor.column, 1u);
    EXPECT_FALSE(cursor.finished);
}

TEST(PrescanCursor, AdvanceByIsThatManyAdvances)
{
    std::mt19937 random(99);
    for (int round = 0; round < 500; ++round) {
        std::vector<std::uint8_t> bytes(1 + random() % 64);
        for (std::uint8_t& byte : bytes) byte = "ab\n<"[random() % 4];
        PrescanCursor stepped(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        PrescanCursor jumped(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        while (stepped.remaining != 0) {
            const std::uint32_t count = 1 + random() % stepped.remaining;
            for (std::uint32_t i = 0; i < count; ++i) stepped.advance();
            jumped.advanceBy(count);
            ASSERT_EQ(jumped.next, stepped.next);
            ASSERT_EQ(jumped.remaining, stepped.remaining);
            ASSERT_EQ(jumped.current, stepped.current);
            ASSERT_EQ(jumped.line, stepped.line);
            ASSERT_EQ(jumped.column, stepped.column);
            ASSERT_EQ(jumped.lineEndColumns, stepped.lineEndColumns);
        }
    }
}

MarkupKind classify(const std::string& text)
{
    PrescanCursor cursor(reinterpret_cast<const std::uint8_t*>(text.data()), static_cast<std::uint32_t>(text.size()));
    return classifyMarkup(cursor);
}

TEST(ClassifyMarkup, TellsTheFiveKindsApart)
{
    EXPECT_EQ(classify("<!--"), MarkupKind::Comment);
    EXPECT_EQ(classify("<!-->"), MarkupKind::Comment);
    EXPECT_EQ(classify("<meta "), MarkupKind::MetaTag);
    EXPECT_EQ(classify("<META/"), MarkupKind::MetaTag);
    EXPECT_EQ(classify("<mEtA\t"), MarkupKind::MetaTag);
    EXPECT_EQ(classify("<meta"), MarkupKind::Tag);
    EXPECT_EQ(classify("<meta>"), MarkupKind::Tag);
    EXPECT_EQ(classify("<metal"), MarkupKind::Tag);
    EXPECT_EQ(classify("<p"), MarkupKind::Tag);
    EXPECT_EQ(classify("</p"), MarkupKind::Tag);
    EXPECT_EQ(classify("<Z"), MarkupKind::Tag);
    EXPECT_EQ(classify("<!-"), MarkupKind::Declaration);
    EXPECT_EQ(classify("<!DOCTYPE"), MarkupKind::Declaration);
    EXPECT_EQ(classify("<?xml"), MarkupKind::Declaration);
    EXPECT_EQ(classify("</"), MarkupKind::Declaration);
    EXPECT_EQ(classify("</1"), MarkupKind::Declaration);
    EXPECT_EQ(classify("<"), MarkupKind::Other);
    EXPECT_EQ(classify("<1"), MarkupKind::Other);
    EXPECT_EQ(classify("< p"), MarkupKind::Other);
    EXPECT_EQ(classify("x"), MarkupKind::Other);
    EXPECT_EQ(classify(""), MarkupKind::Other);
}

TEST(ClassifyMarkup, MetaComparesUnderTheCaseMask)
{
    // Each byte is compared with bit 0x20 masked off on both sides.
    EXPECT_EQ(classify("<MEta "), MarkupKind::MetaTag);
    EXPECT_EQ(classify("<m\xC5ta "), MarkupKind::Tag);
    EXPECT_EQ(static_cast<int>(MarkupKind::Comment), 0);
    EXPECT_EQ(static_cast<int>(MarkupKind::Other), 4);
}

TEST(ClassifyMarkup, ConsumesOnlyTheOpeningBracket)
{
    const std::string text = "<!--x";
    PrescanCursor cursor(reinterpret_cast<const std::uint8_t*>(text.data()), 5);
    EXPECT_EQ(classifyMarkup(cursor), MarkupKind::Comment);
    EXPECT_EQ(cursor.current, '<');
    EXPECT_EQ(cursor.remaining, 4u);
    EXPECT_EQ(cursor.peek(), '!');
}

struct AttributeRead {
    std::string name;
    std::string value;
    bool finished;
};

AttributeRead readAttribute(const std::string& text)
{
    PrescanCursor cursor(reinterpret_cast<const std::uint8_t*>(text.data()), static_cast<std::uint32_t>(text.size()));
    const NarrowAttribute attribute = readPrescanAttribute(cursor);
    return {attribute.name, attribute.value, cursor.finished};
}

TEST(ReadPrescanAttribute, ReadsNamesAndValuesLowerCased)
{
    AttributeRead read = readAttribute(" Charset=\"UTF-8\">");
    EXPECT_EQ(read.name, "charset");
    EXPECT_EQ(read.value, "utf-8");
    EXPECT_FALSE(read.finished);
    read = readAttribute("a='B C'>");
    EXPECT_EQ(read.value, "b c");
    read = readAttribute("//x=Y z");
    EXPECT_EQ(read.name, "x");
    EXPECT_EQ(read.value, "y");
    // A leading "=" belongs to the name.
    read = readAttribute("=a=b>");
    EXPECT_EQ(read.name, "=a");
    EXPECT_EQ(read.value, "b");
    // Bytes above 0x7F stay as they are.
    read = readAttribute("\xC4x=\xC4Y>");
    EXPECT_EQ(read.name, "\xC4x");
    EXPECT_EQ(read.value, "\xC4y");
}

TEST(ReadPrescanAttribute, EmptyAtTheTagEndAndAtTheEndOfData)
{
    AttributeRead read = readAttribute("  >");
    EXPECT_EQ(read.name, "");
    EXPECT_FALSE(read.finished);
    read = readAttribute("a b>");
    EXPECT_EQ(read.name, "a");
    EXPECT_EQ(read.value, "");
    read = readAttribute("a>");
    EXPECT_EQ(read.name, "a");
    EXPECT_FALSE(read.finished);
    read = readAttribute("a = >");
    EXPECT_EQ(read.name, "a");
    EXPECT_EQ(read.value, "");
    read = readAttribute("a=b");
    EXPECT_EQ(read.value, "b");
    EXPECT_TRUE(read.finished);
}

TEST(ReadPrescanAttribute, AttributeIdIsUnknownAndPositionIsTheCursors)
{
    const std::string text = "\nab=c";
    PrescanCursor cursor(reinterpret_cast<const std::uint8_t*>(text.data()), 5);
    cursor.advance();
    cursor.advance();
    const NarrowAttribute attribute = readPrescanAttribute(cursor);
    EXPECT_EQ(attribute.attributeId, AttributeId::Unknown);
    EXPECT_EQ(attribute.position.line, 2u);
    EXPECT_EQ(attribute.position.column, 1u);
}

std::string readValue(const std::string& text, bool* finished = nullptr)
{
    PrescanCursor cursor(reinterpret_cast<const std::uint8_t*>(text.data()), static_cast<std::uint32_t>(text.size()));
    std::string value = readPrescanValue(cursor);
    if (finished) *finished = cursor.finished;
    return value;
}

TEST(ReadPrescanValue, QuotedUnquotedAndEmpty)
{
    EXPECT_EQ(readValue("  \"A>B\" x"), "a>b");
    EXPECT_EQ(readValue("'it\"s'"), "it\"s");
    EXPECT_EQ(readValue("\"unclosed"), "unclosed");
    EXPECT_EQ(readValue(">"), "");
    EXPECT_EQ(readValue("AbC>"), "abc");
    EXPECT_EQ(readValue("a\"b c"), "a\"b");
    bool finished = false;
    EXPECT_EQ(readValue("tail", &finished), "tail");
    EXPECT_TRUE(finished);
    EXPECT_EQ(readValue("", &finished), "");
    EXPECT_TRUE(finished);
}

TEST(SkipTagAttributes, StopsOnTheClosingBracket)
{
    const std::string text = "<div a=1 b='>' c>rest";
    PrescanCursor cursor(reinterpret_cast<const std::uint8_t*>(text.data()), static_cast<std::uint32_t>(text.size()));
    ASSERT_EQ(classifyMarkup(cursor), MarkupKind::Tag);
    skipTagAttributes(cursor);
    EXPECT_EQ(cursor.peek(), '>');
    EXPECT_EQ(cursor.remaining, 5u);
    EXPECT_FALSE(cursor.finished);
}

std::string labelOf(const std::string& content)
{
    const CharsetRow* row = extractCharset(content);
    return row ? row->label : "(none)";
}

TEST(ExtractCharset, FindsTheLabelAfterCharsetEquals)
{
    EXPECT_EQ(labelOf("text/html; charset=utf-8"), "utf-8");
    EXPECT_EQ(labelOf("text/html;charset=koi8-r;foo"), "koi8-r");
    EXPECT_EQ(labelOf("charset = \t\n\f\r utf-8 x"), "utf-8");
    EXPECT_EQ(labelOf("charset='iso-8859-2'"), "iso-8859-2");
    EXPECT_EQ(labelOf("charset=\"big5\" more"), "big5");
    EXPECT_EQ(labelOf("xcharsetcharset=latin1"), "latin1");
    EXPECT_EQ(labelOf("charsetcharset=latin2"), "latin2");
    EXPECT_EQ(labelOf("charset x charset=us"), "us");
}

TEST(ExtractCharset, GivesNothingWithoutAUsableLabel)
{
    EXPECT_EQ(labelOf("text/html"), "(none)");
    EXPECT_EQ(labelOf("charset"), "(none)");
    EXPECT_EQ(labelOf("charset  "), "(none)");
    EXPECT_EQ(labelOf("charset="), "(none)");
    EXPECT_EQ(labelOf("charset=  "), "(none)");
    EXPECT_EQ(labelOf("charset=\"utf-8"), "(none)");
    EXPECT_EQ(labelOf("charset=\"\""), "(none)");
    // Quoted labels are taken as they stand: no trimming.
    EXPECT_EQ(labelOf("charset=\" utf-8\""), "(none)");
    // 0x0B is no separator here.
    EXPECT_EQ(labelOf("charset=\x0Butf-8"), "(none)");
    EXPECT_EQ(labelOf("charset=utf-8\x0B"), "(none)");
    EXPECT_EQ(labelOf("charsetx=utf-8"), "(none)");
    EXPECT_EQ(labelOf("charset=utf-16"), "(none)");
    EXPECT_EQ(labelOf(""), "(none)");
}

}  // namespace
}  // namespace Parsers
