/* Selecting rows and reducing columns to a number. */
#include <math.h>
#include <stdio.h>

#include "questions.h"
#include "report.h"

static const double wet = 5.0; /* millimetres a day */

/* The mean high of wet days: a comparison with a constant drives a filter, an average drains it. */
typedef struct {
    qvo_seq_iterator_t rain, limit, is_wet, high, kept, mean;
} wet_mean_t;

static void open_wet_mean(wet_mean_t* q, const station_t* station) {
    open_column(&q->rain, &station->rain);
    MUST(qvo_seq_const_double(&q->limit, wet));
    MUST(qvo_seq_gt_double(&q->is_wet, &q->rain, &q->limit));
    open_column(&q->high, &station->high);
    MUST(qvo_seq_filter_double(&q->kept, &q->is_wet, &q->high));
    MUST(qvo_seq_agg_avg_double(&q->mean, &q->kept));
}

static void mean_high_of_wet_days(const station_t* station) {
    wet_mean_t q;
    open_wet_mean(&q, station);
    answer("Mean high of days with more than 5 mm", "%.2f degrees in %s", number_of(&q.mean), station->name);
}

/* Each part is computed for itself, as on two machines; then one takes in the other's state. A part without a wet day
   ends without a result and has nothing to give: it is left out, since the first part has to have one to deliver. */
static void mean_high_of_wet_days_merged(const station_t* a, const station_t* b) {
    const station_t* stations[] = {a, b};
    wet_mean_t parts[2], *merged = NULL;
    for (int i = 0; i < 2; ++i) {
        open_wet_mean(&parts[i], stations[i]);
        const QVO_RET rc = parts[i].mean.prepare(&parts[i].mean);
        if (rc == QVO_S_CURSOR_END) continue;
        MUST(rc);
        if (merged != NULL) MUST(merged->mean.merge(&merged->mean, &parts[i].mean));
        if (merged == NULL) merged = &parts[i];
    }
    answer("  the two merged", "%.2f degrees in both", merged != NULL ? number_of(&merged->mean) : nan(""));
}

static void days_of_much_rain(const station_t* station, double millimetres) {
    enum { SHOWN = 32 };
    qvo_seq_iterator_t rain, limit, above, positions;
    qvo_uint8 found[SHOWN], one;
    qvo_size_t n = SHOWN;
    open_column(&rain, &station->rain);
    MUST(qvo_seq_const_double(&limit, millimetres));
    MUST(qvo_seq_ge_double(&above, &rain, &limit));
    MUST(qvo_seq_filter_pos(&positions, &above));
    const QVO_RET rc = qvo_seq_get_uint8(&positions, found, &n);
    if (rc == QVO_S_CURSOR_END) n = 0;
    qvo_size_t n_days = n;
    while (n == SHOWN && qvo_seq_next_uint8(&positions, &one) == QVO_S_OK) ++n_days;

    char question[64];
    snprintf(question, sizeof question, "Days with at least %.0f mm", millimetres);
    answer(question, "%llu in %s", (unsigned long long)n_days, station->name);
    for (qvo_size_t i = 0; i < n; ++i)
        detail("position %4llu  %s  %5.1f mm", (unsigned long long)found[i],
               date_text(*(const qvo_datetime*)value_at(&station->date, found[i])),
               *(const double*)value_at(&station->rain, found[i]));
    if (n_days > n) detail("and %llu more", (unsigned long long)(n_days - n));
}

static void range_of_wind(const station_t* station) {
    qvo_seq_iterator_t wind, range;
    qvo_double ends[2];
    qvo_size_t n = 2;
    open_column(&wind, &station->wind);
    MUST(qvo_seq_agg_min_max_double(&range, &wind));
    MUST(qvo_seq_get_double(&range, ends, &n));
    answer("Wind, least and most", "%.1f to %.1f in %s", ends[0], ends[1], station->name);
}

static void correlation_of_high_and_low(const station_t* station) {
    qvo_seq_iterator_t high, low, correlation;
    open_column(&high, &station->high);
    open_column(&low, &station->low);
    MUST(qvo_seq_corr_double(&correlation, &high, &low));
    answer("Correlation of the high and the low of a day", "%.4f in %s", number_of(&correlation), station->name);
}

/* The selection counts elements, so the runs are expanded first: an element for each position. */
static void wettest_days(const station_t* station) {
    enum { TOP = 5 };
    qvo_seq_iterator_t rain[2], days[2], values, positions;
    qvo_double millimetres[TOP];
    qvo_uint8 found[TOP];
    qvo_size_t n = TOP;
    for (int i = 0; i < 2; ++i) {
        open_column(&rain[i], &station->rain);
        MUST(qvo_seq_rle_decode(&days[i], &rain[i]));
    }
    MUST(qvo_seq_top_max_double(&values, &days[0], TOP));
    MUST(qvo_seq_top_pos_max_double(&positions, &days[1], TOP));
    MUST(qvo_seq_get_double(&values, millimetres, &n));
    MUST(qvo_seq_get_uint8(&positions, found, &n));
    answer("Wettest days", "the first %d in %s", TOP, station->name);
    for (qvo_size_t i = 0; i < n; ++i)
        detail("position %4llu  %s  %5.1f mm", (unsigned long long)found[i],
               date_text(*(const qvo_datetime*)value_at(&station->date, found[i])), millimetres[i]);
}

/* high * 1.8 + 32: two operators, each with a constant as its second operand; then the largest. */
static void highest_in_fahrenheit(const station_t* station) {
    qvo_seq_iterator_t high, factor, scaled, offset, fahrenheit, largest;
    open_column(&high, &station->high);
    MUST(qvo_seq_const_double(&factor, 1.8));
    MUST(qvo_seq_mul_double(&scaled, &high, &factor));
    MUST(qvo_seq_const_double(&offset, 32.0));
    MUST(qvo_seq_add_double(&fahrenheit, &scaled, &offset));
    MUST(qvo_seq_agg_max_double(&largest, &fahrenheit));
    answer("Highest temperature in Fahrenheit", "%.2f degrees in %s", number_of(&largest), station->name);
}

static void dry_days(const station_t* station) {
    qvo_seq_iterator_t rain, none, dry, share;
    open_column(&rain, &station->rain);
    MUST(qvo_seq_const_double(&none, 0.0));
    MUST(qvo_seq_eq_double(&dry, &rain, &none));
    MUST(qvo_seq_agg_avg_uint1(&share, &dry)); /* a boolean is a uint1 of 0 or 1 */
    answer("Share of days without rain", "%.2f %% in %s", 100.0 * number_of(&share), station->name);
}

void ask_about_selections(const station_t* a, const station_t* b) {
    const station_t* stations[] = {a, b};
    section("Selections and sums");
    for (int i = 0; i < 2; ++i) mean_high_of_wet_days(stations[i]);
    mean_high_of_wet_days_merged(a, b);
    for (int i = 0; i < 2; ++i) days_of_much_rain(stations[i], 50.0);
    for (int i = 0; i < 2; ++i) dry_days(stations[i]);
    for (int i = 0; i < 2; ++i) range_of_wind(stations[i]);
    for (int i = 0; i < 2; ++i) correlation_of_high_and_low(stations[i]);
    for (int i = 0; i < 2; ++i) wettest_days(stations[i]);
    for (int i = 0; i < 2; ++i) highest_in_fahrenheit(stations[i]);
}
