// Making elements from tokens and placing elements, text and comments: the
// appropriate place with and without foster parenting, the html root, the
// elements with raw text content, attribute merging and the mode reset.
#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

NodeRef TreeConstructor::createElementForToken(const TokenRef& token, NamespaceId namespaceId)
{
    if (token->type != TokenType::StartTag) return nullptr;
    return createElementFromToken(std::static_pointer_cast<TagToken>(token), namespaceId,
                                  static_cast<std::int32_t>(documentKind), heap());
}

NodeRef TreeConstructor::insertHtmlElement(const TokenRef& token, bool foster)
{
    NodeRef element = createElementForToken(token, NamespaceId::Html);
    if (!element) return nullptr;
    // The first head made becomes the head element; the before head rule sets
    // it again for its own head start tag.
    if (!headElement && static_cast<Element&>(*element).getTagId() == TagId::Head) {
        headElement = element;
    }
    if (foster) {
        insertFosterParented(element);
    } else {
        appendChild(element, currentNode.get());
    }
    pushOpenElement(element);
    return element;
}

NodeRef TreeConstructor::insertForeignElement(const TokenRef& token, NamespaceId namespaceId,
                                              bool foster)
{
    NodeRef element = createElementForToken(token, namespaceId);
    if (!element) return nullptr;
    if (foster) {
        insertFosterParented(element);
    } else {
        appendChild(element, currentNode.get());
    }
    pushOpenElement(element);
    return element;
}

TreeConstructor::FosterPlace TreeConstructor::fosterPlace() const
{
    FosterPlace place;
    Node* parent = currentTable ? currentTable->parent : nullptr;
    if (parent && parent->nodeType == NodeType::Element) {
        place.target = parent;
        place.tableParent = parent;
        return place;
    }
    // A table that has left the tree, or stands directly in the document, is
    // represented by the entry below it on the stack. Without a table, or with
    // the table at the bottom, there is no place at all.
    for (std::size_t position = 0; position < openElements.size(); ++position) {
        if (openElements[position] == currentTable) {
            if (position > 0) place.target = openElements[position - 1].get();
            break;
        }
    }
    return place;
}

void TreeConstructor::insertFosterParented(NodeRef node)
{
    FosterPlace place = fosterPlace();
    if (place.tableParent) {
        insertBefore(std::move(node), currentTable, place.tableParent);
    } else {
        appendChild(std::move(node), place.target);
    }
}

void TreeConstructor::insertCharacter(Node* node, char16_t unit, bool foster)
{
    if (!foster) {
        appendCharacter(unit, node, heap());
        return;
    }
    FosterPlace place = fosterPlace();
    if (place.tableParent) {
        insertCharacterBefore(unit, currentTable, place.tableParent, heap());
    } else {
        appendCharacter(unit, place.target, heap());
    }
}

// Comments are never foster parented: they go where the rule says.
void TreeConstructor::insertComment(Node* parent, const TokenRef& token)
{
    const auto& comment = static_cast<const CommentToken&>(*token);
    appendChild(makeNodeOnHeap<Comment>(heap(), comment.data), parent);
}

void TreeConstructor::createHtmlRoot()
{
    // Made from its tag id alone, with no token: the one element of the tree
    // constructor that keeps the HTML namespace under case preserving parsing.
    auto root = makeNode<Element>(heap(), TagId::Html, NodeType::Element);
    appendChild(root, document.get());
    pushOpenElement(std::move(root));
    insertionMode = InsertionMode::BeforeHead;
}

// The element whose content the tokenizer reads as text until its end tag;
// the text mode remembers where to go back to.
void TreeConstructor::insertTextModeElement(const TokenRef& token, TokenizerState state,
                                            bool foster)
{
    insertHtmlElement(token, foster);
    if (tokenizer) tokenizer->switchTo(state);
    savedInsertionMode = insertionMode;
    insertionMode = InsertionMode::Text;
}

void TreeConstructor::insertRcdataElement(const TokenRef& token)
{
    insertTextModeElement(token, TokenizerState::Rcdata, false);
}

void TreeConstructor::insertRawTextElement(const TokenRef& token, bool foster)
{
    insertTextModeElement(token, TokenizerState::Rawtext, foster);
}

void TreeConstructor::insertScriptElement(const TokenRef& token)
{
    NodeRef element = createElementForToken(token, NamespaceId::Html);
    if (!element) return;
    appendChild(element, currentNode.get());
    pushOpenElement(std::move(element));
    // A plain change of state, not switchTo: script data needs no pending token.
    if (tokenizer) {
        tokenizer->previousState = tokenizer->state;
        tokenizer->state = TokenizerState::ScriptData;
    }
    savedInsertionMode = insertionMode;
    insertionMode = InsertionMode::Text;
}

void TreeConstructor::mergeAttributes(const TokenRef& token, Element& element)
{
    if (token->type != TokenType::StartTag) return;
    const TagToken& tag = asTag(token);
    if (tag.attributes.empty()) return;
    // The attributes are shared with the token, as those of an element made
    // from it are, and now belong to the element.
    if (element.attributes.empty()) {
        element.attributes = tag.attributes;
        for (const auto& entry : element.attributes) entry.second->owner = &element;
        return;
    }
    // The element's own values win: a later value never replaces one there.
    element.attributes.mergeMissing(
        tag.attributes, [&element](const AttributeRef& attribute) { attribute->owner = &element; });
}

void TreeConstructor::resetInsertionMode()
{
    if (documentKind == 2) {
        insertionMode = InsertionMode::InBody;
        return;
    }
    // The walk knows no select, colgroup, head, frameset or html, and treats the
    // bottom entry as any other.
    for (std::size_t position = openElements.size(); position-- > 0;) {
        switch (openElement(position).getTagId()) {
        case TagId::Body: insertionMode = InsertionMode::InBody; return;
        case TagId::Caption: insertionMode = InsertionMode::InCaption; return;
        case TagId::Table: insertionMode = InsertionMode::InTable; return;
        case TagId::Tbody:
        case TagId::Tfoot:
        case TagId::Thead: insertionMode = InsertionMode::InTableBody; return;
        case TagId::Td:
        case TagId::Th: insertionMode = InsertionMode::InCell; return;
        case TagId::Tr: insertionMode = InsertionMode::InRow; return;
        default: break;
        }
    }
    // No entry names a mode: the mode stays as it was.
}

}  // namespace Parsers
