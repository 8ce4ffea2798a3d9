// The formulas of the average, the variance and the deviation, from a sum s, a sum of squares q and a number n of
// values. Each is stated here once, for the aggregates of whole sequences, windows, prefixes, groups, cells and keys.
#pragma once

#include <cmath>

#include "qvowseq.h"

namespace qvo {

struct Average {
    static constexpr bool takes_squares = false;
    static double of(double s, double /*q*/, double n) { return s / n; }
};

struct Variance {
    static constexpr bool takes_squares = true;
    static double of(double s, double q, double n) { return (q - s * s / n) / n; }
};

struct Deviation {
    static constexpr bool takes_squares = true;
    static double of(double s, double q, double n) { return std::sqrt(Variance::of(s, q, n)); }
};

/// The sample form takes n - 1 for n throughout, inside the bracket too. That is deliberate and not the textbook's
/// (q - s^2 / n) / (n - 1): the values 1 and 3 give (10 - 16 / 1) / 1 = -6, and a deviation that is no number.
template <class Statistic> struct Sample {
    static constexpr bool takes_squares = Statistic::takes_squares;
    static double of(double s, double q, double n) { return Statistic::of(s, q, n - 1); }
};

/// 0 for a single value, where the sample form would divide by 0.
template <class Statistic> struct ZeroForOne {
    static constexpr bool takes_squares = Statistic::takes_squares;
    static double of(double s, double q, double n) { return n == 1 ? 0.0 : Statistic::of(s, q, n); }
};

using SampleVariance = ZeroForOne<Sample<Variance>>;
using SampleDeviation = ZeroForOne<Sample<Deviation>>;

}  // namespace qvo
