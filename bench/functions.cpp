// Functions that no operator has, on a million positions, from arrays to an array as a program calls them and from
// stored sequences to a stored one as a database does. "flat" is a plain loop over arrays, without missing values and
// without care for how sums drift.
#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>

#include "stored.h"
#include "support.h"

namespace qvo::bench {
namespace {

constexpr size_t n_positions = 1'000'000;

/// Doubles: random, the same in ascending order, ten different ones. Times: of a left and a right side of a join.
enum Column { random_values, ascending_values, few_values, left_times, right_times };

std::vector<double> values_of(Column column) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> real(1, 100);
    std::vector<double> values(n_positions);
    for (double& value : values) value = column == few_values ? static_cast<double>(random() % 10) : real(random);
    if (column == ascending_values) std::sort(values.begin(), values.end());
    return values;
}

/// Times at random distances of 1 to 4 microseconds.
std::vector<int64_t> times_of(Column column) {
    std::mt19937 random(column);
    std::vector<int64_t> times(n_positions);
    int64_t time = 0;
    for (int64_t& t : times) t = time += 1 + random() % 4;
    return times;
}

/// What a plain loop takes and gives: up to three columns, whose kinds it knows, and as many results.
struct Loop {
    const void* columns[3] = {};
    int64_t scalar = 0;
    void* result = nullptr;

    const double* doubles(size_t i) const { return static_cast<const double*>(columns[i]); }
    const int64_t* times(size_t i) const { return static_cast<const int64_t*>(columns[i]); }
    double* to_doubles() const { return static_cast<double*>(result); }
};

void rolling_sums(const Loop& loop, double share) {
    const double* const x = loop.doubles(0);
    const auto n = static_cast<size_t>(loop.scalar);
    double sum = 0;
    for (size_t i = 0; i < n_positions; ++i) {
        sum += x[i];
        if (i >= n) sum -= x[i - n];
        loop.to_doubles()[i] = i + 1 < n ? NAN : sum * share;
    }
}

/// The candidates for a maximum to come, descending, in a ring.
void rolling_max(const Loop& loop) {
    const double* const x = loop.doubles(0);
    const auto n = static_cast<size_t>(loop.scalar);
    std::vector<size_t> ring(n);
    size_t first = 0, size = 0;
    const auto at = [&](size_t k) -> size_t& { return ring[(first + k) % n]; };
    for (size_t i = 0; i < n_positions; ++i) {
        if (size != 0 && at(0) + n <= i) first = (first + 1) % n, --size;
        while (size != 0 && x[at(size - 1)] <= x[i]) --size;
        at(size++) = i;
        loop.to_doubles()[i] = i + 1 < n ? NAN : x[at(0)];
    }
}

void ema(const Loop& loop) {
    const double* const x = loop.doubles(0);
    const double alpha = 2.0 / static_cast<double>(loop.scalar + 1);
    double mean = x[0];
    for (size_t i = 0; i < n_positions; ++i) loop.to_doubles()[i] = mean += alpha * (x[i] - mean);
}

void argsort(const Loop& loop) {
    const double* const x = loop.doubles(0);
    auto* const order = static_cast<int64_t*>(loop.result);
    std::iota(order, order + n_positions, int64_t{0});
    std::stable_sort(order, order + n_positions, [x](int64_t i, int64_t k) { return x[i] < x[k]; });
}

void asof_join(const Loop& loop) {
    const int64_t *const t = loop.times(0), *const u = loop.times(1);
    size_t next = 0;
    for (size_t i = 0; i < n_positions; ++i) {
        while (next < n_positions && u[next] <= t[i]) ++next;
        loop.to_doubles()[i] = next == 0 ? NAN : loop.doubles(2)[next - 1];
    }
}

struct Job {
    const char* name;
    const char* function;
    std::vector<Column> columns;
    int64_t scalar;  // 0: none
    void (*loop)(const Loop& loop);
};

const Job jobs[] = {
    {"rolling_sum_20", "rolling_sum", {random_values}, 20, [](const Loop& loop) { rolling_sums(loop, 1); }},
    {"rolling_mean_20", "rolling_mean", {random_values}, 20, [](const Loop& loop) { rolling_sums(loop, 1.0 / 20); }},
    {"rolling_mean_2000",
     "rolling_mean",
     {random_values},
     2000,
     [](const Loop& loop) { rolling_sums(loop, 1.0 / 2000); }},
    {"rolling_max_20", "rolling_max", {random_values}, 20, rolling_max},
    {"rolling_max_2000", "rolling_max", {random_values}, 2000, rolling_max},
    {"ema_20", "ema", {random_values}, 20, ema},
    {"argsort_random", "argsort", {random_values}, 0, argsort},
    {"argsort_ascending", "argsort", {ascending_values}, 0, argsort},
    {"argsort_few", "argsort", {few_values}, 0, argsort},
    {"asof", "asof", {left_times, right_times, random_values}, 0, asof_join},
};

/// The columns of a job in memory, as its plain loop takes them and as arguments of its function.
class Arguments {
 public:
    explicit Arguments(const Job& job) {
        loop.scalar = job.scalar;
        for (size_t i = 0; i < job.columns.size(); ++i) {
            if (job.columns[i] >= left_times) {
                times_.push_back(times_of(job.columns[i]));
                add(i, QVO_TYPE_TIMESTAMP, times_.back());
            } else {
                values_.push_back(values_of(job.columns[i]));
                add(i, QVO_TYPE_DOUBLE, values_.back());
            }
        }
        for (const ArrayColumn& column : arrays_) arrays.push_back(column.datum());
        for (const StoredColumn& column : stored_) stored.push_back(column.datum());
        if (job.scalar != 0) {
            arrays.push_back(integer(job.scalar));
            stored.push_back(integer(job.scalar));
        }
    }
    Loop loop;
    std::vector<qvo_datum_t> arrays, stored;

 private:
    template <class V> void add(size_t i, qvo_type_t type, const std::vector<V>& values) {
        loop.columns[i] = values.data();
        arrays_.emplace_back(type, values);
        stored_.emplace_back(type, values);
    }
    std::vector<std::vector<double>> values_;
    std::vector<std::vector<int64_t>> times_;
    std::vector<ArrayColumn> arrays_;
    std::vector<StoredColumn> stored_;
};

/// The result as an array, which whoever calls frees; null if the call fails or gives another number of values.
void* read(const qvo_function_t* function, const std::vector<qvo_datum_t>& arguments, qvo_type_t& type) {
    qvo_expression_t* expression = nullptr;
    void* values = nullptr;
    uint64_t count = 0;
    if (qvo_expression_call(function, arguments.data(), arguments.size(), &expression, nullptr) == QVO_VALUE_OK)
        qvo_expression_read(expression, nullptr, &values, &type, nullptr, &count, nullptr);
    qvo_expression_release(expression);
    if (count == n_positions) return values;
    qvo_value_free(values);
    return nullptr;
}

/// Whether a function gives what its plain loop gives: doubles but for what sums drift.
bool agrees(const Job& job, const Arguments& arguments) {
    std::vector<int64_t> expected(n_positions);
    Loop loop = arguments.loop;
    loop.result = expected.data();
    job.loop(loop);
    qvo_type_t type{};
    void* const values = read(qvo_function_named(job.function), arguments.arrays, type);
    bool same = values != nullptr;
    for (size_t i = 0; same && i < n_positions; ++i) {
        if (type != QVO_TYPE_DOUBLE) {
            same = static_cast<const int64_t*>(values)[i] == expected[i];
            continue;
        }
        const double wanted = loop.to_doubles()[i], got = static_cast<const double*>(values)[i];
        same = std::isnan(wanted) ? std::isnan(got) : std::abs(wanted - got) <= 1e-9 * std::abs(wanted);
    }
    qvo_value_free(values);
    return same;
}

enum class Way { loop, arrays, stored };

void time_job(benchmark::State& state, const Job& job, Way way) {
    const Arguments arguments(job);
    const qvo_function_t* const function = qvo_function_named(job.function);
    if (!agrees(job, arguments)) return fail(state);
    qvo_type_t type{};
    double positions = 0;
    for (auto _ : state) {
        if (way == Way::loop) {
            const std::unique_ptr<double[]> result(new double[n_positions]);
            Loop loop = arguments.loop;
            loop.result = result.get();
            job.loop(loop);
            benchmark::DoNotOptimize(result.get());
        } else if (way == Way::arrays) {
            qvo_value_free(read(function, arguments.arrays, type));
        } else if (!call(function, arguments.stored)) {
            return fail(state);
        }
        positions += n_positions;
    }
    count(state, positions, positions);
}

/// Packing row by row, with a key; the plain loop keeps what comes, and sorts it if it comes out of order.
void time_pack(benchmark::State& state, bool in_order, bool plain) {
    const std::vector<double> values = values_of(random_values);
    std::vector<int64_t> keys = times_of(left_times);
    if (!in_order) std::shuffle(keys.begin(), keys.end(), std::mt19937(9));
    double positions = 0;
    for (auto _ : state) {
        if (plain) {
            std::vector<std::pair<int64_t, double>> rows;
            for (size_t i = 0; i < n_positions; ++i) rows.emplace_back(keys[i], values[i]);
            if (!in_order) std::sort(rows.begin(), rows.end());
            std::vector<double> packed;
            for (const auto& row : rows) packed.push_back(row.second);
            benchmark::DoNotOptimize(packed.data());
        } else {
            qvo_aggregate_t* pack = nullptr;
            qvo_datum_t result{};
            bool ok = qvo_aggregate_new(qvo_function_named("pack"), &pack, nullptr) == QVO_VALUE_OK;
            for (size_t i = 0; ok && i < n_positions; ++i) {
                const qvo_datum_t row[] = {real(values[i]), integer(keys[i])};
                ok = qvo_aggregate_step(pack, row, 2, nullptr, nullptr) == QVO_VALUE_OK;
            }
            ok = ok && qvo_aggregate_finish(pack, nullptr, &result, nullptr) == QVO_VALUE_OK;
            qvo_aggregate_free(pack);
            qvo_datum_free(&result);
            if (!ok) return fail(state);
        }
        positions += n_positions;
    }
    count(state, positions, positions);
}

QVO_BENCH_FAMILIES(functions) {
    for (const Job& job : jobs) {
        add_case("function", job.name, "flat", [&job](benchmark::State& s) { time_job(s, job, Way::loop); });
        add_case("function", job.name, "arrays", [&job](benchmark::State& s) { time_job(s, job, Way::arrays); });
        add_case("function", job.name, "stored", [&job](benchmark::State& s) { time_job(s, job, Way::stored); });
    }
    for (const bool in_order : {true, false}) {
        const char* const name = in_order ? "pack_in_order" : "pack_out_of_order";
        add_case("function", name, "flat", [=](benchmark::State& s) { time_pack(s, in_order, true); });
        add_case("function", name, "stored", [=](benchmark::State& s) { time_pack(s, in_order, false); });
    }
}

}  // namespace
}  // namespace qvo::bench
