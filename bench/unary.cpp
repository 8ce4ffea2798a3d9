// Element-wise operators over one sequence, on tiles that are in cache: absolute value, negation, conversions.
#include "support.h"

namespace qvo::bench {
namespace {

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);

/// Values of both signs where the type has them.
template <class V> Column<V> signed_column(Runs runs) {
    Column<V> column = random_column<V>(capacity<V>(), runs, 1);
    for (size_t i = 0; i < column.values.size(); i += 3) column.values[i] = static_cast<V>(0 - column.values[i]);
    return column;
}

/// The result tile against the operation on the operand's elements, which repeat for ever.
template <class V, class R, class Op> bool tile_is_right(const qvo_seq_iterator_t& it, const Column<V>& column, Op op) {
    R result[capacity<R>()];
    std::memcpy(result, it.tile.u.arr_uint1, sizeof result);
    for (size_t i = 0; i < it.tile_size; ++i) {
        const R expected = static_cast<R>(op(column.values[i % column.values.size()]));
        if (std::memcmp(&expected, &result[i], sizeof expected) != 0) return false;
        if (it.tile.u.arr_uint1[sizeof(qvo_seq_payload_t) - 1 - i] != column.runs[i % column.runs.size()]) return false;
    }
    return it.tile_size == capacity<R>();
}

template <class V, class R, class Op> void run_tiles(benchmark::State& state, Constructor construct, Op op, Runs runs) {
    const auto column = signed_column<V>(runs);
    TileSource<V> source(column);
    qvo_seq_iterator_t it{};
    if (construct(&it, source.get()) != QVO_S_OK || it.next(&it) != QVO_S_OK || !tile_is_right<V, R>(it, column, op))
        return fail(state);
    time_tiles(state, it);
}

/// As many elements a round as the operator produces.
template <class V, class R, class Op> void run_flat(benchmark::State& state, Op op) {
    constexpr size_t n = std::min(capacity<V>(), capacity<R>());
    const auto column = signed_column<V>(single_runs);
    std::vector<R> out(n);
    double elements = 0;
    for (auto _ : state) {
        const V* __restrict from = column.values.data();
        R* __restrict to = out.data();
        for (size_t i = 0; i < n; ++i) to[i] = static_cast<R>(op(from[i]));
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        elements += static_cast<double>(n);
    }
    count(state, elements, elements);
}

template <class V, class R, class Op>
void add_member(const std::string& family, const char* type, Constructor construct, Op op) {
    add_case(family, type, "flat", [op](benchmark::State& state) { run_flat<V, R>(state, op); });
    add_case(family, type, "single",
             [=](benchmark::State& state) { run_tiles<V, R>(state, construct, op, single_runs); });
    add_case(family, type, "short",
             [=](benchmark::State& state) { run_tiles<V, R>(state, construct, op, short_runs); });
    add_case(family, type, "full", [=](benchmark::State& state) { run_tiles<V, R>(state, construct, op, full_runs); });
}

struct Abs {
    template <class V> V operator()(V v) const { return static_cast<V>(0 > v ? -v : v); }
};
struct Neg {
    template <class V> V operator()(V v) const { return static_cast<V>(-v); }
};
struct Same {
    template <class V> V operator()(V v) const { return v; }
};

#define FAMILY(type)                                                             \
    add_member<qvo_##type, qvo_##type>("abs", #type, qvo_seq_abs_##type, Abs{}); \
    add_member<qvo_##type, qvo_##type>("neg", #type, qvo_seq_neg_##type, Neg{});
#define CONVERT(from, to) add_member<qvo_##from, qvo_##to>("to_" #to, #from, qvo_seq_##from##_to_##to, Same{});
#define CONVERT_FROM(from) \
    CONVERT(from, int1)    \
    CONVERT(from, int4)    \
    CONVERT(from, int8)    \
    CONVERT(from, uint4)   \
    CONVERT(from, uint8)   \
    CONVERT(from, float)   \
    CONVERT(from, double)

QVO_BENCH_FAMILIES(unary) {
    FAMILY(int1)
    FAMILY(int4)
    FAMILY(double)
    CONVERT_FROM(int1)
    CONVERT_FROM(int4)
    CONVERT_FROM(uint4)
    CONVERT_FROM(int8)
    CONVERT_FROM(uint8)
    CONVERT_FROM(float)
    CONVERT_FROM(double)
}

}  // namespace
}  // namespace qvo::bench
