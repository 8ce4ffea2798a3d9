#include "report.h"

#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

enum { QUESTION = 50, ANSWER = 30 };

void section(const char* title) {
    printf("\n%-*s %-*s %8s %9s\n", QUESTION, title, ANSWER, "", "elements", "positions");
    for (int i = 0; i < QUESTION + ANSWER + 20; ++i) putchar('-');
    putchar('\n');
    start_counting();
}

void answer(const char* question, const char* format, ...) {
    char text[128];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const counted_t read = counted();
    printf("%-*s %-*s %8llu %9llu\n", QUESTION, question, ANSWER, text, (unsigned long long)read.elements,
           (unsigned long long)read.positions);
    start_counting();
}

void detail(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    fputs("    ", stdout);
    vprintf(format, arguments);
    putchar('\n');
    va_end(arguments);
}

void must(QVO_RET rc, const char* call) {
    if (rc == QVO_S_OK) return;
    fprintf(stderr, "weather: code %d from %s\n", rc, call);
    exit(1);
}

double number_of(qvo_seq_iterator_h aggregate) {
    qvo_double value = 0;
    const QVO_RET rc = qvo_seq_next_double(aggregate, &value);
    if (rc == QVO_S_CURSOR_END) return nan(""); /* of nothing */
    must(rc, "qvo_seq_next_double");
    return value;
}

const char* date_text(qvo_datetime days_since_1970) {
    static char texts[4][64];
    static unsigned next;
    char* text = texts[next++ % 4];
    /* Days since 0000-03-01, cut into eras of 400 years; a year begins in March, so that leap days come last. */
    const long days = (long)days_since_1970 + 719468, era = days / 146097, day = days % 146097;
    const long year = (day - day / 1460 + day / 36524 - day / 146096) / 365;
    const long of_year = day - (365 * year + year / 4 - year / 100), month = (5 * of_year + 2) / 153;
    snprintf(text, sizeof texts[0], "%04ld-%02ld-%02ld", year + 400 * era + (month >= 10), (month + 2) % 12 + 1,
             of_year - (153 * month + 2) / 5 + 1);
    return text;
}
