// Tag and attribute states: everything from a '<' that opens a tag to the '>'
// that emits it.
//
// Names keep the case of the source in the case preserving mode and are folded
// in the case folding mode; in both a colon splits a prefix off a tag or
// attribute name. At the end of input these states go back to data: the pending
// tag is dropped unemitted and the last unit of the text is read again as text.
#include "tokenizer/tokenizer.h"

namespace Parsers {

namespace {

constexpr char16_t kReplacementCharacter = u'\uFFFD';

void appendToValue(TagToken& tag, char16_t unit)
{
    tag.currentAttribute->appendToValue(unit);
}

}  // namespace

// Letters and every other unit without a rule of its own grow an attribute
// name, each in its own step, so a run of them is read at once (3.8 of 196
// million instructions on five corpus documents); the id found for the old
// name is void. Tag names are too short for a run to pay.
void Tokenizer::appendAttributeNameRun()
{
    const std::u16string_view run = consumeRunFromCurrent<0, u'\t', u'\n', u'\f', u' ', u'"',
                                                          u'\'', u'<', u'/', u':', u'=', u'>'>();
    appendNameRun(attributeNameBuilder, run);
    currentTag->nameChangedIn(attributeNameBuilder);
}

void Tokenizer::tagOpenState()
{
    // No test for the end of input: there `current` is 0 and takes the last
    // branch, whose step back over '<' makes a text ending in '<' loop.
    const char16_t c = consumeUnit();
    if (isAsciiLetter(c)) {
        currentTag->setFirstCharacter(nameUnit(c));
        transitionTo(TokenizerState::TagName);
        return;
    }
    switch (c) {
    case u'!':
        transitionTo(TokenizerState::MarkupDeclarationOpen);
        return;
    case u'/':
        // An end tag begins at its '/'.
        switchTo(TokenizerState::EndTagOpen);
        currentTag->position = stream->position;
        return;
    case u'?':
        reportPosition(ParseErrorCode::QuestionMarkInTagOpen);
        transitionTo(TokenizerState::BogusComment);
        return;
    default:
        // The tag is abandoned but stays pending; the next '<' reuses it.
        reportCharacter(ParseErrorCode::UnexpectedCharacterInTagOpen);
        emitLessThanSignAsText(TokenizerState::Data);
        return;
    }
}

void Tokenizer::endTagOpenState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        reportPosition(ParseErrorCode::EofInEndTagOpen);
        emitEndTagOpeningAsText(TokenizerState::Data);
        return;
    }
    if (isAsciiLetter(c)) {
        currentTag->setFirstCharacter(nameUnit(c));
        transitionTo(TokenizerState::TagName);
        return;
    }
    if (c == u'>') {
        // "</>" is dropped; its end tag stays pending.
        reportPosition(ParseErrorCode::GreaterThanInEndTagOpen);
        transitionTo(TokenizerState::Data);
        return;
    }
    reportCharacter(ParseErrorCode::UnexpectedCharacterInEndTagOpen);
    transitionTo(TokenizerState::BogusComment);
}

void Tokenizer::tagNameState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInTagName);
        return;
    }
    if (isAsciiLetter(c)) {
        currentTag->appendToName(nameUnit(c));
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInTagName);
        currentTag->appendToName(kReplacementCharacter);
        return;
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        transitionTo(TokenizerState::BeforeAttributeName);
        return;
    case u'/':
        transitionTo(TokenizerState::SelfClosingStartTag);
        return;
    case u':':
        // Everything before the colon is the prefix. With more colons the last
        // one wins and the earlier prefix is lost.
        currentTag->prefix = currentTag->name;
        currentTag->setName(UString());
        currentTag->tagEntry = nullptr;
        return;
    case u'>':
        emitTagAndReturnToData();
        return;
    default:
        currentTag->appendToName(c);
        return;
    }
}

void Tokenizer::beforeAttributeNameState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInBeforeAttributeName);
        return;
    }
    if (isAsciiLetter(c)) {
        beginAttributeName(nameUnit(c));
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInBeforeAttributeName);
        beginAttributeName(kReplacementCharacter);
        return;
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'"':
    case u'\'':
    case u'<':
    case u'=':
        reportCharacter(ParseErrorCode::UnexpectedCharacterInBeforeAttributeName);
        beginAttributeName(c);
        return;
    case u'/':
        transitionTo(TokenizerState::SelfClosingStartTag);
        return;
    case u'>':
        emitTagAndReturnToData();
        return;
    default:
        beginAttributeName(c);
        return;
    }
}

// The attribute is entered into the tag's map at every exit of this state, after
// the change of state.
void Tokenizer::attributeNameState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        // This state has no end of input code of its own and borrows the one of
        // the state before.
        backToData(ParseErrorCode::EofInBeforeAttributeName);
        finishAttribute();
        return;
    }
    if (isAsciiLetter(c)) {
        appendAttributeNameRun();
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInAttributeName);
        attributeNameBuilder.push_back(kReplacementCharacter);
        currentTag->nameChangedIn(attributeNameBuilder);
        return;
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        leaveAttributeName(TokenizerState::AfterAttributeName);
        return;
    case u'"':
    case u'\'':
    case u'<':
        reportCharacter(ParseErrorCode::UnexpectedCharacterInAttributeName);
        attributeNameBuilder.push_back(c);
        currentTag->nameChangedIn(attributeNameBuilder);
        return;
    case u'/':
        leaveAttributeName(TokenizerState::SelfClosingStartTag);
        return;
    case u':': {
        // The name so far becomes the prefix; setName clears the cached id.
        Attribute& attribute = *currentTag->currentAttribute;
        attribute.prefix = attribute.name.str();
        attribute.setName(UString());
        attributeNameBuilder.clear();
        return;
    }
    case u'=':
        leaveAttributeName(TokenizerState::BeforeAttributeValue);
        return;
    case u'>':
        leaveAttributeName(TokenizerState::Data);
        emitCurrentTag();
        return;
    default:
        appendAttributeNameRun();
        return;
    }
}

// Two parts that always run one after the other. The first looks at the unit
// just consumed; the second looks at `current` as the first left it, which after
// the end of input is the unit before the one stepped back over. So a letter
// begins its attribute twice, and a text that ends in an attribute name and one
// space never ends: each turn begins the attribute again, reads the space again,
// reports the duplicate and comes back here. Each turn frees the attribute of
// the turn before, so the loop does not grow.
void Tokenizer::afterAttributeNameState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInAfterAttributeName);
    } else if (isAsciiLetter(c)) {
        beginAttributeName(nameUnit(c));
    }

    const char16_t now = stream->current;
    switch (now) {
    case 0:
        reportPosition(ParseErrorCode::NullInAfterAttributeName);
        beginAttributeName(kReplacementCharacter);
        return;
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'"':
    case u'\'':
    case u'<':
        reportCharacter(ParseErrorCode::UnexpectedCharacterInAfterAttributeName);
        beginAttributeName(now);
        return;
    case u'/':
        transitionTo(TokenizerState::SelfClosingStartTag);
        return;
    case u'=':
        transitionTo(TokenizerState::BeforeAttributeValue);
        return;
    case u'>':
        emitTagAndReturnToData();
        return;
    default:
        beginAttributeName(nameUnit(now));
        return;
    }
}

void Tokenizer::beforeAttributeValueState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInBeforeAttributeValue);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInBeforeAttributeValue);
        appendToValue(*currentTag, kReplacementCharacter);
        transitionTo(TokenizerState::AttributeValueUnquoted);
        return;
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'"':
        transitionTo(TokenizerState::AttributeValueDoubleQuoted);
        return;
    case u'&':
        // The unquoted value state reads the '&' again and starts the reference.
        transitionTo(TokenizerState::AttributeValueUnquoted);
        stream->unconsume();
        return;
    case u'\'':
        transitionTo(TokenizerState::AttributeValueSingleQuoted);
        return;
    case u'<':
    case u'=':
    case u'`':
        // Reported by position, not with the unit, unlike the other unexpected
        // characters.
        reportPosition(ParseErrorCode::UnexpectedCharacterInBeforeAttributeValue);
        appendToValue(*currentTag, c);
        switchTo(TokenizerState::AttributeValueUnquoted);
        return;
    case u'>':
        reportPosition(ParseErrorCode::GreaterThanInBeforeAttributeValue);
        switchTo(TokenizerState::Data);
        emitCurrentTag();
        return;
    default:
        appendToValue(*currentTag, c);
        switchTo(TokenizerState::AttributeValueUnquoted);
        return;
    }
}

void Tokenizer::attributeValueQuotedState(char16_t quote)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInQuotedAttributeValue);
        return;
    }
    if (c == quote) {
        transitionTo(TokenizerState::AfterAttributeValueQuoted);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInQuotedAttributeValue);
        appendToValue(*currentTag, kReplacementCharacter);
        return;
    case u'&':
        // The closing quote directly after the '&' ends the reference at once.
        additionalAllowedCharacter.store(quote, std::memory_order_relaxed);
        transitionTo(TokenizerState::CharacterReferenceInAttributeValue);
        return;
    default:
        // The value grows by the run up to the quote, a reference or a NUL.
        currentTag->currentAttribute->appendToValue(quote == u'"'
                                                        ? consumeRunFromCurrent<u'"', u'&', 0>()
                                                        : consumeRunFromCurrent<u'\'', u'&', 0>());
        return;
    }
}

void Tokenizer::attributeValueUnquotedState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInUnquotedAttributeValue);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInUnquotedAttributeValue);
        appendToValue(*currentTag, kReplacementCharacter);
        return;
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        transitionTo(TokenizerState::BeforeAttributeName);
        return;
    case u'&':
        additionalAllowedCharacter.store(u'>', std::memory_order_relaxed);
        transitionTo(TokenizerState::CharacterReferenceInAttributeValue);
        return;
    case u'\'':
    case u'<':
    case u'=':
    case u'?':
    case u'`':
        // '?' is reported here and '"' is not: '"' goes to the value silently.
        reportCharacter(ParseErrorCode::UnexpectedCharacterInUnquotedAttributeValue);
        appendToValue(*currentTag, c);
        return;
    case u'>':
        emitTagAndReturnToData();
        return;
    default:
        appendToValue(*currentTag, c);
        return;
    }
}

void Tokenizer::characterReferenceInAttributeValueState()
{
    // No consume: the '&' is current. Back to the value state that came here.
    UString expansion;
    consumeCharacterReference(expansion);
    if (expansion.empty()) {
        appendToValue(*currentTag, u'&');
    } else {
        currentTag->currentAttribute->appendToValue(expansion);
    }
    switchTo(previousState);
}

void Tokenizer::afterAttributeValueQuotedState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofAfterQuotedAttributeValue);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        transitionTo(TokenizerState::BeforeAttributeName);
        return;
    case u'/':
        transitionTo(TokenizerState::SelfClosingStartTag);
        return;
    case u'>':
        emitTagAndReturnToData();
        return;
    default:
        reportCharacter(ParseErrorCode::UnexpectedCharacterAfterQuotedAttributeValue);
        stream->unconsume();
        transitionTo(TokenizerState::BeforeAttributeName);
        return;
    }
}

void Tokenizer::selfClosingStartTagState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInSelfClosingStartTag);
        return;
    }
    if (c == u'>') {
        currentTag->selfClosing = true;
        emitTagAndReturnToData();
        return;
    }
    reportCharacter(ParseErrorCode::UnexpectedCharacterInSelfClosingStartTag);
    stream->unconsume();
    transitionTo(TokenizerState::BeforeAttributeName);
}

}  // namespace Parsers
