/* The reader's header compiled as C: a host written in C opens an image and
 * counts its nodes. */
#include <stddef.h>
#include <stdint.h>

#include "domparse_reader.h"

uint32_t countNodesFromC(const void* bytes, size_t size, char* message, size_t capacity);

/* Returns the node count of a valid image, or 0 with the reader's message. */
uint32_t countNodesFromC(const void* bytes, size_t size, char* message, size_t capacity)
{
    DOMImage* image = NULL;
    uint32_t count = 0;
    if (DOMImage_Open(bytes, size, &image, message, capacity) != 0) return 0;
    count = DOMImage_NodeCount(image);
    DOMImage_Close(image);
    return count;
}
