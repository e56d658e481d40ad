// The modes at the end of a document and of a frameset: after body, in
// frameset, after frameset, after after body and after after frameset.
//
// After the body end tag, content that is no space goes back to the in body
// rules, so nothing is lost. Frameset documents are stricter: what is neither
// a frame, a frameset nor noframes is dropped. No rule of this rule set enters
// the frameset modes, a frameset start tag in the body being dropped; they
// keep their rules for a tree constructor that is put into them.
#include "tree/tree_constructor.h"

namespace Parsers {

// ---------------------------------------------------------------- after body

void TreeConstructor::handleAfterBody(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Comment:
        // Into the bottom entry, the html element, read without a test that it
        // is there: an empty stack ends the parse by the failure path.
        insertComment(&checkedOpenElement(0), token);
        return;
    case TokenType::Doctype:
        reportPosition(ParseErrorCode::DoctypeAfterBody, token->position);
        token->ignored = true;
        return;
    case TokenType::EndOfFile:
        return;
    case TokenType::StartTag:
        if (asTag(token).getTagId() == TagId::Html) {
            handleInBody(token, false);
            return;
        }
        break;
    case TokenType::EndTag:
        if (asTag(token).getTagId() == TagId::Html) {
            insertionMode = InsertionMode::AfterAfterBody;
            return;
        }
        break;
    }
    // anything else: the body takes the token after all.
    reportToken(ParseErrorCode::UnexpectedTokenAfterBody, token);
    insertionMode = InsertionMode::InBody;
    dispatchToken(token, false);
}

// ---------------------------------------------------------------- in frameset

void TreeConstructor::handleInFrameset(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::Doctype:
        reportPosition(ParseErrorCode::DoctypeInFrameset, token->position);
        token->ignored = true;
        return;
    case TokenType::EndOfFile:
        if (openElements.size() > 1) {
            reportPosition(ParseErrorCode::UnexpectedEofInFrameset, token->position);
        }
        return;
    case TokenType::StartTag:
        switch (asTag(token).getTagId()) {
        case TagId::Html:
            handleInBody(token, false);
            return;
        case TagId::Frameset:
            insertHtmlElement(token, false);
            return;
        case TagId::Frame:
            insertHtmlElement(token, false);
            popOpenElement();
            acknowledgeSelfClosing(asTag(token));
            return;
        case TagId::Noframes:
            handleInHead(token, false);
            return;
        default:
            break;
        }
        break;
    case TokenType::EndTag:
        if (asTag(token).getTagId() == TagId::Frameset) {
            // The current node goes without a test of what it is; an html
            // element alone on the stack goes too, and the empty stack that
            // remains has no frameset on top.
            popOpenElement();
            if (!currentNodeHasTag(TagId::Frameset)) insertionMode = InsertionMode::AfterFrameset;
            return;
        }
        break;
    }
    // anything else
    reportToken(ParseErrorCode::UnexpectedTokenInFrameset, token);
    token->ignored = true;
}

// ---------------------------------------------------------------- after frameset

void TreeConstructor::handleAfterFrameset(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::Doctype:
        reportPosition(ParseErrorCode::DoctypeAfterFrameset, token->position);
        token->ignored = true;
        return;
    case TokenType::EndOfFile:
        return;
    case TokenType::StartTag:
        switch (asTag(token).getTagId()) {
        case TagId::Html:
            handleInBody(token, false);
            return;
        case TagId::Noframes:
            handleInHead(token, false);
            return;
        default:
            break;
        }
        break;
    case TokenType::EndTag:
        if (asTag(token).getTagId() == TagId::Html) {
            insertionMode = InsertionMode::AfterAfterFrameset;
            return;
        }
        break;
    }
    // anything else
    reportToken(ParseErrorCode::UnexpectedTokenAfterFrameset, token);
    token->ignored = true;
}

// ---------------------------------------------------------------- after after body

void TreeConstructor::handleAfterAfterBody(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Comment:
        insertComment(document.get(), token);
        return;
    case TokenType::Doctype:
        // The in body rules report it.
        handleInBody(token, false);
        return;
    case TokenType::EndOfFile:
        return;
    case TokenType::StartTag:
        if (asTag(token).getTagId() == TagId::Html) {
            handleInBody(token, false);
            return;
        }
        break;
    case TokenType::EndTag:
        break;
    }
    // anything else: the body takes the token after all.
    reportToken(ParseErrorCode::UnexpectedTokenAfterAfterBody, token);
    insertionMode = InsertionMode::InBody;
    dispatchToken(token, false);
}

// ---------------------------------------------------------------- after after frameset

void TreeConstructor::handleAfterAfterFrameset(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Comment:
        insertComment(document.get(), token);
        return;
    case TokenType::Doctype:
        // The in body rules report it.
        handleInBody(token, false);
        return;
    case TokenType::EndOfFile:
        return;
    case TokenType::StartTag:
        switch (asTag(token).getTagId()) {
        case TagId::Html:
            handleInBody(token, false);
            return;
        case TagId::Noframes:
            handleInHead(token, false);
            return;
        default:
            break;
        }
        break;
    case TokenType::EndTag:
        break;
    }
    // anything else
    reportToken(ParseErrorCode::UnexpectedTokenAfterAfterFrameset, token);
    token->ignored = true;
}

}  // namespace Parsers
