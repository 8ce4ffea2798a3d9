// Distinct values per key, and values that occur often enough: against a model, in parts, without memory.
#include "aggregate/hash_model.h"

namespace test {
namespace {

HashMember member_of(uint64_t threshold, uint64_t n_pairs) {
    const auto construct = [=](qvo_seq_iterator_h agg, qvo_seq_iterator_h grp, qvo_seq_iterator_h values,
                               qvo_seq_iterator_h keys, qvo_size_t n_groups) {
        return qvo_seq_hash_agg_dup_count(agg, grp, values, keys, n_groups, n_pairs, threshold);
    };
    const auto model = [=](const Group& g) -> Number {
        std::map<std::string, uint64_t> occurrences;
        uint64_t count = 0;
        for (const Stretch& s : g.stretches) occurrences[s.bytes] += s.n;
        for (const auto& value : occurrences) count += threshold != 0 && value.second >= threshold;
        return count;
    };
    return {"qvo_seq_hash_agg_dup_count",
            construct,
            qvo_seq_dup_hash_next_count,
            qvo_seq_dup_hash_next_grp,
            qvo_seq_dup_hash_prepare,
            qvo_seq_dup_hash_merge,
            QVO_DD_UINT8,
            model};
}

TEST(HashDistinct, FollowsTheModel) {
    unsigned seed = 0;
    for (const size_t key_width : {1, 2, 4, 8, 5, 12})
        for (const size_t value_width : {1, 2, 4, 8, 3, 20})
            for (const uint64_t threshold : {0, 1, 2, 300}) {
                SCOPED_TRACE(testing::Message() << "widths " << key_width << " and " << value_width);
                Random random(++seed);
                const size_t n = random.between(1, 3000);
                check_hash(member_of(threshold, random.below(100)), random,
                           {random_keys(random, n, seed % 2 ? 5 : 400, key_width),
                            random_keys(random, n, seed % 3 ? 40 : 3, value_width)});
                if (testing::Test::HasFailure()) return;
            }
}

TEST(HashDistinct, MergingCountsValuesOfTheUnionOnceUnlessThePairsAreGone) {
    for (const int gone : {0, 1, 2}) {
        HashPart a({elements_of<t_int1>({{1, 4}}), elements_of<t_int1>({{5, 2}, {6, 2}})}),
            b({elements_of<t_int1>({{1, 5}}), elements_of<t_int1>({{5, 1}, {6, 4}})});
        for (HashPart* part : {&a, &b}) ASSERT_EQ(part->construct(member_of(gone ? 1 : 3, 0)), QVO_S_OK);
        if (gone != 0) check_items<t_uint8>(drain<t_uint8>((gone == 1 ? a : b).agg.get()), {{2}});
        ASSERT_EQ(a.merge(b), QVO_S_OK);
        ASSERT_EQ(a.agg->reset(a.agg.get()), QVO_S_OK);
        check_items<t_uint8>(drain<t_uint8>(a.agg.get()), {{gone ? 4U : 2U}});
        check_items<t_int1>(drain<t_int1>(a.grp.get()), {{1}});
    }
}

TEST(HashDistinct, DefaultsAndRefusals) {
    HashPart r({elements_of<t_char>({{"a key"}}, 9), elements_of<t_double>({{1}})});
    HashMember member = member_of(1, 0);
    member.construct = [](auto agg, auto grp, auto values, auto keys, qvo_size_t n_groups) {
        return qvo_seq_hash_agg_distinct_count(agg, grp, values, keys, n_groups, 5000);
    };
    {
        const BindingCheck check;
        r.keys->get()->bounded = 1;
        EXPECT_EQ(r.construct(member), QVO_E_SEQ_BOUNDED);
        EXPECT_EQ(r.values->get()->bounded, 0);
    }
    ASSERT_EQ(r.construct(member), QVO_S_OK);
    check_fields(member, r);
    const auto* context = reinterpret_cast<const qvo_seq_dup_hash_iterator_context_t*>(r.agg->context);
    EXPECT_TRUE(context->groups.n_groups == 1361 && context->n_pairs == 5471 && context->min_occurrences == 1);
}

TEST(HashDistinct, OperandsThatStop) { check_operands_that_stop(member_of(2, 0)); }

TEST(HashDistinct, OutOfMemory) {
    Random random(1);
    check_out_of_memory(member_of(2, 20), {random_keys(random, 4000, 1500, 4), random_keys(random, 4000, 50, 11)}, 20);
}

TEST(HashDistinct, OutOfMemoryWhileMerging) {
    Random random(2);
    const auto draw = [&](size_t n) -> HashInput {
        return {random_keys(random, n, 200, 4), random_keys(random, n, 200, 4)};
    };
    check_merge_out_of_memory(member_of(3, 17), {draw(20), draw(2000)}, 17);
}

}  // namespace
}  // namespace test
