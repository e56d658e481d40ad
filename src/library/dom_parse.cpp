#include "library/dom_parse.h"

#include <memory>
#include <new>

#include "dom/node.h"
#include "image/image_writer.h"
#include "library/parse_document.h"
#include "library/source_buffer.h"
#include "tokenizer/parse_errors.h"
#include "tokenizer/tokenizer.h"

namespace Parsers {

namespace {

// Parses and writes the image. The source record is held by an owning local,
// so that an exception passing through releases it exactly as success does,
// before a handler turns the exception into a result code.
std::uint32_t parseAndWrite(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                            DOM_ParseRecord* record, std::uint32_t parseMode,
                            std::shared_ptr<ErrorListener> listener)
{
    auto source = std::make_unique<SourceBuffer>();
    if (listener) addErrorListener(*source, std::move(listener));
    bool isUtf16 = record->inputKind == DOM_INPUT_UTF16;
    Document* document = parseDocumentInMode(*source, input, size, isUtf16, parseMode);
    releaseDecodedText(*source);
    record->result = writeDocumentImage(*document, imageHandleOut, TreeAfterImage::Released);
    releaseSource(*source);
    source.reset();
    return record->result != 0 ? DOM_RESULT_OK : DOM_RESULT_FAILED;
}

std::uint32_t parseAndWriteMarkup(void* input, std::uint32_t size, DOM_ParseRecord* record,
                                  std::uint32_t parseMode, UString& markup)
{
    auto source = std::make_unique<SourceBuffer>();
    bool isUtf16 = record->inputKind == DOM_INPUT_UTF16;
    Document* document = parseDocumentInMode(*source, input, size, isUtf16, parseMode);
    markup.clear();
    document->writeMarkup(markup);
    releaseSource(*source);
    source.reset();
    return DOM_RESULT_OK;
}

// Runs a parse behind the record check and the handlers of DOM_Parse. The
// first handler is for a result code thrown as such: nothing throws one today,
// and it stays first so that a later error type can. A read outside the stack
// of open elements (std::out_of_range) and the values of enDPE land in the
// last one.
template <typename Parse>
std::uint32_t guardedParse(DOM_ParseRecord* record, Parse&& parse)
{
    if (record->version != DOM_RECORD_VERSION) return DOM_RESULT_BAD_RECORD;
    try {
        return parse();
    } catch (unsigned short code) {
        return code;
    } catch (const std::bad_alloc&) {
        return DOM_RESULT_OUT_OF_MEMORY;
    } catch (...) {
        return DOM_RESULT_FAILED;
    }
}

}  // namespace

std::uint32_t parseToImage(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                           DOM_ParseRecord* record)
{
    return guardedParse(record, [&] {
        return parseAndWrite(input, size, imageHandleOut, record, kCasePreservingMode, nullptr);
    });
}

std::uint32_t parseToImageCaseFolding(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                                      DOM_ParseRecord* record)
{
    return parseToImageCaseFolding(input, size, imageHandleOut, record, nullptr);
}

std::uint32_t parseToImageCaseFolding(void* input, std::uint32_t size, HGLOBAL* imageHandleOut,
                                      DOM_ParseRecord* record,
                                      std::shared_ptr<ErrorListener> listener)
{
    return guardedParse(record, [&] {
        return parseAndWrite(input, size, imageHandleOut, record, kCaseFoldingMode,
                             std::move(listener));
    });
}

std::uint32_t parseToMarkup(void* input, std::uint32_t size, DOM_ParseRecord* record,
                            std::uint32_t parseMode, UString& markup)
{
    return guardedParse(record, [&] {
        return parseAndWriteMarkup(input, size, record, parseMode, markup);
    });
}

}  // namespace Parsers
