#include "library/parse_document.h"

#include "dom/element.h"
#include "dom/node.h"
#include "library/source_buffer.h"

namespace Parsers {

namespace {

// Reads through a null node the way the lifting does when a document has no
// body. The volatile read keeps the fault deterministic instead of leaving the
// compiler free to assume the pointer is valid.
[[noreturn]] void readThroughMissingNode()
{
    volatile const char* missing = nullptr;
    (void)*missing;
    __builtin_trap();
}

}  // namespace

void liftBodyContent(Document& document)
{
    NodeRef body = document.getBODYNode();
    if (!body) readThroughMissingNode();
    moveChildren(body.get(), &document);
    NodeRef html = document.getHTMLNode();
    removeChild(html.get(), &document);
}

Document* parseDocument(SourceBuffer& source, void* input, std::uint32_t size,
                        std::uint32_t /*reserved*/, bool isUtf16)
{
    source.rawBytes = static_cast<std::uint8_t*>(input);
    source.rawSize = size;
    source.parseMode = 2;
    if (isUtf16) {
        source.encodingFixed = 1;
        source.codePage = 1200;
        source.textLength = size / 2;
        source.text = static_cast<char16_t*>(input);
    }
    // FIXME: the input, tokenizer and tree stages are being built; until the
    // tree constructor exists no document can be made, and the parse ends with
    // the error of a missing stage (result 2).
    throw enDPE::NotImplementedByClass;
}

}  // namespace Parsers
