// The aggregates of groups, whatever finds the groups: how values are folded into the running aggregate of one group,
// and what it delivers. Elements come with the number of positions that they stand for.
#pragma once

#include "aggregate/moments.h"
#include "core/number.h"

namespace qvo {

/// The element that sums of E have, by the table of the header.
template <class E> struct SumElement;
#define STAMP(type, sum, avg) \
    template <> struct SumElement<elem_##type> { using element = elem_##sum; };
QVO_SEQ_FOR_AGGREGATE_TYPES(STAMP)
#undef STAMP
template <class E> using sum_element = typename SumElement<E>::element;

/// value x positions: integers widened to 64 bits first, wrapping; float deliberately in single precision.
template <class E> QVO_INLINE typename sum_element<E>::value weighted(typename E::value v, unsigned n) {
    using Sum = typename sum_element<E>::value;
    if constexpr (E::is_floating)
        return static_cast<Sum>(v * static_cast<typename E::value>(n));
    else
        return static_cast<Sum>(static_cast<uint64_t>(static_cast<Sum>(v)) * n);
}

/// The same as double. Deliberately, integer products are taken as unsigned: -1 counts as 2^64.
template <class E> QVO_INLINE double weighted_double(typename E::value v, unsigned n) {
    if constexpr (E::is_floating)
        return weighted<E>(v, n);
    else
        return static_cast<double>(static_cast<uint64_t>(weighted<E>(v, n)));
}

// The aggregates. Each has the element that it delivers and the type of its accumulator, and
//   first(v, n)     the accumulator of a new group
//   fold(a, v, n)   with a further element
//   merge(a, b)     of two parts of a group
//   finish(a, c)    the value to deliver, for c positions

template <class E, class Order> struct ExtremeFold {
    using Result = E;
    using V = typename E::value;
    using Accumulator = V;
    QVO_INLINE static V first(V v, unsigned) { return v; }
    QVO_INLINE static V fold(V a, V v, unsigned) { return Order::apply(a, v); }
    QVO_INLINE static V merge(V a, V b) { return Order::apply(a, b); }
    QVO_INLINE static V finish(V a, uint64_t) { return a; }
};
template <class E> using MaxFold = ExtremeFold<E, Greater>;
template <class E> using MinFold = ExtremeFold<E, Less>;

template <class E> struct SumFold {
    using Result = sum_element<E>;
    using V = typename E::value;
    using Accumulator = typename Result::value;
    QVO_INLINE static Accumulator first(V v, unsigned n) { return weighted<E>(v, n); }
    QVO_INLINE static Accumulator fold(Accumulator a, V v, unsigned n) { return wrapping_add(a, weighted<E>(v, n)); }
    QVO_INLINE static Accumulator merge(Accumulator a, Accumulator b) { return wrapping_add(a, b); }
    QVO_INLINE static Accumulator finish(Accumulator a, uint64_t) { return a; }
};

template <class E> struct AvgFold {
    using Result = elem_double;
    using V = typename E::value;
    using Accumulator = double;
    QVO_INLINE static double first(V v, unsigned n) { return weighted_double<E>(v, n); }
    QVO_INLINE static double fold(double a, V v, unsigned n) { return a + weighted_double<E>(v, n); }
    QVO_INLINE static double merge(double a, double b) { return a + b; }
    QVO_INLINE static double finish(double a, uint64_t c) { return Average::of(a, 0, static_cast<double>(c)); }
};

/// Time stamps are summed and divided as integers. Groups by hash may have no positions, where all runs are 0.
template <> struct AvgFold<elem_datetime> : SumFold<elem_datetime> {
    QVO_INLINE static uint64_t finish(uint64_t a, uint64_t c) { return c == 0 ? 0 : a / c; }
};

}  // namespace qvo
