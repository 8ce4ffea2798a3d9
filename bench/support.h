// What the benchmarks share: run-length columns, sources over them, and the counters that the table is made from.
//
// A case is named family/type/shape. Cases of the same family and type are compared with their case "flat": a plain
// loop over arrays with the same values, in the same run of the program (see main.cpp). A case checks its result
// against the plain computation once before it is timed, and fails with `fail` if they differ.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "qvoseq.h"

namespace qvo::bench {

template <class V> constexpr uint8_t type_code() {
    if constexpr (std::is_same_v<V, char>) return QVO_DD_CHAR;
    if constexpr (std::is_same_v<V, qvo_int1>) return QVO_DD_INT1;
    if constexpr (std::is_same_v<V, qvo_int2>) return QVO_DD_INT2;
    if constexpr (std::is_same_v<V, qvo_int4>) return QVO_DD_INT4;
    if constexpr (std::is_same_v<V, qvo_int8>) return QVO_DD_INT8;
    if constexpr (std::is_same_v<V, qvo_uint1>) return QVO_DD_UINT1;
    if constexpr (std::is_same_v<V, qvo_uint2>) return QVO_DD_UINT2;
    if constexpr (std::is_same_v<V, qvo_uint4>) return QVO_DD_UINT4;
    if constexpr (std::is_same_v<V, qvo_uint8>) return QVO_DD_UINT8;
    if constexpr (std::is_same_v<V, qvo_float>) return QVO_DD_FLOAT;
    if constexpr (std::is_same_v<V, qvo_double>) return QVO_DD_DOUBLE;
}

template <class V> constexpr size_t capacity() { return sizeof(qvo_seq_payload_t) / (sizeof(V) + 1); }

/// A run-length column: values and their runs, of equal lengths.
template <class V> struct Column {
    std::vector<V> values;
    std::vector<uint8_t> runs;

    size_t positions() const {
        size_t n = 0;
        for (const uint8_t run : runs) n += run;
        return n;
    }
    /// The values, one per position.
    std::vector<V> flat() const {
        std::vector<V> all;
        all.reserve(positions());
        for (size_t i = 0; i < values.size(); ++i) all.insert(all.end(), runs[i], values[i]);
        return all;
    }
};

/// The runs of a column: drawn evenly from shortest to longest.
struct Runs {
    unsigned shortest, longest;
};
inline constexpr Runs single_runs{1, 1}, short_runs{1, 8}, long_runs{50, 150}, full_runs{255, 255};

/// `n` elements with values from 1 to 100.
template <class V> Column<V> random_column(size_t n, Runs runs, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> value(1, 100);
    std::uniform_int_distribution<unsigned> run(runs.shortest, runs.longest);
    Column<V> column;
    for (size_t i = 0; i < n; ++i) {
        column.values.push_back(static_cast<V>(value(random)));
        column.runs.push_back(static_cast<uint8_t>(run(random)));
    }
    return column;
}

/// An iterator over a column, a full tile at a time.
template <class V> class Source {
 public:
    explicit Source(const Column<V>& column) : column_(column) {
        it_.next = [](qvo_seq_iterator_h it) { return static_cast<Source*>(it->buf)->next(); };
        it_.reset = [](qvo_seq_iterator_h it) { return static_cast<Source*>(it->buf)->reset(); };
        it_.elem_type = type_code<V>();
        it_.elem_size = sizeof(V);
        it_.last_seq_no = ~qvo_seq_no_t{0};
        it_.buf = this;
        // Run bytes lie in reverse order in a tile: reversed once, each tile takes a block.
        reversed_.assign(column.runs.rbegin(), column.runs.rend());
        for (size_t at = 0; at < column.runs.size(); at += capacity<V>()) {
            uint64_t positions = 0;
            for (size_t i = at; i < std::min(at + capacity<V>(), column.runs.size()); ++i) positions += column.runs[i];
            tile_positions_.push_back(positions);
        }
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    qvo_seq_iterator_h get() { return &it_; }

 private:
    QVO_RET next() {
        const size_t n = std::min(capacity<V>(), column_.values.size() - at_);
        if (n == 0) return QVO_S_CURSOR_END;
        uint8_t* payload = it_.tile.u.arr_uint1;
        std::memcpy(payload, &column_.values[at_], n * sizeof(V));
        std::memcpy(payload + sizeof(qvo_seq_payload_t) - n, &reversed_[reversed_.size() - at_ - n], n);
        it_.next_seq_no += tile_positions_[at_ / capacity<V>()];
        at_ += n;
        it_.tile_size = static_cast<uint16_t>(n);
        return QVO_S_OK;
    }
    QVO_RET reset() {
        at_ = 0;
        it_.tile_size = it_.tile_offs = 0;
        it_.rle_offs = 0;
        it_.next_seq_no = 0;
        return QVO_S_OK;
    }

    const Column<V>& column_;
    std::vector<uint8_t> reversed_;
    std::vector<uint64_t> tile_positions_;
    size_t at_ = 0;
    qvo_seq_iterator_t it_{};
};

/// An iterator that hands out one and the same tile, which stays in cache, for ever.
template <class V> class TileSource {
 public:
    explicit TileSource(const Column<V>& column) : source_(column) {
        get()->next(get());
        get()->next = [](qvo_seq_iterator_h) -> QVO_RET { return QVO_S_OK; };
        get()->reset = [](qvo_seq_iterator_h) -> QVO_RET { return QVO_S_OK; };
        get()->tile_offs = get()->tile_size;
    }
    qvo_seq_iterator_h get() { return source_.get(); }

 private:
    Source<V> source_;
};

/// Pulls an iterator to its end. True if it delivers the expected values, one after the other.
template <class R> bool delivers(qvo_seq_iterator_t& it, const std::vector<R>& expected) {
    size_t at = 0;
    for (; it.next(&it) == QVO_S_OK; at += it.tile_size) {
        it.tile_offs = it.tile_size;
        if (it.tile_size > expected.size() - at) return false;
        if (std::memcmp(it.tile.u.arr_uint1, expected.data() + at, it.tile_size * sizeof(R)) != 0) return false;
    }
    return at == expected.size();
}

/// An iterator that hands out one and the same tile, which stays in cache, a number of times.
template <class V> class TileSeries {
 public:
    TileSeries(const Column<V>& column, size_t n_tiles) : source_(column), n_tiles_(n_tiles) {
        const qvo_seq_iterator_h it = get();
        it->next(it);
        n_positions_ = it->next_seq_no;
        tile_size_ = it->tile_size;
        it->buf = this;
        it->next = [](qvo_seq_iterator_h series) { return static_cast<TileSeries*>(series->buf)->next(); };
        it->reset = [](qvo_seq_iterator_h series) { return static_cast<TileSeries*>(series->buf)->reset(); };
        reset();
    }
    qvo_seq_iterator_h get() { return source_.get(); }

 private:
    QVO_RET next() {
        if (left_ == 0) return QVO_S_CURSOR_END;
        --left_;
        get()->next_seq_no += n_positions_;
        get()->tile_size = tile_size_;
        return QVO_S_OK;
    }
    QVO_RET reset() {
        left_ = n_tiles_;
        get()->tile_size = get()->tile_offs = 0;
        get()->rle_offs = 0;
        get()->next_seq_no = 0;
        return QVO_S_OK;
    }

    Source<V> source_;
    uint64_t n_positions_;
    uint16_t tile_size_;
    size_t n_tiles_, left_;
};

/// The hash of a value of whole words, as hash aggregates and estimates of distinct counts take it.
template <class V> uint32_t plain_hash(V value) {
    const auto rotated = [](uint32_t x, int by) { return x << by | x >> (32 - by); };
    uint32_t h = 377307, blocks[sizeof(V) / 4];
    std::memcpy(blocks, &value, sizeof value);
    for (const uint32_t block : blocks)
        h = rotated(h ^ rotated(block * 0xcc9e2d51U, 15) * 0x1b873593U, 13) * 5 + 0xe6546b64U;
    h ^= sizeof value;
    h = (h ^ h >> 16) * 0x85ebca6bU;
    h = (h ^ h >> 13) * 0xc2b2ae35U;
    return h ^ h >> 16;
}

/// Counts what a case has handled in all its iterations: elements of the input, and positions.
inline void count(benchmark::State& state, double elements, double positions) {
    state.counters["elements"] = benchmark::Counter(elements, benchmark::Counter::kIsRate);
    state.counters["positions"] = benchmark::Counter(positions, benchmark::Counter::kIsRate);
}

/// Times `next` of an iterator that never ends.
inline void time_tiles(benchmark::State& state, qvo_seq_iterator_t& it) {
    const uint64_t before = it.next_seq_no;
    double elements = 0;
    for (auto _ : state) {
        it.next(&it);
        elements += it.tile_size;
        benchmark::ClobberMemory();
    }
    count(state, elements, static_cast<double>(it.next_seq_no - before));
}

inline void fail(benchmark::State& state) { state.SkipWithError("the result differs from the plain computation"); }

/// Registers a case. `body` takes the state.
template <class Body>
void add_case(const std::string& family, const std::string& type, const std::string& shape, Body body) {
    benchmark::RegisterBenchmark((family + "/" + type + "/" + shape).c_str(), body);
}

/// Runs a registration before main.
#define QVO_BENCH_FAMILIES(name)               \
    static void register_##name();             \
    static const bool registered_##name = [] { \
        register_##name();                     \
        return true;                           \
    }();                                       \
    static void register_##name()

}  // namespace qvo::bench
