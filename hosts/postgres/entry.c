/*
 * The entry points of all functions of the catalog. SQL's functions name symbols of this file, one for each function of
 * the catalog (catalog.h), so that they may be renamed and moved to other schemas; a call finds its function by that
 * symbol once, and keeps it in fn_extra.
 */
#include "host.h"

#include <limits.h>

#include "aggregate.h"
#include "rows.h"
#include "utils/guc.h"

PG_MODULE_MAGIC;

int qvoseq_budget = 1 << 27;

void _PG_init(void);

void _PG_init(void) {
    DefineCustomIntVariable("qvoseq.budget", "Most positions that a call may read or expand for one result.", NULL,
                            &qvoseq_budget, 1 << 27, 1, INT_MAX, PGC_USERSET, 0, NULL, NULL, NULL);
}

static Datum call(FunctionCallInfo fcinfo, const char* name) {
    const CallSite* const site = call_site(fcinfo, name, 0);
    const qvo_limits_t limits = session_limits();
    qvo_datum_t arguments[qvo_most_arguments];
    get_arguments(fcinfo, site, 0, arguments);
    qvo_datum_t result = {0};
    qvo_error_t error;
    if (qvo_call(site->function, arguments, (size_t)site->n_arguments, &limits, &result, &error) != QVO_VALUE_OK)
        raise_error(&error, 0);
    return give_result(name, site->result, &result, &fcinfo->isnull);
}

#define ENTRY(symbol, body)      \
    PG_FUNCTION_INFO_V1(symbol); \
    Datum symbol(PG_FUNCTION_ARGS) { return body; }
#define SCALAR(name) ENTRY(qvoseq_call_##name, call(fcinfo, #name))
#define TABLE(name) ENTRY(qvoseq_rows_##name, give_rows(fcinfo, #name))
#define AGGREGATE(name)                                         \
    ENTRY(qvoseq_step_##name, step_aggregate(fcinfo, #name))    \
    ENTRY(qvoseq_final_##name, finish_aggregate(fcinfo, #name)) \
    ENTRY(qvoseq_combine_##name, combine_aggregates(fcinfo, #name))
#include "catalog.h"

/* seq_budget(n): as in every host, the setting of the session. */
PG_FUNCTION_INFO_V1(qvoseq_set_budget);
Datum qvoseq_set_budget(PG_FUNCTION_ARGS) {
    const int64 n = PG_GETARG_INT64(0);
    const int before = qvoseq_budget;
    if (n < 1 || n > INT_MAX)
        ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                        errmsg("seq_budget: argument 1: n must be from 1 to %d, got " INT64_FORMAT, INT_MAX, n)));
    char digits[16];
    pg_snprintf(digits, sizeof digits, "%d", (int)n);
    SetConfigOption("qvoseq.budget", digits, PGC_USERSET, PGC_S_SESSION);
    PG_RETURN_INT64(before);
}
