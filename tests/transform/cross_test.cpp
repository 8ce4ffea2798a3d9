// Changes of sign.
#include "support/protocol.h"

namespace test {
namespace {

struct State {
    uint64_t pos = 0, n_zeros = 0;
    int prev_sign = 0;
};

template <class V> QVO_RET literal_cross(qvo_seq_iterator_h it, int first_sign, State& state) {
    const qvo_seq_iterator_h input = it->opd[0];
    State now = state;
    const QVO_RET rc = literal_selected_next(it, [&](size_t i, size_t k) {
        const V v = literal_value<V>(input, k);
        const uint64_t pos = now.pos;
        now.pos += literal_run(input, k);
        const int sign = v > 0 ? 1 : v < 0 ? -1 : 0;
        if (sign == 0) state.n_zeros += now.prev_sign != 0 ? literal_run(input, k) : 0;
        if (sign == 0 || sign == now.prev_sign) return false;
        const bool filtered = first_sign != 0 && it->next_seq_no == 0 && sign != first_sign;
        const bool crosses = now.prev_sign != 0 && !filtered;
        if (crosses) {
            literal_put(it, i, pos - state.n_zeros);
            literal_put_run(it, i, 1);
        }
        now.prev_sign = sign;
        state.n_zeros = 0;
        return crosses;
    });
    if (rc == QVO_S_OK) state.pos = now.pos, state.prev_sign = now.prev_sign;
    return rc;
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, int);

template <class T> void check_cross(const char* name, Constructor construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    check_random(
        unary_member(name, nullptr, next, QVO_DD_UINT8, 8, qvo_seq_cross_reset_iterator), 24,
        [=](Random& random, unsigned seed, Member& m) {
            const int first = seed == 0 ? 0 : static_cast<int>(random.below(4)) - 1;
            m.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0], first); };
            // Long stretches of one sign, of zeros, and of anything; first elements that cross at once.
            unsigned shape = seed == 0 ? 4 : 0;
            Items<T> items = random_items<T>(random, random.between(4, 6000), [&](Random& r) {
                if (r.chance(2)) shape = r.below(5);
                const V v = r.value<V>();
                return shape == 0 ? V{0} : shape == 1 ? V{3} : shape == 2 ? static_cast<V>(-3) : v;
            });
            items[0].value = 1;
            items[1].value = static_cast<V>(-1);
            m.operands = {operand<T>(items)};
            return [=, state = State{}](qvo_seq_iterator_h it) mutable { return literal_cross<V>(it, first, state); };
        });
}

#define TEST_MEMBER(type) check_cross<t_##type>(MEMBER(qvo_seq_cross_##type));

TEST(Cross, FollowsTheSteps) {
    TEST_MEMBER(int1)
    TEST_MEMBER(int2)
    TEST_MEMBER(int4)
    TEST_MEMBER(int8)
    TEST_MEMBER(float)
    TEST_MEMBER(double)
}

TEST(Cross, TimesHaveNoNegativeSide) {
    Source times(t_datetime{}, {{0, 3}, {5}, {~uint64_t{0}}, {0}});
    EXPECT_TRUE(drained<t_uint8>(qvo_seq_cross_datetime, times.get(), 0).empty());
}

std::vector<uint64_t> positions(const Items<t_int4>& items, int first) {
    return expand(drained<t_uint8>(qvo_seq_cross_int4, Source(t_int4{}, items).get(), first));
}

TEST(Cross, ReportsTheFirstZero) {
    const Items<t_int4> items{{1}, {2}, {0}, {0}, {-1}, {3}};
    EXPECT_EQ(positions(items, 0), (std::vector<uint64_t>{2, 5}));
    EXPECT_EQ(positions(items, 1), (std::vector<uint64_t>{5}));
    EXPECT_EQ(positions(items, -1), (std::vector<uint64_t>{2}));
    EXPECT_EQ(positions({{0, 9}, {4, 200}, {0, 3}, {-1, 2}}, 0), (std::vector<uint64_t>{209}));
}

TEST(Cross, CountsZerosOnOverValuesThatDoNotCross_deliberate) {
    EXPECT_EQ(positions({{1}, {0}, {2}, {-1}}, 0), (std::vector<uint64_t>{2}));
}

TEST(Cross, FiltersTheWholeFirstCallAndNoOther_deliberate) {
    Items<t_int4> items;
    for (int i = 0; i < 1000; ++i) items.push_back({i % 2 == 0 ? 1 : -1});
    const auto found = positions(items, 1);
    ASSERT_GT(found.size(), 460U);
    for (size_t i = 0; i < 455; ++i) EXPECT_EQ(found[i], 2 * (i + 1));
    EXPECT_EQ(found[455], 911U) << "a crossing to negative values";
}

TEST(Cross, UnsignedTypesAreRefused) {
    Source source(t_uint4{}, {{1}});
    Record it;
    const qvo_seq_iterator_t before = it.it;
    EXPECT_EQ(qvo_seq_cross_uint1(it.get(), source.get(), 0), QVO_E_UNSUPPORTED);
    EXPECT_EQ(qvo_seq_cross_uint2(it.get(), source.get(), 0), QVO_E_UNSUPPORTED);
    EXPECT_EQ(qvo_seq_cross_uint4(it.get(), source.get(), 0), QVO_E_UNSUPPORTED);
    EXPECT_EQ(qvo_seq_cross_uint8(it.get(), source.get(), 0), QVO_E_UNSUPPORTED);
    EXPECT_EQ(std::memcmp(&before, &it.it, sizeof before), 0);
    EXPECT_EQ(source->bounded, 0);
}

}  // namespace
}  // namespace test
