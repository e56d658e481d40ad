// Fuzz target: DOM_ParseGuarded on bytes (input kind 0), so that the byte
// order marks, the meta prescan, the decoders and the whole parse see them.
#include "parse_common.h"

DOMPARSE_FUZZ_TARGET(DomparseFuzz::fuzzParseBytes)
{
    DomparseFuzz::parseAndRead(data, size, DOM_INPUT_BYTES);
    return 0;
}
