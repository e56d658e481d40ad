// The guarded shared library as a host sees it: one export, the block
// functions taken from libdomparse.so, and nothing internal shared between
// the two libraries in either direction.

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

namespace {

// The lines of a command's standard output.
std::set<std::string> outputLines(const std::string& command)
{
    std::set<std::string> lines;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return lines;
    char line[4096];
    while (std::fgets(line, sizeof line, pipe)) {
        std::string text(line);
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
        lines.insert(text);
    }
    pclose(pipe);
    return lines;
}

// The names of the dynamic symbols that `library` defines (`defined`) or
// needs from elsewhere, without their version suffix.
std::set<std::string> dynamicSymbols(const std::string& library, bool defined)
{
    const std::string which = defined ? "--defined-only" : "--undefined-only";
    std::set<std::string> names;
    for (const std::string& line :
         outputLines("nm -D " + which + " --format=posix '" + library + "' | cut -d' ' -f1")) {
        names.insert(line.substr(0, line.find('@')));
    }
    return names;
}

const std::string kGuardedLibrary = DOMPARSE_BINARY_DIR "/libdomparse_guarded.so";
const std::string kFaithfulLibrary = DOMPARSE_BINARY_DIR "/libdomparse.so";

TEST(GuardedLibrary, ExportsOnlyDomParseGuarded)
{
    EXPECT_EQ(dynamicSymbols(kGuardedLibrary, true), std::set<std::string>{"DOM_ParseGuarded"});
}

TEST(GuardedLibrary, NeedsLibdomparseForTheBlockFunctions)
{
    const std::set<std::string> dynamic =
        outputLines("readelf -d '" + kGuardedLibrary + "' | grep NEEDED");
    bool needsFaithful = false;
    for (const std::string& line : dynamic) {
        // libdomparse.so, or its name with the version behind it once the
        // libraries carry one.
        if (line.find("[libdomparse.so") != std::string::npos) needsFaithful = true;
    }
    EXPECT_TRUE(needsFaithful);
    // What the guarded library takes from libdomparse.so is the four block
    // functions the image writer calls; it carries no block functions of its own.
    const std::set<std::string> undefined = dynamicSymbols(kGuardedLibrary, false);
    for (const char* name : {"GlobalAlloc", "GlobalLock", "GlobalUnlock", "GlobalFree"}) {
        EXPECT_EQ(undefined.count(name), 1u) << name;
    }
}

TEST(GuardedLibrary, TakesNothingElseFromLibdomparse)
{
    // Every symbol the guarded library needs that libdomparse.so defines is a
    // block function: the parser's internals of either library stay hidden.
    const std::set<std::string> faithfulExports = dynamicSymbols(kFaithfulLibrary, true);
    for (const std::string& name : dynamicSymbols(kGuardedLibrary, false)) {
        if (faithfulExports.count(name) == 0) continue;
        EXPECT_EQ(name.rfind("Global", 0), 0u) << name;
    }
}

TEST(GuardedLibrary, LeavesTheExportsOfLibdomparseAsTheyAre)
{
    EXPECT_EQ(dynamicSymbols(kFaithfulLibrary, true),
              (std::set<std::string>{"DOM_GetVersion", "DOM_Parse", "GlobalAlloc", "GlobalFree",
                                     "GlobalLock", "GlobalSize", "GlobalUnlock"}));
}

}  // namespace
