// Dropping NaNs.
#include "core/construct.h"
#include "core/operand.h"
#include "core/select.h"

namespace qvo {
namespace {

/// Whether each of the operand's elements from .. from+n-1 is a number.
using NumberLoop = void (*)(qvo_seq_iterator_h it, size_t from, size_t n, uint8_t* numbers);

template <class V>
QVO_INLINE void find_numbers(qvo_seq_iterator_h it, size_t from, size_t n, uint8_t* __restrict numbers) {
    const V* __restrict values = values_of<V>(it->opd[0]) + from;
    for (size_t i = 0; i < n; ++i) numbers[i] = values[i] == values[i];
}

QVO_RET skip_nan_next(qvo_seq_iterator_h it, NumberLoop loop, Where where) {
    const qvo_seq_iterator_h from = it->opd[0];
    Operand input(from);
    TileWriter out(it, capacity_of(it->elem_size));
    uint8_t numbers[elem_float::capacity];
    const QVO_RET rc = walk_elements(input, out, where, [&](size_t index, size_t n) {
        loop(it, index, n, numbers);
        const size_t kept =
            select_values(it, out.size(), values_of<uint8_t>(from) + index * it->elem_size, numbers, n, n).kept;
        select_runs(runs_of(it) - out.size(), input.runs(), numbers, n);
        out.advance({kept, 0});
    });
    return out.finish(rc, Counted::elements);  // deliberately not the positions, although runs are kept
}

}  // namespace

#define STAMP(type)                                                                                           \
    extern "C" QVO_API QVO_RET qvo_seq_skip_nan_##type##_next(qvo_seq_iterator_h iterator) {                  \
        return skip_nan_next(iterator, for_cpu<find_numbers<qvo_##type>>, Where::here());                     \
    }                                                                                                         \
    extern "C" QVO_API QVO_RET qvo_seq_skip_nan_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input) { \
        return construct_typed(result, input, elem_##type::code, layout_of<elem_##type>,                      \
                               qvo_seq_skip_nan_##type##_next, qvo_seq_reset_unary_agg_iterator);             \
    }
STAMP(float)
STAMP(double)
#undef STAMP

}  // namespace qvo
