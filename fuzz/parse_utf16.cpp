// Fuzz target: DOM_ParseGuarded on UTF-16 text (input kind 1): the input's
// bytes are the units, in little-endian order, and an odd last byte is left
// over as the library leaves it.
#include "parse_common.h"

DOMPARSE_FUZZ_TARGET(DomparseFuzz::fuzzParseUtf16)
{
    DomparseFuzz::parseAndRead(data, size, DOM_INPUT_UTF16);
    return 0;
}
