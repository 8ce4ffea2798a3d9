// Running prefixes: every member against a literal statement of its steps.
#include "aggregate/steps.h"

namespace test {
namespace {

/// The state of a prefix after n counted steps; the type is that of its results.
struct Prefix {
    uint8_t type;
    Number accumulator = 0;
    double norm = 0;
    double n = 0;
    bool first = false;
};
using Formula = Number (*)(Prefix& p, Number v);

double spread(Prefix& p, Number v, double less) {
    const auto x = static_cast<double>(v);
    const double s = p.first ? x : static_cast<double>(p.accumulator) + x, m = p.n - less;
    p.accumulator = s;
    p.norm = p.first ? x * x : p.norm + x * x;
    return p.first ? 0.0 : (p.norm - s * s / m) / m;
}
Number sum(Prefix& p, Number v) { return p.accumulator = p.first ? v : sum_in(p.type, p.accumulator, v); }
Number product(Prefix& p, Number v) { return p.accumulator = p.first ? v : product_in(p.type, p.accumulator, v); }
Number largest(Prefix& p, Number v) { return p.accumulator = p.first || v > p.accumulator ? v : p.accumulator; }
Number smallest(Prefix& p, Number v) { return p.accumulator = p.first || v < p.accumulator ? v : p.accumulator; }
Number var(Prefix& p, Number v) { return converted(p.type, spread(p, v, 0)); }
Number var_samp(Prefix& p, Number v) { return converted(p.type, spread(p, v, 1)); }
Number dev(Prefix& p, Number v) { return converted(p.type, std::sqrt(spread(p, v, 0))); }
Number dev_samp(Prefix& p, Number v) { return converted(p.type, std::sqrt(spread(p, v, 1))); }
Number average(Prefix& p, Number v) {
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

#define CHECK(op, type, result, formula) \
    check_member(MEMBER(qvo_seq_cum_agg_##op##_##type), t_##type::code, t_##result::code, formula);

#define TEST_MEMBERS(type, total, mean)    \
    CHECK(prd, type, total, product)       \
    CHECK(max, type, type, largest)        \
    CHECK(min, type, type, smallest)       \
    CHECK(var, type, total, var)           \
    CHECK(var_samp, type, total, var_samp) \
    CHECK(dev, type, total, dev)           \
    CHECK(dev_samp, type, total, dev_samp) \
    CHECK(avg, type, double, average)      \
    if (t_##type::code != QVO_DD_DATETIME) CHECK(sum, type, total, sum)

TEST(Cumulative, StepsAreCountedTwice_deliberate){QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_MEMBERS)}

TEST(Cumulative, SumsOfDatetimesAreDoubles_deliberate) {
    CHECK(sum, datetime, double, sum)
}

/// The first tile of a member's result, and the positions that it counts.
template <class R, class T> void gives(ConstructUnary construct, Items<T> items, Items<R> expected, uint64_t counted) {
    Source source(T{}, items);
    Record it;
    EXPECT_EQ(construct(it.get(), source.get()), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(it->next_seq_no, counted);
    check_items<R>(tile_items<R>(it.it), expected);
}

TEST(Cumulative, WorkedCases) {
    gives<t_int8, t_int4>(qvo_seq_cum_agg_sum_int4, {{1}, {2}, {3}}, {{1}, {3}, {6}}, 6);
    gives<t_int8, t_int4>(qvo_seq_cum_agg_sum_int4, {{5, 3}}, {{5}, {10}, {15}}, 6);
    gives<t_double, t_double>(qvo_seq_cum_agg_var_double, {{1}, {3}}, {{0}, {1}}, 4);
    gives<t_double, t_double>(qvo_seq_cum_agg_var_samp_double, {{1}, {3}}, {{0}, {-6}}, 4);
    gives<t_int8, t_int4>(qvo_seq_cum_agg_var_int4, {{1}, {2}}, {{0}, {0}}, 4);
}

}  // namespace
}  // namespace test
