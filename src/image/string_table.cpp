#include "image/string_table.h"

#include <cstring>
#include <functional>

#include "dom/names.h"

namespace Parsers {

namespace {

constexpr std::uint64_t kBlockMultiplier = 0xFF51AFD7ED558CCDull;

// One step of the hash: 64 bits mixed into a lane.
std::uint64_t mixWord(std::uint64_t lane, std::uint64_t word)
{
    lane = (lane ^ word) * kBlockMultiplier;
    return lane ^ (lane >> 32);
}

// Four units as the eight bytes that they take at two bytes each, from units
// of either width: the hash of a text is the same in both.
std::uint64_t fourUnits(const char16_t* units)
{
    std::uint64_t block;
    std::memcpy(&block, units, sizeof block);
    return block;
}

std::uint64_t fourUnits(const std::uint8_t* units)
{
    std::uint32_t bytes;
    std::memcpy(&bytes, units, sizeof bytes);
    std::uint64_t block = bytes;
    block = (block | (block << 16)) & 0x0000FFFF0000FFFFull;
    return (block | (block << 8)) & 0x00FF00FF00FF00FFull;
}

// A hash of the units. Texts are long, and each step of a single chain of
// mixing waits for the one before it, so the bulk of a text goes through four
// independent lanes, 32 bytes a round, which are folded together at the end;
// what is left goes eight bytes and then one unit at a time.
template <typename Unit>
std::uint64_t hashUnits(const Unit* units, std::size_t count)
{
    std::uint64_t hash = 0x9E3779B97F4A7C15ull ^ count;
    std::size_t index = 0;
    if (count >= 16) {
        std::uint64_t lanes[4] = {hash, hash + 1, hash + 2, hash + 3};
        for (; index + 16 <= count; index += 16) {
            for (std::size_t lane = 0; lane < 4; ++lane) {
                lanes[lane] = mixWord(lanes[lane], fourUnits(units + index + 4 * lane));
            }
        }
        for (std::uint64_t lane : lanes) hash = mixWord(hash, lane);
    }
    for (; index + 4 <= count; index += 4) hash = mixWord(hash, fourUnits(units + index));
    for (; index < count; ++index) hash = (hash ^ units[index]) * 0x100000001B3ull;
    hash ^= hash >> 29;
    hash *= 0xBF58476D1CE4E5B9ull;
    return hash ^ (hash >> 32);
}

std::uint64_t hashOf(const TableString& text)
{
    if (text.wide) return hashUnits(static_cast<const char16_t*>(text.units), text.length);
    return hashUnits(static_cast<const std::uint8_t*>(text.units), text.length);
}

// Equal lengths assumed.
bool sameUnits(const TableString& a, const TableString& b)
{
    if (a.wide == b.wide) return std::memcmp(a.units, b.units, std::size_t{a.length} * (a.wide ? 2 : 1)) == 0;
    const TableString& narrow = a.wide ? b : a;
    const TableString& wide = a.wide ? a : b;
    const auto* bytes = static_cast<const std::uint8_t*>(narrow.units);
    const auto* units = static_cast<const char16_t*>(wide.units);
    for (std::size_t index = 0; index < a.length; ++index) {
        if (bytes[index] != units[index]) return false;
    }
    return true;
}

// The units at two bytes each, little-endian, at `to`.
void copyUnits(std::uint8_t* to, const TableString& text)
{
    if (text.wide) {
        std::memcpy(to, text.units, 2 * std::size_t{text.length});
        return;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(text.units);
    for (std::size_t index = 0; index < text.length; ++index) {
        to[2 * index] = bytes[index];
        to[2 * index + 1] = 0;
    }
}

std::size_t slotCountFor(std::size_t strings)
{
    std::size_t count = 16;
    while (3 * count < 4 * strings) count *= 2;
    return count;
}

}  // namespace

StringTable::StringTable(std::size_t expectedStrings)
    : slots(slotCountFor(expectedStrings)),
      listedNumbers(tagNameStrings().size() + attributeNameStrings().size(), kNoString),
      tagTexts(tagNameStrings().data()),
      attributeTexts(attributeNameStrings().data())
{
}

std::size_t StringTable::listIndexOf(const UString* text) const
{
    const std::less<const UString*> before;
    const std::size_t tagCount = tagNameStrings().size();
    if (!before(text, tagTexts) && before(text, tagTexts + tagCount)) {
        return static_cast<std::size_t>(text - tagTexts);
    }
    if (!before(text, attributeTexts) && before(text, attributeTexts + (listedNumbers.size() - tagCount))) {
        return tagCount + static_cast<std::size_t>(text - attributeTexts);
    }
    return kNotListed;
}

std::uint32_t StringTable::internListed(std::size_t listed, const UString& text)
{
    std::uint32_t& known = listedNumbers[listed];
    if (replaying) {
        copyIfNext(known, TableString::of(std::u16string_view(text)));
        return known;
    }
    if (known == kNoString) {
        known = number(TableString::of(std::u16string_view(text)));
    } else {
        ++callCount;
    }
    return known;
}

std::uint32_t StringTable::settle(TableString text)
{
    if (!replaying) {
        const std::uint32_t found = number(text);
        if (!justAdded) keepAnswer(std::uint64_t{found} + kNumberBias);
        return found;
    }
    // The numbering round met the same texts in the same order: a new
    // string is the very text that the next new number was made from.
    if (replayed.nextNumber < entries.size()) {
        const TableString& next = entries[replayed.nextNumber];
        if (next.units == text.units && next.length == text.length && next.wide == text.wide) {
            const std::uint32_t found = replayed.nextNumber;
            copyIfNext(found, text);
            return found;
        }
    }
    return replayAnswer();
}

std::uint32_t StringTable::number(TableString text)
{
    ++callCount;
    justAdded = false;
    const auto hashHigh = static_cast<std::uint32_t>(hashOf(text) >> 32);
    const std::size_t mask = slots.size() - 1;
    for (std::size_t slot = hashHigh & mask;; slot = (slot + 1) & mask) {
        const Slot& candidate = slots[slot];
        if (candidate.numberPlusOne == 0) return add(text, hashHigh, slot);
        if (candidate.hashHigh != hashHigh) continue;
        const std::uint32_t found = candidate.numberPlusOne - 1;
        const TableString& known = entries[found];
        if (known.length == text.length && sameUnits(known, text)) return found;
    }
}

void StringTable::copyIfNext(std::uint32_t number, const TableString& text)
{
    if (number != replayed.nextNumber) return;
    std::uint8_t* copy = area + replayed.nextOffset;
    copyUnits(copy, text);
    // Later calls compare with the copy: the node that the string came from
    // may be released once its record is written.
    entries[number] = TableString{copy, text.length, true};
    replayed.nextOffset += 2ull * text.length + 2;
    ++replayed.nextNumber;
}

void StringTable::replay(std::uint8_t* stringArea)
{
    replaying = true;
    replayed = ReplayPosition{};
    area = stringArea;
}

void StringTable::keepAnswer(std::uint64_t code)
{
    while (code >= 0x80) {
        answers.push_back(static_cast<std::uint8_t>(code | 0x80));
        code >>= 7;
    }
    answers.push_back(static_cast<std::uint8_t>(code));
    numbered.answer = answers.size();
}

std::uint32_t StringTable::keepAnswerOf(std::uint32_t number)
{
    keepAnswer(justAdded ? kNewCode : std::uint64_t{number} + kNumberBias);
    return number;
}

std::uint32_t StringTable::replayAnswer()
{
    std::uint8_t byte = answers[replayed.answer++];
    if (byte == kNewCode) {
        // The answer that made the number: the string goes into the image now.
        const std::uint32_t number = replayed.nextNumber;
        const TableString text = entries[number];
        copyIfNext(number, text);
        return number;
    }
    if (byte == kNoStringCode) return kNoString;
    std::uint64_t code = byte & 0x7F;
    for (unsigned shift = 7; byte & 0x80; shift += 7) {
        byte = answers[replayed.answer++];
        code |= std::uint64_t{byte & 0x7Fu} << shift;
    }
    return static_cast<std::uint32_t>(code - kNumberBias);
}

std::uint32_t StringTable::add(TableString text, std::uint32_t hashHigh, std::size_t slot)
{
    const auto number = static_cast<std::uint32_t>(entries.size());
    entries.push_back(text);
    numbered.nextNumber = number + 1;
    numbered.nextOffset += 2ull * text.length + 2;
    justAdded = true;
    slots[slot] = Slot{hashHigh, number + 1};
    if (4 * entries.size() > 3 * slots.size()) growIndex();
    return number;
}

void StringTable::growIndex()
{
    std::vector<Slot> old(slots.size() * 2);
    old.swap(slots);
    const std::size_t mask = slots.size() - 1;
    for (const Slot& entry : old) {
        if (entry.numberPlusOne == 0) continue;
        std::size_t slot = entry.hashHigh & mask;
        while (slots[slot].numberPlusOne != 0) slot = (slot + 1) & mask;
        slots[slot] = entry;
    }
}

}  // namespace Parsers
