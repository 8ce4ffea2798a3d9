/*
 * qvohost: the services that qvoseq takes from its host.
 *
 * The library carries a default for each of them, as a weak definition. A host that defines one of
 * these names itself, in the executable or in a library that comes first, replaces the default, with
 * the shared library and with the static one.
 */
#ifndef QVOHOST_H
#define QVOHOST_H

#include "qvoseq.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ==== core/host ================================================================================ */

/* Trace severities and modules; the library uses QVO_TRACE_FATAL and QVO_TRACE_SEQ. */
enum {
    QVO_TRACE_FATAL = 1,
    QVO_TRACE_ERROR = 2,
    QVO_TRACE_WARNING = 3,
    QVO_TRACE_NOTICE = 4,
    QVO_TRACE_INFO = 5,
    QVO_TRACE_DEBUG = 6,
    QVO_TRACE_VERBOSE = 7,

    QVO_TRACE_SEQ = 26
};

typedef int (*qvo_trace_message_handler_fn)(int severity, int module, const char* file, int line, const char* message);

/* Non-zero: constructors refuse operands that already feed a consumer, and element readers refuse
   iterators that do. Initially 0. */
extern QVO_API int qvo_seq_check_bindings;

/* Tracing of the fatal stop: the handler is called when the level is non-zero, bit QVO_TRACE_SEQ of
   the mask is set and the handler is not null. Initially off: 0, 0 and null. */
extern QVO_API int qvo_trace_level;
extern QVO_API unsigned int qvo_trace_modules_mask;
extern QVO_API qvo_trace_message_handler_fn qvo_trace_callback;

/* Ends the process, or the host's equivalent; must not return. Called with QVO_ERR_SEQ when an
   invariant is broken. The default says so on standard error and aborts. */
QVO_API void qvo_stop__(int code, const char* file, int line);

/*
 * Rewinds one iterator: tile_size, tile_offs, rle_offs, prepared and next_seq_no become 0; all else
 * stays. The unary and binary forms then call the `reset` of operand 0, and of operand 1, and return
 * the first code that is not QVO_S_OK.
 */
QVO_API QVO_RET qvo_seq_reset_iterator(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_reset_unary_iterator(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_reset_binary_iterator(qvo_seq_iterator_h iterator);

/* Copies n_bits bits between bitmaps; bit i is bit i mod 64 of word i / 64. Other bits stay. */
QVO_API void qvo_seq_copy_bitmap(qvo_bitmap_word_t* dst, qvo_size_t dst_bit, const qvo_bitmap_word_t* src,
                                 qvo_size_t src_bit, qvo_size_t n_bits);

/* Sets size bytes to 0. */
QVO_API void qvo_memnull(void* ptr, qvo_size_t size);

/* Copies size bytes; the areas may overlap. */
QVO_API void qvo_memmove(void* dst, const void* src, qvo_size_t size);

/* Compares size bytes as unsigned: negative, 0 or positive. */
QVO_API int qvo_memcmp(const void* a, const void* b, qvo_size_t size);

/* The first occurrence of a character in a zero-terminated string, or null. */
QVO_API char* qvo_strchr(const char* str, int ch);

/* The index-th entry of an ascending table of primes; indexes 0 to 28 are valid. */
QVO_API uint32_t qvo_int_get_prime_number(int index);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* QVOHOST_H */
