// Aggregates of consecutive cells of `interval` positions.
//
// All results are labelled double, deliberately also where the tile holds something else: extremes in the operand's
// type and at its width, sums of integers as 64-bit integers.
#include "aggregate/moments.h"
#include "aggregate/running.h"

namespace qvo {
namespace {

using Context = qvo_seq_agg_context_t;

/// Folds n values, all of one cell, into its state. A count of 0 begins the cell.
using FoldCell = void (*)(Context& context, const void* values, size_t from, size_t n);
/// Writes the cell's result as element `to`; its number of values is in the context.
using FinishCell = void (*)(qvo_seq_iterator_h it, const Context& context, size_t to);

struct Cells {
    FoldCell fold;
    FinishCell finish;
    size_t capacity;  // of the result tile
};

// Positions that are read at once.
constexpr size_t most_read = sizeof(Positions) / sizeof(uint64_t);

/// The positions to read next: none beyond the cell that fills the tile.
uint64_t positions_to_read(const Context& context, size_t cells_left) {
    const uint64_t rest = context.interval - context.count;
    if (context.interval == 0 || rest >= most_read) return most_read;
    return std::min<uint64_t>(most_read, rest + (cells_left - 1) * std::min<uint64_t>(context.interval, most_read));
}

QVO_RET grid_next(qvo_seq_iterator_h it, const Cells& cells, Where where) {
    const qvo_seq_iterator_h input = it->opd[0];
    auto& context = state<Context>(it);
    Positions values;
    size_t produced = 0;
    const auto emit = [&] {
        cells.finish(it, context, produced);
        set_run(runs_of(it), produced, 1);
        ++produced;
        ++it->next_seq_no;
        context.count = 0;
    };
    while (produced < cells.capacity) {
        uint64_t n;
        const QVO_RET rc = read_positions(input, input->elem_size, reinterpret_cast<uint8_t*>(values),
                                          positions_to_read(context, cells.capacity - produced), &n, where);
        for (size_t at = 0; at < n;) {
            // An interval of 0 is never reached: the whole input is one cell.
            const uint64_t rest = context.interval == 0 ? n : context.interval - context.count;
            const size_t taken = std::min<uint64_t>(rest, n - at);
            cells.fold(context, values, at, taken);
            context.count += taken;
            at += taken;
            if (context.count == context.interval) emit();
        }
        if (rc == QVO_S_OK) continue;
        if (rc != QVO_S_CURSOR_END || (produced == 0 && context.count == 0)) return rc;
        if (context.count != 0) emit();
        break;
    }
    it->tile_size = static_cast<uint16_t>(produced);
    return QVO_S_OK;
}

QVO_RET construct_grid(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t interval, uint8_t type,
                       qvo_seq_iterator_next_t next) {
    if (!has_type(input, type)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({input}); rc != QVO_S_OK) return rc;
    fill_result(result, layout_of<elem_double>, {input}, next, qvo_seq_reset_unary_agg_iterator);
    state<Context>(result).interval = interval;
    state<Context>(result).count = 0;
    return QVO_S_OK;
}

/// Cells whose accumulator of A is delivered as it is.
template <class V, class A, class Op> struct Plain {
    static void fold(Context& context, const void* values, size_t from, size_t n) {
        const V* v = static_cast<const V*>(values) + from;
        size_t i = 0;
        A a = context.count == 0 ? static_cast<A>(v[i++]) : load_accumulator<A>(context);
        for (; i < n; ++i) a = Op::apply(a, static_cast<A>(v[i]));
        store_accumulator(context, a);
    }
    static void finish(qvo_seq_iterator_h it, const Context& context, size_t to) {
        values_of<A>(it)[to] = load_accumulator<A>(context);
    }
    static constexpr Cells cells{fold, finish, capacity_of(sizeof(A))};
};

/// Cells whose result is a formula of sums in double.
template <class V, class Formula> struct Statistic {
    static void fold(Context& context, const void* values, size_t from, size_t n) {
        const V* v = static_cast<const V*>(values) + from;
        const auto first = static_cast<double>(v[0]);
        const bool fresh = context.count == 0;
        double sum = fresh ? first : load_accumulator<double>(context);
        double squares = fresh ? first * first : context.norm;
        for (size_t i = fresh; i < n; ++i) {
            const auto x = static_cast<double>(v[i]);
            sum += x;
            squares += x * x;
        }
        store_accumulator(context, sum);
        context.norm = squares;
    }
    static void finish(qvo_seq_iterator_h it, const Context& context, size_t to) {
        values_of<double>(it)[to] =
            Formula::of(load_accumulator<double>(context), context.norm, static_cast<double>(context.count));
    }
    static constexpr Cells cells{fold, finish, capacity_of(sizeof(double))};
};

}  // namespace

#define DEFINE(name, Element, ...)                                                                              \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h it) {                                             \
        return grid_next(it, __VA_ARGS__::cells, Where::here());                                                \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t interval) { \
        return construct_grid(result, input, interval, Element::code, name##_next);                             \
    }
#define STAMP(type, sum, avg)                                                                    \
    DEFINE(qvo_seq_grid_agg_max_##type, elem_##type, Plain<qvo_##type, qvo_##type, Larger>)      \
    DEFINE(qvo_seq_grid_agg_min_##type, elem_##type, Plain<qvo_##type, qvo_##type, Smaller>)     \
    DEFINE(qvo_seq_grid_agg_sum_##type, elem_##type, Plain<qvo_##type, qvo_##sum, Add>)          \
    DEFINE(qvo_seq_grid_agg_avg_##type, elem_##type, Statistic<qvo_##type, Average>)             \
    DEFINE(qvo_seq_grid_agg_var_##type, elem_##type, Statistic<qvo_##type, Variance>)            \
    DEFINE(qvo_seq_grid_agg_var_samp_##type, elem_##type, Statistic<qvo_##type, SampleVariance>) \
    DEFINE(qvo_seq_grid_agg_dev_##type, elem_##type, Statistic<qvo_##type, Deviation>)           \
    DEFINE(qvo_seq_grid_agg_dev_samp_##type, elem_##type, Statistic<qvo_##type, SampleDeviation>)
QVO_SEQ_FOR_AGGREGATE_TYPES(STAMP)
#undef STAMP
#undef DEFINE

}  // namespace qvo
