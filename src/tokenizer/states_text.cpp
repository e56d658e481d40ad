// Text content states: data, RCDATA, RAWTEXT, script data and PLAINTEXT, the
// character references in text, and the end tag recognition that the raw text
// states share.
//
// At the end of input a text state emits an end of file token and stays where it
// is; the driver's loop then stops. Text goes out as runs up to the next unit
// that means something to the state, where the receiver takes runs, and one
// unit per receiver call otherwise: nothing here allocates per unit.
#include "tokenizer/tokenizer.h"

namespace Parsers {

void Tokenizer::dataState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitEndOfFile();
        return;
    }
    switch (c) {
    case u'&':
        transitionTo(TokenizerState::CharacterReferenceInData);
        return;
    case u'<':
        switchTo(TokenizerState::TagOpen);
        currentTag->position = stream->position;
        return;
    case 0:
        // Unlike every other state, data delivers a NUL as it stands.
        reportPosition(ParseErrorCode::NullInData);
        emitCharacter(0);
        return;
    default:
        emitCharacterRun<u'&', u'<', 0>();
        return;
    }
}

void Tokenizer::characterReferenceInTextState(TokenizerState returnState)
{
    // No consume here: the '&' is current and the reference begins at `next`.
    // Expansions are one or two units, so the local string stays in place.
    UString expansion;
    consumeCharacterReference(expansion);
    if (expansion.empty()) expansion.push_back(u'&');
    switchTo(returnState);
    for (char16_t unit : expansion) emitCharacter(unit);
}

// RCDATA, RAWTEXT and script data share one function. Each state passes its
// rules as a constant of this file, so that the compiler can fold them into a
// copy of the function for that state: an ordinary unit costs what it would in
// a function of its own.
struct TextContentRules {
    ParseErrorCode nullInText;
    TokenizerState lessThanSign;
    bool expandsReferences;  // only RCDATA reads character references
};

namespace {

constexpr TextContentRules kRcdataContent{
    ParseErrorCode::NullInRcdata, TokenizerState::RcdataLessThanSign, true};
constexpr TextContentRules kRawtextContent{
    ParseErrorCode::NullInRawtext, TokenizerState::RawtextLessThanSign, false};
constexpr TextContentRules kScriptDataContent{
    ParseErrorCode::NullInScriptData, TokenizerState::ScriptDataLessThanSign, false};

}  // namespace

void Tokenizer::textContentState(const TextContentRules& rules)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitEndOfFile();
        return;
    }
    // Tested apart from the switch, so that where it is off no test of '&' is
    // left in the copy at all.
    if (rules.expandsReferences && c == u'&') {
        transitionTo(TokenizerState::CharacterReferenceInRcdata);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(rules.nullInText);
        emitCharacter(u'\uFFFD');
        return;
    case u'<':
        transitionTo(rules.lessThanSign);
        return;
    default:
        // A run also stops at a '&' where it is no reference: the next step
        // emits it as any other unit, and the run goes on from there.
        emitCharacterRun<u'&', u'<', 0>();
        return;
    }
}

void Tokenizer::rcdataState() { textContentState(kRcdataContent); }
void Tokenizer::rawtextState() { textContentState(kRawtextContent); }
void Tokenizer::scriptDataState() { textContentState(kScriptDataContent); }

void Tokenizer::plaintextState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitEndOfFile();
        return;
    }
    if (c == 0) {
        reportPosition(ParseErrorCode::NullInPlaintext);
        emitCharacter(u'\uFFFD');
        return;
    }
    emitCharacterRun<0>();
}

void Tokenizer::finishTextLessThanSign(char16_t c, const TextEndTagFamily& family)
{
    if (c == u'/') {
        beginEndTagInText(family.openState);
        return;
    }
    emitLessThanSignAsText(family.textState);
}

// "<" inside RCDATA or RAWTEXT. Nothing here tests for the end of input: at the
// end `current` is 0, which takes the last branch and steps back over the '<',
// so a text that ends in '<' here comes back to this state for ever.
void Tokenizer::textLessThanSignState(const TextEndTagFamily& family)
{
    finishTextLessThanSign(consumeUnit(), family);
}

void Tokenizer::textEndTagOpenState(const TextEndTagFamily& family)
{
    const char16_t c = consumeUnit();
    if (isAsciiLetter(c)) {
        currentTag->setFirstCharacter(family.foldsName ? toAsciiLower(c) : nameUnit(c));
        temporaryBuffer.push_back(c);
        transitionTo(family.nameState);
        return;
    }
    emitEndTagOpeningAsText(family.textState);
}

void Tokenizer::textEndTagNameState(const TextEndTagFamily& family)
{
    // The test comes before the consume: it compares the name read so far.
    const bool appropriate = isAppropriateEndTag();
    const char16_t c = consumeUnit();
    if (isAsciiLetter(c)) {
        currentTag->appendToName(family.foldsName ? toAsciiLower(c) : nameUnit(c));
        temporaryBuffer.push_back(c);
        return;
    }
    if (appropriate) {
        if (isTokenizerSpace(c)) {
            transitionTo(TokenizerState::BeforeAttributeName);
            return;
        }
        if (c == u'/') {
            transitionTo(TokenizerState::SelfClosingStartTag);
            return;
        }
        if (c == u'>') {
            emitTagAndReturnToData();
            return;
        }
    }
    // Not the end tag of the element: everything read since the '<' is text.
    transitionTo(family.textState);
    emitCharacter(u'<');
    emitCharacter(u'/');
    emitTemporaryBuffer();
    stream->unconsume();
}

}  // namespace Parsers
