// Aggregates of two sequences: every member against a naive fold over the overlaps, in one piece and in parts.
#include "aggregate/parts.h"

namespace test {
namespace {

using Sums = qvo_seq_bin_agg_context_t;

/// An integer as a 64-bit unsigned number, extended by its sign.
template <class V> uint64_t extended(V v) { return static_cast<uint64_t>(static_cast<int64_t>(v)); }

template <class V> double times_run(V v, unsigned run) {
    if constexpr (std::is_floating_point_v<V>)
        return static_cast<double>(v) * run;
    else
        return static_cast<double>(extended(v) * run);
}

template <class V> double weighted(V w, V v, unsigned run) {
    if constexpr (std::is_floating_point_v<V>)
        return run * static_cast<double>(w) * static_cast<double>(v);
    else if constexpr (sizeof(V) == 8)
        return static_cast<double>(extended(w) * extended(v) * run);
    else if constexpr (std::is_same_v<V, qvo_uint4>)
        return static_cast<double>(uint64_t{w * v} * run);
    else
        return static_cast<double>(extended(static_cast<int32_t>(extended(w) * extended(v))) * run);
}

struct Family {
    bool x, y, xx, xy, yy;  // the sums that are taken
    double (*value)(const Sums& s, double n);
};
const Family covariance{true, true,  false,
                        true, false, [](const Sums& s, double n) { return (s.sxy - s.sx * s.sy / n) / n; }};
const Family correlation{true, true, true, true, true, [](const Sums& s, double n) {
                             return (s.sxy - s.sx * s.sy / n) /
                                    std::sqrt((s.syy - s.sy * s.sy / n) * (s.sxx - s.sx * s.sx / n));
                         }};
const Family weighted_sum{false, false, false, true, false, [](const Sums& s, double) { return s.sxy; }};
const Family weighted_average{true, false, false, true, false, [](const Sums& s, double) { return s.sxy / s.sx; }};

template <class T> Sums fold(const Family& family, bool average, const Items<T>& left, const Items<T>& right) {
    Sums s{};
    size_t i = 0, k = 0;
    unsigned left_taken = 0, right_taken = 0;
    while (i < left.size() && k < right.size()) {
        const unsigned run = std::min(left[i].run - left_taken, right[k].run - right_taken);
        const auto a = left[i].value, b = right[k].value;
        const double x = static_cast<double>(a), y = static_cast<double>(b);
        if (family.x) s.sx += times_run(a, run);
        if (family.y) s.sy += times_run(b, run);
        if (family.xx) s.sxx += run * x * x;
        if (family.xy) s.sxy += average ? weighted(a, b, run) : run * x * y;
        if (family.yy) s.syy += run * y * y;
        s.count += run;
        if ((left_taken += run) == left[i].run) left_taken = 0, ++i;
        if ((right_taken += run) == right[k].run) right_taken = 0, ++k;
    }
    return s;
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

void expect_sums(const Sums& actual, const Sums& expected) {
    EXPECT_TRUE(same_value(actual.sx, expected.sx)) << actual.sx << ", expected " << expected.sx;
    EXPECT_TRUE(same_value(actual.sy, expected.sy)) << actual.sy << ", expected " << expected.sy;
    EXPECT_TRUE(same_value(actual.sxx, expected.sxx)) << actual.sxx << ", expected " << expected.sxx;
    EXPECT_TRUE(same_value(actual.sxy, expected.sxy)) << actual.sxy << ", expected " << expected.sxy;
    EXPECT_TRUE(same_value(actual.syy, expected.syy)) << actual.syy << ", expected " << expected.syy;
    EXPECT_EQ(actual.count, expected.count);
}

template <class T> Items<T> random_operand(Random& random, size_t n, bool any) {
    using V = typename T::value;
    return random_items<T>(random, n, [any](Random& r) { return any ? r.value<V>() : static_cast<V>(r.below(100)); });
}

template <class T>
void check_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, qvo_seq_iterator_merge_t merge,
                  const Family& family) {
    SCOPED_TRACE(name);
    Member member;
    member.name = name;
    member.operands = {operand<T>(Items<T>{{1, 2}, {5}, {2, 255}, {5}, {3}}),
                       operand<T>(Items<T>{{4}, {2}, {2, 7}, {3}, {9}})};
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0], o[1]); };
    member.type = QVO_DD_DOUBLE;
    member.width = 8;
    member.next = next;
    member.reset = qvo_seq_reset_binary_iterator;
    member.prepare = qvo_seq_prepare_aggregate;
    member.merge = merge;
    member.aggregate = true;
    check_protocol(member);
    for (unsigned seed = 0; seed < 16; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        for (const size_t parts : {1, 2, 5}) {
            SCOPED_TRACE(std::to_string(parts) + " parts");
            std::vector<Items<T>> left, right;
            for (size_t p = 0; p < parts; ++p) {
                left.push_back(random_operand<T>(random, random.chance(15) ? 0 : random.between(1, 2000), seed % 2));
                right.push_back(random_operand<T>(random, random.chance(15) ? 0 : random.between(1, 2000), seed % 2));
            }
            const auto part_of = [&random](const std::vector<Items<T>>& side) {
                return
                    [&](size_t p) { return std::make_unique<Source>(T{}, side[p], Script{random_tile_sizes(random)}); };
            };
            Parts joined(member, {part_of(left), part_of(right)}, parts);
            joined.join([&](size_t p) { return left[p].empty() || right[p].empty(); });
            Sums expected = fold(family, family.value == weighted_average.value, left[0], right[0]);
            const bool any = expected.count != 0;
            for (size_t p = 1; p < parts; ++p) {
                const Sums part = fold(family, family.value == weighted_average.value, left[p], right[p]);
                expected = {expected.sx + part.sy,   expected.sy + part.sy,   expected.sxx + part.sxx,
                            expected.sxy + part.sxy, expected.syy + part.syy, expected.count + part.count};
            }
            check_items<t_double>(delivered<t_double>(joined.part(0)),
                                  any ? Items<t_double>{{family.value(expected, static_cast<double>(expected.count))}}
                                      : Items<t_double>{});
            Sums actual;
            std::memcpy(&actual, joined.part(0)->context, sizeof actual);
            expect_sums(actual, expected);
        }
        if (testing::Test::HasFailure()) return;
    }
}

#define CHECK(stem, type, family) check_member<t_##type>(#stem, stem, stem##_next, stem##_merge, family);
#define TEST_MEMBER(type)                          \
    CHECK(qvo_seq_cov_##type, type, covariance)    \
    CHECK(qvo_seq_corr_##type, type, correlation)  \
    CHECK(qvo_seq_wsum_##type, type, weighted_sum) \
    CHECK(qvo_seq_wavg_##type, type, weighted_average)

TEST(Pair, FollowsTheModelAlsoInItsCrossedMerge_deliberate) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

template <class T> double of(Constructor construct, Items<T> left, Items<T> right) {
    Source a(T{}, left), b(T{}, right);
    Record it;
    EXPECT_EQ(construct(it.get(), a.get(), b.get()), QVO_S_OK);
    const auto result = delivered<t_double>(it.get());
    EXPECT_EQ(result.size(), 1U);
    return result.empty() ? 0 : result[0].value;
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

TEST(Pair, IntegerTermsAreConvertedAsUnsigned_deliberate) {
    const double wrapped = 18446744073709551616.0;  // 2^64 - 1 as a double
    EXPECT_EQ(of(qvo_seq_cov_int4, Items<t_int4>{{-1}}, Items<t_int4>{{1}}), -1 - wrapped);
    EXPECT_EQ(of(qvo_seq_wavg_int4, Items<t_int4>{{1}}, Items<t_int4>{{-1}}), wrapped);
    EXPECT_EQ(of(qvo_seq_wavg_int4, Items<t_int4>{{65536}}, Items<t_int4>{{65536}}), 0.0) << "32 bits";
    EXPECT_EQ(of(qvo_seq_wsum_int4, Items<t_int4>{{65536}}, Items<t_int4>{{-65536}}), -4294967296.0) << "in double";
}

}  // namespace
}  // namespace test
