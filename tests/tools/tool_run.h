// Running the domparse binary from a test: a folder of its own per test, the
// files it reads written there, and its exit status and outputs read back.
// POSIX only (the tool runs through the shell).
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace ToolTests {

namespace fs = std::filesystem;

// A path in single quotes for the shell (the test paths hold no quotes).
inline std::string shellQuoted(const fs::path& path)
{
    std::string text = "'";
    text += path.string();
    text += '\'';
    return text;
}

inline std::string readFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

// The tool's message line for a file. (Built by appending: GCC 12 warns
// falsely on chains of "literal" + std::string.)
inline std::string messageLine(const fs::path& file, const std::string& text)
{
    std::string line = "domparse: ";
    line += file.string();
    line += ": ";
    line += text;
    line += '\n';
    return line;
}

class ToolTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        directory = fs::temp_directory_path() /
                    ("domparse_tool_test_" + std::to_string(::getpid()) + "_" +
                     ::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name() +
                     "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(directory);
    }
    void TearDown() override { fs::remove_all(directory); }

    // Runs the tool with the arguments (already quoted for the shell) and the
    // input on its standard input.
    ToolRun run(const std::string& arguments, const std::string& input = "")
    {
        const fs::path out = directory / "stdout";
        const fs::path err = directory / "stderr";
        const fs::path in = directory / "stdin";
        std::ofstream(in, std::ios::binary) << input;
        std::string command = shellQuoted(binary());
        command += ' ';
        command += arguments;
        command += " <";
        command += shellQuoted(in);
        command += " >";
        command += shellQuoted(out);
        command += " 2>";
        command += shellQuoted(err);
        const int raw = std::system(command.c_str());
        ToolRun result;
        result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        result.out = readFile(out);
        result.err = readFile(err);
        return result;
    }

    fs::path write(const std::string& name, const std::string& content)
    {
        const fs::path path = directory / name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    static std::string binary() { return std::string(DOMPARSE_BINARY_DIR) + "/domparse"; }

    fs::path directory;
};

}  // namespace ToolTests
