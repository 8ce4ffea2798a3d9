// Dropping elements that are equal to the last one kept.
#include "support/protocol.h"

namespace test {
namespace {

/// Values are equal as those of their type.
template <class V> bool equal_values(const char* a, const char* b, size_t) {
    V values[2];
    std::memcpy(&values[0], a, sizeof(V));
    std::memcpy(&values[1], b, sizeof(V));
    return values[0] == values[1];
}
bool equal_strings(const char* a, const char* b, size_t width) { return std::memcmp(a, b, width) == 0; }

void check_unique(const AnyType& type, const char* name, ConstructUnary construct, qvo_seq_iterator_next_t next,
                  bool (*equal)(const char*, const char*, size_t)) {
    check_random(unary_member(name, construct, next, type.code, type.width, qvo_seq_reset_unary_agg_iterator), 12,
                 [&](Random& random, unsigned seed, Member& m) {
                     Items<t_char> items = type.items(random, capacity_of(type.width) + random.between(4, 4000));
                     // Neighbours of one value, few or many.
                     for (size_t i = 1; i < items.size(); ++i)
                         if (random.chance(seed * 9)) items[i].value = items[i - 1].value;
                     m.operands = {type.operand(items)};
                     return [=, kept = std::string()](qvo_seq_iterator_h it) mutable {
                         return literal_selected_next(it, [&](size_t i, size_t k) {
                             const size_t width = it->elem_size;
                             const char* const value = it->opd[0]->tile.u.arr_char + k * width;
                             if (it->next_seq_no != 0 && equal(value, kept.data(), width)) return false;
                             kept.assign(value, width);
                             literal_copy(it, i, it->opd[0], k);
                             literal_put_run(it, i, 1);
                             return true;
                         });
                     };
                 });
}

#define TEST_MEMBER(type) check_unique(any_type<t_##type>(), MEMBER(qvo_seq_unique_##type), equal_values<qvo_##type>);

TEST(Unique, FollowsTheSteps) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER)
    check_unique(any_type<t_char>(5), MEMBER(qvo_seq_unique_char), equal_strings);
}

TEST(Unique, KeepsEverythingInItsFirstCall_deliberate) {
    Source first(t_int4{}, {{1}, {1}, {2, 5}, {2}});
    Record it;
    ASSERT_EQ(qvo_seq_unique_int4(it.get(), first.get()), QVO_S_OK);
    check_items<t_int4>(drain<t_int4>(it.get()), {{1}, {1}, {2}, {2}});
    EXPECT_EQ(it->next_seq_no, 4U);
    // The second call knows the last value of the first.
    Items<t_int4> items(819, {7, 1});
    for (const int v : {7, 7, 8, 8, 7}) items.push_back({v, 2});
    Source source(t_int4{}, items);
    ASSERT_EQ(qvo_seq_unique_int4(it.get(), source.get()), QVO_S_OK);
    for (unsigned round = 0; round < 2; ++round) {
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        EXPECT_EQ(it->tile_size, 819);
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        check_items<t_int4>(tile_items<t_int4>(it.it), {{8}, {7}});
        EXPECT_EQ(it->next_seq_no, 821U);
        EXPECT_EQ(it->next(it.get()), QVO_S_CURSOR_END);
        ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
    }
}

TEST(Unique, WideStrings) {
    // 15 strings of 264 bytes fill a tile; they differ in their last byte alone, after a zero byte.
    Items<t_char> items;
    for (unsigned i = 0; i < 40; ++i) {
        std::string text(264, 'x');
        text[100] = 0;
        text[263] = static_cast<char>('a' + i / 4);
        items.push_back({text, 1});
    }
    Source source(t_char{}, items, {}, 264), wider(t_char{}, {{"a"}}, {}, 265);
    Record it;
    const qvo_seq_iterator_t before = it.it;
    EXPECT_EQ(qvo_seq_unique_char(it.get(), wider.get()), QVO_E_ILLEGAL_PARAM);
    EXPECT_EQ(std::memcmp(&before, &it.it, sizeof before), 0);
    EXPECT_EQ(wider->bounded, 1);
    ASSERT_EQ(qvo_seq_unique_char(it.get(), source.get()), QVO_S_OK);
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(it->tile_size, 15);
    ASSERT_EQ(it->next(it.get()), QVO_S_OK);  // the 16th is the fourth of its kind
    ASSERT_EQ(it->tile_size, 6);
    EXPECT_EQ(tile_items<t_char>(it.it)[0].value.back(), 'e');
}

}  // namespace
}  // namespace test
