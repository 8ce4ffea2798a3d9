// Absolute value and negation.
#include "support/protocol.h"

namespace test {
namespace {

__extension__ typedef __int128 wide_int;

// Integers by the low bits of a wider result, floating values by the sign that the C library sees.
template <class V> V model_neg(V v) {
    if constexpr (std::is_floating_point_v<V>) return std::copysign(v, std::signbit(v) ? V{1} : V{-1});
    if constexpr (std::is_unsigned_v<V>) return v;
    return static_cast<V>(-static_cast<wide_int>(v));
}
template <class V> V model_abs(V v) { return v < 0 ? model_neg(v) : v; }

template <class V> V draw(Random& random) {
    const V v = random.value<V>();
    return random.chance(50) && std::is_floating_point_v<V> ? model_neg(v) : v;  // negative NaNs and denormals as well
}

#define TEST_MEMBER(type)                                                                                 \
    check_unary<t_##type, t_##type>(MEMBER(qvo_seq_abs_##type), model_abs<qvo_##type>, draw<qvo_##type>); \
    if (!std::is_same_v<t_##type, t_datetime>)                                                            \
        check_unary<t_##type, t_##type>(MEMBER(qvo_seq_neg_##type), model_neg<qvo_##type>, draw<qvo_##type>);

TEST(Unary, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(Unary, UnsignedValuesAreNotNegated_deliberate) {
    check_items<t_uint4>(applied<t_uint4>(qvo_seq_neg_uint4, {{5, 7}}), {{5, 7}});
    check_unary<t_datetime, t_datetime>(
        MEMBER(qvo_seq_neg_datetime), [](qvo_datetime v) { return ~v + 1; }, draw<qvo_datetime>);
    check_items<t_datetime>(applied<t_datetime>(qvo_seq_neg_datetime, {{5, 7}}), {{18446744073709551611U, 7}});
}

/// The bits of the result's elements, in one tile.
template <class T, class Bits>
void check_bits(QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h), const std::vector<Bits>& from,
                const std::vector<Bits>& to) {
    // Both a vector loop's worth and single elements.
    for (const size_t copies : {1, 40}) {
        std::vector<Bits> many;
        for (size_t i = 0; i < copies; ++i) many.insert(many.end(), from.begin(), from.end());
        Items<T> items(many.size());
        for (size_t i = 0; i < many.size(); ++i) std::memcpy(&items[i].value, &many[i], sizeof(Bits));
        Source source(T{}, items);
        Record it;
        ASSERT_EQ(construct(it.get(), source.get()), QVO_S_OK);
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        ASSERT_EQ(it->tile_size, many.size());
        for (size_t i = 0; i < many.size(); ++i)
            EXPECT_EQ(literal_value<Bits>(it.get(), i), to[i % to.size()]) << "of " << from[i % from.size()];
    }
}

TEST(Unary, FloatingValuesChangeInTheirSignBitAlone) {
    // 0, -0, -1, quiet and signalling NaNs of both signs, the smallest negative number, -infinity.
    const std::vector<uint32_t> floats{0,          0x80000000, 0xbf800000, 0x7fc00001, 0xffc00001,
                                       0x7f800001, 0xff800001, 0x80000001, 0xff800000};
    check_bits<t_float>(qvo_seq_abs_float, floats,
                        {0, 0x80000000, 0x3f800000, 0x7fc00001, 0xffc00001, 0x7f800001, 0xff800001, 1, 0x7f800000});
    check_bits<t_float>(qvo_seq_neg_float, floats,
                        {0x80000000, 0, 0x3f800000, 0xffc00001, 0x7fc00001, 0xff800001, 0x7f800001, 1, 0x7f800000});
    const std::vector<uint64_t> doubles{0x8000000000000000, 0xbff0000000000000, 0x7ff0000000000001,
                                        0xfff0000000000001, 0xfff8000000000000, 0x8000000000000001};
    check_bits<t_double>(
        qvo_seq_abs_double, doubles,
        {0x8000000000000000, 0x3ff0000000000000, 0x7ff0000000000001, 0xfff0000000000001, 0xfff8000000000000, 1});
    check_bits<t_double>(qvo_seq_neg_double, doubles,
                         {0, 0x3ff0000000000000, 0xfff0000000000001, 0x7ff0000000000001, 0x7ff8000000000000, 1});
}

}  // namespace
}  // namespace test
