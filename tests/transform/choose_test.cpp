// Conditional choice: iif, which reads both branches in lock-step, and if, which reads the chosen one.
#include "transform/conditions.h"

namespace test {
namespace {

using Construct = ConstructTernary;

bool refill_three(qvo_seq_iterator_h it, size_t i, QVO_RET* rc) {
    return literal_refill(it->opd[0], i, rc) && literal_refill(it->opd[1], i, rc) && literal_refill(it->opd[2], i, rc);
}

QVO_RET literal_iif(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h cond = it->opd[0], a = it->opd[1], b = it->opd[2];
    size_t i = 0;
    QVO_RET rc = QVO_S_OK;
    for (; i < capacity_of(it->elem_size) && refill_three(it, i, &rc); ++i) {
        const qvo_seq_iterator_h chosen = literal_condition(cond) ? a : b;
        literal_copy(it, i, chosen, chosen->tile_offs);
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
        literal_copy(it, i, chosen, chosen->tile_offs);
        literal_put_run(it, i, run);
        it->next_seq_no += run;
        for (const qvo_seq_iterator_h o : {cond, chosen}) literal_take(o, run);
    }
    return literal_end(it, i, rc);
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
        for (size_t i = 0; i < n; ++i)
            for (auto& branch : branches)
                if (i < branch.size()) branch[i].run = conditions[i].run;
    if (shape == 2) set_runs(conditions, 1);
    if (shape == 2 && single != 0) set_runs(branches[1 - constant], 1);
    if (shape == 2 || shape == 3) set_runs(branches[constant], 255);
    if (shape == 3) set_runs(branches[random.below(2)], random.chance(50) ? 1 : 255);
    if (shape == 4) set_runs(conditions, 1), set_runs(branches[0], 1), set_runs(branches[1], random.between(1, 2));
    if (shape == 5) set_runs(conditions, 255);
    return {operand<t_bool>(conditions), type.operand(branches[0]), type.operand(branches[1])};
}

void check_choice(const AnyType& type, const char* name, Construct construct, qvo_seq_iterator_next_t next,
                  qvo_seq_iterator_reset_t reset, const Steps& literal) {
    const Member member = ternary_member(name, construct, next, type.code, type.width, reset);
    const auto draw = [&](Random& random, unsigned seed, Member& m) {
        m.operands = draw_operands(type, random, (seed + 1) % 6);
        return literal;
    };
    check_random(member, 24, draw, 30);  // where runs cross, iif may never end
}

#define TEST_STRINGS(type, width)                                                                        \
    check_choice(any_type<t_##type>(width), MEMBER(qvo_seq_iif_##type), qvo_seq_iif_reset, literal_iif); \
    check_choice(any_type<t_##type>(width), MEMBER(qvo_seq_if_##type), qvo_seq_if_reset, literal_if);
#define TEST_MEMBER(type) TEST_STRINGS(type, sizeof(qvo_##type))

TEST(Choose, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(Choose, MovesStringsOfAnyWidth) {
    for (const size_t width : {1, 3, 8, 40}) { TEST_STRINGS(char, width) }
}

Items<t_int4> chosen(Construct construct, const Items<t_bool>& conditions, const Items<t_int4>& a,
                     const Items<t_int4>& b) {
    Source cond(t_bool{}, conditions), then_source(t_int4{}, a), else_source(t_int4{}, b);
    Record it;
    EXPECT_EQ(construct(it.get(), cond.get(), then_source.get(), else_source.get()), QVO_S_OK);
    Items<t_int4> items;
    read_items<t_int4>(it.get(), items, 10000);
    return items;
}

TEST(Choose, IifReadsBothAndIfTheChosenOne) {
    const Items<t_int4> a{{1}, {2}, {3}}, b{{11}, {12}, {13}};
    check_items<t_int4>(chosen(qvo_seq_iif_int4, {{1}, {0}, {200}}, a, b), {{1}, {12}, {3}});
    check_items<t_int4>(chosen(qvo_seq_if_int4, {{1}, {0}, {1}}, a, b), {{1}, {11}, {2}});
    check_items<t_int4>(chosen(qvo_seq_if_int4, {{1, 9}, {0, 9}}, {{1, 4}, {2, 9}}, {{3, 8}}),
                        {{1, 4}, {2, 5}, {3, 8}});
}

TEST(Choose, IfEndsWithTheBranchThatIsNotChosen) {
    check_items<t_int4>(chosen(qvo_seq_if_int4, {{0}, {1}, {1}, {1}}, {{1}, {2}, {3}}, {{11}}), {{11}});
}

TEST(Choose, IifTakesWholeRunsAndTheirPositionsComeRound_deliberate) {
    // Steps of 2 pass the end of the run of 3, at 4 of it, and never meet it again.
    const Items<t_int4> never =
        chosen(qvo_seq_iif_int4, Items<t_bool>(600, {1, 2}), {{7, 3}, {8, 3}}, Items<t_int4>(600, {0, 2}));
    check_items<t_int4>(never, Items<t_int4>(600, {7, 2}));
    // Steps of 3 pass the run of 4 at 6, come round from 255 to 2, and then by way of 254 and 1 to 4.
    const Items<t_int4> late =
        chosen(qvo_seq_iif_int4, Items<t_bool>(600, {1, 3}), {{7, 4}, {8, 3}}, Items<t_int4>(600, {0, 3}));
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
