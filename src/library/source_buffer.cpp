#include "library/source_buffer.h"

#include "dom/node.h"

namespace Parsers {

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
