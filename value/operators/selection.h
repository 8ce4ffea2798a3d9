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
        in_stretches(plan, n, [&](size_t first, size_t last) {
            for (size_t i = first; i < last; ++i) present_ += values[i] == values[i] ? run(i) : 0;
        });
    }

    /// Positions whose values are present.
    uint64_t present() const { return present_; }

    /// What is at a place, below present().
    Place at(uint64_t place) const {
        const Range range = find_range();
        if (range.low == range.high) return {range.low, present_};
        const unsigned bits = 64 - static_cast<unsigned>(std::countl_zero(range.high - range.low));
        const unsigned shift = bits > bucket_bits ? bits - bucket_bits : 0;
        std::array<uint64_t, n_buckets + 1> counts{};
        in_stretches(plan_, n_, [&](size_t first, size_t last) {
            for (size_t i = first; i < last; ++i) counts[bucket(values_[i], range.low, shift)] += run(i);
        });
        size_t wanted = 0;
        uint64_t before = 0;
        for (; before + counts[wanted] <= place; ++wanted) before += counts[wanted];
        std::vector<uint64_t> keys;
        std::vector<uint32_t> runs;
        in_stretches(plan_, n_, [&](size_t first, size_t last) {
            for (size_t i = first; i < last; ++i) {
                if (bucket(values_[i], range.low, shift) != wanted) continue;
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

    struct Range {
        uint64_t low = ~uint64_t{0}, high = 0;
    };
    uint32_t run(size_t i) const { return runs_ == nullptr ? 1 : runs_[i]; }
    Range find_range() const {
        Range range;
        in_stretches(plan_, n_, [&](size_t first, size_t last) {
            for (size_t i = first; i < last; ++i) {
                const uint64_t key = ascending_key(values_[i]);
                const bool present = values_[i] == values_[i];
                range.low = present && key < range.low ? key : range.low;
                range.high = present && key > range.high ? key : range.high;
            }
        });
        return range;
    }
    QVO_INLINE static size_t bucket(V value, uint64_t low, unsigned shift) {
        return value == value ? (uint64_t{ascending_key(value)} - low) >> shift : n_buckets;
    }

    Plan& plan_;
    const V* values_;
    const uint32_t* runs_;
    size_t n_;
    uint64_t present_ = 0;
};

}  // namespace qvo::value
