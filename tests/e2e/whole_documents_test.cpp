// Whole documents through DOM_Parse: the demo's sample, documents nested far
// deeper than any call stack, and the record's fields.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "e2e_support.h"

namespace {

std::vector<std::uint8_t> readFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(file),
                                     std::istreambuf_iterator<char>());
}

std::vector<std::uint8_t> bytesOf(const std::string& text)
{
    return std::vector<std::uint8_t>(text.begin(), text.end());
}

TEST(WholeDocuments, SampleOfTheDemo)
{
    const auto input = readFile(std::filesystem::path(DOMPARSE_SOURCE_DIR) / "examples" / "sample.html");
    ASSERT_FALSE(input.empty());
    const E2e::Outcome outcome = E2e::parse(input, DOM_INPUT_BYTES);
    ASSERT_EQ(outcome.result, DOM_RESULT_OK);
    EXPECT_EQ(outcome.tree,
              "| <!--  A small document for the demo: it prints as a tree.  -->\n"
              "| <article>\n"
              "|   class=\"note\"\n"
              "|   id=\"intro\"\n"
              "|   \"\\n  \"\n"
              "|   <h1>\n"
              "|     \"domparse & friends\"\n"
              "|   \"\\n  \"\n"
              "|   <p>\n"
              "|     \"Names keep their case: \"\n"
              "|     <myWidget>\n"
              "|       Mode=\"fast\"\n"
              "|       \"as written\"\n"
              "|     \".\"\n"
              "|   \"\\n  \"\n"
              "|   <svg:svg> {http://www.w3.org/2000/svg}\n"
              "|     width=\"10\" {http://www.w3.org/2000/svg}\n"
              "|     xmlns:svg=\"http://www.w3.org/2000/svg\"\n"
              "|     <svg:rect> {http://www.w3.org/2000/svg}\n"
              "|       width=\"5\" {http://www.w3.org/2000/svg}\n"
              "|   \"\\n  \"\n"
              "|   <ul>\n"
              "|     <li>\n"
              "|       \"one\"\n"
              "|       <li>\n"
              "|         \"two\"\n"
              "|   \"\\n\"\n"
              "| \"\\n\"\n");
}

// Nested elements that are never closed: every one is a child of the one
// before. The parse, the image and the release of the tree must not recurse on
// the depth.
TEST(WholeDocuments, TwoHundredThousandNestedElements)
{
    constexpr std::uint32_t depth = 200000;
    std::string text;
    text.reserve(depth * 5 + 1);
    for (std::uint32_t i = 0; i < depth; ++i) text += "<div>";
    text += "x";
    const std::vector<std::uint8_t> input = bytesOf(text);
    std::vector<std::uint8_t> buffer(input);
    buffer.resize(input.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = DOM_RECORD_VERSION;
    record.inputKind = DOM_INPUT_BYTES;
    HGLOBAL handle = nullptr;
    ASSERT_EQ(DOM_Parse(buffer.data(), static_cast<std::uint32_t>(input.size()), &handle, &record),
              DOM_RESULT_OK);

    DOMImage* image = nullptr;
    char message[256];
    ASSERT_EQ(DOMImage_Open(GlobalLock(handle), record.result, &image, message, sizeof message), 0)
        << message;
    EXPECT_EQ(DOMImage_NodeCount(image), depth + 1);
    EXPECT_EQ(DOMImage_RootCount(image), 1u);
    EXPECT_EQ(DOMImage_SubtreeEnd(image, 0), depth + 1);
    DOMImageNode last;
    ASSERT_EQ(DOMImage_GetNode(image, depth, &last), 1);
    EXPECT_EQ(last.kind, DOM_IMAGE_TEXT);
    EXPECT_EQ(last.depth, depth);
    DOMImageNode deepest;
    ASSERT_EQ(DOMImage_GetNode(image, depth - 1, &deepest), 1);
    EXPECT_EQ(deepest.kind, DOM_IMAGE_ELEMENT);
    const DOMImageString name = DOMImage_ElementName(image, depth - 1);
    ASSERT_EQ(name.length, 3u);
    EXPECT_EQ(DOMImage_Unit(name, 0), static_cast<std::uint32_t>('d'));
    EXPECT_EQ(DOMImage_Unit(name, 2), static_cast<std::uint32_t>('v'));
    DOMImage_Close(image);
    GlobalUnlock(handle);
    GlobalFree(handle);
}

TEST(WholeDocuments, DeepDocumentClosedAgain)
{
    constexpr std::uint32_t depth = 200000;
    std::string text;
    for (std::uint32_t i = 0; i < depth; ++i) text += "<b>";
    text += "x";
    for (std::uint32_t i = 0; i < depth; ++i) text += "</b>";
    text += "y";
    const E2e::Outcome outcome = E2e::parse(bytesOf(text), DOM_INPUT_BYTES, 2, false);
    ASSERT_EQ(outcome.result, DOM_RESULT_OK);
    EXPECT_EQ(outcome.nodeCount, depth + 2);
    // The chain of b with x at its end, then the text behind the last end tag.
    EXPECT_EQ(outcome.roots, "E \"y\" ");
}

TEST(WholeDocuments, RecordResultHoldsTheImageSize)
{
    const E2e::Outcome outcome = E2e::parse(bytesOf("<p>x</p>"), DOM_INPUT_BYTES);
    ASSERT_EQ(outcome.result, DOM_RESULT_OK);
    // Header 26, element 22 + 36 + 4 (one child), text 30; attributes none;
    // strings "p" and "x", 4 bytes each.
    EXPECT_EQ(outcome.imageSize, 26u + 62u + 30u + 8u);
    EXPECT_EQ(outcome.nodeCount, 2u);
}

TEST(WholeDocuments, WrongRecordVersionLeavesTheResultFieldAlone)
{
    std::vector<std::uint8_t> buffer = bytesOf("<p>x</p>");
    buffer.resize(buffer.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = 1;
    record.inputKind = DOM_INPUT_BYTES;
    record.result = 0xA5A5A5A5u;
    HGLOBAL handle = nullptr;
    EXPECT_EQ(DOM_Parse(buffer.data(), 8, &handle, &record), DOM_RESULT_BAD_RECORD);
    // Copied out of the packed record: a reference to the field would be
    // misaligned.
    EXPECT_EQ(std::uint32_t{record.result}, 0xA5A5A5A5u);
    EXPECT_EQ(handle, nullptr);
}

TEST(WholeDocuments, ParsesOneAfterAnotherStartAfresh)
{
    for (int round = 0; round < 3; ++round) {
        const E2e::Outcome outcome = E2e::parse(bytesOf("<a href=x>y</a><!--z-->"), DOM_INPUT_BYTES);
        ASSERT_EQ(outcome.result, DOM_RESULT_OK);
        EXPECT_EQ(outcome.tree, "| <a>\n|   href=\"x\"\n|   \"y\"\n| <!-- z -->\n");
    }
}

}  // namespace
