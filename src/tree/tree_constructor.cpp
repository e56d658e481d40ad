// Token intake and dispatch: the two entry points the tokenizer calls, the
// choice between insertion modes and foreign content, and the two switches over
// the insertion mode.
#include "tree/tree_constructor.h"

#include <stdexcept>

#include "library/source_buffer.h"
#include "tree/tag_sets.h"

namespace Parsers {

TreeConstructor::TreeConstructor(SourceBuffer* sourceBuffer, Tokenizer* owningTokenizer,
                                 std::uint32_t kind)
    : document(makeNode<Document>(heap(), static_cast<std::int32_t>(kind))),
      source(sourceBuffer),
      tokenizer(owningTokenizer),
      documentKind(kind)
{
    if (tokenizer) tokenizer->treeConstructor = this;
}

// The stack, the list and the kept elements are shared owners beside the tree;
// they go with the tree constructor, the document lives on in whoever holds it.
TreeConstructor::~TreeConstructor() = default;

std::optional<NamespaceId> TreeConstructor::currentNodeNamespace()
{
    if (!currentNode) return std::nullopt;
    return currentNode->namespaceId;
}

bool TreeConstructor::currentNodeHasTag(TagId tag) const
{
    return currentNode && currentElement().getTagId() == tag;
}

void TreeConstructor::processCharacter(char16_t unit, const TextPosition* position)
{
    // Under case preserving parsing nearly every unit lands in an element
    // without a namespace and goes straight to the foreign rules; most come
    // there in runs (processCharacterRun).
    if (takesForeignCharacters()) {
        processForeignCharacter(unit);
        return;
    }
    dispatchCharacter(unit, position, 0);
}

// The foreign rules change neither the current node nor anything that the
// choice of rules depends on, so every unit of the run goes where the first
// one goes.
void TreeConstructor::processCharacterRun(const char16_t* units, std::uint32_t count)
{
    processForeignCharacters(units, count);
}

void TreeConstructor::processToken(TokenRef token)
{
    if (token->type == TokenType::EndTag) {
        TagToken& tag = asTag(token);
        if (tag.selfClosing) reportToken(ParseErrorCode::EndTagSelfClosing, token);
        if (!tag.attributes.empty()) reportToken(ParseErrorCode::EndTagWithAttributes, token);
    }
    if (useHtmlRules(*token)) {
        dispatchToken(token, false);
    } else {
        processForeignToken(token);
    }
    // Read after the rules ran: a rule may have turned the start tag into an
    // end tag, which then has nothing to acknowledge.
    if (token->type == TokenType::StartTag) {
        TagToken& tag = asTag(token);
        if (tag.selfClosing && !tag.selfClosingAcknowledged) {
            reportToken(ParseErrorCode::SelfClosingNotAcknowledged, token);
        }
    }
}

bool TreeConstructor::useHtmlRules(Token& token)
{
    if (!currentNode || currentNode->namespaceId == NamespaceId::Html) return true;
    Element& node = currentElement();
    if (token.type == TokenType::StartTag) {
        TagToken& tag = static_cast<TagToken&>(token);
        // At a text integration point only these two tags come back to the
        // insertion modes; every other start tag goes on to the tests below.
        if (isMathmlTextIntegrationPoint(node)) {
            TagId id = tag.getTagId();
            if (id == TagId::Mglyph || id == TagId::Malignmark) return true;
        }
        if (node.namespaceId == NamespaceId::MathMl && node.getTagId() == TagId::AnnotationXml &&
            tag.name == u"svg") {
            return true;
        }
    }
    if (isHtmlIntegrationPoint(node)) {
        return token.type == TokenType::StartTag || token.type == TokenType::EndOfFile;
    }
    return token.type == TokenType::EndOfFile;
}

bool TreeConstructor::isMathmlTextIntegrationPoint(Element& element)
{
    // The namespace is tested first so that an element with an unknown name,
    // which looks its name up on every question, is not looked up here.
    return element.namespaceId == NamespaceId::MathMl &&
           isMathmlTextIntegrationTag(element.getTagId());
}

bool TreeConstructor::isHtmlIntegrationPoint(Element& element)
{
    if (element.namespaceId == NamespaceId::Svg) return isSvgHtmlIntegrationTag(element.getTagId());
    if (element.namespaceId != NamespaceId::MathMl || element.getTagId() != TagId::AnnotationXml) {
        return false;
    }
    const Attribute* encoding = element.findAttribute(UString());
    if (!encoding) return false;
    return equalsFoldedAscii(encoding->value, u"text/html") ||
           equalsFoldedAscii(encoding->value, u"application/xhtml+xml");
}

void TreeConstructor::dispatchToken(const TokenRef& token, bool foster)
{
    DispatchDepth depth(*this);
    switch (insertionMode) {
    case InsertionMode::Initial: handleInitial(token); return;
    case InsertionMode::BeforeHtml: handleBeforeHtml(token); return;
    case InsertionMode::BeforeHead: handleBeforeHead(token); return;
    case InsertionMode::InHead: handleInHead(token, false); return;
    case InsertionMode::InHeadNoscript: handleInHeadNoscript(token); return;
    case InsertionMode::AfterHead: handleAfterHead(token); return;
    case InsertionMode::InBody: handleInBody(token, foster); return;
    case InsertionMode::Text: handleText(token); return;
    case InsertionMode::InTable: handleInTable(token); return;
    case InsertionMode::InTableText: handleInTableText(token); return;
    case InsertionMode::InCaption: handleInCaption(token); return;
    case InsertionMode::InColumnGroup: handleInColumnGroup(token); return;
    case InsertionMode::InTableBody: handleInTableBody(token); return;
    case InsertionMode::InRow: handleInRow(token); return;
    case InsertionMode::InCell: handleInCell(token); return;
    case InsertionMode::InSelect: handleInSelect(token); return;
    case InsertionMode::InSelectInTable: handleInSelectInTable(token); return;
    case InsertionMode::AfterBody: handleAfterBody(token); return;
    case InsertionMode::InFrameset: handleInFrameset(token); return;
    case InsertionMode::AfterFrameset: handleAfterFrameset(token); return;
    case InsertionMode::AfterAfterBody: handleAfterAfterBody(token); return;
    case InsertionMode::AfterAfterFrameset: handleAfterAfterFrameset(token); return;
    }
    // A mode value past the last one has no rules: the token has no effect.
}

void TreeConstructor::dispatchCharacter(char16_t unit, const TextPosition* position,
                                        std::uint8_t /*reserved*/)
{
    // To re-examine a unit is to go round again with the mode a rule has set.
    for (;;) {
        switch (insertionMode) {
        case InsertionMode::Initial:
            if (isWhitespaceUnit(unit)) return;
            // Text before anything else means quirks, whatever the kind of
            // document.
            document->quirksMode = 2;
            insertionMode = InsertionMode::BeforeHtml;
            continue;
        case InsertionMode::BeforeHtml:
            if (isWhitespaceUnit(unit)) return;
            createHtmlRoot();
            continue;
        case InsertionMode::BeforeHead:
            if (isWhitespaceUnit(unit)) return;
            dispatchToken(makeSyntheticTag(TokenType::StartTag, TagId::Head, *position), false);
            dispatchCharacter(unit, position, 0);
            return;
        case InsertionMode::InHead:
            handleInHeadCharacter(unit, position);
            return;
        case InsertionMode::InHeadNoscript:
            if (isWhitespaceUnit(unit)) {
                handleInHeadCharacter(unit, position);
                return;
            }
            reportCharacter(ParseErrorCode::UnexpectedTokenInHeadNoscript, unit, position);
            dispatchToken(makeSyntheticTag(TokenType::EndTag, TagId::Noscript, *position), false);
            dispatchCharacter(unit, position, 0);
            return;
        case InsertionMode::AfterHead:
            handleAfterHeadCharacter(unit, position);
            return;
        case InsertionMode::InBody:
            handleInBodyCharacter(unit, position, false);
            return;
        case InsertionMode::Text:
            appendCharacter(unit, currentNode.get(), heap());
            return;
        case InsertionMode::InTable:
        case InsertionMode::InTableBody:
        case InsertionMode::InRow:
            // Whatever the current node: the unit waits in the run of table
            // text.
            beginTableText();
            continue;
        case InsertionMode::InTableText:
            collectTableCharacter(unit, position);
            return;
        case InsertionMode::InCaption:
        case InsertionMode::InCell:
            handleInBodyCharacter(unit, position, false);
            return;
        case InsertionMode::InColumnGroup:
            if (isWhitespaceUnit(unit)) {
                appendCharacter(unit, currentNode.get(), heap());
                return;
            }
            dispatchToken(makeSyntheticTag(TokenType::EndTag, TagId::Colgroup, *position), false);
            continue;
        case InsertionMode::InSelect:
        case InsertionMode::InSelectInTable:
            handleInSelectCharacter(unit, position);
            return;
        case InsertionMode::AfterBody:
            if (isWhitespaceUnit(unit)) {
                handleInBodyCharacter(unit, position, false);
                return;
            }
            reportCharacter(ParseErrorCode::UnexpectedTokenAfterBody, unit, position);
            insertionMode = InsertionMode::InBody;
            continue;
        case InsertionMode::InFrameset:
            if (isWhitespaceUnit(unit)) {
                appendCharacter(unit, currentNode.get(), heap());
                return;
            }
            reportCharacter(ParseErrorCode::UnexpectedTokenInFrameset, unit, position);
            return;
        case InsertionMode::AfterFrameset:
            if (isWhitespaceUnit(unit)) {
                appendCharacter(unit, currentNode.get(), heap());
                return;
            }
            reportCharacter(ParseErrorCode::UnexpectedTokenAfterFrameset, unit, position);
            return;
        case InsertionMode::AfterAfterBody:
            if (isWhitespaceUnit(unit)) {
                handleInBodyCharacter(unit, position, false);
                return;
            }
            reportCharacter(ParseErrorCode::UnexpectedTokenAfterAfterBody, unit, position);
            insertionMode = InsertionMode::InBody;
            continue;
        case InsertionMode::AfterAfterFrameset:
            if (isWhitespaceUnit(unit)) {
                handleInBodyCharacter(unit, position, false);
                return;
            }
            reportCharacter(ParseErrorCode::UnexpectedTokenAfterAfterFrameset, unit, position);
            return;
        }
        // A mode value past the last one has no rules: the unit is dropped.
        return;
    }
}

TreeConstructor::DispatchDepth::DispatchDepth(TreeConstructor& owner) : tree(owner)
{
    if (tree.dispatchDepth == kMaxDispatchDepth) {
        throw std::length_error("tokens dispatched again without end");
    }
    ++tree.dispatchDepth;
}

TreeConstructor::DispatchDepth::~DispatchDepth()
{
    --tree.dispatchDepth;
}

TagTokenRef TreeConstructor::makeSyntheticTag(TokenType type, TagId tag, TextPosition position)
{
    auto synthetic = makeSharedOnHeap<TagToken>(heap(), type);
    synthetic->name = tagNameText(static_cast<std::int32_t>(tag));
    synthetic->position = position;
    return synthetic;
}

void TreeConstructor::acknowledgeSelfClosing(TagToken& tag)
{
    if (tag.selfClosing) tag.selfClosingAcknowledged = true;
}

const ErrorListenerList& TreeConstructor::errorListeners() const
{
    static const ErrorListenerList none;
    return source ? source->errorListeners : none;
}

void TreeConstructor::reportToken(ParseErrorCode code, const TokenRef& token)
{
    reportTokenError(errorListeners(), code, token);
}

void TreeConstructor::reportPosition(ParseErrorCode code, const TextPosition& position)
{
    reportPositionError(errorListeners(), code, &position);
}

void TreeConstructor::reportCharacter(ParseErrorCode code, char16_t unit,
                                      const TextPosition* position)
{
    reportCharacterError(errorListeners(), code, unit, position);
}

}  // namespace Parsers
