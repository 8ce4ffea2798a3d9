// Top-N selection beside a pass over a flat array that only compares, and counts what is larger.
#include "support.h"

namespace qvo::bench {
namespace {

using Construct = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t);

constexpr size_t rows = 10'000'000, top = 100;

template <class V> const Column<V>& column() {
    static const Column<V> made = [] {
        Column<V> c;
        std::mt19937_64 random(1);
        for (size_t i = 0; i < rows; ++i) c.values.push_back(static_cast<V>(random() >> 34));
        c.runs.assign(rows, 1);
        return c;
    }();
    return made;
}

template <class V> void run_flat(benchmark::State& state) {
    const std::vector<V>& values = column<V>().values;
    V limit = values[0];
    double elements = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(limit);
        size_t larger = 0;
        for (const V v : values) larger += v > limit;
        benchmark::DoNotOptimize(larger);
        elements += rows;
    }
    count(state, elements, elements);
}

template <class V> void run_top(benchmark::State& state, Construct construct, bool positions) {
    const std::vector<V>& values = column<V>().values;
    Source<V> source(column<V>());
    static qvo_seq_iterator_t it;
    double elements = 0;
    for (auto _ : state) {
        source.get()->reset(source.get());
        if (construct(&it, source.get(), top) != QVO_S_OK || it.next(&it) != QVO_S_OK || it.tile_size != top)
            return fail(state);
        elements += rows;
    }
    std::vector<V> expected(top), kept(top);
    std::partial_sort_copy(values.begin(), values.end(), expected.begin(), expected.end(), std::greater<V>());
    std::memcpy(kept.data(), it.tile.u.arr_uint1, top * sizeof(V));
    if (positions)
        for (size_t i = 0; i < top; ++i) kept[i] = values[it.tile.u.arr_uint8[i]];
    if (kept != expected) return fail(state);
    count(state, elements, elements);
}

/// The source alone: what pulling the tiles costs.
template <class V> void run_pull(benchmark::State& state) {
    Source<V> source(column<V>());
    double elements = 0;
    for (auto _ : state) {
        source.get()->reset(source.get());
        while (source.get()->next(source.get()) == QVO_S_OK) benchmark::ClobberMemory();
        elements += rows;
    }
    count(state, elements, elements);
}

#define FAMILY(type)                                                                                      \
    add_case("top_max", #type, "flat", run_flat<qvo_##type>);                                             \
    add_case("top_max", #type, "source", run_pull<qvo_##type>);                                           \
    add_case("top_max", #type, "top100",                                                                  \
             [](benchmark::State& state) { run_top<qvo_##type>(state, qvo_seq_top_max_##type, false); }); \
    add_case("top_max", #type, "pos100",                                                                  \
             [](benchmark::State& state) { run_top<qvo_##type>(state, qvo_seq_top_pos_max_##type, true); });

QVO_BENCH_FAMILIES(top) {
    FAMILY(int4)
    FAMILY(double)
}

}  // namespace
}  // namespace qvo::bench
