// MurmurHash3, the 32-bit variant for x86: blocks of four bytes in little-endian order, a tail of one to three bytes,
// and a final mix with the length. Here for values of the fixed widths, so that a loop over a tile becomes vector
// code; values of other widths are hashed byte for byte.
#pragma once

#include <bit>
#include <cstdint>

#include "qvowseq.h"

namespace qvo {

// The seed of every hash that is not chained to another one.
inline constexpr uint32_t hash_seed = 377307;

namespace murmur3 {

/// What one block, or the tail, adds to the hash.
QVO_INLINE uint32_t scrambled(uint32_t block) { return std::rotl(block * 0xcc9e2d51U, 15) * 0x1b873593U; }

QVO_INLINE uint32_t add_block(uint32_t hash, uint32_t block) {
    return std::rotl(hash ^ scrambled(block), 13) * 5U + 0xe6546b64U;
}

QVO_INLINE uint32_t finish(uint32_t hash, uint32_t length) {
    hash ^= length;
    hash ^= hash >> 16;
    hash *= 0x85ebca6bU;
    hash ^= hash >> 13;
    hash *= 0xc2b2ae35U;
    return hash ^ (hash >> 16);
}

QVO_INLINE uint32_t little_endian(uint32_t bits) {
    return std::endian::native == std::endian::little ? bits : __builtin_bswap32(bits);
}

// The hash of a value of fixed width, given as its bits.
QVO_INLINE uint32_t hash(uint8_t bits, uint32_t seed) { return finish(seed ^ scrambled(bits), 1); }
QVO_INLINE uint32_t hash(uint16_t bits, uint32_t seed) {
    const uint32_t tail = std::endian::native == std::endian::little ? bits : __builtin_bswap16(bits);
    return finish(seed ^ scrambled(tail), 2);
}
QVO_INLINE uint32_t hash(uint32_t bits, uint32_t seed) { return finish(add_block(seed, little_endian(bits)), 4); }
QVO_INLINE uint32_t hash(uint64_t bits, uint32_t seed) {
    const uint32_t low = little_endian(static_cast<uint32_t>(bits));
    const uint32_t high = little_endian(static_cast<uint32_t>(bits >> 32));
    const bool low_first = std::endian::native == std::endian::little;
    return finish(add_block(add_block(seed, low_first ? low : high), low_first ? high : low), 8);
}

}  // namespace murmur3

/// The hash of bytes in any number, aligned or not.
uint32_t hash_bytes(const uint8_t* bytes, size_t len, uint32_t seed);

/// Hashes `n` neighbouring values of any width, all with one seed.
void hash_values(const uint8_t* values, size_t width, size_t n, uint32_t seed, uint32_t* hashes);

/// Hashes the values at the given indexes, each with a seed of its own; `hashes` may be `seeds`.
void hash_values_at(const uint8_t* values, size_t width, const uint16_t* indexes, size_t n, const uint32_t* seeds,
                    uint32_t* hashes);

}  // namespace qvo
