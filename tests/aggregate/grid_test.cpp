// Cells: every member against a literal statement of its steps.
#include "aggregate/formulas.h"
#include "aggregate/steps.h"

namespace test {
namespace {

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t);

/// The tile holds values of `held`, the label is double throughout. What is double is also summed up in double.
void check_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, uint8_t type, uint8_t held,
                  const Model& model) {
    SCOPED_TRACE(name);
    for (const uint64_t interval : {uint64_t{0}, uint64_t{1}, uint64_t{2}, uint64_t{7}, uint64_t{600}, ~uint64_t{0}}) {
        SCOPED_TRACE("interval " + std::to_string(interval));
        Member member = unary_member(
            name, [=](qvo_seq_iterator_h it, qvo_seq_iterator_h input) { return construct(it, input, interval); }, next,
            QVO_DD_DOUBLE, 8, qvo_seq_reset_unary_agg_iterator);
        member.checks_tiles = width_of(held) == 8;  // a narrow tile claims the width of a double
        check_positions(
            member, type, 8,
            [=] {
                return [=, cell = Group{held == QVO_DD_DOUBLE ? held : type, held, {}}](qvo_seq_iterator_h it) mutable {
                    size_t n = 0;
                    const auto emit = [&] {
                        literal_put_number(it, n++, held, model(cell));
                        ++it->next_seq_no;
                        cell.stretches.clear();
                    };
                    const QVO_RET rc = literal_positions(
                        it, [&] { return n + cell.stretches.size(); },
                        [&](Number v) {
                            cell.stretches.push_back({v, 0, "", 1, 0});
                            if (cell.stretches.size() != interval) return false;
                            emit();
                            return n == capacity_of(width_of(held));
                        });
                    if (rc != QVO_S_OK) return rc;
                    if (!cell.stretches.empty()) emit();
                    it->tile_size = static_cast<uint16_t>(n);
                    return rc;
                };
            },
            5);
        if (testing::Test::HasFailure()) return;
    }
}

#define CHECK(op, type, held) \
    check_member(MEMBER(qvo_seq_grid_agg_##op##_##type), t_##type::code, t_##held::code, model_##op);

#define TEST_MEMBERS(type, total, mean) \
    CHECK(max, type, type)              \
    CHECK(min, type, type)              \
    CHECK(sum, type, total)             \
    CHECK(avg, type, double)            \
    CHECK(var, type, double)            \
    CHECK(var_samp, type, double)       \
    CHECK(dev, type, double)            \
    CHECK(dev_samp, type, double)

TEST(Grid, AllResultsAreLabelledDouble_deliberate) { QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_MEMBERS) }

template <class T> void gives(Constructor construct, Items<T> items, uint64_t interval, Items<t_double> expected) {
    check_items<t_double>(drained<t_double>(construct, Source(T{}, items).get(), interval), expected);
}

TEST(Grid, WorkedCases) {
    const Items<t_double> five{{1}, {2}, {3}, {4}, {5}};
    gives(qvo_seq_grid_agg_sum_double, five, 2, {{3}, {7}, {5}});
    gives(qvo_seq_grid_agg_sum_double, five, 0, {{15}});
    gives<t_double>(qvo_seq_grid_agg_avg_double, {{2}, {4}, {6}}, 2, {{3}, {6}});
    gives<t_double>(qvo_seq_grid_agg_sum_double, {{7, 4}}, 2, {{14}, {14}});
    gives<t_int4>(qvo_seq_grid_agg_var_samp_int4, {{1}, {3}, {9}}, 2, {{-6}, {0}});
    gives<t_double>(qvo_seq_grid_agg_sum_double, {}, 2, {});
}

TEST(Grid, AnAverageLeavesTheSumOfSquaresAlone) {
    Source source(t_int4{}, {{3, 9}});
    Record it;
    ASSERT_EQ(qvo_seq_grid_agg_avg_int4(it.get(), source.get(), 2), QVO_S_OK);
    const qvo_seq_agg_context_t before = *reinterpret_cast<qvo_seq_agg_context_t*>(it->context);
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    const auto& after = *reinterpret_cast<qvo_seq_agg_context_t*>(it->context);
    EXPECT_EQ(std::memcmp(&before.norm, &after.norm, sizeof after.norm), 0);
}

}  // namespace
}  // namespace test
