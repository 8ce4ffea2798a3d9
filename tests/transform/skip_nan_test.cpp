// Dropping NaNs.
#include "support/protocol.h"

namespace test {
namespace {

template <class T> void check_skip_nan(const char* name, ConstructUnary construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    check_random(unary_member(name, construct, next, T::code, T::width, qvo_seq_reset_unary_agg_iterator), 15,
                 [](Random& random, unsigned seed, Member& m) {
                     const unsigned percent = seed * 8 % 105;  // none, all, and mixtures
                     m.operands = {operand<T>(random_items<T>(random, random.between(4, 4000), [=](Random& r) {
                         return r.chance(percent) ? static_cast<V>(r.chance(50) ? NAN : -NAN)
                                                  : static_cast<V>(50 - static_cast<int>(r.below(100)));
                     }))};
                     return [](qvo_seq_iterator_h it) {
                         return literal_selected_next(it, [it](size_t i, size_t k) {
                             if (std::isnan(literal_value<V>(it->opd[0], k))) return false;
                             literal_copy(it, i, it->opd[0], k);
                             literal_put_run(it, i, literal_run(it->opd[0], k));
                             return true;
                         });
                     };
                 });
}

TEST(SkipNan, FollowsTheSteps) {
    check_skip_nan<t_float>(MEMBER(qvo_seq_skip_nan_float));
    check_skip_nan<t_double>(MEMBER(qvo_seq_skip_nan_double));
}

TEST(SkipNan, CountsElementsAndNotPositions_deliberate) {
    Source source(t_double{}, {{1.0}, {NAN}, {NAN, 5}, {2.0, 3}});
    Record it;
    ASSERT_EQ(qvo_seq_skip_nan_double(it.get(), source.get()), QVO_S_OK);
    it->context[1] = 99;
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    check_items<t_double>(tile_items<t_double>(it.it), {{1.0}, {2.0, 3}});
    EXPECT_EQ(it->next_seq_no, 2U);
    ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
    EXPECT_EQ(it->context[1], 0U);
}

}  // namespace
}  // namespace test
