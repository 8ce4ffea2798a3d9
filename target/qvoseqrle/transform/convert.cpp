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

/// Floating values to uint4, which are the low bits of a conversion to 64 bits. For that there is only a hardware
/// conversion of single values, but one to 32 bits takes many: it serves where all values of a chunk fit 32 bits,
/// signed or unsigned, with 2^31 taken off the larger ones and put back into the result.
template <class F> struct ToUint4 {
    static constexpr F half = 0x1p31;

    QVO_INLINE static bool all_fit(const F* from) {
        unsigned outside = 0;
        for (size_t k = 0; k < chunk; ++k) outside |= !(from[k] >= -half && from[k] < 2 * half);
        return outside == 0;
    }
    QVO_INLINE static void convert_fitting(uint32_t* __restrict out, const F* __restrict from) {
        for (size_t k = 0; k < chunk; ++k) {
            const bool high = from[k] >= half;
            const auto low = static_cast<int32_t>(high ? from[k] - half : from[k]);
            out[k] = static_cast<uint32_t>(low) ^ (high ? uint32_t{1} << 31 : 0);
        }
    }

    QVO_INLINE static void run(qvo_seq_iterator_h it, size_t to, const uint8_t* from, size_t first, size_t n) {
        const F* const values = reinterpret_cast<const F*>(from) + first;
        uint32_t* const out = values_of<uint32_t>(it) + to;
        for (size_t i = 0; i < n; i += chunk) {
            const size_t m = std::min(chunk, n - i);
            if (m == chunk && all_fit(values + i))
                convert_fitting(out + i, values + i);
            else
                apply<Convert<uint32_t>>(out + i, values + i, m);
        }
    }
};

// Stands for both integers of its width where the sign makes no difference.
template <class V> using signed_of = std::make_signed_t<V>;

template <class From, class To> constexpr UnaryLoop conversion_loop() {
    constexpr bool from_integer = std::is_integral_v<From>, to_integer = std::is_integral_v<To>;
    // Before AVX-512 there are no vectors that make floating numbers of integers of 64 bits.
    constexpr CpuLevel most = from_integer && sizeof(From) == 8 ? CpuLevel::avx512 : CpuLevel::avx2;
    if constexpr (sizeof(From) == sizeof(To) && from_integer == to_integer)
        return copy_loop;
    else if constexpr (!from_integer && std::is_same_v<To, uint32_t>)
        return for_cpu<ToUint4<From>::run>;
    else if constexpr (from_integer && to_integer && sizeof(From) > sizeof(To))
        return for_cpu<ValueLoop<signed_of<From>, signed_of<To>, Convert<signed_of<To>>>::run>;
    else if constexpr ((from_integer && to_integer) || sizeof(To) < sizeof(int32_t))
        return for_cpu<ValueLoop<From, signed_of<To>, Convert<signed_of<To>>>::run>;
    else
        return for_cpu<ValueLoop<From, To, Convert<To>>::run, most>;
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
