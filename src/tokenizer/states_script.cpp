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
// The rest is the rows of RCDATA's '<', at the end of input too: the step back
// over '<' makes it loop.
void Tokenizer::scriptDataLessThanSignState()
{
    const char16_t c = consumeUnit();
    if (c == u'!') {
        emitCharacter(u'<');
        emitCharacter(u'!');
        transitionTo(TokenizerState::ScriptDataEscapeStart);
        return;
    }
    finishTextLessThanSign(c, kScriptDataEndTags);
}

// "<!-" and "<!--": each dash is emitted as it is read; anything else falls back
// to plain script data and is read again there.
void Tokenizer::scriptDataEscapeStartState(TokenizerState afterDash)
{
    if (consumeUnit() == u'-') {
        emitCharacter(u'-');
        transitionTo(afterDash);
        return;
    }
    stream->unconsume();
    transitionTo(TokenizerState::ScriptData);
}

void Tokenizer::enterEscapedLessThanSign(const ScriptEscapeFamily& family)
{
    if (family.emitsLessThanSign) emitCharacter(u'<');
    transitionTo(family.lessThanSign);
}

// Escaped text ("<!--" in a script) and double escaped text: '-' and '<' are
// watched for the end of the escape and for nested tags, everything else is
// text.
void Tokenizer::scriptDataEscapedState(const ScriptEscapeFamily& family)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(family.endOfInputInText);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(family.nullInText);
        emitCharacter(kReplacementCharacter);
        return;
    case u'-':
        emitCharacter(u'-');
        transitionTo(family.dash);
        return;
    case u'<':
        enterEscapedLessThanSign(family);
        return;
    default:
        emitCharacter(c);
        return;
    }
}

void Tokenizer::scriptDataEscapedDashState(const ScriptEscapeFamily& family)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(family.endOfInputAfterDash);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(family.nullAfterDash);
        emitCharacter(kReplacementCharacter);
        transitionTo(family.text);
        return;
    case u'-':
        emitCharacter(u'-');
        transitionTo(family.dashDash);
        return;
    case u'<':
        enterEscapedLessThanSign(family);
        return;
    default:
        emitCharacter(c);
        transitionTo(family.text);
        return;
    }
}

// "--" seen: further dashes stay here, and "-->" leaves the escaped text for
// plain script data, from either family.
void Tokenizer::scriptDataEscapedDashDashState(const ScriptEscapeFamily& family)
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        backToData(family.endOfInputAfterDashDash);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(family.nullAfterDashDash);
        emitCharacter(kReplacementCharacter);
        transitionTo(family.text);
        return;
    case u'-':
        emitCharacter(u'-');
        return;
    case u'<':
        enterEscapedLessThanSign(family);
        return;
    case u'>':
        emitCharacter(u'>');
        transitionTo(TokenizerState::ScriptData);
        return;
    default:
        emitCharacter(c);
        transitionTo(family.text);
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
    finishTextLessThanSign(c, kScriptDataEscapedEndTags);
}

// States 27 and 32: a tag name inside escaped text is read to its end; when it
// is "script" the text crosses into (or out of) the double escaped part.
void Tokenizer::scriptDataDoubleEscapeBoundaryState(TokenizerState ifScript,
                                                   TokenizerState otherwise)
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

}  // namespace Parsers
