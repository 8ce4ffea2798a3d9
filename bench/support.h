// Sources for benchmarks: tiles in cache, filled once and handed out again and again, and columns of many tiles.
#pragma once

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <type_traits>
#include <vector>

#include "qvoseq.h"

namespace qvo::bench {

template <class V> constexpr uint8_t type_code() {
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
        for (uint8_t run : runs) n += run;
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

/// `n` elements with small values other than 0 and runs drawn from [shortest, longest].
template <class V> Column<V> random_column(size_t n, unsigned shortest, unsigned longest, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> value(1, 100);
    std::uniform_int_distribution<unsigned> run(shortest, longest);
    Column<V> column;
    for (size_t i = 0; i < n; ++i) {
        column.values.push_back(static_cast<V>(value(random)));
        column.runs.push_back(static_cast<uint8_t>(run(random)));
    }
    return column;
}

/// An iterator over a column, a full tile at a time; ends after `rounds` rounds through it.
template <class V> class Source {
 public:
    explicit Source(const Column<V>& column) : column_(column) {
        it_.next = [](qvo_seq_iterator_h it) { return static_cast<Source*>(it->buf)->next(); };
        it_.reset = [](qvo_seq_iterator_h it) { return static_cast<Source*>(it->buf)->reset(); };
        it_.elem_type = type_code<V>();
        it_.elem_size = sizeof(V);
        it_.buf = this;
    }
    Source(const Source&) = delete;
    qvo_seq_iterator_h get() { return &it_; }

 private:
    QVO_RET next() {
        const size_t n = std::min(capacity<V>(), column_.values.size() - at_);
        if (n == 0) return QVO_S_CURSOR_END;
        std::memcpy(it_.tile.u.arr_uint1, &column_.values[at_], n * sizeof(V));
        uint8_t* last_run = it_.tile.u.arr_uint1 + sizeof(qvo_seq_payload_t) - 1;
        for (size_t i = 0; i < n; ++i) {
            last_run[-static_cast<ptrdiff_t>(i)] = column_.runs[at_ + i];
            it_.next_seq_no += column_.runs[at_ + i];
        }
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
    size_t at_ = 0;
    qvo_seq_iterator_t it_{};
};

/// An iterator that hands out one and the same full tile for ever.
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

}  // namespace qvo::bench
