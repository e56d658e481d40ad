// The record of one parse: the caller's input, the text the tokenizer reads, the
// error listeners and the finished documents.
#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "library/shared_types.h"

namespace Parsers {

class ErrorListener;

// An allocator that leaves the elements of a resize uninitialised. The decoder
// writes every unit of the decoded text before anything reads it, so zeroing
// the buffer first was wasted work (two per cent of a parse), and the pages of
// the buffer that a text of multi-byte characters never fills are never
// touched.
template <typename T>
class UninitialisedAllocator : public std::allocator<T> {
public:
    template <typename U>
    struct rebind {
        using other = UninitialisedAllocator<U>;
    };

    UninitialisedAllocator() noexcept = default;
    template <typename U>
    UninitialisedAllocator(const UninitialisedAllocator<U>&) noexcept
    {
    }

    template <typename U>
    void construct(U* place) noexcept
    {
        ::new (static_cast<void*>(place)) U;
    }
    template <typename U, typename... Arguments>
    void construct(U* place, Arguments&&... arguments)
    {
        ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
    }
};

struct SourceBuffer {
    // Receivers of parse errors. Nothing in the library adds to the list.
    std::vector<std::shared_ptr<ErrorListener>> errorListeners;
    // The caller's buffer (not owned); moved past a UTF-8 byte order mark.
    std::uint8_t* rawBytes = nullptr;
    // The text the tokenizer reads: the caller's buffer for UTF-16 input, else
    // decodedText.
    char16_t* text = nullptr;
    std::uint32_t rawSize = 0;
    std::uint32_t textLength = 0;
    // Text made by a decoder.
    std::vector<char16_t, UninitialisedAllocator<char16_t>> decodedText;
    // 1 once the input kind or a byte order mark has settled the text.
    std::uint32_t encodingFixed = 0;
    // Code page of the text once known (1200 for UTF-16); -1 while unknown.
    std::int32_t codePage = -1;
    // 1 is case folding parsing; the driver always sets 2, case preserving.
    std::uint32_t parseMode = 1;
    // Keeps the finished document alive after the driver's objects are gone.
    std::vector<NodeRef> documents;

    // Out of line, where the nodes that the documents hold are known.
    SourceBuffer();
    ~SourceBuffer();
    SourceBuffer(SourceBuffer&&) noexcept;
    SourceBuffer& operator=(SourceBuffer&&) noexcept;
};

// Releases what the source holds in its order: documents (and with them the
// trees), then the decoded text, then the listeners.
void releaseSource(SourceBuffer& source);

// Releases the decoded text once the tree is built: the tree holds copies of
// all it needs, and the image writer, whose tables are the peak of a parse's
// memory, never reads the text. The text pointer goes with it.
void releaseDecodedText(SourceBuffer& source);

}  // namespace Parsers
