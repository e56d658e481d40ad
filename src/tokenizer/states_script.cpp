// Script data states: the '<' handling inside a script, the escaped text that
// "<!--" opens, and the double escaped text in which an inner "<script>" keeps
// "</script>" from ending the element.
//
// The escaped states end at the end of input by going back to data, which steps
// back over the last unit and reads it once more as text.
#include "tokenizer/tokenizer.h"

namespace Parsers {

namespace {

constexpr char16_t kReplacementCharacter = u'\uFFFD';
constexpr char16_t kScriptName[] = u"script";

}  // namespace

// '<' inside a script: "</" may end the script, "<!" may open escaped text.
// Either way the units are text unless an end tag is recognised.
void Tokenizer::scriptDataLessThanSignState()
{
    const char16_t c = consumeUnit();
    switch (c) {
    case u'!':
        emitCharacter(u'<');
        emitCharacter(u'!');
        transitionTo(TokenizerState::ScriptDataEscapeStart);
        return;
    case u'/':
        beginEndTagInText(TokenizerState::ScriptDataEndTagOpen);
        return;
    default:
        // Also the end of input: the step back over '<' makes it loop.
        transitionTo(TokenizerState::ScriptData);
        emitCharacter(u'<');
        stream->unconsume();
        return;
    }
}

// "<!-" and "<!--": each dash is emitted as it is read; anything else falls back
// to plain script data and is read again there.
void Tokenizer::scriptDataEscapeStartState()
{
    if (consumeUnit() == u'-') {
        emitCharacter(u'-');
        transitionTo(TokenizerState::ScriptDataEscapeStartDash);
        return;
    }
    stream->unconsume();
    transitionTo(TokenizerState::ScriptData);
}

void Tokenizer::scriptDataEscapeStartDashState()
{
    if (consumeUnit() == u'-') {
        emitCharacter(u'-');
        transitionTo(TokenizerState::ScriptDataEscapedDashDash);
        return;
    }
    stream->unconsume();
    transitionTo(TokenizerState::ScriptData);
}

// Escaped text ("<!--" in a script): '-' and '<' are watched for the end of the
// escape and for nested tags, everything else is text.
void Tokenizer::scriptDataEscapedState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInScriptDataEscaped);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInScriptDataEscaped);
        emitCharacter(kReplacementCharacter);
        return;
    case u'-':
        emitCharacter(u'-');
        transitionTo(TokenizerState::ScriptDataEscapedDash);
        return;
    case u'<':
        transitionTo(TokenizerState::ScriptDataEscapedLessThanSign);
        return;
    default:
        emitCharacter(c);
        return;
    }
}

void Tokenizer::scriptDataEscapedDashState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInScriptDataEscapedDash);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInScriptDataEscapedDash);
        emitCharacter(kReplacementCharacter);
        transitionTo(TokenizerState::ScriptDataEscaped);
        return;
    case u'-':
        emitCharacter(u'-');
        transitionTo(TokenizerState::ScriptDataEscapedDashDash);
        return;
    case u'<':
        transitionTo(TokenizerState::ScriptDataEscapedLessThanSign);
        return;
    default:
        emitCharacter(c);
        transitionTo(TokenizerState::ScriptDataEscaped);
        return;
    }
}

// "--" seen: further dashes stay here, and "-->" leaves the escaped text.
void Tokenizer::scriptDataEscapedDashDashState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInScriptDataEscapedDashDash);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInScriptDataEscapedDashDash);
        emitCharacter(kReplacementCharacter);
        transitionTo(TokenizerState::ScriptDataEscaped);
        return;
    case u'-':
        emitCharacter(u'-');
        return;
    case u'<':
        transitionTo(TokenizerState::ScriptDataEscapedLessThanSign);
        return;
    case u'>':
        emitCharacter(u'>');
        transitionTo(TokenizerState::ScriptData);
        return;
    default:
        emitCharacter(c);
        transitionTo(TokenizerState::ScriptDataEscaped);
        return;
    }
}

void Tokenizer::scriptDataEscapedLessThanSignState()
{
    const char16_t c = consumeUnit();
    if (isAsciiLetter(c)) {
        // A tag inside the escaped text: its name is collected folded to see
        // whether it opens a nested script.
        temporaryBuffer.assign(1, toAsciiLower(c));
        emitCharacter(u'<');
        emitCharacter(c);
        transitionTo(TokenizerState::ScriptDataDoubleEscapeStart);
        return;
    }
    if (c == u'/') {
        beginEndTagInText(TokenizerState::ScriptDataEscapedEndTagOpen);
        return;
    }
    transitionTo(TokenizerState::ScriptDataEscaped);
    emitCharacter(u'<');
    stream->unconsume();
}

// States 27 and 32: a tag name inside escaped text is read to its end; when it
// is "script" the text crosses into (or out of) the double escaped part.
void Tokenizer::scriptDataDoubleEscapeBoundary(TokenizerState ifScript, TokenizerState otherwise)
{
    const char16_t c = consumeUnit();
    if (isAsciiLetter(c)) {
        temporaryBuffer.push_back(toAsciiLower(c));
        emitCharacter(c);
        return;
    }
    if (isTokenizerSpace(c) || c == u'/' || c == u'>') {
        switchTo(temporaryBuffer == kScriptName ? ifScript : otherwise);
        emitCharacter(c);
        return;
    }
    stream->unconsume();
    transitionTo(otherwise);
}

void Tokenizer::scriptDataDoubleEscapeStartState()
{
    scriptDataDoubleEscapeBoundary(TokenizerState::ScriptDataDoubleEscaped,
                                   TokenizerState::ScriptDataEscaped);
}

// Double escaped text (after "<!--<script>"): unlike the escaped states the '<'
// is emitted at once, since no end tag can be recognised here.
void Tokenizer::scriptDataDoubleEscapedState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInScriptDataDoubleEscaped);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInScriptDataDoubleEscaped);
        emitCharacter(kReplacementCharacter);
        return;
    case u'-':
        emitCharacter(u'-');
        transitionTo(TokenizerState::ScriptDataDoubleEscapedDash);
        return;
    case u'<':
        emitCharacter(u'<');
        transitionTo(TokenizerState::ScriptDataDoubleEscapedLessThanSign);
        return;
    default:
        emitCharacter(c);
        return;
    }
}

void Tokenizer::scriptDataDoubleEscapedDashState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInScriptDataDoubleEscapedDash);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInScriptDataDoubleEscapedDash);
        emitCharacter(kReplacementCharacter);
        transitionTo(TokenizerState::ScriptDataDoubleEscaped);
        return;
    case u'-':
        emitCharacter(u'-');
        transitionTo(TokenizerState::ScriptDataDoubleEscapedDashDash);
        return;
    case u'<':
        emitCharacter(u'<');
        transitionTo(TokenizerState::ScriptDataDoubleEscapedLessThanSign);
        return;
    default:
        emitCharacter(c);
        transitionTo(TokenizerState::ScriptDataDoubleEscaped);
        return;
    }
}

void Tokenizer::scriptDataDoubleEscapedDashDashState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(ParseErrorCode::EofInScriptDataDoubleEscapedDashDash);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInScriptDataDoubleEscapedDashDash);
        emitCharacter(kReplacementCharacter);
        transitionTo(TokenizerState::ScriptDataDoubleEscaped);
        return;
    case u'-':
        emitCharacter(u'-');
        return;
    case u'<':
        emitCharacter(u'<');
        transitionTo(TokenizerState::ScriptDataDoubleEscapedLessThanSign);
        return;
    case u'>':
        emitCharacter(u'>');
        transitionTo(TokenizerState::ScriptData);
        return;
    default:
        emitCharacter(c);
        transitionTo(TokenizerState::ScriptDataDoubleEscaped);
        return;
    }
}

// "</" inside double escaped text may begin "</script>", which ends the double
// escape; the name is collected in the temporary buffer.
void Tokenizer::scriptDataDoubleEscapedLessThanSignState()
{
    if (consumeUnit() == u'/') {
        temporaryBuffer.clear();
        emitCharacter(u'/');
        transitionTo(TokenizerState::ScriptDataDoubleEscapeEnd);
        return;
    }
    stream->unconsume();
    transitionTo(TokenizerState::ScriptDataDoubleEscaped);
}

void Tokenizer::scriptDataDoubleEscapeEndState()
{
    scriptDataDoubleEscapeBoundary(TokenizerState::ScriptDataEscaped,
                                   TokenizerState::ScriptDataDoubleEscaped);
}

}  // namespace Parsers
