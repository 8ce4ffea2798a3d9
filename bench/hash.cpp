// Aggregates by hash beside std::unordered_map over flat arrays of the same keys and values.
#include <array>
#include <limits>
#include <unordered_map>
#include <utility>

#include "support.h"

namespace qvo::bench {
namespace {

using Construct = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h,
                              qvo_size_t);

constexpr size_t rows = 4'000'000;

/// Keys drawn from `distinct` numbers, and small values.
struct Rows {
    Column<int32_t> keys, values;

    explicit Rows(unsigned distinct, Runs runs) : values(random_column<int32_t>(rows, runs, 1)) {
        std::mt19937 random(2);
        std::uniform_int_distribution<uint32_t> key(0, distinct - 1);
        keys = values;
        // Spread over the whole range, so that no hash has it easy.
        for (int32_t& k : keys.values) k = static_cast<int32_t>(key(random) * 2654435761U);
    }
    /// Made once for each shape.
    static const Rows& of(unsigned distinct, Runs runs) {
        static std::vector<std::pair<std::pair<unsigned, unsigned>, Rows*>> all;
        for (const auto& [shape, made] : all)
            if (shape == std::pair(distinct, runs.longest)) return *made;
        all.emplace_back(std::pair(distinct, runs.longest), new Rows(distinct, runs));
        return *all.back().second;
    }
};

// A family: what a group is while rows are added to it, and in the end; and how the library's is made.

/// Adds a term per row to the row's group.
template <class Op> struct Terms {
    using State = int64_t;
    using Result = int64_t;
    static QVO_RET build(qvo_seq_iterator_t& agg) { return agg.prepare(&agg); }
    static auto groups(const Rows& rows, unsigned distinct) {
        std::unordered_map<int, typename Op::State> map;
        map.reserve(distinct);
        for (size_t i = 0; i < rows.keys.values.size(); ++i)
            Op::add(map[rows.keys.values[i]], rows.values.values[i], rows.values.runs[i]);
        return map;
    }
    template <class State> static auto result(const State& state) { return state; }
};

struct Sum : Terms<Sum> {
    static constexpr Construct construct = qvo_seq_hash_agg_sum_int4;
    static void add(State& sum, int32_t value, unsigned run) { sum += int64_t{value} * run; }
};
struct Count : Terms<Count> {
    static QVO_RET construct(qvo_seq_iterator_h agg, qvo_seq_iterator_h grp, qvo_seq_iterator_h,
                             qvo_seq_iterator_h group_by, qvo_size_t n) {
        return qvo_seq_hash_agg_count(agg, grp, group_by, n);
    }
    static void add(State& count, int32_t, unsigned run) { count += run; }
};
struct Max : Terms<Max> {  // of positive values
    using State = int32_t;
    using Result = int32_t;
    static constexpr Construct construct = qvo_seq_hash_agg_max_int4;
    static void add(State& max, int32_t value, unsigned) { max = std::max(max, value); }
};
struct Min : Terms<Min> {
    struct State {
        int32_t min = std::numeric_limits<int32_t>::max();
    };
    using Result = int32_t;
    static constexpr Construct construct = qvo_seq_hash_agg_min_int4;
    static void add(State& s, int32_t value, unsigned) { s.min = std::min(s.min, value); }
    static int32_t result(const State& s) { return s.min; }
};
struct Average : Terms<Average> {
    struct State {
        double sum = 0;
        uint64_t count = 0;
    };
    using Result = double;
    static constexpr Construct construct = qvo_seq_hash_agg_avg_int4;
    static void add(State& s, int32_t value, unsigned run) {
        s.sum += static_cast<double>(uint64_t{run} * static_cast<uint64_t>(value));
        s.count += run;
    }
    static double result(const State& s) { return s.sum / static_cast<double>(s.count); }
};
struct Sketched : Terms<Sketched> {
    using State = std::array<qvo_uint1, 128>;
    using Result = qvo_uint4;
    static constexpr Construct construct = qvo_seq_hash_agg_approxdc;
    static void add(State& sketch, int32_t value, unsigned) {
        calculate_hash_functions(&value, sizeof value, sketch.data());
    }
    static qvo_uint4 result(const State& sketch) { return approximate_distinct_count(sketch.data()); }
};

/// The number of different values, of which there are about a hundred in all, that come at so many positions or more.
template <unsigned Least> struct Distinct {
    using Result = int64_t;
    static QVO_RET construct(qvo_seq_iterator_h agg, qvo_seq_iterator_h grp, qvo_seq_iterator_h input,
                             qvo_seq_iterator_h group_by, qvo_size_t n) {
        return Least == 1 ? qvo_seq_hash_agg_distinct_count(agg, grp, input, group_by, n, 100 * n)
                          : qvo_seq_hash_agg_dup_count(agg, grp, input, group_by, n, 100 * n, Least);
    }
    static QVO_RET build(qvo_seq_iterator_t& agg) { return qvo_seq_dup_hash_initialize(&agg); }
    static auto groups(const Rows& rows, unsigned distinct) {
        std::unordered_map<uint64_t, uint64_t> pairs;
        std::unordered_map<int, int64_t> map;
        pairs.reserve(size_t{100} * distinct);
        map.reserve(distinct);
        for (size_t i = 0; i < rows.keys.values.size(); ++i) {
            const auto key = static_cast<uint32_t>(rows.keys.values[i]),
                       value = static_cast<uint32_t>(rows.values.values[i]);
            uint64_t& count = pairs[uint64_t{key} << 32 | value];
            const uint64_t before = std::exchange(count, count + rows.values.runs[i]);
            map[rows.keys.values[i]] += before < Least && count >= Least;
        }
        return map;
    }
    static int64_t result(int64_t count) { return count; }
};

template <class Op> void run_map(benchmark::State& state, unsigned distinct) {
    const Rows& data = Rows::of(distinct, single_runs);
    double elements = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Op::groups(data, distinct));
        elements += rows;
    }
    count(state, elements, elements);
}

template <class Op>
bool is_right(qvo_seq_iterator_t& agg, qvo_seq_iterator_t& grp, const Rows& data, unsigned distinct) {
    using Result = typename Op::Result;
    auto expected = Op::groups(data, distinct);
    size_t groups = 0;
    std::vector<Result> results;
    while (agg.next(&agg) == QVO_S_OK) {
        const auto* delivered = reinterpret_cast<const Result*>(agg.tile.u.arr_uint1);
        results.insert(results.end(), delivered, delivered + agg.tile_size);
    }
    while (grp.next(&grp) == QVO_S_OK)
        for (size_t i = 0; i < grp.tile_size; ++i)
            if (Op::result(expected[grp.tile.u.arr_int4[i]]) != results[groups++]) return false;
    return groups == expected.size();
}

template <class Op> void run_hash(benchmark::State& state, unsigned distinct, Runs runs) {
    const Rows& data = Rows::of(distinct, runs);
    const double positions = static_cast<double>(data.keys.positions());
    Source<int32_t> keys(data.keys), values(data.values);
    double elements = 0;
    bool checked = false;
    for (auto _ : state) {
        keys.get()->reset(keys.get());
        values.get()->reset(values.get());
        static qvo_seq_iterator_t agg, grp;
        if (Op::construct(&agg, &grp, values.get(), keys.get(), distinct) != QVO_S_OK || Op::build(agg) != QVO_S_OK)
            return fail(state);
        elements += rows;
        state.PauseTiming();
        if (!checked && !is_right<Op>(agg, grp, data, distinct)) return fail(state);
        checked = true;
        state.ResumeTiming();
        qvo_seq_release_hash(&agg);
    }
    count(state, elements, elements / rows * positions);
}

template <class Op> void add_family(const char* family, std::initializer_list<unsigned> numbers_of_keys) {
    for (const unsigned distinct : numbers_of_keys) {
        const std::string type = "int4_" + std::to_string(distinct);
        add_case(family, type, "flat", [=](benchmark::State& state) { run_map<Op>(state, distinct); });
        add_case(family, type, "single", [=](benchmark::State& state) { run_hash<Op>(state, distinct, single_runs); });
        add_case(family, type, "short", [=](benchmark::State& state) { run_hash<Op>(state, distinct, short_runs); });
        add_case(family, type, "full", [=](benchmark::State& state) { run_hash<Op>(state, distinct, full_runs); });
    }
}

QVO_BENCH_FAMILIES(hash) {
    add_family<Sum>("hash_agg_sum", {10, 1000, 1000000});
    add_family<Max>("hash_agg_max", {10, 1000, 1000000});
    add_family<Min>("hash_agg_min", {1000});
    add_family<Average>("hash_agg_avg", {1000, 1000000});
    add_family<Count>("hash_agg_count", {10, 1000, 1000000});
    add_family<Sketched>("hash_agg_approxdc", {1000});
    add_family<Distinct<1>>("hash_agg_distinct_count", {10, 1000});
    add_family<Distinct<2>>("hash_agg_dup_count", {1000});
}

}  // namespace
}  // namespace qvo::bench
