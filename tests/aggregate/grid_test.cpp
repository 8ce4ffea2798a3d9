// Cells: every member against a literal statement of its steps.
#include "aggregate/steps.h"

namespace test {
namespace {

/// The state of a cell; the type is that of its accumulator and of what the tile holds.
struct Cell {
    uint8_t type;
    Number accumulator = 0;
    double norm = 0;
    uint64_t count = 0;
};

/// How a value goes into a cell, and what the cell gives.
struct Formula {
    void (*fold)(Cell& c, Number v);
    Number (*finish)(const Cell& c);
};

Number accumulated(const Cell& c) { return c.accumulator; }
void add(Cell& c, Number v) {
    const auto x = static_cast<double>(v);
    c.accumulator = c.count == 0 ? v : sum_in(c.type, c.accumulator, v);
    c.norm = c.count == 0 ? x * x : c.norm + x * x;
}
double spread(const Cell& c, uint64_t less) {
    const auto s = static_cast<double>(c.accumulator), n = static_cast<double>(c.count - less);
    return less != 0 && c.count == 1 ? 0.0 : (c.norm - s * s / n) / n;
}
void keep_larger(Cell& c, Number v) {
    if (c.count == 0 || v > c.accumulator) c.accumulator = v;
}
void keep_smaller(Cell& c, Number v) {
    if (c.count == 0 || v < c.accumulator) c.accumulator = v;
}
const Formula largest{keep_larger, accumulated}, smallest{keep_smaller, accumulated}, sum{add, accumulated},
    average{add, [](const Cell&c) -> Number { return static_cast<double>(c.accumulator) / double(c.count); }},
    var{add, [](const Cell&c) -> Number { return spread(c, 0); }},
    var_samp{add, [](const Cell&c) -> Number { return spread(c, 1); }},
    dev{add, [](const Cell&c) -> Number { return std::sqrt(spread(c, 0)); }},
    dev_samp{add, [](const Cell&c) -> Number { return std::sqrt(spread(c, 1)); }};

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t);

/// `held` is the type that the tile holds; the label is double throughout.
void check_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, uint8_t type, uint8_t held,
                  const Formula& formula) {
    SCOPED_TRACE(name);
    for (const uint64_t interval : {uint64_t{0}, uint64_t{1}, uint64_t{2}, uint64_t{7}, uint64_t{600}, ~uint64_t{0}}) {
        SCOPED_TRACE("interval " + std::to_string(interval));
        const Member member = stepwise_member(
            name, [=](qvo_seq_iterator_h it, qvo_seq_iterator_h input) { return construct(it, input, interval); },
            QVO_DD_DOUBLE, next, qvo_seq_reset_unary_agg_iterator);
        check_random_steps(member, type, 8, [=] {
            return [=, cell = Cell{held}](qvo_seq_iterator_h it) mutable {
                size_t n = 0;
                const auto emit = [&] {
                    literal_put_number(it, n++, held, formula.finish(cell));
                    ++it->next_seq_no;
                    cell.count = 0;
                };
                const QVO_RET rc = literal_positions(
                    it, [&] { return n + cell.count; },
                    [&](Number v) {
                        formula.fold(cell, v);
                        if (++cell.count != interval) return false;
                        emit();
                        return n == capacity_of(width_of(held));
                    });
                if (rc != QVO_S_OK) return rc;
                if (cell.count != 0) emit();
                it->tile_size = static_cast<uint16_t>(n);
                return rc;
            };
        });
        if (testing::Test::HasFailure()) return;
    }
}

#define CHECK(op, type, held, formula) \
    check_member(MEMBER(qvo_seq_grid_agg_##op##_##type), t_##type::code, t_##held::code, formula);

#define TEST_MEMBERS(type, total, mean)     \
    CHECK(max, type, type, largest)         \
    CHECK(min, type, type, smallest)        \
    CHECK(sum, type, total, sum)            \
    CHECK(avg, type, double, average)       \
    CHECK(var, type, double, var)           \
    CHECK(var_samp, type, double, var_samp) \
    CHECK(dev, type, double, dev)           \
    CHECK(dev_samp, type, double, dev_samp)

TEST(Grid, AllResultsAreLabelledDouble_deliberate) { QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_MEMBERS) }

template <class T> Items<t_double> result_of(Constructor construct, Items<T> items, uint64_t interval) {
    Source source(T{}, items);
    Record it;
    EXPECT_EQ(construct(it.get(), source.get(), interval), QVO_S_OK);
    return drain<t_double>(it.get());
}

TEST(Grid, WorkedCases) {
    const Items<t_double> five{{1}, {2}, {3}, {4}, {5}};
    check_items<t_double>(result_of(qvo_seq_grid_agg_sum_double, five, 2), {{3}, {7}, {5}});
    check_items<t_double>(result_of(qvo_seq_grid_agg_sum_double, five, 0), {{15}});
    check_items<t_double>(result_of(qvo_seq_grid_agg_avg_double, Items<t_double>{{2}, {4}, {6}}, 2), {{3}, {6}});
    check_items<t_double>(result_of(qvo_seq_grid_agg_sum_double, Items<t_double>{{7, 4}}, 2), {{14}, {14}});
    check_items<t_double>(result_of(qvo_seq_grid_agg_var_samp_int4, Items<t_int4>{{1}, {3}, {9}}, 2), {{-6}, {0}});
    check_items<t_double>(result_of(qvo_seq_grid_agg_sum_double, Items<t_double>{}, 2), {});
}

}  // namespace
}  // namespace test
