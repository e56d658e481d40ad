// The body of the exported parse: record check, source record, driver, image,
// and the translation of failures into result codes.
#pragma once

#include <cstdint>

#include "domparse.h"

namespace Parsers {

// Everything DOM_Parse does; see domparse.h for the contract.
std::uint32_t parseToImage(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                           DOM_ParseRecord* record);

}  // namespace Parsers
