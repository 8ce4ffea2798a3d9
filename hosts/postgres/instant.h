/* Times between PostgreSQL, which counts from 2000-01-01, and the value library, which counts from 1970-01-01 UTC. */
#ifndef QVO_POSTGRES_INSTANT_H
#define QVO_POSTGRES_INSTANT_H

#include "postgres.h"

/* False for infinities, and for years that sequences do not hold. */
bool time_of_postgres(int64 since_2000, int64* since_1970);

/* Microseconds since 2000-01-01 of a date, which may be infinite. */
int64 time_of_date(int32 days);

/* ISO 8601, of this memory context; and back, to microseconds since 2000-01-01. */
const char* time_as_text(int64 since_1970);
bool time_of_text(const char* text, size_t size, int64* since_2000);

#endif
