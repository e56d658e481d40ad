// The stack of open elements: its changes, which keep the two cached ends up to
// date, the scope searches and the implied end tags.
#include <array>

#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

namespace {

// The rows of scope barriers, each ended by TagId::Unknown. A ScopeKind picks
// the rows that stop its search (kScopeKindRows).
constexpr TagId kBarrierRow0[] = {
    TagId::Applet, TagId::Caption, TagId::Html,          TagId::Table,         TagId::Td,
    TagId::Th,     TagId::Marquee, TagId::Object,        TagId::Mi,            TagId::Mo,
    TagId::Mn,     TagId::Ms,      TagId::Mtext,         TagId::AnnotationXml, TagId::ForeignObject,
    TagId::Desc,   TagId::Title,   TagId::Unknown,
};
constexpr TagId kBarrierRow1[] = {TagId::Ol, TagId::Ul, TagId::Unknown};
constexpr TagId kBarrierRow2[] = {TagId::Button, TagId::Unknown};
constexpr TagId kBarrierRow3[] = {TagId::Html, TagId::Table, TagId::Unknown};
constexpr TagId kBarrierRow4[] = {TagId::Optgroup, TagId::Option, TagId::Unknown};

constexpr const TagId* kBarrierRows[] = {kBarrierRow0, kBarrierRow1, kBarrierRow2, kBarrierRow3,
                                         kBarrierRow4};
constexpr std::uint32_t kBarrierRowCount = 5;

// Rows per ScopeKind, in the order of its values; kNoRow ends a list.
constexpr std::uint32_t kNoRow = 0xFFFFFFFFu;
constexpr std::array<std::array<std::uint32_t, 3>, 5> kScopeKindRows = {{
    {0, kNoRow, kNoRow},  // Default
    {0, 1, kNoRow},       // ListItem
    {0, 2, kNoRow},       // Button
    {3, kNoRow, kNoRow},  // Table
    {4, kNoRow, kNoRow},  // Select
}};

bool stopsScope(TagId tag, ScopeKind kind)
{
    const auto index = static_cast<std::uint32_t>(kind);
    // A kind past the table has no barrier at all.
    if (index >= kScopeKindRows.size()) return false;
    for (std::uint32_t row : kScopeKindRows[index]) {
        if (row == kNoRow) break;
        if (TreeConstructor::isScopeBarrier(tag, row)) return true;
    }
    return false;
}

// The tag of a stack entry. An entry may be empty for a moment: the after head
// rules push the head element without a test that it is set.
TagId tagOf(const NodeRef& entry)
{
    return entry ? static_cast<Element&>(*entry).getTagId() : TagId::Unknown;
}

bool isTableEntry(const NodeRef& entry)
{
    return tagOf(entry) == TagId::Table;
}

// An element leaves the stack: unless the list of active formatting elements
// holds it, nothing will make a new element from its start tag; and its
// children are nearly always all there, so their list gives back the room
// it kept for more.
void settleClosedElement(const NodeRef& entry)
{
    if (entry->nodeType != NodeType::Element) return;
    auto& element = static_cast<Element&>(*entry);
    if (!element.inFormattingList) element.releaseStartTag();
    element.children.shrinkToFit();
}

}  // namespace

void TreeConstructor::updateCaches()
{
    if (openElements.empty()) {
        currentNode.reset();
        currentTable.reset();
        return;
    }
    currentNode = openElements.back();
    if (tablePositions.empty()) {
        currentTable.reset();
    } else {
        currentTable = openElements[tablePositions.back()];
    }
}

void TreeConstructor::pushOpenElement(NodeRef element)
{
    if (isTableEntry(element)) tablePositions.push_back(openElements.size());
    openElements.push_back(std::move(element));
    updateCaches();
}

NodeRef TreeConstructor::popOpenElement()
{
    if (openElements.empty()) return nullptr;
    NodeRef popped = std::move(openElements.back());
    openElements.pop_back();
    settleClosedElement(popped);
    if (!tablePositions.empty() && tablePositions.back() == openElements.size()) {
        tablePositions.pop_back();
    }
    updateCaches();
    return popped;
}

void TreeConstructor::popUntilTag(TagId tag)
{
    for (std::size_t position = openElements.size(); position-- > 0;) {
        if (tagOf(openElements[position]) == tag) {
            popToDepth(position);
            return;
        }
    }
}

void TreeConstructor::popToDepth(std::size_t count)
{
    // A depth above the size asks for nothing to go.
    if (count > openElements.size()) return;
    for (std::size_t position = count; position < openElements.size(); ++position) {
        settleClosedElement(openElements[position]);
    }
    openElements.resize(count);
    while (!tablePositions.empty() && tablePositions.back() >= count) tablePositions.pop_back();
    updateCaches();
}

// By identity, from the bottom: two open elements of one name are different
// entries.
void TreeConstructor::removeOpenElement(const Node* element)
{
    for (std::size_t position = 0; position < openElements.size(); ++position) {
        if (openElements[position].get() == element) {
            eraseOpenElement(position);
            return;
        }
    }
}

void TreeConstructor::insertIntoOpenElements(std::size_t position, NodeRef element)
{
    // The entries from the position on move up by one; so do their tables.
    std::size_t firstMoved = tablePositions.size();
    for (std::size_t i = 0; i < tablePositions.size(); ++i) {
        if (tablePositions[i] >= position) {
            if (firstMoved == tablePositions.size()) firstMoved = i;
            ++tablePositions[i];
        }
    }
    if (isTableEntry(element)) {
        tablePositions.insert(tablePositions.begin() + static_cast<std::ptrdiff_t>(firstMoved),
                              position);
    }
    openElements.insert(openElements.begin() + static_cast<std::ptrdiff_t>(position),
                        std::move(element));
    updateCaches();
}

void TreeConstructor::eraseOpenElement(std::size_t position)
{
    settleClosedElement(openElements[position]);
    openElements.erase(openElements.begin() + static_cast<std::ptrdiff_t>(position));
    std::vector<std::size_t> kept;
    for (std::size_t tablePosition : tablePositions) {
        if (tablePosition == position) continue;
        kept.push_back(tablePosition > position ? tablePosition - 1 : tablePosition);
    }
    tablePositions = std::move(kept);
    updateCaches();
}

// The slow way, kept for callers that changed the stack by hand: every table
// position is found again.
void TreeConstructor::refreshCurrentTable()
{
    tablePositions.clear();
    for (std::size_t position = 0; position < openElements.size(); ++position) {
        if (isTableEntry(openElements[position])) tablePositions.push_back(position);
    }
    updateCaches();
}

std::ptrdiff_t TreeConstructor::findOpenElement(const Node* element) const
{
    for (std::size_t position = openElements.size(); position-- > 0;) {
        if (openElements[position].get() == element) return static_cast<std::ptrdiff_t>(position);
    }
    return -1;
}

namespace {

// Pops from the top while at least two entries remain and the top is not what
// the caller waits for.
template <bool IsContext(TagId)>
void popToContext(TreeConstructor& tree)
{
    while (tree.openElements.size() >= 2 && !IsContext(tagOf(tree.openElements.back()))) {
        tree.popOpenElement();
    }
}

constexpr bool isTableContext(TagId tag)
{
    return tag == TagId::Table;
}
constexpr bool isTableBodyContext(TagId tag)
{
    return tag == TagId::Tbody || tag == TagId::Tfoot || tag == TagId::Thead;
}
constexpr bool isTableRowContext(TagId tag)
{
    return tag == TagId::Tr;
}

}  // namespace

void TreeConstructor::clearToTableContext()
{
    popToContext<isTableContext>(*this);
}

void TreeConstructor::clearToTableBodyContext()
{
    popToContext<isTableBodyContext>(*this);
}

void TreeConstructor::clearToTableRowContext()
{
    popToContext<isTableRowContext>(*this);
}

void TreeConstructor::popThroughFirstHeading()
{
    // The lowest heading of the whole stack, not the nearest one: no scope
    // protects an outer heading.
    for (std::size_t position = 0; position < openElements.size(); ++position) {
        if (isHeading(tagOf(openElements[position]))) {
            popToDepth(position);
            return;
        }
    }
}

// A row past the table stops nothing.
bool TreeConstructor::isScopeBarrier(TagId tag, std::uint32_t row)
{
    if (row >= kBarrierRowCount) return false;
    for (const TagId* entry = kBarrierRows[row]; *entry != TagId::Unknown; ++entry) {
        if (*entry == tag) return true;
    }
    return false;
}

bool TreeConstructor::hasElementInScope(TagId tag, ScopeKind kind)
{
    for (std::size_t position = openElements.size(); position-- > 0;) {
        // An element with an unknown name neither matches nor stops.
        TagId entryTag = tagOf(openElements[position]);
        if (entryTag == TagId::Unknown) continue;
        if (entryTag == tag) return true;
        if (stopsScope(entryTag, kind)) return false;
    }
    // Running off the bottom counts as found. The html element at the bottom is
    // a barrier for every kind but Select, and the rest of the rules rely on
    // that rather than on this answer.
    return true;
}

// The exception is compared with the element's name as text, in its own case,
// so under case preserving parsing a P is no exception for p.
void TreeConstructor::generateImpliedEndTags(const UString& exception)
{
    // The bottom entry is never popped here.
    while (openElements.size() >= 2) {
        Element& top = static_cast<Element&>(*openElements.back());
        if (!isImpliedEndTag(top.getTagId())) return;
        if (top.getNodeName() == exception) return;
        popOpenElement();
    }
}

}  // namespace Parsers
