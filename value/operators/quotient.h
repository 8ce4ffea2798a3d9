// Quotients by one divisor without dividing, as division rounds them: several lanes at a time, a division takes longer.
#pragma once

#include <cmath>

#include "qvowseq.h"

namespace qvo::value {

/// A quotient by the inverse is off by two units in the last place at most, and one after the first correction; the second
/// rounds it as it should be, if neither it nor a remainder leaves the range of normal numbers (P. Markstein, "Computation
/// of elementary functions on the IBM RISC System/6000 processor", 1990). For loops that are compiled with fused
/// multiplication and addition.
class Quotient {
 public:
    explicit Quotient(double divisor) : divisor_(divisor), inverse_(1 / divisor) {}

    QVO_INLINE double operator()(double x) const { return corrected(x, corrected(x, x * inverse_)); }
    /// Whether x lies where that holds, by divisors from 1 to 2^62.
    QVO_INLINE static bool takes(double x) {
        const double size = std::fabs(x);
        return (size >= 0x1p-800 && size <= 0x1p1000) || x == 0;
    }

 private:
    QVO_INLINE double corrected(double x, double quotient) const {
        return __builtin_fma(__builtin_fma(-quotient, divisor_, x), inverse_, quotient);
    }
    double divisor_, inverse_;
};

}  // namespace qvo::value
