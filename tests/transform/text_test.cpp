// Concatenation of strings and of raw bytes.
#include "support/protocol.h"

namespace test {
namespace {

using Construct = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

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

/// A member for operands of the given widths, against `model` of the elements' bytes.
template <class Model> void check_join(Member member, Random& random, Model model) {
    std::vector<Script> scripts{{random_tile_sizes(random)}, {random_tile_sizes(random)}};
    if (random.chance(30)) scripts[random.below(2)].stop_at = random.below(500), scripts[0].stop_code = 4711;
    if (scripts[1].stop_at != SIZE_MAX) scripts[1].stop_code = 4711;
    check_steps(
        member,
        [&](qvo_seq_iterator_h it) {
            return literal_overlap_next(it, [&](size_t i) {
                const std::string bytes = model(element_bytes(it->opd[0], it->opd[0]->tile_offs),
                                                element_bytes(it->opd[1], it->opd[1]->tile_offs));
                std::memcpy(it->tile.u.arr_char + i * it->elem_size, bytes.data(), bytes.size());
            });
        },
        scripts);
}

Member join_member(const char* name, Construct construct, qvo_seq_iterator_next_t next, size_t width) {
    Member member;
    member.name = name;
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0], o[1]); };
    member.type = QVO_DD_CHAR;
    member.width = width;
    member.next = next;
    member.reset = qvo_seq_reset_binary_iterator;
    return member;
}

TEST(Text, AddCharFollowsTheModel) {
    static constexpr unsigned widths[][2] = {{1, 1}, {2, 3}, {4, 3}, {8, 8}, {15, 17}, {1, 31}, {31, 1}, {7, 20}};
    for (unsigned seed = 0; seed < 8; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const unsigned* const w = widths[seed];
        Member member = join_member(MEMBER(qvo_seq_add_char), w[0] + w[1]);
        member.operands = {operand<t_char>(random_strings(random, random.between(4, 2000), w[0]), w[0]),
                           operand<t_char>(random_strings(random, random.between(4, 2000), w[1]), w[1])};
        check_protocol(member);
        check_join(member, random, add_char_model);
    }
}

template <class A, class B> void check_cat(unsigned seed) {
    SCOPED_TRACE(std::string(A::name) + " and " + B::name);
    Random random(seed);
    Member member = join_member(MEMBER(qvo_seq_cat), A::width + B::width);
    member.type_checked = {false, false};
    member.operands = {operand<A>(random_items<A>(random, random.between(4, 2000))),
                       operand<B>(random_items<B>(random, random.between(4, 2000)))};
    check_protocol(member);
    check_join(member, random, [](const std::string& a, const std::string& b) { return a + b; });
}

#define CHECK_WITH(first, type) check_cat<t_##first, t_##type>(t_##type::code);
#define CHECK_CAT_INT2(type) CHECK_WITH(int2, type)
#define CHECK_CAT_DOUBLE(type) CHECK_WITH(double, type)

TEST(Text,
     CatJoinsTheBytesOfAnyTypes){QVO_SEQ_FOR_FIXED_TYPES(CHECK_CAT_INT2) QVO_SEQ_FOR_FIXED_TYPES(CHECK_CAT_DOUBLE)}

Items<t_char> joined(Construct construct, Source& a, Source& b) {
    Record it;
    EXPECT_EQ(construct(it.get(), a.get(), b.get()), QVO_S_OK);
    return drain<t_char>(it.get());
}

TEST(Text, WorkedCases) {
    Source ab(t_char{}, {{"ab", 5}}, {}, 4), cd(t_char{}, {{"cd", 2}, {"", 3}, {"xyz", 1}}, {}, 3);
    check_items<t_char>(joined(qvo_seq_add_char, ab, cd),
                        {{std::string("abcd\0\0\0", 7), 2}, {std::string("ab\0\0\0\0\0", 7), 3}});

    Source four(t_int4{}, {{0x04030201, 1}}), two(t_int2{}, {{0x0605, 9}});
    check_items<t_char>(joined(qvo_seq_cat, four, two), {{"\x01\x02\x03\x04\x05\x06", 1}});
}

TEST(Text, JointWidthAbove32IsAnIllegalType_deliberate) {
    for (const Construct construct : {qvo_seq_add_char, qvo_seq_cat}) {
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
    for (const Construct construct : {qvo_seq_add_char, qvo_seq_cat}) {
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
