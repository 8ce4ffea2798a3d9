// The walk over three operands: a family as a newcomer would add it, at the speed and by the rules of the others.
//
// This is the one test that is built with the library's own headers, and with the static library.
#include <cstdlib>

#include "core/elementwise.h"
#include "core/number.h"
#include "support/protocol.h"

namespace qvo {

struct MultiplyAdd {
    template <class V> QVO_INLINE static V apply(V a, V b, V c) { return Add::apply(Multiply::apply(a, b), c); }
};
QVO_DEFINE_TERNARY(test_seq_muladd_int4, elem_int4, elem_int4, MultiplyAdd)
QVO_DEFINE_TERNARY(test_seq_muladd_uint1, elem_uint1, elem_uint1, MultiplyAdd)

}  // namespace qvo

namespace test {
namespace {

template <class T> void check_ternary(const char* name, ConstructTernary construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    const auto value = [](const qvo_seq_iterator_t* operand) {
        return uint32_t(literal_value<V>(operand, operand->tile_offs));
    };
    const DrawOperand draw = [](Random& random, size_t n) { return operand<T>(random_items<T>(random, n)); };
    Member member = ternary_member(name, construct, next, T::code, T::width);
    member.source = "core/walk_test.cpp";
    check_overlaps(
        member, {draw, draw, draw},
        [=](qvo_seq_iterator_h it, size_t i) {
            literal_put(it, i, static_cast<V>(value(it->opd[0]) * value(it->opd[1]) + value(it->opd[2])));
        },
        200);
}

TEST(Walk, OverThreeOperandsFollowsTheSteps) {
    check_ternary<t_int4>("muladd_int4", qvo::test_seq_muladd_int4, qvo::test_seq_muladd_int4_next);
    check_ternary<t_uint1>("muladd_uint1", qvo::test_seq_muladd_uint1, qvo::test_seq_muladd_uint1_next);
}

// Runs with less than the machine has (QVOSEQ_CPU) would else repeat the one with all of it.
TEST(Walk, TakesTheLoopsOfTheMachineOrOfLess) {
#if QVO_WIDE_X86
    const std::string most = std::getenv("QVOSEQ_CPU") != nullptr ? std::getenv("QVOSEQ_CPU") : "";
    EXPECT_EQ(qvo::cpu_level >= qvo::CpuLevel::avx2, most != "plain" && __builtin_cpu_supports("avx2"));
    EXPECT_EQ(qvo::cpu_level >= qvo::CpuLevel::avx512,
              most != "plain" && most != "avx2" && __builtin_cpu_supports("avx512bitalg"));
#endif
}

}  // namespace
}  // namespace test
