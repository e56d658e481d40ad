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

// ---------------------------------------------------------------- in body

// The rows of the in body start tags under case folding parsing: which rule a
// tag takes. A tag in no row (and every unknown name) takes Other.
enum class InBodyStartTagRow {
    Block,           // address, div, p, ul and the other blocks
    Heading,         // h1 to h6
    PreOrListing,    // pre, listing
    Form,
    ListItem,        // li
    DefinitionItem,  // dd, dt
    Plaintext,
    HorizontalRule,  // hr
    Anchor,          // a
    Formatting,      // b, big, code, em, font, i, s, small, strike, strong, tt, u
    Nobr,
    Button,
    ObjectLike,      // applet, marquee, object: they set a marker
    RubyText,        // rp, rt
    Void,            // area, br, embed, img, keygen, wbr
    Input,
    MediaChild,      // param, source, track
    Image,
    Textarea,
    Xmp,
    Iframe,
    Noembed,
    Table,
    Select,
    Option,          // optgroup, option
    Math,
    Svg,
    HeadElement,     // the tags that the in head rules take
    Html,
    Body,
    Frameset,
    Isindex,
    Illegal,         // the table structure, frame and head: dropped
    Other,
};

constexpr InBodyStartTagRow inBodyStartTagRow(TagId tag)
{
    using Row = InBodyStartTagRow;
    switch (tag) {
    case TagId::Address:
    case TagId::Article:
    case TagId::Aside:
    case TagId::Blockquote:
    case TagId::Center:
    case TagId::Details:
    case TagId::Dir:
    case TagId::Div:
    case TagId::Dl:
    case TagId::Fieldset:
    case TagId::Figcaption:
    case TagId::Figure:
    case TagId::Footer:
    case TagId::Header:
    case TagId::Hgroup:
    case TagId::Menu:
    case TagId::Nav:
    case TagId::Ol:
    case TagId::P:
    case TagId::Section:
    case TagId::Summary:
    case TagId::Ul:
        return Row::Block;
    case TagId::H1:
    case TagId::H2:
    case TagId::H3:
    case TagId::H4:
    case TagId::H5:
    case TagId::H6:
        return Row::Heading;
    case TagId::Pre:
    case TagId::Listing:
        return Row::PreOrListing;
    case TagId::Form: return Row::Form;
    case TagId::Li: return Row::ListItem;
    case TagId::Dd:
    case TagId::Dt:
        return Row::DefinitionItem;
    case TagId::Plaintext: return Row::Plaintext;
    case TagId::Hr: return Row::HorizontalRule;
    case TagId::A: return Row::Anchor;
    case TagId::B:
    case TagId::Big:
    case TagId::Code:
    case TagId::Em:
    case TagId::Font:
    case TagId::I:
    case TagId::S:
    case TagId::Small:
    case TagId::Strike:
    case TagId::Strong:
    case TagId::Tt:
    case TagId::U:
        return Row::Formatting;
    case TagId::Nobr: return Row::Nobr;
    case TagId::Button: return Row::Button;
    case TagId::Applet:
    case TagId::Marquee:
    case TagId::Object:
        return Row::ObjectLike;
    case TagId::Rp:
    case TagId::Rt:
        return Row::RubyText;
    case TagId::Area:
    case TagId::Br:
    case TagId::Embed:
    case TagId::Img:
    case TagId::Keygen:
    case TagId::Wbr:
        return Row::Void;
    case TagId::Input: return Row::Input;
    case TagId::Param:
    case TagId::Source:
    case TagId::Track:
        return Row::MediaChild;
    case TagId::Image: return Row::Image;
    case TagId::Textarea: return Row::Textarea;
    case TagId::Xmp: return Row::Xmp;
    case TagId::Iframe: return Row::Iframe;
    case TagId::Noembed: return Row::Noembed;
    case TagId::Table: return Row::Table;
    case TagId::Select: return Row::Select;
    case TagId::Optgroup:
    case TagId::Option:
        return Row::Option;
    case TagId::Math: return Row::Math;
    case TagId::Svg: return Row::Svg;
    case TagId::Base:
    case TagId::Basefont:
    case TagId::Bgsound:
    case TagId::Command:
    case TagId::Link:
    case TagId::Meta:
    case TagId::Script:
    case TagId::Style:
    case TagId::Title:
        return Row::HeadElement;
    case TagId::Html: return Row::Html;
    case TagId::Body: return Row::Body;
    case TagId::Frameset: return Row::Frameset;
    case TagId::Isindex: return Row::Isindex;
    case TagId::Caption:
    case TagId::Col:
    case TagId::Colgroup:
    case TagId::Frame:
    case TagId::Head:
    case TagId::Tbody:
    case TagId::Td:
    case TagId::Tfoot:
    case TagId::Th:
    case TagId::Thead:
    case TagId::Tr:
        return Row::Illegal;
    default:
        return Row::Other;
    }
}

// The rows of the in body end tags under case folding parsing. A tag in no
// row (html, main, template, rb and every unknown name among them) takes the
// walk of anyOtherEndTag.
enum class InBodyEndTagRow {
    Formatting,      // the fourteen tags of the adoption agency
    Block,           // the blocks, button, listing and pre
    ObjectLike,      // applet, marquee, object
    Body,
    Br,
    DefinitionItem,  // dd, dt
    Form,
    Heading,         // h1 to h6
    ListItem,        // li
    Paragraph,       // p
    Other,
};

constexpr InBodyEndTagRow inBodyEndTagRow(TagId tag)
{
    using Row = InBodyEndTagRow;
    switch (tag) {
    case TagId::A:
    case TagId::B:
    case TagId::Big:
    case TagId::Code:
    case TagId::Em:
    case TagId::Font:
    case TagId::I:
    case TagId::Nobr:
    case TagId::S:
    case TagId::Small:
    case TagId::Strike:
    case TagId::Strong:
    case TagId::Tt:
    case TagId::U:
        return Row::Formatting;
    case TagId::Address:
    case TagId::Article:
    case TagId::Aside:
    case TagId::Blockquote:
    case TagId::Button:
    case TagId::Center:
    case TagId::Details:
    case TagId::Dir:
    case TagId::Div:
    case TagId::Dl:
    case TagId::Fieldset:
    case TagId::Figcaption:
    case TagId::Figure:
    case TagId::Footer:
    case TagId::Header:
    case TagId::Hgroup:
    case TagId::Listing:
    case TagId::Menu:
    case TagId::Nav:
    case TagId::Ol:
    case TagId::Pre:
    case TagId::Section:
    case TagId::Summary:
    case TagId::Ul:
        return Row::Block;
    case TagId::Applet:
    case TagId::Marquee:
    case TagId::Object:
        return Row::ObjectLike;
    case TagId::Body: return Row::Body;
    case TagId::Br: return Row::Br;
    case TagId::Dd:
    case TagId::Dt:
        return Row::DefinitionItem;
    case TagId::Form: return Row::Form;
    case TagId::H1:
    case TagId::H2:
    case TagId::H3:
    case TagId::H4:
    case TagId::H5:
    case TagId::H6:
        return Row::Heading;
    case TagId::Li: return Row::ListItem;
    case TagId::P: return Row::Paragraph;
    default:
        return Row::Other;
    }
}

// The elements that the walk of the body end tag passes over; it stops at the
// first other one. Nothing is reported either way.
constexpr bool isPassedByBodyEndTag(TagId tag)
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
    case TagId::Tbody:
    case TagId::Td:
    case TagId::Tfoot:
    case TagId::Th:
    case TagId::Thead:
    case TagId::Tr:
    case TagId::Body:
    case TagId::Html:
        return true;
    default:
        return false;
    }
}

// The tags whose place a list item start tag takes: an open li.
constexpr bool closesListItem(TagId tag)
{
    return tag == TagId::Li;
}

// The tags whose place a definition item start tag takes: an open dd or dt.
constexpr bool closesDefinitionItem(TagId tag)
{
    return tag == TagId::Dd || tag == TagId::Dt;
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
