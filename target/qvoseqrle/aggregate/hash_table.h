// The chained table behind all hash aggregates and behind the pairs of the duplicate counts.
//
// Chains are kept in ascending order of keys, so that the order of reading depends on the keys and the number of
// chains and on nothing else. Tables, chain arrays and buckets come from the allocation hooks; elements and what is
// out of line (long keys, sketches) are carved out of buckets and live as long as the table.
//
// Steps come in batches. A batch is looked up in passes (chains, heads, elements), each of which asks for the memory
// that the next one reads: a table that does not fit the caches costs the memory's throughput and not its latency.
#pragma once

#include "core/construct.h"

namespace qvo {

using HashElem = qvo_seq_hash_elem_t;

/// The widths of the keys of a table, in bytes. Keys of up to 8 bytes are held inline.
struct HashLayout {
    size_t key_width;        // of the group's key
    bool pairs = false;      // elements are pairs of a key and a value, found by the hash of both
    size_t value_width = 0;  // of the value of a pair
    bool sketches = false;   // every element gets a sketch of distinct values, reached through `agg`

    static constexpr size_t widest_inline = sizeof(qvo_uint8);
};

/// A table without elements, or null if there is no memory.
qvo_seq_hash_t* new_hash_table(qvo_seq_iterator_h owner, qvo_size_t chains);

/// Releases a table with all that belongs to it. Null is accepted.
void free_hash_table(qvo_seq_iterator_h owner, qvo_seq_hash_t* table);

/// The number of chains for a wanted number of groups; 0 stands for the host's setting.
qvo_size_t hash_chains_for(qvo_size_t wanted);

/// Adds elements to a table. While it is used the table's own number of groups is behind; `finish` brings it up to
/// date.
class HashFiller {
 public:
    // Steps that are looked up at once.
    static constexpr size_t most = 256;

    HashFiller(qvo_seq_iterator_h owner, qvo_seq_hash_t* table, HashLayout layout);

    /// What a step looks for; `value` only for pairs. Keys longer than 8 bytes are given by their address.
    struct Probes {
        qvo_seq_key_t key[most];
        qvo_seq_key_t value[most];
        uint32_t key_hash[most];
        uint32_t pair_hash[most];
    };

    /// Finds the elements of `n` steps, creating those that are missing with a count of 0. Returns the number of
    /// steps done: fewer than `n` if memory has run out; the element of the failing step may exist or not.
    size_t locate(const Probes& probes, size_t n, HashElem** found);

    /// The steps of the last call that have created their elements, in order; after them no_step. (A count of 0 does
    /// not tell a new element: one that has met nothing but runs of 0 has it too.)
    const uint16_t* created() const { return created_; }
    static constexpr uint16_t no_step = 0xffff;

    /// The element of a key, or null.
    HashElem* find(const HashElem& like) const;

    /// Called for every element of a table that is merged: with its counterpart, or with null if it has none and
    /// becomes an element of this table itself.
    using Join = void (*)(void* context, HashElem* counterpart, HashElem& elem);

    /// Moves all elements of another table of the same layout here, with their buckets, and releases what is left of
    /// it. Always completes; false if the table could not grow as it should have.
    bool take_over(qvo_seq_hash_t* other, Join join, void* context);

    void finish() { table_->table_used = used_; }

 private:
    template <class Keys> size_t locate_as(Keys keys, const Probes& probes, size_t n, HashElem** found);
    template <class Keys>
    void fetch(Keys keys, const Probes& probes, const uint32_t* hashes, size_t n, HashElem** likely) const;
    template <class Keys> bool take_chains(Keys keys, qvo_seq_hash_t* other, Join join, void* context);
    template <class Keys> bool grow(Keys keys);
    template <class F> auto with_keys(F f) const;

    /// Where the chains begin.
    struct Chains {
        HashElem** heads;
        uint64_t size, reciprocal;  // the reciprocal is 2^64 / size
        HashElem** of(uint32_t hash) const;
    };

    void size_changed();
    HashElem* new_elem();
    void* carve(size_t bytes);
    qvo_seq_hash_bucket_t* new_bucket();

    qvo_seq_iterator_h owner_;
    qvo_seq_hash_t* table_;
    HashLayout layout_;
    Chains chains_{};
    uint64_t limit_ = 0;  // groups at which the table grows
    uint64_t used_;
    HashElem *elem_ = nullptr, *elems_end_ = nullptr;  // free elements of the newest bucket of elements
    char *byte_ = nullptr, *bytes_end_ = nullptr;      // free bytes of the newest bucket of keys
    uint16_t created_[most + 1];
};

}  // namespace qvo
