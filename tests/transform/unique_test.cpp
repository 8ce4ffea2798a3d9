// Dropping elements that are equal to the last one kept.
#include "support/protocol.h"

namespace test {
namespace {

template <class T> struct Kept { typename T::value value{}; };

template <class T> QVO_RET literal_unique(qvo_seq_iterator_h it, Kept<T>& kept) {
    const qvo_seq_iterator_h input = it->opd[0];
    Items<T> tile;  // of the input, while it lasts
    const auto load = [&] { tile = tile_items<T>(*input); };
    load();
    size_t i = 0;
    while (i < capacity_of(it->elem_size)) {
        QVO_RET rc = QVO_S_OK;
        const bool used_up = input->tile_offs >= input->tile_size;
        if (!literal_refill(input, i, &rc)) {
            if (rc != QVO_S_OK) return rc;
            break;
        }
        if (used_up) load();
        const size_t k = input->tile_offs++;
        if (it->next_seq_no != 0 && tile[k].value == kept.value) continue;
        kept.value = tile[k].value;
        literal_copy(it, i, input, k);
        literal_put_run(it, i, 1);
        ++i;
    }
    it->next_seq_no += i;
    it->tile_size = static_cast<uint16_t>(i);
    return QVO_S_OK;
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);

template <class T> void check_unique(const char* name, Constructor construct, qvo_seq_iterator_next_t next) {
    Member member;
    member.name = name;
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0]); };
    member.type = T::code;
    member.width = test_width<T>;
    member.next = next;
    member.reset = qvo_seq_reset_unary_agg_iterator;
    for (unsigned seed = 0; seed < 12; ++seed) {
        Random random(seed);
        const size_t capacity = capacity_of(test_width<T>);
        Items<T> items = draw_items<T>(random, capacity + random.between(4, 4000));
        // Neighbours of one value, few or many; zeros of both signs among them, which are equal.
        const unsigned percent = seed * 9;
        for (size_t i = 1; i < items.size(); ++i) {
            if (random.chance(percent)) items[i].value = items[i - 1].value;
            if constexpr (std::is_floating_point_v<typename T::value>)
                if (items[i].value == 0 && random.chance(50)) items[i].value = -items[i].value;
        }
        member.operands = {operand<T>(items, test_width<T>)};
        if (seed == 0) check_protocol(member);
        Kept<T> kept;
        check_steps(member, [&](qvo_seq_iterator_h it) { return literal_unique<T>(it, kept); },
                    {random_script(random, seed)});
        if (testing::Test::HasFailure()) return;
    }
}

TEST(Unique, FollowsTheSteps) {
#define CHECK(type) check_unique<t_##type>(MEMBER(qvo_seq_unique_##type));
    QVO_SEQ_FOR_FIXED_TYPES(CHECK) CHECK(char)
#undef CHECK
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
    // 15 strings of 264 bytes fill a tile; they differ in their last byte alone, behind a zero byte.
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
