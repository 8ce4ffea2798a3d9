/* Running totals and moving averages. */
#include <string.h>

#include "questions.h"
#include "report.h"

/* The rain of 2015, summed up day by day. */
static void running_total(const station_t* station) {
    enum { YEAR = 365 };
    qvo_seq_iterator_t rain, year, total;
    qvo_double totals[YEAR];
    qvo_size_t n = YEAR;
    open_column(&rain, &station->rain);
    MUST(qvo_seq_limit(&year, &rain, station->rain.n_positions - YEAR, station->rain.n_positions - 1));
    MUST(qvo_seq_cum_agg_sum_double(&total, &year));
    MUST(qvo_seq_get_double(&total, totals, &n));
    answer("Running total of the last 365 days' rain", "%.1f mm in %s", totals[n - 1], station->name);
    detail("after 90 days %.1f, after 180 days %.1f, after 270 days %.1f", totals[89], totals[179], totals[269]);
}

/* A live feed of a column: a day at a time, and "no more for now" behind each. A window moves on once per call, so that
   the calls of this feed give the mean of the last days. buf is the sequence that the days come from. */
static QVO_RET feed_next(qvo_seq_iterator_h it) {
    it->context[0] = !it->context[0];
    if (!it->context[0]) return QVO_S_CURSOR_END;
    const QVO_RET rc = qvo_seq_next_double(it->buf, &it->tile.u.arr_double[0]);
    if (rc != QVO_S_OK) return rc;
    it->tile.u.arr_char[sizeof it->tile.u - 1] = 1;
    it->tile_size = 1;
    ++it->next_seq_no;
    return QVO_S_OK;
}

static void warmest_week(const station_t* station) {
    enum { DAYS = 7 };
    qvo_seq_iterator_t high, feed, mean;
    qvo_seq_no_t day = 0, warmest = 0;
    double best = -100.0, value;
    open_column(&high, &station->high);
    memset(&feed, 0, sizeof feed);
    feed.next = feed_next;
    feed.elem_type = QVO_DD_DOUBLE;
    feed.elem_size = sizeof(qvo_double);
    feed.last_seq_no = UINT64_MAX;
    feed.buf = &high;
    MUST(qvo_seq_window_agg_avg_double(&mean, &feed, DAYS));
    for (; qvo_seq_next_double(&mean, &value) == QVO_S_OK; ++day)
        if (day >= DAYS - 1 && value > best) {
            best = value;
            warmest = day;
        }
    answer("Warmest 7 days, by a moving average of the high", "%.2f degrees in %s", best, station->name);
    detail("up to position %llu, %s", (unsigned long long)warmest,
           date_text(*(const qvo_datetime*)value_at(&station->date, warmest)));
}

void ask_about_windows(const station_t* a, const station_t* b) {
    const station_t* stations[] = {a, b};
    section("Running totals and moving averages");
    for (int i = 0; i < 2; ++i) running_total(stations[i]);
    for (int i = 0; i < 2; ++i) warmest_week(stations[i]);
}
