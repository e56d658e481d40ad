#include "library/source_buffer.h"

#include "dom/node.h"

namespace Parsers {

void releaseDecodedText(SourceBuffer& source)
{
    if (source.text == source.decodedText.data()) {
        source.text = nullptr;
        source.textLength = 0;
    }
    source.decodedText.clear();
    source.decodedText.shrink_to_fit();
}

SourceBuffer::SourceBuffer() = default;
SourceBuffer::~SourceBuffer() = default;
SourceBuffer::SourceBuffer(SourceBuffer&&) noexcept = default;
SourceBuffer& SourceBuffer::operator=(SourceBuffer&&) noexcept = default;

void releaseSource(SourceBuffer& source)
{
    source.documents.clear();
    source.documents.shrink_to_fit();
    source.decodedText.clear();
    source.decodedText.shrink_to_fit();
    source.errorListeners.clear();
    source.errorListeners.shrink_to_fit();
}

}  // namespace Parsers
