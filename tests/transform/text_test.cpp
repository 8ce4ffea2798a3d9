// Concatenation of strings and of raw bytes.
#include "support/protocol.h"

namespace test {
namespace {

std::string element_bytes(const qvo_seq_iterator_t* it, size_t i) {
    return std::string(it->tile.u.arr_char + i * it->elem_size, it->elem_size);
}

/// Strings over few bytes, zero among them, of any length up to `longest`.
Items<t_char> random_strings(Random& random, size_t n, size_t longest) {
    return random_items<t_char>(random, n, [=](Random& r) {
        std::string s;
        for (unsigned k = r.below(static_cast<unsigned>(longest) + 1); k != 0; --k) s += "ab\xff\0"[r.below(4)];
        return s;
    });
}

std::string add_char_model(const std::string& a, const std::string& b) {
    std::string joined = std::string(a.c_str()) + b.c_str();
    joined.resize(a.size() + b.size());
    return joined;
}

/// A member against `model` of the elements' bytes.
template <class Model>
void check_joining(const Member& member, const DrawOperand& draw_left, const DrawOperand& draw_right, Model model) {
    check_binary(member, draw_left, draw_right, [=](qvo_seq_iterator_h it, size_t i) {
        const std::string bytes =
            model(element_bytes(it->opd[0], it->opd[0]->tile_offs), element_bytes(it->opd[1], it->opd[1]->tile_offs));
        std::memcpy(it->tile.u.arr_char + i * it->elem_size, bytes.data(), bytes.size());
    });
}

TEST(Text, AddCharFollowsTheModel) {
    static constexpr unsigned widths[][2] = {{1, 1}, {2, 3}, {4, 3}, {8, 8}, {15, 17}, {1, 31}, {31, 1}, {7, 20}};
    const auto draw = [](size_t width) {
        return [=](Random& random, size_t n) { return operand<t_char>(random_strings(random, n, width), width); };
    };
    for (const auto& w : widths)
        check_joining(binary_member(MEMBER(qvo_seq_add_char), QVO_DD_CHAR, w[0] + w[1]), draw(w[0]), draw(w[1]),
                      add_char_model);
}

TEST(Text, CatJoinsTheBytesOfAnyTypes) {
    const auto draw = [](const AnyType& type) {
        return [=](Random& random, size_t n) { return type.operand(random, n); };
    };
    for (const AnyType& a : {any_type<t_int2>(), any_type<t_double>(), any_type<t_char>(7)})
        for (const AnyType& b : all_types()) {
            SCOPED_TRACE(a.name + " and " + b.name);
            Member member = binary_member(MEMBER(qvo_seq_cat), QVO_DD_CHAR, a.width + b.width);
            member.type_checked = {false, false};
            check_joining(member, draw(a), draw(b), [](const std::string& x, const std::string& y) { return x + y; });
        }
}

TEST(Text, WorkedCases) {
    Source ab(t_char{}, {{"ab", 5}}, {}, 4), cd(t_char{}, {{"cd", 2}, {"", 3}, {"xyz", 1}}, {}, 3);
    check_items<t_char>(drained<t_char>(qvo_seq_add_char, ab.get(), cd.get()),
                        {{std::string("abcd\0\0\0", 7), 2}, {std::string("ab\0\0\0\0\0", 7), 3}});

    Source four(t_int4{}, {{0x04030201, 1}}), two(t_int2{}, {{0x0605, 9}});
    check_items<t_char>(drained<t_char>(qvo_seq_cat, four.get(), two.get()), {{"\x01\x02\x03\x04\x05\x06", 1}});
}

TEST(Text, JointWidthAbove32IsAnIllegalType_deliberate) {
    for (const ConstructBinary construct : {qvo_seq_add_char, qvo_seq_cat}) {
        Source a(t_char{}, {{"a"}}, {}, 20), b(t_char{}, {{"b"}}, {}, 13), c(t_char{}, {{"c"}}, {}, 12);
        Record it;
        EXPECT_EQ(construct(it.get(), a.get(), b.get()), QVO_E_ILLEGAL_TYPE);
        EXPECT_TRUE(a->bounded == 0 && b->bounded == 0);
        EXPECT_EQ(construct(it.get(), a.get(), c.get()), QVO_S_OK);
        EXPECT_EQ(it->elem_size, 32);
    }
}

TEST(Text, OperandsThatWidenLaterAreCutOff) {
    // Like a text source that learns its width from its first string.
    for (const ConstructBinary construct : {qvo_seq_add_char, qvo_seq_cat}) {
        Source a(t_char{}, {{"abcdefgh", 255}}, {}, 8), b(t_char{}, {{"xyz"}, {"uvw"}}, {}, 3);
        a->elem_size = 0;
        Record it;
        ASSERT_EQ(construct(it.get(), a.get(), b.get()), QVO_S_OK);
        a->elem_size = 8;
        check_items<t_char>(drain<t_char>(it.get()), {{"abc", 1}, {"abc", 1}});
    }
}

}  // namespace
}  // namespace test
