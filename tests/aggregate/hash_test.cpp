// Aggregates by hash of a key: every member against a model, the order of delivery, merging, memory.
#include "aggregate/hash_model.h"

namespace test {
namespace {

#define NAMED(name, initialize, merge, result, model) \
    HashMember { #name, name, name##_next_agg, name##_next_grp, initialize, merge, t_##result::code, model }
#define MEMBER_OF(op, type, result)                                                                                \
    NAMED(qvo_seq_hash_agg_##op##_##type, qvo_seq_hash_initialize_##op##_##type, qvo_seq_hash_merge_##op##_##type, \
          result, model_##op)

Number model_distinct(const Group& g) {
    qvo_uint1 registers[128] = {};
    for (const Stretch& s : g.stretches) calculate_hash_functions(s.bytes.data(), s.bytes.size(), registers);
    return approximate_distinct_count(registers);
}
const HashMember count_member = MEMBER_OF(count, uint8, uint8);
const HashMember distinct_member = NAMED(qvo_seq_hash_agg_approxdc, qvo_seq_hash_initialize_approxdc,
                                         qvo_seq_hash_merge_approxdc, uint4, model_distinct);
const HashMember sum_member = MEMBER_OF(sum, int4, int8);

void check_type(uint8_t type, const std::vector<HashMember>& members) {
    for_seeds(3, [&](Random& random, unsigned seed) {
        const unsigned n = seed == 0 ? 7 : random.between(500, 5000), distinct = seed == 1 ? 30 : 3000;
        const auto keys = random_elements(random, QVO_DD_INT4, n, [=](Random& r) { return Number(r.below(distinct)); });
        for (const HashMember& member : members)
            check_hash(member, random, {keys, random_elements(random, type, n + random.below(3))});
    });
}

#define TEST_MEMBER(type, total, mean)                                                                               \
    check_type(t_##type::code, {MEMBER_OF(max, type, type), MEMBER_OF(min, type, type), MEMBER_OF(sum, type, total), \
                                MEMBER_OF(avg, type, mean)});

TEST(Hash, FollowsTheModel) { QVO_SEQ_FOR_AGGREGATE_TYPES(TEST_MEMBER) }

void check_keys(Random& random, const Elements& keys) {
    check_hash(count_member, random, {keys, random_elements(random, QVO_DD_UINT8, keys.items.size())});
    check_hash(distinct_member, random, {keys, random_elements(random, QVO_DD_INT8, keys.items.size() + 2)});
}

TEST(Hash, KeysOfAllTypesAndWidths) {
    Random random(5);
// Negative keys and bits that are no numbers as well: keys are bytes.
#define TEST_KEY(type) check_keys(random, random_elements(random, t_##type::code, 3000));
    QVO_SEQ_FOR_FIXED_TYPES(TEST_KEY)
    for (const size_t width : {1, 3, 7, 8, 9, 33, 700}) check_keys(random, random_keys(random, 2500, 900, width));
}

// Lookups in a table that fits no near cache, with short chains and with long ones.
TEST(Hash, LargeTables) {
    Random random(7);
    for (const double load_factor : {1.0, 5.0}) {
        qvo_seq_hash_table_load_factor = load_factor;
        const auto key = [](Random& r) { return Number(r.below(9000)); };
        check_hash(sum_member, random,
                   {random_elements(random, QVO_DD_INT4, 20000, key), random_elements(random, QVO_DD_INT4, 20000)});
        check_hash(count_member, random,
                   {random_keys(random, 12000, 9000, 9), random_elements(random, QVO_DD_UINT8, 12000)});
    }
    qvo_seq_hash_table_load_factor = 1.0;
}

TEST(Hash, CountNeedsNoValues) {
    HashPart count({elements_of<t_int1>({{1, 4}, {1, 3}}), elements_of<t_int1>({})});
    ASSERT_EQ(qvo_seq_hash_agg_count(count.agg.get(), count.grp.get(), count.keys->get(), 0), QVO_S_OK);
    count.constructed = true;
    EXPECT_TRUE(count.agg->context[0] == 1361 && count.agg->opd[0] == nullptr);
    check_items<t_uint8>(drain<t_uint8>(count.agg.get()), {{7}});
    check_items<t_int1>(drain<t_int1>(count.grp.get()), {{1}});
}

const HashInput one{elements_of<t_int4>({{3}}), elements_of<t_int4>({{-1}})};

TEST(Hash, AveragesTakeNegativeIntegersAsUnsigned_deliberate) {
    HashPart avg(one);
    ASSERT_EQ(avg.construct(MEMBER_OF(avg, int4, double)), QVO_S_OK);
    check_items<t_double>(drain<t_double>(avg.agg.get()), {{18446744073709551616.0}});
}

TEST(Hash, Refusals) {
    const BindingCheck check;
    HashPart r(one);
    const qvo_seq_iterator_h values = r.values->get(), keys = r.keys->get();
    const auto refuses = [&](const HashMember& member, QVO_RET code) {
        expect_refused(code, member.construct, r.grp.get(), values, keys, 0);
    };
    refuses(MEMBER_OF(sum, uint4, uint8), QVO_E_ILLEGAL_TYPE);
    EXPECT_TRUE(values->bounded == 0 && keys->bounded == 0);
    keys->bounded = 1;
    refuses(sum_member, QVO_E_SEQ_BOUNDED);
    EXPECT_EQ(values->bounded, 1) << "input is marked before group_by is looked at: deliberate";
    keys->bounded = 0;
    refuses(sum_member, QVO_E_SEQ_BOUNDED);
    EXPECT_EQ(keys->bounded, 0);
    EXPECT_FALSE(qvo_seq_is_hash_aggreate(r.agg.get()));
    values->bounded = 0;
    ASSERT_EQ(r.construct(sum_member), QVO_S_OK);
    EXPECT_TRUE(qvo_seq_free_hash(r.agg.get()) == 1 && qvo_seq_free_hash(r.grp.get()) == 0);
    r.constructed = false;
    const Stop stop = catch_stop([&] { qvo_seq_release_hash(r.grp.get()); }, true);
    EXPECT_TRUE(stop.stopped && stop.traces == 1);
}

TEST(Hash, OperandsThatStop) {
    check_operands_that_stop(sum_member);
    HashPart none({elements_of<t_int4>({}), one.values});
    ASSERT_EQ(none.construct(sum_member), QVO_S_OK);
    EXPECT_EQ(none.agg->next(none.agg.get()), QVO_S_CURSOR_END);
    EXPECT_EQ(none.grp->next(none.grp.get()), QVO_S_CURSOR_END);
}

TEST(Hash, OutOfMemory) {
    Random random(3);
    check_out_of_memory(distinct_member,
                        {random_keys(random, 6000, 2500, 20), random_elements(random, QVO_DD_INT4, 6000)}, 100);
    HashMember keys_only = count_member;
    keys_only.construct = [](auto agg, auto grp, auto, auto keys, qvo_size_t n) {
        return qvo_seq_hash_agg_count(agg, grp, keys, n);
    };
    const Elements keys = random_keys(random, 6000, 2500, 20);
    check_out_of_memory(keys_only, {keys, keys}, 100);
}

// Besides its element of 40 bytes, a group takes what its key and its state need outside of it, and nothing else.
TEST(Hash, MemoryOfAGroup) {
    constexpr size_t groups = 2048;
    Elements narrow{QVO_DD_INT4, 4, {}}, wide{QVO_DD_CHAR, 40, {}};
    for (unsigned i = 0; i < groups; ++i) {
        const std::string bytes = Source::bytes_of<t_uint4>(i, 4);
        narrow.items.push_back({bytes, 1});
        wide.items.push_back({bytes + std::string(36, 'k'), 1});
    }
    const auto buckets = [&](const HashMember& member, const Elements& keys) {
        Allocator allocator;
        HashPart part({keys, narrow});
        EXPECT_EQ(part.construct(member, groups), QVO_S_OK);
        EXPECT_EQ(part.prepare(), QVO_S_OK);
        return allocator.blocks() - 3;  // what both results share, the table, its chains
    };
    EXPECT_EQ(buckets(sum_member, narrow), 2U);
    EXPECT_EQ(buckets(sum_member, wide), 2U + 2U);
    EXPECT_EQ(buckets(distinct_member, narrow), 2U + 7U);
    EXPECT_EQ(buckets(distinct_member, wide), 2U + 9U);
}

TEST(Hash, KeysWithTheSameHashStayApart) {
    Random random(6);
    std::map<uint32_t, std::string> keys;  // by their hashes, until two keys have the same one
    for (;;) {
        const std::string key = random_key(random, UINT32_MAX, 9);
        const auto& [hash, known] = *keys.try_emplace(hash_of(key), key).first;
        if (known == key) continue;
        const Elements both{QVO_DD_CHAR, 9, {{key, 1}, {known, 2}, {key, 4}}};
        return check_hash(distinct_member, random, {both, both});
    }
}

TEST(Hash, OutOfMemoryWhileMerging) {
    Random random(4);
    const auto draw = [&](size_t n) {
        return random_elements(random, QVO_DD_INT4, n, [](Random& r) { return Number(r.below(3000)); });
    };
    const Elements few = draw(100), many = draw(5000);
    check_merge_out_of_memory(sum_member, {{few, few}, {many, many}}, 17);
}

QVO_RET literal_hash_next(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h left = it->opd[0], right = it->opd[1];
    const auto step = [=](size_t i) {
        const bool alone = right == nullptr;
        literal_put(it, i, hash_of(literal_bytes(left), alone ? 377307 : right->tile.u.arr_uint4[right->tile_offs]));
        const unsigned run =
            alone ? literal_run(left, left->tile_offs) : std::min(literal_run_left(left), literal_run_left(right));
        literal_put_counted(it, i, run);
        literal_take(left, run);
        if (!alone) literal_take(right, run);
        return true;
    };
    return literal_loop(it, right == nullptr ? 1 : 2, step, Counts::positions, capacity_of(left->elem_size));
}

TEST(Hash, HashesOfElements) {
    Member alone = unary_member(
        "qvo_seq_hash", [](auto it, auto input) { return qvo_seq_hash(it, input, nullptr); }, qvo_seq_hash_next,
        QVO_DD_UINT4, 4);
    Member chained = binary_member(MEMBER(qvo_seq_hash), QVO_DD_UINT4, 4);
    alone.type_checked = chained.type_checked = {false, true};
    for (const size_t width : {1, 2, 3, 4, 8, 9, 30})
        for (const Member& member : {alone, chained})
            check_random(member, 3, [&](Random& random, unsigned, Member& m) {
                m.operands = {operand(random_keys(random, 3000, 5000, width))};
                if (m.reset == chained.reset)
                    m.operands.push_back(operand(random_elements(random, QVO_DD_UINT4, 3000)));
                return literal_hash_next;
            });
}

TEST(Hash, RunsOfZeroMakeGroupsAllTheSame) {
    const double inf = HUGE_VAL, nan = std::numeric_limits<double>::quiet_NaN();
    const auto aggregate = [](const HashMember& member, const Elements& keys, const Elements& values) {
        HashPart part({keys, values});
        EXPECT_EQ(part.construct(member), QVO_S_OK);
        return drain<t_number>(part.agg.get());
    };
    const Elements key = elements_of<t_int4>({{1, 5}}), none = elements_of<t_int4>({{1, 0}});
    check_items<t_number>(aggregate(MEMBER_OF(max, int4, int4), key, elements_of<t_int4>({{7, 0}, {3, 5}})), {{7}});
    check_items<t_number>(aggregate(MEMBER_OF(min, int4, int4), key, elements_of<t_int4>({{1, 0}, {3, 5}})), {{1}});
    check_items<t_number>(aggregate(MEMBER_OF(sum, double, double), key, elements_of<t_double>({{inf, 0}, {3, 5}})),
                          {{nan}});
    check_items<t_number>(aggregate(MEMBER_OF(avg, datetime, datetime), none, elements_of<t_datetime>({{7, 0}})),
                          {{0}});
}

TEST(Hash, AggregatesOfValuesNeedThem) {
    Record grp;
    Source keys(t_int4{}, {{1}});
    for (const HashMember& member : {MEMBER_OF(max, int1, int1), MEMBER_OF(min, float, float), sum_member,
                                     MEMBER_OF(avg, datetime, datetime), distinct_member})
        expect_refused(QVO_E_ILLEGAL_PARAM, member.construct, grp.get(), nullptr, keys.get(), 0);
    EXPECT_EQ(keys->bounded, 0);
}

TEST(Hash, KeysOfATextSource) {
    for (const auto& [a, b] : {std::pair("ab", "cd"), {"twelve bytes", "twelve more."}}) {
        const std::string text = std::string("{") + a + "," + b + "," + a;
        TextSource keys(text), more(text), values("{'" + std::string(a) + "','x','" + a + "'}");
        Source numbers(t_int4{}, {{1}, {2}, {3}});
        Record agg, grp, count, unused;
        ASSERT_EQ(qvo_seq_hash_agg_sum_int4(agg.get(), grp.get(), numbers.get(), keys.get(), 0), QVO_S_OK);
        const auto groups = drain_keys(grp.get());
        std::map<std::string, int64_t> sums;
        for (const auto& item : drain<t_int8>(agg.get())) sums[groups.at(sums.size())] = item.value;
        EXPECT_EQ(sums, (std::map<std::string, int64_t>{{a, 4}, {b, 2}}));
        qvo_seq_release_hash(agg.get());
        ASSERT_EQ(qvo_seq_hash_agg_distinct_count(count.get(), unused.get(), values.get(), more.get(), 0, 0), QVO_S_OK);
        EXPECT_EQ(drain<t_uint8>(count.get()).size(), 2U);
        qvo_seq_release_hash(count.get());
    }
    // Keys that become wider on the way would be other keys.
    std::string text(3 * 130, ',');
    for (size_t i = 0; i < 130; ++i) text[3 * i] = text[3 * i + 1] = '\'';
    TextSource keys(text + "late");
    Record agg, grp;
    ASSERT_EQ(qvo_seq_hash_agg_count(agg.get(), grp.get(), keys.get(), 0), QVO_S_OK);
    EXPECT_EQ(agg->next(agg.get()), QVO_E_ILLEGAL_TYPE);
    qvo_seq_release_hash(agg.get());
}

}  // namespace
}  // namespace test
