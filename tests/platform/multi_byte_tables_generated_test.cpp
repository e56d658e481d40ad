// The committed code page tables are exactly what the generator makes of the
// recorded answers in tests/data/codepages.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

TEST(CodePageTables, CommittedFilesMatchTheGenerator)
{
    const std::filesystem::path source = DOMPARSE_SOURCE_DIR;
    std::string pattern = (std::filesystem::temp_directory_path() / "domparse-code-pages-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    const std::filesystem::path output = pattern;

    const std::string command = "python3 \"" + (source / "tools/gen/gen_code_pages.py").string() +
                                "\" --output-dir \"" + output.string() + "\"";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;

    for (const char* name : {"code_page_tables_single.cpp", "code_page_tables_932.cpp", "code_page_tables_936.cpp",
                             "code_page_tables_949.cpp", "code_page_tables_950.cpp"}) {
        const std::string generated = readFile(output / name);
        EXPECT_FALSE(generated.empty()) << name;
        EXPECT_EQ(generated, readFile(source / "src/platform" / name)) << name << " differs from the generator's output";
    }
    std::filesystem::remove_all(output);
}

}  // namespace
