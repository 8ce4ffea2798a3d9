#include "operators/moments.h"

#include <algorithm>
#include <cstring>

#include "core/runs.h"

namespace qvo::value {
namespace {

// Values are taken in blocks that stay in cache between the passes over them; sums run in lanes of a fixed order.
constexpr size_t block = 512;
typedef double Doubles __attribute__((vector_size(32)));
constexpr size_t width = sizeof(Doubles) / sizeof(double), vectors = 4, lanes = vectors * width;

QVO_INLINE double sum_of_lanes(const Doubles* sums) {
    double all = 0;
    for (size_t k = 0; k < lanes; ++k) all += sums[k / width][k % width];
    return all;
}

/// The sum of f(i) over vectors of lanes, n of them in all; f writes the vector from element i on.
template <class F> QVO_INLINE double sum_of(size_t n, F f) {
    Doubles sums[vectors] = {};
    for (size_t i = 0; i < n; i += lanes)
        for (size_t k = 0; k < vectors; ++k) {
            Doubles term;
            f(i + k * width, term);
            sums[k] += term;
        }
    return sum_of_lanes(sums);
}

/// As below, where all runs are 1: no weights but whether a value is there.
QVO_INLINE LongMoments moments_of_singles(const double* values, size_t n, double near) {
    const size_t whole = n / lanes * lanes;
    double rest[lanes];
    std::fill_n(rest, lanes, std::numeric_limits<double>::quiet_NaN());
    std::copy(values + whole, values + n, rest);
    /// The sum of what `f` makes of the values that are there.
    const auto sum_present = [&](auto f) __attribute__((always_inline)) {
        Doubles sums[vectors] = {};
        const auto add = [&](const double* from) __attribute__((always_inline)) {
            for (size_t k = 0; k < vectors; ++k) {
                Doubles x, term;
                std::memcpy(&x, from + k * width, sizeof x);
                const auto there = x == x;
                f(x, term);
                sums[k] += reinterpret_cast<Doubles>(reinterpret_cast<decltype(there)>(term) & there);
            }
        };
        for (size_t i = 0; i < whole; i += lanes) add(values + i);
        add(rest);
        return sum_of_lanes(sums);
    };
    const double present =
        sum_present([](const Doubles&, Doubles& term) __attribute__((always_inline)) { term = Doubles{} + 1; });
    const double offset =
        sum_present([&](const Doubles& x, Doubles& term) __attribute__((always_inline)) { term = x - near; }) / present;
    const double squares = sum_present([&](const Doubles& x, Doubles& term) __attribute__((always_inline)) {
        term = x - near;
        term -= offset;
        term *= term;
    });
    return {static_cast<uint64_t>(present), moved(near, offset), squares};
}

/// Of a block of `block` values at most, one of them present: deviations from that one, so that a constant's are
/// exactly 0, then from the mean.
QVO_INLINE LongMoments moments_of_block(const double* values, const uint8_t* first_run, size_t n, double near) {
    double weights[block], apart[block];
    for (size_t i = 0; i < n; ++i) {
        const double x = values[i], run = first_run[-static_cast<ptrdiff_t>(i)];
        weights[i] = x == x ? run : 0.0;
        apart[i] = x == x ? x - near : 0.0;
    }
    const size_t padded = (n + lanes - 1) / lanes * lanes;
    for (size_t i = n; i < padded; ++i) weights[i] = apart[i] = 0;
    const auto load = [](Doubles & to, const double* from) __attribute__((always_inline)) {
        std::memcpy(&to, from, sizeof to);
    };
    const double present = sum_of(
        padded, [&](size_t i, Doubles & term) __attribute__((always_inline)) { load(term, weights + i); });
    const double offset = sum_of(
                              padded,
                              [&](size_t i, Doubles & term) __attribute__((always_inline)) {
                                  Doubles weight;
                                  load(weight, weights + i);
                                  load(term, apart + i);
                                  term *= weight;
                              }) /
                          present;
    const double squares = sum_of(
        padded, [&](size_t i, Doubles & term) __attribute__((always_inline)) {
            Doubles weight;
            load(weight, weights + i);
            load(term, apart + i);
            term -= offset;
            term *= term * weight;
        });
    return {static_cast<uint64_t>(present), moved(near, offset), squares};
}

}  // namespace

LongMoments moments_of(const double* values, const uint8_t* first_run, size_t n) {
    LongMoments all;
    for (size_t i = 0; i < n; i += block) {
        const size_t here = n - i < block ? n - i : block;
        size_t first = 0;
        while (first < here && values[i + first] != values[i + first]) ++first;
        if (first == here) continue;
        const double near = values[i + first];
        all.merge(leading_single_runs(first_run - i, here) == here
                      ? for_cpu<moments_of_singles>(values + i, here, near)
                      : for_cpu<moments_of_block>(values + i, first_run - i, here, near));
    }
    return all;
}

}  // namespace qvo::value
