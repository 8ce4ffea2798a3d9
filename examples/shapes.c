/* Values made into others: conversion, changes, distributions, turning points, patterns. */
#include <stdio.h>
#include <string.h>

#include "questions.h"
#include "report.h"

/* Whole degrees, truncated towards zero: far fewer values. */
static void whole_degrees(const station_t* station) {
    qvo_seq_iterator_t high, whole, days, values, different;
    qvo_uint8 n;
    open_column(&high, &station->high);
    MUST(qvo_seq_double_to_int4(&whole, &high));
    MUST(qvo_seq_hash_agg_count(&days, &values, &whole, 0));
    MUST(qvo_seq_agg_count(&different, &values));
    MUST(qvo_seq_next_uint8(&different, &n));
    qvo_seq_free_hash(&days);
    answer("Different highs in whole degrees", "%llu in %s", (unsigned long long)n, station->name);
}

/* Each day's high less that of the day before; the first day's change is 0. */
static void changes(const station_t* station) {
    qvo_seq_iterator_t high, change, range;
    qvo_double ends[2];
    qvo_size_t n = 2;
    open_column(&high, &station->high);
    MUST(qvo_seq_diff_double(&change, &high));
    MUST(qvo_seq_agg_min_max_double(&range, &change));
    MUST(qvo_seq_get_double(&range, ends, &n));
    answer("Change of the high from day to day", "%.1f to %+.1f in %s", ends[0], ends[1], station->name);
}

/* Days on which the high had last gone up: days without a change keep the direction. */
static void days_of_rise(const station_t* station) {
    qvo_seq_iterator_t high, direction, up, rising, days;
    qvo_uint8 n;
    open_column(&high, &station->high);
    MUST(qvo_seq_trend_double(&direction, &high));
    MUST(qvo_seq_const_int1(&up, 1));
    MUST(qvo_seq_eq_int1(&rising, &direction, &up));
    MUST(qvo_seq_agg_sum_uint1(&days, &rising));
    MUST(qvo_seq_next_uint8(&days, &n));
    answer("Days of a rising high", "%llu in %s", (unsigned long long)n, station->name);
}

/* Days by their high, in steps of five degrees, as bars. */
static void highs_as_bars(const station_t* station) {
    enum { LEAST = -10, MOST = 40, STEP = 5, BARS = (MOST - LEAST) / STEP, DAYS_A_MARK = 10 };
    qvo_seq_iterator_t high, histogram;
    qvo_uint8 n_days[BARS];
    qvo_size_t n = BARS;
    open_column(&high, &station->high);
    MUST(qvo_seq_histogram_double(&histogram, &high, LEAST, MOST, BARS));
    MUST(qvo_seq_get_uint8(&histogram, n_days, &n));
    answer("Days by their high", "steps of %d degrees in %s", STEP, station->name);
    for (int i = 0; i < BARS; ++i) {
        char bar[160];
        const size_t length = (size_t)(n_days[i] + DAYS_A_MARK - 1) / DAYS_A_MARK;
        memset(bar, '#', length);
        bar[length] = '\0';
        detail("%3d to %3d  %4llu%s%s", LEAST + i * STEP, LEAST + (i + 1) * STEP, (unsigned long long)n_days[i],
               length == 0 ? "" : " ", bar);
    }
}

/* Turning points: a high from which it went down again, and the other way round. */
static void turning_points(const station_t* station) {
    qvo_seq_iterator_t high, positions, count;
    qvo_uint8 n;
    open_column(&high, &station->high);
    MUST(qvo_seq_extrema_double(&positions, &high, 0));
    MUST(qvo_seq_agg_count(&count, &positions));
    MUST(qvo_seq_next_uint8(&count, &n));
    answer("Turning points of the high", "%llu in %s", (unsigned long long)n, station->name);
}

/* qvo_seq_match takes the i-th string of a call from byte i of the tile, which fits strings of one byte. Longer ones
   are matched one by one, by the matcher that it has chosen for the pattern; a run is matched once. */
static void kinds_like(const station_t* station, const char* pattern) {
    qvo_seq_iterator_t kind, matches;
    qvo_seq_count_t n_days = 0;
    char question[64];
    open_column(&kind, &station->kind);
    MUST(qvo_seq_match(&matches, &kind, pattern));
    const qvo_seq_match_context_t* matcher = (const qvo_seq_match_context_t*)matches.context;
    while (kind.next(&kind) == QVO_S_OK)
        for (size_t i = 0; i < kind.tile_size; ++i)
            if (matcher->match(matcher, kind.tile.u.arr_char + i * KIND_WIDTH))
                n_days += (unsigned char)kind.tile.u.arr_char[sizeof kind.tile.u - 1 - i];
    snprintf(question, sizeof question, "Days of a kind like '%s'", pattern);
    answer(question, "%llu in %s", (unsigned long long)n_days, station->name);
}

void ask_about_shapes(const station_t* a, const station_t* b) {
    const station_t* stations[] = {a, b};
    section("Conversion, changes, distribution, patterns");
    for (int i = 0; i < 2; ++i) whole_degrees(stations[i]);
    for (int i = 0; i < 2; ++i) changes(stations[i]);
    for (int i = 0; i < 2; ++i) days_of_rise(stations[i]);
    for (int i = 0; i < 2; ++i) turning_points(stations[i]);
    for (int i = 0; i < 2; ++i) kinds_like(stations[i], "s%");
    for (int i = 0; i < 2; ++i) kinds_like(stations[i], "%i%");
    for (int i = 0; i < 2; ++i) highs_as_bars(stations[i]);
}
