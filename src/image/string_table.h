// The string table of one image: each distinct string once, numbered in the
// order of first use.
#pragma once

#include <cstdint>
#include <vector>

#include "library/shared_types.h"

namespace Parsers {

// The interning state belongs to one image, so images can be written on several
// threads at once. An index from content to number gives each repeated string
// the number of its first occurrence in constant time.
//
// The image writer asks for every string twice, in the same order: once to
// number the strings, which gives the size of the table before any record is
// written, and once to write the records. So the table keeps the answers of
// the first round in order, and after replay() gives them back one by one
// without looking at the strings again.
class StringTable {
public:
    // expectedStrings sizes the index once, sparing the rehashes of growing
    // it step by step; it is an estimate, not a limit.
    explicit StringTable(std::size_t expectedStrings = 0);

    // The string's number: a new number for new content, the first number
    // given to equal content otherwise. The table keeps a pointer to the
    // string, which must outlive the table. After replay(), the number that
    // the call of the same rank got before.
    std::uint32_t intern(const UString& text);
    // Starts giving back the numbers of the calls made so far, in order.
    void replay();

    const std::vector<const UString*>& strings() const { return entries; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(entries.size()); }
    // Bytes of the table in the image: each string's units and one zero unit.
    std::uint64_t byteSize() const { return bytes; }

private:
    // A slot of the open addressed index: the string's hash and its number
    // plus one, 0 for an empty slot.
    struct Slot {
        std::uint64_t hash;
        std::uint32_t numberPlusOne;
    };

    std::uint32_t add(const UString& text, std::uint64_t hash, std::size_t slot);
    void growIndex();

    std::vector<const UString*> entries;
    std::vector<Slot> slots;  // a power of two of them, at most half in use
    std::vector<std::uint32_t> answers;
    std::size_t replayed = 0;
    bool replaying = false;
    std::uint64_t bytes = 0;
};

// The number of a string in the table (the image writer's name for intern).
inline std::uint32_t internString(const UString& text, StringTable& stringTable)
{
    return stringTable.intern(text);
}

}  // namespace Parsers
