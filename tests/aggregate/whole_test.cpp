// Aggregates of one sequence: every member against a naive fold, in one piece and in parts.
#include "aggregate/parts.h"

namespace test {
namespace {

__extension__ typedef __int128 wide_int;

/// value x run as the library's users may rely on it.
template <class V> auto weighted(V v, unsigned run) {
    if constexpr (std::is_floating_point_v<V>)
        return v * static_cast<V>(run);
    else if constexpr (sizeof(V) == 8)
        return static_cast<V>(static_cast<wide_int>(v) * run);
    else if constexpr (std::is_same_v<V, qvo_uint4>)
        return static_cast<uint32_t>(static_cast<wide_int>(v) * run);
    else
        return static_cast<int32_t>(static_cast<wide_int>(v) * run);
}

template <class A> A to_accumulator(double v) {
    if constexpr (std::is_floating_point_v<A>) {
        return v;
    } else {
        const double limit = 9223372036854775808.0;
        const auto to_signed = [=](double x) { return x >= -limit && x < limit ? static_cast<int64_t>(x) : INT64_MIN; };
        if (std::is_unsigned_v<A> && v >= limit)
            return static_cast<A>(static_cast<uint64_t>(to_signed(v - limit)) | 1ULL << 63);
        return static_cast<A>(to_signed(v));
    }
}

template <class A> A sum_of(A a, A b) {
    if constexpr (std::is_floating_point_v<A>)
        return a + b;
    else
        return static_cast<A>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

template <class A> struct Result {
    A agg;
    double norm;
    qvo_seq_count_t count;
};

/// What a member does: the accumulator of a single element, and of two stretches; whether it sums up squares; and the
/// value delivered.
template <class V, class A> struct Model {
    std::function<A(V, unsigned)> one;
    std::function<A(A, V, unsigned)> more;
    std::function<A(A, A)> join;
    bool squares;
    std::function<A(Result<A>)> value;

    template <class T> Result<A> fold(const Items<T>& items, size_t from, size_t to) const {
        Result<A> r{};
        for (size_t i = from; i < to; ++i) {
            const auto [v, run] = items[i];
            const double x = static_cast<double>(v);
            r.agg = i == from ? one(v, run) : more(r.agg, v, run);
            if (squares) r.norm = i == from ? run * x * x : r.norm + run * x * x;
            r.count += run;
        }
        return r;
    }
    Result<A> merge(Result<A> a, Result<A> b) const {
        if (a.count == 0 || b.count == 0) return a.count == 0 ? b : a;
        return {join(a.agg, b.agg), a.norm + b.norm, a.count + b.count};
    }
};

template <class A> A as_is(Result<A> r) { return r.agg; }

template <class V> Model<V, V> extreme(bool (*better)(V, V)) {
    const auto pick = [=](V a, V b) { return better(b, a) ? b : a; };
    return {[](V v, unsigned) { return v; }, [=](V a, V v, unsigned) { return pick(a, v); }, pick, false, as_is<V>};
}

template <class V, class A> Model<V, A> sum(bool squares, std::function<A(Result<A>)> value) {
    return {[](V v, unsigned run) { return static_cast<A>(weighted(v, run)); },
            [](A a, V v, unsigned run) { return sum_of(a, static_cast<A>(weighted(v, run))); }, sum_of<A>, squares,
            value};
}

template <class V, class A> Model<V, A> product() {
    const auto power = [](V v, unsigned run) { return std::pow(static_cast<double>(v), run); };
    const auto times = [](A a, double b) { return to_accumulator<A>(static_cast<double>(a) * b); };
    return {[=](V v, unsigned run) { return to_accumulator<A>(power(v, run)); },
            [=](A a, V v, unsigned run) { return times(a, power(v, run)); },
            [=](A a, A b) { return times(a, static_cast<double>(b)); }, false, as_is<A>};
}

template <class A> A average(Result<A> r) { return r.agg / static_cast<A>(r.count); }

double variance(double s, double q, double n) { return (q - s * s / n) / n; }
double var(Result<double> r) { return variance(r.agg, r.norm, static_cast<double>(r.count)); }
double var_samp(Result<double> r) {
    return r.count == 1 ? 0 : variance(r.agg, r.norm, static_cast<double>(r.count) - 1);
}
double dev(Result<double> r) { return std::sqrt(var(r)); }
double dev_samp(Result<double> r) { return std::sqrt(var_samp(r)); }

/// Values of several kinds: small ones, anything, and those around which sums round or signs matter.
template <class V> V draw(Random& random, unsigned kind) {
    switch (kind % 4) {
        case 0:
            return random.value<V>();
        case 1:
            return static_cast<V>(random.between(0, 200)) - static_cast<V>(100);
        case 2:
            if constexpr (std::is_floating_point_v<V>) return static_cast<V>(random.below(1000000)) / V{7};
            return static_cast<V>(random.between((1 << 21) - 3000, (1 << 21) - random.below(2)));
        default:
            if constexpr (std::is_floating_point_v<V>) {
                const V one = kind % 8 == 3 ? V{1} : V{-1};
                const V values[] = {V{0}, -V{0}, one, random.chance(10) ? std::numeric_limits<V>::quiet_NaN() : one};
                return values[random.below(4)];
            }
            return static_cast<V>(random.below(2));
    }
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);

template <class T> Member member_of(const char* name, Constructor construct, qvo_seq_iterator_next_t next) {
    Member member;
    member.name = name;
    member.operands = {operand<T>(Items<T>{{1, 2}, {5}, {2, 255}, {5}, {3}})};
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0]); };
    member.next = next;
    member.reset = qvo_seq_reset_unary_iterator;
    member.stops_on_empty = {false};
    return member;
}

template <class T, class R, class Context>
void check_member(const char* name, Constructor construct, qvo_seq_iterator_next_t next, qvo_seq_iterator_merge_t merge,
                  const Model<typename T::value, decltype(Context::agg)>& model) {
    SCOPED_TRACE(name);
    using V = typename T::value;
    Member member = member_of<T>(name, construct, next);
    member.type = R::code;
    member.width = R::width;
    member.prepare = qvo_seq_prepare_aggregate;
    member.merge = merge;
    member.aggregate = true;
    check_protocol(member);
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const size_t n = seed % 5 == 0 ? random.below(4) : random.between(1, 5000);
        const auto items = random_items<T>(random, n, [&](Random& r) { return draw<V>(r, seed); });
        for (const size_t parts : {1, 2, 5}) {
            SCOPED_TRACE(std::to_string(parts) + " parts");
            const auto cut = cuts(random, n, parts);
            Parts joined(member, {[&](size_t p) {
                             const auto from = items.begin();
                             const Items<T> part(from + static_cast<ptrdiff_t>(cut[p]),
                                                 from + static_cast<ptrdiff_t>(cut[p + 1]));
                             return std::make_unique<Source>(T{}, part, Script{random_tile_sizes(random)});
                         }},
                         parts);
            joined.join([&](size_t p) { return cut[p] == cut[p + 1]; });
            auto expected = model.fold(items, cut[0], cut[1]);
            for (size_t p = 1; p < parts; ++p) expected = model.merge(expected, model.fold(items, cut[p], cut[p + 1]));
            // A first part without values keeps what is merged into it for further merges, and delivers nothing.
            check_items<R>(delivered<R>(joined.part(0)), cut[1] == 0 ? Items<R>{} : Items<R>{{model.value(expected)}});
            Context context;
            std::memcpy(&context, joined.part(0)->context, sizeof context);
            EXPECT_EQ(context.count, expected.count);
            if (expected.count != 0) {
                EXPECT_TRUE(same_value(context.agg, expected.agg))
                    << to_text(context.agg) << ", expected " << to_text(expected.agg);
                EXPECT_TRUE(same_value(context.norm, expected.norm))
                    << to_text(context.norm) << ", expected " << to_text(expected.norm);
            }
        }
        if (testing::Test::HasFailure()) return;
    }
}

#define CHECK(stem, T, R, ...) \
    check_member<T, R, stem##_context_t>(#stem, stem, stem##_next, stem##_merge, __VA_ARGS__);

#define TEST_EXTREMES_AND_SUMS(type, total, avg)                                                                 \
    CHECK(qvo_seq_agg_max_##type, t_##type, t_##type, extreme<qvo_##type>([](auto a, auto b) { return a > b; })) \
    CHECK(qvo_seq_agg_min_##type, t_##type, t_##type, extreme<qvo_##type>([](auto a, auto b) { return a < b; })) \
    CHECK(qvo_seq_agg_sum_##type, t_##type, t_##total, sum<qvo_##type, qvo_##total>(false, as_is<qvo_##total>))  \
    CHECK(qvo_seq_agg_prd_##type, t_##type, t_##total, product<qvo_##type, qvo_##total>())                       \
    CHECK(qvo_seq_agg_avg_##type, t_##type, t_##avg, sum<qvo_##type, qvo_##avg>(false, average<qvo_##avg>))

#define TEST_SPREAD(type)                                                                           \
    CHECK(qvo_seq_agg_var_##type, t_##type, t_double, sum<qvo_##type, double>(true, var))           \
    CHECK(qvo_seq_agg_var_samp_##type, t_##type, t_double, sum<qvo_##type, double>(true, var_samp)) \
    CHECK(qvo_seq_agg_dev_##type, t_##type, t_double, sum<qvo_##type, double>(true, dev))           \
    CHECK(qvo_seq_agg_dev_samp_##type, t_##type, t_double, sum<qvo_##type, double>(true, dev_samp))

TEST(Whole, ExtremesAndSumsFollowTheModel){QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_EXTREMES_AND_SUMS)}

TEST(Whole, SpreadFollowsTheModel) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_SPREAD)
}

template <class T, class R> void check_min_max(const char* name, Constructor construct, qvo_seq_iterator_next_t next) {
    SCOPED_TRACE(name);
    using W = typename R::value;
    Member member = member_of<T>(name, construct, next);
    member.type = R::code;
    member.width = R::width;
    check_protocol(member);
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const auto items = random_items<T>(random, seed % 5 == 0 ? seed / 5 : random.between(1, 5000),
                                           [&](Random& r) { return draw<typename T::value>(r, seed); });
        Source source(T{}, items, {random_tile_sizes(random)});
        Record it;
        ASSERT_EQ(construct(it.get(), source.get()), QVO_S_OK);
        if (items.empty()) {
            EXPECT_EQ(next(it.get()), QVO_S_CURSOR_END);
            continue;
        }
        W least = static_cast<W>(items[0].value), greatest = least;
        for (const auto& item : items) {
            const W v = static_cast<W>(item.value);
            if (v < least)
                least = v;
            else if (v > greatest)
                greatest = v;
        }
        check_items<R>(drain<R>(it.get()), {{least}, {greatest}});
        EXPECT_EQ(it->next_seq_no, 2U);
    }
}

#define TEST_MIN_MAX(type) check_min_max<t_##type, t_##type>(MEMBER(qvo_seq_agg_min_max_##type));

TEST(Whole, MinMaxFollowsTheModel){TEST_MIN_MAX(int1) TEST_MIN_MAX(int2) TEST_MIN_MAX(int4) TEST_MIN_MAX(int8)
                                       TEST_MIN_MAX(uint1) TEST_MIN_MAX(uint2) TEST_MIN_MAX(uint4) TEST_MIN_MAX(uint8)
                                           TEST_MIN_MAX(float) TEST_MIN_MAX(double)}

TEST(Whole, MinMaxOfDatetimesIsOfDoubles_deliberate) {
    check_min_max<t_datetime, t_double>(MEMBER(qvo_seq_agg_min_max_datetime));
}

/// The result of a member over the given elements.
template <class R, class T> typename R::value of(Constructor construct, Items<T> items) {
    Source source(T{}, items);
    Record it;
    EXPECT_EQ(construct(it.get(), source.get()), QVO_S_OK);
    const Items<R> result = delivered<R>(it.get());
    EXPECT_EQ(result.size(), 1U);
    return result.empty() ? typename R::value{} : result[0].value;
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

/// Delivers one and the same full tile of uint4, again and again.
struct Repeater {
    qvo_seq_iterator_t it{};
    explicit Repeater(qvo_uint4 value, uint64_t tiles) {
        it.elem_type = QVO_DD_UINT4;
        it.elem_size = 4;
        it.context[0] = tiles;
        it.next = [](qvo_seq_iterator_h self) -> QVO_RET {
            return self->context[0]-- == 0 ? QVO_S_CURSOR_END : QVO_S_OK;
        };
        it.tile_size = 819;
        for (size_t i = 0; i < it.tile_size; ++i) {
            it.tile.u.arr_uint4[i] = value;
            it.tile.u.arr_uint1[4095 - i] = 1;
        }
    }
};

TEST(Whole, SumsOfIntegersInDoubleRoundAtEachStep) {
    const qvo_uint4 value = 4294967291U;
    const uint64_t tiles = 5200;
    double sum = 0;
    for (uint64_t i = 0; i < tiles * 819; ++i) sum += value;
    ASSERT_NE(sum, static_cast<double>(tiles * 819 * value)) << "large enough to round";
    Repeater values(value, tiles);
    Record it;
    ASSERT_EQ(qvo_seq_agg_avg_uint4(it.get(), &values.it), QVO_S_OK);
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(it->tile.u.arr_double[0], sum / static_cast<double>(tiles * 819));
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

}  // namespace
}  // namespace test
