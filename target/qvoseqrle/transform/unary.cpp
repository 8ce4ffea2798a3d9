// Absolute value and negation.
//
// Unsigned values are their own absolute value and, deliberately, their own negation; only datetime is negated modulo
// 2^64. Those members copy the operand's values.
#include <bit>

#include "core/elementwise.h"
#include "core/number.h"

namespace qvo {
namespace {

/// The value with its sign bit flipped if `flip`. Unlike a subtraction from zero that turns NaNs too, and makes none of
/// them quiet.
template <class V> QVO_INLINE V flip_sign(V value, bool flip) {
    using Bits = std::conditional_t<sizeof(V) == sizeof(uint32_t), uint32_t, uint64_t>;
    constexpr Bits sign = Bits{1} << (8 * sizeof(V) - 1);
    return std::bit_cast<V>(std::bit_cast<Bits>(value) ^ (flip ? sign : 0));
}

struct Abs {
    template <class V> QVO_INLINE static V apply(V value) {
        if constexpr (std::is_floating_point_v<V>)
            return flip_sign(value, 0 > value);  // false for -0 and for every NaN: they stay
        else
            return value < 0 ? wrapping_sub(V{0}, value) : value;
    }
};
struct Neg {
    template <class V> QVO_INLINE static V apply(V value) {
        if constexpr (std::is_floating_point_v<V>)
            return flip_sign(value, true);
        else
            return wrapping_sub(V{0}, value);
    }
};

}  // namespace

#define STAMP(type)                                                     \
    QVO_DEFINE_UNARY(qvo_seq_abs_##type, elem_##type, elem_##type, Abs) \
    QVO_DEFINE_UNARY(qvo_seq_neg_##type, elem_##type, elem_##type, Neg)
STAMP(int1)
STAMP(int2)
STAMP(int4)
STAMP(int8)
STAMP(float)
STAMP(double)
#undef STAMP

#define STAMP(type)                                                                                           \
    QVO_DEFINE_UNARY_LOOP(qvo_seq_abs_##type, qvo_seq_abs_##type##_next, elem_##type, elem_##type, copy_loop) \
    QVO_DEFINE_UNARY_LOOP(qvo_seq_neg_##type, qvo_seq_neg_##type##_next, elem_##type, elem_##type, copy_loop)
STAMP(uint1)
STAMP(uint2)
STAMP(uint4)
STAMP(uint8)
#undef STAMP

QVO_DEFINE_UNARY_LOOP(qvo_seq_abs_datetime, qvo_seq_abs_datetime_next, elem_datetime, elem_datetime, copy_loop)
QVO_DEFINE_UNARY(qvo_seq_neg_datetime, elem_datetime, elem_datetime, Neg)

}  // namespace qvo
