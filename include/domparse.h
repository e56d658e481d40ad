/*
 * domparse: an HTML-style parser that returns a finished document tree as one
 * self-contained binary image in a global memory block owned by the caller.
 *
 * Usable from C (C11) and C++.
 *
 * The caller's duties
 * -------------------
 * - The input buffer must be writable. The library rewrites it in place: UTF-16
 *   text has its line ends normalised where it lies, and a byte-swapped byte
 *   order mark makes the whole buffer swapped in place.
 * - At least DOM_INPUT_PADDING (4) bytes behind the input must be readable and
 *   writable, and should be zero: the library looks one 16-bit unit past the
 *   end of the text.
 * - The image block that DOM_Parse hands over belongs to the caller, who reads
 *   it with GlobalLock / GlobalUnlock and releases it with GlobalFree. Its size
 *   is given in the record's result field; the block itself may be larger.
 * - A parse is one synchronous call on the caller's thread. The library starts
 *   no threads, reads no files and keeps no state between calls that could
 *   change a result or an image (see the shared character at the end).
 *
 * On Windows the block functions are kernel32's. On other systems this library
 * exports functions of the same names and meaning, so that host code is the
 * same on both.
 */
#ifndef DOMPARSE_H
#define DOMPARSE_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#include <windows.h>
#endif

#if defined(_WIN32)
#if defined(DOMPARSE_EXPORTING)
#define DOMPARSE_API __declspec(dllexport)
#else
#define DOMPARSE_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define DOMPARSE_API __attribute__((visibility("default")))
#else
#define DOMPARSE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The value DOM_GetVersion returns; also the version stamped into every image. */
#define DOM_LIBRARY_VERSION 200u

/* The only record version DOM_Parse accepts. */
#define DOM_RECORD_VERSION 2u

/* Input kinds (the record's inputKind). Any value other than DOM_INPUT_UTF16
 * means bytes whose encoding the library finds out. */
#define DOM_INPUT_BYTES 0u
#define DOM_INPUT_UTF16 1u

/* Bytes that must be readable and writable behind the input. */
#define DOM_INPUT_PADDING 4u

/* Result codes of DOM_Parse. */
#define DOM_RESULT_OK 0u            /* the image was written; record.result is its size */
#define DOM_RESULT_BAD_RECORD 1u    /* record version is not 2; nothing was touched */
#define DOM_RESULT_FAILED 2u        /* no text could be made of the input, or another error */
#define DOM_RESULT_OUT_OF_MEMORY 3u /* memory ran out during the parse or the image writing */

/* Result codes that only DOM_ParseGuarded returns (see the guarded library
 * below). Where DOM_Parse does not come back normally, it ends the parse with
 * one of these. */
#define DOM_RESULT_NO_BODY 4u      /* the finished document has no body to lift */
#define DOM_RESULT_NEVER_ENDS 5u   /* the input can never be consumed to its end */
#define DOM_RESULT_BARE_BYTE_ORDER_MARK 6u /* a byte order mark with no text behind it */

/* The caller's record: 10 bytes, packed, little-endian fields. */
#pragma pack(push, 1)
typedef struct DOM_ParseRecord {
    uint16_t version;   /* offset 0: must be DOM_RECORD_VERSION */
    uint32_t inputKind; /* offset 2: DOM_INPUT_UTF16 or anything else for bytes */
    uint32_t result;    /* offset 6: written by DOM_Parse: the image size in bytes */
} DOM_ParseRecord;
#pragma pack(pop)

#if defined(__cplusplus)
static_assert(sizeof(DOM_ParseRecord) == 10, "the caller's record is 10 bytes");
static_assert(offsetof(DOM_ParseRecord, version) == 0, "version at offset 0");
static_assert(offsetof(DOM_ParseRecord, inputKind) == 2, "inputKind at offset 2");
static_assert(offsetof(DOM_ParseRecord, result) == 6, "result at offset 6");
#else
_Static_assert(sizeof(DOM_ParseRecord) == 10, "the caller's record is 10 bytes");
_Static_assert(offsetof(DOM_ParseRecord, version) == 0, "version at offset 0");
_Static_assert(offsetof(DOM_ParseRecord, inputKind) == 2, "inputKind at offset 2");
_Static_assert(offsetof(DOM_ParseRecord, result) == 6, "result at offset 6");
#endif

#if !defined(_WIN32)
/* The global memory block functions, with the meaning they have on Windows.
 * A handle is opaque and pointer-sized. A block is zero-filled when allocated.
 * An invalid or already freed handle makes a call fail (NULL, 0 or the handle
 * back from GlobalFree) without touching memory. All five may be called from
 * several threads at once. */
typedef struct DOM_GlobalBlock* HGLOBAL;

#define GMEM_FIXED 0x0000u
#define GMEM_MOVEABLE 0x0002u
#define GMEM_ZEROINIT 0x0040u
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)

/* Allocates a block of `bytes` bytes; NULL on failure or invalid flags. */
DOMPARSE_API HGLOBAL GlobalAlloc(unsigned int flags, size_t bytes);
/* Returns the block's address and counts one lock; NULL for an invalid handle. */
DOMPARSE_API void* GlobalLock(HGLOBAL block);
/* Takes one lock away. Non-zero while the block is still locked afterwards;
 * zero when it is now unlocked, was not locked, or the handle is invalid. */
DOMPARSE_API int GlobalUnlock(HGLOBAL block);
/* Frees the block. NULL on success; the handle itself when it is invalid. */
DOMPARSE_API HGLOBAL GlobalFree(HGLOBAL block);
/* The size asked for at allocation; 0 for an invalid handle. */
DOMPARSE_API size_t GlobalSize(HGLOBAL block);
#endif

/* Returns DOM_LIBRARY_VERSION (200). */
DOMPARSE_API uint32_t DOM_GetVersion(void);

/* Parses `size` bytes at `input` (see the caller's duties above) and stores the
 * handle of a new block holding the document image in *imageHandleOut, and the
 * image's size in record->result. Returns one of the DOM_RESULT_ codes; the
 * handle is valid only when the result is DOM_RESULT_OK. */
DOMPARSE_API uint32_t DOM_Parse(void* input, uint32_t size, HGLOBAL* imageHandleOut,
                                DOM_ParseRecord* record);

/* The guarded library
 * -------------------
 * libdomparse_guarded.so (domparse_guarded.dll on Windows) is built from the
 * same sources and exports this one function, for callers who parse untrusted
 * input. It takes the same arguments and record, and on every input on which
 * DOM_Parse returns it returns the same result and an image identical byte for
 * byte. Where DOM_Parse does not come back normally, it ends the parse with a
 * result code instead:
 *
 * - DOM_RESULT_NEVER_ENDS (5): the text can never be read to its end. DOM_Parse
 *   turns for ever: a text that ends in "<" in a less-than state emits "<"
 *   without bound (until memory runs out where the tree keeps them), and a
 *   text that ends in an attribute name and one space turns between the two
 *   attribute name states. The guarded build watches the progress of the
 *   reading itself, not particular inputs: a parse whose stream stops
 *   advancing while the tokenizer keeps turning is ended, whatever loop holds
 *   it.
 * - DOM_RESULT_NO_BODY (4): the finished tree has no html element with a body
 *   child (for example "<!DOCTYPE html><html><p>x</p></html>", or UTF-16 input
 *   of fewer than two bytes). DOM_Parse reads through the missing body and the
 *   process ends with a memory fault.
 * - DOM_RESULT_BARE_BYTE_ORDER_MARK (6): the bytes FE FF with less than one
 *   unit behind them, whose byte swap DOM_Parse runs off the buffer, and the
 *   bytes EF BB BF alone, which leave DOM_Parse no text to read.
 *
 * Blocks are allocated with the same block functions as those of DOM_Parse
 * (on Linux the guarded library uses those of libdomparse.so, on Windows
 * kernel32's), so the caller frees them with GlobalFree either way.
 *
 * The one state that parses share is a single 16-bit character of the
 * character reference rules, set by attribute values and cleared by the
 * reference after them, and never reset between calls; each library has its
 * own. It is atomic, so calls may run on several threads at once. What a
 * parse on one thread leaves there can change only which parse errors another
 * parse reports, which reach no caller: it never changes a result or an
 * image. */
DOMPARSE_API uint32_t DOM_ParseGuarded(void* input, uint32_t size, HGLOBAL* imageHandleOut,
                                       DOM_ParseRecord* record);

#ifdef __cplusplus
}
#endif

#endif /* DOMPARSE_H */
