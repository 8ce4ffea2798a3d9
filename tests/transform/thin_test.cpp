// Every step-th position.
#include "transform/shaping.h"

namespace test {
namespace {

// The context holds origin, step and the position of the read point.
QVO_RET literal_thin(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0];
    const uint64_t origin = it->context[0], step = it->context[1];
    uint64_t& curr_pos = it->context[2];
    uint64_t next_pos = it->next_seq_no * step + origin;
    size_t i = 0;
    for (bool ended = false; i < capacity_of(it->elem_size); ++i) {
        while (next_pos >= input->next_seq_no) {
            curr_pos = input->next_seq_no;
            if (const QVO_RET rc = input->next(input); rc != QVO_S_OK) {
                if (rc != QVO_S_CURSOR_END || i == 0) return rc;
                ended = true;
                break;
            }
            input->tile_offs = 0;
        }
        if (ended) break;
        for (;; ++input->tile_offs) {
            const uint64_t end = curr_pos + literal_run(input, input->tile_offs) - input->rle_offs;
            if (next_pos < end) break;
            curr_pos = end;
            input->rle_offs = 0;
        }
        literal_copy(it, i, input, input->tile_offs);
        literal_put_run(it, i, 1);
        input->rle_offs = static_cast<uint8_t>(next_pos - curr_pos);
        curr_pos = next_pos;
        next_pos += step;
    }
    it->tile_size = static_cast<uint16_t>(i);
    it->next_seq_no += i;
    return QVO_S_OK;
}

template <class T, class Construct>
Member thin_member(const char* name, Construct thin, qvo_seq_iterator_next_t next, uint64_t origin, uint64_t step) {
    const auto construct = [=](auto it, auto input) { return thin(it, input, origin, step); };
    return shaping_member(name, T::code, test_width<T>, construct, next);
}

#define TEST_MEMBER(type)                                                          \
    for (const auto& [origin, step] : {std::pair(0, 1), {1, 2}, {3, 7}, {2, 500}}) \
        check_shaping<t_##type>(thin_member<t_##type>(MEMBER(qvo_seq_thin_##type), origin, step), literal_thin, 1);

TEST(Thin, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) TEST_MEMBER(char) }

// In tiles of at most 100 elements positions that were shifted beyond the last one still find run bytes.
TEST(Thin, KeepsThePositionInARunAsItStands_deliberate) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Member member = thin_member<t_int1>(MEMBER(qvo_seq_thin_int1), random.below(300), random.between(1, 400));
        member.operands = {operand<t_int1>(random_items<t_int1>(random, 1000))};
        check_steps(member, literal_thin, {{{random.between(1, 100), random.between(1, 100)}}}, nullptr, 40);
        if (testing::Test::HasFailure()) return;
    }
    const auto thin = [](auto it, auto input) { return qvo_seq_thin_int4(it, input, 0, 1); };
    check_items<t_int4>(shape<t_int4>(thin, {{7, 4}, {8, 4}}), Items<t_int4>(8, {7, 1}));
}

TEST(Thin, TakesEveryStepthPosition) {
    const Items<t_int4> items{{0}, {1}, {2}, {3}, {4}, {5}, {6}, {7}, {8}, {9}};
    const auto thin = [](auto it, auto input) { return qvo_seq_thin_int4(it, input, 1, 2); };
    for (const std::vector<size_t>& tile_sizes : {std::vector<size_t>{}, {1}, {3, 4}})
        check_items<t_int4>(shape<t_int4>(thin, items, tile_sizes), {{1}, {3}, {5}, {7}, {9}});
}

TEST(Thin, AStepOfZeroRepeatsOneElement_deliberate) {
    Source source(t_int4{}, {{1}, {2}, {3}});
    Record it;
    ASSERT_EQ(qvo_seq_thin_int4(it.get(), source.get(), 1, 0), QVO_S_OK);
    for (int call = 0; call < 3; ++call) {
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        check_items<t_int4>(tile_items<t_int4>(it.it), Items<t_int4>(819, {2, 1}));
    }
}

TEST(Thin, PositionsThatLeaveTheTileStop) {
    // The last run of the first tile was taken up to its last position; the second tile is full, and read to its end.
    Items<t_double> items(456, {0, 1});
    items[0].run = 255;
    Source source(t_double{}, items, {{1, 455}});
    Record it;
    ASSERT_EQ(qvo_seq_thin_double(it.get(), source.get(), 254, 455), QVO_S_OK);
    EXPECT_TRUE(catch_stop([&] { it->next(it.get()); }).stopped);
}

}  // namespace
}  // namespace test
