// That a series ascends: what merges two series in order of time, or cuts one into buckets, has to know before it
// trusts the order.
#pragma once

#include <string>
#include <string_view>

#include "base/error.h"
#include "core/tile.h"

namespace qvo::value {

template <class V> class Ascending {
 public:
    /// Named as in messages: "argument 1: t".
    explicit Ascending(std::string_view name) : name_(name) {}

    /// Looks at the next n values, the first of them at a position. Equal ones may follow one another.
    void check(const V* values, const uint8_t* runs, size_t n, uint64_t position) {
        if (n == 0) return;
        const bool fits = any_ ? last_ <= values[0] : values[0] == values[0];
        if (!fits) fail(values[0], position);
        if (for_cpu<descends>(values, n)) {
            size_t i = 1;
            while (values[i - 1] <= values[i]) ++i;
            fail(values[i], position + sum_runs(runs, i));
        }
        any_ = true;
        last_ = values[n - 1];
    }

 private:
    QVO_INLINE static bool descends(const V* __restrict values, size_t n) {
        uint64_t found = 0;
        for (size_t i = 1; i < n; ++i) found |= uint64_t{!(values[i - 1] <= values[i])};
        return found != 0;
    }
    [[noreturn]] void fail(V value, uint64_t position) const {
        const std::string at = " at position " + std::to_string(position);
        throw Error(Fault::argument, value == value
                                         ? name_ + " must ascend, but the value" + at + " is below the one before it"
                                         : name_ + " must have no missing values, but has one" + at);
    }

    std::string name_;
    bool any_ = false;
    V last_{};
};

}  // namespace qvo::value
