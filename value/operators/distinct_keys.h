// A set of different 64-bit keys, with how often each came if that is wanted: open addressing, looked up a block at a
// time, so that the memory that a look-up needs has been asked for before.
#pragma once

#include <bit>
#include <cstdint>

#include "base/pages.h"
#include "qvowseq.h"

namespace qvo::value {

class DistinctKeys {
 public:
    explicit DistinctKeys(bool counting) : counting_(counting) { resize(first_slots); }

    size_t size() const { return n_ + (zeros_ != 0); }

    /// Adds n keys, each `times[i]` times, or once where times is null.
    void add(const uint64_t* keys, const uint64_t* times, size_t n) {
        for (size_t i = 0; i < n; i += block) {
            const size_t some = n - i < block ? n - i : block;
            while ((n_ + some) * 3 > keys_.size() * 2) grow();
            add_block(keys + i, times == nullptr ? nullptr : times + i, some);
        }
    }

    /// Calls f(key, times) for each; times is 1 if they are not counted.
    template <class F> void for_each(F f) const {
        if (zeros_ != 0) f(uint64_t{0}, counting_ ? zeros_ : 1);
        for (size_t i = 0; i < keys_.size(); ++i)
            if (keys_[i] != 0) f(keys_[i], counting_ ? times_[i] : 1);
    }

 private:
    static constexpr size_t first_slots = 1024, block = 64;

    QVO_INLINE size_t slot_of(uint64_t key) const {
        // Both halves of a product: the lower one spreads high bits, the upper one low bits.
        __extension__ const auto product =
            static_cast<unsigned __int128>(key ^ 0x9fb21c651e98df25U) * 0x9e3779b97f4a7c15U;
        return (static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64)) >> shift_;
    }

    void add_block(const uint64_t* keys, const uint64_t* times, size_t n) {
        size_t slots[block];
        for (size_t i = 0; i < n; ++i) {
            slots[i] = slot_of(keys[i]);
            __builtin_prefetch(keys_.data() + slots[i]);
        }
        for (size_t i = 0; i < n; ++i) place(keys[i], slots[i], times == nullptr ? 1 : times[i]);
    }
    /// A free slot holds 0, which is therefore counted apart.
    QVO_INLINE void place(uint64_t key, size_t slot, uint64_t times) {
        if (key == 0) {
            zeros_ += times;
            return;
        }
        while (keys_[slot] != key && keys_[slot] != 0) slot = (slot + 1) & (keys_.size() - 1);
        n_ += keys_[slot] == 0;
        keys_[slot] = key;
        if (counting_) times_[slot] += times;
    }

    void resize(size_t slots) {
        keys_.assign(slots, 0);
        times_.assign(counting_ ? slots : 0, 0);
        shift_ = 64 - static_cast<unsigned>(std::countr_zero(slots));
    }
    /// The slots in order are keys in the order of their hashes: they fill the new slots from the first to the last.
    void grow() {
        LargeVector<uint64_t> keys(std::move(keys_)), times(std::move(times_));
        resize(keys.size() * 2);
        n_ = 0;
        for (size_t i = 0; i < keys.size(); ++i)
            if (keys[i] != 0) place(keys[i], slot_of(keys[i]), counting_ ? times[i] : 1);
    }

    bool counting_;
    LargeVector<uint64_t> keys_, times_;
    unsigned shift_ = 0;
    size_t n_ = 0;        // keys other than 0
    uint64_t zeros_ = 0;  // how often 0 came
};

}  // namespace qvo::value
