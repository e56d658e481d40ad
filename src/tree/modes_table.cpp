// The table modes: in table, in table text, in caption, in column group, in
// table body, in row and in cell.
//
// They build the table's own structure and send everything else to the in
// body rules. What in table does not know goes there with foster parenting on,
// so that stray content lands in front of the table instead of inside it.
// Text in a table, in table body or in row is held back in
// pendingTableCharacters until the next token decides, for the whole run at
// once, whether it stays in the table (spaces only) or is foster parented.
//
// Under case preserving parsing the table start tag never changes the mode, so
// these modes serve case folding parsing alone.
#include <string_view>

#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

namespace {

constexpr std::u16string_view kHidden = u"hidden";

// The hidden input of a table is told by an attribute named "input", not
// "type": <input type=hidden> is an ordinary input to these rules. Its value
// is folded to lower case, A to Z only.
bool hasHiddenInputAttribute(const TagToken& tag)
{
    auto found = tag.attributes.find(u"input");
    return found != tag.attributes.end() && equalsFoldedAscii(found->second->value, kHidden);
}

}  // namespace

TagTokenRef TreeConstructor::dispatchSyntheticTag(TokenType type, TagId tag, const TokenRef& cause)
{
    TagTokenRef synthetic = makeSyntheticTag(type, tag, cause->position);
    dispatchToken(synthetic, false);
    return synthetic;
}

// ---------------------------------------------------------------- in table

void TreeConstructor::handleInTable(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::Doctype:
        // Reported, and the token is not flagged as ignored.
        reportToken(ParseErrorCode::UnexpectedTokenInTable, token);
        return;
    case TokenType::EndOfFile:
        // An empty stack has no html on top either, so it is reported too.
        if (!currentNodeHasTag(TagId::Html)) {
            reportPosition(ParseErrorCode::UnexpectedEofInTable, token->position);
        }
        return;
    case TokenType::StartTag:
        inTableStartTag(token);
        return;
    case TokenType::EndTag:
        inTableEndTag(token);
        return;
    }
}

void TreeConstructor::inTableStartTag(const TokenRef& token)
{
    switch (asTag(token).getTagId()) {
    case TagId::Caption:
        clearToTableContext();
        activeFormatting.pushMarker();
        insertHtmlElement(token, false);
        insertionMode = InsertionMode::InCaption;
        return;
    case TagId::Colgroup:
        clearToTableContext();
        insertHtmlElement(token, false);
        insertionMode = InsertionMode::InColumnGroup;
        return;
    case TagId::Col:
        dispatchSyntheticTag(TokenType::StartTag, TagId::Colgroup, token);
        dispatchToken(token, false);
        return;
    case TagId::Tbody:
    case TagId::Tfoot:
    case TagId::Thead:
        clearToTableContext();
        insertHtmlElement(token, false);
        insertionMode = InsertionMode::InTableBody;
        return;
    case TagId::Td:
    case TagId::Th:
    case TagId::Tr:
        dispatchSyntheticTag(TokenType::StartTag, TagId::Tbody, token);
        dispatchToken(token, false);
        return;
    case TagId::Table:
        restartTable(token);
        return;
    case TagId::Script:
    case TagId::Style:
        handleInHead(token, false);
        return;
    case TagId::Input:
        if (hasHiddenInputAttribute(asTag(token))) {
            insertHiddenInputInTable(token);
            return;
        }
        inTableAnythingElse(token);
        return;
    case TagId::Form:
        insertFormInTable(token);
        return;
    default:
        // anything else
        inTableAnythingElse(token);
        return;
    }
}

void TreeConstructor::inTableEndTag(const TokenRef& token)
{
    const TagId id = asTag(token).getTagId();
    if (id == TagId::Table) {
        // No scope test: without a table nothing is popped, and the mode is
        // reset all the same.
        popUntilTag(TagId::Table);
        resetInsertionMode();
        return;
    }
    if (isIgnoredEndTagInTable(id)) {
        // Dropped without a report.
        token->ignored = true;
        return;
    }
    // anything else
    inTableAnythingElse(token);
}

// A table start tag inside a table closes the open one; the new table is
// then handled where that leaves the parse, as a sibling of the old one.
void TreeConstructor::restartTable(const TokenRef& token)
{
    reportPosition(ParseErrorCode::TableStartTagInTable, token->position);
    TagTokenRef endTable = dispatchSyntheticTag(TokenType::EndTag, TagId::Table, token);
    if (!endTable->ignored) dispatchToken(token, false);
}

// Placed in front of the table and closed at once, so that it holds nothing.
void TreeConstructor::insertHiddenInputInTable(const TokenRef& token)
{
    reportPosition(ParseErrorCode::UnexpectedInputStartTagInTable, token->position);
    insertHtmlElement(token, true);
    popOpenElement();
}

// The form goes in front of the table and is closed at once, but stays the
// form element pointer, so a second form start tag is refused.
void TreeConstructor::insertFormInTable(const TokenRef& token)
{
    reportPosition(ParseErrorCode::UnexpectedFormStartTagInTable, token->position);
    if (formElement) {
        token->ignored = true;
        return;
    }
    formElement = insertHtmlElement(token, true);
    popOpenElement();
}

void TreeConstructor::inTableAnythingElse(const TokenRef& token)
{
    reportToken(ParseErrorCode::IllegalTokenInTable, token);
    handleInBody(token, true);
}

// ---------------------------------------------------------------- in table text

// The modes of the table's inner structure meet text by collecting it: the
// mode to return to is kept, and the unit is looked at again in InTableText.
void TreeConstructor::beginTableText()
{
    pendingTableCharacters.clear();
    savedInsertionMode = insertionMode;
    insertionMode = InsertionMode::InTableText;
}

void TreeConstructor::collectTableCharacter(char16_t unit, const TextPosition* position)
{
    if (unit == 0) {
        reportPosition(ParseErrorCode::NullInTableText, *position);
        return;
    }
    pendingTableCharacters.push_back(unit);
}

void TreeConstructor::handleInTableText(const TokenRef& token)
{
    flushPendingTableCharacters(token->position);
    insertionMode = savedInsertionMode;
    dispatchToken(token, false);
}

// One decision for the whole run: a single unit that is no space sends every
// unit, the spaces too, through the in body text rule with foster parenting.
// The run stays in pendingTableCharacters until the next run begins.
void TreeConstructor::flushPendingTableCharacters(const TextPosition& position)
{
    bool onlySpaces = true;
    for (char16_t unit : pendingTableCharacters) {
        if (!isTableTextSpace(unit)) {
            onlySpaces = false;
            break;
        }
    }
    if (onlySpaces) {
        for (char16_t unit : pendingTableCharacters) {
            appendCharacter(unit, currentNode.get(), heap());
        }
        return;
    }
    for (char16_t unit : pendingTableCharacters) {
        reportCharacter(ParseErrorCode::IllegalTokenInTable, unit, &position);
        handleInBodyCharacter(unit, &position, true);
    }
}

// ---------------------------------------------------------------- in caption

void TreeConstructor::handleInCaption(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::StartTag:
        if (isTableStructureStartTag(asTag(token).getTagId())) {
            closeCaptionThenDispatch(token);
            return;
        }
        break;
    case TokenType::EndTag:
        inCaptionEndTag(token);
        return;
    case TokenType::Comment:
    case TokenType::Doctype:
    case TokenType::EndOfFile:
        break;
    }
    // anything else
    handleInBody(token, false);
}

void TreeConstructor::inCaptionEndTag(const TokenRef& token)
{
    const TagId id = asTag(token).getTagId();
    if (id == TagId::Caption) {
        closeCaption(token);
        return;
    }
    if (id == TagId::Table) {
        closeCaptionThenDispatch(token);
        return;
    }
    if (isIgnoredEndTagInCaption(id)) {
        reportToken(ParseErrorCode::IllegalEndTagInCaption, token);
        token->ignored = true;
        return;
    }
    // anything else
    handleInBody(token, false);
}

// No scope test: the mode goes back to in table also when no caption is open.
void TreeConstructor::closeCaption(const TokenRef& token)
{
    generateImpliedEndTags(UString());
    if (!currentNodeHasTag(TagId::Caption)) {
        reportPosition(ParseErrorCode::MisnestedCaptionEndTagInCaption, token->position);
    }
    popUntilTag(TagId::Caption);
    activeFormatting.clearToLastMarker();
    insertionMode = InsertionMode::InTable;
}

void TreeConstructor::closeCaptionThenDispatch(const TokenRef& token)
{
    TagTokenRef endCaption = dispatchSyntheticTag(TokenType::EndTag, TagId::Caption, token);
    if (!endCaption->ignored) dispatchToken(token, false);
}

// ---------------------------------------------------------------- in column group

void TreeConstructor::handleInColumnGroup(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::Doctype:
        reportToken(ParseErrorCode::UnexpectedTokenInColumnGroup, token);
        token->ignored = true;
        return;
    case TokenType::StartTag:
        switch (asTag(token).getTagId()) {
        case TagId::Col:
            insertHtmlElement(token, false);
            popOpenElement();
            acknowledgeSelfClosing(asTag(token));
            return;
        case TagId::Html:
            handleInBody(token, false);
            return;
        default:
            break;
        }
        break;
    case TokenType::EndTag:
        switch (asTag(token).getTagId()) {
        case TagId::Col:
            reportToken(ParseErrorCode::UnexpectedTokenInColumnGroup, token);
            token->ignored = true;
            return;
        case TagId::Colgroup:
            // Whatever is current goes, colgroup or not.
            popOpenElement();
            insertionMode = InsertionMode::InTable;
            return;
        default:
            break;
        }
        break;
    case TokenType::EndOfFile:
        break;
    }
    // anything else, the end of the input too: the column group ends, and the
    // table decides.
    dispatchSyntheticTag(TokenType::EndTag, TagId::Colgroup, token);
    dispatchToken(token, false);
}

// ---------------------------------------------------------------- in table body

void TreeConstructor::handleInTableBody(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::StartTag:
        inTableBodyStartTag(token);
        return;
    case TokenType::EndTag:
        inTableBodyEndTag(token);
        return;
    case TokenType::Comment:
    case TokenType::Doctype:
    case TokenType::EndOfFile:
        break;
    }
    // anything else
    handleInTable(token);
}

void TreeConstructor::inTableBodyStartTag(const TokenRef& token)
{
    const TagId id = asTag(token).getTagId();
    if (id == TagId::Tr) {
        clearToTableBodyContext();
        insertHtmlElement(token, false);
        insertionMode = InsertionMode::InRow;
        return;
    }
    if (isTableCell(id)) {
        // A cell outside a row: a row is made for it.
        reportToken(ParseErrorCode::MisplacedCellStartInTableBody, token);
        dispatchSyntheticTag(TokenType::StartTag, TagId::Tr, token);
        dispatchToken(token, false);
        return;
    }
    if (isSectionEndingStartTag(id)) {
        closeTableSectionThenDispatch(token);
        return;
    }
    // anything else
    handleInTable(token);
}

void TreeConstructor::inTableBodyEndTag(const TokenRef& token)
{
    const TagId id = asTag(token).getTagId();
    if (isTableSection(id)) {
        if (!hasElementInScope(id, ScopeKind::Table)) {
            reportToken(ParseErrorCode::MisnestedTableTokenInTableBody, token);
            token->ignored = true;
            return;
        }
        clearToTableBodyContext();
        popOpenElement();
        insertionMode = InsertionMode::InTable;
        return;
    }
    if (id == TagId::Table) {
        closeTableSectionThenDispatch(token);
        return;
    }
    if (isIgnoredEndTagInTableBody(id)) {
        // The message speaks of a start tag; only end tags raise it.
        reportToken(ParseErrorCode::UnexpectedStartTagInTableBody, token);
        token->ignored = true;
        return;
    }
    // anything else
    handleInTable(token);
}

// No scope test: the made up end tag names whatever the clearing left on top.
// Its tag is read from the top entry, so an empty stack has nothing to name and
// ends the parse by the failure path.
void TreeConstructor::closeTableSectionThenDispatch(const TokenRef& token)
{
    clearToTableBodyContext();
    const TagId current = checkedOpenElement(openElements.size() - 1).getTagId();
    dispatchSyntheticTag(TokenType::EndTag, current, token);
    dispatchToken(token, false);
}

// ---------------------------------------------------------------- in row

void TreeConstructor::handleInRow(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::StartTag:
        inRowStartTag(token);
        return;
    case TokenType::EndTag:
        inRowEndTag(token);
        return;
    case TokenType::Comment:
    case TokenType::Doctype:
    case TokenType::EndOfFile:
        break;
    }
    // anything else
    handleInTable(token);
}

void TreeConstructor::inRowStartTag(const TokenRef& token)
{
    const TagId id = asTag(token).getTagId();
    if (isTableCell(id)) {
        // The cell comes before its marker, which fences the formatting from
        // outside the table off from it.
        clearToTableRowContext();
        insertHtmlElement(token, false);
        insertionMode = InsertionMode::InCell;
        activeFormatting.pushMarker();
        return;
    }
    if (isRowEndingStartTag(id)) {
        closeRowThenDispatch(token);
        return;
    }
    // anything else
    handleInTable(token);
}

void TreeConstructor::inRowEndTag(const TokenRef& token)
{
    const TagId id = asTag(token).getTagId();
    if (id == TagId::Tr) {
        // No scope test.
        clearToTableRowContext();
        popOpenElement();
        insertionMode = InsertionMode::InTableBody;
        return;
    }
    if (id == TagId::Table) {
        closeRowThenDispatch(token);
        return;
    }
    if (isTableSection(id)) {
        if (!hasElementInScope(id, ScopeKind::Table)) {
            reportToken(ParseErrorCode::MisnestedTokenInRow, token);
            token->ignored = true;
            return;
        }
        dispatchSyntheticTag(TokenType::EndTag, TagId::Tr, token);
        dispatchToken(token, false);
        return;
    }
    if (isIgnoredEndTagInRow(id)) {
        reportToken(ParseErrorCode::IllegalEndTagInRow, token);
        token->ignored = true;
        return;
    }
    // anything else
    handleInTable(token);
}

// The test after the made up end tag is on the token at hand, not on the made
// up one.
void TreeConstructor::closeRowThenDispatch(const TokenRef& token)
{
    dispatchSyntheticTag(TokenType::EndTag, TagId::Tr, token);
    if (!token->ignored) dispatchToken(token, false);
}

// ---------------------------------------------------------------- in cell

void TreeConstructor::handleInCell(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::StartTag:
        if (isTableStructureStartTag(asTag(token).getTagId())) {
            // No scope test: the cell is closed whatever is open.
            closeCell(token->position);
            dispatchToken(token, false);
            return;
        }
        break;
    case TokenType::EndTag:
        inCellEndTag(token);
        return;
    case TokenType::Comment:
    case TokenType::Doctype:
    case TokenType::EndOfFile:
        break;
    }
    // anything else
    handleInBody(token, false);
}

void TreeConstructor::inCellEndTag(const TokenRef& token)
{
    const TagId id = asTag(token).getTagId();
    if (isTableCell(id)) {
        closeCellByEndTag(token);
        return;
    }
    if (isCellEndingEndTag(id)) {
        if (!hasElementInScope(id, ScopeKind::Table)) {
            reportToken(ParseErrorCode::MisnestedEndTagInCell, token);
            token->ignored = true;
            return;
        }
        closeCell(token->position);
        dispatchToken(token, false);
        return;
    }
    if (isIgnoredEndTagInCell(id)) {
        reportToken(ParseErrorCode::IllegalEndTagInCell, token);
        token->ignored = true;
        return;
    }
    // anything else
    handleInBody(token, false);
}

// The end tag td or th. An empty stack counts as a current node of another
// tag, and is reported.
void TreeConstructor::closeCellByEndTag(const TokenRef& token)
{
    const TagId id = asTag(token).getTagId();
    if (!hasElementInScope(id, ScopeKind::Table)) {
        reportToken(ParseErrorCode::MisnestedTableCellEndTagInCell, token);
        token->ignored = true;
        return;
    }
    generateImpliedEndTags(UString());
    if (!currentNodeHasTag(id)) {
        reportToken(ParseErrorCode::MisnestedTableCellEndTagInCell, token);
    }
    popUntilTag(id);
    activeFormatting.clearToLastMarker();
    insertionMode = InsertionMode::InRow;
}

// The cell to close is found by a walk from the top: a td met first gives td,
// the html or table element met first gives th, and a walk that meets none of
// them gives td. A th on the way is passed over; it is known only by finding
// the table before any td.
void TreeConstructor::closeCell(TextPosition position)
{
    TagId cell = TagId::Td;
    for (std::size_t index = openElements.size(); index-- > 0;) {
        const TagId id = openElement(index).getTagId();
        if (id == TagId::Td) break;
        if (id == TagId::Html || id == TagId::Table) {
            cell = TagId::Th;
            break;
        }
    }
    dispatchToken(makeSyntheticTag(TokenType::EndTag, cell, position), false);
}

}  // namespace Parsers
