// Rows of short runs that cross: their overlaps found many at a time.
//
// Step by step, an overlap takes as long as it takes to find which run ends next. Here the ends of all operands' runs are
// marked first, a byte for each position; the marks of 64 positions are a word, and each bit that is set in the words
// of all operands together is the end of an overlap. What it costs depends on the positions as well: for short runs.
#pragma once

#include "core/runs.h"

namespace qvo {

/// Where the overlaps are written: the element of each operand, and the positions shared, in order. There is room for
/// `room`, and for `slack` more that may be overwritten.
template <size_t N> struct CrossingRow {
    static constexpr size_t slack = 64;
    uint16_t* index[N];
    uint8_t* run;
    size_t room;
};

/// An operand's elements in its tile; cross_runs moves it on.
struct CrossingSide {
    const uint8_t* runs;  // of the current element
    size_t index, left;   // of the current element, and how many there are with it
    unsigned taken;       // positions of it
};

// Fewer are not worth it.
inline constexpr size_t fewest_crossings = 32;
inline constexpr size_t fewest_to_cross = 16;  // elements of each operand

/// Whether an operand has enough elements to be looked at so.
QVO_INLINE bool enough_to_cross(size_t left, unsigned run_left) {
    return left >= fewest_to_cross && run_left - 1 < max_run;
}
/// And whether the next eight are short on average.
QVO_INLINE bool runs_are_short(const uint8_t* runs, size_t left, unsigned run_left) {
    constexpr unsigned most = 16;
    return enough_to_cross(left, run_left) && lane_sum(pair_sums(load_runs(runs))) <= run_word * most;
}

/// Lists the next overlaps, at least one. Where cross_runs is there.
template <size_t N> RunSpan cross_runs(const CrossingRow<N>& row, CrossingSide (&sides)[N]);

/// Of the `n` overlaps that are listed, keeps those of a condition that holds, which is operand 0: the elements of
/// operand 1 and the positions shared.
RunSpan keep_true(const CrossingRow<2>& row, const uint8_t* conditions, size_t n);

#if QVO_WIDE_X86
QVO_INLINE bool can_cross_runs() { return cpu_level >= CpuLevel::avx2; }
/// Whether it is so fast that stretches of a few steps, which nothing foretells, are better taken as crossings.
QVO_INLINE bool crossings_are_cheap() { return cpu_level >= CpuLevel::avx512; }
#else
QVO_INLINE bool can_cross_runs() { return false; }
QVO_INLINE bool crossings_are_cheap() { return false; }
#endif

/// Writes `n` runs that lie in order to a tile.
QVO_INLINE void put_in_tile(uint8_t* to, const uint8_t* runs, size_t n) {
    size_t i = 0;
    for (; i + run_word <= n; i += run_word) {
        const uint64_t word = __builtin_bswap64(load_word(runs + i));
        std::memcpy(to - i - (run_word - 1), &word, run_word);
    }
    for (; i < n; ++i) to[-static_cast<ptrdiff_t>(i)] = runs[i];
}

}  // namespace qvo
