// Counting positions, and elements that are not null.
#include "support/protocol.h"

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
    for (unsigned seed = 0; seed < 20; ++seed)
        for (const size_t n_parts : {1U, 2U, 5U}) {
            Random random(seed);
            std::vector<std::unique_ptr<Source>> sources;
            std::vector<Record> parts(n_parts);
            uint64_t positions = 0;
            for (Record& part : parts) {
                const auto items = random_items<t_uint1>(random, random.between(1, 3000));
                positions += expand(items).size();
                sources.push_back(std::make_unique<Source>(t_uint1{}, items, Script{random_tile_sizes(random)}));
                ASSERT_EQ(qvo_seq_agg_count(part.get(), sources.back()->get()), QVO_S_OK);
                if (n_parts == 1) break;  // is left to `next`
                EXPECT_EQ(part->prepare(part.get()), QVO_S_OK);
                EXPECT_EQ(part->prepared, 1);
                if (sources.size() > 1) { EXPECT_EQ(parts[0]->merge(parts[0].get(), part.get()), QVO_S_OK); }
            }
            EXPECT_EQ(parts[0]->next(parts[0].get()), QVO_S_OK);
            check_items<t_uint8>(tile_items<t_uint8>(parts[0].it), {{positions, 1}});
            EXPECT_EQ(parts[0]->next(parts[0].get()), QVO_S_CURSOR_END);
        }
}

TEST(Count, CountsElementsThatAreNotNull_deliberate) {
    const struct {
        size_t elements;
        uint64_t null_bitmap[2];
        qvo_uint8 expected;
    } cases[] = {
        {5, {0, 0}, 5},
        {5, {0b10110, 0}, 2},
        {5, {~uint64_t{0b11}, ~uint64_t{0}}, 2},  // marks after the last element
        {64, {~uint64_t{0}, 1}, 0},
        {65, {~uint64_t{0}, 2}, 1},
        {128, {~uint64_t{0}, ~uint64_t{0}}, 0},
        {300, {~uint64_t{0}, ~uint64_t{0}}, 172},  // no marks after the bitmap
    };
    for (const auto& c : cases) {
        Source source(t_int2{}, Items<t_int2>(c.elements, Item<t_int2>{7, 9}));
        source->tile.null_bitmap[0] = c.null_bitmap[0];
        source->tile.null_bitmap[1] = c.null_bitmap[1];
        Record it;
        ASSERT_EQ(qvo_seq_agg_count_not_null(it.get(), source.get()), QVO_S_OK);
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        EXPECT_EQ(value_of(it), c.expected) << c.elements << " elements";
        EXPECT_EQ(it->tile.null_bitmap[0] | it->tile.null_bitmap[1], 0U) << "its own marks are cleared";
        EXPECT_EQ(it->tile.u.arr_uint1[4095], 0xa5) << "no run byte is written";
    }
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
    qvo_seq_hash_t table{};
    table.table_used = 5000;
    qvo_seq_shared_hash_t shared{};
    shared.hash = &table;
    qvo_seq_hash_iterator_context_t context{};
    context.shared = &shared;
    for (const bool fails : {false, true}) {
        Source groups(t_int4{}, {{1}, {2}, {3}}, {{1}, fails ? 0 : SIZE_MAX, 4711, QVO_S_OK});
        groups->reset = qvo_seq_hash_agg_reset;
        std::memcpy(groups->context, &context, sizeof context);
        check_known(groups.get(), fails ? 0 : 5000);
        EXPECT_EQ(groups.n_next(), 2U) << "pulled once by each";
    }
}

TEST(Count, CountsALimitedConstant) {
    Record constant, limit;
    ASSERT_EQ(qvo_seq_const_double(constant.get(), 1), QVO_S_OK);
    ASSERT_EQ(qvo_seq_limit(limit.get(), constant.get(), 0, 999999), QVO_S_OK);
    EXPECT_EQ(count_of(qvo_seq_agg_count, limit.get()), 1000000U);
}

}  // namespace
}  // namespace test
