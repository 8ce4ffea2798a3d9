#include "operators/sums.h"

#include "core/runs.h"

namespace qvo::value {
namespace {

// Vectors that the compiler keeps in registers; left alone, it mixes lanes and spills them.
typedef double Doubles __attribute__((vector_size(32)));
typedef int64_t Integers __attribute__((vector_size(32)));
constexpr size_t width = sizeof(Doubles) / sizeof(double), vectors = 2, lanes = vectors * width;

struct Lanes {
    Doubles high[vectors] = {}, low[vectors] = {};

    QVO_INLINE void add(size_t k, const Doubles& x) {
        const Doubles sum = high[k] + x, part = sum - high[k];
        low[k] += (high[k] - (sum - part)) + (x - part);
        high[k] = sum;
    }
    DoubleSum total() const {
        DoubleSum all;
        for (size_t k = 0; k < lanes; ++k) all.add({high[k / width][k % width], low[k / width][k % width]});
        return all;
    }
};

QVO_INLINE void load(Doubles& x, const double* from) { std::memcpy(&x, from, sizeof x); }

/// 0 in the place of what is missing.
QVO_INLINE double or_zero(double x) { return x == x ? x : 0.0; }

QVO_INLINE Summed sum_single(const double* values, size_t n) {
    Lanes sums;
    Integers present[vectors] = {};
    size_t i = 0;
    for (; i + lanes <= n; i += lanes)
        for (size_t k = 0; k < vectors; ++k) {
            Doubles x;
            load(x, values + i + k * width);
            const Integers there = x == x;  // all ones where it is
            present[k] -= there;
            sums.add(k, reinterpret_cast<Doubles>(reinterpret_cast<Integers>(x) & there));
        }
    Summed result{sums.total(), 0};
    for (size_t k = 0; k < lanes; ++k) result.present += static_cast<uint64_t>(present[k / width][k % width]);
    for (; i < n; ++i) {
        result.sum.add(or_zero(values[i]));
        result.present += values[i] == values[i];
    }
    return result;
}

QVO_INLINE Summed sum_runs_of(const double* values, const uint8_t* first_run, size_t n) {
    Lanes sums;
    uint64_t present = 0;
    for (size_t i = 0; i < n; i += lanes) {
        double high[lanes] = {}, low[lanes] = {};
        for (size_t k = 0; k < lanes && i + k < n; ++k) {
            const unsigned run = first_run[-static_cast<ptrdiff_t>(i + k)];
            const double x = or_zero(values[i + k]), top = upper_digits(x);
            high[k] = top * run;
            low[k] = std::isfinite(x) ? (x - top) * run : 0.0;
            present += values[i + k] == values[i + k] ? run : 0;
        }
        for (size_t k = 0; k < vectors; ++k) {
            Doubles part;
            load(part, high + k * width);
            sums.add(k, part);
            load(part, low + k * width);
            sums.add(k, part);
        }
    }
    return {sums.total(), present};
}

/// The lower and upper halves by themselves, each in 64 bits. Signs are flipped for as long, since vectors of 64-bit
/// integers have no shift that keeps them.
QVO_INLINE int128 sum_single_halves(const int64_t* values, size_t n) {
    constexpr uint64_t sign = uint64_t{1} << 63;
    uint64_t low = 0, high = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint64_t x = static_cast<uint64_t>(values[i]) ^ sign;
        low += x & 0xffffffffU;
        high += x >> 32;
    }
    return (static_cast<int128>(high) << 32) + low - static_cast<int128>(n) * sign;
}

/// The same with runs.
QVO_INLINE int128 sum_halves(const int64_t* values, const uint8_t* first_run, size_t n) {
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
    return leading_single_runs(first_run, n) == n ? for_cpu<sum_single>(values, n)
                                                  : for_cpu<sum_runs_of>(values, first_run, n);
}

DoubleSum as_reals(int128 integer) {
    DoubleSum sum;
    sum.add(static_cast<double>(static_cast<int64_t>(integer >> 40)) * 0x1p40);
    sum.add(static_cast<double>(static_cast<int64_t>(integer & ((int128{1} << 40) - 1))));
    return sum;
}

int128 sum_values(const int64_t* values, const uint8_t* first_run, size_t n) {
    return leading_single_runs(first_run, n) == n ? for_cpu<sum_single_halves>(values, n)
                                                  : for_cpu<sum_halves>(values, first_run, n);
}

}  // namespace qvo::value
