// Process-wide state of the library: the allocation hooks, the binding switch, work buffers, the protocol helpers that
// several families share, and the fatal stop.
#include <csignal>
#include <cstdlib>

#include "core/construct.h"
#include "core/number.h"
#include "core/protocol.h"

namespace qvo {

void fatal_stop(Where where) {
    constexpr unsigned seq_bit = 1U << QVO_TRACE_SEQ;
    if (qvo_trace_level != 0 && (qvo_trace_modules_mask & seq_bit) != 0 && qvo_trace_callback != nullptr)
        qvo_trace_callback(QVO_TRACE_FATAL, QVO_TRACE_SEQ, where.file, where.line, "QVO_STOP");
    qvo_stop__(QVO_ERR_SEQ, where.file, where.line);
    std::abort();  // a host's qvo_stop__ must not return
}

void divide_fault() {
    std::raise(SIGFPE);
    std::abort();  // a handler that returns cannot give the division a result
}

namespace {

/// The width of the elements of a type; 0 for those that have none of their own.
size_t width_of_type(uint8_t type) {
    switch (type) {
#define STAMP(type)         \
    case elem_##type::code: \
        return elem_##type::width;
        QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP
        default:
            return 0;
    }
}

// The running count of limit, unique, skip_nan and the cumulative, group and grid aggregates: the second word of the
// context (`count` of qvo_seq_agg_context_t).
void clear_count(qvo_seq_iterator_h it) { it->context[1] = 0; }

}  // namespace
}  // namespace qvo

extern "C" {

qvo_seq_malloc_t qvo_seq_malloc = qvo_seq_sys_malloc;
qvo_seq_free_t qvo_seq_free = qvo_seq_sys_free;

QVO_API void* qvo_seq_sys_malloc(qvo_seq_iterator_h, qvo_size_t size) { return std::malloc(size); }

QVO_API void qvo_seq_sys_free(qvo_seq_iterator_h, void* ptr, qvo_size_t) { std::free(ptr); }

QVO_API void qvo_seq_redefine_allocator(qvo_seq_malloc_t malloc_hook, qvo_seq_free_t free_hook) {
    qvo_seq_malloc = malloc_hook;
    qvo_seq_free = free_hook;
}

// The flags come first: a buffer that could not be had counts as owned, and release hooks accept its null pointer.
QVO_API void* qvo_seq_alloc_buffer(qvo_seq_iterator_h iterator, qvo_size_t size) {
    iterator->buf_size = size;
    iterator->owned_buf = 1;
    iterator->buf = qvo_seq_malloc(iterator, size);
    return iterator->buf;
}

QVO_API void qvo_seq_free_buffer(qvo_seq_iterator_h iterator) {
    if (iterator->owned_buf != 1) return;
    qvo_seq_free(iterator, iterator->buf, iterator->buf_size);
    iterator->owned_buf = 0;
    iterator->buf = nullptr;
}

QVO_API int qvo_seq_enable_check_bindings(int flag) {
    const int previous = qvo_seq_check_bindings;
    qvo_seq_check_bindings = flag;
    return previous;
}

QVO_API QVO_RET qvo_seq_prepare_aggregate(qvo_seq_iterator_h iterator) {
    const QVO_RET rc = iterator->next(iterator);
    iterator->prepared = 1;
    return rc;
}

QVO_API int qvo_seq_contains_nulls(qvo_seq_iterator_h iterator) {
    const qvo_bitmap_word_t* words = iterator->tile.null_bitmap;
    return (words[0] | words[1]) != 0;
}

QVO_API void qvo_seq_reset_null_bitmap(qvo_seq_iterator_h iterator) {
    for (qvo_bitmap_word_t& word : iterator->tile.null_bitmap) word = 0;
}

QVO_PLAIN_NAME qvo_seq_count_t min_count(qvo_seq_count_t a, qvo_seq_count_t b) { return b < a ? b : a; }

QVO_API int qvo_seq_check_tile(const qvo_seq_iterator_t* iterator) {
    const size_t width = qvo::width_of_type(iterator->elem_type), size = iterator->tile_size;
    if (width != 0 && iterator->elem_size != width) return QVO_SEQ_TILE_WIDTH;
    if (size == 0) return QVO_SEQ_TILE_EMPTY;
    if (!qvo::fits_its_width(iterator)) return QVO_SEQ_TILE_OVERFULL;
    if (std::memchr(iterator->tile.u.arr_uint1 + (qvo::payload_bytes - size), 0, size) != nullptr)
        return QVO_SEQ_TILE_RUN;
    const qvo_seq_no_t next = iterator->next_seq_no, last = iterator->last_seq_no;
    const bool beyond = last != ~qvo_seq_no_t{0} && next > last + 1;
    return next < size || beyond ? QVO_SEQ_TILE_COUNTER : QVO_SEQ_TILE_OK;
}

QVO_API const char* qvo_seq_code_text(QVO_RET code) {
    switch (code) {
        case QVO_S_OK:
            return "success";
        case QVO_S_CURSOR_END:
            return "the sequence is exhausted";
        case QVO_E_NOMEM:
            return "no memory";
        case QVO_E_UNSUPPORTED:
            return "the operator has no meaning for this type";
        case QVO_E_ILLEGAL_TYPE:
            return "an operand has the wrong element type or width";
        case QVO_E_ILLEGAL_PARAM:
            return "a parameter is out of range";
        case QVO_E_SEQ_OUT_OF_ORDER:
            return "a position sequence goes backwards";
        case QVO_E_SEQ_BOUNDED:
            return "an operand already feeds another operator";
        case QVO_E_SEQ_LENGTH_MISMATCH:
            return "sequences differ in length";
        case QVO_E_SEQ_NULL_VALUE:
            return "a sequence holds a null";
        case QVO_E_SEQ_NOT_ORDERED:
            return "a sequence is not in order";
        case QVO_ERR_SEQ:
            return "an invariant of the protocol is broken";
        default:
            return "an unknown code";
    }
}

QVO_API QVO_RET qvo_seq_reset_ternary_iterator(qvo_seq_iterator_h iterator) {
    if (const QVO_RET rc = qvo_seq_reset_binary_iterator(iterator); rc != QVO_S_OK) return rc;
    return iterator->opd[2]->reset(iterator->opd[2]);
}

QVO_API QVO_RET qvo_seq_reset_unary_agg_iterator(qvo_seq_iterator_h iterator) {
    qvo::clear_count(iterator);
    return qvo_seq_reset_unary_iterator(iterator);
}

QVO_API QVO_RET qvo_seq_reset_binary_agg_iterator(qvo_seq_iterator_h iterator) {
    qvo::clear_count(iterator);
    return qvo_seq_reset_binary_iterator(iterator);
}

QVO_API QVO_RET qvo_seq_reset_ternary_agg_iterator(qvo_seq_iterator_h iterator) {
    qvo::clear_count(iterator);
    for (qvo_seq_iterator_h operand : iterator->opd)
        if (operand != nullptr)
            if (const QVO_RET rc = operand->reset(operand); rc != QVO_S_OK) return rc;
    return qvo_seq_reset_iterator(iterator);
}

}  // extern "C"
