// Windows: every member against a literal statement of its steps.
#include <csignal>

#include "aggregate/steps.h"

namespace test {
namespace {

/// The state of a window, in the accumulator's type.
template <class V, class A> struct Window {
    uint64_t interval;
    uint64_t position = 0;  // at the start of the call
    A accumulator{};
    double norm = 0;
    std::vector<V> history = std::vector<V>(interval);

    void take(V v) {
        V& slot = history[position % interval];
        accumulator -= static_cast<A>(slot);
        norm -= static_cast<double>(slot) * static_cast<double>(slot);
        slot = v;
        accumulator += static_cast<A>(v);
        norm += static_cast<double>(v) * static_cast<double>(v);
    }
    A extreme(V v, bool (*better)(A, A)) {
        V& slot = history[position % interval];
        const V old = slot;
        slot = v;
        if (better(v, accumulator)) return accumulator = v;
        if (accumulator != old) return accumulator;
        accumulator = history[0];
        for (const V h : history)
            if (better(h, accumulator)) accumulator = h;
        return accumulator;
    }
    double spread(double n) const {
        const auto s = static_cast<double>(accumulator);
        return (norm - s * s / n) / n;
    }
};

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t);

/// A is the model's accumulator: unsigned where the member's is an integer, so that it wraps.
template <class T, class R, class A, class Step>
void check_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset,
                  Step step) {
    SCOPED_TRACE(name);
    using V = typename T::value;
    const uint64_t most = 208 / sizeof(V);
    for (const uint64_t interval : {uint64_t{1}, uint64_t{2}, uint64_t{5}, most}) {
        SCOPED_TRACE("interval " + std::to_string(interval));
        const Member member = unary_member<T>(
            name, [=](qvo_seq_iterator_h it, qvo_seq_iterator_h input) { return construct(it, input, interval); },
            R::code, R::width, next, reset);
        if (interval == 2) check_protocol(member);
        check_random_steps<T>(member, 8, [=] {
            auto window = std::make_shared<Window<V, A>>(Window<V, A>{interval});
            return [=](qvo_seq_iterator_h it) {
                size_t n = 0;
                window->position = it->next_seq_no;
                const QVO_RET rc = literal_positions<V>(
                    it, [&] { return n; },
                    [&](V v) {
                        literal_put(it, n, static_cast<typename R::value>(step(*window, v)));
                        literal_put_run(it, n, 1);
                        return ++n == capacity_of(it->elem_size);
                    });
                if (rc != QVO_S_OK) return rc;
                it->next_seq_no += n;
                it->tile_size = static_cast<uint16_t>(n);
                return rc;
            };
        });
        if (testing::Test::HasFailure()) return;
    }
    Source source(T{}, {{1}});
    Record it;
    EXPECT_EQ(construct(it.get(), source.get(), most + 1), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(source->bounded, 1) << "the operand stays marked";
}

template <class A> using wrapping = std::conditional_t<std::is_floating_point_v<A>, double, uint64_t>;

#define CHECK(stem, T, R, A, ...) \
    check_member<T, R, A>(#stem, stem, stem##_next, stem##_reset, [](auto& w, auto v) { __VA_ARGS__ });

#define TEST_MEMBERS(type, total, avg)                                                                                 \
    CHECK(qvo_seq_window_agg_sum_##type, t_##type, t_##total, wrapping<qvo_##total>, w.take(v); return w.accumulator;) \
    CHECK(qvo_seq_window_agg_min_##type, t_##type, t_##type, qvo_##type,                                               \
          return w.extreme(v, [](qvo_##type a, qvo_##type b) { return a < b; });)                                      \
    CHECK(qvo_seq_window_agg_max_##type, t_##type, t_##type, qvo_##type,                                               \
          return w.extreme(v, [](qvo_##type a, qvo_##type b) { return a > b; });)                                      \
    CHECK(qvo_seq_window_agg_avg_##type, t_##type, t_##avg, wrapping<qvo_##avg>, w.take(v);                            \
          return w.accumulator / static_cast<wrapping<qvo_##avg>>(w.interval);)

#define TEST_STATISTICS(type)                                                                        \
    CHECK(qvo_seq_window_agg_var_samp_##type, t_##type, t_double, double, w.take(v);                 \
          return w.spread(static_cast<double>(w.interval) - 1);)                                     \
    CHECK(qvo_seq_window_agg_dev_##type, t_##type, t_double, double, w.take(v);                      \
          return std::sqrt(w.spread(static_cast<double>(w.interval)));)                              \
    CHECK(qvo_seq_window_agg_dev_samp_##type, t_##type, t_double, double, w.take(v);                 \
          return std::sqrt(w.spread(static_cast<double>(w.interval) - 1));)                          \
    CHECK(qvo_seq_window_agg_ema_##type, t_##type, t_double, double,                                 \
          const double alpha = 2.0 / (static_cast<double>(w.interval) + 1);                          \
          const auto x = static_cast<double>(v);                                                     \
          return w.accumulator = w.position == 0 ? x : (1.0 - alpha) * w.accumulator + alpha * x;)   \
    CHECK(qvo_seq_window_agg_atr_##type, t_##type, t_double, double,                                 \
          const auto k = static_cast<double>(w.position < w.interval ? w.position + 1 : w.interval); \
          return w.accumulator = (w.accumulator * (k - 1) + static_cast<double>(v)) / k;)

#define TEST_VARIANCE(type)                                                     \
    CHECK(qvo_seq_window_agg_var_##type, t_##type, t_double, double, w.take(v); \
          return w.spread(static_cast<double>(w.interval));)

TEST(Window, ValuesOfACallShareASlot_deliberate){QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_MEMBERS)}

TEST(Window, StatisticsFollowTheSteps){QVO_SEQ_FOR_FIXED_TYPES(TEST_STATISTICS)}

TEST(Window, VarianceFollowsTheSteps){TEST_VARIANCE(int1) TEST_VARIANCE(int2) TEST_VARIANCE(int4) TEST_VARIANCE(int8)
                                          TEST_VARIANCE(uint1) TEST_VARIANCE(uint2) TEST_VARIANCE(uint4)
                                              TEST_VARIANCE(uint8) TEST_VARIANCE(float) TEST_VARIANCE(double)}

uint64_t to_unsigned(double v) {
    const double limit = 9223372036854775808.0;
    const auto to_signed = [=](double x) { return x >= -limit && x < limit ? static_cast<int64_t>(x) : INT64_MIN; };
    return v >= limit ? static_cast<uint64_t>(to_signed(v - limit)) | 1ULL << 63 : static_cast<uint64_t>(to_signed(v));
}

TEST(Window, VarianceOfDatetimesIsADatetime_deliberate) {
    CHECK(qvo_seq_window_agg_var_datetime, t_datetime, t_datetime, uint64_t, w.take(v);
          return to_unsigned((w.norm - static_cast<double>(w.accumulator * w.accumulator / w.interval)) /
                             static_cast<double>(w.interval));)
}

template <class R, class T> Items<R> result_of(Constructor construct, Items<T> items, uint64_t interval) {
    Source source(T{}, items);
    Record it;
    EXPECT_EQ(construct(it.get(), source.get(), interval), QVO_S_OK);
    return drain<R>(it.get());
}

TEST(Window, WorkedCases) {
    const Items<t_int4> counted{{1}, {2}, {3}, {4}};
    check_items<t_int8>(result_of<t_int8>(qvo_seq_window_agg_sum_int4, counted, 2), {{1}, {2}, {3}, {4}});
    check_items<t_double>(result_of<t_double>(qvo_seq_window_agg_avg_int4, Items<t_int4>{{8, 3}}, 4), {{2}, {2}, {2}});
    check_items<t_double>(result_of<t_double>(qvo_seq_window_agg_ema_int4, counted, 3), {{1}, {2}, {3}, {4}});
    check_items<t_int4>(result_of<t_int4>(qvo_seq_window_agg_min_int4, counted, 3), {{0}, {0}, {0}, {0}});
}

TEST(Window, ResetStartsWithAnEmptyWindow) {
    Source source(t_int4{}, {{7}, {3}, {9}}, {{1}});
    Record it;
    ASSERT_EQ(qvo_seq_window_agg_max_int4(it.get(), source.get(), 2), QVO_S_OK);
    const auto first = drain<t_int4>(it.get());
    ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
    check_items<t_int4>(drain<t_int4>(it.get()), first);
}

TEST(WindowDeathTest, AnIntervalOf0DividesByZero) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(result_of<t_int8>(qvo_seq_window_agg_sum_int4, Items<t_int4>{{1}}, 0), testing::KilledBySignal(SIGFPE),
                "");
    EXPECT_EXIT(result_of<t_double>(qvo_seq_window_agg_ema_double, Items<t_double>{{1}}, 0),
                testing::KilledBySignal(SIGFPE), "");
}

}  // namespace
}  // namespace test
