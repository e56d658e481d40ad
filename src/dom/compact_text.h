// A text held in one pointer where a UString takes 32 bytes: empty as a null
// pointer, a text that outlives every holder (a name of the tag name list) by
// its address, any other text as a copy of its own. Elements hold their names
// and prefixes so, attributes their prefixes: most of them are empty, and
// most names are names of the list.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "library/shared_types.h"

namespace Parsers {

// The string every namespace URI lookup returns when nothing is declared.
const UString& sharedEmptyString();

class CompactText {
public:
    CompactText() = default;
    // A copy keeps the same address, or a copy of its own of a copied text.
    CompactText(const CompactText& other) { *this = other; }
    CompactText(CompactText&& other) noexcept : bits(other.bits) { other.bits = 0; }
    CompactText& operator=(const CompactText& other);
    CompactText& operator=(CompactText&& other) noexcept
    {
        std::swap(bits, other.bits);
        return *this;
    }
    ~CompactText()
    {
        if ((bits & kOwned) != 0) releaseCopy();
    }

    // Keeps a copy of the value; nothing for an empty one.
    CompactText& operator=(const UString& value);
    // Keeps the address of a text that outlives every holder, or of a text
    // that its owner makes lasting (see TagToken::finishAttribute) before it
    // changes. An empty text is kept as nothing.
    void refer(const UString& constant)
    {
        if ((bits & kOwned) != 0) releaseCopy();
        bits = constant.empty() ? 0 : reinterpret_cast<std::uintptr_t>(&constant);
    }
    // The address that refer() kept; null for an empty text or a copy.
    const UString* referred() const { return (bits & kOwned) != 0 ? nullptr : address(); }
    bool empty() const { return bits == 0; }
    bool isCopy() const { return (bits & kOwned) != 0; }
    const UString& str() const { return bits != 0 ? *address() : sharedEmptyString(); }
    const char16_t* data() const { return str().data(); }
    std::size_t size() const { return str().size(); }
    operator const UString&() const { return str(); }
    operator std::u16string_view() const { return str(); }

private:
    // Set in the address of a copy of the holder's own.
    static constexpr std::uintptr_t kOwned = 1;
    static_assert(alignof(UString) > kOwned, "the lowest bit of a text's address is free");

    UString* address() const { return reinterpret_cast<UString*>(bits & ~kOwned); }
    void release() noexcept;
    void releaseCopy() noexcept;

    std::uintptr_t bits = 0;
};

inline bool operator==(const CompactText& text, std::u16string_view other)
{
    return std::u16string_view(text) == other;
}

inline bool operator==(const CompactText& text, const CompactText& other)
{
    return std::u16string_view(text) == std::u16string_view(other);
}

inline bool operator<(const CompactText& text, std::u16string_view other)
{
    return std::u16string_view(text) < other;
}

inline bool operator<(const CompactText& text, const CompactText& other)
{
    return std::u16string_view(text) < std::u16string_view(other);
}

}  // namespace Parsers
