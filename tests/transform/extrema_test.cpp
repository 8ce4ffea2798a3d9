// Local maxima and minima.
#include "support/protocol.h"

namespace test {
namespace {

template <class V> struct State {
    int prev_trend = 0;
    V prev_val{};
    uint64_t pos = 0;
};

template <class V> QVO_RET literal_extrema(qvo_seq_iterator_h it, int first_extremum, State<V>& stored) {
    const qvo_seq_iterator_h input = it->opd[0];
    State<V> s = stored;
    size_t i = 0;
    for (bool first = true; i < 455; first = false) {
        QVO_RET rc = QVO_S_OK;
        if (!literal_refill(input, i, &rc)) {
            if (rc != QVO_S_OK) return rc;
            break;
        }
        const V v = literal_value<V>(input, input->tile_offs);
        const unsigned run = literal_run(input, input->tile_offs++);
        int direction = 0;
        if (it->next_seq_no != 0 || !first) direction = s.prev_val > v ? -1 : v > s.prev_val ? 1 : 0;
        if (direction != s.prev_trend) {
            if ((s.prev_trend & direction) != 0 && (first_extremum == 0 || s.prev_trend == first_extremum)) {
                literal_put<uint64_t>(it, i, s.pos - 1);
                literal_put_run(it, i++, 1);
            }
            if (direction != 0) s.prev_trend = direction;
        }
        s.prev_val = v;
        s.pos += run;
    }
    stored = s;
    it->next_seq_no += i;
    it->tile_size = static_cast<uint16_t>(i);
    return QVO_S_OK;
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, int);

template <class T>
void check_extrema(const char* name, Constructor construct, qvo_seq_iterator_next_t next,
                   qvo_seq_iterator_reset_t reset) {
    using V = typename T::value;
    Member member;
    member.name = name;
    member.type = QVO_DD_UINT8;
    member.width = 8;
    member.next = next;
    member.reset = reset;
    for (unsigned seed = 0; seed < 24; ++seed) {
        Random random(seed);
        const int first = seed == 0 ? 0 : static_cast<int>(random.below(4)) - 1;
        member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0], first); };
        // Stretches that rise, fall, stay or jump.
        unsigned shape = 0;
        V at{50};
        const auto draw = [&](Random& r) {
            if (r.chance(5)) shape = r.below(4);
            if (shape == 0 && at < 120) at = static_cast<V>(at + static_cast<V>(r.below(2)));
            if (shape == 1 && at > 0) at = static_cast<V>(at - static_cast<V>(1));
            if (shape == 3 || at != at) at = r.value<V>();
            return at;
        };
        member.operands = {operand<T>(random_items<T>(random, random.between(200, 6000), draw))};
        if (seed == 0) check_protocol(member);
        State<V> state;
        check_steps(member, [&](qvo_seq_iterator_h it) { return literal_extrema<V>(it, first, state); },
                    {random_script(random, seed)});
        if (testing::Test::HasFailure()) return;
    }
}

TEST(Extrema, FollowsTheSteps) {
#define CHECK(type) check_extrema<t_##type>(MEMBER(qvo_seq_extrema_##type), qvo_seq_extrema_##type##_reset_iterator);
    QVO_SEQ_FOR_FIXED_TYPES(CHECK)
#undef CHECK
}

std::vector<uint64_t> positions(const Items<t_double>& items, int first_extremum) {
    Source source(t_double{}, items);
    Record it;
    EXPECT_EQ(qvo_seq_extrema_double(it.get(), source.get(), first_extremum), QVO_S_OK);
    return expand(drain<t_uint8>(it.get()));
}

TEST(Extrema, PlateausCountAtTheirLastPosition) {
    EXPECT_EQ(positions({{1}, {3}, {3}, {2}, {5}}, 0), (std::vector<uint64_t>{2, 3}));
    EXPECT_EQ(positions({{1, 9}, {3, 200}, {2, 5}}, 0), (std::vector<uint64_t>{208}));
    EXPECT_EQ(positions({{1}, {NAN}, {2}, {1}}, 0), (std::vector<uint64_t>{})) << "a NaN neither rises nor falls";
}

TEST(Extrema, TheParameterFiltersAllExtrema_deliberate) {
    const Items<t_double> items{{1}, {3}, {3}, {2}, {5}, {4}};
    EXPECT_EQ(positions(items, 1), (std::vector<uint64_t>{2, 4}));
    EXPECT_EQ(positions(items, -1), (std::vector<uint64_t>{3}));
    EXPECT_EQ(positions(items, 2), (std::vector<uint64_t>{}));
}

}  // namespace
}  // namespace test
