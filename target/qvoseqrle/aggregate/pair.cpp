// Aggregates of two sequences, position by position: covariance, correlation, weighted sum and average.
//
// Which term is formed in integers and which in double differs from sum to sum. That is deliberate: do not level it.
#include <iterator>

#include "core/number.h"
#include "core/reduce.h"

namespace qvo {
namespace {

using PairSums = qvo_seq_bin_agg_context_t;

template <class V> QVO_INLINE double as_double(V v) {
    if constexpr (std::is_same_v<V, int64_t>) return signed_to_double(v);
    if constexpr (std::is_same_v<V, uint64_t>) return unsigned_to_double(v);
    return static_cast<double>(v);
}

/// value x run as a double. For integers it is a 64-bit product, converted as an unsigned number: a negative value
/// contributes 2^64 minus its magnitude.
template <class V> QVO_INLINE double term_of_run(V v, int32_t run) {
    if constexpr (std::is_integral_v<V> && sizeof(V) == sizeof(uint64_t)) {
        return unsigned_to_double(static_cast<uint64_t>(v) * static_cast<uint32_t>(run));
    } else {
        const double term = static_cast<double>(v) * static_cast<double>(run);  // exact for integers
        if constexpr (std::is_integral_v<V> && std::is_signed_v<V>)
            return term + (term < 0 ? 18446744073709551616.0 : 0.0);
        else
            return term;
    }
}

/// run x a x b, all in double.
template <class V> QVO_INLINE double product(V a, V b, int32_t run) {
    return static_cast<double>(run) * as_double(a) * as_double(b);
}

// The families: which sums they have, and what a pair adds to each of them, `stride` numbers apart.

struct Covariance {
    static constexpr double PairSums::*sums[] = {&PairSums::sx, &PairSums::sy, &PairSums::sxy};
    template <class V> QVO_INLINE static void terms(double* t, size_t stride, V x, V y, int32_t run) {
        t[0] = term_of_run(x, run);
        t[stride] = term_of_run(y, run);
        t[2 * stride] = product(x, y, run);
    }
    static double value(const PairSums& s, double n) { return (s.sxy - s.sx * s.sy / n) / n; }
};

struct Correlation {
    static constexpr double PairSums::*sums[] = {&PairSums::sx, &PairSums::sy, &PairSums::sxy, &PairSums::sxx,
                                                 &PairSums::syy};
    template <class V> QVO_INLINE static void terms(double* t, size_t stride, V x, V y, int32_t run) {
        Covariance::terms(t, stride, x, y, run);
        t[3 * stride] = product(x, x, run);
        t[4 * stride] = product(y, y, run);
    }
    static double value(const PairSums& s, double n) {
        return (s.sxy - s.sx * s.sy / n) / std::sqrt((s.syy - s.sy * s.sy / n) * (s.sxx - s.sx * s.sx / n));
    }
};

struct WeightedSum {
    static constexpr double PairSums::*sums[] = {&PairSums::sxy};
    template <class V> QVO_INLINE static void terms(double* t, size_t, V weight, V v, int32_t run) {
        t[0] = product(weight, v, run);
    }
    static double value(const PairSums& s, double /*n*/) { return s.sxy; }
};

struct WeightedAverage {
    static constexpr double PairSums::*sums[] = {&PairSums::sx, &PairSums::sxy};
    template <class V> QVO_INLINE static void terms(double* t, size_t stride, V weight, V v, int32_t run) {
        t[0] = term_of_run(weight, run);
        if constexpr (std::is_floating_point_v<V>) {
            t[stride] = product(weight, v, run);
        } else if constexpr (sizeof(V) < sizeof(int32_t)) {
            // In signed 32 bits also for unsigned types, whose product may wrap to a negative number.
            t[stride] = term_of_run(wrapping_mul(static_cast<int32_t>(weight), static_cast<int32_t>(v)), run);
        } else {
            t[stride] = term_of_run(wrapping_mul(weight, v), run);
        }
    }
    static double value(const PairSums& s, double /*n*/) { return s.sxy / s.sx; }
};

constexpr size_t batch = 64;

template <class V, class Family>
QVO_INLINE void batch_terms(double* __restrict t, const V* __restrict x, const V* __restrict y,
                            const int32_t* __restrict runs, size_t n) {
    for (size_t i = 0; i < n; ++i) Family::terms(t + i, batch, x[i], y[i], runs[i]);
}

/// Adds up in the order of the pairs. The terms of integers, which take conversions, come from vector code first.
template <class V, class Family>
void fold_pairs(void* state, const void* left, const void* right, const int32_t* runs, size_t n) {
    constexpr size_t n_sums = std::size(Family::sums);
    const V *x = static_cast<const V*>(left), *y = static_cast<const V*>(right);
    PairSums& sums = *static_cast<PairSums*>(state);
    double sum[n_sums];
    for (size_t k = 0; k < n_sums; ++k) sum[k] = sums.*Family::sums[k];
    if constexpr (std::is_integral_v<V>) {
        double terms[n_sums * batch];
        for (size_t at = 0; at < n; at += batch) {
            const size_t some = std::min(batch, n - at);
            for_cpu<batch_terms<V, Family>>(terms, x + at, y + at, runs + at, some);
            for (size_t i = 0; i < some; ++i)
                for (size_t k = 0; k < n_sums; ++k) sum[k] += terms[k * batch + i];
        }
    } else {
        for (size_t i = 0; i < n; ++i) {
            double terms[n_sums];
            Family::terms(terms, 1, x[i], y[i], runs[i]);
            for (size_t k = 0; k < n_sums; ++k) sum[k] += terms[k];
        }
    }
    for (size_t k = 0; k < n_sums; ++k) sums.*Family::sums[k] = sum[k];
}

template <class Family> struct PairReducer {
    using Result = double;
    static double finish(const PairSums& s) { return Family::value(s, static_cast<double>(s.count)); }
};

template <class V, class Family> QVO_RET pair_next(qvo_seq_iterator_h it, Where where = Where::here()) {
    return reduce_by<PairReducer<Family>, PairSums>(
        it, [=](PairSums& sums) { return reduce_overlaps(it, &sums, sums.count, fold_pairs<V, Family>, where); });
}

/// Adds field by field, also for parts without values, but deliberately the source's sy to the target's sx.
template <class Family> QVO_RET pair_merge(qvo_seq_iterator_h into, qvo_seq_iterator_h from) {
    PairSums& target = state<PairSums>(into);
    const PairSums source = state<PairSums>(from);
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
    state<PairSums>(result) = PairSums{};
    return QVO_S_OK;
}

}  // namespace

#define DEFINE(name, E, Family)                                                                                     \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                           \
        return pair_next<E::value, Family>(iterator);                                                               \
    }                                                                                                               \
    extern "C" QVO_API QVO_RET name##_merge(qvo_seq_iterator_h iterator, qvo_seq_iterator_h other) {                \
        return pair_merge<Family>(iterator, other);                                                                 \
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
