// The one function the guarded library exports. Its core is the parsing core
// compiled with DOMPARSE_GUARDED, so the parse below is the guarded one.
#define DOMPARSE_EXPORTING
#include "domparse.h"

#include "library/dom_parse.h"

extern "C" DOMPARSE_API uint32_t DOM_ParseGuarded(void* input, uint32_t size,
                                                  HGLOBAL* imageHandleOut,
                                                  DOM_ParseRecord* record)
{
    return Parsers::parseToImage(input, size, imageHandleOut, record);
}
