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

/// The remainder of floating values where the quotient is below 2^20, else a NaN. It is exact: the whole quotient
/// nearest to a / b leaves at most half of b, and each difference on the way there fits a double, as the two parts of
/// b have 26 and 27 bits. What falls below zero is one more b away.
struct QuickMod {
    template <class V> QVO_INLINE static V apply(V left, V right) {
        constexpr double most = 0x1p20, to_whole = 0x1.8p52;  // a sum with the latter has no bits after the point
        const double a = std::fabs(static_cast<double>(left)), b = std::fabs(static_cast<double>(right));
        const double quotient = a / b, whole = (quotient + to_whole) - to_whole;
        const double high = std::bit_cast<double>(std::bit_cast<uint64_t>(b) & ~uint64_t{0x7ffffff});
        const double least = (a - whole * high) - whole * (b - high);
        // Without a branch, which could not be foretold: all bits of b where the sign bit is set.
        const auto below = static_cast<uint64_t>(std::bit_cast<int64_t>(least) >> 63);
        const double rest = least + std::bit_cast<double>(std::bit_cast<uint64_t>(b) & below);
        // The multiple of b may be twice as large as a, and must not overflow; an infinite b would make a NaN of it.
        const bool quick = (quotient < most) & (a < 0x1p1022) & (b < std::numeric_limits<double>::infinity());
        const double result = quick ? rest : std::numeric_limits<double>::quiet_NaN();
        return static_cast<V>(std::copysign(result, static_cast<double>(left)));
    }
};

/// The loops of floating remainders: quick ones by vector code, then the library's function where that gave none.
template <class V> struct FloatModLoops {
    static constexpr size_t n_operands = 2;
    static constexpr auto from = Operand::Values::in_tile;
    using Values = BinaryLoops::Values;
    using Quick = OperationLoops<QuickMod, V, V, V>;

    class Repair {
     public:
        explicit Repair(qvo_seq_iterator_h it)
            : out_(values_of<V>(it)), left_(values_of<V>(it->opd[0])), right_(values_of<V>(it->opd[1])) {}
        QVO_INLINE void operator()(size_t to, size_t left, size_t right) const {
            if (std::isnan(out_[to])) out_[to] = remainder(left_[left], right_[right]);
        }

     private:
        V* out_;
        const V *left_, *right_;
    };
    template <unsigned Set>
    static void stretch(qvo_seq_iterator_h it, size_t to, const Values& values, At<2> at, size_t n) {
        Quick::template stretch<Set>(it, to, values, at, n);
        if (for_cpu<any_nan>(values_of<V>(it) + to, n))
            MappedLoops<Repair>::template stretch<Set>(it, to, values, at, n);
    }
    static void singles(qvo_seq_iterator_h it, size_t to, const Values& values, const BinaryLoops::Steps& steps,
                        size_t n) {
        Quick::singles(it, to, values, steps, n);
        if (for_cpu<any_nan>(values_of<V>(it) + to, n)) MappedLoops<Repair>::singles(it, to, values, steps, n);
    }
    QVO_INLINE static bool any_nan(const V* values, size_t n) {
        unsigned any = 0;
        for (size_t i = 0; i < n; ++i) any |= values[i] != values[i];
        return any != 0;
    }
};
template <class V>
using ModLoops = std::conditional_t<std::is_floating_point_v<V>, FloatModLoops<V>, ValueLoops<V, V, Mod>>;

// The left value if it beats the right one: with a NaN on either side, the maximum and the minimum are the right value.
struct Max {
    template <class V> QVO_INLINE static V apply(V a, V b) { return Greater::apply(b, a); }
};
struct Min {
    template <class V> QVO_INLINE static V apply(V a, V b) { return Less::apply(b, a); }
};

}  // namespace

#define DEFINE_MOD(name, Element)                                                                                   \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                           \
        return overlap_next(iterator, loops_of<ModLoops<Element::value>>, Where::here());                           \
    }                                                                                                               \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right) { \
        return construct_binary<Element, Element>(result, left, right, name##_next);                                \
    }
#define STAMP(type)                                                           \
    QVO_DEFINE_BINARY(qvo_seq_add_##type, elem_##type, elem_##type, Add)      \
    QVO_DEFINE_BINARY(qvo_seq_sub_##type, elem_##type, elem_##type, Subtract) \
    QVO_DEFINE_BINARY(qvo_seq_mul_##type, elem_##type, elem_##type, Multiply) \
    QVO_DEFINE_BINARY(qvo_seq_div_##type, elem_##type, elem_##type, Div)      \
    DEFINE_MOD(qvo_seq_mod_##type, elem_##type)                               \
    QVO_DEFINE_BINARY(qvo_seq_max_##type, elem_##type, elem_##type, Max)      \
    QVO_DEFINE_BINARY(qvo_seq_min_##type, elem_##type, elem_##type, Min)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP
#undef DEFINE_MOD

}  // namespace qvo
