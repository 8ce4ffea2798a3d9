// Aggregates that go position by position - running prefixes, windows, cells - against literal statements of their
// steps.
#include <csignal>

#include "aggregate/formulas.h"

namespace test {
namespace {

/// One position after the other gives an element.
QVO_RET literal_each_position(qvo_seq_iterator_h it, const std::function<Number(Number)>& element) {
    const auto step = [&](size_t i) {
        const Number v = literal_number(it->opd[0], it->opd[0]->tile_offs);
        literal_take(it->opd[0], 1);
        literal_put_number(it, i, it->elem_type, element(v));
        return true;
    };
    return literal_loop(it, 1, step, Counts::elements);
}

/// A member of elements of a type; `fresh` makes steps with a state of their own. The protocol is checked over so many
/// elements. `to_the_bit` is for floating members that keep one of equal values.
void check_positions(const Member& member, uint8_t type, unsigned seeds, const std::function<Steps()>& fresh,
                     unsigned of_protocol = 50, bool to_the_bit = false) {
    check_random(member, seeds, [=](Random& random, unsigned seed, Member& m) {
        const auto draw = [=, first = 0U, some = 1U](Random& r) mutable {
            static constexpr Number kinds[] = {-2,    -0.0L, 0, -0.0L, -1, INFINITY, -INFINITY, -INFINITY, -3,
                                               -0.0L, -1,    0, 2,     3,  5,        4,         NAN,       7};
            if (seed % 4 < 2 || !to_the_bit) return seed % 2 != 0 ? random_number(r, type) : Number(r.below(100));
            // A few neighbours of the list for a while: what a window holds changes from call to call.
            if (r.chance(30)) first = r.below(unsigned(std::size(kinds))), some = r.between(1, 3);
            return kinds[(first + r.below(some)) % std::size(kinds)];
        };
        m.operands = {operand(random_elements(random, type, seed == 0 ? of_protocol : random.between(1, 300), draw))};
        m.before = [=](const Member::Operands& o) {
            if (seed % 3 == 0 && o[0]->next(o[0]) == QVO_S_OK) o[0]->tile_offs = o[0]->tile_size / 2;
        };
        return fresh();
    });
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t);

Member with_interval(const char* name, Constructor construct, uint64_t interval, qvo_seq_iterator_next_t next,
                     uint8_t type, qvo_seq_iterator_reset_t reset) {
    const auto constructed = [=](auto it, auto input) { return construct(it, input, interval); };
    return unary_member(std::string(name) + ", interval " + std::to_string(interval), constructed, next, type,
                        width_of(type), reset);
}

// ---- Prefixes -------------------------------------------------------------------------------------------------------

namespace prefixes {

/// The state of a prefix after n counted steps; the type is that of its results.
struct Prefix {
    uint8_t type;
    Number accumulator = 0;
    double norm = 0;
    double n = 0;
    bool first = false;

    double spread(Number v, double less) {
        const auto x = static_cast<double>(v);
        const double s = first ? x : static_cast<double>(accumulator) + x, m = n - less;
        accumulator = s;
        norm = first ? x * x : norm + x * x;
        return first ? 0.0 : (norm - s * s / m) / m;
    }
};
using Formula = Number (*)(Prefix& p, Number v);

Number sum(Prefix& p, Number v) { return p.accumulator = p.first ? v : sum_in(p.type, p.accumulator, v); }
Number prd(Prefix& p, Number v) { return p.accumulator = p.first ? v : product_in(p.type, p.accumulator, v); }
Number max(Prefix& p, Number v) { return p.accumulator = p.first || v > p.accumulator ? v : p.accumulator; }
Number min(Prefix& p, Number v) { return p.accumulator = p.first || v < p.accumulator ? v : p.accumulator; }
Number var(Prefix& p, Number v) { return converted(p.type, p.spread(v, 0)); }
Number var_samp(Prefix& p, Number v) { return converted(p.type, p.spread(v, 1)); }
Number dev(Prefix& p, Number v) { return converted(p.type, std::sqrt(p.spread(v, 0))); }
Number dev_samp(Prefix& p, Number v) { return converted(p.type, std::sqrt(p.spread(v, 1))); }
Number avg(Prefix& p, Number v) {
    const auto x = static_cast<double>(v);
    return p.accumulator = p.first ? x : (x + (p.n - 1) * static_cast<double>(p.accumulator)) / p.n;
}

void check_member(const char* name, ConstructUnary construct, qvo_seq_iterator_next_t next, uint8_t type,
                  uint8_t result, Formula formula) {
    check_positions(unary_member(name, construct, next, result, width_of(result)), type, 24, [=] {
        return [=, prefix = Prefix{result}](qvo_seq_iterator_h it) mutable {
            const Number in_tile = literal_number(it->opd[0], 0);
            const bool mid_tile = it->opd[0]->tile_offs < it->opd[0]->tile_size;
            return literal_each_position(it, [&](Number v) {
                prefix.first = it->next_seq_no++ == 0;
                prefix.n = static_cast<double>(it->next_seq_no);
                return formula(prefix, prefix.first && mid_tile ? in_tile : v);
            });
        };
    });
}

}  // namespace prefixes

#define PREFIX(op, type, result) \
    prefixes::check_member(MEMBER(qvo_seq_cum_agg_##op##_##type), t_##type::code, t_##result::code, prefixes::op);

#define TEST_PREFIXES(type, total, mean) \
    PREFIX(prd, type, total)             \
    PREFIX(max, type, type)              \
    PREFIX(min, type, type)              \
    PREFIX(var, type, total)             \
    PREFIX(var_samp, type, total)        \
    PREFIX(dev, type, total)             \
    PREFIX(dev_samp, type, total)        \
    PREFIX(avg, type, double)            \
    if (t_##type::code != QVO_DD_DATETIME) PREFIX(sum, type, total)

TEST(Cumulative, StepsAreCountedTwiceAndSumsOfDatetimesAreDoubles_deliberate) {
    QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_PREFIXES)
    PREFIX(sum, datetime, double)
}

// ---- Windows --------------------------------------------------------------------------------------------------------

namespace windows {

/// The state of a window; the type is that of its accumulator.
struct Window {
    uint8_t type;
    uint64_t interval;
    uint64_t position = 0;  // at the start of the call
    Number accumulator = 0;
    double norm = 0;
    std::vector<Number> history = std::vector<Number>(interval);

    Number take(Number v) {
        Number& slot = history[position % interval];
        accumulator = sum_in(type, accumulator, -slot);
        norm -= static_cast<double>(slot) * static_cast<double>(slot);
        slot = v;
        norm += static_cast<double>(v) * static_cast<double>(v);
        return accumulator = sum_in(type, accumulator, v);
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
        const auto s = static_cast<double>(take(v)), n = static_cast<double>(interval) - less;
        return (norm - s * s / n) / n;
    }
};
using Formula = Number (*)(Window& w, Number v);

Number sum(Window& w, Number v) { return w.take(v); }
Number max(Window& w, Number v) {
    return w.extreme(v, [](Number a, Number b) { return a > b; });
}
Number min(Window& w, Number v) {
    return w.extreme(v, [](Number a, Number b) { return a < b; });
}
Number avg(Window& w, Number v) {
    w.take(v);
    if (is_floating(w.type)) return static_cast<double>(w.accumulator) / static_cast<double>(w.interval);
    return static_cast<uint64_t>(w.accumulator) / w.interval;
}
Number var(Window& w, Number v) {
    if (w.type != QVO_DD_DATETIME) return w.spread(v, 0);
    w.take(v);
    const auto square = static_cast<uint64_t>(product_in(w.type, w.accumulator, w.accumulator));
    return converted(w.type, (w.norm - static_cast<double>(square / w.interval)) / static_cast<double>(w.interval));
}
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

void check_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset,
                  uint8_t type, uint8_t result, Formula formula) {
    const uint64_t most = 208 / width_of(type);
    const bool to_the_bit = is_floating(type) && (formula == max || formula == min);
    for (const uint64_t interval : {uint64_t{1}, uint64_t{2}, uint64_t{11}, most}) {
        const auto fresh = [=] {
            return [=, window = Window{result, interval}](qvo_seq_iterator_h it) mutable {
                window.position = it->next_seq_no;
                return literal_each_position(it, [&](Number v) { return formula(window, v); });
            };
        };
        check_positions(with_interval(name, construct, interval, next, result, reset), type, to_the_bit ? 64 : 8, fresh,
                        50, to_the_bit);
        if (testing::Test::HasFailure()) return;
    }
    const auto source = source_of({type, width_of(type), {}});
    expect_refused(QVO_E_ILLEGAL_PARAM, construct, source->get(), most + 1);
    EXPECT_EQ(source->get()->bounded, 1) << "the operand stays marked";
}

}  // namespace windows

#define WINDOW(op, type, result)                                                                              \
    windows::check_member(MEMBER(qvo_seq_window_agg_##op##_##type), qvo_seq_window_agg_##op##_##type##_reset, \
                          t_##type::code, t_##result::code, windows::op);

#define TEST_WINDOWS(type, total, mean) \
    WINDOW(sum, type, total)            \
    WINDOW(min, type, type)             \
    WINDOW(max, type, type)             \
    WINDOW(avg, type, mean)             \
    WINDOW(var_samp, type, double)      \
    WINDOW(dev, type, double)           \
    WINDOW(dev_samp, type, double)      \
    WINDOW(ema, type, double)           \
    WINDOW(atr, type, double)           \
    if (t_##type::code != QVO_DD_DATETIME) WINDOW(var, type, double)

TEST(Window, ValuesOfACallShareASlotAndVarianceOfDatetimesIsADatetime_deliberate){
    QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_WINDOWS) WINDOW(var, datetime, datetime)}

TEST(WindowDeathTest, AnIntervalOf0DividesByZero) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto divides = testing::KilledBySignal(SIGFPE);
    EXPECT_EXIT(drained<t_int8>(qvo_seq_window_agg_sum_int4, Source(t_int4{}, {{1}}).get(), 0), divides, "");
    EXPECT_EXIT(drained<t_double>(qvo_seq_window_agg_ema_double, Source(t_double{}, {{1}}).get(), 0), divides, "");
}

// ---- Cells ----------------------------------------------------------------------------------------------------------

/// The tile holds values of `held`, the label is double throughout. What is double is also summed up in double.
void check_grid(const char* name, Constructor construct, qvo_seq_iterator_next_t next, uint8_t type, uint8_t held,
                const Model& model) {
    for (const uint64_t interval : {uint64_t{0}, uint64_t{1}, uint64_t{2}, uint64_t{7}, uint64_t{600}, ~uint64_t{0}}) {
        Member member = with_interval(name, construct, interval, next, QVO_DD_DOUBLE, qvo_seq_reset_unary_agg_iterator);
        member.checks_tiles = width_of(held) == 8;  // a narrow tile claims the width of a double
        const auto fresh = [=] {
            return [=, cell = Group{held == QVO_DD_DOUBLE ? held : type, held, {}}](qvo_seq_iterator_h it) mutable {
                const qvo_seq_iterator_h input = it->opd[0];
                size_t n = 0;
                const auto emit = [&] {
                    literal_put_number(it, n++, held, model(cell));
                    ++it->next_seq_no;
                    cell.stretches.clear();
                };
                QVO_RET rc = QVO_S_OK;
                while (n < capacity_of(width_of(held)) && literal_refill(input, n + cell.stretches.size(), &rc)) {
                    cell.stretches.push_back({literal_number(input, input->tile_offs), 0, "", 1, 0});
                    literal_take(input, 1);
                    if (cell.stretches.size() == interval) emit();
                }
                if (rc == QVO_S_OK && !cell.stretches.empty()) emit();
                return literal_end(it, n, rc);
            };
        };
        check_positions(member, type, 8, fresh, 5);
        if (testing::Test::HasFailure()) return;
    }
}

#define GRID(op, type, held) \
    check_grid(MEMBER(qvo_seq_grid_agg_##op##_##type), t_##type::code, t_##held::code, model_##op);

#define TEST_GRIDS(type, total, mean) \
    GRID(max, type, type)             \
    GRID(min, type, type)             \
    GRID(sum, type, total)            \
    GRID(avg, type, double)           \
    GRID(var, type, double)           \
    GRID(var_samp, type, double)      \
    GRID(dev, type, double)           \
    GRID(dev_samp, type, double)

TEST(Grid, AllResultsAreLabelledDouble_deliberate){QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_GRIDS)}

TEST(Grid, AnAverageLeavesTheSumOfSquaresAlone) {
    Source source(t_int4{}, {{3, 9}});
    Record it;
    ASSERT_EQ(qvo_seq_grid_agg_avg_int4(it.get(), source.get(), 2), QVO_S_OK);
    const auto& context = *reinterpret_cast<qvo_seq_agg_context_t*>(it->context);
    const auto before = context.norm;
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(std::memcmp(&before, &context.norm, sizeof before), 0);
}

}  // namespace
}  // namespace test
