// Arithmetic progressions.
#include "support/number.h"

namespace test {
namespace {

template <class V> V model(uint64_t position, V init, V step) {
    if constexpr (std::is_floating_point_v<V>) {
        const V product = static_cast<V>(position) * step;
        return product + init;
    } else {
        return static_cast<V>(static_cast<wide_int>(position) * step + init);
    }
}

template <class T> using Constructor = QVO_RET (*)(qvo_seq_iterator_h, typename T::value, typename T::value, uint64_t);

template <class T> void check_progression(const char* name, Constructor<T> construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    const size_t capacity = capacity_of(T::width);
    Member member = unary_member(name, nullptr, next, T::code, T::width, qvo_seq_reset_iterator);
    for_seeds(28, [&](Random& random, unsigned seed) {
        const V init = random.value<V>(), step = seed == 0 ? V{0} : random.value<V>();  // without an end: a constant
        const uint64_t counts[] = {~uint64_t{0}, 0, 1, capacity - 1, capacity, capacity + 1, 5 * capacity};
        const uint64_t count = counts[seed % 7];
        // From the start, and from positions that are not exact in a float or in a double.
        const uint64_t starts[] = {0, (uint64_t{1} << 24) - 5, (uint64_t{1} << 52) - 7, ~uint64_t{0} - 6 * capacity};
        member.construct = [=](qvo_seq_iterator_h it, const Member::Operands&) {
            const QVO_RET rc = construct(it, init, step, count);
            EXPECT_EQ(it->last_seq_no, count);
            if (seed % 7 == 0) it->next_seq_no = starts[seed / 7];
            return rc;
        };
        member.endless = seed == 0;
        if (seed == 0) check_protocol(member);
        const auto literal = [=](qvo_seq_iterator_h it) -> QVO_RET {
            const uint64_t n = std::min<uint64_t>(capacity, count - it->next_seq_no);
            it->tile_size = static_cast<uint16_t>(n);
            if (n == 0) return QVO_S_CURSOR_END;
            for (size_t i = 0; i < n; ++i) {
                literal_put(it, i, model(it->next_seq_no++, init, step));
                literal_put_run(it, i, 1);
            }
            return QVO_S_OK;
        };
        check_steps(member, literal, {}, nullptr, 7);
    });
}

#define TEST_MEMBER(type) check_progression<t_##type>(MEMBER(qvo_seq_aprogres_##type));

TEST(Progression, FollowsTheModelAndEndsWithAnEmptyTile_deliberate) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

}  // namespace
}  // namespace test
