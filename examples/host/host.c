/*
 * A C host of the installed domparse: reads a file, parses it with DOM_Parse
 * and prints the tree of the image, walked with the image reader.
 *
 *   domparse_host FILE
 *
 * Output, one node per line, indented two spaces per level:
 *   <name attribute="value">   an element, with its prefix as prefix:name
 *   "text"                     a text
 *   <!--comment-->             a comment
 * then a last line "N nodes" with the number of nodes in the image.
 *
 * Build it against an install with CMake (CMakeLists.txt beside this file) or
 * with pkg-config (Makefile beside this file).
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "domparse.h"
#include "domparse_reader.h"

/* Reads the whole file into a new buffer with DOM_INPUT_PADDING zero bytes
 * behind the contents: DOM_Parse rewrites its input in place and looks one
 * 16-bit unit past the end. Returns NULL when the file cannot be read. */
static unsigned char* read_padded(const char* path, uint32_t* size)
{
    FILE* file = fopen(path, "rb");
    if (!file) return NULL;
    size_t capacity = 4096;
    size_t length = 0;
    unsigned char* buffer = malloc(capacity);
    while (buffer) {
        if (capacity - length < DOM_INPUT_PADDING + 1) {
            unsigned char* larger = realloc(buffer, capacity * 2);
            if (!larger) {
                free(buffer);
                buffer = NULL;
                break;
            }
            buffer = larger;
            capacity *= 2;
        }
        size_t got = fread(buffer + length, 1, capacity - length - DOM_INPUT_PADDING, file);
        if (got == 0) break;
        length += got;
    }
    if (buffer && (ferror(file) || length > UINT32_MAX - DOM_INPUT_PADDING)) {
        free(buffer);
        buffer = NULL;
    }
    fclose(file);
    if (!buffer) return NULL;
    memset(buffer + length, 0, DOM_INPUT_PADDING);
    *size = (uint32_t)length;
    return buffer;
}

/* Prints a string of the image as UTF-8, with a line feed shown as \n so
 * that every node stays on its line. */
static void print_string(DOMImageString string)
{
    size_t length = DOMImage_ToUtf8(string, NULL, 0);
    char* utf8 = malloc(length + 1);
    if (!utf8) return;
    DOMImage_ToUtf8(string, utf8, length + 1);
    for (size_t at = 0; at < length; ++at) {
        if (utf8[at] == '\n') {
            fputs("\\n", stdout);
        } else {
            putchar(utf8[at]);
        }
    }
    free(utf8);
}

static void print_element(const DOMImage* image, uint32_t index, const DOMImageNode* node)
{
    putchar('<');
    if (node->prefixString != DOM_IMAGE_ABSENT) {
        print_string(DOMImage_String(image, node->prefixString));
        putchar(':');
    }
    print_string(DOMImage_ElementName(image, index));
    for (uint32_t position = 0; position < node->attributeCount; ++position) {
        DOMImageAttribute attribute;
        DOMImage_GetAttribute(image, DOMImage_ElementAttribute(image, index, position), &attribute);
        putchar(' ');
        if (attribute.prefixString != DOM_IMAGE_ABSENT) {
            print_string(DOMImage_String(image, attribute.prefixString));
            putchar(':');
        }
        print_string(DOMImage_String(image, attribute.nameString));
        fputs("=\"", stdout);
        /* An empty value is absent in the image: the reader gives "". */
        print_string(DOMImage_String(image, attribute.valueString));
        putchar('"');
    }
    putchar('>');
}

/* The nodes of an image are numbered in document order, each parent before
 * its children, so one loop over them walks the whole tree, at any depth. */
static void print_tree(const DOMImage* image)
{
    for (uint32_t index = 0; index < DOMImage_NodeCount(image); ++index) {
        DOMImageNode node;
        DOMImage_GetNode(image, index, &node);
        printf("%*s", (int)(2 * node.depth), "");
        if (node.kind == DOM_IMAGE_ELEMENT) {
            print_element(image, index, &node);
        } else if (node.kind == DOM_IMAGE_TEXT) {
            putchar('"');
            print_string(DOMImage_String(image, node.dataString));
            putchar('"');
        } else {
            fputs("<!--", stdout);
            print_string(DOMImage_String(image, node.dataString));
            fputs("-->", stdout);
        }
        putchar('\n');
    }
    printf("%u nodes\n", DOMImage_NodeCount(image));
}

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: domparse_host FILE\n");
        return 64;
    }
    uint32_t size = 0;
    unsigned char* input = read_padded(argv[1], &size);
    if (!input) {
        fprintf(stderr, "domparse_host: cannot read %s\n", argv[1]);
        return 66;
    }

    DOM_ParseRecord record = {DOM_RECORD_VERSION, DOM_INPUT_BYTES, 0};
    HGLOBAL block = NULL;
    uint32_t result = DOM_Parse(input, size, &block, &record);
    free(input);
    if (result != DOM_RESULT_OK) {
        fprintf(stderr, "domparse_host: DOM_Parse returned %u\n", result);
        return 10 + (int)result;
    }

    /* The image is record.result bytes at the start of the block; the reader
     * checks all of it before giving access to anything. */
    int status = 0;
    const void* bytes = GlobalLock(block);
    DOMImage* image = NULL;
    char message[256];
    if (!bytes || DOMImage_Open(bytes, record.result, &image, message, sizeof message) != 0) {
        fprintf(stderr, "domparse_host: malformed image: %s\n", bytes ? message : "no block");
        status = 70;
    } else {
        print_tree(image);
        DOMImage_Close(image);
    }
    GlobalUnlock(block);
    GlobalFree(block); /* the block belongs to the caller */
    return status;
}
