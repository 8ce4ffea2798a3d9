// Conversions: all 121 pairs against a model in wider arithmetic, over random values and those around every power of
// two.
#include <cfloat>

#include "support/number.h"

namespace test {
namespace {

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
        return static_cast<To>(value);
    } else {
        const long double v = value, half = 0x1p63L;
        if (std::is_same_v<To, uint64_t> && v >= half)
            return static_cast<To>(truncated(v - half, 64) | wide_int{1} << 63);
        const bool by_32_bits = sizeof(To) < 4 || std::is_same_v<To, int32_t>;
        return static_cast<To>(truncated(v, by_32_bits ? 32 : 64));
    }
}

/// Values where conversions go wrong: powers of two and halves between numbers, and their neighbours.
template <class V> Items<t_char> hard_values() {
    std::vector<V> values;
    if constexpr (std::is_integral_v<V>) {
        // Next to 2^k, and to the middle between two floats or doubles that follow it.
        for (int k = 0; k < 64; ++k)
            for (const int step : {k, k - 24, k - 53})
                for (const uint64_t off : {~uint64_t{0}, uint64_t{0}, uint64_t{1}}) {
                    const uint64_t v = (uint64_t{1} << k) + (step >= 0 && step < k ? uint64_t{1} << step : 0) + off;
                    values.insert(values.end(), {static_cast<V>(v), static_cast<V>(~v + 1)});
                }
    } else {
        for (int k = 0; k <= 70; ++k)
            for (const double sum : {0.0, -1.0, 1.0, -0.5, 0.5, -0.75, 0.75})
                values.push_back(static_cast<V>(std::ldexp(1.0, k) + sum));
        using Limits = std::numeric_limits<V>;
        values.insert(values.end(), {Limits::quiet_NaN(), Limits::infinity(), Limits::max(), Limits::min(),
                                     Limits::denorm_min(), V{0}, static_cast<V>(FLT_MAX), static_cast<V>(0x1p-149),
                                     static_cast<V>(0x1p-150), static_cast<V>(1 + 0x1p-24), static_cast<V>(3.9)});
        for (size_t i = values.size(); i-- != 0;) {
            const V v = values[i];
            for (const V w : {v, -v})
                values.insert(values.end(), {w, std::nextafter(w, V{-INFINITY}), std::nextafter(w, V{INFINITY})});
        }
    }
    Items<t_char> bytes;
    for (const V v : values) bytes.push_back({std::string(reinterpret_cast<const char*>(&v), sizeof v)});
    return bytes;
}

/// A type to convert from, and its hard values, as bytes.
struct From {
    AnyType type;
    Items<t_char> hard;
};

template <class V, class R> void convert(const char* from, char* to) {
    V v;
    std::memcpy(&v, from, sizeof v);
    const R r = model<V, R>(v);
    std::memcpy(to, &r, sizeof r);
}

void check_pair(const From& from, const char* name, ConstructUnary construct, qvo_seq_iterator_next_t next,
                ConstructUnary other_name, uint8_t type, size_t width, void (*model)(const char*, char*)) {
    // Every hard value, where few values are asked for. Where vector code takes many values at once only if all of them
    // allow it, it meets as many of each.
    const auto draw = [&](Random& random, size_t n) {
        Items<t_char> items;
        if (n == 5)
            for (const auto& item : from.hard) items.insert(items.end(), type == QVO_DD_UINT4 ? 64 : 1, item);
        else
            items = random_items<t_char>(random, n, [&](Random& r) {
                const auto i = r.below(static_cast<unsigned>(from.hard.size()));
                return r.chance(70) ? from.hard[i].value : from.type.value(r);
            });
        return from.type.operand(items);
    };
    check_unary(unary_member(name, construct, next, type, width), draw, [=](qvo_seq_iterator_h it, size_t i, size_t k) {
        model(it->opd[0]->tile.u.arr_char + k * it->opd[0]->elem_size, it->tile.u.arr_char + i * width);
    });
    // The second name builds the same.
    const auto source = from.type.operand(from.hard)({});
    Record it;
    EXPECT_EQ(other_name(it.get(), source->get()), QVO_S_OK) << name;
    EXPECT_TRUE(it->next == next && it->elem_type == type) << name;
    (*source)->elem_type = 99;
    EXPECT_EQ(other_name(it.get(), source->get()), QVO_E_ILLEGAL_TYPE) << name;
}

#define TEST_PAIR(from, to)                                                                                          \
    check_pair(values, MEMBER(qvo_seq_##from##_to_##to), qvo_seq_##to##_from_##from, t_##to::code, sizeof(qvo_##to), \
               convert<qvo_##from, qvo_##to>);                                                                       \
    if (HasFailure()) return;
#define TEST_FROM(type)                                                     \
    TEST(Convert, type) {                                                   \
        const From values{any_type<t_##type>(), hard_values<qvo_##type>()}; \
        QVO_SEQ_FOR_FIXED_TYPES_WITH(TEST_PAIR, type)                       \
    }
QVO_SEQ_FOR_FIXED_TYPES(TEST_FROM)

TEST(Convert, WorkedCases) {
    check_items<t_int4>(applied<t_double, t_int4>(qvo_seq_double_to_int4, {{3.9, 200}, {-3.9}, {1e10}, {NAN}}),
                        {{3, 200}, {-3}, {INT32_MIN}, {INT32_MIN}});
    check_items<t_uint1>(applied<t_double, t_uint1>(qvo_seq_double_to_uint1, {{300.7}, {NAN}, {-1.5}}),
                         {{44}, {0}, {255}});
    check_items<t_uint8>(applied<t_double, t_uint8>(qvo_seq_double_to_uint8, {{-1}, {NAN}, {0x1.8p63}, {0x1p64}}),
                         {{~0ULL}, {1ULL << 63}, {3ULL << 62}, {1ULL << 63}});
}

}  // namespace
}  // namespace test
