// The parse driver: from the caller's buffer to a finished document.
#pragma once

#include <cstdint>

namespace Parsers {

struct SourceBuffer;
class Document;

// Prepares the text, runs tokenizer and tree constructor over it to the end,
// tidies the tree and leaves the document in source.documents, which keeps it
// alive. Returns the document (not owned). `reserved` has no effect.
Document* parseDocument(SourceBuffer& source, void* input, std::uint32_t size,
                        std::uint32_t reserved, bool isUtf16);

// The same parse under a parse mode of the caller's choice: 2 is what
// parseDocument runs; 1 runs case folding parsing from the input stage to the
// tree and keeps the finished tree as it stands, with html, head and body.
// Internal: no exported call selects mode 1.
Document* parseDocumentInMode(SourceBuffer& source, void* input, std::uint32_t size,
                              bool isUtf16, std::uint32_t parseMode);

// The tidying of a case preserving parse: the children of the body element
// move, in order, to the end of the document, and the html element (with the
// head and the emptied body) is removed. A document without html or without a
// body under it has nothing to lift: the move reads through the missing body,
// which ends the process with a memory fault. The guarded build ends the parse
// with DOM_RESULT_NO_BODY instead.
void liftBodyContent(Document& document);

}  // namespace Parsers
