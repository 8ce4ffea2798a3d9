// The simplest sources: the caller's array, and a constant. Both move values without looking at them, so that the
// members differ in what their constructors note down and share one `next`.
#include "core/construct.h"
#include "core/move.h"

namespace qvo {
namespace {

// No element of a wider sequence fits into a tile.
constexpr qvo_size_t max_width = payload_bytes - 1;

// Bytes that memory hands over at once; where it is more, some of the prefetches are idle.
constexpr size_t cache_line = 64;

// Nothing is ever written to the array; it is kept where buffers are.
void construct_array(qvo_seq_iterator_h result, ElementLayout layout, const void* values, qvo_size_t count,
                     qvo_seq_iterator_next_t next) {
    fill_result(result, layout, {}, next, qvo_seq_unget_reset);
    result->last_seq_no = count - 1;  // no elements: all ones
    result->buf = const_cast<void*>(values);
    result->buf_size = count * layout.width;
    result->owned_buf = 1;
}

QVO_RET array_next(qvo_seq_iterator_h it) {
    const qvo_seq_no_t from = it->next_seq_no, last = it->last_seq_no;
    if (last == ~qvo_seq_no_t{0} || from > last) return QVO_S_CURSOR_END;
    const size_t width = it->elem_size;
    const size_t n = std::min<qvo_seq_no_t>(capacity_of(width), last - from + 1);
    const uint8_t* const values = static_cast<const uint8_t*>(it->buf) + from * width;
    std::memcpy(values_of<uint8_t>(it), values, n * width);
    // The next tile of a long array is on its way from memory while this one is worked on.
    const size_t n_ahead = std::min<qvo_seq_no_t>(n, last - from + 1 - n) * width;
    for (size_t at = 0; at < n_ahead; at += cache_line) __builtin_prefetch(values + n * width + at);
    TileWriter out(it);
    out.put_equal_runs(n, 1);
    return out.finish(QVO_S_OK);
}

void construct_constant(qvo_seq_iterator_h result, ElementLayout layout, const void* value,
                        qvo_seq_iterator_next_t next) {
    fill_result(result, layout, {}, next, qvo_seq_reset_iterator);
    if (layout.width != 0) std::memcpy(result->context, value, layout.width);
}

[[gnu::noinline]] void fill_constant(qvo_seq_iterator_h it, size_t capacity) {
    with_mover(it->elem_size,
               [it, capacity](auto mover) { mover.fill(values_of<uint8_t>(it), 0, it->context, 0, capacity); });
    fill_runs(runs_of(it), capacity, max_run);
}

// The tile is filled once, after construction or a reset, and then handed out again and again.
QVO_RET constant_next(qvo_seq_iterator_h it) {
    const size_t capacity = capacity_of(it->elem_size);
    if (it->tile_size == 0) fill_constant(it, capacity);
    TileWriter out(it, capacity);
    out.advance({capacity, static_cast<unsigned>(capacity * max_run)});
    return out.finish(QVO_S_OK);
}

}  // namespace

#define STAMP(type)                                                                                      \
    extern "C" QVO_API QVO_RET qvo_seq_unget_##type##_next(qvo_seq_iterator_h iterator) {                \
        return array_next(iterator);                                                                     \
    }                                                                                                    \
    extern "C" QVO_API QVO_RET qvo_seq_unget_##type(qvo_seq_iterator_h result, const qvo_##type* values, \
                                                    qvo_size_t count) {                                  \
        construct_array(result, layout_of<elem_##type>, values, count, qvo_seq_unget_##type##_next);     \
        return QVO_S_OK;                                                                                 \
    }                                                                                                    \
    extern "C" QVO_API QVO_RET qvo_seq_const_##type##_next(qvo_seq_iterator_h iterator) {                \
        return constant_next(iterator);                                                                  \
    }                                                                                                    \
    extern "C" QVO_API QVO_RET qvo_seq_const_##type(qvo_seq_iterator_h result, qvo_##type value) {       \
        construct_constant(result, layout_of<elem_##type>, &value, qvo_seq_const_##type##_next);         \
        return QVO_S_OK;                                                                                 \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

extern "C" {

QVO_API QVO_RET qvo_seq_unget_reset(qvo_seq_iterator_h iterator) { return qvo_seq_reset_iterator(iterator); }

QVO_API QVO_RET qvo_seq_unget_char_next(qvo_seq_iterator_h iterator) { return array_next(iterator); }

QVO_API QVO_RET qvo_seq_unget_char(qvo_seq_iterator_h result, const char* values, qvo_size_t count, qvo_size_t width) {
    if (width > max_width) return QVO_E_ILLEGAL_PARAM;
    construct_array(result, {QVO_DD_CHAR, static_cast<uint16_t>(width)}, values, count, qvo_seq_unget_char_next);
    return QVO_S_OK;
}

QVO_API QVO_RET qvo_seq_const_next_char(qvo_seq_iterator_h iterator) { return constant_next(iterator); }

QVO_API QVO_RET qvo_seq_const_char(qvo_seq_iterator_h result, const char* value, qvo_size_t width) {
    if (width > sizeof result->context) return QVO_E_ILLEGAL_PARAM;
    construct_constant(result, {QVO_DD_CHAR, static_cast<uint16_t>(width)}, value, qvo_seq_const_next_char);
    return QVO_S_OK;
}

}  // extern "C"

}  // namespace qvo
