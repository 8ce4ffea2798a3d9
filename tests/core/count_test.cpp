// Counting positions, and elements that are not null.
#include "support/protocol.h"

namespace test {
namespace {

using Construct = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);

qvo_uint8 value_of(const Record& it) { return it.it.tile.u.arr_uint8[0]; }

/// The one element of a count over a source, which ends after it.
qvo_uint8 count_of(Construct construct, qvo_seq_iterator_h operand) {
    Record it;
    EXPECT_EQ(construct(it.get(), operand), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_TRUE(it->tile_size == 1 && it->next_seq_no == 1);
    EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
    return value_of(it);
}

TEST(Count, FollowsTheProtocolButForBindingAndErrors_deliberate) {
    Member member;
    member.operands = {operand<t_int4>({{1, 3}, {2, 1}, {2, 255}, {3, 1}, {4, 1}})};
    member.type = QVO_DD_UINT8;
    member.width = 8;
    member.reset = qvo_seq_reset_unary_iterator;
    member.prepare = qvo_seq_prepare_aggregate;
    member.merge = qvo_seq_count_merge;
    member.aggregate = true;
    member.passes_errors = false;
    member.type_checked = {false};
    member.bound = {false};

    member.name = "agg_count";
    member.construct = [](qvo_seq_iterator_h it, const Member::Operands& o) { return qvo_seq_agg_count(it, o[0]); };
    member.next = qvo_seq_count_next;
    check_protocol(member);
    member.name = "agg_count_not_null";
    member.construct = [](qvo_seq_iterator_h it, const Member::Operands& o) {
        return qvo_seq_agg_count_not_null(it, o[0]);
    };
    member.next = qvo_seq_count_not_null_next;
    check_protocol(member);
}

TEST(Count, AnOperandsErrorEndsTheCount_deliberate) {
    Source failing(t_int4{}, {{1, 3}, {2, 1}, {2, 255}, {3, 1}}, {{1}, 2, 4711, QVO_S_OK});
    EXPECT_EQ(count_of(qvo_seq_agg_count, failing.get()), 4U);
    Source empty(t_double{}, {});
    EXPECT_EQ(count_of(qvo_seq_agg_count, empty.get()), 0U);
    EXPECT_EQ(count_of(qvo_seq_agg_count_not_null, empty.get()), 0U);
}

TEST(Count, CountsPositionsWholeAndInParts) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        Random random(seed);
        const Items<t_uint1> items = random_items<t_uint1>(random, random.between(1, 6000));
        uint64_t positions = 0;
        for (const auto& item : items) positions += item.run;
        Source whole(t_uint1{}, items, {random_tile_sizes(random)});
        EXPECT_EQ(count_of(qvo_seq_agg_count, whole.get()), positions);

        for (const size_t n_parts : {2U, 5U}) {
            std::vector<std::unique_ptr<Source>> sources;
            std::vector<Record> parts(n_parts);
            for (size_t p = 0; p < n_parts; ++p) {
                const auto at = [&](size_t k) {
                    return items.begin() + static_cast<ptrdiff_t>(items.size() * k / n_parts);
                };
                sources.push_back(std::make_unique<Source>(t_uint1{}, Items<t_uint1>(at(p), at(p + 1))));
                ASSERT_EQ(qvo_seq_agg_count(parts[p].get(), sources[p]->get()), QVO_S_OK);
                EXPECT_EQ(parts[p]->prepare(parts[p].get()), QVO_S_OK);
                EXPECT_EQ(parts[p]->prepared, 1);
                if (p != 0) { EXPECT_EQ(parts[0]->merge(parts[0].get(), parts[p].get()), QVO_S_OK); }
            }
            EXPECT_EQ(parts[0]->next(parts[0].get()), QVO_S_OK);
            check_items<t_uint8>(tile_items<t_uint8>(parts[0].it), {{positions, 1}});
            EXPECT_EQ(parts[0]->next(parts[0].get()), QVO_S_CURSOR_END);
        }
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
        {5, {~uint64_t{0b11}, ~uint64_t{0}}, 2},  // marks behind the last element
        {64, {~uint64_t{0}, 1}, 0},
        {65, {~uint64_t{0}, 2}, 1},
        {128, {~uint64_t{0}, ~uint64_t{0}}, 0},
        {300, {~uint64_t{0}, ~uint64_t{0}}, 172},  // no marks behind the bitmap
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

TEST(Count, KnowsTheLengthOfAnArray) {
    qvo_int4 values[3] = {1, 2, 3};
    for (const Construct construct : {qvo_seq_agg_count, qvo_seq_agg_count_not_null})
        for (const qvo_size_t n : {0U, 3U}) {
            Record array, it;
            ASSERT_EQ(qvo_seq_unget_int4(array.get(), values, n), QVO_S_OK);
            EXPECT_EQ(count_of(construct, array.get()), n);
            EXPECT_EQ(array->next_seq_no, 0U) << "without pulling";
            ASSERT_EQ(construct(it.get(), array.get()), QVO_S_OK);
            EXPECT_TRUE(it->prepare == nullptr && it->merge == nullptr && it->prepared == 0);
        }
}

TEST(Count, CountsTheGroupsOfAHashAggregate) {
    qvo_seq_hash_t table{};
    table.table_used = 5000;
    qvo_seq_shared_hash_t shared{};
    shared.hash = &table;
    qvo_seq_hash_iterator_context_t context{};
    context.shared = &shared;
    for (const Construct construct : {qvo_seq_agg_count, qvo_seq_agg_count_not_null})
        for (const bool fails : {false, true}) {
            Source groups(t_int4{}, {{1}, {2}, {3}}, {{1}, fails ? 0 : SIZE_MAX, 4711, QVO_S_OK});
            groups->reset = qvo_seq_hash_agg_reset;
            std::memcpy(groups->context, &context, sizeof context);
            Record it;
            EXPECT_EQ(count_of(construct, groups.get()), fails ? 0U : 5000U);
            EXPECT_EQ(groups.n_next(), 1U) << "pulled once";
            ASSERT_EQ(construct(it.get(), groups.get()), QVO_S_OK);
            EXPECT_TRUE(it->prepare == nullptr && it->merge == nullptr && it->prepared == 0);
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
