#include "operators/moments.h"

#include <cstring>

#include "core/runs.h"

namespace qvo::value {
namespace {

// Values are taken in blocks that stay in cache between the passes over them; sums run in lanes of a fixed order.
constexpr size_t block = 512;
typedef double Doubles __attribute__((vector_size(32)));
constexpr size_t width = sizeof(Doubles) / sizeof(double), vectors = 2, lanes = vectors * width;

/// The sum of f(i) over vectors of lanes, n of them in all; f writes the vector from element i on.
template <class F> QVO_INLINE double sum_of(size_t n, F f) {
    Doubles sums[vectors] = {};
    for (size_t i = 0; i < n; i += lanes)
        for (size_t k = 0; k < vectors; ++k) {
            Doubles term;
            f(i + k * width, term);
            sums[k] += term;
        }
    double all = 0;
    for (size_t k = 0; k < lanes; ++k) all += sums[k / width][k % width];
    return all;
}

/// Of a block of `block` values at most, one of them present: deviations from that one, so that a constant's are
/// exactly 0, then from the mean.
QVO_CPU_VARIANTS Moments moments_of_block(const double* values, const uint8_t* first_run, size_t n, double near) {
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
    return {static_cast<uint64_t>(present), near + offset, squares};
}

}  // namespace

Moments moments_of(const double* values, const uint8_t* first_run, size_t n) {
    Moments all;
    for (size_t i = 0; i < n; i += block) {
        const size_t here = n - i < block ? n - i : block;
        size_t first = 0;
        while (first < here && values[i + first] != values[i + first]) ++first;
        if (first < here) all.merge(moments_of_block(values + i, first_run - i, here, values[i + first]));
    }
    return all;
}

}  // namespace qvo::value
