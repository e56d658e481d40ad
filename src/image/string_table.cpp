#include "image/string_table.h"

#include <cstring>

namespace Parsers {

namespace {

constexpr std::uint64_t kBlockMultiplier = 0xFF51AFD7ED558CCDull;

// One step of the hash: 64 bits mixed into a lane.
std::uint64_t mixWord(std::uint64_t lane, std::uint64_t word)
{
    lane = (lane ^ word) * kBlockMultiplier;
    return lane ^ (lane >> 32);
}

// Eight bytes of units mixed into a lane.
std::uint64_t mixBlock(std::uint64_t lane, const char16_t* units)
{
    std::uint64_t block;
    std::memcpy(&block, units, sizeof block);
    return mixWord(lane, block);
}

// A hash of the units. Texts are long, and each step of a single chain of
// mixing waits for the one before it, so the bulk of a text goes through four
// independent lanes, 32 bytes a round, which are folded together at the end;
// what is left goes eight bytes and then one unit at a time.
std::uint64_t hashUnits(const char16_t* units, std::size_t count)
{
    std::uint64_t hash = 0x9E3779B97F4A7C15ull ^ count;
    std::size_t index = 0;
    if (count >= 16) {
        std::uint64_t lanes[4] = {hash, hash + 1, hash + 2, hash + 3};
        for (; index + 16 <= count; index += 16) {
            for (std::size_t lane = 0; lane < 4; ++lane) {
                lanes[lane] = mixBlock(lanes[lane], units + index + 4 * lane);
            }
        }
        for (std::uint64_t lane : lanes) hash = mixWord(hash, lane);
    }
    for (; index + 4 <= count; index += 4) hash = mixBlock(hash, units + index);
    for (; index < count; ++index) hash = (hash ^ units[index]) * 0x100000001B3ull;
    hash ^= hash >> 29;
    hash *= 0xBF58476D1CE4E5B9ull;
    return hash ^ (hash >> 32);
}

std::size_t slotCountFor(std::size_t strings)
{
    std::size_t count = 16;
    while (count < 2 * strings) count *= 2;
    return count;
}

}  // namespace

StringTable::StringTable(std::size_t expectedStrings) : slots(slotCountFor(expectedStrings))
{
    entries.reserve(expectedStrings);
}

std::uint32_t StringTable::number(std::u16string_view text)
{
    const auto hashHigh = static_cast<std::uint32_t>(hashUnits(text.data(), text.size()) >> 32);
    const std::size_t mask = slots.size() - 1;
    for (std::size_t slot = hashHigh & mask;; slot = (slot + 1) & mask) {
        const Slot& candidate = slots[slot];
        if (candidate.numberPlusOne == 0) return add(text, hashHigh, slot);
        if (candidate.hashHigh != hashHigh) continue;
        const std::uint32_t number = candidate.numberPlusOne - 1;
        const std::u16string_view known = entries[number];
        if (known.size() == text.size() &&
            std::memcmp(known.data(), text.data(), 2 * text.size()) == 0) {
            keepAnswer(std::uint64_t{number} + kNumberBias);
            return number;
        }
    }
}

void StringTable::replay(std::uint8_t* stringArea)
{
    replaying = true;
    replayed = ReplayPosition{};
    area = stringArea;
}

void StringTable::keepAnswer(std::uint64_t code)
{
    ++callCount;
    while (code >= 0x80) {
        answers.push_back(static_cast<std::uint8_t>(code | 0x80));
        code >>= 7;
    }
    answers.push_back(static_cast<std::uint8_t>(code));
    numbered.answer = answers.size();
}

std::uint32_t StringTable::replayAnswer()
{
    std::uint8_t byte = answers[replayed.answer++];
    if (byte == kNewCode) {
        // The answer that made the number: the string goes into the image now.
        const std::uint32_t number = replayed.nextNumber++;
        const std::u16string_view text = entries[number];
        std::memcpy(area + replayed.nextOffset, text.data(), 2 * text.size());
        replayed.nextOffset += 2ull * text.size() + 2;
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

std::uint32_t StringTable::add(std::u16string_view text, std::uint32_t hashHigh, std::size_t slot)
{
    const auto number = static_cast<std::uint32_t>(entries.size());
    entries.push_back(text);
    numbered.nextNumber = number + 1;
    numbered.nextOffset += 2ull * text.size() + 2;
    keepAnswer(kNewCode);
    slots[slot] = Slot{hashHigh, number + 1};
    if (2 * entries.size() > slots.size()) growIndex();
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
