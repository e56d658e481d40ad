#include "dom/compact_text.h"

namespace Parsers {

CompactText& CompactText::operator=(const UString& value)
{
    if (value.empty()) {
        release();
    } else if ((bits & kOwned) != 0) {
        *address() = value;
    } else {
        bits = reinterpret_cast<std::uintptr_t>(new UString(value)) | kOwned;
    }
    return *this;
}

CompactText& CompactText::operator=(const CompactText& other)
{
    if (this == &other) return *this;
    if (other.isCopy()) return *this = other.str();
    release();
    bits = other.bits;
    return *this;
}

void CompactText::release() noexcept
{
    if ((bits & kOwned) != 0) delete address();
    bits = 0;
}

void CompactText::releaseCopy() noexcept
{
    delete address();
    bits = 0;
}

}  // namespace Parsers
