// Running prefixes: every member against a literal statement of its steps.
#include "aggregate/steps.h"

namespace test {
namespace {

template <class R> R to_result(double v) {
    if constexpr (std::is_floating_point_v<R>) {
        return v;
    } else {
        const double limit = 9223372036854775808.0;
        const auto to_signed = [=](double x) { return x >= -limit && x < limit ? static_cast<int64_t>(x) : INT64_MIN; };
        if (std::is_unsigned_v<R> && v >= limit)
            return static_cast<R>(static_cast<uint64_t>(to_signed(v - limit)) | 1ULL << 63);
        return static_cast<R>(to_signed(v));
    }
}

/// The state of a prefix after n counted steps; A is unsigned where the member's accumulator is an integer.
template <class A> struct Prefix {
    A accumulator{};
    double norm = 0;
    double n = 0;
    bool first = false;

    template <class V> double spread(V v, double less) {
        const auto x = static_cast<double>(v);
        accumulator = first ? x : accumulator + x;
        norm = first ? x * x : norm + x * x;
        const double m = n - less;
        return first ? 0.0 : (norm - accumulator * accumulator / m) / m;
    }
};

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);

template <class T, class R, class A, class Step>
void check_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, Step step) {
    SCOPED_TRACE(name);
    using V = typename T::value;
    const Member member = unary_member<T>(name, construct, R::code, R::width, next, qvo_seq_reset_unary_iterator);
    check_protocol(member);
    check_random_steps<T>(member, 24, [=] {
        auto prefix = std::make_shared<Prefix<A>>();
        return [=](qvo_seq_iterator_h it) {
            size_t n = 0;
            const V in_tile = literal_value<V>(it->opd[0], 0);
            const bool mid_tile = it->opd[0]->tile_offs < it->opd[0]->tile_size;
            const QVO_RET rc = literal_positions<V>(
                it, [&] { return n; },
                [&](V v) {
                    prefix->first = it->next_seq_no++ == 0;
                    prefix->n = static_cast<double>(it->next_seq_no);
                    const V value = prefix->first && mid_tile ? in_tile : v;
                    literal_put(it, n, static_cast<typename R::value>(step(*prefix, value)));
                    literal_put_run(it, n, 1);
                    return ++n == capacity_of(it->elem_size);
                });
            if (rc != QVO_S_OK) return rc;
            it->next_seq_no += n;
            it->tile_size = static_cast<uint16_t>(n);
            return rc;
        };
    });
}

template <class A> using wrapping = std::conditional_t<std::is_floating_point_v<A>, double, uint64_t>;

#define CHECK(stem, T, R, A, ...) check_member<T, R, A>(MEMBER(stem), [](auto& p, auto v) { __VA_ARGS__ });

#define TEST_SUM(type, total)                                                     \
    CHECK(qvo_seq_cum_agg_sum_##type, t_##type, t_##total, wrapping<qvo_##total>, \
          const auto x = static_cast<wrapping<qvo_##total>>(v);                   \
          return p.accumulator = p.first ? x : p.accumulator + x;)

#define TEST_MEMBERS(type, total, avg)                                                                             \
    CHECK(qvo_seq_cum_agg_prd_##type, t_##type, t_##total, wrapping<qvo_##total>,                                  \
          const auto x = static_cast<wrapping<qvo_##total>>(v);                                                    \
          return p.accumulator = p.first ? x : p.accumulator * x;)                                                 \
    CHECK(qvo_seq_cum_agg_max_##type, t_##type, t_##type, qvo_##type,                                              \
          if (p.first || v > p.accumulator) p.accumulator = v;                                                     \
          return p.accumulator;)                                                                                   \
    CHECK(qvo_seq_cum_agg_min_##type, t_##type, t_##type, qvo_##type,                                              \
          if (p.first || v < p.accumulator) p.accumulator = v;                                                     \
          return p.accumulator;)                                                                                   \
    CHECK(qvo_seq_cum_agg_var_##type, t_##type, t_##total, double, return to_result<qvo_##total>(p.spread(v, 0));) \
    CHECK(qvo_seq_cum_agg_var_samp_##type, t_##type, t_##total, double,                                            \
          return to_result<qvo_##total>(p.spread(v, 1));)                                                          \
    CHECK(qvo_seq_cum_agg_dev_##type, t_##type, t_##total, double,                                                 \
          return to_result<qvo_##total>(std::sqrt(p.spread(v, 0)));)                                               \
    CHECK(qvo_seq_cum_agg_dev_samp_##type, t_##type, t_##total, double,                                            \
          return to_result<qvo_##total>(std::sqrt(p.spread(v, 1)));)                                               \
    CHECK(qvo_seq_cum_agg_avg_##type, t_##type, t_double, double, const auto x = static_cast<double>(v);           \
          return p.accumulator = p.first ? x : (x + (p.n - 1) * p.accumulator) / p.n;)

TEST(Cumulative, StepsAreCountedTwice_deliberate){QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_MEMBERS)}

TEST(Cumulative, SumsOfDatetimesAreDoubles_deliberate) {
    TEST_SUM(int1, int8)
    TEST_SUM(int2, int8)
    TEST_SUM(int4, int8)
    TEST_SUM(int8, int8)
    TEST_SUM(uint1, uint8)
    TEST_SUM(uint2, uint8)
    TEST_SUM(uint4, uint8)
    TEST_SUM(uint8, uint8)
    TEST_SUM(float, double)
    TEST_SUM(double, double)
    TEST_SUM(datetime, double)
}

/// The first tile of a member's result.
template <class R, class T> Items<R> first_tile(Constructor construct, Items<T> items, uint64_t next_seq_no) {
    Source source(T{}, items);
    Record it;
    EXPECT_EQ(construct(it.get(), source.get()), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(it->next_seq_no, next_seq_no);
    return tile_items<R>(it.it);
}

TEST(Cumulative, WorkedCases) {
    check_items<t_int8>(first_tile<t_int8>(qvo_seq_cum_agg_sum_int4, Items<t_int4>{{1}, {2}, {3}}, 6), {{1}, {3}, {6}});
    check_items<t_int8>(first_tile<t_int8>(qvo_seq_cum_agg_sum_int4, Items<t_int4>{{5, 3}}, 6), {{5}, {10}, {15}});
    check_items<t_double>(first_tile<t_double>(qvo_seq_cum_agg_var_double, Items<t_double>{{1}, {3}}, 4), {{0}, {1}});
    check_items<t_double>(first_tile<t_double>(qvo_seq_cum_agg_var_samp_double, Items<t_double>{{1}, {3}}, 4),
                          {{0}, {-6}});
    check_items<t_int8>(first_tile<t_int8>(qvo_seq_cum_agg_var_int4, Items<t_int4>{{1}, {2}}, 4), {{0}, {0}});
}

}  // namespace
}  // namespace test
