// Aggregates of groups of consecutive keys beside a plain loop over flat arrays.
#include "support.h"

namespace qvo::bench {
namespace {

using Construct = QVO_RET (*)(qvo_seq_iterator_h result, qvo_seq_iterator_h values, qvo_seq_iterator_h weights,
                              qvo_seq_iterator_h keys);

constexpr size_t rows = 1'000'000;

/// A value per position, and keys of which each stands for `group` positions: as one run, or as equal neighbours.
template <class V> struct Rows {
    Column<V> values;
    Column<int32_t> keys;

    Rows(unsigned group, bool runs, Runs value_runs)
        : values(random_column<V>(rows / value_runs.longest, value_runs, 1)) {
        const size_t n = values.positions();
        for (size_t at = 0; at < n; at += runs ? group : 1) {
            keys.values.push_back(static_cast<int32_t>(at / group));
            keys.runs.push_back(static_cast<uint8_t>(runs ? std::min<size_t>(group, n - at) : 1));
        }
    }
};

struct Sum {
    template <class S, class V> static void plain(const V* values, const int32_t* keys, size_t n, std::vector<S>& out) {
        for (size_t i = 0; i < n;) {
            S sum = 0;
            for (const int32_t key = keys[i]; i < n && keys[i] == key; ++i) sum += static_cast<S>(values[i]);
            out.push_back(sum);
        }
    }
};
struct Max {
    template <class S, class V> static void plain(const V* values, const int32_t* keys, size_t n, std::vector<S>& out) {
        for (size_t i = 0; i < n;) {
            const int32_t key = keys[i];
            S max = values[i++];
            for (; i < n && keys[i] == key; ++i) max = values[i] > max ? values[i] : max;
            out.push_back(max);
        }
    }
};
struct Average {
    template <class S, class V> static void plain(const V* values, const int32_t* keys, size_t n, std::vector<S>& out) {
        for (size_t i = 0; i < n;) {
            double sum = 0;
            const size_t first = i;
            for (const int32_t key = keys[i]; i < n && keys[i] == key; ++i) sum += static_cast<double>(values[i]);
            out.push_back(sum / static_cast<double>(i - first));
        }
    }
};

struct First {
    template <class S, class V> static void plain(const V* values, const int32_t* keys, size_t n, std::vector<S>& out) {
        for (size_t i = 0; i < n; ++i)
            if (i == 0 || keys[i] != keys[i - 1]) out.push_back(values[i]);
    }
};
struct Variance {
    template <class S, class V> static void plain(const V* values, const int32_t* keys, size_t n, std::vector<S>& out) {
        for (size_t i = 0; i < n;) {
            double s = 0, q = 0;
            const size_t first = i;
            for (const int32_t key = keys[i]; i < n && keys[i] == key; ++i) {
                s += static_cast<double>(values[i]);
                q += static_cast<double>(values[i]) * static_cast<double>(values[i]);
            }
            const auto count = static_cast<double>(i - first);
            out.push_back((q - s * s / count) / count);
        }
    }
};
struct Count {
    template <class S, class V> static void plain(const V*, const int32_t* keys, size_t n, std::vector<S>& out) {
        for (size_t i = 0; i < n;) {
            const size_t first = i;
            for (const int32_t key = keys[i]; i < n && keys[i] == key;) ++i;
            out.push_back(i - first);
        }
    }
};
struct Distinct {
    template <class S, class V> static void plain(const V* values, const int32_t* keys, size_t n, std::vector<S>& out) {
        for (size_t i = 0; i < n;) {
            qvo_uint1 sketch[128] = {};
            for (const int32_t key = keys[i]; i < n && keys[i] == key; ++i)
                calculate_hash_functions(&values[i], sizeof(V), sketch);
            out.push_back(approximate_distinct_count(sketch));
        }
    }
};
/// The values are the weights too. What the sum is divided by depends on runs: see `is_right`.
struct WeightedAverage {
    template <class S, class V> static void plain(const V* values, const int32_t* keys, size_t n, std::vector<S>& out) {
        for (size_t i = 0; i < n;) {
            double sum = 0;
            for (const int32_t key = keys[i]; i < n && keys[i] == key; ++i)
                sum += static_cast<double>(values[i]) * static_cast<double>(values[i]);
            out.push_back(static_cast<S>(sum / static_cast<double>(values[i - 1])));
        }
    }
};

template <class Op, class V, class S> bool is_right(qvo_seq_iterator_t& it, const Rows<V>& data) {
    const auto values = data.values.flat();
    const auto keys = data.keys.flat();
    std::vector<S> expected;
    Op::template plain<S>(values.data(), keys.data(), values.size(), expected);
    if (std::is_same_v<Op, WeightedAverage> && data.values.runs[0] + data.values.runs[1] != 2) return true;
    return delivers(it, expected);
}

template <class Op, class V, class S>
void run_groups(benchmark::State& state, Construct construct, unsigned group, bool runs, Runs value_runs) {
    const Rows<V> data(group, runs, value_runs);
    Source<V> values(data.values), weights(data.values);
    Source<int32_t> keys(data.keys);
    static qvo_seq_iterator_t it;
    if (construct(&it, values.get(), weights.get(), keys.get()) != QVO_S_OK || !is_right<Op, V, S>(it, data))
        return fail(state);
    double elements = 0;
    for (auto _ : state) {
        it.reset(&it);
        while (it.next(&it) == QVO_S_OK) benchmark::ClobberMemory();
        elements += static_cast<double>(data.values.values.size());
    }
    count(state, elements,
          elements / static_cast<double>(data.values.values.size()) * static_cast<double>(data.values.positions()));
}

template <class Op, class V, class S> void run_flat(benchmark::State& state, unsigned group) {
    const Rows<V> data(group, false, single_runs);
    std::vector<S> out;
    double elements = 0;
    for (auto _ : state) {
        out.clear();
        Op::template plain<S>(data.values.values.data(), data.keys.values.data(), data.values.values.size(), out);
        benchmark::DoNotOptimize(out.data());
        elements += static_cast<double>(data.values.values.size());
    }
    count(state, elements, elements);
}

// Runs of 100 on both sides, and groups of that many runs: beside a loop over flat arrays of keys, values and runs.
template <class V> struct RunRows {
    Column<V> values = random_column<V>(rows / 10, {100, 100}, 1);
    Column<int32_t> keys;

    explicit RunRows(size_t group) {
        for (size_t i = 0; i < values.values.size(); ++i) keys.values.push_back(static_cast<int32_t>(i / group));
        keys.runs = values.runs;
    }
    template <class S> void plain(std::vector<S>& out) const {
        for (size_t i = 0; i < keys.values.size();) {
            S sum = 0;
            for (const int32_t key = keys.values[i]; i < keys.values.size() && keys.values[i] == key; ++i)
                sum += static_cast<S>(values.values[i]) * values.runs[i];
            out.push_back(sum);
        }
    }
};

template <class V, class S> void run_run_groups(benchmark::State& state, Construct construct, size_t group) {
    const RunRows<V> data(group);
    Source<V> values(data.values);
    Source<int32_t> keys(data.keys);
    std::vector<S> expected;
    data.plain(expected);
    static qvo_seq_iterator_t it;
    if (construct(&it, values.get(), nullptr, keys.get()) != QVO_S_OK || !delivers(it, expected)) return fail(state);
    double runs = 0;
    for (auto _ : state) {
        it.reset(&it);
        while (it.next(&it) == QVO_S_OK) benchmark::ClobberMemory();
        runs += static_cast<double>(data.values.values.size());
    }
    count(state, runs, runs * data.values.runs[0]);
}

template <class V, class S> void run_flat_runs(benchmark::State& state, size_t group) {
    const RunRows<V> data(group);
    std::vector<S> out;
    double runs = 0;
    for (auto _ : state) {
        out.clear();
        data.plain(out);
        benchmark::DoNotOptimize(out.data());
        runs += static_cast<double>(data.values.values.size());
    }
    count(state, runs, runs);
}

template <class Op, class V, class S>
void add_groups(const std::string& family, const char* type, Construct construct, unsigned group) {
    const auto add = [&](const char* shape, bool runs, Runs value_runs) {
        add_case(family, type + ("_of_" + std::to_string(group)), shape,
                 [=](benchmark::State& state) { run_groups<Op, V, S>(state, construct, group, runs, value_runs); });
    };
    add_case(family, type + ("_of_" + std::to_string(group)), "flat",
             [=](benchmark::State& state) { run_flat<Op, V, S>(state, group); });
    add("single", false, single_runs);
    add("key_runs", true, single_runs);
    add("both_runs", true, {10, 10});
    add("short", true, short_runs);
    add("full", true, full_runs);
}

template <class V, class S> void add_sum(const char* type, Construct construct) {
    for (const unsigned group : {1U, 10U, 100U}) {
        add_groups<Sum, V, S>("group_agg_sum", type, construct, group);
        const std::string name = std::string(type) + "_of_" + std::to_string(group);
        add_case("group_agg_sum_runs", name, "flat", [=](benchmark::State& s) { run_flat_runs<V, S>(s, group); });
        add_case("group_agg_sum_runs", name, "runs",
                 [=](benchmark::State& s) { run_run_groups<V, S>(s, construct, group); });
    }
}

#define MEMBER(name, type)                                                                                  \
    [](qvo_seq_iterator_h result, qvo_seq_iterator_h values, qvo_seq_iterator_h, qvo_seq_iterator_h keys) { \
        return qvo_seq_group_agg_##name##_##type(result, values, keys);                                     \
    }
#define MEMBERS(type, V)                                                                              \
    add_sum<V, std::conditional_t<std::is_integral_v<V>, int64_t, double>>(#type, MEMBER(sum, type)); \
    add_groups<Max, V, V>("group_agg_max", #type, MEMBER(max, type), 10);                             \
    add_groups<First, V, V>("group_agg_first", #type, MEMBER(first, type), 10);                       \
    add_groups<Average, V, double>("group_agg_avg", #type, MEMBER(avg, type), 10);                    \
    add_groups<Variance, V, double>("group_agg_var", #type, MEMBER(var, type), 10);                   \
    add_groups<WeightedAverage, V, std::conditional_t<std::is_integral_v<V>, int64_t, double>>(       \
        "group_agg_wavg", #type, qvo_seq_group_agg_wavg_##type, 10);

QVO_BENCH_FAMILIES(group) {
    MEMBERS(int4, int32_t)
    MEMBERS(double, double)
    const Construct counts = [](qvo_seq_iterator_h result, qvo_seq_iterator_h, qvo_seq_iterator_h,
                                qvo_seq_iterator_h keys) { return qvo_seq_group_agg_count(result, keys); };
    const Construct distinct = [](qvo_seq_iterator_h result, qvo_seq_iterator_h values, qvo_seq_iterator_h,
                                  qvo_seq_iterator_h keys) { return qvo_seq_group_agg_approxdc(result, values, keys); };
    add_groups<Distinct, int32_t, uint32_t>("group_agg_approxdc", "int4", distinct, 100);
    for (const unsigned group : {1U, 10U, 100U})
        add_groups<Count, int32_t, uint64_t>("group_agg_count", "int4", counts, group);
}

}  // namespace
}  // namespace qvo::bench
