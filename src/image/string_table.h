// The string table of one image: each distinct string once, numbered in the
// order of first use.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
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
// which gives the size of the table before any record is written, and once,
// after replay(), to write the records. The second round needs no index:
// - a new string is the very text that the next new number was made from,
//   and goes into the image then, while it has just been read for its
//   record (a separate pass over all strings at the end would read them all
//   again);
// - a name of the tag or attribute name lists keeps its number by its place
//   in the list;
// - an empty text has no number in either round;
// - any other repeat gets back the answer that the first round kept for it,
//   in a byte or two.
// The writer may write from more than one place in the order of the first
// round (ReplayPosition), so that it can write an element's attribute
// records with the element although their strings were numbered after those
// of all nodes. A text that may be gone by the second round is asked for
// with internKeptUnlessEmpty: its answer is always kept, and the second
// round does not look at it.
class StringTable {
public:
    // The answer for a text that has no number (internUnlessEmpty).
    static constexpr std::uint32_t kNoString = 0xFFFFFFFFu;

    // A place in the order of the numbering round: the next kept answer, and
    // the number and string table offset that the next new string there has.
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
    // string's units, which must stay where they are until the string has
    // gone into the image. After replay(), the same number for the call of
    // the same rank. The text is any string of 16-bit units, or a
    // CharacterText in its own width.
    template <typename Text>
    std::uint32_t intern(const Text& text)
    {
        if constexpr (std::is_convertible_v<const Text&, const UString&>) {
            const UString& units = text;
            const std::size_t listed = listIndexOf(&units);
            if (listed != kNotListed) return internListed(listed, units);
        }
        return settle(TableString::of(std::u16string_view(text)));
    }
    std::uint32_t intern(const CharacterText& text) { return settle(TableString::of(text)); }
    // kNoString for an empty text, the text's number otherwise.
    template <typename Text>
    std::uint32_t internUnlessEmpty(const Text& text)
    {
        if (std::u16string_view(text).empty()) return noString();
        return intern(text);
    }
    std::uint32_t internUnlessEmpty(const CharacterText& text)
    {
        if (text.empty()) return noString();
        return intern(text);
    }
    // The same for a text that may be gone after the numbering round: its
    // answer is kept, and the writing round gets it back without the text.
    std::uint32_t internKeptUnlessEmpty(const CharacterText& text)
    {
        if (replaying) return replayAnswer();
        if (text.empty()) {
            ++callCount;
            keepAnswer(kNoStringCode);
            return kNoString;
        }
        return keepAnswerOf(number(TableString::of(text)));
    }
    // Starts the writing round, whose new strings go into `stringArea`, the
    // image's string table. The zero unit behind each is the image's own.
    void replay(std::uint8_t* stringArea);
    // Where the next call is answered, in the numbering round or the replay,
    // and a move of the replay to such a place.
    ReplayPosition position() const { return replaying ? replayed : numbered; }
    void seekReplay(const ReplayPosition& place) { replayed = place; }
    // How many strings have been asked for in the numbering round, repeats
    // and empty texts included.
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

    std::uint32_t settle(TableString text);
    std::uint32_t noString()
    {
        if (!replaying) ++callCount;
        return kNoString;
    }
    // The numbering round: the number of equal content, or a new one.
    std::uint32_t number(TableString text);
    // A text of the name lists, by its place there.
    static constexpr std::size_t kNotListed = ~std::size_t{0};
    std::size_t listIndexOf(const UString* text) const;
    std::uint32_t internListed(std::size_t listed, const UString& text);
    std::uint32_t replayAnswer();
    std::uint32_t add(TableString text, std::uint32_t hashHigh, std::size_t slot);
    void growIndex();
    // Copies the string of the number into the image if it is the next new
    // one where the writing round stands.
    void copyIfNext(std::uint32_t number, const TableString& text);

    // The kept answers as bytes: kNewCode for a new number, kNoStringCode for
    // an empty text, and otherwise the number plus 2 in groups of seven bits,
    // lowest first, each but the last with the high bit set.
    static constexpr std::uint8_t kNewCode = 0;
    static constexpr std::uint8_t kNoStringCode = 1;
    static constexpr std::uint32_t kNumberBias = 2;

    void keepAnswer(std::uint64_t code);
    std::uint32_t keepAnswerOf(std::uint32_t number);

    // The strings and the answers grow by segments: a large document's tables
    // take megabytes, and buffers outgrown by a vector would stay in the
    // process's memory while the image is written.
    SegmentedVector<TableString> entries;
    std::vector<Slot> slots;  // a power of two of them, at most three quarters in use
    SegmentedVector<std::uint8_t> answers;
    std::size_t callCount = 0;
    // Where the numbering round stands: the next kept answer, new number and
    // offset in the string table.
    ReplayPosition numbered;
    ReplayPosition replayed;
    bool replaying = false;
    // Whether the last call of number() made a new number.
    bool justAdded = false;
    // The numbers of the texts of the tag name list, then of the attribute
    // name list, by place; kNoString for one not asked for yet.
    std::vector<std::uint32_t> listedNumbers;
    const UString* tagTexts;
    const UString* attributeTexts;
    // While replaying: where the strings go.
    std::uint8_t* area = nullptr;
};

}  // namespace Parsers
