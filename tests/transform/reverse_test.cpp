// Reversed sequences: in one tile, and by way of a buffer.
#include <algorithm>

#include "transform/shaping.h"

namespace test {
namespace {

template <class T>
void check_reverse(const char* name, QVO_RET (*reverse)(qvo_seq_iterator_h, qvo_seq_iterator_h),
                   qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t buffer_reset) {
    SCOPED_TRACE(name);
    Member member = shaping_member(name, T::code, test_width<T>, reverse, next);
    member.operands = {operand<T>(Items<T>(4, {{}, 3}), test_width<T>)};
    check_protocol(member);
    const Allocator allocator;
    const BindingCheck check;
    for (const size_t n : {1, 47, 300, 301, 3000}) {
        const bool one_tile = n <= 300;
        Random random(static_cast<unsigned>(n));
        auto items = draw_items<T>(random, n);
        if constexpr (std::is_same_v<T, t_char>)
            for (auto& item : items) item.value.resize(test_width<T>);
        auto expected = one_tile ? items : singles<T>(expand(items));
        std::reverse(expected.begin(), expected.end());
        Source source(T{}, items, {{300}}, test_width<T>);
        Record it;
        ASSERT_EQ(reverse(it.get(), source.get()), QVO_S_OK);
        for (int round = 0; round < 2; ++round) {
            check_items<T>(drain<T>(it.get()), expected);
            EXPECT_EQ(it->reset, one_tile ? qvo_seq_reset_unary_iterator : buffer_reset);
            EXPECT_EQ(allocator.blocks(), one_tile ? 0U : 1U);
            EXPECT_EQ(source->bounded, 1);
            ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
            EXPECT_TRUE(it->next == next && it->reset == qvo_seq_reset_unary_iterator && it->next_seq_no == 0);
            EXPECT_EQ(allocator.blocks(), 0U);
        }
    }
}

#define TEST_MEMBER(type) check_reverse<t_##type>(MEMBER(qvo_seq_reverse_##type), qvo_seq_reverse_##type##_reset);

TEST(Reverse, TurnsSequencesRound) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) TEST_MEMBER(char) }

TEST(Reverse, FailuresLeaveNothingBehind) {
    Allocator allocator;
    const Items<t_int4> items{{1}, {2}, {3}, {4}, {5}};
    Source source(t_int4{}, items, {{2}});
    Record it;
    ASSERT_EQ(qvo_seq_reverse_int4(it.get(), source.get()), QVO_S_OK);
    allocator.fail_at(0);
    EXPECT_EQ(it->next(it.get()), QVO_E_NOMEM);
    allocator.never_fail();
    ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
    check_items<t_int4>(drain<t_int4>(it.get()), {{5}, {4}, {3}, {2}, {1}});
    ASSERT_EQ(it->reset(it.get()), QVO_S_OK);

    for (const auto& [script, code] : {std::pair(Script{{2}, SIZE_MAX, QVO_S_OK, 4712}, 4712),  // the input's reset
                                       {{{2}, 2, 4711, QVO_S_OK}, 4711}}) {  // right after the first tile
        source.set_script(script);
        EXPECT_EQ(it->next(it.get()), code);
        source.set_script({});
        ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
    }
    // The count ends at an error without reporting it, and the reader does not come so far.
    source.set_script({{1}, 3, 4711, QVO_S_OK});
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    check_items<t_int4>(tile_items<t_int4>(it.it), {{3}, {2}, {1}});
    ASSERT_EQ(it->reset(it.get()), QVO_S_OK);
    EXPECT_EQ(allocator.blocks(), 0U);

    Source widens(t_char{}, {{"a"}, {"b"}}, {{1}});
    ASSERT_EQ(qvo_seq_reverse_char(it.get(), widens.get()), QVO_S_OK);
    widens->elem_size = 2;
    EXPECT_EQ(it->next(it.get()), QVO_E_ILLEGAL_TYPE);
}

TEST(Reverse, AnInputThatShrinksIsASuccessWithoutATile_deliberate) {
    const Allocator allocator;
    Source source(t_int4{}, {{1}});
    // A tile of one position each: one less after every reset.
    source->context[0] = 5;
    source->next = [](qvo_seq_iterator_h it) -> QVO_RET {
        if (it->next_seq_no >= it->context[0]) return QVO_S_CURSOR_END;
        ++it->next_seq_no;
        literal_put_run(it, 0, 1);
        it->tile_size = 1;
        return QVO_S_OK;
    };
    source->reset = [](qvo_seq_iterator_h it) {
        --it->context[0];
        return qvo_seq_reset_iterator(it);
    };
    Record it;
    ASSERT_EQ(qvo_seq_reverse_int4(it.get(), source.get()), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    EXPECT_EQ(it->tile_size, 0);
    EXPECT_EQ(source->bounded, 1);
}

TEST(Reverse, HasNoBufferBeforeTheFirstCall) {
    Source source(t_int4{}, {{1}});
    Record it;
    it->owned_buf = 1;  // over a buffer that is none
    ASSERT_EQ(qvo_seq_reverse_int4(it.get(), source.get()), QVO_S_OK);
    qvo_seq_free_buffer(it.get());
}

}  // namespace
}  // namespace test
