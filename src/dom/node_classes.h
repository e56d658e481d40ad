// The class a node was made as. Nodes have no table of virtual functions: the
// node type tells the class, and for elements the flags that the classes of
// formatting elements and table cells set.
#pragma once

#include "dom/element.h"
#include "dom/node.h"

namespace Parsers {

// Calls `action` once with the node as a reference to its own class.
template <typename Action>
void visitAsItsClass(Node& node, Action&& action)
{
    switch (node.nodeType) {
    case NodeType::Element: {
        auto& element = static_cast<Element&>(node);
        if (element.keepsStartTag) {
            action(static_cast<FormattingElement&>(element));
        } else if (element.isTableCell) {
            action(static_cast<TableCellElement&>(element));
        } else {
            action(element);
        }
        return;
    }
    case NodeType::Marker:
        action(static_cast<MarkerElement&>(node));
        return;
    case NodeType::Text:
        action(static_cast<TextNode&>(node));
        return;
    case NodeType::Comment:
        action(static_cast<Comment&>(node));
        return;
    case NodeType::DocumentType:
        action(static_cast<DocumentType&>(node));
        return;
    case NodeType::XmlDeclaration:
        action(static_cast<XmlDeclaration&>(node));
        return;
    case NodeType::Document:
        action(static_cast<Document&>(node));
        return;
    }
}

}  // namespace Parsers
