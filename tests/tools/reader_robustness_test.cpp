// The reader under hostile input and extreme shapes: seeded random damage to
// valid images must end in a clean answer, and a chain of a million nested
// elements must open and walk without recursion.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "domparse_reader.h"
#include "tools/image_builder.h"
#include "tools/sample_images.h"

namespace Parsers::ImageTesting {
namespace {

// Reads everything an open image offers and checks what must hold for any
// accepted image. Returns the number of checks that failed.
int exerciseImage(const DOMImage* image)
{
    int failures = 0;
    const std::uint32_t count = DOMImage_NodeCount(image);
    const std::uint32_t size = DOMImage_Size(image);
    auto check = [&](bool holds) { failures += holds ? 0 : 1; };
    for (std::uint32_t root = 0; root < DOMImage_RootCount(image); ++root) {
        const std::uint32_t index = DOMImage_Root(image, root);
        DOMImageNode node{};
        check(DOMImage_GetNode(image, index, &node) == 1 && node.isTopLevel == 1);
    }
    for (std::uint32_t index = 0; index < count; ++index) {
        DOMImageNode node{};
        check(DOMImage_GetNode(image, index, &node) == 1);
        check(node.kind >= 1 && node.kind <= 3);
        const std::uint32_t end = DOMImage_SubtreeEnd(image, index);
        check(end > index && end <= count);
        for (std::uint32_t position = 0; position < node.childCount; ++position) {
            const std::uint32_t child = DOMImage_Child(image, index, position);
            check(child > index && child < end);
            DOMImageNode childNode{};
            check(DOMImage_GetNode(image, child, &childNode) == 1 && childNode.parent == index);
            check(childNode.depth == node.depth + 1);
        }
        for (std::uint32_t position = 0; position < node.attributeCount; ++position) {
            DOMImageAttribute attribute{};
            const std::uint32_t which = DOMImage_ElementAttribute(image, index, position);
            check(DOMImage_GetAttribute(image, which, &attribute) == 1);
            check(DOMImage_String(image, attribute.nameString).bytes != nullptr);
        }
        for (std::uint32_t position = 0; position < node.declarationCount; ++position) {
            DOMImageDeclaration declaration{};
            check(DOMImage_GetDeclaration(image, index, position, &declaration) == 1);
            check(DOMImage_String(image, declaration.uriString).bytes != nullptr);
        }
        const DOMImageString text = node.kind == DOM_IMAGE_ELEMENT
                                        ? DOMImage_ElementName(image, index)
                                        : DOMImage_String(image, node.dataString);
        check(text.bytes != nullptr);
        check(DOMImage_ToUtf8(text, nullptr, 0) <= std::size_t{3} * text.length);
    }
    std::uint64_t stringBytes = 0;
    for (std::uint32_t index = 0; index < DOMImage_StringCount(image); ++index) {
        stringBytes += 2 * std::uint64_t{DOMImage_String(image, index).length} + 2;
    }
    check(stringBytes <= size);
    return failures;
}

std::vector<std::uint8_t> buildMediumImage()
{
    ImageBuilder builder;
    const std::uint32_t list = builder.addElement(kNoParent, {u"ul", kAbsent, u"", u"", {
        {u"class", u"menu", u"", u"", 5}}, {}});
    for (int item = 0; item < 4; ++item) {
        const std::uint32_t entry = builder.addElement(list, elementNamed(u"li"));
        builder.addText(entry, item % 2 ? u"odd" : u"even");
        if (item == 2) builder.addComment(entry, u"three");
    }
    builder.addElement(kNoParent, {u"y", kAbsent, u"x", u"urn:x", {}, {{u"x", u"urn:x"}}});
    return builder.build();
}

void damage(std::vector<std::uint8_t>& image, std::mt19937& random)
{
    static const std::uint32_t interesting[] = {0, 1, 2, 22, 24, 26, 30, 36, 58, 200,
                                                0x7FFFFFFF, 0x80000000, 0xFFFFFFFE,
                                                0xFFFFFFFF};
    const int changes = 1 + static_cast<int>(random() % 4);
    for (int change = 0; change < changes && !image.empty(); ++change) {
        const std::size_t at = random() % image.size();
        switch (random() % 5) {
        case 0:
        case 1:  // one byte
            image[at] = static_cast<std::uint8_t>(random());
            break;
        case 2:  // a whole field to a value that matters somewhere
            if (at + 4 <= image.size()) {
                putU32(image, static_cast<std::uint32_t>(at),
                       interesting[random() % std::size(interesting)]);
            }
            break;
        case 3:  // a small step of a field
            if (at + 4 <= image.size()) {
                putU32(image, static_cast<std::uint32_t>(at),
                       getU32(image, static_cast<std::uint32_t>(at)) + (random() % 9) - 4);
            }
            break;
        default:  // shorter or longer
            if (random() % 2) {
                image.resize(at);
            } else {
                image.resize(image.size() + 1 + random() % 8, static_cast<std::uint8_t>(random()));
            }
            break;
        }
    }
}

TEST(ImageReaderRobustness, RandomDamageNeverCrashesOrHangs)
{
    const std::vector<std::vector<std::uint8_t>> originals{buildSampleImage(),
                                                           buildMediumImage()};
    std::mt19937 random(20240611);
    int accepted = 0;
    int refused = 0;
    for (int round = 0; round < 6000; ++round) {
        std::vector<std::uint8_t> image = originals[round % originals.size()];
        damage(image, random);
        DOMImage* reader = nullptr;
        char message[256];
        const int result = DOMImage_Open(image.data(), image.size(), &reader, message,
                                         sizeof message);
        if (result == 0) {
            ++accepted;
            EXPECT_EQ(exerciseImage(reader), 0) << "round " << round;
            DOMImage_Close(reader);
        } else {
            ++refused;
            ASSERT_EQ(result, 1) << "round " << round;
            EXPECT_EQ(reader, nullptr);
            EXPECT_GT(std::string(message).size(), 10u) << "round " << round;
        }
    }
    // Most damage is caught; string bytes and ids may change harmlessly.
    EXPECT_EQ(accepted + refused, 6000);
    EXPECT_GT(refused, 3000);
    EXPECT_GT(accepted, 0);
}

TEST(ImageReaderRobustness, UndamagedImagesPassTheSameChecks)
{
    for (const auto& bytes : {buildSampleImage(), buildMediumImage()}) {
        DOMImage* reader = nullptr;
        ASSERT_EQ(DOMImage_Open(bytes.data(), bytes.size(), &reader, nullptr, 0), 0);
        EXPECT_EQ(exerciseImage(reader), 0);
        DOMImage_Close(reader);
    }
}

TEST(ImageReaderRobustness, MillionNestedElementsOpenAndWalk)
{
    constexpr std::uint32_t kDepth = 1000000;
    std::vector<std::uint8_t> bytes;
    {
        ImageBuilder builder;
        std::uint32_t parent = kNoParent;
        const ElementSpec element = elementNamed(u"a");
        for (std::uint32_t level = 0; level < kDepth; ++level) {
            parent = builder.addElement(parent, element);
        }
        builder.addText(parent, u"end");
        bytes = builder.build();
    }
    // Each element holds 22 + 36 bytes and one child index.
    ASSERT_EQ(bytes.size(), 26u + 62u * kDepth + 30u + 4u + 8u);
    DOMImage* image = nullptr;
    char message[256] = "";
    ASSERT_EQ(DOMImage_Open(bytes.data(), bytes.size(), &image, message, sizeof message), 0)
        << message;
    EXPECT_EQ(DOMImage_NodeCount(image), kDepth + 1);
    EXPECT_EQ(DOMImage_RootCount(image), 1u);
    EXPECT_EQ(DOMImage_SubtreeEnd(image, 0), kDepth + 1);
    DOMImageNode last{};
    ASSERT_EQ(DOMImage_GetNode(image, kDepth, &last), 1);
    EXPECT_EQ(last.kind, DOM_IMAGE_TEXT);
    EXPECT_EQ(last.depth, kDepth);
    EXPECT_EQ(last.parent, kDepth - 1);

    // A walk that closes each element after its subtree, with its own stack.
    std::vector<std::uint32_t> open;
    std::uint64_t closed = 0;
    std::uint32_t deepest = 0;
    for (std::uint32_t index = 0; index < DOMImage_NodeCount(image); ++index) {
        while (!open.empty() && DOMImage_SubtreeEnd(image, open.back()) <= index) {
            open.pop_back();
            ++closed;
        }
        DOMImageNode node{};
        DOMImage_GetNode(image, index, &node);
        if (node.depth != open.size()) ADD_FAILURE() << "depth of node " << index;
        deepest = std::max(deepest, node.depth);
        if (node.kind == DOM_IMAGE_ELEMENT) open.push_back(index);
    }
    closed += open.size();
    EXPECT_EQ(closed, kDepth);
    EXPECT_EQ(deepest, kDepth);
    DOMImage_Close(image);
}

}  // namespace
}  // namespace Parsers::ImageTesting
