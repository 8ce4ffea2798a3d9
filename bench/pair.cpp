// Aggregates of two whole sequences, beside plain loops over flat arrays.
#include <cmath>

#include "support.h"

namespace qvo::bench {
namespace {

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

constexpr size_t n_elements = 50'000;

// The values are small whole numbers, so every sum below is exact, and the same whether runs are expanded or not.
struct Covariance {
    template <class V> static double of(const V* x, const V* y, size_t size) {
        double sx = 0, sy = 0, sxy = 0;
        for (size_t i = 0; i < size; ++i) {
            sx += x[i];
            sy += y[i];
            sxy += static_cast<double>(x[i]) * y[i];
        }
        const double n = static_cast<double>(size);
        return (sxy - sx * sy / n) / n;
    }
};
struct Correlation {
    template <class V> static double of(const V* x, const V* y, size_t size) {
        double sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0;
        for (size_t i = 0; i < size; ++i) {
            sx += x[i];
            sy += y[i];
            sxx += static_cast<double>(x[i]) * x[i];
            sxy += static_cast<double>(x[i]) * y[i];
            syy += static_cast<double>(y[i]) * y[i];
        }
        const double n = static_cast<double>(size);
        return (sxy - sx * sy / n) / std::sqrt((syy - sy * sy / n) * (sxx - sx * sx / n));
    }
};
struct WeightedSum {
    template <class V> static double of(const V* x, const V* y, size_t size) {
        double sxy = 0;
        for (size_t i = 0; i < size; ++i) sxy += static_cast<double>(x[i]) * y[i];
        return sxy;
    }
};
struct WeightedAverage {
    template <class V> static double of(const V* x, const V* y, size_t size) {
        double sx = 0, sxy = 0;
        for (size_t i = 0; i < size; ++i) {
            sx += x[i];
            sxy += static_cast<double>(x[i]) * y[i];
        }
        return sxy / sx;
    }
};

template <class V, class Flat> void run_flat(benchmark::State& state) {
    const auto a = random_column<V>(n_elements, single_runs, 1), b = random_column<V>(n_elements, single_runs, 2);
    double elements = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Flat::of(a.values.data(), b.values.data(), n_elements));
        elements += n_elements;
    }
    count(state, elements, elements);
}

template <class V, class Flat> void run_pair(benchmark::State& state, Constructor construct, Runs left, Runs right) {
    const auto a = random_column<V>(n_elements, left, 1), b = random_column<V>(n_elements, right, 2);
    const auto x = a.flat(), y = b.flat();
    const size_t n = std::min(x.size(), y.size());
    const double expected = Flat::of(x.data(), y.data(), n);
    Source<V> sa(a), sb(b);
    qvo_seq_iterator_t it{};
    construct(&it, sa.get(), sb.get());
    double elements = 0, positions = 0;
    for (auto _ : state) {
        it.reset(&it);
        if (it.next(&it) != QVO_S_OK || it.tile.u.arr_double[0] != expected) return fail(state);
        elements += n_elements;
        positions += static_cast<double>(n);
    }
    count(state, elements, positions);
}

template <class V, class Flat> void add_member(const char* family, const char* type, Constructor construct) {
    add_case(family, type, "flat", run_flat<V, Flat>);
    const auto add = [=](const char* shape, Runs left, Runs right) {
        add_case(family, type, shape,
                 [=](benchmark::State& state) { run_pair<V, Flat>(state, construct, left, right); });
    };
    add("single", single_runs, single_runs);
    add("short", short_runs, short_runs);
    add("full", full_runs, full_runs);
}

#define FAMILY(type)                                                         \
    add_member<qvo_##type, Covariance>("cov", #type, qvo_seq_cov_##type);    \
    add_member<qvo_##type, Correlation>("corr", #type, qvo_seq_corr_##type); \
    add_member<qvo_##type, WeightedSum>("wsum", #type, qvo_seq_wsum_##type); \
    add_member<qvo_##type, WeightedAverage>("wavg", #type, qvo_seq_wavg_##type);

QVO_BENCH_FAMILIES(pairs) {
    FAMILY(int1)
    FAMILY(int4)
    FAMILY(double)
}

}  // namespace
}  // namespace qvo::bench
