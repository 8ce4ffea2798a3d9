#include "functions/co_moments.h"

#include "core/runs.h"

namespace qvo::value {
namespace {

constexpr size_t lanes = 8;

/// What an element counts.
struct One {
    QVO_INLINE double operator()(size_t) const { return 1.0; }
};
struct Run {
    const uint8_t* first_run;
    QVO_INLINE double operator()(size_t i) const { return first_run[-static_cast<ptrdiff_t>(i)]; }
};

QVO_INLINE bool present(double y, double x) { return y == y && x == x; }

/// K sums over the pairs that are present. Lanes are added up in a fixed order.
template <size_t K> struct Sums {
    double lane[K][lanes] = {};

    QVO_INLINE void add(size_t k, bool counts, const double* term, double weight) {
        for (size_t j = 0; j < K; ++j) lane[j][k] += counts ? term[j] * weight : 0.0;
    }
    double total(size_t j) const {
        double all = 0;
        for (const double sum : lane[j]) all += sum;
        return all;
    }
};
template <size_t K, class Weight, class Terms>
QVO_INLINE Sums<K> sums(const double* y, const double* x, Weight weight, size_t n, Terms terms) {
    Sums<K> all;
    double term[K];
    size_t i = 0;
    for (; i + lanes <= n; i += lanes)
        for (size_t k = 0; k < lanes; ++k) {
            terms(y[i + k], x[i + k], term);
            all.add(k, present(y[i + k], x[i + k]), term, weight(i + k));
        }
    for (; i < n; ++i) {
        terms(y[i], x[i], term);
        all.add(0, present(y[i], x[i]), term, weight(i));
    }
    return all;
}

template <class Weight>
QVO_INLINE CoMoments two_passes(const double* y, const double* x, Weight weight, size_t n, size_t first) {
    // Deviations from a pair that is there: a constant's are exactly 0.
    const double near_y = y[first], near_x = x[first];
    const Sums<3> sum = sums<3>(y, x, weight, n, [=](double a, double b, double* term) {
        term[0] = 1.0;
        term[1] = a - near_y;
        term[2] = b - near_x;
    });
    const double count = sum.total(0);
    CoMoments m;
    m.n = static_cast<uint64_t>(count);
    const double offset_y = sum.total(1) / count, offset_x = sum.total(2) / count;
    const Sums<3> squares = sums<3>(y, x, weight, n, [=](double a, double b, double* term) {
        const double off_y = (a - near_y) - offset_y, off_x = (b - near_x) - offset_x;
        term[0] = off_y * off_y;
        term[1] = off_x * off_x;
        term[2] = off_y * off_x;
    });
    m.mean_y = moved(near_y, offset_y);
    m.mean_x = moved(near_x, offset_x);
    m.squares_y = squares.total(0);
    m.squares_x = squares.total(1);
    m.products = squares.total(2);
    return m;
}

QVO_INLINE CoMoments of_singles(const double* y, const double* x, size_t n, size_t first) {
    return two_passes(y, x, One{}, n, first);
}
QVO_INLINE CoMoments of_runs(const double* y, const double* x, const uint8_t* first_run, size_t n, size_t first) {
    return two_passes(y, x, Run{first_run}, n, first);
}

}  // namespace

CoMoments co_moments_of(const double* y, const double* x, const uint8_t* first_run, size_t n) {
    size_t first = 0;
    while (first < n && !present(y[first], x[first])) ++first;
    if (first == n) return {};
    return leading_single_runs(first_run, n) == n ? for_cpu<of_singles>(y, x, n, first)
                                                  : for_cpu<of_runs>(y, x, first_run, n, first);
}

}  // namespace qvo::value
