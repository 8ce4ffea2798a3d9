// What conditions choose: filters, the positions of true ones, and iif and if, which choose one of two.
#include <csignal>
#include <numeric>

#include <unistd.h>

#include "support/protocol.h"

namespace test {
namespace {

/// Conditions: stretches of few, of most, of all and of none true, whose trues are not always 1.
Items<t_bool> random_conditions(Random& random, size_t n) {
    unsigned percent = 50;
    return random_items<t_bool>(random, n, [&percent](Random& r) -> qvo_seq_bool {
        static constexpr unsigned percents[] = {0, 3, 50, 97, 100};
        if (r.chance(2)) percent = percents[r.below(5)];
        if (!r.chance(percent)) return 0;
        return r.chance(2) ? static_cast<qvo_seq_bool>(r.between(1, 255)) : qvo_seq_bool{1};
    });
}

bool literal_condition(const qvo_seq_iterator_t* it) { return it->tile.u.arr_qvo_seq_bool[it->tile_offs] != 0; }

// ---- Filters --------------------------------------------------------------------------------------------------------

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

#define TEST_FILTER(type) check_filter(any_type<t_##type>(), MEMBER(qvo_seq_filter_##type));

TEST(Filter, FollowsTheSteps) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_FILTER)
    for (const size_t width : {1, 3, 8, 40, 300}) check_filter(any_type<t_char>(width), MEMBER(qvo_seq_filter_char));
}

// filter_pos keeps the next position in the second word of its context.
QVO_RET literal_filter_pos(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h cond = it->opd[0];
    const auto step = [=](size_t i) {
        const bool is_true = literal_condition(cond);
        if (is_true) {
            literal_put(it, i, it->context[1]++);
            literal_put_run(it, i, 1);
            literal_take(cond, 1);
        } else {
            it->context[1] += literal_run(cond, cond->tile_offs++);
        }
        return is_true;
    };
    return literal_loop(it, 1, step, Counts::elements);
}

/// filter_pos, or with `first` filter_search.
Member filter_pos_member(qvo_seq_no_t first) {
    const auto construct = [first](qvo_seq_iterator_h it, qvo_seq_iterator_h conditions) {
        Source searched(t_int1{}, {{1}});
        searched->first_seq_no = first;
        const QVO_RET rc =
            first == 0 ? qvo_seq_filter_pos(it, conditions) : qvo_seq_filter_search(it, conditions, searched.get());
        EXPECT_TRUE(rc != QVO_S_OK || it->context[1] == first);
        return rc;
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

TEST(FilterPos, PassesFalseRunsWholeAndKeepsTheirReadPosition_deliberate) {
    Member member = filter_pos_member(0);
    member.operands = {operand<t_bool>({{0, 10}, {1, 3}, {1, 1}, {0, 2}, {1, 9}})};
    check_steps(member, literal_filter_pos, {}, [](const Member::Operands& o) {
        ASSERT_EQ(o[0]->next(o[0]), QVO_S_OK);
        o[0]->tile_offs = 0;
        o[0]->rle_offs = 5;  // after the end of the run that follows: it lasts until the byte has come round
    });
}

// ---- The first positions of conditions that are true throughout -----------------------------------------------------

TEST(FilterFirstPos, DeliversPositionsFromTheFirstOne_deliberate) {
    for (const size_t n : {0, 1, 5, 455}) {
        Source conditions(t_bool{}, {{1, 2}, {0, 1}});
        conditions->first_seq_no = 40;
        Record it;
        const auto reset = it->reset;
        ASSERT_EQ(qvo_seq_filter_first_pos(it.get(), conditions.get(), n), QVO_S_OK);
        EXPECT_TRUE(conditions->bounded == 0 && it->reset == reset && it->last_seq_no == n);
        EXPECT_TRUE(it->prepared == 0 && it->next_seq_no == 0 && it->tile_size == 0 && it->bounded == 0);
        Items<t_uint8> expected;
        for (size_t i = 0; i < n; ++i) expected.push_back({40 + i});
        check_items<t_uint8>(drain<t_uint8>(it.get()), expected);
        EXPECT_TRUE(conditions->tile_offs == 0 && conditions->rle_offs == 0 && conditions.n_next() == (n != 0));
    }
}

TEST(FilterFirstPosDeathTest, NeverEndsOverAFalseElement_deliberate) {
    const auto scan = [] {
        alarm(1);
        drained<t_uint8>(qvo_seq_filter_first_pos, Source(t_bool{}, {{0, 1}, {1, 1}}).get(), 1);
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(scan(), testing::KilledBySignal(SIGALRM), "");
}

TEST(FilterFirstPos, RefusalsAndEnds) {
    Source conditions(t_bool{}, {{1}}), numbers(t_int4{}, {{1}});
    expect_refused(QVO_E_ILLEGAL_TYPE, qvo_seq_filter_first_pos, numbers.get(), 456);
    expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_filter_first_pos, conditions.get(), 456);
    conditions->bounded = 1;
    {
        const BindingCheck check;
        expect_refused(QVO_E_SEQ_BOUNDED, qvo_seq_filter_first_pos, conditions.get(), 456);
    }
    Record it;
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

TEST(FilterFirstPos, MergesABlockOfPositions) {
    using Positions = std::vector<uint64_t>;
    Positions many(455), more(200);
    std::iota(many.begin(), many.end(), 1000);
    std::iota(more.begin(), more.end(), 10);
    Source conditions(t_bool{}, {{1, 1}});
    const auto prepare = [&](Record& it, size_t n, const Positions& positions) {
        EXPECT_EQ(qvo_seq_filter_first_pos(it.get(), conditions.get(), n), QVO_S_OK);
        for (size_t i = 0; i < positions.size(); ++i) literal_put(it.get(), i, positions[i]);
        for (size_t i = 0; i < positions.size(); ++i) literal_put_run(it.get(), i, 1);
        it->tile_size = static_cast<uint16_t>(positions.size());
        it->next_seq_no = positions.size();
        it->prepared = 1;
    };
    const struct {
        size_t n;
        Positions target, source;
    } cases[] = {{3, {2, 9}, {4, 5}}, {4, {2, 9}, {4, 5}}, {9, {2, 9}, {10, 11}}, {9, {2, 9}, {0, 1}},
                 {2, {2, 9}, {0, 1}}, {2, {2, 9}, {5}},    {2, {2, 9}, {10}},     {5, {}, {7, 8}},
                 {5, {7, 8}, {}},     {455, many, more},   {455, more, many}};
    for (const auto& c : cases) {
        Positions expected = c.target;
        expected.insert(expected.end(), c.source.begin(), c.source.end());
        std::sort(expected.begin(), expected.end());
        expected.resize(std::min(c.n, expected.size()));
        Record target, source;
        prepare(target, c.n, c.target);
        prepare(source, c.n, c.source);
        ASSERT_EQ(target->merge(target.get(), source.get()), QVO_S_OK);
        EXPECT_EQ(target->next_seq_no, expected.size());
        ASSERT_EQ(target->next(target.get()), QVO_S_OK);
        check_items<t_uint8>(tile_items<t_uint8>(target.it), singles<t_uint8>(expected));
        EXPECT_EQ(target->prepared, 0);
        EXPECT_EQ(target->next(target.get()), QVO_S_CURSOR_END);
    }
}

TEST(FilterFirstPos, FindsTheLargestFirstPositionOfATree) {
    Source left(t_bool{}, {{1}}), right(t_bool{}, {{1}});
    Record both, positions, first, second;
    ASSERT_EQ(qvo_seq_and(both.get(), left.get(), right.get()), QVO_S_OK);
    ASSERT_EQ(qvo_seq_filter_pos(positions.get(), both.get()), QVO_S_OK);
    EXPECT_EQ(qvo_seq_get_first_pos(positions.get()), 0U);
    right->first_seq_no = 7;
    EXPECT_EQ(qvo_seq_get_first_pos(positions.get()), 7U);
    left->first_seq_no = 1ULL << 63;
    EXPECT_EQ(qvo_seq_get_first_pos(positions.get()), 1ULL << 63);
    // The readers of a tee name each other as well.
    ASSERT_EQ(qvo_seq_tee(first.get(), second.get(), right.get()), QVO_S_OK);
    for (Record* reader : {&first, &second}) EXPECT_EQ(qvo_seq_get_first_pos(reader->get()), 7U);
}

// ---- Choice: iif reads both branches in lock-step, if reads the chosen one ------------------------------------------

QVO_RET literal_choice(qvo_seq_iterator_h it, bool whole_runs) {
    return literal_loop(it, 3, [=](size_t i) {
        const qvo_seq_iterator_h cond = it->opd[0], chosen = it->opd[literal_condition(cond) ? 1 : 2];
        unsigned run = std::min(literal_run_left(cond), literal_run_left(chosen));
        if (whole_runs) {
            run = 255;
            for (size_t k = 0; k < 3; ++k) run = std::min(run, literal_run(it->opd[k], it->opd[k]->tile_offs));
        }
        literal_copy(it, i, chosen, chosen->tile_offs);
        literal_put_counted(it, i, run);
        for (size_t k = 0; k < 3; ++k)
            if (whole_runs || k == 0 || it->opd[k] == chosen) literal_take(it->opd[k], run);
        return true;
    });
}
QVO_RET literal_iif(qvo_seq_iterator_h it) { return literal_choice(it, true); }
QVO_RET literal_if(qvo_seq_iterator_h it) { return literal_choice(it, false); }

/// Cuts a side after the positions that the first conditions take from it: it ends where the last of these does.
void cut_after(Items<t_char>& side, const Items<t_bool>& conditions, size_t n_conditions) {
    unsigned left = 0;
    for (size_t i = 0; i < n_conditions; ++i) left += conditions[i].value != 0 ? conditions[i].run : 0;
    size_t n = 0;
    for (; n < side.size() && left != 0; ++n)
        left -= side[n].run = static_cast<uint8_t>(std::min<unsigned>(side[n].run, left));
    side.resize(std::max<size_t>(n, 1));
}

/// Operands of the shapes that are taken in stretches, and of any.
std::vector<MakeSource> draw_operands(const AnyType& type, Random& random, unsigned shape) {
    const size_t n = random.between(4, 4000);
    const unsigned constant = random.below(2), single = random.below(2);  // drawn before anything that types change
    auto conditions = random_conditions(random, n);
    Items<t_char> branches[] = {type.items(random, n), type.items(random, random.chance(50) ? n : 2000)};
    const auto set_runs = [](auto& items, unsigned run) {
        for (auto& item : items) item.run = run;
    };
    if (shape == 1)  // runs that line up
        for (auto& branch : branches)
            for (size_t i = 0; i < std::min(n, branch.size()); ++i) branch[i].run = conditions[i].run;
    if (shape == 2) set_runs(conditions, 1);
    if (shape == 2 && single != 0) set_runs(branches[1 - constant], 1);
    if (shape == 2 || shape == 3) set_runs(branches[constant], 255);
    if (shape == 3) set_runs(branches[random.below(2)], random.chance(50) ? 1 : 255);
    if (shape == 4) set_runs(conditions, 1), set_runs(branches[0], 1), set_runs(branches[1], random.between(1, 2));
    if (shape == 5) set_runs(conditions, 255);
    if (shape == 6) {  // short runs, of which a side ends before the other
        for (auto& condition : conditions) condition.run = static_cast<uint8_t>(random.between(1, 4));
        for (auto& branch : branches)
            for (auto& item : branch) item.run = static_cast<uint8_t>(random.between(1, 4));
        cut_after(branches[0], conditions, std::min<size_t>(n, random.between(60, 100)));
    }
    return {operand<t_bool>(conditions), type.operand(branches[0]), type.operand(branches[1])};
}

void check_choice(const AnyType& type, const char* name, ConstructTernary construct, qvo_seq_iterator_next_t next,
                  qvo_seq_iterator_reset_t reset, const Steps& literal) {
    const Member member = ternary_member(name, construct, next, type.code, type.width, reset);
    const auto draw = [&](Random& random, unsigned seed, Member& m) {
        m.operands = draw_operands(type, random, (seed + 1) % 7);
        return literal;
    };
    check_random(member, 28, draw, 30);  // where runs cross, iif may never end
}

#define TEST_STRINGS(type, width)                                                                        \
    check_choice(any_type<t_##type>(width), MEMBER(qvo_seq_iif_##type), qvo_seq_iif_reset, literal_iif); \
    check_choice(any_type<t_##type>(width), MEMBER(qvo_seq_if_##type), qvo_seq_if_reset, literal_if);
#define TEST_CHOICE(type) TEST_STRINGS(type, sizeof(qvo_##type))

TEST(Choose, FollowsTheSteps) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_CHOICE)
    for (const size_t width : {1, 3, 8, 40}) { TEST_STRINGS(char, width) }
}

TEST(Choose, IifTakesWholeRunsAndTheirPositionsComeRound_deliberate) {
    // Steps of 2 pass the end of the run of 3, at 4 of it, and never meet it again. Steps of 3 pass the run of 4 at 6,
    // come round from 255 to 2, and then by way of 254 and 1 to 4.
    for (const unsigned step : {2U, 3U}) {
        Source cond(t_bool{}, Items<t_bool>(600, {1, step})), a(t_int4{}, {{7, step + 1}, {8, 3}}),
            b(t_int4{}, Items<t_int4>(600, {0, step}));
        Record it;
        ASSERT_EQ(qvo_seq_iif_int4(it.get(), cond.get(), a.get(), b.get()), QVO_S_OK);
        Items<t_int4> items, expected(step == 2 ? 600 : 173, {7, step});
        if (step == 3) expected[172] = {8, 3};
        read_items<t_int4>(it.get(), items, 10000);
        check_items<t_int4>(items, expected);
    }
}

TEST(Choose, RefusesStringsOfUnequalWidths) {
    Source cond(t_bool{}, {{1}}), a(t_char{}, {{"a"}}, {}, 2), b(t_char{}, {{"b"}}, {}, 3);
    for (const ConstructTernary construct : {qvo_seq_iif_char, qvo_seq_if_char})
        expect_refused(QVO_E_ILLEGAL_TYPE, construct, cond.get(), a.get(), b.get());
    EXPECT_EQ(cond->bounded, 0);
}

}  // namespace
}  // namespace test
