// Histograms.
#include <algorithm>

#include "support/protocol.h"

namespace test {
namespace {

__extension__ typedef unsigned __int128 wide_uint;

/// The interval, stated in 128 bits for integers: exact, but for the product.
template <class V> uint64_t interval(V value, V low, V high, uint64_t n) {
    if constexpr (std::is_floating_point_v<V>) {
        const double at = (double{value} - double{low}) * static_cast<double>(n) / (double{high} - double{low});
        if (!(at >= 0)) return 0;
        return at >= static_cast<double>(n) ? n - 1 : static_cast<uint64_t>(at);
    } else {
        const auto difference = [](V a, V b) { return static_cast<wide_uint>(a) - static_cast<wide_uint>(b); };
        const auto product = static_cast<uint64_t>(difference(value, low) * n);
        return static_cast<uint64_t>(product / difference(high, low));
    }
}

template <class V> QVO_RET literal_histogram(qvo_seq_iterator_h it, V low, V high, uint64_t n) {
    const qvo_seq_iterator_h input = it->opd[0];
    if (it->next_seq_no != 0) return QVO_S_CURSOR_END;
    for (size_t i = 0; i < n; ++i) literal_put<uint64_t>(it, i, 0);
    QVO_RET rc;
    while ((rc = input->next(input)) == QVO_S_OK) {
        input->tile_offs = 0;
        for (size_t i = 0; i < input->tile_size; ++i) {
            const V v = literal_value<V>(input, i);
            if (v < low || v >= high) return QVO_E_ILLEGAL_PARAM;
            const uint64_t k = interval(v, low, high, n);
            literal_put<uint64_t>(it, k, literal_value<uint64_t>(it, k) + literal_run(input, i));
        }
    }
    for (size_t i = 0; i < n; ++i) literal_put_run(it, i, 1);
    it->tile_size = static_cast<uint16_t>(n);
    it->next_seq_no = n;
    return rc == QVO_S_CURSOR_END ? QVO_S_OK : rc;
}

template <class T>
using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, typename T::value, typename T::value, uint64_t);

template <class T> void check_histogram(const char* name, Constructor<T> construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    Member member = unary_member<t_uint8>(name, nullptr, next);
    member.stops_on_empty = {false};
    member.before = [](const Member::Operands& o) { o[0]->tile_offs = 2; };
    check_random(member, 30, [=](Random& random, unsigned seed, Member& m) {
        V low, high;
        do {
            low = random.value<V>();
            high = random.value<V>();
            if (random.chance(50) && std::is_integral_v<V>) low = std::numeric_limits<V>::min();
        } while (!(low < high) || std::isinf(static_cast<double>(low) - static_cast<double>(high)));
        const uint64_t n = random.chance(30) ? random.between(1, 455) : random.between(1, 12);
        m.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) {
            return construct(it, o[0], low, high, n);
        };
        const auto draw = [=](Random& r) {
            for (;;) {
                // Anything, the bounds, and values a part of the way between them; now and then one outside.
                V v = r.chance(20) ? low : r.value<V>();
                const double part = r.below(1001) / 1000.0;
                if (r.chance(50))
                    v = static_cast<V>(static_cast<long double>(low) +
                                       part * (static_cast<long double>(high) - static_cast<long double>(low)));
                if (!(v < low || v >= high) || (seed % 4 == 1 && r.chance(1))) return v;
            }
        };
        m.operands = {operand<T>(random_items<T>(random, random.between(4, 4000), draw))};
        return [=](qvo_seq_iterator_h it) { return literal_histogram<V>(it, low, high, n); };
    });
    Source source(T{}, {{V{1}}});
    source->bounded = 1;
    const BindingCheck check;
    for (const auto& [low, high, n] :
         {std::tuple(0, 10, uint64_t{0}), {0, 10, 456}, {5, 5, 3}, {6, 5, 3}, {0, 10, ~uint64_t{0}}}) {
        Record it;
        const qvo_seq_iterator_t before = it.it;
        EXPECT_EQ(construct(it.get(), source.get(), static_cast<V>(low), static_cast<V>(high), n), QVO_E_ILLEGAL_PARAM);
        EXPECT_EQ(std::memcmp(&before, &it.it, sizeof before), 0);
    }
}

#define TEST_MEMBER(type) check_histogram<t_##type>(MEMBER(qvo_seq_histogram_##type));

TEST(Histogram, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

template <class T>
std::vector<uint64_t> counts(Constructor<T> construct, const Items<T>& items, typename T::value low,
                             typename T::value high, uint64_t n) {
    Source source(T{}, items);
    Record it;
    EXPECT_EQ(construct(it.get(), source.get(), low, high, n), QVO_S_OK);
    EXPECT_EQ(it->last_seq_no, n - 1);
    return expand(drain<t_uint8>(it.get()));
}

TEST(Histogram, WorkedCases) {
    EXPECT_EQ(counts<t_int4>(qvo_seq_histogram_int4, {{0}, {1}, {9, 2}}, 0, 10, 5),
              (std::vector<uint64_t>{2, 0, 0, 0, 2}));
    EXPECT_EQ(counts<t_int1>(qvo_seq_histogram_int1, {{-128}, {-1, 255}, {0}, {126}}, -128, 127, 2),
              (std::vector<uint64_t>{256, 2}));
    EXPECT_EQ(counts<t_int8>(qvo_seq_histogram_int8, {{INT64_MIN}, {-1}, {INT64_MAX - 1}}, INT64_MIN, INT64_MAX, 1),
              (std::vector<uint64_t>{3}));
    // Just below a bound: rounded to it, the interval would be the fourth of three.
    EXPECT_EQ(counts<t_double>(qvo_seq_histogram_double, {{0}, {std::nextafter(1.1, 0)}, {NAN}}, 0, 1.1, 3),
              (std::vector<uint64_t>{2, 0, 1}));
    EXPECT_EQ(counts<t_double>(qvo_seq_histogram_double, {{1, 7}}, -INFINITY, INFINITY, 2),
              (std::vector<uint64_t>{7, 0}));
}

TEST(Histogram, ValuesOutsideAndErrorsOfTheInput) {
    Source outside(t_int4{}, {{0}, {1}, {10}});
    Record it;
    ASSERT_EQ(qvo_seq_histogram_int4(it.get(), outside.get(), 0, 10, 5), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(literal_value<uint64_t>(it.get(), 0), 2U) << "the counts so far";
    EXPECT_TRUE(it->tile_size == 0 && it->next_seq_no == 0);
    Source failing(t_int4{}, {{0}, {1}, {2}}, {{1}, 2, 4711});
    ASSERT_EQ(qvo_seq_histogram_int4(it.get(), failing.get(), 0, 10, 5), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), 4711);
    check_items<t_uint8>(tile_items<t_uint8>(it.it), {{2}, {0}, {0}, {0}, {0}});
    EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
}

TEST(Histogram, RefusesLimitsThatAreNoNumbers) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Source source(t_double{}, {{1}});
    Record it;
    for (const auto& [low, high] : {std::pair(nan, 1.0), {0.0, nan}, {nan, nan}})
        EXPECT_EQ(qvo_seq_histogram_double(it.get(), source.get(), low, high, 3), QVO_E_ILLEGAL_PARAM);
}

}  // namespace
}  // namespace test
