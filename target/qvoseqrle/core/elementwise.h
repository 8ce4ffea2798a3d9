// Element-wise operators: one result element per element of one operand, or per overlap of two or three.
//
// A member is its loops over values: small functions that know indexes and a count, and no runs. What surrounds them
// is the same for all types and compiled once (elementwise.cpp), and only the loops are compiled per operator.
#pragma once

#include "core/construct.h"
#include "core/walk.h"

namespace qvo {

/// The loops of a member of N operands. Each writes the result elements to .. to+n-1 of the iterator's tile.
template <size_t N> struct Loops {
    /// A row of single steps: the elements of each operand.
    struct Steps {
        const uint16_t* index[N];
    };
    /// Where element 0 of each operand lies.
    using Values = std::array<const uint8_t*, N>;
    /// From the operands' elements `from` on, of which some move on with each result element.
    using Stretch = void (*)(qvo_seq_iterator_h it, size_t to, const Values& values, At<N> from, size_t n);
    using Singles = void (*)(qvo_seq_iterator_h it, size_t to, const Values& values, const Steps& steps, size_t n);

    Stretch stretch[1U << N];  // by the set of operands that move on (see Moving); that of none is not used
    Singles singles;
    Operand::Values from;  // whether the loops take the operands' elements from anywhere
};
using BinaryLoops = Loops<2>;

/// The loop of a one-operand member: result elements to .. to+n-1 from the operand's elements from .. from+n-1, of which
/// element 0 lies at `values`.
using UnaryLoop = void (*)(qvo_seq_iterator_h it, size_t to, const uint8_t* values, size_t from, size_t n);

/// `next` of a member of several operands with one result element per overlap; the capacity follows elem_size.
QVO_RET overlap_next(qvo_seq_iterator_h it, const Loops<2>& loops, Where where);
QVO_RET overlap_next(qvo_seq_iterator_h it, const Loops<3>& loops, Where where);

/// The same, but that a step takes the smallest of the whole runs (see WholeRuns).
QVO_RET whole_run_next(qvo_seq_iterator_h it, const Loops<3>& loops, Where where);

/// `next` of a one-operand member. Elements are taken whole and keep their run bytes; the operand's rle_offs is
/// neither read nor written.
QVO_RET elements_next(qvo_seq_iterator_h it, UnaryLoop loop, Where where, Operand::Values from);

// Elements per round of a loop over values. Long enough that the compiler makes vector code of a round before it
// thinks of unrolling it.
inline constexpr size_t chunk = 32;

/// out[i] = op(from[i * Step] ...) for 0 <= i < n, in chunks of a fixed length, which become vector code.
/// The last chunk reaches back over the one before it instead of leaving a tail to single steps, so results must not be
/// written where operands are read. A step is 1 for an array, 0 for a single value.
///
/// The pointers are parameters of the loop itself: that they do not alias is lost on the way into a lambda.
template <class Op, size_t... Step, class W, class... V>
QVO_INLINE void apply_steps(W* __restrict out, size_t n, const V* __restrict... from) {
    size_t i = 0;
    if (n >= chunk) {
        // A chunk of bytes is one vector: more of them at once.
        constexpr size_t many = chunk * 4 / std::min<size_t>(4, std::max({sizeof(W), sizeof(V)...}));
        if constexpr (many != chunk)
            for (; i + many < n; i += many)
                for (size_t k = 0; k < many; ++k) out[i + k] = static_cast<W>(Op::apply(from[(i + k) * Step]...));
        size_t step = chunk;
        // Wide results, which are many bytes, from the second chunk on to where no vector lies across two cache lines.
        if constexpr (sizeof(W) == 8 && ((sizeof(V) == 8) && ...))
            step -= reinterpret_cast<uintptr_t>(out) / sizeof(W) % 4;
        if (many != chunk && i > n - chunk) i = n - chunk;
        for (;; step = chunk) {
            for (size_t k = 0; k < chunk; ++k) out[i + k] = static_cast<W>(Op::apply(from[(i + k) * Step]...));
            i += step;
            if (i == n) return;
            if (i > n - chunk) i = n - chunk;
        }
    }
    for (; i < n; ++i) out[i] = static_cast<W>(Op::apply(from[i * Step]...));
}

// The same for two operands and for one.
template <size_t LeftStep, size_t RightStep, class Op, class V, class W>
QVO_INLINE void apply(W* __restrict out, const V* __restrict left, const V* __restrict right, size_t n) {
    apply_steps<Op, LeftStep, RightStep>(out, n, left, right);
}
template <class Op, class V, class W> QVO_INLINE void apply(W* __restrict out, const V* __restrict from, size_t n) {
    apply_steps<Op, 1>(out, n, from);
}

/// The loops of Op::apply, from operands of values V ... to results of W.
template <class Op, class W, class... V> struct OperationLoops {
    static constexpr size_t n_operands = sizeof...(V);
    static constexpr auto from = Operand::Values::anywhere;
    using Values = typename Loops<n_operands>::Values;
    using Steps = typename Loops<n_operands>::Steps;
    // AVX-512 is for wide values that are compared: it makes a bit of each, and the others have to narrow vectors.
    static constexpr CpuLevel level = sizeof(W) == 1 && ((sizeof(V) >= 4) && ...) ? CpuLevel::avx512 : CpuLevel::avx2;

    template <unsigned Set>
    QVO_INLINE static void loop(qvo_seq_iterator_h it, size_t to, const Values& values, At<n_operands> from, size_t n) {
        stretch_of<Set>(it, to, values, from, n, std::index_sequence_for<V...>{});
    }
    template <unsigned Set> static constexpr auto stretch = for_cpu<loop<Set>, level>;
    static void singles(qvo_seq_iterator_h it, size_t to, const Values& values, const Steps& steps, size_t n) {
        singles_of(it, to, values, steps, n, std::index_sequence_for<V...>{});
    }

 private:
    template <unsigned Set, size_t... K>
    QVO_INLINE static void stretch_of(qvo_seq_iterator_h it, size_t to, const Values& values, At<n_operands> from,
                                      size_t n, std::index_sequence<K...>) {
        apply_steps<Op, (Set >> K & 1)...>(values_of<W>(it) + to, n,
                                           (reinterpret_cast<const V*>(values[K]) + from[K])...);
    }
    template <size_t... K>
    QVO_INLINE static void singles_of(qvo_seq_iterator_h it, size_t to, const Values& values, const Steps& steps,
                                      size_t n, std::index_sequence<K...>) {
        pick(values_of<W>(it) + to, n, reinterpret_cast<const V*>(values[K])..., steps.index[K]...);
    }

    template <class Value> using Index = uint16_t;
    QVO_INLINE static void pick(W* __restrict out, size_t n, const V*... values, const Index<V>*... index) {
        for (size_t i = 0; i < n; ++i) {
            out[i] = static_cast<W>(Op::apply(values[index[i]]...));
            __asm__("");  // no vector code: putting vectors together from single values takes longer than it saves
        }
    }
};
template <class V, class W, class Op> using ValueLoops = OperationLoops<Op, W, V, V>;

/// The loops of a member without vector code: Map is constructed from the iterator, and map(to, element ...) writes one
/// result element from the operands' elements with these indexes.
template <class Map, size_t N = 2> struct MappedLoops {
    static constexpr size_t n_operands = N;
    static constexpr auto from = Operand::Values::in_tile;
    using Values = typename Loops<N>::Values;
    using Steps = typename Loops<N>::Steps;

    template <unsigned Set> static void stretch(qvo_seq_iterator_h it, size_t to, const Values&, At<N> from, size_t n) {
        const Map map(it);
        for (size_t i = 0; i < n; ++i) call(map, to + i, [&](auto k) { return from[k] + (Set >> k & 1 ? i : 0); });
    }
    static void singles(qvo_seq_iterator_h it, size_t to, const Values&, const Steps& steps, size_t n) {
        const Map map(it);
        for (size_t i = 0; i < n; ++i) call(map, to + i, [&](auto k) { return size_t{steps.index[k][i]}; });
    }

 private:
    template <class Index> QVO_INLINE static void call(const Map& map, size_t to, Index index) {
        [&]<size_t... K>(std::index_sequence<K...>) __attribute__((always_inline)) {
            map(to, index(std::integral_constant<size_t, K>{})...);
        }
        (std::make_index_sequence<N>{});
    }
};

template <class L, size_t... Before> constexpr Loops<L::n_operands> table_of(std::index_sequence<Before...>) {
    return {{nullptr, L::template stretch<Before + 1>...}, L::singles, L::from};
}
template <class L>
inline constexpr Loops<L::n_operands> loops_of =
    table_of<L>(std::make_index_sequence<(size_t{1} << L::n_operands) - 1>{});

/// `next` of a two- and of a three-operand member: operands of E, results of R.
template <class E, class R, class Op> QVO_RET binary_next(qvo_seq_iterator_h it, Where where = Where::here()) {
    using V = typename E::value;
    return overlap_next(it, loops_of<OperationLoops<Op, typename R::value, V, V>>, where);
}
template <class E, class R, class Op> QVO_RET ternary_next(qvo_seq_iterator_h it, Where where = Where::here()) {
    using V = typename E::value;
    return overlap_next(it, loops_of<OperationLoops<Op, typename R::value, V, V, V>>, where);
}

/// The loop of Op::apply(value), from V to W.
template <class V, class W, class Op> struct ValueLoop {
    QVO_INLINE static void run(qvo_seq_iterator_h it, size_t to, const uint8_t* values, size_t from, size_t n) {
        apply<Op>(values_of<W>(it) + to, reinterpret_cast<const V*>(values) + from, n);
    }
};

/// The loop of a member that delivers its operand's values as they are.
void copy_loop(qvo_seq_iterator_h it, size_t to, const uint8_t* values, size_t from, size_t n);

}  // namespace qvo

// The stampers turn a template into the C functions of one family member: signatures, and one call each.

// A two-operand element-wise member: operands of Element, results of Result, Op::apply per element.
#define QVO_DEFINE_BINARY(name, Element, Result, Op) QVO_DEFINE_BINARY_NAMED(name, name##_next, Element, Result, Op)

#define QVO_DEFINE_BINARY_NAMED(name, next_name, Element, Result, Op)                                               \
    extern "C" QVO_API QVO_RET next_name(qvo_seq_iterator_h iterator) {                                             \
        return binary_next<Element, Result, Op>(iterator);                                                          \
    }                                                                                                               \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right) { \
        return construct_binary<Element, Result>(result, left, right, next_name);                                   \
    }

// The same with three operands of Element.
#define QVO_DEFINE_TERNARY(name, Element, Result, Op)                                                               \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                           \
        return ternary_next<Element, Result, Op>(iterator);                                                         \
    }                                                                                                               \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h first, qvo_seq_iterator_h second, \
                                    qvo_seq_iterator_h third) {                                                     \
        return construct_ternary<Element, Result>(result, first, second, third, name##_next);                       \
    }

// A one-operand element-wise member, from its operation or from its loop (the last argument, commas and all).
#define QVO_DEFINE_UNARY(name, Element, Result, Op) QVO_DEFINE_UNARY_NAMED(name, name##_next, Element, Result, Op)

#define QVO_DEFINE_UNARY_NAMED(name, next_name, Element, Result, Op) \
    QVO_DEFINE_UNARY_LOOP(name, next_name, Element, Result, for_cpu<ValueLoop<Element::value, Result::value, Op>::run>)

#define QVO_DEFINE_UNARY_LOOP(name, next_name, Element, Result, ...)                           \
    extern "C" QVO_API QVO_RET next_name(qvo_seq_iterator_h iterator) {                        \
        return elements_next(iterator, __VA_ARGS__, Where::here(), Operand::Values::anywhere); \
    }                                                                                          \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h operand) {   \
        return construct_unary<Element, Result>(result, operand, next_name);                   \
    }
