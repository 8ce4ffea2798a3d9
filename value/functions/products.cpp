#include "functions/products.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "core/runs.h"

namespace qvo::value {
namespace {

constexpr size_t lanes = 16;
constexpr uint64_t exponent_bits = uint64_t{0x7ff} << 52, bias = 1022;

ScaledProduct scaled(double x, uint64_t n) {
    int exponent = 0;
    const double digits = std::frexp(x, &exponent);
    return {digits, exponent, n};
}

/// x as often as a run is long: so few factors from 0.5 to 1 cannot become too small.
ScaledProduct power(double x, unsigned run) {
    const ScaledProduct once = scaled(x, 1);
    double all = 1, square = once.digits;
    for (unsigned left = run; left != 0; left >>= 1, square *= square)
        if ((left & 1) != 0) all *= square;
    return {all, once.exponent * int64_t{run}, run};
}

/// The digits of a value, as if its exponent were 0; of an ordinary one: neither 0, nor subnormal, nor infinite or
/// missing.
QVO_INLINE double digits_of(uint64_t bits) { return std::bit_cast<double>((bits & ~exponent_bits) | (bias << 52)); }
QVO_INLINE uint64_t exponent_of(uint64_t bits) { return (bits & exponent_bits) >> 52; }

/// The product of digits from 0.5 to 1 and the sum of exponents, of ordinary values, each as often as its run unless
/// all are single. `special` is not 0 if some values are not ordinary.
template <bool single>
QVO_INLINE ScaledProduct of_ordinary(const double* __restrict values, const uint64_t* __restrict runs, size_t n,
                                     uint64_t& special) {
    double digits[lanes];
    uint64_t exponents[lanes] = {}, odd[lanes] = {};
    std::fill(digits, digits + lanes, 1.0);
    const auto multiply = [&](size_t k, size_t i) {
        const auto bits = std::bit_cast<uint64_t>(values[i]);
        const uint64_t exponent = exponent_of(bits);
        odd[k] |= uint64_t{exponent == 0} | uint64_t{exponent == 0x7ff};
        if constexpr (single) {
            exponents[k] += exponent - bias;
            digits[k] *= digits_of(bits);
        } else {
            double square = digits_of(bits), all = 1;
            for (unsigned bit = 0; bit < 8; ++bit, square *= square) all *= (runs[i] >> bit & 1) != 0 ? square : 1.0;
            const auto power = std::bit_cast<uint64_t>(all);
            exponents[k] += (exponent - bias) * runs[i] + (exponent_of(power) - bias);
            digits[k] *= digits_of(power);
        }
    };
    size_t i = 0;
    for (; i + lanes <= n; i += lanes)
        for (size_t k = 0; k < lanes; ++k) multiply(k, i + k);
    for (; i < n; ++i) multiply(0, i);
    ScaledProduct all;
    for (size_t k = 0; k < lanes; ++k) {
        ScaledProduct lane = scaled(digits[k], 0);
        lane.exponent += static_cast<int64_t>(exponents[k]);
        all.multiply(lane);
        special |= odd[k];
    }
    return all;
}

}  // namespace

void ScaledProduct::multiply(const ScaledProduct& other) {
    int more = 0;
    const uint64_t all = n + other.n;
    // Exponents of states from elsewhere may be anything.
    const uint64_t sum = static_cast<uint64_t>(exponent) + static_cast<uint64_t>(other.exponent);
    digits = std::frexp(digits * other.digits, &more);
    exponent = static_cast<int64_t>(sum + static_cast<uint64_t>(std::isfinite(digits) ? more : 0));
    n = all;
}

double ScaledProduct::value() const {
    return std::ldexp(digits, static_cast<int>(std::clamp<int64_t>(exponent, -5000, 5000)));
}

ScaledProduct product_of(const double* values, const uint8_t* first_run, size_t n) {
    ScaledProduct all;
    constexpr size_t block = 512;  // digits of so many cannot become too small
    const bool single = leading_single_runs(first_run, n) == n;
    uint64_t special = 0;
    for (size_t i = 0; i < n; i += block) {
        const size_t here = std::min(block, n - i);
        uint64_t runs[block], positions = here;
        if (!single) positions = sum_runs(first_run - i, here);
        for (size_t k = 0; k < here && !single; ++k) runs[k] = first_run[-static_cast<ptrdiff_t>(i + k)];
        ScaledProduct some = single ? for_cpu<of_ordinary<true>>(values + i, runs, here, special)
                                    : for_cpu<of_ordinary<false>, CpuLevel::avx512>(values + i, runs, here, special);
        some.n = positions;
        all.multiply(some);
    }
    if (special == 0) return all;
    all = {};
    for (size_t i = 0; i < n; ++i) {
        const unsigned run = first_run[-static_cast<ptrdiff_t>(i)];
        if (values[i] == values[i]) all.multiply(power(values[i], run));
    }
    return all;
}

}  // namespace qvo::value
