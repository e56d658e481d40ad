// The string table of one image: each distinct string once, numbered in the
// order of first use.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "dom/character_text.h"
#include "image/segmented_vector.h"
#include "library/shared_types.h"

namespace Parsers {

// The units of a string that the table numbers: two bytes each, or one byte
// each for a text whose units are all below 256 (see CharacterText). Equal
// units are the same string in either width.
struct TableString {
    const void* units;
    std::uint32_t length;
    bool wide;

    static TableString of(std::u16string_view text)
    {
        return TableString{text.data(), static_cast<std::uint32_t>(text.size()), true};
    }
    static TableString of(const CharacterText& text)
    {
        if (text.isWide()) return TableString{text.wideData(), static_cast<std::uint32_t>(text.size()), true};
        return TableString{text.narrowData(), static_cast<std::uint32_t>(text.size()), false};
    }
};

// The interning state belongs to one image, so images can be written on several
// threads at once. An index from content to number gives each repeated string
// the number of its first occurrence in constant time.
//
// The image writer asks for every string twice: once to number the strings,
// which gives the size of the table before any record is written, and once to
// write the records. So the table keeps the answers of the first round in
// order, and after replay() gives them back one by one without looking at the
// strings again. The writer may read the answers from more than one place in
// that order (ReplayPosition), so that it can write an element's attribute
// records with the element although their strings were numbered after those
// of all nodes. While it replays, the table also copies each string into the
// image at the answer that gave it its number: the string has just been read
// for its record, and a separate pass over all strings at the end would read
// them all again.
//
// The answers are kept in a byte or two each, not in four: most of them are
// either a new number, which is the next one in order and needs no digits, or
// the number of a name met early, which is small.
class StringTable {
public:
    // The answer for a text that has no number (internUnlessEmpty).
    static constexpr std::uint32_t kNoString = 0xFFFFFFFFu;

    // A place in the answers of the numbering round: which answer, and the
    // number and string table offset that the next new string there has.
    struct ReplayPosition {
        std::size_t answer = 0;
        std::uint32_t nextNumber = 0;
        std::uint64_t nextOffset = 0;
    };

    // expectedStrings sizes the index once, sparing the rehashes of growing
    // it step by step; it is an estimate, not a limit.
    explicit StringTable(std::size_t expectedStrings = 0);

    // The string's number: a new number for new content, the first number
    // given to equal content otherwise. The table keeps a pointer to the
    // string's units, which must stay where they are for as long as the
    // table is used. After replay(), the number that the call of the same
    // rank got before. The text is any string of 16-bit units, taken by
    // reference and looked at only while numbering: a replay looks at no text
    // at all, not even at its length, since the text may be gone by then.
    template <typename Text>
    std::uint32_t intern(const Text& text)
    {
        if (replaying) return replayAnswer();
        return number(TableString::of(std::u16string_view(text)));
    }
    // The same for the text of a text node or a comment, in its own width.
    std::uint32_t intern(const CharacterText& text)
    {
        if (replaying) return replayAnswer();
        return number(TableString::of(text));
    }
    // kNoString for an empty text, the text's number otherwise. The answer is
    // kept like any other, and replayed in the same way.
    template <typename Text>
    std::uint32_t internUnlessEmpty(const Text& text)
    {
        if (replaying) return replayAnswer();
        const std::u16string_view units(text);
        if (units.empty()) {
            keepAnswer(kNoStringCode);
            return kNoString;
        }
        return number(TableString::of(units));
    }
    std::uint32_t internUnlessEmpty(const CharacterText& text)
    {
        if (replaying) return replayAnswer();
        if (text.empty()) {
            keepAnswer(kNoStringCode);
            return kNoString;
        }
        return number(TableString::of(text));
    }
    // Starts giving back the numbers of the calls made so far, in order, and
    // copies the units of each string to its place in `stringArea`, the
    // image's string table. The zero unit behind each is the image's own.
    void replay(std::uint8_t* stringArea);
    // Where the next call is answered, in the numbering round or the replay,
    // and a move of the replay to such a place.
    ReplayPosition position() const { return replaying ? replayed : numbered; }
    void seekReplay(const ReplayPosition& place) { replayed = place; }
    // How many strings have been asked for so far, repeats included.
    std::size_t calls() const { return callCount; }

    const SegmentedVector<TableString>& strings() const { return entries; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(entries.size()); }
    // Bytes of the table in the image: each string's units and one zero unit.
    std::uint64_t byteSize() const { return numbered.nextOffset; }

private:
    // A slot of the open addressed index: the upper half of the string's
    // hash, whose low bits also choose the slot, and its number plus one, 0
    // for an empty slot. Eight bytes, so that the index of a large document
    // stays small enough for the caches.
    struct Slot {
        std::uint32_t hashHigh;
        std::uint32_t numberPlusOne;
    };

    std::uint32_t number(TableString text);
    std::uint32_t replayAnswer();
    std::uint32_t add(TableString text, std::uint32_t hashHigh, std::size_t slot);
    void growIndex();

    // The answers as bytes: kNewCode for a new number, kNoStringCode for an
    // empty text, and otherwise the number plus 2 in groups of seven bits,
    // lowest first, each but the last with the high bit set.
    static constexpr std::uint8_t kNewCode = 0;
    static constexpr std::uint8_t kNoStringCode = 1;
    static constexpr std::uint32_t kNumberBias = 2;

    void keepAnswer(std::uint64_t code);

    // The strings and the answers grow by segments: a large document's tables
    // take megabytes, and buffers outgrown by a vector would stay in the
    // process's memory while the image is written.
    SegmentedVector<TableString> entries;
    std::vector<Slot> slots;  // a power of two of them, at most three quarters in use
    SegmentedVector<std::uint8_t> answers;
    std::size_t callCount = 0;
    // Where the numbering round stands: the next answer, new number and
    // offset in the string table.
    ReplayPosition numbered;
    ReplayPosition replayed;
    bool replaying = false;
    // While replaying: where the strings go.
    std::uint8_t* area = nullptr;
};

// The number of a string in the table (the image writer's name for intern).
template <typename Text>
std::uint32_t internString(const Text& text, StringTable& stringTable)
{
    return stringTable.intern(text);
}

}  // namespace Parsers
