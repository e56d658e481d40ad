// The string table of one image: each distinct string once, numbered in the
// order of first use.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "library/shared_types.h"

namespace Parsers {

// The interning state belongs to one image, so images can be written on several
// threads at once. An index from content to number gives each repeated string
// the number of its first occurrence in constant time.
//
// The image writer asks for every string twice: once to number the strings,
// which gives the size of the table before any record is written, and once to
// write the records. So the table keeps the answers of the first round in
// order, and after replay() gives them back one by one without looking at the
// strings again. The writer may read the answers from more than one place in
// that order (replayPosition, seekReplay), so that it can write an element's
// attribute records with the element although their strings were numbered
// after those of all nodes. While it replays, the table also copies each
// string into the image at the first answer that gives its number: the
// string has just been read for its record, and a separate pass over all
// strings at the end would read them all again.
class StringTable {
public:
    // The answer for a text that has no number (internUnlessEmpty).
    static constexpr std::uint32_t kNoString = 0xFFFFFFFFu;

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
        return number(std::u16string_view(text));
    }
    // kNoString for an empty text, the text's number otherwise. The answer is
    // kept like any other, and replayed in the same way.
    template <typename Text>
    std::uint32_t internUnlessEmpty(const Text& text)
    {
        if (replaying) return replayAnswer();
        const std::u16string_view units(text);
        if (units.empty()) {
            answers.push_back(kNoString);
            return kNoString;
        }
        return number(units);
    }
    // Starts giving back the numbers of the calls made so far, in order, and
    // copies the units of each string to its place in `stringArea`, the
    // image's string table. The zero unit behind each is the image's own.
    void replay(std::uint8_t* stringArea);
    // The rank of the next answer given back, and a move to another rank.
    std::size_t replayPosition() const { return replayed; }
    void seekReplay(std::size_t position) { replayed = position; }
    // How many strings have been asked for so far, repeats included.
    std::size_t calls() const { return answers.size(); }

    const std::vector<std::u16string_view>& strings() const { return entries; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(entries.size()); }
    // Bytes of the table in the image: each string's units and one zero unit.
    std::uint64_t byteSize() const { return bytes; }

private:
    // A slot of the open addressed index: the upper half of the string's
    // hash, whose low bits also choose the slot, and its number plus one, 0
    // for an empty slot. Eight bytes, so that the index of a large document
    // stays small enough for the caches.
    struct Slot {
        std::uint32_t hashHigh;
        std::uint32_t numberPlusOne;
    };

    std::uint32_t number(std::u16string_view text);
    std::uint32_t replayAnswer();
    std::uint32_t add(std::u16string_view text, std::uint32_t hashHigh, std::size_t slot);
    void growIndex();

    std::vector<std::u16string_view> entries;
    std::vector<Slot> slots;  // a power of two of them, at most half in use
    std::vector<std::uint32_t> answers;
    std::size_t replayed = 0;
    bool replaying = false;
    // Each string's byte offset in the string table, taken as it is numbered.
    std::vector<std::uint64_t> offsets;
    // While replaying: where the strings go, and whether each has been copied.
    std::uint8_t* area = nullptr;
    std::vector<bool> copied;
    std::uint64_t bytes = 0;
};

// The number of a string in the table (the image writer's name for intern).
template <typename Text>
std::uint32_t internString(const Text& text, StringTable& stringTable)
{
    return stringTable.intern(text);
}

}  // namespace Parsers
