// Aggregates of two sequences: every member against a naive fold over the overlaps, in one piece and in parts.
#include "aggregate/parts.h"

namespace test {
namespace {

using Sums = qvo_seq_bin_agg_context_t;

/// Integers are converted from 64 bits unsigned, extended by their sign.
double as_unsigned(wide_int v) { return static_cast<double>(static_cast<uint64_t>(v)); }

double times_run(uint8_t type, Number v, unsigned run) {
    return is_floating(type) ? static_cast<double>(v) * run : as_unsigned(static_cast<wide_int>(v) * run);
}
double weighted(uint8_t type, Number w, Number v, unsigned run) {
    if (is_floating(type)) return run * static_cast<double>(w) * static_cast<double>(v);
    const uint8_t product = width_of(type) == 8 || type == QVO_DD_UINT4 ? type : t_int4::code;
    return as_unsigned(static_cast<wide_int>(product_in(product, w, v)) * run);
}

struct Family {
    bool x, y, xx, xy, yy;  // the sums that are taken
    double (*value)(const Sums& s, double n);
    bool average = false;  // its products are of integers
};
const Family covariance{true, true,  false,
                        true, false, [](const Sums& s, double n) { return (s.sxy - s.sx * s.sy / n) / n; }};
const Family correlation{true, true, true, true, true, [](const Sums& s, double n) {
                             return (s.sxy - s.sx * s.sy / n) /
                                    std::sqrt((s.syy - s.sy * s.sy / n) * (s.sxx - s.sx * s.sx / n));
                         }};
const Family weighted_sum{false, false, false, true, false, [](const Sums& s, double) { return s.sxy; }};
const Family weighted_average{true, false, false, true, false, [](const Sums& s, double) { return s.sxy / s.sx; },
                              true};

Sums fold(const Family& family, const Elements& left, const Elements& right) {
    Sums s{};
    for_overlaps(left, right, [&](size_t i, size_t k, unsigned run) {
        const Number a = left.number(i), b = right.number(k);
        const double x = static_cast<double>(a), y = static_cast<double>(b);
        if (family.x) s.sx += times_run(left.type, a, run);
        if (family.y) s.sy += times_run(left.type, b, run);
        if (family.xx) s.sxx += run * x * x;
        if (family.xy) s.sxy += family.average ? weighted(left.type, a, b, run) : run * x * y;
        if (family.yy) s.syy += run * y * y;
        s.count += run;
    });
    return s;
}

Items<t_double> items_of(const Sums& s) { return {{s.sx}, {s.sy}, {s.sxx}, {s.sxy}, {s.syy}}; }

void check_member(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next,
                  qvo_seq_iterator_merge_t merge, uint8_t type, const Family& family) {
    SCOPED_TRACE(name);
    Member member = aggregate_member(binary_member(name, construct, next, QVO_DD_DOUBLE, 8), merge);
    for (unsigned seed = 0; seed < 16; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const auto draw = [&](size_t n) {
            return random_elements(random, type, n, [=](Random& r) {
                return seed % 2 != 0 ? random_number(r, type) : Number(r.below(100));
            });
        };
        member.operands = {operand(draw(5)), operand(draw(5))};
        if (seed == 0) check_protocol(member);
        for (const size_t parts : {1, 2, 5}) {
            SCOPED_TRACE(std::to_string(parts) + " parts");
            std::vector<Elements> sides[2];
            for (size_t p = 0; p < parts; ++p)
                for (auto& side : sides) side.push_back(draw(random.chance(15) ? 0 : random.between(1, 2000)));
            const auto part_of = [&](const std::vector<Elements>& side) {
                return [&](size_t p) { return source_of(side[p], {random_tile_sizes(random)}); };
            };
            const auto &left = sides[0], &right = sides[1];
            Parts joined(member, {part_of(left), part_of(right)}, parts);
            joined.join([&](size_t p) { return left[p].items.empty() || right[p].items.empty(); });
            Sums expected = fold(family, left[0], right[0]);
            const bool any = expected.count != 0;
            for (size_t p = 1; p < parts; ++p) {
                const Sums part = fold(family, left[p], right[p]);
                expected = {expected.sx + part.sy,   expected.sy + part.sy,   expected.sxx + part.sxx,
                            expected.sxy + part.sxy, expected.syy + part.syy, expected.count + part.count};
            }
            Items<t_double> value;
            if (any) value = {{family.value(expected, static_cast<double>(expected.count))}};
            check_items<t_double>(delivered<t_double>(joined.part(0)), value);
            Sums actual;
            std::memcpy(&actual, joined.part(0)->context, sizeof actual);
            check_items<t_double>(items_of(actual), items_of(expected));
            EXPECT_EQ(actual.count, expected.count);
        }
        if (testing::Test::HasFailure()) return;
    }
}

#define CHECK(stem, type, family) check_member(MEMBER(stem), stem##_merge, t_##type::code, family);
#define TEST_MEMBER(type)                          \
    CHECK(qvo_seq_cov_##type, type, covariance)    \
    CHECK(qvo_seq_corr_##type, type, correlation)  \
    CHECK(qvo_seq_wsum_##type, type, weighted_sum) \
    CHECK(qvo_seq_wavg_##type, type, weighted_average)

TEST(Pair, FollowsTheModelAlsoInItsCrossedMerge_deliberate) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

template <class T> double of(ConstructBinary construct, Items<T> left, Items<T> right) {
    return value_of<t_double>(construct, Source(T{}, left).get(), Source(T{}, right).get());
}

TEST(Pair, TextbookCases) {
    const Items<t_double> x{{1}, {2}, {3}, {4}}, y{{2}, {4}, {6}, {8}};
    EXPECT_EQ(of(qvo_seq_cov_double, x, y), 2.5);
    EXPECT_EQ(of(qvo_seq_corr_double, x, y), 1.0);
    EXPECT_EQ(of(qvo_seq_wsum_double, x, y), 60.0);
    EXPECT_EQ(of(qvo_seq_wavg_double, x, y), 6.0);
    EXPECT_EQ(of<t_double>(qvo_seq_cov_double, {{1}, {3}}, {{1}, {3}, {100, 255}}), 1.0)
        << "the shorter operand ends it";
    EXPECT_EQ(of(qvo_seq_wsum_int4, Items<t_int4>{{3, 5}}, Items<t_int4>{{-2, 2}, {1, 9}}), -12 + 9);
}

TEST(Pair, RunsOfAnyLengthOverSingles) {
    Items<t_int4> left;
    double sum = 0;
    for (int i = 0; i < 3000; ++i) left.push_back({i});
    for (int i = 0; i < 3000; ++i) sum += i;
    for (const unsigned run : {1U, 2U, 6U, 8U, 16U, 31U, 32U, 64U, 255U})
        EXPECT_EQ(of(qvo_seq_wsum_int4, left, Items<t_int4>(3000 / run + 1, {1, run})), sum) << run;
}

TEST(Pair, IntegerTermsAreConvertedAsUnsigned_deliberate) {
    const double wrapped = 18446744073709551616.0;  // 2^64 - 1 as a double
    EXPECT_EQ(of(qvo_seq_cov_int4, Items<t_int4>{{-1}}, Items<t_int4>{{1}}), -1 - wrapped);
    EXPECT_EQ(of(qvo_seq_wavg_int4, Items<t_int4>{{1}}, Items<t_int4>{{-1}}), wrapped);
    EXPECT_EQ(of(qvo_seq_wavg_int4, Items<t_int4>{{65536}}, Items<t_int4>{{65536}}), 0.0) << "32 bits";
    EXPECT_EQ(of(qvo_seq_wsum_int4, Items<t_int4>{{65536}}, Items<t_int4>{{-65536}}), -4294967296.0) << "in double";
}

}  // namespace
}  // namespace test
