/* Groups of consecutive days with the same key. The keys are stored as runs, so a month is two or three elements. */
#include "questions.h"
#include "report.h"

enum { MAX_MONTHS = 1200, SHOWN = 12 };

/* Aggregates of two columns by the month; each operator reads columns of its own. */
static void months(const station_t* station) {
    qvo_seq_iterator_t month[4], named, counted_days, high, highs, rain, rains;
    qvo_int4 names[MAX_MONTHS];
    qvo_uint8 n_days[MAX_MONTHS];
    qvo_double mean_highs[MAX_MONTHS], sums[MAX_MONTHS];
    qvo_size_t n[4] = {MAX_MONTHS, MAX_MONTHS, MAX_MONTHS, MAX_MONTHS};
    qvo_seq_iterator_t labels;

    for (int i = 0; i < 4; ++i) open_column(&month[i], &station->month);
    open_column(&labels, &station->month);
    MUST(qvo_seq_group_agg_first_int4(&named, &labels, &month[0]));
    MUST(qvo_seq_group_agg_count(&counted_days, &month[1]));
    open_column(&high, &station->high);
    MUST(qvo_seq_group_agg_avg_double(&highs, &high, &month[2]));
    open_column(&rain, &station->rain);
    MUST(qvo_seq_group_agg_sum_double(&rains, &rain, &month[3]));

    MUST(qvo_seq_get_int4(&named, names, &n[0]));
    MUST(qvo_seq_get_uint8(&counted_days, n_days, &n[1]));
    MUST(qvo_seq_get_double(&highs, mean_highs, &n[2]));
    MUST(qvo_seq_get_double(&rains, sums, &n[3]));
    if (n[0] == MAX_MONTHS) detail("more than %d months; the rest is left out", MAX_MONTHS - 1);
    answer("Months: days, mean high, rain", "the last %llu of %llu in %s",
           (unsigned long long)(n[0] < SHOWN ? n[0] : SHOWN), (unsigned long long)n[0], station->name);
    for (qvo_size_t i = n[0] < SHOWN ? 0 : n[0] - SHOWN; i < n[0]; ++i)
        detail("%d-%02d  %llu days  %5.2f degrees  %6.1f mm", names[i] / 100, names[i] % 100,
               (unsigned long long)n_days[i], mean_highs[i], sums[i]);
}

void ask_about_groups(const station_t* a, const station_t* b) {
    section("Groups");
    months(a);
    months(b);
}
