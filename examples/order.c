/* Ordering by one column, and lining up two cities. */
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
    for (int i = 0; i < SHOWN; ++i) {
        MUST(qvo_seq_next_datetime(&dates, &days[i]));
        MUST(qvo_seq_next_char(&kinds, names[i]));
    }
    answer("Days in the order of their wind", "the first %d in %s", SHOWN, station->name);
    for (int i = 0; i < SHOWN; ++i)
        detail("%s  %.*s  %4.1f", date_text(days[i]), KIND_WIDTH, names[i], winds[permutation[i]]);

    qvo_seq_free_buffer(&dates); /* they hold the columns, to pick from */
    qvo_seq_free_buffer(&kinds);
    free(permutation);
    free(winds);
}

void ask_about_order(const station_t* a, const station_t* b) {
    section("Order");
    windiest_days(a);
    windiest_days(b);
}
