// Counted references to nodes and attributes.
//
// A node or an attribute counts the references to it in a field of its own,
// so a reference is one pointer wide and needs no separate counter block. The
// count is a plain number: everything made during a parse is made, shared and
// released on the parse's thread. A reference is made only by makeNode or
// from another reference, never from a bare address, so a node on the stack
// or inside another object is never counted and never released.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <string>
#include <utility>

namespace Parsers {

class Node;
template <typename String>
class BasicAttribute;

// Destroys a node whose last reference is gone and gives its memory back to
// where makeNode took it from (node.cpp).
void destroyNode(Node* node) noexcept;
// The same for an attribute and makeAttribute (attribute.cpp).
void destroyAttribute(BasicAttribute<std::u16string>* attribute) noexcept;

inline void destroyCounted(Node* node) noexcept
{
    destroyNode(node);
}
inline void destroyCounted(BasicAttribute<std::u16string>* attribute) noexcept
{
    destroyAttribute(attribute);
}

template <typename T>
class Ref {
public:
    using element_type = T;

    Ref() noexcept = default;
    Ref(std::nullptr_t) noexcept {}
    Ref(const Ref& other) noexcept : pointer(other.pointer) { retain(); }
    Ref(Ref&& other) noexcept : pointer(std::exchange(other.pointer, nullptr)) {}
    template <typename U>
        requires std::is_convertible_v<U*, T*>
    Ref(const Ref<U>& other) noexcept : pointer(other.get())
    {
        retain();
    }
    template <typename U>
        requires std::is_convertible_v<U*, T*>
    Ref(Ref<U>&& other) noexcept : pointer(other.giveUp())
    {
    }
    ~Ref() { drop(pointer); }

    Ref& operator=(const Ref& other) noexcept
    {
        Ref(other).swap(*this);
        return *this;
    }
    Ref& operator=(Ref&& other) noexcept
    {
        Ref(std::move(other)).swap(*this);
        return *this;
    }

    T* get() const noexcept { return pointer; }
    T& operator*() const noexcept { return *pointer; }
    T* operator->() const noexcept { return pointer; }
    explicit operator bool() const noexcept { return pointer != nullptr; }
    // The number of references to the node, this one included; 0 for none.
    long use_count() const noexcept { return pointer ? static_cast<long>(pointer->referenceCount) : 0; }

    // Lets go of the node. The reference is empty before the node can go, as
    // the release of a node may reach this reference again.
    void reset() noexcept { drop(std::exchange(pointer, nullptr)); }
    void swap(Ref& other) noexcept { std::swap(pointer, other.pointer); }

    // The node's address, leaving this reference empty without releasing the
    // reference it held: for the moves between references of related types.
    T* giveUp() noexcept { return std::exchange(pointer, nullptr); }
    // A reference that takes over one already counted for `node`.
    static Ref adopt(T* node) noexcept
    {
        Ref made;
        made.pointer = node;
        return made;
    }

private:
    void retain() const noexcept
    {
        if (pointer) ++pointer->referenceCount;
    }
    static void drop(T* node) noexcept
    {
        if (node && --node->referenceCount == 0) destroyCounted(node);
    }

    T* pointer = nullptr;
};

template <typename T, typename U>
bool operator==(const Ref<T>& a, const Ref<U>& b) noexcept
{
    return a.get() == b.get();
}

template <typename T>
bool operator==(const Ref<T>& a, std::nullptr_t) noexcept
{
    return !a;
}

// The reference as one to a derived class that the node is known to be.
template <typename T, typename U>
Ref<T> refCast(const Ref<U>& from) noexcept
{
    Ref<U> copy = from;
    return Ref<T>::adopt(static_cast<T*>(copy.giveUp()));
}

}  // namespace Parsers
