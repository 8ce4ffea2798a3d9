// Local maxima and minima.
#include "support/protocol.h"

namespace test {
namespace {

template <class V> struct State {
    int prev_trend = 0;
    V prev_val{};
    uint64_t pos = 0;
};

template <class V> QVO_RET literal_extrema(qvo_seq_iterator_h it, int first_extremum, State<V>& state) {
    const qvo_seq_iterator_h input = it->opd[0];
    State<V> s = state;
    bool first = it->next_seq_no == 0;
    const QVO_RET rc = literal_selected_next(it, [&](size_t i, size_t k) {
        const V v = literal_value<V>(input, k);
        const int direction = first ? 0 : s.prev_val > v ? -1 : v > s.prev_val ? 1 : 0;
        const bool turns = s.prev_trend * direction < 0 && (first_extremum == 0 || s.prev_trend == first_extremum);
        if (turns) {
            literal_put(it, i, s.pos - 1);
            literal_put_run(it, i, 1);
        }
        first = false;
        if (direction != 0) s.prev_trend = direction;
        s.prev_val = v;
        s.pos += literal_run(input, k);
        return turns;
    });
    if (rc == QVO_S_OK) state = s;
    return rc;
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, int);

template <class T>
void check_extrema(const char* name, Constructor construct, qvo_seq_iterator_next_t next,
                   qvo_seq_iterator_reset_t reset) {
    using V = typename T::value;
    check_random(
        unary_member(name, nullptr, next, QVO_DD_UINT8, 8, reset), 24, [=](Random& random, unsigned seed, Member& m) {
            const int first = seed == 0 ? 0 : static_cast<int>(random.below(4)) - 1;
            m.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0], first); };
            // Stretches that rise, fall, stay or jump.
            unsigned shape = 0;
            V at{50};
            m.operands = {operand<T>(random_items<T>(random, random.between(200, 6000), [&](Random& r) {
                if (r.chance(5)) shape = r.below(4);
                if (shape == 0 && at < 120) at = static_cast<V>(at + static_cast<V>(r.below(2)));
                if (shape == 1 && at > 0) at = static_cast<V>(at - static_cast<V>(1));
                if (shape == 3 || at != at) at = r.value<V>();
                return at;
            }))};
            return
                [=, state = State<V>{}](qvo_seq_iterator_h it) mutable { return literal_extrema<V>(it, first, state); };
        });
}

#define TEST_MEMBER(type) \
    check_extrema<t_##type>(MEMBER(qvo_seq_extrema_##type), qvo_seq_extrema_##type##_reset_iterator);

TEST(Extrema, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

std::vector<uint64_t> positions(const Items<t_double>& items, int first_extremum) {
    return expand(drained<t_uint8>(qvo_seq_extrema_double, Source(t_double{}, items).get(), first_extremum));
}

TEST(Extrema, PlateausCountAtTheirLastPosition) {
    EXPECT_EQ(positions({{1}, {3}, {3}, {2}, {5}}, 0), (std::vector<uint64_t>{2, 3}));
    EXPECT_EQ(positions({{1, 9}, {3, 200}, {2, 5}}, 0), (std::vector<uint64_t>{208}));
    EXPECT_EQ(positions({{1}, {NAN}, {2}, {1}}, 0), (std::vector<uint64_t>{})) << "a NaN neither rises nor falls";
}

TEST(Extrema, PlateausAmidALongRise) {
    for (const unsigned plateau : {7, 8, 9, 16}) {
        Items<t_double> items;
        for (int i = 0; i < 17; ++i) items.push_back({double(i)});
        for (unsigned i = 0; i < plateau; ++i) items.push_back({16});
        items.push_back({3});
        EXPECT_EQ(positions(items, 0), (std::vector<uint64_t>{16 + plateau}));
    }
}

TEST(Extrema, TheParameterFiltersAllExtrema_deliberate) {
    const Items<t_double> items{{1}, {3}, {3}, {2}, {5}, {4}};
    EXPECT_EQ(positions(items, 1), (std::vector<uint64_t>{2, 4}));
    EXPECT_EQ(positions(items, -1), (std::vector<uint64_t>{3}));
    EXPECT_EQ(positions(items, 2), (std::vector<uint64_t>{}));
}

}  // namespace
}  // namespace test
