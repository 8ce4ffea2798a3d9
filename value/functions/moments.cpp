#include "functions/moments.h"

#include "core/runs.h"

namespace qvo::value {
namespace {

constexpr size_t lanes = 8;

/// The sums of f(value) * run over what is present. Lanes are added up in a fixed order.
template <class F> QVO_INLINE double weighted_sum(const double* values, const uint8_t* first_run, size_t n, F f) {
    double sums[lanes] = {};
    size_t i = 0;
    for (; i + lanes <= n; i += lanes)
        for (size_t k = 0; k < lanes; ++k) {
            const double x = values[i + k], term = f(x) * first_run[-static_cast<ptrdiff_t>(i + k)];
            sums[k] += x == x ? term : 0.0;
        }
    for (; i < n; ++i)
        if (values[i] == values[i]) sums[0] += f(values[i]) * first_run[-static_cast<ptrdiff_t>(i)];
    double all = 0;
    for (const double sum : sums) all += sum;
    return all;
}

QVO_CPU_VARIANTS Moments two_passes(const double* values, const uint8_t* first_run, size_t n, uint64_t present,
                                    double near) {
    // Deviations from a value that is there: a constant's are exactly 0.
    Moments m{present, near, 0};
    const double count = static_cast<double>(present);
    m.mean += weighted_sum(values, first_run, n, [near](double x) { return x - near; }) / count;
    const double mean = m.mean;
    m.squares = weighted_sum(values, first_run, n, [mean](double x) { return (x - mean) * (x - mean); });
    return m;
}

}  // namespace

Moments moments_of(const double* values, const uint8_t* first_run, size_t n) {
    uint64_t present = 0;
    size_t first = n;
    for (size_t i = n; i-- > 0;)
        if (values[i] == values[i]) {
            present += first_run[-static_cast<ptrdiff_t>(i)];
            first = i;
        }
    return present == 0 ? Moments{} : two_passes(values, first_run, n, present, values[first]);
}

}  // namespace qvo::value
