// Conditional choice: iif, which reads both branches in lock-step, and if, which reads the chosen one.
#include "transform/conditions.h"

namespace test {
namespace {

using Construct = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

bool refill_three(qvo_seq_iterator_h it, size_t i, QVO_RET* rc) {
    return literal_refill(it->opd[0], i, rc) && literal_refill(it->opd[1], i, rc) && literal_refill(it->opd[2], i, rc);
}

QVO_RET literal_iif(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h cond = it->opd[0], a = it->opd[1], b = it->opd[2];
    size_t i = 0;
    QVO_RET rc = QVO_S_OK;
    for (; i < capacity_of(it->elem_size) && refill_three(it, i, &rc); ++i) {
        literal_copy(it, i, literal_condition(cond) ? a : b);
        const unsigned run =
            std::min({literal_run(b, b->tile_offs), literal_run(a, a->tile_offs), literal_run(cond, cond->tile_offs)});
        literal_put_run(it, i, run);
        it->next_seq_no += run;
        for (const qvo_seq_iterator_h o : {cond, a, b}) literal_take(o, run);
    }
    return literal_end(it, i, rc);
}

QVO_RET literal_if(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h cond = it->opd[0];
    size_t i = 0;
    QVO_RET rc = QVO_S_OK;
    for (; i < capacity_of(it->elem_size) && refill_three(it, i, &rc); ++i) {
        const qvo_seq_iterator_h chosen = literal_condition(cond) ? it->opd[1] : it->opd[2];
        const unsigned run = std::min(literal_run_left(cond), literal_run_left(chosen));
        literal_copy(it, i, chosen);
        literal_put_run(it, i, run);
        it->next_seq_no += run;
        literal_take(cond, run);
        literal_take(chosen, run);
    }
    return literal_end(it, i, rc);
}

Member choice_member(const char* name, Construct construct, qvo_seq_iterator_next_t next,
                     qvo_seq_iterator_reset_t reset, uint8_t type, size_t width) {
    Member member;
    member.name = name;
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) {
        return construct(it, o[0], o[1], o[2]);
    };
    member.type = type;
    member.width = width;
    member.next = next;
    member.reset = reset;
    return member;
}

/// Operands of the shapes that are taken in stretches, and of any.
template <class T> void draw_operands(Member& member, Random& random, unsigned shape, size_t width) {
    const size_t n = random.between(4, 4000);
    auto conditions = random_conditions(random, n);
    Items<T> branches[] = {random_values<T>(random, n, width),
                           random_values<T>(random, random.chance(50) ? n : 2000, width)};
    const auto set_runs = [](auto& items, unsigned run) {
        for (auto& item : items) item.run = run;
    };
    if (shape == 1)  // runs that line up
        for (size_t i = 0; i < n; ++i)
            for (auto& branch : branches)
                if (i < branch.size()) branch[i].run = conditions[i].run;
    if (shape == 2) set_runs(conditions, 1);
    if (shape == 2 || shape == 3) set_runs(branches[random.below(2)], 255);
    if (shape == 3) set_runs(random.chance(50) ? branches[0] : branches[1], random.chance(50) ? 1 : 255);
    if (shape == 4) set_runs(conditions, 1), set_runs(branches[0], 1), set_runs(branches[1], random.between(1, 2));
    if (shape == 5) set_runs(conditions, 255);
    member.operands = {operand<t_bool>(conditions), operand<T>(branches[0], width), operand<T>(branches[1], width)};
}

template <class T> void check_choice(const Member& from, const std::function<QVO_RET(qvo_seq_iterator_h)>& literal) {
    Member member = from;
    for (unsigned seed = 0; seed < 24; ++seed) {
        SCOPED_TRACE(member.name + ", seed " + std::to_string(seed));
        Random random(seed);
        draw_operands<T>(member, random, seed % 6, member.width);
        if (seed == 1) check_protocol(member);
        std::vector<Script> scripts;
        for (int i = 0; i < 3; ++i) scripts.push_back({random_tile_sizes(random)});
        if (random.chance(25)) {
            Script& script = scripts[random.below(3)];
            script.stop_at = random.below(2000);
            script.stop_code = 4711;
        }
        check_steps(member, literal, scripts, nullptr, 30);  // where runs cross, iif may never end
        if (testing::Test::HasFailure()) return;
    }
}

#define TEST_STRINGS(type, width)                                                                               \
    check_choice<t_##type>(choice_member(MEMBER(qvo_seq_iif_##type), qvo_seq_iif_reset, t_##type::code, width), \
                           literal_iif);                                                                        \
    check_choice<t_##type>(choice_member(MEMBER(qvo_seq_if_##type), qvo_seq_if_reset, t_##type::code, width),   \
                           literal_if);
#define TEST_MEMBER(type) TEST_STRINGS(type, t_##type::width)

TEST(Choose, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(Choose, MovesStringsOfAnyWidth) {
    for (const size_t width : {1, 3, 8, 40}) { TEST_STRINGS(char, width) }
}

template <class T>
Items<T> result_of(Construct construct, const Items<t_bool>& conditions, const Items<T>& a, const Items<T>& b) {
    Source cond(t_bool{}, conditions), then_source(T{}, a), else_source(T{}, b);
    Record it;
    EXPECT_EQ(construct(it.get(), cond.get(), then_source.get(), else_source.get()), QVO_S_OK);
    Items<T> items;
    while (items.size() < 10000 && it->next(it.get()) == QVO_S_OK)
        for (const auto& item : tile_items<T>(it.it)) items.push_back(item);
    return items;
}

TEST(Choose, IifReadsBothAndIfTheChosenOne) {
    const Items<t_int4> a{{1}, {2}, {3}}, b{{11}, {12}, {13}};
    check_items<t_int4>(result_of<t_int4>(qvo_seq_iif_int4, {{1}, {0}, {200}}, a, b), {{1}, {12}, {3}});
    check_items<t_int4>(result_of<t_int4>(qvo_seq_if_int4, {{1}, {0}, {1}}, a, b), {{1}, {11}, {2}});
    check_items<t_int4>(result_of<t_int4>(qvo_seq_if_int4, {{1, 9}, {0, 9}}, {{1, 4}, {2, 9}}, {{3, 8}}),
                        {{1, 4}, {2, 5}, {3, 8}});
}

TEST(Choose, IfEndsWithTheBranchThatIsNotChosen) {
    check_items<t_int4>(result_of<t_int4>(qvo_seq_if_int4, {{0}, {1}, {1}, {1}}, {{1}, {2}, {3}}, {{11}}), {{11}});
}

TEST(Choose, IifTakesWholeRunsAndTheirPositionsComeRound_deliberate) {
    // Steps of 2 pass the end of the run of 3, at 4 of it, and never meet it again.
    const Items<t_int4> never =
        result_of<t_int4>(qvo_seq_iif_int4, Items<t_bool>(600, {1, 2}), {{7, 3}, {8, 3}}, Items<t_int4>(600, {0, 2}));
    check_items<t_int4>(never, Items<t_int4>(600, {7, 2}));
    // Steps of 3 pass the run of 4 at 6, come round from 255 to 2, and then by way of 254 and 1 to 4.
    const Items<t_int4> late =
        result_of<t_int4>(qvo_seq_iif_int4, Items<t_bool>(600, {1, 3}), {{7, 4}, {8, 3}}, Items<t_int4>(600, {0, 3}));
    ASSERT_EQ(late.size(), 173U);
    EXPECT_TRUE(late[171].value == 7 && late[172].value == 8);
}

TEST(Choose, RefusesStringsOfUnequalWidths) {
    for (const Construct construct : {qvo_seq_iif_char, qvo_seq_if_char}) {
        Source cond(t_bool{}, {{1}}), a(t_char{}, {{"a"}}, {}, 2), b(t_char{}, {{"b"}}, {}, 3);
        Record it;
        EXPECT_EQ(construct(it.get(), cond.get(), a.get(), b.get()), QVO_E_ILLEGAL_TYPE);
        EXPECT_EQ(cond->bounded, 0);
    }
}

}  // namespace
}  // namespace test
