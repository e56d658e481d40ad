// The result codes of DOM_ParseGuarded where DOM_Parse does not come back:
// texts that can never be read to their end (5), finished trees without a
// body to lift (4), byte order marks with no text behind them (6). The
// inputs are those that end or hold the process under DOM_Parse; the limits
// suite pins that side.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "domparse.h"
#include "support/padded_parse.h"

namespace {

using PaddedParse::Outcome;

Outcome guarded(const std::string& text, std::uint32_t inputKind = DOM_INPUT_BYTES)
{
    return PaddedParse::run(DOM_ParseGuarded, text, inputKind);
}

Outcome guardedBytes(const std::vector<std::uint8_t>& bytes)
{
    return PaddedParse::run(DOM_ParseGuarded, bytes);
}

// Text as UTF-16LE bytes (ASCII only).
std::string utf16(const std::string& ascii)
{
    std::string bytes;
    for (char unit : ascii) {
        bytes += unit;
        bytes += '\0';
    }
    return bytes;
}

// ------------------------------------------------------------- never ends

struct EndlessInput {
    const char* name;
    const char* text;
};

class NeverEnds : public ::testing::TestWithParam<EndlessInput> {};

TEST_P(NeverEnds, EndsWithResultFive)
{
    const Outcome outcome = guarded(GetParam().text);
    EXPECT_EQ(outcome.result, DOM_RESULT_NEVER_ENDS);
    // Nothing is handed over: the record's result field stays 0.
    EXPECT_EQ(outcome.imageSize, 0u);
}

TEST_P(NeverEnds, EndsWithResultFiveAsUtf16)
{
    EXPECT_EQ(guarded(utf16(GetParam().text), DOM_INPUT_UTF16).result, DOM_RESULT_NEVER_ENDS);
}

// Each less-than state meets the end of the text: tag open (after text, alone,
// after a comment), the RCDATA, RAWTEXT and script data less-than states, the
// escaped and double escaped script ones, and the attribute name turn at the
// end, alone and after text. The last three are loops that no single rule
// names: the watch on the progress of the stream finds them all the same.
INSTANTIATE_TEST_SUITE_P(
    Inputs, NeverEnds,
    ::testing::Values(EndlessInput{"ParagraphThenLessThan", "<p>x<"},
                      EndlessInput{"LoneLessThan", "<"},
                      EndlessInput{"CommentThenLessThan", "<!--c--><"},
                      EndlessInput{"TitleTextThenLessThan", "<title>x<"},
                      EndlessInput{"TextareaTextThenLessThan", "<textarea>x<"},
                      EndlessInput{"StyleTextThenLessThan", "<style>x<"},
                      EndlessInput{"XmpTextThenLessThan", "<xmp>x<"},
                      EndlessInput{"ScriptTextThenLessThan", "<script>x<"},
                      EndlessInput{"EscapedScriptThenLessThan", "<script><!--x<"},
                      EndlessInput{"DoubleEscapedScriptThenLessThan", "<script><!--<script>x<"},
                      EndlessInput{"PlaintextThenLessThan", "<plaintext>x<"},
                      EndlessInput{"AttributeNameAndSpace", "<a b "},
                      EndlessInput{"ParagraphThenAttributeNameAndSpace", "<p>x<a b "},
                      EndlessInput{"SecondAttributeNameAndSpace", "<p q=1 b "},
                      EndlessInput{"AttributeNameAndLineFeed", "<a b\n"},
                      // States that meet the end step back over the last unit
                      // and read it again in data: when that unit is a "<",
                      // data sends it to tag open, which meets the end again.
                      EndlessInput{"CommentEndingInLessThan", "<p>x<!--<"},
                      EndlessInput{"QuotedValueEndingInLessThan", "<p>x<a b=\"<"},
                      EndlessInput{"DoctypeEndingInLessThan", "<!DOCTYPE <"}),
    [](const ::testing::TestParamInfo<EndlessInput>& info) { return info.param.name; });

TEST(NeverEndsContrast, TwoSpacesAfterTheAttributeNameEnd)
{
    // The step back at the end lands on a space, and the text ends; the same
    // holds for a "<" that is followed by anything.
    EXPECT_EQ(guarded("<p>x<a b  ").result, DOM_RESULT_OK);
    EXPECT_EQ(guarded("<p>x< ").result, DOM_RESULT_OK);
    EXPECT_EQ(guarded("<p>x<a b").result, DOM_RESULT_OK);
}

TEST(NeverEndsContrast, CommentOrAttributeValueCutOffByTheEndEnds)
{
    // Without a "<" as the last unit, the unit read again in data is text.
    EXPECT_EQ(guarded("<p>x<!--").result, DOM_RESULT_OK);
    EXPECT_EQ(guarded("<p>x<a b=\"").result, DOM_RESULT_OK);
    EXPECT_EQ(guarded("<p>x<!--<-->").result, DOM_RESULT_OK);
}

TEST(NeverEndsContrast, LongReferenceNamesStepBackAndStillEnd)
{
    // The longest steps back of the rules: a reference name without ';' in an
    // attribute value followed by a letter, over and over, and long names that
    // match nothing. None of them is taken for a loop.
    std::string text = "<p a=\"";
    for (int i = 0; i < 20000; ++i) text += "&CounterClockwiseContourIntegralx";
    text += "\">";
    for (int i = 0; i < 20000; ++i) text += "&ampx&notinx&#x41&#65536;&nosuchreferencename;";
    EXPECT_EQ(guarded(text).result, DOM_RESULT_OK);
}

// ------------------------------------------------------------------ no body

class NoBody : public ::testing::TestWithParam<EndlessInput> {};

TEST_P(NoBody, EndsWithResultFour)
{
    const Outcome outcome = guarded(GetParam().text);
    EXPECT_EQ(outcome.result, DOM_RESULT_NO_BODY);
    EXPECT_EQ(outcome.imageSize, 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, NoBody,
    ::testing::Values(
        EndlessInput{"HtmlStartTagAfterADoctype", "<!DOCTYPE html><html><p>x</p></html>"},
        EndlessInput{"ClosedHeadAfterADoctype", "<!DOCTYPE html><head></head><body><p>x</p></body>"},
        EndlessInput{"ClosedTitleAfterADoctype", "<!DOCTYPE html><title>a</title>"},
        // The mark leaves no unit: the loop never steps and nothing is made.
        EndlessInput{"BareLittleEndianMark", "\xFF\xFE"}),
    [](const ::testing::TestParamInfo<EndlessInput>& info) { return info.param.name; });

TEST(NoBody, Utf16InputWithoutAUnit)
{
    EXPECT_EQ(guarded("", DOM_INPUT_UTF16).result, DOM_RESULT_NO_BODY);
    EXPECT_EQ(guarded("x", DOM_INPUT_UTF16).result, DOM_RESULT_NO_BODY);
}

TEST(NoBodyContrast, ADoctypeWithoutHtmlTagKeepsTheBody)
{
    EXPECT_EQ(guarded("<!DOCTYPE html><p>x</p>").result, DOM_RESULT_OK);
    EXPECT_EQ(guarded("<!DOCTYPE html><title>a").result, DOM_RESULT_OK);
    EXPECT_EQ(guarded("xy", DOM_INPUT_UTF16).result, DOM_RESULT_OK);
}

// ------------------------------------------------------ bare byte order mark

TEST(BareByteOrderMark, BigEndianMarkWithLessThanOneUnitBehind)
{
    EXPECT_EQ(guardedBytes({0xFE, 0xFF}).result, DOM_RESULT_BARE_BYTE_ORDER_MARK);
    EXPECT_EQ(guardedBytes({0xFE, 0xFF, 0x00}).result, DOM_RESULT_BARE_BYTE_ORDER_MARK);
}

TEST(BareByteOrderMark, BigEndianMarkReadFromThePaddingOfAShortInput)
{
    // The mark test reads two bytes whatever the size: with size 1 the second
    // is the caller's first padding byte, and the length would wrap.
    std::vector<std::uint8_t> buffer{0xFE, 0xFF, 0x00, 0x00, 0x00};
    DOM_ParseRecord record{};
    record.version = DOM_RECORD_VERSION;
    record.inputKind = DOM_INPUT_BYTES;
    HGLOBAL handle = nullptr;
    EXPECT_EQ(DOM_ParseGuarded(buffer.data(), 1, &handle, &record),
              DOM_RESULT_BARE_BYTE_ORDER_MARK);
    // Copied out of the packed record: a reference to the field would be
    // misaligned.
    EXPECT_EQ(std::uint32_t{record.result}, 0u);
}

TEST(BareByteOrderMark, Utf8MarkAlone)
{
    EXPECT_EQ(guardedBytes({0xEF, 0xBB, 0xBF}).result, DOM_RESULT_BARE_BYTE_ORDER_MARK);
}

TEST(BareByteOrderMarkContrast, MarksWithTextBehindParse)
{
    EXPECT_EQ(guardedBytes({0xFE, 0xFF, 0x00, 0x41}).result, DOM_RESULT_OK);
    EXPECT_EQ(guardedBytes({0xEF, 0xBB, 0xBF, 0x41}).result, DOM_RESULT_OK);
    EXPECT_EQ(guardedBytes({0xFF, 0xFE, 0x41, 0x00}).result, DOM_RESULT_OK);
}

// ---------------------------------------------------- the ordinary results

TEST(OrdinaryResults, AreThoseOfDomParse)
{
    DOM_ParseRecord record{};
    record.version = 3;
    record.result = 77;
    HGLOBAL handle = nullptr;
    char input[8 + DOM_INPUT_PADDING] = "<p>x</p>";
    EXPECT_EQ(DOM_ParseGuarded(input, 8, &handle, &record), DOM_RESULT_BAD_RECORD);
    EXPECT_EQ(std::uint32_t{record.result}, 77u);
    EXPECT_EQ(guarded("").result, DOM_RESULT_FAILED);
    EXPECT_EQ(guarded("<p>x</p>").result, DOM_RESULT_OK);
}

TEST(OrdinaryResults, BlocksAreFreedWithTheBlockFunctionsOfDomParse)
{
    // Both libraries take their blocks from the one registry of libdomparse.so.
    char first[8 + DOM_INPUT_PADDING] = "<p>x</p>";
    char second[8 + DOM_INPUT_PADDING] = "<p>x</p>";
    DOM_ParseRecord record{DOM_RECORD_VERSION, DOM_INPUT_BYTES, 0};
    HGLOBAL fromGuarded = nullptr;
    HGLOBAL fromFaithful = nullptr;
    ASSERT_EQ(DOM_ParseGuarded(first, 8, &fromGuarded, &record), DOM_RESULT_OK);
    ASSERT_EQ(DOM_Parse(second, 8, &fromFaithful, &record), DOM_RESULT_OK);
    EXPECT_EQ(GlobalSize(fromGuarded), GlobalSize(fromFaithful));
    EXPECT_EQ(GlobalFree(fromGuarded), nullptr);
    EXPECT_EQ(GlobalFree(fromFaithful), nullptr);
    // A second free fails cleanly: the handle was the registry's.
    EXPECT_EQ(GlobalFree(fromGuarded), fromGuarded);
}

}  // namespace
