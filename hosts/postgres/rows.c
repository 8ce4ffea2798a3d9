/*
 * Set-returning functions: all rows at once, into a tuplestore. The types of the columns are those that SQL was told,
 * by the function or by the query (`AS r(pos bigint, v1 timestamptz)`).
 */
#include "rows.h"

#include "funcapi.h"
#include "miscadmin.h"
#include "nodes/nodeFuncs.h"
#include "nodes/supportnodes.h"
#include "optimizer/optimizer.h"
#include "type.h"
#include "utils/memutils.h"

enum { qvo_most_columns = 16 };

/* The result of the call, of the query's memory. */
static Tuplestorestate* open_store(FunctionCallInfo fcinfo) {
    ReturnSetInfo* const info = (ReturnSetInfo*)fcinfo->resultinfo;
    if (info == NULL || !IsA(info, ReturnSetInfo) || (info->allowedModes & SFRM_Materialize) == 0)
        ereport(ERROR, (errcode(ERRCODE_FEATURE_NOT_SUPPORTED), errmsg("a set of rows is not accepted here")));
    MemoryContext before = MemoryContextSwitchTo(info->econtext->ecxt_per_query_memory);
    TupleDesc columns;
    if (get_call_result_type(fcinfo, NULL, &columns) != TYPEFUNC_COMPOSITE)
        ereport(ERROR, (errcode(ERRCODE_FEATURE_NOT_SUPPORTED), errmsg("the columns of the result are not known"),
                        errhint("Name them with their types: AS r(pos bigint, v1 float8).")));
    info->setDesc = CreateTupleDescCopy(columns);
    info->setResult = tuplestore_begin_heap((info->allowedModes & SFRM_Materialize_Random) != 0, false, work_mem);
    info->returnMode = SFRM_Materialize;
    MemoryContextSwitchTo(before);
    return info->setResult;
}

static int count_columns(const qvo_function_info_t* info) {
    int n = 1;
    for (const char* at = info->columns; *at != '\0'; ++at) n += *at == ' ';
    return n;
}

/*
 * Rows lie in the memory in which they were opened, into which the library may allocate at every call; what becomes of
 * their values for PostgreSQL lies in memory of the row.
 */
static void put_row(Tuplestorestate* store, TupleDesc columns, qvo_rows_t* rows, const char* name, MemoryContext row) {
    Datum values[qvo_most_columns];
    bool nulls[qvo_most_columns];
    for (int i = 0; i < columns->natts; ++i) {
        qvo_datum_t value = {0};
        qvo_error_t error;
        if (qvo_rows_column(rows, (unsigned)i, &value, &error) != QVO_VALUE_OK) raise_error(&error, 0);
        MemoryContext before = MemoryContextSwitchTo(row);
        values[i] = give_result(name, TupleDescAttr(columns, i)->atttypid, &value, &nulls[i]);
        MemoryContextSwitchTo(before);
    }
    tuplestore_putvalues(store, columns, values, nulls);
}

static void put_rows(Tuplestorestate* store, TupleDesc columns, qvo_rows_t* rows, const char* name) {
    MemoryContext row = AllocSetContextCreate(CurrentMemoryContext, "row of a seq_ table", ALLOCSET_DEFAULT_SIZES);
    qvo_error_t error;
    qvo_value_code_t code;
    while ((code = qvo_rows_next(rows, &error)) == QVO_VALUE_OK) {
        CHECK_FOR_INTERRUPTS();
        put_row(store, columns, rows, name, row);
        MemoryContextReset(row);
    }
    if (code != QVO_VALUE_END) raise_error(&error, 0);
}

Datum give_rows(FunctionCallInfo fcinfo, const char* name) {
    const CallSite* const site = call_site(fcinfo, name, 0);
    Tuplestorestate* const store = open_store(fcinfo);
    TupleDesc columns = ((ReturnSetInfo*)fcinfo->resultinfo)->setDesc;
    qvo_function_info_t info;
    qvo_function_describe(site->function, &info);
    if (columns->natts > Min(count_columns(&info), qvo_most_columns))
        ereport(ERROR, (errcode(ERRCODE_DATATYPE_MISMATCH), errmsg("seq_%s: the result has at most %d columns, got %d",
                                                                   name, count_columns(&info), columns->natts)));
    const qvo_limits_t limits = session_limits();
    qvo_datum_t arguments[qvo_most_arguments];
    get_arguments(fcinfo, site, 0, arguments);
    qvo_rows_t* rows = NULL;
    qvo_error_t error;
    if (qvo_rows_open(site->function, arguments, (size_t)site->n_arguments, 0, UINT64_MAX, &limits, &rows, &error) !=
        QVO_VALUE_OK)
        raise_error(&error, 0);
    /* What reads compressed tiles holds memory of zstd's own, which no memory context frees. */
    PG_TRY();
    { put_rows(store, columns, rows, name); }
    PG_FINALLY();
    { qvo_rows_free(rows); }
    PG_END_TRY();
    fcinfo->isnull = true;
    return (Datum)0;
}

/* ---- For the planner ----------------------------------------------------------------------------- */

/* The length of a sequence that is known when the query is planned, or -1. */
static double known_length(PlannerInfo* root, Node* argument) {
    Node* const folded = estimate_expression_value(root, argument);
    if (folded == NULL || !IsA(folded, Const)) return -1;
    const Const* const constant = (Const*)folded;
    if (constant->constisnull) return 0;
    if (!is_own_type(constant->consttype)) return -1;
    const qvo_datum_t sequence = bytes_of(constant->constvalue);
    qvo_datum_t length = {0};
    qvo_error_t error;
    if (qvo_call(qvo_function_named("length"), &sequence, 1, NULL, &length, &error) != QVO_VALUE_OK) return -1;
    return (double)length.as.integer;
}

PG_FUNCTION_INFO_V1(qvoseq_rows_support);
Datum qvoseq_rows_support(PG_FUNCTION_ARGS) {
    Node* const asked = (Node*)PG_GETARG_POINTER(0);
    if (!IsA(asked, SupportRequestRows)) PG_RETURN_POINTER(NULL);
    SupportRequestRows* const request = (SupportRequestRows*)asked;
    if (!is_funcclause(request->node)) PG_RETURN_POINTER(NULL);
    const List* const arguments = ((FuncExpr*)request->node)->args;
    const double rows = arguments == NIL ? -1 : known_length(request->root, linitial(arguments));
    if (rows < 0) PG_RETURN_POINTER(NULL);
    request->rows = rows;
    PG_RETURN_POINTER(request);
}
