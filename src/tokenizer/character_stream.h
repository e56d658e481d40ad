// The tokenizer's cursor over the text. It reads the text in place, one 16-bit
// unit at a time, and keeps the line and column of the unit read last.
#pragma once

#include <cstdint>
#include <vector>

#include "library/shared_types.h"
#include "tokenizer/unit_scan.h"

namespace Parsers {

class CharacterStream {
public:
    CharacterStream(const char16_t* text, std::uint32_t textLength)
        : next(text), remaining(textLength), length(textLength)
    {
    }
    CharacterStream(const CharacterStream&) = delete;
    CharacterStream& operator=(const CharacterStream&) = delete;

    // Takes the next unit into `current`. With nothing left, `current` becomes 0
    // and nothing else changes: that pair (no units left, `current` 0) is the
    // end of input for every state and for the driver.
    void consume()
    {
        if (remaining == 0) {
            current = 0;
            return;
        }
        --remaining;
        advancePosition();
        current = *next++;
    }

    // Steps back one unit, so that the next consume reads `current` again. At the
    // end of input `current` is the pseudo-unit 0, which this cannot tell apart,
    // so it steps back over the last real unit of the text.
    void unconsume();

    // True when the text is used up and the last consume found nothing.
    bool atEndOfInput() const { return remaining == 0 && current == 0; }

    // The unit the next consume will take, or 0 when none is left.
    char16_t peekUnit() const { return remaining ? *next : char16_t(0); }

    // A copy of the next `count` units without moving, cut to what is left.
    UString peekText(std::uint32_t count) const;
    // Consumes up to `count` units (no more than are left) and returns them.
    UString consumeText(std::uint32_t count);
    // Consumes up to `count` units like consumeText, without copying them.
    // The states move over whole runs of text with it, so it does the work of
    // the consumes a line at a time (see skipLines).
    void skip(std::uint32_t count)
    {
        const std::uint32_t taken = count < remaining ? count : remaining;
        if (taken == 0) return;
        remaining -= taken;
        // The first unit moves the position by `current`, each later one by
        // the unit taken before it.
        advancePosition();
        skipLines(next, next + taken - 1);
        next += taken;
        current = next[-1];
    }

    // The unit that the next consume will take.
    const char16_t* next;
    // Units from `next` to the end of the text.
    std::uint32_t remaining;
    // Length of the whole text.
    std::uint32_t length;
    // The unit consumed last; 0 before the first consume and after the end.
    char16_t current = 0;
    // Where `current` stands: column (from 1 once a unit is read) and line.
    TextPosition position;
    // The column at which each finished line ended, so that stepping back over a
    // line feed restores the column of the line before.
    std::vector<std::uint32_t> lineEndColumns;

private:
    // Moves the position over the units in [from, to) as consumes would: a
    // column for each, a new line behind each line feed.
    void skipLines(const char16_t* from, const char16_t* to)
    {
        while (from != to) {
            const std::uint32_t plain =
                unitsBeforeStop<u'\n'>(from, static_cast<std::uint32_t>(to - from));
            position.column += plain;
            from += plain;
            if (from == to) return;
            ++position.line;
            lineEndColumns.push_back(position.column);
            position.column = 1;
            ++from;
        }
    }
    // Moves the position past `current`: a line feed ends its line, anything else
    // takes one column.
    void advancePosition()
    {
        if (current == u'\n') {
            ++position.line;
            lineEndColumns.push_back(position.column);
            position.column = 1;
        } else {
            ++position.column;
        }
    }
};

}  // namespace Parsers
