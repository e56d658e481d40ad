/*
 * domparse_reader: a safe reader of the document images that DOM_Parse returns.
 *
 * Usable from C (C11) and C++.
 *
 * DOMImage_Open checks the whole image before it hands anything out: the
 * header, every node and attribute record, the string table, every index a
 * record holds and the shape of the tree. A malformed image is refused with a
 * one-line message that names what is wrong and where; no input makes the
 * reader crash, read outside the bytes it was given or loop without end. Once
 * an image is open, every accessor below is total: an index out of range gives
 * a neutral answer (0, DOM_IMAGE_ABSENT or an empty string), never a fault.
 *
 * The reader does not copy the image: the bytes must stay where they are and
 * unchanged until DOMImage_Close. They may sit at any alignment.
 *
 * Nodes are numbered 0 to nodeCount - 1 in the order of the node table, which a
 * valid image keeps in document order (a parent before its children, a subtree
 * before its next sibling). That order lets a caller walk a tree of any depth
 * with a loop and DOMImage_SubtreeEnd, without recursion.
 */
#ifndef DOMPARSE_READER_H
#define DOMPARSE_READER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The value of a string index or id field that holds nothing. */
#define DOM_IMAGE_ABSENT 0xFFFFFFFFu

/* The only image version the reader accepts (the library's DOM_GetVersion). */
#define DOM_IMAGE_VERSION 200u

/* Node kinds as the image writes them: note that a comment is 3. */
#define DOM_IMAGE_ELEMENT 1u
#define DOM_IMAGE_TEXT 2u
#define DOM_IMAGE_COMMENT 3u

/* A string of the image: `length` UTF-16 code units, little-endian, at `bytes`
 * (2 x length bytes, not aligned). `bytes` is NULL only for an absent string. */
typedef struct DOMImageString {
    const unsigned char* bytes;
    uint32_t length;
} DOMImageString;

/* One node of an open image. Fields that do not apply to the node's kind are
 * DOM_IMAGE_ABSENT (string indices, tagId) or 0 (counts). */
typedef struct DOMImageNode {
    uint32_t kind;       /* DOM_IMAGE_ELEMENT, DOM_IMAGE_TEXT or DOM_IMAGE_COMMENT */
    uint32_t isTopLevel; /* 1 for a root: a child of the document */
    uint32_t parent;     /* index of the parent element, DOM_IMAGE_ABSENT for a root */
    uint32_t depth;      /* 0 for a root */
    uint32_t childCount;
    /* Elements only. */
    uint32_t tagId;              /* DOM_IMAGE_ABSENT for a name in no table row */
    uint32_t nameString;         /* may be the empty string: see DOMImage_ElementName */
    uint32_t prefixString;       /* DOM_IMAGE_ABSENT without a prefix */
    uint32_t namespaceUriString; /* DOM_IMAGE_ABSENT without a namespace URI */
    uint32_t attributeCount;
    uint32_t declarationCount;
    /* Texts and comments only. */
    uint32_t dataString;
} DOMImageNode;

/* One attribute record. */
typedef struct DOMImageAttribute {
    uint32_t attributeId;        /* DOM_IMAGE_ABSENT for a name in no table row */
    uint32_t nameString;         /* the local name */
    uint32_t prefixString;       /* DOM_IMAGE_ABSENT without a prefix */
    uint32_t namespaceUriString; /* DOM_IMAGE_ABSENT without a namespace URI */
    uint32_t valueString;        /* DOM_IMAGE_ABSENT for an empty value */
} DOMImageAttribute;

/* One namespace declaration of an element (`xmlns` or `xmlns:prefix`). */
typedef struct DOMImageDeclaration {
    uint32_t prefixString; /* the declared prefix; DOM_IMAGE_ABSENT for plain xmlns */
    uint32_t uriString;    /* the declared URI, possibly the empty string */
} DOMImageDeclaration;

typedef struct DOMImage DOMImage;

/* Checks `size` bytes at `bytes` as a complete image (size is the image size
 * DOM_Parse reported, not the size of the block). On success stores a new reader
 * in *imageOut and returns 0. Otherwise stores NULL, writes a one-line message
 * (no line end) into `message`, cut to messageCapacity - 1 bytes and always
 * terminated when messageCapacity > 0, and returns 1; it returns 2 when memory
 * ran out. `message` may be NULL when messageCapacity is 0. */
int DOMImage_Open(const void* bytes, size_t size, DOMImage** imageOut, char* message,
                  size_t messageCapacity);
/* Releases a reader; NULL is allowed. */
void DOMImage_Close(DOMImage* image);

uint32_t DOMImage_Size(const DOMImage* image);
uint32_t DOMImage_NodeCount(const DOMImage* image);
uint32_t DOMImage_AttributeCount(const DOMImage* image);
uint32_t DOMImage_StringCount(const DOMImage* image);

/* The roots (top-level nodes) in order. */
uint32_t DOMImage_RootCount(const DOMImage* image);
/* The node index of root `position`; DOM_IMAGE_ABSENT when out of range. */
uint32_t DOMImage_Root(const DOMImage* image, uint32_t position);

/* Fills *node and returns 1; returns 0 for an index out of range. */
int DOMImage_GetNode(const DOMImage* image, uint32_t index, DOMImageNode* node);
/* The node index of child `position` of node `index`; DOM_IMAGE_ABSENT when out
 * of range. */
uint32_t DOMImage_Child(const DOMImage* image, uint32_t index, uint32_t position);
/* One past the last node of the subtree of node `index` (its descendants are
 * index + 1 up to this); 0 for an index out of range. */
uint32_t DOMImage_SubtreeEnd(const DOMImage* image, uint32_t index);
/* The attribute-table index of attribute `position` of element `index`;
 * DOM_IMAGE_ABSENT when out of range. */
uint32_t DOMImage_ElementAttribute(const DOMImage* image, uint32_t index, uint32_t position);
/* Fills *declaration with declaration `position` of element `index` and returns
 * 1; returns 0 when out of range. */
int DOMImage_GetDeclaration(const DOMImage* image, uint32_t index, uint32_t position,
                            DOMImageDeclaration* declaration);
/* Fills *attribute with attribute-table record `index` and returns 1; returns 0
 * when out of range. */
int DOMImage_GetAttribute(const DOMImage* image, uint32_t index, DOMImageAttribute* attribute);

/* String `index` of the string table; {NULL, 0} for DOM_IMAGE_ABSENT or an index
 * out of range. */
DOMImageString DOMImage_String(const DOMImage* image, uint32_t index);
/* The name of element `index`: its name string, or, when that is empty, the
 * name of its tag id from the library's tag table (the writer leaves the name
 * empty for elements that were made from a tag id alone). {NULL, 0} for a node
 * that is not an element. Allocates nothing. */
DOMImageString DOMImage_ElementName(const DOMImage* image, uint32_t index);
/* The name of a tag id from the library's tag table; {NULL, 0} outside it. */
DOMImageString DOMImage_TagName(uint32_t tagId);

/* The code unit at `position` of a string (no range check beyond returning 0). */
uint32_t DOMImage_Unit(DOMImageString string, uint32_t position);
/* Converts a string to UTF-8: surrogate pairs become one character, a lone
 * surrogate becomes U+FFFD. Writes at most capacity - 1 bytes and a terminating
 * zero when capacity > 0; returns the full UTF-8 length without the zero, so a
 * caller can size a buffer with a first call of capacity 0. */
size_t DOMImage_ToUtf8(DOMImageString string, char* out, size_t capacity);

#ifdef __cplusplus
}
#endif

#endif /* DOMPARSE_READER_H */
