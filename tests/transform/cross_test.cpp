// Changes of sign.
#include "support/protocol.h"

namespace test {
namespace {

struct State {
    uint64_t pos = 0;
    int prev_sign = 0, n_zeros = 0;
};

template <class V> QVO_RET literal_cross(qvo_seq_iterator_h it, int first_sign, State& state) {
    const qvo_seq_iterator_h input = it->opd[0];
    uint64_t pos = state.pos;
    int prev_sign = state.prev_sign;
    size_t i = 0;
    while (i < 455) {
        QVO_RET rc = QVO_S_OK;
        if (!literal_refill(input, i, &rc)) {
            if (rc != QVO_S_OK) return rc;
            break;
        }
        const V v = literal_value<V>(input, input->tile_offs);
        const unsigned run = literal_run(input, input->tile_offs++);
        const int sign = v > 0 ? 1 : v < 0 ? -1 : 0;
        if (sign != prev_sign) {
            const bool filtered = first_sign != 0 && it->next_seq_no == 0 && sign != first_sign;
            if ((sign & prev_sign) != 0 && !filtered) {
                literal_put<uint64_t>(it, i, pos - static_cast<uint64_t>(state.n_zeros));
                literal_put_run(it, i, 1);
                ++i;
            }
            if (sign != 0) {
                prev_sign = sign;
                state.n_zeros = 0;
            } else {
                state.n_zeros += static_cast<int>(run);
            }
        }
        pos += run;
    }
    state.pos = pos;
    state.prev_sign = prev_sign;
    it->next_seq_no += i;
    it->tile_size = static_cast<uint16_t>(i);
    return QVO_S_OK;
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, int);

template <class T>
Member cross_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, int first) {
    Member member;
    member.name = name;
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0], first); };
    member.type = QVO_DD_UINT8;
    member.width = 8;
    member.next = next;
    member.reset = qvo_seq_cross_reset_iterator;
    return member;
}

template <class T> void check_cross(const char* name, Constructor construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    for (unsigned seed = 0; seed < 24; ++seed) {
        Random random(seed);
        const int first = static_cast<int>(random.below(4)) - 1;
        Member member = cross_member<T>(name, construct, next, first);
        // Long stretches of one sign, of zeros, and of anything.
        unsigned shape = 0;
        const auto draw = [&](Random& r) {
            if (r.chance(2)) shape = r.below(5);
            const V v = r.value<V>();
            return shape == 0 ? V{0} : shape == 1 ? V{3} : shape == 2 && std::is_signed_v<V> ? static_cast<V>(-3) : v;
        };
        member.operands = {operand<T>(random_items<T>(random, random.between(4, 6000), draw))};
        State state;
        check_steps(member, [&](qvo_seq_iterator_h it) { return literal_cross<V>(it, first, state); },
                    {random_script(random, seed)});
        if (testing::Test::HasFailure()) return;
    }
    if (!std::is_signed_v<V>) return;
    Member member = cross_member<T>(name, construct, next, 0);
    Items<T> items;
    for (unsigned i = 0; i < 1000; ++i) items.push_back({static_cast<V>(i % 2 == 0 ? 1 : -1), i % 7 + 1});
    member.operands = {operand<T>(items)};
    check_protocol(member);
}

#define CHECK(type) check_cross<t_##type>(MEMBER(qvo_seq_cross_##type));
TEST(Cross, FollowsTheSteps){CHECK(int1) CHECK(int2) CHECK(int4) CHECK(int8) CHECK(float) CHECK(double) CHECK(datetime)}
#undef CHECK

std::vector<uint64_t> positions(const Items<t_int4>& items, int first) {
    Source source(t_int4{}, items);
    Record it;
    EXPECT_EQ(qvo_seq_cross_int4(it.get(), source.get(), first), QVO_S_OK);
    return expand(drain<t_uint8>(it.get()));
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
