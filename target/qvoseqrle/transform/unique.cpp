// Dropping elements that are equal to the last one kept.
//
// Whether an element is equal to the last kept one is the same as whether it is equal to the one before it: what was
// dropped in between was equal too, and a NaN, which is equal to nothing, is never dropped. So a member is a loop over
// neighbours; what follows from it is compiled once.
#include "core/construct.h"
#include "core/move.h"
#include "core/operand.h"
#include "core/select.h"

namespace qvo {
namespace {

// The value kept last, of any width.
constexpr size_t accumulator_offset = offsetof(qvo_seq_agg_context_t, accumulator);
constexpr size_t widest_value = sizeof(qvo_seq_iterator_t::context) - accumulator_offset;

uint8_t* accumulator_of(qvo_seq_iterator_h it) { return reinterpret_cast<uint8_t*>(it->context) + accumulator_offset; }

/// Whether each of the operand's elements from .. from+n-1 differs from the one before it, the first one from the
/// accumulator.
using ChangeLoop = void (*)(qvo_seq_iterator_h it, size_t from, size_t n, uint8_t* changes);

template <class V>
QVO_INLINE void find_changes(qvo_seq_iterator_h it, size_t from, size_t n, uint8_t* __restrict changes) {
    const V* __restrict values = values_of<V>(it->opd[0]) + from;
    V previous;
    std::memcpy(&previous, accumulator_of(it), sizeof previous);
    changes[0] = values[0] != previous;
    for (size_t i = 1; i < n; ++i) changes[i] = values[i] != values[i - 1];
}

void find_char_changes(qvo_seq_iterator_h it, size_t from, size_t n, uint8_t* changes) {
    const size_t width = it->elem_size;
    const uint8_t* previous = accumulator_of(it);
    const uint8_t* value = values_of<uint8_t>(it->opd[0]) + from * width;
    for (size_t i = 0; i < n; ++i) {
        changes[i] = qvo_memcmp(value, previous, width) != 0;
        previous = value;
        value += width;
    }
}

QVO_RET unique_next(qvo_seq_iterator_h it, ChangeLoop loop, Where where) {
    const size_t width = it->elem_size;
    const qvo_seq_iterator_h from = it->opd[0];
    uint8_t* const accumulator = accumulator_of(it);
    // Nothing is counted before the first call is over: deliberately, it keeps every element.
    const bool keep_all = it->next_seq_no == 0;
    Operand input(from);
    TileWriter out(it, capacity_of(width));
    uint8_t changes[payload_bytes];
    const auto take = [&](size_t index, size_t n) {
        size_t kept = n;
        if (keep_all) {
            copy_values(it, out.size(), from, index, n);
        } else {
            loop(it, index, n, changes);
            kept = select_values(it, out.size(), values_of<uint8_t>(from) + index * it->elem_size, changes, n, n).kept;
        }
        if (kept == 0) return;
        out.put_equal_runs(kept, 1);
        std::memcpy(accumulator, values_of<uint8_t>(it) + (out.size() - 1) * width, width);
    };
    const QVO_RET rc = walk_elements(input, out, where, take, width);
    return out.finish(rc, Counted::elements);
}

QVO_RET construct_unique(qvo_seq_iterator_h result, qvo_seq_iterator_h input, uint8_t code,
                         qvo_seq_iterator_next_t next) {
    if (!has_type(input, code)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({input}); rc != QVO_S_OK) return rc;
    if (input->elem_size > widest_value) return QVO_E_ILLEGAL_PARAM;
    fill_result(result, layout_like(input), {input}, next, qvo_seq_reset_unary_agg_iterator);
    return QVO_S_OK;
}

}  // namespace

#define STAMP(type, code, loop)                                                                             \
    extern "C" QVO_API QVO_RET qvo_seq_unique_##type##_next(qvo_seq_iterator_h iterator) {                  \
        return unique_next(iterator, loop, Where::here());                                                  \
    }                                                                                                       \
    extern "C" QVO_API QVO_RET qvo_seq_unique_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input) { \
        return construct_unique(result, input, code, qvo_seq_unique_##type##_next);                         \
    }
#define STAMP_FIXED(type, Value) STAMP(type, elem_##type::code, for_cpu<find_changes<Value>>)
STAMP_FIXED(int1, uint8_t)
STAMP_FIXED(int2, uint16_t)
STAMP_FIXED(int4, uint32_t)
STAMP_FIXED(int8, uint64_t)
STAMP_FIXED(uint1, uint8_t)
STAMP_FIXED(uint2, uint16_t)
STAMP_FIXED(uint4, uint32_t)
STAMP_FIXED(uint8, uint64_t)
STAMP_FIXED(float, float)
STAMP_FIXED(double, double)
STAMP_FIXED(datetime, uint64_t)
STAMP(char, QVO_DD_CHAR, find_char_changes)
#undef STAMP_FIXED
#undef STAMP

}  // namespace qvo
