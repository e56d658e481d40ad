// The named sets of tags that the tree rules test, each declared once.
//
// Every test is on the interned tag id alone. An unknown name has the id
// TagId::Unknown, which is a member of no set.
#pragma once

#include "dom/names.h"

namespace Parsers {

// Elements that text and tags are foster parented around when they are the
// current node.
constexpr bool isTableStructure(TagId tag)
{
    switch (tag) {
    case TagId::Table:
    case TagId::Tbody:
    case TagId::Tfoot:
    case TagId::Thead:
    case TagId::Tr:
        return true;
    default:
        return false;
    }
}

// Elements that generateImpliedEndTags closes. rb and rtc are not among them.
constexpr bool isImpliedEndTag(TagId tag)
{
    switch (tag) {
    case TagId::Dd:
    case TagId::Dt:
    case TagId::Li:
    case TagId::Optgroup:
    case TagId::Option:
    case TagId::P:
    case TagId::Rp:
    case TagId::Rt:
        return true;
    default:
        return false;
    }
}

// Elements that may stay open at the end of the input without a report.
// optgroup, option, rp and rt are not among them, though implied end tags
// close them.
constexpr bool mayStayOpenAtEndOfFile(TagId tag)
{
    switch (tag) {
    case TagId::Body:
    case TagId::Dd:
    case TagId::Dt:
    case TagId::Html:
    case TagId::Li:
    case TagId::P:
    case TagId::Tbody:
    case TagId::Td:
    case TagId::Tfoot:
    case TagId::Th:
    case TagId::Thead:
    case TagId::Tr:
        return true;
    default:
        return false;
    }
}

// h1 to h6: headings close each other by any of the six names.
constexpr bool isHeading(TagId tag)
{
    switch (tag) {
    case TagId::H1:
    case TagId::H2:
    case TagId::H3:
    case TagId::H4:
    case TagId::H5:
    case TagId::H6:
        return true;
    default:
        return false;
    }
}

// MathML elements whose text content is ordinary text.
constexpr bool isMathmlTextIntegrationTag(TagId tag)
{
    switch (tag) {
    case TagId::Mi:
    case TagId::Mn:
    case TagId::Mo:
    case TagId::Ms:
    case TagId::Mtext:
        return true;
    default:
        return false;
    }
}

// SVG elements whose content follows the insertion modes again.
constexpr bool isSvgHtmlIntegrationTag(TagId tag)
{
    return tag == TagId::Desc || tag == TagId::ForeignObject || tag == TagId::Title;
}

// Start tags that leave foreign content under case folding parsing. Under case
// preserving parsing no name leaves it: every element there is foreign.
constexpr bool isForeignBreakout(TagId tag)
{
    switch (tag) {
    case TagId::B:
    case TagId::Big:
    case TagId::Blockquote:
    case TagId::Body:
    case TagId::Br:
    case TagId::Center:
    case TagId::Code:
    case TagId::Dd:
    case TagId::Div:
    case TagId::Dl:
    case TagId::Dt:
    case TagId::Em:
    case TagId::Embed:
    case TagId::H1:
    case TagId::H2:
    case TagId::H3:
    case TagId::H4:
    case TagId::H5:
    case TagId::H6:
    case TagId::Head:
    case TagId::Hr:
    case TagId::I:
    case TagId::Img:
    case TagId::Li:
    case TagId::Listing:
    case TagId::Menu:
    case TagId::Meta:
    case TagId::Nobr:
    case TagId::Ol:
    case TagId::P:
    case TagId::Pre:
    case TagId::Ruby:
    case TagId::S:
    case TagId::Small:
    case TagId::Span:
    case TagId::Strike:
    case TagId::Strong:
    case TagId::Sub:
    case TagId::Sup:
    case TagId::Table:
    case TagId::Tt:
    case TagId::U:
    case TagId::Ul:
    case TagId::Var:
        return true;
    default:
        return false;
    }
}

// Start tags that the in head rules insert and pop at once.
constexpr bool isHeadVoidElement(TagId tag)
{
    switch (tag) {
    case TagId::Base:
    case TagId::Basefont:
    case TagId::Bgsound:
    case TagId::Command:
    case TagId::Link:
    case TagId::Meta:
        return true;
    default:
        return false;
    }
}

// Start tags that the after head mode hands to the in head rules, with the
// head element pushed for the time. command is not one of them.
constexpr bool isAfterHeadHeadElement(TagId tag)
{
    switch (tag) {
    case TagId::Base:
    case TagId::Basefont:
    case TagId::Bgsound:
    case TagId::Link:
    case TagId::Meta:
    case TagId::Script:
    case TagId::Style:
    case TagId::Title:
        return true;
    default:
        return false;
    }
}

// Start tags that the in head noscript mode hands to the in head rules.
constexpr bool isNoscriptHeadElement(TagId tag)
{
    switch (tag) {
    case TagId::Basefont:
    case TagId::Bgsound:
    case TagId::Link:
    case TagId::Meta:
    case TagId::Style:
        return true;
    default:
        return false;
    }
}

// End tags that the modes before the body treat as anything else.
constexpr bool isBeforeHtmlPassingEndTag(TagId tag)
{
    return tag == TagId::Body || tag == TagId::Br || tag == TagId::Head || tag == TagId::Html;
}
constexpr bool isInHeadPassingEndTag(TagId tag)
{
    return tag == TagId::Body || tag == TagId::Br || tag == TagId::Html;
}

// ---------------------------------------------------------------- tables

// The sections of a table body: what the in table body mode closes.
constexpr bool isTableSection(TagId tag)
{
    return tag == TagId::Tbody || tag == TagId::Tfoot || tag == TagId::Thead;
}

constexpr bool isTableCell(TagId tag)
{
    return tag == TagId::Td || tag == TagId::Th;
}

// Start tags of the table's own structure. An open caption or cell is closed
// for them, and they are then handled again.
constexpr bool isTableStructureStartTag(TagId tag)
{
    switch (tag) {
    case TagId::Caption:
    case TagId::Col:
    case TagId::Colgroup:
    case TagId::Tbody:
    case TagId::Td:
    case TagId::Tfoot:
    case TagId::Th:
    case TagId::Thead:
    case TagId::Tr:
        return true;
    default:
        return false;
    }
}

// Start tags that close the open row before they are handled again: the
// structure above a row, and a new row.
constexpr bool isRowEndingStartTag(TagId tag)
{
    switch (tag) {
    case TagId::Caption:
    case TagId::Col:
    case TagId::Colgroup:
    case TagId::Tr:
        return true;
    default:
        return isTableSection(tag);
    }
}

// Start tags that close the open table section before they are handled again.
constexpr bool isSectionEndingStartTag(TagId tag)
{
    return tag != TagId::Tr && isRowEndingStartTag(tag);
}

// End tags that close the open cell first and are then handled again.
constexpr bool isCellEndingEndTag(TagId tag)
{
    return tag == TagId::Table || tag == TagId::Tr || isTableSection(tag);
}

// The end tags that each table mode drops. The sets grow from the cell outward:
// a mode drops the end tags of the structure it lies within and of the parts
// it does not hold open. The in cell mode reports them.
constexpr bool isIgnoredEndTagInCell(TagId tag)
{
    switch (tag) {
    case TagId::Body:
    case TagId::Caption:
    case TagId::Col:
    case TagId::Colgroup:
    case TagId::Html:
        return true;
    default:
        return false;
    }
}
constexpr bool isIgnoredEndTagInRow(TagId tag)
{
    return isIgnoredEndTagInCell(tag) || isTableCell(tag);
}
constexpr bool isIgnoredEndTagInTableBody(TagId tag)
{
    return isIgnoredEndTagInRow(tag) || tag == TagId::Tr;
}
// The in table mode drops these silently.
constexpr bool isIgnoredEndTagInTable(TagId tag)
{
    return isIgnoredEndTagInTableBody(tag) || isTableSection(tag);
}
// The in caption mode: all of the in table set but caption itself.
constexpr bool isIgnoredEndTagInCaption(TagId tag)
{
    return tag != TagId::Caption && isIgnoredEndTagInTable(tag);
}

// Tags of the table that close a select inside it, as start and as end tags.
constexpr bool isSelectEndingTableTag(TagId tag)
{
    switch (tag) {
    case TagId::Caption:
    case TagId::Table:
    case TagId::Tbody:
    case TagId::Td:
    case TagId::Tfoot:
    case TagId::Th:
    case TagId::Thead:
    case TagId::Tr:
        return true;
    default:
        return false;
    }
}

// The space of pending table text: tab, line feed, form feed, carriage return
// and space. 0x0B is no space here, though the tree constructor's whitespace
// counts it.
constexpr bool isTableTextSpace(char16_t unit)
{
    return unit == u'\t' || unit == u'\n' || unit == u'\f' || unit == u'\r' || unit == u' ';
}

}  // namespace Parsers
