// The image reader on hand-built images: every accessor on a valid image, and
// the refusal of truncated and corrupted ones.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "domparse_reader.h"
#include "tools/image_builder.h"
#include "tools/sample_images.h"

extern "C" uint32_t countNodesFromC(const void* bytes, size_t size, char* message,
                                    size_t capacity);

namespace Parsers::ImageTesting {
namespace {

struct ImageCloser {
    void operator()(DOMImage* image) const { DOMImage_Close(image); }
};
using ImagePointer = std::unique_ptr<DOMImage, ImageCloser>;

ImagePointer openImage(const std::vector<std::uint8_t>& bytes)
{
    DOMImage* image = nullptr;
    char message[256];
    const int result = DOMImage_Open(bytes.data(), bytes.size(), &image, message, sizeof message);
    EXPECT_EQ(result, 0) << message;
    return ImagePointer(image);
}

// The refusal message for an image, or "accepted".
std::string refusal(const std::vector<std::uint8_t>& bytes, std::size_t size)
{
    DOMImage* image = nullptr;
    char message[256];
    const int result = DOMImage_Open(bytes.data(), size, &image, message, sizeof message);
    if (result == 0) {
        DOMImage_Close(image);
        return "accepted";
    }
    EXPECT_EQ(image, nullptr);
    return message;
}

std::string refusal(const std::vector<std::uint8_t>& bytes)
{
    return refusal(bytes, bytes.size());
}

std::string utf8(DOMImageString string)
{
    std::string text(DOMImage_ToUtf8(string, nullptr, 0), '\0');
    DOMImage_ToUtf8(string, text.data(), text.size() + 1);
    return text;
}

std::string utf8(const DOMImage* image, std::uint32_t index)
{
    return utf8(DOMImage_String(image, index));
}

DOMImageNode nodeAt(const DOMImage* image, std::uint32_t index)
{
    DOMImageNode node{};
    EXPECT_EQ(DOMImage_GetNode(image, index, &node), 1);
    return node;
}

// UTF-16LE bytes of a 16-bit text, to build strings for DOMImage_ToUtf8.
std::vector<unsigned char> unitsOf(const std::u16string& text)
{
    std::vector<unsigned char> bytes;
    for (char16_t unit : text) {
        bytes.push_back(static_cast<unsigned char>(unit & 0xFF));
        bytes.push_back(static_cast<unsigned char>(unit >> 8));
    }
    return bytes;
}

TEST(ImageReader, EmptyDocumentImageHasNoNodes)
{
    ImageBuilder builder;
    const auto bytes = builder.build();
    ASSERT_EQ(bytes.size(), 26u);
    ImagePointer image = openImage(bytes);
    ASSERT_TRUE(image);
    EXPECT_EQ(DOMImage_Size(image.get()), 26u);
    EXPECT_EQ(DOMImage_NodeCount(image.get()), 0u);
    EXPECT_EQ(DOMImage_AttributeCount(image.get()), 0u);
    EXPECT_EQ(DOMImage_StringCount(image.get()), 0u);
    EXPECT_EQ(DOMImage_RootCount(image.get()), 0u);
    EXPECT_EQ(DOMImage_Root(image.get(), 0), DOM_IMAGE_ABSENT);
    DOMImageNode node{};
    EXPECT_EQ(DOMImage_GetNode(image.get(), 0, &node), 0);
}

TEST(ImageReader, SampleImageLayoutIsTheDocumentedOne)
{
    ImageBuilder builder;
    const auto bytes = buildSampleImage(builder);
    EXPECT_EQ(bytes.size(), 684u);
    const std::vector<std::uint32_t> offsets{26, 56, 150, 180, 242, 272, 346};
    for (std::uint32_t node = 0; node < offsets.size(); ++node) {
        EXPECT_EQ(builder.nodeOffset(node), offsets[node]) << node;
    }
    EXPECT_EQ(builder.attributeOffset(0), 376u);
    EXPECT_EQ(builder.stringTableOffset(), 472u);
    EXPECT_EQ(builder.stringIndex(u"hidden"), 12u);
}

TEST(ImageReader, CountsAndRoots)
{
    const auto bytes = buildSampleImage();
    ImagePointer image = openImage(bytes);
    ASSERT_TRUE(image);
    EXPECT_EQ(DOMImage_Size(image.get()), 684u);
    EXPECT_EQ(DOMImage_NodeCount(image.get()), 7u);
    EXPECT_EQ(DOMImage_AttributeCount(image.get()), 4u);
    EXPECT_EQ(DOMImage_StringCount(image.get()), 13u);
    ASSERT_EQ(DOMImage_RootCount(image.get()), 3u);
    EXPECT_EQ(DOMImage_Root(image.get(), 0), 0u);
    EXPECT_EQ(DOMImage_Root(image.get(), 1), 1u);
    EXPECT_EQ(DOMImage_Root(image.get(), 2), 6u);
    EXPECT_EQ(DOMImage_Root(image.get(), 3), DOM_IMAGE_ABSENT);
}

TEST(ImageReader, CommentAndTextNodes)
{
    const auto bytes = buildSampleImage();
    ImagePointer image = openImage(bytes);
    ASSERT_TRUE(image);
    const DOMImageNode comment = nodeAt(image.get(), 0);
    EXPECT_EQ(comment.kind, DOM_IMAGE_COMMENT);
    EXPECT_EQ(comment.isTopLevel, 1u);
    EXPECT_EQ(comment.parent, DOM_IMAGE_ABSENT);
    EXPECT_EQ(comment.depth, 0u);
    EXPECT_EQ(comment.childCount, 0u);
    EXPECT_EQ(comment.dataString, 0u);
    EXPECT_EQ(comment.tagId, DOM_IMAGE_ABSENT);
    EXPECT_EQ(comment.nameString, DOM_IMAGE_ABSENT);
    EXPECT_EQ(comment.prefixString, DOM_IMAGE_ABSENT);
    EXPECT_EQ(comment.namespaceUriString, DOM_IMAGE_ABSENT);
    EXPECT_EQ(comment.attributeCount, 0u);
    EXPECT_EQ(comment.declarationCount, 0u);
    EXPECT_EQ(utf8(image.get(), comment.dataString), " hi ");
    EXPECT_EQ(DOMImage_SubtreeEnd(image.get(), 0), 1u);

    const DOMImageNode text = nodeAt(image.get(), 2);
    EXPECT_EQ(text.kind, DOM_IMAGE_TEXT);
    EXPECT_EQ(text.isTopLevel, 0u);
    EXPECT_EQ(text.parent, 1u);
    EXPECT_EQ(text.depth, 1u);
    EXPECT_EQ(text.dataString, 4u);
    EXPECT_EQ(utf8(image.get(), 4), "caf\xC3\xA9 \xF0\x9F\x98\x80");
    EXPECT_EQ(DOMImage_String(image.get(), 4).length, 7u);

    const DOMImageNode nested = nodeAt(image.get(), 4);
    EXPECT_EQ(nested.parent, 3u);
    EXPECT_EQ(nested.depth, 2u);
    EXPECT_EQ(utf8(image.get(), nested.dataString), "x");

    const DOMImageNode empty = nodeAt(image.get(), 6);
    EXPECT_EQ(empty.kind, DOM_IMAGE_TEXT);
    EXPECT_EQ(empty.isTopLevel, 1u);
    EXPECT_EQ(empty.dataString, 5u);
    EXPECT_EQ(DOMImage_String(image.get(), 5).length, 0u);
    EXPECT_NE(DOMImage_String(image.get(), 5).bytes, nullptr);
    EXPECT_EQ(DOMImage_SubtreeEnd(image.get(), 6), 7u);
    EXPECT_EQ(DOMImage_Child(image.get(), 6, 0), DOM_IMAGE_ABSENT);
}

TEST(ImageReader, ElementWithPrefixAttributesAndDeclaration)
{
    const auto bytes = buildSampleImage();
    ImagePointer image = openImage(bytes);
    ASSERT_TRUE(image);
    const DOMImageNode rect = nodeAt(image.get(), 1);
    EXPECT_EQ(rect.kind, DOM_IMAGE_ELEMENT);
    EXPECT_EQ(rect.isTopLevel, 1u);
    EXPECT_EQ(rect.parent, DOM_IMAGE_ABSENT);
    EXPECT_EQ(rect.depth, 0u);
    EXPECT_EQ(rect.childCount, 3u);
    EXPECT_EQ(rect.tagId, DOM_IMAGE_ABSENT);
    EXPECT_EQ(rect.nameString, 1u);
    EXPECT_EQ(rect.prefixString, 2u);
    EXPECT_EQ(rect.namespaceUriString, 3u);
    EXPECT_EQ(rect.attributeCount, 3u);
    EXPECT_EQ(rect.declarationCount, 1u);
    EXPECT_EQ(rect.dataString, DOM_IMAGE_ABSENT);
    EXPECT_EQ(utf8(DOMImage_ElementName(image.get(), 1)), "rect");
    EXPECT_EQ(utf8(image.get(), rect.prefixString), "svg");
    EXPECT_EQ(utf8(image.get(), rect.namespaceUriString), "http://www.w3.org/2000/svg");
    EXPECT_EQ(DOMImage_SubtreeEnd(image.get(), 1), 6u);

    EXPECT_EQ(DOMImage_Child(image.get(), 1, 0), 2u);
    EXPECT_EQ(DOMImage_Child(image.get(), 1, 1), 3u);
    EXPECT_EQ(DOMImage_Child(image.get(), 1, 2), 5u);
    EXPECT_EQ(DOMImage_Child(image.get(), 1, 3), DOM_IMAGE_ABSENT);

    EXPECT_EQ(DOMImage_ElementAttribute(image.get(), 1, 0), 0u);
    EXPECT_EQ(DOMImage_ElementAttribute(image.get(), 1, 1), 1u);
    EXPECT_EQ(DOMImage_ElementAttribute(image.get(), 1, 2), 2u);
    EXPECT_EQ(DOMImage_ElementAttribute(image.get(), 1, 3), DOM_IMAGE_ABSENT);
    EXPECT_EQ(DOMImage_ElementAttribute(image.get(), 0, 0), DOM_IMAGE_ABSENT);

    DOMImageDeclaration declaration{};
    ASSERT_EQ(DOMImage_GetDeclaration(image.get(), 1, 0, &declaration), 1);
    EXPECT_EQ(declaration.prefixString, 2u);
    EXPECT_EQ(declaration.uriString, 3u);
    EXPECT_EQ(DOMImage_GetDeclaration(image.get(), 1, 1, &declaration), 0);
    EXPECT_EQ(DOMImage_GetDeclaration(image.get(), 2, 0, &declaration), 0);
}

TEST(ImageReader, AttributeRecords)
{
    const auto bytes = buildSampleImage();
    ImagePointer image = openImage(bytes);
    ASSERT_TRUE(image);
    DOMImageAttribute attribute{};
    ASSERT_EQ(DOMImage_GetAttribute(image.get(), 0, &attribute), 1);
    EXPECT_EQ(attribute.attributeId, DOM_IMAGE_ABSENT);
    EXPECT_EQ(attribute.nameString, 2u);
    EXPECT_EQ(attribute.prefixString, 8u);
    EXPECT_EQ(attribute.namespaceUriString, 9u);
    EXPECT_EQ(attribute.valueString, 3u);
    EXPECT_EQ(utf8(image.get(), 8), "xmlns");
    EXPECT_EQ(utf8(image.get(), 9), "http://www.w3.org/2000/xmlns/");

    ASSERT_EQ(DOMImage_GetAttribute(image.get(), 1, &attribute), 1);
    EXPECT_EQ(attribute.attributeId, 7u);
    EXPECT_EQ(attribute.nameString, 10u);
    EXPECT_EQ(attribute.prefixString, DOM_IMAGE_ABSENT);
    EXPECT_EQ(attribute.namespaceUriString, DOM_IMAGE_ABSENT);
    EXPECT_EQ(attribute.valueString, 11u);
    EXPECT_EQ(utf8(image.get(), 10), "width");
    EXPECT_EQ(utf8(image.get(), 11), "10");

    ASSERT_EQ(DOMImage_GetAttribute(image.get(), 2, &attribute), 1);
    EXPECT_EQ(attribute.nameString, 12u);
    EXPECT_EQ(attribute.valueString, DOM_IMAGE_ABSENT);

    ASSERT_EQ(DOMImage_GetAttribute(image.get(), 3, &attribute), 1);
    EXPECT_EQ(attribute.nameString, 8u);
    EXPECT_EQ(attribute.prefixString, DOM_IMAGE_ABSENT);
    EXPECT_EQ(attribute.valueString, DOM_IMAGE_ABSENT);

    EXPECT_EQ(DOMImage_GetAttribute(image.get(), 4, &attribute), 0);
    EXPECT_EQ(DOMImage_ElementAttribute(image.get(), 5, 0), 3u);
    DOMImageDeclaration declaration{};
    ASSERT_EQ(DOMImage_GetDeclaration(image.get(), 5, 0, &declaration), 1);
    EXPECT_EQ(declaration.prefixString, DOM_IMAGE_ABSENT);
    EXPECT_EQ(declaration.uriString, 5u);
}

TEST(ImageReader, EmptyNameIsTakenFromTheTagTable)
{
    const auto bytes = buildSampleImage();
    ImagePointer image = openImage(bytes);
    ASSERT_TRUE(image);
    const DOMImageNode paragraph = nodeAt(image.get(), 3);
    EXPECT_EQ(paragraph.tagId, paragraphTagId());
    EXPECT_EQ(paragraph.nameString, 5u);
    EXPECT_EQ(DOMImage_String(image.get(), paragraph.nameString).length, 0u);
    const DOMImageString name = DOMImage_ElementName(image.get(), 3);
    ASSERT_EQ(name.length, 1u);
    EXPECT_EQ(DOMImage_Unit(name, 0), static_cast<std::uint32_t>('p'));
    EXPECT_EQ(utf8(name), "p");
    EXPECT_EQ(DOMImage_SubtreeEnd(image.get(), 3), 5u);
    EXPECT_EQ(DOMImage_Child(image.get(), 3, 0), 4u);

    EXPECT_EQ(utf8(DOMImage_TagName(paragraphTagId())), "p");
    EXPECT_EQ(DOMImage_TagName(DOM_IMAGE_ABSENT).bytes, nullptr);
    EXPECT_EQ(DOMImage_ElementName(image.get(), 0).bytes, nullptr);
    EXPECT_EQ(DOMImage_ElementName(image.get(), 7).bytes, nullptr);
}

TEST(ImageReader, OutOfRangeQueriesGiveNeutralAnswers)
{
    const auto bytes = buildSampleImage();
    ImagePointer image = openImage(bytes);
    ASSERT_TRUE(image);
    DOMImageNode node{};
    EXPECT_EQ(DOMImage_GetNode(image.get(), 7, &node), 0);
    EXPECT_EQ(DOMImage_GetNode(image.get(), DOM_IMAGE_ABSENT, &node), 0);
    EXPECT_EQ(DOMImage_Child(image.get(), 99, 0), DOM_IMAGE_ABSENT);
    EXPECT_EQ(DOMImage_SubtreeEnd(image.get(), 7), 0u);
    EXPECT_EQ(DOMImage_String(image.get(), 13).bytes, nullptr);
    EXPECT_EQ(DOMImage_String(image.get(), DOM_IMAGE_ABSENT).length, 0u);
    EXPECT_EQ(DOMImage_NodeCount(nullptr), 0u);
    DOMImage_Close(nullptr);
}

TEST(ImageReader, ReadsImagesAtAnyAlignment)
{
    const auto bytes = buildSampleImage();
    for (std::size_t shift = 1; shift < 8; ++shift) {
        std::vector<std::uint8_t> buffer(shift + bytes.size());
        std::memcpy(buffer.data() + shift, bytes.data(), bytes.size());
        DOMImage* image = nullptr;
        ASSERT_EQ(DOMImage_Open(buffer.data() + shift, bytes.size(), &image, nullptr, 0), 0);
        EXPECT_EQ(DOMImage_NodeCount(image), 7u);
        EXPECT_EQ(DOMImage_Child(image, 1, 2), 5u);
        EXPECT_EQ(utf8(DOMImage_ElementName(image, 5)), "g");
        DOMImage_Close(image);
    }
}

TEST(ImageReader, UsableFromC)
{
    const auto bytes = buildSampleImage();
    char message[128];
    EXPECT_EQ(countNodesFromC(bytes.data(), bytes.size(), message, sizeof message), 7u);
    EXPECT_EQ(countNodesFromC(bytes.data(), 20, message, sizeof message), 0u);
    EXPECT_STREQ(message, "image of 20 bytes is shorter than its 26-byte header");
}

TEST(ImageReader, Utf8ConversionPairsSurrogatesAndReplacesLoneOnes)
{
    const auto pair = unitsOf(u"a\U00010348z");
    EXPECT_EQ(utf8(DOMImageString{pair.data(), 4}), "a\xF0\x90\x8D\x88z");
    const std::u16string lone{u'a', char16_t(0xD800), u'b', char16_t(0xDC00)};
    const auto loneBytes = unitsOf(lone);
    EXPECT_EQ(utf8(DOMImageString{loneBytes.data(), 4}), "a\xEF\xBF\xBD" "b\xEF\xBF\xBD");
    const auto ranges = unitsOf(u"\u007F\u0080\u07FF\u0800\uFFFF");
    EXPECT_EQ(utf8(DOMImageString{ranges.data(), 5}),
              "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");

    // A short buffer is filled and terminated; the full length is returned.
    char small[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(DOMImage_ToUtf8(DOMImageString{pair.data(), 4}, small, sizeof small), 6u);
    EXPECT_EQ(std::string(small), "a\xF0\x90");
    EXPECT_EQ(DOMImage_ToUtf8(DOMImageString{nullptr, 0}, small, sizeof small), 0u);
    EXPECT_EQ(small[0], '\0');
}

TEST(ImageReader, RefusesEveryTruncation)
{
    const auto bytes = buildSampleImage();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const std::string message = refusal(bytes, size);
        EXPECT_NE(message, "accepted") << size;
        EXPECT_FALSE(message.empty()) << size;
        EXPECT_EQ(message.find('\n'), std::string::npos) << size;
    }
    EXPECT_EQ(refusal(bytes, 0), "image of 0 bytes is shorter than its 26-byte header");
    EXPECT_EQ(refusal(bytes, 25), "image of 25 bytes is shorter than its 26-byte header");
    EXPECT_EQ(refusal(bytes, 375),
              "header: attribute table offset 376 is outside 26 to the image size 375");
    EXPECT_EQ(refusal(bytes, 471),
              "header: the attribute table of 4 attributes runs past the end of the image "
              "(471 bytes)");
    EXPECT_EQ(refusal(bytes, 683),
              "string table: string 12 of 13 has no terminator before the end of the image "
              "(683 bytes)");
    EXPECT_EQ(refusal(bytes, 682),
              "string table: string 12 of 13 has no terminator before the end of the image "
              "(682 bytes)");
}

TEST(ImageReader, RefusesTrailingBytes)
{
    auto bytes = buildSampleImage();
    bytes.push_back(0);
    EXPECT_EQ(refusal(bytes), "string table: 13 strings end at offset 684, but the image is 685 bytes");
}

TEST(ImageReader, TruncatedMessagesAreCutAndTerminated)
{
    const auto bytes = buildSampleImage();
    char message[8];
    DOMImage* image = reinterpret_cast<DOMImage*>(&message);
    EXPECT_EQ(DOMImage_Open(bytes.data(), 3, &image, message, sizeof message), 1);
    EXPECT_EQ(image, nullptr);
    EXPECT_STREQ(message, "image o");
    EXPECT_EQ(DOMImage_Open(bytes.data(), 3, &image, nullptr, 0), 1);
    EXPECT_EQ(DOMImage_Open(nullptr, 3, &image, message, sizeof message), 1);
}

// One corruption of the sample image and the message it must cause.
struct Corruption {
    const char* name;
    void (*apply)(std::vector<std::uint8_t>& image);
    const char* message;
};

class ImageReaderCorruption : public ::testing::TestWithParam<Corruption> {};

TEST_P(ImageReaderCorruption, IsRefusedWithItsMessage)
{
    auto bytes = buildSampleImage();
    GetParam().apply(bytes);
    EXPECT_EQ(refusal(bytes), GetParam().message);
}

// Offsets in the sample image (see sample_images.h).
constexpr std::uint32_t kRect = 56;
constexpr std::uint32_t kRectChildren = kRect + 22 + 60;
constexpr std::uint32_t kRectAttributes = kRect + 58;
constexpr std::uint32_t kText = 150;
constexpr std::uint32_t kParagraph = 180;
constexpr std::uint32_t kParagraphChildren = kParagraph + 58;
constexpr std::uint32_t kNestedText = 242;
constexpr std::uint32_t kGroup = 272;
constexpr std::uint32_t kLastText = 346;
constexpr std::uint32_t kAttributes = 376;

const Corruption kCorruptions[] = {
    {"BadVersion", [](auto& image) { putU16(image, 0, 199); },
     "header: image version 199 is not 200"},
    {"NodeTableOffset", [](auto& image) { putU32(image, 6, 27); },
     "header: node table offset 27 is not 26"},
    {"AttributeTableBeforeNodeTable", [](auto& image) { putU32(image, 14, 20); },
     "header: attribute table offset 20 is outside 26 to the image size 684"},
    {"NodeCountTooLarge", [](auto& image) { putU32(image, 2, 12); },
     "header: node count 12 does not fit in a node table of 350 bytes"},
    {"NodeCountHuge", [](auto& image) { putU32(image, 2, 0xFFFFFFFF); },
     "header: node count 4294967295 does not fit in a node table of 350 bytes"},
    {"NodeCountTooSmall", [](auto& image) { putU32(image, 2, 6); },
     "node table: 6 records end at offset 346, not at the attribute table offset 376"},
    {"StringTableOffset", [](auto& image) { putU32(image, 22, 474); },
     "header: string table offset 474 is not the attribute table offset plus 24 x 4 "
     "attributes (472)"},
    {"AttributeCountOverflows", [](auto& image) { putU32(image, 10, 0x20000000); },
     "header: string table offset 472 is not the attribute table offset plus 24 x 536870912 "
     "attributes (12884902264)"},
    {"StringCountHuge", [](auto& image) { putU32(image, 18, 107); },
     "header: string count 107 does not fit in a string table of 212 bytes"},
    {"StringCountLargerThanTerminators", [](auto& image) { putU32(image, 18, 14); },
     "string table: string 13 of 14 has no terminator before the end of the image "
     "(684 bytes)"},
    {"StringCountSmallerThanTerminators", [](auto& image) { putU32(image, 18, 12); },
     "string table: 12 strings end at offset 670, but the image is 684 bytes"},
    {"RecordKindZero", [](auto& image) { putU16(image, kText + 4, 0); },
     "node 2: record kind 0 is not 1 (element), 2 (text) or 3 (comment)"},
    {"RecordKindFour", [](auto& image) { putU16(image, kRect + 4, 4); },
     "node 1: record kind 4 is not 1 (element), 2 (text) or 3 (comment)"},
    {"TopLevelFlagTwo", [](auto& image) { putU32(image, kText + 6, 2); },
     "node 2: top-level flag 2 is not 0 or 1"},
    {"PayloadOffset", [](auto& image) { putU32(image, kParagraph + 10, 26); },
     "node 3: payload offset 26 is not 22"},
    {"TextRecordSize", [](auto& image) { putU32(image, kText, 31); },
     "node 2: record size 31 is not 30 for a text record"},
    {"CommentRecordSize", [](auto& image) { putU32(image, 26, 0); },
     "node 0: record size 0 is not 30 for a comment record"},
    {"TextPayloadSize", [](auto& image) { putU32(image, kText + 22, 12); },
     "node 2: payload size 12 is not 8 for a text record"},
    {"TextWithChildren", [](auto& image) { putU32(image, kText + 14, 1); },
     "node 2: a text record has child count 1, not 0"},
    {"TextWithChildList", [](auto& image) { putU32(image, kText + 18, 22); },
     "node 2: a text record has child list offset 22, not 0"},
    {"ElementRecordSize", [](auto& image) { putU32(image, kParagraph, 66); },
     "node 3: record size 66 is not 22 + payload size 36 + 4 x 1 children (62)"},
    {"ElementRecordTooSmall", [](auto& image) { putU32(image, kParagraph, 40); },
     "node 3: record size 40 is less than the 58 bytes of an element record"},
    {"ElementRecordPastTable", [](auto& image) { putU32(image, kGroup, 200); },
     "node 5 at offset 272: record size 200 runs past the end of the node table "
     "(offset 376)"},
    {"ElementPayloadSize", [](auto& image) { putU32(image, kRect + 22, 64); },
     "node 1: payload size 64 is not 36 + 4 x 3 attributes + 12 x 1 declarations (60)"},
    {"AttributeCountHuge", [](auto& image) { putU32(image, kRect + 42, 0x40000000); },
     "node 1: payload size 60 is not 36 + 4 x 1073741824 attributes + 12 x 1 declarations "
     "(4294967344)"},
    {"ChildCountHuge", [](auto& image) { putU32(image, kRect + 14, 0x40000000); },
     "node 1: record size 94 is not 22 + payload size 60 + 4 x 1073741824 children "
     "(4294967378)"},
    {"AttributeListOffset", [](auto& image) { putU32(image, kRect + 46, 40); },
     "node 1: attribute list offset 40 is not 36"},
    {"AttributeListOffsetWithoutAttributes", [](auto& image) { putU32(image, kParagraph + 46, 36); },
     "node 3: attribute list offset 36 is not 0"},
    {"DeclarationListOffset", [](auto& image) { putU32(image, kRect + 54, 36); },
     "node 1: declaration list offset 36 is not 48"},
    {"DeclarationListOffsetWithoutDeclarations",
     [](auto& image) { putU32(image, kParagraph + 54, 36); },
     "node 3: declaration list offset 36 is not 0"},
    {"ChildListOffset", [](auto& image) { putU32(image, kRect + 18, 58); },
     "node 1: child list offset 58 is not 82"},
    {"ChildListOffsetWithoutChildren", [](auto& image) { putU32(image, kGroup + 18, 74); },
     "node 5: child list offset 74 is not 0"},
    {"DeclarationEntrySize", [](auto& image) { putU32(image, kGroup + 62, 8); },
     "node 5: declaration 0 has entry size 8, not 12"},
    {"AttributeRecordSize", [](auto& image) { putU32(image, kAttributes + 48, 0); },
     "attribute 2: record size 0 is not 24"},
    {"AttributeIdOutOfRange", [](auto& image) { putU32(image, kAttributes + 24 + 4, 450); },
     "attribute 1: attribute id 450 is out of range (450 attribute names)"},
    {"TagIdOutOfRange", [](auto& image) { putU32(image, kParagraph + 26, 233); },
     "node 3: tag id 233 is out of range (233 tags)"},
    {"DataStringOutOfRange", [](auto& image) { putU32(image, kNestedText + 26, 13); },
     "node 4: data string 13 is out of range (13 strings)"},
    {"DataStringAbsent", [](auto& image) { putU32(image, kLastText + 26, 0xFFFFFFFF); },
     "node 6: data string is absent"},
    {"NameStringAbsent", [](auto& image) { putU32(image, kRect + 30, 0xFFFFFFFF); },
     "node 1: name string is absent"},
    {"PrefixStringOutOfRange", [](auto& image) { putU32(image, kRect + 34, 100); },
     "node 1: prefix string 100 is out of range (13 strings)"},
    {"EmptyPrefixPresent", [](auto& image) { putU32(image, kRect + 34, 5); },
     "node 1: prefix string 5 is empty (an empty prefix is written as absent)"},
    {"EmptyNamespaceUriPresent", [](auto& image) { putU32(image, kGroup + 38, 5); },
     "node 5: namespace URI string 5 is empty (an empty namespace URI is written as absent)"},
    {"DeclaredUriAbsent", [](auto& image) { putU32(image, kGroup + 70, 0xFFFFFFFF); },
     "node 5: declaration 0: declared URI string is absent"},
    {"DeclaredPrefixOutOfRange", [](auto& image) { putU32(image, kRect + 70 + 4, 13); },
     "node 1: declaration 0: declared prefix string 13 is out of range (13 strings)"},
    {"AttributeIndexOutOfRange", [](auto& image) { putU32(image, kRectAttributes + 4, 4); },
     "node 1: attribute index 4 is out of range (4 attributes)"},
    {"AttributeNameAbsent", [](auto& image) { putU32(image, kAttributes + 8, 0xFFFFFFFF); },
     "attribute 0: name string is absent"},
    {"AttributeEmptyValuePresent", [](auto& image) { putU32(image, kAttributes + 48 + 20, 5); },
     "attribute 2: value string 5 is empty (an empty value is written as absent)"},
    {"AttributeValueOutOfRange", [](auto& image) { putU32(image, kAttributes + 72 + 20, 13); },
     "attribute 3: value string 13 is out of range (13 strings)"},
    {"ChildIndexOutOfRange", [](auto& image) { putU32(image, kRectChildren + 8, 7); },
     "node 1: child index 7 is out of range (7 nodes)"},
    {"ChildIndexBackwards", [](auto& image) { putU32(image, kRectChildren, 0); },
     "node 1: child index 0 does not point forward (children follow their parent)"},
    {"CycleThroughParent", [](auto& image) { putU32(image, kParagraphChildren, 1); },
     "node 3: child index 1 does not point forward (children follow their parent)"},
    {"CycleThroughItself", [](auto& image) { putU32(image, kParagraphChildren, 3); },
     "node 3: child index 3 does not point forward (children follow their parent)"},
    {"NodeReferencedTwice", [](auto& image) { putU32(image, kRectChildren + 8, 4); },
     "node 3: child index 4 is already a child of node 1"},
    {"TopLevelNodeAsChild", [](auto& image) { putU32(image, kParagraphChildren, 6); },
     "node 3: child index 6 is a top-level node"},
    {"ChildThatIsTopLevel", [](auto& image) { putU32(image, kNestedText + 6, 1); },
     "node 3: child index 4 is a top-level node"},
    {"OrphanNode", [](auto& image) { putU32(image, kLastText + 6, 0); },
     "node 6 is not top-level, but no element lists it as a child"},
    {"ChildrenOutOfOrder",
     [](auto& image) {
         putU32(image, kRectChildren + 4, 5);
         putU32(image, kRectChildren + 8, 3);
     },
     "node 5 is out of document order (a walk of the tree meets it as node 3)"},
};

INSTANTIATE_TEST_SUITE_P(Corruptions, ImageReaderCorruption, ::testing::ValuesIn(kCorruptions),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ImageReader, RefusesRecordsOutOfDocumentOrder)
{
    // Node 2 is a child of node 0 but stands behind the top-level node 1.
    ImageBuilder builder;
    const std::uint32_t root = builder.addElement(kNoParent, elementNamed(u"a"));
    builder.addText(kNoParent, u"t");
    builder.addText(root, u"u");
    EXPECT_EQ(refusal(builder.build()),
              "node 2 is out of document order (a walk of the tree meets it as node 1)");
}

// An element copied from another shares its attribute objects; the writer then
// numbers such an attribute twice and both elements list the later record.
TEST(ImageReader, AcceptsAttributeListsThatShareARecord)
{
    auto bytes = buildSampleImage();
    putU32(bytes, kRectAttributes, 1);  // the rect's first entry names its second record
    ImagePointer image = openImage(bytes);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(DOMImage_ElementAttribute(image.get(), 1, 0), 1u);
    EXPECT_EQ(DOMImage_ElementAttribute(image.get(), 1, 1), 1u);
    EXPECT_EQ(DOMImage_ElementAttribute(image.get(), 1, 2), 2u);
}

TEST(ImageReader, RefusesAttributesThatNoElementLists)
{
    // An image of one element without attributes, with one attribute record
    // added to the attribute table.
    ImageBuilder builder;
    builder.addElement(kNoParent, elementNamed(u"a"));
    auto bytes = builder.build();
    const std::uint32_t table = builder.stringTableOffset();
    const std::vector<std::uint8_t> record{24, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0,
                                           255, 255, 255, 255, 255, 255, 255, 255,
                                           255, 255, 255, 255};
    bytes.insert(bytes.begin() + table, record.begin(), record.end());
    putU32(bytes, 10, 1);
    putU32(bytes, 22, table + 24);
    EXPECT_EQ(refusal(bytes), "attribute table: 1 attributes, but the elements list 0");
    putU32(bytes, 10, 0);
    putU32(bytes, 22, table);
    EXPECT_EQ(refusal(bytes),
              "string table: 1 strings end at offset 88, but the image is 112 bytes");
}

TEST(ImageReader, RefusesImagesLargerThanFourGibibytes)
{
    const std::uint8_t byte = 0;
    DOMImage* image = nullptr;
    char message[128];
    EXPECT_EQ(DOMImage_Open(&byte, std::size_t{1} << 32, &image, message, sizeof message), 1);
    EXPECT_STREQ(message, "image of 4294967296 bytes is larger than 4 GiB");
}

}  // namespace
}  // namespace Parsers::ImageTesting
