// Conversions: all 121 pairs against a model in wider arithmetic, over random values and those around every power of
// two.
#include <cfloat>

#include "support/protocol.h"

namespace test {
namespace {

__extension__ typedef __int128 wide_int;
__extension__ typedef unsigned __int128 wide_uint;

/// The number that the low bits of `value` stand for in an integer of type To.
template <class To> To low_bits(wide_int value) {
    const wide_int modulus = wide_int{1} << (8 * sizeof(To));
    wide_int low = static_cast<wide_int>(static_cast<wide_uint>(value) & static_cast<wide_uint>(modulus - 1));
    if (std::is_signed_v<To> && low >= modulus / 2) low -= modulus;
    return static_cast<To>(low);
}

/// Towards zero; what lies outside of `bits` bits, signed, is the lowest number there.
wide_int truncated(long double value, unsigned bits) {
    const wide_int limit = wide_int{1} << (bits - 1);
    if (std::isnan(value) || value >= static_cast<long double>(limit)) return -limit;
    if (value <= -static_cast<long double>(limit)) return -limit;
    return static_cast<wide_int>(std::trunc(value));
}

template <class From, class To> To model(From value) {
    if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(static_cast<long double>(value));  // which holds any of the sources exactly
    } else if constexpr (std::is_integral_v<From>) {
        return low_bits<To>(value);
    } else {
        const long double v = value, half = 0x1p63L;
        if (std::is_same_v<To, uint64_t> && v >= half) return low_bits<To>(truncated(v - half, 64) | wide_int{1} << 63);
        const bool by_32_bits = sizeof(To) < 4 || std::is_same_v<To, int32_t>;
        return low_bits<To>(truncated(v, by_32_bits ? 32 : 64));
    }
}

/// Values where conversions go wrong: powers of two and halves between numbers, and their neighbours.
template <class V> const std::vector<V>& hard_values() {
    static const std::vector<V> all = [] {
        std::vector<V> values;
        for (int k = 0; k <= 70; ++k) {
            if constexpr (std::is_integral_v<V>) {
                // Next to 2^k, and to the middle between two floats or doubles that follow it.
                for (const int step : {k, k - 24, k - 53})
                    for (const int off : {-1, 0, 1})
                        for (const bool minus : {false, true}) {
                            if (k > 63) continue;
                            const uint64_t v = (uint64_t{1} << k) + (step >= 0 && step < k ? uint64_t{1} << step : 0) +
                                               static_cast<uint64_t>(off);
                            values.push_back(static_cast<V>(minus ? ~v + 1 : v));
                        }
            } else {
                for (const double sum : {0.0, -1.0, 1.0, -0.5, 0.5, -0.75, 0.75})
                    for (const double factor : {1.0, -1.0}) {
                        const V v = static_cast<V>(factor * (std::ldexp(1.0, k) + sum));
                        for (const V infinite : {-INFINITY, INFINITY}) values.push_back(std::nextafter(v, infinite));
                        values.push_back(v);
                    }
            }
        }
        if constexpr (std::is_floating_point_v<V>) {
            using Limits = std::numeric_limits<V>;
            for (const V v : {Limits::quiet_NaN(), Limits::infinity(), Limits::max(), Limits::min(),
                              Limits::denorm_min(), V{0}, static_cast<V>(FLT_MAX), static_cast<V>(0x1p-149),
                              static_cast<V>(0x1p-150), static_cast<V>(1 + 0x1p-24), static_cast<V>(3.9)}) {
                values.push_back(v);
                values.push_back(-v);
                values.push_back(std::nextafter(v, V{1}));
            }
        }
        return values;
    }();
    return all;
}

template <class V> V draw(Random& random) {
    const auto& hard = hard_values<V>();
    return random.chance(70) ? hard[random.below(static_cast<unsigned>(hard.size()))] : random.value<V>();
}

template <class T, class R>
void check_pair(const char* name, QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h),
                qvo_seq_iterator_next_t next, QVO_RET (*other_name)(qvo_seq_iterator_h, qvo_seq_iterator_h)) {
    using V = typename T::value;
    check_unary<T, R>(name, construct, next, model<V, typename R::value>, draw<V>);
    // Every hard value, in one piece; and the second name builds the same. Where vector code takes many values at once
    // only if all of them allow it, it meets as many of each.
    const size_t n = std::is_floating_point_v<V> && std::is_same_v<R, t_uint4> ? 64 : 1;
    Items<T> items;
    Items<R> expected;
    for (const V v : hard_values<V>()) {
        items.insert(items.end(), n, {v, 1});
        expected.insert(expected.end(), n, {model<V, typename R::value>(v), 1});
    }
    for (const auto& build : {construct, other_name}) {
        Source source(T{}, items);
        Record it;
        ASSERT_EQ(build(it.get(), source.get()), QVO_S_OK) << name;
        EXPECT_EQ(it->next, next) << name;
        check_items<R>(drain<R>(it.get()), expected);
        source->elem_type = 99;
        EXPECT_EQ(build(it.get(), source.get()), QVO_E_ILLEGAL_TYPE) << name;
    }
}

#define TEST_PAIR(from, to)                                                                     \
    check_pair<t_##from, t_##to>(MEMBER(qvo_seq_##from##_to_##to), qvo_seq_##to##_from_##from); \
    if (HasFailure()) return;
#define TEST_FROM(type) \
    TEST(Convert, type) { QVO_SEQ_FOR_FIXED_TYPES_WITH(TEST_PAIR, type) }
QVO_SEQ_FOR_FIXED_TYPES(TEST_FROM)

template <class T, class R>
void check_case(QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h), const Items<T>& from,
                const Items<R>& to) {
    Source source(T{}, from);
    Record it;
    ASSERT_EQ(construct(it.get(), source.get()), QVO_S_OK);
    check_items<R>(drain<R>(it.get()), to);
}

TEST(Convert, WorkedCases) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    check_case<t_double, t_int4>(qvo_seq_double_to_int4, {{3.9, 200}, {-3.9}, {1e10}, {nan}},
                                 {{3, 200}, {-3}, {INT32_MIN}, {INT32_MIN}});
    check_case<t_int4, t_int1>(qvo_seq_int4_to_int1, {{300, 255}}, {{44, 255}});
    check_case<t_int1, t_uint4>(qvo_seq_uint4_from_int1, {{-1}}, {{4294967295U}});
    check_case<t_double, t_uint1>(qvo_seq_double_to_uint1, {{300.7}, {nan}, {-1.5}}, {{44}, {0}, {255}});
    check_case<t_double, t_uint4>(qvo_seq_double_to_uint4, {{-1}, {1e10}}, {{4294967295U}, {1410065408}});
    check_case<t_double, t_uint8>(qvo_seq_double_to_uint8, {{-1}, {nan}, {0x1.8p63}, {0x1p64}, {inf}, {-inf}},
                                  {{~0ULL}, {1ULL << 63}, {3ULL << 62}, {1ULL << 63}, {1ULL << 63}, {1ULL << 63}});
    // One rounding: by way of a double this would fall on the middle between two floats, and to the even one below.
    check_case<t_uint8, t_float>(qvo_seq_uint8_to_float, {{(1ULL << 63) + (1ULL << 39) + 1}}, {{0x1p63F + 0x1p40F}});
}

}  // namespace
}  // namespace test
