#include "image/image_writer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "dom/element.h"
#include "dom/node.h"
#include "image/image_block.h"
#include "support/tree_builders.h"

namespace Parsers {
namespace {

using Testing::append;
using Testing::makeComment;
using Testing::makeElement;
using Testing::makeStartTag;
using Testing::makeText;

constexpr std::uint32_t A = 0xFFFFFFFFu;  // an absent index or id

// Expected image bytes, assembled field by field in the test.
class Bytes {
public:
    Bytes& u16(std::uint16_t value)
    {
        data.push_back(static_cast<std::uint8_t>(value));
        data.push_back(static_cast<std::uint8_t>(value >> 8));
        return *this;
    }
    Bytes& u32(std::uint32_t value)
    {
        for (int shift = 0; shift < 32; shift += 8) data.push_back(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }
    Bytes& u32s(std::initializer_list<std::uint32_t> values)
    {
        for (std::uint32_t value : values) u32(value);
        return *this;
    }
    Bytes& string(const std::u16string& text)
    {
        for (char16_t unit : text) u16(unit);
        return u16(0);
    }
    Bytes& header(std::uint32_t nodes, std::uint32_t attributes, std::uint32_t attributeOffset,
                  std::uint32_t strings, std::uint32_t stringOffset)
    {
        return u16(200).u32s({nodes, 26, attributes, attributeOffset, strings, stringOffset});
    }
    Bytes& recordHead(std::uint32_t size, std::uint16_t kind, std::uint32_t topLevel,
                      std::uint32_t childCount, std::uint32_t childListOffset)
    {
        return u32(size).u16(kind).u32s({topLevel, 22, childCount, childListOffset});
    }
    Bytes& textRecord(std::uint16_t kind, std::uint32_t topLevel, std::uint32_t dataString)
    {
        return recordHead(30, kind, topLevel, 0, 0).u32s({8, dataString});
    }

    std::vector<std::uint8_t> data;
};

// The image written for a document, read back out of its block.
struct WrittenImage {
    std::uint32_t size = 0;
    std::size_t blockSize = 0;
    std::vector<std::uint8_t> bytes;      // the image itself
    std::vector<std::uint8_t> remainder;  // the block's bytes behind the image
};

WrittenImage writeImage(Document& document)
{
    HGLOBAL handle = nullptr;
    WrittenImage image;
    image.size = writeDocumentImage(document, &handle);
    EXPECT_NE(handle, nullptr);
    image.blockSize = GlobalSize(handle);
    auto* start = static_cast<std::uint8_t*>(GlobalLock(handle));
    image.bytes.assign(start, start + image.size);
    image.remainder.assign(start + image.size, start + image.blockSize);
    GlobalUnlock(handle);
    EXPECT_EQ(GlobalFree(handle), nullptr);
    return image;
}

bool allZero(const std::vector<std::uint8_t>& bytes)
{
    for (std::uint8_t byte : bytes) {
        if (byte != 0) return false;
    }
    return true;
}

TEST(ImageWriter, EmptyDocumentIsTheHeaderAlone)
{
    Document document(2);
    WrittenImage image = writeImage(document);
    EXPECT_EQ(image.size, 26u);
    EXPECT_EQ(image.blockSize, 4096u);
    EXPECT_EQ(image.bytes, Bytes().header(0, 0, 26, 0, 26).data);
    EXPECT_TRUE(allZero(image.remainder));
}

TEST(ImageWriter, DoctypeIsLeftOutWithAllItHolds)
{
    Document document(2);
    auto doctype = makeNode<DocumentType>(nullptr, u"html", u"pub", u"sys");
    appendChild(doctype, &document);
    // A doctype cannot hold children; the tree stays as it is.
    EXPECT_TRUE(doctype->children.empty());
    WrittenImage image = writeImage(document);
    EXPECT_EQ(image.bytes, Bytes().header(0, 0, 26, 0, 26).data);
}

TEST(ImageWriter, TopLevelTextAndComment)
{
    Document document(2);
    append(makeComment(u"note"), &document);
    append(makeText(u"hi"), &document);
    WrittenImage image = writeImage(document);
    Bytes expected;
    expected.header(2, 0, 86, 2, 86)
        .textRecord(3, 1, 0)
        .textRecord(2, 1, 1)
        .string(u"note")
        .string(u"hi");
    EXPECT_EQ(image.size, 86u + 10 + 6);
    EXPECT_EQ(image.bytes, expected.data);
}

TEST(ImageWriter, EqualTextsShareOneString)
{
    Document document(2);
    auto* div = append(makeElement(u"div"), &document);
    append(makeText(u"div"), div);
    append(makeElement(u"br"), div);
    append(makeText(u"div"), div);
    WrittenImage image = writeImage(document);
    Bytes expected;
    // div: 3 children, no attributes: payload 36, record 22 + 36 + 12 = 70.
    expected.header(4, 0, 26 + 70 + 30 + 58 + 30, 2, 26 + 70 + 30 + 58 + 30)
        .recordHead(70, 1, 1, 3, 58)
        .u32s({36, 51, 0, A, A, 0, 0, 0, 0})
        .u32s({1, 2, 3})
        .textRecord(2, 0, 0)
        .recordHead(58, 1, 0, 0, 0)
        .u32s({36, 27, 1, A, A, 0, 0, 0, 0})
        .textRecord(2, 0, 0)
        .string(u"div")
        .string(u"br");
    EXPECT_EQ(image.bytes, expected.data);
}

// A tree with every record kind, attributes, both kinds of declaration, prefixes,
// namespace URIs and shared strings; every value below is worked out by hand.
TEST(ImageWriter, ElementsAttributesDeclarationsAndStringOrder)
{
    Document document(2);
    append(makeComment(u"c"), &document);
    append(makeNode<DocumentType>(nullptr, u"html", u"", u""), &document);
    auto* root = append(
        makeElement(u"root", {{u"xmlns", u"urn:d"}, {u"p", u"urn:p", u"xmlns"}, {u"id", u""}}),
        &document);
    append(makeElement(u"leaf", {{u"a", u"v", u"p"}}, u"p"), root);
    append(makeText(u"c"), root);

    WrittenImage image = writeImage(document);
    Bytes expected;
    expected.header(4, 4, 250, 10, 346);
    // Comment, top level.
    expected.textRecord(3, 1, 0);
    // root: attributes id, xmlns, xmlns:p (map order); two declarations, two children.
    expected.recordHead(102, 1, 1, 2, 94)
        .u32s({72, A, 1, A, 2, 3, 36, 2, 48})
        .u32s({0, 1, 2})
        .u32s({12, A, 2})
        .u32s({12, 3, 4})
        .u32s({2, 3});
    // p:leaf with p:a.
    expected.recordHead(62, 1, 0, 0, 0).u32s({40, A, 5, 3, 4, 1, 36, 0, 0}).u32(3);
    // The text shares the comment's string.
    expected.textRecord(2, 0, 0);
    // Attributes: id (210) and xmlns (443) have ids; "p" and "a" have none.
    expected.u32s({24, 210, 6, A, 2, A});
    expected.u32s({24, 443, 7, A, 2, 2});
    expected.u32s({24, A, 3, 7, A, 4});
    expected.u32s({24, A, 8, 3, 4, 9});
    for (const char16_t* text :
         {u"c", u"root", u"urn:d", u"p", u"urn:p", u"leaf", u"id", u"xmlns", u"a", u"v"}) {
        expected.string(text);
    }
    EXPECT_EQ(image.size, 424u);
    EXPECT_EQ(image.bytes, expected.data);
    EXPECT_TRUE(allZero(image.remainder));
}

TEST(ImageWriter, PlainXmlnsAloneIsOneAttributeAndOneDeclaration)
{
    Document document(2);
    append(makeElement(u"svg", {{u"xmlns", u"urn:svg"}}), &document);
    WrittenImage image = writeImage(document);
    Bytes expected;
    expected.header(1, 1, 26 + 74, 3, 26 + 74 + 24)
        .recordHead(74, 1, 1, 0, 0)
        .u32s({52, 205, 0, A, 1, 1, 36, 1, 40})
        .u32(0)
        .u32s({12, A, 1})
        .u32s({24, 443, 2, A, 1, 1})
        .string(u"svg")
        .string(u"urn:svg")
        .string(u"xmlns");
    EXPECT_EQ(image.bytes, expected.data);
}

TEST(ImageWriter, EmptyXmlnsDeclaresTheEmptyString)
{
    Document document(2);
    append(makeElement(u"x", {{u"xmlns", u""}}), &document);
    WrittenImage image = writeImage(document);
    Bytes expected;
    // The element's URI is empty (absent); the declaration points at "" all the
    // same, while the attribute's empty value is absent.
    expected.header(1, 1, 100, 3, 124)
        .recordHead(74, 1, 1, 0, 0)
        .u32s({52, A, 0, A, A, 1, 36, 1, 40})
        .u32(0)
        .u32s({12, A, 1})
        .u32s({24, 443, 2, A, A, A})
        .string(u"x")
        .string(u"")
        .string(u"xmlns");
    EXPECT_EQ(image.bytes, expected.data);
}

TEST(ImageWriter, PrefixDeclarationOnItsOwnElement)
{
    Document document(2);
    append(makeElement(u"rect", {{u"svg", u"urn:s", u"xmlns"}}, u"svg"), &document);
    WrittenImage image = writeImage(document);
    Bytes expected;
    expected.header(1, 1, 100, 4, 124)
        .recordHead(74, 1, 1, 0, 0)
        .u32s({52, 180, 0, 1, 2, 1, 36, 1, 40})
        .u32(0)
        .u32s({12, 1, 2})
        .u32s({24, A, 1, 3, A, 2})
        .string(u"rect")
        .string(u"svg")
        .string(u"urn:s")
        .string(u"xmlns");
    EXPECT_EQ(image.bytes, expected.data);
}

TEST(ImageWriter, ElementMadeFromTagIdHasEmptyName)
{
    Document document(2);
    appendChild(makeNode<Element>(nullptr, TagId::Html, NodeType::Element), &document);
    WrittenImage image = writeImage(document);
    Bytes expected;
    expected.header(1, 0, 84, 1, 84).recordHead(58, 1, 1, 0, 0).u32s({36, 113, 0, A, A, 0, 0, 0, 0}).string(u"");
    EXPECT_EQ(image.size, 86u);
    EXPECT_EQ(image.bytes, expected.data);
}

TEST(ImageWriter, UnknownNamesKeepTheirTextWithoutIds)
{
    Document document(2);
    auto* widget = append(makeElement(u"myWidget", {{u"Mode", u"fast"}}), &document);
    WrittenImage image = writeImage(document);
    Bytes expected;
    expected.header(1, 1, 88, 3, 112)
        .recordHead(62, 1, 1, 0, 0)
        .u32s({40, A, 0, A, A, 1, 36, 0, 0})
        .u32(0)
        .u32s({24, A, 1, A, A, 2})
        .string(u"myWidget")
        .string(u"Mode")
        .string(u"fast");
    EXPECT_EQ(image.bytes, expected.data);
    // The writer's lookups are not stored in the element.
    EXPECT_EQ(widget->tagId, TagId::Unknown);
}

TEST(ImageWriter, LookupsMadeByTheWriterAreNotCached)
{
    Document document(2);
    auto* div = append(makeElement(u"div", {{u"id", u"x"}}), &document);
    writeImage(document);
    EXPECT_EQ(div->tagId, TagId::Unknown);
    EXPECT_EQ(div->attributes.at(u"id")->attributeId, AttributeId::Unknown);
}

// An attribute that more than one element lists has a record at each place
// in the table, and every element that lists it gives the number of the last:
// here the attribute of two elements made from one tag (their maps are
// copies of one map) and one entered into a second element's own map. Each
// record takes 22 bytes of head, 36 of fixed payload and the attribute's
// number, 4: the numbers lie 58 bytes into records of 62 bytes each, which
// follow the 26-byte header.
TEST(ImageWriter, SharedAttributesGiveTheNumberOfTheirLastPlace)
{
    const auto numbersIn = [](const std::vector<std::uint8_t>& bytes) {
        const auto u32At = [&](std::size_t at) {
            std::uint32_t value = 0;
            std::memcpy(&value, bytes.data() + at, sizeof value);
            return value;
        };
        std::vector<std::uint32_t> numbers{u32At(10)};
        for (std::size_t record = 0; record < 4; ++record) numbers.push_back(u32At(26 + 62 * record + 58));
        return numbers;
    };
    const auto build = [](Document& document) {
        auto tag = makeStartTag(u"b", {{u"class", u"x"}});
        append(makeNode<Element>(nullptr, tag), &document);
        append(makeNode<Element>(nullptr, tag), &document);
        auto* third = append(makeElement(u"i", {{u"title", u"y"}}), &document);
        auto* fourth = append(makeElement(u"u"), &document);
        fourth->attributes.try_emplace(u"title", third->attributes.at(u"title"));
    };
    Document kept(2);
    build(kept);
    const WrittenImage image = writeImage(kept);
    // Four attribute records, one a place; the count, then each element's
    // number (its own would be 0, 1, 2 and 3).
    EXPECT_EQ(numbersIn(image.bytes), (std::vector<std::uint32_t>{4, 1, 1, 3, 3}));

    Ref<Document> released = makeNode<Document>(nullptr, 2);
    build(*released);
    HGLOBAL handle = nullptr;
    const std::uint32_t size = writeDocumentImage(*released, &handle, TreeAfterImage::Released);
    auto* start = static_cast<std::uint8_t*>(GlobalLock(handle));
    EXPECT_EQ(std::vector<std::uint8_t>(start, start + size), image.bytes);
    GlobalUnlock(handle);
    EXPECT_EQ(GlobalFree(handle), nullptr);
}

TEST(ImageWriter, AttributeValueAndTagNameShareAString)
{
    Document document(2);
    append(makeElement(u"b", {{u"class", u"b"}}), &document);
    WrittenImage image = writeImage(document);
    Bytes expected;
    expected.header(1, 1, 88, 2, 112)
        .recordHead(62, 1, 1, 0, 0)
        .u32s({40, 17, 0, A, A, 1, 36, 0, 0})
        .u32(0)
        .u32s({24, 99, 1, A, A, 0})
        .string(u"b")
        .string(u"class");
    EXPECT_EQ(image.bytes, expected.data);
}

TEST(ImageWriter, EmptyTextHasARealString)
{
    Document document(2);
    auto* p = append(makeElement(u"p"), &document);
    append(makeText(u""), p);
    WrittenImage image = writeImage(document);
    Bytes expected;
    expected.header(2, 0, 26 + 62 + 30, 2, 26 + 62 + 30)
        .recordHead(62, 1, 1, 1, 58)
        .u32s({36, 167, 0, A, A, 0, 0, 0, 0})
        .u32(1)
        .textRecord(2, 0, 1)
        .string(u"p")
        .string(u"");
    EXPECT_EQ(image.bytes, expected.data);
}

std::uint32_t readU32(const std::vector<std::uint8_t>& bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (int shift = 0; shift < 32; shift += 8) value |= std::uint32_t{bytes[at++]} << shift;
    return value;
}

// The child lists of the records, one after the other, in node order.
std::vector<std::vector<std::uint32_t>> childListsOf(const std::vector<std::uint8_t>& image)
{
    const std::uint32_t nodeCount = readU32(image, 2);
    std::vector<std::vector<std::uint32_t>> lists;
    std::size_t record = 26;
    for (std::uint32_t node = 0; node < nodeCount; ++node) {
        const std::uint32_t childCount = readU32(image, record + 14);
        const std::size_t listStart = record + readU32(image, record + 18);
        std::vector<std::uint32_t> list;
        for (std::uint32_t child = 0; child < childCount; ++child) {
            list.push_back(readU32(image, listStart + 4 * child));
        }
        lists.push_back(list);
        record += readU32(image, record);
    }
    return lists;
}

// Children's numbers follow from the subtrees before them: subtrees of every
// size, empty elements and texts among them.
TEST(ImageWriter, ChildListsHoldTheNumbersOfTheChildren)
{
    Document document(2);
    auto* a = append(makeElement(u"a"), &document);
    auto* b = append(makeElement(u"b"), a);
    append(makeText(u"t1"), b);
    auto* c = append(makeElement(u"c"), b);
    append(makeElement(u"d"), c);
    append(makeComment(u"e"), c);
    append(makeElement(u"f"), a);
    append(makeText(u"t2"), a);
    auto* g = append(makeElement(u"g"), &document);
    append(makeText(u"t3"), g);
    const WrittenImage image = writeImage(document);
    // a0 b1 t1:2 c3 d4 e5 f6 t2:7 g8 t3:9
    EXPECT_EQ(childListsOf(image.bytes), (std::vector<std::vector<std::uint32_t>>{
                                             {1, 6, 7}, {2, 3}, {}, {4, 5}, {}, {}, {}, {}, {9}, {}}));
}

// The namespace URIs found top-down during the walk are those the element and
// attribute lookups find, including the nearest declaration winning and a
// declaration going out of scope with its element.
TEST(ImageWriter, NamespaceUrisFollowTheNearestDeclaration)
{
    Document document(2);
    auto* outer = append(makeElement(u"o", {{u"xmlns", u"urn:1"}, {u"p", u"urn:p1", u"xmlns"}}), &document);
    auto* inner = append(makeElement(u"i", {{u"xmlns", u"urn:2"}}), outer);
    auto* deep = append(makeElement(u"d", {{u"x", u"", u"p"}}, u"p"), inner);
    auto* sibling = append(makeElement(u"s"), outer);
    auto* second = append(makeElement(u"t", {}, u"p"), &document);
    writeImage(document);
    EXPECT_EQ(outer->getNamespaceUri(), u"urn:1");
    EXPECT_EQ(inner->getNamespaceUri(), u"urn:2");
    EXPECT_EQ(deep->getNamespaceUri(), u"urn:p1");
    EXPECT_EQ(deep->attributes.at(u"p:x")->getNamespaceUri(), u"urn:p1");
    EXPECT_EQ(sibling->getNamespaceUri(), u"urn:1");
    EXPECT_EQ(second->getNamespaceUri(), u"");
    // The same answers as the lookups that walk up the tree.
    EXPECT_EQ(&inner->getNamespaceUri(), &inner->findNamespaceUri(u""));
    EXPECT_EQ(&deep->getNamespaceUri(), &deep->findNamespaceUri(u"p"));
}

// What the writer is given when it may take the tree apart: everything a
// record reads of other nodes (namespace URIs declared above, attributes
// shared with an element made again from the same tag, a cached URI of a
// declaration that is no longer above its element) is of nodes released
// before the record is written.
struct ReleasedTreeCase {
    Ref<Document> document = makeNode<Document>(nullptr, 2);
    NodeRef held;

    ReleasedTreeCase()
    {
        auto* outer = append(makeElement(u"o", {{u"xmlns", u"urn:1"}, {u"p", u"urn:p", u"xmlns"}}),
                             document.get());
        auto* declaring = append(makeElement(u"d", {{u"q", u"urn:q", u"xmlns"}}), outer);
        auto prefixed = makeElement(u"n", {{u"a", u"1", u"q"}}, u"q");
        append(prefixed, declaring);
        EXPECT_EQ(prefixed->getNamespaceUri(), u"urn:q");
        append(makeText(u"inside"), declaring);
        append(makeComment(u"note"), outer);
        auto tag = makeStartTag(u"b", {{u"class", u"x"}, {u"p", u"v", u"p"}});
        auto* first = append(makeNode<Element>(nullptr, tag), outer);
        append(makeText(u"one"), first);
        held = first->getChildren()[0];
        auto* again = append(makeNode<Element>(nullptr, tag), document.get());
        append(makeText(u"two"), again);
        removeChild(prefixed.get(), declaring);
        append(prefixed, again);
    }
};

TEST(ImageWriter, ReleasingTheTreeWhileWritingGivesTheSameImage)
{
    ReleasedTreeCase kept;
    const std::vector<std::uint8_t> expected = writeImage(*kept.document).bytes;
    ASSERT_EQ(kept.document->getChildren().size(), 2u);
    EXPECT_EQ(kept.document->getChildren()[0]->getChildren().size(), 3u);

    ReleasedTreeCase released;
    HGLOBAL handle = nullptr;
    const std::uint32_t size =
        writeDocumentImage(*released.document, &handle, TreeAfterImage::Released);
    ASSERT_EQ(size, expected.size());
    auto* start = static_cast<std::uint8_t*>(GlobalLock(handle));
    EXPECT_EQ(std::vector<std::uint8_t>(start, start + size), expected);
    GlobalUnlock(handle);
    EXPECT_EQ(GlobalFree(handle), nullptr);

    // The top-level nodes stay, without children; a node held elsewhere
    // survives, unlinked.
    const NodeList& top = released.document->getChildren();
    ASSERT_EQ(top.size(), 2u);
    EXPECT_TRUE(top[0]->getChildren().empty());
    EXPECT_TRUE(top[1]->getChildren().empty());
    EXPECT_EQ(released.held->getParent(), nullptr);
    EXPECT_EQ(static_cast<TextNode&>(*released.held).data, u"one");
}

TEST(ImageWriter, GrowsToTheNextDoublingWithTheHandleGiven)
{
    Document document(2);
    auto* root = append(makeElement(u"div"), &document);
    // 60 elements and 60 distinct texts: 5,818 bytes of records and 854 of
    // strings, which pass 4096 bytes and stay below 8192.
    for (int i = 0; i < 60; ++i) {
        appendChild(makeElement(u"br"), root);
        std::u16string text = u"text";
        text += static_cast<char16_t>(u'A' + i / 26);
        text += static_cast<char16_t>(u'a' + i % 26);
        appendChild(makeText(text), root);
    }
    WrittenImage image = writeImage(document);
    EXPECT_GT(image.size, 4096u);
    EXPECT_LE(image.size, 8192u);
    EXPECT_EQ(image.blockSize, 8192u);
    EXPECT_TRUE(allZero(image.remainder));
    // Spot checks: the header and the last string.
    std::uint32_t nodeCount;
    std::memcpy(&nodeCount, image.bytes.data() + 2, 4);
    EXPECT_EQ(image.size, 6698u);
    EXPECT_EQ(nodeCount, 121u);
    std::vector<std::uint8_t> last = Bytes().string(u"textCh").data;
    EXPECT_TRUE(std::equal(last.begin(), last.end(), image.bytes.end() - last.size()));
}

TEST(ImageBlockOwner, GrowthMovesToANewHandleAndKeepsTheBytes)
{
    ImageBlock block;
    block.allocate(4096);
    HGLOBAL first = block.handle();
    block.lock()[4095] = 7;
    block.unlock();
    block.ensureCapacity(4097);
    EXPECT_NE(block.handle(), first);
    EXPECT_EQ(GlobalSize(first), 0u);  // the old block is gone
    EXPECT_EQ(block.capacity(), 8192u);
    EXPECT_EQ(GlobalSize(block.handle()), 8192u);
    std::uint8_t* bytes = block.lock();
    EXPECT_EQ(bytes[4095], 7);
    EXPECT_EQ(bytes[4096], 0);
    block.unlock();
    block.ensureCapacity(8192);
    EXPECT_EQ(block.capacity(), 8192u);
    block.ensureCapacity(40000);
    EXPECT_EQ(block.capacity(), 65536u);
}

TEST(ImageBlockOwner, DestructorFreesUnlessDetached)
{
    HGLOBAL dropped;
    {
        ImageBlock block;
        block.allocate(4096);
        block.lock();
        dropped = block.handle();
    }
    EXPECT_EQ(GlobalSize(dropped), 0u);

    HGLOBAL kept;
    {
        ImageBlock block;
        block.allocate(4096);
        block.lock();
        kept = block.detach();
    }
    EXPECT_EQ(GlobalSize(kept), 4096u);
    EXPECT_EQ(GlobalUnlock(kept), 0);  // detach left it unlocked
    EXPECT_EQ(GlobalFree(kept), nullptr);
}

TEST(ImageBlockOwner, ImpossibleSizeIsAnAllocationFailure)
{
    ImageBlock block;
    block.allocate(4096);
    EXPECT_THROW(block.ensureCapacity(0x100000000ull), std::bad_alloc);
    EXPECT_EQ(block.capacity(), 4096u);
}

TEST(ImageWriter, DeepChainIsWrittenWithoutRecursion)
{
    Document document(2);
    Node* parent = &document;
    for (int depth = 0; depth < 1000000; ++depth) {
        auto element = makeNode<Element>(nullptr, TagId::Div, NodeType::Element);
        appendChild(element, parent);
        parent = element.get();
    }
    HGLOBAL handle = nullptr;
    std::uint32_t size = writeDocumentImage(document, &handle);
    // 999,999 records with one child and the innermost without: 62 and 58 bytes.
    EXPECT_EQ(size, 26u + 999999u * 62u + 58u + 2u);
    EXPECT_EQ(GlobalFree(handle), nullptr);
}

// Each image has its own interning state, so images written at the same time
// on several threads come out as they do one after the other.
TEST(ImageWriter, ConcurrentWritersProduceTheSameImages)
{
    auto build = [](int seed) {
        auto document = makeNode<Document>(nullptr, 2);
        auto* root = append(makeElement(u"root", {{u"xmlns", u"urn:r"}}), document.get());
        for (int i = 0; i < 300; ++i) {
            std::u16string text(1, static_cast<char16_t>(u'a' + (i * seed) % 26));
            append(makeElement(text, {{u"k", text}}), root);
            appendChild(makeText(text), root);
        }
        return document;
    };
    std::vector<std::vector<std::uint8_t>> sequential;
    for (int seed = 1; seed <= 8; ++seed) sequential.push_back(writeImage(*build(seed)).bytes);

    std::vector<std::vector<std::uint8_t>> concurrent(8);
    std::vector<std::thread> threads;
    for (int seed = 1; seed <= 8; ++seed) {
        threads.emplace_back([&, seed] {
            auto document = build(seed);
            for (int round = 0; round < 5; ++round) concurrent[seed - 1] = writeImage(*document).bytes;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(concurrent, sequential);
}

}  // namespace
}  // namespace Parsers
