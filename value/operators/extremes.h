// The smallest and the largest of an array.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>

#include "qvowseq.h"

namespace qvo::value {

struct Larger {
    static constexpr bool largest = true;
    static bool prefers(int order) { return order > 0; }
    template <class V> QVO_INLINE bool operator()(V a, V b) const { return a > b; }
    /// What everything is preferred to, or equal.
    template <class V> static constexpr V worst() {
        return std::numeric_limits<V>::has_infinity ? -std::numeric_limits<V>::infinity()
                                                    : std::numeric_limits<V>::lowest();
    }
};
struct Smaller {
    static constexpr bool largest = false;
    static bool prefers(int order) { return order < 0; }
    template <class V> QVO_INLINE bool operator()(V a, V b) const { return a < b; }
    template <class V> static constexpr V worst() {
        return std::numeric_limits<V>::has_infinity ? std::numeric_limits<V>::infinity()
                                                    : std::numeric_limits<V>::max();
    }
};

/// The best of n values and `best`; NaN is never preferred.
template <class V, class Better> struct Best {
    QVO_INLINE static V of(const V* __restrict values, size_t n, V best) {
        constexpr size_t lanes = 8;
        constexpr Better better;
        V lane[lanes];
        std::fill(lane, lane + lanes, best);
        size_t i = 0;
        for (; i + lanes <= n; i += lanes)
            for (size_t k = 0; k < lanes; ++k) lane[k] = better(values[i + k], lane[k]) ? values[i + k] : lane[k];
        for (; i < n; ++i) lane[0] = better(values[i], lane[0]) ? values[i] : lane[0];
        for (const V one : lane) best = better(one, best) ? one : best;
        return best;
    }
};

}  // namespace qvo::value
