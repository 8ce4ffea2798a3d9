// Sums that do not depend on how values are cut into runs, tiles, rows or parts: what is lost by each addition is kept
// and added too (T. J. Dekker, "A floating-point technique for extending the available precision", 1971), so that what
// is rounded in the end is the sum itself, to far beyond the digits of a double.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "qvowseq.h"

namespace qvo::value {

/// The upper half of a double's digits: its product with a run is exact, and so is that of the rest.
QVO_INLINE double upper_digits(double x) {
    return std::bit_cast<double>(std::bit_cast<uint64_t>(x) & 0xfffffffff8000000U);
}

/// A sum in two parts; `low` is what `high` has lost.
struct DoubleSum {
    double high = 0, low = 0;

    QVO_INLINE void add(double x) {
        const double sum = high + x, part = sum - high;
        low += (high - (sum - part)) + (x - part);
        high = sum;
    }
    /// Adds x so many times.
    QVO_INLINE void add(double x, unsigned times) {
        if (times == 1) return add(x);
        const double top = upper_digits(x);
        add(top * times);
        if (std::isfinite(x)) add((x - top) * times);
    }
    void add(const DoubleSum& other) {
        add(other.high);
        low += other.low;
    }
    /// An infinity or NaN among the terms decides; it has made nonsense of the low part.
    double total() const { return std::isfinite(high) ? high + low : high; }
};

struct Summed {
    DoubleSum sum;
    uint64_t present = 0;  // positions
};

/// Sums of values, each as often as its run, in lanes that are added up only in the end. What is missing is left out.
class RealSum {
 public:
    static constexpr size_t lanes = 16;
    struct Lanes {
        double high[lanes] = {}, low[lanes] = {};
    };

    void add(const double* values, const uint8_t* first_run, size_t n);
    Summed total() const;

 private:
    Lanes lanes_;
    uint64_t present_ = 0;  // positions
};
/// The same of one array.
Summed sum_values(const double* values, const uint8_t* first_run, size_t n);

/// Integers in 128 bits.
__extension__ typedef __int128 int128;
/// An integer as a sum of doubles: of halves that they hold, or nearly.
DoubleSum as_reals(int128 integer);
int128 sum_values(const int64_t* values, const uint8_t* first_run, size_t n);

}  // namespace qvo::value
