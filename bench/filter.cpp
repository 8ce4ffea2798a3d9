// Filters, on tiles that are in cache. An element is one of the input, kept or not.
#include "support.h"

namespace qvo::bench {
namespace {

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

/// Conditions of which `percent` are true at random.
Column<qvo_seq_bool> random_conditions(size_t n, Runs runs, unsigned percent) {
    auto column = random_column<qvo_seq_bool>(n, runs, 1);
    for (qvo_seq_bool& condition : column.values) condition = condition <= percent;
    return column;
}

/// The kept values, one per position, against the expanded operands; both repeat for ever.
template <class V>
bool tile_is_right(const qvo_seq_iterator_t& it, const Column<qvo_seq_bool>& conditions, const Column<V>& input) {
    const auto flat_conditions = conditions.flat();
    const auto flat_input = input.flat();
    V result[capacity<V>()];
    std::memcpy(result, it.tile.u.arr_uint1, it.tile_size * sizeof(V));
    size_t at = 0;
    for (size_t i = 0; i < it.tile_size; ++i)
        for (unsigned run = it.tile.u.arr_uint1[sizeof(qvo_seq_payload_t) - 1 - i]; run != 0; --run, ++at) {
            while (flat_conditions[at % flat_conditions.size()] == 0) ++at;
            if (std::memcmp(&result[i], &flat_input[at % flat_input.size()], sizeof(V)) != 0) return false;
        }
    return it.tile_size == capacity<V>();
}

/// Overlaps of the operands' runs in a stretch in which both start and end with an element.
template <class V> double overlaps_per_position(const Column<qvo_seq_bool>& conditions, const Column<V>& input) {
    const uint64_t all = uint64_t{conditions.positions()} * input.positions();
    size_t i = 0, j = 0;
    uint64_t n = 0, end_i = conditions.runs[0], end_j = input.runs[0];
    for (uint64_t at = 0; at < std::min<uint64_t>(all, 10'000'000); ++n) {
        at = std::min(end_i, end_j);
        if (end_i == at) end_i += conditions.runs[i = (i + 1) % conditions.runs.size()];
        if (end_j == at) end_j += input.runs[j = (j + 1) % input.runs.size()];
    }
    return static_cast<double>(n) / static_cast<double>(std::min<uint64_t>(all, 10'000'000));
}

template <class V>
void run_tiles(benchmark::State& state, Constructor construct, Runs condition_runs, Runs input_runs, unsigned percent) {
    const auto conditions = random_conditions(capacity<qvo_seq_bool>(), condition_runs, percent);
    const auto input = random_column<V>(capacity<V>(), input_runs, 2);
    TileSource<qvo_seq_bool> condition_source(conditions);
    TileSource<V> input_source(input);
    qvo_seq_iterator_t it{};
    if (construct(&it, condition_source.get(), input_source.get()) != QVO_S_OK || it.next(&it) != QVO_S_OK ||
        !tile_is_right(it, conditions, input))
        return fail(state);
    // What a call reads is found by the share of positions that are kept.
    double kept_positions = 0;
    for (size_t i = 0; i < conditions.runs.size(); ++i) kept_positions += conditions.values[i] * conditions.runs[i];
    const double kept = kept_positions / static_cast<double>(conditions.positions());
    const uint64_t before = it.next_seq_no;
    for (auto _ : state) {
        it.next(&it);
        benchmark::ClobberMemory();
    }
    const double positions = static_cast<double>(it.next_seq_no - before) / kept;
    count(state, positions * overlaps_per_position(conditions, input), positions);
}

/// Each value to the place of the next kept one.
template <class V> void run_flat(benchmark::State& state) {
    const auto conditions = random_conditions(capacity<V>(), single_runs, 50);
    const auto input = random_column<V>(capacity<V>(), single_runs, 2);
    std::vector<V> out(capacity<V>() + 1);
    double elements = 0;
    for (auto _ : state) {
        V* __restrict result = out.data();
        const qvo_seq_bool* __restrict condition = conditions.values.data();
        const V* __restrict value = input.values.data();
        size_t kept = 0;
        for (size_t i = 0; i < capacity<V>(); ++i) {
            result[kept] = value[i];
            kept += condition[i];
        }
        benchmark::DoNotOptimize(kept);
        benchmark::ClobberMemory();
        elements += static_cast<double>(capacity<V>());
    }
    count(state, elements, elements);
}

template <class V> void add_member(const char* type, Constructor construct) {
    struct Shape {
        const char* name;
        Runs conditions, input;
        unsigned percent;
    };
    static constexpr Shape shapes[] = {
        {"single", single_runs, single_runs, 50},
        {"few", single_runs, single_runs, 2},
        {"most", single_runs, single_runs, 98},
        {"all", single_runs, single_runs, 100},
        {"full", full_runs, full_runs, 50},
        {"const_input", single_runs, full_runs, 50},
        {"long_conditions", long_runs, single_runs, 50},
        {"short", short_runs, short_runs, 50},
        {"long", long_runs, long_runs, 50},
        {"cross", {3, 3}, {4, 4}, 50},
    };
    add_case("filter", type, "flat", run_flat<V>);
    for (const Shape& shape : shapes)
        add_case("filter", type, shape.name, [=](benchmark::State& state) {
            run_tiles<V>(state, construct, shape.conditions, shape.input, shape.percent);
        });
}

QVO_BENCH_FAMILIES(filter) {
    add_member<qvo_int1>("int1", qvo_seq_filter_int1);
    add_member<qvo_int4>("int4", qvo_seq_filter_int4);
    add_member<qvo_double>("double", qvo_seq_filter_double);
}

}  // namespace
}  // namespace qvo::bench
