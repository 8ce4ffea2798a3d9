// Whole jobs over ten million rows that lie in arrays, which operators read where they are, beside plain loops over the
// same arrays. (The filtered average is the pipeline's, in pipeline.cpp.)
#include <unordered_map>
#include <utility>

#include "support.h"

namespace qvo::bench {
namespace {

constexpr size_t n_rows = 10'000'000;
constexpr size_t window = 20, text_width = 16;
constexpr int32_t limit = 50;  // values are drawn from 1 .. 100

// Each array is made once, when a job first asks for it.

template <class V> const std::vector<V>& numbers() {
    static const std::vector<V> all = random_column<V>(n_rows, single_runs, 1).values;
    return all;
}
/// Drawn from so many keys, which are spread over the whole range, so that no hash has it easy.
template <uint32_t n> const std::vector<int32_t>& keys() {
    static const std::vector<int32_t> all = [] {
        std::mt19937 random(2);
        std::uniform_int_distribution<uint32_t> key(0, n - 1);
        std::vector<int32_t> some(n_rows);
        for (int32_t& k : some) k = static_cast<int32_t>(key(random) * 2654435761U);
        return some;
    }();
    return all;
}
/// A hundred rows of each key after each other.
const std::vector<int32_t>& clustered() {
    static const std::vector<int32_t> all = [] {
        std::vector<int32_t> some(n_rows);
        for (size_t i = 0; i < n_rows; ++i) some[i] = static_cast<int32_t>(i / 100);
        return some;
    }();
    return all;
}
/// Small letters.
const std::string& texts() {
    static const std::string all = [] {
        std::mt19937 random(3);
        std::string text(n_rows * text_width, 'a');
        for (char& letter : text) letter = static_cast<char>('a' + random() % 26);
        return text;
    }();
    return all;
}

// What a job comes to is a number: the sum of what it delivers, or the last of many elements.

void over(qvo_seq_iterator_t& it, const std::vector<int32_t>& values) {
    qvo_seq_unget_int4(&it, values.data(), n_rows);
}
void over(qvo_seq_iterator_t& it, const std::vector<double>& values) {
    qvo_seq_unget_double(&it, values.data(), n_rows);
}

template <class R> double last_of(qvo_seq_iterator_t& it) {
    R last{};
    for (; it.next(&it) == QVO_S_OK; it.tile_offs = it.tile_size)
        std::memcpy(&last, it.tile.u.arr_uint1 + (it.tile_size - size_t{1}) * sizeof(R), sizeof(R));
    return static_cast<double>(last);
}
template <class R> double sum_of(qvo_seq_iterator_t& it) {
    double sum = 0;
    for (; it.next(&it) == QVO_S_OK; it.tile_offs = it.tile_size) {
        const auto* const delivered = reinterpret_cast<const R*>(it.tile.u.arr_uint1);
        for (size_t i = 0; i < it.tile_size; ++i) sum += static_cast<double>(delivered[i]);
    }
    return sum;
}

/// Writes what of(i) gives for each row to an array, and returns the last.
template <class R, class Of> double filled(Of of) {
    static std::vector<R> out(n_rows);
    R* const __restrict to = out.data();
    for (size_t i = 0; i < n_rows; ++i) to[i] = of(i);
    benchmark::ClobberMemory();
    return static_cast<double>(out.back());
}

// ---- Folds ----

using Unary = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);

template <class V, class R, Unary construct> double fold() {
    qvo_seq_iterator_t array{}, result{};
    over(array, numbers<V>());
    construct(&result, &array);
    return last_of<R>(result);
}
template <class V, class R> double plain_sum() {
    R sum = 0;
    for (const V value : numbers<V>()) sum += value;
    return static_cast<double>(sum);
}
template <class V> double plain_max() {
    V most = 0;
    for (const V value : numbers<V>()) most = value > most ? value : most;
    return static_cast<double>(most);
}

// ---- Element by element ----

using Binary = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

template <Binary construct> double compute() {
    qvo_seq_iterator_t x{}, y{}, result{};
    over(x, numbers<double>());
    over(y, numbers<double>());
    construct(&result, &x, &y);
    return last_of<double>(result);
}
double plain_add() {
    const double *const x = numbers<double>().data(), *const y = x;
    return filled<double>([=](size_t i) { return x[i] + y[i]; });
}
double plain_mul() {
    const double *const x = numbers<double>().data(), *const y = x;
    return filled<double>([=](size_t i) { return x[i] * y[i]; });
}

double exceed() {
    qvo_seq_iterator_t array{}, constant{}, result{};
    over(array, numbers<int32_t>());
    qvo_seq_const_int4(&constant, limit);
    qvo_seq_gt_int4(&result, &array, &constant);
    return last_of<qvo_seq_bool>(result);
}
double plain_exceed() {
    const int32_t* const x = numbers<int32_t>().data();
    return filled<uint8_t>([=](size_t i) { return static_cast<uint8_t>(x[i] > limit); });
}

/// The values of a call all pass through one slot of the window.
double window_max() {
    qvo_seq_iterator_t array{}, result{};
    over(array, numbers<double>());
    qvo_seq_window_agg_max_double(&result, &array, window);
    return last_of<double>(result);
}
double plain_window_max() {
    constexpr size_t per_call = capacity<double>();
    static std::vector<double> out(n_rows);
    const std::vector<double>& x = numbers<double>();
    double slots[window] = {};
    for (size_t from = 0; from < n_rows; from += per_call) {
        double& slot = slots[from % window];
        slot = 0;
        const double others = *std::max_element(slots, slots + window);
        const size_t end = std::min(from + per_call, n_rows);
        for (size_t i = from; i < end; ++i) out[i] = x[i] > others ? x[i] : others;
        slot = x[end - 1];
    }
    benchmark::ClobberMemory();
    return out.back();
}

/// String by string, as wide ones have to be.
double match() {
    qvo_seq_iterator_t array{}, result{};
    qvo_seq_unget_char(&array, texts().data(), n_rows, text_width);
    qvo_seq_match(&result, &array, "%abc%");
    const auto* const matcher = reinterpret_cast<const qvo_seq_match_context_t*>(result.context);
    size_t found = 0;
    for (size_t i = 0; i < n_rows; ++i) found += matcher->match(matcher, &texts()[i * text_width]) != 0;
    return static_cast<double>(found);
}
double plain_match() {
    size_t found = 0;
    for (size_t i = 0; i < n_rows; ++i) found += memmem(&texts()[i * text_width], text_width, "abc", 3) != nullptr;
    return static_cast<double>(found);
}

// ---- Groups: sums and counts, each with keys of its own ----

template <uint32_t n_keys, bool counts> double hash() {
    qvo_seq_iterator_t groups{}, values{}, aggregates{}, found{};
    over(groups, keys<n_keys>());
    over(values, numbers<int32_t>());
    qvo_seq_hash_agg_sum_int4(&aggregates, &found, &values, &groups, n_keys);
    double total = sum_of<int64_t>(aggregates);
    qvo_seq_release_hash(&aggregates);
    if (!counts) return total;
    groups = {};
    over(groups, keys<n_keys>());
    qvo_seq_hash_agg_count(&aggregates, &found, &groups, n_keys);
    total += sum_of<int64_t>(aggregates);
    qvo_seq_release_hash(&aggregates);
    return total;
}
template <uint32_t n_keys, bool counts> double plain_hash() {
    std::unordered_map<int32_t, std::pair<int64_t, int64_t>> map;
    map.reserve(n_keys);
    for (size_t i = 0; i < n_rows; ++i) {
        auto& [sum, number] = map[keys<n_keys>()[i]];
        sum += numbers<int32_t>()[i];
        number += counts;
    }
    double total = 0;
    for (const auto& [key, group] : map) total += static_cast<double>(group.first + group.second);
    return total;
}

double cluster() {
    qvo_seq_iterator_t groups{}, values{}, sums{}, again{}, counts{};
    over(groups, clustered());
    over(again, clustered());
    over(values, numbers<int32_t>());
    qvo_seq_group_agg_sum_int4(&sums, &values, &groups);
    qvo_seq_group_agg_count(&counts, &again);
    return sum_of<int64_t>(sums) + sum_of<int64_t>(counts);
}
double plain_cluster() {
    const std::vector<int32_t>&group = clustered(), &values = numbers<int32_t>();
    std::vector<int64_t> sums, counts;
    for (size_t i = 0; i < n_rows;) {
        int64_t sum = 0;
        const size_t first = i;
        for (; i < n_rows && group[i] == group[first]; ++i) sum += values[i];
        sums.push_back(sum);
        counts.push_back(static_cast<int64_t>(i - first));
    }
    double total = 0;
    for (size_t j = 0; j < sums.size(); ++j) total += static_cast<double>(sums[j] + counts[j]);
    return total;
}

struct Job {
    const char* name;
    const char* type;
    double (*plain)();
    double (*ours)();
};
const Job jobs[] = {
    {"max", "int4", plain_max<int32_t>, fold<int32_t, int32_t, qvo_seq_agg_max_int4>},
    {"sum", "int4", plain_sum<int32_t, int64_t>, fold<int32_t, int64_t, qvo_seq_agg_sum_int4>},
    {"max", "double", plain_max<double>, fold<double, double, qvo_seq_agg_max_double>},
    {"sum", "double", plain_sum<double, double>, fold<double, double, qvo_seq_agg_sum_double>},
    {"add", "double", plain_add, compute<qvo_seq_add_double>},
    {"mul", "double", plain_mul, compute<qvo_seq_mul_double>},
    {"gt_const", "int4", plain_exceed, exceed},
    {"window_max_20", "double", plain_window_max, window_max},
    {"match_substring", "char16", plain_match, match},
    {"hash_sum", "int4_1000000", plain_hash<1'000'000, false>, hash<1'000'000, false>},
    {"hash_sum_count", "int4_1000", plain_hash<1000, true>, hash<1000, true>},
    {"group_sum_count", "int4_of_100", plain_cluster, cluster},
};

void run(benchmark::State& state, const Job& job, double (*way)()) {
    if (job.plain() != job.ours()) return fail(state);
    double elements = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(way());
        elements += n_rows;
    }
    count(state, elements, elements);
}

QVO_BENCH_FAMILIES(arrays) {
    for (const Job& job : jobs) {
        const std::string family = std::string("arrays_") + job.name;
        add_case(family, job.type, "flat", [&job](benchmark::State& s) { run(s, job, job.plain); });
        add_case(family, job.type, "arrays", [&job](benchmark::State& s) { run(s, job, job.ours); });
    }
}

}  // namespace
}  // namespace qvo::bench
