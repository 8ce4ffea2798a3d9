// Comparisons: every member against a model, and strings.
#include "support/protocol.h"

namespace test {
namespace {

/// The model as a function and not a closure: one type for all members of an element type.
template <class T>
void check_compare(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next,
                   bool (*model)(typename T::value, typename T::value)) {
    check_binary<T, t_bool>(name, construct, next, model);
}

#define TEST_MEMBER(type)                                                                               \
    check_compare<t_##type>(MEMBER(qvo_seq_eq_##type), [](auto a, auto b) { return a == b; });          \
    check_compare<t_##type>(MEMBER(qvo_seq_ne_##type), [](auto a, auto b) { return !(a == b); });       \
    check_compare<t_##type>(MEMBER(qvo_seq_ge_##type), [](auto a, auto b) { return a > b || a == b; }); \
    check_compare<t_##type>(MEMBER(qvo_seq_le_##type), [](auto a, auto b) { return a < b || a == b; }); \
    check_compare<t_##type>(MEMBER(qvo_seq_gt_##type), [](auto a, auto b) { return b < a; });           \
    check_compare<t_##type>(MEMBER(qvo_seq_lt_##type), [](auto a, auto b) { return b > a; });

TEST(Compare, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

struct CharMember {
    const char* name;
    ConstructBinary construct;
    qvo_seq_iterator_next_t next;
    bool on_less, on_equal, on_greater;
};
const CharMember char_members[] = {
    {MEMBER(qvo_seq_eq_char), false, true, false}, {MEMBER(qvo_seq_ne_char), true, false, true},
    {MEMBER(qvo_seq_ge_char), false, true, true},  {MEMBER(qvo_seq_le_char), true, true, false},
    {MEMBER(qvo_seq_gt_char), false, false, true}, {MEMBER(qvo_seq_lt_char), true, false, false},
};

/// Strings that often share a beginning, with zero bytes and bytes above 127.
std::string draw_string(Random& random, size_t width) {
    std::string s;
    for (size_t i = 0; i < width; ++i) s += "aaab\0\xff"[random.below(6)];
    return s;
}

TEST(Compare, StringsByUnsignedBytesOverTheWholeWidth) {
    for (const CharMember& c : char_members)
        for (const size_t width : {1U, 5U, 8U, 15U}) {
            const auto draw = [=](Random& random, size_t n) {
                const auto string = [=](Random& r) { return draw_string(r, width); };
                return operand<t_char>(random_items<t_char>(random, n, string), width);
            };
            check_binary(binary_member(c.name, c.construct, c.next, QVO_DD_UINT1, 1), draw, draw,
                         [&](qvo_seq_iterator_h it, size_t i) {
                             const qvo_seq_iterator_h a = it->opd[0], b = it->opd[1];
                             const int order = std::memcmp(a->tile.u.arr_uint1 + a->tile_offs * width,
                                                           b->tile.u.arr_uint1 + b->tile_offs * width, width);
                             const bool result = order < 0 ? c.on_less : order > 0 ? c.on_greater : c.on_equal;
                             literal_put<qvo_seq_bool>(it, i, result);
                         });
        }
}

TEST(Compare, StringsOfUnequalWidthsAreRefusedBeforeTheBindingCheck) {
    for (const CharMember& c : char_members) {
        Source left(t_char{}, {{"a"}}, {}, 8), right(t_char{}, {{"a"}}, {}, 10);
        left->bounded = 1;
        Record it;
        const qvo_seq_iterator_t before = it.it;
        const BindingCheck check;
        EXPECT_EQ(c.construct(it.get(), left.get(), right.get()), QVO_E_ILLEGAL_TYPE) << c.name;
        EXPECT_EQ(std::memcmp(&before, &it.it, sizeof before), 0);
        EXPECT_EQ(right->bounded, 0);
    }
}

TEST(Compare, AConstantKeepsTheRunsOfTheColumn) {
    Source column(t_int4{}, {{5, 200}, {7, 55}, {7, 45}});
    Record constant;
    ASSERT_EQ(qvo_seq_const_int4(constant.get(), 6), QVO_S_OK);
    // A run of the constant ends after 255 positions, which is where one of the column's ends.
    const Items<t_bool> expected{{0, 200}, {1, 55}, {1, 45}};
    check_items<t_bool>(drained<t_bool>(qvo_seq_lt_int4, constant.get(), column.get()), expected);
    for (const qvo_seq_iterator_h it : {constant.get(), column.get()}) ASSERT_EQ(it->reset(it), QVO_S_OK);
    check_items<t_bool>(drained<t_bool>(qvo_seq_gt_int4, column.get(), constant.get()), expected);
}

// Texts without a width have equal ones, 0, when the comparison is built, and others in the end.
TEST(Compare, WidthsThatTurnOutUnequalAreComparedOverTheSmaller_deliberate) {
    TextSource left("{ab,cd"), right("{abx,cdy");
    check_items<t_bool>(drained<t_bool>(qvo_seq_eq_char, left.get(), right.get()), {{1}, {1}});
}

}  // namespace
}  // namespace test
