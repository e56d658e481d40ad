// The shared library as a host sees it: its exported symbols and entry points.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

#include "domparse.h"

namespace {

std::set<std::string> definedDynamicSymbols(const std::string& library)
{
    std::string command = "nm -D --defined-only --format=posix '" + library + "'";
    std::set<std::string> names;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return names;
    char line[512];
    while (std::fgets(line, sizeof line, pipe)) {
        std::string text(line);
        names.insert(text.substr(0, text.find(' ')));
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return names;
}

TEST(SharedLibrary, ExportsExactlyTheApi)
{
    std::set<std::string> names = definedDynamicSymbols(DOMPARSE_BINARY_DIR "/libdomparse.so");
    EXPECT_EQ(names, (std::set<std::string>{"DOM_GetVersion", "DOM_Parse", "GlobalAlloc", "GlobalFree",
                                            "GlobalLock", "GlobalSize", "GlobalUnlock"}));
}

TEST(SharedLibrary, VersionIs200)
{
    EXPECT_EQ(DOM_GetVersion(), 200u);
}

TEST(SharedLibrary, WrongRecordVersionIsRefusedUntouched)
{
    char input[16] = "<p>x</p>";
    for (std::uint16_t version : {1, 3}) {
        DOM_ParseRecord record{version, DOM_INPUT_BYTES, 77};
        HGLOBAL handle = nullptr;
        EXPECT_EQ(DOM_Parse(input, 8, &handle, &record), DOM_RESULT_BAD_RECORD);
        // The record is packed: its fields are copied out, since a reference to
        // one (as EXPECT_EQ takes) would be misaligned.
        EXPECT_EQ(std::uint32_t{record.result}, 77u);
        EXPECT_EQ(handle, nullptr);
    }
}

TEST(SharedLibrary, BlockFunctionsWorkThroughTheExports)
{
    HGLOBAL block = GlobalAlloc(GMEM_ZEROINIT, 64);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalSize(block), 64u);
    auto* bytes = static_cast<unsigned char*>(GlobalLock(block));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes[63], 0);
    EXPECT_EQ(GlobalUnlock(block), 0);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

}  // namespace
