/* The functions of docs/memory.md, as they stand there: with hooks that count, which may run out of memory. */
#include <qvoseq.h>
#include <stdio.h>
#include <stdlib.h>

/* The sum of the amounts of each customer. Both arrays of results have room for n; the number of groups, or -1. */
static int64_t sums_by_customer(const qvo_int4* customers, const qvo_double* amounts, qvo_size_t n, qvo_int4* group,
                                qvo_double* sum) {
    qvo_seq_iterator_t customer, amount, sums, groups;
    qvo_size_t n_sums = n, n_groups = n;
    qvo_seq_unget_int4(&customer, customers, n);
    qvo_seq_unget_double(&amount, amounts, n);
    QVO_RET code = qvo_seq_hash_agg_sum_double(&sums, &groups, &amount, &customer, 0);
    if (code != QVO_S_OK) return -1; /* nothing is held */
    code = qvo_seq_get_double(&sums, sum, &n_sums);
    if (code == QVO_S_OK) code = qvo_seq_get_int4(&groups, group, &n_groups);
    qvo_seq_free_hash(&sums); /* whatever came of it */
    return code == QVO_S_OK && n_sums == n_groups ? (int64_t)n_groups : -1;
}

static size_t held;

static void* take(qvo_seq_iterator_h iterator, qvo_size_t size) {
    (void)iterator; /* on whose behalf: a host may keep an arena or a limit for each query */
    void* block = malloc(size);
    if (block != NULL) held += size;
    return block;
}

static void give_back(qvo_seq_iterator_h iterator, void* block, qvo_size_t size) {
    (void)iterator;
    if (block != NULL) held -= size;
    free(block);
}

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
