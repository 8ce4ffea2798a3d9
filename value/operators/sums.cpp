#include "operators/sums.h"

#include <algorithm>
#include <limits>

#include "core/runs.h"

namespace qvo::value {
namespace {

using Lanes = RealSum::Lanes;
constexpr size_t lanes = RealSum::lanes;

/// Lanes as vectors that the compiler keeps in registers; left alone, it mixes lanes and spills them. Which values meet in a
/// lane is the same whatever the bytes of a vector, and so is the sum.
template <size_t bytes> struct Vectors {
    typedef double Doubles __attribute__((vector_size(bytes)));
    typedef int64_t Integers __attribute__((vector_size(bytes)));
    static constexpr size_t width = bytes / sizeof(double), n = lanes / width;

    Doubles high[n], low[n];

    QVO_INLINE explicit Vectors(const Lanes& from) {
        std::memcpy(high, from.high, sizeof high);
        std::memcpy(low, from.low, sizeof low);
    }
    QVO_INLINE void put(Lanes& to) const {
        std::memcpy(to.high, high, sizeof high);
        std::memcpy(to.low, low, sizeof low);
    }
    QVO_INLINE void add(size_t k, const Doubles& x) {
        const Doubles sum = high[k] + x, part = sum - high[k];
        low[k] += (high[k] - (sum - part)) + (x - part);
        high[k] = sum;
    }
    QVO_INLINE void add(const double* from) {
        Doubles x[n];
        std::memcpy(x, from, sizeof x);
        for (size_t k = 0; k < n; ++k) add(k, x[k]);
    }
};

/// Adds n values, a multiple of the lanes, and returns how many are present: what is missing counts as 0.
template <size_t bytes> QVO_INLINE uint64_t add_single(Lanes& to, const double* values, size_t n) {
    using V = Vectors<bytes>;
    V sums(to);
    typename V::Integers present[V::n] = {};
    for (size_t i = 0; i < n; i += lanes)
        for (size_t k = 0; k < V::n; ++k) {
            typename V::Doubles x;
            std::memcpy(&x, values + i + k * V::width, sizeof x);
            const typename V::Integers there = x == x;  // all ones where it is
            present[k] -= there;
            sums.add(k, reinterpret_cast<typename V::Doubles>(reinterpret_cast<typename V::Integers>(x) & there));
        }
    sums.put(to);
    uint64_t n_present = 0;
    for (size_t k = 0; k < lanes; ++k) n_present += static_cast<uint64_t>(present[k / V::width][k % V::width]);
    return n_present;
}

QVO_INLINE uint64_t add_with_runs(Lanes& to, const double* values, const uint8_t* first_run, size_t n) {
    Vectors<32> sums(to);
    uint64_t present = 0;
    const auto add = [&](size_t i, size_t some) __attribute__((always_inline)) {
        double high[lanes] = {}, low[lanes] = {};
        for (size_t k = 0; k < some; ++k) {
            const unsigned run = first_run[-static_cast<ptrdiff_t>(i + k)];
            const double x = values[i + k] == values[i + k] ? values[i + k] : 0.0, top = upper_digits(x);
            high[k] = top * run;
            low[k] = x - x == 0.0 ? (x - top) * run : 0.0;
            present += values[i + k] == values[i + k] ? run : 0;
        }
        sums.add(high);
        sums.add(low);
    };
    size_t i = 0;
    for (; i + lanes <= n; i += lanes) add(i, lanes);
    if (i != n) add(i, n - i);
    sums.put(to);
    return present;
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

void RealSum::add(const double* values, const uint8_t* first_run, size_t n) {
    if (leading_single_runs(first_run, n) != n) {
        present_ += for_cpu<add_with_runs>(lanes_, values, first_run, n);
        return;
    }
    const auto add = [&](const double* from, size_t count) {
        return cpu_level >= CpuLevel::avx512 ? for_cpu<add_single<64>, CpuLevel::avx512>(lanes_, from, count)
                                             : for_cpu<add_single<32>>(lanes_, from, count);
    };
    const size_t whole = n / lanes * lanes;
    present_ += add(values, whole);
    if (whole == n) return;
    double rest[lanes];
    std::fill_n(rest, lanes, std::numeric_limits<double>::quiet_NaN());
    std::copy(values + whole, values + n, rest);
    present_ += add(rest, lanes);
}

Summed RealSum::total() const {
    Summed all{{}, present_};
    for (size_t k = 0; k < lanes; ++k) all.sum.add({lanes_.high[k], lanes_.low[k]});
    return all;
}

Summed sum_values(const double* values, const uint8_t* first_run, size_t n) {
    RealSum sum;
    sum.add(values, first_run, n);
    return sum.total();
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
