// Independent iterator trees in 8 threads: the same results as in one thread. Built with the thread sanitizer (preset
// tsan), this shows that trees share nothing but the process-wide settings, which are only read, and the generators of
// the sorts' pivots. That the library has no other data that could be written, its export list's test says.
#include <array>
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

/// The iterators of one tree and what they keep.
struct Tree {
    std::deque<qvo_seq_iterator_t> records;
    std::deque<std::vector<qvo_seq_no_t>> permutations;

    ~Tree() {
        for (qvo_seq_iterator_t& it : records)
            if (qvo_seq_is_hash_aggreate(&it)) qvo_seq_free_hash(&it);
    }
    qvo_seq_iterator_h add() {
        records.emplace_back().reset = qvo_seq_reset_unary_iterator;  // where the constructor leaves it to the caller
        return &records.back();
    }
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
qvo_seq_iterator_h ints(Tree& t) {
    static const auto values = [] {
        std::array<qvo_int4, n_values> up_and_down;
        for (int i = 0; i < int{n_values}; ++i) up_and_down[size_t(i)] = i * 37 % 101 - i / 50;
        return up_and_down;
    }();
    return make(t, qvo_seq_unget_int4, values.data(), n_values);
}
qvo_seq_iterator_h twenty(Tree& t) { return make(t, qvo_seq_const_int4, 20); }
qvo_seq_iterator_h keys(Tree& t) { return make(t, qvo_seq_div_int4, ints, twenty); }
qvo_seq_iterator_h doubles(Tree& t) { return make(t, qvo_seq_int4_to_double, ints); }
qvo_seq_iterator_h bools(Tree& t) { return make(t, qvo_seq_gt_int4, ints, twenty); }
qvo_seq_iterator_h words(Tree& t) {
    const qvo_seq_iterator_h it = make(t, qvo_seq_parse_char, "{one, two, three, two, one}", 8);
    std::memset(it->tile.u.arr_uint1, 1, sizeof it->tile.u);  // the parser writes no runs
    return it;
}
qvo_seq_iterator_h early(Tree& t) { return make(t, qvo_seq_aprogres_uint4, 10, 2, 2000); }
qvo_seq_iterator_h late(Tree& t) { return make(t, qvo_seq_aprogres_uint4, 10, 3, 2000); }

/// A permutation by a sort whose pivots depend on the other threads. Values stand at most once, so that it does not.
const qvo_seq_no_t* sorted(Tree& t) {
    std::vector<qvo_int4> values;
    for (size_t i = 0; i < n_values; ++i) values.push_back(static_cast<qvo_int4>(i * 1009 % n_values));
    auto& permutation = t.permutations.emplace_back(n_values);
    EXPECT_EQ(qvo_seq_sort_int4(values.data(), permutation.data(), n_values, QVO_SEQ_DESC_ORDER), QVO_S_OK);
    return permutation.data();
}

qvo_int4 sum(qvo_int4 left, qvo_int4 right, void*) { return left + right; }

#define F(stem, ...)                                               \
    {                                                              \
#stem, [](Tree & t) { return make(t, stem, __VA_ARGS__); } \
    }
// One of each kind: those that share no code, and all that take memory, count in the process or read its settings.
const struct Family {
    const char* name;
    qvo_seq_iterator_h (*tree)(Tree&);
} families[] = {F(qvo_seq_add_int4, ints, keys),
                F(qvo_seq_eq_char, words, words),
                F(qvo_seq_parse_double, "{1, 2.5e3, -7}"),
                F(qvo_seq_func2_ctx_int4, ints, keys, sum, nullptr),
                F(qvo_seq_iif_int4, bools, ints, keys),
                F(qvo_seq_filter_int4, bools, ints),
                F(qvo_seq_reverse_int4, ints),
                F(qvo_seq_agg_dev_samp_int4, ints),
                F(qvo_seq_cov_int4, ints, keys),
                F(qvo_seq_window_agg_var_int4, ints, 7),
                F(qvo_seq_group_agg_wavg_int4, ints, ints, keys),
                F(qvo_seq_agg_approxdc, ints),
                F(qvo_seq_hash_agg_max_double, spare, doubles, words, 0),
                F(qvo_seq_hash_agg_dup_count, spare, keys, ints, 0, 0, 2),
                F(qvo_seq_order_by_int4, ints, sorted, n_values, nullptr),
                F(qvo_seq_stretch0_uint4_int4, late, early, ints, -1)};
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
