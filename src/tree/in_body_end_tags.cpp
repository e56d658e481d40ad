// The end tags of the in body mode under case folding parsing: one rule per
// row of tags, chosen by inBodyEndTagRow. A tag in no row takes the walk of
// anyOtherEndTag (mode_in_body.cpp), the formatting tags the adoption agency
// (adoption_agency.cpp).
//
// Most rows share one shape: a scope test that drops the token with a report
// when it fails, then the implied end tags and a pop through the nearest
// element of the tag.
#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

void TreeConstructor::caseFoldingEndTag(const TokenRef& token)
{
    using Row = InBodyEndTagRow;
    switch (inBodyEndTagRow(asTag(token).getTagId())) {
    case Row::Formatting: runAdoptionAgency(token); return;
    case Row::Block: endBlock(token); return;
    case Row::ObjectLike: endObjectLike(token); return;
    case Row::Body: endBody(token); return;
    case Row::Br:
        // No element is made for it: the report and the drop are the rule.
        reportPosition(ParseErrorCode::BrEndTagInBody, token->position);
        token->ignored = true;
        return;
    case Row::DefinitionItem:
        endItem(token, ScopeKind::Default, ParseErrorCode::MisnestedDdOrDtEndTagInBody);
        return;
    case Row::Form: endForm(token); return;
    case Row::Heading: closeHeading(token); return;
    case Row::ListItem:
        endItem(token, ScopeKind::ListItem, ParseErrorCode::MisnestedLiEndTagInBody);
        return;
    case Row::Paragraph: endParagraph(token); return;
    case Row::Other: anyOtherEndTag(token); return;
    }
}

void TreeConstructor::closeElementOfEndTag(const TokenRef& token, bool keepOwnName)
{
    TagToken& tag = asTag(token);
    generateImpliedEndTags(keepOwnName ? tag.name : UString());
    const TagId wanted = tag.getTagId();
    if (!currentNodeHasTag(wanted)) reportToken(ParseErrorCode::MismatchedEndTagInBody, token);
    popUntilTag(wanted);
}

void TreeConstructor::endBlock(const TokenRef& token)
{
    if (!hasElementInScope(asTag(token).getTagId(), ScopeKind::Default)) {
        reportToken(ParseErrorCode::IllegalEndTagInBody, token);
        token->ignored = true;
        return;
    }
    closeElementOfEndTag(token, false);
}

// The formatting of the element's content goes with it: the list loses what
// was pushed since the element's marker.
void TreeConstructor::endObjectLike(const TokenRef& token)
{
    if (!hasElementInScope(asTag(token).getTagId(), ScopeKind::Default)) {
        reportToken(ParseErrorCode::MisnestedAppletMarqueeObjectEndTagInBody, token);
        token->ignored = true;
        return;
    }
    closeElementOfEndTag(token, false);
    activeFormatting.clearToLastMarker();
}

// The body stays open: only the mode changes. The walk over the stack reports
// nothing whatever it meets; all it leaves behind are the tag ids it looked
// up on the way.
void TreeConstructor::endBody(const TokenRef& token)
{
    if (!hasElementInScope(TagId::Body, ScopeKind::Default)) {
        reportPosition(ParseErrorCode::BodyEndTagAlthoughNoBodyInScope, token->position);
        token->ignored = true;
        return;
    }
    for (std::size_t position = 0; position < openElements.size(); ++position) {
        if (!isPassedByBodyEndTag(openElement(position).getTagId())) break;
    }
    insertionMode = InsertionMode::AfterBody;
}

// The form element pointer is cleared whatever follows. The form leaves the
// stack wherever it stands; what was opened inside it stays open.
void TreeConstructor::endForm(const TokenRef& token)
{
    NodeRef form = std::move(formElement);
    formElement.reset();
    if (!form ||
        !hasElementInScope(static_cast<Element&>(*form).getTagId(), ScopeKind::Default)) {
        reportPosition(ParseErrorCode::UnspecifiedFormEndTagError01InBody, token->position);
        token->ignored = true;
        return;
    }
    generateImpliedEndTags(UString());
    if (form != currentNode) {
        reportPosition(ParseErrorCode::UnspecifiedFormEndTagError02InBody, token->position);
    }
    removeOpenElement(form.get());
}

// dd, dt and li: the implied end tags spare elements of the token's own name.
void TreeConstructor::endItem(const TokenRef& token, ScopeKind scope, ParseErrorCode code)
{
    if (!hasElementInScope(asTag(token).getTagId(), scope)) {
        reportToken(code, token);
        token->ignored = true;
        return;
    }
    closeElementOfEndTag(token, true);
}

// A p end tag with no p to close makes an empty p first, then closes it.
void TreeConstructor::endParagraph(const TokenRef& token)
{
    if (!hasElementInScope(TagId::P, ScopeKind::Button)) {
        reportPosition(ParseErrorCode::MisnestedPEndTagInBody, token->position);
        dispatchToken(makeSyntheticTag(TokenType::StartTag, TagId::P, token->position), false);
        dispatchToken(token, false);
        return;
    }
    closeElementOfEndTag(token, true);
}

// Any heading end tag closes any heading, and always the lowest one of the
// stack with all above it.
void TreeConstructor::closeHeading(const TokenRef& token)
{
    static constexpr TagId kHeadings[] = {TagId::H1, TagId::H2, TagId::H3,
                                          TagId::H4, TagId::H5, TagId::H6};
    bool anyInScope = false;
    for (TagId heading : kHeadings) {
        if (hasElementInScope(heading, ScopeKind::Default)) {
            anyInScope = true;
            break;
        }
    }
    if (!anyInScope) {
        reportPosition(ParseErrorCode::MisnestedHeadingEndTagInBody, token->position);
        token->ignored = true;
        return;
    }
    generateImpliedEndTags(UString());
    if (!currentNodeHasTag(asTag(token).getTagId())) {
        reportPosition(ParseErrorCode::MismatchedHeadingEndTagInBody, token->position);
    }
    popThroughFirstHeading();
}

}  // namespace Parsers
