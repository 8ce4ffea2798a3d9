#include "functions/sums.h"

#include <bit>

#include "core/runs.h"

namespace qvo::value {
namespace {

constexpr size_t lanes = 16;

struct Lanes {
    double high[lanes] = {}, low[lanes] = {};

    QVO_INLINE void add(const double* __restrict x) {
        for (size_t k = 0; k < lanes; ++k) {
            const double sum = high[k] + x[k], part = sum - high[k];
            low[k] += (high[k] - (sum - part)) + (x[k] - part);
            high[k] = sum;
        }
    }
    DoubleSum total() const {
        DoubleSum all;
        for (size_t k = 0; k < lanes; ++k) all.add({high[k], low[k]});
        return all;
    }
};

QVO_INLINE double or_zero(double x) { return x == x ? x : 0.0; }

/// The upper half of a double's digits: its product with a run is exact, and so is that of the rest.
QVO_INLINE double upper(double x) { return std::bit_cast<double>(std::bit_cast<uint64_t>(x) & 0xfffffffff8000000U); }

QVO_CPU_VARIANTS Summed sum_single(const double* values, size_t n) {
    Lanes sums;
    uint64_t missing = 0;
    size_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        double block[lanes];
        for (size_t k = 0; k < lanes; ++k) {
            block[k] = or_zero(values[i + k]);
            missing += values[i + k] != values[i + k];
        }
        sums.add(block);
    }
    double block[lanes] = {};
    for (size_t k = 0; i + k < n; ++k) {
        block[k] = or_zero(values[i + k]);
        missing += values[i + k] != values[i + k];
    }
    sums.add(block);
    return {sums.total(), n - missing};
}

QVO_CPU_VARIANTS Summed sum_runs_of(const double* values, const uint8_t* first_run, size_t n) {
    Lanes sums;
    uint64_t present = 0;
    for (size_t i = 0; i < n; i += lanes) {
        double high[lanes] = {}, low[lanes] = {};
        for (size_t k = 0; k < lanes && i + k < n; ++k) {
            const unsigned run = first_run[-static_cast<ptrdiff_t>(i + k)];
            const double x = or_zero(values[i + k]), top = upper(x);
            high[k] = top * run;
            low[k] = std::isfinite(x) ? (x - top) * run : 0.0;
            present += values[i + k] == values[i + k] ? run : 0;
        }
        sums.add(high);
        sums.add(low);
    }
    return {sums.total(), present};
}

/// The lower and upper halves by themselves, each in 64 bits.
QVO_CPU_VARIANTS int128 sum_halves(const int64_t* values, const uint8_t* first_run, size_t n) {
    uint64_t low = 0;
    int64_t high = 0;
    for (size_t i = 0; i < n; ++i) {
        const unsigned run = first_run[-static_cast<ptrdiff_t>(i)];
        low += (static_cast<uint64_t>(values[i]) & 0xffffffffU) * run;
        high += (values[i] >> 32) * static_cast<int64_t>(run);
    }
    return (static_cast<int128>(high) << 32) + low;
}

}  // namespace

Summed sum_values(const double* values, const uint8_t* first_run, size_t n) {
    return leading_single_runs(first_run, n) == n ? sum_single(values, n) : sum_runs_of(values, first_run, n);
}

int128 sum_values(const int64_t* values, const uint8_t* first_run, size_t n) {
    return sum_halves(values, first_run, n);
}

}  // namespace qvo::value
