// The two DOM_Parse targets share this: a guarded parse of the input under one
// input kind, the check of its result code, and a full read of the image it
// returns. The guarded library ends the parses that DOM_Parse would not come
// back from with result codes of their own, so those are results here, never
// findings.
#pragma once

#include <cstddef>
#include <cstdint>

#include "domparse.h"
#include "fuzz_support.h"

namespace DomparseFuzz {

inline void parseAndRead(const std::uint8_t* data, std::size_t size, std::uint32_t inputKind)
{
    if (size > kMaxInputSize) size = kMaxInputSize;
    std::vector<std::uint8_t> buffer = paddedCopy(data, size);
    DOM_ParseRecord record{};
    record.version = DOM_RECORD_VERSION;
    record.inputKind = inputKind;
    HGLOBAL handle = nullptr;
    const std::uint32_t result =
        DOM_ParseGuarded(buffer.data(), static_cast<std::uint32_t>(size), &handle, &record);
    switch (result) {
    case DOM_RESULT_OK: break;
    // No text can be made of no bytes. Anything else that fails is a finding:
    // the rules of a case preserving parse have no failure path of their own.
    case DOM_RESULT_FAILED:
        check(size == 0 && inputKind != DOM_INPUT_UTF16, "result 2 for a non-empty input", size);
        check(record.result == 0, "an image size without an image", record.result);
        return;
    // The guarded build's three ends of a parse that would not come back.
    case DOM_RESULT_NO_BODY:
    case DOM_RESULT_NEVER_ENDS:
    case DOM_RESULT_BARE_BYTE_ORDER_MARK:
        check(record.result == 0, "an image size without an image", record.result);
        return;
    // Out of memory is a finding at these sizes, as is any other code.
    default: finding("unexpected result code", result);
    }
    check(record.result != 0, "result 0 with an empty image");
    const void* bytes = GlobalLock(handle);
    check(bytes != nullptr, "the image block cannot be locked");
    check(GlobalSize(handle) >= record.result, "an image larger than its block", record.result);
    DOMImage* image = nullptr;
    char message[256] = "";
    if (DOMImage_Open(bytes, record.result, &image, message, sizeof message) != 0) {
        std::fprintf(stderr, "the reader refuses the image: %s\n", message);
        finding("a malformed image", record.result);
    }
    walkImage(image);
    DOMImage_Close(image);
    GlobalUnlock(handle);
    check(GlobalFree(handle) == nullptr, "the image block cannot be freed");
}

}  // namespace DomparseFuzz
