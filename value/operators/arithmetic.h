// The arithmetic of values: 64-bit integers that report what does not fit, and doubles as NumPy has them.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "core/number.h"

namespace qvo::value {

inline constexpr const char* does_not_fit_int8 = "the result does not fit int8";
inline constexpr const char* division_by_zero = "division by zero";

// The sign bit of what is returned tells of an overflow, in a form that vector code has operations for.
struct CheckedAdd {
    QVO_INLINE bool operator()(int64_t a, int64_t b, int64_t& r) const {
        r = static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
        return ((a ^ r) & (b ^ r)) < 0;
    }
    const char* fault(int64_t, int64_t) const { return does_not_fit_int8; }
};
struct CheckedSubtract {
    QVO_INLINE bool operator()(int64_t a, int64_t b, int64_t& r) const {
        r = static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
        return ((a ^ b) & (a ^ r)) < 0;
    }
    const char* fault(int64_t, int64_t) const { return does_not_fit_int8; }
};
struct CheckedMultiply {
    QVO_INLINE bool operator()(int64_t a, int64_t b, int64_t& r) const { return __builtin_mul_overflow(a, b, &r); }
    const char* fault(int64_t, int64_t) const { return does_not_fit_int8; }
};

/// What std::fmod gives, most often sooner.
QVO_INLINE double rest_of(double a, double b) {
    const double rest = quick_remainder(a, b);
    return rest == rest ? rest : std::fmod(a, b);
}

// Python's // and %: the quotient is rounded down, the remainder has the sign of the divisor.
struct FloorDivide {
    QVO_INLINE bool operator()(int64_t a, int64_t b, int64_t& r) const {
        r = 0;
        if (b == 0 || (b == -1 && a == INT64_MIN)) return true;
        r = a / b - (a % b != 0 && (a < 0) != (b < 0));
        return false;
    }
    const char* fault(int64_t, int64_t b) const { return b == 0 ? division_by_zero : does_not_fit_int8; }
    double operator()(double a, double b) const {
        if (b == 0) return a / b;
        const double rest = rest_of(a, b);
        double quotient = (a - rest) / b;
        if (rest != 0 && (b < 0) != (rest < 0)) quotient -= 1.0;
        if (quotient == 0) return std::copysign(0.0, a / b);
        const double whole = std::floor(quotient);
        return quotient - whole > 0.5 ? whole + 1.0 : whole;
    }
};
struct FloorModulo {
    QVO_INLINE bool operator()(int64_t a, int64_t b, int64_t& r) const {
        r = 0;
        if (b == 0) return true;
        if (b == -1) return false;
        r = a % b;
        if (r != 0 && (r < 0) != (b < 0)) r += b;
        return false;
    }
    const char* fault(int64_t, int64_t) const { return division_by_zero; }
    double operator()(double a, double b) const {
        const double rest = rest_of(a, b);
        if (b == 0) return rest;
        if (rest == 0) return std::copysign(0.0, b);
        return (b < 0) != (rest < 0) ? rest + b : rest;
    }
};

struct Negate {
    QVO_INLINE bool operator()(int64_t a, int64_t& r) const {
        r = static_cast<int64_t>(-static_cast<uint64_t>(a));
        return a == INT64_MIN;
    }
    const char* fault(int64_t) const { return does_not_fit_int8; }
};
struct Absolute {
    QVO_INLINE bool operator()(int64_t a, int64_t& r) const {
        r = a < 0 ? static_cast<int64_t>(-static_cast<uint64_t>(a)) : a;
        return a == INT64_MIN;
    }
    const char* fault(int64_t) const { return does_not_fit_int8; }
    QVO_INLINE double operator()(double a) const { return std::fabs(a); }
};
struct Sign {
    QVO_INLINE int64_t operator()(int64_t a) const { return (a > 0) - (a < 0); }
    QVO_INLINE double operator()(double a) const { return a != a ? a : static_cast<double>((a > 0) - (a < 0)); }
};

/// rint(x * 10^d) / 10^d; x itself where that is not finite.
struct RoundDouble {
    double scale;  // 10 to the absolute number of digits
    bool left;     // digits before the point
    QVO_INLINE double operator()(double x) const {
        const double scaled = left ? x / scale : x * scale;
        const double whole = std::nearbyint(scaled);
        const double rounded = left ? whole * scale : whole / scale;
        return std::isfinite(rounded) ? rounded : x;
    }
};
/// To a multiple of a power of ten, exactly, half to even.
struct RoundInteger {
    int64_t unit;  // 0: too large a power for any value to reach half of it
    bool operator()(int64_t x, int64_t& r) const {
        r = 0;
        if (unit == 0) return false;
        const int64_t rest = x % unit, down = x - rest;  // towards 0
        const int64_t size = rest < 0 ? -rest : rest, half = unit / 2;
        const bool away = size > half || (size == half && (down / unit) % 2 != 0);
        return __builtin_add_overflow(down, away ? (x < 0 ? -unit : unit) : 0, &r);
    }
    const char* fault(int64_t) const { return does_not_fit_int8; }
};

/// To a multiple of 10^19, which int8 does not hold: 0, or beyond it.
struct RoundToTenToNineteen {
    bool operator()(int64_t x, int64_t& r) const {
        constexpr int64_t half = 5'000'000'000'000'000'000;
        r = 0;
        return x > half || x < -half;
    }
    const char* fault(int64_t) const { return does_not_fit_int8; }
};

/// Smaller and larger; of a missing value and another the missing one. (In two choices, of which vector code is made.)
struct Least {
    template <class V> QVO_INLINE V operator()(V a, V b) const {
        const V less = a < b ? a : b;
        return a != a ? a : less;
    }
};
struct Greatest {
    template <class V> QVO_INLINE V operator()(V a, V b) const {
        const V more = a > b ? a : b;
        return a != a ? a : more;
    }
};
struct Clip {
    template <class V> QVO_INLINE V operator()(V x, V low, V high) const { return Least{}(Greatest{}(x, low), high); }
};
struct Between {
    template <class V> QVO_INLINE bool operator()(V x, V low, V high) const { return (x >= low) & (x <= high); }
};

}  // namespace qvo::value
