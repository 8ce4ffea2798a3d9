// Walking two operands overlap by overlap.
//
// Two run-length sequences are combined run by run: each step takes the shorter of the two remaining runs.
// Stretches in which many steps have the same shape are handed to the sink as a whole, with the positions they cover:
//   lockstep(left, right, span)    span.elements elements of either side from there on, with the same runs;
//   many_left(left, right, span)   elements of the left side, all inside one run of the right (a column against a
//                                  constant);
//   many_right(left, right, span)  the same with the sides exchanged;
//   one(k, left, right, run)       the k-th of a row of single overlaps, where runs cross; end_singles(span) closes
//                                  the row.
// Each of the first three returns the leading part of the span that the sink has taken, which is all of it but for
// sinks that may become full in between. room() is the number of single overlaps that the sink can take, reach() the
// most elements that it wants to see in a stretch.
// What the sink sees, when the operands' `next` is called and where they are left are those of single steps.
#pragma once

#include "core/operand.h"

namespace qvo {

// A stretch shorter than this is not worth a loop of its own.
inline constexpr size_t shortest_stretch = 6;

// Single steps between two looks for a stretch: few after a stretch was found, more each time none was.
inline constexpr size_t fewest_single_steps = 8;
inline constexpr size_t most_single_steps = 128;

/// At most `n` single steps, without looking for stretches. Runs are tracked by where they end, counted from the
/// start of the call: the shorter run decides, and no branch depends on which one it is.
template <class Sink> QVO_INLINE void single_steps(Operand& a, Operand& b, size_t n, Sink& sink) {
    // A step moves on by at most one element, so as many steps need no test for the end of a tile.
    n = std::min({n, a.elements_left() - 1, b.elements_left() - 1});
    if (n == 0) {
        const unsigned run = std::min(a.run_left(), b.run_left());
        sink.one(0, a.index(), b.index(), run);
        sink.end_singles({1, run});
        a.take(run);
        b.take(run);
        return;
    }
    const uint8_t *runs_a = a.runs(), *runs_b = b.runs();  // of the current elements
    const uint8_t *const first_a = runs_a + a.index(), *const first_b = runs_b + b.index();
    uint64_t end_a = a.run_left(), end_b = b.run_left(), at = 0;
    // The runs that come after the current ones are read a step ahead, off the chain from one end to the next. (Behind
    // the last element of a full tile that reads a byte of a value, and does not use it.)
    uint64_t after_a = get_run(runs_a, 1), after_b = get_run(runs_b, 1);
    for (size_t k = 0; k < n; ++k) {
        const uint64_t end = std::min(end_a, end_b);
        sink.one(k, static_cast<size_t>(first_a - runs_a), static_cast<size_t>(first_b - runs_b),
                 static_cast<unsigned>(end - at));
        const uint64_t next_a = -uint64_t{end_a == end}, next_b = -uint64_t{end_b == end};  // all ones if it ends here
        end_a += after_a & next_a;
        end_b += after_b & next_b;
        runs_a += static_cast<int64_t>(next_a);
        runs_b += static_cast<int64_t>(next_b);
        after_a = get_run(runs_a, 1);
        after_b = get_run(runs_b, 1);
        at = end;
    }
    sink.end_singles({n, static_cast<unsigned>(at)});
    a.move_to(static_cast<size_t>(first_a - runs_a), *runs_a - static_cast<unsigned>(end_a - at));
    b.move_to(static_cast<size_t>(first_b - runs_b), *runs_b - static_cast<unsigned>(end_b - at));
}

/// Hands the sink what comes next: a stretch, or `room` single steps at most if there is none. Neither operand is used
/// up. `single` is the number of single steps to take, kept from one call to the next.
template <class Sink> QVO_INLINE void walk_stretch(Operand& a, Operand& b, size_t room, size_t& single, Sink& sink) {
    const unsigned left_a = a.run_left(), left_b = b.run_left();
    const bool fresh_a = a.taken() == 0, fresh_b = b.taken() == 0;
    if (left_a == left_b && fresh_a && fresh_b) {
        const size_t n = std::min({sink.reach(), a.elements_left(), b.elements_left()});
        const RunSpan span = equal_runs(a.runs(), b.runs(), n);
        if (span.elements == n || span.elements >= shortest_stretch) {
            const RunSpan taken = sink.lockstep(a.index(), b.index(), span);
            a.skip(taken.elements);
            b.skip(taken.elements);
            single = fewest_single_steps;
            return;
        }
    } else if (left_a < left_b && fresh_a) {
        const RunSpan span = elements_within(a.runs(), std::min(sink.reach(), a.elements_left()), left_b);
        if (span.elements >= shortest_stretch) {
            const RunSpan taken = sink.many_left(a.index(), b.index(), span);
            a.skip(taken.elements);
            b.take(taken.positions);
            single = fewest_single_steps;
            return;
        }
    } else if (left_b < left_a && fresh_b) {
        const RunSpan span = elements_within(b.runs(), std::min(sink.reach(), b.elements_left()), left_a);
        if (span.elements >= shortest_stretch) {
            const RunSpan taken = sink.many_right(a.index(), b.index(), span);
            a.take(taken.positions);
            b.skip(taken.elements);
            single = fewest_single_steps;
            return;
        }
    }
    single_steps(a, b, std::min(room, single), sink);
    single = std::min(single * 2, most_single_steps);
}

/// Walks until sink.room() is 0 (QVO_S_OK) or an operand stops (its code). Either way the operands' positions are in
/// their records.
template <class Sink> QVO_INLINE QVO_RET walk_overlaps(Operand& a, Operand& b, Sink& sink, Where where) {
    QVO_RET rc = QVO_S_OK;
    size_t single = fewest_single_steps;
    for (size_t room; (room = sink.room()) != 0;) {
        if (rc = refill_both(a, b, where); rc != QVO_S_OK) break;
        walk_stretch(a, b, room, single, sink);
    }
    a.store();
    b.store();
    return rc;
}

}  // namespace qvo
