// The list of active formatting elements and the reconstruction of the
// formatting elements that a text or a tag finds closed.
#include "tree/active_formatting.h"

#include "tree/tree_constructor.h"

namespace Parsers {

namespace {

// The region that the limit of three counts: the entries behind the last
// marker, or the whole list without one.
std::size_t regionStart(const std::vector<NodeRef>& entries)
{
    for (std::size_t position = entries.size(); position-- > 0;) {
        if (isFormattingMarker(*entries[position])) return position + 1;
    }
    return 0;
}

// An entry leaves the list: an element lets go of its start tag.
void releaseLeavingEntry(Node& entry)
{
    if (isFormattingMarker(entry)) return;
    auto& element = static_cast<Element&>(entry);
    element.inFormattingList = false;
    element.releaseStartTag();
}

}  // namespace

// At most three equal elements stand behind the last marker: a fourth pushes
// out the oldest of them, and the others keep their order.
void ActiveFormattingList::pushElement(NodeRef element)
{
    const std::size_t start = regionStart(entries);
    std::size_t equalCount = 0;
    std::size_t oldestEqual = entries.size();
    const auto& added = static_cast<const Element&>(*element);
    for (std::size_t position = start; position < entries.size(); ++position) {
        if (!isSameFormatting(static_cast<const Element&>(*entries[position]), added)) continue;
        if (equalCount == 0) oldestEqual = position;
        ++equalCount;
    }
    if (equalCount == 3) {
        releaseLeavingEntry(*entries[oldestEqual]);
        entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(oldestEqual));
    }
    static_cast<Element&>(*element).inFormattingList = true;
    entries.push_back(std::move(element));
}

void ActiveFormattingList::pushMarker()
{
    entries.push_back(makeNode<MarkerElement>(nullptr));
}

// By tag id only: any element of the tag will do, the newest first.
NodeRef ActiveFormattingList::findAfterLastMarker(TagId tag) const
{
    for (std::size_t position = entries.size(); position-- > 0;) {
        Node& entry = *entries[position];
        if (isFormattingMarker(entry)) return nullptr;
        if (static_cast<Element&>(entry).getTagId() == tag) return entries[position];
    }
    return nullptr;
}

void ActiveFormattingList::removeElement(const Node* element)
{
    for (std::size_t position = 0; position < entries.size(); ++position) {
        if (entries[position].get() == element) {
            releaseLeavingEntry(*entries[position]);
            entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(position));
            return;
        }
    }
}

// The replacement takes the old entry's place, so the order of the list
// stays as it was.
std::size_t ActiveFormattingList::replaceElement(const Node* element, NodeRef replacement)
{
    for (std::size_t position = 0; position < entries.size(); ++position) {
        if (entries[position].get() == element) {
            releaseLeavingEntry(*entries[position]);
            static_cast<Element&>(*replacement).inFormattingList = true;
            entries[position] = std::move(replacement);
            return position;
        }
    }
    return entries.size();
}

// Used when a cell, caption or object closes: its formatting goes with it.
void ActiveFormattingList::clearToLastMarker()
{
    while (!entries.empty()) {
        const bool wasMarker = isFormattingMarker(*entries.back());
        releaseLeavingEntry(*entries.back());
        entries.pop_back();
        if (wasMarker) return;
    }
}

bool ActiveFormattingList::contains(const Node* element) const
{
    for (const NodeRef& entry : entries) {
        if (entry.get() == element) return true;
    }
    return false;
}

void TreeConstructor::reconstructActiveFormatting(bool foster)
{
    std::vector<NodeRef>& entries = activeFormatting.entries;
    if (entries.empty()) return;
    const Node* newest = entries.back().get();
    if (isFormattingMarker(*newest) || findOpenElement(newest) >= 0) return;

    // Step back to the oldest entry that is neither a marker nor open, with
    // nothing older between it and the newest that is.
    std::size_t start = entries.size() - 1;
    while (start > 0) {
        const Node* older = entries[start - 1].get();
        if (isFormattingMarker(*older) || findOpenElement(older) >= 0) break;
        --start;
    }

    // Each closed entry comes back as a fresh element of its start tag, opened
    // where the current node is, in the list's order.
    for (std::size_t position = start; position < entries.size(); ++position) {
        Node* entry = entries[position].get();
        auto clone = makeElementForTag(static_cast<Element&>(*entry).getToken(), heap());
        if (foster) {
            insertFosterParented(clone);
        } else {
            appendChild(clone, currentNode.get());
        }
        pushOpenElement(clone);
        activeFormatting.replaceElement(entry, std::move(clone));
    }
}

}  // namespace Parsers
