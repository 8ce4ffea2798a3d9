// A three-operand element-wise family, made from the library's templates as one of the library's own would be: it is
// here to be measured beside those of two operands.
#include "core/elementwise.h"
#include "core/number.h"
#include "elementwise.h"

namespace qvo {

struct MultiplyAdd {
    template <class V> QVO_INLINE static V apply(V a, V b, V c) { return Add::apply(Multiply::apply(a, b), c); }
};
QVO_DEFINE_TERNARY(bench_seq_muladd_int1, elem_int1, elem_int1, MultiplyAdd)
QVO_DEFINE_TERNARY(bench_seq_muladd_int4, elem_int4, elem_int4, MultiplyAdd)
QVO_DEFINE_TERNARY(bench_seq_muladd_double, elem_double, elem_double, MultiplyAdd)

namespace bench {
namespace {

QVO_BENCH_FAMILIES(ternary) {
    const auto multiply_add = [](auto a, auto b, auto c) { return static_cast<decltype(a)>(a * b + c); };
    add_member<qvo_int1, qvo_int1>("muladd", "int1", ternary_shapes, bench_seq_muladd_int1, multiply_add);
    add_member<qvo_int4, qvo_int4>("muladd", "int4", ternary_shapes, bench_seq_muladd_int4, multiply_add);
    add_member<qvo_double, qvo_double>("muladd", "double", ternary_shapes, bench_seq_muladd_double, multiply_add);
}

}  // namespace
}  // namespace bench
}  // namespace qvo
