// Windows forms of the few POSIX facilities that the unit tests use, so that
// the same test sources build and run in the Windows build. The build puts this
// header in front of every C++ test source there (see tests/windows/tests.cmake);
// sys/mman.h beside it gives the page mapping calls.
//
// - sysconf(_SC_PAGESIZE): the system's page size.
// - mkdtemp: a new, empty folder of a unique name made from the pattern.
// - testing::KilledBySignal: GoogleTest has it only on POSIX systems. Windows
//   ends a process that faults with the exception's code as its exit status
//   (0xC0000005 for an access violation), and a death test there can only ask
//   that the process ended by an exception: any status with the error severity
//   bits 0xC0000000. The signal number is not checked.
// - MultiByteToWideChar on char16_t units: the tests hold text in char16_t,
//   kernel32's function takes wchar_t, which is the same 16-bit unit here.
// - windows.h without its 16-bit near and far macros.
#pragma once

#ifndef _WIN32
#error "posix_forms.h is for the Windows build only"
#endif

#include <windows.h>
// windows.h defines near and far as empty macros for 16-bit code; the tests
// use them as names.
#undef near
#undef far

#include <direct.h>
#include <io.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#ifndef _SC_PAGESIZE
#define _SC_PAGESIZE 30
#endif

inline long sysconf(int name)
{
    if (name != _SC_PAGESIZE) {
        errno = EINVAL;
        return -1;
    }
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return static_cast<long>(info.dwPageSize);
}

// Replaces the pattern's trailing XXXXXX with a unique suffix and makes the
// folder; returns the pattern, or nullptr with errno set.
inline char* mkdtemp(char* pattern)
{
    const std::size_t length = std::strlen(pattern);
    if (length < 6 || std::strcmp(pattern + length - 6, "XXXXXX") != 0) {
        errno = EINVAL;
        return nullptr;
    }
    static const char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    unsigned long long seed = GetTickCount64() ^ (static_cast<unsigned long long>(GetCurrentProcessId()) << 20);
    for (int attempt = 0; attempt < 100; ++attempt) {
        for (std::size_t i = length - 6; i < length; ++i) {
            seed = seed * 6364136223846793005ull + 1442695040888963407ull;
            pattern[i] = kLetters[(seed >> 33) % (sizeof kLetters - 1)];
        }
        if (_mkdir(pattern) == 0) return pattern;
        if (errno != EEXIST) return nullptr;
    }
    return nullptr;
}

namespace testing {

class KilledBySignal {
public:
    explicit KilledBySignal(int) {}
    bool operator()(int exitStatus) const
    {
        return (static_cast<unsigned>(exitStatus) & 0xC0000000u) == 0xC0000000u;
    }
};

}  // namespace testing

inline int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH bytes, int byteCount, char16_t* out,
                               int capacity)
{
    return MultiByteToWideChar(codePage, flags, bytes, byteCount, reinterpret_cast<LPWSTR>(out), capacity);
}

// A null destination (the size query) would otherwise fit both forms alike.
inline int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH bytes, int byteCount, std::nullptr_t,
                               int capacity)
{
    return MultiByteToWideChar(codePage, flags, bytes, byteCount, static_cast<LPWSTR>(nullptr), capacity);
}
