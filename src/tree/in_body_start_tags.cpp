// The start tags of the in body mode under case folding parsing: one rule per
// row of tags, chosen by inBodyStartTagRow.
//
// Where a row says "foster" the element is placed with the foster argument as
// it came; where it says "structure" the current node decides, so that a tag
// met right inside a table goes in front of it even when the in body rules
// were not reached through the table modes. The rule also says whether the
// frameset-ok flag drops: a rule that makes content a frameset can no longer
// replace clears it.
#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

namespace {

// An input whose type is hidden shows nothing, so it leaves the frameset-ok
// flag as it was.
bool isHiddenInput(const TagToken& tag)
{
    auto type = tag.attributes.find(u"type");
    return type != tag.attributes.end() && equalsFoldedAscii(type->second->value, u"hidden");
}

// The category of the token's own tag, from its row of the tag table.
TagCategory tokenCategory(TagToken& tag)
{
    tag.getTagId();
    return tag.tagEntry ? tag.tagEntry->category : TagCategory::Unclassified;
}

// The modes of a table and its parts: a select opened in one of them takes the
// in select in table mode.
bool isTableInsertionMode(InsertionMode mode)
{
    switch (mode) {
    case InsertionMode::InTable:
    case InsertionMode::InCaption:
    case InsertionMode::InTableBody:
    case InsertionMode::InRow:
    case InsertionMode::InCell:
        return true;
    default:
        return false;
    }
}

}  // namespace

void TreeConstructor::caseFoldingStartTag(const TokenRef& token, bool foster)
{
    using Row = InBodyStartTagRow;
    TagToken& tag = asTag(token);
    switch (inBodyStartTagRow(tag.getTagId())) {
    case Row::Block: startBlock(token, foster); return;
    case Row::Heading: startHeading(token, foster); return;
    case Row::PreOrListing: startPreOrListing(token, foster); return;
    case Row::Form: startForm(token, foster); return;
    case Row::ListItem: startListItem(token, foster); return;
    case Row::DefinitionItem: startDefinitionItem(token, foster); return;
    case Row::Plaintext: startPlaintext(token, foster); return;
    case Row::HorizontalRule: startHorizontalRule(token, foster); return;
    case Row::Anchor: startAnchor(token, foster); return;
    case Row::Formatting: startFormatting(token, foster); return;
    case Row::Nobr: startNobr(token, foster); return;
    case Row::Button: startButton(token, foster); return;
    case Row::ObjectLike: startObjectLike(token, foster); return;
    case Row::RubyText: startRubyText(token, foster); return;
    case Row::Void: startVoidElement(token, foster); return;
    case Row::Input: startInput(token, foster); return;
    case Row::MediaChild: startMediaChild(token, foster); return;
    case Row::Image: startImage(token, foster); return;
    case Row::Textarea: startTextarea(token, foster); return;
    case Row::Xmp: startXmp(token, foster); return;
    case Row::Iframe: startIframe(token, foster); return;
    case Row::Noembed: insertRawTextElement(token, foster); return;
    case Row::Table: startTable(token, foster); return;
    case Row::Select: startSelect(token, foster); return;
    case Row::Option: startOption(token, foster); return;
    case Row::Math: startMath(token, foster); return;
    case Row::Svg: startSvg(token, foster); return;
    case Row::HeadElement: handleInHead(token, foster); return;
    case Row::Html: startHtmlInBody(token); return;
    case Row::Body: startBodyInBody(token); return;
    case Row::Frameset:
        // Dropped without a report: a frameset cannot replace a body here.
        token->ignored = true;
        return;
    case Row::Isindex:
        reportToken(ParseErrorCode::UnexpectedTokenInBody, token);
        token->ignored = true;
        return;
    case Row::Illegal:
        reportToken(ParseErrorCode::IllegalStartTagInBody, token);
        return;
    case Row::Other: insertUnlistedStartTag(token, foster); return;
    }
}

void TreeConstructor::closeParagraph(const TextPosition& position)
{
    if (!hasElementInScope(TagId::P, ScopeKind::Button)) return;
    dispatchToken(makeSyntheticTag(TokenType::EndTag, TagId::P, position), false);
}

void TreeConstructor::dropFollowingLineFeed()
{
    if (!tokenizer) return;
    CharacterStream& stream = *tokenizer->stream;
    if (stream.remaining > 0 && stream.peekUnit() == u'\n') stream.consume();
}

// A plain change of state, as the script data state is entered: no pending
// end tag is prepared by it.
void TreeConstructor::setTokenizerState(TokenizerState state)
{
    if (!tokenizer) return;
    tokenizer->previousState = tokenizer->state;
    tokenizer->state = state;
}

void TreeConstructor::startBlock(const TokenRef& token, bool foster)
{
    closeParagraph(token->position);
    insertHtmlElement(token, foster);
}

// A heading directly inside another heading closes it; one deeper inside does
// not.
void TreeConstructor::startHeading(const TokenRef& token, bool foster)
{
    closeParagraph(token->position);
    if (currentNode && isHeading(currentElement().getTagId())) {
        reportPosition(ParseErrorCode::HeadingInHeadingInBody, token->position);
        popOpenElement();
    }
    insertHtmlElement(token, foster);
}

void TreeConstructor::startPreOrListing(const TokenRef& token, bool foster)
{
    closeParagraph(token->position);
    insertHtmlElement(token, foster);
    dropFollowingLineFeed();
    framesetOk = false;
}

// One form at a time: a second start tag while the form element pointer is
// set is refused.
void TreeConstructor::startForm(const TokenRef& token, bool foster)
{
    if (formElement) {
        reportPosition(ParseErrorCode::FormStartTagInFormInBody, token->position);
        token->ignored = true;
        return;
    }
    closeParagraph(token->position);
    formElement = insertHtmlElement(token, foster);
}

void TreeConstructor::startListItem(const TokenRef& token, bool foster)
{
    startItem(token, foster, closesListItem);
}

void TreeConstructor::startDefinitionItem(const TokenRef& token, bool foster)
{
    startItem(token, foster, closesDefinitionItem);
}

// The list item and definition item rules. The walk over the stack tests the
// token, not the entry, for whether to go on: the item tags are special, so
// only the current node is ever looked at, and an item that is open further
// down stays open.
void TreeConstructor::startItem(const TokenRef& token, bool foster, bool (*closesItem)(TagId))
{
    TagToken& tag = asTag(token);
    framesetOk = false;
    for (std::size_t position = openElements.size(); position-- > 0;) {
        const TagId entryTag = openElement(position).getTagId();
        if (closesItem(entryTag)) {
            handleInBody(makeSyntheticTag(TokenType::EndTag, entryTag, token->position), false);
            break;
        }
        const TagId tokenTag = tag.getTagId();
        const bool passesOn = tokenCategory(tag) != TagCategory::Special ||
                              tokenTag == TagId::Address || tokenTag == TagId::Div ||
                              tokenTag == TagId::P;
        if (!passesOn) break;
    }
    // The made up end tag p goes to the in body end tag rules directly, not
    // through the current mode.
    if (hasElementInScope(TagId::P, ScopeKind::Button)) {
        handleInBodyEndTag(makeSyntheticTag(TokenType::EndTag, TagId::P, token->position));
    }
    insertHtmlElement(token, foster);
}

// The tokenizer reads everything after it as text, to the end of the input.
void TreeConstructor::startPlaintext(const TokenRef& token, bool foster)
{
    closeParagraph(token->position);
    insertHtmlElement(token, foster);
    setTokenizerState(TokenizerState::Plaintext);
}

void TreeConstructor::startHorizontalRule(const TokenRef& token, bool foster)
{
    closeParagraph(token->position);
    insertHtmlElement(token, foster);
    popOpenElement();
    acknowledgeSelfClosing(asTag(token));
    framesetOk = false;
}

// An a start tag while an a is active closes that one first by a made up end
// tag, whatever that end tag then does.
void TreeConstructor::startAnchor(const TokenRef& token, bool foster)
{
    if (activeFormatting.findAfterLastMarker(TagId::A)) {
        reportPosition(ParseErrorCode::MisnestedAnchorInBody, token->position);
        handleInBody(makeSyntheticTag(TokenType::EndTag, TagId::A, token->position), false);
    }
    startFormatting(token, foster);
}

void TreeConstructor::startFormatting(const TokenRef& token, bool foster)
{
    reconstructActiveFormatting(foster);
    activeFormatting.pushElement(insertHtmlElement(token, isTableStructureNode()));
}

// No adoption agency runs for a nested nobr: the report, a second
// reconstruction, and the new nobr goes inside the open one.
void TreeConstructor::startNobr(const TokenRef& token, bool foster)
{
    reconstructActiveFormatting(foster);
    if (hasElementInScope(TagId::Nobr, ScopeKind::Default)) {
        reportPosition(ParseErrorCode::MisnestedNobrStartTagInBody, token->position);
        reconstructActiveFormatting(foster);
    }
    activeFormatting.pushElement(insertHtmlElement(token, isTableStructureNode()));
}

// A button inside a button closes the outer one and is handled again.
void TreeConstructor::startButton(const TokenRef& token, bool foster)
{
    if (hasElementInScope(TagId::Button, ScopeKind::Default)) {
        reportPosition(ParseErrorCode::MisnestedButtonStartTagInBody, token->position);
        dispatchToken(makeSyntheticTag(TokenType::EndTag, TagId::Button, token->position), false);
        dispatchToken(token, foster);
        return;
    }
    reconstructActiveFormatting(foster);
    insertHtmlElement(token, isTableStructureNode());
    framesetOk = false;
}

// The marker fences the element's content off from formatting outside it.
void TreeConstructor::startObjectLike(const TokenRef& token, bool foster)
{
    reconstructActiveFormatting(foster);
    insertHtmlElement(token, isTableStructureNode());
    activeFormatting.pushMarker();
    framesetOk = false;
}

// rp and rt outside a ruby that is the current node pop through the ruby
// itself, so the new element becomes the ruby's sibling.
void TreeConstructor::startRubyText(const TokenRef& token, bool foster)
{
    if (hasElementInScope(TagId::Ruby, ScopeKind::Default)) generateImpliedEndTags(UString());
    if (!currentNodeHasTag(TagId::Ruby)) {
        reportPosition(ParseErrorCode::RubyTextStartTagOutsideRubyInBody, token->position);
        popUntilTag(TagId::Ruby);
    }
    insertHtmlElement(token, foster);
}

void TreeConstructor::startVoidElement(const TokenRef& token, bool foster)
{
    reconstructActiveFormatting(foster);
    insertHtmlElement(token, isTableStructureNode());
    popOpenElement();
    acknowledgeSelfClosing(asTag(token));
    framesetOk = false;
}

void TreeConstructor::startInput(const TokenRef& token, bool foster)
{
    reconstructActiveFormatting(foster);
    insertHtmlElement(token, isTableStructureNode());
    popOpenElement();
    TagToken& tag = asTag(token);
    acknowledgeSelfClosing(tag);
    if (!isHiddenInput(tag)) framesetOk = false;
}

// param, source and track: no reconstruction of formatting for them.
void TreeConstructor::startMediaChild(const TokenRef& token, bool foster)
{
    insertHtmlElement(token, foster);
    popOpenElement();
    acknowledgeSelfClosing(asTag(token));
}

// image is taken for img: the token itself is renamed and handled again.
void TreeConstructor::startImage(const TokenRef& token, bool foster)
{
    reportPosition(ParseErrorCode::ImageStartTagInBody, token->position);
    TagToken& tag = asTag(token);
    tag.name = u"img";
    tag.tagEntry = nullptr;
    dispatchToken(token, foster);
}

void TreeConstructor::startTextarea(const TokenRef& token, bool foster)
{
    insertHtmlElement(token, foster);
    dropFollowingLineFeed();
    setTokenizerState(TokenizerState::Rcdata);
    savedInsertionMode = insertionMode;
    insertionMode = InsertionMode::Text;
    framesetOk = false;
}

void TreeConstructor::startXmp(const TokenRef& token, bool foster)
{
    closeParagraph(token->position);
    reconstructActiveFormatting(foster);
    framesetOk = false;
    insertRawTextElement(token, isTableStructureNode());
}

void TreeConstructor::startIframe(const TokenRef& token, bool foster)
{
    framesetOk = false;
    insertRawTextElement(token, foster);
}

// Outside quirks mode a table closes an open paragraph; in quirks mode it
// stays inside it.
void TreeConstructor::startTable(const TokenRef& token, bool foster)
{
    if (documentKind == 1 && document->quirksMode != 2) closeParagraph(token->position);
    insertHtmlElement(token, foster);
    if (documentKind == 1) {
        insertionMode = InsertionMode::InTable;
        framesetOk = false;
    }
}

void TreeConstructor::startSelect(const TokenRef& token, bool foster)
{
    reconstructActiveFormatting(foster);
    insertHtmlElement(token, isTableStructureNode());
    framesetOk = false;
    if (documentKind != 1) return;
    insertionMode = isTableInsertionMode(insertionMode) ? InsertionMode::InSelectInTable
                                                        : InsertionMode::InSelect;
}

// An open option is closed first, by a made up end tag through the current
// mode.
void TreeConstructor::startOption(const TokenRef& token, bool foster)
{
    if (currentNodeHasTag(TagId::Option)) {
        dispatchToken(makeSyntheticTag(TokenType::EndTag, TagId::Option, token->position), false);
    }
    reconstructActiveFormatting(foster);
    insertHtmlElement(token, isTableStructureNode());
}

// The roots of foreign content: their own placing follows the current node.
void TreeConstructor::startMath(const TokenRef& token, bool foster)
{
    reconstructActiveFormatting(foster);
    adjustMathmlAttributes(token);
    adjustForeignAttributes(token);
    insertForeignElement(token, NamespaceId::MathMl, isTableStructureNode());
    TagToken& tag = asTag(token);
    if (tag.selfClosing) {
        popOpenElement();
        tag.selfClosingAcknowledged = true;
    }
}

void TreeConstructor::startSvg(const TokenRef& token, bool foster)
{
    reconstructActiveFormatting(foster);
    adjustForeignAttributes(token);
    insertForeignElement(token, NamespaceId::Svg, isTableStructureNode());
    TagToken& tag = asTag(token);
    if (tag.selfClosing) {
        popOpenElement();
        tag.selfClosingAcknowledged = true;
    }
}

// The attributes go to the element at the bottom of the stack, with no test
// of what it is; the element's own values win.
void TreeConstructor::startHtmlInBody(const TokenRef& token)
{
    reportPosition(ParseErrorCode::HtmlStartTagInBody, token->position);
    mergeAttributes(token, checkedOpenElement(0));
}

// The attributes go to entry 1 of the stack, which is the body when the
// document began as usual; nothing tests that it is one, or that it exists.
void TreeConstructor::startBodyInBody(const TokenRef& token)
{
    reportPosition(ParseErrorCode::BodyStartTagInBody, token->position);
    framesetOk = false;
    mergeAttributes(token, checkedOpenElement(1));
}

}  // namespace Parsers
