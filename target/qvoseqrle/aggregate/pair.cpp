// Aggregates of two sequences, position by position: covariance, correlation, weighted sum and average.
//
// Which term is formed in integers and which in double differs from sum to sum. That is deliberate: do not level it.
#include "core/number.h"
#include "core/reduce.h"

namespace qvo {
namespace {

using Sums = qvo_seq_bin_agg_context_t;

/// value x run as a double. For integers it is a 64-bit product, converted as an unsigned number: a negative value
/// contributes 2^64 minus its magnitude.
template <class V> QVO_INLINE double times_run(V v, unsigned run) {
    if constexpr (std::is_floating_point_v<V>)
        return static_cast<double>(v) * static_cast<double>(run);
    else if constexpr (std::is_unsigned_v<V> && sizeof(V) < sizeof(uint64_t))
        return static_cast<double>(static_cast<int64_t>(v) * int64_t{run});  // never negative
    else
        return unsigned_to_double(static_cast<uint64_t>(static_cast<int64_t>(v)) * run);
}

/// run x a x b, all in double.
template <class V> QVO_INLINE double product(V a, V b, unsigned run) {
    return static_cast<double>(run) * static_cast<double>(a) * static_cast<double>(b);
}

struct Covariance {
    template <class V> QVO_INLINE static void add(Sums& s, V x, V y, unsigned run) {
        s.sx += times_run(x, run);
        s.sy += times_run(y, run);
        s.sxy += product(x, y, run);
    }
    static double value(const Sums& s, double n) { return (s.sxy - s.sx * s.sy / n) / n; }
};

struct Correlation {
    template <class V> QVO_INLINE static void add(Sums& s, V x, V y, unsigned run) {
        Covariance::add(s, x, y, run);
        s.sxx += product(x, x, run);
        s.syy += product(y, y, run);
    }
    static double value(const Sums& s, double n) {
        return (s.sxy - s.sx * s.sy / n) / std::sqrt((s.syy - s.sy * s.sy / n) * (s.sxx - s.sx * s.sx / n));
    }
};

struct WeightedSum {
    template <class V> QVO_INLINE static void add(Sums& s, V weight, V v, unsigned run) {
        s.sxy += product(weight, v, run);
    }
    static double value(const Sums& s, double /*n*/) { return s.sxy; }
};

struct WeightedAverage {
    template <class V> QVO_INLINE static void add(Sums& s, V weight, V v, unsigned run) {
        s.sx += times_run(weight, run);
        if constexpr (std::is_floating_point_v<V>) {
            s.sxy += product(weight, v, run);
        } else if constexpr (sizeof(V) < sizeof(int32_t)) {
            // In signed 32 bits also for unsigned types, whose product may wrap to a negative number.
            s.sxy += times_run(wrapping_mul(static_cast<int32_t>(weight), static_cast<int32_t>(v)), run);
        } else {
            s.sxy += times_run(wrapping_mul(weight, v), run);
        }
    }
    static double value(const Sums& s, double /*n*/) { return s.sxy / s.sx; }
};

/// The loops of a family over values of V. The sums live in registers meanwhile.
template <class V, class Family> struct PairLoops {
    static void stretch(void* state, qvo_seq_iterator_h it, size_t left, size_t left_step, size_t right,
                        size_t right_step, const uint8_t* runs, size_t n) {
        const V* x = values_of<V>(it->opd[0]) + left;
        const V* y = values_of<V>(it->opd[1]) + right;
        Sums sums = *static_cast<Sums*>(state);
        for (size_t i = 0; i < n; ++i) {
            Family::add(sums, *x, *y, get_run(runs, i));
            x += left_step;
            y += right_step;
        }
        *static_cast<Sums*>(state) = sums;
    }
    static void list(void* state, qvo_seq_iterator_h it, const uint16_t* left, const uint16_t* right,
                     const uint8_t* runs, size_t n) {
        const V* x = values_of<V>(it->opd[0]);
        const V* y = values_of<V>(it->opd[1]);
        Sums sums = *static_cast<Sums*>(state);
        for (size_t i = 0; i < n; ++i) Family::add(sums, x[left[i]], y[right[i]], unsigned{runs[i]});
        *static_cast<Sums*>(state) = sums;
    }
};

template <class Family> struct PairReducer {
    using Result = double;
    static double finish(const Sums& s) { return Family::value(s, static_cast<double>(s.count)); }
};

template <class V, class Family> QVO_RET pair_next(qvo_seq_iterator_h it, Where where = Where::here()) {
    static constexpr FoldPairs fold{PairLoops<V, Family>::stretch, PairLoops<V, Family>::list};
    return reduce_by<PairReducer<Family>, Sums>(
        it, [=](Sums& sums) { return reduce_overlaps(it, &sums, sums.count, fold, where); });
}

/// Adds field by field, also for parts without values, but deliberately the source's sy to the target's sx.
template <class Family> QVO_RET pair_merge(qvo_seq_iterator_h into, qvo_seq_iterator_h from) {
    Sums& target = state<Sums>(into);
    const Sums source = state<Sums>(from);
    target.sx += source.sy;
    target.sy += source.sy;
    target.sxx += source.sxx;
    target.sxy += source.sxy;
    target.syy += source.syy;
    target.count += source.count;
    *values_of<double>(into) = PairReducer<Family>::finish(target);
    return QVO_S_OK;
}

template <class E>
QVO_RET construct_pair(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,
                       qvo_seq_iterator_next_t next, qvo_seq_iterator_merge_t merge) {
    if (const QVO_RET rc = construct_binary<E, elem_double>(result, left, right, next); rc != QVO_S_OK) return rc;
    fill_aggregate(result, merge);
    state<Sums>(result) = Sums{};
    return QVO_S_OK;
}

}  // namespace

#define DEFINE(name, E, Family)                                                                                     \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h it) { return pair_next<E::value, Family>(it); }       \
    extern "C" QVO_API QVO_RET name##_merge(qvo_seq_iterator_h it, qvo_seq_iterator_h other) {                      \
        return pair_merge<Family>(it, other);                                                                       \
    }                                                                                                               \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right) { \
        return construct_pair<E>(result, left, right, name##_next, name##_merge);                                   \
    }
#define STAMP(type)                                       \
    DEFINE(qvo_seq_cov_##type, elem_##type, Covariance)   \
    DEFINE(qvo_seq_corr_##type, elem_##type, Correlation) \
    DEFINE(qvo_seq_wsum_##type, elem_##type, WeightedSum) \
    DEFINE(qvo_seq_wavg_##type, elem_##type, WeightedAverage)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP
#undef DEFINE

}  // namespace qvo
