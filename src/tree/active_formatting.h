// The list of active formatting elements.
//
// The list holds the very Element objects that were pushed to the stack of open
// elements, so that membership in both is a question of identity, and marker
// entries of its own that fence off the formatting of a cell, caption or
// object from what lies outside it.
//
// New elements are made from the start tags of entries only, and only a new
// element is ever pushed: an element that leaves the list, or that leaves the
// stack of open elements without being an entry, never needs its start tag
// again and gives it up. The tags of the formatting elements of a whole
// document would otherwise stay until the end of the parse.
#pragma once

#include <cstddef>
#include <vector>

#include "dom/element.h"
#include "library/shared_types.h"

namespace Parsers {

class ActiveFormattingList {
public:
    // Appends an element. When three entries equal to it (by isSameFormatting)
    // already stand behind the last marker, the oldest of them makes room.
    void pushElement(NodeRef element);
    // Appends a new marker; the limit of three does not apply to markers.
    void pushMarker();
    // The newest entry with the tag, looking no further back than the last
    // marker; empty when there is none.
    NodeRef findAfterLastMarker(TagId tag) const;
    // Erases the entry that is this object, if there is one.
    void removeElement(const Node* element);
    // Puts `replacement` where `element` stood and returns its position; the
    // list is unchanged and the end position returned when `element` is absent.
    std::size_t replaceElement(const Node* element, NodeRef replacement);
    // Pops entries up to and including the newest marker, or all of them when
    // there is no marker.
    void clearToLastMarker();

    bool contains(const Node* element) const;
    bool empty() const { return entries.empty(); }
    std::size_t size() const { return entries.size(); }

    // Oldest entry first.
    std::vector<NodeRef> entries;
};

// The list knows a marker by its node type and by nothing else.
inline bool isFormattingMarker(const Node& entry)
{
    return entry.nodeType == NodeType::Marker;
}

}  // namespace Parsers
