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

struct QuickMod {
    template <class V> QVO_INLINE static V apply(V a, V b) {
        return static_cast<V>(quick_remainder(static_cast<double>(a), static_cast<double>(b)));
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
