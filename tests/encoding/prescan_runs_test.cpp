// The prescan reads names and values as runs of bytes. These tests hold its
// readers against readers that take one byte per step, written from the
// rules, on every prefix of a set of tags: the same attribute, and the cursor
// left in the same place with the same line tracking.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "encoding/prescan.h"

namespace Parsers {
namespace {

bool isSpace(std::uint8_t byte)
{
    return byte == 0x20 || (byte >= 0x09 && byte <= 0x0D);
}

char lower(std::uint8_t byte)
{
    return static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
}

void skipSpace(PrescanCursor& cursor)
{
    while (isSpace(cursor.peek())) cursor.advance();
}

std::string valueByBytes(PrescanCursor& cursor)
{
    std::string value;
    skipSpace(cursor);
    if (cursor.atEnd()) {
        cursor.finished = true;
        return value;
    }
    const std::uint8_t first = cursor.peek();
    if (first == '"' || first == '\'') {
        cursor.advance();
        while (cursor.remaining != 0 && cursor.peek() != first) {
            value.push_back(lower(cursor.peek()));
            cursor.advance();
        }
        if (cursor.remaining != 0) cursor.advance();
        return value;
    }
    if (first == '>') return value;
    value.push_back(lower(first));
    cursor.advance();
    for (;;) {
        if (cursor.remaining == 0) {
            cursor.finished = true;
            return value;
        }
        const std::uint8_t byte = cursor.peek();
        if (isSpace(byte) || byte == '>') return value;
        value.push_back(lower(byte));
        cursor.advance();
    }
}

struct Read {
    std::string name;
    std::string value;
};

Read attributeByBytes(PrescanCursor& cursor)
{
    Read read;
    while (isSpace(cursor.peek()) || cursor.peek() == '/') cursor.advance();
    if (cursor.atEnd()) {
        cursor.finished = true;
        return read;
    }
    if (cursor.peek() == '>') return read;
    for (;;) {
        if (cursor.atEnd()) {
            cursor.finished = true;
            return read;
        }
        const std::uint8_t byte = cursor.peek();
        if (!read.name.empty() && byte == '=') {
            cursor.advance();
            if (!cursor.atEnd()) read.value = valueByBytes(cursor);
            return read;
        }
        if (isSpace(byte)) {
            skipSpace(cursor);
            if (cursor.atEnd()) cursor.finished = true;
            if (cursor.peek() != '=') return read;
            cursor.advance();
            if (!cursor.atEnd()) read.value = valueByBytes(cursor);
            return read;
        }
        if (byte == '/' || byte == '>') return read;
        read.name.push_back(lower(byte));
        cursor.advance();
    }
}

void skipByBytes(PrescanCursor& cursor)
{
    while (cursor.remaining != 0 && !isSpace(cursor.peek()) && cursor.peek() != '>') cursor.advance();
    if (cursor.remaining == 0) {
        cursor.finished = true;
        return;
    }
    for (;;) {
        const Read read = attributeByBytes(cursor);
        if (read.name.empty() || cursor.finished) return;
    }
}

void expectSameCursor(const PrescanCursor& runs, const PrescanCursor& bytes, const std::string& text)
{
    EXPECT_EQ(runs.next, bytes.next) << text;
    EXPECT_EQ(runs.remaining, bytes.remaining) << text;
    EXPECT_EQ(runs.current, bytes.current) << text;
    EXPECT_EQ(runs.column, bytes.column) << text;
    EXPECT_EQ(runs.line, bytes.line) << text;
    EXPECT_EQ(runs.lineEndColumns, bytes.lineEndColumns) << text;
    EXPECT_EQ(runs.finished, bytes.finished) << text;
}

const std::vector<std::string> kTags = {
    std::string("a href=\"x\ny\" Class=Big\n\n id='q'>rest"),
    std::string("Div  data-x = VALUE/ =start==x >"),
    std::string("p a=b\0c d=\"e\0f\" g>", 19),
    std::string("img src=unterminated"),
    std::string("x y=\"open quote"),
    std::string("br/>"),
    std::string("t a b c= d =e f\t=\tg>"),
    std::string("MeTa\nCHARSET=UTF-8\r\nContent=\"Text/Html; Charset=Shift_JIS\">"),
};

TEST(PrescanRuns, AttributesAndValuesReadAsByteByByte)
{
    for (const std::string& tag : kTags) {
        for (std::size_t length = 0; length <= tag.size(); ++length) {
            const std::string text = tag.substr(0, length);
            const auto* data = reinterpret_cast<const std::uint8_t*>(text.data());
            const auto size = static_cast<std::uint32_t>(text.size());
            // Start behind the tag name, at every byte, with the first line
            // feed counted in.
            for (std::uint32_t start = 0; start <= size; ++start) {
                PrescanCursor runs(data, size);
                PrescanCursor bytes(data, size);
                for (std::uint32_t step = 0; step < start; ++step) {
                    runs.advance();
                    bytes.advance();
                }
                const NarrowAttribute attribute = readPrescanAttribute(runs);
                const Read read = attributeByBytes(bytes);
                EXPECT_EQ(attribute.name, read.name) << text << " @" << start;
                EXPECT_EQ(attribute.value, read.value) << text << " @" << start;
                expectSameCursor(runs, bytes, text);

                PrescanCursor valueRuns(data, size);
                PrescanCursor valueBytes(data, size);
                for (std::uint32_t step = 0; step < start; ++step) {
                    valueRuns.advance();
                    valueBytes.advance();
                }
                EXPECT_EQ(readPrescanValue(valueRuns), valueByBytes(valueBytes)) << text << " @" << start;
                expectSameCursor(valueRuns, valueBytes, text);
            }
        }
    }
}

TEST(PrescanRuns, TagsArePassedOverAsByteByByte)
{
    for (const std::string& tag : kTags) {
        for (std::size_t length = 0; length <= tag.size(); ++length) {
            const std::string text = tag.substr(0, length);
            const auto* data = reinterpret_cast<const std::uint8_t*>(text.data());
            const auto size = static_cast<std::uint32_t>(text.size());
            PrescanCursor runs(data, size);
            PrescanCursor bytes(data, size);
            skipTagAttributes(runs);
            skipByBytes(bytes);
            expectSameCursor(runs, bytes, text);
        }
    }
}

}  // namespace
}  // namespace Parsers
