// Group aggregates: every member against the loop stated step by step, worked cases, refusals.
#include "aggregate/group_model.h"

namespace test {
namespace {

Number model_first(const Group& g) { return g.stretches.front().v; }
Number model_last(const Group& g) { return g.stretches.back().v; }

Number model_wavg(const Group& g) {
    const double norm = sum_of(g, [](const Stretch& t) {
        return static_cast<double>(t.v) * static_cast<double>(t.w) * static_cast<double>(t.n);
    });
    if (is_floating(g.type)) return norm / product_as_double(g.type, g.stretches.back());
    return converted(g.result, norm / static_cast<double>(static_cast<int64_t>(product(g.stretches.back()))));
}

void check_wavg(const char* name, decltype(qvo_seq_group_agg_wavg_int4)* construct, qvo_seq_iterator_next_t next,
                uint8_t type, uint8_t result) {
    Member member = ternary_member(name, construct, next, result, width_of(result), qvo_seq_reset_ternary_agg_iterator);
    member.aggregate = true;
    member.type_checked = {true, true, false};
    check_group(member, type, 3, model_wavg);
}

#define CHECK(op, type, result) \
    check_group(group_member(MEMBER(qvo_seq_group_agg_##op##_##type), t_##result::code), t_##type::code, 2, model_##op);

#define TEST_MEMBER(type, total, mean) \
    CHECK(max, type, type)             \
    CHECK(min, type, type)             \
    CHECK(first, type, type)           \
    CHECK(last, type, type)            \
    CHECK(sum, type, total)            \
    CHECK(avg, type, mean)             \
    CHECK(var, type, double)           \
    CHECK(var_samp, type, double)      \
    CHECK(dev, type, double)           \
    CHECK(dev_samp, type, double)      \
    check_wavg(MEMBER(qvo_seq_group_agg_wavg_##type), t_##type::code, t_##total::code);

TEST(Group, FollowsTheModel) { QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_MEMBER) }

template <class R, class T, class K> Items<R> result_of(ConstructBinary construct, Items<T> values, Items<K> keys) {
    return drained<R>(construct, Source(T{}, values).get(), Source(K{}, keys).get());
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
    check_items<t_int8>(drained<t_int8>(qvo_seq_group_agg_wavg_int4, left.get(), right.get(), keys.get()), {{1}});
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

void check_count(const Elements& keys, Script script) {
    SCOPED_TRACE(testing::Message() << "type " << int{keys.type} << " of width " << keys.width);
    Items<t_uint8> expected;
    for (size_t i = 0; i < keys.items.size(); ++i) {
        if (i == 0 || keys.items[i].value != keys.items[i - 1].value) expected.push_back({0});
        expected.back().value += keys.items[i].run;
    }
    Member member = unary_member(MEMBER(qvo_seq_group_agg_count), QVO_DD_UINT8, 8, qvo_seq_reset_unary_agg_iterator);
    member.operands = {operand(keys)};
    member.aggregate = true;
    member.type_checked = member.stops_on_empty = {false};
    check_protocol(member);
    check_items<t_uint8>(drained<t_uint8>(qvo_seq_group_agg_count, source_of(keys, script)->get()), expected);
}

TEST(Group, Count) {
    check_count(elements_of<t_int1>({{7, 3}, {8}, {8}, {7}}), {});  // 3, 2, 1
    for (unsigned seed = 0; seed < 4; ++seed) {
        Random random(seed);
        for (const auto& [type, width] : {std::pair(QVO_DD_INT1, 1),
                                          {QVO_DD_INT2, 2},
                                          {QVO_DD_FLOAT, 4},
                                          {QVO_DD_UINT8, 8},
                                          {QVO_DD_CHAR, 3},
                                          {QVO_DD_CHAR, 200}})
            check_count(random_group_keys(random, random.between(4, 4000), uint8_t(type), size_t(width)),
                        {random_tile_sizes(random)});
    }
}

TEST(Group, AStepWithoutPositionsOpensNoGroup) {
    using Times = Items<t_datetime>;
    check_items<t_datetime>(
        result_of<t_datetime>(qvo_seq_group_agg_avg_datetime, Times{{9, 0}, {4, 2}}, Items<t_int4>{{1, 0}, {2, 2}}),
        {{4}});
    check_items<t_uint4>(
        result_of<t_uint4>(qvo_seq_group_agg_approxdc, Times{{9, 0}, {4, 2}}, Items<t_int4>{{1, 0}, {2, 2}}), {{1}});
}

// A key is as wide as its tile says, and that is known only when there is one.
TEST(Group, KeysOfATextSource) {
    const Items<t_int4> four{{1}, {2}, {3}, {4}};
    const auto grouped = [&](ConstructBinary construct, const std::string& text, QVO_RET expected) {
        Source values(t_int4{}, four);
        TextSource keys(text);
        Record it;
        EXPECT_EQ(construct(it.get(), values.get(), keys.get()), QVO_S_OK);
        EXPECT_EQ(it->next(it.get()), expected);
        return expected == QVO_S_OK ? it->tile_size : 0U;
    };
    EXPECT_EQ(grouped(qvo_seq_group_agg_sum_int4, "{ab,ab,cd,cd", QVO_S_OK), 2U);
    EXPECT_EQ(grouped(qvo_seq_group_agg_sum_int4, "{'','','',''}", QVO_S_OK), 1U);
    EXPECT_EQ(grouped(qvo_seq_group_agg_approxdc, "{abcd,abcd,cdef,cdef", QVO_S_OK), 2U);
    const std::string widest(208, 'x'), wide(209, 'x'), widest_short(40, 'x'), wide_short(41, 'x');
    EXPECT_EQ(grouped(qvo_seq_group_agg_sum_int4, widest, QVO_S_OK), 1U);
    grouped(qvo_seq_group_agg_sum_int4, wide, QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(grouped(qvo_seq_group_agg_approxdc, widest_short, QVO_S_OK), 1U);
    grouped(qvo_seq_group_agg_approxdc, wide_short, QVO_E_ILLEGAL_PARAM);

    const auto counted = [](const std::string& text) {
        TextSource keys(text);
        Record it;
        EXPECT_EQ(qvo_seq_group_agg_count(it.get(), keys.get()), QVO_S_OK);
        const QVO_RET rc = it->next(it.get());
        return rc == QVO_S_OK ? int{it->tile_size} : rc;
    };
    EXPECT_EQ(counted("{abc,abc,cde,abc"), 3);
    EXPECT_EQ(counted("{abcd,abcd,abce"), 2);
    EXPECT_EQ(counted(wide), int{QVO_E_ILLEGAL_PARAM});
}

}  // namespace
}  // namespace test
