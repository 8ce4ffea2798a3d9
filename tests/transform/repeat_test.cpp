// Repeated positions.
#include "transform/shaping.h"

namespace test {
namespace {

QVO_RET literal_repeat(qvo_seq_iterator_h it, int n_times) {
    const qvo_seq_iterator_h input = it->opd[0];
    if (const QVO_RET rc = input->next(input); rc != QVO_S_OK) return rc;
    for (size_t i = 0; i < input->tile_size; ++i) {
        literal_copy(it, i, input, i);
        literal_put_run(it, i, literal_run(input, i) * static_cast<unsigned>(n_times));
    }
    it->tile_size = input->tile_size;
    it->next_seq_no = input->next_seq_no * static_cast<uint64_t>(int64_t{n_times});
    return QVO_S_OK;
}

template <class T, class Construct>
void check_repeat(const char* name, Construct repeat, qvo_seq_iterator_next_t next) {
    for (const int n_times : {3, 0, 1000, -2}) {
        const auto construct = [=](auto it, auto input) { return repeat(it, input, n_times); };
        Member member = shaping_member(name, T::code, test_width<T>, construct, next);
        member.reset = qvo_seq_reset_repeat_iterator;
        member.checks_tiles = false;  // runs of 0, where the low bits are
        check_shaping<T>(member, [=](qvo_seq_iterator_h it) { return literal_repeat(it, n_times); });
    }
}

#define TEST_MEMBER(type) check_repeat<t_##type>(MEMBER(qvo_seq_repeat_##type));

TEST(Repeat, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) TEST_MEMBER(char) }

TEST(Repeat, KeepsTheLowBitsOfALongRun_deliberate) {
    Source source(t_int4{}, {{7, 100}, {8, 2}});
    Record it;
    ASSERT_EQ(qvo_seq_repeat_int4(it.get(), source.get(), 3), QVO_S_OK);
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    check_items<t_int4>(tile_items<t_int4>(it.it), {{7, 44}, {8, 6}});
    EXPECT_EQ(it->next_seq_no, 306U);
}

}  // namespace
}  // namespace test
