// Operators that reshape, combine or look along one sequence, hashes and callbacks.
#include <memory>

#include "qvohost.h"
#include "rows.h"

namespace qvo::bench {
namespace {

// ---- Second operands and callbacks ----

/// The positions of every 3rd run of four tiles of a type of the given width.
template <size_t Width> const Column<qvo_uint8>& some_positions() {
    static Column<qvo_uint8> column;
    if (!column.values.empty() && column.values[0] == run_of_case) return column;
    column = {};
    for (size_t at = 1; at < 4 * (sizeof(qvo_seq_payload_t) / (Width + 1)); at += 3)
        column.values.push_back(at * run_of_case);
    column.runs.assign(column.values.size(), 1);
    return column;
}
template <size_t Width> qvo_seq_iterator_h positions() {
    static std::unique_ptr<Source<qvo_uint8>> source;
    source = std::make_unique<Source<qvo_uint8>>(some_positions<Width>());
    return source->get();
}

/// A series of four sequences, each the tile of `input`.
struct Series {
    qvo_seq_meta_iterator_t meta{};
    qvo_seq_iterator_h input = nullptr;
    unsigned at = 0;
    bool loaded = false;

    static Series& of(qvo_seq_meta_iterator_h meta) { return *static_cast<Series*>(meta->user_data); }
    QVO_RET move(unsigned to) {
        at = to;
        loaded = false;
        meta.iterator.tile_size = meta.iterator.tile_offs = 0;
        return at < 4 ? QVO_S_OK : QVO_S_CURSOR_END;
    }
    QVO_RET load() {
        if (loaded) return QVO_S_CURSOR_END;
        loaded = true;
        meta.iterator.tile.u = input->tile.u;
        meta.iterator.tile_size = input->tile_size;
        return QVO_S_OK;
    }
    template <class V> qvo_seq_meta_iterator_h open(qvo_seq_iterator_h tile) {
        input = tile;
        input->reset(input);
        input->next(input);
        meta.user_data = meta.iterator.buf = this;
        meta.first = [](qvo_seq_meta_iterator_h m) { return of(m).move(0); };
        meta.next = [](qvo_seq_meta_iterator_h m) { return of(m).move(of(m).at + 1); };
        meta.iterator.next = [](qvo_seq_iterator_h it) { return static_cast<Series*>(it->buf)->load(); };
        meta.iterator.elem_type = type_code<V>();
        meta.iterator.elem_size = sizeof(V);
        return &meta;
    }
};
Series series;

template <class V> [[gnu::noinline]] V half(V v) { return static_cast<V>(v / 2); }
template <class V> [[gnu::noinline]] qvo_seq_bool is_large(V v) { return v > 50; }
template <class V> [[gnu::noinline]] V larger(V a, V b) { return a > b ? a : b; }
template <class V> [[gnu::noinline]] V part(V v, void* divisor) {
    return static_cast<V>(v / *static_cast<V*>(divisor));
}
template <class V> V (*volatile call_half)(V) = half<V>;
template <class V> V (*volatile call_part)(V, void*) = part<V>;
template <class V> V two = 2;
template <class V> qvo_seq_bool (*volatile call_is_large)(V) = is_large<V>;
template <class V> V (*volatile call_larger)(V, V) = larger<V>;

/// Signs that change, and zeros.
template <class V> void centre(Column<V>& column) {
    for (V& value : column.values) value = static_cast<V>(value - 50);
}
/// No two neighbours the same.
template <class V> void differ(Column<V>& column) {
    for (size_t i = 0; i < column.values.size(); ++i) column.values[i] = static_cast<V>(i % 97);
}
template <class V> void with_nans(Column<V>& column) {
    for (V& value : column.values) value = value > 80 ? std::numeric_limits<V>::quiet_NaN() : value;
}

// ---- The same over flat arrays ----

template <class V> size_t flat_norm(double* __restrict out, const V* __restrict in, size_t n) {
    double sum = 0;
    for (size_t i = 0; i < n; ++i) sum += static_cast<double>(in[i]) * static_cast<double>(in[i]);
    const double norm = std::sqrt(sum);
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<double>(in[i]) / norm;
    return n;
}
template <class V> size_t flat_thin(V* __restrict out, const V* __restrict in, size_t n) {
    size_t k = 0;
    for (size_t i = run_of_case; i < n; i += 3 * run_of_case) out[k++] = in[i];
    return k;
}
template <class V> size_t flat_repeat(V* __restrict out, const V* __restrict in, size_t n) {
    for (size_t i = 0; i < n; ++i) out[2 * i] = out[2 * i + 1] = in[i];
    return 2 * n;
}
template <class V> size_t flat_reverse(V* __restrict out, const V* __restrict in, size_t n) {
    for (size_t i = 0; i < n; ++i) out[i] = in[n - 1 - i];
    return n;
}
template <class V> size_t flat_diff(V* __restrict out, const V* __restrict in, size_t n) {
    out[0] = 0;
    for (size_t i = 1; i < n; ++i) out[i] = static_cast<V>(in[i] - in[i - 1]);
    return n;
}
template <class V> size_t flat_trend(qvo_int1* __restrict out, const V* __restrict in, size_t n) {
    int trend = out[0] = 0;
    for (size_t i = 1; i < n; ++i) {
        trend = in[i] > in[i - 1] ? 1 : in[i] < in[i - 1] ? -1 : trend;
        out[i] = static_cast<qvo_int1>(trend);
    }
    return n;
}

template <class V> size_t flat_join(V* __restrict out, const V* __restrict in, size_t n) {
    std::memcpy(out, in, n * sizeof(V));
    return n;
}
template <class V> size_t flat_concat(V* __restrict out, const V* __restrict in, size_t n) {
    const auto& right = other_column<V>().values;
    std::memcpy(out, in, n * sizeof(V));
    std::memcpy(out + n, right.data(), right.size() * sizeof(V));
    return n + right.size();
}
template <class V> size_t flat_map(V* __restrict out, const V* __restrict in, size_t n) {
    const auto& wanted = some_positions<sizeof(V)>().values;
    size_t k = 0;
    for (; k < wanted.size() && wanted[k] < n; ++k) out[k] = in[wanted[k]];
    return k;
}
/// The first call keeps every element.
template <class V> size_t flat_unique(V* __restrict out, const V* __restrict in, size_t n) {
    size_t k = 0;
    for (size_t i = 0; i < n; ++i) {
        out[k] = in[i];
        k += i < capacity<V>() || in[i] != in[i - 1];
    }
    return k;
}
/// Where neighbours differ the first call keeps no more than the others.
template <class V> size_t flat_unique_runs(V* __restrict out, const V* __restrict in, size_t n) {
    size_t k = 0;
    for (size_t i = 0; i < n; ++i) {
        out[k] = in[i];
        k += i == 0 || in[i] != in[i - 1];
    }
    return k;
}
/// A zero counts for the value after it.
template <class V> size_t flat_cross(qvo_uint8* __restrict out, const V* __restrict in, size_t n) {
    size_t k = 0, n_zeros = 0;
    int sign = 0;
    for (size_t i = 0; i < n; ++i) {
        if (in[i] == 0) {
            n_zeros += sign != 0;
            continue;
        }
        const int now = in[i] > 0 ? 1 : -1;
        if (now == -sign) out[k++] = i - n_zeros;
        if (now != sign) n_zeros = 0;
        sign = now;
    }
    return k;
}
template <class V> size_t flat_skip_nan(V* __restrict out, const V* __restrict in, size_t n) {
    size_t k = 0;
    for (size_t i = 0; i < n; ++i) {
        out[k] = in[i];
        k += in[i] == in[i];
    }
    return k;
}
constexpr size_t n_intervals = 50;
template <class V> size_t flat_histogram(qvo_uint8* __restrict out, const V* __restrict in, size_t n) {
    std::memset(out, 0, n_intervals * sizeof *out);
    for (size_t i = 0; i < n; ++i) {
        if (!(in[i] >= 0 && in[i] < 101)) return 0;
        ++out[static_cast<size_t>(in[i]) * n_intervals / 101];
    }
    return n_intervals;
}
template <class V> size_t flat_extrema(qvo_uint8* __restrict out, const V* __restrict in, size_t n) {
    size_t k = 0;
    int direction = 0;
    for (size_t i = 1; i < n; ++i) {
        if (in[i] == in[i - 1]) continue;
        const int now = in[i] > in[i - 1] ? 1 : -1;
        if (now == -direction) out[k++] = i - 1;
        direction = now;
    }
    return k;
}
/// As many as there is input.
template <class V> size_t flat_progression(V* __restrict out, const V*, size_t n) {
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<V>(static_cast<V>(i) * 3 + 1);
    return n;
}

template <class V> size_t flat_func(V* __restrict out, const V* __restrict in, size_t n) {
    const auto f = call_half<V>;
    for (size_t i = 0; i < n; ++i) out[i] = f(in[i]);
    return n;
}
template <class V> size_t flat_func_ctx(V* __restrict out, const V* __restrict in, size_t n) {
    const auto f = call_part<V>;
    for (size_t i = 0; i < n; ++i) out[i] = f(in[i], &two<V>);
    return n;
}
template <class V> size_t flat_cond(qvo_seq_bool* __restrict out, const V* __restrict in, size_t n) {
    const auto f = call_is_large<V>;
    for (size_t i = 0; i < n; ++i) out[i] = f(in[i]);
    return n;
}
template <class V> size_t flat_func2(V* __restrict out, const V* __restrict in, size_t n) {
    const auto f = call_larger<V>;
    const auto& right = other_column<V>().values;
    n = std::min(n, right.size());
    for (size_t i = 0; i < n; ++i) out[i] = f(in[i], right[i]);
    return n;
}

[[gnu::noinline]] bool is_word(const char* string, size_t width) { return std::memcmp(string, "A", width) == 0; }
bool (*volatile call_is_word)(const char*, size_t) = is_word;
size_t flat_match(qvo_seq_bool* __restrict out, const char* __restrict in, size_t n) {
    const auto match = call_is_word;
    for (size_t i = 0; i < n; ++i) out[i] = match(in + i, 1);
    return n;
}

template <class V> size_t flat_hash(qvo_uint4* __restrict out, const V* __restrict in, size_t n) {
    for (size_t i = 0; i < n; ++i) out[i] = plain_hash(in[i]);
    return n;
}

void halve(Column<qvo_uint1>& conditions) {
    for (qvo_uint1& condition : conditions.values) condition %= 2;
}
void all_true(Column<qvo_uint1>& conditions) { conditions.values.assign(conditions.values.size(), 1); }
constexpr size_t n_first = 455;
QVO_RET first_positions(qvo_seq_iterator_h result, qvo_seq_iterator_h input) {
    result->reset = qvo_seq_reset_unary_iterator;
    return qvo_seq_filter_first_pos(result, input, n_first);
}
size_t flat_first_positions(qvo_uint8* __restrict out, const qvo_uint1* __restrict, size_t) {
    for (size_t i = 0; i < n_first; ++i) out[i] = i;
    return n_first;
}
size_t flat_not(qvo_seq_bool* __restrict out, const qvo_seq_bool* __restrict in, size_t n) {
    for (size_t i = 0; i < n; ++i) out[i] = in[i] == 0;
    return n;
}
size_t flat_positions(qvo_uint8* __restrict out, const qvo_uint1* __restrict in, size_t n) {
    size_t found = 0;
    for (size_t i = 0; i < n; ++i) {
        out[found] = i;
        found += in[i] != 0;
    }
    return found;
}

// ---- The table ----

#define FAMILIES(type)                                                                                                 \
    ROW("norm", type, double, tiles, qvo_seq_norm_##type, flat_norm)                                                   \
    ROW("thin", type, qvo_##type, equal_runs, WITH(qvo_seq_thin_##type(result, input, run_of_case, 3 * run_of_case)),  \
        flat_thin)                                                                                                     \
    ROW("repeat", type, qvo_##type, short_ones, WITH(qvo_seq_repeat_##type(result, input, 2)), flat_repeat)            \
    ROW("reverse", type, qvo_##type, tiles, qvo_seq_reverse_##type, flat_reverse)                                      \
    ROW("reverse_buffer", type, qvo_##type, singles, qvo_seq_reverse_##type, flat_reverse)                             \
    ROW("diff", type, qvo_##type, all, qvo_seq_diff_##type, flat_diff)                                                 \
    ROW("trend", type, qvo_int1, all, qvo_seq_trend_##type, flat_trend)                                                \
    ROW("concat", type, qvo_##type, all, WITH(qvo_seq_concat(result, input, other<qvo_##type>())), flat_concat)        \
    ROW("join", type, qvo_##type, all, WITH(qvo_seq_join_##type(result, series.open<qvo_##type>(input))), flat_join)   \
    ROW("map", type, qvo_##type, equal_runs, WITH(qvo_seq_map_##type(result, input, positions<sizeof(qvo_##type)>())), \
        flat_map)                                                                                                      \
    ROW("unique", type, qvo_##type, singles, qvo_seq_unique_##type, flat_unique)                                       \
    ROW("unique_runs", type, qvo_##type, all, qvo_seq_unique_##type, flat_unique_runs, differ<qvo_##type>)             \
    ROW("cross", type, qvo_uint8, all, WITH(qvo_seq_cross_##type(result, input, 0)), flat_cross, centre<qvo_##type>)   \
    ROW("histogram", type, qvo_uint8, all, WITH(qvo_seq_histogram_##type(result, input, 0, 101, n_intervals)),         \
        flat_histogram)                                                                                                \
    ROW("extrema", type, qvo_uint8, all, WITH(qvo_seq_extrema_##type(result, input, 0)), flat_extrema)                 \
    ROW("aprogres", type, qvo_##type, singles,                                                                         \
        WITH((void(input), qvo_seq_aprogres_##type(result, 1, 3, 4 * capacity<qvo_##type>()))), flat_progression)      \
    ROW("func", type, qvo_##type, all, WITH(qvo_seq_func_##type(result, input, call_half<qvo_##type>)), flat_func)     \
    ROW("func_ctx", type, qvo_##type, all,                                                                             \
        WITH(qvo_seq_func_ctx_##type(result, input, call_part<qvo_##type>, &two<qvo_##type>)), flat_func_ctx)          \
    ROW("cond", type, qvo_seq_bool, all, WITH(qvo_seq_cond_##type(result, input, call_is_large<qvo_##type>)),          \
        flat_cond)                                                                                                     \
    ROW("func2", type, qvo_##type, tile,                                                                               \
        WITH(qvo_seq_func2_##type(result, input, other<qvo_##type>(), call_larger<qvo_##type>)), flat_func2)

QVO_BENCH_FAMILIES(shape) {
    FAMILIES(int1)
    FAMILIES(int4)
    FAMILIES(double)
    ROW("hash", int4, qvo_uint4, all, WITH(qvo_seq_hash(result, input, nullptr)), flat_hash)
    ROW("hash", double, qvo_uint4, all, WITH(qvo_seq_hash(result, input, nullptr)), flat_hash)
    ROW("filter_pos", uint1, qvo_uint8, all, qvo_seq_filter_pos, flat_positions, halve)
    ROW("filter_first_pos", uint1, qvo_uint8, tile, first_positions, flat_first_positions, all_true)
    ROW("not", uint1, qvo_seq_bool, all, qvo_seq_not, flat_not, halve)
    ROW("filter_search", uint1, qvo_uint8, all, WITH(qvo_seq_filter_search(result, input, input)), flat_positions,
        halve)
    ROW("skip_nan", float, float, all, qvo_seq_skip_nan_float, flat_skip_nan<float>, with_nans<float>)
    ROW("skip_nan", double, double, all, qvo_seq_skip_nan_double, flat_skip_nan<double>, with_nans<double>)
    // Strings of one byte, the pattern once without wildcards and once as a substring.
    add_rows<char, qvo_seq_bool>("match", "equal", all, {WITH(qvo_seq_match(result, input, "A")), flat_match});
    add_rows<char, qvo_seq_bool>("match", "within", all, {WITH(qvo_seq_match(result, input, "%A%")), flat_match});
}

}  // namespace
}  // namespace qvo::bench
