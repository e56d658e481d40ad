// The frame of the state machine: construction, dispatch, state changes,
// emission and the helpers that every state family uses. The states themselves
// live in the states_*.cpp files.
#include "tokenizer/tokenizer.h"

#include <utility>

#include "library/source_buffer.h"

namespace Parsers {

Tokenizer::Tokenizer(SourceBuffer* sourceBuffer)
    : source(sourceBuffer),
      stream(new CharacterStream(sourceBuffer->text, sourceBuffer->textLength)),
      parseMode(sourceBuffer->parseMode)
{
}

Tokenizer::~Tokenizer()
{
    // Released in a fixed order: the stream first, then the receivers (the tree
    // constructor may hold the last references to tokens), then the buffer and
    // the pending tokens.
    if (ownsStream) delete stream;
    stream = nullptr;
    receivers.clear();
    temporaryBuffer.clear();
    currentDoctype.reset();
    currentComment.reset();
    lastStartTag.reset();
    currentTag.reset();
}

void Tokenizer::addReceiver(std::shared_ptr<TokenReceiver> receiver)
{
    receivers.push_back(std::move(receiver));
    // Runs go to a receiver only while it is alone: with two, each unit must
    // reach both before the next unit reaches either.
    runReceiver = receivers.size() == 1 ? dynamic_cast<CharacterRunReceiver*>(receivers[0].get())
                                        : nullptr;
}

void Tokenizer::step()
{
    // Nothing runs for a value past the last state; the switch below covers
    // every state, so a state added to the enumeration without a case here does
    // not compile.
    if (static_cast<std::uint32_t>(state) >= kTokenizerStateCount) return;
    switch (state) {
    case TokenizerState::Data: dataState(); return;
    case TokenizerState::CharacterReferenceInData:
        characterReferenceInTextState(TokenizerState::Data);
        return;
    case TokenizerState::Rcdata: rcdataState(); return;
    case TokenizerState::CharacterReferenceInRcdata:
        characterReferenceInTextState(TokenizerState::Rcdata);
        return;
    case TokenizerState::Rawtext: rawtextState(); return;
    case TokenizerState::ScriptData: scriptDataState(); return;
    case TokenizerState::Plaintext: plaintextState(); return;
    case TokenizerState::TagOpen: tagOpenState(); return;
    case TokenizerState::EndTagOpen: endTagOpenState(); return;
    case TokenizerState::TagName: tagNameState(); return;
    case TokenizerState::RcdataLessThanSign: textLessThanSignState(kRcdataEndTags); return;
    case TokenizerState::RcdataEndTagOpen: textEndTagOpenState(kRcdataEndTags); return;
    case TokenizerState::RcdataEndTagName: textEndTagNameState(kRcdataEndTags); return;
    case TokenizerState::RawtextLessThanSign: textLessThanSignState(kRawtextEndTags); return;
    case TokenizerState::RawtextEndTagOpen: textEndTagOpenState(kRawtextEndTags); return;
    case TokenizerState::RawtextEndTagName: textEndTagNameState(kRawtextEndTags); return;
    case TokenizerState::ScriptDataLessThanSign: scriptDataLessThanSignState(); return;
    case TokenizerState::ScriptDataEndTagOpen: textEndTagOpenState(kScriptDataEndTags); return;
    case TokenizerState::ScriptDataEndTagName: textEndTagNameState(kScriptDataEndTags); return;
    case TokenizerState::ScriptDataEscapeStart:
        scriptDataEscapeStartState(TokenizerState::ScriptDataEscapeStartDash);
        return;
    case TokenizerState::ScriptDataEscapeStartDash:
        scriptDataEscapeStartState(TokenizerState::ScriptDataEscapedDashDash);
        return;
    case TokenizerState::ScriptDataEscaped: scriptDataEscapedState(kScriptDataEscaped); return;
    case TokenizerState::ScriptDataEscapedDash: scriptDataEscapedDashState(kScriptDataEscaped); return;
    case TokenizerState::ScriptDataEscapedDashDash:
        scriptDataEscapedDashDashState(kScriptDataEscaped);
        return;
    case TokenizerState::ScriptDataEscapedLessThanSign: scriptDataEscapedLessThanSignState(); return;
    case TokenizerState::ScriptDataEscapedEndTagOpen:
        textEndTagOpenState(kScriptDataEscapedEndTags);
        return;
    case TokenizerState::ScriptDataEscapedEndTagName:
        textEndTagNameState(kScriptDataEscapedEndTags);
        return;
    case TokenizerState::ScriptDataDoubleEscapeStart:
        scriptDataDoubleEscapeBoundaryState(TokenizerState::ScriptDataDoubleEscaped,
                                            TokenizerState::ScriptDataEscaped);
        return;
    case TokenizerState::ScriptDataDoubleEscaped:
        scriptDataEscapedState(kScriptDataDoubleEscaped);
        return;
    case TokenizerState::ScriptDataDoubleEscapedDash:
        scriptDataEscapedDashState(kScriptDataDoubleEscaped);
        return;
    case TokenizerState::ScriptDataDoubleEscapedDashDash:
        scriptDataEscapedDashDashState(kScriptDataDoubleEscaped);
        return;
    case TokenizerState::ScriptDataDoubleEscapedLessThanSign:
        scriptDataDoubleEscapedLessThanSignState();
        return;
    case TokenizerState::ScriptDataDoubleEscapeEnd:
        scriptDataDoubleEscapeBoundaryState(TokenizerState::ScriptDataEscaped,
                                            TokenizerState::ScriptDataDoubleEscaped);
        return;
    case TokenizerState::BeforeAttributeName: beforeAttributeNameState(); return;
    case TokenizerState::AttributeName: attributeNameState(); return;
    case TokenizerState::AfterAttributeName: afterAttributeNameState(); return;
    case TokenizerState::BeforeAttributeValue: beforeAttributeValueState(); return;
    case TokenizerState::AttributeValueDoubleQuoted: attributeValueQuotedState(u'"'); return;
    case TokenizerState::AttributeValueSingleQuoted: attributeValueQuotedState(u'\''); return;
    case TokenizerState::AttributeValueUnquoted: attributeValueUnquotedState(); return;
    case TokenizerState::CharacterReferenceInAttributeValue:
        characterReferenceInAttributeValueState();
        return;
    case TokenizerState::AfterAttributeValueQuoted: afterAttributeValueQuotedState(); return;
    case TokenizerState::SelfClosingStartTag: selfClosingStartTagState(); return;
    case TokenizerState::BogusComment: bogusCommentState(); return;
    case TokenizerState::MarkupDeclarationOpen: markupDeclarationOpenState(); return;
    case TokenizerState::CommentStart: commentStartState(); return;
    case TokenizerState::CommentStartDash: commentStartDashState(); return;
    case TokenizerState::Comment: commentState(); return;
    case TokenizerState::CommentEndDash: commentEndDashState(); return;
    case TokenizerState::CommentEnd: commentEndState(); return;
    case TokenizerState::CommentEndBang: commentEndBangState(); return;
    case TokenizerState::Doctype: doctypeState(); return;
    case TokenizerState::BeforeDoctypeName: beforeDoctypeNameState(); return;
    case TokenizerState::DoctypeName: doctypeNameState(); return;
    case TokenizerState::AfterDoctypeName: afterDoctypeNameState(); return;
    case TokenizerState::AfterDoctypePublicKeyword:
        afterDoctypeKeywordState(kDoctypePublicIdentifier);
        return;
    case TokenizerState::BeforeDoctypePublicIdentifier:
        beforeDoctypeIdentifierState(kDoctypePublicIdentifier);
        return;
    case TokenizerState::DoctypePublicIdentifierDoubleQuoted:
        doctypeIdentifierQuotedState(kDoctypePublicIdentifier, u'"');
        return;
    case TokenizerState::DoctypePublicIdentifierSingleQuoted:
        doctypeIdentifierQuotedState(kDoctypePublicIdentifier, u'\'');
        return;
    case TokenizerState::AfterDoctypePublicIdentifier: afterDoctypePublicIdentifierState(); return;
    case TokenizerState::BetweenDoctypePublicAndSystemIdentifiers:
        betweenDoctypePublicAndSystemIdentifiersState();
        return;
    case TokenizerState::AfterDoctypeSystemKeyword:
        afterDoctypeKeywordState(kDoctypeSystemIdentifier);
        return;
    case TokenizerState::BeforeDoctypeSystemIdentifier:
        beforeDoctypeIdentifierState(kDoctypeSystemIdentifier);
        return;
    case TokenizerState::DoctypeSystemIdentifierDoubleQuoted:
        doctypeIdentifierQuotedState(kDoctypeSystemIdentifier, u'"');
        return;
    case TokenizerState::DoctypeSystemIdentifierSingleQuoted:
        doctypeIdentifierQuotedState(kDoctypeSystemIdentifier, u'\'');
        return;
    case TokenizerState::AfterDoctypeSystemIdentifier: afterDoctypeSystemIdentifierState(); return;
    case TokenizerState::BogusDoctype: bogusDoctypeState(); return;
    case TokenizerState::CdataSection: cdataSectionState(); return;
    }
}

void Tokenizer::switchTo(TokenizerState newState)
{
    switch (newState) {
    case TokenizerState::TagOpen:
        // A pending tag is kept as it is, end tag or not: "</>" followed by "<b>"
        // delivers an end tag b.
        if (!currentTag) currentTag = makeSharedOnHeap<TagToken>(tokenHeap.get(), TokenType::StartTag);
        break;
    case TokenizerState::EndTagOpen:
    case TokenizerState::RcdataEndTagOpen:
    case TokenizerState::RawtextEndTagOpen:
    case TokenizerState::ScriptDataEndTagOpen:
    case TokenizerState::ScriptDataEscapedEndTagOpen:
        if (!currentTag) {
            currentTag = makeSharedOnHeap<TagToken>(tokenHeap.get(), TokenType::EndTag);
        } else {
            currentTag->type = TokenType::EndTag;
        }
        break;
    case TokenizerState::Doctype:
        if (!currentDoctype) currentDoctype = makeShared<DoctypeToken>(tokenHeap.get());
        break;
    default:
        // No other state has a pending token to prepare.
        break;
    }
    transitionTo(newState);
}

// One call per unit and receiver, with the live position of the stream. Text
// goes this way wherever no receiver takes it in runs (emitCharacterRun).
void Tokenizer::emitCharacter(char16_t unit)
{
    for (const auto& receiver : receivers) receiver->processCharacter(unit, &stream->position);
}

void Tokenizer::emitTemporaryBuffer()
{
    for (char16_t unit : temporaryBuffer) emitCharacter(unit);
}

void Tokenizer::emitToken(const TokenRef& token)
{
    // Only a start tag that someone received counts for the end tag test.
    if (!receivers.empty() && token->type == TokenType::StartTag) {
        lastStartTag = std::static_pointer_cast<TagToken>(token);
    }
    for (const auto& receiver : receivers) receiver->processToken(token);
}

void Tokenizer::emitCurrentTag()
{
    emitToken(currentTag);
    currentTag.reset();
}

void Tokenizer::emitCurrentComment()
{
    emitToken(currentComment);
    currentComment.reset();
}

void Tokenizer::emitCurrentDoctype()
{
    emitToken(currentDoctype);
    currentDoctype.reset();
}

void Tokenizer::emitEndOfFile()
{
    // A new token for each emission; it keeps the position of a new token.
    emitToken(makeShared<EndOfFileToken>(tokenHeap.get()));
}

void Tokenizer::emitTagAndReturnToData()
{
    // The state changes before the emission, so that a change the tree
    // constructor makes while it takes the tag wins.
    transitionTo(TokenizerState::Data);
    emitCurrentTag();
}

void Tokenizer::emitCommentAndReturnToData()
{
    transitionTo(TokenizerState::Data);
    emitCurrentComment();
}

void Tokenizer::emitDoctypeAndReturnToData()
{
    transitionTo(TokenizerState::Data);
    emitCurrentDoctype();
}

void Tokenizer::backToData(ParseErrorCode code)
{
    reportPosition(code);
    stream->unconsume();
    transitionTo(TokenizerState::Data);
}

void Tokenizer::emitCommentAndBack(ParseErrorCode code)
{
    reportPosition(code);
    emitCommentAndReturnToData();
    stream->unconsume();
}

void Tokenizer::emitDoctypeWithQuirksAndBack(ParseErrorCode code)
{
    currentDoctype->forceQuirks = true;
    reportPosition(code);
    emitDoctypeAndReturnToData();
    stream->unconsume();
}

void Tokenizer::emitLessThanSignAsText(TokenizerState textState)
{
    transitionTo(textState);
    emitCharacter(u'<');
    stream->unconsume();
}

void Tokenizer::emitEndTagOpeningAsText(TokenizerState textState)
{
    transitionTo(textState);
    emitCharacter(u'<');
    emitCharacter(u'/');
    stream->unconsume();
}

void Tokenizer::beginEndTagInText(TokenizerState openState)
{
    temporaryBuffer.clear();
    switchTo(openState);
    currentTag->position = stream->position;
}

// Exact and case sensitive: start tag names keep their case, so an end tag in
// RCDATA or RAWTEXT must be written as its start tag was.
bool Tokenizer::isAppropriateEndTag() const
{
    return lastStartTag && currentTag && currentTag->name == lastStartTag->name;
}

char16_t Tokenizer::nameUnit(char16_t unit) const
{
    return parseMode == kCaseFoldingMode ? toAsciiLower(unit) : unit;
}

void Tokenizer::appendNameRun(UString& name, std::u16string_view run) const
{
    if (parseMode != kCaseFoldingMode) {
        name.append(run);
        return;
    }
    for (char16_t unit : run) name.push_back(toAsciiLower(unit));
}

void Tokenizer::beginAttributeName(char16_t unit)
{
    currentTag->beginAttribute(unit, stream->position, tokenHeap.get(), attributeNameBuilder);
    transitionTo(TokenizerState::AttributeName);
}

void Tokenizer::leaveAttributeName(TokenizerState newState)
{
    transitionTo(newState);
    finishAttribute();
}

void Tokenizer::finishAttribute()
{
    currentTag->finishAttribute(errorListeners());
}

const ErrorListenerList& Tokenizer::errorListeners() const
{
    return source->errorListeners;
}

void Tokenizer::reportPosition(ParseErrorCode code)
{
    reportPositionError(errorListeners(), code, &stream->position);
}

void Tokenizer::reportCharacter(ParseErrorCode code)
{
    reportCharacterError(errorListeners(), code, stream->current, &stream->position);
}

}  // namespace Parsers
