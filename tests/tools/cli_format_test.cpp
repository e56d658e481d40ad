// The output forms of the domparse tool on hand-built images: exact tree and
// JSON text, the fields of the statistics line, the escapes, and a chain of a
// million nested elements printed without recursion.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "domparse_reader.h"
#include "format.h"
#include "tools/image_builder.h"
#include "tools/sample_images.h"

namespace Parsers::ImageTesting {
namespace {

using Cli::EscapeStyle;

struct ImageCloser {
    void operator()(DOMImage* image) const { DOMImage_Close(image); }
};

// An opened image together with the bytes it reads.
struct OpenImage {
    explicit OpenImage(std::vector<std::uint8_t> built) : bytes(std::move(built))
    {
        DOMImage* opened = nullptr;
        char message[256] = "";
        EXPECT_EQ(DOMImage_Open(bytes.data(), bytes.size(), &opened, message, sizeof message), 0)
            << message;
        image.reset(opened);
    }

    const DOMImage* get() const { return image.get(); }

    std::vector<std::uint8_t> bytes;
    std::unique_ptr<DOMImage, ImageCloser> image;
};

std::string tree(const OpenImage& image)
{
    std::ostringstream out;
    Cli::writeTree(image.get(), out);
    return out.str();
}

std::string json(const OpenImage& image, const std::string& file)
{
    std::ostringstream out;
    Cli::writeJson(image.get(), file, out);
    return out.str();
}

std::string escaped(const std::u16string& text, EscapeStyle style)
{
    std::vector<unsigned char> bytes;
    for (char16_t unit : text) {
        bytes.push_back(static_cast<unsigned char>(unit & 0xFF));
        bytes.push_back(static_cast<unsigned char>(unit >> 8));
    }
    std::string out;
    Cli::appendEscaped(out,
                       DOMImageString{bytes.data(), static_cast<std::uint32_t>(text.size())},
                       style);
    return out;
}

TEST(CliFormat, TreeOfTheSampleImage)
{
    const OpenImage image(buildSampleImage());
    EXPECT_EQ(tree(image),
              "<!-- hi -->\n"
              "<svg:rect xmlns:svg=\"http://www.w3.org/2000/svg\" width=\"10\" hidden=\"\">"
              " [ns=http://www.w3.org/2000/svg]"
              " [@xmlns:svg ns=http://www.w3.org/2000/xmlns/]\n"
              "  \"caf\xC3\xA9 \xF0\x9F\x98\x80\"\n"
              "  <p>\n"
              "    \"x\"\n"
              "  <g xmlns=\"\">\n"
              "\"\"\n");
}

TEST(CliFormat, JsonOfTheSampleImage)
{
    const OpenImage image(buildSampleImage());
    EXPECT_EQ(json(image, "dir/sample \"1\".html"),
              "{\"file\":\"dir/sample \\\"1\\\".html\",\"result\":0,\"imageSize\":684,\"nodes\":["
              "{\"comment\":\" hi \"},"
              "{\"name\":\"rect\",\"prefix\":\"svg\",\"tagId\":null,"
              "\"namespaceUri\":\"http://www.w3.org/2000/svg\",\"attributes\":["
              "{\"name\":\"svg\",\"prefix\":\"xmlns\","
              "\"namespaceUri\":\"http://www.w3.org/2000/xmlns/\",\"attributeId\":null,"
              "\"value\":\"http://www.w3.org/2000/svg\"},"
              "{\"name\":\"width\",\"prefix\":null,\"namespaceUri\":null,\"attributeId\":7,"
              "\"value\":\"10\"},"
              "{\"name\":\"hidden\",\"prefix\":null,\"namespaceUri\":null,\"attributeId\":null,"
              "\"value\":\"\"}],"
              "\"children\":["
              "{\"text\":\"caf\xC3\xA9 \xF0\x9F\x98\x80\"},"
              "{\"name\":\"p\",\"prefix\":null,\"tagId\":167,\"namespaceUri\":null,"
              "\"attributes\":[],\"children\":[{\"text\":\"x\"}]},"
              "{\"name\":\"g\",\"prefix\":null,\"tagId\":null,\"namespaceUri\":null,"
              "\"attributes\":[{\"name\":\"xmlns\",\"prefix\":null,\"namespaceUri\":null,"
              "\"attributeId\":null,\"value\":\"\"}],\"children\":[]}]},"
              "{\"text\":\"\"}]}\n");
}

TEST(CliFormat, JsonOfAnEmptyDocument)
{
    ImageBuilder builder;
    const OpenImage image(builder.build());
    EXPECT_EQ(json(image, "-"), "{\"file\":\"-\",\"result\":0,\"imageSize\":26,\"nodes\":[]}\n");
    EXPECT_EQ(tree(image), "");
}

TEST(CliFormat, JsonClosesNestedElementsBeforeTheirNextSibling)
{
    // <a><b><c/></b><d/></a><e/>
    ImageBuilder builder;
    const std::uint32_t a = builder.addElement(kNoParent, elementNamed(u"a"));
    const std::uint32_t b = builder.addElement(a, elementNamed(u"b"));
    builder.addElement(b, elementNamed(u"c"));
    builder.addElement(a, elementNamed(u"d"));
    builder.addElement(kNoParent, elementNamed(u"e"));
    const OpenImage image(builder.build());
    const std::string element = "\"prefix\":null,\"tagId\":null,\"namespaceUri\":null,"
                                "\"attributes\":[],\"children\":[";
    EXPECT_EQ(json(image, "f"),
              "{\"file\":\"f\",\"result\":0,\"imageSize\":" +
                  std::to_string(image.bytes.size()) + ",\"nodes\":[{\"name\":\"a\"," + element +
                  "{\"name\":\"b\"," + element + "{\"name\":\"c\"," + element + "]}]},{\"name\":\"d\"," +
                  element + "]}]},{\"name\":\"e\"," + element + "]}]}\n");
    EXPECT_EQ(tree(image), "<a>\n  <b>\n    <c>\n  <d>\n<e>\n");
}

TEST(CliFormat, JsonFailureLine)
{
    std::ostringstream out;
    Cli::writeJsonFailure("in.html", 2, Cli::describeResult(2), out);
    EXPECT_EQ(out.str(),
              "{\"file\":\"in.html\",\"result\":2,\"error\":\"no document could be made of the "
              "input (no text could be decoded, or an internal error)\"}\n");
}

TEST(CliFormat, ResultDescriptions)
{
    EXPECT_STREQ(Cli::describeResult(1), "the library refused the call record (record version)");
    EXPECT_STREQ(Cli::describeResult(2),
                 "no document could be made of the input (no text could be decoded, or an "
                 "internal error)");
    EXPECT_STREQ(Cli::describeResult(3), "out of memory while parsing");
    EXPECT_STREQ(Cli::describeResult(9), "the library returned an unknown result code");
}

TEST(CliFormat, StatsLine)
{
    const OpenImage image(buildSampleImage());
    std::ostringstream out;
    Cli::writeStats(image.get(), "sample.html", {1000, 0.5}, out);
    EXPECT_EQ(out.str(),
              "sample.html: nodes=7 elements=3 texts=3 comments=1 attributes=4 strings=13 "
              "imageSize=684 inputSize=1000 parseMs=0.500 MBps=2.00\n");
    std::ostringstream instant;
    Cli::writeStats(image.get(), "s", {10, 0.0}, instant);
    EXPECT_EQ(instant.str(),
              "s: nodes=7 elements=3 texts=3 comments=1 attributes=4 strings=13 "
              "imageSize=684 inputSize=10 parseMs=0.000 MBps=n/a\n");
}

TEST(CliFormat, TreeEscapes)
{
    const std::u16string text{u'\n', u'\t', u'\r', u'"', u'\\', 0x01, 0x1F, 0x7F, 0x85, u'~'};
    EXPECT_EQ(escaped(text, EscapeStyle::Tree),
              "\\n\\t\\r\\\"\\\\\\u0001\\u001F\\u007F\\u0085~");
    EXPECT_EQ(escaped(text, EscapeStyle::Json), "\\n\\t\\r\\\"\\\\\\u0001\\u001F\x7F\xC2\x85~");
    const std::u16string controls{0x08, 0x0C, 0x0B, 0x00};
    EXPECT_EQ(escaped(controls, EscapeStyle::Tree), "\\u0008\\u000C\\u000B\\u0000");
    EXPECT_EQ(escaped(controls, EscapeStyle::Json), "\\b\\f\\u000B\\u0000");
}

TEST(CliFormat, SurrogatesAndNonCharacters)
{
    // A pair, a lone high surrogate before a letter, a lone low surrogate, a
    // high surrogate at the end.
    const std::u16string units{0xD83D, 0xDE00, 0xD800, u'a', 0xDC00, 0xDBFF};
    EXPECT_EQ(escaped(units, EscapeStyle::Tree),
              "\xF0\x9F\x98\x80\\uD800a\\uDC00\\uDBFF");
    EXPECT_EQ(escaped(units, EscapeStyle::Json),
              "\xF0\x9F\x98\x80\\uD800a\\uDC00\\uDBFF");
    // U+FFFE, U+FFFF, U+FDD0, U+FDEF, U+1FFFF, U+10FFFE; U+FDCF and U+FFFD are
    // ordinary characters.
    const std::u16string nonCharacters{0xFFFE, 0xFFFF, 0xFDD0, 0xFDEF, 0xD83F, 0xDFFF,
                                       0xDBFF, 0xDFFE, 0xFDCF, 0xFFFD};
    EXPECT_EQ(escaped(nonCharacters, EscapeStyle::Tree),
              "\\uFFFE\\uFFFF\\uFDD0\\uFDEF\\uD83F\\uDFFF\\uDBFF\\uDFFE\xEF\xB7\x8F\xEF\xBF\xBD");
    EXPECT_EQ(escaped(nonCharacters, EscapeStyle::Json),
              "\xEF\xBF\xBE\xEF\xBF\xBF\xEF\xB7\x90\xEF\xB7\xAF\xF0\x9F\xBF\xBF\xF4\x8F\xBF\xBE"
              "\xEF\xB7\x8F\xEF\xBF\xBD");
    EXPECT_EQ(escaped(u"\u00E9\u0100\u20AC", EscapeStyle::Tree), "\xC3\xA9\xC4\x80\xE2\x82\xAC");
}

TEST(CliFormat, TextAndCommentLinesUseTheEscapes)
{
    ImageBuilder builder;
    builder.addText(kNoParent, u"a\nb\"");
    builder.addComment(kNoParent, u"--\t>");
    const OpenImage image(builder.build());
    EXPECT_EQ(tree(image), "\"a\\nb\\\"\"\n<!----\\t>-->\n");
    EXPECT_EQ(json(image, "x"),
              "{\"file\":\"x\",\"result\":0,\"imageSize\":" + std::to_string(image.bytes.size()) +
                  ",\"nodes\":[{\"text\":\"a\\nb\\\"\"},{\"comment\":\"--\\t>\"}]}\n");
}

TEST(CliFormat, NamesAndAttributeNamespacesInTheTree)
{
    ImageBuilder builder;
    ElementSpec use;
    use.name = u"use";
    use.namespaceUri = u"urn:svg";
    use.attributes = {{u"href", u"#i\u00E9", u"xlink", u"urn:xlink", kAbsent},
                      {u"a\"b", u"1", u"", u"urn:svg", 3}};
    builder.addElement(kNoParent, use);
    const OpenImage image(builder.build());
    EXPECT_EQ(tree(image),
              "<use xlink:href=\"#i\xC3\xA9\" a\\\"b=\"1\"> [ns=urn:svg]"
              " [@xlink:href ns=urn:xlink] [@a\\\"b ns=urn:svg]\n");
}

TEST(CliFormat, DeepLinesCarryTheirDepth)
{
    ImageBuilder builder;
    std::uint32_t parent = kNoParent;
    for (int level = 0; level < 103; ++level) parent = builder.addElement(parent, elementNamed(u"a"));
    builder.addText(parent, u"t");
    const OpenImage image(builder.build());
    const std::string text = tree(image);
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    ASSERT_EQ(lines.size(), 104u);
    EXPECT_EQ(lines[0], "<a>");
    EXPECT_EQ(lines[99], std::string(198, ' ') + "<a>");
    EXPECT_EQ(lines[100], std::string(200, ' ') + "<a>");
    EXPECT_EQ(lines[101], std::string(200, ' ') + "@101 <a>");
    EXPECT_EQ(lines[102], std::string(200, ' ') + "@102 <a>");
    EXPECT_EQ(lines[103], std::string(200, ' ') + "@103 \"t\"");
}

// Counts what is written and keeps the first and last bytes.
class CountingBuffer : public std::streambuf {
public:
    std::uint64_t count = 0;
    std::string head;
    std::string tail;

protected:
    std::streamsize xsputn(const char* data, std::streamsize size) override
    {
        count += static_cast<std::uint64_t>(size);
        const std::string_view piece(data, static_cast<std::size_t>(size));
        if (head.size() < kKept) head.append(piece.substr(0, kKept - head.size()));
        tail.append(piece.substr(piece.size() > kKept ? piece.size() - kKept : 0));
        if (tail.size() > kKept) tail.erase(0, tail.size() - kKept);
        return size;
    }
    int_type overflow(int_type character) override
    {
        if (character != traits_type::eof()) {
            const char unit = static_cast<char>(character);
            xsputn(&unit, 1);
        }
        return character;
    }

private:
    static constexpr std::size_t kKept = 400;
};

TEST(CliFormat, MillionNestedElementsPrintWithoutRecursion)
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
    const OpenImage image(std::move(bytes));
    ASSERT_TRUE(image.get());

    CountingBuffer treeBuffer;
    std::ostream treeOut(&treeBuffer);
    Cli::writeTree(image.get(), treeOut);
    std::uint64_t expected = 0;
    for (std::uint64_t depth = 0; depth <= kDepth; ++depth) {
        const std::uint64_t indent =
            depth <= 100 ? 2 * depth : 200 + 2 + std::to_string(depth).size();
        expected += indent + (depth < kDepth ? 4 : 6);  // "<a>\n" or "\"end\"\n"
    }
    EXPECT_EQ(treeBuffer.count, expected);
    EXPECT_EQ(treeBuffer.head.substr(0, 16), "<a>\n  <a>\n    <a");
    const std::string lastLine = "@1000000 \"end\"\n";
    EXPECT_EQ(treeBuffer.tail.substr(treeBuffer.tail.size() - lastLine.size()), lastLine);

    CountingBuffer jsonBuffer;
    std::ostream jsonOut(&jsonBuffer);
    Cli::writeJson(image.get(), "deep", jsonOut);
    const std::string start = "{\"file\":\"deep\",\"result\":0,\"imageSize\":" +
                              std::to_string(image.bytes.size()) + ",\"nodes\":[";
    const std::string element = "{\"name\":\"a\",\"prefix\":null,\"tagId\":null,"
                                "\"namespaceUri\":null,\"attributes\":[],\"children\":[";
    const std::string end = "{\"text\":\"end\"}";
    EXPECT_EQ(jsonBuffer.count,
              start.size() + kDepth * element.size() + end.size() + 2 * kDepth + 3);
    EXPECT_EQ(jsonBuffer.head.substr(0, start.size() + element.size()), start + element);
    std::string closing;
    for (int level = 0; level < 100; ++level) closing += "]}";
    closing += '\n';
    EXPECT_EQ(jsonBuffer.tail.substr(jsonBuffer.tail.size() - closing.size()), closing);
}

}  // namespace
}  // namespace Parsers::ImageTesting
