// Independent iterator trees in 8 threads: the same results as in one thread. Built with the thread sanitizer (preset
// tsan), this shows that trees share nothing but the process-wide settings, which are only read.
#include <deque>
#include <functional>
#include <string>
#include <thread>

#include "support/types.h"

namespace test {
namespace {

/// The iterators of one tree and the arrays below it.
class Tree {
 public:
    ~Tree() {
        if (hash_ != nullptr) qvo_seq_release_hash(hash_);
        for (qvo_seq_iterator_t* it : loaded_) qvo_seq_free_buffer(it);
    }
    qvo_seq_iterator_h add() {
        records_.emplace_back();
        return &records_.back();
    }
    /// Small numbers that go up and down.
    qvo_seq_iterator_h ints(int from = 0) {
        std::vector<qvo_int4>& values = arrays_.emplace_back();
        for (int i = 0; i < 3000; ++i) values.push_back(from + i * 37 % 101 - i / 50);
        return built([&](auto it) { return qvo_seq_unget_int4(it, values.data(), values.size()); });
    }
    qvo_seq_iterator_h parsed() {
        return built([](auto it) { return qvo_seq_parse_int4(it, "{1, 1, 2, -7, 5, 9, -1, 4}"); });
    }
    qvo_seq_iterator_h positions() {
        return built([](auto it) { return qvo_seq_aprogres_uint8(it, 3, 7, 300); });
    }
    qvo_seq_iterator_h stamps(unsigned step) {
        return built([=](auto it) { return qvo_seq_aprogres_uint4(it, 10, step, 2000); });
    }
    qvo_seq_iterator_h bools() {
        const qvo_seq_iterator_h left = ints(), right = add();
        EXPECT_EQ(qvo_seq_const_int4(right, 20), QVO_S_OK);
        return built([=](auto it) { return qvo_seq_gt_int4(it, left, right); });
    }
    template <class Construct> qvo_seq_iterator_h built(Construct construct) {
        const qvo_seq_iterator_h it = add();
        EXPECT_EQ(construct(it), QVO_S_OK);
        return it;
    }
    qvo_seq_iterator_h loads(qvo_seq_iterator_h it) {
        loaded_.push_back(it);
        return it;
    }
    void hashes(qvo_seq_iterator_h it) { hash_ = it; }

 private:
    std::deque<qvo_seq_iterator_t> records_;
    std::deque<std::vector<qvo_int4>> arrays_;
    std::vector<qvo_seq_iterator_t*> loaded_;
    qvo_seq_iterator_h hash_ = nullptr;
};

using Family = std::function<qvo_seq_iterator_h(Tree&)>;

qvo_int4 twice(qvo_int4 value) { return value * 2; }

/// A family of one operand, of two, and of a condition with one and with two.
#define ONE(stem, ...)                                                                   \
    [](Tree& t) {                                                                        \
        auto a = t.ints();                                                               \
        return t.built([=](auto it) { return stem(it, a __VA_OPT__(, ) __VA_ARGS__); }); \
    }
#define TWO(stem)                                                \
    [](Tree& t) {                                                \
        auto a = t.ints(), b = t.ints(9);                        \
        return t.built([=](auto it) { return stem(it, a, b); }); \
    }
#define IF_ONE(stem)                                             \
    [](Tree& t) {                                                \
        auto c = t.bools(), a = t.ints();                        \
        return t.built([=](auto it) { return stem(it, c, a); }); \
    }
#define IF_TWO(stem)                                                \
    [](Tree& t) {                                                   \
        auto c = t.bools(), a = t.ints(), b = t.ints(9);            \
        return t.built([=](auto it) { return stem(it, c, a, b); }); \
    }

const Family families[] = {
    TWO(qvo_seq_add_int4),
    TWO(qvo_seq_max_int4),
    TWO(qvo_seq_le_int4),
    ONE(qvo_seq_neg_int4),
    ONE(qvo_seq_int4_to_double),
    ONE(qvo_seq_limit, 10, 2000),
    ONE(qvo_seq_rle_decode),
    ONE(qvo_seq_agg_count),
    ONE(qvo_seq_func_int4, twice),
    IF_ONE(qvo_seq_filter_int4),
    IF_TWO(qvo_seq_iif_int4),
    IF_TWO(qvo_seq_if_int4),
    TWO(qvo_seq_concat),
    ONE(qvo_seq_unique_int4),
    ONE(qvo_seq_cross_int4, 0),
    ONE(qvo_seq_extrema_int4, 0),
    ONE(qvo_seq_histogram_int4, -100, 200, 10),
    ONE(qvo_seq_agg_sum_int4),
    ONE(qvo_seq_agg_var_int4),
    TWO(qvo_seq_corr_int4),
    TWO(qvo_seq_group_agg_sum_int4),
    ONE(qvo_seq_top_max_int4, 10),
    ONE(qvo_seq_agg_approxdc),
    [](Tree& t) { return t.parsed(); },
    [](Tree& t) {
        auto c = t.bools();
        return t.built([=](auto it) { return qvo_seq_filter_pos(it, c); });
    },
    [](Tree& t) {
        auto a = t.ints(), p = t.positions();
        return t.built([=](auto it) { return qvo_seq_map_int4(it, a, p); });
    },
    [](Tree& t) {
        auto a = t.ints(), g = t.ints(9), groups = t.add();
        auto sums = t.built([=](auto it) { return qvo_seq_hash_agg_sum_int4(it, groups, a, g, 0); });
        t.hashes(sums);
        return sums;
    },
    [](Tree& t) {
        static const std::vector<qvo_seq_no_t> backwards = [] {
            std::vector<qvo_seq_no_t> p;
            for (size_t i = 3000; i-- != 0;) p.push_back(i);
            return p;
        }();
        auto a = t.ints();
        return t.loads(t.built(
            [=](auto it) { return qvo_seq_order_by_int4(it, a, backwards.data(), backwards.size(), nullptr); }));
    },
    [](Tree& t) {
        auto a = t.stamps(3), b = t.stamps(2), v = t.ints();
        return t.built([=](auto it) { return qvo_seq_stretch_uint4_int4(it, a, b, v, -1); });
    },
    [](Tree& t) {
        auto a = t.stamps(3), b = t.stamps(2), v = t.ints();
        return t.built([=](auto it) { return qvo_seq_stretch0_uint4_int4(it, a, b, v, -1); });
    },
    [](Tree& t) {
        auto a = t.stamps(3), b = t.stamps(2), v = t.ints();
        return t.built([=](auto it) { return qvo_seq_asof_join_uint4_int4(it, a, b, v); });
    },
};

/// The values of every family, twice with a reset between, as one text of bytes per family.
std::vector<std::string> results() {
    std::vector<std::string> all;
    for (const Family& family : families) {
        Tree tree;
        const qvo_seq_iterator_h it = family(tree);
        std::string& bytes = all.emplace_back();
        for (int round = 0; round < 2; ++round) {
            for (int tiles = 0; tiles < 20 && it->next(it) == QVO_S_OK; ++tiles)
                bytes.append(it->tile.u.arr_char, size_t{it->tile_size} * it->elem_size);
            it->reset(it);
        }
    }
    return all;
}

TEST(Threads, IndependentTreesGiveTheSameResults) {
    const std::vector<std::string> expected = results();
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_FALSE(expected[i].empty()) << "family " << i;
    std::vector<std::string> actual[8];
    std::vector<std::thread> threads;
    for (auto& slot : actual) threads.emplace_back([&slot] { slot = results(); });
    for (std::thread& thread : threads) thread.join();
    for (const auto& slot : actual)
        for (size_t i = 0; i < expected.size(); ++i) EXPECT_TRUE(slot[i] == expected[i]) << "family " << i;
}

}  // namespace
}  // namespace test
