/* Ordering by one column, and lining up two cities. */
#include <stdio.h>
#include <stdlib.h>

#include "questions.h"
#include "report.h"

/* The sort fills a permutation; each column that is wanted is then delivered in its order. */
static void windiest_days(const station_t* station) {
    enum { SHOWN = 5 };
    const qvo_size_t n_days = station->wind.n_positions;
    qvo_double* winds = malloc(n_days * sizeof *winds);
    qvo_seq_no_t* permutation = malloc(n_days * sizeof *permutation);
    if (winds == NULL || permutation == NULL) {
        must(QVO_E_NOMEM, "malloc");
        return;
    }

    qvo_seq_iterator_t wind, date, kind, dates, kinds;
    qvo_size_t n = n_days;
    open_column(&wind, &station->wind);
    MUST(qvo_seq_get_double(&wind, winds, &n));
    MUST(qvo_seq_sort_double(winds, permutation, n, QVO_SEQ_DESC_ORDER));
    open_column(&date, &station->date);
    MUST(qvo_seq_order_by_datetime(&dates, &date, permutation, n, NULL));
    open_column(&kind, &station->kind);
    MUST(qvo_seq_order_by_char(&kinds, &kind, permutation, n, NULL));

    qvo_datetime days[SHOWN];
    char names[SHOWN][KIND_WIDTH];
    const int shown = n < SHOWN ? (int)n : SHOWN;
    for (int i = 0; i < shown; ++i) {
        MUST(qvo_seq_next_datetime(&dates, &days[i]));
        MUST(qvo_seq_next_char(&kinds, names[i]));
    }
    answer("Days in the order of their wind", "the first %d in %s", shown, station->name);
    for (int i = 0; i < shown; ++i)
        detail("%s  %.*s  %4.1f", date_text(days[i]), KIND_WIDTH, names[i], winds[permutation[i]]);

    qvo_seq_free_buffer(&dates); /* they hold the columns, to pick from */
    qvo_seq_free_buffer(&kinds);
    free(permutation);
    free(winds);
}

/* Dates or amounts of a station's days of much rain. */
typedef struct {
    qvo_seq_iterator_t rain, limit, much, column, kept;
} much_rain_t;

static void open_much_rain(much_rain_t* q, const station_t* station, double millimetres) {
    open_column(&q->rain, &station->rain);
    MUST(qvo_seq_const_double(&q->limit, millimetres));
    MUST(qvo_seq_ge_double(&q->much, &q->rain, &q->limit));
}

/* One city's days of much rain, set into the calendar of the other with 0 in between; then both compared day by day. */
static void much_rain_in_both(const station_t* a, const station_t* b, double millimetres) {
    much_rain_t dates, amounts, other;
    qvo_seq_iterator_t calendar, aligned, limit, much, both, days;
    qvo_uint8 n;
    open_much_rain(&dates, b, millimetres);
    open_column(&dates.column, &b->date);
    MUST(qvo_seq_filter_datetime(&dates.kept, &dates.much, &dates.column));
    open_much_rain(&amounts, b, millimetres);
    open_column(&amounts.column, &b->rain);
    MUST(qvo_seq_filter_double(&amounts.kept, &amounts.much, &amounts.column));

    open_column(&calendar, &a->date);
    MUST(qvo_seq_stretch0_datetime_double(&aligned, &calendar, &dates.kept, &amounts.kept, 0.0));
    MUST(qvo_seq_const_double(&limit, millimetres));
    MUST(qvo_seq_ge_double(&much, &aligned, &limit));
    open_much_rain(&other, a, millimetres);
    MUST(qvo_seq_and(&both, &other.much, &much));
    MUST(qvo_seq_agg_sum_uint1(&days, &both));
    MUST(qvo_seq_next_uint8(&days, &n));

    char question[64];
    snprintf(question, sizeof question, "Days with at least %.0f mm in both, aligned by date", millimetres);
    answer(question, "%llu", (unsigned long long)n);
}

void ask_about_order(const station_t* a, const station_t* b) {
    section("Order");
    windiest_days(a);
    windiest_days(b);
    much_rain_in_both(a, b, 10.0);
}
