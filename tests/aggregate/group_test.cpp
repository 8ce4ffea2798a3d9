// Group aggregates: every member against the loop stated step by step, worked cases, refusals.
#include "aggregate/group_model.h"

namespace test {
namespace {

// The results of a group. `product` is value x positions as it is accumulated.
template <class V> uint64_t product(V v, unsigned n) {
    __extension__ typedef __int128 wide;
    return static_cast<uint64_t>(static_cast<wide>(v) * n);
}
template <class V> double product_as_double(V v, unsigned n) {
    if constexpr (std::is_same_v<V, float>)
        return v * static_cast<float>(n);
    else if constexpr (std::is_same_v<V, double>)
        return v * n;
    else
        return static_cast<double>(product(v, n));
}
template <class V> uint64_t count_of(const GroupSteps<V>& g) {
    uint64_t count = 0;
    for (const auto& s : g) count += s.n;
    return count;
}
/// term(step) summed up from the first one on.
template <class V, class Term> auto sum_of(const GroupSteps<V>& g, Term term) {
    auto sum = term(g[0]);
    for (size_t i = 1; i < g.size(); ++i) sum += term(g[i]);
    return sum;
}
template <class V> V model_max(const GroupSteps<V>& g) {
    V best = g[0].v;
    for (const auto& s : g) best = s.v > best ? s.v : best;
    return best;
}
template <class V> V model_min(const GroupSteps<V>& g) {
    V best = g[0].v;
    for (const auto& s : g) best = s.v < best ? s.v : best;
    return best;
}
template <class V> double float_sum(const GroupSteps<V>& g) {
    return sum_of(g, [](const auto& s) { return product_as_double(s.v, s.n); });
}
template <class R, class V> R model_sum(const GroupSteps<V>& g) {
    if constexpr (std::is_floating_point_v<V>)
        return float_sum(g);
    else
        return static_cast<R>(sum_of(g, [](const auto& s) { return product(s.v, s.n); }));
}
template <class R, class V> R model_avg(const GroupSteps<V>& g) {
    if constexpr (std::is_floating_point_v<R>)
        return float_sum(g) / static_cast<double>(count_of(g));
    else
        return model_sum<uint64_t>(g) / count_of(g);
}
/// (q - s^2 / n) / n, with one less for n in the sample form.
template <class V> double model_var(const GroupSteps<V>& g, bool sample) {
    if (sample && count_of(g) == 1) return 0.0;
    const double n = static_cast<double>(count_of(g) - sample), s = float_sum(g);
    const double q = sum_of(g, [](const auto& t) {
        return static_cast<double>(t.v) * static_cast<double>(t.v) * static_cast<double>(t.n);
    });
    return (q - s * s / n) / n;
}
template <class R, class V> R model_wavg(const GroupSteps<V>& g) {
    const double norm = sum_of(g, [](const auto& t) {
        return static_cast<double>(t.v) * static_cast<double>(t.w) * static_cast<double>(t.n);
    });
    if constexpr (std::is_floating_point_v<R>) {
        return norm / product_as_double(g.back().v, g.back().n);
    } else {
        // Out of range and not a number: the processor's answer for each of the two result types.
        const double q = norm / static_cast<double>(static_cast<int64_t>(product(g.back().v, g.back().n)));
        constexpr double half = 9223372036854775808.0;
        const auto as_signed = [](double x) { return x >= -half && x < half ? static_cast<int64_t>(x) : INT64_MIN; };
        if (std::is_signed_v<R> || !(q >= half)) return static_cast<R>(as_signed(q));
        return static_cast<R>(static_cast<uint64_t>(as_signed(q - half)) | uint64_t{1} << 63);
    }
}

template <class T> struct Of {
    using V = typename T::value;
    static constexpr bool floating = std::is_floating_point_v<V>, stamp = T::code == QVO_DD_DATETIME;
    using Sum = std::conditional_t<
        floating, t_double,
        std::conditional_t<stamp, t_datetime, std::conditional_t<std::is_signed_v<V>, t_int8, t_uint8>>>;
    using Avg = std::conditional_t<stamp, t_datetime, t_double>;
    using Model = std::function<double(const GroupSteps<V>&)>;
};

#define GROUP_MEMBER(stem, Result) group_member(MEMBER(stem), Result::code, Result::width)
template <class T, class R, class Model> void check(const Member& member, Model model) {
    check_group<T, R>(member, 2, model);
}

#define TEST_MEMBER(type)                                                                                         \
    {                                                                                                             \
        using T = t_##type;                                                                                       \
        using V = qvo_##type;                                                                                     \
        using Sum = Of<T>::Sum;                                                                                   \
        using Avg = Of<T>::Avg;                                                                                   \
        using Steps = const GroupSteps<V>&;                                                                       \
        using Value = std::function<V(Steps)>;                                                                    \
        using Real = std::function<double(Steps)>;                                                                \
        check<T, T, Value>(GROUP_MEMBER(qvo_seq_group_agg_max_##type, T), model_max<V>);                          \
        check<T, T, Value>(GROUP_MEMBER(qvo_seq_group_agg_min_##type, T), model_min<V>);                          \
        check<T, T, Value>(GROUP_MEMBER(qvo_seq_group_agg_first_##type, T), [](Steps g) { return g.front().v; }); \
        check<T, T, Value>(GROUP_MEMBER(qvo_seq_group_agg_last_##type, T), [](Steps g) { return g.back().v; });   \
        check<T, Sum>(GROUP_MEMBER(qvo_seq_group_agg_sum_##type, Sum), model_sum<Sum::value, V>);                 \
        check<T, Avg>(GROUP_MEMBER(qvo_seq_group_agg_avg_##type, Avg), model_avg<Avg::value, V>);                 \
        check<T, t_double, Real>(GROUP_MEMBER(qvo_seq_group_agg_var_##type, t_double),                            \
                                 [](Steps g) { return model_var(g, false); });                                    \
        check<T, t_double, Real>(GROUP_MEMBER(qvo_seq_group_agg_var_samp_##type, t_double),                       \
                                 [](Steps g) { return model_var(g, true); });                                     \
        check<T, t_double, Real>(GROUP_MEMBER(qvo_seq_group_agg_dev_##type, t_double),                            \
                                 [](Steps g) { return std::sqrt(model_var(g, false)); });                         \
        check<T, t_double, Real>(GROUP_MEMBER(qvo_seq_group_agg_dev_samp_##type, t_double),                       \
                                 [](Steps g) { return std::sqrt(model_var(g, true)); });                          \
        Member wavg = GROUP_MEMBER(qvo_seq_group_agg_sum_##type, Sum);                                            \
        wavg.name = "qvo_seq_group_agg_wavg_" #type;                                                              \
        wavg.construct = [](qvo_seq_iterator_h it, const Member::Operands& o) {                                   \
            return qvo_seq_group_agg_wavg_##type(it, o[0], o[1], o[2]);                                           \
        };                                                                                                        \
        wavg.next = qvo_seq_group_agg_wavg_##type##_next;                                                         \
        wavg.reset = qvo_seq_reset_ternary_agg_iterator;                                                          \
        wavg.own_refusals = false;                                                                                \
        wavg.type_checked = {true, true, false};                                                                  \
        check_group<T, Sum>(wavg, 3, model_wavg<Sum::value, V>);                                                  \
    }

TEST(Group, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

template <class R, class T, class K>
Items<R> result_of(QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h), Items<T> values,
                   Items<K> keys) {
    Source v(T{}, values), k(K{}, keys);
    Record it;
    EXPECT_EQ(construct(it.get(), v.get(), k.get()), QVO_S_OK);
    return drain<R>(it.get());
}

TEST(Group, WorkedCases) {
    using Ints = Items<t_int4>;
    check_items<t_int8>(
        result_of<t_int8>(qvo_seq_group_agg_sum_int4, Ints{{1}, {2}, {3}, {4}, {5}}, Ints{{1}, {1}, {2}, {2}, {1}}),
        {{3}, {7}, {5}});
    check_items<t_int8>(result_of<t_int8>(qvo_seq_group_agg_sum_int4, Ints{{10, 2}, {100, 3}}, Ints{{1, 5}}), {{320}});
    // 0.0 and -0.0 are different keys.
    check_items<t_int4>(
        result_of<t_int4>(qvo_seq_group_agg_first_int4, Ints{{1}, {2}, {3}}, Items<t_double>{{0.0}, {-0.0}, {-0.0}}),
        {{1}, {2}});
    const float nan = std::numeric_limits<float>::quiet_NaN();
    check_items<t_float>(result_of<t_float>(qvo_seq_group_agg_max_float, Items<t_float>{{nan}, {1}, {1}, {nan}},
                                            Ints{{1}, {1}, {2}, {2}}),
                         {{nan}, {1}});
    Items<t_int4> many;
    for (int i = 0; i < 820; ++i) many.push_back({i});
    check_items<t_int4>(result_of<t_int4>(qvo_seq_group_agg_max_int4, many, many), many);
    check_items<t_int4>(result_of<t_int4>(qvo_seq_group_agg_max_int4, Ints{}, many), {});
}

TEST(Group, Formulas_deliberate) {
    using Ints = Items<t_int4>;
    const auto sample = [](Ints values) {
        return result_of<t_double>(qvo_seq_group_agg_var_samp_int4, values, Ints{{1, 9}});
    };
    check_items<t_double>(sample({{1}, {3}}), {{-6.0}});
    check_items<t_double>(sample({{7}}), {{0.0}});
    check_items<t_double>(result_of<t_double>(qvo_seq_group_agg_avg_int4, Ints{{-1}}, Ints{{1}}),
                          {{18446744073709551616.0}});
    Source left(t_int4{}, {{2}, {4}}), right(t_int4{}, {{1}, {1}}), keys(t_int4{}, {{1, 2}});
    Record wavg;
    ASSERT_EQ(qvo_seq_group_agg_wavg_int4(wavg.get(), left.get(), right.get(), keys.get()), QVO_S_OK);
    check_items<t_int8>(drain<t_int8>(wavg.get()), {{1}});
}

TEST(Group, AKeyFeedsOneGroupAggregateOnly_deliberate) {
    Source values(t_int4{}, {{1}}), keys(t_int4{}, {{1}});
    Record it;
    const qvo_seq_iterator_t before = it.it;
    const auto construct = [&] { return qvo_seq_group_agg_max_int4(it.get(), values.get(), keys.get()); };
    keys->bounded = 1;
    EXPECT_EQ(construct(), QVO_E_SEQ_BOUNDED) << "with the check off";
    EXPECT_EQ(values->bounded, 1);
    EXPECT_EQ(std::memcmp(&before, &it.it, sizeof before), 0);
    keys->bounded = 0;
    {
        const BindingCheck check;
        EXPECT_EQ(construct(), QVO_E_SEQ_BOUNDED) << "the values are bound";
        EXPECT_EQ(keys->bounded, 0);
        values->elem_type = QVO_DD_UINT4;
        EXPECT_EQ(construct(), QVO_E_ILLEGAL_TYPE);
    }
}

TEST(Group, RefusesWideKeys) {
    Source values(t_int4{}, {{1}}), fits(t_char{}, {{"key"}}, {}, 208), wide(t_char{}, {{"key"}}, {}, 209);
    Record it;
    EXPECT_EQ(qvo_seq_group_agg_max_int4(it.get(), values.get(), fits.get()), QVO_S_OK);
    EXPECT_EQ(qvo_seq_group_agg_max_int4(it.get(), values.get(), wide.get()), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(qvo_seq_group_agg_wavg_int4(it.get(), values.get(), values.get(), wide.get()), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(qvo_seq_group_agg_count(it.get(), wide.get()), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(wide->bounded, 1);
}

template <class K> void check_count(Random& random, size_t n, size_t width) {
    SCOPED_TRACE(testing::Message() << K::name << " of width " << width);
    const auto keys = random_group_keys<K>(random, n, width);
    Items<t_uint8> expected;
    for (size_t i = 0; i < keys.size(); ++i) {
        if (i == 0 || keys[i].value != keys[i - 1].value) expected.push_back({0});
        expected.back().value += keys[i].run;
    }
    Member member;
    member.name = "qvo_seq_group_agg_count";
    member.operands = {operand<K>(keys, width)};
    member.construct = [](qvo_seq_iterator_h it, const Member::Operands& o) {
        return qvo_seq_group_agg_count(it, o[0]);
    };
    member.next = qvo_seq_group_agg_count_next;
    member.reset = qvo_seq_reset_unary_agg_iterator;
    member.type = QVO_DD_UINT8;
    member.width = 8;
    member.aggregate = true;
    member.type_checked = member.stops_on_empty = {false};
    check_protocol(member);
    Source source(K{}, keys, {random_tile_sizes(random)}, width);
    Record it;
    ASSERT_EQ(qvo_seq_group_agg_count(it.get(), source.get()), QVO_S_OK);
    check_items<t_uint8>(drain<t_uint8>(it.get()), expected);
}

TEST(Group, Count) {
    check_items<t_uint8>(
        [] {
            Source keys(t_int1{}, {{7, 3}, {8}});
            Record it;
            EXPECT_EQ(qvo_seq_group_agg_count(it.get(), keys.get()), QVO_S_OK);
            return drain<t_uint8>(it.get());
        }(),
        {{3}, {1}});
    for (unsigned seed = 0; seed < 4; ++seed) {
        Random random(seed);
        const size_t n = random.between(4, 4000);
        check_count<t_int1>(random, n, 1);
        check_count<t_int2>(random, n, 2);
        check_count<t_float>(random, n, 4);
        check_count<t_uint8>(random, n, 8);
        check_count<t_char>(random, n, 3);
        check_count<t_char>(random, n, 200);
    }
}

}  // namespace
}  // namespace test
