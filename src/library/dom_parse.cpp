#include "library/dom_parse.h"

#include <memory>
#include <new>

#include "dom/node.h"
#include "image/image_writer.h"
#include "library/parse_document.h"
#include "library/source_buffer.h"

namespace Parsers {

namespace {

// Parses and writes the image. The source record is held by an owning local,
// so that an exception passing through releases it exactly as success does,
// before a handler turns the exception into a result code.
std::uint32_t parseAndWrite(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                            DOM_ParseRecord* record)
{
    auto source = std::make_unique<SourceBuffer>();
    bool isUtf16 = record->inputKind == DOM_INPUT_UTF16;
    Document* document = parseDocument(*source, input, size, 0, isUtf16);
    record->result = writeDocumentImage(*document, imageHandleOut);
    releaseSource(*source);
    source.reset();
    return record->result != 0 ? DOM_RESULT_OK : DOM_RESULT_FAILED;
}

}  // namespace

std::uint32_t parseToImage(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                           DOM_ParseRecord* record)
{
    if (record->version != DOM_RECORD_VERSION) return DOM_RESULT_BAD_RECORD;
    // The first handler is for a result code thrown as such: nothing throws
    // one today, and it stays first so that a later error type can.
    try {
        return parseAndWrite(input, size, imageHandleOut, record);
    } catch (unsigned short code) {
        return code;
    } catch (const std::bad_alloc&) {
        return DOM_RESULT_OUT_OF_MEMORY;
    } catch (...) {
        return DOM_RESULT_FAILED;
    }
}

}  // namespace Parsers
