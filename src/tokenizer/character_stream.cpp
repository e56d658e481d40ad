#include "tokenizer/character_stream.h"

#include <algorithm>

namespace Parsers {

void CharacterStream::unconsume()
{
    if (remaining >= length) return;
    --next;
    ++remaining;
    // The unit before `next` is the one consumed before; at the start of the text
    // there is none and `current` is 0 as before the first consume.
    const bool atStart = remaining == length;
    current = atStart ? char16_t(0) : next[-1];
    if (current == u'\n') {
        // Back on the line feed that ended the previous line: its line and the
        // column where that line ended come back.
        --position.line;
        if (!lineEndColumns.empty()) {
            position.column = lineEndColumns.back();
            lineEndColumns.pop_back();
        }
    } else {
        --position.column;
    }
}

UString CharacterStream::peekText(std::uint32_t count) const
{
    return UString(next, std::min(count, remaining));
}

UString CharacterStream::consumeText(std::uint32_t count)
{
    const std::uint32_t taken = std::min(count, remaining);
    UString text(next, taken);
    skip(taken);
    return text;
}

}  // namespace Parsers
