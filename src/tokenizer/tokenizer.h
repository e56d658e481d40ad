// The tokenizer: a state machine of 68 states over a CharacterStream. One step
// runs one state once; the driver steps until the stream reports the end of
// input. Text goes to the receivers one 16-bit unit at a time, everything else
// as tokens.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "library/shared_types.h"
#include "tokenizer/character_stream.h"
#include "tokenizer/parse_errors.h"
#include "tokenizer/token.h"
#include "tokenizer/unit_scan.h"

namespace Parsers {

struct SourceBuffer;
struct NamedReference;
struct TextContentRules;

// The states, in the order of their numbers. The tree constructor stores these
// values too (RCDATA, RAWTEXT, script data, PLAINTEXT).
enum class TokenizerState : std::uint8_t {
    Data,                                      // 0
    CharacterReferenceInData,                  // 1
    Rcdata,                                    // 2
    CharacterReferenceInRcdata,                // 3
    Rawtext,                                   // 4
    ScriptData,                                // 5
    Plaintext,                                 // 6
    TagOpen,                                   // 7
    EndTagOpen,                                // 8
    TagName,                                   // 9
    RcdataLessThanSign,                        // 10
    RcdataEndTagOpen,                          // 11
    RcdataEndTagName,                          // 12
    RawtextLessThanSign,                       // 13
    RawtextEndTagOpen,                         // 14
    RawtextEndTagName,                         // 15
    ScriptDataLessThanSign,                    // 16
    ScriptDataEndTagOpen,                      // 17
    ScriptDataEndTagName,                      // 18
    ScriptDataEscapeStart,                     // 19
    ScriptDataEscapeStartDash,                 // 20
    ScriptDataEscaped,                         // 21
    ScriptDataEscapedDash,                     // 22
    ScriptDataEscapedDashDash,                 // 23
    ScriptDataEscapedLessThanSign,             // 24
    ScriptDataEscapedEndTagOpen,               // 25
    ScriptDataEscapedEndTagName,               // 26
    ScriptDataDoubleEscapeStart,               // 27
    ScriptDataDoubleEscaped,                   // 28
    ScriptDataDoubleEscapedDash,               // 29
    ScriptDataDoubleEscapedDashDash,           // 30
    ScriptDataDoubleEscapedLessThanSign,       // 31
    ScriptDataDoubleEscapeEnd,                 // 32
    BeforeAttributeName,                       // 33
    AttributeName,                             // 34
    AfterAttributeName,                        // 35
    BeforeAttributeValue,                      // 36
    AttributeValueDoubleQuoted,                // 37
    AttributeValueSingleQuoted,                // 38
    AttributeValueUnquoted,                    // 39
    CharacterReferenceInAttributeValue,        // 40
    AfterAttributeValueQuoted,                 // 41
    SelfClosingStartTag,                       // 42
    BogusComment,                              // 43
    MarkupDeclarationOpen,                     // 44
    CommentStart,                              // 45
    CommentStartDash,                          // 46
    Comment,                                   // 47
    CommentEndDash,                            // 48
    CommentEnd,                                // 49
    CommentEndBang,                            // 50
    Doctype,                                   // 51
    BeforeDoctypeName,                         // 52
    DoctypeName,                               // 53
    AfterDoctypeName,                          // 54
    AfterDoctypePublicKeyword,                 // 55
    BeforeDoctypePublicIdentifier,             // 56
    DoctypePublicIdentifierDoubleQuoted,       // 57
    DoctypePublicIdentifierSingleQuoted,       // 58
    AfterDoctypePublicIdentifier,              // 59
    BetweenDoctypePublicAndSystemIdentifiers,  // 60
    AfterDoctypeSystemKeyword,                 // 61
    BeforeDoctypeSystemIdentifier,             // 62
    DoctypeSystemIdentifierDoubleQuoted,       // 63
    DoctypeSystemIdentifierSingleQuoted,       // 64
    AfterDoctypeSystemIdentifier,              // 65
    BogusDoctype,                              // 66
    CdataSection,                              // 67
};

inline constexpr std::uint32_t kTokenizerStateCount = 68;
static_assert(static_cast<std::uint32_t>(TokenizerState::CdataSection) + 1 == kTokenizerStateCount);

// The value of previousState before the first change of state (-1 in the
// tokenizer's own numbering). It names no state: step ignores every value past
// the last state.
inline constexpr TokenizerState kNoTokenizerState = static_cast<TokenizerState>(0xFF);

// The two rule sets (SourceBuffer::parseMode). Case folding parsing folds tag and
// attribute names to lower case and keeps bogus comments as comment tokens; case
// preserving parsing, the one the library runs, does neither.
inline constexpr std::uint32_t kCaseFoldingMode = 1;
inline constexpr std::uint32_t kCasePreservingMode = 2;

// An end tag recognised inside text ("</title>" in RCDATA and the like). The
// four families share their state functions and differ in these values.
struct TextEndTagFamily {
    TokenizerState textState;  // the text state that the family returns to
    TokenizerState openState;  // after "</"
    TokenizerState nameState;  // after "</" and a letter
    bool foldsName;            // script names fold in every mode
};

inline constexpr TextEndTagFamily kRcdataEndTags{
    TokenizerState::Rcdata, TokenizerState::RcdataEndTagOpen, TokenizerState::RcdataEndTagName,
    false};
inline constexpr TextEndTagFamily kRawtextEndTags{
    TokenizerState::Rawtext, TokenizerState::RawtextEndTagOpen, TokenizerState::RawtextEndTagName,
    false};
inline constexpr TextEndTagFamily kScriptDataEndTags{
    TokenizerState::ScriptData, TokenizerState::ScriptDataEndTagOpen,
    TokenizerState::ScriptDataEndTagName, true};
inline constexpr TextEndTagFamily kScriptDataEscapedEndTags{
    TokenizerState::ScriptDataEscaped, TokenizerState::ScriptDataEscapedEndTagOpen,
    TokenizerState::ScriptDataEscapedEndTagName, true};

// Script text after "<!--" (escaped) and after "<!--<script>" (double escaped)
// is read by the same three states: in the text, after one dash and after two.
// The families differ in their states and reports, and in the '<': escaped text
// holds it back until it is known whether an end tag follows, double escaped
// text, in which no end tag is recognised, emits it at once.
struct ScriptEscapeFamily {
    TokenizerState text;
    TokenizerState dash;
    TokenizerState dashDash;
    TokenizerState lessThanSign;
    bool emitsLessThanSign;
    ParseErrorCode endOfInputInText;
    ParseErrorCode nullInText;
    ParseErrorCode endOfInputAfterDash;
    ParseErrorCode nullAfterDash;
    ParseErrorCode endOfInputAfterDashDash;
    ParseErrorCode nullAfterDashDash;
};

inline constexpr ScriptEscapeFamily kScriptDataEscaped{
    .text = TokenizerState::ScriptDataEscaped,
    .dash = TokenizerState::ScriptDataEscapedDash,
    .dashDash = TokenizerState::ScriptDataEscapedDashDash,
    .lessThanSign = TokenizerState::ScriptDataEscapedLessThanSign,
    .emitsLessThanSign = false,
    .endOfInputInText = ParseErrorCode::EofInScriptDataEscaped,
    .nullInText = ParseErrorCode::NullInScriptDataEscaped,
    .endOfInputAfterDash = ParseErrorCode::EofInScriptDataEscapedDash,
    .nullAfterDash = ParseErrorCode::NullInScriptDataEscapedDash,
    .endOfInputAfterDashDash = ParseErrorCode::EofInScriptDataEscapedDashDash,
    .nullAfterDashDash = ParseErrorCode::NullInScriptDataEscapedDashDash,
};
inline constexpr ScriptEscapeFamily kScriptDataDoubleEscaped{
    .text = TokenizerState::ScriptDataDoubleEscaped,
    .dash = TokenizerState::ScriptDataDoubleEscapedDash,
    .dashDash = TokenizerState::ScriptDataDoubleEscapedDashDash,
    .lessThanSign = TokenizerState::ScriptDataDoubleEscapedLessThanSign,
    .emitsLessThanSign = true,
    .endOfInputInText = ParseErrorCode::EofInScriptDataDoubleEscaped,
    .nullInText = ParseErrorCode::NullInScriptDataDoubleEscaped,
    .endOfInputAfterDash = ParseErrorCode::EofInScriptDataDoubleEscapedDash,
    .nullAfterDash = ParseErrorCode::NullInScriptDataDoubleEscapedDash,
    .endOfInputAfterDashDash = ParseErrorCode::EofInScriptDataDoubleEscapedDashDash,
    .nullAfterDashDash = ParseErrorCode::NullInScriptDataDoubleEscapedDashDash,
};

// The public and the system identifier of a doctype are read by the same rules:
// after the keyword, before the identifier, and inside its quotes. A family
// names the field that the identifier fills, the states it passes through and
// the reports of each state.
struct DoctypeIdentifierFamily {
    UString DoctypeToken::*identifier;
    TokenizerState beforeIdentifier;
    TokenizerState doubleQuoted;
    TokenizerState singleQuoted;
    TokenizerState afterIdentifier;
    ParseErrorCode endOfInputAfterKeyword;
    ParseErrorCode quotationMarkAfterKeyword;
    ParseErrorCode apostropheAfterKeyword;
    ParseErrorCode greaterThanAfterKeyword;
    ParseErrorCode unexpectedAfterKeyword;
    ParseErrorCode endOfInputBeforeIdentifier;
    ParseErrorCode greaterThanBeforeIdentifier;
    ParseErrorCode unexpectedBeforeIdentifier;
    ParseErrorCode endOfInputInIdentifier;
    ParseErrorCode nullInIdentifier;
    ParseErrorCode greaterThanInIdentifier;
};

inline constexpr DoctypeIdentifierFamily kDoctypePublicIdentifier{
    .identifier = &DoctypeToken::publicId,
    .beforeIdentifier = TokenizerState::BeforeDoctypePublicIdentifier,
    .doubleQuoted = TokenizerState::DoctypePublicIdentifierDoubleQuoted,
    .singleQuoted = TokenizerState::DoctypePublicIdentifierSingleQuoted,
    .afterIdentifier = TokenizerState::AfterDoctypePublicIdentifier,
    .endOfInputAfterKeyword = ParseErrorCode::EofAfterDoctypePublicKeyword,
    .quotationMarkAfterKeyword = ParseErrorCode::QuotationMarkAfterDoctypePublicKeyword,
    .apostropheAfterKeyword = ParseErrorCode::ApostropheAfterDoctypePublicKeyword,
    .greaterThanAfterKeyword = ParseErrorCode::GreaterThanAfterDoctypePublicKeyword,
    .unexpectedAfterKeyword = ParseErrorCode::UnexpectedCharacterAfterDoctypePublicKeyword,
    .endOfInputBeforeIdentifier = ParseErrorCode::EofBeforeDoctypePublicIdentifier,
    .greaterThanBeforeIdentifier = ParseErrorCode::GreaterThanBeforeDoctypePublicIdentifier,
    .unexpectedBeforeIdentifier = ParseErrorCode::UnexpectedCharacterBeforeDoctypePublicIdentifier,
    .endOfInputInIdentifier = ParseErrorCode::EofInDoctypePublicIdentifier,
    .nullInIdentifier = ParseErrorCode::NullInDoctypePublicIdentifier,
    .greaterThanInIdentifier = ParseErrorCode::GreaterThanInDoctypePublicIdentifier,
};
inline constexpr DoctypeIdentifierFamily kDoctypeSystemIdentifier{
    .identifier = &DoctypeToken::systemId,
    .beforeIdentifier = TokenizerState::BeforeDoctypeSystemIdentifier,
    .doubleQuoted = TokenizerState::DoctypeSystemIdentifierDoubleQuoted,
    .singleQuoted = TokenizerState::DoctypeSystemIdentifierSingleQuoted,
    .afterIdentifier = TokenizerState::AfterDoctypeSystemIdentifier,
    .endOfInputAfterKeyword = ParseErrorCode::EofAfterDoctypeSystemKeyword,
    .quotationMarkAfterKeyword = ParseErrorCode::QuotationMarkAfterDoctypeSystemKeyword,
    .apostropheAfterKeyword = ParseErrorCode::ApostropheAfterDoctypeSystemKeyword,
    .greaterThanAfterKeyword = ParseErrorCode::GreaterThanAfterDoctypeSystemKeyword,
    .unexpectedAfterKeyword = ParseErrorCode::UnexpectedCharacterAfterDoctypeSystemKeyword,
    .endOfInputBeforeIdentifier = ParseErrorCode::EofBeforeDoctypeSystemIdentifier,
    .greaterThanBeforeIdentifier = ParseErrorCode::GreaterThanBeforeDoctypeSystemIdentifier,
    .unexpectedBeforeIdentifier = ParseErrorCode::UnexpectedCharacterBeforeDoctypeSystemIdentifier,
    .endOfInputInIdentifier = ParseErrorCode::EofInDoctypeSystemIdentifier,
    .nullInIdentifier = ParseErrorCode::NullInDoctypeSystemIdentifier,
    .greaterThanInIdentifier = ParseErrorCode::GreaterThanInDoctypeSystemIdentifier,
};

// The one question the tokenizer asks the tree stage, for CDATA sections: is
// there a current node, and in which namespace is it? The tree constructor
// implements this; without a tree constructor there is no current node.
class CurrentNodeQuery {
public:
    // The namespace of the current node, or nothing when the stack is empty.
    virtual std::optional<NamespaceId> currentNodeNamespace() = 0;

protected:
    ~CurrentNodeQuery() = default;
};

// Set to a quote or '>' by the attribute value states, cleared by the character
// reference that follows. Shared by every parse of the process and never reset
// at the start of one, so a value left by one parse is seen by the next; atomic
// so that parses on different threads share it without undefined behaviour.
extern std::atomic<char16_t> additionalAllowedCharacter;

class Tokenizer {
public:
    // A tokenizer over the source's text, in the source's mode, owning its
    // stream. It has no receivers and no tree constructor until they are set.
    explicit Tokenizer(SourceBuffer* source);
    Tokenizer(const Tokenizer&) = delete;
    Tokenizer& operator=(const Tokenizer&) = delete;
    ~Tokenizer();

    // Runs the current state once. A state value past the last state does nothing.
    void step();
    // The end of input, as the states and the driver's loop test it.
    bool atEndOfInput() const { return stream->atEndOfInput(); }
    void addReceiver(std::shared_ptr<TokenReceiver> receiver);

    // The public change of state, also used by the tree constructor: creates the
    // pending token that the new state needs, then records the state left.
    void switchTo(TokenizerState newState);

    void emitCharacter(char16_t unit);
    // Emits `current`, a unit that the state emits as it stands, and with it,
    // when the receiver takes text in runs, every unit behind it up to the next
    // unit of the stop set: the units a state emits alike.
    template <char16_t... Stops>
    void emitCharacterRun();
    void emitTemporaryBuffer();
    // The token goes to every receiver as a reference of its own; the one
    // given here only has to live through the call.
    void emitToken(const TokenRef& token);
    void emitCurrentTag();
    void emitCurrentComment();
    void emitCurrentDoctype();

    // Character references, called directly after the '&' was consumed. `out`
    // receives the expansion, or stays empty when there is none; the caller then
    // supplies the '&' itself.
    void consumeCharacterReference(UString& out);
    // The unit of a numeric reference after "&#", 0 for failure.
    char16_t consumeNumericReference();
    // The longest name in the table that the text from `next` on begins with,
    // consumed; null when none. Sets sawSemicolon when a ';' turned up among the
    // units it scanned.
    const NamedReference* lookupNamedReference(bool& sawSemicolon);
    void consumeNamedReference(UString& out);

    TokenizerState state = TokenizerState::Data;
    TokenizerState previousState = kNoTokenizerState;
    SourceBuffer* source;
    CurrentNodeQuery* treeConstructor = nullptr;
    TagTokenRef currentTag;
    TagTokenRef lastStartTag;
    std::shared_ptr<CommentToken> currentComment;
    std::shared_ptr<DoctypeToken> currentDoctype;
    UString temporaryBuffer;
    // The name of the attribute being read, which the attribute refers to
    // until the tag makes it lasting (TagToken::finishAttribute).
    UString attributeNameBuilder;
    std::vector<std::shared_ptr<TokenReceiver>> receivers;
    CharacterStream* stream;
    bool ownsStream = true;
    std::uint32_t parseMode;

private:
    // Tokens and attributes are made from this heap. Start tags live on in
    // their elements, and the heap with them.
    ParseHeapOwner tokenHeap;
    // The only receiver, when it takes text in runs; set by addReceiver and
    // used while it is still the only one.
    CharacterRunReceiver* runReceiver = nullptr;
    // `current` and the units behind it up to the next unit of the stop set,
    // which stays unread: the units that the state in which `current` was
    // read takes alike, one step each, are consumed in one go.
    template <char16_t... Stops>
    std::u16string_view consumeRunFromCurrent();
    // The run appended to a tag or attribute name, each unit as nameUnit
    // gives it.
    void appendNameRun(UString& name, std::u16string_view run) const;

    // Frame helpers shared by the states.
    char16_t consumeUnit()
    {
        stream->consume();
        return stream->current;
    }
    // A plain change of state: records the state left, creates nothing.
    void transitionTo(TokenizerState newState)
    {
        previousState = state;
        state = newState;
    }
    // Report, step back over the last unit, and return to data; a pending tag
    // stays pending.
    void backToData(ParseErrorCode code);
    // Report, return to data, emit the pending comment, step back.
    void emitCommentAndBack(ParseErrorCode code);
    // The same for the pending doctype, which is marked quirky first.
    void emitDoctypeWithQuirksAndBack(ParseErrorCode code);
    // Return to data, then emit the pending token: the tree constructor may
    // change the state while it takes the token.
    void emitTagAndReturnToData();
    void emitCommentAndReturnToData();
    void emitDoctypeAndReturnToData();
    void emitEndOfFile();
    // A '<', or "</", that opens nothing after all: it goes out as text, and
    // the unit after it is read again in `textState`.
    void emitLessThanSignAsText(TokenizerState textState);
    void emitEndTagOpeningAsText(TokenizerState textState);
    // Starts an end tag inside text after "</": the pending tag becomes an end
    // tag that begins here, and the buffer of the name read so far is emptied.
    void beginEndTagInText(TokenizerState openState);
    // Whether the pending end tag closes the last start tag emitted.
    bool isAppropriateEndTag() const;
    // A letter as it enters a tag or attribute name: folded in the case folding
    // mode, as written otherwise.
    char16_t nameUnit(char16_t unit) const;
    // A new attribute whose name begins with `unit`, read on in the attribute
    // name state.
    void beginAttributeName(char16_t unit);
    // The attribute is entered into the tag after the change of state.
    void leaveAttributeName(TokenizerState newState);
    void finishAttribute();
    void reportPosition(ParseErrorCode code);
    void reportCharacter(ParseErrorCode code);
    const ErrorListenerList& errorListeners() const;

    // Text content states.
    void dataState();
    void characterReferenceInTextState(TokenizerState returnState);
    // RCDATA, RAWTEXT and script data; each of the three states below calls it
    // with its own rules.
    void textContentState(const TextContentRules& rules);
    void rcdataState();
    void rawtextState();
    void scriptDataState();
    void plaintextState();
    // The rows that every less-than state of a text family ends with, for the
    // unit after the '<': "</" begins an end tag, anything else is text.
    void finishTextLessThanSign(char16_t c, const TextEndTagFamily& family);
    void textLessThanSignState(const TextEndTagFamily& family);
    void textEndTagOpenState(const TextEndTagFamily& family);
    void textEndTagNameState(const TextEndTagFamily& family);

    // Script data states.
    void scriptDataLessThanSignState();
    // States 19 and 20 differ only in where a dash leads.
    void scriptDataEscapeStartState(TokenizerState afterDash);
    void scriptDataEscapedState(const ScriptEscapeFamily& family);
    void scriptDataEscapedDashState(const ScriptEscapeFamily& family);
    void scriptDataEscapedDashDashState(const ScriptEscapeFamily& family);
    // The '<' of escaped text, held back or emitted as the family does.
    void enterEscapedLessThanSign(const ScriptEscapeFamily& family);
    void scriptDataEscapedLessThanSignState();
    void scriptDataDoubleEscapedLessThanSignState();
    // States 27 and 32 differ only in where "script" leads.
    void scriptDataDoubleEscapeBoundaryState(TokenizerState ifScript, TokenizerState otherwise);

    // Tag and attribute states.
    void tagOpenState();
    void endTagOpenState();
    void tagNameState();
    void beforeAttributeNameState();
    void attributeNameState();
    void afterAttributeNameState();
    void beforeAttributeValueState();
    void attributeValueQuotedState(char16_t quote);
    void attributeValueUnquotedState();
    void characterReferenceInAttributeValueState();
    void afterAttributeValueQuotedState();
    void selfClosingStartTagState();
    void appendAttributeNameRun();

    // Comment states, the markup declaration and CDATA.
    void bogusCommentState();
    void markupDeclarationOpenState();
    void commentStartState();
    void commentStartDashState();
    void commentState();
    void commentEndDashState();
    void commentEndState();
    void commentEndBangState();
    // Back in the comment, with the held back text and the unit added to it.
    void resumeComment(std::u16string_view heldBack, char16_t unit);
    void cdataSectionState();
    // The next three units are "]]>".
    bool closesCdataSection() const;

    // Doctype states.
    void doctypeState();
    void beforeDoctypeNameState();
    void doctypeNameState();
    void afterDoctypeNameState();
    void afterDoctypeKeywordState(const DoctypeIdentifierFamily& family);
    void beforeDoctypeIdentifierState(const DoctypeIdentifierFamily& family);
    void doctypeIdentifierQuotedState(const DoctypeIdentifierFamily& family, char16_t quote);
    void afterDoctypePublicIdentifierState();
    void betweenDoctypePublicAndSystemIdentifiersState();
    void afterDoctypeSystemIdentifierState();
    void bogusDoctypeState();
    // Report, mark the doctype quirky, return to data and emit it.
    void emitDoctypeWithQuirks(ParseErrorCode code);
    // Report the unit, mark the doctype quirky and skip the rest of it.
    void treatDoctypeAsBogus(ParseErrorCode code);
    // The identifier of the family begins empty inside the quotes that `quote`
    // opens.
    void openDoctypeIdentifier(const DoctypeIdentifierFamily& family, char16_t quote);
    // The next six units from `current` on, folded, equal the keyword.
    bool currentBeginsKeyword(const char16_t* keyword) const;
};

template <char16_t... Stops>
void Tokenizer::emitCharacterRun()
{
    if (runReceiver && receivers.size() == 1 && runReceiver->acceptsCharacterRun()) {
        const std::u16string_view run = consumeRunFromCurrent<Stops...>();
        runReceiver->processCharacterRun(run.data(), static_cast<std::uint32_t>(run.size()));
        return;
    }
    emitCharacter(stream->current);
}

template <char16_t... Stops>
std::u16string_view Tokenizer::consumeRunFromCurrent()
{
    // A consume leaves the unit it read right in front of `next`.
    const char16_t* start = stream->next - 1;
    const std::uint32_t following = unitsBeforeStop<Stops...>(stream->next, stream->remaining);
    stream->skip(following);
    return std::u16string_view(start, following + 1);
}

// Character classes of the tokenizer. Its space is tab, line feed, form feed
// and space: unlike the tree constructor's whitespace it leaves out 0x0B, and a
// carriage return never reaches it.
constexpr bool isTokenizerSpace(char16_t unit)
{
    return unit == u'\t' || unit == u'\n' || unit == u'\f' || unit == u' ';
}
constexpr bool isAsciiUpper(char16_t unit) { return unit >= u'A' && unit <= u'Z'; }
constexpr bool isAsciiLetter(char16_t unit)
{
    return isAsciiUpper(unit) || (unit >= u'a' && unit <= u'z');
}
constexpr bool isAsciiDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
constexpr bool isAsciiAlphanumeric(char16_t unit) { return isAsciiLetter(unit) || isAsciiDigit(unit); }
constexpr char16_t toAsciiLower(char16_t unit)
{
    return isAsciiUpper(unit) ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}
// Compares a text with a lower-case text, folding only A to Z of the first.
template <typename Text>
constexpr bool equalsFoldedAsciiUnits(const Text& text, std::u16string_view lowerCase)
{
    if (text.size() != lowerCase.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (toAsciiLower(text[i]) != lowerCase[i]) return false;
    }
    return true;
}
constexpr bool equalsFoldedAscii(std::u16string_view text, std::u16string_view lowerCase)
{
    return equalsFoldedAsciiUnits(text, lowerCase);
}
inline bool equalsFoldedAscii(const CharacterText& text, std::u16string_view lowerCase)
{
    return equalsFoldedAsciiUnits(text, lowerCase);
}

}  // namespace Parsers
