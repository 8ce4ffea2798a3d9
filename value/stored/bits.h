// Arrays of numbers of few bits.
//
// Of 1, 2 and 4 bits eight numbers, least significant first, are as many bytes as they have bits. Arrays of them take whole
// groups of eight, so a group can be read without a look at where the array ends. Of 12 and 24 bits an array is two: the low
// two thirds of all numbers, then their upper thirds.
#pragma once

#include <bit>

#include "stored/format.h"

namespace qvo::value {

inline constexpr size_t bit_group = 8;

/// Whether numbers of so many bits lie in two arrays, and the bits of their lower parts.
constexpr bool is_split(unsigned bits) { return bits == 12 || bits == 24; }
constexpr unsigned low_bits(unsigned bits) { return bits / 3 * 2; }

/// Bytes of n numbers of so many bits.
constexpr size_t packed_size(uint64_t n, unsigned bits) {
    if (is_split(bits)) return packed_size(n, low_bits(bits)) + packed_size(n, bits - low_bits(bits));
    return bits < 8 ? (n + bit_group - 1) / bit_group * bits : n * (bits / 8);
}

/// The fewest bits for numbers up to `largest`; 64 if no array has so many.
constexpr unsigned bits_for(uint64_t largest) {
    for (const unsigned bits : {1U, 2U, 4U, 8U, 12U, 16U, 24U, 32U})
        if (largest >> bits == 0) return bits;
    return 64;
}
constexpr bool is_width(unsigned bits) { return bits < 64 && bits_for((uint64_t{1} << bits) - 1) == bits; }

// Numbers unpacked at once.
inline constexpr size_t unpack_block = 512;

/// Packs a block of numbers, from number `first` of `total` on, where the array begins at `to`: bytes of fewer than 8
/// bits, whose last group is full; else numbers of 12 bits, or 24.
void pack(const uint8_t* numbers, unsigned bits, uint64_t total, uint64_t first, size_t n, uint8_t* to);
void pack(const uint16_t* numbers, unsigned bits, uint64_t total, uint64_t first, size_t n, uint8_t* to);
void pack(const uint32_t* numbers, unsigned bits, uint64_t total, uint64_t first, size_t n, uint8_t* to);

/// Unpacks a block, from a number on with which a group begins.
void unpack(const uint8_t* packed, unsigned bits, uint64_t total, uint64_t first, size_t n, uint8_t* to);
void unpack(const uint8_t* packed, unsigned bits, uint64_t total, uint64_t first, size_t n, uint16_t* to);
void unpack(const uint8_t* packed, unsigned bits, uint64_t total, uint64_t first, size_t n, uint32_t* to);

/// Calls f(bytes, n) for n numbers from `at` on, a block at a time; the bytes are an array of Number.
template <class Number, class F>
void for_unpacked(const uint8_t* packed, unsigned bits, uint64_t total, uint64_t at, size_t n, F&& f) {
    Number numbers[unpack_block];
    while (n != 0) {
        const size_t before = static_cast<size_t>(at % bit_group);
        const size_t some = n < unpack_block - before ? n : unpack_block - before;
        unpack(packed, bits, total, at - before, before + some, numbers);
        f(reinterpret_cast<const uint8_t*>(numbers + before), some);
        at += some;
        n -= some;
    }
}

}  // namespace qvo::value
