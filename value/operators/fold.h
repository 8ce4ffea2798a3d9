// Folds of neighbouring values, for windows that move: sums, extremes, moments.
//
// A window is never corrected by taking something away from it, since what rounding has once lost stays lost: a huge
// value that has left the window would leave its error behind. It is put together of two folds instead, a suffix of
// what came earlier and a prefix of what came last (M. van Herk, "A fast algorithm for local minimum and maximum
// filters", 1992; J. Gil, M. Werman, "Computing 2-D min, median, and max filters", 1993), at the same cost for every
// width. What is not finite counts as missing and does not take part.
#pragma once

#include <cmath>
#include <limits>

#include "operators/moments.h"
#include "qvowseq.h"

namespace qvo::value {

inline constexpr double missing = std::numeric_limits<double>::quiet_NaN();
/// Neither NaN nor infinite; in a form that vector code has operations for.
QVO_INLINE bool is_present(double x) { return x - x == 0.0; }

struct SumOf {
    static constexpr double neutral = 0;
    QVO_INLINE static double apply(double a, double b) { return a + b; }
    QVO_INLINE static double power(double x, double n) { return x * n; }
};
struct SmallestOf {
    static constexpr double neutral = std::numeric_limits<double>::infinity();
    QVO_INLINE static double apply(double a, double b) { return a < b ? a : b; }
    QVO_INLINE static double power(double x, double) { return x; }
};
struct LargestOf {
    static constexpr double neutral = -std::numeric_limits<double>::infinity();
    QVO_INLINE static double apply(double a, double b) { return a > b ? a : b; }
    QVO_INLINE static double power(double x, double) { return x; }
};

/// Folds whose value is a double. Values are folded in groups, each from its own start, so that one does not wait for
/// the other. A sum keeps what the additions of groups lose: its error is that of a few additions, however long it is.
template <class Op> class FoldOf {
 public:
    using Value = double;
    static constexpr bool repeats_change = std::is_same_v<Op, SumOf>;  // x, x folds to something else than x
    static constexpr Value neutral() { return Op::neutral; }
    QVO_INLINE static Value merge(Value a, Value b) { return Op::apply(a, b); }
    /// n times x, n > 0.
    QVO_INLINE static Value power(double x, double n) { return is_present(x) ? Op::power(x, n) : Op::neutral; }

    Value value() const { return total(group_); }
    void add(double x, uint64_t n) {
        close(group_);
        group_ = Op::neutral;
        in_group_ = 0;
        close(power(x, static_cast<double>(n)));
    }
    /// Folds in n values at x[0], x[Step], …; writes the fold so far for each of them.
    template <ptrdiff_t Step> QVO_INLINE void add(const double* x, size_t n, Value* to) {
        size_t i = 0;
        for (; i < n && in_group_ != 0; ++i)
            to[Step * static_cast<ptrdiff_t>(i)] = one(x[Step * static_cast<ptrdiff_t>(i)]);
        for (; i + group <= n; i += group) {
            const ptrdiff_t at = Step * static_cast<ptrdiff_t>(i);
            double folds[group], fold = Op::neutral;
            for (ptrdiff_t k = 0; k < group; ++k) folds[k] = fold = Op::apply(fold, power(x[at + Step * k], 1));
            for (ptrdiff_t k = 0; k < group; ++k) to[at + Step * k] = total(folds[k]);
            close(fold);
        }
        for (; i < n; ++i) to[Step * static_cast<ptrdiff_t>(i)] = one(x[Step * static_cast<ptrdiff_t>(i)]);
    }

 private:
    static constexpr ptrdiff_t group = 8;

    QVO_INLINE double total(double open_group) const {
        if constexpr (repeats_change) return high_ + (low_ + open_group);
        return Op::apply(high_, open_group);
    }
    QVO_INLINE double one(double x) {
        group_ = Op::apply(group_, power(x, 1));
        const double result = total(group_);
        if (++in_group_ == group) {
            close(group_);
            group_ = Op::neutral;
            in_group_ = 0;
        }
        return result;
    }
    QVO_INLINE void close(double fold) {
        const double before = high_;
        high_ = Op::apply(before, fold);
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
    QVO_INLINE static Value power(double x, double n) {
        return is_present(x) ? Value{static_cast<uint64_t>(n), x, 0} : Value{};
    }

    Value value() const { return moments_; }
    void add(double x, uint64_t n) { moments_.merge(power(x, static_cast<double>(n))); }
    template <ptrdiff_t Step> QVO_INLINE void add(const double* x, size_t n, Value* to) {
        for (size_t i = 0; i < n; ++i) {
            const ptrdiff_t at = Step * static_cast<ptrdiff_t>(i);
            if (is_present(x[at])) {
                const double share = 1.0 / static_cast<double>(++moments_.n);  // does not wait for the mean before
                const double apart = x[at] - moments_.mean;
                moments_.mean += apart * share;
                moments_.squares += apart * (x[at] - moments_.mean);
            }
            to[at] = moments_;
        }
    }

 private:
    Moments moments_;
};

// What is asked of a window: the fold, its result, and how many values have to be there for one.
struct RollingSum {
    using Fold = FoldOf<SumOf>;
    static constexpr unsigned least = 0;
    QVO_INLINE static double finish(double sum, double) { return sum; }
};
struct RollingMean {
    using Fold = FoldOf<SumOf>;
    static constexpr unsigned least = 1;
    QVO_INLINE static double finish(double sum, double present) { return sum / present; }
};
struct RollingMin {
    using Fold = FoldOf<SmallestOf>;
    static constexpr unsigned least = 1;
    QVO_INLINE static double finish(double smallest, double) { return smallest; }
};
struct RollingMax {
    using Fold = FoldOf<LargestOf>;
    static constexpr unsigned least = 1;
    QVO_INLINE static double finish(double largest, double) { return largest; }
};
struct RollingVar {
    using Fold = MomentsFold;
    static constexpr unsigned least = 2;
    QVO_INLINE static double finish(const Moments& moments, double present) { return moments.squares / (present - 1); }
};
struct RollingStd {
    using Fold = MomentsFold;
    static constexpr unsigned least = 2;
    QVO_INLINE static double finish(const Moments& moments, double present) {
        return std::sqrt(moments.squares / (present - 1));
    }
};

}  // namespace qvo::value
