// Arithmetic progressions.
#include "support/protocol.h"

namespace test {
namespace {

__extension__ typedef __int128 wide_int;

template <class V> V model(uint64_t position, V init, V step) {
    if constexpr (std::is_floating_point_v<V>) {
        const V product = static_cast<V>(position) * step;
        return product + init;
    } else {
        return static_cast<V>(static_cast<wide_int>(position) * step + init);
    }
}

template <class T> using Constructor = QVO_RET (*)(qvo_seq_iterator_h, typename T::value, typename T::value, uint64_t);

template <class T> void check_progression(Constructor<T> construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    const size_t capacity = capacity_of(T::width);
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(std::string(T::name) + ", seed " + std::to_string(seed));
        Random random(seed);
        const V init = random.value<V>(), step = random.value<V>();
        const uint64_t counts[] = {0, 1, capacity - 1, capacity, capacity + 1, 5 * capacity, ~uint64_t{0}};
        const uint64_t count = counts[seed % 7];
        // From the start, and from positions that are not exact in a float or in a double.
        const uint64_t starts[] = {0, (uint64_t{1} << 24) - 5, (uint64_t{1} << 52) - 7, ~uint64_t{0} - 6 * capacity};
        const uint64_t start = count == ~uint64_t{0} ? starts[seed % 4] : 0;
        Record it;
        ASSERT_EQ(construct(it.get(), init, step, count), QVO_S_OK);
        EXPECT_TRUE(it->elem_type == T::code && it->elem_size == T::width && it->last_seq_no == count);
        EXPECT_TRUE(it->bounded == 0 && it->tile_size == 0 && it->next_seq_no == 0 && it->first_seq_no == 0);
        EXPECT_TRUE(it->next == next && it->reset == qvo_seq_reset_iterator && it->prepare == nullptr);
        for (unsigned round = 0; round < 2; ++round) {
            it->next_seq_no = start;
            uint64_t at = start;
            while (at < count && at - start < 4 * capacity) {
                ASSERT_EQ(it->next(it.get()), QVO_S_OK);
                ASSERT_EQ(it->tile_size, std::min<uint64_t>(capacity, count - at));
                for (const auto& item : tile_items<T>(it.it)) {
                    ASSERT_TRUE(item.run == 1 && same_value(item.value, model(at, init, step)))
                        << to_text(item.value) << " at " << at;
                    ++at;
                }
                ASSERT_EQ(it->next_seq_no, at);
            }
            if (at == count) {
                const qvo_seq_iterator_t before = it.it;
                EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
                EXPECT_EQ(it->tile_size, 0);
                it->tile_size = before.tile_size;
                EXPECT_EQ(std::memcmp(&before, &it.it, sizeof before), 0);
                EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
            }
            ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
        }
    }
}

TEST(Progression, FollowsTheModelAndEndsWithAnEmptyTile_deliberate) {
#define CHECK(type) check_progression<t_##type>(qvo_seq_aprogres_##type, qvo_seq_aprogres_##type##_next);
    QVO_SEQ_FOR_FIXED_TYPES(CHECK)
#undef CHECK
}

TEST(Progression, WorkedCase) {
    Record it;
    ASSERT_EQ(qvo_seq_aprogres_int2(it.get(), 10, 3, 4), QVO_S_OK);
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    check_items<t_int2>(tile_items<t_int2>(it.it), {{10}, {13}, {16}, {19}});
}

}  // namespace
}  // namespace test
