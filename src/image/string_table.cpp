#include "image/string_table.h"

#include <cstring>

namespace Parsers {

namespace {

// A hash of the units, eight bytes at a time: texts are long, and a hash of
// one unit at a time cost a fifth of the image writer's time.
std::uint64_t hashUnits(const char16_t* units, std::size_t count)
{
    std::uint64_t hash = 0x9E3779B97F4A7C15ull ^ count;
    std::size_t index = 0;
    for (; index + 4 <= count; index += 4) {
        std::uint64_t block;
        std::memcpy(&block, units + index, sizeof block);
        hash = (hash ^ block) * 0xFF51AFD7ED558CCDull;
        hash ^= hash >> 32;
    }
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

std::uint32_t StringTable::number(const UString& text)
{
    const std::uint64_t hash = hashUnits(text.data(), text.size());
    const std::size_t mask = slots.size() - 1;
    for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        const Slot& candidate = slots[slot];
        if (candidate.numberPlusOne == 0) return add(text, hash, slot);
        if (candidate.hash != hash) continue;
        const std::uint32_t number = candidate.numberPlusOne - 1;
        const UString& known = *entries[number];
        if (known.size() == text.size() &&
            std::memcmp(known.data(), text.data(), 2 * text.size()) == 0) {
            answers.push_back(number);
            return number;
        }
    }
}

void StringTable::replay(std::uint8_t* stringArea)
{
    replaying = true;
    replayed = 0;
    area = stringArea;
    copied.assign(entries.size(), false);
}

std::uint32_t StringTable::replayAnswer()
{
    const std::uint32_t answer = answers[replayed++];
    if (!copied[answer]) {
        const UString& text = *entries[answer];
        std::memcpy(area + offsets[answer], text.data(), 2 * text.size());
        copied[answer] = true;
    }
    return answer;
}

std::uint32_t StringTable::add(const UString& text, std::uint64_t hash, std::size_t slot)
{
    const auto number = static_cast<std::uint32_t>(entries.size());
    entries.push_back(&text);
    offsets.push_back(bytes);
    bytes += 2ull * text.size() + 2;
    answers.push_back(number);
    slots[slot] = Slot{hash, number + 1};
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
        std::size_t slot = entry.hash & mask;
        while (slots[slot].numberPlusOne != 0) slot = (slot + 1) & mask;
        slots[slot] = entry;
    }
}

}  // namespace Parsers
