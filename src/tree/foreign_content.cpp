// The foreign content rules.
//
// Under case preserving parsing these build the document: every element made
// from a token has no namespace, so after the first one nearly every token and
// unit comes here. A start tag opens a child of the current node, an end tag
// closes the nearest open element of its name, and no rule changes the
// tokenizer's state, so the content of script, style or title is read as
// markup.
#include <string_view>
#include <vector>

#include "tokenizer/unit_scan.h"
#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

namespace {

constexpr char16_t kReplacementCharacter = 0xFFFD;

// The foreign rules' own space: tab, line feed, form feed, carriage return and
// space. Unlike the tree constructor's whitespace it leaves 0x0B out.
constexpr bool isForeignSpace(char16_t unit)
{
    return unit == u'\t' || unit == u'\n' || unit == u'\f' || unit == u'\r' || unit == u' ';
}

// Whether the element's name, folded to lower case, is the token's name as it
// stands. Only the element's side is folded.
bool foldedNameEquals(const UString& elementName, const UString& tokenName)
{
    if (elementName.size() != tokenName.size()) return false;
    for (std::size_t i = 0; i < elementName.size(); ++i) {
        if (toAsciiLower(elementName[i]) != tokenName[i]) return false;
    }
    return true;
}

constexpr std::u16string_view kMathmlDefinitionUrl = u"definitionurl";
constexpr std::u16string_view kMathmlDefinitionUrlAdjusted = u"definitionURL";

// A row of the foreign attribute table whose old key stays in the map: the
// plain xmlns declaration, entered again under its own key.
constexpr std::int32_t kKeptKeyRow = 10;

}  // namespace

void TreeConstructor::processForeignCharacter(char16_t unit)
{
    if (unit == 0) {
        appendCharacter(kReplacementCharacter, currentNode.get(), heap());
        return;
    }
    appendCharacter(unit, currentNode.get(), heap());
    if (!isForeignSpace(unit)) framesetOk = false;
}

void TreeConstructor::processForeignCharacters(const char16_t* units, std::uint32_t count)
{
    // The stretches between NULs are appended whole, each NUL as U+FFFD.
    const char16_t* const end = units + count;
    while (units != end) {
        const char16_t* stretch = units;
        units += unitsBeforeStop<0>(units, static_cast<std::uint32_t>(end - units));
        appendCharacters(stretch, static_cast<std::size_t>(units - stretch), currentNode.get(),
                         heap());
        if (units == end) break;
        appendCharacter(kReplacementCharacter, currentNode.get(), heap());
        ++units;
    }
    // Once cleared, the flag stays cleared: only the first unit that clears it
    // is worth looking for.
    if (!framesetOk) return;
    for (const char16_t* unit = end - count; unit != end; ++unit) {
        if (*unit != 0 && !isForeignSpace(*unit)) {
            framesetOk = false;
            return;
        }
    }
}

void TreeConstructor::processForeignToken(const TokenRef& token)
{
    switch (token->type) {
    case TokenType::Comment:
        insertComment(currentNode.get(), token);
        return;
    case TokenType::Doctype:
        reportPosition(ParseErrorCode::DoctypeInForeignContent, token->position);
        token->ignored = true;
        return;
    case TokenType::StartTag:
        foreignStartTag(token);
        return;
    case TokenType::EndTag:
        foreignEndTag(token);
        return;
    case TokenType::EndOfFile:
        // useHtmlRules sends the end of the input to the insertion mode.
        return;
    }
}

bool TreeConstructor::breaksOutOfForeignContent(TagToken& tag)
{
    if (documentKind != 1) return false;
    const TagId id = tag.getTagId();
    if (isForeignBreakout(id)) return true;
    if (id != TagId::Font) return false;
    // Exact names, any value.
    return tag.attributes.count(u"color") != 0 || tag.attributes.count(u"face") != 0 ||
           tag.attributes.count(u"size") != 0;
}

void TreeConstructor::foreignStartTag(const TokenRef& token)
{
    TagToken& tag = asTag(token);
    if (breaksOutOfForeignContent(tag)) {
        reportToken(ParseErrorCode::UnexpectedTokenInForeignContent, token);
        popOpenElement();
        while (currentNode && !isMathmlTextIntegrationPoint(currentElement()) &&
               !isHtmlIntegrationPoint(currentElement()) &&
               currentNode->namespaceId != NamespaceId::Html) {
            popOpenElement();
        }
        dispatchToken(token, false);
        return;
    }
    const NamespaceId namespaceId = currentNode->namespaceId;
    if (namespaceId == NamespaceId::MathMl) adjustMathmlAttributes(token);
    adjustForeignAttributes(token);
    insertForeignElement(token, namespaceId, false);
    if (tag.selfClosing) {
        popOpenElement();
        tag.selfClosingAcknowledged = true;
    }
}

void TreeConstructor::foreignEndTag(const TokenRef& token)
{
    TagToken& tag = asTag(token);
    Element& current = currentElement();
    // The namespace first: it spares the two name lookups for every end tag
    // outside SVG, which under case preserving parsing is every end tag.
    if (current.namespaceId == NamespaceId::Svg && tag.getTagId() == TagId::Script &&
        current.getTagId() == TagId::Script) {
        popOpenElement();
        return;
    }
    if (current.getNodeName() != tag.name) {
        reportToken(ParseErrorCode::MisnestedEndTagInForeignContent, token);
    }
    // The walk stops at the first element of the HTML namespace, which under
    // case preserving parsing is the html root: from there the insertion mode
    // decides, by tag id.
    for (std::size_t position = openElements.size(); position-- > 0;) {
        Element& node = openElement(position);
        if (node.namespaceId == NamespaceId::Html) {
            dispatchToken(token, false);
            return;
        }
        if (foldedNameEquals(node.getNodeName(), tag.name)) {
            popToDepth(position);
            return;
        }
    }
}

// The adjustments give some attributes a new name and enter them under it,
// replacing an attribute of that name, and then drop their old keys. Every
// new key sorts before its old one, so a walk in key order would never meet
// an entry made on the way; the changes are gathered in that order and made
// after the walk, with the same outcome.
struct TreeConstructor::AttributeRename {
    UString oldKey;
    UString newKey;
    AttributeRef attribute;
    bool keepsOldKey;
};

void TreeConstructor::applyRenames(AttributeMap& attributes, std::vector<AttributeRename>& renames)
{
    for (AttributeRename& rename : renames) attributes[rename.newKey] = std::move(rename.attribute);
    for (const AttributeRename& rename : renames) {
        if (!rename.keepsOldKey) attributes.erase(rename.oldKey);
    }
}

void TreeConstructor::adjustMathmlAttributes(const TokenRef& token)
{
    AttributeMap& attributes = asTag(token).attributes;
    std::vector<AttributeRename> renames;
    for (const auto& [key, attribute] : attributes) {
        if (key != kMathmlDefinitionUrl) continue;
        attribute->setName(UString(kMathmlDefinitionUrlAdjusted));
        renames.push_back({key, UString(kMathmlDefinitionUrlAdjusted), attribute, false});
    }
    applyRenames(attributes, renames);
}

void TreeConstructor::adjustForeignAttributes(const TokenRef& token)
{
    // Re-keys each attribute of the table under its local name, replacing an
    // attribute of that name, and drops its qualified key afterwards.
    AttributeMap& attributes = asTag(token).attributes;
    std::vector<AttributeRename> renames;
    for (const auto& [key, attribute] : attributes) {
        const ForeignAttributeRow* row = lookupForeignAttribute(key.data(), key.size());
        if (!row) continue;
        attribute->setName(UString(row->localName));
        attribute->namespaceId = row->namespaceId;
        // The xmlns row is entered under its own key, which therefore stays.
        renames.push_back({key, UString(row->localName), attribute, row->number == kKeptKeyRow});
    }
    applyRenames(attributes, renames);
}

}  // namespace Parsers
