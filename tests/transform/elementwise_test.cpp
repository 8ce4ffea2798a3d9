// Arithmetic, comparisons, logic and signs: every member against a model, and what random values do not reach.
#include <csignal>

#include "support/number.h"

namespace test {
namespace {

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
template <class V> V neg(V v) {
    if constexpr (std::is_floating_point_v<V>) return std::copysign(v, std::signbit(v) ? V{1} : V{-1});
    return std::is_unsigned_v<V> ? v : static_cast<V>(-Wide<V>(v));
}
template <class V> V abs(V v) { return v < 0 ? neg(v) : v; }

/// Divisors of integers that do not fault: neither 0 nor -1.
template <class V> V divisor(Random& random) {
    for (;;)
        if (const V v = random.value<V>(); std::is_floating_point_v<V> || (v != 0 && v != static_cast<V>(-1))) return v;
}

template <class T>
void check_compare(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next,
                   bool (*model)(typename T::value, typename T::value)) {
    check_binary<T, t_bool>(name, construct, next, model);
}

#define TEST_MEMBER(type)                                                                               \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_add_##type), add<qvo_##type>);                      \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_sub_##type), sub<qvo_##type>);                      \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_mul_##type), mul<qvo_##type>);                      \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_div_##type), div<qvo_##type>, divisor<qvo_##type>); \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_mod_##type), mod<qvo_##type>, divisor<qvo_##type>); \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_max_##type), max<qvo_##type>);                      \
    check_binary<t_##type, t_##type>(MEMBER(qvo_seq_min_##type), min<qvo_##type>);                      \
    check_unary<t_##type, t_##type>(MEMBER(qvo_seq_abs_##type), abs<qvo_##type>);                       \
    if (!std::is_same_v<t_##type, t_datetime>)                                                          \
        check_unary<t_##type, t_##type>(MEMBER(qvo_seq_neg_##type), neg<qvo_##type>);

TEST(Arithmetic, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

#define TEST_COMPARE(type)                                                                              \
    check_compare<t_##type>(MEMBER(qvo_seq_eq_##type), [](auto a, auto b) { return a == b; });          \
    check_compare<t_##type>(MEMBER(qvo_seq_ne_##type), [](auto a, auto b) { return !(a == b); });       \
    check_compare<t_##type>(MEMBER(qvo_seq_ge_##type), [](auto a, auto b) { return a > b || a == b; }); \
    check_compare<t_##type>(MEMBER(qvo_seq_le_##type), [](auto a, auto b) { return a < b || a == b; }); \
    check_compare<t_##type>(MEMBER(qvo_seq_gt_##type), [](auto a, auto b) { return b < a; });           \
    check_compare<t_##type>(MEMBER(qvo_seq_lt_##type), [](auto a, auto b) { return b > a; });

TEST(Compare, FollowsTheModel){QVO_SEQ_FOR_FIXED_TYPES(TEST_COMPARE)}

qvo_seq_bool draw_bool(Random& random) {
    return random.chance(80) ? static_cast<qvo_seq_bool>(random.below(2)) : random.value<qvo_seq_bool>();
}

#define TEST_LOGIC(name, op)      \
    check_binary<t_bool, t_bool>( \
        #name, name, name##_qvo_seq_bool_next, [](unsigned a, unsigned b) { return a op b; }, draw_bool);

TEST(Logic, WorksOnTheBytes){TEST_LOGIC(qvo_seq_and, &) TEST_LOGIC(qvo_seq_or, |) TEST_LOGIC(qvo_seq_xor, ^)}

TEST(Logic, NotTakesWholeElementsWhereverTheReaderStands_deliberate) {
    check_unary<t_bool, t_bool>(
        "qvo_seq_not", qvo_seq_not, qvo_seq_not_qvo_seq_bool_next, [](unsigned v) { return v == 0; }, draw_bool);
}

TEST(Unary, DatetimesAreNegatedUnlikeOtherUnsignedValues_deliberate) {
    check_unary<t_datetime, t_datetime>(MEMBER(qvo_seq_neg_datetime), [](qvo_datetime v) { return ~v + 1; });
}

TEST(Arithmetic, NarrowIntegersAreDividedAsIfWider) {
    check_items<t_int1>(applied<t_int1>(qvo_seq_div_int1, {{-128}}, {{-1}}), {{-128}});
    check_items<t_int2>(applied<t_int2>(qvo_seq_mod_int2, {{-32768}}, {{-1}}), {{0}});
}

TEST(Arithmetic, MaxAndMinDeliverTheRightValueNextToNaN_deliberate) {
    check_items<t_double>(applied<t_double>(qvo_seq_max_double, {{NAN}, {1}}, {{1}, {NAN}}), {{1}, {NAN}});
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

/// Quotients of all sizes, and next to whole and half ones.
template <class T> void check_remainders(ConstructBinary construct, int most_exponent) {
    using V = typename T::value;
    Random random(1);
    Items<T> left, right, expected;
    const auto spread = [&] { return random.below(1U << random.below(31)); };
    for (int i = 0; i < 150'000; ++i) {
        const int exponent = int(random.below(unsigned(2 * most_exponent))) - most_exponent;
        const V divisor =
            random.chance(20) ? random.value<V>() : static_cast<V>(std::ldexp(1.0 + spread() / 7.0, exponent));
        right.push_back({divisor, i % 1000 < 500 ? 1U : 2U});
        for (unsigned k = 0; k < right.back().run; ++k) {
            double value = double{divisor} * (random.value<double>() + spread() + 0.5 * random.below(2));
            value = random.chance(50) ? std::nextafter(value, random.value<double>())
                                      : std::ldexp(value, int(random.below(70)));
            left.push_back({random.chance(20) ? random.value<V>() : static_cast<V>(value)});
            expected.push_back({mod(left.back().value, divisor)});
        }
    }
    check_items<T>(applied<T>(construct, left, right), expected);
}

TEST(Arithmetic, RemaindersOfFloatingValues) {
    check_remainders<t_double>(qvo_seq_mod_double, 1070);
    check_remainders<t_float>(qvo_seq_mod_float, 140);
}

/// Zero, the smallest number, 1.5, infinity, a signalling and a quiet NaN, of both signs: by their bits, both a vector
/// loop's worth and a few.
template <class T, class Bits> void check_sign_bits(ConstructUnary abs, ConstructUnary neg, Bits infinity, Bits quiet) {
    constexpr Bits sign = Bits{1} << (8 * sizeof(Bits) - 1);
    std::vector<Bits> bits;
    for (const unsigned copies : {1U, 29U})
        for (const ConstructUnary construct : {abs, neg}) {
            bits.clear();
            for (unsigned i = 0; i < copies; ++i)
                for (const Bits b : {Bits{0}, Bits{1}, infinity / 2, infinity, infinity + 1, infinity + quiet + 1})
                    bits.insert(bits.end(), {b, b | sign});
            Items<T> items(bits.size());
            for (size_t i = 0; i < bits.size(); ++i) std::memcpy(&items[i].value, &bits[i], sizeof(Bits));
            Source source(T{}, items);
            Record it;
            ASSERT_EQ(construct(it.get(), source.get()), QVO_S_OK);
            ASSERT_EQ(it->next(it.get()), QVO_S_OK);
            for (size_t i = 0; i < bits.size(); ++i) {
                const bool changes = construct == neg || (bits[i] > sign && bits[i] <= (sign | infinity));
                EXPECT_EQ(literal_value<Bits>(it.get(), i), changes ? bits[i] ^ sign : bits[i]);
            }
        }
}

TEST(Unary, FloatingValuesChangeInTheirSignBitAlone) {
    check_sign_bits<t_float, uint32_t>(qvo_seq_abs_float, qvo_seq_neg_float, 0x7f800000, 0x400000);
    check_sign_bits<t_double, uint64_t>(qvo_seq_abs_double, qvo_seq_neg_double, 0x7ff0000000000000, 0x8000000000000);
}

// ---- Strings --------------------------------------------------------------------------------------------------------

const struct {
    const char* name;
    ConstructBinary construct;
    qvo_seq_iterator_next_t next;
    bool on_less, on_equal, on_greater;
} char_members[] = {
    {MEMBER(qvo_seq_eq_char), false, true, false}, {MEMBER(qvo_seq_ne_char), true, false, true},
    {MEMBER(qvo_seq_ge_char), false, true, true},  {MEMBER(qvo_seq_le_char), true, true, false},
    {MEMBER(qvo_seq_gt_char), false, false, true}, {MEMBER(qvo_seq_lt_char), true, false, false},
};

TEST(Compare, StringsByUnsignedBytesOverTheWholeWidth) {
    for (const auto& c : char_members) {
        for (const size_t width : {1U, 5U, 8U, 15U}) {
            // Strings that often share a beginning, with zero bytes and bytes above 127.
            const auto draw = [=](Random& random, size_t n) {
                return operand<t_char>(random_strings(random, n, std::string_view("aaab\0\xff", 6), width, width),
                                       width);
            };
            check_binary(
                binary_member(c.name, c.construct, c.next, QVO_DD_UINT1, 1), draw, draw,
                [&](qvo_seq_iterator_h it, size_t i) {
                    const int order = literal_bytes(it->opd[0]).compare(literal_bytes(it->opd[1]));
                    literal_put<qvo_seq_bool>(it, i, order < 0 ? c.on_less : order > 0 ? c.on_greater : c.on_equal);
                });
        }
        // Unequal widths are refused before the binding check.
        Source left(t_char{}, {{"a"}}, {}, 8), right(t_char{}, {{"a"}}, {}, 10);
        left->bounded = 1;
        const BindingCheck check;
        expect_refused(QVO_E_ILLEGAL_TYPE, c.construct, left.get(), right.get());
        EXPECT_EQ(right->bounded, 0);
    }
}

// Texts without a width have equal ones, 0, when the comparison is built, and others in the end.
TEST(Compare, WidthsThatTurnOutUnequalAreComparedOverTheSmaller_deliberate) {
    TextSource left("{ab,cd"), right("{abx,cdy");
    check_items<t_bool>(drained<t_bool>(qvo_seq_eq_char, left.get(), right.get()), {{1}, {1}});
}

}  // namespace
}  // namespace test
