/* Set-returning functions, whatever their columns are. */
#ifndef QVO_POSTGRES_ROWS_H
#define QVO_POSTGRES_ROWS_H

#include "host.h"

Datum give_rows(FunctionCallInfo fcinfo, const char* name);

#endif
