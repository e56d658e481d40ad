// Counted references to nodes: the count in the node, the release of the last
// reference, and the blocks that makeNode takes and gives back.

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

#include "dom/element.h"
#include "dom/node.h"
#include "dom/parse_heap.h"
#include "support/tree_builders.h"

namespace Parsers {
namespace {

// Elements that hold a start tag of the test's, as elements of formatting
// tags do: the tag's count, less the test's own reference, is the number of
// such elements alive.
class ElementProbe {
public:
    Ref<Element> make(ParseHeap* heap = nullptr) const { return makeElementForTag(tag, heap); }
    long alive() const { return tag.use_count() - 1; }

private:
    TagTokenRef tag = Testing::makeStartTag(u"b");
};

// An element whose constructor fails after the block is taken.
class FailingElement : public Element {
public:
    FailingElement() : Element(TagId::Unknown, NodeType::Element)
    {
        throw std::runtime_error("refused");
    }
};

TEST(NodeRef, CopiesCountAndMovesDoNot)
{
    ElementProbe probe;
    Ref<Element> first = probe.make();
    EXPECT_EQ(first.use_count(), 1);
    Ref<Element> second = first;
    EXPECT_EQ(first.use_count(), 2);
    Ref<Element> third = std::move(second);
    EXPECT_FALSE(second);
    EXPECT_EQ(second.use_count(), 0);
    EXPECT_EQ(first.use_count(), 2);
    EXPECT_EQ(third.get(), first.get());
    third.reset();
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(probe.alive(), 1);
    first.reset();
    EXPECT_EQ(probe.alive(), 0);
}

TEST(NodeRef, AssignmentReleasesWhatWasHeldAndSelfAssignmentKeepsTheNode)
{
    ElementProbe firstProbe;
    ElementProbe secondProbe;
    Ref<Element> held = firstProbe.make();
    Ref<Element> other = secondProbe.make();
    Ref<Element>& alias = held;
    held = alias;
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(firstProbe.alive(), 1);
    held = other;
    EXPECT_EQ(firstProbe.alive(), 0);
    EXPECT_EQ(other.use_count(), 2);
    held = nullptr;
    EXPECT_EQ(other.use_count(), 1);
    EXPECT_EQ(secondProbe.alive(), 1);
}

TEST(NodeRef, ReferencesToBaseAndDerivedClassesShareOneCount)
{
    ElementProbe probe;
    Ref<Element> element = probe.make();
    NodeRef node = element;
    EXPECT_EQ(element.use_count(), 2);
    EXPECT_TRUE(node == element);
    Ref<FormattingElement> back = refCast<FormattingElement>(node);
    EXPECT_EQ(back.use_count(), 3);
    EXPECT_EQ(back.get(), element.get());
    NodeRef moved = std::move(back);
    EXPECT_EQ(moved.use_count(), 3);
    element.reset();
    node.reset();
    EXPECT_EQ(probe.alive(), 1);
    moved.reset();
    EXPECT_EQ(probe.alive(), 0);
}

TEST(NodeRef, EmptyReferencesCompareEqualToNull)
{
    NodeRef none;
    EXPECT_TRUE(none == nullptr);
    EXPECT_FALSE(none);
    EXPECT_EQ(refCast<Element>(none).get(), nullptr);
    NodeRef some = makeNodeOnHeap<TextNode>(nullptr, u'x');
    EXPECT_TRUE(some != nullptr);
    EXPECT_TRUE(some != none);
}

TEST(NodeRef, TheLastReferenceGivesTheBlockBackToTheHeap)
{
    ParseHeapOwner owner;
    ElementProbe probe;
    void* first = nullptr;
    {
        Ref<Element> element = probe.make(owner.get());
        first = element.get();
    }
    EXPECT_EQ(probe.alive(), 0);
    // A node of the same size takes the same block again.
    Ref<Element> again = probe.make(owner.get());
    EXPECT_EQ(static_cast<void*>(again.get()), first);
    EXPECT_EQ(again->children.heap(), owner.get());
}

TEST(NodeRef, AFailedConstructionGivesTheBlockBack)
{
    ParseHeapOwner owner;
    ParseHeap& heap = *owner.get();
    // A freed block of the node's size is the one the next node of that size
    // takes; once the construction fails, it is free again.
    void* block = heap.allocate(sizeof(FailingElement));
    heap.deallocate(block, sizeof(FailingElement));
    EXPECT_THROW(makeNode<FailingElement>(&heap), std::runtime_error);
    void* again = heap.allocate(sizeof(FailingElement));
    EXPECT_EQ(again, block);
    heap.deallocate(again, sizeof(FailingElement));
}

TEST(NodeRef, ReleasingADeepChainDoesNotRecurse)
{
    ElementProbe probe;
    Ref<Element> root = probe.make();
    Node* parent = root.get();
    for (int depth = 0; depth < 100000; ++depth) {
        Ref<Element> child = probe.make();
        Node* next = child.get();
        appendChild(std::move(child), parent);
        parent = next;
    }
    EXPECT_EQ(probe.alive(), 100001);
    root.reset();
    EXPECT_EQ(probe.alive(), 0);
}

}  // namespace
}  // namespace Parsers
