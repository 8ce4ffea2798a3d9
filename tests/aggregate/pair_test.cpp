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

void check_member(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next,
                  qvo_seq_iterator_merge_t merge, uint8_t type, const Family& family) {
    SCOPED_TRACE(name);
    Member member = aggregate_member(binary_member(name, construct, next, QVO_DD_DOUBLE, 8), merge);
    for_seeds(16, [&](Random& random, unsigned seed) {
        const auto draw = [=](Random& r, size_t n) {
            return random_elements(r, type, n, [=](Random& value) {
                return seed % 2 != 0 ? random_number(value, type) : Number(value.below(100));
            });
        };
        member.operands = {operand(draw(random, 5)), operand(draw(random, 5))};
        if (seed == 0) check_protocol(member);
        const auto draw_part = [=](Random& r) -> Part {
            const size_t left = r.chance(15) ? 0 : r.between(1, 2000), right = r.chance(15) ? 0 : r.between(1, 2000);
            return {draw(r, left), draw(r, right)};
        };
        const auto model = [&](const std::vector<Part>& parts) -> Items<t_number> {
            Sums s = fold(family, parts[0][0], parts[0][1]);
            for (size_t p = 1; p < parts.size(); ++p) {
                const Sums part = fold(family, parts[p][0], parts[p][1]);
                s = {s.sx + part.sy,   s.sy + part.sy,   s.sxx + part.sxx,
                     s.sxy + part.sxy, s.syy + part.syy, s.count + part.count};
            }
            return {{family.value(s, static_cast<double>(s.count))}};
        };
        check_parts(member, draw_part, random, model);
    });
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

TEST(Pair, IntegerTermsAreConvertedAsUnsigned_deliberate) {
    const double wrapped = 18446744073709551616.0;  // 2^64 - 1 as a double
    EXPECT_EQ(of(qvo_seq_cov_int4, Items<t_int4>{{-1}}, Items<t_int4>{{1}}), -1 - wrapped);
    EXPECT_EQ(of(qvo_seq_wavg_int4, Items<t_int4>{{1}}, Items<t_int4>{{-1}}), wrapped);
    EXPECT_EQ(of(qvo_seq_wavg_int4, Items<t_int4>{{65536}}, Items<t_int4>{{65536}}), 0.0) << "32 bits";
    EXPECT_EQ(of(qvo_seq_wsum_int4, Items<t_int4>{{65536}}, Items<t_int4>{{-65536}}), -4294967296.0) << "in double";
}

}  // namespace
}  // namespace test
