// Aggregates by hash of a key: every member against a model, the order of delivery, merging, memory.
#include "aggregate/hash_model.h"

namespace test {
namespace {

using Construct = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h,
                              qvo_size_t);

struct Operations {
    const char* name;
    Construct construct;
    qvo_seq_iterator_next_t next_agg, next_grp;
    qvo_seq_iterator_prepare_t initialize;
    qvo_seq_iterator_merge_t merge;
};
#define HASH_MEMBER(op, member)                                                                         \
    Operations {                                                                                        \
#op "_" #member, qvo_seq_hash_agg_##op##_##member, qvo_seq_hash_agg_##op##_##member##_next_agg, \
            qvo_seq_hash_agg_##op##_##member##_next_grp, qvo_seq_hash_initialize_##op##_##member,       \
            qvo_seq_hash_merge_##op##_##member                                                          \
    }

// The model of a member: the result of a group from its values and runs, in order. Each part of a merged group is
// aggregated by itself.
template <class V> struct Fold {
    V v;
    unsigned n;
    size_t part;
};
template <class V> using Group = std::vector<Fold<V>>;

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
template <class A, class V, class First, class Join> A in_parts(const Group<V>& g, First first, Join join) {
    std::vector<A> parts;
    for (size_t i = 0; i < g.size(); ++i)
        if (i == 0 || g[i].part != g[i - 1].part)
            parts.push_back(first(g[i]));
        else
            parts.back() = join(parts.back(), first(g[i]));
    A all = parts[0];
    for (size_t p = 1; p < parts.size(); ++p) all = join(all, parts[p]);
    return all;
}
template <class V> V model_max(const Group<V>& g) {
    return in_parts<V>(
        g, [](auto f) { return f.v; }, [](V a, V b) { return b > a ? b : a; });
}
template <class V> V model_min(const Group<V>& g) {
    return in_parts<V>(
        g, [](auto f) { return f.v; }, [](V a, V b) { return b < a ? b : a; });
}
template <class S, class V> S model_sum(const Group<V>& g) {
    if constexpr (std::is_floating_point_v<S>)
        return in_parts<S>(
            g, [](auto f) { return product_as_double(f.v, f.n); }, [](S a, S b) { return a + b; });
    else
        return static_cast<S>(in_parts<uint64_t>(
            g, [](auto f) { return product(f.v, f.n); }, [](uint64_t a, uint64_t b) { return a + b; }));
}
template <class V> uint64_t model_count(const Group<V>& g) {
    uint64_t count = 0;
    for (const auto& f : g) count += f.n;
    return count;
}
template <class V> double model_avg(const Group<V>& g) {
    return model_sum<double>(g) / static_cast<double>(model_count(g));
}
template <class V> uint64_t model_time_avg(const Group<V>& g) { return model_sum<uint64_t>(g) / model_count(g); }
template <class V> uint32_t model_distinct(const Group<V>& g) {
    qvo_uint1 registers[128] = {};
    for (const auto& f : g) calculate_hash_functions(&f.v, sizeof f.v, registers);
    return approximate_distinct_count(registers);
}

/// A step of a part: its value by itself.
template <class V> struct Input {
    std::string key;
    Fold<V> fold;
};
template <class K, class T>
void add_part(std::vector<Input<typename T::value>>& inputs, const Items<K>& keys, const Items<T>& values, size_t width,
              size_t part) {
    for (const Step& s : steps_of(keys, values, width)) inputs.push_back({s.key, {values[s.value].value, s.n, part}});
}

/// Expected keys and aggregates in the order of delivery.
template <class R> struct Expected {
    std::vector<std::string> keys;
    Items<R> aggregates;

    template <class V, class Model> Expected(const std::vector<Input<V>>& inputs, uint64_t wanted, Model model) {
        std::map<std::string, Group<V>> groups;
        for (const auto& input : inputs) groups[input.key].push_back(input.fold);
        for (const auto& [key, group] : groups) keys.push_back(key);
        sort_as_delivered(keys, chains_after(wanted, groups.size()));
        for (const auto& key : keys) aggregates.push_back({static_cast<typename R::value>(model(groups[key])), 1});
    }
};

void check_fields(const Operations& ops, const HashResults& r, const Source& keys, uint8_t type, size_t width) {
    EXPECT_EQ(r.agg.it.next, ops.next_agg);
    EXPECT_EQ(r.grp.it.next, ops.next_grp);
    EXPECT_EQ(r.agg.it.prepare, ops.initialize);
    EXPECT_EQ(r.agg.it.merge, ops.merge);
    EXPECT_TRUE(r.grp.it.prepare == nullptr && r.grp.it.merge == nullptr);
    EXPECT_TRUE(r.agg.it.reset == qvo_seq_hash_agg_reset && r.grp.it.reset == qvo_seq_hash_agg_reset);
    EXPECT_TRUE(r.agg.it.elem_type == type && r.agg.it.elem_size == width);
    const qvo_seq_iterator_h group_by = const_cast<Source&>(keys).get();
    EXPECT_TRUE(r.grp.it.elem_type == group_by->elem_type && r.grp.it.elem_size == group_by->elem_size);
    for (const Record* record : {&r.agg, &r.grp}) EXPECT_EQ(record->it.opd[1], group_by);
    EXPECT_EQ(keys.n_next(), 0U);
}

template <class T> Items<T> cut(const Items<T>& items, size_t from, size_t to) {
    to = std::min(to, items.size());
    return Items<T>(items.begin() + static_cast<ptrdiff_t>(std::min(from, to)),
                    items.begin() + static_cast<ptrdiff_t>(to));
}

/// One member over keys of one type: whole and read again, with the results pulled in any order; in parts, one of them
/// empty, that start with tables of any size.
template <class K, class V, class R, class Model>
void check_member(const Operations& ops, Random& random, const Items<K>& keys, size_t width, Model model) {
    SCOPED_TRACE(ops.name);
    using Value = typename V::value;
    const auto values = random_items<V>(random, keys.size() + random.below(3));
    for (const size_t n_parts : {1, 2, 5}) {
        std::vector<std::unique_ptr<Source>> sources;
        std::vector<HashResults> parts(n_parts);
        std::vector<Input<Value>> inputs;
        uint64_t wanted = 0;
        for (size_t p = 0; p < n_parts; ++p) {
            const size_t from = keys.size() * p / n_parts, to = p == 1 ? from : keys.size() * (p + 1) / n_parts;
            const auto part_keys = cut(keys, from, to);
            const auto part_values = cut(values, from, n_parts == 1 ? values.size() : to);
            add_part(inputs, part_keys, part_values, width, p);
            sources.push_back(std::make_unique<Source>(K{}, part_keys, Script{random_tile_sizes(random)}, width));
            Source& key_source = *sources.back();
            sources.push_back(std::make_unique<Source>(V{}, part_values, Script{random_tile_sizes(random)}));
            HashResults& r = parts[p];
            const uint64_t n_groups = random.chance(30) ? 0 : random.below(60);
            if (p == 0) wanted = n_groups;
            ASSERT_EQ(ops.construct(r.agg.get(), r.grp.get(), sources.back()->get(), key_source.get(), n_groups), 0);
            r.constructed = true;
            check_fields(ops, r, key_source, R::code, R::width);
            if (random.chance(50)) { ASSERT_EQ(r.agg->prepare(r.agg.get()), QVO_S_OK); }
            if (p != 0) { ASSERT_EQ(parts[0].agg->merge(parts[0].agg.get(), r.agg.get()), QVO_S_OK); }
        }
        const Expected<R> expected(inputs, wanted, model);
        HashResults& r = parts[0];
        if (random.chance(50)) {
            EXPECT_EQ(r.grp->next(r.grp.get()), QVO_S_OK);
            EXPECT_EQ(r.grp->reset(r.grp.get()), QVO_S_OK);
        }
        for (int round = 0; round < 2; ++round) {
            check_items<R>(drain<R>(r.agg.get()), expected.aggregates);
            EXPECT_TRUE(drain_keys(r.grp.get()) == expected.keys);
            EXPECT_EQ(r.agg->reset(r.agg.get()), QVO_S_OK);
            EXPECT_EQ(r.grp->reset(r.grp.get()), QVO_S_OK);
        }
        if (testing::Test::HasFailure()) return;
    }
}

template <class T>
void check_type(const Operations& max, const Operations& min, const Operations& sum, const Operations& avg) {
    using V = typename T::value;
    constexpr bool stamp = T::code == QVO_DD_DATETIME;
    using S = std::conditional_t<
        std::is_floating_point_v<V>, t_double,
        std::conditional_t<stamp, t_datetime, std::conditional_t<std::is_signed_v<V>, t_int8, t_uint8>>>;
    for (unsigned seed = 0; seed < 3; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const unsigned n = seed == 0 ? 7 : random.between(500, 5000), distinct = seed == 1 ? 30 : 3000;
        const auto keys =
            random_items<t_int4>(random, n, [=](Random& r) { return static_cast<int>(r.below(distinct)); });
        check_member<t_int4, T, T>(max, random, keys, 4, model_max<V>);
        check_member<t_int4, T, T>(min, random, keys, 4, model_min<V>);
        check_member<t_int4, T, S>(sum, random, keys, 4, model_sum<typename S::value, V>);
        if constexpr (stamp)
            check_member<t_int4, T, T>(avg, random, keys, 4, model_time_avg<V>);
        else
            check_member<t_int4, T, t_double>(avg, random, keys, 4, model_avg<V>);
    }
}

#define TEST_MEMBER(type)                                                                        \
    check_type<t_##type>(HASH_MEMBER(max, type), HASH_MEMBER(min, type), HASH_MEMBER(sum, type), \
                         HASH_MEMBER(avg, type));

TEST(Hash, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

const Operations count_operations = HASH_MEMBER(count, uint8);
const Operations distinct_operations{"approxdc",
                                     qvo_seq_hash_agg_approxdc,
                                     qvo_seq_hash_agg_approxdc_next_agg,
                                     qvo_seq_hash_agg_approxdc_next_grp,
                                     qvo_seq_hash_initialize_approxdc,
                                     qvo_seq_hash_merge_approxdc};

template <class K> void check_keys(Random& random, const Items<K>& keys, size_t width) {
    check_member<K, t_uint8, t_uint8>(count_operations, random, keys, width, model_count<uint64_t>);
    check_member<K, t_int8, t_uint4>(distinct_operations, random, keys, width, model_distinct<int64_t>);
}
template <class K> void check_key_type() {
    Random random(5);
    check_keys(random, random_items<K>(random, 3000), K::width);
}

// Negative keys and bits that are no numbers as well: keys are bytes.
#define TEST_MEMBER_KEY(type) check_key_type<t_##type>();

TEST(Hash, KeysOfAllTypesAndWidths) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER_KEY)
    for (const size_t width : {1, 3, 7, 8, 9, 33, 700}) {
        Random random(static_cast<unsigned>(width));
        check_keys(random, random_items<t_char>(random, 2500, [=](Random& r) { return random_key(r, 900, width); }),
                   width);
    }
}

HashResults& make(HashResults& r, Construct construct, Source& values, Source& keys, uint64_t n_groups = 0) {
    EXPECT_EQ(construct(r.agg.get(), r.grp.get(), values.get(), keys.get(), n_groups), QVO_S_OK);
    r.constructed = true;
    return r;
}

TEST(Hash, WorkedCases) {
    Source keys(t_int4{}, {{3}, {1}, {3}, {2}}), values(t_int4{}, {{5}, {6}, {7}, {8}});
    HashResults max;
    make(max, qvo_seq_hash_agg_max_int4, values, keys);
    std::map<int, int> groups;
    const auto aggregates = drain<t_int4>(max.agg.get()), delivered = drain<t_int4>(max.grp.get());
    for (size_t i = 0; i < delivered.size(); ++i) groups[delivered[i].value] = aggregates[i].value;
    EXPECT_EQ(groups, (std::map<int, int>{{1, 6}, {2, 8}, {3, 7}}));

    Source run(t_int1{}, {{1, 4}, {1, 3}});
    HashResults count;
    ASSERT_EQ(qvo_seq_hash_agg_count(count.agg.get(), count.grp.get(), run.get(), 0), QVO_S_OK);
    count.constructed = true;
    EXPECT_EQ(count.agg->context[0], 1361U);
    EXPECT_EQ(count.agg->opd[0], nullptr);
    check_items<t_uint8>(drain<t_uint8>(count.agg.get()), {{7}});
    check_items<t_int1>(drain<t_int1>(count.grp.get()), {{1}});
}

TEST(Hash, AveragesTakeNegativeIntegersAsUnsigned_deliberate) {
    Source keys(t_int4{}, {{3}}), values(t_int4{}, {{-1}});
    HashResults avg;
    make(avg, qvo_seq_hash_agg_avg_int4, values, keys);
    check_items<t_double>(drain<t_double>(avg.agg.get()), {{18446744073709551616.0}});
}

TEST(Hash, Refusals) {
    const BindingCheck check;
    Source keys(t_int4{}, {{3}}), values(t_int4{}, {{-1}});
    HashResults r;
    const auto construct = [&](Construct c) { return c(r.agg.get(), r.grp.get(), values.get(), keys.get(), 0); };
    const qvo_seq_iterator_t before = r.agg.it;
    EXPECT_EQ(construct(qvo_seq_hash_agg_sum_uint4), QVO_E_ILLEGAL_TYPE);
    EXPECT_TRUE(values->bounded == 0 && keys->bounded == 0);
    keys->bounded = 1;
    EXPECT_EQ(construct(qvo_seq_hash_agg_sum_int4), QVO_E_SEQ_BOUNDED);
    EXPECT_EQ(values->bounded, 1) << "input is marked before group_by is looked at: deliberate";
    keys->bounded = 0;
    EXPECT_EQ(construct(qvo_seq_hash_agg_sum_int4), QVO_E_SEQ_BOUNDED);
    EXPECT_EQ(keys->bounded, 0);
    EXPECT_EQ(std::memcmp(&before, &r.agg.it, sizeof before), 0);
    EXPECT_FALSE(qvo_seq_is_hash_aggreate(r.agg.get()));
    values->bounded = 0;
    ASSERT_EQ(construct(qvo_seq_hash_agg_sum_int4), QVO_S_OK);
    EXPECT_TRUE(qvo_seq_is_hash_aggreate(r.agg.get()) && qvo_seq_is_hash_aggreate(r.grp.get()));
    EXPECT_EQ(qvo_seq_free_hash(r.agg.get()), 1);
    EXPECT_EQ(qvo_seq_free_hash(r.grp.get()), 0);
    const Stop stop = catch_stop([&] { qvo_seq_release_hash(r.grp.get()); }, true);
    EXPECT_TRUE(stop.stopped && stop.traces == 1);
}

TEST(Hash, OperandsThatStop) {
    for (const size_t which : {0, 1}) {
        Script error, empty;
        error.stop_at = empty.stop_at = 1000;
        error.stop_code = 4711;
        const Items<t_int4> items(3000, {1, 2});
        Source failing_keys(t_int4{}, items, which == 0 ? error : Script{}),
            failing(t_int4{}, items, which ? error : Script{});
        HashResults r, stopped;
        make(r, qvo_seq_hash_agg_sum_int4, failing, failing_keys);
        EXPECT_EQ(r.grp->next(r.grp.get()), 4711);
        EXPECT_EQ(r.agg->next(r.agg.get()), 4711);
        Source empty_keys(t_int4{}, items, which == 0 ? empty : Script{}),
            empty_values(t_int4{}, items, which ? empty : Script{});
        make(stopped, qvo_seq_hash_agg_sum_int4, empty_values, empty_keys);
        EXPECT_TRUE(catch_stop([&] { stopped.agg->next(stopped.agg.get()); }).stopped);
    }
    Source no_keys(t_int4{}, {}), values(t_int4{}, {{1}});
    HashResults empty;
    make(empty, qvo_seq_hash_agg_sum_int4, values, no_keys);
    EXPECT_EQ(empty.agg->next(empty.agg.get()), QVO_S_CURSOR_END);
    EXPECT_EQ(empty.grp->next(empty.grp.get()), QVO_S_CURSOR_END);
}

/// Fails every allocation in turn, once and for ever, while `act` runs to its end; it returns the code and releases
/// what it has. Where the first try fails once, the second must succeed.
template <class Act> void fail_each(Act act) {
    for (const bool forever : {false, true})
        for (size_t n = 0;; ++n) {
            Allocator allocator;
            allocator.fail_at(n, forever);
            const QVO_RET rc = act(allocator);
            if (rc == QVO_S_OK) {
                EXPECT_GT(n, 3U);
                break;
            }
            ASSERT_EQ(rc, QVO_E_NOMEM) << "allocation " << n;
        }
}

TEST(Hash, OutOfMemory) {
    Random random(3);
    const auto long_keys = random_items<t_char>(random, 6000, [](Random& r) { return random_key(r, 2500, 20); });
    const auto values = random_items<t_int4>(random, 6000);
    std::vector<Input<int32_t>> inputs;
    add_part(inputs, long_keys, values, 20, 0);
    const Expected<t_uint4> expected(inputs, 100, model_distinct<int32_t>);
    fail_each([&](Allocator& allocator) {
        Source key_source(t_char{}, long_keys, {}, 20), value_source(t_int4{}, values);
        HashResults r;
        QVO_RET rc = qvo_seq_hash_agg_approxdc(r.agg.get(), r.grp.get(), value_source.get(), key_source.get(), 100);
        if (rc != QVO_S_OK) return rc;
        r.constructed = true;
        rc = r.agg->next(r.agg.get());
        if (rc != QVO_S_OK) {
            // The table of the next build has all, if the operands start anew.
            allocator.never_fail();
            key_source->reset(key_source.get());
            value_source->reset(value_source.get());
        } else {
            EXPECT_EQ(r.agg->reset(r.agg.get()), QVO_S_OK);
        }
        EXPECT_TRUE(drain_keys(r.grp.get()) == expected.keys);
        check_items<t_uint4>(drain<t_uint4>(r.agg.get()), expected.aggregates);
        return rc;
    });
}

TEST(Hash, OutOfMemoryWhileMerging) {
    Random random(4);
    const auto draw = [](Random& r) { return static_cast<int>(r.below(3000)); };
    const Items<t_int4> keys[2] = {random_items<t_int4>(random, 100, draw), random_items<t_int4>(random, 5000, draw)};
    std::vector<Input<int32_t>> inputs;
    for (size_t p = 0; p < 2; ++p) add_part(inputs, keys[p], keys[p], 4, p);
    for (size_t n = 0;; ++n) {
        Allocator allocator;
        Source k0(t_int4{}, keys[0]), v0(t_int4{}, keys[0]), k1(t_int4{}, keys[1]), v1(t_int4{}, keys[1]);
        HashResults a, b;
        make(a, qvo_seq_hash_agg_sum_int4, v0, k0, 17);
        make(b, qvo_seq_hash_agg_sum_int4, v1, k1, 17);
        ASSERT_EQ(a.agg->prepare(a.agg.get()), QVO_S_OK);
        ASSERT_EQ(b.agg->prepare(b.agg.get()), QVO_S_OK);
        allocator.fail_at(n, true);
        const QVO_RET rc = a.agg->merge(a.agg.get(), b.agg.get());
        // Nothing is lost: the table only has fewer chains than it would.
        size_t groups = 0;
        int64_t sum = 0, expected_sum = 0;
        for (const auto& item : drain<t_int8>(a.agg.get())) sum += item.value, ++groups;
        for (const auto& input : inputs) expected_sum += int64_t{input.fold.v} * input.fold.n;
        EXPECT_EQ(sum, expected_sum);
        EXPECT_EQ(groups, Expected<t_int8>(inputs, 17, model_sum<int64_t, int32_t>).keys.size());
        allocator.never_fail();
        EXPECT_EQ(b.agg->next(b.agg.get()), QVO_S_CURSOR_END) << "the other side has nothing left";
        if (rc == QVO_S_OK) {
            EXPECT_GT(n, 2U);
            break;
        }
        ASSERT_EQ(rc, QVO_E_NOMEM);
    }
}

Member hash_member(bool chained, std::vector<MakeSource> operands) {
    Member member;
    member.name = chained ? "qvo_seq_hash, chained" : "qvo_seq_hash";
    member.operands = std::move(operands);
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) {
        return qvo_seq_hash(it, o[0], chained ? o[1] : nullptr);
    };
    member.type = QVO_DD_UINT4;
    member.width = 4;
    member.next = qvo_seq_hash_next;
    member.reset = chained ? qvo_seq_reset_binary_iterator : qvo_seq_reset_unary_iterator;
    member.type_checked = {false, true};
    return member;
}

QVO_RET literal_hash_next(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h left = it->opd[0], right = it->opd[1];
    const size_t width = left->elem_size;
    size_t i = 0;
    QVO_RET rc = QVO_S_OK;
    for (; i < std::min<size_t>(819, capacity_of(width)); ++i) {
        if (!literal_refill(left, i, &rc) || (right != nullptr && !literal_refill(right, i, &rc))) break;
        const std::string key(left->tile.u.arr_char + left->tile_offs * width, width);
        literal_put(it, i, hash_of(key, right != nullptr ? right->tile.u.arr_uint4[right->tile_offs] : 377307));
        const unsigned run = right != nullptr ? std::min(literal_run_left(left), literal_run_left(right))
                                              : literal_run(left, left->tile_offs);
        literal_put_run(it, i, run);
        it->next_seq_no += run;
        literal_take(left, run);
        if (right != nullptr) literal_take(right, run);
    }
    if (rc == QVO_S_OK && i != 0) it->tile_size = static_cast<uint16_t>(i);
    return rc;
}

TEST(Hash, HashesOfElements) {
    for (const size_t width : {1, 2, 3, 4, 8, 9, 30})
        for (const bool chained : {false, true}) {
            Random random(static_cast<unsigned>(width));
            std::vector<MakeSource> operands{operand<t_char>(
                random_items<t_char>(random, 3000, [=](Random& r) { return random_key(r, 5000, width); }), width)};
            if (chained) operands.push_back(operand<t_uint4>(random_items<t_uint4>(random, 3000)));
            const Member member = hash_member(chained, std::move(operands));
            check_protocol(member);
            for (const size_t stop : {SIZE_MAX, size_t{1500}})
                check_steps(member, literal_hash_next,
                            {{random_tile_sizes(random), stop, 4711}, {random_tile_sizes(random)}});
        }
}

}  // namespace
}  // namespace test
