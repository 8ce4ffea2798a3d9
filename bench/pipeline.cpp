// The typical request, whole: the average price of the ticks whose volume exceeds a constant, over ten million rows, of
// which half are kept. An element is one of the price column.
#include <bit>

#include "support.h"

namespace qvo::bench {
namespace {

constexpr size_t n_rows = 10'000'000;
constexpr qvo_int4 limit = 50;  // values are drawn from 1 .. 100

struct Columns {
    Column<qvo_int4> volume;
    Column<qvo_double> price;

    explicit Columns(Runs runs) {
        const size_t n = n_rows * 2 / (runs.shortest + runs.longest);
        volume = random_column<qvo_int4>(n, runs, 1);
        price = random_column<qvo_double>(n, runs, 2);
    }
    size_t positions() const { return std::min(volume.positions(), price.positions()); }
};

/// Adds every price, or zero by way of a mask: no branch depends on the data. (The values are small whole numbers, so
/// that sums are the same whether runs are added up position by position or as products.)
double flat_average(const qvo_int4* __restrict volume, const qvo_double* __restrict price, size_t n) {
    double sum = 0;
    uint64_t count = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint64_t kept = volume[i] > limit;
        sum += std::bit_cast<double>(std::bit_cast<uint64_t>(price[i]) & -kept);
        count += kept;
    }
    return sum / static_cast<double>(count);
}

void run_flat(benchmark::State& state) {
    const Columns columns(single_runs);
    double elements = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(flat_average(columns.volume.values.data(), columns.price.values.data(), n_rows));
        elements += n_rows;
    }
    count(state, elements, elements);
}

/// Pulls the average of the prices; the sources are handed in.
void run_request(benchmark::State& state, qvo_seq_iterator_h volume, qvo_seq_iterator_h price, const Columns& columns) {
    const auto flat_volume = columns.volume.flat();
    const auto flat_price = columns.price.flat();
    const double expected = flat_average(flat_volume.data(), flat_price.data(), columns.positions());
    qvo_seq_iterator_t constant{}, exceeds{}, kept{}, average{};
    qvo_seq_const_int4(&constant, limit);
    qvo_seq_gt_int4(&exceeds, volume, &constant);
    qvo_seq_filter_double(&kept, &exceeds, price);
    qvo_seq_agg_avg_double(&average, &kept);
    double elements = 0, positions = 0;
    for (auto _ : state) {
        average.reset(&average);
        if (average.next(&average) != QVO_S_OK || average.tile.u.arr_double[0] != expected) return fail(state);
        elements += static_cast<double>(columns.price.values.size());
        positions += static_cast<double>(columns.positions());
    }
    count(state, elements, positions);
}

void run_arrays(benchmark::State& state) {
    Columns columns(single_runs);
    qvo_seq_iterator_t volume{}, price{};
    qvo_seq_unget_int4(&volume, columns.volume.values.data(), n_rows);
    qvo_seq_unget_double(&price, columns.price.values.data(), n_rows);
    run_request(state, &volume, &price, columns);
}

void run_columns(benchmark::State& state, Runs runs) {
    const Columns columns(runs);
    Source<qvo_int4> volume(columns.volume);
    Source<qvo_double> price(columns.price);
    run_request(state, volume.get(), price.get(), columns);
}

QVO_BENCH_FAMILIES(pipeline) {
    add_case("pipeline", "average_where", "flat", run_flat);
    add_case("pipeline", "average_where", "arrays", run_arrays);
    add_case("pipeline", "average_where", "single", [](benchmark::State& s) { run_columns(s, single_runs); });
    add_case("pipeline", "average_where", "long", [](benchmark::State& s) { run_columns(s, long_runs); });
    add_case("pipeline", "average_where", "short", [](benchmark::State& s) { run_columns(s, short_runs); });
}

}  // namespace
}  // namespace qvo::bench
