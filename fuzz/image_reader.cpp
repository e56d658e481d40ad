// Fuzz target: the image reader on arbitrary bytes. Whatever the bytes, the
// reader either refuses them with a message or opens them, and then every
// accessor answers without reading outside the bytes. Images that the library
// wrote are the seeds, so that mutations stay close to valid ones.
#include "fuzz_support.h"

using namespace DomparseFuzz;

DOMPARSE_FUZZ_TARGET(DomparseFuzz::fuzzImageReader)
{
    // A copy of exactly `size` bytes on the heap: any read past them is seen.
    std::vector<std::uint8_t> bytes(data, data + size);
    DOMImage* image = nullptr;
    char message[128];
    const int opened = DOMImage_Open(bytes.data(), bytes.size(), &image, message, sizeof message);
    if (opened != 0) {
        check(image == nullptr, "a refused image handed out");
        check(opened == 1, "the reader ran out of memory", bytes.size());
        check(std::memchr(message, 0, sizeof message) != nullptr, "an unterminated message");
        return 0;
    }
    check(image != nullptr, "an open image without a reader");
    check(DOMImage_Size(image) == size, "the size of the image", DOMImage_Size(image));
    walkImage(image);
    DOMImage_Close(image);
    return 0;
}
