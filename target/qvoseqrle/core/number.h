// Arithmetic with results that are the same on every machine: wrapping integers, guarded division, conversions
// from floating values. Nothing here relies on overflow or on what a processor does out of range.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "qvowseq.h"

namespace qvo {

/// The unsigned type in which integers of type V are computed: their width, but at least 32 bits, since narrower
/// types would be promoted to a signed one.
template <class V> using modular = std::conditional_t<sizeof(V) < sizeof(uint32_t), uint32_t, std::make_unsigned_t<V>>;

template <class V> QVO_INLINE V wrapping_add(V a, V b) {
    if constexpr (std::is_integral_v<V>)
        return static_cast<V>(static_cast<modular<V>>(a) + static_cast<modular<V>>(b));
    else
        return a + b;
}

template <class V> QVO_INLINE V wrapping_sub(V a, V b) {
    if constexpr (std::is_integral_v<V>)
        return static_cast<V>(static_cast<modular<V>>(a) - static_cast<modular<V>>(b));
    else
        return a - b;
}

template <class V> QVO_INLINE V wrapping_mul(V a, V b) {
    if constexpr (std::is_integral_v<V>)
        return static_cast<V>(static_cast<modular<V>>(a) * static_cast<modular<V>>(b));
    else
        return a * b;
}

// The same as types, for loops over an operation.
struct Add {
    template <class V> QVO_INLINE static V apply(V a, V b) { return wrapping_add(a, b); }
};
struct Subtract {
    template <class V> QVO_INLINE static V apply(V a, V b) { return wrapping_sub(a, b); }
};
struct Multiply {
    template <class V> QVO_INLINE static V apply(V a, V b) { return wrapping_mul(a, b); }
};

// The orders of values: what is greater, or less, comes first. apply(a, v) is v where it beats a, and else a: so a NaN
// on either side, and an equal value, leaves what was there before.
struct Greater {
    template <class V> QVO_INLINE static bool beats(V v, V a) { return v > a; }
    template <class V> QVO_INLINE static V apply(V a, V v) { return beats(v, a) ? v : a; }
};
struct Less {
    template <class V> QVO_INLINE static bool beats(V v, V a) { return v < a; }
    template <class V> QVO_INLINE static V apply(V a, V v) { return beats(v, a) ? v : a; }
};

/// Ends the process as the processor's divide fault does, also on processors that have none.
[[noreturn, gnu::cold]] void divide_fault();

/// Integer division faults on a zero divisor, and where the quotient does not fit an integer of 32 bits or more.
/// (Narrower operands are divided as 32-bit numbers, where it always fits.)
template <class V> QVO_INLINE void check_divisor(V a, V b) {
    if (b == 0) [[unlikely]]
        divide_fault();
    if constexpr (std::is_signed_v<V> && sizeof(V) >= sizeof(int32_t))
        if (b == -1 && a == std::numeric_limits<V>::min()) [[unlikely]]
            divide_fault();
}

template <class V> QVO_INLINE V divide(V a, V b) {
    if constexpr (std::is_integral_v<V>) check_divisor(a, b);
    return static_cast<V>(a / b);
}

template <class V> QVO_INLINE V remainder(V a, V b) {
    if constexpr (std::is_integral_v<V>) {
        check_divisor(a, b);
        return static_cast<V>(a % b);
    } else {
        return static_cast<V>(std::fmod(static_cast<double>(a), static_cast<double>(b)));
    }
}

/// The remainder of floating values where the quotient is below 2^20, else a NaN. It is exact: the whole quotient
/// nearest to the real one leaves at most half of the divisor, and each difference on the way there fits a double, as the
/// two parts of the divisor have 26 and 27 bits. What falls below zero is one more divisor away.
QVO_INLINE double quick_remainder(double left, double right) {
    constexpr double most = 0x1p20, to_whole = 0x1.8p52;  // a sum with the latter has no bits after the point
    const double a = std::fabs(left), b = std::fabs(right);
    const double quotient = a / b, whole = (quotient + to_whole) - to_whole;
    const double high = std::bit_cast<double>(std::bit_cast<uint64_t>(b) & ~uint64_t{0x7ffffff});
    const double least = (a - whole * high) - whole * (b - high);
    // Without a branch, which could not be foretold: all bits of b where the sign bit is set.
    const auto below = static_cast<uint64_t>(std::bit_cast<int64_t>(least) >> 63);
    const double rest = least + std::bit_cast<double>(std::bit_cast<uint64_t>(b) & below);
    // The multiple of b may be twice as large as a, and must not overflow; an infinite b would make a NaN of it.
    const bool quick = (quotient < most) & (a < 0x1p1022) & (b < std::numeric_limits<double>::infinity());
    return std::copysign(quick ? rest : std::numeric_limits<double>::quiet_NaN(), left);
}

/// 64-bit integers as doubles, rounded once, in a way that vector code has operations for: each half is placed in the
/// low bits of a large power of two, which is taken away again; only the sum of the halves rounds.
QVO_INLINE double unsigned_to_double(uint64_t value) {
    const double high = std::bit_cast<double>(value >> 32 | 0x4530000000000000U);           // 2^84 + high half
    const double low = std::bit_cast<double>((value & 0xffffffffU) | 0x4330000000000000U);  // 2^52 + low half
    return (high - 0x1.00000001p84) + low;
}
QVO_INLINE double signed_to_double(int64_t value) {
    constexpr uint64_t top_bit = uint64_t{1} << 63;  // flipped, which adds 2^63
    const uint64_t bits = static_cast<uint64_t>(value) ^ top_bit;
    const double high = std::bit_cast<double>(bits >> 32 | 0x4530000000000000U);
    const double low = std::bit_cast<double>((bits & 0xffffffffU) | 0x4330000000000000U);
    return (high - 0x1.00000801p84) + low;  // 2^84 + 2^63 + 2^52
}

/// Truncates a floating value towards zero to a signed integer; out of range, and for NaN, the most negative one.
template <class Int, class F> QVO_INLINE Int truncate(F value) {
    static_assert(std::is_signed_v<Int> && sizeof(Int) >= sizeof(int32_t));
    constexpr F limit = static_cast<F>(uint64_t{1} << (8 * sizeof(Int) - 1));  // 2^31 or 2^63: exact in either type
    // A value that does not fit is replaced before the conversion, not after it, so that the conversion is always
    // defined and a loop of them stays free of branches. (What is replaced although it would fit, the lowest number
    // and fractions next to it, is replaced by what it truncates to.)
    return static_cast<Int>(std::fabs(value) < limit ? value : -limit);
}

/// The value of one element type as another. Integers keep their low bits; integers become floating values and
/// doubles become floats rounded to nearest. Floating values are truncated towards zero: to 64 bits unsigned from
/// 2^63 on after subtracting 2^63, with the top bit set in the result; to uint4 by way of 64 bits signed; to 1- and
/// 2-byte integers by way of 32 bits signed.
template <class To, class From> QVO_INLINE To convert(From value) {
    if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
        if constexpr (std::is_same_v<To, uint64_t>) {
            constexpr From half = static_cast<From>(uint64_t{1} << 63);
            constexpr uint64_t top_bit = uint64_t{1} << 63;
            return value >= half ? static_cast<uint64_t>(truncate<int64_t>(value - half)) | top_bit
                                 : static_cast<uint64_t>(truncate<int64_t>(value));
        } else if constexpr (std::is_same_v<To, uint32_t>) {
            return static_cast<uint32_t>(truncate<int64_t>(value));
        } else if constexpr (sizeof(To) < sizeof(int32_t)) {
            return static_cast<To>(truncate<int32_t>(value));
        } else {
            return truncate<To>(value);
        }
    } else {
        return static_cast<To>(value);
    }
}

}  // namespace qvo
