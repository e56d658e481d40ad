// The modes before the body: initial, before html, before head, in head, in
// head noscript and after head. They read the doctype, set the quirks value and
// make or accept html, head and body.
//
// Under case preserving parsing the initial mode sends the first token that is
// no doctype or comment through a chain of made up tags: the html root, then a
// body start tag that runs through before head (head is made), in head (head
// is closed) and after head (body is made), so that the token itself is
// handled in the body.
#include <string_view>

#include "library/source_buffer.h"
#include "tree/quirks_public_ids.h"
#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

namespace {

constexpr std::u16string_view kHtmlName = u"html";

// Compared with the lower-cased system identifier.
constexpr std::u16string_view kIbmXhtmlTransitional =
    u"http://www.ibm.com/data/dtd/v11/ibmxhtml1-transitional.dtd";

// The allowed strict doctypes: a public identifier row and the system
// identifier that may go with it, compared exactly as written.
struct AllowedDoctype {
    std::uint8_t row;
    std::u16string_view systemId;
    bool withoutSystemId;  // whether an empty system identifier is allowed too
};

constexpr AllowedDoctype kAllowedDoctypes[] = {
    {60, u"http://www.w3.org/TR/REC-html40/strict.dtd", true},
    {61, u"http://www.w3.org/TR/html4/strict.dtd", true},
    {62, u"http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd", false},
    {63, u"http://www.w3.org/TR/xhtml11/DTD/xhtml11.dtd", false},
};

// Only A to Z change.
UString lowerCased(const UString& text)
{
    UString lower(text);
    for (char16_t& unit : lower) unit = toAsciiLower(unit);
    return lower;
}

bool isAllowedPair(const QuirksPublicIdRow& row, const UString& systemId)
{
    for (const AllowedDoctype& allowed : kAllowedDoctypes) {
        if (allowed.row != row.number) continue;
        if (systemId.empty()) return allowed.withoutSystemId;
        return systemId == allowed.systemId;
    }
    return false;
}

// The quirks value that a row sets for a public identifier of this length.
bool rowGivesQuirks(const QuirksPublicIdRow& row, std::size_t publicIdLength)
{
    switch (row.group) {
    case QuirksRowGroup::Quirks:
    case QuirksRowGroup::QuirksAlways:
    case QuirksRowGroup::Allowed:
        return true;
    case QuirksRowGroup::QuirksByLength:
        return publicIdLength == row.length;
    }
    return false;
}

constexpr std::int32_t kQuirks = 2;

}  // namespace

// ---------------------------------------------------------------- initial

void TreeConstructor::handleInitial(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Doctype:
        handleDoctypeInInitial(static_cast<DoctypeToken&>(*token));
        return;
    case TokenType::Comment:
        insertComment(document.get(), token);
        return;
    default:
        break;
    }
    // anything else; no error is reported for a missing doctype.
    if (documentKind == 1) {
        document->quirksMode = kQuirks;
        insertionMode = InsertionMode::BeforeHtml;
        dispatchToken(token, false);
    } else if (documentKind == 2) {
        // The quirks value stays: only text at the start sets it here.
        createHtmlRoot();
        afterHeadAnythingElse(token);
    }
    // Any other kind drops the token.
}

void TreeConstructor::handleDoctypeInInitial(DoctypeToken& token)
{
    const QuirksPublicIdRow* row = nullptr;
    if (!token.publicId.empty()) {
        const UString lowerPublicId = lowerCased(token.publicId);
        row = lookupQuirksPublicId(lowerPublicId.data(), lowerPublicId.size());
    }
    // Valid: the name html, and either no row or a row with its allowed system
    // identifier. A doctype without a public identifier passes with any system
    // identifier, "about:legacy-compat" among them.
    const bool nameIsHtml = token.name == kHtmlName;
    const bool valid = nameIsHtml && (!row || isAllowedPair(*row, token.systemId));
    if (!valid) reportPosition(ParseErrorCode::ErroneousDoctypeInInitial, token.position);

    appendChild(makeNode<DocumentType>(heap(), token.name, token.publicId, token.systemId),
                document.get());

    if (token.forceQuirks || !nameIsHtml) {
        document->quirksMode = kQuirks;
    } else if (!token.systemId.empty() && lowerCased(token.systemId) == kIbmXhtmlTransitional) {
        document->quirksMode = kQuirks;
    } else if (row && rowGivesQuirks(*row, token.publicId.size())) {
        // Every row of the table sets quirks, the allowed strict ones too: only
        // a doctype without a public identifier, or with an unknown one, keeps
        // the value at 0.
        document->quirksMode = kQuirks;
    }
    insertionMode = InsertionMode::BeforeHtml;
}

// ---------------------------------------------------------------- before html

void TreeConstructor::handleBeforeHtml(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::StartTag:
        if (asTag(token).getTagId() == TagId::Html) {
            NodeRef html = createElementForToken(token, NamespaceId::Html);
            appendChild(html, document.get());
            pushOpenElement(std::move(html));
            insertionMode = InsertionMode::BeforeHead;
            return;
        }
        break;
    case TokenType::EndTag:
        if (isBeforeHtmlPassingEndTag(asTag(token).getTagId())) break;
        reportToken(ParseErrorCode::EndTagBeforeHtml, token);
        token->ignored = true;
        return;
    case TokenType::Doctype:
        reportToken(ParseErrorCode::UnexpectedTokenBeforeHtml, token);
        return;
    case TokenType::Comment:
        insertComment(document.get(), token);
        return;
    case TokenType::EndOfFile:
        break;
    }
    // anything else
    beforeHtmlAnythingElse(token);
}

void TreeConstructor::beforeHtmlAnythingElse(const TokenRef& token)
{
    createHtmlRoot();
    dispatchToken(token, false);
}

// ---------------------------------------------------------------- before head

void TreeConstructor::handleBeforeHead(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::StartTag:
        switch (asTag(token).getTagId()) {
        case TagId::Head:
            headElement = insertHtmlElement(token, false);
            insertionMode = InsertionMode::InHead;
            return;
        case TagId::Html:
            handleInBody(token, false);
            return;
        default:
            break;
        }
        break;
    case TokenType::EndTag:
        if (isBeforeHtmlPassingEndTag(asTag(token).getTagId())) break;
        reportToken(ParseErrorCode::EndTagBeforeHead, token);
        return;
    case TokenType::Doctype:
        reportToken(ParseErrorCode::UnexpectedTokenBeforeHead, token);
        return;
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::EndOfFile:
        break;
    }
    // anything else
    beforeHeadAnythingElse(token);
}

void TreeConstructor::beforeHeadAnythingElse(const TokenRef& token)
{
    dispatchToken(makeSyntheticTag(TokenType::StartTag, TagId::Head, token->position), false);
    dispatchToken(token, false);
}

// ---------------------------------------------------------------- in head

void TreeConstructor::handleInHead(const TokenRef& token, bool foster)
{
    switch (token->type) {
    case TokenType::StartTag: {
        TagToken& tag = asTag(token);
        const TagId id = tag.getTagId();
        if (isHeadVoidElement(id)) {
            insertHtmlElement(token, foster);
            popOpenElement();
            acknowledgeSelfClosing(tag);
            return;
        }
        switch (id) {
        case TagId::Head:
            reportPosition(ParseErrorCode::HeadStartTagInHead, token->position);
            return;
        case TagId::Html:
            handleInBody(token, false);
            return;
        case TagId::Noscript:
            insertHtmlElement(token, false);
            insertionMode = InsertionMode::InHeadNoscript;
            return;
        case TagId::Script:
            insertScriptElement(token);
            return;
        case TagId::Style:
            insertRawTextElement(token, false);
            return;
        case TagId::Title:
            insertRcdataElement(token);
            return;
        default:
            break;
        }
        break;
    }
    case TokenType::EndTag: {
        const TagId id = asTag(token).getTagId();
        if (id == TagId::Head) {
            popOpenElement();
            insertionMode = InsertionMode::AfterHead;
            return;
        }
        if (isInHeadPassingEndTag(id)) break;
        reportToken(ParseErrorCode::IllegalEndTagInHead, token);
        return;
    }
    case TokenType::Doctype:
        reportToken(ParseErrorCode::UnexpectedTokenInHead, token);
        return;
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::EndOfFile:
        break;
    }
    // anything else, noframes among the start tags
    inHeadAnythingElse(token);
}

void TreeConstructor::inHeadAnythingElse(const TokenRef& token)
{
    dispatchToken(makeSyntheticTag(TokenType::EndTag, TagId::Head, token->position), false);
    dispatchToken(token, false);
}

void TreeConstructor::handleInHeadCharacter(char16_t unit, const TextPosition* position)
{
    if (isWhitespaceUnit(unit)) {
        appendCharacter(unit, currentNode.get(), heap());
        return;
    }
    dispatchToken(makeSyntheticTag(TokenType::EndTag, TagId::Head, *position), false);
    dispatchCharacter(unit, position, 0);
}

// ---------------------------------------------------------------- in head noscript

void TreeConstructor::handleInHeadNoscript(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::StartTag: {
        const TagId id = asTag(token).getTagId();
        if (isNoscriptHeadElement(id)) {
            handleInHead(token, false);
            return;
        }
        switch (id) {
        case TagId::Head:
        case TagId::Noscript:
            reportToken(ParseErrorCode::UnexpectedTokenInHeadNoscript, token);
            return;
        case TagId::Html:
            handleInBody(token, false);
            return;
        default:
            break;
        }
        break;
    }
    case TokenType::EndTag:
        switch (asTag(token).getTagId()) {
        case TagId::Noscript:
            popOpenElement();
            insertionMode = InsertionMode::InHead;
            return;
        case TagId::Br:
            break;
        default:
            reportToken(ParseErrorCode::IllegalEndTagInHeadNoscript, token);
            return;
        }
        break;
    case TokenType::Doctype:
        reportToken(ParseErrorCode::UnexpectedTokenInHeadNoscript, token);
        return;
    case TokenType::Comment:
        handleInHead(token, false);
        return;
    case TokenType::EndOfFile:
        break;
    }
    // anything else: base, command, script and title leave the noscript too.
    inHeadNoscriptAnythingElse(token);
}

void TreeConstructor::inHeadNoscriptAnythingElse(const TokenRef& token)
{
    reportToken(ParseErrorCode::UnexpectedTokenInHeadNoscript, token);
    dispatchToken(makeSyntheticTag(TokenType::EndTag, TagId::Noscript, token->position), false);
    dispatchToken(token, false);
}

// ---------------------------------------------------------------- after head

void TreeConstructor::handleAfterHead(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::StartTag: {
        const TagId id = asTag(token).getTagId();
        if (isAfterHeadHeadElement(id)) {
            // The head element goes back on the stack for the in head rules and
            // leaves it again, wherever it then stands. This mode is entered
            // only from in head, so the head element is always set here.
            reportToken(ParseErrorCode::IllegalStartTagAfterHead, token);
            NodeRef head = headElement;
            pushOpenElement(head);
            handleInHead(token, false);
            removeOpenElement(head.get());
            return;
        }
        switch (id) {
        case TagId::Body:
            insertHtmlElement(token, false);
            framesetOk = false;
            insertionMode = InsertionMode::InBody;
            return;
        case TagId::Head:
            reportPosition(ParseErrorCode::HeadStartTagAfterHead, token->position);
            return;
        case TagId::Html:
            handleInBody(token, false);
            return;
        default:
            // frameset too: a body is always made first.
            break;
        }
        break;
    }
    case TokenType::EndTag:
        if (isInHeadPassingEndTag(asTag(token).getTagId())) break;
        reportToken(ParseErrorCode::IllegalEndTagAfterHead, token);
        return;
    case TokenType::Doctype:
        reportToken(ParseErrorCode::UnexpectedTokenAfterHead, token);
        return;
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::EndOfFile:
        break;
    }
    // anything else
    afterHeadAnythingElse(token);
}

void TreeConstructor::afterHeadAnythingElse(const TokenRef& token)
{
    dispatchToken(makeSyntheticTag(TokenType::StartTag, TagId::Body, token->position), false);
    framesetOk = true;
    dispatchToken(token, false);
}

void TreeConstructor::handleAfterHeadCharacter(char16_t unit, const TextPosition* position)
{
    if (isWhitespaceUnit(unit)) {
        appendCharacter(unit, currentNode.get(), heap());
        return;
    }
    dispatchToken(makeSyntheticTag(TokenType::StartTag, TagId::Body, *position), false);
    framesetOk = true;
    dispatchCharacter(unit, position, 0);
}

}  // namespace Parsers
