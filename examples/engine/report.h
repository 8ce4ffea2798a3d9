/* The lines that the questions print. */
#ifndef REPORT_H
#define REPORT_H

#include "columns.h"

/* Opens a section. */
void section(const char* title);

/* One answer, followed by what the stored columns handed out for it since the last answer. */
__attribute__((format(printf, 2, 3))) void answer(const char* question, const char* format, ...);

/* A further line of the last answer. */
__attribute__((format(printf, 1, 2))) void detail(const char* format, ...);

/* Ends the program with a message unless the code is QVO_S_OK. */
#define MUST(call) must((call), #call)
void must(QVO_RET rc, const char* call);

/* The single value of an aggregate. */
double number_of(qvo_seq_iterator_h aggregate);

/* A day as 2012-01-31. The text stays for three further calls. */
const char* date_text(qvo_datetime days_since_1970);

#endif
