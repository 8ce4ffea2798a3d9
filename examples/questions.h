/* The questions, by what they show of the library. Each prints a section of the report. */
#ifndef QUESTIONS_H
#define QUESTIONS_H

#include "columns.h"

/* Comparison, filters, whole-sequence aggregates, merge of partial results, top values, arithmetic. */
void ask_about_selections(const station_t* a, const station_t* b);

/* Hash aggregates, merge of their tables, distinct counts exact and estimated. */
void ask_about_keys(const station_t* a, const station_t* b);

/* Aggregates of consecutive positions with the same key. */
void ask_about_groups(const station_t* a, const station_t* b);

/* Conversion, difference, trend, histogram, turning points, pattern matching. */
void ask_about_shapes(const station_t* a, const station_t* b);

/* Running totals, moving averages. */
void ask_about_windows(const station_t* a, const station_t* b);

/* Sort by one column, applied to others; one series aligned to the timestamps of another. */
void ask_about_order(const station_t* a, const station_t* b);

#endif
