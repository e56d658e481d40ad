// The heap of a parse: blocks of its size classes, reuse of freed blocks, and
// objects that outlive the owner of their heap.

#include "dom/parse_heap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

#include "dom/element.h"
#include "dom/node.h"
#include "support/tree_builders.h"

namespace Parsers {
namespace {

TEST(ParseHeap, BlocksAreDistinctAlignedAndSpanChunks)
{
    ParseHeapOwner owner;
    std::vector<void*> blocks;
    std::set<std::uintptr_t> seen;
    // Far more than one chunk holds, of every size class and a few larger.
    for (std::size_t round = 0; round < 4000; ++round) {
        const std::size_t bytes = 1 + (round * 37) % 700;
        void* block = owner.get()->allocate(bytes);
        const auto address = reinterpret_cast<std::uintptr_t>(block);
        EXPECT_EQ(address % ParseHeap::kAlignment, 0u);
        EXPECT_TRUE(seen.insert(address).second);
        // Every byte of the block is the caller's.
        std::memset(block, 0xAB, bytes);
        blocks.push_back(block);
    }
    for (std::size_t round = 0; round < blocks.size(); ++round) {
        owner.get()->deallocate(blocks[round], 1 + (round * 37) % 700);
    }
}

TEST(ParseHeap, AFreedBlockIsTakenAgainBeforeNewMemory)
{
    ParseHeapOwner owner;
    ParseHeap& heap = *owner.get();
    void* first = heap.allocate(34);
    heap.deallocate(first, 34);
    // The same size class: 33 to 40 bytes.
    void* second = heap.allocate(40);
    EXPECT_EQ(second, first);
    heap.deallocate(second, 40);
    // The next class up is another list.
    void* larger = heap.allocate(41);
    EXPECT_NE(larger, first);
    heap.deallocate(larger, 41);
    // A loop that frees what it made before makes nothing new.
    for (int turn = 0; turn < 1000; ++turn) {
        void* block = heap.allocate(40);
        EXPECT_EQ(block, first);
        heap.deallocate(block, 40);
    }
}

TEST(ParseHeap, ObjectsOutliveTheOwnerOfTheirHeap)
{
    Ref<TextNode> text;
    // An element of a formatting tag holds its tag until it is destroyed.
    const TagTokenRef tag = Testing::makeStartTag(u"b");
    {
        ParseHeapOwner owner;
        text = makeNodeOnHeap<TextNode>(owner.get(), u'a');
        auto element = makeElementForTag(tag, owner.get());
        element->setName(u"kept");
        auto parent = makeNode<Element>(owner.get(), TagId::Unknown, NodeType::Element);
        appendChild(element, parent.get());
        text->appendData(u"bc");
    }
    // The owner is gone; the objects and their memory are still there.
    EXPECT_EQ(text->data, u"abc");
    EXPECT_EQ(tag.use_count(), 1);
    text.reset();
}

TEST(ParseHeap, WithoutAHeapObjectsComeFromTheGeneralAllocator)
{
    auto text = makeNodeOnHeap<TextNode>(nullptr, u'x');
    EXPECT_EQ(text->data, u"x");
}

TEST(ParseHeap, TextNodesOfARunComeFromTheHeapGiven)
{
    ParseHeapOwner owner;
    auto parent = makeNode<Element>(owner.get(), TagId::Unknown, NodeType::Element);
    appendCharacters(u"abc", 3, parent.get(), owner.get());
    appendCharacter(u'd', parent.get(), owner.get());
    ASSERT_EQ(parent->children.size(), 1u);
    EXPECT_EQ(static_cast<TextNode&>(*parent->children[0]).data, u"abcd");
}

TEST(ParseHeap, TextsAndCommentsKeepTheirTextOnTheHeapGiven)
{
    ParseHeapOwner owner;
    auto parent = makeNode<Element>(owner.get(), TagId::Unknown, NodeType::Element);
    const std::u16string longText(300, u'x');
    appendCharacters(longText.data(), longText.size(), parent.get(), owner.get());
    insertCharacterBefore(u'y', parent->children[0], parent.get(), owner.get());
    ASSERT_EQ(parent->children.size(), 2u);
    for (const NodeRef& child : parent->children) {
        EXPECT_EQ(child->children.heap(), owner.get());
    }
    EXPECT_EQ(static_cast<TextNode&>(*parent->children[1]).data.size(), 300u);

    Comment onHeap(u"note", owner.get());
    EXPECT_EQ(onHeap.data, u"note");
    EXPECT_EQ(onHeap.children.heap(), owner.get());
    EXPECT_EQ(Comment(u"note", nullptr).children.heap(), nullptr);
    EXPECT_EQ(TextNode(u'a', nullptr).children.heap(), nullptr);
}

TEST(ParseHeap, NodesDrawTheirChildListsFromTheirHeap)
{
    ParseHeapOwner owner;
    auto parent = makeNode<Element>(owner.get(), TagId::Unknown, NodeType::Element);
    EXPECT_EQ(parent->children.heap(), owner.get());
    for (int i = 0; i < 100; ++i) {
        appendChild(makeNode<Element>(owner.get(), TagId::Unknown, NodeType::Element), parent.get());
    }
    // Children move between lists of different origins as they do anywhere.
    Document document(2);
    EXPECT_EQ(document.children.heap(), nullptr);
    moveChildren(parent.get(), &document);
    EXPECT_TRUE(parent->children.empty());
    ASSERT_EQ(document.children.size(), 100u);
    EXPECT_EQ(document.children[0]->parent, &document);
    EXPECT_EQ(document.children[99]->previousSibling(), document.children[98].get());
}

}  // namespace
}  // namespace Parsers
