// The in body mode: its token function, its text, the start tags of case
// preserving parsing, and the end tag walk that closes the nearest element of
// the end tag's kind.
//
// Under case preserving parsing every start tag is inserted as written and
// every end tag takes the walk of anyOtherEndTag. The tag rows of case folding
// parsing stand in in_body_start_tags.cpp and in_body_end_tags.cpp.
#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

void TreeConstructor::handleInBody(const TokenRef& token, bool foster)
{
    switch (token->type) {
    case TokenType::StartTag:
        handleInBodyStartTag(token, foster);
        return;
    case TokenType::EndTag:
        handleInBodyEndTag(token);
        return;
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::Doctype:
        reportToken(ParseErrorCode::UnexpectedTokenInBody, token);
        return;
    case TokenType::EndOfFile:
        // One report for the first element, from the bottom, that should not
        // be open at the end; nothing is popped and the mode stays.
        for (const NodeRef& entry : openElements) {
            if (!mayStayOpenAtEndOfFile(static_cast<Element&>(*entry).getTagId())) {
                reportPosition(ParseErrorCode::UnexpectedEofInBody, token->position);
                return;
            }
        }
        return;
    }
}

void TreeConstructor::handleInBodyCharacter(char16_t unit, const TextPosition* position,
                                            bool foster)
{
    if (unit == 0) {
        reportPosition(ParseErrorCode::NullInBody, *position);
        return;
    }
    reconstructActiveFormatting(foster);
    // The foster argument decides the reconstruction only; where the unit goes
    // follows from the current node.
    insertCharacter(currentNode.get(), unit, isTableStructureNode());
    if (!isWhitespaceUnit(unit)) framesetOk = false;
}

bool TreeConstructor::isTableStructureNode()
{
    return currentNode && isTableStructure(currentElement().getTagId());
}

void TreeConstructor::handleInBodyStartTag(const TokenRef& token, bool foster)
{
    if (documentKind == 2) {
        // Whatever the tag: no foster parenting, no formatting list, no change
        // of the tokenizer, so a script or title here is an ordinary element.
        insertTagAsWritten(token);
        return;
    }
    caseFoldingStartTag(token, foster);
}

void TreeConstructor::insertTagAsWritten(const TokenRef& token)
{
    insertHtmlElement(token, false);
    TagToken& tag = asTag(token);
    if (tag.selfClosing) {
        popOpenElement();
        tag.selfClosingAcknowledged = true;
    }
}

void TreeConstructor::insertUnlistedStartTag(const TokenRef& token, bool foster)
{
    reconstructActiveFormatting(foster);
    insertHtmlElement(token, isTableStructureNode());
    // A known tag with the self-closing flag stays open and is reported for
    // it; an unknown one is closed at once.
    TagToken& tag = asTag(token);
    if (tag.getTagId() == TagId::Unknown && tag.selfClosing) {
        popOpenElement();
        tag.selfClosingAcknowledged = true;
        framesetOk = false;
    }
}

void TreeConstructor::handleInBodyEndTag(const TokenRef& token)
{
    if (documentKind == 2) {
        anyOtherEndTag(token);
        return;
    }
    caseFoldingEndTag(token);
}

void TreeConstructor::anyOtherEndTag(const TokenRef& token)
{
    TagToken& tag = asTag(token);
    const TagId wanted = tag.getTagId();
    // Unknown names all share one id, so an unknown end tag closes the nearest
    // element with an unknown name, whatever the two names are.
    const Node* match = nullptr;
    for (std::size_t position = openElements.size(); position-- > 0;) {
        Element& node = openElement(position);
        if (node.getTagId() == wanted) {
            match = &node;
            break;
        }
        if (node.getCategory() == TagCategory::Special) {
            reportToken(ParseErrorCode::MisnestedSpecialEndTagInBody, token);
            token->ignored = true;
            return;
        }
    }
    if (!match) return;

    generateImpliedEndTags(tag.name);
    if (currentElement().getNodeName() != tag.name) {
        reportToken(ParseErrorCode::MisnestedEndTagInBody, token);
    }
    const std::ptrdiff_t position = findOpenElement(match);
    if (position >= 0) popToDepth(static_cast<std::size_t>(position));
}

}  // namespace Parsers
