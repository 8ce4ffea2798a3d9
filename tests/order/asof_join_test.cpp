// As-of join: all members against the literal steps, worked cases, and the oddities.
#include "order/alignment.h"

namespace test {
namespace {

/// The steps, with their state. The filler only tells the width.
auto asof_join_steps(const std::string& filler) {
    const std::string zero(filler.size(), '\0');
    return [value = zero, previous = zero, timestamp = uint64_t{0},
            ended = false](qvo_seq_iterator_h it) mutable -> QVO_RET {
        const qvo_seq_iterator_h ts1 = it->opd[0], ts2 = it->opd[1], values = it->opd[2];
        const size_t capacity = capacity_of(it->elem_size);
        bool delivered = ts2->tile_size != 0;
        for (size_t i = 0; i < capacity; ++i) {
            if (QVO_RET rc; !literal_refill(ts1, i, &rc)) return rc == QVO_S_OK ? literal_deliver(it, i) : rc;
            const uint64_t now = literal_stamp(ts1);
            if (!ended && now >= timestamp) {
                previous = value;
                ++ts2->tile_offs;
                const QVO_RET rc = literal_pull(ts2);
                if (rc == QVO_S_CURSOR_END) {
                    if (!delivered) return rc;
                    ended = true;
                } else if (rc != QVO_S_OK) {
                    return rc;
                } else {
                    delivered = true;
                    timestamp = literal_stamp(ts2);
                    if (const QVO_RET rc2 = literal_take_value(values, &value); rc2 != QVO_S_OK) return rc2;
                }
            }
            literal_put_single(it, i, !ended && timestamp <= now ? value : previous);
        }
        return literal_deliver(it, capacity);
    };
}

TEST(AsofJoin, FollowsTheSteps) {
#define CHECK_ASOF(ts, type) check_alignment(UNFILLED(qvo_seq_asof_join, ts, type), true, asof_join_steps);
    QVO_SEQ_FOR_ALIGNED_TYPES(CHECK_ASOF)
}

/// The first elements of the first two tiles, or the code of the first call that gave none.
std::vector<qvo_int4> result(Items<t_datetime> a, Items<t_datetime> b, Items<t_int4> v, QVO_RET expected = QVO_S_OK) {
    Source ts1(t_datetime{}, a), ts2(t_datetime{}, b), values(t_int4{}, v);
    Record it;
    EXPECT_EQ(qvo_seq_asof_join_datetime_int4(it.get(), ts1.get(), ts2.get(), values.get()), QVO_S_OK);
    std::vector<qvo_int4> all;
    for (int call = 0; call < 2; ++call) {
        EXPECT_EQ(it->next(it.get()), expected);
        if (expected != QVO_S_OK) break;
        EXPECT_EQ(it->tile_size, 819);
        for (size_t i = 0; i < 4; ++i) all.push_back(it->tile.u.arr_int4[i]);
    }
    return all;
}

TEST(AsofJoin, NeverMovesTheFirstTimelineOn_deliberate) {
    using Values = std::vector<qvo_int4>;
    EXPECT_EQ(result({{5}, {100}}, {{1}, {4}, {9}}, {{10}, {40}, {90}}), (Values{10, 40, 40, 40, 40, 40, 40, 40}));
    EXPECT_EQ(result({{5}}, {{1}, {4}}, {{10}, {40}}), (Values{10, 40, 40, 40, 40, 40, 40, 40}));
    EXPECT_EQ(result({{5}}, {{9}}, {{90}}), (Values{0, 0, 0, 0, 0, 0, 0, 0})) << "nothing before the first one";
}

TEST(AsofJoin, EndsWithoutTimestampsOrValues) {
    result({}, {{1}}, {{10}}, QVO_S_CURSOR_END);
    result({{1}}, {}, {{10}}, QVO_S_CURSOR_END);
    result({{5}}, {{1}, {2}}, {{10}}, QVO_S_CURSOR_END);
}

TEST(AsofJoin, TimestampsOfTheSecondTimelineHaveRun1) {
    const Alignment asof_join = UNFILLED(qvo_seq_asof_join, uint8, int4);
    for (size_t element = 0; element < 3; ++element) {
        EXPECT_TRUE(stops_on_run(asof_join, 1, element));
        EXPECT_FALSE(stops_on_run(asof_join, 0, element));
    }
}

}  // namespace
}  // namespace test
