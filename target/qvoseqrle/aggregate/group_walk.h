// The loop of all group aggregates: a group is a stretch of positions with equal keys. Which positions belong together,
// where groups open and close and what a full tile leaves behind is the same for all of them and compiled once; a
// member is a loop that folds the steps of a batch, told where groups end.
#pragma once

#include "core/construct.h"
#include "core/protocol.h"

namespace qvo {

/// Steps over the current tiles of the operands. Step ends[j] is the first of a new group.
struct GroupSteps {
    const uint16_t* value;   // indexes of the values
    const uint16_t* second;  // and of the second operand's; null if there is none
    const uint8_t* run;      // positions
    size_t n;
    const uint16_t* ends;
    size_t n_ends;
    bool plain;  // the values are neighbours, and all runs are 1
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

}  // namespace qvo
