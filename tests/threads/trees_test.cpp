// Independent iterator trees in 8 threads: the same results as in one thread. Built with the thread sanitizer (preset
// tsan), this shows that trees share nothing but the process-wide settings, which are only read, and the generators of
// the sorts' pivots.
#include <deque>
#include <functional>
#include <thread>

#include "support/types.h"

/// For the sanitizer: it reports a race only while it remembers where the first side of it happened. This is the
/// longest memory it has; with the usual one it missed some of the races that this test is to find.
extern "C" const char* __tsan_default_options() { return "history_size=7"; }

namespace test {
namespace {

constexpr size_t n_values = 3000;

/// The iterators of one tree and what they read.
class Tree {
 public:
    Tree() = default;
    Tree(const Tree&) = delete;
    ~Tree() {
        for (qvo_seq_iterator_t& it : records_)
            if (qvo_seq_is_hash_aggreate(&it)) qvo_seq_free_hash(&it);
    }
    qvo_seq_iterator_h add() {
        records_.emplace_back();
        records_.back().reset = qvo_seq_reset_unary_iterator;  // where the constructor leaves it to the caller
        return &records_.back();
    }
    template <class V> V* array(size_t n) { return static_cast<V*>(arrays_.emplace_back(n * sizeof(V)).data()); }
    qvo_seq_meta_iterator_h add_series() { return &series_.emplace_back(); }

 private:
    struct Array : std::vector<uint64_t> {
        explicit Array(size_t bytes) : vector(bytes / 8 + 1) {}
        void* data() { return vector::data(); }
    };
    std::deque<qvo_seq_iterator_t> records_;
    std::deque<qvo_seq_meta_iterator_t> series_;
    std::deque<Array> arrays_;
};

// Arguments: what is called with the tree stands for its result, anything else for itself.
template <class A> auto resolve(Tree& t, A argument) {
    if constexpr (std::is_invocable_v<A, Tree&>)
        return argument(t);
    else
        return argument;
}

/// An iterator of the tree, made by `construct` (result, arguments ...).
template <class... P, class... A>
qvo_seq_iterator_h make(Tree& t, QVO_RET (*construct)(qvo_seq_iterator_h, P...), A... arguments) {
    const qvo_seq_iterator_h it = t.add();
    EXPECT_EQ(construct(it, static_cast<P>(resolve(t, arguments))...), QVO_S_OK);
    return it;
}

qvo_seq_iterator_h spare(Tree& t) { return t.add(); }

/// Small numbers that go up and down.
qvo_int4* int_array(Tree& t) {
    qvo_int4* const values = t.array<qvo_int4>(n_values);
    for (int i = 0; i < int{n_values}; ++i) values[i] = i * 37 % 101 - i / 50;
    return values;
}
qvo_seq_iterator_h ints(Tree& t) { return make(t, qvo_seq_unget_int4, int_array, n_values); }
qvo_seq_iterator_h twenty(Tree& t) { return make(t, qvo_seq_const_int4, 20); }
qvo_seq_iterator_h keys(Tree& t) { return make(t, qvo_seq_div_int4, ints, twenty); }
qvo_seq_iterator_h doubles(Tree& t) { return make(t, qvo_seq_int4_to_double, ints); }
qvo_seq_iterator_h bools(Tree& t) { return make(t, qvo_seq_gt_int4, ints, twenty); }
qvo_seq_iterator_h trues(Tree& t) { return make(t, qvo_seq_const_uint1, 1); }
qvo_seq_iterator_h parsed(Tree& t) { return make(t, qvo_seq_parse_int4, "{1, 1, 2, -7, 5, 9, -1, 4}"); }
qvo_seq_iterator_h words(Tree& t) {
    const qvo_seq_iterator_h it = make(t, qvo_seq_parse_char, "{one, two, three, two, one}", 8);
    std::memset(it->tile.u.arr_uint1, 1, sizeof it->tile.u);  // the parser writes no runs
    return it;
}
qvo_seq_iterator_h positions(Tree& t) { return make(t, qvo_seq_aprogres_uint8, 3, 7, 300); }
qvo_seq_iterator_h early(Tree& t) { return make(t, qvo_seq_aprogres_uint4, 10, 2, 2000); }
qvo_seq_iterator_h late(Tree& t) { return make(t, qvo_seq_aprogres_uint4, 10, 3, 2000); }

/// A permutation by a sort whose pivots depend on the other threads. Values stand at most once, so that it does not.
template <class V, QVO_RET (*Sort)(const V*, qvo_seq_no_t*, qvo_size_t, qvo_seq_order_t)>
const qvo_seq_no_t* sorted(Tree& t) {
    V* const values = t.array<V>(n_values);
    for (size_t i = 0; i < n_values; ++i) values[i] = static_cast<V>(i * 1009 % n_values);
    qvo_seq_no_t* const permutation = t.array<qvo_seq_no_t>(n_values);
    EXPECT_EQ(Sort(values, permutation, n_values, QVO_SEQ_DESC_ORDER), QVO_S_OK);
    return permutation;
}

/// A series of two sequences, the integers.
qvo_seq_meta_iterator_h series(Tree& t) {
    const qvo_seq_meta_iterator_h meta = t.add_series();
    meta->user_data = int_array(t);
    meta->first = [](qvo_seq_meta_iterator_h m) {
        return qvo_seq_unget_int4(&m->iterator, static_cast<qvo_int4*>(m->user_data), n_values);
    };
    meta->next = [](qvo_seq_meta_iterator_h m) {
        return m->iterator.buf_size == n_values
                   ? qvo_seq_unget_int4(&m->iterator, static_cast<qvo_int4*>(m->user_data), 1000)
                   : QVO_S_CURSOR_END;
    };
    meta->first(meta);
    return meta;
}

char* text(Tree& t) { return std::strcpy(t.array<char>(10), "{1,22,3}"); }
int store_length(const char* token, qvo_seq_tile_t* tile, int index) {
    tile->u.arr_int4[index] = static_cast<qvo_int4>(std::strlen(token));
    return 1;
}
qvo_int4 twice(qvo_int4 value) { return value * 2; }
qvo_int4 sum(qvo_int4 left, qvo_int4 right, void*) { return left + right; }
qvo_seq_bool odd(qvo_int4 value, void*) { return value % 2 != 0; }

struct Family {
    const char* name;
    qvo_seq_iterator_h (*tree)(Tree&);
};

#define F(stem, ...)                                               \
    {                                                              \
#stem, [](Tree & t) { return make(t, stem, __VA_ARGS__); } \
    }
const Family families[] = {
    // Sources, slices, counts
    F(qvo_seq_const_char, "ab", 2), F(qvo_seq_unget_int4, int_array, n_values), F(qvo_seq_limit, ints, 10, 2000),
    F(qvo_seq_tee, spare, parsed), F(qvo_seq_rle_decode, ints), F(qvo_seq_agg_count, ints),
    F(qvo_seq_agg_count_not_null, ints), F(qvo_seq_aprogres_double, 0.5, 0.25, 3000),
    // Element by element
    F(qvo_seq_add_int4, ints, keys), F(qvo_seq_sub_int4, ints, keys), F(qvo_seq_mul_double, doubles, doubles),
    F(qvo_seq_div_double, doubles, doubles), F(qvo_seq_mod_int4, ints, twenty), F(qvo_seq_max_int4, ints, keys),
    F(qvo_seq_min_double, doubles, doubles), F(qvo_seq_eq_char, words, words), F(qvo_seq_le_int4, ints, keys),
    F(qvo_seq_and, bools, trues), F(qvo_seq_xor, bools, trues), F(qvo_seq_not, bools), F(qvo_seq_abs_int4, ints),
    F(qvo_seq_neg_double, doubles), F(qvo_seq_int4_to_double, ints), F(qvo_seq_int8_from_double, doubles),
    // Text, callbacks, patterns
    F(qvo_seq_add_char, words, words), F(qvo_seq_cat, ints, positions), F(qvo_seq_parse_double, "{1, 2.5e3, -7}"),
    F(qvo_seq_parse_char, "{'a', 'b'}", 0), F(qvo_seq_custom_parse, text, QVO_DD_INT4, 4, store_length),
    F(qvo_seq_print_char, words, 20, "<%.8s>"), F(qvo_seq_func_int4, ints, twice),
    F(qvo_seq_func2_ctx_int4, ints, keys, sum, nullptr), F(qvo_seq_cond_ctx_int4, ints, odd, nullptr),
    F(qvo_seq_match, words, "t%"), F(qvo_seq_match, words, "%o%"), F(qvo_seq_match, words, "one"),
    // Choice, filters, shaping, combination
    F(qvo_seq_iif_int4, bools, ints, keys), F(qvo_seq_if_int4, bools, ints, keys), F(qvo_seq_filter_int4, bools, ints),
    F(qvo_seq_filter_pos, bools), F(qvo_seq_filter_search, bools, positions), F(qvo_seq_filter_first_pos, trues, 5),
    F(qvo_seq_norm_int4, ints), F(qvo_seq_thin_int4, ints, 2, 3), F(qvo_seq_repeat_int4, ints, 3),
    F(qvo_seq_reverse_int4, ints), F(qvo_seq_reverse_char, words), F(qvo_seq_diff_int4, ints),
    F(qvo_seq_trend_int4, ints), F(qvo_seq_concat, ints, keys), F(qvo_seq_join_int4, series),
    F(qvo_seq_map_int4, ints, positions), F(qvo_seq_unique_int4, keys),
    F(qvo_seq_union_uint4, early, late, QVO_SEQ_ASC_ORDER), F(qvo_seq_cross_int4, ints, 0),
    F(qvo_seq_skip_nan_double, doubles), F(qvo_seq_histogram_int4, ints, -100, 200, 10),
    F(qvo_seq_extrema_int4, ints, 0),
    // Aggregates
    F(qvo_seq_agg_max_int4, ints), F(qvo_seq_agg_sum_int4, ints), F(qvo_seq_agg_prd_double, doubles),
    F(qvo_seq_agg_avg_int4, ints), F(qvo_seq_agg_dev_samp_int4, ints), F(qvo_seq_agg_min_max_int4, ints),
    F(qvo_seq_cov_int4, ints, keys), F(qvo_seq_corr_int4, ints, keys), F(qvo_seq_wsum_int4, ints, keys),
    F(qvo_seq_wavg_int4, ints, keys), F(qvo_seq_window_agg_sum_int4, ints, 7), F(qvo_seq_window_agg_max_int4, ints, 7),
    F(qvo_seq_window_agg_var_int4, ints, 7), F(qvo_seq_window_agg_ema_double, doubles, 7),
    F(qvo_seq_window_agg_atr_double, doubles, 7), F(qvo_seq_cum_agg_sum_int4, ints), F(qvo_seq_cum_agg_min_int4, ints),
    F(qvo_seq_cum_agg_dev_double, doubles), F(qvo_seq_group_agg_sum_int4, ints, keys),
    F(qvo_seq_group_agg_last_int4, ints, keys), F(qvo_seq_group_agg_wavg_int4, ints, ints, keys),
    F(qvo_seq_group_agg_count, keys), F(qvo_seq_grid_agg_max_int4, ints, 7), F(qvo_seq_grid_agg_avg_int4, ints, 7),
    F(qvo_seq_top_max_int4, ints, 10), F(qvo_seq_top_pos_min_int4, ints, 10), F(qvo_seq_agg_approxdc, ints),
    F(qvo_seq_agg_approxdc_hash, early), F(qvo_seq_group_agg_approxdc, ints, keys),
    F(qvo_seq_group_agg_approxdc_hash, early, keys), F(qvo_seq_hash, ints, nullptr),
    F(qvo_seq_hash_agg_sum_int4, spare, ints, keys, 0), F(qvo_seq_hash_agg_max_double, spare, doubles, words, 0),
    F(qvo_seq_hash_agg_count, spare, ints, 0), F(qvo_seq_hash_agg_approxdc, spare, ints, keys, 0),
    F(qvo_seq_hash_agg_dup_count, spare, keys, ints, 0, 0, 2),
    // Order and alignment
    F(qvo_seq_order_by_int4, ints, (sorted<qvo_int4, qvo_seq_sort_int4>), n_values, nullptr),
    F(qvo_seq_order_by_int4, ints, (sorted<qvo_double, qvo_seq_sort_double>), n_values, nullptr),
    F(qvo_seq_stretch_uint4_int4, late, early, ints, -1), F(qvo_seq_stretch0_uint4_int4, late, early, ints, -1),
    F(qvo_seq_asof_join_uint4_int4, late, early, ints)};
#undef F

/// The first tiles of an iterator, and what it leaves after a reset.
void read(qvo_seq_iterator_h it, std::string& bytes) {
    for (int tiles = 0; tiles < 20 && it->next(it) == QVO_S_OK; ++tiles)
        bytes.append(it->tile.u.arr_char, size_t{it->tile_size} * it->elem_size);
    EXPECT_EQ(it->reset(it), QVO_S_OK);
}

/// What a family delivers: twice with a reset between, and joined from two parts where it can be.
std::string result(const Family& family) {
    Tree tree, other;
    const qvo_seq_iterator_h it = family.tree(tree);
    std::string bytes;
    read(it, bytes);
    read(it, bytes);
    if (it->prepare != nullptr && it->merge != nullptr) {
        const qvo_seq_iterator_h part = family.tree(other);
        EXPECT_EQ(it->prepare(it), QVO_S_OK);
        EXPECT_EQ(part->prepare(part), QVO_S_OK);
        EXPECT_EQ(it->merge(it, part), QVO_S_OK);
        read(it, bytes);
    }
    return bytes;
}

TEST(Threads, IndependentTreesGiveTheSameResults) {
    constexpr size_t n_families = std::size(families), n_threads = 8;
    std::string expected[n_families], actual[n_threads][n_families];
    const auto fill = [](std::string* results) {
        for (size_t i = 0; i < n_families; ++i) results[i] = result(families[i]);
    };
    fill(expected);
    std::vector<std::thread> threads;
    for (auto& results : actual) threads.emplace_back(fill, results);
    for (std::thread& thread : threads) thread.join();
    for (size_t i = 0; i < n_families; ++i) {
        EXPECT_FALSE(expected[i].empty()) << families[i].name;
        for (const auto& results : actual) EXPECT_TRUE(results[i] == expected[i]) << families[i].name;
    }
}

}  // namespace
}  // namespace test
