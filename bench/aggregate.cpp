// Aggregates, on tiles that are in cache.
#include <cmath>

#include "support.h"

namespace qvo::bench {
namespace {

// Tiles of one pass over the input.
constexpr size_t pass_tiles = 100;

/// An iterator that hands out one and the same tile pass_tiles times, then ends.
template <class V> class PassSource {
 public:
    explicit PassSource(const Column<V>& column) : source_(column) {
        get()->next(get());
        get()->next = [](qvo_seq_iterator_h it) -> QVO_RET {
            if (it->context[0] == 0) return QVO_S_CURSOR_END;
            --it->context[0];
            return QVO_S_OK;
        };
        get()->reset = [](qvo_seq_iterator_h it) -> QVO_RET {
            it->context[0] = pass_tiles;
            it->tile_offs = it->tile_size;
            return QVO_S_OK;
        };
        get()->reset(get());
    }
    qvo_seq_iterator_h get() { return source_.get(); }

 private:
    Source<V> source_;
};

// The plain loops: one pass over a flat array, that of one tile as often as there are tiles in a pass.
template <class V> using Sum = std::conditional_t<std::is_floating_point_v<V>, double, int64_t>;

struct FlatSum {
    template <class V> static auto of(const V* values, size_t n, size_t passes) {
        Sum<V> sum = 0;
        for (size_t p = 0; p < passes; ++p) {
            for (size_t i = 0; i < n; ++i) sum += values[i];
            benchmark::ClobberMemory();
        }
        return sum;
    }
};
struct FlatAverage {
    template <class V> static double of(const V* values, size_t n, size_t passes) {
        return static_cast<double>(FlatSum::of(values, n, passes)) / static_cast<double>(n * passes);
    }
};
struct FlatVariance {
    template <class V> static double of(const V* values, size_t n, size_t passes) {
        double s = 0, q = 0;
        for (size_t p = 0; p < passes; ++p) {
            for (size_t i = 0; i < n; ++i) {
                const auto v = static_cast<double>(values[i]);
                s += v;
                q += v * v;
            }
            benchmark::ClobberMemory();
        }
        const auto count = static_cast<double>(n * passes);
        return (q - s * s / count) / count;
    }
};
struct FlatMax {
    template <class V> static V of(const V* values, size_t n, size_t passes) {
        V max = values[0];
        for (size_t p = 0; p < passes; ++p) {
            for (size_t i = 0; i < n; ++i) max = values[i] > max ? values[i] : max;
            benchmark::ClobberMemory();
        }
        return max;
    }
};

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);

template <class V, class Flat> void run_flat(benchmark::State& state) {
    const auto column = random_column<V>(capacity<V>(), single_runs, 1);
    double elements = 0;
    for (auto _ : state) {
        auto result = Flat::of(column.values.data(), column.values.size(), pass_tiles);
        benchmark::DoNotOptimize(result);
        elements += static_cast<double>(column.values.size() * pass_tiles);
    }
    count(state, elements, elements);
}

template <class V, class Flat> void run_whole(benchmark::State& state, Constructor construct, Runs runs) {
    const auto column = random_column<V>(capacity<V>(), runs, 1);
    const auto flat = column.flat();
    const auto expected = Flat::of(flat.data(), flat.size(), pass_tiles);
    PassSource<V> source(column);
    qvo_seq_iterator_t it{};
    double elements = 0;
    if (construct(&it, source.get()) != QVO_S_OK) return fail(state);
    for (auto _ : state) {
        it.next(&it);
        it.reset(&it);
        elements += static_cast<double>(column.values.size() * pass_tiles);
    }
    if (std::memcmp(&expected, it.tile.u.arr_uint1, sizeof expected) != 0) return fail(state);
    count(state, elements, elements / static_cast<double>(column.values.size()) * static_cast<double>(flat.size()));
}

template <class V, class Flat> void add_whole(const char* family, const char* type, Constructor construct) {
    add_case(family, type, "flat", run_flat<V, Flat>);
    add_case(family, type, "single", [=](benchmark::State& s) { run_whole<V, Flat>(s, construct, single_runs); });
    add_case(family, type, "short", [=](benchmark::State& s) { run_whole<V, Flat>(s, construct, short_runs); });
    add_case(family, type, "full", [=](benchmark::State& s) { run_whole<V, Flat>(s, construct, full_runs); });
}

// Members with a result per position or cell, beside the textbook's loop over a flat array of one tile. `expect` is
// what the library delivers for all positions, in calls of `per_call` results.
constexpr size_t window = 10;

struct SumOfWindow {
    template <class S> static S of(S sum) { return sum; }
};
struct AverageOfWindow {
    template <class S> static double of(S sum) { return static_cast<double>(sum) / static_cast<double>(window); }
};
template <class Finish> struct FlatWindow {
    template <class R, class V> static void run(R* __restrict out, const V* __restrict values, size_t n) {
        Sum<V> sum = 0;
        for (size_t i = 0; i < n; ++i) {
            sum += values[i];
            if (i >= window) sum -= values[i - window];
            out[i] = Finish::of(sum);
        }
    }
    /// The values of a call all pass through one slot of the window; with a result per call that is the textbook's.
    template <class R, class V> static void expect(std::vector<R>& out, const std::vector<V>& values, size_t per_call) {
        Sum<V> slots[window] = {}, sum = 0;
        for (size_t i = 0; i < values.size(); ++i) {
            Sum<V>& slot = slots[i / per_call * per_call % window];
            sum -= slot;
            sum += slot = values[i];
            out.push_back(Finish::of(sum));
        }
    }
};
/// The same for a result that comes from all values of the window anew.
template <class Of> struct FlatSearch {
    template <class R, class V> static void run(R* __restrict out, const V* __restrict values, size_t n) {
        V slots[window] = {};
        for (size_t i = 0; i < n; ++i) {
            slots[i % window] = values[i];
            out[i] = static_cast<R>(Of::of(slots, window));
        }
    }
    template <class R, class V> static void expect(std::vector<R>& out, const std::vector<V>& values, size_t per_call) {
        V slots[window] = {};
        for (size_t i = 0; i < values.size(); ++i) {
            slots[i / per_call * per_call % window] = values[i];
            out.push_back(static_cast<R>(Of::of(slots, window)));
        }
    }
};

struct Adding {
    template <class S> static S apply(S a, S b) { return a + b; }
};
struct Greater {
    template <class S> static S apply(S a, S b) { return a > b ? a : b; }
};
struct Less {
    template <class S> static S apply(S a, S b) { return a < b ? a : b; }
};
template <class Op> struct FlatPrefix {
    template <class R, class V> static void run(R* __restrict out, const V* __restrict values, size_t n) {
        R result = out[0] = static_cast<R>(values[0]);
        for (size_t i = 1; i < n; ++i) out[i] = result = Op::apply(result, static_cast<R>(values[i]));
    }
    template <class R, class V> static void expect(std::vector<R>& out, const std::vector<V>& values, size_t) {
        out.resize(values.size());
        run(out.data(), values.data(), values.size());
    }
};

// Aggregates of a few values: of a cell, or of a window that is searched.
template <class Op> struct FewFolded {
    template <class V> static auto of(const V* values, size_t n) {
        using R = std::conditional_t<std::is_same_v<Op, Adding>, Sum<V>, V>;
        R result = static_cast<R>(values[0]);
        for (size_t i = 1; i < n; ++i) result = Op::apply(result, static_cast<R>(values[i]));
        return result;
    }
};
/// `less` is taken from the number of values throughout.
template <size_t less> struct FewVarianceOf {
    template <class V> static double of(const V* values, size_t n) {
        double s = 0, q = 0;
        for (size_t i = 0; i < n; ++i) {
            const auto v = static_cast<double>(values[i]);
            s += v;
            q += v * v;
        }
        const auto count = static_cast<double>(n - less);
        return (q - s * s / count) / count;
    }
};
using FewVariance = FewVarianceOf<0>;
using FewSampleVariance = FewVarianceOf<1>;
struct FewDeviation {
    template <class V> static double of(const V* values, size_t n) { return std::sqrt(FewVariance::of(values, n)); }
};
/// Smoothing, which begins with the second call; before that values are their own result.
struct FlatEma {
    static constexpr double alpha = 2.0 / (static_cast<double>(window) + 1);
    template <class V> static void run(double* __restrict out, const V* __restrict values, size_t n) {
        double smoothed = out[0] = static_cast<double>(values[0]);
        for (size_t i = 1; i < n; ++i)
            out[i] = smoothed = (1.0 - alpha) * smoothed + alpha * static_cast<double>(values[i]);
    }
    template <class V> static void expect(std::vector<double>& out, const std::vector<V>& values, size_t per_call) {
        double smoothed = 0;
        for (size_t i = 0; i < values.size(); ++i) {
            const auto v = static_cast<double>(values[i]);
            out.push_back(smoothed = i < per_call ? v : (1.0 - alpha) * smoothed + alpha * v);
        }
    }
};
/// The weight is that of the call.
struct FlatAtr {
    template <class V> static void run(double* __restrict out, const V* __restrict values, size_t n) {
        double smoothed = 0;
        for (size_t i = 0; i < n; ++i) {
            const auto k = static_cast<double>(std::min(i + 1, window));
            out[i] = smoothed = (smoothed * (k - 1) + static_cast<double>(values[i])) / k;
        }
    }
    template <class V> static void expect(std::vector<double>& out, const std::vector<V>& values, size_t per_call) {
        double smoothed = 0;
        for (size_t i = 0; i < values.size(); ++i) {
            const auto k = static_cast<double>(std::min(i / per_call * per_call + 1, window));
            out.push_back(smoothed = (smoothed * (k - 1) + static_cast<double>(values[i])) / k);
        }
    }
};
/// What is delivered is computed from all values of the window, what it is timed against from running sums.
struct FlatWindowVariance : FlatSearch<FewVariance> {
    template <class V> static void run(double* __restrict out, const V* __restrict values, size_t n) {
        constexpr auto count = static_cast<double>(window);
        double s = 0, q = 0;
        for (size_t i = 0; i < n; ++i) {
            const auto v = static_cast<double>(values[i]);
            const auto old = i >= window ? static_cast<double>(values[i - window]) : 0.0;
            s += v - old;
            q += v * v - old * old;
            out[i] = (q - s * s / count) / count;
        }
    }
};
template <class Of> struct FlatCells {
    template <class R, class V> static void run(R* __restrict out, const V* __restrict values, size_t n) {
        for (size_t at = 0; at < n; at += window) *out++ = Of::of(values + at, std::min(n - at, window));
    }
    template <class R, class V> static void expect(std::vector<R>& out, const std::vector<V>& values, size_t) {
        out.resize((values.size() + window - 1) / window);
        run(out.data(), values.data(), values.size());
    }
};

template <class V, class R, class Flat> void run_flat_positions(benchmark::State& state) {
    const auto column = random_column<V>(capacity<V>(), single_runs, 1);
    std::vector<R> out(column.values.size()), expected;
    Flat::expect(expected, column.values, 1);
    double elements = 0;
    for (auto _ : state) {
        Flat::run(out.data(), column.values.data(), column.values.size());
        benchmark::ClobberMemory();
        elements += static_cast<double>(column.values.size());
    }
    out.resize(expected.size());
    if (out != expected) return fail(state);
    count(state, elements, elements);
}

/// Elements are those of the input, so that runs show as positions.
template <class V, class R, class Flat, class Construct>
void run_positions(benchmark::State& state, Construct construct, Runs runs) {
    const auto column = random_column<V>(capacity<V>(), runs, 1);
    std::vector<V> flat;
    for (size_t pass = 0; pass < pass_tiles; ++pass)
        for (const V value : column.flat()) flat.push_back(value);
    std::vector<R> expected;
    Flat::expect(expected, flat, capacity<R>());
    PassSource<V> source(column);
    qvo_seq_iterator_t it{};
    if (construct(&it, source.get()) != QVO_S_OK || !delivers(it, expected)) return fail(state);
    double elements = 0, positions = 0;
    for (auto _ : state) {
        it.reset(&it);
        while (it.next(&it) == QVO_S_OK) it.tile_offs = 0;
        elements += static_cast<double>(column.values.size() * pass_tiles);
        positions += static_cast<double>(flat.size());
    }
    count(state, elements, positions);
}

template <class V, class R, class Flat, class Construct>
void add_positions(const char* family, const char* type, Construct construct) {
    add_case(family, type, "flat", run_flat_positions<V, R, Flat>);
    add_case(family, type, "single",
             [=](benchmark::State& s) { run_positions<V, R, Flat>(s, construct, single_runs); });
    add_case(family, type, "short", [=](benchmark::State& s) { run_positions<V, R, Flat>(s, construct, short_runs); });
    add_case(family, type, "full", [=](benchmark::State& s) { run_positions<V, R, Flat>(s, construct, full_runs); });
}

template <QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t)>
QVO_RET with_window(qvo_seq_iterator_h it, qvo_seq_iterator_h input) {
    return construct(it, input, window);
}

// Estimates of distinct counts beside a loop that only hashes.
struct FlatHash {
    template <class V> static uint32_t of(const V* values, size_t n, size_t passes) {
        uint32_t all = 0;
        for (size_t p = 0; p < passes; ++p) {
            for (size_t i = 0; i < n; ++i) all ^= plain_hash(values[i]);
            benchmark::ClobberMemory();
        }
        return all;
    }
};
struct FlatDistinct {
    template <class V> static uint32_t of(const V* values, size_t n, size_t) {
        constexpr double m = 128;
        int ranks[128] = {}, unseen = 0;
        for (size_t i = 0; i < n; ++i) {
            const uint32_t h = plain_hash(values[i]);
            int rank = 1;
            while (rank < 26 && (h >> (rank - 1) & 1) == 0) ++rank;
            ranks[h >> 25] = std::max(ranks[h >> 25], rank);
        }
        double sum = 0;
        for (const int rank : ranks) sum += std::pow(2.0, -rank);
        for (const int rank : ranks) unseen += rank == 0;
        double estimate = m * (m * (0.7213 / (1 + 1.079 / m))) / sum;
        if (estimate <= 2.5 * m && unseen > 0) estimate = m * std::log(m / unseen);
        return static_cast<uint32_t>(estimate);
    }
};

#define DISTINCT(type)                                                       \
    add_case("agg_approxdc", #type, "flat", run_flat<qvo_##type, FlatHash>); \
    add_case("agg_approxdc", #type, "single",                                \
             [](benchmark::State& s) { run_whole<qvo_##type, FlatDistinct>(s, qvo_seq_agg_approxdc, single_runs); });

#define WINDOW(name, type, R, ...) \
    add_positions<qvo_##type, R, __VA_ARGS__>("window_" #name, #type, with_window<qvo_seq_window_agg_##name##_##type>);
#define GRID(name, type, R, ...)                                               \
    add_positions<qvo_##type, R, FlatCells<__VA_ARGS__>>("grid_" #name, #type, \
                                                         with_window<qvo_seq_grid_agg_##name##_##type>);
#define POSITIONS(type)                                                                                           \
    WINDOW(sum, type, Sum<qvo_##type>, FlatWindow<SumOfWindow>)                                                   \
    WINDOW(avg, type, double, FlatWindow<AverageOfWindow>)                                                        \
    WINDOW(max, type, qvo_##type, FlatSearch<FewFolded<Greater>>)                                                 \
    WINDOW(var, type, double, FlatWindowVariance)                                                                 \
    add_positions<qvo_##type, Sum<qvo_##type>, FlatPrefix<Adding>>("cum_sum", #type, qvo_seq_cum_agg_sum_##type); \
    add_positions<qvo_##type, qvo_##type, FlatPrefix<Greater>>("cum_max", #type, qvo_seq_cum_agg_max_##type);     \
    GRID(sum, type, Sum<qvo_##type>, FewFolded<Adding>)                                                           \
    GRID(max, type, qvo_##type, FewFolded<Greater>)                                                               \
    GRID(var, type, double, FewVariance)

// One of the formulas is enough where others differ in the last step alone.
#define FURTHER(type)                                             \
    WINDOW(min, type, qvo_##type, FlatSearch<FewFolded<Less>>)    \
    WINDOW(var_samp, type, double, FlatSearch<FewSampleVariance>) \
    WINDOW(dev, type, double, FlatSearch<FewDeviation>)           \
    WINDOW(ema, type, double, FlatEma)                            \
    WINDOW(atr, type, double, FlatAtr)                            \
    GRID(min, type, qvo_##type, FewFolded<Less>)                  \
    GRID(dev, type, double, FewDeviation)

#define WHOLE(type)                                                                \
    add_whole<qvo_##type, FlatSum>("agg_sum", #type, qvo_seq_agg_sum_##type);      \
    add_whole<qvo_##type, FlatAverage>("agg_avg", #type, qvo_seq_agg_avg_##type);  \
    add_whole<qvo_##type, FlatVariance>("agg_var", #type, qvo_seq_agg_var_##type); \
    add_whole<qvo_##type, FlatMax>("agg_max", #type, qvo_seq_agg_max_##type);

QVO_BENCH_FAMILIES(aggregates) {
    WHOLE(int1)
    WHOLE(int4)
    WHOLE(double)
    POSITIONS(int1)
    POSITIONS(int4)
    POSITIONS(double)
    FURTHER(int4)
    FURTHER(double)
    DISTINCT(int4)
    DISTINCT(double)
}

}  // namespace
}  // namespace qvo::bench
