// Cases of element-wise operators of any number of operands of one type, on tiles that are in cache.
#pragma once

#include <array>
#include <memory>
#include <utility>

#include "support.h"

namespace qvo::bench {

/// A shape of operands: the runs of each.
template <size_t N> struct Shape {
    const char* name;
    Runs runs[N];
};
inline constexpr Shape<2> binary_shapes[] = {
    {"single", {single_runs, single_runs}},   {"const", {single_runs, full_runs}},
    {"const_left", {full_runs, single_runs}}, {"full", {full_runs, full_runs}},
    {"short", {short_runs, short_runs}},      {"short_const", {short_runs, full_runs}},
    {"long", {long_runs, long_runs}},         {"cross", {{3, 3}, {4, 4}}},
};
inline constexpr Shape<3> ternary_shapes[] = {
    {"single", {single_runs, single_runs, single_runs}},
    {"const", {single_runs, full_runs, full_runs}},
    {"full", {full_runs, full_runs, full_runs}},
    {"short", {short_runs, short_runs, short_runs}},
    {"short_const", {short_runs, full_runs, full_runs}},
    {"long", {long_runs, long_runs, long_runs}},
    {"cross", {{3, 3}, {4, 4}, {5, 5}}},
};

template <class V, size_t N> using Columns = std::array<Column<V>, N>;

template <class V, size_t N, size_t... K>
Columns<V, N> random_columns(const Runs (&runs)[N], std::index_sequence<K...>) {
    return {random_column<V>(capacity<V>(), runs[K], unsigned{K} + 1)...};
}

/// The result tile against the operation on the expanded operands, which repeat for ever.
template <class V, class R, size_t N, class Op, size_t... K>
bool tile_is_right(const qvo_seq_iterator_t& it, const Columns<V, N>& columns, Op op, std::index_sequence<K...>) {
    const std::vector<V> flat[] = {columns[K].flat()...};
    R result[capacity<R>()];
    std::memcpy(result, it.tile.u.arr_uint1, sizeof result);
    size_t at = 0;
    for (size_t i = 0; i < it.tile_size; ++i) {
        const R expected = static_cast<R>(op(flat[K][at % flat[K].size()]...));
        if (std::memcmp(&expected, &result[i], sizeof expected) != 0) return false;
        at += it.tile.u.arr_uint1[sizeof(qvo_seq_payload_t) - 1 - i];
    }
    return it.tile_size == capacity<R>() && at == it.next_seq_no;
}

template <class V, class R, size_t N, class Construct, class Op, size_t... K>
void run_tiles(benchmark::State& state, Construct construct, Op op, const Shape<N>& shape,
               std::index_sequence<K...> all) {
    const Columns<V, N> columns = random_columns<V>(shape.runs, all);
    TileSource<V> sources[] = {TileSource<V>(columns[K])...};
    qvo_seq_iterator_t it{};
    if (construct(&it, sources[K].get()...) != QVO_S_OK || it.next(&it) != QVO_S_OK ||
        !tile_is_right<V, R>(it, columns, op, all))
        return fail(state);
    time_tiles(state, it);
}

template <size_t n, class R, class Op, class... Values>
void apply_flat(R* __restrict result, Op op, const Values* __restrict... values) {
    for (size_t i = 0; i < n; ++i) result[i] = static_cast<R>(op(values[i]...));
}

template <class V, class R, size_t N, class Op, size_t... K>
void run_flat(benchmark::State& state, Op op, std::index_sequence<K...> all) {
    Runs runs[N];
    std::fill_n(runs, N, single_runs);
    const Columns<V, N> columns = random_columns<V>(runs, all);
    std::vector<R> out(capacity<V>());
    double elements = 0;
    for (auto _ : state) {
        apply_flat<capacity<V>()>(out.data(), op, columns[K].values.data()...);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        elements += static_cast<double>(capacity<V>());
    }
    count(state, elements, elements);
}

/// A member with operands of V and results of R, beside the loop over arrays.
template <class V, class R, size_t N, size_t Shapes, class Construct, class Op>
void add_member(const char* family, const char* type, const Shape<N> (&shapes)[Shapes], Construct construct, Op op) {
    constexpr auto all = std::make_index_sequence<N>{};
    add_case(family, type, "flat", [=](benchmark::State& state) { run_flat<V, R, N>(state, op, all); });
    for (const Shape<N>& shape : shapes)
        add_case(family, type, shape.name,
                 [=](benchmark::State& state) { run_tiles<V, R>(state, construct, op, shape, all); });
}

}  // namespace qvo::bench
