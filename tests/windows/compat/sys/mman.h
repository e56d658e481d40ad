/* The page mapping calls that the unit tests use, in their Windows form: only
 * private anonymous mappings, and protection changes of whole pages inside
 * one. The tests use them to place buffers right in front of a page that
 * cannot be touched. */
#ifndef DOMPARSE_WINDOWS_COMPAT_SYS_MMAN_H
#define DOMPARSE_WINDOWS_COMPAT_SYS_MMAN_H

#include <windows.h>

#include <stddef.h>
#include <sys/types.h>

#define PROT_NONE 0x0
#define PROT_READ 0x1
#define PROT_WRITE 0x2
#define MAP_PRIVATE 0x02
#define MAP_ANONYMOUS 0x20
#define MAP_FAILED ((void*)-1)

static inline void* mmap(void* address, size_t length, int protection, int flags, int descriptor,
                         off_t offset)
{
    (void)address;
    (void)protection;
    (void)offset;
    if (!(flags & MAP_ANONYMOUS) || descriptor != -1) return MAP_FAILED;
    void* memory = VirtualAlloc(NULL, length, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    return memory ? memory : MAP_FAILED;
}

static inline int mprotect(void* address, size_t length, int protection)
{
    DWORD access = PAGE_NOACCESS;
    if (protection & PROT_WRITE) {
        access = PAGE_READWRITE;
    } else if (protection & PROT_READ) {
        access = PAGE_READONLY;
    }
    DWORD previous = 0;
    return VirtualProtect(address, length, access, &previous) ? 0 : -1;
}

/* Releases the whole mapping that starts at address. */
static inline int munmap(void* address, size_t length)
{
    (void)length;
    return VirtualFree(address, 0, MEM_RELEASE) ? 0 : -1;
}

#endif
