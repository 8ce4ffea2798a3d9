// Members of families whose relatives have a file of their own, and operators on text and on other operators' results.
#include <array>

#include "rows.h"

namespace qvo::bench {
namespace {

// ---- Aggregates ----

template <class V> using Product = std::conditional_t<std::is_floating_point_v<V>, double, int64_t>;

template <class V> size_t flat_min(V* __restrict out, const V* __restrict in, size_t n) {
    V min = in[0];
    for (size_t i = 0; i < n; ++i) min = in[i] < min ? in[i] : min;
    *out = min;
    return 1;
}
template <class V> size_t flat_min_max(V* __restrict out, const V* __restrict in, size_t n) {
    V min = in[0], max = in[0];
    for (size_t i = 0; i < n; ++i) {
        min = in[i] < min ? in[i] : min;
        max = in[i] > max ? in[i] : max;
    }
    out[0] = min;
    out[1] = max;
    return 2;
}
template <class V> void make_signs(Column<V>& column) {
    for (V& value : column.values) value = static_cast<V>(value > 50 ? 1 : -1);
}
template <class V> size_t flat_product(Product<V>* __restrict out, const V* __restrict in, size_t n) {
    double product = 1;
    for (size_t i = 0; i < n; ++i) product *= static_cast<double>(in[i]);
    *out = static_cast<Product<V>>(product);
    return 1;
}
/// The square root of what the sums of values and squares give; or, for samples, that with n - 1 throughout.
template <bool Sample, class V> size_t flat_spread(double* __restrict out, const V* __restrict in, size_t n) {
    double s = 0, q = 0;
    for (size_t i = 0; i < n; ++i) {
        const auto v = static_cast<double>(in[i]);
        s += v;
        q += v * v;
    }
    const auto count = static_cast<double>(n - Sample);
    const double variance = (q - s * s / count) / count;
    *out = Sample ? variance : std::sqrt(variance);
    return 1;
}
template <class V> size_t flat_count(qvo_uint8* __restrict out, const V*, size_t n) {
    benchmark::DoNotOptimize(n);
    *out = n;
    return 1;
}

// ---- Prefixes: a result per value, in one call ----

template <class V> size_t flat_cum_min(V* __restrict out, const V* __restrict in, size_t n) {
    V min = in[0];
    for (size_t i = 0; i < n; ++i) out[i] = min = in[i] < min ? in[i] : min;
    return n;
}
template <class V> size_t flat_cum_product(Product<V>* __restrict out, const V* __restrict in, size_t n) {
    Product<V> product = 1;
    for (size_t i = 0; i < n; ++i) out[i] = product = product * static_cast<Product<V>>(in[i]);
    return n;
}
size_t flat_cum_average(double* __restrict out, const double* __restrict in, size_t n) {
    double average = 0;
    for (size_t i = 0; i < n; ++i) {
        const auto count = static_cast<double>(i + 1);
        out[i] = average = (in[i] + (count - 1) * average) / count;
    }
    return n;
}
size_t flat_cum_variance(double* __restrict out, const double* __restrict in, size_t n) {
    double s = 0, q = 0;
    for (size_t i = 0; i < n; ++i) {
        s += in[i];
        q += in[i] * in[i];
        const auto count = static_cast<double>(i + 1);
        out[i] = (q - s * s / count) / count;
    }
    return n;
}

// ---- Two ordered sequences, the best values ----

template <class V> void sort_values(Column<V>& column) { std::sort(column.values.begin(), column.values.end()); }
template <class V> const Column<V>& sorted_column() {
    static const Column<V> column = [] {
        auto sorted = random_column<V>(capacity<V>(), single_runs, 5);
        sort_values(sorted);
        return sorted;
    }();
    return column;
}
template <class V> qvo_seq_iterator_h sorted() {
    static TileSeries<V> source(sorted_column<V>(), 1);
    source.get()->reset(source.get());
    return source.get();
}
/// Of equal heads one is kept.
template <class V> size_t flat_union(V* __restrict out, const V* __restrict in, size_t n) {
    const auto& right = sorted_column<V>().values;
    size_t i = 0, j = 0, k = 0;
    while (i < n && j < right.size()) {
        const V a = in[i], b = right[j];
        out[k++] = b <= a ? b : a;
        i += a <= b;
        j += b <= a;
    }
    while (i < n) out[k++] = in[i++];
    while (j < right.size()) out[k++] = right[j++];
    return k;
}
constexpr size_t top = 100;
template <class V> size_t flat_top_min(V* __restrict out, const V* __restrict in, size_t n) {
    std::partial_sort_copy(in, in + n, out, out + top);
    return top;
}

// ---- Strings of 8 bytes, given as words ----

using Text = qvo_uint8;
using Texts = std::array<qvo_uint8, 2>;

/// Up to 8 letters and zero bytes after them.
void make_texts(Column<Text>& column) {
    for (Text& text : column.values) text = 0x6162636465666768 >> (text % 8 * 8);
}
const Column<Text>& other_texts() {
    static const Column<Text> column = [] {
        auto texts = random_column<Text>(capacity<Text>(), single_runs, 6);
        make_texts(texts);
        return texts;
    }();
    return column;
}
/// A constructor of two strings. The second operand repeats for ever.
template <QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h)>
QVO_RET with_texts(qvo_seq_iterator_h result, qvo_seq_iterator_h input) {
    static TileSeries<Text> source(other_texts(), 4 * 255);
    source.get()->reset(source.get());
    source.get()->elem_type = input->elem_type = QVO_DD_CHAR;
    return construct(result, input, source.get());
}
Text other_text(size_t i) { return other_texts().values[i % capacity<Text>()]; }

size_t flat_add_texts(Texts* __restrict out, const Text* __restrict in, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        char both[sizeof(Texts)] = {};
        const Text right = other_text(i);
        const size_t length = strnlen(reinterpret_cast<const char*>(&in[i]), sizeof(Text));
        std::memcpy(both, &in[i], length);
        std::memcpy(both + length, &right, strnlen(reinterpret_cast<const char*>(&right), sizeof right));
        std::memcpy(&out[i], both, sizeof both);
    }
    return n;
}
size_t flat_cat(Texts* __restrict out, const Text* __restrict in, size_t n) {
    for (size_t i = 0; i < n; ++i) out[i] = {in[i], other_text(i)};
    return n;
}
size_t flat_less_texts(qvo_seq_bool* __restrict out, const Text* __restrict in, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const Text right = other_text(i);
        out[i] = std::memcmp(&in[i], &right, sizeof right) < 0;
    }
    return n;
}

// ---- Copies, constants ----

template <class V> size_t flat_copy(V* __restrict out, const V* __restrict in, size_t n) {
    std::memcpy(out, in, n * sizeof(V));
    return n;
}
template <class V> size_t flat_fill(V* __restrict out, const V*, size_t n) {
    std::fill_n(out, n, V{7});
    return n;
}
/// As many positions of a constant as there is input.
template <class V, QVO_RET (*construct)(qvo_seq_iterator_h, V)>
QVO_RET limited_constant(qvo_seq_iterator_h result, qvo_seq_iterator_h) {
    static qvo_seq_iterator_t constant;
    if (const QVO_RET rc = construct(&constant, 7); rc != QVO_S_OK) return rc;
    return qvo_seq_limit(result, &constant, 0, 4 * capacity<V>() - 1);
}
QVO_RET array_of_texts(qvo_seq_iterator_h result, qvo_seq_iterator_h input) {
    const QVO_RET rc = qvo_seq_unget_char(result, input->tile.u.arr_char, capacity<Text>(), sizeof(Text));
    result->owned_buf = 0;
    return rc;
}
/// For families that leave runs to the consumer: they are set once.
template <QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h)>
QVO_RET with_runs(qvo_seq_iterator_h result, qvo_seq_iterator_h input) {
    std::memset(result->tile.u.arr_uint1, 1, sizeof result->tile.u);
    return construct(result, input);
}
QVO_RET first_of_two(qvo_seq_iterator_h result, qvo_seq_iterator_h input) {
    static qvo_seq_iterator_t second;
    return qvo_seq_tee(result, &second, input);
}

// ---- Values along two timelines, of which the first stands after all of the second ----

template <class V, class Construct>
QVO_RET along_time(qvo_seq_iterator_h result, qvo_seq_iterator_h values, Construct construct) {
    static const Column<qvo_uint8> now{{1'000'000'000}, {1}};
    static const Column<qvo_uint8> times = [] {
        Column<qvo_uint8> column;
        for (qvo_uint8 t = 1; t <= 4 * capacity<V>(); ++t) column.values.push_back(t);
        column.runs.assign(column.values.size(), 1);
        return column;
    }();
    static Source<qvo_uint8> ts1(now), ts2(times);
    static qvo_seq_iterator_t aligned;
    ts1.get()->reset(ts1.get());
    ts2.get()->reset(ts2.get());
    if (const QVO_RET rc = construct(&aligned, ts1.get(), ts2.get(), values); rc != QVO_S_OK) return rc;
    return qvo_seq_limit(result, &aligned, 0, 4 * capacity<V>() - 1);
}
/// A value for each timestamp.
template <class V> size_t flat_times(V* __restrict out, const V* __restrict in, size_t n) {
    const qvo_uint8 now = 1'000'000'000;
    const size_t count = std::min(n, 4 * capacity<V>());
    qvo_uint8 next = 0;
    V value = 0;
    for (size_t i = 0; i < count; ++i) {
        if (now >= next) {
            value = in[i];
            next = i + 1;
        }
        out[i] = value;
        benchmark::DoNotOptimize(next);
    }
    return count;
}
#define STRETCHED(type) \
    [](auto it, auto ts1, auto ts2, auto values) { return qvo_seq_stretch_uint8_##type(it, ts1, ts2, values, 0); }

#define MEMBERS(type)                                                                                                \
    ROW("agg_min", type, qvo_##type, all, qvo_seq_agg_min_##type, flat_min)                                          \
    ROW("agg_min_max", type, qvo_##type, all, qvo_seq_agg_min_max_##type, flat_min_max)                              \
    ROW("agg_prd", type, Product<qvo_##type>, all, qvo_seq_agg_prd_##type, flat_product, make_signs)                 \
    ROW("agg_dev", type, double, all, qvo_seq_agg_dev_##type, flat_spread<false>)                                    \
    ROW("agg_var_samp", type, double, all, qvo_seq_agg_var_samp_##type, flat_spread<true>)                           \
    ROW("agg_count_not_null", type, qvo_uint8, singles, with_runs<qvo_seq_agg_count_not_null>, flat_count)           \
    ROW("cum_min", type, qvo_##type, all, qvo_seq_cum_agg_min_##type, flat_cum_min)                                  \
    ROW("cum_prd", type, Product<qvo_##type>, all, qvo_seq_cum_agg_prd_##type, flat_cum_product, make_signs)         \
    ROW("union", type, qvo_##type, singles,                                                                          \
        WITH(qvo_seq_union_##type(result, input, sorted<qvo_##type>(), QVO_SEQ_ASC_ORDER)), flat_union, sort_values) \
    ROW("top_min", type, qvo_##type, singles, WITH(qvo_seq_top_min_##type(result, input, top)), flat_top_min)        \
    ROW("rle_decode", type, qvo_##type, all, with_runs<qvo_seq_rle_decode>, flat_copy)                               \
    ROW("stretch", type, qvo_##type, all, WITH(along_time<qvo_##type>(result, input, STRETCHED(type))), flat_times)  \
    ROW("asof_join", type, qvo_##type, all,                                                                          \
        WITH(along_time<qvo_##type>(result, input, qvo_seq_asof_join_uint8_##type)), flat_times)                     \
    ROW("tee", type, qvo_##type, tile, first_of_two, flat_copy)                                                      \
    ROW("const", type, qvo_##type, singles, (limited_constant<qvo_##type, qvo_seq_const_##type>), flat_fill)

QVO_BENCH_FAMILIES(members) {
    MEMBERS(int4)
    MEMBERS(double)
    ROW("cum_avg", double, double, tile, qvo_seq_cum_agg_avg_double, flat_cum_average)
    ROW("cum_var", double, double, tile, qvo_seq_cum_agg_var_double, flat_cum_variance)
    add_rows<Text, Texts>("add", "char8", all, {with_texts<qvo_seq_add_char>, flat_add_texts, make_texts});
    add_rows<Text, Texts>("cat", "char8", all, {with_texts<qvo_seq_cat>, flat_cat, make_texts});
    add_rows<Text, qvo_seq_bool>("lt", "char8", all, {with_texts<qvo_seq_lt_char>, flat_less_texts, make_texts});
    add_rows<Text, Text>("unget", "char8", tile, {array_of_texts, flat_copy, make_texts});
}

}  // namespace
}  // namespace qvo::bench
