// domparse.exe on Windows: started with CreateProcess, standard input and
// output redirected to files, as the Linux suite does with the shell. The
// tool parses through domparse.dll, so its raw image must be byte for byte
// the image that DOM_Parse gives this test in process.

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "domparse.h"

namespace {

std::string windowsPath(std::string path)
{
    for (char& c : path) {
        if (c == '/') c = '\\';
    }
    return path;
}

const std::string kTool = windowsPath(DOMPARSE_BINARY_DIR "/domparse.exe");
const std::string kSample = windowsPath(DOMPARSE_SOURCE_DIR "/examples/sample.html");

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

struct ToolRun {
    DWORD status = 0xFFFFFFFFu;
    std::string out;
};

class CliWindows : public ::testing::Test {
protected:
    void SetUp() override
    {
        char folder[MAX_PATH];
        ASSERT_NE(GetTempPathA(MAX_PATH, folder), 0u);
        const std::string stem = std::string(folder) + "domparse_cli_" + std::to_string(GetCurrentProcessId()) + "_" +
                                 ::testing::UnitTest::GetInstance()->current_test_info()->name();
        inPath = stem + ".in";
        outPath = stem + ".out";
    }
    void TearDown() override
    {
        DeleteFileA(inPath.c_str());
        DeleteFileA(outPath.c_str());
    }

    // Runs the tool with the arguments, `input` on its standard input, and
    // returns its exit status and standard output.
    ToolRun run(const std::string& arguments, const std::string& input = "")
    {
        writeFile(inPath, input);
        SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        HANDLE in = CreateFileA(inPath.c_str(), GENERIC_READ, FILE_SHARE_READ, &inherit, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
        HANDLE out = CreateFileA(outPath.c_str(), GENERIC_WRITE, 0, &inherit, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                 nullptr);
        ToolRun result;
        if (in == INVALID_HANDLE_VALUE || out == INVALID_HANDLE_VALUE) {
            ADD_FAILURE() << "cannot open the redirection files";
            return result;
        }
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = in;
        startup.hStdOutput = out;
        startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
        PROCESS_INFORMATION process{};
        std::string commandLine = "\"" + kTool + "\" " + arguments;
        if (CreateProcessA(kTool.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                           &process)) {
            WaitForSingleObject(process.hProcess, INFINITE);
            GetExitCodeProcess(process.hProcess, &result.status);
            CloseHandle(process.hThread);
            CloseHandle(process.hProcess);
        } else {
            ADD_FAILURE() << "cannot start " << kTool << ": error " << GetLastError();
        }
        CloseHandle(in);
        CloseHandle(out);
        result.out = readFile(outPath);
        return result;
    }

    std::string inPath;
    std::string outPath;
};

// The image that DOM_Parse makes of the bytes in this process.
std::string imageOf(const std::string& input)
{
    std::vector<char> buffer(input.begin(), input.end());
    buffer.resize(input.size() + DOM_INPUT_PADDING, 0);
    DOM_ParseRecord record{DOM_RECORD_VERSION, DOM_INPUT_BYTES, 0};
    HGLOBAL block = nullptr;
    if (DOM_Parse(buffer.data(), static_cast<std::uint32_t>(input.size()), &block, &record) != DOM_RESULT_OK) {
        return "";
    }
    const char* bytes = static_cast<const char*>(GlobalLock(block));
    std::string image(bytes, record.result);
    GlobalUnlock(block);
    GlobalFree(block);
    return image;
}

TEST_F(CliWindows, VersionPrintsTheToolsAndTheLibrarysVersion)
{
    const ToolRun result = run("--version");
    EXPECT_EQ(result.status, 0u);
    // Standard output is binary: a line ends in a line feed alone, as on Linux.
    EXPECT_TRUE(std::regex_match(
        result.out, std::regex("domparse [0-9]+\\.[0-9]+\\.[0-9]+ \\(library version 200\\)\n")))
        << result.out;
}

TEST_F(CliWindows, RawImageOfTheSampleIsTheImageOfDomParse)
{
    const std::string expected = imageOf(readFile(kSample));
    ASSERT_GT(expected.size(), 26u);
    const ToolRun result = run("--format image \"" + kSample + "\"");
    EXPECT_EQ(result.status, 0u);
    EXPECT_EQ(result.out, expected);
}

TEST_F(CliWindows, StandardInputIsReadAsBytes)
{
    // Carriage returns and a Ctrl-Z reach the library unchanged: the tool
    // reads standard input in binary.
    const std::string input = "<p a=\"1\r\n2\">x\r\ny\x1Az</p>\r\n";
    const std::string expected = imageOf(input);
    ASSERT_FALSE(expected.empty());
    const ToolRun result = run("--format image -", input);
    EXPECT_EQ(result.status, 0u);
    EXPECT_EQ(result.out, expected);
}

TEST_F(CliWindows, TreeOfAParagraph)
{
    const ToolRun result = run("-", "<p class=x>Hi</p>");
    EXPECT_EQ(result.status, 0u);
    EXPECT_EQ(result.out, "<p class=\"x\">\n  \"Hi\"\n");
}

TEST_F(CliWindows, InputWithoutTextExitsWithTwelve)
{
    const ToolRun result = run("-", "");
    EXPECT_EQ(result.status, 12u);
    EXPECT_EQ(result.out, "");
}

}  // namespace
