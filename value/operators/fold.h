// Folds of neighbouring values, for windows that move: sums, extremes, moments.
//
// A window is never corrected by taking something away from it, since what rounding has once lost stays lost: a huge
// value that has left the window would leave its error behind. It is put together of two folds instead, a suffix of
// what came earlier and a prefix of what came last (M. van Herk, "A fast algorithm for local minimum and maximum
// filters", 1992; J. Gil, M. Werman, "Computing 2-D min, median, and max filters", 1993), at the same cost for every
// width. What is not finite counts as missing and does not take part.
#pragma once

#include <cmath>
#include <cstring>
#include <limits>

#include "core/walk.h"
#include "operators/moments.h"
#include "qvowseq.h"

namespace qvo::value {

inline constexpr double missing = std::numeric_limits<double>::quiet_NaN();
/// Neither NaN nor infinite; in a form that vector code has operations for.
QVO_INLINE bool is_present(double x) { return x - x == 0.0; }
QVO_INLINE size_t count_missing(const double* x, size_t n) {
    size_t count = 0;
    for (size_t i = 0; i < n; ++i) count += !is_present(x[i]);
    return count;
}

/// `fold` takes a value, or several in a vector, into others.
struct SumOf {
    static constexpr double neutral = 0;
    template <class V> QVO_INLINE static void fold(V& into, const V& x) { into = into + x; }
    QVO_INLINE static double power(double x, double n) { return x * n; }
};
struct SmallestOf {
    static constexpr double neutral = std::numeric_limits<double>::infinity();
    template <class V> QVO_INLINE static void fold(V& into, const V& x) { into = into < x ? into : x; }
    QVO_INLINE static double power(double x, double) { return x; }
};
struct LargestOf {
    static constexpr double neutral = -std::numeric_limits<double>::infinity();
    template <class V> QVO_INLINE static void fold(V& into, const V& x) { into = into > x ? into : x; }
    QVO_INLINE static double power(double x, double) { return x; }
};

/// Four neighbours.
typedef double Neighbours __attribute__((vector_size(32)));
/// One by one: compilers join that, while a copy of bytes would go through memory where there are no vectors of four.
QVO_INLINE void store(const Neighbours& folds, double* to) {
    for (size_t k = 0; k < sizeof folds / sizeof *to; ++k) to[k] = folds[k];
}
template <class Fold> QVO_INLINE void store(const Fold& fold, Fold* to) { *to = fold; }

/// Folds of neighbours are spelled out, as compilers do not make vector code of a fold that has to show all of its
/// steps. Step says which way it goes: 1 from the first to the last, -1 from the last to the first.
template <class Op, ptrdiff_t Step> struct NeighbourFolds {
    static constexpr ptrdiff_t width = 4;
    static constexpr size_t last = Step > 0 ? width - 1 : 0;

    /// Some fours of neighbours: the folds of values from the first of all up to each. `whole`: nothing is missing.
    template <bool whole, size_t parts> QVO_INLINE static void run(const double* x, Neighbours (&folds)[parts]) {
        const Neighbours none = {Op::neutral, Op::neutral, Op::neutral, Op::neutral};
        each<parts>([&](auto k) __attribute__((always_inline)) {
            Neighbours& v = folds[k];
            std::memcpy(&v, x + Step * width * static_cast<ptrdiff_t>(size_t{k}), sizeof v);
            if constexpr (!whole) v = v - v == 0.0 ? v : none;
            if constexpr (Step > 0) {
                Op::fold(v, __builtin_shufflevector(none, v, 0, 4, 5, 6));
                Op::fold(v, __builtin_shufflevector(none, v, 0, 1, 4, 5));
            } else {
                Op::fold(v, __builtin_shufflevector(v, none, 1, 2, 3, 4));
                Op::fold(v, __builtin_shufflevector(v, none, 2, 3, 4, 5));
            }
            if constexpr (k != 0) {
                const double before = folds[k - 1][last];
                Op::fold(v, Neighbours{before, before, before, before});
            }
        });
    }
};

/// Folds whose value is a double. Values are folded in groups, each from its own start, so that one does not wait for
/// the other. A sum keeps what the additions of groups lose: its error is that of a few additions, however long it is.
template <class Op> class FoldOf {
 public:
    using Value = double;
    static constexpr bool repeats_change = std::is_same_v<Op, SumOf>;  // x, x folds to something else than x
    static constexpr Value neutral() { return Op::neutral; }
    QVO_INLINE static Value merge(Value a, Value b) {
        Op::fold(a, b);
        return a;
    }
    template <class V> QVO_INLINE static void fold(V& into, const V& later) { Op::fold(into, later); }
    /// n times x, n > 0.
    QVO_INLINE static Value power(double x, double n) { return is_present(x) ? Op::power(x, n) : Op::neutral; }

    /// Folds in a value; returns the fold so far.
    QVO_INLINE Value add(double x) {
        Op::fold(group_, power(x, 1));
        double result = group_;
        total(result);
        if (++in_group_ == group) {
            close(group_);
            group_ = Op::neutral;
            in_group_ = 0;
        }
        return result;
    }
    /// Folds in n values at x[0], x[Step], …, none of which is missing if `whole`. `put(at, folds)` is called with the
    /// folds so far of values from x[at] on, one or several in a vector.
    template <ptrdiff_t Step, bool whole, class Put> QVO_INLINE void add(const double* x, size_t n, Put put) {
        const auto end = static_cast<ptrdiff_t>(n);
        ptrdiff_t i = 0;
        for (; i < end && in_group_ != 0; ++i) put(Step * i, add(x[Step * i]));
        using Folds = NeighbourFolds<Op, Step>;
        for (; i + group <= end; i += group) {
            const ptrdiff_t at = Step > 0 ? i : 1 - Folds::width - i;
            Neighbours folds[parts];
            Folds::template run<whole>(x + at, folds);
            const double fold = folds[parts - 1][Folds::last];
            each<parts>([&](auto k) __attribute__((always_inline)) {
                total(folds[k]);
                put(at + Step * Folds::width * static_cast<ptrdiff_t>(size_t{k}), folds[k]);
            });
            close(fold);
        }
        for (; i < end; ++i) put(Step * i, add(x[Step * i]));
    }

 private:
    // The longer, the less often it is found out what was lost, but the more values come one by one before and after.
    static constexpr size_t parts = repeats_change ? 4 : 2;
    static constexpr ptrdiff_t group = 4 * parts;

    /// Of everything, from the folds of an open group.
    template <class V> QVO_INLINE void total(V& folds) const {
        if constexpr (repeats_change)
            folds = high_ + (low_ + folds);
        else if constexpr (std::is_same_v<V, double>)
            Op::fold(folds, high_);
        else
            Op::fold(folds, V{high_, high_, high_, high_});
    }
    QVO_INLINE void close(double fold) {
        const double before = high_;
        Op::fold(high_, fold);
        if constexpr (repeats_change) {
            const double part = high_ - before, lost = (before - (high_ - part)) + (fold - part);
            low_ += lost == lost ? lost : 0.0;  // an overflow loses nothing that could be named
        }
    }

    double high_ = Op::neutral, low_ = 0, group_ = Op::neutral;
    ptrdiff_t in_group_ = 0;
};

class MomentsFold {
 public:
    using Value = Moments;
    static constexpr bool repeats_change = true;
    static constexpr Value neutral() { return {}; }
    QVO_INLINE static Value merge(Value a, const Value& b) {
        a.merge(b);
        return a;
    }
    QVO_INLINE static void fold(Value& into, const Value& later) { into.merge(later); }
    QVO_INLINE static Value power(double x, double n) {
        return is_present(x) ? Value{static_cast<uint64_t>(n), x, 0} : Value{};
    }

    QVO_INLINE Value add(double x) {
        if (is_present(x)) moments_.add(x, 1);
        return moments_.moments();
    }
    template <ptrdiff_t Step, bool whole, class Put> QVO_INLINE void add(const double* x, size_t n, Put put) {
        const auto end = static_cast<ptrdiff_t>(n);
        for (ptrdiff_t i = 0; i < end; ++i) put(Step * i, add(x[Step * i]));
    }

 private:
    RunningMoments moments_;
};

// What is asked of a window: the fold, its result, or whether that is the fold, and how many values it takes.
struct RollingSum {
    using Fold = FoldOf<SumOf>;
    static constexpr unsigned least = 0;
    static constexpr bool is_fold = true;
    QVO_INLINE static double finish(double sum, double) { return sum; }
};
struct RollingMean {
    using Fold = FoldOf<SumOf>;
    static constexpr unsigned least = 1;
    static constexpr bool is_fold = false;
    QVO_INLINE static double finish(double sum, double present) { return sum / present; }
};
struct RollingMin {
    using Fold = FoldOf<SmallestOf>;
    static constexpr unsigned least = 1;
    static constexpr bool is_fold = true;
    QVO_INLINE static double finish(double smallest, double) { return smallest; }
};
struct RollingMax {
    using Fold = FoldOf<LargestOf>;
    static constexpr unsigned least = 1;
    static constexpr bool is_fold = true;
    QVO_INLINE static double finish(double largest, double) { return largest; }
};
struct RollingVar {
    using Fold = MomentsFold;
    static constexpr unsigned least = 2;
    static constexpr bool is_fold = false;
    QVO_INLINE static double finish(const Moments& moments, double present) { return moments.squares / (present - 1); }
};
struct RollingStd {
    using Fold = MomentsFold;
    static constexpr unsigned least = 2;
    static constexpr bool is_fold = false;
    QVO_INLINE static double finish(const Moments& moments, double present) {
        return std::sqrt(moments.squares / (present - 1));
    }
};

}  // namespace qvo::value
