// Arrays and constants as sequences, cutting, counting, and reading positions back, beside copies of flat arrays.
#include "support.h"

namespace qvo::bench {
namespace {

constexpr size_t n_elements = 100'000;

template <class V> void run_copy(benchmark::State& state) {
    const auto column = random_column<V>(n_elements, single_runs, 1);
    std::vector<V> out(n_elements);
    double elements = 0;
    for (auto _ : state) {
        std::memcpy(out.data(), column.values.data(), n_elements * sizeof(V));
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        elements += n_elements;
    }
    count(state, elements, elements);
}

/// Pulls all tiles of an iterator once per round, and checks their positions.
void run_pull(benchmark::State& state, qvo_seq_iterator_h it, size_t positions_expected) {
    double elements = 0, positions = 0;
    for (auto _ : state) {
        it->reset(it);
        while (it->next(it) == QVO_S_OK) elements += it->tile_size;
        if (it->next_seq_no != positions_expected) return fail(state);
        positions += static_cast<double>(positions_expected);
    }
    count(state, elements, positions);
}

template <class V>
void run_unget(benchmark::State& state, QVO_RET (*construct)(qvo_seq_iterator_h, const V*, qvo_size_t)) {
    auto column = random_column<V>(n_elements, single_runs, 1);
    qvo_seq_iterator_t it{};
    construct(&it, column.values.data(), n_elements);
    run_pull(state, &it, n_elements);
}

/// All of a column but its first and last position.
template <class V> void run_limit(benchmark::State& state, Runs runs) {
    const auto column = random_column<V>(n_elements, runs, 1);
    Source<V> source(column);
    qvo_seq_iterator_t it{};
    qvo_seq_limit(&it, source.get(), 1, column.positions() - 2);
    run_pull(state, &it, column.positions() - 1);  // next_seq_no starts at the first position
}

template <class V> void run_count(benchmark::State& state, Runs runs) {
    const auto column = random_column<V>(n_elements, runs, 1);
    Source<V> source(column);
    qvo_seq_iterator_t it{};
    qvo_seq_agg_count(&it, source.get());
    double elements = 0, positions = 0;
    for (auto _ : state) {
        it.reset(&it);
        if (it.next(&it) != QVO_S_OK || it.tile.u.arr_uint8[0] != column.positions()) return fail(state);
        elements += n_elements;
        positions += static_cast<double>(column.positions());
    }
    count(state, elements, positions);
}

/// `read` reads all positions of the source into an array, with room for one more, and returns their number.
template <class V, class Read> void run_reader(benchmark::State& state, Runs runs, Read read) {
    const auto column = random_column<V>(n_elements, runs, 1);
    const std::vector<V> flat = column.flat();
    Source<V> source(column);
    std::vector<V> out(flat.size() + 1);
    double elements = 0, positions = 0;
    for (auto _ : state) {
        source.get()->reset(source.get());
        const size_t n = read(source.get(), out);
        if (n != flat.size()) return fail(state);
        elements += n_elements;
        positions += static_cast<double>(n);
    }
    if (std::memcmp(out.data(), flat.data(), flat.size() * sizeof(V)) != 0) return fail(state);
    count(state, elements, positions);
}

template <class V>
void run_get(benchmark::State& state, QVO_RET (*get)(qvo_seq_iterator_h, V*, qvo_size_t*), Runs runs) {
    run_reader<V>(state, runs, [get](qvo_seq_iterator_h source, std::vector<V>& out) -> size_t {
        qvo_size_t n = out.size();
        return get(source, out.data(), &n) == QVO_S_OK ? n : 0;
    });
}

/// Position by position.
template <class V> void run_next(benchmark::State& state, QVO_RET (*next)(qvo_seq_iterator_h, V*), Runs runs) {
    run_reader<V>(state, runs, [next](qvo_seq_iterator_h source, std::vector<V>& out) {
        size_t n = 0;
        while (next(source, &out[n]) == QVO_S_OK) ++n;
        return n;
    });
}

/// Elements and their null marks.
template <class V>
void run_nullable(benchmark::State& state, QVO_RET (*get)(qvo_seq_iterator_h, V*, qvo_size_t*, qvo_bitmap_word_t*)) {
    const auto column = random_column<V>(n_elements, single_runs, 1);
    Source<V> source(column);
    std::vector<V> out(n_elements);
    std::vector<qvo_bitmap_word_t> nulls((n_elements + 63) / 64);
    double elements = 0;
    for (auto _ : state) {
        source.get()->reset(source.get());
        qvo_size_t n = n_elements;
        if (get(source.get(), out.data(), &n, nulls.data()) != QVO_S_OK || n != n_elements) return fail(state);
        elements += n_elements;
    }
    if (out != column.values) return fail(state);
    count(state, elements, elements);
}

template <class V> void add_runs(const char* family, const char* type, void (*body)(benchmark::State&, Runs)) {
    add_case(family, type, "flat", run_copy<V>);
    add_case(family, type, "single", [=](benchmark::State& state) { body(state, single_runs); });
    add_case(family, type, "short", [=](benchmark::State& state) { body(state, short_runs); });
    add_case(family, type, "full", [=](benchmark::State& state) { body(state, full_runs); });
}

#define FAMILY(type)                                                                               \
    add_case("unget", #type, "flat", run_copy<qvo_##type>);                                        \
    add_case("unget", #type, "single",                                                             \
             [](benchmark::State& state) { run_unget<qvo_##type>(state, qvo_seq_unget_##type); }); \
    add_runs<qvo_##type>("limit", #type, run_limit<qvo_##type>);                                   \
    add_runs<qvo_##type>("agg_count", #type, run_count<qvo_##type>);                               \
    add_runs<qvo_##type>("get", #type, [](benchmark::State& state, Runs runs) {                    \
        run_get<qvo_##type>(state, qvo_seq_get_##type, runs);                                      \
    });                                                                                            \
    add_runs<qvo_##type>("next", #type, [](benchmark::State& state, Runs runs) {                   \
        run_next<qvo_##type>(state, qvo_seq_next_##type, runs);                                    \
    });                                                                                            \
    add_case("get_nullable", #type, "flat", run_copy<qvo_##type>);                                 \
    add_case("get_nullable", #type, "single",                                                      \
             [](benchmark::State& state) { run_nullable<qvo_##type>(state, qvo_seq_get_nullable_##type); });

QVO_BENCH_FAMILIES(sources) {
    FAMILY(int1)
    FAMILY(int4)
    FAMILY(double)
}

}  // namespace
}  // namespace qvo::bench
