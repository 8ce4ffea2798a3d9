// Sorting against std::sort on an array of indexes with the same comparison, order_by against a plain gather, and
// stretch0 against a plain merge loop. Sizes are those of a column, not of a tile.
#include <numeric>

#include "support.h"

namespace qvo::bench {
namespace {

constexpr size_t n_values = 1000000;

enum class Shape { random, ascending, descending, constant, few };

template <class V> std::vector<V> column(Shape shape) {
    // Narrow types hold fewer values, each of them many times.
    constexpr size_t n_distinct = sizeof(V) == 1 ? 100 : n_values;
    std::mt19937_64 random(7);
    std::vector<V> values(n_values);
    for (size_t i = 0; i < n_values; ++i) {
        const size_t rank = i * n_distinct / n_values;
        switch (shape) {
            case Shape::random:
                values[i] = static_cast<V>(random() % n_distinct);
                break;
            case Shape::few:
                values[i] = static_cast<V>(random() % 10);
                break;
            case Shape::ascending:
                values[i] = static_cast<V>(rank);
                break;
            case Shape::descending:
                values[i] = static_cast<V>(n_distinct - rank);
                break;
            case Shape::constant:
                values[i] = 1;
        }
    }
    return values;
}

template <class V> using Sort = QVO_RET (*)(const V*, qvo_seq_no_t*, qvo_size_t, qvo_seq_order_t);

template <class V> void run_sort(benchmark::State& state, Sort<V> sort, Shape shape) {
    const std::vector<V> values = column<V>(shape);
    std::vector<qvo_seq_no_t> permutation(n_values);
    for (auto _ : state) sort(values.data(), permutation.data(), n_values, QVO_SEQ_ASC_ORDER);
    for (size_t i = 1; i < n_values; ++i)
        if (values[permutation[i - 1]] > values[permutation[i]]) return fail(state);
    const double n = static_cast<double>(n_values) * static_cast<double>(state.iterations());
    count(state, n, n);
}

template <class V> void run_std_sort(benchmark::State& state, Shape shape) {
    const std::vector<V> values = column<V>(shape);
    std::vector<qvo_seq_no_t> permutation(n_values);
    for (auto _ : state) {
        std::iota(permutation.begin(), permutation.end(), qvo_seq_no_t{0});
        std::sort(permutation.begin(), permutation.end(),
                  [v = values.data()](qvo_seq_no_t a, qvo_seq_no_t b) { return v[a] < v[b]; });
        benchmark::DoNotOptimize(permutation.data());
    }
    const double n = static_cast<double>(n_values) * static_cast<double>(state.iterations());
    count(state, n, n);
}

template <class V> void add_sort(const char* type, Sort<V> sort) {
    static constexpr std::pair<const char*, Shape> shapes[] = {{"random", Shape::random},
                                                               {"few", Shape::few},
                                                               {"ascending", Shape::ascending},
                                                               {"descending", Shape::descending},
                                                               {"constant", Shape::constant}};
    for (const auto& [name, shape] : shapes) {
        const std::string family = std::string("sort_") + name;
        add_case(family, type, "flat", [shape = shape](benchmark::State& state) { run_std_sort<V>(state, shape); });
        add_case(family, type, "sort", [=, shape = shape](benchmark::State& s) { run_sort<V>(s, sort, shape); });
    }
}

// ---- The steps of the sort, each on positions in their order ----

using Step = void (*)(const qvo_int4*, qvo_seq_no_t*, qvo_size_t);
/// The same on an array of indexes, which are to be in the order of the values.
using PlainStep = void (*)(std::vector<qvo_seq_no_t>& indexes, const qvo_int4* values);

template <class Run> void run_step(benchmark::State& state, size_t n, Run run) {
    const std::vector<qvo_int4> values = column<qvo_int4>(Shape::random);
    std::vector<qvo_seq_no_t> permutation(n);
    double elements = 0;
    for (auto _ : state) {
        std::iota(permutation.begin(), permutation.end(), qvo_seq_no_t{0});
        run(permutation, values.data());
        benchmark::DoNotOptimize(permutation.data());
        elements += static_cast<double>(n);
    }
    for (size_t i = 1; i < n; ++i)
        if (values[permutation[i - 1]] > values[permutation[i]]) return fail(state);
    count(state, elements, elements);
}
void add_step(const char* family, size_t n, Step step, PlainStep plain) {
    add_case(family, "int4", "flat", [=](benchmark::State& state) { run_step(state, n, plain); });
    add_case(family, "int4", "sort", [=](benchmark::State& state) {
        run_step(state, n, [=](auto& permutation, const qvo_int4* values) { step(values, permutation.data(), n); });
    });
}
void plain_insertion(std::vector<qvo_seq_no_t>& indexes, const qvo_int4* values) {
    for (size_t i = 1; i < indexes.size(); ++i) {
        const qvo_seq_no_t x = indexes[i];
        size_t at = i;
        for (; at != 0 && values[indexes[at - 1]] > values[x]; --at) indexes[at] = indexes[at - 1];
        indexes[at] = x;
    }
}
void plain_heap(std::vector<qvo_seq_no_t>& indexes, const qvo_int4* values) {
    const auto less = [=](qvo_seq_no_t a, qvo_seq_no_t b) { return values[a] < values[b]; };
    std::make_heap(indexes.begin(), indexes.end(), less);
    std::sort_heap(indexes.begin(), indexes.end(), less);
}
void plain_sort(std::vector<qvo_seq_no_t>& indexes, const qvo_int4* values) {
    std::sort(indexes.begin(), indexes.end(), [=](qvo_seq_no_t a, qvo_seq_no_t b) { return values[a] < values[b]; });
}
void loops(const qvo_int4* values, qvo_seq_no_t* permutation, qvo_size_t n) { qloop_int4(values, permutation, n, 40); }

/// Whether values are sorted, which all of them have to be looked at for.
template <class Sorted> void run_sorted(benchmark::State& state, Sorted sorted) {
    const std::vector<qvo_int4> values = column<qvo_int4>(Shape::ascending);
    for (auto _ : state)
        if (!sorted(values)) return fail(state);
    const double n = static_cast<double>(n_values) * static_cast<double>(state.iterations());
    count(state, n, n);
}

/// A random permutation of all positions, or with `near` one that moves each by a few.
std::vector<qvo_seq_no_t> permutation_of(bool near) {
    std::vector<qvo_seq_no_t> permutation(n_values);
    std::iota(permutation.begin(), permutation.end(), qvo_seq_no_t{0});
    std::mt19937_64 random(11);
    for (size_t i = 0; i + 8 < n_values; ++i)
        std::swap(permutation[i], permutation[i + random() % (near ? 8 : n_values - i)]);
    return permutation;
}

template <class V>
using OrderBy = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, const qvo_seq_no_t*, qvo_size_t, const V*);

template <class V> void run_order_by(benchmark::State& state, OrderBy<V> construct, bool near, bool given) {
    const Column<V> input = random_column<V>(n_values, single_runs, 1);
    std::vector<V> data = input.values;
    const auto permutation = permutation_of(near);
    Source<V> source(input);
    qvo_seq_iterator_t it{};
    for (auto _ : state) {
        construct(&it, source.get(), permutation.data(), n_values, given ? data.data() : nullptr);
        for (size_t at = 0; it.next(&it) == QVO_S_OK; at += it.tile_size) {
            benchmark::ClobberMemory();
            if (std::memcmp(it.tile.u.arr_uint1, &data[permutation[at]], sizeof(V)) != 0) return fail(state);
        }
        if (!given) it.reset(&it);
    }
    const double n = static_cast<double>(n_values) * static_cast<double>(state.iterations());
    count(state, n, n);
}

/// A tile's worth at a time, from the column itself, or from a copy of it that is made first.
template <class V> void run_gather(benchmark::State& state, bool near, bool given) {
    const Column<V> input = random_column<V>(n_values, single_runs, 1);
    const auto permutation = permutation_of(near);
    std::vector<V> out(capacity<V>()), copy;
    for (auto _ : state) {
        if (!given) copy = std::vector<V>(input.values);
        const V* const values = given ? input.values.data() : copy.data();
        for (size_t at = 0; at < n_values; at += capacity<V>()) {
            const size_t n = std::min(capacity<V>(), n_values - at);
            for (size_t i = 0; i < n; ++i) out[i] = values[permutation[at + i]];
            benchmark::DoNotOptimize(out.data());
            benchmark::ClobberMemory();
        }
    }
    const double n = static_cast<double>(n_values) * static_cast<double>(state.iterations());
    count(state, n, n);
}

template <class V> void add_order_by(const char* type, OrderBy<V> construct) {
    for (const bool given : {true, false})
        for (const bool near : {true, false}) {
            const std::string family = std::string("order_by_") + (given ? "data" : "load");
            const std::string shape = near ? "near" : "random";
            add_case(family + "_" + shape, type, "flat", [=](auto& state) { run_gather<V>(state, near, given); });
            add_case(family + "_" + shape, type, "single",
                     [=](auto& state) { run_order_by<V>(state, construct, near, given); });
        }
}

/// An ascending timeline: steps of 1 to 3.
Column<qvo_uint8> timeline(unsigned seed) {
    Column<qvo_uint8> column = random_column<qvo_uint8>(n_values, single_runs, seed);
    for (size_t i = 1; i < n_values; ++i) column.values[i] = column.values[i - 1] + 1 + column.values[i] % 3;
    column.values[0] = 0;
    return column;
}

template <class V>
using Stretch0 = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, V);

template <class V> std::vector<V> plain_union(const Column<qvo_uint8>& a, const Column<qvo_uint8>& b, const V* values) {
    std::vector<V> out(2 * n_values);
    size_t i = 0, j = 0, n = 0;
    while (i < n_values && j < n_values) {
        if (a.values[i] < b.values[j]) {
            out[n++] = 0;
            ++i;
        } else {
            i += a.values[i] == b.values[j];
            out[n++] = values[j++];
        }
    }
    out.resize(n);
    return out;
}

template <class V> void add_stretch0(const char* type, Stretch0<V> construct) {
    add_case("stretch0", type, "flat", [](benchmark::State& state) {
        const auto a = timeline(1), b = timeline(2);
        const Column<V> values = random_column<V>(n_values, single_runs, 3);
        double n = 0;
        for (auto _ : state) {
            const std::vector<V> out = plain_union(a, b, values.values.data());
            benchmark::DoNotOptimize(out.data());
            n += static_cast<double>(out.size());
        }
        count(state, n, n);
    });
    for (const auto& [name, runs] :
         {std::pair{"single", single_runs}, std::pair{"short", short_runs}, std::pair{"full", full_runs}})
        add_case("stretch0", type, name, [construct, runs = runs](benchmark::State& state) {
            const auto a = timeline(1), b = timeline(2);
            const Column<V> values = random_column<V>(n_values, runs, 3);
            const std::vector<V> flat = values.flat();
            const std::vector<V> expected = plain_union(a, b, flat.data());
            Source<qvo_uint8> ts1(a), ts2(b);
            Source<V> source(values);
            double n = 0;
            for (auto _ : state) {
                qvo_seq_iterator_t it{};
                construct(&it, ts1.get(), ts2.get(), source.get(), 0);
                // As far as both timelines go: then either of them goes on alone.
                size_t at = 0;
                while (at + capacity<V>() <= expected.size() && it.next(&it) == QVO_S_OK) {
                    if (std::memcmp(it.tile.u.arr_uint1, &expected[at], sizeof(V)) != 0) return fail(state);
                    at += it.tile_size;
                }
                n += static_cast<double>(at);
                it.reset(&it);
            }
            count(state, n, n);
        });
}

QVO_BENCH_FAMILIES(order) {
    add_sort<qvo_int1>("int1", qvo_seq_sort_int1);
    add_sort<qvo_int4>("int4", qvo_seq_sort_int4);
    add_sort<qvo_double>("double", qvo_seq_sort_double);
    add_step("insertion_sort", 50, insertion_sort_int4, plain_insertion);
    add_step("heap_sort", 100'000, heap_sort_int4, plain_heap);
    add_step("qloop", 100'000, loops, plain_sort);
    add_case("sorted", "int4", "flat", [](benchmark::State& state) {
        run_sorted(state, [](const auto& values) { return std::is_sorted(values.begin(), values.end()); });
    });
    add_case("sorted", "int4", "sort", [](benchmark::State& state) {
        run_sorted(state, [](const auto& values) { return sorted_int4(values.data(), values.size()) != 0; });
    });
    add_order_by<qvo_int1>("int1", qvo_seq_order_by_int1);
    add_order_by<qvo_int4>("int4", qvo_seq_order_by_int4);
    add_order_by<qvo_double>("double", qvo_seq_order_by_double);
    add_stretch0<qvo_int1>("int1", qvo_seq_stretch0_uint8_int1);
    add_stretch0<qvo_int4>("int4", qvo_seq_stretch0_uint8_int4);
    add_stretch0<qvo_double>("double", qvo_seq_stretch0_uint8_double);
}

}  // namespace
}  // namespace qvo::bench
