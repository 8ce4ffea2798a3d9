// The value at a place of the sorted order, without sorting: the keys are counted into buckets, and only those of the
// bucket that holds the place are looked at again. A run counts as often as it is long.
#pragma once

#include <array>

#include "operators/sort.h"

namespace qvo::value {

/// A value of the sorted order.
struct Place {
    uint64_t key;      // ascending
    uint64_t through;  // positions of values up to this one, itself included
};

template <class V> class Selection {
 public:
    /// The values stay in place. Null runs are all 1.
    Selection(Plan& plan, const V* values, const uint32_t* runs, size_t n)
        : plan_(plan), values_(values), runs_(runs), n_(n) {
        in_stretches(plan, n, [&](size_t first, size_t last) { look_at(first, last); });
    }

    /// Positions whose values are present.
    uint64_t present() const { return present_; }

    /// What is at a place, below present().
    Place at(uint64_t place) const {
        if (low_ == high_) return {low_, present_};
        const unsigned bits = 64 - static_cast<unsigned>(std::countl_zero(high_ - low_));
        const unsigned shift = bits > bucket_bits ? bits - bucket_bits : 0;
        std::array<uint64_t, n_buckets + 1> counts{};
        in_stretches(plan_, n_, [&](size_t first, size_t last) {
            for (size_t i = first; i < last; ++i) counts[bucket(values_[i], low_, shift)] += run(i);
        });
        size_t wanted = 0;
        uint64_t before = 0;
        for (; before + counts[wanted] <= place; ++wanted) before += counts[wanted];
        std::vector<uint64_t> keys;
        std::vector<uint32_t> runs;
        in_stretches(plan_, n_, [&](size_t first, size_t last) {
            for (size_t i = first; i < last; ++i) {
                if (bucket(values_[i], low_, shift) != wanted) continue;
                keys.push_back(ascending_key(values_[i]));
                if (runs_ != nullptr) runs.push_back(runs_[i]);
            }
        });
        const Selection<uint64_t> rest(plan_, keys.data(), runs_ != nullptr ? runs.data() : nullptr, keys.size());
        Place found = rest.at(place - before);
        found.through += before;
        return found;
    }

    /// The smallest key above another one; there must be one.
    uint64_t next_above(uint64_t key) const {
        uint64_t next = ~uint64_t{0};
        in_stretches(plan_, n_, [&](size_t first, size_t last) {
            for (size_t i = first; i < last; ++i) {
                const uint64_t here = ascending_key(values_[i]);
                next = values_[i] == values_[i] && here > key && here < next ? here : next;
            }
        });
        return next;
    }

 private:
    static constexpr unsigned bucket_bits = 11;
    static constexpr size_t n_buckets = size_t{1} << bucket_bits;  // and one for what is missing

    uint32_t run(size_t i) const { return runs_ == nullptr ? 1 : runs_[i]; }
    void look_at(size_t first, size_t last) {
        uint64_t low = low_, high = high_, present = present_;
        for (size_t i = first; i < last; ++i) {
            const uint64_t key = ascending_key(values_[i]);
            const bool here = values_[i] == values_[i];
            low = here && key < low ? key : low;
            high = here && key > high ? key : high;
            present += here ? run(i) : 0;
        }
        low_ = low, high_ = high, present_ = present;
    }
    QVO_INLINE static size_t bucket(V value, uint64_t low, unsigned shift) {
        return value == value ? (uint64_t{ascending_key(value)} - low) >> shift : n_buckets;
    }

    Plan& plan_;
    const V* values_;
    const uint32_t* runs_;
    size_t n_;
    uint64_t low_ = ~uint64_t{0}, high_ = 0;  // the keys of what is present
    uint64_t present_ = 0;
};

}  // namespace qvo::value
