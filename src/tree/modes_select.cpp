// The select modes: in select, and in select in table for a select opened
// inside a table.
//
// A select holds options and option groups and nothing else: other tags are
// dropped, and the few that cannot wait (another select, an input, a keygen, a
// textarea, and in a table the table's own tags) close the select first. The
// select is left through popUntilTag and the mode reset; the scope of
// ScopeKind::Select plays no part here.
#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

void TreeConstructor::handleInSelectCharacter(char16_t unit, const TextPosition* position)
{
    if (unit == 0) {
        reportPosition(ParseErrorCode::NullInSelect, *position);
        return;
    }
    appendCharacter(unit, currentNode.get(), heap());
}

// ---------------------------------------------------------------- in select

void TreeConstructor::handleInSelect(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::Doctype:
        reportPosition(ParseErrorCode::DoctypeInSelect, token->position);
        token->ignored = true;
        return;
    case TokenType::EndOfFile:
        if (openElements.size() > 1) {
            reportPosition(ParseErrorCode::UnexpectedEofInSelect, token->position);
        }
        return;
    case TokenType::StartTag:
        inSelectStartTag(token);
        return;
    case TokenType::EndTag:
        inSelectEndTag(token);
        return;
    }
}

void TreeConstructor::inSelectStartTag(const TokenRef& token)
{
    switch (asTag(token).getTagId()) {
    case TagId::Html:
        handleInBody(token, false);
        return;
    case TagId::Option:
        if (currentNodeHasTag(TagId::Option)) {
            dispatchSyntheticTag(TokenType::EndTag, TagId::Option, token);
        }
        insertHtmlElement(token, false);
        return;
    case TagId::Optgroup:
        if (currentNodeHasTag(TagId::Option)) {
            dispatchSyntheticTag(TokenType::EndTag, TagId::Option, token);
        }
        if (currentNodeHasTag(TagId::Optgroup)) {
            dispatchSyntheticTag(TokenType::EndTag, TagId::Optgroup, token);
        }
        insertHtmlElement(token, false);
        return;
    case TagId::Select:
        // No new token: this one becomes the end tag, and so it no longer
        // counts as a start tag when its self-closing flag is checked.
        reportPosition(ParseErrorCode::UnexpectedSelectStartTagInSelect, token->position);
        token->type = TokenType::EndTag;
        dispatchToken(token, false);
        return;
    case TagId::Input:
    case TagId::Keygen:
    case TagId::Textarea:
        // No scope test: the select is closed whether it is open or not.
        reportToken(ParseErrorCode::UnexpectedStartTagInSelect, token);
        dispatchSyntheticTag(TokenType::EndTag, TagId::Select, token);
        dispatchToken(token, false);
        return;
    case TagId::Script:
        handleInHead(token, false);
        return;
    default:
        // anything else
        reportToken(ParseErrorCode::UnexpectedTokenInSelect, token);
        token->ignored = true;
        return;
    }
}

void TreeConstructor::inSelectEndTag(const TokenRef& token)
{
    switch (asTag(token).getTagId()) {
    case TagId::Optgroup:
        endOptgroupInSelect(token);
        return;
    case TagId::Option:
        if (currentNodeHasTag(TagId::Option)) {
            popOpenElement();
            return;
        }
        reportPosition(ParseErrorCode::UnexpectedOptionEndTagInSelect, token->position);
        token->ignored = true;
        return;
    case TagId::Select:
        // No scope test: without a select nothing is popped, and the mode is
        // reset all the same.
        popUntilTag(TagId::Select);
        resetInsertionMode();
        return;
    default:
        // anything else
        reportToken(ParseErrorCode::UnexpectedTokenInSelect, token);
        token->ignored = true;
        return;
    }
}

// An option that is the last child of the group closes with it. The entry
// below an option on top is read without a test that it exists: an option at
// the bottom of the stack ends the parse by the failure path.
void TreeConstructor::endOptgroupInSelect(const TokenRef& token)
{
    if (currentNodeHasTag(TagId::Option) &&
        checkedOpenElement(openElements.size() - 2).getTagId() == TagId::Optgroup) {
        dispatchSyntheticTag(TokenType::EndTag, TagId::Option, token);
    }
    if (currentNodeHasTag(TagId::Optgroup)) {
        popOpenElement();
        return;
    }
    reportPosition(ParseErrorCode::UnexpectedOptgroupEndTagInSelect, token->position);
    token->ignored = true;
}

// ---------------------------------------------------------------- in select in table

// The table's own tags close the select and are handled again. An end tag is
// reported in both cases, and dropped when its element is not in table scope.
void TreeConstructor::handleInSelectInTable(const TokenRef& token)
{
    const bool isTag = token->type == TokenType::StartTag || token->type == TokenType::EndTag;
    if (!isTag || !isSelectEndingTableTag(asTag(token).getTagId())) {
        // anything else
        handleInSelect(token);
        return;
    }
    if (token->type == TokenType::StartTag) {
        reportToken(ParseErrorCode::UnexpectedStartTagInSelectInTable, token);
    } else {
        reportToken(ParseErrorCode::UnexpectedEndTagInSelectInTable, token);
        if (!hasElementInScope(asTag(token).getTagId(), ScopeKind::Table)) {
            token->ignored = true;
            return;
        }
    }
    dispatchSyntheticTag(TokenType::EndTag, TagId::Select, token);
    dispatchToken(token, false);
}

}  // namespace Parsers
