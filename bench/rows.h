// A table of families over one sequence, on tiles that are in cache: a row has the constructor and the same computation
// over flat arrays, which checks it and is what it is compared with.
#pragma once

#include <cmath>
#include <limits>

#include "support.h"

namespace qvo::bench {

/// What a family is fed with: a tile of elements with such runs, so many times.
struct Shape {
    const char* name;
    Runs runs;
    size_t n_tiles;
};
using Shapes = std::vector<Shape>;
inline const Shapes all{{"single", single_runs, 4}, {"short", short_runs, 4}, {"full", full_runs, 4}};
inline const Shapes singles{all[0]}, short_ones{all[0], all[1]};
inline const Shapes tile{{"single", single_runs, 1}}, tiles{tile[0], {"short", short_runs, 1}, {"full", full_runs, 1}};

// For families that find what they take by its position, which is then the first one of a run: all runs are the same.
inline const Shapes equal_runs{all[0], {"short", {8, 8}, 4}, all[2]};
inline size_t run_of_case = 1;

template <class V, class R> struct Row {
    QVO_RET (*construct)(qvo_seq_iterator_h result, qvo_seq_iterator_h input);
    /// The result of n positions, whose length is returned.
    size_t (*loop)(R* __restrict out, const V* __restrict in, size_t n);
    void (*prepare)(Column<V>& column) = nullptr;  // makes the input fit for the family
};

template <class V, class R> Column<V> input_of(const Row<V, R>& row, Runs runs) {
    auto column = random_column<V>(capacity<V>(), runs, 1);
    if (row.prepare != nullptr) row.prepare(column);
    return column;
}

template <class V> std::vector<V> flat_of(const Column<V>& column, size_t n_tiles) {
    const std::vector<V> tile = column.flat();
    std::vector<V> all;
    for (size_t i = 0; i < n_tiles; ++i) all.insert(all.end(), tile.begin(), tile.end());
    return all;
}

/// No family here delivers more than two positions for one and a tile.
template <class V, class R> std::vector<R> run_loop(const Row<V, R>& row, const std::vector<V>& in) {
    std::vector<R> out(2 * in.size() + sizeof(qvo_seq_payload_t));
    out.resize(row.loop(out.data(), in.data(), in.size()));
    return out;
}

template <class R> std::vector<R> drain(qvo_seq_iterator_h it) {
    std::vector<R> all;
    while (it->next(it) == QVO_S_OK)
        for (size_t i = 0; i < it->tile_size; ++i) {
            R value;
            std::memcpy(&value, it->tile.u.arr_uint1 + i * sizeof value, sizeof value);
            all.insert(all.end(), it->tile.u.arr_uint1[sizeof(qvo_seq_payload_t) - 1 - i], value);
        }
    return all;
}

template <class V, class R> void run_tiles(benchmark::State& state, const Row<V, R>& row, const Shape& shape) {
    const auto column = input_of(row, shape.runs);
    run_of_case = shape.runs.longest;
    TileSeries<V> input(column, shape.n_tiles);
    qvo_seq_iterator_t it{};
    if (row.construct(&it, input.get()) != QVO_S_OK) return fail(state);
    const auto expected = run_loop(row, flat_of(column, shape.n_tiles)), actual = drain<R>(&it);
    if (actual.size() != expected.size() ||
        std::memcmp(actual.data(), expected.data(), expected.size() * sizeof(R)) != 0)
        return fail(state);
    double rounds = 0;
    for (auto _ : state) {
        it.reset(&it);
        while (it.next(&it) == QVO_S_OK) {}
        benchmark::ClobberMemory();
        ++rounds;
    }
    qvo_seq_free_buffer(&it);
    rounds *= static_cast<double>(shape.n_tiles);
    count(state, rounds * static_cast<double>(column.values.size()), rounds * static_cast<double>(column.positions()));
}

template <class V, class R> void run_flat(benchmark::State& state, const Row<V, R>& row, const Shape& shape) {
    const auto in = flat_of(input_of(row, single_runs), shape.n_tiles);
    run_of_case = 1;
    // Half a page after the input, modulo a page: arrays at the same place of their pages slow each other down.
    constexpr size_t page = 4096;
    std::vector<R> out(2 * in.size() + 2 * page);
    const size_t distance = (reinterpret_cast<uintptr_t>(in.data()) - reinterpret_cast<uintptr_t>(out.data())) % page;
    R* const result = out.data() + (distance + page / 2) % page / sizeof(R);
    double elements = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(row.loop(result, in.data(), in.size()));
        benchmark::ClobberMemory();
        elements += static_cast<double>(in.size());
    }
    count(state, elements, elements);
}

template <class V, class R> void add_rows(const char* family, const char* type, const Shapes& shapes, Row<V, R> row) {
    add_case(family, type, "flat", [row, shape = shapes[0]](benchmark::State& state) { run_flat(state, row, shape); });
    for (const Shape& shape : shapes)
        add_case(family, type, shape.name, [=](benchmark::State& state) { run_tiles(state, row, shape); });
}

template <class V> const Column<V>& other_column() {
    static const auto column = random_column<V>(capacity<V>(), single_runs, 2);
    return column;
}
template <class V> qvo_seq_iterator_h other() {
    static TileSeries<V> source(other_column<V>(), 1);
    source.get()->reset(source.get());
    return source.get();
}

}  // namespace qvo::bench

#define ROW(family, type, Result, shapes, ...) add_rows<qvo_##type, Result>(family, #type, shapes, {__VA_ARGS__});
#define WITH(...) [](qvo_seq_iterator_h result, qvo_seq_iterator_h input) { return __VA_ARGS__; }
