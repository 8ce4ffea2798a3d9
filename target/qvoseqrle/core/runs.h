// Run bytes, many at a time.
//
// Run bytes grow downwards in memory: those of elements i .. i+n-1 form the block that ends at the byte of
// element i. The functions take the address of the first element's byte and count towards lower addresses.
// They may look at up to 63 bytes below the block, which still lie in the tile.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "qvowseq.h"

namespace qvo {

// Run bytes examined at once: any tile has as many payload bytes below its first run byte.
inline constexpr size_t run_block = 64;
inline constexpr size_t run_word = sizeof(uint64_t);
inline constexpr uint64_t ones_word = 0x0101010101010101U;

/// Eight bytes from the given address on, and eight run bytes as a number with the first one on top.
QVO_INLINE uint64_t load_word(const uint8_t* lowest) {
    uint64_t word;
    std::memcpy(&word, lowest, run_word);
    return word;
}
QVO_INLINE uint64_t load_runs(const uint8_t* first) {
    const uint64_t word = load_word(first - (run_word - 1));
    return std::endian::native == std::endian::big ? __builtin_bswap64(word) : word;
}

/// Copies `n` run bytes in the order of their elements, up to 7 more after them.
QVO_INLINE void copy_in_order(uint8_t* to, const uint8_t* runs, size_t n) {
    for (size_t i = 0; i < n; i += run_word) {
        const uint64_t word = __builtin_bswap64(load_word(runs - i - (run_word - 1)));
        std::memcpy(to + i, &word, run_word);
    }
}

// Four words that the compiler keeps in vector registers of whatever width there is; left alone, it compares blocks of
// run bytes word by word.
typedef uint64_t RunVector __attribute__((vector_size(4 * run_word)));

/// What a block of run bytes is compared with: another block, or the same word throughout.
struct OtherRuns {
    const uint8_t* first;
    QVO_INLINE void load(RunVector& vector, size_t below) const { std::memcpy(&vector, first - below, sizeof vector); }
    QVO_INLINE uint64_t word(size_t below) const { return load_word(first - below); }
};
struct SameRun {
    uint64_t splat;
    QVO_INLINE void load(RunVector& vector, size_t) const { vector = RunVector{splat, splat, splat, splat}; }
    QVO_INLINE uint64_t word(size_t) const { return splat; }
};

/// True if any of the 64 run bytes from `below` bytes under the first one up differs, here or on another side.
template <class With, class... Other>
QVO_INLINE bool block_differs(With with, size_t below, const uint8_t* runs, Other... others) {
    RunVector any{};
    for (size_t k = 0; k < run_block; k += sizeof(RunVector)) {
        RunVector b;
        with.load(b, below - k);
        for (const uint8_t* side : {runs, others...}) {
            RunVector a;
            std::memcpy(&a, side - below + k, sizeof a);
            any |= a ^ b;
        }
    }
    typedef uint64_t Half __attribute__((vector_size(2 * run_word)));
    const Half half = __builtin_shufflevector(any, any, 0, 1) | __builtin_shufflevector(any, any, 2, 3);
    return (half[0] | half[1]) != 0;
}

/// The number of leading elements, of `n` at most, whose run bytes are equal to what they are compared with; those of the
/// first i are known to be. A word at a time, and by blocks from the first one on.
template <class With> QVO_INLINE size_t leading_words(const uint8_t* runs, With with, size_t i, size_t n) {
    for (; i < n; i += run_word) {
        uint64_t word = load_word(runs - (i + run_word - 1)) ^ with.word(i + run_word - 1);
        if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
        if (word != 0) {
            i += static_cast<size_t>(std::countl_zero(word)) / 8;
            break;
        }
    }
    return std::min(i, n);
}
template <class With> QVO_INLINE size_t leading_equal(const uint8_t* runs, With with, size_t n) {
    size_t i = 0;
    while (i < n && !block_differs(with, i + run_block - 1, runs)) i += run_block;
    return leading_words(runs, with, i, n);
}

/// Leading elements with the same run, of a block at least. A function of its own, for vectors of what width there is.
size_t leading_same_of_many(const uint8_t* runs, unsigned run, size_t n);

/// Leading elements with the same run, and those of run 1.
QVO_INLINE size_t leading_same_runs(const uint8_t* runs, unsigned run, size_t n) {
    const SameRun same{ones_word * run};
    if (n < run_block || load_runs(runs) != same.splat) return leading_words(runs, same, 0, n);
    if (n <= max_run) return leading_equal(runs, same, n);  // beside one run: not worth the call
    return leading_same_of_many(runs, run, n);
}
QVO_INLINE size_t leading_single_runs(const uint8_t* runs, size_t n) { return leading_same_runs(runs, 1, n); }

/// Sums of neighbouring run bytes in four 16-bit lanes.
QVO_INLINE uint64_t pair_sums(uint64_t word) {
    constexpr uint64_t even_bytes = 0x00ff00ff00ff00ffU;
    return (word & even_bytes) + ((word >> 8) & even_bytes);
}

/// The sum of four 16-bit lanes; it must be below 2^16.
QVO_INLINE unsigned lane_sum(uint64_t lanes) { return static_cast<unsigned>((lanes * 0x0001000100010001U) >> 48); }

/// Adds up run bytes a block at a time, in lanes of 16 bits.
class BlockSum {
 public:
    /// Adds the 64 run bytes from the lowest address up.
    QVO_INLINE void add(const uint8_t* lowest) {
        for (size_t k = 0; k < words; ++k) lanes_[k] += pair_sums(load_word(lowest + k * run_word));
    }
    QVO_INLINE unsigned total() const {
        uint64_t sums = 0;
        for (const uint64_t lane : lanes_) sums += (lane & even_lanes) + ((lane >> 16) & even_lanes);
        return static_cast<unsigned>(sums + (sums >> 32));
    }

 private:
    static constexpr size_t words = run_block / run_word;
    static constexpr uint64_t even_lanes = 0x0000ffff0000ffffU;
    // A tile has at most 32 blocks, each of which adds at most 2 * 255 to a lane.
    static_assert(capacity_of(1) / run_block * 2 * max_run < 65536);
    uint64_t lanes_[words] = {};
};

/// The sum of n run bytes, a block at least, from the lowest address up. A function of its own, as the compiler does not
/// make vector code of it in the midst of others.
unsigned sum_many(const uint8_t* lowest, size_t n);

/// The same a word at a time, for fewer than a block.
QVO_INLINE unsigned sum_words(const uint8_t* byte, size_t n) {
    const uint8_t* const end = byte + n;
    unsigned total = 0;
    for (; static_cast<size_t>(end - byte) >= run_word; byte += run_word) total += lane_sum(pair_sums(load_word(byte)));
    for (; byte != end; ++byte) total += *byte;
    return total;
}

/// The positions covered by `n` elements of one tile.
QVO_INLINE unsigned sum_runs(const uint8_t* runs, size_t n) {
    const uint8_t* const lowest = runs - n + 1;  // the order does not matter
    return n < run_block ? sum_words(lowest, n) : sum_many(lowest, n);
}

/// Neighbouring elements of one tile, and the positions that they cover.
struct RunSpan {
    size_t elements;
    unsigned positions;
};

/// The leading elements, of `n` at most, whose runs are the same on both sides.
QVO_INLINE RunSpan equal_runs(const uint8_t* a, const uint8_t* b, size_t n) {
    if (a == b) return {n, sum_runs(a, n)};  // two arrays have theirs in one place
    // Most often all runs are the same, and need no adding up.
    const SameRun first{ones_word * *a};
    const OtherRuns other{b};
    size_t i = 0;
    while (i + run_block <= n && !block_differs(first, i + run_block - 1, a, b)) i += run_block;
    const size_t same = i;
    BlockSum blocks;
    for (; i + run_block <= n && !block_differs(other, i + run_block - 1, a); i += run_block)
        blocks.add(a - (i + run_block - 1));
    const size_t rest = leading_equal(a - i, OtherRuns{b - i}, n - i);
    return {i + rest, static_cast<unsigned>(same * *a) + blocks.total() + sum_runs(a - i, rest)};
}

/// The leading elements, of `n` at most, that one run of `budget` positions covers: an element belongs to the
/// span if positions of the budget are left before it and it fits into them. Leading elements of run 1 may go on where
/// another run follows that is as good.
QVO_INLINE RunSpan elements_within(const uint8_t* runs, size_t n, unsigned budget, size_t most_singles) {
    const size_t singles = *runs == 1 ? leading_single_runs(runs, std::min(n, most_singles)) : 0;
    RunSpan span{singles, static_cast<unsigned>(singles)};
    if (singles >= budget) return span;
    while (span.elements + run_word <= n) {
        const unsigned sum = lane_sum(pair_sums(load_runs(runs - span.elements)));
        if (span.positions + sum >= budget) break;  // the budget ends in these eight: go one by one
        span.positions += sum;
        span.elements += run_word;
    }
    while (span.elements < n && span.positions < budget) {
        const unsigned run = runs[-static_cast<ptrdiff_t>(span.elements)];
        if (span.positions + run > budget) break;
        span.positions += run;
        ++span.elements;
    }
    return span;
}
QVO_INLINE RunSpan elements_within(const uint8_t* runs, size_t n, unsigned budget) {
    return elements_within(runs, n, budget, budget);
}

}  // namespace qvo
