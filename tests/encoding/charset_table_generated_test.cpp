// The committed charset table is exactly what the generator makes of
// tools/gen/charsets.txt.

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

TEST(CharsetTable, CommittedFileMatchesTheGenerator)
{
    const std::filesystem::path source = DOMPARSE_SOURCE_DIR;
    std::string pattern = (std::filesystem::temp_directory_path() / "domparse-charsets-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    const std::filesystem::path output = pattern;

    const std::string command = "python3 \"" + (source / "tools/gen/gen_charsets.py").string() +
                                "\" --output-dir \"" + output.string() + "\"";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;

    const std::string generated = readFile(output / "charset_table.cpp");
    EXPECT_FALSE(generated.empty());
    EXPECT_EQ(generated, readFile(source / "src/encoding/charset_table.cpp"));
    std::filesystem::remove_all(output);
}

}  // namespace
