// domparse --limit: each file parsed in a child process under a time and a
// memory limit, with a parse that never ends or that ends its process told in
// words, and the other files going on. POSIX only (the test runs the tool
// through the shell).

#include <gtest/gtest.h>

#include <string>

#include "tool_run.h"

namespace {

using namespace ToolTests;

class CliLimit : public ToolTest {};

TEST_F(CliLimit, AFileThatParsesPrintsAsWithoutTheLimit)
{
    const fs::path file = write("good.html", "<p>x</p>");
    const ToolRun limited = run("--limit " + shellQuoted(file));
    EXPECT_EQ(limited.status, 0);
    EXPECT_EQ(limited.out, "<p>\n  \"x\"\n");
    EXPECT_EQ(limited.err, "");
    const ToolRun plain = run(shellQuoted(file));
    EXPECT_EQ(limited.out, plain.out);
}

TEST_F(CliLimit, AParseThatNeverEndsIsToldInWords)
{
    // An attribute name and one space at the end: the parse turns for ever
    // without taking memory, so only the time ends it.
    const fs::path file = write("endless.html", "<p>x<a b ");
    const ToolRun result = run("--limit=1 " + shellQuoted(file));
    EXPECT_EQ(result.status, 20);
    EXPECT_EQ(result.out, "");
    std::string expected = "parse of ";
    expected += file.string();
    expected += " did not finish within 1 s";
    EXPECT_EQ(result.err, messageLine(file, expected));
}

TEST_F(CliLimit, AParseThatEndsItsProcessIsToldInWords)
{
    // A finished tree without a body: the library reads through the missing
    // body, and the child process ends with a memory fault (under a
    // sanitizer, with the sanitizer's report and status).
    const fs::path file = write("nobody.html", "<!DOCTYPE html><html><p>x</p></html>");
    const ToolRun result = run("--limit=30 " + shellQuoted(file));
    EXPECT_EQ(result.status, 21);
    EXPECT_EQ(result.out, "");
    std::string told = "domparse: ";
    told += file.string();
    told += ": parse of ";
    told += file.string();
    told += " ended the process";
    EXPECT_NE(result.err.find(told), std::string::npos) << result.err;
#if !defined(DOMPARSE_SANITIZED)
    std::string expected = "parse of ";
    expected += file.string();
    expected += " ended the process: signal 11 (Segmentation fault)";
    EXPECT_EQ(result.err, messageLine(file, expected));
#endif
}

TEST_F(CliLimit, AParseThatOutgrowsTheMemoryFailsWithResultThree)
{
    // A text that ends in "<" inside a paragraph stores a "<" at every turn:
    // under 64 MB it runs out of memory long before 60 s.
    const fs::path file = write("growing.html", "<p>x<");
    const ToolRun result = run("--limit 60,64 " + shellQuoted(file));
    EXPECT_EQ(result.status, 13);
    EXPECT_EQ(result.err, messageLine(file, "out of memory while parsing"));
}

TEST_F(CliLimit, TheOtherFilesGoOn)
{
    const fs::path endless = write("endless.html", "<a b ");
    const fs::path good = write("good.html", "<b>y</b>");
    const ToolRun result =
        run("--limit=1 --format json " + shellQuoted(endless) + " " + shellQuoted(good));
    EXPECT_EQ(result.status, 20);
    // The endless file has a JSON line without a result, the good one its tree.
    const std::size_t lineEnd = result.out.find('\n');
    ASSERT_NE(lineEnd, std::string::npos) << result.out;
    std::string first = "{\"file\":\"";
    first += endless.string();
    first += "\",\"result\":null,";
    EXPECT_EQ(result.out.rfind(first, 0), 0u) << result.out;
    std::string second = "{\"file\":\"";
    second += good.string();
    second += "\",\"result\":0,";
    EXPECT_EQ(result.out.find(second, lineEnd + 1), lineEnd + 1) << result.out;
    EXPECT_NE(result.err.find("domparse: 2 files, 1 parsed, 1 failed\n"), std::string::npos)
        << result.err;
}

TEST_F(CliLimit, RefusesValuesThatAreNoLimit)
{
    const fs::path file = write("good.html", "<p>x</p>");
    for (const char* value : {"--limit=0", "--limit=x", "--limit=5,0", "--limit=5,", "--limit=,5"}) {
        const ToolRun result = run(std::string(value) + " " + shellQuoted(file));
        EXPECT_EQ(result.status, 64) << value;
        EXPECT_EQ(result.err,
                  "domparse: --limit takes SECONDS or SECONDS,MEGABYTES (see domparse --help)\n")
            << value;
    }
}

}  // namespace
