// The functions the shared library exports. Everything else stays inside it.
#define DOMPARSE_EXPORTING
#include "domparse.h"

#include "library/dom_parse.h"

extern "C" DOMPARSE_API uint32_t DOM_GetVersion(void)
{
    return DOM_LIBRARY_VERSION;
}

extern "C" DOMPARSE_API uint32_t DOM_Parse(void* input, uint32_t size, HGLOBAL* imageHandleOut,
                                           DOM_ParseRecord* record)
{
    return Parsers::parseToImage(input, size, imageHandleOut, record);
}
