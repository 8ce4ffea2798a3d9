// Filters and the positions of true conditions.
#include <csignal>
#include <numeric>

#include <unistd.h>

#include "transform/conditions.h"

namespace test {
namespace {

void check_filter(const AnyType& type, const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next) {
    check_random(binary_member(name, construct, next, type.code, type.width), 12,
                 [&](Random& random, unsigned seed, Member& m) {
                     const size_t n = seed == 0 ? 100 : random.between(1, 5000);
                     auto conditions = random_conditions(random, n);
                     if (seed == 0) conditions[1].value = 1;
                     if (seed % 5 == 1) conditions.assign(n, {static_cast<qvo_seq_bool>(seed / 5 % 2), 1});
                     m.operands = {operand<t_bool>(conditions), type.operand(random, random.chance(50) ? n : 3000)};
                     return [](qvo_seq_iterator_h it) {
                         return literal_overlap_next(it, [it](size_t i) {
                             if (!literal_condition(it->opd[0])) return false;
                             return literal_copy(it, i, it->opd[1], it->opd[1]->tile_offs), true;
                         });
                     };
                 });
}

#define TEST_MEMBER(type) check_filter(any_type<t_##type>(), MEMBER(qvo_seq_filter_##type));

TEST(Filter, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(Filter, MovesStringsOfAnyWidth) {
    for (const size_t width : {1, 3, 8, 40, 300}) check_filter(any_type<t_char>(width), MEMBER(qvo_seq_filter_char));
}

TEST(Filter, KeepsThePartsOfRunsThatAreTrue) {
    Source conditions(t_bool{}, {{1, 2}, {0, 3}, {7, 200}, {0, 1}}), input(t_int4{}, {{10, 4}, {20, 255}});
    check_items<t_int4>(drained<t_int4>(qvo_seq_filter_int4, conditions.get(), input.get()), {{10, 2}, {20, 200}});
}

TEST(Filter, WithNothingTrueTheFirstCallReadsEverythingAndEnds) {
    Source conditions(t_bool{}, Items<t_bool>(10000, {0, 1})), input(t_int1{}, Items<t_int1>(10000, {1, 1}));
    EXPECT_TRUE(drained<t_int1>(qvo_seq_filter_int1, conditions.get(), input.get()).empty());
    EXPECT_EQ(input->next_seq_no, 10000U);
}

TEST(Filter, RefusesAConditionThatIsNotBoolean) {
    Source conditions(t_int1{}, {{1}}), input(t_int1{}, {{1}});
    EXPECT_EQ(qvo_seq_filter_int1(Record().get(), conditions.get(), input.get()), QVO_E_ILLEGAL_TYPE);
    EXPECT_EQ(input->bounded, 0);
}

// filter_pos keeps the next position in the second word of its context.
QVO_RET literal_filter_pos(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h cond = it->opd[0];
    size_t i = 0;
    QVO_RET rc = QVO_S_OK;
    while (i < 455 && literal_refill(cond, i, &rc)) {
        if (literal_condition(cond)) {
            literal_put(it, i, it->context[1]++);
            literal_put_run(it, i++, 1);
            literal_take(cond, 1);
        } else {
            it->context[1] += literal_run(cond, cond->tile_offs);
            ++cond->tile_offs;
        }
    }
    if (rc == QVO_S_OK) it->next_seq_no += i;
    return literal_end(it, i, rc);
}

/// filter_pos, or with `first` filter_search.
Member filter_pos_member(qvo_seq_no_t first) {
    const auto construct = [first](qvo_seq_iterator_h it, qvo_seq_iterator_h conditions) {
        if (first == 0) return qvo_seq_filter_pos(it, conditions);
        Source searched(t_int1{}, {{1}});
        searched->first_seq_no = first;
        return qvo_seq_filter_search(it, conditions, searched.get());
    };
    return unary_member("qvo_seq_filter_search from " + std::to_string(first), construct, qvo_seq_filter_pos_next,
                        QVO_DD_UINT8, 8, qvo_seq_filter_pos_reset);
}

TEST(FilterPos, FollowsTheSteps) {
    for (const qvo_seq_no_t first : {0, 1000})
        check_random(filter_pos_member(first), 20, [](Random& random, unsigned, Member& m) {
            auto conditions = random_conditions(random, random.between(4, 8000));
            conditions[0].value = 1;
            m.operands = {operand<t_bool>(conditions)};
            return literal_filter_pos;
        });
}

TEST(FilterPos, NumbersThePositionsOfTrueRuns) {
    for (const qvo_seq_no_t first : {0, 100}) {
        Source conditions(t_bool{}, {{1, 3}, {0, 2}, {1, 1}}), searched(t_int4{}, {{1}});
        searched->first_seq_no = first;
        check_items<t_uint8>(drained<t_uint8>(qvo_seq_filter_search, conditions.get(), searched.get()),
                             {{first}, {first + 1}, {first + 2}, {first + 5}});
    }
}

TEST(FilterPos, PassesFalseRunsWholeAndKeepsTheirReadPosition_deliberate) {
    Member member = filter_pos_member(0);
    member.operands = {operand<t_bool>({{0, 10}, {1, 3}, {1, 1}, {0, 2}, {1, 9}})};
    check_steps(member, literal_filter_pos, {}, [](const Member::Operands& o) {
        ASSERT_EQ(o[0]->next(o[0]), QVO_S_OK);
        o[0]->tile_offs = 0;
        o[0]->rle_offs = 5;  // after the end of the run that follows: it lasts until the byte has come round
    });
}

TEST(FilterFirstPos, DeliversPositionsFromTheFirstOne_deliberate) {
    for (const size_t n : {0, 1, 5, 455}) {
        Source conditions(t_bool{}, {{1, 2}, {0, 1}});
        conditions->first_seq_no = 40;
        Record it;
        const auto reset = it->reset;
        ASSERT_EQ(qvo_seq_filter_first_pos(it.get(), conditions.get(), n), QVO_S_OK);
        EXPECT_EQ(conditions->bounded, 0);
        EXPECT_EQ(it->reset, reset);
        EXPECT_EQ(it->last_seq_no, n);
        EXPECT_TRUE(it->prepared == 0 && it->next_seq_no == 0 && it->tile_size == 0 && it->bounded == 0);
        Items<t_uint8> expected;
        for (size_t i = 0; i < n; ++i) expected.push_back({40 + i});
        check_items<t_uint8>(drain<t_uint8>(it.get()), expected);
        EXPECT_TRUE(conditions->tile_offs == 0 && conditions->rle_offs == 0 && conditions.n_next() == (n != 0));
    }
}

TEST(FilterFirstPosDeathTest, NeverEndsOverAFalseElement_deliberate) {
    const auto scan = [] {
        Source conditions(t_bool{}, {{0, 1}, {1, 1}});
        Record it;
        qvo_seq_filter_first_pos(it.get(), conditions.get(), 1);
        alarm(1);
        it->next(it.get());
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(scan(), testing::KilledBySignal(SIGALRM), "");
}

TEST(FilterFirstPos, RefusalsAndEnds) {
    Source conditions(t_bool{}, {{1}}), numbers(t_int4{}, {{1}});
    Record it;
    EXPECT_EQ(qvo_seq_filter_first_pos(it.get(), numbers.get(), 456), QVO_E_ILLEGAL_TYPE);
    EXPECT_EQ(qvo_seq_filter_first_pos(it.get(), conditions.get(), 456), QVO_E_ILLEGAL_PARAM);
    conditions->bounded = 1;
    {
        const BindingCheck check;
        EXPECT_EQ(qvo_seq_filter_first_pos(it.get(), conditions.get(), 456), QVO_E_SEQ_BOUNDED);
    }
    EXPECT_EQ(it->elem_type, Record().it.elem_type) << "a refused constructor leaves the result alone";
    for (const QVO_RET code : {QVO_S_CURSOR_END + 0, 4711, QVO_S_OK + 0}) {
        Source ended(t_bool{}, {{1}}, {{}, 0, code, QVO_S_OK});
        ASSERT_EQ(qvo_seq_filter_first_pos(it.get(), ended.get(), 3), QVO_S_OK);
        if (code == QVO_S_OK) {  // with an empty tile
            EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped);
            continue;
        }
        EXPECT_EQ(qvo_seq_prepare_aggregate(it.get()), code);
        EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END) << "nothing was prepared";
    }
}

/// A prepared partial result with the given positions.
struct Part {
    Record it;
    Source conditions{t_bool{}, Items<t_bool>{{1, 1}}};

    Part(size_t n, const std::vector<uint64_t>& positions) {
        EXPECT_EQ(qvo_seq_filter_first_pos(it.get(), conditions.get(), n), QVO_S_OK);
        for (size_t i = 0; i < positions.size(); ++i) {
            it->tile.u.arr_uint8[i] = positions[i];
            literal_put_run(it.get(), i, 1);
        }
        it->tile_size = static_cast<uint16_t>(positions.size());
        it->next_seq_no = positions.size();
        it->prepared = 1;
    }
};

TEST(FilterFirstPos, MergesABlockOfPositions) {
    std::vector<uint64_t> many(455), more(200);
    std::iota(many.begin(), many.end(), 1000);
    std::iota(more.begin(), more.end(), 10);
    struct Case {
        size_t n;
        std::vector<uint64_t> target, source;
    };
    const Case cases[] = {{3, {2, 9}, {4, 5}}, {4, {2, 9}, {4, 5}}, {9, {2, 9}, {10, 11}}, {9, {2, 9}, {0, 1}},
                          {2, {2, 9}, {0, 1}}, {2, {2, 9}, {5}},    {2, {2, 9}, {10}},     {5, {}, {7, 8}},
                          {5, {7, 8}, {}},     {455, many, more},   {455, more, many}};
    for (const Case& c : cases) {
        std::vector<uint64_t> expected = c.target;
        expected.insert(expected.end(), c.source.begin(), c.source.end());
        std::sort(expected.begin(), expected.end());
        expected.resize(std::min(c.n, expected.size()));
        Part target(c.n, c.target), source(c.n, c.source);
        ASSERT_EQ(target.it->merge(target.it.get(), source.it.get()), QVO_S_OK);
        EXPECT_EQ(target.it->next_seq_no, expected.size());
        ASSERT_EQ(target.it->next(target.it.get()), QVO_S_OK);
        check_items<t_uint8>(tile_items<t_uint8>(target.it.it), singles<t_uint8>(expected));
        EXPECT_EQ(target.it->prepared, 0);
        EXPECT_EQ(target.it->next(target.it.get()), QVO_S_CURSOR_END);
    }
}

TEST(FilterFirstPos, FindsTheLargestFirstPositionOfATree) {
    Source left(t_bool{}, {{1}}), right(t_bool{}, {{1}});
    Record both, positions;
    ASSERT_EQ(qvo_seq_and(both.get(), left.get(), right.get()), QVO_S_OK);
    ASSERT_EQ(qvo_seq_filter_pos(positions.get(), both.get()), QVO_S_OK);
    EXPECT_EQ(qvo_seq_get_first_pos(positions.get()), 0U);
    right->first_seq_no = 7;
    EXPECT_EQ(qvo_seq_get_first_pos(positions.get()), 7U);
    left->first_seq_no = 1ULL << 63;
    EXPECT_EQ(qvo_seq_get_first_pos(positions.get()), 1ULL << 63);
}

TEST(Filter, TheFirstPositionOfTwoReadersOfASource) {
    Source source(t_int4{}, {{1}});
    source->first_seq_no = 7;
    Record first, second;
    ASSERT_EQ(qvo_seq_tee(first.get(), second.get(), source.get()), QVO_S_OK);
    EXPECT_EQ(qvo_seq_get_first_pos(first.get()), 7U);
    EXPECT_EQ(qvo_seq_get_first_pos(second.get()), 7U);
}

}  // namespace
}  // namespace test
