/* Aggregates: transition, combine and final functions, whatever the aggregate is. */
#ifndef QVO_POSTGRES_AGGREGATE_H
#define QVO_POSTGRES_AGGREGATE_H

#include "host.h"

Datum step_aggregate(FunctionCallInfo fcinfo, const char* name);
Datum combine_aggregates(FunctionCallInfo fcinfo, const char* name);
Datum finish_aggregate(FunctionCallInfo fcinfo, const char* name);

/* The input function of qvoseq_state. */
Datum qvoseq_state_in(PG_FUNCTION_ARGS);

#endif
