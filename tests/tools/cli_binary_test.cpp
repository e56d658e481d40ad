// The domparse binary end to end: options, exit statuses and messages.

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "domparse_reader.h"
#include "tool_run.h"

namespace {

using namespace ToolTests;

class CliBinary : public ToolTest {};

const std::string kNoDocument =
    "no document could be made of the input (no text could be decoded, or an internal error)";

TEST_F(CliBinary, VersionPrintsTheToolsAndTheLibrarysVersion)
{
    const ToolRun result = run("--version");
    EXPECT_EQ(result.status, 0);
    // The project's version is checked exactly by the packaging tests, which
    // know it from the build.
    EXPECT_TRUE(std::regex_match(
        result.out, std::regex("domparse [0-9]+\\.[0-9]+\\.[0-9]+ \\(library version 200\\)\n")))
        << result.out;
    EXPECT_EQ(result.err, "");
}

TEST_F(CliBinary, HelpDocumentsTheFormats)
{
    const ToolRun result = run("--help");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.rfind("usage: domparse [options] FILE...\n", 0), 0u);
    EXPECT_NE(result.out.find("  --format NAME  tree (default), json, stats, image or markup\n"),
              std::string::npos);
    EXPECT_NE(result.out.find("  --mode N       2 (default): parse with DOM_Parse, case preserving;\n"),
              std::string::npos);
    EXPECT_NE(result.out.find("<prefix:name attr=\"value\" p:attr2=\"v\"> [ns=URI]"),
              std::string::npos);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(run("-h").out, result.out);
}

TEST_F(CliBinary, MissingFileExits66)
{
    const fs::path missing = directory / "missing.html";
    const ToolRun result = run(shellQuoted(missing));
    EXPECT_EQ(result.status, 66);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, messageLine(missing, "cannot read: No such file or directory"));
}

TEST_F(CliBinary, UsageErrorsExit64)
{
    struct Case {
        const char* arguments;
        const char* message;
    };
    const Case cases[] = {
        {"", "domparse: no input file (see domparse --help)\n"},
        {"--frobnicate x", "domparse: unknown option '--frobnicate' (see domparse --help)\n"},
        {"--format", "domparse: --format needs a format name (see domparse --help)\n"},
        {"--format xml x", "domparse: unknown format 'xml' (see domparse --help)\n"},
        {"--format=yaml x", "domparse: unknown format 'yaml' (see domparse --help)\n"},
        {"x -o", "domparse: -o needs a file name (see domparse --help)\n"},
        {"--format image a b",
         "domparse: --format image takes exactly one file (see domparse --help)\n"},
        {"--mode", "domparse: --mode needs 1 or 2 (see domparse --help)\n"},
        {"--mode 3 x", "domparse: unknown mode '3' (see domparse --help)\n"},
        {"--mode=0 x", "domparse: unknown mode '0' (see domparse --help)\n"},
    };
    for (const Case& usage : cases) {
        const ToolRun result = run(usage.arguments);
        EXPECT_EQ(result.status, 64) << usage.arguments;
        EXPECT_EQ(result.out, "") << usage.arguments;
        EXPECT_EQ(result.err, usage.message) << usage.arguments;
    }
}

// Empty input has no text to make a document of: the library answers 2.
TEST_F(CliBinary, EmptyInputExits12)
{
    const fs::path empty = write("empty.html", "");
    const ToolRun result = run(shellQuoted(empty));
    EXPECT_EQ(result.status, 12);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, messageLine(empty, kNoDocument));
}

TEST_F(CliBinary, EmptyStandardInputInJson)
{
    const ToolRun result = run("--format json -", "");
    EXPECT_EQ(result.status, 12);
    EXPECT_EQ(result.out, "{\"file\":\"-\",\"result\":2,\"error\":\"" + kNoDocument + "\"}\n");
    EXPECT_EQ(result.err, messageLine("-", kNoDocument));
}

TEST_F(CliBinary, UnreadableFileWinsOverAFailedParse)
{
    const fs::path empty = write("empty.html", "");
    const fs::path missing = directory / "gone.html";
    const ToolRun result = run(shellQuoted(missing) + ' ' + shellQuoted(empty));
    EXPECT_EQ(result.status, 66);
    EXPECT_EQ(result.err, messageLine(missing, "cannot read: No such file or directory") +
                              messageLine(empty, kNoDocument) +
                              "domparse: 2 files, 0 parsed, 2 failed\n");
}

TEST_F(CliBinary, OutputFileThatCannotBeCreatedExits73)
{
    const fs::path target = directory / "no" / "such" / "dir" / "out.txt";
    const ToolRun result = run("-o " + shellQuoted(target).append(" x"));
    EXPECT_EQ(result.status, 73);
    EXPECT_EQ(result.err, messageLine(target, "cannot create: No such file or directory"));
}

TEST_F(CliBinary, OutputGoesToTheFileGivenWithO)
{
    const fs::path target = directory / "out.json";
    const ToolRun result = run("--format=json -o " + shellQuoted(target).append(" -"), "");
    EXPECT_EQ(result.status, 12);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(readFile(target),
              "{\"file\":\"-\",\"result\":2,\"error\":\"" + kNoDocument + "\"}\n");
}

// <p class=x>Hi</p> makes a document whose only node at the top is the p:
// the html, head and body around it are taken away at the end of the parse.
// Its image: the header (26), the p (22 + 36 + 4 for the attribute + 4 for
// the child), the text (30), one attribute (24) and the strings "p", "Hi",
// "class", "x" (4 + 6 + 12 + 4): 172 bytes.
const std::string kParagraph = "<p class=x>Hi</p>";

TEST_F(CliBinary, TreeOfAParsedParagraph)
{
    const fs::path file = write("p.html", kParagraph);
    const ToolRun result = run(shellQuoted(file));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "<p class=\"x\">\n  \"Hi\"\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(CliBinary, JsonOfAParsedParagraphFromStandardInput)
{
    const ToolRun result = run("--format json -", kParagraph);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "{\"file\":\"-\",\"result\":0,\"imageSize\":172,\"nodes\":["
              "{\"name\":\"p\",\"prefix\":null,\"tagId\":167,\"namespaceUri\":null,"
              "\"attributes\":[{\"name\":\"class\",\"prefix\":null,\"namespaceUri\":null,"
              "\"attributeId\":99,\"value\":\"x\"}],\"children\":[{\"text\":\"Hi\"}]}]}\n");
}

TEST_F(CliBinary, StatsOfAParsedParagraph)
{
    const ToolRun result = run("--format stats -", kParagraph);
    EXPECT_EQ(result.status, 0);
    const std::string fields =
        "-: nodes=2 elements=1 texts=1 comments=0 attributes=1 strings=4 imageSize=172 "
        "inputSize=17 parseMs=";
    EXPECT_EQ(result.out.substr(0, fields.size()), fields);
    EXPECT_NE(result.out.find(" MBps="), std::string::npos);
    EXPECT_EQ(result.out.back(), '\n');
}

TEST_F(CliBinary, RawImageToAFile)
{
    const fs::path target = directory / "p.image";
    const ToolRun result = run("--format image -o " + shellQuoted(target).append(" -"), kParagraph);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    const std::string image = readFile(target);
    ASSERT_EQ(image.size(), 172u);
    EXPECT_EQ(image.substr(0, 2), std::string("\xC8\x00", 2));
    DOMImage* reader = nullptr;
    ASSERT_EQ(DOMImage_Open(image.data(), image.size(), &reader, nullptr, 0), 0);
    EXPECT_EQ(DOMImage_NodeCount(reader), 2u);
    EXPECT_EQ(DOMImage_AttributeCount(reader), 1u);
    DOMImage_Close(reader);
}

TEST_F(CliBinary, SeveralUtf16FilesEachUnderItsName)
{
    const std::string first("<\0p\0>\0x\0<\0/\0p\0>\0", 16);
    const std::string second("<\0!\0-\0-\0c\0-\0-\0>\0", 16);
    const fs::path one = write("one.html", first);
    const fs::path two = write("two.html", second);
    const ToolRun result = run("--utf16 " + shellQuoted(one) + ' ' + shellQuoted(two));
    EXPECT_EQ(result.status, 0);
    std::string expected = "# ";
    expected += one.string();
    expected += "\n<p>\n  \"x\"\n# ";
    expected += two.string();
    expected += "\n<!--c-->\n";
    EXPECT_EQ(result.out, expected);
    EXPECT_EQ(result.err, "domparse: 2 files, 2 parsed, 0 failed\n");
}

}  // namespace

namespace {

// Case folding parsing through the library's internal entry: names are
// folded, the implied p end tag applies, and html, head and body stay.
TEST_F(CliBinary, ModeOneTreeKeepsHtmlHeadAndBody)
{
    const ToolRun result = run("--mode 1 -", "<P CLASS=x>a<P>b");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "<html>\n  <head>\n  <body>\n    <p class=\"x\">\n      \"a\"\n    <p>\n"
              "      \"b\"\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(run("--mode=1 -", "<P CLASS=x>a<P>b").out, result.out);
    EXPECT_EQ(run("--mode 2 -", "<p>a<p>b").out, "<p>\n  \"a\"\n  <p>\n    \"b\"\n");
}

TEST_F(CliBinary, ModeOneFailsLikeDomParse)
{
    const ToolRun result = run("--mode 1 --format json -", "");
    EXPECT_EQ(result.status, 12);
    EXPECT_EQ(result.err, messageLine("-", kNoDocument));
}

TEST_F(CliBinary, MarkupOfBothModes)
{
    const std::string input = "<P title='a\"b'>x &amp; y<BR>z";
    const ToolRun two = run("--format markup -", input);
    EXPECT_EQ(two.status, 0);
    EXPECT_EQ(two.out, "<P title=\"a&quot;b\">x &amp; y<BR>z</BR></P>\n");
    const ToolRun one = run("--mode 1 --format markup -", input);
    EXPECT_EQ(one.status, 0);
    EXPECT_EQ(one.out,
              "<html><head></head><body><p title=\"a&quot;b\">x &amp; y<br>z</p></body></html>\n");
    EXPECT_EQ(one.err, "");
}

TEST_F(CliBinary, MarkupOfSeveralFilesAndOfUtf16)
{
    const fs::path first = write("a.html", "<i>1</i>");
    const fs::path second = write("b.html", std::string("<\0b\0>\0\xE9\0\x00\xD8", 10));
    const ToolRun bytes = run("--format markup " + shellQuoted(first));
    EXPECT_EQ(bytes.out, "<i>1</i>\n");
    const ToolRun utf16 = run("--utf16 --format markup " + shellQuoted(second));
    EXPECT_EQ(utf16.status, 0);
    // The lone surrogate at the end is written as U+FFFD.
    EXPECT_EQ(utf16.out, "<b>\xC3\xA9\xEF\xBF\xBD</b>\n");
    const ToolRun both = run("--format markup " + shellQuoted(first) + " " + shellQuoted(first));
    std::string expected = "# ";
    expected += first.string();
    expected += "\n<i>1</i>\n# ";
    expected += first.string();
    expected += "\n<i>1</i>\n";
    EXPECT_EQ(both.out, expected);
}

TEST_F(CliBinary, MarkupOfAFailedParse)
{
    const ToolRun result = run("--format markup -", "");
    EXPECT_EQ(result.status, 12);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, messageLine("-", kNoDocument));
}

}  // namespace
