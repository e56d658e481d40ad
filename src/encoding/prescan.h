// The encoding prescan: a look through the raw bytes of a document without a
// byte order mark for a meta tag that names its encoding.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dom/attribute.h"
#include "encoding/charset_table.h"
#include "encoding/decoding.h"
#include "library/source_buffer.h"

namespace Parsers {

// A cursor over the raw bytes, local to one prescan. `current` is the byte last
// consumed; the next byte is the one the pointer stands on.
struct PrescanCursor {
    PrescanCursor(const std::uint8_t* bytes, std::uint32_t size) : next(bytes), remaining(size) {}

    // True once the last byte has been consumed and one more advance has
    // cleared `current`.
    bool atEnd() const { return remaining == 0 && current == 0; }
    // The next byte, 0 when none is left.
    std::uint8_t peek() const { return remaining == 0 ? 0 : *next; }
    // Consumes the next byte into `current`; with none left clears `current`.
    void advance()
    {
        if (remaining == 0) {
            current = 0;
            return;
        }
        --remaining;
        if (current == '\n') {
            endLine();
        } else {
            ++column;
        }
        current = *next++;
    }
    // The same as `count` advances, for a count of 1 to `remaining`.
    void advanceBy(std::uint32_t count);

    const std::uint8_t* next;
    std::uint32_t remaining;
    std::uint8_t current = 0;
    // Line and column of the cursor. They are kept up on every advance, though
    // nothing reads them.
    std::uint32_t column = 0;
    std::uint32_t line = 1;
    std::vector<std::uint32_t> lineEndColumns;
    // Set when the end of the data is met; ends the prescan.
    bool finished = false;

private:
    void endLine()
    {
        ++line;
        lineEndColumns.push_back(column);
        column = 1;
    }
};

// What follows a "<", as classifyMarkup sees it.
enum class MarkupKind : std::int32_t {
    Comment = 0,      // "<!--"
    MetaTag = 1,      // "<meta" followed by a space byte or "/"
    Tag = 2,          // "<" or "</" followed by an ASCII letter
    Declaration = 3,  // "<!", "</" or "<?" otherwise: skipped up to the next ">"
    Other = 4,
};

// Looks through the source's raw bytes. The first meta tag that names a label
// of the charset table ends the search: its code page (and fallback) is
// decoded through selectCodePage, so that success shows as a non-null `text`.
// Reads every byte up to that tag, or to the end of the data.
void prescanEncoding(SourceBuffer& source, CodePageDecoder decoder = platformMultiByteToWideChar);

// With the next byte on "<": consumes the "<" and tells what follows it.
MarkupKind classifyMarkup(PrescanCursor& cursor);

// With the cursor after "<": passes over a comment up to its "--" before ">".
void skipPrescanComment(PrescanCursor& cursor);

// Reads the attributes of a meta tag and returns the row of the label it
// declares, or null.
const CharsetRow* readMetaEncoding(PrescanCursor& cursor);

// Reads one attribute: a lower-cased name and value. The name is empty when
// the tag ends or the data runs out first.
NarrowAttribute readPrescanAttribute(PrescanCursor& cursor);

// Reads an attribute value, quoted or not, lower-cased.
std::string readPrescanValue(PrescanCursor& cursor);

// Passes over the rest of a tag's name and over its attributes.
void skipTagAttributes(PrescanCursor& cursor);

// The row of the label that a lower-cased content value such as
// "text/html; charset=utf-8" names after "charset=", or null.
const CharsetRow* extractCharset(const std::string& value);

}  // namespace Parsers
