// Differences and directions of change.
#include "transform/shaping.h"

namespace test {
namespace {

// Both keep the previous value in the accumulator of their context, from its third word on; trend keeps the direction
// after the accumulator and the norm.
template <class V> V previous(const qvo_seq_iterator_t* it) {
    V v;
    std::memcpy(&v, &reinterpret_cast<const qvo_seq_agg_context_t*>(it->context)->accumulator, sizeof v);
    return v;
}
template <class V> void set_previous(qvo_seq_iterator_h it, V v) {
    std::memcpy(&reinterpret_cast<qvo_seq_agg_context_t*>(it->context)->accumulator, &v, sizeof v);
}

template <class V> V subtract(V a, V b) {
    if constexpr (std::is_floating_point_v<V>)
        return a - b;
    else
        return static_cast<V>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

template <class V> QVO_RET literal_diff(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0];
    size_t i = 0;
    QVO_RET rc = QVO_S_OK;
    for (; i < capacity_of(it->elem_size) && literal_refill(input, i, &rc); ++i) {
        if (it->next_seq_no == 0) set_previous(it, literal_value<V>(input, 0));
        unsigned run = 1;
        if (input->rle_offs != 0) {
            run = literal_run(input, input->tile_offs) - 1;
            literal_put(it, i, V{0});
            input->rle_offs = 0;
            ++input->tile_offs;
        } else {
            const V value = literal_value<V>(input, input->tile_offs);
            literal_put(it, i, subtract(value, previous<V>(it)));
            set_previous(it, value);
            literal_take(input, 1);
        }
        literal_put_run(it, i, run);
        it->next_seq_no += run;
    }
    if (rc == QVO_S_OK) it->tile_size = static_cast<uint16_t>(i);
    return rc;
}

template <class V> QVO_RET literal_trend(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0];
    qvo_int1& trend = reinterpret_cast<qvo_seq_agg_context_t*>(it->context)->history.trend;
    if (const QVO_RET rc = input->next(input); rc != QVO_S_OK) return rc;
    if (it->next_seq_no == 0) {
        set_previous(it, literal_value<V>(input, 0));
        trend = 0;
    }
    for (size_t i = 0; i < input->tile_size; ++i) {
        const V value = literal_value<V>(input, i);
        if (value < previous<V>(it)) trend = -1;
        if (value > previous<V>(it)) trend = 1;
        literal_put(it, i, trend);
        literal_put_run(it, i, literal_run(input, i));
        it->next_seq_no += literal_run(input, i);
        set_previous(it, value);
    }
    it->tile_size = input->tile_size;
    return QVO_S_OK;
}

#define TEST_MEMBER(type)                                                                                              \
    check_shaping<t_##type>(unary_member<t_##type>(MEMBER(qvo_seq_diff_##type)), literal_diff<qvo_##type>, 255, true); \
    check_shaping<t_##type>(                                                                                           \
        shaping_member("qvo_seq_trend_" #type, QVO_DD_INT1, 1, qvo_seq_trend_##type, qvo_seq_trend_##type##_next),     \
        literal_trend<qvo_##type>);

TEST(Trend, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(Trend, DiffSplitsARunIntoItsDifferenceAndARest) {
    check_items<t_int4>(shape<t_int4>(qvo_seq_diff_int4, {{5, 3}, {8, 1}}), {{0, 1}, {0, 2}, {3, 1}});
    check_items<t_uint1>(shape<t_uint1>(qvo_seq_diff_uint1, {{5, 1}, {4, 255}}), {{0, 1}, {255, 1}, {0, 254}});
}

TEST(Trend, DiffTakesARunThatWasEnteredBeforeForItsRest_deliberate) {
    Source source(t_int4{}, {{5}, {7, 9}, {8}});
    ASSERT_EQ(source->next(source.get()), QVO_S_OK);
    source->tile_offs = 1;
    source->rle_offs = 4;
    Record it;
    ASSERT_EQ(qvo_seq_diff_int4(it.get(), source.get()), QVO_S_OK);
    check_items<t_int4>(drain<t_int4>(it.get()), {{0, 8}, {3}});
}

TEST(Trend, FlatStretchesKeepTheDirection) {
    check_items<t_int1>(shape<t_int4, t_int1>(qvo_seq_trend_int4, {{1}, {2}, {2}, {1}, {1}}),
                        {{0}, {1}, {1}, {-1}, {-1}});
    check_items<t_int1>(shape<t_int4, t_int1>(qvo_seq_trend_int4, {{1, 4}, {0, 2}, {0, 3}, {7}}, {1, 2}),
                        {{0, 4}, {-1, 2}, {-1, 3}, {1}});
    const float nan = std::numeric_limits<float>::quiet_NaN();
    check_items<t_int1>(shape<t_float, t_int1>(qvo_seq_trend_float, {{1}, {2}, {nan}, {0}, {-1}}),
                        {{0}, {1}, {1}, {1}, {-1}});
}

}  // namespace
}  // namespace test
