// Dropping NaNs.
#include "support/protocol.h"

namespace test {
namespace {

template <class V> QVO_RET literal_skip_nan(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0];
    size_t i = 0;
    while (i < capacity_of(it->elem_size)) {
        QVO_RET rc = QVO_S_OK;
        if (!literal_refill(input, i, &rc)) {
            if (rc != QVO_S_OK) return rc;
            break;
        }
        const size_t k = input->tile_offs++;
        if (std::isnan(literal_value<V>(input, k))) continue;
        literal_copy(it, i, input, k);
        literal_put_run(it, i, literal_run(input, k));
        ++i;
    }
    it->next_seq_no += i;
    it->tile_size = static_cast<uint16_t>(i);
    return QVO_S_OK;
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);

template <class T> void check_skip_nan(const char* name, Constructor construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    Member member;
    member.name = name;
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0]); };
    member.type = T::code;
    member.width = T::width;
    member.next = next;
    member.reset = qvo_seq_reset_unary_agg_iterator;
    for (unsigned seed = 0; seed < 15; ++seed) {
        Random random(seed);
        const unsigned percent = seed * 8 % 105;  // none, all, and mixtures
        member.operands = {operand<T>(random_items<T>(random, random.between(4, 4000), [percent](Random& r) {
            return r.chance(percent) ? static_cast<V>(r.chance(50) ? NAN : -NAN) : static_cast<V>(r.below(100));
        }))};
        if (seed == 0) check_protocol(member);
        check_steps(member, literal_skip_nan<V>, {random_script(random, seed)});
        if (testing::Test::HasFailure()) return;
    }
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
