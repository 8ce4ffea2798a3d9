// The walk over several operands at once, run by run: one for all families, whatever the number of operands.
//
// Run-length sequences are combined step by step: each step takes the shortest run among the operands. Where many steps
// have the same shape, they are handed to the sink as a whole. The shape of a stretch is the set of operands that move
// on by an element with every step; the others stay inside one run all the while (a column beside a constant). If all
// move, their runs are the same; else those of the ones that move are the same as each other. What is left, where runs
// cross, are rows of single steps.
//
// What a sink sees, when the operands' `next` is called and where they are left are those of single steps: stretches
// change nothing but the speed.
#pragma once

#include <array>
#include <concepts>
#include <utility>

#include "core/crossing.h"
#include "core/operand.h"

namespace qvo {

/// Element indexes, one for each operand.
template <size_t N> using At = std::array<size_t, N>;

/// The operands that move on in a stretch: bit k is operand k. A constant, so that a sink has code for each shape.
template <unsigned Set> using Moving = std::integral_constant<unsigned, Set>;
template <unsigned Set> inline constexpr size_t first_moving = static_cast<size_t>(std::countr_zero(Set));

/// Calls f(k) with each operand's number as a constant.
template <size_t N, class F> QVO_INLINE void each(F f) {
    [&]<size_t... K>(std::index_sequence<K...>) __attribute__((always_inline)) {
        (f(std::integral_constant<size_t, K>{}), ...);
    }
    (std::make_index_sequence<N>{});
}

/// What the steps are written to.
///   room()                     single steps that it can take; the walk ends at 0
///   reach()                    the most elements that it wants to see in a stretch
///   stretch(moving, at, span)  the elements from `at` on: span.elements of the operands in `moving`, over
///                              span.positions positions. Returns the leading part of the span that it has taken, which
///                              is all of it but for sinks that may become full in between
///   one(i, at, run)            the i-th of a row of single steps; end_singles(span) closes the row
///   crossing_row()             if it has one: where a longer row of single steps is written (core/crossing.h);
///                              end_crossings(span) closes it
///   look(operands)             if it has one: before each of these, where the operands' elements lie and how wide they
///                              are; not QVO_S_OK ends the walk
template <class Sink, size_t N>
concept WalkSink = requires(Sink sink, At<N> at, RunSpan span, size_t i, unsigned run) {
    { sink.room() } -> std::same_as<size_t>;
    { sink.reach() } -> std::same_as<size_t>;
    { sink.stretch(Moving<1>{}, at, span) } -> std::same_as<RunSpan>;
    sink.one(i, at, run);
    sink.end_singles(span);
};

// A stretch shorter than this is not worth a loop of its own.
inline constexpr size_t shortest_stretch = 6;

// Single steps between two looks for a stretch: few after a stretch was found, more each time none was. Where a run of
// one that stayed ends within one of those that moved, two steps are in between.
inline constexpr size_t fewest_single_steps = 8;
inline constexpr size_t steps_over_an_end = 2;
inline constexpr size_t most_single_steps = 128;

// The same for rows of steps over short runs that cross, each of which costs a fraction of one.
inline constexpr size_t crossings_to_a_step = 16;

// How long a step is: the shortest of what is left of the runs, or, for one family, of the whole runs. The latter lets
// read positions pass the ends of their runs.
struct RunsLeft {
    static constexpr bool in_step = true;  // no operand ever passes the end of its run
    QVO_INLINE static unsigned of(const Operand& operand) { return operand.run_left(); }
};
struct WholeRuns {
    static constexpr bool in_step = false;
    QVO_INLINE static unsigned of(const Operand& operand) { return operand.run(); }
};

template <size_t N> QVO_INLINE At<N> indexes_of(const Operand (&operands)[N]) {
    At<N> at;
    each<N>([&](auto k) __attribute__((always_inline)) { at[k] = operands[k].index(); });
    return at;
}
template <size_t N> QVO_INLINE bool any_used_up(const Operand (&operands)[N]) {
    bool any = false;
    each<N>([&](auto k) __attribute__((always_inline)) { any |= operands[k].used_up(); });
    return any;
}

/// One step, without looking at what comes next; its length.
template <class Rule, size_t N, class Sink> QVO_INLINE unsigned one_step(Operand (&operands)[N], size_t i, Sink& sink) {
    unsigned run = Rule::of(operands[0]);
    each<N>([&](auto k) __attribute__((always_inline)) { run = std::min(run, Rule::of(operands[k])); });
    sink.one(i, indexes_of(operands), run);
    each<N>([&](auto k) __attribute__((always_inline)) { operands[k].take(run); });
    return run;
}

/// At most `n` single steps, without looking for stretches, up to the end of a tile.
template <class Rule, size_t N, class Sink> QVO_INLINE void plain_steps(Operand (&operands)[N], size_t n, Sink& sink) {
    RunSpan span{0, 0};
    do {
        span.positions += one_step<Rule>(operands, span.elements, sink);
    } while (++span.elements < n && !any_used_up(operands));
    sink.end_singles(span);
}

/// The same where no operand passes the end of its run. Runs are tracked by where they end, counted from the start of
/// the call: the shortest run decides, and no branch depends on which one it is.
template <size_t N, class Sink> QVO_INLINE void tracked_steps(Operand (&operands)[N], size_t n, Sink& sink) {
    // A step moves on by at most one element, so as many steps need no test for the end of a tile.
    each<N>([&](auto k) __attribute__((always_inline)) { n = std::min(n, operands[k].elements_left() - 1); });
    if (n == 0) return plain_steps<RunsLeft>(operands, 1, sink);
    const uint8_t *runs[N], *first[N];  // of the current elements, and of elements 0
    uint64_t end[N], after[N], at = 0;
    each<N>([&](auto k) __attribute__((always_inline)) {
        runs[k] = operands[k].runs();
        first[k] = runs[k] + operands[k].index();
        end[k] = operands[k].run_left();
        // The runs that come after the current ones are read a step ahead, off the chain from one end to the next.
        // (After the last element of a full tile that reads a byte of a value, and does not use it.)
        after[k] = get_run(runs[k], 1);
    });
    for (size_t i = 0; i < n; ++i) {
        uint64_t stop = end[0];
        At<N> index;
        each<N>([&](auto k) __attribute__((always_inline)) {
            stop = std::min(stop, end[k]);
            index[k] = static_cast<size_t>(first[k] - runs[k]);
        });
        sink.one(i, index, static_cast<unsigned>(stop - at));
        each<N>([&](auto k) __attribute__((always_inline)) {
            const uint64_t next = -uint64_t{end[k] == stop};  // all ones if the run ends here
            end[k] += after[k] & next;
            runs[k] += static_cast<int64_t>(next);
            after[k] = get_run(runs[k], 1);
        });
        at = stop;
    }
    sink.end_singles({n, static_cast<unsigned>(at)});
    each<N>([&](auto k) __attribute__((always_inline)) {
        operands[k].move_to(static_cast<size_t>(first[k] - runs[k]), *runs[k] - static_cast<unsigned>(end[k] - at));
    });
}

/// Takes a stretch in which the operands of the set move on, if there is one worth it.
template <unsigned Set, class Rule, size_t N, class Sink>
QVO_INLINE bool take_stretch_of(Operand (&operands)[N], Sink& sink) {
    constexpr bool all_move = Set == (1U << N) - 1;
    const uint8_t* const runs = operands[first_moving<Set>].runs();
    size_t n = sink.reach();
    bool inside = true;
    each<N>([&](auto k) __attribute__((always_inline)) {
        if constexpr ((Set >> k & 1) != 0)
            n = std::min(n, operands[k].elements_left());
        else if constexpr (!Rule::in_step)
            inside &= operands[k].taken() < operands[k].run();
    });
    RunSpan span{n, static_cast<unsigned>(n)};
    bool single = true;  // is known of all that move
    each<N>([&](auto k) __attribute__((always_inline)) {
        if constexpr ((Set >> k & 1) != 0) single &= operands[k].single();
    });
    if (single) {
        each<N>([&](auto k) __attribute__((always_inline)) {
            if constexpr ((Set >> k & 1) == 0) span.elements = std::min(span.elements, operands[k].value_left());
        });
        span.positions = static_cast<unsigned>(span.elements);
    } else {
        if constexpr (N == 1) span.positions = sum_runs(runs, n);
        each<N>([&](auto k) __attribute__((always_inline)) {
            if constexpr ((Set >> k & 1) != 0 && k != first_moving<Set>)
                span = equal_runs(runs, operands[k].runs(), span.elements);
        });
        each<N>([&](auto k) __attribute__((always_inline)) {
            if constexpr ((Set >> k & 1) == 0)
                span = elements_within(runs, span.elements, operands[k].run_left(), operands[k].value_left());
        });
    }
    if (!inside || (span.elements < shortest_stretch && !(all_move && span.elements == n))) return false;
    const RunSpan taken = sink.stretch(Moving<Set>{}, indexes_of(operands), span);
    each<N>([&](auto k) __attribute__((always_inline)) {
        if constexpr ((Set >> k & 1) != 0)
            operands[k].skip(taken.elements);
        else
            operands[k].take_of_value(taken.positions);
    });
    return true;
}

/// Takes a stretch of any shape, if there is one worth it; the operands that moved, 0 if none did.
template <class Rule, size_t N, class Sink> QVO_INLINE unsigned take_stretch(Operand (&operands)[N], Sink& sink) {
    unsigned least = Rule::of(operands[0]), moving = 0;
    each<N>([&](auto k) __attribute__((always_inline)) { least = std::min(least, Rule::of(operands[k])); });
    bool ends = false;  // with the next step, an element that was entered before
    each<N>([&](auto k) __attribute__((always_inline)) {
        const bool shortest = Rule::of(operands[k]) == least, fresh = operands[k].taken() == 0;
        moving |= unsigned{shortest && fresh} << k;
        ends |= shortest && !fresh;
    });
    if (ends) return 0;
    bool taken = false;
    each<(size_t{1} << N) - 1>([&](auto k) __attribute__((always_inline)) {
        if (moving == k + 1) taken = take_stretch_of<k + 1, Rule>(operands, sink);
    });
    return taken ? moving : 0;
}

/// Takes a row of single steps over short runs that cross, `room` of them at most.
template <size_t N, class Sink>
QVO_INLINE void take_crossings(Operand (&operands)[N], CrossingRow<N> row, size_t room, Sink& sink) {
    row.room = std::min(row.room, room);
    CrossingSide sides[N];
    each<N>([&](auto k) __attribute__((always_inline)) {
        sides[k] = {operands[k].runs(), operands[k].index(), operands[k].elements_left(), operands[k].taken()};
    });
    sink.end_crossings(cross_runs(row, sides));
    each<N>([&](auto k) __attribute__((always_inline)) { operands[k].move_to(sides[k].index, sides[k].taken); });
}

/// Hands the sink what comes next: a stretch, or `room` single steps at most if there is none. No operand is used up.
/// `single` is the number of single steps to take, kept from one call to the next.
template <class Rule = RunsLeft, size_t N, class Sink>
QVO_INLINE void walk_stretch(Operand (&operands)[N], size_t room, size_t& single, Sink& sink) {
    if (const unsigned moved = take_stretch<Rule>(operands, sink); moved != 0) {
        single = moved == (1U << N) - 1 ? fewest_single_steps : steps_over_an_end;
        return;
    }
    if constexpr (Rule::in_step && requires { sink.crossing_row(); }) {
        const size_t crossings = std::min(room, crossings_to_a_step * single);
        bool all_short = crossings >= fewest_crossings && can_cross_runs();
        each<N>([&](auto k) __attribute__((always_inline)) {
            all_short =
                all_short && runs_are_short(operands[k].runs(), operands[k].elements_left(), operands[k].run_left());
        });
        if (all_short) {
            take_crossings(operands, sink.crossing_row(), crossings, sink);
            single = std::min(single * 2, most_single_steps);
            return;
        }
    }
    if constexpr (Rule::in_step)
        tracked_steps(operands, std::min(room, single), sink);
    else
        plain_steps<Rule>(operands, std::min(room, single), sink);
    single = std::min(single * 2, most_single_steps);
}

/// Refills the operands in order and calls go_on(room) until room() is 0 (QVO_S_OK) or an operand stops, or go_on does
/// (the code). Either way the operands' positions are in their records.
template <size_t N, class Room, class GoOn>
QVO_INLINE QVO_RET walk_while(Operand (&operands)[N], Where where, Room room, GoOn go_on) {
    QVO_RET rc = QVO_S_OK;
    for (size_t left; (left = room()) != 0;) {
        if (rc = refill_all(where, operands); rc != QVO_S_OK) break;
        if (rc = go_on(left); rc != QVO_S_OK) break;
    }
    each<N>([&](auto k) __attribute__((always_inline)) { operands[k].leave(); });
    return rc;
}

/// The whole walk of a call of `next`.
template <class Rule = RunsLeft, size_t N, class Sink>
requires WalkSink<Sink, N> QVO_INLINE QVO_RET walk(Operand (&operands)[N], Sink& sink, Where where) {
    size_t single = fewest_single_steps;
    return walk_while(
        operands, where, [&]() __attribute__((always_inline)) { return sink.room(); },
        [&](size_t room) __attribute__((always_inline))->QVO_RET {
            if constexpr (requires { sink.look(operands); })
                if (const QVO_RET rc = sink.look(operands); rc != QVO_S_OK) return rc;
            walk_stretch<Rule>(operands, room, single, sink);
            return QVO_S_OK;
        });
}

}  // namespace qvo
