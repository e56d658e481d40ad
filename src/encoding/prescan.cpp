// The encoding prescan.
//
// It works on the raw bytes before any decoding and copies nothing but the
// names and values of attributes. There is no limit on how far it reads: the
// first meta tag that names a label ends it, or the end of the data does. A
// comment that is never closed, or a zero byte inside a comment, ends it too,
// so nothing behind such a comment is looked at.

#include "encoding/prescan.h"

#include <cstring>
#include <set>

namespace Parsers {
namespace {

constexpr char kCommentOpening[] = "!--";
constexpr char kMetaName[] = "meta";
constexpr char kContentName[] = "content";
constexpr char kCharsetName[] = "charset";
constexpr char kHttpEquivName[] = "http-equiv";
constexpr char kContentTypeValue[] = "content-type";

// The space bytes of the prescan: space and 0x09 to 0x0D.
bool isSpaceByte(std::uint8_t byte)
{
    return byte == 0x20 || (byte >= 0x09 && byte <= 0x0D);
}

bool isAsciiLetter(std::uint8_t byte)
{
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

// Folds A to Z; every other byte, 0x80 and up included, stays as it is.
char lowerCased(std::uint8_t byte)
{
    return static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
}

// The whitespace that separates the parts of a content value: tab, line feed,
// form feed, carriage return and space (0x0B is not among them).
bool isContentSpace(char byte)
{
    return byte == '\t' || byte == '\n' || byte == '\f' || byte == '\r' || byte == ' ';
}

// Compares with the case bit masked off on both sides, byte for byte.
bool equalUnderCaseMask(const std::uint8_t* bytes, const char* name, std::size_t length)
{
    for (std::size_t i = 0; i < length; ++i) {
        if ((bytes[i] & 0xDF) != (static_cast<std::uint8_t>(name[i]) & 0xDF)) return false;
    }
    return true;
}

void skipSpaceBytes(PrescanCursor& cursor)
{
    while (isSpaceByte(cursor.peek())) cursor.advance();
}

// The prescan's attribute starts with an empty name that grows byte by byte;
// the attribute class starts a name with its first character, so that one is
// dropped at once.
NarrowAttribute emptyAttributeAt(const PrescanCursor& cursor)
{
    NarrowAttribute attribute('\0', TextPosition{cursor.column, cursor.line});
    attribute.name.clear();
    return attribute;
}

// After "<!", "</" or "<?": passes up to the next ">". Returns false when the
// data ends first.
bool skipDeclaration(PrescanCursor& cursor)
{
    while (cursor.remaining != 0 && cursor.peek() != '>') cursor.advance();
    if (cursor.remaining == 0) {
        cursor.finished = true;
        return false;
    }
    return true;
}

// Passes over the bytes up to the next "<" (or to the end) as one advance for
// each of them would.
void passOverText(PrescanCursor& cursor)
{
    const void* opening = std::memchr(cursor.next, '<', cursor.remaining);
    const std::uint32_t count = opening == nullptr
        ? cursor.remaining
        : static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(opening) - cursor.next);
    cursor.advanceBy(count);
}

void appendLowerCased(std::string& text, const std::uint8_t* bytes, std::uint32_t count)
{
    for (std::uint32_t index = 0; index < count; ++index) text.push_back(lowerCased(bytes[index]));
}

// What reading an attribute keeps. The reader of a meta tag keeps the name and
// the value, lower-cased; the pass over the attributes of every other tag
// looks only at whether there was a name, and copies nothing: copying them
// was most of the prescan's time for documents without a declaration, which
// it reads to the end.
class KeptAttribute {
public:
    explicit KeptAttribute(const PrescanCursor& cursor) : attribute(emptyAttributeAt(cursor)) {}
    bool named() const { return !attribute.name.empty(); }
    void appendName(const std::uint8_t* bytes, std::uint32_t count)
    {
        appendLowerCased(attribute.name, bytes, count);
        attribute.attributeId = AttributeId::Unknown;
    }
    void appendValue(const std::uint8_t* bytes, std::uint32_t count)
    {
        appendLowerCased(attribute.value, bytes, count);
    }

    NarrowAttribute attribute;
};

class SkippedAttribute {
public:
    bool named() const { return hasName; }
    void appendName(const std::uint8_t*, std::uint32_t) { hasName = true; }
    void appendValue(const std::uint8_t*, std::uint32_t) {}

private:
    bool hasName = false;
};

class KeptValue {
public:
    void appendValue(const std::uint8_t* bytes, std::uint32_t count)
    {
        appendLowerCased(value, bytes, count);
    }

    std::string value;
};

// With no byte left but the last one still current, peek gives a zero, which
// the readers take like any byte; the advance over it ends the data.
constexpr std::uint8_t kByteBeyondTheData = 0;

// The number of bytes from the next one on, the next one always among them,
// before the first byte for which `ends` holds, within what is left.
template <typename Ends>
std::uint32_t runLength(const PrescanCursor& cursor, Ends ends)
{
    std::uint32_t count = 1;
    while (count < cursor.remaining && !ends(cursor.next[count])) ++count;
    return count;
}

// Reads an attribute value, quoted or not, into the sink. The bytes that the
// reading takes one by one are handed over and passed as runs.
template <typename Sink>
void scanValue(PrescanCursor& cursor, Sink& sink)
{
    skipSpaceBytes(cursor);
    if (cursor.atEnd()) {
        cursor.finished = true;
        return;
    }
    const std::uint8_t first = cursor.peek();
    if (first == '"' || first == '\'') {
        cursor.advance();
        const void* closing =
            cursor.remaining != 0 ? std::memchr(cursor.next, first, cursor.remaining) : nullptr;
        const std::uint32_t count =
            closing ? static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(closing) - cursor.next)
                    : cursor.remaining;
        if (count != 0) {
            sink.appendValue(cursor.next, count);
            cursor.advanceBy(count);
        }
        // An unclosed quote gives what was collected.
        if (cursor.remaining != 0) cursor.advance();
        return;
    }
    if (first == '>') return;
    if (cursor.remaining == 0) {
        sink.appendValue(&kByteBeyondTheData, 1);
        cursor.advance();
    } else {
        const std::uint32_t count =
            runLength(cursor, [](std::uint8_t byte) { return isSpaceByte(byte) || byte == '>'; });
        sink.appendValue(cursor.next, count);
        cursor.advanceBy(count);
    }
    // The value ends at a space byte or ">", which stay, or with the data.
    if (cursor.remaining == 0) cursor.finished = true;
}

// Reads the value behind "=" unless the data has ended.
template <typename Sink>
void scanValueUnlessAtEnd(PrescanCursor& cursor, Sink& sink)
{
    if (!cursor.atEnd()) scanValue(cursor, sink);
}

// A name byte and those behind it that the attribute loop would take one by
// one: up to a space byte, "/", ">" or "=" (a name, once begun, ends at "=").
template <typename Sink>
void scanNameRun(PrescanCursor& cursor, Sink& sink)
{
    if (cursor.remaining == 0) {
        sink.appendName(&kByteBeyondTheData, 1);
        cursor.advance();
        return;
    }
    const std::uint32_t count = runLength(cursor, [](std::uint8_t byte) {
        return isSpaceByte(byte) || byte == '/' || byte == '>' || byte == '=';
    });
    sink.appendName(cursor.next, count);
    cursor.advanceBy(count);
}

// Reads one attribute into the sink (see readPrescanAttribute).
template <typename Sink>
void scanAttribute(PrescanCursor& cursor, Sink& sink)
{
    while (isSpaceByte(cursor.peek()) || cursor.peek() == '/') cursor.advance();
    if (cursor.atEnd()) {
        cursor.finished = true;
        return;
    }
    if (cursor.peek() == '>') return;

    for (;;) {
        if (cursor.atEnd()) {
            cursor.finished = true;
            return;
        }
        const std::uint8_t byte = cursor.peek();
        if (sink.named() && byte == '=') {
            cursor.advance();
            scanValueUnlessAtEnd(cursor, sink);
            return;
        }
        if (isSpaceByte(byte)) {
            // Space after the name: a value only if "=" comes next.
            skipSpaceBytes(cursor);
            if (cursor.atEnd()) cursor.finished = true;
            if (cursor.peek() != '=') return;
            cursor.advance();
            scanValueUnlessAtEnd(cursor, sink);
            return;
        }
        if (byte == '/' || byte == '>') return;
        scanNameRun(cursor, sink);
    }
}

}  // namespace

void PrescanCursor::advanceBy(std::uint32_t count)
{
    // Each advance counts the byte it leaves behind in `current`: the current
    // byte first, then every byte of the run but the last, which becomes the
    // new `current`. Line feeds among them are found a run at a time.
    if (current == '\n') {
        endLine();
    } else {
        ++column;
    }
    const std::uint8_t* from = next;
    const std::uint8_t* const last = next + count - 1;
    while (from < last) {
        const void* lineFeed = std::memchr(from, '\n', static_cast<std::size_t>(last - from));
        if (lineFeed == nullptr) {
            column += static_cast<std::uint32_t>(last - from);
            break;
        }
        const auto* found = static_cast<const std::uint8_t*>(lineFeed);
        column += static_cast<std::uint32_t>(found - from);
        endLine();
        from = found + 1;
    }
    current = *last;
    next += count;
    remaining -= count;
}

void prescanEncoding(SourceBuffer& source, CodePageDecoder decoder)
{
    PrescanCursor cursor(source.rawBytes, source.rawSize);
    while (!cursor.finished) {
        if (cursor.remaining == 0) {
            if (cursor.current == 0) return;
            cursor.current = 0;
            continue;
        }
        if (cursor.peek() != '<') {
            passOverText(cursor);
            continue;
        }
        switch (classifyMarkup(cursor)) {
        case MarkupKind::Comment:
            skipPrescanComment(cursor);
            break;
        case MarkupKind::MetaTag:
            if (const CharsetRow* row = readMetaEncoding(cursor)) {
                selectCodePage(source, row->codePage, row->fallback, decoder);
                // The prescan only runs while nothing has fixed the encoding,
                // so this holds whether or not the page decoded: the first
                // declaration of a known label ends the search.
                if (source.encodingFixed == 0) return;
            }
            break;
        case MarkupKind::Tag:
            skipTagAttributes(cursor);
            break;
        case MarkupKind::Declaration:
            if (!skipDeclaration(cursor)) return;
            break;
        case MarkupKind::Other:
            break;
        }
        cursor.advance();
    }
}

MarkupKind classifyMarkup(PrescanCursor& cursor)
{
    if (cursor.remaining == 0 || cursor.peek() != '<') return MarkupKind::Other;
    cursor.advance();
    const std::uint8_t* bytes = cursor.next;
    const std::uint32_t left = cursor.remaining;
    if (left >= 3 && std::memcmp(bytes, kCommentOpening, 3) == 0) return MarkupKind::Comment;
    // "meta" in any case, and then the name must end: "metal" is another tag.
    if (left >= 5 && equalUnderCaseMask(bytes, kMetaName, 4) && (isSpaceByte(bytes[4]) || bytes[4] == '/')) {
        return MarkupKind::MetaTag;
    }
    if (left >= 2 && bytes[0] == '/' && isAsciiLetter(bytes[1])) return MarkupKind::Tag;
    if (left >= 1 && isAsciiLetter(bytes[0])) return MarkupKind::Tag;
    if (left == 0) return MarkupKind::Other;
    if (bytes[0] == '!' || bytes[0] == '/' || bytes[0] == '?') return MarkupKind::Declaration;
    return MarkupKind::Other;
}

void skipPrescanComment(PrescanCursor& cursor)
{
    // The search starts right after the "<", on the "!", so "<!-->" is a whole
    // comment. It moves the pointer without line tracking, and stops at a zero
    // byte as a search through a C string would.
    for (;;) {
        if (cursor.remaining < 3 || *cursor.next == 0) {
            cursor.finished = true;
            return;
        }
        if (cursor.next[0] == '-' && cursor.next[1] == '-' && cursor.next[2] == '>') {
            // Stand on the ">": the caller's advance consumes it.
            cursor.next += 2;
            cursor.remaining -= 2;
            return;
        }
        ++cursor.next;
        --cursor.remaining;
    }
}

const CharsetRow* readMetaEncoding(PrescanCursor& cursor)
{
    std::set<std::string> seenNames;
    const CharsetRow* charset = nullptr;
    // Whether the declaration needs an http-equiv: unset until a label is
    // found. A content attribute needs one, a charset attribute does not.
    enum class NeedPragma { Unset, No, Yes } needPragma = NeedPragma::Unset;
    bool gotPragma = false;

    while (cursor.remaining != 0 && !isSpaceByte(cursor.peek()) && cursor.peek() != '/') cursor.advance();
    if (cursor.atEnd()) {
        cursor.finished = true;
        return nullptr;
    }

    for (;;) {
        const NarrowAttribute attribute = readPrescanAttribute(cursor);
        // Only the first attribute of each name counts.
        if (!attribute.name.empty() && seenNames.insert(attribute.name).second) {
            if (attribute.name == kContentName) {
                // A content without a charset clears what a charset gave.
                charset = extractCharset(attribute.value);
                if (charset) needPragma = NeedPragma::Yes;
            } else if (attribute.name == kCharsetName) {
                charset = lookupCharsetLabel(attribute.value.data(), attribute.value.size());
                if (charset && needPragma == NeedPragma::Unset) needPragma = NeedPragma::No;
            } else if (attribute.name == kHttpEquivName) {
                if (attribute.value == kContentTypeValue) gotPragma = true;
            }
        }
        if (cursor.atEnd() || attribute.name.empty()) break;
    }

    // A tag that runs into the end of the data declares nothing.
    if (cursor.atEnd()) {
        cursor.finished = true;
        return nullptr;
    }
    if (needPragma == NeedPragma::Unset) return nullptr;
    if (needPragma == NeedPragma::Yes && !gotPragma) return nullptr;
    return charset;
}

NarrowAttribute readPrescanAttribute(PrescanCursor& cursor)
{
    KeptAttribute kept(cursor);
    scanAttribute(cursor, kept);
    return kept.attribute;
}

std::string readPrescanValue(PrescanCursor& cursor)
{
    KeptValue kept;
    scanValue(cursor, kept);
    return kept.value;
}

void skipTagAttributes(PrescanCursor& cursor)
{
    if (cursor.remaining != 0) {
        const std::uint32_t count = isSpaceByte(cursor.peek()) || cursor.peek() == '>'
            ? 0
            : runLength(cursor, [](std::uint8_t byte) { return isSpaceByte(byte) || byte == '>'; });
        if (count != 0) cursor.advanceBy(count);
    }
    if (cursor.remaining == 0) {
        cursor.finished = true;
        return;
    }
    for (;;) {
        SkippedAttribute attribute;
        scanAttribute(cursor, attribute);
        if (!attribute.named() || cursor.finished) return;
    }
}

const CharsetRow* extractCharset(const std::string& value)
{
    const std::size_t size = value.size();
    std::size_t searchFrom = 0;
    for (;;) {
        const std::size_t found = value.find(kCharsetName, searchFrom);
        if (found == std::string::npos) return nullptr;
        std::size_t position = found + std::strlen(kCharsetName);
        while (position < size && isContentSpace(value[position])) ++position;
        if (position == size) return nullptr;
        if (value[position] != '=') {
            // Not "charset=": search again from just before this byte.
            searchFrom = position - 1;
            continue;
        }
        if (position == size - 1) return nullptr;
        ++position;
        while (position < size && isContentSpace(value[position])) ++position;
        if (position == size) return nullptr;

        const char first = value[position];
        if (first == '"' || first == '\'') {
            // Quoted: taken as it stands, space inside the quotes included.
            const std::size_t closing = value.find(first, position + 1);
            if (closing == std::string::npos) return nullptr;
            return lookupCharsetLabel(value.data() + position + 1, closing - position - 1);
        }
        std::size_t end = position;
        while (end < size && !isContentSpace(value[end]) && value[end] != ';') ++end;
        return lookupCharsetLabel(value.data() + position, end - position);
    }
}

}  // namespace Parsers
