// Cells: every member against a literal statement of its steps.
#include "aggregate/steps.h"

namespace test {
namespace {

/// The state of a cell; A is unsigned where the member's accumulator is an integer.
template <class A> struct Cell {
    A accumulator{};
    double norm = 0;
    uint64_t count = 0;

    template <class V> void add(V v) {
        const auto x = static_cast<double>(v);
        accumulator = count == 0 ? static_cast<A>(v) : accumulator + static_cast<A>(v);
        norm = count == 0 ? x * x : norm + x * x;
    }
    double spread(uint64_t less) const {
        const auto s = static_cast<double>(accumulator), n = static_cast<double>(count - less);
        return less != 0 && count == 1 ? 0.0 : (norm - s * s / n) / n;
    }
};

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t);

/// R is what the tile holds; the label is double throughout.
template <class T, class R, class A, class Fold, class Finish>
void check_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, Fold fold, Finish finish) {
    SCOPED_TRACE(name);
    using V = typename T::value;
    for (const uint64_t interval : {uint64_t{0}, uint64_t{1}, uint64_t{2}, uint64_t{7}, uint64_t{600}, ~uint64_t{0}}) {
        SCOPED_TRACE("interval " + std::to_string(interval));
        const Member member = unary_member<T>(
            name, [=](qvo_seq_iterator_h it, qvo_seq_iterator_h input) { return construct(it, input, interval); },
            QVO_DD_DOUBLE, 8, next, qvo_seq_reset_unary_agg_iterator);
        if (interval == 2) check_protocol(member);
        check_random_steps<T>(member, 8, [=] {
            auto cell = std::make_shared<Cell<A>>();
            return [=](qvo_seq_iterator_h it) {
                size_t n = 0;
                const auto emit = [&] {
                    literal_put(it, n, static_cast<typename R::value>(finish(*cell)));
                    literal_put_run(it, n, 1);
                    ++n;
                    ++it->next_seq_no;
                    cell->count = 0;
                };
                const QVO_RET rc = literal_positions<V>(
                    it, [&] { return n + cell->count; },
                    [&](V v) {
                        fold(*cell, v);
                        if (++cell->count != interval) return false;
                        emit();
                        return n == capacity_of(R::width);
                    });
                if (rc != QVO_S_OK) return rc;
                if (cell->count != 0) emit();
                it->tile_size = static_cast<uint16_t>(n);
                return rc;
            };
        });
        if (testing::Test::HasFailure()) return;
    }
}

template <class A> using wrapping = std::conditional_t<std::is_floating_point_v<A>, double, uint64_t>;

#define CHECK(stem, T, R, A, fold, finish) \
    check_member<T, R, A>(                 \
        MEMBER(stem), [](auto& c, auto v) { fold; }, [](const auto& c) { return finish; });

#define TEST_MEMBERS(type, total, avg)                                                                      \
    CHECK(qvo_seq_grid_agg_max_##type, t_##type, t_##type, qvo_##type,                                      \
          if (c.count == 0 || v > c.accumulator) c.accumulator = v, c.accumulator)                          \
    CHECK(qvo_seq_grid_agg_min_##type, t_##type, t_##type, qvo_##type,                                      \
          if (c.count == 0 || v < c.accumulator) c.accumulator = v, c.accumulator)                          \
    CHECK(qvo_seq_grid_agg_sum_##type, t_##type, t_##total, wrapping<qvo_##total>, c.add(v), c.accumulator) \
    CHECK(qvo_seq_grid_agg_avg_##type, t_##type, t_double, double, c.add(v),                                \
          c.accumulator / static_cast<double>(c.count))                                                     \
    CHECK(qvo_seq_grid_agg_var_##type, t_##type, t_double, double, c.add(v), c.spread(0))                   \
    CHECK(qvo_seq_grid_agg_var_samp_##type, t_##type, t_double, double, c.add(v), c.spread(1))              \
    CHECK(qvo_seq_grid_agg_dev_##type, t_##type, t_double, double, c.add(v), std::sqrt(c.spread(0)))        \
    CHECK(qvo_seq_grid_agg_dev_samp_##type, t_##type, t_double, double, c.add(v), std::sqrt(c.spread(1)))

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
