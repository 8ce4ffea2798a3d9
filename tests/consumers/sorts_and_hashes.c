/* Sorts, hashes and sketches: what the library has functions without a prefix for. Some programs have functions of these
   names themselves, which must neither be called nor be missed. */
#include <qvoseq.h>
#include <stdio.h>

enum { N = 1000 };

static int sorts(void) {
    static qvo_double data[N];
    static qvo_seq_no_t order[N];
    for (int i = 0; i < N; ++i) data[i] = (i * 7919) % N;
    qvo_seq_sort_double(data, order, N, QVO_SEQ_ASC_ORDER);
    for (int i = 0; i < N; ++i)
        if (data[order[i]] != i) return 0;
    return 1;
}

/* Distinct texts of 12 bytes, estimated over all of them, and counted by hash. */
static int hashes(void) {
    static char texts[N][12];
    for (int i = 0; i < N; ++i) snprintf(texts[i], sizeof texts[i], "%d", i % 100);
    qvo_seq_iterator_t input, estimate, keys, counts, groups;
    qvo_uint4 distinct = 0;
    qvo_seq_unget_char(&input, texts[0], N, sizeof texts[0]);
    qvo_seq_agg_approxdc(&estimate, &input);
    if (qvo_seq_next_uint4(&estimate, &distinct) != QVO_S_OK || distinct < 80 || distinct > 120) return 0;

    qvo_seq_unget_char(&keys, texts[0], N, sizeof texts[0]);
    qvo_uint8 count = 0;
    int n = 0;
    qvo_seq_hash_agg_count(&counts, &groups, &keys, 100);
    while (qvo_seq_next_uint8(&counts, &count) == QVO_S_OK) n += count == 10;
    return n == 100;
}

int main(void) {
    const int well = sorts() && hashes();
    puts(well ? "sorts and hashes" : "wrong");
    return !well;
}
