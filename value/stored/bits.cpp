// Packing and unpacking: small numbers eight in a word at a time, wider ones as their two parts.
#include "stored/bits.h"

namespace qvo::value {
namespace {

/// A word with the lowest `ones` bits of each `lane` set.
constexpr uint64_t lanes_of_ones(unsigned ones, unsigned lane) {
    uint64_t word = 0;
    for (unsigned at = 0; at < 64; at += lane) word |= (~uint64_t{0} >> (64 - ones)) << at;
    return word;
}

// The numbers of one packed byte, a byte each.
template <unsigned bits> struct WordOfByte;
template <> struct WordOfByte<1> { using type = uint64_t; };
template <> struct WordOfByte<2> { using type = uint32_t; };
template <> struct WordOfByte<4> { using type = uint16_t; };

template <unsigned bits> struct Groups {
    using Word = typename WordOfByte<bits>::type;

    static constexpr Word lanes(unsigned numbers) {
        return static_cast<Word>(lanes_of_ones(numbers * bits, numbers * 8));
    }
    QVO_INLINE static void pack(const uint8_t* __restrict numbers, size_t bytes, uint8_t* __restrict to) {
        for (size_t i = 0; i < bytes; ++i) {
            Word word = format::load<Word>(numbers + i * sizeof(Word)) & lanes(1);
            word = static_cast<Word>(word | word >> (8 - bits));
            if constexpr (bits <= 2) word = (word & lanes(2)) | (word & lanes(2)) >> 2 * (8 - bits);
            if constexpr (bits == 1) word = (word & lanes(4)) | (word & lanes(4)) >> 4 * (8 - bits);
            to[i] = static_cast<uint8_t>(word);
        }
    }
    QVO_INLINE static void unpack(const uint8_t* __restrict packed, size_t bytes, uint8_t* __restrict to) {
        for (size_t i = 0; i < bytes; ++i) {
            Word word = packed[i];
            if constexpr (bits == 1) word = (word | word << 4 * (8 - bits)) & lanes(4);
            if constexpr (bits <= 2) word = (word | word << 2 * (8 - bits)) & lanes(2);
            format::store(to + i * sizeof(Word), static_cast<Word>((word | word << (8 - bits)) & lanes(1)));
        }
    }
};

constexpr size_t groups_of(size_t n) { return (n + bit_group - 1) / bit_group; }

void pack_groups(const uint8_t* numbers, size_t groups, unsigned bits, uint8_t* to) {
    switch (bits) {
        case 1:
            return for_cpu<Groups<1>::pack, CpuLevel::avx512>(numbers, 1 * groups, to);
        case 2:
            return for_cpu<Groups<2>::pack, CpuLevel::avx512>(numbers, 2 * groups, to);
        default:
            return for_cpu<Groups<4>::pack, CpuLevel::avx512>(numbers, 4 * groups, to);
    }
}

void unpack_groups(const uint8_t* packed, size_t groups, unsigned bits, uint8_t* to) {
    switch (bits) {
        case 1:
            return for_cpu<Groups<1>::unpack, CpuLevel::avx512>(packed, 1 * groups, to);
        case 2:
            return for_cpu<Groups<2>::unpack, CpuLevel::avx512>(packed, 2 * groups, to);
        default:
            return for_cpu<Groups<4>::unpack, CpuLevel::avx512>(packed, 4 * groups, to);
    }
}

/// Numbers as their low parts, which are a Low each, and their upper parts.
template <class Number, class Low> struct Parts {
    static constexpr unsigned shift = 8 * sizeof(Low);

    QVO_INLINE static void join(const uint8_t* __restrict low, const uint8_t* __restrict high, size_t n,
                                Number* __restrict to) {
        for (size_t i = 0; i < n; ++i) {
            const Number upper = high[i];
            to[i] = static_cast<Number>(format::load<Low>(low + i * sizeof(Low)) | upper << shift);
        }
    }
    QVO_INLINE static void cut(const Number* __restrict numbers, size_t n, uint8_t* __restrict low,
                               uint8_t* __restrict high) {
        for (size_t i = 0; i < n; ++i) {
            format::store(low + i * sizeof(Low), static_cast<Low>(numbers[i]));
            high[i] = static_cast<uint8_t>(numbers[i] >> shift);
        }
    }
};

}  // namespace

void pack(const uint8_t* numbers, unsigned bits, uint64_t, uint64_t first, size_t n, uint8_t* to) {
    pack_groups(numbers, groups_of(n), bits, to + first / bit_group * bits);
}
void pack(const uint16_t* numbers, unsigned, uint64_t total, uint64_t first, size_t n, uint8_t* to) {
    uint8_t upper[unpack_block] = {};
    for_cpu<Parts<uint16_t, uint8_t>::cut>(numbers, n, to + first, upper);
    pack_groups(upper, groups_of(n), 4, to + total + first / bit_group * 4);
}
void pack(const uint32_t* numbers, unsigned, uint64_t total, uint64_t first, size_t n, uint8_t* to) {
    for_cpu<Parts<uint32_t, uint16_t>::cut>(numbers, n, to + 2 * first, to + 2 * total + first);
}

void unpack(const uint8_t* packed, unsigned bits, uint64_t, uint64_t first, size_t n, uint8_t* to) {
    unpack_groups(packed + first / bit_group * bits, groups_of(n), bits, to);
}
void unpack(const uint8_t* packed, unsigned, uint64_t total, uint64_t first, size_t n, uint16_t* to) {
    uint8_t upper[unpack_block];
    unpack_groups(packed + total + first / bit_group * 4, groups_of(n), 4, upper);
    for_cpu<Parts<uint16_t, uint8_t>::join, CpuLevel::avx512>(packed + first, upper, n, to);
}
void unpack(const uint8_t* packed, unsigned, uint64_t total, uint64_t first, size_t n, uint32_t* to) {
    for_cpu<Parts<uint32_t, uint16_t>::join, CpuLevel::avx512>(packed + 2 * first, packed + 2 * total + first, n, to);
}

}  // namespace qvo::value
