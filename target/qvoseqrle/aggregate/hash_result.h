// The two results of a hash aggregate: what they share, building the table behind them, reading and merging it. None
// of this depends on types; a member is its folds.
#pragma once

#include "aggregate/hash_table.h"
#include "core/overlap_list.h"

namespace qvo {

/// What is particular to a member. New elements have a count of 0 and, if the member has sketches, an empty one.
struct HashMember {
    /// Folds `n` steps: positions run[i] of the value at index[i] of the input (null if there is none) into elems[i].
    /// `created`: the steps whose elements are new, as HashFiller lists them.
    using Fold = void (*)(qvo_seq_iterator_h input, const uint16_t* index, const uint8_t* run, HashElem* const* elems,
                          size_t n, const uint16_t* created);
    /// Folds the element of another table with the same key into this one's.
    using Merge = void (*)(HashElem& elem, const HashElem& other);
    /// Writes the aggregates of `n` elements to the tile, from element `to` on.
    using Deliver = void (*)(qvo_seq_iterator_h it, size_t to, HashElem* const* elems, size_t n);

    Fold fold;
    Merge merge;
    Deliver deliver;
    bool sketches = false;
};

struct HashOperations {
    qvo_seq_iterator_next_t next_agg, next_grp;
    qvo_seq_iterator_prepare_t initialize;
    qvo_seq_iterator_merge_t merge;
};

/// Marks the operands, takes the shared record, fills both results. Types have been checked.
QVO_RET construct_hash(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp, qvo_seq_iterator_h input,
                       qvo_seq_iterator_h group_by, qvo_size_t n_groups, ElementLayout layout,
                       const HashOperations& operations);

/// Takes the shared record and fills both results. Returns QVO_E_NOMEM with both left alone.
QVO_RET fill_hash_results(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp, qvo_seq_iterator_h input,
                          qvo_seq_iterator_h group_by, qvo_size_t n_groups, ElementLayout layout,
                          const HashOperations& operations);

/// Drops what a build that failed has left behind.
void drop_failed_build(qvo_seq_iterator_h it, qvo_seq_shared_hash_t& shared);

inline bool is_built(qvo_seq_iterator_h it) {
    return state<qvo_seq_hash_iterator_context_t>(it).shared->hash != nullptr;
}

/// The width of the keys, which is settled when the table is built and which the result of the keys has from then on.
/// The operands need not exist any more.
uint16_t& key_width_of(const qvo_seq_shared_hash_t& shared);

QVO_RET build_hash(qvo_seq_iterator_h it, const HashMember& member, Where where);
QVO_RET merge_hash(qvo_seq_iterator_h dst, qvo_seq_iterator_h src, const HashMember& member);
QVO_RET next_aggregates(qvo_seq_iterator_h it, HashMember::Deliver deliver);
QVO_RET next_groups(qvo_seq_iterator_h it);

/// The steps of a build over the keys and, where there is one, the input.
class HashSteps {
 public:
    HashSteps(qvo_seq_iterator_h group_by, qvo_seq_iterator_h input);

    /// The next steps. The code of an operand that stops; QVO_E_ILLEGAL_TYPE if keys change their width on the way.
    QVO_RET collect(Where where);
    /// The width of the keys, once there are any.
    size_t key_width() const { return key_width_; }
    size_t size() const { return list_.n; }
    const uint16_t* keys() const { return list_.index[0]; }
    const uint16_t* values() const { return list_.index[1]; }
    const uint8_t* runs() const { return list_.run; }

    /// The keys of the steps and their hashes.
    void probe_keys(HashFiller::Probes& probes) const;

    /// Leaves the operands before step i of the current ones, or past them all.
    void stop_at(size_t i);

 private:
    // Without an input the keys are walked against themselves: every element is an overlap.
    Operand operands_[2];
    const bool single_;
    size_t key_width_ = any_width;
    OverlapList<2> list_;
};

/// The values at the given indexes as keys: up to 8 bytes in a zeroed word, longer ones by their address.
void read_keys(qvo_seq_iterator_h it, const uint16_t* index, size_t n, qvo_seq_key_t* keys);

}  // namespace qvo
