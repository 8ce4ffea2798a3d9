// Counting positions, and elements that are not null.
#include "aggregate/parts.h"

namespace test {
namespace {

qvo_uint8 value_of(const Record& it) { return it.it.tile.u.arr_uint8[0]; }

/// The one element of a count over a source, which ends after it.
qvo_uint8 count_of(ConstructUnary construct, qvo_seq_iterator_h operand) {
    Record it;
    EXPECT_EQ(construct(it.get(), operand), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_TRUE(it->tile_size == 1 && it->next_seq_no == 1);
    EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
    return value_of(it);
}

TEST(Count, FollowsTheProtocolButForBindingAndErrors_deliberate) {
    Member members[] = {
        unary_member<t_uint8>("agg_count", qvo_seq_agg_count, qvo_seq_count_next),
        unary_member<t_uint8>("agg_count_not_null", qvo_seq_agg_count_not_null, qvo_seq_count_not_null_next),
    };
    for (Member& member : members) {
        member.operands = {operand<t_int4>({{1, 3}, {2, 1}, {2, 255}, {3, 1}, {4, 1}})};
        member.prepare = qvo_seq_prepare_aggregate;
        member.merge = qvo_seq_count_merge;
        member.aggregate = true;
        member.passes_errors = false;
        member.type_checked = member.bound = {false};
        check_protocol(member);
    }
}

TEST(Count, AnOperandsErrorEndsTheCount_deliberate) {
    Source failing(t_int4{}, {{1, 3}, {2, 1}, {2, 255}, {3, 1}}, {{1}, 2, 4711, QVO_S_OK});
    EXPECT_EQ(count_of(qvo_seq_agg_count, failing.get()), 4U);
    Source empty(t_double{}, {});
    EXPECT_EQ(count_of(qvo_seq_agg_count, empty.get()), 0U);
    EXPECT_EQ(count_of(qvo_seq_agg_count_not_null, empty.get()), 0U);
}

TEST(Count, CountsPositionsWholeAndInParts) {
    const Member member = aggregate_member(unary_member<t_uint8>("", qvo_seq_agg_count, nullptr), qvo_seq_count_merge);
    for_seeds(20, [&](Random& random, unsigned) {
        const auto draw = [](Random& r) { return Part{random_elements(r, QVO_DD_UINT1, r.between(1, 3000))}; };
        const auto positions = [](const std::vector<Part>& parts) {
            size_t n = 0;
            for (const Part& part : parts) n += expand(part[0].items).size();
            return Items<t_number>{{Number(n)}};
        };
        check_parts(member, draw, random, positions);
    });
}

TEST(Count, CountsElementsThatAreNotNull_deliberate) {
    for (const size_t n : {1, 5, 63, 64, 65, 127, 128, 129, 300})
        for_seeds(10, [=](Random& random, unsigned seed) {
            Source source(t_int2{}, Items<t_int2>(n, Item<t_int2>{7, 9}));
            qvo_uint8 expected = n;
            for (size_t i = 0; i < 128; ++i) {  // marks after the last element count for nothing
                const bool null = random.chance(seed == 0 ? 100 : 40);
                source->tile.null_bitmap[i / 64] |= uint64_t{null} << i % 64;
                expected -= null && i < n;
            }
            Record it;
            ASSERT_EQ(qvo_seq_agg_count_not_null(it.get(), source.get()), QVO_S_OK);
            ASSERT_EQ(it->next(it.get()), QVO_S_OK);
            EXPECT_EQ(value_of(it), expected) << n << " elements";
            EXPECT_EQ(it->tile.null_bitmap[0] | it->tile.null_bitmap[1], 0U) << "its own marks are cleared";
            EXPECT_EQ(it->tile.u.arr_uint1[4095], 0xa5) << "no run byte is written";
        });
}

/// Both counts of what is known without pulling all of it; such a count has no parts.
void check_known(qvo_seq_iterator_h operand, qvo_uint8 expected) {
    for (const auto construct : {qvo_seq_agg_count, qvo_seq_agg_count_not_null}) {
        Record it;
        EXPECT_EQ(count_of(construct, operand), expected);
        ASSERT_EQ(construct(it.get(), operand), QVO_S_OK);
        EXPECT_TRUE(it->prepare == nullptr && it->merge == nullptr && it->prepared == 0);
    }
}

TEST(Count, KnowsTheLengthOfAnArray) {
    qvo_int4 values[3] = {1, 2, 3};
    for (const qvo_size_t n : {0U, 3U}) {
        Record array;
        ASSERT_EQ(qvo_seq_unget_int4(array.get(), values, n), QVO_S_OK);
        check_known(array.get(), n);
        EXPECT_EQ(array->next_seq_no, 0U) << "without pulling";
    }
}

TEST(Count, CountsTheGroupsOfAHashAggregate) {
    for (const bool fails : {false, true}) {
        Items<t_int4> items;
        for (int i = 0; i < 5000; ++i) items.push_back({i});
        Source keys(t_int4{}, items, {{1000}, fails ? 0 : SIZE_MAX, 4711});
        Record agg, groups;
        ASSERT_EQ(qvo_seq_hash_agg_count(agg.get(), groups.get(), keys.get(), 0), QVO_S_OK);
        check_known(groups.get(), fails ? 0 : 5000);
        qvo_seq_release_hash(agg.get());
    }
}

}  // namespace
}  // namespace test
