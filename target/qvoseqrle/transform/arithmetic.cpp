// Sum, difference, product, quotient, remainder, maximum and minimum of two sequences, element by element.
#include "core/elementwise.h"
#include "core/number.h"

namespace qvo {
namespace {

struct Div {
    template <class V> QVO_INLINE static V apply(V a, V b) { return divide(a, b); }
};
struct Mod {
    template <class V> QVO_INLINE static V apply(V a, V b) { return remainder(a, b); }
};
// The left value if it beats the right one: with a NaN on either side, the maximum and the minimum are the right value.
struct Max {
    template <class V> QVO_INLINE static V apply(V a, V b) { return Greater::apply(b, a); }
};
struct Min {
    template <class V> QVO_INLINE static V apply(V a, V b) { return Less::apply(b, a); }
};

}  // namespace

#define STAMP(type)                                                           \
    QVO_DEFINE_BINARY(qvo_seq_add_##type, elem_##type, elem_##type, Add)      \
    QVO_DEFINE_BINARY(qvo_seq_sub_##type, elem_##type, elem_##type, Subtract) \
    QVO_DEFINE_BINARY(qvo_seq_mul_##type, elem_##type, elem_##type, Multiply) \
    QVO_DEFINE_BINARY(qvo_seq_div_##type, elem_##type, elem_##type, Div)      \
    QVO_DEFINE_BINARY(qvo_seq_mod_##type, elem_##type, elem_##type, Mod)      \
    QVO_DEFINE_BINARY(qvo_seq_max_##type, elem_##type, elem_##type, Max)      \
    QVO_DEFINE_BINARY(qvo_seq_min_##type, elem_##type, elem_##type, Min)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

}  // namespace qvo
