/* The questions, by what they show of the library. Each prints a section of the report. */
#ifndef QUESTIONS_H
#define QUESTIONS_H

#include "columns.h"

/* Comparison, filters, whole-sequence aggregates, merge of partial results, top values, arithmetic. */
void ask_about_selections(const station_t* a, const station_t* b);

/* Aggregates of consecutive positions with the same key. */
void ask_about_groups(const station_t* a, const station_t* b);

/* Sort by one column, applied to others; one series aligned to the timestamps of another. */
void ask_about_order(const station_t* a, const station_t* b);

#endif
