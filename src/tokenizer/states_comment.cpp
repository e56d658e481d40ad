// Markup that begins with "<!" or "<?": the markup declaration, comments, bogus
// comments and CDATA sections.
//
// At the end of input a comment is emitted as far as it got, and the last unit
// of the text is then read once more as text.
#include "tokenizer/tokenizer.h"

#include <optional>
#include <string_view>

namespace Parsers {

namespace {

constexpr char16_t kReplacementCharacter = u'\uFFFD';
constexpr char16_t kCommentOpening[] = u"--";
constexpr char16_t kDoctypeKeyword[] = u"doctype";
constexpr char16_t kCdataOpening[] = u"[CDATA[";
constexpr char16_t kCdataClosing[] = u"]]>";

// Whether `text` equals the lower case ASCII `keyword` once its ASCII letters are
// folded to lower case.
bool equalsFolded(const UString& text, const char16_t* keyword)
{
    std::size_t index = 0;
    for (; keyword[index] != 0; ++index) {
        if (index >= text.size() || toAsciiLower(text[index]) != keyword[index]) return false;
    }
    return index == text.size();
}

}  // namespace

// Everything up to the next '>' is dropped, in one step. The loop begins at the
// unit that led here, which is `current` (there is no consume at the top). In the
// case folding mode the units it passes become a comment token, that first unit
// included: "<!x>" makes the comment "!x" and "<?x>" the comment "?x".
void Tokenizer::bogusCommentState()
{
    const bool keepsText = parseMode == kCaseFoldingMode;
    if (keepsText) {
        currentComment = makeShared<CommentToken>(tokenHeap.get());
        currentComment->position = stream->position;
    }
    while (!atEndOfInput() && stream->current != u'>') {
        if (keepsText) currentComment->data.push_back(stream->current);
        stream->consume();
    }
    const bool endOfInput = atEndOfInput();
    transitionTo(TokenizerState::Data);
    if (keepsText) emitCurrentComment();
    if (endOfInput) stream->unconsume();
}

// No consume at the top: `current` is the '!', and the tests look at the units
// after it.
void Tokenizer::markupDeclarationOpenState()
{
    if (stream->remaining >= 2 && stream->peekText(2) == kCommentOpening) {
        stream->skip(2);
        // The comment begins where the stream stands after "--".
        currentComment = makeShared<CommentToken>(tokenHeap.get());
        currentComment->position = stream->position;
        transitionTo(TokenizerState::CommentStart);
        return;
    }
    if (stream->remaining >= 7 && equalsFolded(stream->peekText(7), kDoctypeKeyword)) {
        stream->skip(7);
        switchTo(TokenizerState::Doctype);
        return;
    }
    // A CDATA section is recognised wherever the current node is not an HTML
    // element; elements without a namespace (-1) pass as well. The opening is
    // matched exactly, upper case included.
    std::optional<NamespaceId> currentNamespace;
    if (treeConstructor) currentNamespace = treeConstructor->currentNodeNamespace();
    if (currentNamespace && *currentNamespace != NamespaceId::Html &&
        stream->peekText(7) == kCdataOpening) {
        stream->skip(7);
        transitionTo(TokenizerState::CdataSection);
        return;
    }
    reportCharacter(ParseErrorCode::UnexpectedCharacterInMarkupDeclarationOpen);
    transitionTo(TokenizerState::BogusComment);
}

// The dashes (and the '!') held back at the end of a comment were text after
// all: they go into the data before the unit, and the comment goes on.
void Tokenizer::resumeComment(std::u16string_view heldBack, char16_t unit)
{
    UString& data = currentComment->data;
    data.append(heldBack);
    data.push_back(unit);
    transitionTo(TokenizerState::Comment);
}

void Tokenizer::commentStartState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitCommentAndBack(ParseErrorCode::EofInCommentStart);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInCommentStart);
        resumeComment(u"", kReplacementCharacter);
        return;
    case u'-':
        transitionTo(TokenizerState::CommentStartDash);
        return;
    case u'>':
        reportPosition(ParseErrorCode::GreaterThanInCommentStart);
        emitCommentAndReturnToData();
        return;
    default:
        resumeComment(u"", c);
        return;
    }
}

// With no consume at the top this state always sees the '-' that led here, so it
// only ever takes that one row: "<!--->" is an empty comment without a report.
void Tokenizer::commentStartDashState()
{
    transitionTo(TokenizerState::CommentEnd);
}

void Tokenizer::commentState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitCommentAndBack(ParseErrorCode::EofInComment);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInComment);
        currentComment->data.push_back(kReplacementCharacter);
        return;
    case u'-':
        transitionTo(TokenizerState::CommentEndDash);
        return;
    default:
        currentComment->data.push_back(c);
        return;
    }
}

void Tokenizer::commentEndDashState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitCommentAndBack(ParseErrorCode::EofInCommentEndDash);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInCommentEndDash);
        resumeComment(u"-", kReplacementCharacter);
        return;
    case u'-':
        transitionTo(TokenizerState::CommentEnd);
        return;
    default:
        resumeComment(u"-", c);
        return;
    }
}

void Tokenizer::commentEndState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitCommentAndBack(ParseErrorCode::EofInCommentEnd);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInCommentEnd);
        resumeComment(u"--", kReplacementCharacter);
        return;
    case u'!':
        reportPosition(ParseErrorCode::ExclamationMarkInCommentEnd);
        transitionTo(TokenizerState::CommentEndBang);
        return;
    case u'-':
        reportPosition(ParseErrorCode::HyphenMinusInCommentEnd);
        currentComment->data.push_back(u'-');
        return;
    case u'>':
        emitCommentAndReturnToData();
        return;
    default:
        reportCharacter(ParseErrorCode::UnexpectedCharacterInCommentEnd);
        resumeComment(u"--", c);
        return;
    }
}

void Tokenizer::commentEndBangState()
{
    const char16_t c = consumeUnit();
    if (atEndOfInput()) {
        emitCommentAndBack(ParseErrorCode::EofInCommentEndBang);
        return;
    }
    switch (c) {
    case 0:
        reportPosition(ParseErrorCode::NullInCommentEndBang);
        resumeComment(u"--!", kReplacementCharacter);
        return;
    case u'-':
        currentComment->data.append(u"--!");
        transitionTo(TokenizerState::CommentEndDash);
        return;
    case u'>':
        emitCommentAndReturnToData();
        return;
    default:
        resumeComment(u"--!", c);
        return;
    }
}

bool Tokenizer::closesCdataSection() const
{
    const char16_t* next = stream->next;
    return stream->remaining >= 3 && next[0] == kCdataClosing[0] && next[1] == kCdataClosing[1] &&
           next[2] == kCdataClosing[2];
}

// The whole section in one step and unfiltered: a NUL goes out as
// it stands and nothing is reported. The end test comes at the top of each turn,
// after the consume of the turn before, so at the end of the text the pseudo-unit
// 0 is delivered once before the step back.
void Tokenizer::cdataSectionState()
{
    for (;;) {
        if (atEndOfInput()) {
            stream->unconsume();
            break;
        }
        if (closesCdataSection()) {
            stream->skip(3);
            break;
        }
        // A unit read past the end is 0 and gives no run; a NUL is emitted on
        // its own too. Any other unit goes with the units behind it up to the
        // next ']', the only unit that may begin the closing.
        const char16_t unit = consumeUnit();
        if (unit == 0) {
            emitCharacter(unit);
        } else {
            emitCharacterRun<u']', 0>();
        }
    }
    transitionTo(TokenizerState::Data);
}

}  // namespace Parsers
