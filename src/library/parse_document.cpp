#include "library/parse_document.h"

#include <memory>

#include "dom/element.h"
#include "dom/node.h"
#include "library/guarded.h"
#include "library/prepare_input.h"
#include "library/source_buffer.h"
#include "tokenizer/tokenizer.h"
#include "tree/tree_constructor.h"

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

// The guarded build's watch over the main loop: the furthest the stream has
// ever been read, and the steps taken since it last grew. A parse whose stream
// stops advancing while the machine keeps turning can never reach the end of
// its input, and is ended with its own result code.
class ProgressWatch {
public:
    explicit ProgressWatch(const CharacterStream& watched) : stream(watched) {}

    void afterStep()
    {
        const std::uint32_t reached = stream.length - stream.remaining;
        if (reached > furthest) {
            furthest = reached;
            stepsWithoutProgress = 0;
            return;
        }
        if (++stepsWithoutProgress == kStepsWithoutProgressLimit) {
            endGuardedParse(DOM_RESULT_NEVER_ENDS);
        }
    }

private:
    const CharacterStream& stream;
    std::uint32_t furthest = 0;
    std::uint32_t stepsWithoutProgress = 0;
};

}  // namespace

void liftBodyContent(Document& document)
{
    NodeRef body = document.getBODYNode();
    if constexpr (kGuardedBuild) {
        if (!body) endGuardedParse(DOM_RESULT_NO_BODY);
    }
    if (!body) readThroughMissingNode();
    moveChildren(body.get(), &document);
    NodeRef html = document.getHTMLNode();
    removeChild(html.get(), &document);
}

Document* parseDocument(SourceBuffer& source, void* input, std::uint32_t size,
                        std::uint32_t /*reserved*/, bool isUtf16)
{
    return parseDocumentInMode(source, input, size, isUtf16, kCasePreservingMode);
}

Document* parseDocumentInMode(SourceBuffer& source, void* input, std::uint32_t size,
                              bool isUtf16, std::uint32_t parseMode)
{
    source.rawBytes = static_cast<std::uint8_t*>(input);
    source.rawSize = size;
    source.parseMode = parseMode;
    if (isUtf16) {
        source.encodingFixed = 1;
        source.codePage = 1200;
        source.textLength = size / 2;
        source.text = static_cast<char16_t*>(input);
    }
    prepareInput(source);

    // The tokenizer lives on this stack; the tree constructor is shared with
    // the tokenizer's list of receivers, which is what keeps it alive.
    Tokenizer tokenizer(&source);
    auto treeConstructor = std::make_shared<TreeConstructor>(&source, &tokenizer, source.parseMode);
    tokenizer.treeConstructor = treeConstructor.get();
    tokenizer.addReceiver(treeConstructor);

    // The same test by which the states see the end: no unit left and none
    // current. An empty text never steps, and so never makes an end of file.
    if constexpr (kGuardedBuild) {
        ProgressWatch watch(*tokenizer.stream);
        while (!tokenizer.atEndOfInput()) {
            tokenizer.step();
            watch.afterStep();
        }
    } else {
        while (!tokenizer.atEndOfInput()) tokenizer.step();
    }

    Ref<Document> document = treeConstructor->document;
    if (source.parseMode == 2) liftBodyContent(*document);
    source.documents.push_back(document);
    Document* result = document.get();
    // The document lives on in the source; the tree constructor goes before the
    // tokenizer that holds its other reference.
    document.reset();
    treeConstructor.reset();
    return result;
}

}  // namespace Parsers
