// Choice between two sequences by the conditions of a third, on tiles that are in cache.
#include "support.h"

namespace qvo::bench {
namespace {

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

/// Random conditions, half of them true.
Column<qvo_seq_bool> random_conditions(Runs runs) {
    auto column = random_column<qvo_seq_bool>(capacity<qvo_seq_bool>(), runs, 3);
    for (qvo_seq_bool& value : column.values) value = value > 50;
    return column;
}

/// out[i] = conditions[i] ? left : right. In lock-step both sides move on with every element, else the chosen one.
template <class V, bool LockStep>
void choose(V* __restrict out, const qvo_seq_bool* __restrict conditions, const V* __restrict left,
            const V* __restrict right, size_t n) {
    size_t at_left = 0;
    for (size_t i = 0; i < n; ++i) {
        const bool is_left = conditions[i] != 0;
        if constexpr (LockStep)
            out[i] = is_left ? left[i] : right[i];
        else
            out[i] = is_left ? left[at_left] : right[i - at_left];
        at_left += is_left;
    }
}

template <class V, bool LockStep> void run_flat(benchmark::State& state) {
    const auto conditions = random_conditions(single_runs);
    const auto a = random_column<V>(capacity<V>(), single_runs, 1), b = random_column<V>(capacity<V>(), single_runs, 2);
    std::vector<V> out(capacity<V>());
    double elements = 0;
    for (auto _ : state) {
        choose<V, LockStep>(out.data(), conditions.values.data(), a.values.data(), b.values.data(), out.size());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        elements += static_cast<double>(out.size());
    }
    count(state, elements, elements);
}

/// The first tile covers fewer positions than any of the operands' tiles with equal runs, so it is that of the arrays.
template <class V, bool LockStep>
bool tile_is_right(const qvo_seq_iterator_t& it, const std::vector<qvo_seq_bool>& conditions, const std::vector<V>& a,
                   const std::vector<V>& b) {
    std::vector<V> expected(capacity<V>());
    choose<V, LockStep>(expected.data(), conditions.data(), a.data(), b.data(), expected.size());
    return it.tile_size == expected.size() &&
           std::memcmp(it.tile.u.arr_uint1, expected.data(), expected.size() * sizeof(V)) == 0;
}

template <class V, bool LockStep>
void run_tiles(benchmark::State& state, Constructor construct, Runs condition_runs, Runs runs) {
    const auto conditions = random_conditions(condition_runs);
    const auto a = random_column<V>(capacity<V>(), runs, 1), b = random_column<V>(capacity<V>(), runs, 2);
    TileSource<qvo_seq_bool> sc(conditions);
    TileSource<V> sa(a), sb(b);
    qvo_seq_iterator_t it{};
    const bool aligned = condition_runs.shortest == condition_runs.longest && runs.shortest == runs.longest &&
                         condition_runs.shortest == runs.shortest;
    if (construct(&it, sc.get(), sa.get(), sb.get()) != QVO_S_OK || it.next(&it) != QVO_S_OK ||
        (aligned && !tile_is_right<V, LockStep>(it, conditions.values, a.values, b.values)))
        return fail(state);
    time_tiles(state, it);
}

template <class V, bool LockStep> void add_member(const char* family, const char* type, Constructor construct) {
    add_case(family, type, "flat", run_flat<V, LockStep>);
    const auto add = [=](const char* shape, Runs condition_runs, Runs runs) {
        add_case(family, type, shape,
                 [=](benchmark::State& state) { run_tiles<V, LockStep>(state, construct, condition_runs, runs); });
    };
    add("single", single_runs, single_runs);
    add("const", single_runs, full_runs);
    add("short", short_runs, short_runs);
    add("full", full_runs, full_runs);
}

#define FAMILY(type)                                                \
    add_member<qvo_##type, true>("iif", #type, qvo_seq_iif_##type); \
    add_member<qvo_##type, false>("if", #type, qvo_seq_if_##type);

QVO_BENCH_FAMILIES(choose) {
    FAMILY(int1)
    FAMILY(int4)
    FAMILY(double)
}

}  // namespace
}  // namespace qvo::bench
