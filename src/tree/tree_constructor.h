// The tree constructor: the second stage of a parse.
//
// The tokenizer pushes single 16-bit units and whole tokens into it. For each
// it decides between the rules of the current insertion mode and the rules of
// foreign content, runs them, and so builds a Document. Under case preserving
// parsing (documentKind 2), every element made from a token has no namespace,
// so once such an element is the current node the foreign content rules take
// everything but the end of the input: the insertion modes serve the start of
// the document and its end.
//
// Reprocessing is direct recursion: a rule that wants a token looked at again
// calls dispatchToken (or the next mode's function) itself. The depth of that
// recursion is bounded by the rules, never by the document.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "dom/element.h"
#include "dom/node.h"
#include "library/shared_types.h"
#include "tokenizer/parse_errors.h"
#include "tokenizer/token.h"
#include "tokenizer/tokenizer.h"
#include "tree/active_formatting.h"

namespace Parsers {

struct SourceBuffer;

enum class InsertionMode : std::uint32_t {
    Initial = 0,
    BeforeHtml = 1,
    BeforeHead = 2,
    InHead = 3,
    InHeadNoscript = 4,
    AfterHead = 5,
    InBody = 6,
    Text = 7,
    InTable = 8,
    InTableText = 9,
    InCaption = 10,
    InColumnGroup = 11,
    InTableBody = 12,
    InRow = 13,
    InCell = 14,
    InSelect = 15,
    InSelectInTable = 16,
    AfterBody = 17,
    InFrameset = 18,
    AfterFrameset = 19,
    AfterAfterBody = 20,
    AfterAfterFrameset = 21,
};

// Which rows of the scope barrier table stop a scope search.
enum class ScopeKind : std::uint32_t {
    Default = 0,
    ListItem = 1,
    Button = 2,
    Table = 3,
    Select = 4,
};

// The stack of open elements, entry 0 at the bottom.
using OpenElementStack = std::vector<NodeRef>;

// The tree constructor's whitespace: space and 0x09 to 0x0D, 0x0B included.
// The tokenizer's space and the foreign content rules leave 0x0B out; the two
// sets are not to be merged.
constexpr bool isWhitespaceUnit(char16_t unit)
{
    return unit == u' ' || (unit >= 0x09 && unit <= 0x0D);
}

class TreeConstructor final : public TokenReceiver,
                              public CharacterRunReceiver,
                              public CurrentNodeQuery {
    // Nodes and made up tags are made from this heap. It comes first, so that
    // it is there for the document; the nodes live on in the document, and
    // the heap with them.
    ParseHeapOwner nodeHeap;

public:
    // The deepest nesting of dispatches that a token may cause. The chains of
    // the rules are a handful of calls deep; a few rules of case folding
    // parsing dispatch a token again without end when the stack lacks what
    // they wait for (a cell start tag in the cell mode with no cell open,
    // noframes in the frameset modes). Such a chain ends the parse by the
    // failure path instead of exhausting the thread's stack.
    static constexpr std::uint32_t kMaxDispatchDepth = 100;

    // `tokenizer` may be null; a non-null tokenizer learns of this tree
    // constructor through its treeConstructor field. documentKind 1 is case
    // folding parsing, 2 case preserving parsing.
    TreeConstructor(SourceBuffer* source, Tokenizer* tokenizer, std::uint32_t documentKind);
    TreeConstructor(const TreeConstructor&) = delete;
    TreeConstructor& operator=(const TreeConstructor&) = delete;

    // Token intake.
    void processCharacter(char16_t unit, const TextPosition* position) override;
    void processToken(TokenRef token) override;
    ~TreeConstructor() override;

    // Runs of text: taken while they go to the foreign content rules, which
    // append every unit to the current node and read no position.
    bool acceptsCharacterRun() override { return takesForeignCharacters(); }
    void processCharacterRun(const char16_t* units, std::uint32_t count) override;

    // The tokenizer's question for CDATA sections: the namespace of the current
    // node, or nothing when the stack is empty.
    std::optional<NamespaceId> currentNodeNamespace() override;

    // Whether a token goes to the insertion mode (true) or to the foreign
    // content rules (false).
    bool useHtmlRules(Token& token);
    bool isMathmlTextIntegrationPoint(Element& element);
    bool isHtmlIntegrationPoint(Element& element);

    // Runs the current insertion mode's rules for a token or a unit.
    void dispatchToken(const TokenRef& token, bool foster);
    void dispatchCharacter(char16_t unit, const TextPosition* position, std::uint8_t reserved);
    // A tag with no attributes, made up by a rule at the position of what
    // caused it.
    TagTokenRef makeSyntheticTag(TokenType type, TagId tag, TextPosition position);

    // The stack of open elements and its two caches.
    void pushOpenElement(NodeRef element);
    NodeRef popOpenElement();
    void popUntilTag(TagId tag);
    void popToDepth(std::size_t count);
    void removeOpenElement(const Node* element);
    void insertIntoOpenElements(std::size_t position, NodeRef element);
    void eraseOpenElement(std::size_t position);
    // Searches the whole stack again for the table nearest the top.
    void refreshCurrentTable();
    // Position of the element on the stack, searched from the top; -1 when it
    // is not there.
    std::ptrdiff_t findOpenElement(const Node* element) const;
    void clearToTableContext();
    void clearToTableBodyContext();
    void clearToTableRowContext();
    void popThroughFirstHeading();

    // Scopes and implied end tags.
    bool hasElementInScope(TagId tag, ScopeKind kind);
    static bool isScopeBarrier(TagId tag, std::uint32_t row);
    void generateImpliedEndTags(const UString& exception);

    // Making and placing nodes.
    NodeRef createElementForToken(const TokenRef& token, NamespaceId namespaceId);
    NodeRef insertHtmlElement(const TokenRef& token, bool foster);
    NodeRef insertForeignElement(const TokenRef& token, NamespaceId namespaceId, bool foster);
    void insertFosterParented(NodeRef node);
    void insertCharacter(Node* node, char16_t unit, bool foster);
    void insertComment(Node* parent, const TokenRef& token);
    void createHtmlRoot();
    void insertTextModeElement(const TokenRef& token, TokenizerState state, bool foster);
    void insertRcdataElement(const TokenRef& token);
    void insertRawTextElement(const TokenRef& token, bool foster);
    void insertScriptElement(const TokenRef& token);
    void mergeAttributes(const TokenRef& token, Element& element);
    void resetInsertionMode();

    // Active formatting.
    void reconstructActiveFormatting(bool foster);

    // The document start modes.
    void handleInitial(const TokenRef& token);
    void handleDoctypeInInitial(DoctypeToken& token);
    void handleBeforeHtml(const TokenRef& token);
    void handleBeforeHead(const TokenRef& token);
    void handleInHead(const TokenRef& token, bool foster);
    void handleInHeadNoscript(const TokenRef& token);
    void handleAfterHead(const TokenRef& token);
    void beforeHtmlAnythingElse(const TokenRef& token);
    void beforeHeadAnythingElse(const TokenRef& token);
    void inHeadAnythingElse(const TokenRef& token);
    void inHeadNoscriptAnythingElse(const TokenRef& token);
    void afterHeadAnythingElse(const TokenRef& token);
    void handleInHeadCharacter(char16_t unit, const TextPosition* position);
    void handleAfterHeadCharacter(char16_t unit, const TextPosition* position);

    // In body.
    void handleInBody(const TokenRef& token, bool foster);
    void handleInBodyStartTag(const TokenRef& token, bool foster);
    void handleInBodyCharacter(char16_t unit, const TextPosition* position, bool foster);
    void handleInBodyEndTag(const TokenRef& token);
    void anyOtherEndTag(const TokenRef& token);
    bool isTableStructureNode();
    // Closes an open p in button scope by a made up end tag p at `position`.
    void closeParagraph(const TextPosition& position);
    void closeHeading(const TokenRef& token);
    void runAdoptionAgency(const TokenRef& token);

    // Text.
    void handleText(const TokenRef& token);

    // The table modes.
    void handleInTable(const TokenRef& token);
    void handleInTableText(const TokenRef& token);
    void handleInCaption(const TokenRef& token);
    void handleInColumnGroup(const TokenRef& token);
    void handleInTableBody(const TokenRef& token);
    void handleInRow(const TokenRef& token);
    void handleInCell(const TokenRef& token);
    // Reports the token and hands it to the in body rules with foster
    // parenting on.
    void inTableAnythingElse(const TokenRef& token);
    // Ends the open cell by a made up end tag td or th, dispatched at once.
    void closeCell(TextPosition position);
    // Text in a table: collected in InTableText, then placed as one run.
    void beginTableText();
    void collectTableCharacter(char16_t unit, const TextPosition* position);
    void flushPendingTableCharacters(const TextPosition& position);

    // The select modes.
    void handleInSelect(const TokenRef& token);
    void handleInSelectInTable(const TokenRef& token);
    void handleInSelectCharacter(char16_t unit, const TextPosition* position);

    // The frameset and after modes.
    void handleAfterBody(const TokenRef& token);
    void handleInFrameset(const TokenRef& token);
    void handleAfterFrameset(const TokenRef& token);
    void handleAfterAfterBody(const TokenRef& token);
    void handleAfterAfterFrameset(const TokenRef& token);

    // Foreign content.
    void processForeignToken(const TokenRef& token);
    void processForeignCharacter(char16_t unit);
    // The units one after the other as processForeignCharacter takes them.
    void processForeignCharacters(const char16_t* units, std::uint32_t count);
    void adjustMathmlAttributes(const TokenRef& token);
    void adjustForeignAttributes(const TokenRef& token);

    Ref<Document> document;
    SourceBuffer* source;
    Tokenizer* tokenizer;
    InsertionMode insertionMode = InsertionMode::Initial;
    InsertionMode savedInsertionMode = InsertionMode::Initial;
    OpenElementStack openElements;
    ActiveFormattingList activeFormatting;
    NodeRef currentNode;
    NodeRef currentTable;
    // Positions of the table elements on the stack, lowest first: with it the
    // nearest table is known after every change without a walk of the stack,
    // which would make a deep document quadratic.
    std::vector<std::size_t> tablePositions;
    NodeRef headElement;
    NodeRef formElement;
    UString pendingTableCharacters;
    bool framesetOk = true;
    std::uint32_t documentKind;

private:
    ParseHeap* heap() const { return nodeHeap.get(); }
    // Whether a text unit goes to the foreign content rules: there is a current
    // node, it is not in the HTML namespace, and no HTML integration point.
    bool takesForeignCharacters()
    {
        return currentNode && currentNode->namespaceId != NamespaceId::Html &&
               !isHtmlIntegrationPoint(currentElement());
    }
    // The current node as an element; call only when currentNode is set.
    Element& currentElement() const { return static_cast<Element&>(*currentNode); }
    // Whether there is a current node and it has this tag. An empty stack has
    // no tag: every such question is answered no.
    bool currentNodeHasTag(TagId tag) const;
    Element& openElement(std::size_t position) const
    {
        return static_cast<Element&>(*openElements[position]);
    }
    // A stack entry that a rule reads without a test that it is there. A
    // position outside the stack (an unsigned value that went below zero
    // included) throws std::out_of_range, which ends the parse by the failure
    // path instead of reading past the vector.
    Element& checkedOpenElement(std::size_t position) const
    {
        return static_cast<Element&>(*openElements.at(position));
    }
    // Sets both caches from the top of the stack and the table positions.
    void updateCaches();

    // Acknowledges a self-closing flag, if the tag has one.
    static void acknowledgeSelfClosing(TagToken& tag);
    // Inserts a start tag as it is written, closing it again at once when it
    // had the self-closing flag.
    void insertTagAsWritten(const TokenRef& token);
    void insertUnlistedStartTag(const TokenRef& token, bool foster);

    // The tag rows of in body under case folding parsing
    // (in_body_start_tags.cpp, in_body_end_tags.cpp).
    void caseFoldingStartTag(const TokenRef& token, bool foster);
    void startBlock(const TokenRef& token, bool foster);
    void startHeading(const TokenRef& token, bool foster);
    void startPreOrListing(const TokenRef& token, bool foster);
    void startForm(const TokenRef& token, bool foster);
    void startListItem(const TokenRef& token, bool foster);
    void startDefinitionItem(const TokenRef& token, bool foster);
    void startPlaintext(const TokenRef& token, bool foster);
    void startHorizontalRule(const TokenRef& token, bool foster);
    void startAnchor(const TokenRef& token, bool foster);
    void startFormatting(const TokenRef& token, bool foster);
    void startNobr(const TokenRef& token, bool foster);
    void startButton(const TokenRef& token, bool foster);
    void startObjectLike(const TokenRef& token, bool foster);
    void startRubyText(const TokenRef& token, bool foster);
    void startVoidElement(const TokenRef& token, bool foster);
    void startInput(const TokenRef& token, bool foster);
    void startMediaChild(const TokenRef& token, bool foster);
    void startImage(const TokenRef& token, bool foster);
    void startTextarea(const TokenRef& token, bool foster);
    void startXmp(const TokenRef& token, bool foster);
    void startIframe(const TokenRef& token, bool foster);
    void startTable(const TokenRef& token, bool foster);
    void startSelect(const TokenRef& token, bool foster);
    void startOption(const TokenRef& token, bool foster);
    void startMath(const TokenRef& token, bool foster);
    void startSvg(const TokenRef& token, bool foster);
    void startHtmlInBody(const TokenRef& token);
    void startBodyInBody(const TokenRef& token);
    // The list item rule and the definition item rule differ only in the tags
    // that close the current node.
    void startItem(const TokenRef& token, bool foster, bool (*closesItem)(TagId));
    // A line feed right behind the start tag is no part of the element's text.
    void dropFollowingLineFeed();
    // previousState := state, state := the given one.
    void setTokenizerState(TokenizerState state);

    void caseFoldingEndTag(const TokenRef& token);
    void endBlock(const TokenRef& token);
    void endObjectLike(const TokenRef& token);
    void endBody(const TokenRef& token);
    void endForm(const TokenRef& token);
    void endItem(const TokenRef& token, ScopeKind scope, ParseErrorCode code);
    void endParagraph(const TokenRef& token);
    // Implied end tags (except the token's name when `keepOwnName`), a report
    // 141 when the current node then has another tag, and the pop through the
    // nearest element of the tag.
    void closeElementOfEndTag(const TokenRef& token, bool keepOwnName);
    // The inner loop of the adoption agency (adoption_agency.cpp).
    NodeRef moveFormattingAboveFurthestBlock(const NodeRef& formatting,
                                             const NodeRef& furthestBlock);

    // The element under which foster parenting places a node, and the table
    // to go in front of when that element is the table's own parent.
    struct FosterPlace {
        Node* target = nullptr;
        Node* tableParent = nullptr;
    };
    FosterPlace fosterPlace() const;

    // The rows of the table modes that take more than a line or two.
    void inTableStartTag(const TokenRef& token);
    void inTableEndTag(const TokenRef& token);
    void insertHiddenInputInTable(const TokenRef& token);
    void insertFormInTable(const TokenRef& token);
    void restartTable(const TokenRef& token);
    void inCaptionEndTag(const TokenRef& token);
    void closeCaption(const TokenRef& token);
    void closeCaptionThenDispatch(const TokenRef& token);
    void inTableBodyStartTag(const TokenRef& token);
    void inTableBodyEndTag(const TokenRef& token);
    void closeTableSectionThenDispatch(const TokenRef& token);
    void inRowStartTag(const TokenRef& token);
    void inRowEndTag(const TokenRef& token);
    void closeRowThenDispatch(const TokenRef& token);
    void inCellEndTag(const TokenRef& token);
    void closeCellByEndTag(const TokenRef& token);
    // Dispatches a made up tag at the position of the token at hand.
    TagTokenRef dispatchSyntheticTag(TokenType type, TagId tag, const TokenRef& cause);

    // The rows of the select modes that take more than a line or two.
    void inSelectStartTag(const TokenRef& token);
    void inSelectEndTag(const TokenRef& token);
    void endOptgroupInSelect(const TokenRef& token);

    struct AttributeRename;
    // Enters each renamed attribute under its new key, then drops the old
    // keys that do not stay.
    static void applyRenames(AttributeMap& attributes, std::vector<AttributeRename>& renames);
    void foreignStartTag(const TokenRef& token);
    void foreignEndTag(const TokenRef& token);
    bool breaksOutOfForeignContent(TagToken& tag);

    // Counts the dispatches that run inside each other while it lives. Past
    // kMaxDispatchDepth it throws std::length_error (see dispatchToken).
    class DispatchDepth {
    public:
        explicit DispatchDepth(TreeConstructor& owner);
        ~DispatchDepth();
        DispatchDepth(const DispatchDepth&) = delete;
        DispatchDepth& operator=(const DispatchDepth&) = delete;

    private:
        TreeConstructor& tree;
    };
    std::uint32_t dispatchDepth = 0;

    const ErrorListenerList& errorListeners() const;
    void reportToken(ParseErrorCode code, const TokenRef& token);
    void reportPosition(ParseErrorCode code, const TextPosition& position);
    void reportCharacter(ParseErrorCode code, char16_t unit, const TextPosition* position);
};

// A token known to be a start or end tag.
inline TagToken& asTag(const TokenRef& token)
{
    return static_cast<TagToken&>(*token);
}

}  // namespace Parsers
