/* Times between PostgreSQL and the value library. */
#include "instant.h"

#include "datatype/timestamp.h"
#include "host.h"
#include "utils/date.h"
#include "utils/datetime.h"
#include "utils/timestamp.h"

/* 0001-01-01 and 10000-01-01 */
#define FIRST INT64CONST(-62135596800000000)
#define BEYOND INT64CONST(253402300800000000)

bool time_of_postgres(int64 since_2000, int64* since_1970) {
    if (TIMESTAMP_NOT_FINITE(since_2000)) return false;
    *since_1970 = since_2000 + QVO_POSTGRES_EPOCH;
    return *since_1970 >= FIRST && *since_1970 < BEYOND;
}

int64 time_of_date(int32 days) {
    if (DATE_IS_NOBEGIN(days)) return DT_NOBEGIN;
    if (DATE_IS_NOEND(days)) return DT_NOEND;
    return (int64)days * USECS_PER_DAY;
}

const char* time_as_text(int64 since_1970) {
    const int64 since_2000 = since_1970 - QVO_POSTGRES_EPOCH;
    int64 day = since_2000 / USECS_PER_DAY, within = since_2000 % USECS_PER_DAY;
    if (within < 0) {
        within += USECS_PER_DAY;
        --day;
    }
    int year, month, day_of_month;
    j2date((int)day + POSTGRES_EPOCH_JDATE, &year, &month, &day_of_month);
    const int seconds = (int)(within / USECS_PER_SEC);
    return psprintf("%04d-%02d-%02dT%02d:%02d:%02d.%06dZ", year, month, day_of_month, seconds / SECS_PER_HOUR,
                    seconds / SECS_PER_MINUTE % MINS_PER_HOUR, seconds % SECS_PER_MINUTE,
                    (int)(within % USECS_PER_SEC));
}

/* The number of n digits, or -1. */
static int digits(const char* text, int n) {
    int value = 0;
    for (int i = 0; i < n; ++i) {
        if (text[i] < '0' || text[i] > '9') return -1;
        value = value * 10 + text[i] - '0';
    }
    return value;
}

/* As the value library writes them: 2026-01-31T12:00:00, and .ffffff where there is a fraction. */
bool time_of_text(const char* text, size_t size, int64* since_2000) {
    if (size != 19 && size != 26) return false;
    const int year = digits(text, 4), month = digits(text + 5, 2), day = digits(text + 8, 2);
    const int hour = digits(text + 11, 2), minute = digits(text + 14, 2), second = digits(text + 17, 2);
    const int fraction = size == 26 ? digits(text + 20, 6) : 0;
    if (year < 1 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || minute < 0 || second < 0 ||
        fraction < 0)
        return false;
    const int64 days = date2j(year, month, day) - POSTGRES_EPOCH_JDATE;
    const int64 seconds = days * SECS_PER_DAY + hour * SECS_PER_HOUR + minute * SECS_PER_MINUTE + second;
    *since_2000 = seconds * USECS_PER_SEC + fraction;
    return text[4] == '-' && text[7] == '-' && text[10] == 'T';
}
