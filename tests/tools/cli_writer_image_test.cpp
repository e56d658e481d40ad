// Trees built with the node classes, written by the library's image writer,
// read back by the reader and printed by the tool's formatter. The same tree
// assembled by the test's image builder must give the same bytes, which ties
// the builder that the other tool tests rely on to the real writer.

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "dom/element.h"
#include "dom/node.h"
#include "domparse.h"
#include "domparse_reader.h"
#include "format.h"
#include "image/image_writer.h"
#include "support/tree_builders.h"
#include "tools/image_builder.h"

namespace Parsers::ImageTesting {
namespace {

using Testing::append;
using Testing::makeComment;
using Testing::makeElement;
using Testing::makeText;

constexpr std::uint32_t kDivTag = 51;
constexpr std::uint32_t kParagraphTag = 167;
constexpr std::uint32_t kSvgTag = 205;
constexpr std::uint32_t kUseTag = 226;
constexpr std::uint32_t kClassAttribute = 99;
constexpr std::uint32_t kHrefAttribute = 206;
constexpr std::uint32_t kIdAttribute = 210;
constexpr std::uint32_t kXmlnsAttribute = 443;

const std::u16string kSvgNamespace = u"http://www.w3.org/2000/svg";
const std::u16string kXlinkNamespace = u"http://www.w3.org/1999/xlink";

// The image bytes the writer produces for a document.
std::vector<std::uint8_t> writtenImage(Document& document)
{
    HGLOBAL handle = nullptr;
    const std::uint32_t size = writeDocumentImage(document, &handle);
    const auto* start = static_cast<const std::uint8_t*>(GlobalLock(handle));
    std::vector<std::uint8_t> bytes(start, start + size);
    GlobalUnlock(handle);
    GlobalFree(handle);
    return bytes;
}

struct Printed {
    std::string refusal;
    std::string tree;
    std::string json;
};

Printed print(const std::vector<std::uint8_t>& bytes)
{
    Printed printed;
    DOMImage* image = nullptr;
    char message[256] = "";
    if (DOMImage_Open(bytes.data(), bytes.size(), &image, message, sizeof message) != 0) {
        printed.refusal = message;
        return printed;
    }
    std::ostringstream tree;
    Cli::writeTree(image, tree);
    std::ostringstream json;
    Cli::writeJson(image, "doc.html", json);
    DOMImage_Close(image);
    printed.tree = tree.str();
    printed.json = json.str();
    return printed;
}

// <!--lead--><div class="x y" id="main">Hi&nbsp;there<svg xmlns=... xmlns:xlink=...>
// <use xlink:href="#a"/></svg><Foo data-k=""/><p/></div>end, where p is made
// from its tag id alone.
void buildDocument(Document& document)
{
    append(makeComment(u"lead"), &document);
    auto* div = append(makeElement(u"div", {{u"class", u"x y"}, {u"id", u"main"}}), &document);
    append(makeText(u"Hi\u00A0there"), div);
    auto* svg = append(makeElement(u"svg", {{u"xmlns", kSvgNamespace},
                                            {u"xlink", kXlinkNamespace, u"xmlns"}}),
                       div);
    append(makeElement(u"use", {{u"href", u"#a", u"xlink"}}), svg);
    append(makeElement(u"Foo", {{u"data-k", u""}}), div);
    append(makeNode<Element>(nullptr, static_cast<TagId>(kParagraphTag), NodeType::Element), div);
    append(makeText(u"end"), &document);
}

// The same document as the image builder assembles it, every name, id and
// namespace URI worked out by hand.
std::vector<std::uint8_t> builtDocument()
{
    ImageBuilder builder;
    builder.addComment(kNoParent, u"lead");
    ElementSpec div{u"div", kDivTag, u"", u"", {}, {}};
    div.attributes = {{u"class", u"x y", u"", u"", kClassAttribute},
                      {u"id", u"main", u"", u"", kIdAttribute}};
    const std::uint32_t divNode = builder.addElement(kNoParent, div);
    builder.addText(divNode, u"Hi\u00A0there");
    ElementSpec svg{u"svg", kSvgTag, u"", kSvgNamespace, {}, {}};
    svg.declarations = {{std::nullopt, kSvgNamespace}, {u"xlink", kXlinkNamespace}};
    // An attribute without a prefix takes its element's namespace URI; xmlns
    // as a prefix is declared nowhere, so xmlns:xlink has none.
    svg.attributes = {{u"xmlns", kSvgNamespace, u"", kSvgNamespace, kXmlnsAttribute},
                      {u"xlink", kXlinkNamespace, u"xmlns", u"", kAbsent}};
    const std::uint32_t svgNode = builder.addElement(divNode, svg);
    ElementSpec use{u"use", kUseTag, u"", kSvgNamespace, {}, {}};
    use.attributes = {{u"href", u"#a", u"xlink", kXlinkNamespace, kHrefAttribute}};
    builder.addElement(svgNode, use);
    ElementSpec foo{u"Foo", kAbsent, u"", u"", {}, {}};
    foo.attributes = {{u"data-k", u"", u"", u"", kAbsent}};
    builder.addElement(divNode, foo);
    builder.addElement(divNode, ElementSpec{u"", kParagraphTag, u"", u"", {}, {}});
    builder.addText(kNoParent, u"end");
    return builder.build();
}

TEST(CliWriterImage, WriterAndBuilderGiveTheSameBytes)
{
    Document document(2);
    buildDocument(document);
    EXPECT_EQ(writtenImage(document), builtDocument());
}

TEST(CliWriterImage, TreeOfAWrittenImage)
{
    Document document(2);
    buildDocument(document);
    const Printed printed = print(writtenImage(document));
    ASSERT_EQ(printed.refusal, "");
    EXPECT_EQ(printed.tree,
              "<!--lead-->\n"
              "<div class=\"x y\" id=\"main\">\n"
              "  \"Hi\xC2\xA0there\"\n"
              "  <svg xmlns=\"http://www.w3.org/2000/svg\""
              " xmlns:xlink=\"http://www.w3.org/1999/xlink\">"
              " [ns=http://www.w3.org/2000/svg] [@xmlns ns=http://www.w3.org/2000/svg]\n"
              "    <use xlink:href=\"#a\"> [ns=http://www.w3.org/2000/svg]"
              " [@xlink:href ns=http://www.w3.org/1999/xlink]\n"
              "  <Foo data-k=\"\">\n"
              "  <p>\n"
              "\"end\"\n");
}

TEST(CliWriterImage, JsonOfAWrittenImage)
{
    Document document(2);
    buildDocument(document);
    const std::vector<std::uint8_t> bytes = writtenImage(document);
    const Printed printed = print(bytes);
    ASSERT_EQ(printed.refusal, "");
    EXPECT_EQ(printed.json,
              "{\"file\":\"doc.html\",\"result\":0,\"imageSize\":" + std::to_string(bytes.size()) +
                  ",\"nodes\":["
                  "{\"comment\":\"lead\"},"
                  "{\"name\":\"div\",\"prefix\":null,\"tagId\":51,\"namespaceUri\":null,"
                  "\"attributes\":["
                  "{\"name\":\"class\",\"prefix\":null,\"namespaceUri\":null,\"attributeId\":99,"
                  "\"value\":\"x y\"},"
                  "{\"name\":\"id\",\"prefix\":null,\"namespaceUri\":null,\"attributeId\":210,"
                  "\"value\":\"main\"}],"
                  "\"children\":["
                  "{\"text\":\"Hi\xC2\xA0there\"},"
                  "{\"name\":\"svg\",\"prefix\":null,\"tagId\":205,"
                  "\"namespaceUri\":\"http://www.w3.org/2000/svg\",\"attributes\":["
                  "{\"name\":\"xmlns\",\"prefix\":null,"
                  "\"namespaceUri\":\"http://www.w3.org/2000/svg\",\"attributeId\":443,"
                  "\"value\":\"http://www.w3.org/2000/svg\"},"
                  "{\"name\":\"xlink\",\"prefix\":\"xmlns\",\"namespaceUri\":null,"
                  "\"attributeId\":null,\"value\":\"http://www.w3.org/1999/xlink\"}],"
                  "\"children\":["
                  "{\"name\":\"use\",\"prefix\":null,\"tagId\":226,"
                  "\"namespaceUri\":\"http://www.w3.org/2000/svg\",\"attributes\":["
                  "{\"name\":\"href\",\"prefix\":\"xlink\","
                  "\"namespaceUri\":\"http://www.w3.org/1999/xlink\",\"attributeId\":206,"
                  "\"value\":\"#a\"}],\"children\":[]}]},"
                  "{\"name\":\"Foo\",\"prefix\":null,\"tagId\":null,\"namespaceUri\":null,"
                  "\"attributes\":[{\"name\":\"data-k\",\"prefix\":null,\"namespaceUri\":null,"
                  "\"attributeId\":null,\"value\":\"\"}],\"children\":[]},"
                  "{\"name\":\"p\",\"prefix\":null,\"tagId\":167,\"namespaceUri\":null,"
                  "\"attributes\":[],\"children\":[]}]},"
                  "{\"text\":\"end\"}]}\n");
}

TEST(CliWriterImage, EmptyDocumentPrintsNothing)
{
    Document document(2);
    const std::vector<std::uint8_t> bytes = writtenImage(document);
    const Printed printed = print(bytes);
    ASSERT_EQ(printed.refusal, "");
    EXPECT_EQ(printed.tree, "");
    EXPECT_EQ(printed.json, "{\"file\":\"doc.html\",\"result\":0,\"imageSize\":26,\"nodes\":[]}\n");
}

TEST(CliWriterImage, PrefixedElementsAndEqualStrings)
{
    // <m:math xmlns:m="urn:m"><m:mi>m</m:mi>m</m:math>: the text "m" and the
    // prefix "m" share one string.
    Document document(2);
    auto* math = append(makeElement(u"math", {{u"m", u"urn:m", u"xmlns"}}, u"m"), &document);
    auto* mi = append(makeElement(u"mi", {}, u"m"), math);
    append(makeText(u"m"), mi);
    append(makeText(u"m"), math);
    const std::vector<std::uint8_t> bytes = writtenImage(document);
    const Printed printed = print(bytes);
    ASSERT_EQ(printed.refusal, "");
    EXPECT_EQ(printed.tree,
              "<m:math xmlns:m=\"urn:m\"> [ns=urn:m]\n"
              "  <m:mi> [ns=urn:m]\n"
              "    \"m\"\n"
              "  \"m\"\n");
    DOMImage* image = nullptr;
    ASSERT_EQ(DOMImage_Open(bytes.data(), bytes.size(), &image, nullptr, 0), 0);
    DOMImageNode node{};
    ASSERT_EQ(DOMImage_GetNode(image, 3, &node), 1);
    EXPECT_EQ(node.kind, DOM_IMAGE_TEXT);
    DOMImageNode root{};
    ASSERT_EQ(DOMImage_GetNode(image, 0, &root), 1);
    EXPECT_EQ(node.dataString, root.prefixString);
    DOMImage_Close(image);
}

}  // namespace
}  // namespace Parsers::ImageTesting
