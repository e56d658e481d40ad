// Character references: "&#...;", "&#x...;" and "&name;" in text and in
// attribute values. Everything works on 16-bit units: a value above U+FFFF is
// cut to 16 bits, and no reference yields a surrogate pair.
#include "tokenizer/tokenizer.h"

#include "library/source_buffer.h"
#include "tokenizer/named_reference_table.h"

namespace Parsers {

std::atomic<char16_t> additionalAllowedCharacter{0};

namespace {

// Numeric references below 160 that stand for another unit: NUL and the C1
// range of the legacy single-byte encodings, plus the carriage return. A value
// whose entry is 0 stands for itself.
constexpr std::uint32_t kNumericReplacementCount = 160;
constexpr char16_t kNumericReplacementTable[kNumericReplacementCount] = {
    // 0x00 .. 0x0F
    0xFFFD, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x000D, 0, 0,
    // 0x10 .. 0x7F: no replacements
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    // 0x80 .. 0x8F
    0x20AC, 0, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0, 0x017D, 0,
    // 0x90 .. 0x9F
    0, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0, 0x017E, 0x0178,
};

constexpr std::uint32_t kNoDigit = 0xFFFFFFFFu;
// A name longer than any in the table cannot match, so the scan stops there.
constexpr std::uint32_t kLongestReferenceName = 32;
// An unknown reference is reported with this many units from the stream,
// whatever is left of the text.
constexpr std::uint32_t kUnknownReferenceSpan = 5;

std::uint32_t digitValue(char16_t unit, bool hexadecimal)
{
    if (isAsciiDigit(unit)) return unit - u'0';
    if (hexadecimal) {
        if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
        if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
    }
    return kNoDigit;
}

}  // namespace

void Tokenizer::consumeCharacterReference(UString& out)
{
    out.clear();
    const char16_t following = stream->peekUnit();
    // The quote that ends the attribute value (or '>' unquoted) right after the
    // '&' means no reference. At 0 this also catches a NUL and the end of text.
    char16_t allowed = additionalAllowedCharacter.load(std::memory_order_relaxed);
    if (following == allowed) {
        additionalAllowedCharacter.store(0, std::memory_order_relaxed);
        return;
    }
    if (atEndOfInput()) return;
    switch (following) {
    case u'\t':
    case u'\n':
    case u'\f':  // FORM FEED
    case u' ':
    case u'&':
    case u'<':
        return;
    case u'#': {
        stream->consume();
        const char16_t unit = consumeNumericReference();
        if (unit == 0) {
            // Gives back the '#' (or what the number left current), and the
            // caller emits the '&' alone.
            stream->unconsume();
            reportPosition(ParseErrorCode::NoDigitsAfterNumberSign);
            return;
        }
        out.push_back(unit);
        return;
    }
    default:
        consumeNamedReference(out);
        return;
    }
}

char16_t Tokenizer::consumeNumericReference()
{
    bool hexadecimal = false;
    const char16_t marker = stream->peekUnit();
    if (stream->remaining != 0 && (marker == u'x' || marker == u'X')) {
        stream->consume();
        hexadecimal = true;
    }
    if (digitValue(stream->peekUnit(), hexadecimal) == kNoDigit) {
        if (hexadecimal) stream->unconsume();
        return 0;
    }
    // 32 bits that wrap without any test for overflow.
    const std::uint32_t base = hexadecimal ? 16 : 10;
    std::uint32_t value = 0;
    for (std::uint32_t digit = digitValue(stream->peekUnit(), hexadecimal); digit != kNoDigit;
         digit = digitValue(stream->peekUnit(), hexadecimal)) {
        stream->consume();
        value = value * base + digit;
    }
    if (value == kNoDigit) {
        // A wrapped value of all ones counts as no number at all.
        if (hexadecimal) stream->unconsume();
        return 0;
    }
    if (stream->peekUnit() == u';') {
        stream->consume();
    } else {
        reportPosition(ParseErrorCode::MissingSemicolonAfterNumericReference);
    }
    if (value < kNumericReplacementCount && kNumericReplacementTable[value] != 0) {
        reportPosition(ParseErrorCode::NumericReferenceReplaced);
        return kNumericReplacementTable[value];
    }
    // Surrogates, noncharacters and controls pass; a multiple of 65,536 comes out
    // as 0, which the caller takes for failure.
    return static_cast<char16_t>(value);
}

const NamedReference* Tokenizer::lookupNamedReference(bool& sawSemicolon)
{
    const std::uint32_t longest =
        stream->remaining < kLongestReferenceName ? stream->remaining : kLongestReferenceName;
    if (longest < 2) return nullptr;
    const char16_t* candidate = stream->next;
    // A ';' anywhere in reach counts, whatever the lookup finds; the first unit
    // is never taken for one.
    for (std::uint32_t index = 1; index < longest; ++index) {
        if (candidate[index] == u';') sawSemicolon = true;
    }
    // Every name is letters and digits, with a ';' at its end or none, so no
    // text that runs past the first other unit can be a name: only the lengths
    // up to there are looked up. Trying every length up to the longest name
    // instead cost a few thousand instructions per reference.
    std::uint32_t reach = 0;
    while (reach < longest && isAsciiAlphanumeric(candidate[reach])) ++reach;
    if (reach < longest && candidate[reach] == u';') ++reach;
    // Every length in reach is tried, so the longest name that matches wins
    // ("notin;" over "not").
    const NamedReference* best = nullptr;
    for (std::uint32_t length = 2; length <= reach; ++length) {
        if (const NamedReference* row = findNamedReference(candidate, length)) best = row;
    }
    if (best) stream->skip(best->length);
    return best;
}

void Tokenizer::consumeNamedReference(UString& out)
{
    bool sawSemicolon = false;
    const NamedReference* row = lookupNamedReference(sawSemicolon);
    if (!row) {
        // Only a ';' in reach makes the unknown name worth a report.
        if (sawSemicolon) {
            reportSpanError(errorListeners(), ParseErrorCode::UnknownNamedReference, stream->next,
                            kUnknownReferenceSpan, &stream->position);
        }
        return;
    }
    const bool withoutSemicolon = row->index >= kFirstIndexWithoutSemicolon;
    if (withoutSemicolon && state == TokenizerState::CharacterReferenceInAttributeValue) {
        // In an attribute value "&amp=" or "&ampx" stays as written: the name is
        // given back and nothing is reported.
        const char16_t after = stream->peekUnit();
        if (after == u'=' || isAsciiDigit(after) || isAsciiLetter(after)) {
            for (std::uint32_t left = row->length; left > 0; --left) stream->unconsume();
            return;
        }
    }
    if (withoutSemicolon) {
        reportTextError(errorListeners(), ParseErrorCode::UnknownNamedReference,
                        UString(row->name, row->length), &stream->position);
    }
    out.assign(row->expansion, row->expansionLength);
}

}  // namespace Parsers
