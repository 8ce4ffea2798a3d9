/* The source of docs/sources.md, as it stands there. */
#include <qvohost.h>
#include <qvoseq.h>
#include <stdio.h>
#include <string.h>

typedef struct {
    qvo_int4 level;
    uint32_t seconds;
} change_t;

typedef struct {
    qvo_seq_iterator_t iterator; /* first, so that a pointer to it is one to the gauge */
    const change_t* changes;
    size_t n;
    size_t at;      /* the change that comes next */
    uint32_t taken; /* seconds of it that have been delivered */
} gauge_t;

static QVO_RET gauge_next(qvo_seq_iterator_h iterator) {
    enum { CAPACITY = 4096 / (sizeof(qvo_int4) + 1) };
    gauge_t* gauge = (gauge_t*)iterator;
    uint16_t n = 0;
    while (n < CAPACITY && gauge->at < gauge->n) {
        const change_t* change = &gauge->changes[gauge->at];
        const uint32_t left = change->seconds - gauge->taken;
        if (left == 0) {
            gauge->at++;
            gauge->taken = 0;
            continue;
        }
        const uint8_t run = left < 255 ? (uint8_t)left : 255;
        iterator->tile.u.arr_int4[n] = change->level;
        iterator->tile.u.arr_uint1[4095 - n] = run;
        n++;
        gauge->taken += run;
        iterator->next_seq_no += run;
    }
    if (n == 0) return QVO_S_CURSOR_END;
    iterator->tile_size = n;
    return QVO_S_OK;
}

static QVO_RET gauge_reset(qvo_seq_iterator_h iterator) {
    gauge_t* gauge = (gauge_t*)iterator;
    gauge->at = 0;
    gauge->taken = 0;
    return qvo_seq_reset_iterator(iterator);
}

static qvo_seq_iterator_h gauge_open(gauge_t* gauge, const change_t* changes, size_t n) {
    memset(gauge, 0, sizeof *gauge);
    gauge->changes = changes;
    gauge->n = n;
    gauge->iterator.next = gauge_next;
    gauge->iterator.reset = gauge_reset;
    gauge->iterator.elem_type = QVO_DD_INT4;
    gauge->iterator.elem_size = sizeof(qvo_int4);
    gauge->iterator.last_seq_no = ~(qvo_seq_no_t)0;
    return &gauge->iterator;
}

static double mean_level(const change_t* changes, size_t n) {
    gauge_t gauge;
    qvo_seq_iterator_t mean;
    qvo_double result = 0;
    qvo_seq_agg_avg_int4(&mean, gauge_open(&gauge, changes, n));
    return qvo_seq_next_double(&mean, &result) == QVO_S_OK ? result : -1;
}

static int keeps_the_rules(qvo_seq_iterator_h source) {
    QVO_RET code;
    while ((code = source->next(source)) == QVO_S_OK)
        if (qvo_seq_check_tile(source) != QVO_SEQ_TILE_OK) return 0;
    return code == QVO_S_CURSOR_END && source->next(source) == QVO_S_CURSOR_END;
}

int main(void) {
    enum { MANY = 3000 };
    static change_t changes[MANY] = {{7, 900}, {9, 0}, {11, 100}};
    const double mean = mean_level(changes, 3);
    printf("mean level %g\n", mean);
    for (int i = 0; i < MANY; ++i) changes[i] = (change_t){i, (uint32_t)i % 1000};
    static gauge_t gauge;
    qvo_seq_iterator_h source = gauge_open(&gauge, changes, MANY);
    int well = keeps_the_rules(source) && source->next_seq_no == MANY / 1000 * (999 * 1000 / 2);
    well = well && source->reset(source) == QVO_S_OK && source->next(source) == QVO_S_OK && source->next_seq_no > 0;
    well = well && source->reset(source) == QVO_S_OK && source->next_seq_no == 0 && keeps_the_rules(source);
    return well && mean == (900 * 7 + 100 * 11) / 1000.0 && mean_level(NULL, 0) == -1 ? 0 : 1;
}
