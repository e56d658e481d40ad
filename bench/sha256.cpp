#include "sha256.h"

#include <array>
#include <cstring>

namespace Parsers::Bench {

namespace {

// The first 32 bits of the fractional parts of the cube roots of the first 64
// primes, and below of the square roots of the first 8: the algorithm's own
// constants.
constexpr std::array<std::uint32_t, 64> kRoundConstants{
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::array<std::uint32_t, 8> kInitialState{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                                     0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

constexpr std::uint32_t rotateRight(std::uint32_t value, int count)
{
    return (value >> count) | (value << (32 - count));
}

// One 64-byte block into the state: the message schedule of 64 words from the
// block's 16 big-endian words, then 64 rounds, added to the state.
void compressBlock(std::array<std::uint32_t, 8>& state, const std::uint8_t* block)
{
    std::array<std::uint32_t, 64> schedule;
    for (int i = 0; i < 16; ++i) {
        schedule[i] = static_cast<std::uint32_t>(block[4 * i]) << 24 |
                      static_cast<std::uint32_t>(block[4 * i + 1]) << 16 |
                      static_cast<std::uint32_t>(block[4 * i + 2]) << 8 | block[4 * i + 3];
    }
    for (int i = 16; i < 64; ++i) {
        std::uint32_t before15 = schedule[i - 15];
        std::uint32_t before2 = schedule[i - 2];
        std::uint32_t s0 = rotateRight(before15, 7) ^ rotateRight(before15, 18) ^ (before15 >> 3);
        std::uint32_t s1 = rotateRight(before2, 17) ^ rotateRight(before2, 19) ^ (before2 >> 10);
        schedule[i] = schedule[i - 16] + s0 + schedule[i - 7] + s1;
    }
    auto [a, b, c, d, e, f, g, h] = state;
    for (int i = 0; i < 64; ++i) {
        std::uint32_t sum1 = rotateRight(e, 6) ^ rotateRight(e, 11) ^ rotateRight(e, 25);
        std::uint32_t choice = (e & f) ^ (~e & g);
        std::uint32_t first = h + sum1 + choice + kRoundConstants[i] + schedule[i];
        std::uint32_t sum0 = rotateRight(a, 2) ^ rotateRight(a, 13) ^ rotateRight(a, 22);
        std::uint32_t majority = (a & b) ^ (a & c) ^ (b & c);
        std::uint32_t second = sum0 + majority;
        h = g;
        g = f;
        f = e;
        e = d + first;
        d = c;
        c = b;
        b = a;
        a = first + second;
    }
    std::array<std::uint32_t, 8> added{a, b, c, d, e, f, g, h};
    for (int i = 0; i < 8; ++i) state[i] += added[i];
}

}  // namespace

std::string sha256Hex(const std::uint8_t* bytes, std::size_t size)
{
    std::array<std::uint32_t, 8> state = kInitialState;
    std::size_t whole = size / 64 * 64;
    for (std::size_t at = 0; at < whole; at += 64) compressBlock(state, bytes + at);
    // The tail, the 0x80 marker and the bit length fill one or two last blocks.
    std::uint8_t tail[128] = {};
    std::size_t left = size - whole;
    if (left > 0) std::memcpy(tail, bytes + whole, left);
    tail[left] = 0x80;
    std::size_t tailSize = left + 9 <= 64 ? 64 : 128;
    std::uint64_t bits = static_cast<std::uint64_t>(size) * 8;
    for (int i = 0; i < 8; ++i) tail[tailSize - 1 - i] = static_cast<std::uint8_t>(bits >> (8 * i));
    for (std::size_t at = 0; at < tailSize; at += 64) compressBlock(state, tail + at);

    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (std::uint32_t word : state) {
        for (int shift = 28; shift >= 0; shift -= 4) hex += kDigits[(word >> shift) & 0xF];
    }
    return hex;
}

bool sha256SelfCheck()
{
    struct Vector {
        const char* message;
        const char* digest;
    };
    static constexpr Vector kVectors[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    };
    for (const auto& vector : kVectors) {
        const auto* message = reinterpret_cast<const std::uint8_t*>(vector.message);
        if (sha256Hex(message, std::strlen(vector.message)) != vector.digest) return false;
    }
    return true;
}

}  // namespace Parsers::Bench
