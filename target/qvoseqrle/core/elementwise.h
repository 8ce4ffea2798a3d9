// Element-wise operators: one result element per element of one operand, or per overlap of two.
//
// A member is its loops over values: small functions that know indexes and a count, and no runs. What surrounds them
// is the same for all types and compiled once (elementwise.cpp), and only the loops are compiled per operator.
#pragma once

#include "core/construct.h"
#include "core/fatal.h"
#include "core/tile.h"

namespace qvo {

/// The loops of a two-operand member. Each writes the result elements to .. to+n-1 of the iterator's tile.
struct BinaryLoops {
    using Stretch = void (*)(qvo_seq_iterator_h it, size_t to, size_t left, size_t right, size_t n);
    using Pairs = void (*)(qvo_seq_iterator_h it, size_t to, const uint16_t* left, const uint16_t* right, size_t n);

    Stretch arrays;      // from left elements left .. left+n-1 and right elements right .. right+n-1
    Stretch many_left;   // from left elements left .. left+n-1, all with the right element
    Stretch many_right;  // from the left element, with all right elements right .. right+n-1
    Pairs pairs;         // from the elements of two lists of indexes
};

/// The loop of a one-operand member: result elements to .. to+n-1 from the operand's elements from .. from+n-1.
using UnaryLoop = void (*)(qvo_seq_iterator_h it, size_t to, size_t from, size_t n);

/// `next` of a two-operand member with one result element per overlap; the capacity follows elem_size.
QVO_RET overlap_next(qvo_seq_iterator_h it, const BinaryLoops& loops, Where where);

/// `next` of a one-operand member. Elements are taken whole and keep their run bytes; the operand's rle_offs is
/// neither read nor written.
QVO_RET elements_next(qvo_seq_iterator_h it, UnaryLoop loop, Where where);

// Elements per round of a loop over values. Long enough that the compiler makes vector code of a round before it
// thinks of unrolling it.
inline constexpr size_t chunk = 32;

/// out[i] = op(left[i * LeftStep], right[i * RightStep]) for 0 <= i < n, in chunks of a fixed length that the compiler
/// turns into vector code. The last chunk reaches back over the one before it instead of leaving a tail to single
/// steps, so results must not be written where operands are read. A step is 1 for an array, 0 for a single value.
///
/// The pointers are parameters of the loop itself: that they do not alias is lost on the way into a lambda.
template <size_t LeftStep, size_t RightStep, class Op, class V, class W>
QVO_INLINE void apply(W* __restrict out, const V* __restrict left, const V* __restrict right, size_t n) {
    size_t i = 0;
    if (n >= chunk) {
        for (;;) {
            for (size_t k = 0; k < chunk; ++k)
                out[i + k] = static_cast<W>(Op::apply(left[(i + k) * LeftStep], right[(i + k) * RightStep]));
            i += chunk;
            if (i == n) return;
            if (i > n - chunk) i = n - chunk;
        }
    }
    for (; i < n; ++i) out[i] = static_cast<W>(Op::apply(left[i * LeftStep], right[i * RightStep]));
}

/// The same with one operand: out[i] = op(from[i]).
template <class Op, class V, class W> QVO_INLINE void apply(W* __restrict out, const V* __restrict from, size_t n) {
    size_t i = 0;
    if (n >= chunk) {
        for (;;) {
            for (size_t k = 0; k < chunk; ++k) out[i + k] = static_cast<W>(Op::apply(from[i + k]));
            i += chunk;
            if (i == n) return;
            if (i > n - chunk) i = n - chunk;
        }
    }
    for (; i < n; ++i) out[i] = static_cast<W>(Op::apply(from[i]));
}

/// The loops of Op::apply(left, right), from elements of E to elements of R.
template <class V, class W, class Op> struct ValueLoops {
    struct Tiles {
        const V* left;
        const V* right;
        W* result;
        QVO_INLINE explicit Tiles(qvo_seq_iterator_h it)
            : left(values_of<V>(it->opd[0])), right(values_of<V>(it->opd[1])), result(values_of<W>(it)) {}
    };

    QVO_CPU_VARIANTS static void arrays(qvo_seq_iterator_h it, size_t to, size_t left, size_t right, size_t n) {
        const Tiles t(it);
        apply<1, 1, Op>(t.result + to, t.left + left, t.right + right, n);
    }
    QVO_CPU_VARIANTS static void many_left(qvo_seq_iterator_h it, size_t to, size_t left, size_t right, size_t n) {
        const Tiles t(it);
        apply<1, 0, Op>(t.result + to, t.left + left, t.right + right, n);
    }
    QVO_CPU_VARIANTS static void many_right(qvo_seq_iterator_h it, size_t to, size_t left, size_t right, size_t n) {
        const Tiles t(it);
        apply<0, 1, Op>(t.result + to, t.left + left, t.right + right, n);
    }
    static void pairs(qvo_seq_iterator_h it, size_t to, const uint16_t* left, const uint16_t* right, size_t n) {
        const Tiles t(it);
        W* __restrict out = t.result + to;
        for (size_t i = 0; i < n; ++i) out[i] = static_cast<W>(Op::apply(t.left[left[i]], t.right[right[i]]));
    }
};

/// The loops of a member without vector code: Map is constructed from the iterator, and map(to, left, right) writes
/// one result element.
template <class Map> struct MappedLoops {
    static void arrays(qvo_seq_iterator_h it, size_t to, size_t left, size_t right, size_t n) {
        const Map map(it);
        for (size_t i = 0; i < n; ++i) map(to + i, left + i, right + i);
    }
    static void many_left(qvo_seq_iterator_h it, size_t to, size_t left, size_t right, size_t n) {
        const Map map(it);
        for (size_t i = 0; i < n; ++i) map(to + i, left + i, right);
    }
    static void many_right(qvo_seq_iterator_h it, size_t to, size_t left, size_t right, size_t n) {
        const Map map(it);
        for (size_t i = 0; i < n; ++i) map(to + i, left, right + i);
    }
    static void pairs(qvo_seq_iterator_h it, size_t to, const uint16_t* left, const uint16_t* right, size_t n) {
        const Map map(it);
        for (size_t i = 0; i < n; ++i) map(to + i, left[i], right[i]);
    }
};

template <class Loops>
inline constexpr BinaryLoops loops_of{Loops::arrays, Loops::many_left, Loops::many_right, Loops::pairs};

/// `next` of a two-operand member: operands of E, results of R.
template <class E, class R, class Op> QVO_RET binary_next(qvo_seq_iterator_h it, Where where = Where::here()) {
    return overlap_next(it, loops_of<ValueLoops<typename E::value, typename R::value, Op>>, where);
}

/// The loop of Op::apply(value), from V to W.
template <class V, class W, class Op> struct ValueLoop {
    QVO_CPU_VARIANTS static void run(qvo_seq_iterator_h it, size_t to, size_t from, size_t n) {
        apply<Op>(values_of<W>(it) + to, values_of<V>(it->opd[0]) + from, n);
    }
};

/// The loop of a member that delivers its operand's values as they are.
void copy_loop(qvo_seq_iterator_h it, size_t to, size_t from, size_t n);

}  // namespace qvo
