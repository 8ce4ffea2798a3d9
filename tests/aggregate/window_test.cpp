// Windows: every member against a literal statement of its steps.
#include <csignal>

#include "aggregate/steps.h"

namespace test {
namespace {

/// The state of a window; the type is that of its accumulator.
struct Window {
    uint8_t type;
    uint64_t interval;
    uint64_t position = 0;  // at the start of the call
    Number accumulator = 0;
    double norm = 0;
    std::vector<Number> history = std::vector<Number>(interval);

    void take(Number v) {
        Number& slot = history[position % interval];
        accumulator = sum_in(type, accumulator, -slot);
        norm -= static_cast<double>(slot) * static_cast<double>(slot);
        slot = v;
        accumulator = sum_in(type, accumulator, v);
        norm += static_cast<double>(v) * static_cast<double>(v);
    }
    Number extreme(Number v, bool (*better)(Number, Number)) {
        const Number old = std::exchange(history[position % interval], v);
        if (better(v, accumulator)) return accumulator = v;
        if (accumulator != old) return accumulator;
        accumulator = history[0];
        for (const Number h : history)
            if (better(h, accumulator)) accumulator = h;
        return accumulator;
    }
    double spread(Number v, double less) {
        take(v);
        const auto s = static_cast<double>(accumulator), n = static_cast<double>(interval) - less;
        return (norm - s * s / n) / n;
    }
};
using Formula = Number (*)(Window& w, Number v);

Number sum(Window& w, Number v) {
    w.take(v);
    return w.accumulator;
}
Number largest(Window& w, Number v) {
    return w.extreme(v, [](Number a, Number b) { return a > b; });
}
Number smallest(Window& w, Number v) {
    return w.extreme(v, [](Number a, Number b) { return a < b; });
}
Number average(Window& w, Number v) {
    w.take(v);
    if (is_floating(w.type)) return static_cast<double>(w.accumulator) / static_cast<double>(w.interval);
    return static_cast<uint64_t>(w.accumulator) / w.interval;
}
Number var(Window& w, Number v) { return w.spread(v, 0); }
Number var_samp(Window& w, Number v) { return w.spread(v, 1); }
Number dev(Window& w, Number v) { return std::sqrt(w.spread(v, 0)); }
Number dev_samp(Window& w, Number v) { return std::sqrt(w.spread(v, 1)); }
Number ema(Window& w, Number v) {
    const double alpha = 2.0 / (static_cast<double>(w.interval) + 1), x = static_cast<double>(v);
    return w.accumulator = w.position == 0 ? x : (1.0 - alpha) * static_cast<double>(w.accumulator) + alpha * x;
}
Number atr(Window& w, Number v) {
    const auto k = static_cast<double>(w.position < w.interval ? w.position + 1 : w.interval);
    return w.accumulator = (static_cast<double>(w.accumulator) * (k - 1) + static_cast<double>(v)) / k;
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t);

void check_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset,
                  uint8_t type, uint8_t result, Formula formula) {
    SCOPED_TRACE(name);
    const uint64_t most = 208 / width_of(type);
    for (const uint64_t interval : {uint64_t{1}, uint64_t{2}, uint64_t{5}, most}) {
        SCOPED_TRACE("interval " + std::to_string(interval));
        const Member member = unary_member(
            name, [=](qvo_seq_iterator_h it, qvo_seq_iterator_h input) { return construct(it, input, interval); }, next,
            result, width_of(result), reset);
        check_positions(member, type, 8, [=] {
            return [=, window = Window{result, interval}](qvo_seq_iterator_h it) mutable {
                window.position = it->next_seq_no;
                return literal_each_position(it, [&](Number v) { return formula(window, v); });
            };
        });
        if (testing::Test::HasFailure()) return;
    }
    const auto source = source_of({type, width_of(type), {}});
    Record it;
    EXPECT_EQ(construct(it.get(), source->get(), most + 1), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(source->get()->bounded, 1) << "the operand stays marked";
}

#define CHECK(op, type, result, formula)                                                                             \
    check_member(MEMBER(qvo_seq_window_agg_##op##_##type), qvo_seq_window_agg_##op##_##type##_reset, t_##type::code, \
                 t_##result::code, formula);

#define TEST_MEMBERS(type, total, mean)     \
    CHECK(sum, type, total, sum)            \
    CHECK(min, type, type, smallest)        \
    CHECK(max, type, type, largest)         \
    CHECK(avg, type, mean, average)         \
    CHECK(var_samp, type, double, var_samp) \
    CHECK(dev, type, double, dev)           \
    CHECK(dev_samp, type, double, dev_samp) \
    CHECK(ema, type, double, ema)           \
    CHECK(atr, type, double, atr)           \
    if (t_##type::code != QVO_DD_DATETIME) CHECK(var, type, double, var)

TEST(Window, ValuesOfACallShareASlot_deliberate){QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_MEMBERS)}

Number datetime_var(Window& w, Number v) {
    w.take(v);
    const auto square = static_cast<uint64_t>(product_in(w.type, w.accumulator, w.accumulator));
    return converted(w.type, (w.norm - static_cast<double>(square / w.interval)) / static_cast<double>(w.interval));
}

TEST(Window, VarianceOfDatetimesIsADatetime_deliberate) { CHECK(var, datetime, datetime, datetime_var) }

template <class R, class T> Items<R> result_of(Constructor construct, Items<T> items, uint64_t interval) {
    return drained<R>(construct, Source(T{}, items).get(), interval);
}

TEST(Window, WorkedCases) {
    const Items<t_int4> counted{{1}, {2}, {3}, {4}};
    check_items<t_int8>(result_of<t_int8>(qvo_seq_window_agg_sum_int4, counted, 2), {{1}, {2}, {3}, {4}});
    check_items<t_double>(result_of<t_double>(qvo_seq_window_agg_avg_int4, Items<t_int4>{{8, 3}}, 4), {{2}, {2}, {2}});
    check_items<t_double>(result_of<t_double>(qvo_seq_window_agg_ema_int4, counted, 3), {{1}, {2}, {3}, {4}});
    check_items<t_int4>(result_of<t_int4>(qvo_seq_window_agg_min_int4, counted, 3), {{0}, {0}, {0}, {0}});
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
