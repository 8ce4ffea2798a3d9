// What groups keep of their values. Values come in no order of groups, so that each touches another state: what is done
// for one of them needs no division, and fits two lines of the cache.
#pragma once

#include <limits>

#include "base/error.h"
#include "core/tile.h"
#include "operators/extremes.h"
#include "operators/moments.h"
#include "operators/sums.h"

namespace qvo::value {

__extension__ typedef unsigned __int128 uint128;

/// What is kept of the values of a group; V is int64_t, uint64_t or double.
template <class V> struct alignas(32) GroupState {
    static constexpr bool real = std::is_floating_point_v<V>;
    using Sum = std::conditional_t<real, DoubleSum, int128>;

    uint64_t word = 0;
    RunningMoments moments{};  // their n is the count of values that are present
    Sum sum{};
    V min = Smaller::worst<V>(), max = Larger::worst<V>(), first{}, last{};

    uint64_t count() const { return moments.n(); }

    QVO_INLINE void add(V v, unsigned run) {
        if (v != v) return;
        if (count() == 0) first = v;
        moments.add(static_cast<double>(v), run);
        if constexpr (real)
            sum.add(v, run);
        else
            sum = added(sum, static_cast<int128>(v) * run);
        min = v < min ? v : min;
        max = v > max ? v : max;
        last = v;
    }

    /// Adds n neighbours at once.
    void add(const V* values, const uint8_t* runs, size_t n) {
        const double* reals = nullptr;
        double converted[capacity_of(sizeof(V))];
        if constexpr (real) {
            reals = values;
            sum.add(sum_values(values, runs, n).sum);
        } else {
            for (size_t i = 0; i < n; ++i) {
                converted[i] = static_cast<double>(values[i]);
                sum = added(sum, static_cast<int128>(values[i]) * get_run(runs, i));
            }
            reals = converted;
        }
        const LongMoments more = moments_of(reals, runs, n);
        if (more.n == 0) return;
        size_t at = 0, end = n;
        while (values[at] != values[at]) ++at;
        while (values[end - 1] != values[end - 1]) --end;
        if (count() == 0) first = values[at];
        last = values[end - 1];
        moments.merge(Moments{more.n, more.mean.high, more.squares});
        min = for_cpu<Best<V, Smaller>::of>(values, n, min);
        max = for_cpu<Best<V, Larger>::of>(values, n, max);
    }

    void merge(const GroupState& other) {
        if (other.count() == 0) return;
        if (count() == 0) first = other.first;
        last = other.last;
        moments.merge(other.moments.moments());
        if constexpr (real)
            sum.add(other.sum);
        else
            sum = added(sum, other.sum);
        min = other.min < min ? other.min : min;
        max = other.max > max ? other.max : max;
    }

 private:
    /// States from elsewhere may hold anything, so it may come round.
    QVO_INLINE static int128 added(int128 a, int128 b) {
        return static_cast<int128>(static_cast<uint128>(a) + static_cast<uint128>(b));
    }
};

/// A state of integers as one of doubles, or of unsigned ones as one of signed ones.
template <class V, class From> GroupState<V> converted(const GroupState<From>& from) {
    if constexpr (std::is_same_v<V, From>) return from;
    GroupState<V> to;
    to.word = from.word;
    to.moments = from.moments;
    if constexpr (GroupState<V>::real && GroupState<From>::real)
        to.sum = from.sum;
    else if constexpr (GroupState<V>::real)
        to.sum = as_reals(from.sum);
    else if constexpr (!GroupState<From>::real)
        to.sum = from.sum;
    if (from.count() == 0) return to;
    if constexpr (std::is_same_v<V, int64_t> && std::is_same_v<From, uint64_t>)
        if (from.max > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
            throw Error(Fault::overflow, "a value of a group does not fit int8, in which the rows meet; cast converts");
    to.min = static_cast<V>(from.min);
    to.max = static_cast<V>(from.max);
    to.first = static_cast<V>(from.first);
    to.last = static_cast<V>(from.last);
    return to;
}

}  // namespace qvo::value
