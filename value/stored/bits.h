// Numbers of 1, 2 and 4 bits: eight of them, least significant first, are as many bytes as they have bits.
//
// Arrays of them take whole groups of eight, so a group can be read without a look at where the array ends.
#pragma once

#include "stored/format.h"

namespace qvo::value {

inline constexpr size_t bit_group = 8;

/// Bytes of n numbers of so many bits.
constexpr size_t packed_size(uint64_t n, unsigned bits) {
    return bits < 8 ? (n + bit_group - 1) / bit_group * bits : n * (bits / 8);
}

/// The fewest bits for numbers up to `largest`; 64 if no array has so many.
constexpr unsigned bits_for(uint64_t largest) {
    for (const unsigned bits : {1U, 2U, 4U, 8U, 16U, 32U})
        if (largest >> bits == 0) return bits;
    return 64;
}

/// A word with the lowest `ones` bits of each `lane` set.
constexpr uint64_t lanes_of_ones(unsigned ones, unsigned lane) {
    uint64_t word = 0;
    for (unsigned at = 0; at < 64; at += lane) word |= (~uint64_t{0} >> (64 - ones)) << at;
    return word;
}

/// Of each byte the lowest bits.
template <unsigned bits> QVO_INLINE uint64_t pack_group(uint64_t word) {
    word &= lanes_of_ones(bits, 8);
    word = (word | word >> (8 - bits)) & lanes_of_ones(2 * bits, 16);
    word = (word | word >> 2 * (8 - bits)) & lanes_of_ones(4 * bits, 32);
    return word | word >> 4 * (8 - bits);
}

template <unsigned bits> QVO_INLINE uint64_t unpack_group(uint64_t word) {
    word = (word | word << 4 * (8 - bits)) & lanes_of_ones(4 * bits, 32);
    word = (word | word << 2 * (8 - bits)) & lanes_of_ones(2 * bits, 16);
    return (word | word << (8 - bits)) & lanes_of_ones(bits, 8);
}

/// Packs whole groups of bytes, and unpacks them.
void pack_groups(const uint8_t* bytes, size_t groups, unsigned bits, uint8_t* to);
void unpack_groups(const uint8_t* packed, size_t groups, unsigned bits, uint8_t* to);

// Numbers unpacked at once.
inline constexpr size_t unpack_block = 512;

/// Calls f(bytes, n) for n numbers from `at` on, a block at a time, each number a byte.
template <class F> void for_unpacked(const uint8_t* packed, unsigned bits, uint64_t at, size_t n, F&& f) {
    uint8_t bytes[unpack_block];
    while (n != 0) {
        const size_t before = static_cast<size_t>(at % bit_group);
        const size_t some = n < unpack_block - before ? n : unpack_block - before;
        unpack_groups(packed + at / bit_group * bits, (before + some + bit_group - 1) / bit_group, bits, bytes);
        f(bytes + before, some);
        at += some;
        n -= some;
    }
}

}  // namespace qvo::value
