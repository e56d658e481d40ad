// The parse error catalogue and the report paths: every code with its message,
// the four fan-outs, the token report and the generated files.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "recording.h"
#include "library/source_buffer.h"
#include "tokenizer/parse_errors.h"
#include "tokenizer/token.h"

namespace Parsers::Testing {
namespace {

struct CatalogueRow {
    ParseErrorCode code;
    std::uint32_t number;
    const char* message;
};

// Copied from the catalogue as written, misspellings and missing spaces
// included.
const CatalogueRow kCatalogue[] = {
    {ParseErrorCode::NoDigitsAfterNumberSign, 0, "No number behind number sign in character ref."},
    {ParseErrorCode::MissingSemicolonAfterNumericReference, 1, "No semicolon after numerical character ref."},
    {ParseErrorCode::NumericReferenceReplaced, 2, "Numerical character ref has to be replaced."},
    {ParseErrorCode::UnknownNamedReference, 3, "Non existent character ref found."},
    {ParseErrorCode::MissingSemicolonAfterNamedReference, 4, "No semicolon behind named character ref."},
    {ParseErrorCode::UnexpectedCharacterInTagOpen, 5, "Unexpected character in tag open state."},
    {ParseErrorCode::UnexpectedCharacterInEndTagOpen, 6, "Unexpected character in end tag open state."},
    {ParseErrorCode::QuestionMarkInTagOpen, 7, "Question mark in tag open state."},
    {ParseErrorCode::GreaterThanInEndTagOpen, 8, "Greater than sign in end tag open state."},
    {ParseErrorCode::EofInEndTagOpen, 9, "EOF in end tag open state."},
    {ParseErrorCode::EofInTagName, 10, "EOF in tag name state."},
    {ParseErrorCode::NullInData, 11, "NULL in data state."},
    {ParseErrorCode::NullInRcdata, 12, "NULL in rcdatastate."},
    {ParseErrorCode::NullInRawtext, 13, "NULL in rawtextstate."},
    {ParseErrorCode::NullInScriptData, 14, "NULL in script data state."},
    {ParseErrorCode::NullInPlaintext, 15, "NULL in plaintextstate."},
    {ParseErrorCode::NullInTagName, 16, "NULL in tag name state."},
    {ParseErrorCode::EofInScriptDataEscaped, 17, "EOF in script data escaped state."},
    {ParseErrorCode::NullInScriptDataEscaped, 18, "NULL in script data escaped state."},
    {ParseErrorCode::EofInScriptDataEscapedDash, 19, "EOF in script data escaped dash state."},
    {ParseErrorCode::NullInScriptDataEscapedDash, 20, "NULL in script data escaped dash state."},
    {ParseErrorCode::EofInScriptDataEscapedDashDash, 21, "EOF in script data escaped dash dash state."},
    {ParseErrorCode::NullInScriptDataEscapedDashDash, 22, "NULL in script data escaped dash dash state."},
    {ParseErrorCode::EofInScriptDataDoubleEscaped, 23, "EOF in script data double escaped state."},
    {ParseErrorCode::NullInScriptDataDoubleEscaped, 24, "NULL in script data double escaped state."},
    {ParseErrorCode::EofInScriptDataDoubleEscapedDash, 25, "EOF in script data double escaped dash state."},
    {ParseErrorCode::NullInScriptDataDoubleEscapedDash, 26, "NULL in script data double escaped dash state."},
    {ParseErrorCode::EofInScriptDataDoubleEscapedDashDash, 27, "EOF in script data double escaped dash dash state."},
    {ParseErrorCode::NullInScriptDataDoubleEscapedDashDash, 28, "NULL in script data double escaped dash dash state."},
    {ParseErrorCode::EofInBeforeAttributeName, 29, "EOF in before attr name state."},
    {ParseErrorCode::NullInBeforeAttributeName, 30, "NULL in before attr name state."},
    {ParseErrorCode::UnexpectedCharacterInBeforeAttributeName, 31, "Unexpected character in before attr name state."},
    {ParseErrorCode::DuplicateAttribute, 32, "Attribute with same name exists."},
    {ParseErrorCode::UnexpectedCharacterInAttributeName, 33, "Unexpected character in attr name state."},
    {ParseErrorCode::NullInAttributeName, 34, "NULL in attr name state."},
    {ParseErrorCode::EofInAfterAttributeName, 35, "EOF in after attr name state."},
    {ParseErrorCode::NullInAfterAttributeName, 36, "NULL in after attr name state."},
    {ParseErrorCode::UnexpectedCharacterInAfterAttributeName, 37, "Unexpected character in after attr name state."},
    {ParseErrorCode::EofInBeforeAttributeValue, 38, "EOF in before attr val state."},
    {ParseErrorCode::NullInBeforeAttributeValue, 39, "NULL in before attr val state."},
    {ParseErrorCode::GreaterThanInBeforeAttributeValue, 40, "Greater than sign in before attr val state."},
    {ParseErrorCode::UnexpectedCharacterInBeforeAttributeValue, 41, "Unexpected character in before attr val state."},
    {ParseErrorCode::EofInQuotedAttributeValue, 42, "EOF in attr val quoted state."},
    {ParseErrorCode::NullInQuotedAttributeValue, 43, "NULL in attr val quoted state."},
    {ParseErrorCode::EofInUnquotedAttributeValue, 44, "EOF in attr val unquoted state."},
    {ParseErrorCode::NullInUnquotedAttributeValue, 45, "NULL in attr val unquoted state."},
    {ParseErrorCode::UnexpectedCharacterInUnquotedAttributeValue, 46, "Unexpected character in attr val unquoted state."},
    {ParseErrorCode::EofAfterQuotedAttributeValue, 47, "EOF in after attr val quoted state."},
    {ParseErrorCode::UnexpectedCharacterAfterQuotedAttributeValue, 48, "Unexpected character in after attr val quoted state."},
    {ParseErrorCode::EofInSelfClosingStartTag, 49, "EOF in self closing start tag state."},
    {ParseErrorCode::UnexpectedCharacterInSelfClosingStartTag, 50, "Unexpected character in self closing start tag state."},
    {ParseErrorCode::UnexpectedCharacterInMarkupDeclarationOpen, 51, "Unexpected character inmarkup declaration open state."},
    {ParseErrorCode::EofInCommentStart, 52, "EOF in comment start state."},
    {ParseErrorCode::EofInCommentStartDash, 53, "EOF in comment start dash state."},
    {ParseErrorCode::GreaterThanInCommentStartDash, 54, "Greater than sign in comment start dash state."},
    {ParseErrorCode::NullInCommentStartDash, 55, "NULL in comment start dash state."},
    {ParseErrorCode::NullInCommentStart, 56, "NULL in comment start state."},
    {ParseErrorCode::GreaterThanInCommentStart, 57, "Greater than sign in comment start state."},
    {ParseErrorCode::EofInComment, 58, "EOF in comment state."},
    {ParseErrorCode::NullInComment, 59, "NULL in comment state."},
    {ParseErrorCode::EofInCommentEndDash, 60, "EOF in comment end dash state."},
    {ParseErrorCode::NullInCommentEndDash, 61, "NULL in comment end dash state."},
    {ParseErrorCode::EofInCommentEnd, 62, "EOF in comment end state."},
    {ParseErrorCode::UnexpectedCharacterInCommentEnd, 63, "Unexpected character in comment end state."},
    {ParseErrorCode::NullInCommentEnd, 64, "NULL in comment end state."},
    {ParseErrorCode::ExclamationMarkInCommentEnd, 65, "Exclamation mark in comment end state."},
    {ParseErrorCode::HyphenMinusInCommentEnd, 66, "Hyphen minus in comment end state."},
    {ParseErrorCode::EofInCommentEndBang, 67, "EOF in comment end bang state."},
    {ParseErrorCode::NullInCommentEndBang, 68, "NULL in comment end bang state."},
    {ParseErrorCode::EofInDoctype, 69, "EOF in DOCTYPE state."},
    {ParseErrorCode::UnexpectedCharacterInDoctype, 70, "Unexpected character in DOCTYPE state."},
    {ParseErrorCode::EofBeforeDoctypeName, 71, "EOF in before DOCTYPE name state."},
    {ParseErrorCode::NullBeforeDoctypeName, 72, "NULL in before DOCTYPE name state."},
    {ParseErrorCode::GreaterThanBeforeDoctypeName, 73, "Greater than sign in before DOCTYPE name state."},
    {ParseErrorCode::NullInDoctypeName, 74, "NULL in DOCTYPE name state."},
    {ParseErrorCode::EofInDoctypeName, 75, "EOF in DOCTYPE name state."},
    {ParseErrorCode::UnexpectedCharacterAfterDoctypeName, 76, "Unexpected character in after DOCTYPE name state."},
    {ParseErrorCode::EofAfterDoctypePublicKeyword, 77, "EOF in after DOCTYPE public keyword state."},
    {ParseErrorCode::QuotationMarkAfterDoctypePublicKeyword, 78, "Quotation mark in after DOCTYPE public keyword state."},
    {ParseErrorCode::ApostropheAfterDoctypePublicKeyword, 79, "Apostrophe in after DOCTYPE public keyword state."},
    {ParseErrorCode::GreaterThanAfterDoctypePublicKeyword, 80, "Greater than sign in after DOCTYPE public keyword state."},
    {ParseErrorCode::UnexpectedCharacterAfterDoctypePublicKeyword, 81, "Unexpected character in after DOCTYPE public keyword state."},
    {ParseErrorCode::EofBeforeDoctypePublicIdentifier, 82, "EOF in before DOCTYPE public identifier state."},
    {ParseErrorCode::UnexpectedCharacterBeforeDoctypePublicIdentifier, 83, "Unexpected character in before DOCTYPE public identifier state."},
    {ParseErrorCode::GreaterThanBeforeDoctypePublicIdentifier, 84, "Greater than sign in before DOCTYPE public identifier state."},
    {ParseErrorCode::EofInDoctypePublicIdentifier, 85, "EOF in DOCTYPE public identifier quoted state."},
    {ParseErrorCode::NullInDoctypePublicIdentifier, 86, "NULL in DOCTYPE public identifier quoted state."},
    {ParseErrorCode::GreaterThanInDoctypePublicIdentifier, 87, "Greater than sign in DOCTYPE public identifier quoted state."},
    {ParseErrorCode::EofAfterDoctypePublicIdentifier, 88, "EOF in after DOCTYPE public identifier state."},
    {ParseErrorCode::UnexpectedCharacterAfterDoctypePublicIdentifier, 89, "Unexpected character in after DOCTYPE public identifier state."},
    {ParseErrorCode::QuotationMarkAfterDoctypePublicIdentifier, 90, "Quotation mark in after DOCTYPE public identifier state."},
    {ParseErrorCode::ApostropheAfterDoctypePublicIdentifier, 91, "Apostrophe in after DOCTYPE public identifier state."},
    {ParseErrorCode::EofBetweenDoctypeIdentifiers, 92, "EOF in between DOCTYPE public and system identifiers state."},
    {ParseErrorCode::UnexpectedCharacterBetweenDoctypeIdentifiers, 93, "Unexpected character in between DOCTYPE public and system identifiers state."},
    {ParseErrorCode::EofAfterDoctypeSystemKeyword, 94, "EOF in after DOCTYPE system keyword state."},
    {ParseErrorCode::UnexpectedCharacterAfterDoctypeSystemKeyword, 95, "Unexpected character in after DOCTYPE system keyword state."},
    {ParseErrorCode::QuotationMarkAfterDoctypeSystemKeyword, 96, "Quotation mark in after DOCTYPE system keyword state."},
    {ParseErrorCode::ApostropheAfterDoctypeSystemKeyword, 97, "Apostrophe in after DOCTYPE system keyword state."},
    {ParseErrorCode::GreaterThanAfterDoctypeSystemKeyword, 98, "Greater than sign in after DOCTYPE system keyword state."},
    {ParseErrorCode::EofBeforeDoctypeSystemIdentifier, 99, "EOF in before DOCTYPE system identifier state."},
    {ParseErrorCode::UnexpectedCharacterBeforeDoctypeSystemIdentifier, 100, "Unexpected character in before DOCTYPE system identifier state."},
    {ParseErrorCode::GreaterThanBeforeDoctypeSystemIdentifier, 101, "Greater than sign in before DOCTYPE system identifier state."},
    {ParseErrorCode::EofInDoctypeSystemIdentifier, 102, "EOF in DOCTYPE system identifier quoted state."},
    {ParseErrorCode::NullInDoctypeSystemIdentifier, 103, "NULL in DOCTYPE system identifier quoted state."},
    {ParseErrorCode::GreaterThanInDoctypeSystemIdentifier, 104, "Greater than sign in DOCTYPE system identifier quoted state."},
    {ParseErrorCode::EofAfterDoctypeSystemIdentifier, 105, "EOF in after DOCTYPE system identifier state."},
    {ParseErrorCode::UnexpectedCharacterAfterDoctypeSystemIdentifier, 106, "Unexpected character in after DOCTYPE system identifier state."},
    {ParseErrorCode::EndTagSelfClosing, 107, "End tag token is self closing."},
    {ParseErrorCode::EndTagWithAttributes, 108, "End tagtoken has attributes."},
    {ParseErrorCode::SelfClosingNotAcknowledged, 109, "Self closing flag not acknowledged."},
    {ParseErrorCode::UnexpectedTokenBeforeHtml, 110, "Unexpected token in before html insertion mode."},
    {ParseErrorCode::EndTagBeforeHtml, 111, "End tag token in before html insertion mode."},
    {ParseErrorCode::UnexpectedTokenBeforeHead, 112, "Unexpected token in before head insertion mode."},
    {ParseErrorCode::EndTagBeforeHead, 113, "End tag token in before head insertion mode."},
    {ParseErrorCode::HeadStartTagInHead, 114, "Head start tag in in head insertion mode."},
    {ParseErrorCode::IllegalEndTagInHead, 115, "Illegal end tag in in head insertion mode."},
    {ParseErrorCode::UnexpectedTokenInHead, 116, "Unexpected token in in head insertion mode."},
    {ParseErrorCode::UnexpectedTokenInHeadNoscript, 117, "Unexpected token in in head no script insertion mode."},
    {ParseErrorCode::IllegalEndTagInHeadNoscript, 118, "Illegal end tag in in head no script insertion mode."},
    {ParseErrorCode::IllegalStartTagAfterHead, 119, "Illegal start tag in after head insertion mode."},
    {ParseErrorCode::HeadStartTagAfterHead, 120, "Head start tag in after head insertion mode."},
    {ParseErrorCode::IllegalEndTagAfterHead, 121, "Illegal end tag in after head insertion mode."},
    {ParseErrorCode::UnexpectedTokenAfterHead, 122, "Unexpected token in after head insertion mode."},
    {ParseErrorCode::UnexpectedTokenInBody, 123, "Unexpected token in in body insertion mode."},
    {ParseErrorCode::UnexpectedEofInBody, 124, "Unexpected eof in in body insertion mode."},
    {ParseErrorCode::NullInBody, 125, "NULL in in body insertion mode."},
    {ParseErrorCode::HtmlStartTagInBody, 126, "HTML start tag in in body insertion mode."},
    {ParseErrorCode::BodyStartTagInBody, 127, "BODY start tag in in body insertion mode."},
    {ParseErrorCode::FramesetStartTagInBody, 128, "FRAMESET start tag in in body insertion mode."},
    {ParseErrorCode::HeadingInHeadingInBody, 129, "Hn element in hn element in in body insertion mode."},
    {ParseErrorCode::FormStartTagInFormInBody, 130, "FORM start tag in FORM element in in body insertion mode."},
    {ParseErrorCode::MisnestedAnchorInBody, 131, "Misnested anchor in in body insertion mode."},
    {ParseErrorCode::MisnestedButtonStartTagInBody, 132, "Misnested BUTTON start tag in in body insertion mode."},
    {ParseErrorCode::MisnestedNobrStartTagInBody, 133, "Misnested NOBR start tag in in body insertion mode."},
    {ParseErrorCode::ImageStartTagInBody, 134, "IMAGE start tag in in body insertion mode."},
    {ParseErrorCode::RubyTextStartTagOutsideRubyInBody, 135, "RP or RT start tag not in ruby element in in body insertion mode."},
    {ParseErrorCode::IllegalStartTagInBody, 136, "Illegal start tag in in body insertion mode."},
    {ParseErrorCode::BodyEndTagWhileNoBodyInScope, 137, "BODY end tag while no BODY element in scope in in body insertion mode."},
    {ParseErrorCode::BodyEndTagAlthoughNoBodyInScope, 138, "BODY end tag although no BODY element in scope in in body insertion mode."},
    {ParseErrorCode::MisnestedBodyEndTagInBody, 139, "Misnested BODY end tag in in body insertion mode."},
    {ParseErrorCode::IllegalEndTagInBody, 140, "Illegal end tag in in body insertion mode."},
    {ParseErrorCode::MismatchedEndTagInBody, 141, "Mismatched end tag in in body insertion mode."},
    {ParseErrorCode::UnspecifiedFormEndTagError01InBody, 142, "Unspecified form end tag error 01 in in body insertion mode."},
    {ParseErrorCode::UnspecifiedFormEndTagError02InBody, 143, "Unspecified form end tag error 02 in in body insertion mode."},
    {ParseErrorCode::MisnestedPEndTagInBody, 144, "Misnested P end tag in in body insertion mode."},
    {ParseErrorCode::MisnestedLiEndTagInBody, 145, "Misnested LI end tag in in body insertion mode."},
    {ParseErrorCode::MisnestedDdOrDtEndTagInBody, 146, "Misnested DD or DT end tag in in body insertion mode."},
    {ParseErrorCode::MisnestedHeadingEndTagInBody, 147, "Misnested heading end tag in in body insertion mode."},
    {ParseErrorCode::MismatchedHeadingEndTagInBody, 148, "Mismatched heading end tag in in body insertion mode."},
    {ParseErrorCode::BrEndTagInBody, 149, "BR end tag in in body insertion mode."},
    {ParseErrorCode::MisnestedSpecialEndTagInBody, 150, "Misnested special end tag in in body insertion mode."},
    {ParseErrorCode::MisnestedEndTagInBody, 151, "Misnested end tag in in body insertion mode."},
    {ParseErrorCode::EofInText, 152, "EOF in text insertion mode."},
    {ParseErrorCode::IllegalTokenInTable, 153, "Illegal token in in table insertion mode."},
    {ParseErrorCode::UnexpectedTokenInTable, 154, "Unexpected token in in table insertion mode."},
    {ParseErrorCode::UnexpectedEofInTable, 155, "Unexpected EOF in in table insertion mode."},
    {ParseErrorCode::TableStartTagInTable, 156, "TABLE start tag in in table insertion mode."},
    {ParseErrorCode::UnexpectedInputStartTagInTable, 157, "Unexpected INPUT start tag in in table insertion mode."},
    {ParseErrorCode::UnexpectedFormStartTagInTable, 158, "Unexpected FORM start tag in in table insertion mode."},
    {ParseErrorCode::MisnestedTableEndTagInTable, 159, "Misnested TABLE end tag in in table insertion mode."},
    {ParseErrorCode::NullInTableText, 160, "NULL char in in table text insertion mode."},
    {ParseErrorCode::MisnestedCaptionEndTagInCaption, 161, "Misnested CAPTION end tag in in caption insertion mode."},
    {ParseErrorCode::IllegalEndTagInCaption, 162, "Illegal end tag in in caption insertion mode."},
    {ParseErrorCode::UnexpectedTokenInColumnGroup, 163, "Unexpected token in in column group insertion mode."},
    {ParseErrorCode::MisplacedCellStartInTableBody, 164, "Misplaced cell start in in table body insertion mode."},
    {ParseErrorCode::MisnestedTableTokenInTableBody, 165, "Misnested table token in in table body insertion mode."},
    {ParseErrorCode::UnexpectedStartTagInTableBody, 166, "Unexpected start tag in in table body insertion mode."},
    {ParseErrorCode::MisnestedTokenInRow, 167, "Misnested token in in row insertion mode."},
    {ParseErrorCode::IllegalEndTagInRow, 168, "Illegal end tag in in row insertion mode."},
    {ParseErrorCode::MisnestedTableCellEndTagInCell, 169, "Misnested table cell end tag in in cell insertion mode."},
    {ParseErrorCode::IllegalEndTagInCell, 170, "Illegal end tag in in cell insertion mode."},
    {ParseErrorCode::MisnestedEndTagInCell, 171, "Misnested end tag in in cell insertion mode."},
    {ParseErrorCode::NullInSelect, 172, "NULL char in in select insertion mode."},
    {ParseErrorCode::UnexpectedEofInSelect, 173, "Unexpected EOF in in select insertion mode."},
    {ParseErrorCode::DoctypeInSelect, 174, "DOCTYPE in in select insertion mode."},
    {ParseErrorCode::UnexpectedTokenInSelect, 175, "Unexpected token in in select insertion mode."},
    {ParseErrorCode::UnexpectedSelectStartTagInSelect, 176, "Unexpected select start tag in in select insertion mode."},
    {ParseErrorCode::UnexpectedStartTagInSelect, 177, "Unexpected start tag in in select insertion mode."},
    {ParseErrorCode::UnexpectedOptgroupEndTagInSelect, 178, "Unexpected OPTGROUP end tag in in select insertion mode."},
    {ParseErrorCode::UnexpectedOptionEndTagInSelect, 179, "Unexpected OPTION end tag in in select insertion mode."},
    {ParseErrorCode::UnexpectedStartTagInSelectInTable, 180, "Unexpected start tag in in select in table insertion mode."},
    {ParseErrorCode::UnexpectedEndTagInSelectInTable, 181, "Unexpected end tag in in select in table insertion mode."},
    {ParseErrorCode::UnexpectedTokenAfterBody, 182, "Unexpected token in after body insertion mode."},
    {ParseErrorCode::DoctypeAfterBody, 183, "DOCTYPE in after body insertion mode."},
    {ParseErrorCode::DoctypeInFrameset, 184, "DOCTYPE in in frameset insertion mode."},
    {ParseErrorCode::UnexpectedEofInFrameset, 185, "Unexpected eof in in frameset insertion mode."},
    {ParseErrorCode::UnexpectedTokenInFrameset, 186, "Unexpected token in in frameset insertion mode."},
    {ParseErrorCode::UnexpectedTokenAfterFrameset, 187, "Unexpected token in after frameset insertion mode."},
    {ParseErrorCode::DoctypeAfterFrameset, 188, "DOCTYPE in after frameset insertion mode."},
    {ParseErrorCode::UnexpectedTokenAfterAfterBody, 189, "Unexpectedtoken in after after body insertion mode."},
    {ParseErrorCode::UnexpectedTokenAfterAfterFrameset, 190, "Unexpectedtoken in after after frameset insertion mode."},
    {ParseErrorCode::DoctypeInForeignContent, 191, "DOCTYPE in in foreign content insertion mode."},
    {ParseErrorCode::UnexpectedTokenInForeignContent, 192, "Unexpected token in in foreign content insertion mode."},
    {ParseErrorCode::MisnestedEndTagInForeignContent, 193, "Misnested end tag in in foreign content insertion mode."},
    {ParseErrorCode::UnspecifiedEndTagError01InBody, 194, "Unspecified end tag error 01 in in body insertion mode."},
    {ParseErrorCode::UnspecifiedEndTagError02InBody, 195, "Unspecified end tag error 02 in in body insertion mode."},
    {ParseErrorCode::UnspecifiedEndTagError03InBody, 196, "Unspecified end tag error 03 in in body insertion mode."},
    {ParseErrorCode::ErroneousDoctypeInInitial, 197, "Erroneous doctype in initial insertion mode."},
    {ParseErrorCode::MisnestedAppletMarqueeObjectEndTagInBody, 198, "Misnested APPLET_MARQUEE_OBJECT end tag in in body insertion mode."},
};

TEST(ParseErrorCatalogue, HasOneHundredNinetyNineCodes)
{
    EXPECT_EQ(kParseErrorCount, 199u);
    EXPECT_EQ(std::size(kCatalogue), 199u);
}

TEST(ParseErrorCatalogue, EveryCodeHasItsNumberAndMessage)
{
    for (std::uint32_t index = 0; index < std::size(kCatalogue); ++index) {
        const CatalogueRow& row = kCatalogue[index];
        EXPECT_EQ(row.number, index);
        EXPECT_EQ(static_cast<std::uint32_t>(row.code), row.number);
        ASSERT_NE(parseErrorMessage(row.code), nullptr) << row.number;
        EXPECT_STREQ(parseErrorMessage(row.code), row.message) << row.number;
        EXPECT_STREQ(kParseErrorMessages[row.number], row.message) << row.number;
    }
}

TEST(ParseErrorCatalogue, NumberPastTheCatalogueHasNoMessage)
{
    EXPECT_EQ(parseErrorMessage(static_cast<ParseErrorCode>(199)), nullptr);
    EXPECT_EQ(parseErrorMessage(static_cast<ParseErrorCode>(0xFFFFFFFFu)), nullptr);
}

TEST(ParseErrorCatalogue, KeepsTheOddSpellings)
{
    EXPECT_STREQ(parseErrorMessage(ParseErrorCode::NullInRcdata), "NULL in rcdatastate.");
    EXPECT_STREQ(parseErrorMessage(ParseErrorCode::UnexpectedCharacterInMarkupDeclarationOpen),
                 "Unexpected character inmarkup declaration open state.");
    EXPECT_STREQ(parseErrorMessage(ParseErrorCode::EndTagWithAttributes),
                 "End tagtoken has attributes.");
    EXPECT_STREQ(parseErrorMessage(ParseErrorCode::UnexpectedTokenAfterAfterBody),
                 "Unexpectedtoken in after after body insertion mode.");
}

// A listener that logs under its own name, to see the order of the list.
class NamedListener : public ErrorListener {
public:
    NamedListener(std::string listenerName, std::vector<std::string>& sharedLog)
        : name(std::move(listenerName)), log(sharedLog)
    {
    }
    void reportCharacterError(ParseErrorCode code, char16_t unit,
                              const TextPosition* position) override
    {
        log.push_back(name + " char " + std::to_string(static_cast<int>(code)) + " " +
                      describeUnit(unit) + " " + describePosition(*position));
    }
    void reportTextError(ParseErrorCode code, const UString& text,
                         const TextPosition* position) override
    {
        log.push_back(name + " text " + std::to_string(static_cast<int>(code)) + " " +
                      describeText(text) + " " + describePosition(*position));
    }
    void reportPositionError(ParseErrorCode code, const TextPosition* position) override
    {
        log.push_back(name + " position " + std::to_string(static_cast<int>(code)) + " " +
                      describePosition(*position));
    }
    void reportSpanError(ParseErrorCode code, const char16_t* units, std::uint32_t count,
                         const TextPosition* position) override
    {
        log.push_back(name + " span " + std::to_string(static_cast<int>(code)) + " " +
                      describeText(std::u16string_view(units, count)) + " " +
                      describePosition(*position));
    }

private:
    std::string name;
    std::vector<std::string>& log;
};

TEST(ParseErrorFanOut, EmptyListReachesNobodyAndDoesNothing)
{
    ErrorListenerList listeners;
    const TextPosition position{3, 4};
    reportCharacterError(listeners, ParseErrorCode::UnexpectedCharacterInTagOpen, u'x', &position);
    reportTextError(listeners, ParseErrorCode::DuplicateAttribute, u"b", &position);
    reportPositionError(listeners, ParseErrorCode::NullInData, &position);
    reportSpanError(listeners, ParseErrorCode::UnknownNamedReference, u"abcde", 5, &position);
    EXPECT_TRUE(listeners.empty());
}

TEST(ParseErrorFanOut, EachOperationReachesEveryListenerInListOrder)
{
    std::vector<std::string> log;
    ErrorListenerList listeners{std::make_shared<NamedListener>("first", log),
                                std::make_shared<NamedListener>("second", log)};
    const TextPosition position{7, 2};
    reportCharacterError(listeners, ParseErrorCode::UnexpectedCharacterInTagOpen, u'x', &position);
    reportTextError(listeners, ParseErrorCode::DuplicateAttribute, u"b", &position);
    reportPositionError(listeners, ParseErrorCode::NullInData, &position);
    reportSpanError(listeners, ParseErrorCode::UnknownNamedReference, u"abcdefg", 5, &position);
    EXPECT_EQ(log, (std::vector<std::string>{
                       "first char 5 x @7:2", "second char 5 x @7:2",
                       "first text 32 b @7:2", "second text 32 b @7:2",
                       "first position 11 @7:2", "second position 11 @7:2",
                       "first span 3 abcde @7:2", "second span 3 abcde @7:2"}));
}

TEST(ParseErrorFanOut, TagTokensAreReportedWithTheirNameAsSpan)
{
    std::vector<std::string> log;
    ErrorListenerList listeners{std::make_shared<NamedListener>("l", log)};
    auto start = std::make_shared<TagToken>(TokenType::StartTag);
    start->name = u"div";
    start->position = {4, 9};
    auto end = std::make_shared<TagToken>(TokenType::EndTag);
    end->name = u"Span";
    end->prefix = u"x";
    end->position = {1, 2};
    reportTokenError(listeners, ParseErrorCode::IllegalStartTagInBody, start);
    reportTokenError(listeners, ParseErrorCode::IllegalEndTagInBody, end);
    EXPECT_EQ(log, (std::vector<std::string>{"l span 136 div @4:9", "l span 140 Span @1:2"}));
}

TEST(ParseErrorFanOut, OtherTokensAreReportedByPosition)
{
    std::vector<std::string> log;
    ErrorListenerList listeners{std::make_shared<NamedListener>("l", log)};
    auto doctype = std::make_shared<DoctypeToken>();
    doctype->name = u"html";
    doctype->position = {5, 6};
    auto comment = std::make_shared<CommentToken>();
    comment->position = {2, 3};
    auto endOfFile = std::make_shared<EndOfFileToken>();
    reportTokenError(listeners, ParseErrorCode::DoctypeInSelect, doctype);
    reportTokenError(listeners, ParseErrorCode::UnexpectedTokenInBody, comment);
    reportTokenError(listeners, ParseErrorCode::UnexpectedEofInBody, endOfFile);
    EXPECT_EQ(log, (std::vector<std::string>{"l position 174 @5:6", "l position 123 @2:3",
                                             "l position 124 @0:1"}));
}

TEST(ParseErrorFanOut, TokenReportDropsItsReference)
{
    ErrorListenerList listeners;
    auto tag = std::make_shared<TagToken>(TokenType::StartTag);
    reportTokenError(listeners, ParseErrorCode::IllegalStartTagInBody, tag);
    EXPECT_EQ(tag.use_count(), 1);
}

TEST(ParseErrorFanOut, AddErrorListenerAppendsToTheSource)
{
    SourceBuffer source;
    std::vector<std::string> log;
    auto first = std::make_shared<NamedListener>("a", log);
    auto second = std::make_shared<NamedListener>("b", log);
    addErrorListener(source, first);
    addErrorListener(source, second);
    ASSERT_EQ(source.errorListeners.size(), 2u);
    EXPECT_EQ(source.errorListeners[0], first);
    EXPECT_EQ(source.errorListeners[1], second);
}

std::string readWholeFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

TEST(ParseErrorCatalogue, GeneratedFilesMatchTheirGenerator)
{
    const std::filesystem::path sourceDir = DOMPARSE_SOURCE_DIR;
    const std::filesystem::path outDir =
        std::filesystem::path(DOMPARSE_BINARY_DIR) / "generated-check" / "parse_errors";
    std::filesystem::remove_all(outDir);
    std::filesystem::create_directories(outDir);
    const std::string command =
        concat({"python3 \"", (sourceDir / "tools/gen/gen_parse_errors.py").string(),
                "\" --out \"", outDir.string(), "\""});
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    for (const char* name : {"parse_error_codes.h", "parse_error_messages.cpp"}) {
        const std::string committed = readWholeFile(sourceDir / "src/tokenizer" / name);
        ASSERT_FALSE(committed.empty()) << name;
        EXPECT_EQ(readWholeFile(outDir / name), committed) << name;
    }
}

}  // namespace
}  // namespace Parsers::Testing
