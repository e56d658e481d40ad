// SHA-256 of a byte string, for the hashes of document images.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Parsers::Bench {

// The digest as 64 lower-case hexadecimal digits.
std::string sha256Hex(const std::uint8_t* bytes, std::size_t size);

// Whether the implementation gives the published digests of three standard
// messages (the empty one, "abc", and a message of two blocks).
bool sha256SelfCheck();

}  // namespace Parsers::Bench
