// domparse.dll as Windows sees it: its export and import tables, read from the
// file itself, and the exports reached through LoadLibrary.

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

// The parts of a PE file's headers and tables that the tests look at. Every
// read is bounds-checked; a malformed file fails the test instead of crashing.
class PortableExecutable {
public:
    explicit PortableExecutable(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        if (bytes.size() < 0x40 || u16(0) != 0x5A4D) return;  // "MZ"
        const std::uint32_t pe = u32(0x3C);
        if (u32(pe) != 0x00004550) return;  // "PE\0\0"
        const std::uint32_t coff = pe + 4;
        machine = u16(coff);
        const std::uint16_t sectionCount = u16(coff + 2);
        const std::uint16_t optionalSize = u16(coff + 16);
        characteristics = u16(coff + 18);
        const std::uint32_t optional = coff + 20;
        optionalMagic = u16(optional);
        // PE32+ keeps the directory count at 108 and the directories from 112.
        directoryCount = u32(optional + 108);
        directories = optional + 112;
        sections = optional + optionalSize;
        for (std::uint16_t i = 0; i < sectionCount; ++i) {
            const std::uint32_t at = sections + 40u * i;
            sectionTable.push_back({u32(at + 12), std::max(u32(at + 8), u32(at + 16)), u32(at + 20)});
        }
        valid = !outOfRange;
    }

    bool valid = false;
    std::uint16_t machine = 0;
    std::uint16_t characteristics = 0;
    std::uint16_t optionalMagic = 0;

    // Directory `index`: its RVA, or 0 when absent.
    std::uint32_t directoryRva(std::uint32_t index)
    {
        return index < directoryCount ? u32(directories + 8 * index) : 0;
    }

    // The names of the export directory's name table, and its counts.
    std::vector<std::string> exportNames(std::uint32_t& functionCount, std::string& dllName)
    {
        std::vector<std::string> names;
        const std::uint32_t directory = offsetOf(directoryRva(0));
        if (!directory) return names;
        dllName = stringAt(offsetOf(u32(directory + 12)));
        functionCount = u32(directory + 20);
        const std::uint32_t nameCount = u32(directory + 24);
        const std::uint32_t nameTable = offsetOf(u32(directory + 32));
        for (std::uint32_t i = 0; i < nameCount && !outOfRange; ++i) {
            names.push_back(stringAt(offsetOf(u32(nameTable + 4 * i))));
        }
        return names;
    }

    // The DLL names of the import directory, in upper case.
    std::set<std::string> importedDlls()
    {
        std::set<std::string> dlls;
        std::uint32_t descriptor = offsetOf(directoryRva(1));
        if (!descriptor) return dlls;
        // 20-byte descriptors up to one of all zeros.
        for (; !outOfRange; descriptor += 20) {
            const std::uint32_t nameRva = u32(descriptor + 12);
            if (nameRva == 0 && u32(descriptor) == 0 && u32(descriptor + 16) == 0) break;
            std::string name = stringAt(offsetOf(nameRva));
            std::transform(name.begin(), name.end(), name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
            dlls.insert(name);
        }
        return dlls;
    }

    // The functions imported by name from `dll` (upper case), from its import
    // lookup table of 64-bit entries.
    std::set<std::string> importedFunctions(const std::string& dll)
    {
        std::set<std::string> functions;
        std::uint32_t descriptor = offsetOf(directoryRva(1));
        if (!descriptor) return functions;
        for (; !outOfRange; descriptor += 20) {
            const std::uint32_t nameRva = u32(descriptor + 12);
            if (nameRva == 0) break;
            std::string name = stringAt(offsetOf(nameRva));
            std::transform(name.begin(), name.end(), name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
            if (name != dll) continue;
            std::uint32_t entry = offsetOf(u32(descriptor) ? u32(descriptor) : u32(descriptor + 16));
            for (; !outOfRange; entry += 8) {
                const std::uint32_t low = u32(entry);
                const std::uint32_t high = u32(entry + 4);
                if (low == 0 && high == 0) break;
                // The top bit marks an import by ordinal, which has no name.
                if (high & 0x80000000u) continue;
                functions.insert(stringAt(offsetOf(low) + 2));
            }
        }
        return functions;
    }

    bool malformed() const { return outOfRange; }

private:
    struct Section {
        std::uint32_t rva;
        std::uint32_t size;
        std::uint32_t fileOffset;
    };

    std::uint32_t offsetOf(std::uint32_t rva)
    {
        if (rva == 0) return 0;
        for (const Section& section : sectionTable) {
            if (rva >= section.rva && rva - section.rva < section.size) return section.fileOffset + (rva - section.rva);
        }
        outOfRange = true;
        return 0;
    }
    std::uint8_t byteAt(std::uint32_t at)
    {
        if (at >= bytes.size()) {
            outOfRange = true;
            return 0;
        }
        return static_cast<std::uint8_t>(bytes[at]);
    }
    std::uint16_t u16(std::uint32_t at) { return static_cast<std::uint16_t>(byteAt(at) | (byteAt(at + 1) << 8)); }
    std::uint32_t u32(std::uint32_t at) { return u16(at) | (static_cast<std::uint32_t>(u16(at + 2)) << 16); }
    std::string stringAt(std::uint32_t at)
    {
        std::string text;
        if (at == 0) return text;
        for (std::uint8_t c; (c = byteAt(at)) != 0 && !outOfRange; ++at) text += static_cast<char>(c);
        return text;
    }

    std::vector<char> bytes;
    std::vector<Section> sectionTable;
    std::uint32_t directoryCount = 0;
    std::uint32_t directories = 0;
    std::uint32_t sections = 0;
    bool outOfRange = false;
};

const std::string kDll = DOMPARSE_BINARY_DIR "/domparse.dll";
const std::string kTool = DOMPARSE_BINARY_DIR "/domparse.exe";

TEST(PortableExecutable, DllIsA64BitDll)
{
    PortableExecutable dll(kDll);
    ASSERT_TRUE(dll.valid) << kDll;
    EXPECT_EQ(dll.machine, 0x8664);       // x86-64
    EXPECT_EQ(dll.optionalMagic, 0x20B);  // PE32+
    EXPECT_NE(dll.characteristics & 0x2000, 0);  // a DLL
}

TEST(PortableExecutable, DllExportsExactlyTheTwoFunctionsUndecorated)
{
    PortableExecutable dll(kDll);
    ASSERT_TRUE(dll.valid) << kDll;
    std::uint32_t functionCount = 0;
    std::string dllName;
    const std::vector<std::string> names = dll.exportNames(functionCount, dllName);
    ASSERT_FALSE(dll.malformed());
    EXPECT_EQ(names, (std::vector<std::string>{"DOM_GetVersion", "DOM_Parse"}));
    // No export by ordinal only.
    EXPECT_EQ(functionCount, 2u);
    EXPECT_EQ(dllName, "domparse.dll");
}

TEST(PortableExecutable, DllImportsOnlyKernel32AndTheCRuntime)
{
    PortableExecutable dll(kDll);
    ASSERT_TRUE(dll.valid) << kDll;
    EXPECT_EQ(dll.importedDlls(), (std::set<std::string>{"KERNEL32.DLL", "MSVCRT.DLL"}));
    ASSERT_FALSE(dll.malformed());
    // Nor anything loaded later: the delay import directory is empty.
    EXPECT_EQ(dll.directoryRva(13), 0u);
}

TEST(PortableExecutable, BlockFunctionsAndDecoderAreKernel32s)
{
    PortableExecutable dll(kDll);
    ASSERT_TRUE(dll.valid) << kDll;
    const std::set<std::string> functions = dll.importedFunctions("KERNEL32.DLL");
    ASSERT_FALSE(dll.malformed());
    for (const char* name : {"GlobalAlloc", "GlobalLock", "GlobalUnlock", "GlobalFree", "MultiByteToWideChar"}) {
        EXPECT_EQ(functions.count(name), 1u) << name;
    }
}

TEST(PortableExecutable, ToolParsesThroughTheDll)
{
    PortableExecutable tool(kTool);
    ASSERT_TRUE(tool.valid) << kTool;
    EXPECT_EQ(tool.importedDlls(), (std::set<std::string>{"DOMPARSE.DLL", "KERNEL32.DLL", "MSVCRT.DLL"}));
}

TEST(LoadLibrary, FindsTheTwoExportsAndNothingElse)
{
    HMODULE library = LoadLibraryA(kDll.c_str());
    ASSERT_NE(library, nullptr) << GetLastError();
    using GetVersionFunction = std::uint32_t(__cdecl*)();
    auto getVersion = reinterpret_cast<GetVersionFunction>(
        reinterpret_cast<void*>(GetProcAddress(library, "DOM_GetVersion")));
    ASSERT_NE(getVersion, nullptr);
    EXPECT_EQ(getVersion(), 200u);
    EXPECT_NE(GetProcAddress(library, "DOM_Parse"), nullptr);
    // The block functions are kernel32's, not the library's.
    for (const char* name : {"GlobalAlloc", "GlobalLock", "GlobalUnlock", "GlobalFree", "GlobalSize",
                             "MultiByteToWideChar", "_DOM_Parse", "DOM_Parse@16"}) {
        EXPECT_EQ(GetProcAddress(library, name), nullptr) << name;
    }
    EXPECT_TRUE(FreeLibrary(library));
}

// ------------------------------------------------------ domparse_guarded.dll

const std::string kGuardedDll = DOMPARSE_BINARY_DIR "/domparse_guarded.dll";

TEST(GuardedDll, ExportsExactlyDomParseGuardedUndecorated)
{
    PortableExecutable dll(kGuardedDll);
    ASSERT_TRUE(dll.valid) << kGuardedDll;
    std::uint32_t functionCount = 0;
    std::string dllName;
    const std::vector<std::string> names = dll.exportNames(functionCount, dllName);
    ASSERT_FALSE(dll.malformed());
    EXPECT_EQ(names, std::vector<std::string>{"DOM_ParseGuarded"});
    EXPECT_EQ(functionCount, 1u);
    EXPECT_EQ(dllName, "domparse_guarded.dll");
}

TEST(GuardedDll, TakesBlocksAndDecodingFromKernel32Alone)
{
    // Like domparse.dll, and not from it: a block of either DLL is kernel32's,
    // freed with the same GlobalFree.
    PortableExecutable dll(kGuardedDll);
    ASSERT_TRUE(dll.valid) << kGuardedDll;
    EXPECT_EQ(dll.importedDlls(), (std::set<std::string>{"KERNEL32.DLL", "MSVCRT.DLL"}));
    const std::set<std::string> functions = dll.importedFunctions("KERNEL32.DLL");
    ASSERT_FALSE(dll.malformed());
    for (const char* name : {"GlobalAlloc", "GlobalLock", "GlobalUnlock", "GlobalFree", "MultiByteToWideChar"}) {
        EXPECT_EQ(functions.count(name), 1u) << name;
    }
}

TEST(GuardedDll, EndsWithResultCodesWhereDomParseDoesNotReturn)
{
    HMODULE library = LoadLibraryA(kGuardedDll.c_str());
    ASSERT_NE(library, nullptr) << GetLastError();
    using ParseFunction = std::uint32_t(__cdecl*)(void*, std::uint32_t, HGLOBAL*, void*);
    auto parse = reinterpret_cast<ParseFunction>(
        reinterpret_cast<void*>(GetProcAddress(library, "DOM_ParseGuarded")));
    ASSERT_NE(parse, nullptr);
    EXPECT_EQ(GetProcAddress(library, "DOM_Parse"), nullptr);
    // The packed record: version 2, input kind 0, result.
    auto run = [&](const std::string& text, std::uint32_t& imageSize, HGLOBAL& handle) {
        std::vector<char> buffer(text.begin(), text.end());
        buffer.resize(text.size() + 4, 0);
        unsigned char record[10] = {2, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        handle = nullptr;
        const std::uint32_t result =
            parse(buffer.data(), static_cast<std::uint32_t>(text.size()), &handle, record);
        imageSize = static_cast<std::uint32_t>(record[6] | record[7] << 8 | record[8] << 16 |
                                               record[9] << 24);
        return result;
    };
    std::uint32_t imageSize = 0;
    HGLOBAL handle = nullptr;
    EXPECT_EQ(run("<p>x<", imageSize, handle), 5u);
    EXPECT_EQ(run("<a b ", imageSize, handle), 5u);
    EXPECT_EQ(run("<!DOCTYPE html><html><p>x</p></html>", imageSize, handle), 4u);
    EXPECT_EQ(run(std::string("\xFE\xFF"), imageSize, handle), 6u);
    EXPECT_EQ(imageSize, 0u);
    ASSERT_EQ(run("<p>x</p>", imageSize, handle), 0u);
    EXPECT_GT(imageSize, 0u);
    EXPECT_EQ(GlobalFree(handle), nullptr);
    EXPECT_TRUE(FreeLibrary(library));
}

}  // namespace
