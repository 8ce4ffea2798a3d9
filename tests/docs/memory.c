/* The functions of docs/memory.md, with its hooks that count, which may run out of memory. */
#include <qvoseq.h>
#include <stdio.h>
#include <stdlib.h>

#include "memory_shown.h"

enum { N = 20000 };
static qvo_int4 customers[N], groups[N];
static qvo_double amounts[N], sums[N];

/* Takes as many blocks as are left, then none. */
static int blocks_left;
static void* take_some(qvo_seq_iterator_h iterator, qvo_size_t size) {
    return blocks_left-- > 0 ? take(iterator, size) : NULL;
}

int main(void) {
    for (int i = 0; i < N; ++i) customers[i] = i % 2500, amounts[i] = i;
    qvo_seq_redefine_allocator(take_some, give_back);
    int64_t found = -1;
    for (int blocks = 0; blocks < 100 && found < 0; ++blocks) {
        blocks_left = blocks;
        found = sums_by_customer(customers, amounts, N, groups, sums);
        if (held != 0) return 1;
    }
    double all = 0;
    for (int64_t i = 0; i < found; ++i) all += sums[i];
    printf("%d groups, sum %g\n", (int)found, all);

    /* What reverse and order_by took goes back too, as often as it is asked for. */
    static qvo_seq_no_t order[N];
    qvo_seq_iterator_t source, reversed, ordered;
    qvo_double last = 0;
    qvo_size_t n = N;
    blocks_left = N;
    qvo_seq_unget_double(&source, amounts, N);
    qvo_seq_reverse_double(&reversed, &source);
    for (int i = 0; i < N; ++i) order[i] = (qvo_seq_no_t)i;
    qvo_seq_order_by_double(&ordered, &reversed, order, N, NULL);
    if (qvo_seq_next_double(&ordered, &last) != QVO_S_OK || held != 2 * N * sizeof last) return 1;
    if (qvo_seq_get_double(&ordered, sums, &n) != QVO_S_OK || n != N - 1) return 1;
    for (int twice = 0; twice < 2; ++twice) qvo_seq_free_buffer(&ordered), qvo_seq_free_buffer(&reversed);
    return found == 2500 && all == (double)N * (N - 1) / 2 && last == N - 1 && held == 0 ? 0 : 1;
}
