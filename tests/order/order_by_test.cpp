// A sequence in the order of a permutation: every type against the picked positions, loading and its failures.
#include "support/number.h"

namespace test {
namespace {

using Permutation = std::vector<qvo_seq_no_t>;

/// The constructor of one type, the array of values untyped.
using Construct = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, const Permutation&, void*);

void check_member(const char* name, Construct construct, qvo_seq_iterator_next_t next, uint8_t type, size_t width) {
    SCOPED_TRACE(name);
    const AnyType any{name, type, width};
    Random of_four(type);
    const Permutation backwards{3, 2, 1, 0};
    Member member = unary_member(
        name, [&](qvo_seq_iterator_h it, qvo_seq_iterator_h input) { return construct(it, input, backwards, nullptr); },
        next, type, width);
    member.aggregate = true;  // sets `prepared` like one
    member.bound = {false};
    member.operands = {any.operand(singles<t_char>(expand(any.items(of_four, 4))))};
    check_protocol(member);

    for_seeds(6, [&](Random& random, unsigned round) {
        const Elements elements{type, width, any.items(random, random.between(1, 200))};
        const auto values = expand<t_char>(elements.items);
        Permutation permutation(values.size());
        for (auto& position : permutation) position = random.below(unsigned(values.size()));
        const auto input = source_of(elements, {random_tile_sizes(random)});
        std::string array;
        for (const auto& value : values) array += value;
        Items<t_char> expected;
        for (const qvo_seq_no_t position : permutation) expected.push_back({values[position], 1});
        const bool given = round % 2 != 0;
        Allocator allocator;
        Record it;
        ASSERT_EQ(construct(it.get(), input->get(), permutation, given ? array.data() : nullptr), QVO_S_OK);
        EXPECT_EQ(it->last_seq_no, values.size() - 1);
        EXPECT_EQ(it->buf_size, values.size() * width);
        EXPECT_TRUE(it->owned_buf == 1 && it->prepared == 0 && input->get()->bounded == 0);
        check_items<t_char>(drain<t_char>(it.get()), expected);
        EXPECT_EQ(input->n_next() == 0, given);
        EXPECT_EQ(allocator.blocks(), given ? 0U : 1U);
        EXPECT_EQ(it->reset(it.get()), QVO_S_OK);
        EXPECT_EQ(allocator.blocks(), 0U);
        EXPECT_EQ(it->buf, given ? array.data() : nullptr) << "the caller's array stays over a reset";
        check_items<t_char>(drain<t_char>(it.get()), expected);
        if (!given) qvo_seq_free_buffer(it.get());
    });
}

#define CHECK_MEMBER(type, value_type, width)                                                              \
    check_member(                                                                                          \
        "qvo_seq_order_by_" #type,                                                                         \
        [](qvo_seq_iterator_h it, qvo_seq_iterator_h input, const Permutation& p, void* data) {            \
            return qvo_seq_order_by_##type(it, input, p.data(), p.size(), static_cast<value_type*>(data)); \
        },                                                                                                 \
        qvo_seq_order_by_##type##_next, t_##type::code, width);
#define CHECK_FIXED(type) CHECK_MEMBER(type, qvo_##type, sizeof(qvo_##type))

TEST(OrderBy, PicksThePositions) {
    QVO_SEQ_FOR_FIXED_TYPES(CHECK_FIXED)
    for (const size_t width : {1U, 8U, 15U, 300U}) CHECK_MEMBER(char, char, width)
}

struct Int4 {
    Source input;
    Permutation permutation;
    Record it;
    Int4(Items<t_int4> items, Permutation p, Script script = {}) : input(t_int4{}, items, script), permutation(p) {
        EXPECT_EQ(qvo_seq_order_by_int4(it.get(), input.get(), permutation.data(), permutation.size(), nullptr),
                  QVO_S_OK);
    }
    ~Int4() { qvo_seq_free_buffer(it.get()); }
    QVO_RET next() { return it->next(it.get()); }
};

TEST(OrderBy, AFailedLoadReleasesItsBufferAndLoadsAgain) {
    Allocator allocator;
    Int4 by({{10}, {20}, {30}}, {2, 0, 1}, {{}, 2, 4711});
    allocator.fail_at(0);
    EXPECT_EQ(by.next(), QVO_E_NOMEM);
    EXPECT_TRUE(by.it->buf == nullptr && by.it->owned_buf == 1 && by.input.n_next() == 0);
    EXPECT_EQ(by.next(), 4711);
    EXPECT_TRUE(by.it->buf == nullptr && by.it->tile_size == 0 && allocator.blocks() == 0);
    by.input.set_script({});
    EXPECT_EQ(by.it->reset(by.it.get()), QVO_S_OK);
    check_items<t_int4>(drain<t_int4>(by.it.get()), {{30}, {10}, {20}});

    Int4 empty({}, {0}), nothing({{1}}, {});
    EXPECT_TRUE(empty.next() == QVO_S_CURSOR_END && nothing.next() == QVO_S_CURSOR_END);
    EXPECT_EQ(nothing.input.n_next(), 0U);
    EXPECT_EQ(allocator.blocks(), 1U) << "that of the first iterator";

    // More bytes than can be counted.
    Record it;
    Source input(t_int4{}, {{1}});
    const qvo_seq_no_t position = 0;
    EXPECT_EQ(qvo_seq_order_by_int4(it.get(), input.get(), &position, (uint64_t{1} << 62) + 1, nullptr), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_E_NOMEM);
}

TEST(OrderBy, InputsOfAnotherLength) {
    Int4 longer({{1}, {2}, {3}, {4}}, {1, 0}, {{1}});
    check_items<t_int4>(drain<t_int4>(longer.it.get()), {{2}, {1}});
    EXPECT_EQ(longer.input.n_next(), 2U) << "no further than needed";
    Int4 shorter({{1}}, {0, 0});
    EXPECT_TRUE(catch_stop([&] { shorter.next(); }).stopped);
}

TEST(OrderBy, TheInputIsCheckedWhenItIsRead_deliberate) {
    const BindingCheck check;
    Int4 by({{1}, {2}}, {1, 0});
    EXPECT_EQ(by.input->bounded, 0);
    by.input->bounded = 1;
    EXPECT_EQ(by.next(), QVO_E_SEQ_BOUNDED);
    EXPECT_EQ(by.it->buf, nullptr);
    by.input->bounded = 0;
    check_items<t_int4>(drain<t_int4>(by.it.get()), {{2}, {1}});
}

}  // namespace
}  // namespace test
