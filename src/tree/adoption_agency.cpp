// The adoption agency: the repair of misnested formatting elements, run by the
// end tags of the fourteen formatting tags under case folding parsing and by
// the made up end tag of a misnested a.
//
// Its shape is this system's own and is kept as it is: the new element that
// takes the formatting element's place never enters the list of active
// formatting elements, no place in the list is remembered between rounds, the
// inner loop stops after three rounds whatever it has reached, and a missing
// furthest block pops and ends the whole run.
#include "tree/tag_sets.h"
#include "tree/tree_constructor.h"

namespace Parsers {

namespace {

constexpr int kMaxPasses = 8;
constexpr int kMaxInnerRounds = 3;

Element& asElement(const NodeRef& node)
{
    return static_cast<Element&>(*node);
}

// A fresh element from the start tag that made `element`: same name and
// attributes (shared), no parent, no children, namespace HTML.
NodeRef cloneFromToken(const NodeRef& element, ParseHeap* heap)
{
    return makeElementForTag(asElement(element).getToken(), heap);
}

// The furthest block: of the special elements above the formatting element at
// `position`, the one nearest to it. The walk comes down from the top, each
// special element overwriting the one before. Unknown names are never special.
NodeRef furthestBlockAbove(const OpenElementStack& stack, std::size_t position)
{
    NodeRef furthestBlock;
    for (std::size_t above = stack.size(); above-- > position + 1;) {
        if (asElement(stack[above]).getCategory() == TagCategory::Special) {
            furthestBlock = stack[above];
        }
    }
    return furthestBlock;
}

}  // namespace

void TreeConstructor::runAdoptionAgency(const TokenRef& token)
{
    const TagId tag = asTag(token).getTagId();
    for (int pass = 1; pass <= kMaxPasses; ++pass) {
        NodeRef formatting = activeFormatting.findAfterLastMarker(tag);
        if (!formatting) {
            anyOtherEndTag(token);
            return;
        }
        const std::ptrdiff_t formattingPosition = findOpenElement(formatting.get());
        if (formattingPosition < 0) {
            // Closed already by something else: it only leaves the list.
            reportToken(ParseErrorCode::UnspecifiedEndTagError01InBody, token);
            activeFormatting.removeElement(formatting.get());
            return;
        }
        if (!hasElementInScope(tag, ScopeKind::Default)) {
            reportToken(ParseErrorCode::UnspecifiedEndTagError02InBody, token);
            token->ignored = true;
            return;
        }
        if (formatting != currentNode) {
            reportToken(ParseErrorCode::UnspecifiedEndTagError03InBody, token);
        }

        NodeRef furthestBlock =
            furthestBlockAbove(openElements, static_cast<std::size_t>(formattingPosition));
        if (!furthestBlock) {
            popToDepth(static_cast<std::size_t>(formattingPosition));
            activeFormatting.removeElement(formatting.get());
            return;
        }

        // Checked: a formatting element at the bottom of the stack has no
        // entry below it, and the read then ends the parse.
        const std::size_t below = static_cast<std::size_t>(formattingPosition) - 1;
        Element& commonAncestor = checkedOpenElement(below);
        NodeRef lastNode = moveFormattingAboveFurthestBlock(formatting, furthestBlock);

        // Under a table's structure the node goes in front of the table.
        removeChild(lastNode.get(), lastNode->parent);
        if (isTableStructure(commonAncestor.getTagId())) {
            insertFosterParented(lastNode);
        } else {
            appendChild(lastNode, &commonAncestor);
        }

        // The new element takes over the furthest block's content and stays
        // open above it, unknown to the list.
        NodeRef replacement = cloneFromToken(formatting, heap());
        moveChildren(furthestBlock.get(), replacement.get());
        appendChild(replacement, furthestBlock.get());
        activeFormatting.removeElement(formatting.get());
        const std::ptrdiff_t oldPosition = findOpenElement(formatting.get());
        if (oldPosition >= 0) eraseOpenElement(static_cast<std::size_t>(oldPosition));
        const std::ptrdiff_t blockPosition = findOpenElement(furthestBlock.get());
        if (blockPosition >= 0) {
            insertIntoOpenElements(static_cast<std::size_t>(blockPosition) + 1, replacement);
        }
    }
}

// The inner loop: walks down the stack from the furthest block for at most
// three rounds. Elements that are not active formatting elements leave the
// stack; those that are get a fresh element each, which takes the chain built
// so far as its child. Returns the last node of that chain.
NodeRef TreeConstructor::moveFormattingAboveFurthestBlock(const NodeRef& formatting,
                                                          const NodeRef& furthestBlock)
{
    NodeRef node = furthestBlock;
    NodeRef lastNode = furthestBlock;
    NodeRef savedNeighbour;
    for (int round = 0; round < kMaxInnerRounds; ++round) {
        const std::ptrdiff_t position = findOpenElement(node.get());
        if (position >= 0) {
            node = openElements.at(static_cast<std::size_t>(position) - 1);
        } else {
            // Erased in the round before: on from the entry that was below it.
            node = std::move(savedNeighbour);
            savedNeighbour.reset();
        }
        if (!activeFormatting.contains(node.get())) {
            const std::ptrdiff_t nodePosition = findOpenElement(node.get());
            if (nodePosition >= 0) {
                savedNeighbour = openElements.at(static_cast<std::size_t>(nodePosition) - 1);
                eraseOpenElement(static_cast<std::size_t>(nodePosition));
            }
            continue;
        }
        if (node == formatting) break;

        NodeRef clone = cloneFromToken(node, heap());
        activeFormatting.replaceElement(node.get(), clone);
        const std::ptrdiff_t nodePosition = findOpenElement(node.get());
        if (nodePosition >= 0) {
            eraseOpenElement(static_cast<std::size_t>(nodePosition));
            insertIntoOpenElements(static_cast<std::size_t>(nodePosition), clone);
        }
        node = std::move(clone);

        removeChild(lastNode.get(), lastNode->parent);
        appendChild(lastNode, node.get());
        lastNode = node;
    }
    return lastNode;
}

}  // namespace Parsers
