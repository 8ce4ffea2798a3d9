// Functions and aggregates over stored sequences, called one at a time as a database calls them, on a chunk of 65,536
// positions. "flat" is here the operator over an array in memory, its result delivered to an array; what is stored has to
// be checked and decoded first, and a result that is a sequence is encoded and given a checksum as well. Values of many
// digits are stored plain, prices as decimals.
#include <cmath>
#include <memory>

#include "stored.h"
#include "support.h"

namespace qvo::bench {
namespace {

constexpr size_t n_positions = 65'536;

enum class Shape { plain, prices, runs };

/// Values of a shape; with runs of 100 on average.
std::vector<double> values_of(Shape shape) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> real(1, 100);
    std::vector<double> values;
    values.reserve(n_positions + 200);
    while (values.size() < n_positions) {
        const double value = shape == Shape::plain ? real(random) : std::round(real(random) * 100) / 100;
        values.insert(values.end(), shape == Shape::runs ? 50 + random() % 101 : 1, value);
    }
    values.resize(n_positions);
    return values;
}

/// Delivers an operator's values into an array that lives as long as a result does. An aggregate gives one.
void drain(qvo_seq_iterator_t& it) {
    const std::unique_ptr<uint8_t[]> result(new uint8_t[n_positions * it.elem_size]);
    size_t n = 0;
    for (; it.next(&it) == QVO_S_OK; n += it.tile_size * size_t{it.elem_size}, it.tile_offs = 0)
        std::memcpy(&result[n], it.tile.u.arr_uint1, it.tile_size * size_t{it.elem_size});
    benchmark::DoNotOptimize(result.get());
}

/// One measured function: its name, how many of the two columns and whether a scalar it takes, and the operator over
/// arrays.
struct Row {
    const char* name;
    unsigned n_columns;
    bool has_scalar;
    void (*over_arrays)(double* x, double* y, size_t n);
};

struct Operands {
    qvo_seq_iterator_t x, y, result;
    Operands(double* a, double* b, size_t n) {
        qvo_seq_unget_double(&x, a, n);
        qvo_seq_unget_double(&y, b, n);
    }
};

const Row rows[] = {
    {"add", 2, false,
     [](double* x, double* y, size_t n) {
         Operands o(x, y, n);
         qvo_seq_add_double(&o.result, &o.x, &o.y);
         drain(o.result);
     }},
    {"gt", 1, true,
     [](double* x, double* y, size_t n) {
         Operands o(x, y, n);
         qvo_seq_const_double(&o.y, 50.5);
         qvo_seq_gt_double(&o.result, &o.x, &o.y);
         drain(o.result);
     }},
    {"neg", 1, false,
     [](double* x, double* y, size_t n) {
         Operands o(x, y, n);
         qvo_seq_neg_double(&o.result, &o.x);
         drain(o.result);
     }},
    {"cumsum", 1, false,
     [](double* x, double* y, size_t n) {
         Operands o(x, y, n);
         qvo_seq_cum_agg_sum_double(&o.result, &o.x);
         drain(o.result);
     }},
    {"sum", 1, false,
     [](double* x, double* y, size_t n) {
         Operands o(x, y, n);
         qvo_seq_agg_sum_double(&o.result, &o.x);
         drain(o.result);
     }},
    {"avg", 1, false,
     [](double* x, double* y, size_t n) {
         Operands o(x, y, n);
         qvo_seq_agg_avg_double(&o.result, &o.x);
         drain(o.result);
     }},
    {"max", 1, false,
     [](double* x, double* y, size_t n) {
         Operands o(x, y, n);
         qvo_seq_agg_max_double(&o.result, &o.x);
         drain(o.result);
     }},
    {"var", 1, false,
     [](double* x, double* y, size_t n) {
         Operands o(x, y, n);
         qvo_seq_agg_var_double(&o.result, &o.x);
         drain(o.result);
     }},
};

void time_arrays(benchmark::State& state, const Row& row) {
    std::vector<double> x = values_of(Shape::plain), y = values_of(Shape::prices);
    double positions = 0;
    for (auto _ : state) {
        row.over_arrays(x.data(), y.data(), n_positions);
        benchmark::ClobberMemory();
        positions += n_positions;
    }
    count(state, positions, positions);
}

void time_stored(benchmark::State& state, const Row& row, Shape shape) {
    const qvo_function_t* const function = qvo_function_named(row.name);
    if (function == nullptr) return fail(state);
    const StoredColumn x(QVO_TYPE_DOUBLE, values_of(shape)), y(QVO_TYPE_DOUBLE, values_of(shape));
    std::vector<qvo_datum_t> arguments = {x.datum(), y.datum()};
    arguments.resize(row.n_columns);
    if (row.has_scalar) arguments.push_back(real(50.5));
    double positions = 0;
    for (auto _ : state) {
        if (!call(function, arguments)) return fail(state);
        positions += n_positions;
    }
    // Rates are those of positions: of runs, the elements are a hundredth.
    count(state, positions, positions);
}

QVO_BENCH_FAMILIES(values) {
    for (const Row& row : rows) {
        add_case("stored", row.name, "flat", [&row](benchmark::State& s) { time_arrays(s, row); });
        add_case("stored", row.name, "plain", [&row](benchmark::State& s) { time_stored(s, row, Shape::plain); });
        add_case("stored", row.name, "prices", [&row](benchmark::State& s) { time_stored(s, row, Shape::prices); });
        add_case("stored", row.name, "runs_of_100", [&row](benchmark::State& s) { time_stored(s, row, Shape::runs); });
    }
}

}  // namespace
}  // namespace qvo::bench
