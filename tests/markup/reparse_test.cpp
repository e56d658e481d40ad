// Markup output of case preserving documents parses back to the same tree.
//
// Every end-to-end case (tests/e2e/cases) and the documents below are parsed as
// DOM_Parse parses them (parseToImage is its body), written as markup by the
// same internal entry as domparse --format markup, and the markup is parsed
// again, as UTF-16 so that lone surrogates survive. The two image trees must
// be equal, except for documents whose markup is lossy by design, which must
// then differ:
//   - an element of a void tag (br, img, ...) with children: the children are
//     not written;
//   - a listing, pre or textarea element: a line feed is written after its
//     start tag, and nothing drops it again under case preserving parsing;
//   - a carriage return in a text, a comment or an attribute value: the input
//     stage turns it into a line feed;
//   - a comment whose data is empty or begins with "-" or ">": the comment
//     start states read "<!---->" as "-", "<!----x-->" as "--x" and "<!-->"
//     as an empty comment, so that data does not come back as written.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "dom/element.h"
#include "dom/node.h"
#include "domparse.h"
#include "domparse_reader.h"
#include "library/dom_parse.h"
#include "library/parse_document.h"
#include "library/source_buffer.h"
#include "support/case_files.h"
#include "support/image_tree_text.h"

namespace Parsers {
namespace {

using CaseFiles::Case;

struct ImageTree {
    std::uint32_t result = 0xFFFFFFFFu;
    std::string tree;
};

// Parses with the body of DOM_Parse and reads the image as a tree text.
ImageTree parseImage(std::vector<std::uint8_t> bytes, std::uint32_t inputKind)
{
    const auto size = static_cast<std::uint32_t>(bytes.size());
    bytes.resize(bytes.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = DOM_RECORD_VERSION;
    record.inputKind = inputKind;
    HGLOBAL handle = nullptr;
    ImageTree outcome;
    outcome.result = parseToImage(bytes.data(), size, &handle, &record);
    if (outcome.result != DOM_RESULT_OK) return outcome;
    DOMImage* image = nullptr;
    char message[256];
    const void* block = GlobalLock(handle);
    if (DOMImage_Open(block, record.result, &image, message, sizeof message) != 0) {
        outcome.tree = std::string("!! image refused: ") + message;
    } else {
        outcome.tree = ImageTreeText::treeText(image);
        DOMImage_Close(image);
    }
    GlobalUnlock(handle);
    GlobalFree(handle);
    return outcome;
}

// The markup that domparse --format markup writes for the input.
UString markupOf(std::vector<std::uint8_t> bytes, std::uint32_t inputKind)
{
    const auto size = static_cast<std::uint32_t>(bytes.size());
    bytes.resize(bytes.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{};
    record.version = DOM_RECORD_VERSION;
    record.inputKind = inputKind;
    UString markup;
    EXPECT_EQ(parseToMarkup(bytes.data(), size, &record, 2, markup), DOM_RESULT_OK);
    return markup;
}

std::vector<std::uint8_t> utf16Bytes(const UString& text)
{
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() * 2);
    for (char16_t unit : text) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return bytes;
}

bool isVoidInMarkup(TagId tag)
{
    switch (tag) {
    case TagId::Area:
    case TagId::Base:
    case TagId::Basefont:
    case TagId::Bgsound:
    case TagId::Br:
    case TagId::Col:
    case TagId::Command:
    case TagId::Embed:
    case TagId::Frame:
    case TagId::Hr:
    case TagId::Img:
    case TagId::Input:
    case TagId::Keygen:
    case TagId::Link:
    case TagId::Meta:
    case TagId::Param:
    case TagId::Source:
    case TagId::Track:
    case TagId::Wbr:
        return true;
    default:
        return false;
    }
}

bool holdsCarriageReturn(std::u16string_view text)
{
    return text.find(u'\r') != std::u16string_view::npos;
}

bool isAlteredByTheCommentStart(std::u16string_view data)
{
    return data.empty() || data.front() == u'-' || data.front() == u'>';
}

// Whether the markup of the finished tree is lossy by design (see the head of
// this file). The tree is walked with an explicit list: a deep document must
// not recurse.
bool isLossyByDesign(Document& document)
{
    std::vector<Node*> pending{&document};
    while (!pending.empty()) {
        Node* node = pending.back();
        pending.pop_back();
        if (node->nodeType == NodeType::Text || node->nodeType == NodeType::Comment) {
            if (holdsCarriageReturn(static_cast<CharacterData*>(node)->data.str())) return true;
        }
        if (node->nodeType == NodeType::Comment &&
            isAlteredByTheCommentStart(static_cast<CharacterData*>(node)->data.str())) {
            return true;
        }
        if (node->nodeType == NodeType::Element) {
            auto* element = static_cast<Element*>(node);
            // The tag id as the markup output takes it: as it stands.
            if (isVoidInMarkup(element->tagId) && !element->children.empty()) return true;
            if (element->tagId == TagId::Listing || element->tagId == TagId::Pre ||
                element->tagId == TagId::Textarea) {
                return true;
            }
            for (const auto& [key, attribute] : element->attributes) {
                if (holdsCarriageReturn(attribute->value.str())) return true;
            }
        }
        for (const NodeRef& child : node->children) pending.push_back(child.get());
    }
    return false;
}

// Parses like parseToImage without writing an image and tells whether the
// markup of the result is lossy.
bool markupIsLossy(std::vector<std::uint8_t> bytes, std::uint32_t inputKind)
{
    const auto size = static_cast<std::uint32_t>(bytes.size());
    bytes.resize(bytes.size() + DOM_INPUT_PADDING, 0);
    SourceBuffer source;
    Document* document = parseDocument(source, bytes.data(), size, 0, inputKind == DOM_INPUT_UTF16);
    const bool lossy = isLossyByDesign(*document);
    releaseSource(source);
    return lossy;
}

struct Document2 {
    std::string name;
    std::vector<std::uint8_t> bytes;
    std::uint32_t inputKind = DOM_INPUT_BYTES;
};

void PrintTo(const Document2& document, std::ostream* out)
{
    *out << document.name;
}

std::vector<std::uint8_t> bytesOf(const std::string& text)
{
    return std::vector<std::uint8_t>(text.begin(), text.end());
}

// Documents written for the markup: escaping, names and prefixes, comments,
// the doctype, the raw text elements read as markup, and the lossy kinds.
std::vector<Document2> ownDocuments()
{
    const char* const texts[] = {
        "<p title='a \"b\" &amp; c'>1 &lt; 2 &gt; 0 &amp;&nbsp;x</p>",
        "<Div CLASS=x><sPan>y</sPan></Div>",
        "<svg:rect xlink:href=#a xmlns:svg='http://www.w3.org/2000/svg'/>z",
        "<!DOCTYPE html PUBLIC \"-//W3C//DTD HTML 4.01//EN\"><p>a</p>",
        "<!-- a -- b --><p>c<!--d--></p>",
        "<!--a---><!--x--!y-->",
        "<!----><p><!----x-->",
        "<script>if (a < b && c > d) x();</script><style>p > q {}</style>",
        "<title>a<b>c</b></title><textarea>d</textarea>",
        "<br/>x<img src=a>y</img><hr/>",
        "<br>lost",
        "<pre>a</pre>",
        "<listing>\nb</listing>",
        "<p>a&#13;b</p>",
        "<p title='&#13;'>c</p>",
        "<table><tr><td>1</td></tr></table>",
        "<p>a<p>b<p>c",
        "<a href='?x=1&y=2'>q</a><x/><y />",
        "<ruby>a<rt>b</rt></ruby><math><mi>x</mi></math>",
        "text only",
        "<p>\xC2\xA0\xE2\x82\xAC\xF0\x9F\x98\x80</p>",
    };
    std::vector<Document2> documents;
    int index = 0;
    for (const char* text : texts) {
        documents.push_back({"own_" + std::to_string(index++), bytesOf(text), DOM_INPUT_BYTES});
    }
    // A lone surrogate survives only as UTF-16.
    const UString lone = u"<p>a\xD800" u"b</p>";
    documents.push_back({"own_lone_surrogate", utf16Bytes(lone), DOM_INPUT_UTF16});
    return documents;
}

std::vector<Document2> allDocuments()
{
    std::vector<Document2> documents = ownDocuments();
    const std::vector<Case> cases = CaseFiles::loadFolder(
        std::filesystem::path(DOMPARSE_SOURCE_DIR) / "tests" / "e2e" / "cases");
    for (const Case& c : cases) {
        // Only documents that parse; the record checks and failures have no
        // tree to write.
        if (c.result != DOM_RESULT_OK || c.recordVersion != DOM_RECORD_VERSION) continue;
        documents.push_back({CaseFiles::testName(c), c.input, c.inputKind});
    }
    return documents;
}

class MarkupReparse : public ::testing::TestWithParam<Document2> {};

TEST_P(MarkupReparse, ParsesBackToTheSameTreeUnlessLossyByDesign)
{
    const Document2& document = GetParam();
    const ImageTree original = parseImage(document.bytes, document.inputKind);
    ASSERT_EQ(original.result, DOM_RESULT_OK);
    const UString markup = markupOf(document.bytes, document.inputKind);
    if (markup.empty()) {
        // Nothing to parse again: an empty UTF-16 text never steps, no body is
        // made, and the lifting of the body ends the process by design.
        EXPECT_EQ(original.tree, "");
        return;
    }
    const ImageTree again = parseImage(utf16Bytes(markup), DOM_INPUT_UTF16);
    ASSERT_EQ(again.result, DOM_RESULT_OK);
    if (markupIsLossy(document.bytes, document.inputKind)) {
        EXPECT_NE(again.tree, original.tree);
    } else {
        EXPECT_EQ(again.tree, original.tree);
    }
}

INSTANTIATE_TEST_SUITE_P(Documents, MarkupReparse, ::testing::ValuesIn(allDocuments()),
                         [](const ::testing::TestParamInfo<Document2>& info) {
                             return info.param.name;
                         });

TEST(MarkupReparseCoverage, MostDocumentsAreLossless)
{
    std::size_t lossless = 0;
    for (const Document2& document : allDocuments()) {
        if (!markupIsLossy(document.bytes, document.inputKind)) ++lossless;
    }
    EXPECT_GE(lossless, 150u);
}

TEST(MarkupOfCasePreservingDocuments, ExactTextOfSomeDocuments)
{
    EXPECT_EQ(markupOf(bytesOf("<p title='a\"b'>1&lt;2</p><!--c-->"), DOM_INPUT_BYTES),
              u"<p title=\"a&quot;b\">1&lt;2</p><!--c-->");
    EXPECT_EQ(markupOf(bytesOf("<br/>x<pre>y</pre>"), DOM_INPUT_BYTES), u"<br />x<pre>\ny</pre>");
    EXPECT_EQ(markupOf(bytesOf("<br>x<i>y</i>"), DOM_INPUT_BYTES), u"<br>");
    EXPECT_EQ(markupOf(bytesOf("<x/><script>a&lt;b</script>"), DOM_INPUT_BYTES),
              u"<x /><script>a&lt;b</script>");
    EXPECT_EQ(markupOf(bytesOf("<!DOCTYPE html SYSTEM 'x'>t"), DOM_INPUT_BYTES),
              u"<!DOCTYPE html>t");
}

}  // namespace
}  // namespace Parsers
