// The body of the exported parse: record check, source record, driver, image,
// and the translation of failures into result codes.
#pragma once

#include <cstdint>
#include <memory>

#include "domparse.h"
#include "library/shared_types.h"

namespace Parsers {

class ErrorListener;

// Everything DOM_Parse does; see domparse.h for the contract.
std::uint32_t parseToImage(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                           DOM_ParseRecord* record);

// The same call with case folding parsing (parse mode 1, documentKind 1) from
// the input stage to the tree, and no tidying: the image keeps html, head and
// body. The same record check, the same three handlers and the same result
// codes as DOM_Parse. Internal only: the shared library does not export it.
std::uint32_t parseToImageCaseFolding(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                                      DOM_ParseRecord* record);
// The same, with `listener` attached to the parse, so that a caller inside the
// project sees every report.
std::uint32_t parseToImageCaseFolding(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                                      DOM_ParseRecord* record,
                                      std::shared_ptr<ErrorListener> listener);

// Parses under parse mode 1 or 2 as the calls above do and writes the
// finished document as markup text into `markup` in place of an image: under
// mode 2 the tidied document, under mode 1 the whole tree with html, head and
// body. The same record check and handlers; the record's result field is left
// alone, and 0 means that `markup` holds the text.
std::uint32_t parseToMarkup(void* input, std::uint32_t size, DOM_ParseRecord* record,
                            std::uint32_t parseMode, UString& markup);

}  // namespace Parsers
