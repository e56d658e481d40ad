// Doctype states: the name, the PUBLIC and SYSTEM keywords, the two identifiers
// and the bogus rest.
//
// The doctype name is folded to lower case in every mode, unlike tag names. At
// the end of input the doctype is emitted as far as it got, with quirks set
// (except in the bogus state), and the last unit is read again as text.
#include "tokenizer/tokenizer.h"

namespace Parsers {

namespace {

constexpr char16_t kReplacementCharacter = u'\uFFFD';
constexpr char16_t kPublicKeyword[] = u"public";
constexpr char16_t kSystemKeyword[] = u"system";

}  // namespace

void Tokenizer::emitDoctypeWithQuirks(ParseErrorCode code)
{
    reportPosition(code);
    currentDoctype->forceQuirks = true;
    emitDoctypeAndReturnToData();
}

void Tokenizer::treatDoctypeAsBogus(ParseErrorCode code)
{
    reportCharacter(code);
    currentDoctype->forceQuirks = true;
    switchTo(TokenizerState::BogusDoctype);
}

void Tokenizer::openDoctypeIdentifier(const DoctypeIdentifierFamily& family, char16_t quote)
{
    ((*currentDoctype).*family.identifier).clear();
    transitionTo(quote == u'"' ? family.doubleQuoted : family.singleQuoted);
}

// After "<!DOCTYPE": a missing space is reported and the unit read again as the
// start of the name.
void Tokenizer::doctypeState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitDoctypeWithQuirksAndBack(ParseErrorCode::EofInDoctype);
        return;
    }
    if (isTokenizerSpace(c)) {
        transitionTo(TokenizerState::BeforeDoctypeName);
        return;
    }
    reportCharacter(ParseErrorCode::UnexpectedCharacterInDoctype);
    stream->unconsume();
    transitionTo(TokenizerState::BeforeDoctypeName);
}

// A doctype without a name ("<!DOCTYPE>") is emitted with quirks; the first unit
// of a name replaces whatever a reused pending doctype held.
void Tokenizer::beforeDoctypeNameState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitDoctypeWithQuirksAndBack(ParseErrorCode::EofBeforeDoctypeName);
        return;
    }
    if (isAsciiLetter(c)) {
        currentDoctype->setFirstCharacter(toAsciiLower(c));
        transitionTo(TokenizerState::DoctypeName);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullBeforeDoctypeName);
        currentDoctype->setFirstCharacter(kReplacementCharacter);
        transitionTo(TokenizerState::DoctypeName);
        return;
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'>':
        emitDoctypeWithQuirks(ParseErrorCode::GreaterThanBeforeDoctypeName);
        return;
    default:
        currentDoctype->setFirstCharacter(c);
        transitionTo(TokenizerState::DoctypeName);
        return;
    }
}

void Tokenizer::doctypeNameState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitDoctypeWithQuirksAndBack(ParseErrorCode::EofInDoctypeName);
        return;
    }
    if (isAsciiLetter(c)) {
        currentDoctype->name.push_back(toAsciiLower(c));
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInDoctypeName);
        currentDoctype->name.push_back(kReplacementCharacter);
        return;
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        transitionTo(TokenizerState::AfterDoctypeName);
        return;
    case u'>':
        emitDoctypeAndReturnToData();
        return;
    default:
        currentDoctype->name.push_back(c);
        return;
    }
}

bool Tokenizer::currentBeginsKeyword(const char16_t* keyword) const
{
    if (toAsciiLower(stream->current) != keyword[0]) return false;
    for (std::uint32_t index = 1; index < 6; ++index) {
        if (toAsciiLower(stream->next[index - 1]) != keyword[index]) return false;
    }
    return true;
}

// The keywords are only found when at least six units follow `current`, and
// taking them consumes six units although only five are still unread: the unit
// right behind the keyword goes with it unseen. So "PUBLIC \"x\"" reaches the
// next state at the quote, and "PUBLIC>" loses its '>'.
void Tokenizer::afterDoctypeNameState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        // No end of input code of its own: the one of the name state is used.
        emitDoctypeWithQuirksAndBack(ParseErrorCode::EofInDoctypeName);
        return;
    }
    if (isTokenizerSpace(c)) return;
    if (c == u'>') {
        emitDoctypeAndReturnToData();
        return;
    }
    const std::uint32_t unitsAfter = stream->remaining;
    if (unitsAfter >= 6 && currentBeginsKeyword(kPublicKeyword)) {
        stream->skip(6);
        transitionTo(TokenizerState::AfterDoctypePublicKeyword);
        return;
    }
    if (unitsAfter >= 6 && currentBeginsKeyword(kSystemKeyword)) {
        stream->skip(6);
        transitionTo(TokenizerState::AfterDoctypeSystemKeyword);
        return;
    }
    treatDoctypeAsBogus(ParseErrorCode::UnexpectedCharacterAfterDoctypeName);
}

// A quote right after the keyword is reported but still opens the identifier.
// Every way out other than an identifier marks the document quirky.
void Tokenizer::afterDoctypeKeywordState(const DoctypeIdentifierFamily& family)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitDoctypeWithQuirksAndBack(family.endOfInputAfterKeyword);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        transitionTo(family.beforeIdentifier);
        return;
    case u'"':
        reportPosition(family.quotationMarkAfterKeyword);
        openDoctypeIdentifier(family, c);
        return;
    case u'\'':
        reportPosition(family.apostropheAfterKeyword);
        openDoctypeIdentifier(family, c);
        return;
    case u'>':
        emitDoctypeWithQuirks(family.greaterThanAfterKeyword);
        return;
    default:
        treatDoctypeAsBogus(family.unexpectedAfterKeyword);
        return;
    }
}

void Tokenizer::beforeDoctypeIdentifierState(const DoctypeIdentifierFamily& family)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitDoctypeWithQuirksAndBack(family.endOfInputBeforeIdentifier);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'"':
    case u'\'':
        openDoctypeIdentifier(family, c);
        return;
    case u'>':
        emitDoctypeWithQuirks(family.greaterThanBeforeIdentifier);
        return;
    default:
        treatDoctypeAsBogus(family.unexpectedBeforeIdentifier);
        return;
    }
}

// Inside a quoted identifier a '>' ends the whole doctype, with quirks; only the
// matching quote ends the identifier alone.
void Tokenizer::doctypeIdentifierQuotedState(const DoctypeIdentifierFamily& family, char16_t quote)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitDoctypeWithQuirksAndBack(family.endOfInputInIdentifier);
        return;
    }
    if (c == quote) {
        transitionTo(family.afterIdentifier);
        return;
    }
    UString& identifier = (*currentDoctype).*family.identifier;
    switch (c) {
    case 0:
        reportPosition(family.nullInIdentifier);
        identifier.push_back(kReplacementCharacter);
        return;
    case u'>':
        emitDoctypeWithQuirks(family.greaterThanInIdentifier);
        return;
    default:
        identifier.push_back(c);
        return;
    }
}

// A public identifier may be followed directly by the system identifier; the
// missing space is reported, and '>' here ends a doctype without quirks.
void Tokenizer::afterDoctypePublicIdentifierState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitDoctypeWithQuirksAndBack(ParseErrorCode::EofAfterDoctypePublicIdentifier);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        transitionTo(TokenizerState::BetweenDoctypePublicAndSystemIdentifiers);
        return;
    case u'"':
        reportPosition(ParseErrorCode::QuotationMarkAfterDoctypePublicIdentifier);
        openDoctypeIdentifier(kDoctypeSystemIdentifier, c);
        return;
    case u'\'':
        reportPosition(ParseErrorCode::ApostropheAfterDoctypePublicIdentifier);
        openDoctypeIdentifier(kDoctypeSystemIdentifier, c);
        return;
    case u'>':
        emitDoctypeAndReturnToData();
        return;
    default:
        treatDoctypeAsBogus(ParseErrorCode::UnexpectedCharacterAfterDoctypePublicIdentifier);
        return;
    }
}

void Tokenizer::betweenDoctypePublicAndSystemIdentifiersState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitDoctypeWithQuirksAndBack(ParseErrorCode::EofBetweenDoctypeIdentifiers);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'"':
    case u'\'':
        openDoctypeIdentifier(kDoctypeSystemIdentifier, c);
        return;
    case u'>':
        emitDoctypeAndReturnToData();
        return;
    default:
        treatDoctypeAsBogus(ParseErrorCode::UnexpectedCharacterBetweenDoctypeIdentifiers);
        return;
    }
}

void Tokenizer::afterDoctypeSystemIdentifierState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitDoctypeWithQuirksAndBack(ParseErrorCode::EofAfterDoctypeSystemIdentifier);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'>':
        emitDoctypeAndReturnToData();
        return;
    default:
        // Unlike the states before, this one leaves quirks alone.
        reportCharacter(ParseErrorCode::UnexpectedCharacterAfterDoctypeSystemIdentifier);
        transitionTo(TokenizerState::BogusDoctype);
        return;
    }
}

// Everything up to the next '>' is ignored; the doctype keeps what it had.
void Tokenizer::bogusDoctypeState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        // The one end of input here without a report and without quirks.
        emitDoctypeAndReturnToData();
        stream->unconsume();
        return;
    }
    if (c == u'>') {
        emitDoctypeAndReturnToData();
    }
}

}  // namespace Parsers
