// The loop of all group aggregates: a group is a stretch of positions with equal keys. Which positions belong together,
// where groups open and close and what a full tile leaves behind is the same for all of them and compiled once; a
// member is a loop that folds the steps of a batch, told where groups end.
#pragma once

#include "core/construct.h"
#include "core/protocol.h"

namespace qvo {

/// The steps' elements of an operand.
struct StepElements {
    const uint8_t* values;  // element 0
    const uint16_t* index;  // of each step
    template <class V> QVO_INLINE const V* as() const { return reinterpret_cast<const V*>(values); }
};

/// Steps over elements of the operands. Step ends[j] is the first of a new group.
struct GroupSteps {
    StepElements value, second;  // second: of members with two values
    const uint8_t* run;          // positions
    size_t n;
    const uint16_t* ends;
    size_t n_ends;
    bool plain;      // the values are neighbours, and all runs are 1
    bool mixed;      // for walk_mixed_groups
    bool any_empty;  // some step has no positions

    static constexpr size_t most = 256;
    static constexpr size_t slack = 32;  // ends are written many at a time, and indexes read
};

struct GroupMember {
    /// Folds the steps into the open group (if `count` is not 0; else the first step opens one) and those that
    /// follow, and writes the results of the groups that end to the tile, from element `to` on. Leaves the state of
    /// the last group in the context.
    using Fold = void (*)(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to);
    /// Writes the result of the open group.
    using Close = void (*)(qvo_seq_iterator_h it, size_t to);

    Fold fold;
    Close close;
};

/// Where a member keeps the last key, and how wide one may be. The width of the keys is that of their tiles: a text
/// source learns it from its first string, so that constructors cannot check it for good.
struct KeptKey {
    uint8_t* bytes;
    size_t widest;
};

// Keys are kept where the member leaves room: whole in the history, or after the count if the history is taken.
inline KeptKey key_in_history(qvo_seq_iterator_h it) {
    return {reinterpret_cast<uint8_t*>(&state<qvo_seq_agg_context_t>(it).history),
            sizeof(qvo_seq_agg_context_t::history)};
}
inline KeptKey key_in_accumulator(qvo_seq_iterator_h it) {
    return {reinterpret_cast<uint8_t*>(&state<qvo_seq_agg_context_t>(it).accumulator),
            sizeof(qvo_seq_value_t) + sizeof(double)};
}

/// The end of a constructor: no group is open, and the last key is zero bytes, which is what a string of a source
/// without a width amounts to once there is one.
inline void start_groups(qvo_seq_iterator_h result) { state<qvo_seq_agg_context_t>(result) = {}; }

/// The same, with the fields of a result before it, for members with the last key in the history.
QVO_RET fill_group(qvo_seq_iterator_h result, ElementLayout layout, std::initializer_list<qvo_seq_iterator_h> operands,
                   qvo_seq_iterator_h group_by, qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset);

/// Whether keys of a width are compared as words, many at a time: 1, 2, 4 or 8 bytes.
bool has_words(size_t width);

/// Where groups end among steps by their keys, which are words; every step has positions.
struct KeySteps {
    const uint8_t* values;  // key 0
    size_t width;
    const uint16_t* index;
    size_t n;
    bool inside;  // the first step goes on with an element whose key has been looked at
    bool open;    // a group is open
    size_t room;  // groups that may end
};

/// Writes the ends, up to steps.n of them and GroupSteps::slack beyond, and returns their number; cuts steps.n after the
/// last one that there is room for. Keeps the last key. Reads as many indexes beyond.
size_t find_ends(KeySteps& steps, uint8_t* kept_key, uint16_t* ends);

/// Writes the indexes of neighbours, eight at a time: up to 7 more.
QVO_INLINE void fill_indexes(uint16_t* indexes, size_t first, size_t n) {
    typedef uint16_t Indexes __attribute__((vector_size(16)));
    Indexes next = Indexes{0, 1, 2, 3, 4, 5, 6, 7} + static_cast<uint16_t>(first);
    for (size_t i = 0; i < n; i += 8, next += uint16_t{8}) std::memcpy(indexes + i, &next, sizeof next);
}

/// `first` if the step opens a group, 1, and `next` if it goes on with one, 0: without a branch, as none could be
/// foretold. The way to the result from `next`, which comes last, is as short as it can be.
template <class V> QVO_INLINE V opened_or(uint64_t opens, V first, V next) {
    const uint64_t goes_on = opens - 1;
    if constexpr (std::is_integral_v<V>) {
        return static_cast<V>((static_cast<uint64_t>(next) & goes_on) | (static_cast<uint64_t>(first) & -opens));
    } else {
        typedef V Lanes __attribute__((vector_size(16)));
        typedef uint64_t Words __attribute__((vector_size(16)));
        return ((Lanes)(((Words)Lanes{next} & Words{goes_on}) | ((Words)Lanes{first} & Words{-opens})))[0];
    }
}

/// The positions of the group that stays open after the steps, where `before` them were there of the one open until then.
uint64_t positions_left_open(const GroupSteps& steps, uint64_t before);

/// `next` of a member with values in slot 0 and keys in slot 1, or with two values and keys in slot 2.
QVO_RET group_next(qvo_seq_iterator_h it, const GroupMember& member, KeptKey kept, Where where);
QVO_RET group_pair_next(qvo_seq_iterator_h it, const GroupMember& member, KeptKey kept, Where where);

/// Calls first(i) for the step that opens a group, fold(i) for the further ones and close(count) where a group ends;
/// run(i) is the run of a step. A step without positions, from a run of 0, opens no group: the next one still does.
template <class Run, class First, class Fold, class Close>
QVO_INLINE void walk_groups(const GroupSteps& steps, qvo_size_t& count, Run run, First first, Fold fold, Close close) {
    uint64_t positions = count;
    size_t i = 0;
    for (size_t j = 0;; ++j) {
        const size_t end = j == steps.n_ends ? steps.n : steps.ends[j];
        for (; positions == 0 && i != end; ++i) {
            first(i);
            positions = run(i);
        }
        for (; i != end; ++i) {
            fold(i);
            positions += run(i);
        }
        if (j == steps.n_ends) break;
        close(positions);
        positions = 0;
    }
    count = positions;
}
template <class First, class Fold, class Close>
QVO_INLINE void walk_groups(const GroupSteps& steps, qvo_size_t& count, First first, Fold fold, Close close) {
    walk_groups(
        steps, count, [&](size_t i) { return unsigned{steps.run[i]}; }, first, fold, close);
}

/// The same where nothing foretells how long groups are, two of them or more: no branch depends on it, as every step
/// writes down what it finds, and the next group takes the same place unless the step opens one. The batch is walked in
/// two halves side by side, which do not wait for each other. The aggregate is a value here: first(i) that of a group
/// that step i opens, fold(a, i) that of a group that it goes on. Those of the groups that end go to `ended`, that of the
/// last one is left in `aggregate`.
template <class A, class First, class Fold>
QVO_INLINE void walk_mixed_groups(const GroupSteps& all, qvo_size_t& count, A& aggregate, A* ended, First first,
                                  Fold fold) {
    struct Half {
        A a;
        size_t i, group;
    };
    const GroupSteps steps = all;
    uint8_t opens[GroupSteps::most + 1] = {};
    for (size_t j = 0; j < steps.n_ends; ++j) opens[steps.ends[j]] = 1;
    const auto step = [&](Half & half) __attribute__((always_inline)) {
        ended[half.group] = half.a;
        half.a = opened_or(opens[half.i], first(half.i), fold(half.a, half.i));
        half.group += opens[half.i];
        ++half.i;
    };
    const size_t middle = (steps.n_ends - 1) / 2, cut = steps.ends[middle];
    Half a{aggregate, 0, 0}, b{first(cut), cut + 1, middle + 1};
    if (count == 0) a = {first(0), 1, 0};
    for (size_t n = std::min(cut - a.i, steps.n - b.i); n != 0; --n) {
        step(a);
        step(b);
    }
    while (a.i != cut) step(a);
    while (b.i != steps.n) step(b);
    for (const Half& half : {a, b}) ended[half.group] = half.a;
    aggregate = b.a;
    count = positions_left_open(steps, count);
}

}  // namespace qvo
