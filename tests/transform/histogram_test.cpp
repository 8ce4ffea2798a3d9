// Histograms.
#include "support/number.h"

namespace test {
namespace {

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
            const QVO_RET rc = construct(it, o[0], low, high, n);
            EXPECT_TRUE(rc != QVO_S_OK || it->last_seq_no == n - 1);
            return rc;
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
         {std::tuple(0, 10, uint64_t{0}), {0, 10, 456}, {5, 5, 3}, {6, 5, 3}, {0, 10, ~uint64_t{0}}})
        expect_refused(QVO_E_ILLEGAL_PARAM, construct, source.get(), static_cast<V>(low), static_cast<V>(high), n);
}

#define TEST_MEMBER(type) check_histogram<t_##type>(MEMBER(qvo_seq_histogram_##type));

TEST(Histogram, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(Histogram, LimitsThatAreHardToDivide) {
    const auto counts = [](const Items<t_double>& items, double low, double high, uint64_t n) {
        return expand(drained<t_uint8>(qvo_seq_histogram_double, Source(t_double{}, items).get(), low, high, n));
    };
    // Just below a bound: rounded to it, the interval would be the fourth of three.
    EXPECT_EQ(counts({{0}, {std::nextafter(1.1, 0)}, {NAN}}, 0, 1.1, 3), (std::vector<uint64_t>{2, 0, 1}));
    EXPECT_EQ(counts({{1, 7}}, -INFINITY, INFINITY, 2), (std::vector<uint64_t>{7, 0}));
    Source source(t_double{}, {{1}});
    for (const auto& [low, high] : {std::pair<double, double>(NAN, 1), {0, NAN}, {NAN, NAN}})
        expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_histogram_double, source.get(), low, high, 3);
}

}  // namespace
}  // namespace test
