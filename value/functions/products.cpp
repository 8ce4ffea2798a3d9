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

/// The product of digits from 0.5 to 1 and the sum of exponents, of values of whose kind most are: neither 0, nor
/// subnormal, nor infinite or missing. `special` is not 0 if some are of these.
QVO_INLINE ScaledProduct of_ordinary(const double* __restrict values, size_t n, uint64_t& special) {
    double digits[lanes];
    uint64_t exponents[lanes] = {}, odd[lanes] = {};
    std::fill(digits, digits + lanes, 1.0);
    const auto multiply = [&](size_t k, double x) {
        const auto bits = std::bit_cast<uint64_t>(x);
        const uint64_t exponent = (bits & exponent_bits) >> 52;
        odd[k] |= uint64_t{exponent == 0} | uint64_t{exponent == 0x7ff};
        exponents[k] += exponent - bias;
        digits[k] *= std::bit_cast<double>((bits & ~exponent_bits) | (bias << 52));
    };
    size_t i = 0;
    for (; i + lanes <= n; i += lanes)
        for (size_t k = 0; k < lanes; ++k) multiply(k, values[i + k]);
    for (; i < n; ++i) multiply(0, values[i]);
    ScaledProduct all;
    for (size_t k = 0; k < lanes; ++k) {
        ScaledProduct lane = scaled(digits[k], 0);
        lane.exponent += static_cast<int64_t>(exponents[k]);
        all.multiply(lane);
        special |= odd[k];
    }
    all.n = n;
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
    if (leading_single_runs(first_run, n) == n) {
        uint64_t special = 0;
        for (size_t i = 0; i < n; i += block)
            all.multiply(for_cpu<of_ordinary>(values + i, std::min(block, n - i), special));
        if (special == 0) return all;
        all = {};
    }
    for (size_t i = 0; i < n; ++i) {
        const unsigned run = first_run[-static_cast<ptrdiff_t>(i)];
        if (values[i] == values[i]) all.multiply(power(values[i], run));
    }
    return all;
}

}  // namespace qvo::value
