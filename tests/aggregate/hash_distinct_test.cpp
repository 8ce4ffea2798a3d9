// Distinct values per key, and values that occur often enough: against a model, in parts, without memory.
#include "aggregate/hash_model.h"

namespace test {
namespace {

/// A position of the input: a pair of key and value, and how often it comes in a row.
struct Occurrence {
    std::string key, value;
    unsigned n;
};

struct Expected {
    std::vector<std::string> keys;
    Items<t_uint8> counts;

    Expected(const std::vector<Occurrence>& input, uint64_t wanted, uint64_t threshold) {
        std::map<std::string, std::map<std::string, uint64_t>> groups;
        for (const auto& o : input) groups[o.key][o.value] += o.n;
        for (const auto& group : groups) keys.push_back(group.first);
        sort_as_delivered(keys, chains_after(wanted, groups.size()));
        for (const auto& key : keys) {
            uint64_t count = 0;
            for (const auto& value : groups[key]) count += threshold != 0 && value.second >= threshold;
            counts.push_back({count});
        }
    }
};

void check_delivery(HashResults& r, const Expected& expected, bool keys_first) {
    if (keys_first) { EXPECT_EQ(drain_keys(r.grp.get()), expected.keys); }
    check_items<t_uint8>(drain<t_uint8>(r.agg.get()), expected.counts);
    EXPECT_EQ(r.grp->reset(r.grp.get()), QVO_S_OK);
    EXPECT_EQ(drain_keys(r.grp.get()), expected.keys);
    EXPECT_EQ(r.agg->reset(r.agg.get()), QVO_S_OK);
    check_items<t_uint8>(drain<t_uint8>(r.agg.get()), expected.counts);
}

/// Whole, and in parts of which one is empty, with tables of any size that grow while they are merged.
void check_counts(unsigned seed, size_t key_width, size_t value_width, uint64_t threshold) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << ", widths " << key_width << " and " << value_width);
    Random random(seed);
    const unsigned n_keys = seed % 2 ? 5 : 400, n_values = seed % 3 ? 40 : 3;
    const auto draw = [](unsigned distinct, size_t width) {
        return [=](Random& r) { return random_key(r, distinct, width); };
    };
    const size_t n = random.between(1, 3000);
    for (const size_t n_parts : {1, 2, 5}) {
        std::vector<std::unique_ptr<Source>> sources;
        std::vector<HashResults> parts(n_parts);
        std::vector<Occurrence> all;
        const uint64_t wanted = random.chance(30) ? 0 : random.below(100);
        for (size_t p = 0; p < n_parts; ++p) {
            const size_t size = p == 1 ? 0 : n / n_parts + 1;
            const auto keys = random_items<t_char>(random, size, draw(n_keys, key_width));
            const auto values = random_items<t_char>(random, size, draw(n_values, value_width));
            for (const Step& s : steps_of(keys, values, key_width))
                all.push_back({s.key, Source::bytes_of<t_char>(values[s.value].value, value_width), s.n});
            sources.push_back(std::make_unique<Source>(t_char{}, keys, Script{random_tile_sizes(random)}, key_width));
            Source& key_source = *sources.back();
            sources.push_back(
                std::make_unique<Source>(t_char{}, values, Script{random_tile_sizes(random)}, value_width));
            HashResults& r = parts[p];
            ASSERT_EQ(qvo_seq_hash_agg_dup_count(r.agg.get(), r.grp.get(), sources.back()->get(), key_source.get(),
                                                 p == 0 ? wanted : random.below(100), random.below(100), threshold),
                      QVO_S_OK);
            r.constructed = true;
            if (n_parts != 1) { ASSERT_EQ(r.agg->prepare(r.agg.get()), QVO_S_OK); }
            if (p != 0) { ASSERT_EQ(parts[0].agg->merge(parts[0].agg.get(), r.agg.get()), QVO_S_OK); }
        }
        check_delivery(parts[0], Expected(all, wanted, threshold), random.chance(50));
        if (testing::Test::HasFailure()) return;
    }
}

TEST(HashDistinct, FollowsTheModel) {
    unsigned seed = 0;
    for (const size_t key_width : {1, 2, 4, 8, 5, 12})
        for (const size_t value_width : {1, 2, 4, 8, 3, 20})
            for (const uint64_t threshold : {0, 1, 2, 300}) check_counts(seed++, key_width, value_width, threshold);
}

HashResults& make(HashResults& r, Source& values, Source& keys, uint64_t threshold) {
    EXPECT_EQ(qvo_seq_hash_agg_dup_count(r.agg.get(), r.grp.get(), values.get(), keys.get(), 0, 0, threshold), 0);
    r.constructed = true;
    return r;
}

TEST(HashDistinct, AValueThatCrossesOnlyInTheUnionCountsOnce) {
    Source k0(t_int1{}, {{1, 4}}), v0(t_int1{}, {{5, 2}, {6, 2}}), k1(t_int1{}, {{1, 5}}),
        v1(t_int1{}, {{5, 1}, {6, 4}});
    HashResults a, b;
    make(a, v0, k0, 3);
    make(b, v1, k1, 3);
    ASSERT_EQ(a.agg->prepare(a.agg.get()), QVO_S_OK);
    ASSERT_EQ(b.agg->prepare(b.agg.get()), QVO_S_OK);
    ASSERT_EQ(a.agg->merge(a.agg.get(), b.agg.get()), QVO_S_OK);
    check_items<t_uint8>(drain<t_uint8>(a.agg.get()), {{2}});
    check_items<t_int1>(drain<t_int1>(a.grp.get()), {{1}});
}

TEST(HashDistinct, CountsAreAddedWhereThePairsAreGone) {
    Source k0(t_int1{}, {{1, 4}}), v0(t_int1{}, {{5, 2}, {6, 2}}), k1(t_int1{}, {{1, 5}}),
        v1(t_int1{}, {{5, 1}, {6, 4}});
    HashResults a, b;
    make(a, v0, k0, 1);
    make(b, v1, k1, 1);
    check_items<t_uint8>(drain<t_uint8>(a.agg.get()), {{2}});
    ASSERT_EQ(b.agg->prepare(b.agg.get()), QVO_S_OK);
    ASSERT_EQ(a.agg->merge(a.agg.get(), b.agg.get()), QVO_S_OK);
    ASSERT_EQ(a.agg->reset(a.agg.get()), QVO_S_OK);
    check_items<t_uint8>(drain<t_uint8>(a.agg.get()), {{4}});
}

TEST(HashDistinct, FieldsAndRefusals) {
    Source keys(t_char{}, {{"a key"}}, {}, 9), values(t_double{}, {{1}});
    HashResults r;
    const auto construct = [&] {
        return qvo_seq_hash_agg_distinct_count(r.agg.get(), r.grp.get(), values.get(), keys.get(), 0, 5000);
    };
    {
        const BindingCheck check;
        keys->bounded = 1;
        EXPECT_EQ(construct(), QVO_E_SEQ_BOUNDED);
        EXPECT_EQ(values->bounded, 0);
    }
    ASSERT_EQ(construct(), QVO_S_OK);
    r.constructed = true;
    EXPECT_TRUE(r.agg->elem_type == QVO_DD_UINT8 && r.agg->elem_size == 8);
    EXPECT_TRUE(r.grp->elem_type == QVO_DD_CHAR && r.grp->elem_size == 9);
    EXPECT_TRUE(r.agg->next == qvo_seq_dup_hash_next_count && r.grp->next == qvo_seq_dup_hash_next_grp);
    EXPECT_TRUE(r.agg->prepare == qvo_seq_dup_hash_prepare && r.agg->merge == qvo_seq_dup_hash_merge);
    EXPECT_TRUE(r.grp->prepare == nullptr && r.grp->merge == nullptr);
    EXPECT_TRUE(qvo_seq_is_hash_aggreate(r.agg.get()) && qvo_seq_is_hash_aggreate(r.grp.get()));
    const auto* context = reinterpret_cast<const qvo_seq_dup_hash_iterator_context_t*>(r.agg->context);
    EXPECT_TRUE(context->groups.n_groups == 1361 && context->n_pairs == 5471 && context->min_occurrences == 1);
}

TEST(HashDistinct, OutOfMemory) {
    Random random(1);
    const auto keys = random_items<t_int4>(random, 4000, [](Random& r) { return static_cast<int>(r.below(1500)); });
    const auto values = random_items<t_char>(random, 4000, [](Random& r) { return random_key(r, 50, 11); });
    std::vector<Occurrence> all;
    for (const Step& s : steps_of(keys, values, 4)) all.push_back({s.key, values[s.value].value, s.n});
    const Expected expected(all, 20, 2);
    for (const bool forever : {false, true})
        for (size_t n = 0;; ++n) {
            Allocator allocator;
            Source key_source(t_int4{}, keys), value_source(t_char{}, values, {}, 11);
            HashResults r;
            allocator.fail_at(n, forever);
            QVO_RET rc =
                qvo_seq_hash_agg_dup_count(r.agg.get(), r.grp.get(), value_source.get(), key_source.get(), 20, 20, 2);
            r.constructed = rc == QVO_S_OK;
            if (r.constructed) rc = r.agg->prepare(r.agg.get());
            if (rc == QVO_S_OK) {
                check_delivery(r, expected, false);
                EXPECT_GT(n, 20U);
                break;
            }
            ASSERT_EQ(rc, QVO_E_NOMEM);
            allocator.never_fail();
            if (!r.constructed) continue;
            key_source->reset(key_source.get());
            value_source->reset(value_source.get());
            check_delivery(r, expected, n % 2 == 0);
        }
}

TEST(HashDistinct, OutOfMemoryWhileMerging) {
    Random random(2);
    Items<t_int4> keys[2], values[2];
    std::vector<Occurrence> all;
    for (size_t p = 0; p < 2; ++p) {
        const auto draw = [](Random& r) { return static_cast<int>(r.below(200)); };
        keys[p] = random_items<t_int4>(random, p == 0 ? 20 : 2000, draw);
        values[p] = random_items<t_int4>(random, keys[p].size(), draw);
        for (const Step& s : steps_of(keys[p], values[p], 4))
            all.push_back({s.key, Source::bytes_of<t_int4>(values[p][s.value].value, 4), s.n});
    }
    std::map<std::string, uint64_t> expected;
    const Expected model(all, 17, 3);
    for (size_t i = 0; i < model.keys.size(); ++i) expected[model.keys[i]] = model.counts[i].value;
    for (size_t n = 0;; ++n) {
        Allocator allocator;
        Source k0(t_int4{}, keys[0]), v0(t_int4{}, values[0]), k1(t_int4{}, keys[1]), v1(t_int4{}, values[1]);
        HashResults a, b;
        for (auto [r, k, v] : {std::tuple(&a, &k0, &v0), std::tuple(&b, &k1, &v1)}) {
            ASSERT_EQ(qvo_seq_hash_agg_dup_count(r->agg.get(), r->grp.get(), v->get(), k->get(), 17, 17, 3), QVO_S_OK);
            r->constructed = true;
            ASSERT_EQ(r->agg->prepare(r->agg.get()), QVO_S_OK);
        }
        allocator.fail_at(n);
        const QVO_RET rc = a.agg->merge(a.agg.get(), b.agg.get());
        allocator.never_fail();
        std::map<std::string, uint64_t> actual;
        const auto counts = drain<t_uint8>(a.agg.get());
        const auto delivered = drain_keys(a.grp.get());
        ASSERT_EQ(counts.size(), delivered.size());
        for (size_t i = 0; i < counts.size(); ++i) actual[delivered[i]] = counts[i].value;
        EXPECT_EQ(actual, expected) << "nothing is lost";
        if (rc == QVO_S_OK) {
            EXPECT_GT(n, 4U);
            break;
        }
        ASSERT_EQ(rc, QVO_E_NOMEM);
    }
}

}  // namespace
}  // namespace test
