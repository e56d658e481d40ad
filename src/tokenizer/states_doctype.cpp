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

// After "<!DOCTYPE": a missing space is reported and the unit read again as the
// start of the name.
void Tokenizer::doctypeState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofInDoctype);
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
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofBeforeDoctypeName);
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
        reportPosition(ParseErrorCode::GreaterThanBeforeDoctypeName);
        currentDoctype->forceQuirks = true;
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
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
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofInDoctypeName);
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
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
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
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofInDoctypeName);
        return;
    }
    if (isTokenizerSpace(c)) return;
    if (c == u'>') {
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
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
    reportCharacter(ParseErrorCode::UnexpectedCharacterAfterDoctypeName);
    currentDoctype->forceQuirks = true;
    switchTo(TokenizerState::BogusDoctype);
}

// A quote right after the keyword is reported but still opens the identifier.
// Every way out other than an identifier marks the document quirky.
void Tokenizer::afterDoctypePublicKeywordState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofAfterDoctypePublicKeyword);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        transitionTo(TokenizerState::BeforeDoctypePublicIdentifier);
        return;
    case u'"':
        reportPosition(ParseErrorCode::QuotationMarkAfterDoctypePublicKeyword);
        currentDoctype->publicId.clear();
        transitionTo(TokenizerState::DoctypePublicIdentifierDoubleQuoted);
        return;
    case u'\'':
        reportPosition(ParseErrorCode::ApostropheAfterDoctypePublicKeyword);
        currentDoctype->publicId.clear();
        transitionTo(TokenizerState::DoctypePublicIdentifierSingleQuoted);
        return;
    case u'>':
        reportPosition(ParseErrorCode::GreaterThanAfterDoctypePublicKeyword);
        currentDoctype->forceQuirks = true;
        switchTo(TokenizerState::Data);
        emitCurrentDoctype();
        return;
    default:
        reportCharacter(ParseErrorCode::UnexpectedCharacterAfterDoctypePublicKeyword);
        currentDoctype->forceQuirks = true;
        switchTo(TokenizerState::BogusDoctype);
        return;
    }
}

void Tokenizer::beforeDoctypePublicIdentifierState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofBeforeDoctypePublicIdentifier);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'"':
        currentDoctype->publicId.clear();
        transitionTo(TokenizerState::DoctypePublicIdentifierDoubleQuoted);
        return;
    case u'\'':
        currentDoctype->publicId.clear();
        transitionTo(TokenizerState::DoctypePublicIdentifierSingleQuoted);
        return;
    case u'>':
        reportPosition(ParseErrorCode::GreaterThanBeforeDoctypePublicIdentifier);
        currentDoctype->forceQuirks = true;
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
        return;
    default:
        reportCharacter(ParseErrorCode::UnexpectedCharacterBeforeDoctypePublicIdentifier);
        currentDoctype->forceQuirks = true;
        switchTo(TokenizerState::BogusDoctype);
        return;
    }
}

// Inside a quoted identifier a '>' ends the whole doctype, with quirks; only the
// matching quote ends the identifier alone.
void Tokenizer::doctypePublicIdentifierQuotedState(char16_t quote)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofInDoctypePublicIdentifier);
        return;
    }
    if (c == quote) {
        transitionTo(TokenizerState::AfterDoctypePublicIdentifier);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInDoctypePublicIdentifier);
        currentDoctype->publicId.push_back(kReplacementCharacter);
        return;
    case u'>':
        reportPosition(ParseErrorCode::GreaterThanInDoctypePublicIdentifier);
        currentDoctype->forceQuirks = true;
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
        return;
    default:
        currentDoctype->publicId.push_back(c);
        return;
    }
}

// A public identifier may be followed directly by the system identifier; the
// missing space is reported, and '>' here ends a doctype without quirks.
void Tokenizer::afterDoctypePublicIdentifierState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofAfterDoctypePublicIdentifier);
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
        currentDoctype->systemId.clear();
        transitionTo(TokenizerState::DoctypeSystemIdentifierDoubleQuoted);
        return;
    case u'\'':
        reportPosition(ParseErrorCode::ApostropheAfterDoctypePublicIdentifier);
        currentDoctype->systemId.clear();
        transitionTo(TokenizerState::DoctypeSystemIdentifierSingleQuoted);
        return;
    case u'>':
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
        return;
    default:
        reportCharacter(ParseErrorCode::UnexpectedCharacterAfterDoctypePublicIdentifier);
        currentDoctype->forceQuirks = true;
        switchTo(TokenizerState::BogusDoctype);
        return;
    }
}

void Tokenizer::betweenDoctypePublicAndSystemIdentifiersState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofBetweenDoctypeIdentifiers);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'"':
        currentDoctype->systemId.clear();
        transitionTo(TokenizerState::DoctypeSystemIdentifierDoubleQuoted);
        return;
    case u'\'':
        currentDoctype->systemId.clear();
        transitionTo(TokenizerState::DoctypeSystemIdentifierSingleQuoted);
        return;
    case u'>':
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
        return;
    default:
        reportCharacter(ParseErrorCode::UnexpectedCharacterBetweenDoctypeIdentifiers);
        currentDoctype->forceQuirks = true;
        switchTo(TokenizerState::BogusDoctype);
        return;
    }
}

// The same rows as after the public keyword, leading to the system identifier.
void Tokenizer::afterDoctypeSystemKeywordState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofAfterDoctypeSystemKeyword);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        transitionTo(TokenizerState::BeforeDoctypeSystemIdentifier);
        return;
    case u'"':
        reportPosition(ParseErrorCode::QuotationMarkAfterDoctypeSystemKeyword);
        currentDoctype->systemId.clear();
        transitionTo(TokenizerState::DoctypeSystemIdentifierDoubleQuoted);
        return;
    case u'\'':
        reportPosition(ParseErrorCode::ApostropheAfterDoctypeSystemKeyword);
        currentDoctype->systemId.clear();
        transitionTo(TokenizerState::DoctypeSystemIdentifierSingleQuoted);
        return;
    case u'>':
        reportPosition(ParseErrorCode::GreaterThanAfterDoctypeSystemKeyword);
        currentDoctype->forceQuirks = true;
        switchTo(TokenizerState::Data);
        emitCurrentDoctype();
        return;
    default:
        reportCharacter(ParseErrorCode::UnexpectedCharacterAfterDoctypeSystemKeyword);
        currentDoctype->forceQuirks = true;
        switchTo(TokenizerState::BogusDoctype);
        return;
    }
}

void Tokenizer::beforeDoctypeSystemIdentifierState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofBeforeDoctypeSystemIdentifier);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'"':
        currentDoctype->systemId.clear();
        transitionTo(TokenizerState::DoctypeSystemIdentifierDoubleQuoted);
        return;
    case u'\'':
        currentDoctype->systemId.clear();
        transitionTo(TokenizerState::DoctypeSystemIdentifierSingleQuoted);
        return;
    case u'>':
        reportPosition(ParseErrorCode::GreaterThanBeforeDoctypeSystemIdentifier);
        currentDoctype->forceQuirks = true;
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
        return;
    default:
        reportCharacter(ParseErrorCode::UnexpectedCharacterBeforeDoctypeSystemIdentifier);
        currentDoctype->forceQuirks = true;
        switchTo(TokenizerState::BogusDoctype);
        return;
    }
}

void Tokenizer::doctypeSystemIdentifierQuotedState(char16_t quote)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofInDoctypeSystemIdentifier);
        return;
    }
    if (c == quote) {
        transitionTo(TokenizerState::AfterDoctypeSystemIdentifier);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInDoctypeSystemIdentifier);
        currentDoctype->systemId.push_back(kReplacementCharacter);
        return;
    case u'>':
        reportPosition(ParseErrorCode::GreaterThanInDoctypeSystemIdentifier);
        currentDoctype->forceQuirks = true;
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
        return;
    default:
        currentDoctype->systemId.push_back(c);
        return;
    }
}

void Tokenizer::afterDoctypeSystemIdentifierState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        currentDoctype->forceQuirks = true;
        emitDoctypeAndBack(ParseErrorCode::EofAfterDoctypeSystemIdentifier);
        return;
    }
    switch (c) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
        return;
    case u'>':
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
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
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
        stream->unconsume();
        return;
    }
    if (c == u'>') {
        transitionTo(TokenizerState::Data);
        emitCurrentDoctype();
    }
}

}  // namespace Parsers
