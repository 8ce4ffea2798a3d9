// Aggregates of consecutive cells of `interval` positions.
//
// All results are labelled double, deliberately also where the tile holds something else: extremes in the operand's
// type and at its width, sums of integers as 64-bit integers.
#include "aggregate/moments.h"
#include "aggregate/running.h"

namespace qvo {
namespace {

using Context = qvo_seq_agg_context_t;

/// Folds n values into the open cell, whose number of values is in the context, and those that follow; writes the
/// results of the cells that fill up from element `to` on and returns their number.
using FoldCells = size_t (*)(qvo_seq_iterator_h it, const void* values, size_t n, size_t to);
/// Writes the result of the open cell as element `to`.
using FinishCell = void (*)(qvo_seq_iterator_h it, size_t to);

struct Cells {
    FoldCells fold;
    FinishCell finish;
    size_t capacity;  // of the result tile
    size_t width;     // of the operand's elements
};

/// Calls start(i) for the first value of a cell, fold(i) for the further ones and full(count) for a cell that is full.
template <class Start, class Fold, class Full>
QVO_INLINE void walk_cells(Context& context, size_t n, Start start, Fold fold, Full full) {
    const uint64_t interval = context.interval;
    uint64_t count = context.count;
    for (size_t i = 0; i < n;) {
        // An interval of 0 is never reached: the whole input is one cell.
        const size_t left = n - i, taken = interval == 0 ? left : std::min<uint64_t>(interval - count, left);
        const size_t end = i + taken;
        if (count == 0) start(i++);
        for (; i < end; ++i) fold(i);
        count += taken;
        if (count != interval) continue;
        full(count);
        count = 0;
    }
    context.count = count;
}

// Positions that are read at once.
constexpr size_t most_read = sizeof(Positions) / sizeof(uint64_t);

/// The positions to read next: none beyond the cell that fills the tile.
uint64_t positions_to_read(const Context& context, size_t cells_left) {
    const uint64_t rest = context.interval - context.count;
    if (context.interval == 0 || rest >= most_read) return most_read;
    return std::min<uint64_t>(most_read, rest + (cells_left - 1) * std::min<uint64_t>(context.interval, most_read));
}

QVO_RET grid_next(qvo_seq_iterator_h it, const Cells& cells, Where where) {
    auto& context = state<Context>(it);
    Positions values;
    TileWriter out(it, cells.capacity);
    QVO_RET rc = QVO_S_OK;
    while (rc == QVO_S_OK && out.room() != 0) {
        uint64_t n;
        rc = read_positions(it->opd[0], cells.width, reinterpret_cast<uint8_t*>(values),
                            positions_to_read(context, out.room()), &n, where);
        out.put_equal_runs(cells.fold(it, values, n, out.size()), 1);
    }
    if (rc == QVO_S_CURSOR_END && context.count != 0) {
        cells.finish(it, out.size());
        context.count = 0;
        out.put_run(1);
    }
    return out.finish(rc);
}

QVO_RET construct_grid(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t interval, uint8_t type,
                       qvo_seq_iterator_next_t next) {
    if (const QVO_RET rc =
            construct_typed(result, input, type, layout_of<elem_double>, next, qvo_seq_reset_unary_agg_iterator);
        rc != QVO_S_OK)
        return rc;
    state<Context>(result).interval = interval;
    state<Context>(result).count = 0;
    return QVO_S_OK;
}

/// Cells whose accumulator of A is delivered as it is.
template <class V, class A, class Op> struct CellFold {
    static size_t fold(qvo_seq_iterator_h it, const void* values, size_t n, size_t to) {
        Context& context = state<Context>(it);
        const V* v = static_cast<const V*>(values);
        A *const first = values_of<A>(it) + to, *out = first;
        A a = load_accumulator<A>(context);
        walk_cells(
            context, n, [&](size_t i) __attribute__((always_inline)) { a = static_cast<A>(v[i]); },
            [&](size_t i) __attribute__((always_inline)) { a = Op::apply(a, static_cast<A>(v[i])); },
            [&](uint64_t) __attribute__((always_inline)) { *out++ = a; });
        store_accumulator(context, a);
        return static_cast<size_t>(out - first);
    }
    static void finish(qvo_seq_iterator_h it, size_t to) {
        values_of<A>(it)[to] = load_accumulator<A>(state<Context>(it));
    }
    static constexpr Cells cells{fold, finish, capacity_of(sizeof(A)), sizeof(V)};
};

/// Cells whose result is a formula of sums in double.
template <class V, class Formula> struct CellStatistic {
    static size_t fold(qvo_seq_iterator_h it, const void* values, size_t n, size_t to) {
        Context& context = state<Context>(it);
        const V* v = static_cast<const V*>(values);
        double *const first = values_of<double>(it) + to, *out = first;
        // The average takes no squares, and leaves `norm` alone.
        double sum = load_accumulator<double>(context), squares = Formula::takes_squares ? context.norm : 0;
        walk_cells(
            context, n,
            [&](size_t i) __attribute__((always_inline)) {
                sum = static_cast<double>(v[i]);
                squares = sum * sum;
            },
            [&](size_t i) __attribute__((always_inline)) {
                const auto x = static_cast<double>(v[i]);
                sum += x;
                squares += x * x;
            },
            [&](uint64_t count)
                __attribute__((always_inline)) { *out++ = Formula::of(sum, squares, static_cast<double>(count)); });
        store_accumulator(context, sum);
        if (Formula::takes_squares) context.norm = squares;
        return static_cast<size_t>(out - first);
    }
    static void finish(qvo_seq_iterator_h it, size_t to) {
        const Context& context = state<Context>(it);
        values_of<double>(it)[to] =
            Formula::of(load_accumulator<double>(context), context.norm, static_cast<double>(context.count));
    }
    static constexpr Cells cells{fold, finish, capacity_of(sizeof(double)), sizeof(V)};
};

}  // namespace

#define DEFINE(name, Element, ...)                                                                              \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                       \
        return grid_next(iterator, __VA_ARGS__::cells, Where::here());                                          \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t interval) { \
        return construct_grid(result, input, interval, Element::code, name##_next);                             \
    }
#define STAMP(type, sum, avg)                                                                        \
    DEFINE(qvo_seq_grid_agg_max_##type, elem_##type, CellFold<qvo_##type, qvo_##type, Greater>)      \
    DEFINE(qvo_seq_grid_agg_min_##type, elem_##type, CellFold<qvo_##type, qvo_##type, Less>)         \
    DEFINE(qvo_seq_grid_agg_sum_##type, elem_##type, CellFold<qvo_##type, qvo_##sum, Add>)           \
    DEFINE(qvo_seq_grid_agg_avg_##type, elem_##type, CellStatistic<qvo_##type, Average>)             \
    DEFINE(qvo_seq_grid_agg_var_##type, elem_##type, CellStatistic<qvo_##type, Variance>)            \
    DEFINE(qvo_seq_grid_agg_var_samp_##type, elem_##type, CellStatistic<qvo_##type, SampleVariance>) \
    DEFINE(qvo_seq_grid_agg_dev_##type, elem_##type, CellStatistic<qvo_##type, Deviation>)           \
    DEFINE(qvo_seq_grid_agg_dev_samp_##type, elem_##type, CellStatistic<qvo_##type, SampleDeviation>)
QVO_SEQ_FOR_AGGREGATE_TYPES(STAMP)
#undef STAMP
#undef DEFINE

}  // namespace qvo
