// Element-wise arithmetic: every member against a model, and the cases that the type lists do not reach.
#include <csignal>

#include "support/protocol.h"

namespace test {
namespace {

__extension__ typedef __int128 wide_int;
__extension__ typedef unsigned __int128 wide_uint;

// Integers are computed in 128 bits and narrowed, floating values as they are. The models are functions and not
// closures: one type for all members of an element type.
template <class V> using Wide = std::conditional_t<std::is_floating_point_v<V>, V, wide_int>;
template <class V> V add(V a, V b) { return static_cast<V>(Wide<V>(a) + Wide<V>(b)); }
template <class V> V sub(V a, V b) { return static_cast<V>(Wide<V>(a) - Wide<V>(b)); }
template <class V> V mul(V a, V b) {
    return static_cast<V>(std::conditional_t<std::is_floating_point_v<V>, V, wide_uint>(a) * Wide<V>(b));
}
template <class V> V div(V a, V b) { return static_cast<V>(Wide<V>(a) / Wide<V>(b)); }
template <class V> V mod(V a, V b) {
    if constexpr (std::is_floating_point_v<V>)
        return static_cast<V>(std::fmod(double{a}, double{b}));
    else
        return static_cast<V>(Wide<V>(a) % Wide<V>(b));
}
template <class V> V max(V a, V b) { return a > b ? a : b; }
template <class V> V min(V a, V b) { return b > a ? a : b; }

/// Divisors of integers that do not fault: neither 0 nor -1.
template <class V> V divisor(Random& random) {
    for (;;)
        if (const V v = random.value<V>(); std::is_floating_point_v<V> || (v != 0 && v != static_cast<V>(-1))) return v;
}

#define TEST_MEMBER(type)                                                                               \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_add_##type), add<qvo_##type>);                      \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_sub_##type), sub<qvo_##type>);                      \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_mul_##type), mul<qvo_##type>);                      \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_div_##type), div<qvo_##type>, divisor<qvo_##type>); \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_mod_##type), mod<qvo_##type>, divisor<qvo_##type>); \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_max_##type), max<qvo_##type>);                      \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_min_##type), min<qvo_##type>);

TEST(Arithmetic, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(Arithmetic, OneResultElementPerOverlap) {
    check_items<t_int4>(applied<t_int4>(qvo_seq_add_int4, {{10, 255}, {20, 1}}, {{1, 128}, {2, 128}}),
                        {{11, 128}, {12, 127}, {22, 1}});
    check_items<t_int4>(applied<t_int4>(qvo_seq_sub_int4, {{1, 3}, {1, 3}, {1, 3}}, {{1, 255}}),
                        {{0, 3}, {0, 3}, {0, 3}});
}

TEST(Arithmetic, NarrowIntegersWrapAtTheirWidth) {
    check_items<t_int1>(applied<t_int1>(qvo_seq_add_int1, {{100}}, {{100}}), {{-56}});
    check_items<t_int1>(applied<t_int1>(qvo_seq_div_int1, {{-128}}, {{-1}}), {{-128}});
    check_items<t_int2>(applied<t_int2>(qvo_seq_mul_int2, {{-32768}}, {{-1}}), {{-32768}});
    check_items<t_uint2>(applied<t_uint2>(qvo_seq_mul_uint2, {{65535}}, {{65535}}), {{1}});
    check_items<t_int4>(applied<t_int4>(qvo_seq_mod_int4, {{-7}}, {{3}}), {{-1}});
    check_items<t_float>(applied<t_float>(qvo_seq_mod_float, {{5.5F}}, {{2}}), {{1.5F}});
}

TEST(Arithmetic, MaxAndMinDeliverTheRightValueNextToNaN_deliberate) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    check_items<t_double>(applied<t_double>(qvo_seq_max_double, {{nan}, {1}}, {{1}, {nan}}), {{1}, {nan}});
    check_items<t_double>(applied<t_double>(qvo_seq_min_double, {{nan}, {1}}, {{1}, {nan}}), {{1}, {nan}});
    check_items<t_double>(applied<t_double>(qvo_seq_min_double, {{0.0}, {-0.0}}, {{-0.0}, {0.0}}), {{-0.0}, {0.0}});
}

TEST(ArithmeticDeathTest, IntegerDivisionFaults) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto divides = testing::KilledBySignal(SIGFPE);
    EXPECT_EXIT(applied<t_int4>(qvo_seq_div_int4, {{1}}, {{0}}), divides, "");
    EXPECT_EXIT(applied<t_uint1>(qvo_seq_mod_uint1, {{1}}, {{0}}), divides, "");
    EXPECT_EXIT(applied<t_datetime>(qvo_seq_div_datetime, {{1}}, {{0}}), divides, "");
    EXPECT_EXIT(applied<t_int4>(qvo_seq_div_int4, {{INT32_MIN}}, {{-1}}), divides, "");
    EXPECT_EXIT(applied<t_int8>(qvo_seq_mod_int8, {{INT64_MIN}}, {{-1}}), divides, "");
}

}  // namespace
}  // namespace test
