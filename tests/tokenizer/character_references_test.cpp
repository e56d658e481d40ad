// Character references in text and in attribute values: numeric values with
// their replacements and 16-bit wrap, named references with the longest match,
// the semicolon scan, and the process-wide allowed character.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tokenizer/named_reference_table.h"
#include "tokenizer_run.h"

namespace Parsers::Testing {
namespace {

using CharacterReferences = TokenizerTest;

// "&", the body and the end, built by appending.
std::u16string reference(std::u16string_view opening, std::u16string_view body,
                         std::u16string_view ending)
{
    std::u16string text(opening);
    text.append(body);
    text.append(ending);
    return text;
}

TEST_F(CharacterReferences, NamedWithSemicolon)
{
    EXPECT_EQ(tokenize(u"&amp;"), (Events{"\"&\"", "EOF"}));
    EXPECT_EQ(tokenizeFull(u"&lt;x"), (Events{"'<' @4:1", "'x' @5:1", "EOF @0:1"}));
}

TEST_F(CharacterReferences, NamedWithoutSemicolonIsReportedWithItsName)
{
    EXPECT_EQ(tokenize(u"&amp"), (Events{"E3 text \"amp\"", "\"&\"", "EOF"}));
    EXPECT_EQ(tokenizeFull(u"&ampx"),
              (Events{"E3 text \"amp\" @4:1", "'&' @4:1", "'x' @5:1", "EOF @0:1"}));
}

TEST_F(CharacterReferences, LongestMatchWins)
{
    EXPECT_EQ(tokenize(u"&notin;"), (Events{"\"\\u2209\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&notit;"), (Events{"E3 text \"not\"", "\"\\u00ACit;\"", "EOF"}));
}

TEST_F(CharacterReferences, TwoUnitExpansion)
{
    const NamedReference* row = findNamedReference(u"NotEqualTilde;", 14);
    ASSERT_NE(row, nullptr);
    ASSERT_EQ(row->expansionLength, 2);
    const std::string expected = concat({"\"", describeText(UString(row->expansion, 2)), "\""});
    EXPECT_EQ(tokenize(u"&NotEqualTilde;"), (Events{expected, "EOF"}));
}

TEST_F(CharacterReferences, ChangedExpansionsOfTheTable)
{
    EXPECT_EQ(tokenize(u"&bsol;&Tab;&NewLine;"), (Events{"\"\\\"\\u2409\\u240A\"", "EOF"}));
}

TEST_F(CharacterReferences, UnknownNameWithSemicolonIsReportedWithFiveUnits)
{
    EXPECT_EQ(tokenizeFull(u"&nosuch;"),
              (Events{"E3 span \"nosuc\" @1:1", "'&' @1:1", "'n' @2:1", "'o' @3:1", "'s' @4:1",
                      "'u' @5:1", "'c' @6:1", "'h' @7:1", "';' @8:1", "EOF @0:1"}));
    // Five units whatever is left: the padding behind the text is reported too.
    EXPECT_EQ(tokenize(u"&x;"), (Events{"E3 span \"x;\\u0000\\u0000\\u0000\"", "\"&x;\"", "EOF"}));
}

TEST_F(CharacterReferences, UnknownNameWithoutSemicolonIsSilent)
{
    EXPECT_EQ(tokenize(u"&nosuch"), (Events{"\"&nosuch\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&nosuch x;"), (Events{"E3 span \"nosuc\"", "\"&nosuch x;\"", "EOF"}));
}

TEST_F(CharacterReferences, SemicolonScanNeverLooksAtTheFirstUnit)
{
    EXPECT_EQ(tokenize(u"&;x"), (Events{"\"&;x\"", "EOF"}));
}

TEST_F(CharacterReferences, SemicolonScanReachesThirtyTwoUnits)
{
    const std::u16string near = reference(u"&", std::u16string(31, u'z'), u";");
    EXPECT_EQ(tokenize(near).front(), "E3 span \"zzzzz\"");
    const std::u16string far = reference(u"&", std::u16string(32, u'z'), u";");
    EXPECT_EQ(tokenize(far).size(), 2u);
}

TEST_F(CharacterReferences, TableNamesOfAstralCharactersAreMissing)
{
    EXPECT_EQ(tokenize(u"&Afr;"), (Events{"E3 span \"Afr;\\u0000\"", "\"&Afr;\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&Cfr;"), (Events{"\"\\u212D\"", "EOF"}));
}

TEST_F(CharacterReferences, OneUnitAtTheEndCannotMatch)
{
    EXPECT_EQ(tokenize(u"&a"), (Events{"\"&a\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&"), (Events{"\"&\"", "EOF"}));
}

TEST_F(CharacterReferences, NoReferenceBeforeSpaceAmpersandOrLessThan)
{
    EXPECT_EQ(tokenize(u"& &\t&\n&\f&&<b>"),
              (Events{"\"& &\\u0009&\\u000A&\\u000C&&\"", "<b>", "EOF"}));
}

TEST_F(CharacterReferences, Decimal)
{
    EXPECT_EQ(tokenize(u"&#65;"), (Events{"\"A\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&#0065;&#097"), (Events{"\"A\"", "E1", "\"a\"", "EOF"}));
}

TEST_F(CharacterReferences, HexadecimalEitherCase)
{
    EXPECT_EQ(tokenizeFull(u"&#x41"), (Events{"E1 @5:1", "'A' @5:1", "EOF @0:1"}));
    EXPECT_EQ(tokenize(u"&#X6a;&#xaB;"), (Events{"\"j\\u00AB\"", "EOF"}));
}

TEST_F(CharacterReferences, ReplacedValuesAreReported)
{
    EXPECT_EQ(tokenize(u"&#128;"), (Events{"E2", "\"\\u20AC\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&#13;"), (Events{"E2", "\"\\u000D\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&#0;"), (Events{"E2", "\"\\uFFFD\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&#x80"), (Events{"E1", "E2", "\"\\u20AC\"", "EOF"}));
}

TEST_F(CharacterReferences, EveryValueBelowOneHundredSixty)
{
    struct Replacement {
        std::uint32_t value;
        char16_t unit;
    };
    const Replacement replaced[] = {
        {0x00, 0xFFFD}, {0x0D, 0x000D}, {0x80, 0x20AC}, {0x82, 0x201A}, {0x83, 0x0192},
        {0x84, 0x201E}, {0x85, 0x2026}, {0x86, 0x2020}, {0x87, 0x2021}, {0x88, 0x02C6},
        {0x89, 0x2030}, {0x8A, 0x0160}, {0x8B, 0x2039}, {0x8C, 0x0152}, {0x8E, 0x017D},
        {0x91, 0x2018}, {0x92, 0x2019}, {0x93, 0x201C}, {0x94, 0x201D}, {0x95, 0x2022},
        {0x96, 0x2013}, {0x97, 0x2014}, {0x98, 0x02DC}, {0x99, 0x2122}, {0x9A, 0x0161},
        {0x9B, 0x203A}, {0x9C, 0x0153}, {0x9E, 0x017E}, {0x9F, 0x0178},
    };
    for (std::uint32_t value = 0; value < 160; ++value) {
        const std::string digits = std::to_string(value);
        const std::u16string input =
            reference(u"&#", std::u16string(digits.begin(), digits.end()), u";");
        char16_t unit = static_cast<char16_t>(value);
        bool isReplaced = false;
        for (const Replacement& entry : replaced) {
            if (entry.value == value) {
                unit = entry.unit;
                isReplaced = true;
            }
        }
        Events expected;
        if (isReplaced) expected.push_back("E2");
        expected.push_back(concat({"\"", describeText(std::u16string(1, unit)), "\""}));
        expected.push_back("EOF");
        EXPECT_EQ(tokenize(input), expected) << value;
    }
}

TEST_F(CharacterReferences, ValuesPassWithoutAnyOtherTest)
{
    EXPECT_EQ(tokenize(u"&#129;&#1;&#xD800;&#xFFFF;"),
              (Events{"\"\\u0081\\u0001\\uD800\\uFFFF\"", "EOF"}));
}

TEST_F(CharacterReferences, ValuesAboveSixteenBitsAreCut)
{
    EXPECT_EQ(tokenize(u"&#x1F600;"), (Events{"\"\\uF600\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&#x100000041;"), (Events{"\"A\"", "EOF"}));
    // 99999999999 wraps in 32 bits to 0x4876E7FF.
    EXPECT_EQ(tokenize(u"&#99999999999;"), (Events{"\"\\uE7FF\"", "EOF"}));
}

TEST_F(CharacterReferences, MultipleOfSixtyFiveThousandFiveHundredThirtySixFails)
{
    // The ';' was taken, so no report of a missing one; the failure gives it back
    // and the digits are lost.
    EXPECT_EQ(tokenizeFull(u"&#65536;"),
              (Events{"E0 @7:1", "'&' @7:1", "';' @8:1", "EOF @0:1"}));
}

TEST_F(CharacterReferences, NoDigits)
{
    EXPECT_EQ(tokenizeFull(u"&#;"), (Events{"E0 @1:1", "'&' @1:1", "'#' @2:1", "';' @3:1",
                                            "EOF @0:1"}));
    EXPECT_EQ(tokenize(u"&#x;"), (Events{"E0", "\"&#x;\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&#xg"), (Events{"E0", "\"&#xg\"", "EOF"}));
    EXPECT_EQ(tokenize(u"&#"), (Events{"E0", "\"&#\"", "EOF"}));
}

TEST_F(CharacterReferences, AllOnesCountsAsNoNumber)
{
    // Decimal: only the caller steps back, over the last digit.
    EXPECT_EQ(tokenize(u"&#4294967295;"), (Events{"E0", "\"&5;\"", "EOF"}));
    // Hexadecimal: one step back for the 'x' rule and one by the caller.
    EXPECT_EQ(tokenize(u"&#xFFFFFFFF;"), (Events{"E0", "\"&FF;\"", "EOF"}));
}

TEST_F(CharacterReferences, InRcdata)
{
    TokenizerRun run(u"<title>&amp;&x&lt</title>");
    run.enterOnStartTag(u"title", TokenizerState::Rcdata);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->compact(),
              (Events{"<title>", "\"&&x\"", "E3 text \"lt\"", "\"<\"", "</title>", "EOF"}));
}

TEST_F(CharacterReferences, InAttributeValues)
{
    EXPECT_EQ(tokenize(u"<a b=\"&amp;\" c='&lt;x' d=&gt;>"),
              (Events{"<a b=\"&\" c=\"<x\" d=\">\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<a b=\"&#65;&#x42\">"), (Events{"E1", "<a b=\"AB\">", "EOF"}));
}

TEST_F(CharacterReferences, NameWithoutSemicolonStaysAsWrittenBeforeLetterDigitOrEquals)
{
    EXPECT_EQ(tokenize(u"<a b=&ampx c=\"&amp1\" d='&amp=' e=&notin>"),
              (Events{"<a b=\"&ampx\" c=\"&amp1\" d=\"&amp=\" e=\"&notin\">", "EOF"}));
}

TEST_F(CharacterReferences, NameWithoutSemicolonElsewhereInAValueIsReported)
{
    EXPECT_EQ(tokenize(u"<a b=\"&amp\" c=&amp-x>"),
              (Events{"E3 text \"amp\"", "E3 text \"amp\"", "<a b=\"&\" c=\"&-x\">", "EOF"}));
}

TEST_F(CharacterReferences, ClosingQuoteRightAfterTheAmpersandEndsTheReference)
{
    EXPECT_EQ(tokenize(u"<a b=\"&\" c='&' d=&>"), (Events{"<a b=\"&\" c=\"&\" d=\"&\">", "EOF"}));
    EXPECT_EQ(additionalAllowedCharacter.load(), 0);
}

TEST_F(CharacterReferences, AllowedCharacterStaysSetUntilAReferenceMeetsIt)
{
    EXPECT_EQ(tokenize(u"<a b=\"&amp;\">"), (Events{"<a b=\"&\">", "EOF"}));
    EXPECT_EQ(additionalAllowedCharacter.load(), u'"');
    EXPECT_EQ(tokenize(u"<a b=x&lt;>"), (Events{"<a b=\"x<\">", "EOF"}));
    EXPECT_EQ(additionalAllowedCharacter.load(), u'>');
}

TEST_F(CharacterReferences, StaleAllowedCharacterCarriesIntoTheNextParse)
{
    // The first parse leaves '>' behind; the second meets it right after an
    // '&' in plain text, which then yields nothing and no report. The value is
    // used up, so the third parse of the same text reports the unknown name.
    EXPECT_EQ(tokenize(u"<a b=&x>"), (Events{"<a b=\"&x\">", "EOF"}));
    ASSERT_EQ(additionalAllowedCharacter.load(), u'>');
    EXPECT_EQ(tokenize(u"&>x;"), (Events{"\"&>x;\"", "EOF"}));
    EXPECT_EQ(additionalAllowedCharacter.load(), 0);
    EXPECT_EQ(tokenize(u"&>x;"), (Events{"E3 span \">x;\\u0000\\u0000\"", "\"&>x;\"", "EOF"}));
}

TEST_F(CharacterReferences, StaleQuoteSilencesTheReportInTheSameParse)
{
    TokenizerRun run(u"<a b='&amp;'>&'x;&'x;");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.recorder->compact(),
              (Events{"<a b=\"&\">", "\"&'x;\"", "E3 span \"'x;\\u0000\\u0000\"", "\"&'x;\"",
                      "EOF"}));
}

TEST_F(CharacterReferences, ZeroAllowedCharacterCatchesTheEndAndNul)
{
    EXPECT_EQ(tokenize(std::u16string(u"&\0;", 3)), (Events{"\"&\"", "E11", "\"\\u0000;\"", "EOF"}));
}

TEST_F(CharacterReferences, LookupLeavesTheStreamWhenNothingMatches)
{
    TokenizerRun run(u"&zz;q");
    run.runSteps(1);
    bool sawSemicolon = false;
    EXPECT_EQ(run.tokenizer->lookupNamedReference(sawSemicolon), nullptr);
    EXPECT_TRUE(sawSemicolon);
    EXPECT_EQ(run.tokenizer->stream->remaining, 4u);
    EXPECT_EQ(run.tokenizer->stream->current, u'&');
}

TEST_F(CharacterReferences, LookupConsumesTheLongestName)
{
    TokenizerRun run(u"&notin;x");
    run.runSteps(1);
    bool sawSemicolon = false;
    const NamedReference* row = run.tokenizer->lookupNamedReference(sawSemicolon);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(UString(row->name, row->length), u"notin;");
    EXPECT_TRUE(sawSemicolon);
    EXPECT_EQ(run.tokenizer->stream->current, u';');
    EXPECT_EQ(run.tokenizer->stream->remaining, 1u);
}

TEST_F(CharacterReferences, ConsumeCharacterReferenceClearsItsOutput)
{
    TokenizerRun run(u"& x");
    run.runSteps(1);
    UString out = u"old";
    run.tokenizer->consumeCharacterReference(out);
    EXPECT_TRUE(out.empty());
}

}  // namespace
}  // namespace Parsers::Testing
