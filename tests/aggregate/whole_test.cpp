// Aggregates of one sequence: every member against a naive fold, in one piece and in parts.
#include "aggregate/parts.h"

namespace test {
namespace {

/// What is kept of a part: the context that the header documents.
struct State {
    Number agg = 0;
    double norm = 0;
    uint64_t count = 0;
};

/// What a member does, with `total` as the type of its accumulator: an element's term, joining two of them, whether it
/// sums up squares, and the value delivered.
struct Model {
    Number start;  // joins without a trace; NaN where the first term is taken as it is
    Number (*term)(uint8_t type, Number v, unsigned run);
    Number (*join)(uint8_t total, Number a, Number b);
    bool squares;
    Number (*value)(uint8_t total, const State& s);
};

/// value x run as the library's users may rely on it.
Number weighted(uint8_t type, Number v, unsigned run) {
    if (type == QVO_DD_FLOAT) return static_cast<float>(v) * static_cast<float>(run);
    if (type == QVO_DD_DOUBLE) return static_cast<double>(v) * run;
    return wrapped(width_of(type) == 8 || type == QVO_DD_UINT4 ? type : t_int4::code, static_cast<wide_int>(v) * run);
}
Number as_is(uint8_t, const State& s) { return s.agg; }
Number average(uint8_t total, const State& s) {
    if (is_floating(total)) return static_cast<double>(s.agg) / static_cast<double>(s.count);
    return static_cast<uint64_t>(s.agg) / s.count;
}
double variance(const State& s, double n) {
    const auto sum = static_cast<double>(s.agg);
    return (s.norm - sum * sum / n) / n;
}
Number var(uint8_t, const State& s) { return variance(s, static_cast<double>(s.count)); }
Number var_samp(uint8_t, const State& s) { return s.count == 1 ? 0 : variance(s, static_cast<double>(s.count) - 1); }
Number dev(uint8_t, const State& s) { return std::sqrt(static_cast<double>(var(0, s))); }
Number dev_samp(uint8_t, const State& s) { return std::sqrt(static_cast<double>(var_samp(0, s))); }

Number larger(uint8_t, Number a, Number b) { return b > a ? b : a; }
Number smaller(uint8_t, Number a, Number b) { return b < a ? b : a; }
Number value(uint8_t, Number v, unsigned) { return v; }
Number power(uint8_t, Number v, unsigned run) { return std::pow(static_cast<double>(v), run); }
Number times(uint8_t total, Number a, Number b) {
    return converted(total, static_cast<double>(a) * static_cast<double>(b));
}

constexpr Number none = std::numeric_limits<Number>::quiet_NaN();
constexpr Model model_max{none, value, larger, false, as_is}, model_min{none, value, smaller, false, as_is},
    model_sum{-0.0L, weighted, sum_in, false, as_is}, model_prd{1, power, times, false, as_is},
    model_avg{-0.0L, weighted, sum_in, false, average}, model_var{-0.0L, weighted, sum_in, true, var},
    model_var_samp{-0.0L, weighted, sum_in, true, var_samp}, model_dev{-0.0L, weighted, sum_in, true, dev},
    model_dev_samp{-0.0L, weighted, sum_in, true, dev_samp};

State fold(const Model& model, uint8_t total, const Elements& part) {
    State s;
    for (size_t i = 0; i < part.items.size(); ++i) {
        const Number v = part.number(i), term = model.term(part.type, v, part.items[i].run);
        const double x = static_cast<double>(v), square = part.items[i].run * x * x;
        s.agg = i == 0 && std::isnan(model.start) ? term : model.join(total, i == 0 ? model.start : s.agg, term);
        if (model.squares) s.norm = i == 0 ? square : s.norm + square;
        s.count += part.items[i].run;
    }
    return s;
}
State merge(const Model& model, uint8_t total, const State& a, const State& b) {
    if (a.count == 0 || b.count == 0) return a.count == 0 ? b : a;
    return {model.join(total, a.agg, b.agg), a.norm + b.norm, a.count + b.count};
}

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
            const Number one = kind % 8 == 3 ? 1 : -1, values[] = {0, -0.0L, one, random.chance(10) ? none : one};
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
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const size_t n = seed % 5 == 0 ? random.below(4) : random.between(1, 2500);
        const auto elements = random_elements(random, type, n, [=](Random& r) { return draw(r, type, seed); });
        for (const size_t parts : {1, 2, 5}) {
            SCOPED_TRACE(std::to_string(parts) + " parts");
            const auto at = cuts(random, n, parts);
            Parts joined(member, {[&](size_t p) {
                             return source_of(elements.cut(at[p], at[p + 1]), {random_tile_sizes(random)});
                         }},
                         parts);
            joined.join([&](size_t p) { return at[p] == at[p + 1]; });
            State expected;
            for (size_t p = 0; p < parts; ++p)
                expected = merge(model, total, expected, fold(model, total, elements.cut(at[p], at[p + 1])));
            // A first part without values keeps what is merged into it for further merges, and delivers nothing.
            const auto result = delivered<t_number>(joined.part(0));
            if (at[1] == 0)
                EXPECT_TRUE(result.empty());
            else
                check_items<t_number>(result, {{model.value(total, expected)}});
            const uint64_t* context = joined.part(0)->context;
            EXPECT_EQ(context[2], expected.count);
            if (expected.count == 0) continue;
            check_items<t_number>({{number_at(total, context)}, {number_at(QVO_DD_DOUBLE, context + 1)}},
                                  {{number_at(total, bytes_of(total, expected.agg).data())}, {expected.norm}});
        }
        if (testing::Test::HasFailure()) return;
    }
}

#define CHECK(op, type, total)                                                                         \
    check_member(MEMBER(qvo_seq_agg_##op##_##type), qvo_seq_agg_##op##_##type##_merge, t_##type::code, \
                 t_##total::code, model_##op);

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
    for (unsigned seed = 1; seed < 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const auto elements = random_elements(random, type, seed % 5 == 0 ? seed / 5 - 1 : random.between(4, 5000),
                                              [=](Random& r) { return draw(r, type, seed); });
        member.operands = {operand(elements)};
        if (seed == 1) check_protocol(member);
        Items<t_number> expected;
        for (size_t i = 0; i < elements.items.size(); ++i) {
            const Number v = number_at(result, bytes_of(result, elements.number(i)).data());
            if (i == 0)
                expected = {{v}, {v}};
            else if (v < expected[0].value)
                expected[0].value = v;
            else if (v > expected[1].value)
                expected[1].value = v;
        }
        const auto source = source_of(elements, {random_tile_sizes(random)});
        check_items<t_number>(drained<t_number>(construct, source->get()), expected);
    }
}

#define TEST_MIN_MAX(type)                                            \
    check_min_max(MEMBER(qvo_seq_agg_min_max_##type), t_##type::code, \
                  t_##type::code == QVO_DD_DATETIME ? t_double::code : t_##type::code);

TEST(Whole, MinMaxFollowsTheModelWhichForDatetimesIsOfDoubles_deliberate) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MIN_MAX) }

/// The result of a member over the given elements.
template <class R, class T> typename R::value of(ConstructUnary construct, Items<T> items) {
    return value_of<R>(construct, Source(T{}, items).get());
}

TEST(Whole, RunsWeightTheirElement) {
    const Items<t_int4> five{{3, 5}};
    EXPECT_EQ(of<t_int8>(qvo_seq_agg_sum_int4, five), 15);
    EXPECT_EQ(of<t_double>(qvo_seq_agg_avg_int4, five), 3.0);
    EXPECT_EQ(of<t_int8>(qvo_seq_agg_prd_int4, five), 243);
    EXPECT_EQ(of<t_double>(qvo_seq_agg_var_int4, five), 0.0);
}

TEST(Whole, SampleFormsDivideByOneLessThroughout_deliberate) {
    EXPECT_EQ(of<t_double>(qvo_seq_agg_var_samp_int4, Items<t_int4>{{3, 5}}), -2.8125);
    EXPECT_TRUE(std::isnan(of<t_double>(qvo_seq_agg_dev_samp_int4, Items<t_int4>{{3, 5}})));
    EXPECT_EQ(of<t_double>(qvo_seq_agg_var_samp_int4, Items<t_int4>{{1}, {3}}), -6.0);
    EXPECT_EQ(of<t_double>(qvo_seq_agg_var_samp_double, Items<t_double>{{7}}), 0.0);
    EXPECT_EQ(of<t_double>(qvo_seq_agg_dev_samp_double, Items<t_double>{{7}}), 0.0);
}

TEST(Whole, ValueTimesRunWrapsIn32Bits_deliberate) {
    EXPECT_EQ(of<t_int8>(qvo_seq_agg_sum_int4, Items<t_int4>{{10000000, 255}}), -1744967296);
    EXPECT_EQ(of<t_double>(qvo_seq_agg_avg_int4, Items<t_int4>{{10000000, 255}}), -1744967296 / 255.0);
    EXPECT_EQ(of<t_uint8>(qvo_seq_agg_sum_uint4, Items<t_uint4>{{4000000000, 2}}), 3705032704U);
}

TEST(Whole, ExtremesKeepAFirstNaNAndSkipOthers) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(std::isnan(of<t_float>(qvo_seq_agg_max_float, Items<t_float>{{nan}, {1}, {2}})));
    EXPECT_EQ(of<t_float>(qvo_seq_agg_max_float, Items<t_float>{{1}, {nan}, {2}}), 2.0F);
    EXPECT_EQ(of<t_float>(qvo_seq_agg_min_float, Items<t_float>{{1}, {nan}, {2}}), 1.0F);
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
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
    EXPECT_EQ(it->prepare(it.get()), QVO_S_CURSOR_END);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(it->tile.u.arr_int8[0], 3);
    EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
}

TEST(Whole, AFailureDropsTheSumsAndIsRetriedUnlessPrepared) {
    for (const bool prepared : {false, true}) {
        Source source(t_int4{}, {{1}, {2}, {4}}, {{1}, 1, 4711});
        Record it;
        ASSERT_EQ(qvo_seq_agg_sum_int4(it.get(), source.get()), QVO_S_OK);
        const qvo_seq_iterator_t before = it.it;
        EXPECT_EQ(prepared ? it->prepare(it.get()) : it->next(it.get()), 4711);
        EXPECT_EQ(it->prepared, prepared);
        it->prepared = before.prepared;
        EXPECT_EQ(std::memcmp(&before, it.get(), sizeof before), 0) << "nothing is stored";
        it->prepared = prepared;
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
