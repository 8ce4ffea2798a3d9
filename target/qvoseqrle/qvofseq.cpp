// Process-wide state of the library: the allocation hooks, the binding switch, work buffers, the protocol helpers that
// several families share, and the fatal stop.
#include <csignal>
#include <cstdlib>

#include "core/construct.h"
#include "core/fatal.h"
#include "core/number.h"

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

// The running count of limit, unique, skip_nan and the cumulative, group and grid aggregates: the second word of the
// context (`count` of qvo_seq_agg_context_t).
void clear_count(qvo_seq_iterator_h it) { it->context[1] = 0; }

}  // namespace
}  // namespace qvo

extern "C" {

qvo_seq_malloc_t qvo_seq_malloc = qvo_seq_sys_malloc;
qvo_seq_free_t qvo_seq_free = qvo_seq_sys_free;

void* qvo_seq_sys_malloc(qvo_seq_iterator_h, qvo_size_t size) { return std::malloc(size); }

void qvo_seq_sys_free(qvo_seq_iterator_h, void* ptr, qvo_size_t) { std::free(ptr); }

void qvo_seq_redefine_allocator(qvo_seq_malloc_t malloc_hook, qvo_seq_free_t free_hook) {
    qvo_seq_malloc = malloc_hook;
    qvo_seq_free = free_hook;
}

// The flags come first: a buffer that could not be had counts as owned, and release hooks accept its null pointer.
void* qvo_seq_alloc_buffer(qvo_seq_iterator_h iterator, qvo_size_t size) {
    iterator->buf_size = size;
    iterator->owned_buf = 1;
    iterator->buf = qvo_seq_malloc(iterator, size);
    return iterator->buf;
}

void qvo_seq_free_buffer(qvo_seq_iterator_h iterator) {
    if (iterator->owned_buf != 1) return;
    qvo_seq_free(iterator, iterator->buf, iterator->buf_size);
    iterator->owned_buf = 0;
    iterator->buf = nullptr;
}

int qvo_seq_enable_check_bindings(int flag) {
    const int previous = qvo_seq_check_bindings;
    qvo_seq_check_bindings = flag;
    return previous;
}

QVO_RET qvo_seq_prepare_aggregate(qvo_seq_iterator_h iterator) {
    const QVO_RET rc = iterator->next(iterator);
    iterator->prepared = 1;
    return rc;
}

int qvo_seq_contains_nulls(qvo_seq_iterator_h iterator) {
    const qvo_bitmap_word_t* words = iterator->tile.null_bitmap;
    return (words[0] | words[1]) != 0;
}

void qvo_seq_reset_null_bitmap(qvo_seq_iterator_h iterator) {
    for (qvo_bitmap_word_t& word : iterator->tile.null_bitmap) word = 0;
}

qvo_seq_count_t min_count(qvo_seq_count_t a, qvo_seq_count_t b) { return b < a ? b : a; }

QVO_RET qvo_seq_reset_unary_agg_iterator(qvo_seq_iterator_h iterator) {
    qvo::clear_count(iterator);
    return qvo_seq_reset_unary_iterator(iterator);
}

QVO_RET qvo_seq_reset_binary_agg_iterator(qvo_seq_iterator_h iterator) {
    qvo::clear_count(iterator);
    return qvo_seq_reset_binary_iterator(iterator);
}

QVO_RET qvo_seq_reset_ternary_agg_iterator(qvo_seq_iterator_h iterator) {
    qvo::clear_count(iterator);
    for (qvo_seq_iterator_h operand : iterator->opd)
        if (operand != nullptr)
            if (const QVO_RET rc = operand->reset(operand); rc != QVO_S_OK) return rc;
    return qvo_seq_reset_iterator(iterator);
}

}  // extern "C"
