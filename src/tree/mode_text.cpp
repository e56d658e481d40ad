// The text mode: the mode of an element with raw text content while the
// tokenizer delivers that content. Its units are appended where they arrive
// (see dispatchCharacter); its tokens end the element.
#include "tree/tree_constructor.h"

namespace Parsers {

void TreeConstructor::handleText(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::EndOfFile:
        reportPosition(ParseErrorCode::EofInText, token->position);
        popOpenElement();
        insertionMode = savedInsertionMode;
        dispatchToken(token, false);
        return;
    case TokenType::EndTag:
        // Any end tag ends the element, script and every other name alike.
        popOpenElement();
        insertionMode = savedInsertionMode;
        return;
    case TokenType::StartTag:
    case TokenType::Doctype:
    case TokenType::Comment:
        return;
    }
}

}  // namespace Parsers
