// Counted references to nodes: the count in the node, the release of the last
// reference, and the blocks that makeNode takes and gives back.

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

#include "dom/element.h"
#include "dom/node.h"
#include "dom/parse_heap.h"

namespace Parsers {
namespace {

// An element that counts its destructions in a number of the test's.
class CountedElement : public Element {
public:
    explicit CountedElement(int& destructionCount)
        : Element(TagId::Unknown, NodeType::Element), destructions(destructionCount)
    {
    }
    ~CountedElement() override { ++destructions; }

    int& destructions;
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
    int destructions = 0;
    Ref<CountedElement> first = makeNode<CountedElement>(nullptr, destructions);
    EXPECT_EQ(first.use_count(), 1);
    Ref<CountedElement> second = first;
    EXPECT_EQ(first.use_count(), 2);
    Ref<CountedElement> third = std::move(second);
    EXPECT_FALSE(second);
    EXPECT_EQ(second.use_count(), 0);
    EXPECT_EQ(first.use_count(), 2);
    EXPECT_EQ(third.get(), first.get());
    third.reset();
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(destructions, 0);
    first.reset();
    EXPECT_EQ(destructions, 1);
}

TEST(NodeRef, AssignmentReleasesWhatWasHeldAndSelfAssignmentKeepsTheNode)
{
    int firstDestructions = 0;
    int secondDestructions = 0;
    Ref<CountedElement> held = makeNode<CountedElement>(nullptr, firstDestructions);
    Ref<CountedElement> other = makeNode<CountedElement>(nullptr, secondDestructions);
    Ref<CountedElement>& alias = held;
    held = alias;
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(firstDestructions, 0);
    held = other;
    EXPECT_EQ(firstDestructions, 1);
    EXPECT_EQ(other.use_count(), 2);
    held = nullptr;
    EXPECT_EQ(other.use_count(), 1);
    EXPECT_EQ(secondDestructions, 0);
}

TEST(NodeRef, ReferencesToBaseAndDerivedClassesShareOneCount)
{
    int destructions = 0;
    Ref<CountedElement> element = makeNode<CountedElement>(nullptr, destructions);
    NodeRef node = element;
    EXPECT_EQ(element.use_count(), 2);
    EXPECT_TRUE(node == element);
    Ref<Element> back = refCast<Element>(node);
    EXPECT_EQ(back.use_count(), 3);
    EXPECT_EQ(back.get(), element.get());
    NodeRef moved = std::move(back);
    EXPECT_EQ(moved.use_count(), 3);
    element.reset();
    node.reset();
    EXPECT_EQ(destructions, 0);
    moved.reset();
    EXPECT_EQ(destructions, 1);
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
    int destructions = 0;
    void* first = nullptr;
    {
        Ref<CountedElement> element = makeNode<CountedElement>(owner.get(), destructions);
        first = element.get();
    }
    EXPECT_EQ(destructions, 1);
    // A node of the same size takes the same block again.
    Ref<CountedElement> again = makeNode<CountedElement>(owner.get(), destructions);
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
    int destructions = 0;
    Ref<CountedElement> root = makeNode<CountedElement>(nullptr, destructions);
    Node* parent = root.get();
    for (int depth = 0; depth < 100000; ++depth) {
        Ref<CountedElement> child = makeNode<CountedElement>(nullptr, destructions);
        Node* next = child.get();
        appendChild(std::move(child), parent);
        parent = next;
    }
    root.reset();
    EXPECT_EQ(destructions, 100001);
}

}  // namespace
}  // namespace Parsers
