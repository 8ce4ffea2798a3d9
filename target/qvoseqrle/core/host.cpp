// The host services, for a build whose host does not bring its own.
//
// Every definition is weak and is called and read through its exported name, also from inside the library, so that a
// definition in the host's executable takes its place.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "qvowseq.h"

#define QVO_HOST_DEFAULT __attribute__((weak))

extern "C" {

QVO_HOST_DEFAULT int qvo_seq_check_bindings = 0;
QVO_HOST_DEFAULT int qvo_trace_level = 0;
QVO_HOST_DEFAULT unsigned int qvo_trace_modules_mask = 0;
QVO_HOST_DEFAULT qvo_trace_message_handler_fn qvo_trace_callback = nullptr;

QVO_HOST_DEFAULT void qvo_stop__(int code, const char* file, int line) {
    std::fprintf(stderr, "qvoseq: fatal error %d at %s:%d: an iterator broke an invariant of the protocol\n", code,
                 file, line);
    std::abort();
}

QVO_HOST_DEFAULT QVO_RET qvo_seq_reset_iterator(qvo_seq_iterator_h iterator) {
    iterator->tile_size = 0;
    iterator->tile_offs = 0;
    iterator->rle_offs = 0;
    iterator->prepared = 0;
    iterator->next_seq_no = 0;
    return QVO_S_OK;
}

QVO_HOST_DEFAULT QVO_RET qvo_seq_reset_unary_iterator(qvo_seq_iterator_h iterator) {
    if (const QVO_RET rc = qvo_seq_reset_iterator(iterator); rc != QVO_S_OK) return rc;
    return iterator->opd[0]->reset(iterator->opd[0]);
}

QVO_HOST_DEFAULT QVO_RET qvo_seq_reset_binary_iterator(qvo_seq_iterator_h iterator) {
    if (const QVO_RET rc = qvo_seq_reset_unary_iterator(iterator); rc != QVO_S_OK) return rc;
    return iterator->opd[1]->reset(iterator->opd[1]);
}

QVO_HOST_DEFAULT void qvo_seq_copy_bitmap(qvo_bitmap_word_t* dst, qvo_size_t dst_bit, const qvo_bitmap_word_t* src,
                                          qvo_size_t src_bit, qvo_size_t n_bits) {
    constexpr qvo_size_t word_bits = 64;
    while (n_bits != 0) {
        // The bits that lie in one word of either bitmap.
        const qvo_size_t to = dst_bit % word_bits, from = src_bit % word_bits;
        const qvo_size_t n = std::min({n_bits, word_bits - to, word_bits - from});
        const qvo_bitmap_word_t mask = (n == word_bits ? ~qvo_bitmap_word_t{0} : (qvo_bitmap_word_t{1} << n) - 1);
        const qvo_bitmap_word_t bits = (src[src_bit / word_bits] >> from) & mask;
        qvo_bitmap_word_t& word = dst[dst_bit / word_bits];
        word = (word & ~(mask << to)) | (bits << to);
        dst_bit += n;
        src_bit += n;
        n_bits -= n;
    }
}

// Null pointers are fine where there are no bytes; the standard functions do not say so.

QVO_HOST_DEFAULT void qvo_memnull(void* ptr, qvo_size_t size) {
    if (size != 0) std::memset(ptr, 0, size);
}

QVO_HOST_DEFAULT void qvo_memmove(void* dst, const void* src, qvo_size_t size) {
    if (size != 0) std::memmove(dst, src, size);
}

QVO_HOST_DEFAULT int qvo_memcmp(const void* a, const void* b, qvo_size_t size) {
    return size != 0 ? std::memcmp(a, b, size) : 0;
}

QVO_HOST_DEFAULT char* qvo_strchr(const char* str, int ch) { return const_cast<char*>(std::strchr(str, ch)); }

QVO_HOST_DEFAULT uint32_t qvo_int_get_prime_number(int index) {
    // Each about twice the one before; tables grow along them.
    static constexpr uint32_t primes[] = {
        17,       37,       79,       163,       331,       673,       1361,       2729,       5471,       10949,
        21911,    43853,    87719,    175447,    350899,    701819,    1403641,    2807303,    5614657,    11229331,
        22458671, 44917381, 89834777, 179669557, 359339171, 718678369, 1437356741, 2147483647, 4294967291,
    };
    return primes[index];
}

}  // extern "C"
