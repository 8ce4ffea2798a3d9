// Stretch and stretch0: all members against the literal steps, worked cases, and the oddities.
#include "order/alignment.h"

namespace test {
namespace {

/// The steps of stretch, with their state.
auto stretch_steps(const std::string& filler) {
    const std::string zero(filler.size(), '\0');
    return [filler, value = zero, timestamp = uint64_t{0}, ended = false](qvo_seq_iterator_h it) mutable -> QVO_RET {
        const qvo_seq_iterator_h ts1 = it->opd[0], ts2 = it->opd[1], values = it->opd[2];
        const size_t capacity = capacity_of(it->elem_size);
        for (size_t i = 0; i < capacity; ++i) {
            if (QVO_RET rc; !literal_refill(ts1, i, &rc)) return rc == QVO_S_OK ? literal_deliver(it, i) : rc;
            if (!ended && literal_stamp(ts1) >= timestamp) {
                ++ts2->tile_offs;
                const QVO_RET rc = literal_pull(ts2);
                if (rc == QVO_S_CURSOR_END) {
                    ended = true;
                    value = filler;
                } else if (rc != QVO_S_OK) {
                    return rc;
                } else {
                    timestamp = literal_stamp(ts2);
                    if (const QVO_RET rc2 = literal_take_value(values, &value); rc2 != QVO_S_OK) return rc2;
                }
            }
            literal_put_single(it, i, value);
        }
        return literal_deliver(it, capacity);
    };
}

/// The steps of stretch0, with their state.
auto stretch0_steps(const std::string& filler) {
    return [filler, left_end = false, right_end = false](qvo_seq_iterator_h it) mutable -> QVO_RET {
        const qvo_seq_iterator_h ts1 = it->opd[0], ts2 = it->opd[1], values = it->opd[2];
        const size_t capacity = capacity_of(it->elem_size);
        if (left_end && right_end) return QVO_S_CURSOR_END;
        for (size_t i = 0; i < capacity; ++i) {
            for (const auto& [ts, end] : {std::pair(ts1, &left_end), {ts2, &right_end}}) {
                if (*end) continue;
                const QVO_RET rc = literal_pull(ts);
                *end = rc == QVO_S_CURSOR_END;
                if (left_end && right_end) return i != 0 ? literal_deliver(it, i) : rc;
                if (rc != QVO_S_OK && !*end) return rc;
            }
            std::string bytes = filler;
            if (left_end) {
                if (const QVO_RET rc = literal_take_value(values, &bytes); rc != QVO_S_OK) return rc;
            } else if (right_end || literal_stamp(ts1) < literal_stamp(ts2)) {
                ++ts1->tile_offs;
            } else {
                if (literal_stamp(ts1) == literal_stamp(ts2)) ++ts1->tile_offs;
                ++ts2->tile_offs;
                if (const QVO_RET rc = literal_take_value(values, &bytes); rc != QVO_S_OK) return rc;
            }
            literal_put_single(it, i, bytes);
        }
        return literal_deliver(it, capacity);
    };
}

TEST(Stretch, FollowsTheSteps) {
#define CHECK_STRETCH(ts, type) check_alignment(FILLED(qvo_seq_stretch, ts, type), true, stretch_steps);
    QVO_SEQ_FOR_ALIGNED_TYPES(CHECK_STRETCH)
}

TEST(Stretch0, FollowsTheSteps) {
#define CHECK_STRETCH0(ts, type) check_alignment(FILLED(qvo_seq_stretch0, ts, type), false, stretch0_steps);
    QVO_SEQ_FOR_ALIGNED_TYPES(CHECK_STRETCH0)
}

using Construct = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_int4);

/// A member over uint8 timestamps and int4 values, with filler 0.
struct Case {
    Source ts1, ts2, values;
    Record it;
    Case(Construct construct, Items<t_uint8> a, Items<t_uint8> b, Items<t_int4> v)
        : ts1(t_uint8{}, a), ts2(t_uint8{}, b), values(t_int4{}, v) {
        EXPECT_EQ(construct(it.get(), ts1.get(), ts2.get(), values.get(), 0), QVO_S_OK);
    }
    QVO_RET next() { return it->next(it.get()); }
    /// The values of the tile, of which the last may be repeated to its end.
    std::vector<qvo_int4> tile() {
        std::vector<qvo_int4> all;
        for (const auto& item : tile_items<t_int4>(it.it)) all.push_back(item.value);
        while (all.size() > 1 && all.back() == all[all.size() - 2]) all.pop_back();
        return all;
    }
};

TEST(Stretch, NeverMovesTheFirstTimelineOn_deliberate) {
    using Values = std::vector<qvo_int4>;
    Case ahead(qvo_seq_stretch_uint8_int4, {{5}, {100}}, {{1}, {4}, {9}, {10}}, {{10}, {40}, {90}, {100}});
    EXPECT_EQ(ahead.next(), QVO_S_OK);
    EXPECT_EQ(ahead.it->tile_size, 819);
    EXPECT_EQ(ahead.tile(), (Values{10, 40, 90}));
    EXPECT_EQ(ahead.next(), QVO_S_OK);
    EXPECT_EQ(ahead.tile(), Values{90});
    EXPECT_EQ(ahead.it->next_seq_no, 2U * 819);
    EXPECT_EQ(ahead.ts1->tile_offs, 0);

    Case ended(qvo_seq_stretch_uint8_int4, {{5}}, {{1}, {4}}, {{10, 2}});
    EXPECT_EQ(ended.next(), QVO_S_OK);
    EXPECT_EQ(ended.tile(), (Values{10, 10, 0}));
    Case without(qvo_seq_stretch_uint8_int4, {}, {{1}}, {{10}});
    EXPECT_EQ(without.next(), QVO_S_CURSOR_END);
}

TEST(Stretch0, UnionOfTheTimelines) {
    Case both(qvo_seq_stretch0_uint8_int4, {{1}, {3}}, {{1}, {2}}, {{10}, {20}});
    check_items<t_int4>(drain<t_int4>(both.it.get()), {{10}, {20}, {0}});
    Case none(qvo_seq_stretch0_uint8_int4, {}, {}, {{1}});
    EXPECT_TRUE(none.next() == QVO_S_CURSOR_END && none.next() == QVO_S_CURSOR_END);
    EXPECT_EQ(none.ts1.n_next() + none.ts2.n_next(), 2U) << "the end is kept";
}

TEST(Stretch0, AfterTheFirstTimelineTheValuesDecide_deliberate) {
    Items<t_int4> values{{10}, {20}};
    for (int i = 0; i < 1000; ++i) values.push_back({i});
    Case by(qvo_seq_stretch0_uint8_int4, {{1}}, {{2}, {3, 7}}, values);  // a run that is not looked at
    EXPECT_EQ(by.next(), QVO_S_OK);
    EXPECT_EQ(by.it->tile_size, 819);
    EXPECT_EQ(tile_items<t_int4>(by.it.it)[1].value, 10);
    EXPECT_EQ(by.next(), QVO_S_CURSOR_END) << "184 values are dropped";
    EXPECT_EQ(by.it->next_seq_no, 819U);
    EXPECT_EQ(by.ts2->tile_offs, 0);
}

TEST(Stretch, TimestampsHaveRun1) {
    const Alignment stretch = FILLED(qvo_seq_stretch, uint4, int4), stretch0 = FILLED(qvo_seq_stretch0, datetime, int4);
    for (size_t element = 0; element < 3; ++element) {
        EXPECT_TRUE(stops_on_run(stretch, 1, element));
        EXPECT_FALSE(stops_on_run(stretch, 0, element));
        EXPECT_TRUE(stops_on_run(stretch0, 0, element));
        EXPECT_TRUE(stops_on_run(stretch0, 1, element));
    }
    Case ended(qvo_seq_stretch0_uint8_int4, {{5}, {6, 2}}, {{1}}, {{10}});
    EXPECT_TRUE(catch_stop([&] { ended.next(); }).stopped) << "also past the end of the other timeline";
}

}  // namespace
}  // namespace test
