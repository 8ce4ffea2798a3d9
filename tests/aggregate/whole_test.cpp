// Aggregates of one sequence: every member against a naive fold, in one piece and in parts.
#include "aggregate/formulas.h"
#include "aggregate/parts.h"

namespace test {
namespace {

/// value x run as the library's users may rely on it, as a value of the accumulator's type, which is that of the result.
Number weighted(const Group& g, const Stretch& s) {
    if (g.type == QVO_DD_FLOAT) return static_cast<float>(s.v) * static_cast<float>(s.n);
    if (g.type == QVO_DD_DOUBLE) return static_cast<double>(s.v) * s.n;
    const bool wide = width_of(g.type) == 8 || g.type == QVO_DD_UINT4;
    const Number term = wrapped(wide ? g.type : t_int4::code, product(s));
    return is_floating(g.result) ? static_cast<double>(term) : wrapped(g.result, static_cast<wide_int>(term));
}
Number whole_max(const Group& g) { return model_max(g); }
Number whole_min(const Group& g) { return model_min(g); }
Number whole_sum(const Group& g) {
    return fold(
        g, [&](const Stretch& s) { return weighted(g, s); },
        [&](Number a, Number b) { return sum_in(g.result, a, b); });
}
Number whole_prd(const Group& g) {
    const auto power = [&](const Stretch& s) -> Number {
        const double p = std::pow(static_cast<double>(s.v), s.n);
        const bool starts = &s == &g.stretches[0] || (&s)[-1].part != s.part;  // from 1
        return starts ? converted(g.result, p) : p;
    };
    return fold(g, power, [&](Number a, Number b) {
        return converted(g.result, static_cast<double>(a) * static_cast<double>(b));
    });
}
Number whole_avg(const Group& g) {
    const Number sum = whole_sum(g);
    if (is_floating(g.result)) return static_cast<double>(sum) / static_cast<double>(count_of(g));
    return static_cast<uint64_t>(sum) / count_of(g);
}
double spread(const Group& g, bool sample) {
    if (sample && count_of(g) == 1) return 0;
    const double n = static_cast<double>(count_of(g) - sample), sum = static_cast<double>(whole_sum(g));
    const double squares =
        sum_of(g, [](const Stretch& s) { return s.n * static_cast<double>(s.v) * static_cast<double>(s.v); });
    return (squares - sum * sum / n) / n;
}
Number whole_var(const Group& g) { return spread(g, false); }
Number whole_var_samp(const Group& g) { return spread(g, true); }
Number whole_dev(const Group& g) { return std::sqrt(spread(g, false)); }
Number whole_dev_samp(const Group& g) { return std::sqrt(spread(g, true)); }

/// Values of several kinds: small ones, anything, and those around which sums round or signs matter.
Number draw(Random& random, uint8_t type, unsigned kind) {
    const bool floating = is_floating(type);
    switch (kind % 4) {
        case 0:
            return random_number(random, type);
        case 1:
            return wrapped(type, wide_int{random.between(0, 200)} - 100);
        case 2:
            if (floating) return random.below(1000000) / 7.0;
            return wrapped(type, random.between((1 << 21) - 3000, (1 << 21) - random.below(2)));
        default: {
            if (!floating) return random.below(2);
            const Number one = kind % 8 == 3 ? 1 : -1,
                         values[] = {0, -0.0L, one, random.chance(10) ? static_cast<Number>(NAN) : one};
            return values[random.below(4)];
        }
    }
}

void check_member(const char* name, ConstructUnary construct, qvo_seq_iterator_next_t next,
                  qvo_seq_iterator_merge_t merger, uint8_t type, uint8_t total, const Model& model) {
    SCOPED_TRACE(name);
    Member member = aggregate_member(name, construct, next, merger, total);
    Random of_operand(type);
    member.operands = {operand(random_elements(of_operand, type, 5))};
    check_protocol(member);
    const auto group_of = [=](const std::vector<Part>& parts) {
        Group all{type, total, {}};
        for (size_t p = 0; p < parts.size(); ++p)
            for (size_t i = 0; i < parts[p][0].items.size(); ++i)
                all.stretches.push_back({parts[p][0].number(i), 0, "", parts[p][0].items[i].run, p});
        return all;
    };
    for_seeds(40, [&](Random& random, unsigned seed) {
        const auto draw_part = [=](Random& r) -> Part {
            const size_t n = seed % 5 == 0 ? r.below(3) : r.chance(10) ? 0 : r.between(1, 1500);
            return {random_elements(r, type, n, [=](Random& value) { return draw(value, type, seed); })};
        };
        const auto value = [&](const std::vector<Part>& parts) { return Items<t_number>{{model(group_of(parts))}}; };
        check_parts(member, draw_part, random, value, false, [&](qvo_seq_iterator_h it, const auto& parts) {
            const Group all = group_of(parts);
            EXPECT_EQ(it->context[2], all.stretches.empty() ? 0 : count_of(all)) << "as the header documents";
        });
    });
}

#define CHECK(op, type, total)                                                                         \
    check_member(MEMBER(qvo_seq_agg_##op##_##type), qvo_seq_agg_##op##_##type##_merge, t_##type::code, \
                 t_##total::code, whole_##op);

#define TEST_MEMBERS(type, total, mean) \
    CHECK(max, type, type)              \
    CHECK(min, type, type)              \
    CHECK(sum, type, total)             \
    CHECK(prd, type, total)             \
    CHECK(avg, type, mean)              \
    CHECK(var, type, double)            \
    CHECK(var_samp, type, double)       \
    CHECK(dev, type, double)            \
    CHECK(dev_samp, type, double)

TEST(Whole, FollowsTheModel) { QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_MEMBERS) }

void check_min_max(const char* name, ConstructUnary construct, qvo_seq_iterator_next_t next, uint8_t type,
                   uint8_t result) {
    SCOPED_TRACE(name);
    Member member = aggregate_member(name, construct, next, nullptr, result);
    for_seeds(20, [&](Random& random, unsigned seed) {
        const auto elements = random_elements(random, type, seed % 5 == 4 ? seed / 5 : random.between(4, 5000),
                                              [=](Random& r) { return draw(r, type, seed); });
        member.operands = {operand(elements)};
        if (seed == 0) check_protocol(member);
        Items<t_number> expected;
        for (size_t i = 0; i < elements.items.size(); ++i) {
            const Number v = number_at(result, bytes_of(result, elements.number(i)).data());
            if (i == 0) expected = {{v}, {v}};
            if (v < expected[0].value) expected[0].value = v;
            if (v > expected[1].value) expected[1].value = v;
        }
        const auto source = source_of(elements, {random_tile_sizes(random)});
        check_items<t_number>(drained<t_number>(construct, source->get()), expected);
    });
}

#define TEST_MIN_MAX(type)                                            \
    check_min_max(MEMBER(qvo_seq_agg_min_max_##type), t_##type::code, \
                  t_##type::code == QVO_DD_DATETIME ? t_double::code : t_##type::code);

TEST(Whole, MinMaxFollowsTheModelWhichForDatetimesIsOfDoubles_deliberate) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MIN_MAX) }

/// The result of a member over the given elements.
template <class R, class T> typename R::value of(ConstructUnary construct, Items<T> items) {
    return value_of<R>(construct, Source(T{}, items).get());
}

TEST(Whole, SampleFormsDivideByOneLessThroughout_deliberate) {
    EXPECT_EQ(of<t_double>(qvo_seq_agg_var_samp_int4, Items<t_int4>{{3, 5}}), -2.8125);
    EXPECT_EQ(of<t_double>(qvo_seq_agg_var_samp_double, Items<t_double>{{7}}), 0.0);
}

TEST(Whole, ValueTimesRunWrapsIn32Bits_deliberate) {
    EXPECT_EQ(of<t_int8>(qvo_seq_agg_sum_int4, Items<t_int4>{{10000000, 255}}), -1744967296);
    EXPECT_EQ(of<t_uint8>(qvo_seq_agg_sum_uint4, Items<t_uint4>{{4000000000, 2}}), 3705032704U);
}

TEST(Whole, SumsOfIntegersInDoubleRoundAtEachStep) {
    const Items<t_uint4> items(2500000, {4294967291U});
    double sum = 0;
    for (const auto& item : items) sum += item.value;
    ASSERT_NE(sum, static_cast<double>(items.size() * items[0].value)) << "large enough to round";
    EXPECT_EQ(of<t_double>(qvo_seq_agg_avg_uint4, items), sum / static_cast<double>(items.size()));
}

TEST(Whole, PrepareAfterTheDeliveryHandsOutOnceMore) {
    Source source(t_int4{}, {{1}, {2}});
    Record it;
    ASSERT_EQ(qvo_seq_agg_sum_int4(it.get(), source.get()), QVO_S_OK);
    for (int round = 0; round < 2; ++round) {
        check_items<t_int8>(delivered<t_int8>(it.get()), {{3}});
        EXPECT_EQ(it->prepare(it.get()), QVO_S_CURSOR_END);
    }
}

TEST(Whole, AFailureDropsTheSumsAndIsRetriedUnlessPrepared) {
    for (const bool prepared : {false, true}) {
        Source source(t_int4{}, {{1}, {2}, {4}}, {{1}, 1, 4711});
        Record it;
        ASSERT_EQ(qvo_seq_agg_sum_int4(it.get(), source.get()), QVO_S_OK);
        qvo_seq_iterator_t expected = it.it;
        expected.prepared = prepared;
        EXPECT_EQ(prepared ? it->prepare(it.get()) : it->next(it.get()), 4711);
        EXPECT_EQ(std::memcmp(&expected, it.get(), sizeof expected), 0) << "nothing is stored";
        source.set_script({});
        EXPECT_EQ(it->next(it.get()), prepared ? QVO_S_CURSOR_END : QVO_S_OK);
        if (!prepared) { EXPECT_EQ(it->tile.u.arr_int8[0], 6); }
    }
}

// Run bytes of 0, as the library's own parsers leave them in a cleared record: elements without positions.
TEST(Whole, RunsOfZero) {
    const auto agg = [](ConstructUnary construct, const Items<t_int4>& items) {
        return drained<t_int4>(construct, Source(t_int4{}, items, {{1}}).get());
    };
    check_items<t_int4>(agg(qvo_seq_agg_min_max_int4, {{5, 0}, {3, 0}}), {{3}, {5}});
    check_items<t_int4>(agg(qvo_seq_agg_max_int4, {{5, 0}, {3, 1}}), {{5}});
    check_items<t_int4>(agg(qvo_seq_agg_max_int4, {{5, 0}, {3, 0}}), {});
    check_items<t_double>(
        drained<t_double>(qvo_seq_agg_sum_double, Source(t_double{}, {{HUGE_VAL, 0}, {3, 1}}, {{1}}).get()),
        {{std::numeric_limits<double>::quiet_NaN()}});
}

}  // namespace
}  // namespace test
