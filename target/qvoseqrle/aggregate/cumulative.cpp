// Aggregates of everything up to each position.
//
// The step counter is next_seq_no, and it is deliberately counted twice: once per step, and once more for the whole
// call. The statistics divide by it, so that they run ahead from the second call on.
#include "aggregate/moments.h"
#include "aggregate/running.h"

namespace qvo {
namespace {

using Context = qvo_seq_agg_context_t;

/// Results from the values of a call; `counted` is next_seq_no before the first of them, and 0 at the very start.
using Loop = void (*)(qvo_seq_iterator_h it, const void* values, size_t n, uint64_t counted);

QVO_RET cumulative_next(qvo_seq_iterator_h it, size_t width, Loop loop, Where where) {
    const qvo_seq_iterator_h input = it->opd[0];
    const uint64_t counted = it->next_seq_no;
    Positions values;
    // The very first step reads element 0 of the operand's tile, wherever its read position is.
    const bool in_tile = counted == 0 && input->tile_offs < input->tile_size;
    uint64_t first;
    std::memcpy(&first, values_of<uint8_t>(input), sizeof first);
    const QVO_RET rc = run_positions(it, values, width, Counted::at_once, where, [&](size_t n) {
        if (in_tile) std::memcpy(values, &first, width);
        loop(it, values, n, counted);
    });
    if (rc == QVO_S_OK) it->next_seq_no += it->tile_size;
    return rc;
}

/// A sum, product or extreme: Op folds a value into the accumulator of A.
template <class V, class A, class Op> struct PrefixFold {
    static void run(qvo_seq_iterator_h it, const void* erased, size_t n, uint64_t counted) {
        const V* values = static_cast<const V*>(erased);
        A* __restrict out = values_of<A>(it);
        A a = counted == 0 ? static_cast<A>(values[0]) : load_accumulator<A>(state<Context>(it));
        size_t i = 0;
        if (counted == 0) out[i++] = a;
        for (; i < n; ++i) {
            a = Op::apply(a, static_cast<A>(values[i]));
            out[i] = a;
        }
        store_accumulator(state<Context>(it), a);
    }
};

/// The average is carried on from result to result.
template <class V> struct RunningAverage {
    static void run(qvo_seq_iterator_h it, const void* erased, size_t n, uint64_t counted) {
        const V* values = static_cast<const V*>(erased);
        double* __restrict out = values_of<double>(it);
        double average = counted == 0 ? 0.0 : load_accumulator<double>(state<Context>(it));
        for (size_t i = 0; i < n; ++i) {
            const auto v = static_cast<double>(values[i]);
            const auto steps = static_cast<double>(counted + i + 1);
            average = counted + i == 0 ? v : (v + (steps - 1) * average) / steps;
            out[i] = average;
        }
        store_accumulator(state<Context>(it), average);
    }
};

/// Variances and deviations, computed in double and delivered as R; the first result is 0.
template <class V, class R, class Formula> struct PrefixSpread {
    static void run(qvo_seq_iterator_h it, const void* erased, size_t n, uint64_t counted) {
        const V* values = static_cast<const V*>(erased);
        R* __restrict out = values_of<R>(it);
        auto& context = state<Context>(it);
        const bool fresh = counted == 0;
        const auto first = static_cast<double>(values[0]);
        double sum = fresh ? first : load_accumulator<double>(context);
        double squares = fresh ? first * first : context.norm;
        size_t i = 0;
        if (fresh) out[i++] = 0;
        for (; i < n; ++i) {
            const auto v = static_cast<double>(values[i]);
            sum += v;
            squares += v * v;
            out[i] = convert<R>(Formula::of(sum, squares, static_cast<double>(counted + i + 1)));
        }
        store_accumulator(context, sum);
        context.norm = squares;
    }
};

// Time stamps are added up in double, unlike in other sums.
template <class Sum> using SumOf = std::conditional_t<std::is_same_v<Sum, elem_datetime>, elem_double, Sum>;

}  // namespace

#define DEFINE(name, Element, Result, ...)                                                 \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                  \
        return cumulative_next(iterator, Element::width, __VA_ARGS__::run, Where::here()); \
    }                                                                                      \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input) { \
        return construct_unary<Element, Result>(result, input, name##_next);               \
    }
#define STAMP(type, sum, avg)                                                                                   \
    DEFINE(qvo_seq_cum_agg_sum_##type, elem_##type, SumOf<elem_##sum>,                                          \
           PrefixFold<qvo_##type, SumOf<elem_##sum>::value, Add>)                                               \
    DEFINE(qvo_seq_cum_agg_avg_##type, elem_##type, elem_double, RunningAverage<qvo_##type>)                    \
    DEFINE(qvo_seq_cum_agg_var_##type, elem_##type, elem_##sum, PrefixSpread<qvo_##type, qvo_##sum, Variance>)  \
    DEFINE(qvo_seq_cum_agg_var_samp_##type, elem_##type, elem_##sum,                                            \
           PrefixSpread<qvo_##type, qvo_##sum, Sample<Variance>>)                                               \
    DEFINE(qvo_seq_cum_agg_dev_##type, elem_##type, elem_##sum, PrefixSpread<qvo_##type, qvo_##sum, Deviation>) \
    DEFINE(qvo_seq_cum_agg_dev_samp_##type, elem_##type, elem_##sum,                                            \
           PrefixSpread<qvo_##type, qvo_##sum, Sample<Deviation>>)                                              \
    DEFINE(qvo_seq_cum_agg_prd_##type, elem_##type, elem_##sum, PrefixFold<qvo_##type, qvo_##sum, Multiply>)    \
    DEFINE(qvo_seq_cum_agg_max_##type, elem_##type, elem_##type, PrefixFold<qvo_##type, qvo_##type, Greater>)   \
    DEFINE(qvo_seq_cum_agg_min_##type, elem_##type, elem_##type, PrefixFold<qvo_##type, qvo_##type, Less>)
QVO_SEQ_FOR_AGGREGATE_TYPES(STAMP)
#undef STAMP
#undef DEFINE

}  // namespace qvo
