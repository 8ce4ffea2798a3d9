// Selection: moving the elements whose condition holds to the front, without a branch per element.
//
// Each element is written where the next kept one belongs, and the place moves on only if it is kept. What is written
// for an element that is not kept is overwritten by the next one that is; so the last element to be looked at must be
// a kept one, and nothing after the kept elements is ever touched.
#pragma once

#include "core/runs.h"

namespace qvo {

/// The length of the conditions without the false ones at their end.
QVO_INLINE size_t without_false_end(const uint8_t* conditions, size_t n) {
    while (n >= run_word && load_word(conditions + n - run_word) == 0) n -= run_word;
    while (n != 0 && conditions[n - 1] == 0) --n;
    return n;
}

enum class Uniform { all_false, all_true, mixed };

/// What a block of 64 conditions has in common. (Trues other than 1 pass for mixed.)
QVO_INLINE Uniform uniformity(const uint8_t* conditions) {
    uint64_t any_true = 0, any_other = 0;
    for (size_t k = 0; k < run_block; k += run_word) {
        const uint64_t word = load_word(conditions + k);
        any_true |= word;
        any_other |= word ^ ones_word;
    }
    return any_true == 0 ? Uniform::all_false : any_other == 0 ? Uniform::all_true : Uniform::mixed;
}

/// Where a selection has come to: elements looked at, elements kept.
struct Selection {
    size_t seen, kept;
};

/// Keeps the elements of 0 .. n-1 whose condition is not 0, `room` at most, and stops right after the last one that
/// there is room for. move(k, i, count) writes elements i .. i+count-1 as the kept elements from k on; its count is a
/// constant.
template <class Move> QVO_INLINE Selection select(const uint8_t* conditions, size_t n, size_t room, Move move) {
    const size_t end = without_false_end(conditions, n);
    size_t i = 0, kept = 0;
    while (end - i >= run_block && room - kept >= run_block) {
        switch (uniformity(conditions + i)) {
            case Uniform::all_false:
                break;
            case Uniform::all_true:
                move(kept, i, std::integral_constant<size_t, run_block>{});
                kept += run_block;
                break;
            case Uniform::mixed:
                for (size_t j = i; j < i + run_block; j += run_word)
                    for (size_t k = 0; k < run_word; ++k) {
                        move(kept, j + k, std::integral_constant<size_t, 1>{});
                        kept += conditions[j + k] != 0;
                    }
                break;
        }
        i += run_block;
    }
    for (; end - i >= run_word && room - kept >= run_word; i += run_word)
        for (size_t k = 0; k < run_word; ++k) {
            move(kept, i + k, std::integral_constant<size_t, 1>{});
            kept += conditions[i + k] != 0;
        }
    for (; i < end && kept < room; ++i) {
        move(kept, i, std::integral_constant<size_t, 1>{});
        kept += conditions[i] != 0;
    }
    return {kept < room ? n : i, kept};
}

/// Appends those of `n` values, as wide as the result's, whose condition is not 0 to the values of the result, from
/// element `to` on, `room` at most. Of any width.
Selection select_values(qvo_seq_iterator_h it, size_t to, const uint8_t* values, const uint8_t* conditions, size_t n,
                        size_t room);

/// Writes the numbers of the conditions that are not 0, `room` at most, the first of them being `first`.
Selection select_positions(uint64_t* to, const uint8_t* conditions, size_t n, size_t room, uint64_t first);

/// The runs of the elements that select_values has kept; there is room for them.
void select_runs(uint8_t* to, const uint8_t* runs, const uint8_t* conditions, size_t n);

}  // namespace qvo
