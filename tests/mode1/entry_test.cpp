// The internal entry of case folding parsing: its record check, its result
// codes and handlers, the listener it takes, the input and tokenizer stages of
// mode 1 that it selects, and the image it writes.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "domparse.h"
#include "library/dom_parse.h"
#include "mode1_support.h"
#include "support/image_tree_text.h"

namespace {

std::vector<std::uint8_t> bytesOf(const std::string& text)
{
    return std::vector<std::uint8_t>(text.begin(), text.end());
}

TEST(CaseFoldingEntry, WrongRecordVersionTouchesNothing)
{
    std::vector<std::uint8_t> buffer = bytesOf("<p>x");
    buffer.resize(buffer.size() + DOM_INPUT_PADDING, 0);
    for (std::uint16_t version : {1, 3}) {
        DOM_ParseRecord record{};
        record.version = version;
        record.result = 0xABCD;
        HGLOBAL handle = nullptr;
        auto listener = std::make_shared<Mode1::RecordingListener>();
        EXPECT_EQ(Parsers::parseToImageCaseFolding(buffer.data(), 4, &handle, &record, listener),
                  DOM_RESULT_BAD_RECORD);
        // The record is packed: its fields are copied out, since a reference to
        // one (as EXPECT_EQ takes) would be misaligned.
        EXPECT_EQ(std::uint32_t{record.result}, 0xABCDu);
        EXPECT_EQ(handle, nullptr);
        EXPECT_TRUE(listener->codes.empty());
    }
}

TEST(CaseFoldingEntry, NoTextGivesTwo)
{
    EXPECT_EQ(Mode1::parse(std::vector<std::uint8_t>{}).result, DOM_RESULT_FAILED);
}

TEST(CaseFoldingEntry, SuccessStoresTheImageSizeAndHandsOverTheBlock)
{
    std::vector<std::uint8_t> buffer = bytesOf("<p>x");
    buffer.resize(buffer.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = DOM_RECORD_VERSION;
    HGLOBAL handle = nullptr;
    ASSERT_EQ(Parsers::parseToImageCaseFolding(buffer.data(), 4, &handle, &record),
              DOM_RESULT_OK);
    ASSERT_NE(handle, nullptr);
    // html, head, body, p and the text: five records, and the strings of the
    // four names and the text. The html element has an empty stored name.
    EXPECT_GT(std::uint32_t{record.result}, 26u);
    const auto* bytes = static_cast<const std::uint8_t*>(GlobalLock(handle));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes[0] | (bytes[1] << 8), 200);
    EXPECT_EQ(bytes[2] | (bytes[3] << 8), 5);
    GlobalUnlock(handle);
    GlobalFree(handle);
}

TEST(CaseFoldingEntry, ListenerHearsTheTokenizerAndTheTree)
{
    // An end tag with an attribute: the tree's 108. A NUL in the data: the
    // tokenizer's report, then the tree's 125. (A NUL as the very last unit
    // would read as the end of the input.)
    std::vector<std::uint8_t> buffer = bytesOf("<p></p x=1>");
    buffer.push_back(0);
    buffer.push_back('y');
    const auto size = static_cast<std::uint32_t>(buffer.size());
    buffer.resize(buffer.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = DOM_RECORD_VERSION;
    HGLOBAL handle = nullptr;
    auto listener = std::make_shared<Mode1::RecordingListener>();
    ASSERT_EQ(Parsers::parseToImageCaseFolding(buffer.data(), size, &handle, &record, listener),
              DOM_RESULT_OK);
    GlobalFree(handle);
    EXPECT_EQ(Mode1::codeList(listener->treeCodes()), "108 125");
    ASSERT_EQ(listener->codes.size(), 3u);
    EXPECT_LT(listener->codes[1], 107u);
}

TEST(CaseFoldingEntry, InputStageOfModeOne)
{
    // No declaration: code page 0 rather than UTF-8, so the byte E9 is a
    // letter; the controls of the filter are gone; a bogus comment is kept.
    const Mode1::Outcome outcome = Mode1::parse(bytesOf("<p>\xE9\x01x\x85<?y>"));
    ASSERT_EQ(outcome.result, DOM_RESULT_OK);
    EXPECT_EQ(outcome.tree,
              "| <html>\n|   <head>\n|   <body>\n|     <p>\n|       \"\\u00E9x\\u2026\"\n"
              "|       <!-- ?y -->\n");
}

TEST(CaseFoldingEntry, Utf16InputKind)
{
    const Mode1::Outcome outcome = Mode1::parse(ImageTreeText::utf16Bytes("<B>x</B>"), DOM_INPUT_UTF16);
    ASSERT_EQ(outcome.result, DOM_RESULT_OK);
    EXPECT_EQ(outcome.tree, "| <html>\n|   <head>\n|   <body>\n|     <b>\n|       \"x\"\n");
}

// A clone made by the adoption agency or by reconstruction shares its
// attribute objects with the element it was made from. The image writer then
// numbers one attribute object twice, and both elements list the second
// number; the reader accepts that, and both elements show the attribute.
TEST(CaseFoldingEntry, ClonesShareTheirAttributes)
{
    const std::string text = "<p><b class=x>y</p>z";
    const Mode1::Outcome outcome = Mode1::parse(bytesOf(text));
    ASSERT_EQ(outcome.result, DOM_RESULT_OK);
    EXPECT_EQ(outcome.tree,
              "| <html>\n|   <head>\n|   <body>\n|     <p>\n|       <b>\n|         class=\"x\"\n"
              "|         \"y\"\n|     <b>\n|       class=\"x\"\n|       \"z\"\n");
    const Mode1::MarkupOutcome markup = Mode1::parseToMarkup(bytesOf(text));
    ASSERT_EQ(markup.result, DOM_RESULT_OK);
    EXPECT_EQ(markup.markup,
              "<html><head></head><body><p><b class=\"x\">y</b></p><b class=\"x\">z</b></body></html>");
}

TEST(CaseFoldingMarkup, SameHandlersAsTheImageEntry)
{
    std::vector<std::uint8_t> buffer(DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = 1;
    Parsers::UString markup = u"kept";
    EXPECT_EQ(Parsers::parseToMarkup(buffer.data(), 0, &record, 1, markup), DOM_RESULT_BAD_RECORD);
    EXPECT_EQ(markup, u"kept");
    record.version = DOM_RECORD_VERSION;
    EXPECT_EQ(Parsers::parseToMarkup(buffer.data(), 0, &record, 1, markup), DOM_RESULT_FAILED);
}

TEST(CaseFoldingMarkup, ModeTwoIsTheTidiedDocument)
{
    const Mode1::MarkupOutcome two = Mode1::parseToMarkup(bytesOf("<P>a<p>b"), 0, 2);
    ASSERT_EQ(two.result, DOM_RESULT_OK);
    EXPECT_EQ(two.markup, "<P>a<p>b</p></P>");
    const Mode1::MarkupOutcome one = Mode1::parseToMarkup(bytesOf("<P>a<p>b"), 0, 1);
    EXPECT_EQ(one.markup, "<html><head></head><body><p>a</p><p>b</p></body></html>");
}

}  // namespace
