// The guarded build: the same sources compiled with DOMPARSE_GUARDED, for
// callers who parse untrusted input. The ways in which a parse of the library
// does not come back (a text that can never be read to its end, a finished
// tree without a body to lift, a byte order mark with nothing behind it) end
// that parse with a result code of their own instead. On every input on which
// the ordinary build returns, the guarded build returns the same result and
// the same image.
//
// The tests below are `if constexpr` on kGuardedBuild: the ordinary build
// compiles them away and keeps no flag at run time, while both builds still
// type-check them.
#pragma once

#include <cstdint>

#include "domparse.h"

namespace Parsers {

#if defined(DOMPARSE_GUARDED)
inline constexpr bool kGuardedBuild = true;
#else
inline constexpr bool kGuardedBuild = false;
#endif

// Ends the parse with `code` as its result. The value travels as an unsigned
// short, the type whose value the handlers of a parse return as it stands, so
// that unwinding releases everything the parse holds on the way out.
[[noreturn]] inline void endGuardedParse(std::uint32_t code)
{
    throw static_cast<unsigned short>(code);
}

// How many steps the tokenizer may take without its stream reaching a unit
// further than ever before. A parse that ends never comes near it: the longest
// step back of the rules is a character reference name of at most 32 units,
// read again in about as many steps, and the end-to-end cases, the corpus and
// every truncation of three corpus documents all parse as before with a limit
// of 128. Only a loop that can never leave its place (a "<" at the end read
// again and again, the attribute name turn at the end) runs into it, and so
// does any other such loop the rules may hold.
inline constexpr std::uint32_t kStepsWithoutProgressLimit = 4096;

}  // namespace Parsers
