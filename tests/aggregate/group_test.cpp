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

TEST(Group, Formulas_deliberate) {
    using Ints = Items<t_int4>;
    check_items<t_double>(result_of<t_double>(qvo_seq_group_agg_var_samp_int4, Ints{{1}, {3}}, Ints{{1, 9}}), {{-6.0}});
    check_items<t_double>(result_of<t_double>(qvo_seq_group_agg_avg_int4, Ints{{-1}}, Ints{{1}}),
                          {{18446744073709551616.0}});
    check_items<t_int4>(result_of<t_int4>(qvo_seq_group_agg_max_int4, Ints{}, Ints{{1}}), {});
}

TEST(Group, AKeyFeedsOneGroupAggregateOnlyAndIsNotTooWide_deliberate) {
    const auto construct = qvo_seq_group_agg_max_int4;
    Source values(t_int4{}, {{1}}), keys(t_int4{}, {{1}}), fits(t_char{}, {}, {}, 208), wide(t_char{}, {}, {}, 209);
    keys->bounded = 1;
    expect_refused(QVO_E_SEQ_BOUNDED, construct, values.get(), keys.get());  // with the check off
    EXPECT_EQ(values->bounded, 1);
    Record it;
    EXPECT_EQ(construct(it.get(), values.get(), fits.get()), QVO_S_OK);
    expect_refused(QVO_E_ILLEGAL_PARAM, construct, values.get(), wide.get());
    expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_group_agg_wavg_int4, values.get(), values.get(), wide.get());
    expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_group_agg_count, wide.get());
    EXPECT_EQ(wide->bounded, 1);
    const BindingCheck check;
    keys->bounded = 0;
    expect_refused(QVO_E_SEQ_BOUNDED, construct, values.get(), keys.get());
    EXPECT_EQ(keys->bounded, 0);
    values->elem_type = QVO_DD_UINT4;
    expect_refused(QVO_E_ILLEGAL_TYPE, construct, values.get(), keys.get());
}

void check_count(const Elements& keys, Script script) {
    SCOPED_TRACE(testing::Message() << "type " << int{keys.type} << " of width " << keys.width);
    Items<t_uint8> expected;
    for (size_t i = 0; i < keys.items.size(); ++i) {
        if (i == 0 || (keys.items[i].value != keys.items[i - 1].value && expected.back().value != 0))
            expected.push_back({0});
        expected.back().value += keys.items[i].run;
    }
    if (expected.back().value == 0) expected.pop_back();
    Member member = unary_member(MEMBER(qvo_seq_group_agg_count), QVO_DD_UINT8, 8, qvo_seq_reset_unary_agg_iterator);
    member.operands = {operand(keys)};
    member.aggregate = true;
    member.type_checked = member.stops_on_empty = {false};
    check_protocol(member);
    check_items<t_uint8>(drained<t_uint8>(qvo_seq_group_agg_count, source_of(keys, script)->get()), expected);
}

TEST(Group, Count) {
    check_count(elements_of<t_int1>({{7, 3}, {8}, {8}, {7}}), {});  // 3, 2, 1
    for_seeds(8, [](Random& random, unsigned seed) {
        for (const auto& [type, width] : {std::pair(QVO_DD_INT1, 1),
                                          {QVO_DD_INT2, 2},
                                          {QVO_DD_FLOAT, 4},
                                          {QVO_DD_UINT8, 8},
                                          {QVO_DD_CHAR, 3},
                                          {QVO_DD_CHAR, 200}}) {
            Elements keys = random_group_keys(random, random.between(4, 4000), uint8_t(type), size_t(width));
            // Runs of 0 at the front of tiles, where they decide how all of the tile is counted.
            const bool zeros = seed % 2 == 1;
            for (size_t i = 0; zeros && i < keys.items.size(); i += 100) keys.items[i].run = 0;
            check_count(keys, {zeros ? std::vector<size_t>{100} : random_tile_sizes(random)});
        }
    });
}

// A key is as wide as its tile says, and that is known only when there is one.
TEST(Group, KeysOfATextSource) {
    // How many groups the keys of a text are, or a negative code; of counts, where there is no constructor.
    const auto groups = [](ConstructBinary construct, const std::string& text) {
        Source values(t_int4{}, {{1}, {2}, {3}, {4}});
        TextSource keys(text);
        Record it;
        EXPECT_EQ(construct != nullptr ? construct(it.get(), values.get(), keys.get())
                                       : qvo_seq_group_agg_count(it.get(), keys.get()),
                  QVO_S_OK);
        const QVO_RET rc = it->next(it.get());
        return rc == QVO_S_OK ? int{it->tile_size} : rc == QVO_E_ILLEGAL_PARAM ? -1 : -2;
    };
    const auto x = [](size_t n) { return std::string(n, 'x'); };
    const ConstructBinary sum = qvo_seq_group_agg_sum_int4, distinct = qvo_seq_group_agg_approxdc, count = nullptr;
    const struct {
        ConstructBinary construct;
        std::string text;
        int groups;
    } cases[] = {{sum, "{ab,ab,cd,cd", 2},
                 {sum, "{'','','',''}", 1},
                 {distinct, "{abcd,abcd,cdef,cdef", 2},
                 {sum, x(208), 1},
                 {sum, x(209), -1},
                 {distinct, x(40), 1},
                 {distinct, x(41), -1},
                 {count, "{abc,abc,cde,abc", 3},
                 {count, "{abcd,abcd,abce", 2},
                 {count, x(209), -1}};
    for (const auto& c : cases) EXPECT_EQ(groups(c.construct, c.text), c.groups) << c.text;
}

}  // namespace
}  // namespace test
