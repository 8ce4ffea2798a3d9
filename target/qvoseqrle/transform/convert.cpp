// Conversion between any two fixed types, under two names each.
//
// 121 members share 48 loops, for what two of them do to the bits is often the same: integers of one width differ in
// name only and are copied, narrowing keeps low bits whatever the signs are, widening asks only for the source's sign,
// and floating values reach 1- and 2-byte integers through a signed number. datetime is a uint8 here.
#include "core/elementwise.h"
#include "core/number.h"

namespace qvo {
namespace {

template <class To> struct Convert {
    template <class From> QVO_INLINE static To apply(From value) { return convert<To>(value); }
};

// Stands for both integers of its width where the sign makes no difference.
template <class V> using signed_of = std::make_signed_t<V>;

template <class From, class To> constexpr UnaryLoop conversion_loop() {
    constexpr bool from_integer = std::is_integral_v<From>, to_integer = std::is_integral_v<To>;
    if constexpr (sizeof(From) == sizeof(To) && from_integer == to_integer)
        return copy_loop;
    else if constexpr (from_integer && to_integer && sizeof(From) > sizeof(To))
        return ValueLoop<signed_of<From>, signed_of<To>, Convert<signed_of<To>>>::run;
    else if constexpr ((from_integer && to_integer) || sizeof(To) < sizeof(int32_t))
        return ValueLoop<From, signed_of<To>, Convert<signed_of<To>>>::run;
    else
        return ValueLoop<From, To, Convert<To>>::run;
}

}  // namespace

#define STAMP(from, to)                                                                                            \
    QVO_DEFINE_UNARY_LOOP(qvo_seq_##from##_to_##to, qvo_seq_##from##_to_##to##_next, elem_##from, elem_##to,       \
                          conversion_loop<qvo_##from, qvo_##to>())                                                 \
    extern "C" QVO_API QVO_RET qvo_seq_##to##_from_##from(qvo_seq_iterator_h result, qvo_seq_iterator_h operand) { \
        return qvo_seq_##from##_to_##to(result, operand);                                                          \
    }
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, int1)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, int2)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, int4)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, int8)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, uint1)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, uint2)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, uint4)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, uint8)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, float)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, double)
QVO_SEQ_FOR_FIXED_TYPES_WITH(STAMP, datetime)
#undef STAMP

}  // namespace qvo
