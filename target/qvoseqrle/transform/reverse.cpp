// A sequence from its end to its beginning. A sequence of one tile is turned round in the result's tile, with its runs;
// a longer one is read into a buffer, position by position, and handed out from there as an array.
#include "core/construct.h"
#include "core/move.h"
#include "core/protocol.h"

namespace qvo {
namespace {

/// What a member adds: readers and array sources have their type in their names.
struct ReverseMember {
    QVO_RET (*get)(qvo_seq_iterator_h input, void* values, qvo_size_t* count);
    QVO_RET (*unget)(qvo_seq_iterator_h result, const void* values, qvo_size_t count);
    qvo_seq_iterator_reset_t reset;
};

/// `n` elements, last one first; of 1 to 8 bytes in vector code.
template <class Mover>
QVO_INLINE void reverse_elements(Mover mover, uint8_t* __restrict to, const uint8_t* __restrict from, size_t n) {
    for (size_t i = 0; i < n; ++i) mover.move(to, i, from, n - 1 - i);
}

/// The input's tile as the result's, last element first.
QVO_INLINE void reverse_tile(qvo_seq_iterator_h it, qvo_seq_iterator_h input) {
    const size_t n = input->tile_size;
    uint8_t* const out = values_of<uint8_t>(it);
    const uint8_t* const in = values_of<uint8_t>(input);
    with_mover(
        it->elem_size, [=](auto mover) __attribute__((always_inline)) { reverse_elements(mover, out, in, n); });
    reverse_elements(FixedMover<1>{}, runs_of(it) - n + 1, runs_of(input) - n + 1, n);
}

template <size_t Width> void reverse_fixed(uint8_t* values, size_t n) {
    uint8_t a[Width], b[Width];
    for (uint8_t *low = values, *high = values + n * Width; low + Width < high; low += Width) {
        high -= Width;
        std::memcpy(a, low, Width);
        std::memcpy(b, high, Width);
        std::memcpy(low, b, Width);
        std::memcpy(high, a, Width);
    }
}

void reverse_buffer(uint8_t* values, size_t n, size_t width) {
    if (width == 1) return std::reverse(values, values + n);
    with_unsigned(
        width, [=](auto bits) { reverse_fixed<sizeof bits>(values, n); },
        [=] {
            for (size_t i = 0; i < n / 2; ++i)
                std::swap_ranges(values + i * width, values + (i + 1) * width, values + (n - 1 - i) * width);
        });
}

QVO_RET count_positions(qvo_seq_iterator_h input, qvo_size_t* count) {
    qvo_seq_iterator_t counter;
    qvo_seq_agg_count(&counter, input);
    return qvo_seq_next_uint8(&counter, count);
}

/// Reads all positions into a new buffer of the result, which is released again unless they are as many as counted.
QVO_RET read_all(qvo_seq_iterator_h it, const ReverseMember& member, qvo_size_t* count, bool* complete) {
    const qvo_seq_iterator_h input = it->opd[0];
    *complete = false;
    // A text source may take its width from its first string, after the constructor has looked at it.
    if (input->elem_size != it->elem_size) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = input->reset(input); rc != QVO_S_OK) return rc;
    if (const QVO_RET rc = count_positions(input, count); rc != QVO_S_OK) return rc;
    if (qvo_seq_alloc_buffer(it, *count * it->elem_size) == nullptr) return QVO_E_NOMEM;
    QVO_RET rc = input->reset(input);
    qvo_size_t n_read = *count;
    if (rc == QVO_S_OK) {
        input->bounded = 0;  // the readers refuse an iterator that feeds an operator
        rc = member.get(input, it->buf, &n_read);
        input->bounded = 1;
    }
    *complete = rc == QVO_S_OK && n_read == *count;
    if (!*complete) qvo_seq_free_buffer(it);
    return rc;
}

QVO_RET reverse_next(qvo_seq_iterator_h it, const ReverseMember& member, Where where) {
    if (it->next_seq_no != 0) return QVO_S_CURSOR_END;
    const qvo_seq_iterator_h input = it->opd[0];
    if (const QVO_RET rc = pull_any_tile(input, where); rc != QVO_S_OK) return rc;
    const size_t n = input->tile_size;
    for_cpu<reverse_tile>(it, input);
    const QVO_RET second = pull_any_tile(input, where);
    if (second == QVO_S_CURSOR_END) {
        TileWriter out(it, n);
        out.advance({n, 0});
        return out.finish_at(input->next_seq_no);
    }
    if (second != QVO_S_OK) return second;

    qvo_size_t count;
    bool complete;
    const QVO_RET rc = read_all(it, member, &count, &complete);
    // Deliberate: an input that delivers less than it counted is a success without a tile.
    if (rc != QVO_S_OK || !complete) return rc;
    reverse_buffer(static_cast<uint8_t*>(it->buf), count, it->elem_size);
    member.unget(it, it->buf, count);
    it->reset = member.reset;
    return it->next(it);
}

QVO_RET construct_reverse(qvo_seq_iterator_h result, qvo_seq_iterator_h input, ElementLayout layout,
                          qvo_seq_iterator_next_t next) {
    const QVO_RET rc = construct_typed(result, input, layout.type, layout, next);
    // There is no buffer before the first call: so qvo_seq_free_buffer is safe from here on, whatever the record held.
    if (rc == QVO_S_OK) result->owned_buf = 0;
    return rc;
}

/// Back from the array to the operator.
QVO_RET reverse_reset(qvo_seq_iterator_h it, qvo_seq_iterator_next_t next) {
    qvo_seq_free_buffer(it);
    it->next = next;
    it->reset = qvo_seq_reset_unary_iterator;
    return qvo_seq_reset_unary_iterator(it);
}

}  // namespace

#define STAMP_REVERSE(type, value_type, code, width, ...)                                                    \
    extern "C" QVO_API QVO_RET qvo_seq_reverse_##type##_next(qvo_seq_iterator_h iterator) {                  \
        static constexpr ReverseMember member{                                                               \
            [](qvo_seq_iterator_h input, void* values, qvo_size_t* count) {                                  \
                return qvo_seq_get_##type(input, static_cast<value_type*>(values), count);                   \
            },                                                                                               \
            [](qvo_seq_iterator_h result, const void* values, qvo_size_t count) {                            \
                return qvo_seq_unget_##type(result, static_cast<const value_type*>(values),                  \
                                            count __VA_OPT__(, ) __VA_ARGS__);                               \
            },                                                                                               \
            qvo_seq_reverse_##type##_reset};                                                                 \
        return reverse_next(iterator, member, Where::here());                                                \
    }                                                                                                        \
    extern "C" QVO_API QVO_RET qvo_seq_reverse_##type##_reset(qvo_seq_iterator_h iterator) {                 \
        return reverse_reset(iterator, qvo_seq_reverse_##type##_next);                                       \
    }                                                                                                        \
    extern "C" QVO_API QVO_RET qvo_seq_reverse_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input) { \
        return construct_reverse(result, input, {code, width}, qvo_seq_reverse_##type##_next);               \
    }
#define STAMP(type) STAMP_REVERSE(type, qvo_##type, elem_##type::code, elem_##type::width)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
STAMP_REVERSE(char, char, QVO_DD_CHAR, input->elem_size, result->elem_size)
#undef STAMP
#undef STAMP_REVERSE

}  // namespace qvo
