// Means and variances by stable updates that merge (T. F. Chan, G. H. Golub, R. J. LeVeque, "Updating formulae and a
// pairwise algorithm for computing sample variances", 1979).
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "operators/sums.h"
#include "qvowseq.h"

namespace qvo::value {

/// A mean in two parts, `low` being what `high` has been rounded by: values that lie far from 0 and near each other, as
/// times do, have means that differ by less than a double can tell.
struct Mean : DoubleSum {
    QVO_INLINE double operator-(const Mean& other) const { return (high - other.high) + (low - other.low); }
};
QVO_INLINE void move(double& mean, double by) { mean += by; }
QVO_INLINE void move(Mean& mean, double by) { mean.add(by); }
/// The mean of values that are `by` from one of them on average.
QVO_INLINE Mean moved(double from, double by) {
    Mean mean{{from, 0}};
    move(mean, by);
    return mean;
}

/// Number, mean and sum of squared deviations from the mean.
template <class M> struct MomentsOf {
    uint64_t n = 0;
    M mean{};
    double squares = 0;

    void merge(const MomentsOf& other) {
        if (other.n == 0) return;
        if (n == 0) {
            *this = other;
            return;
        }
        const double here = static_cast<double>(n), there = static_cast<double>(other.n), all = here + there;
        const double apart = other.mean - mean;
        squares += other.squares + apart * apart * (here / all) * there;
        move(mean, apart * (there / all));
        n += other.n;
    }
    /// The variance with n - `free` in its denominator; NaN where that is not positive.
    double variance(unsigned free) const {
        return n > free ? squares / static_cast<double>(n - free) : std::numeric_limits<double>::quiet_NaN();
    }
};
using Moments = MomentsOf<double>;    // of a window, or a group
using LongMoments = MomentsOf<Mean>;  // of whole sequences

/// Moments of values that come one at a time, without a division for each of them: deviations are those from a value
/// nearby, at first the first one; it moves to the mean whenever the number has doubled, from 16 on. What is summed is
/// then at most a few times what remains of it, so that no digits are lost; and a constant's deviations are exactly 0.
class RunningMoments {
 public:
    uint64_t n() const { return n_; }
    Moments moments() const {
        if (n_ == 0) return {};
        const double step = apart_ / static_cast<double>(n_), mean = near_ + step, squares = squares_ - apart_ * step;
        if (squares >= 0) return {n_, mean, squares};
        // By rounding; or squares of finite values that are too large.
        if (squares < 0) return {n_, mean, 0};
        return {n_, mean, std::isfinite(mean) ? std::numeric_limits<double>::infinity() : squares};
    }
    QVO_INLINE void add(double x, unsigned run) {
        if (n_ == 0) {
            n_ = run;
            near_ = x;
            squares_ = x - x;  // an infinity has none
            return;
        }
        const double apart = x - near_, times = run;
        apart_ += apart * times;
        squares_ += apart * apart * times;
        const uint64_t before = n_;
        n_ += run;
        if ((n_ & ~before) > (before | 15)) move();
    }
    void merge(const Moments& other) {
        Moments all = moments();
        all.merge(other);
        *this = RunningMoments(all);
    }
    RunningMoments() = default;
    explicit RunningMoments(const Moments& from) : n_(from.n), near_(from.mean), squares_(from.squares) {}

 private:
    /// To the mean, or as near to it as a double is; what it misses stays in the sums.
    QVO_INLINE void move() {
        const double n = static_cast<double>(n_), mean = near_ + apart_ / n, step = mean - near_;
        squares_ -= step * (2 * apart_ - n * step);
        apart_ -= n * step;
        near_ = mean;
    }
    uint64_t n_ = 0;
    double near_ = 0, apart_ = 0, squares_ = 0;  // the sums of deviations and of their squares
};

/// Of n values, each as often as its run, those that are missing left out.
LongMoments moments_of(const double* values, const uint8_t* first_run, size_t n);

}  // namespace qvo::value
