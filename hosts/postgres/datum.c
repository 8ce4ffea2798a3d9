/*
 * Data between PostgreSQL and the value library, the limits of a call and its errors.
 *
 * Parameters that take a sequence or a scalar are declared "any", so that `seq_gt(price, 1000)` and
 * `seq_gt(time, '2026-01-01')` find one function each and need no overloads; what came is looked up once for each
 * call site, from the parsed expression.
 */
#include "host.h"

#include <math.h>

#include "catalog/pg_type.h"
#include "common/int.h"
#include "instant.h"
#include "mb/pg_wchar.h"
#include "miscadmin.h"
#include "type.h"
#include "utils/builtins.h"
#include "utils/lsyscache.h"
#include "utils/memutils.h"
#include "utils/timestamp.h"

/* ---- Limits and errors --------------------------------------------------------------------------- */

/*
 * Whether CHECK_FOR_INTERRUPTS would end the query. It would do so by longjmp, which must not happen here, with frames
 * of C++ on the stack: raise_error calls it after them.
 */
static int interrupted(void* data) {
    (void)data;
    if (!InterruptPending || InterruptHoldoffCount != 0 || CritSectionCount != 0) return 0;
    return ProcDiePending || (QueryCancelPending && QueryCancelHoldoffCount == 0);
}

qvo_limits_t session_limits(void) {
    return (qvo_limits_t){.budget = (uint64_t)qvoseq_budget, .interrupted = interrupted, .data = NULL};
}

static int state_of_fault(qvo_fault_t fault) {
    switch (fault) {
        case QVO_FAULT_TYPE:
            return ERRCODE_DATATYPE_MISMATCH;
        case QVO_FAULT_OVERFLOW:
            return ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE;
        case QVO_FAULT_LIMIT:
            return ERRCODE_PROGRAM_LIMIT_EXCEEDED;
        case QVO_FAULT_VALUE:
            break;
    }
    return ERRCODE_INVALID_PARAMETER_VALUE;
}

void raise_error(const qvo_error_t* error, int state) {
    if (state == 0) state = state_of_fault(error->fault);
    if (error->code == QVO_VALUE_INTERRUPTED) {
        CHECK_FOR_INTERRUPTS();
        state = ERRCODE_QUERY_CANCELED; /* unless it had nothing to say after all */
    }
    if (error->code == QVO_VALUE_NOMEM) state = ERRCODE_OUT_OF_MEMORY;
    ereport(ERROR, (errcode(state), errmsg("%s", error->message)));
}

/* ---- Bytes and text ------------------------------------------------------------------------------ */

Datum make_varlena(const void* data, size_t size) {
    if (size > MaxAllocSize - VARHDRSZ)
        ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED), errmsg("a sequence of %zu bytes exceeds 1 GB", size)));
    void* const made = palloc(VARHDRSZ + size);
    SET_VARSIZE(made, VARHDRSZ + size);
    if (size != 0) memcpy(VARDATA(made), data, size);
    return PointerGetDatum(made);
}

Datum make_text(const void* data, size_t size) {
    if (size > MaxAllocSize - VARHDRSZ)
        ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED), errmsg("a text of %zu bytes exceeds 1 GB", size)));
    char* const copy = pnstrdup(size == 0 ? "" : data, size);
    const char* const converted = pg_any_to_server(copy, (int)size, PG_UTF8);
    return make_varlena(converted, converted == copy ? size : strlen(converted));
}

qvo_datum_t bytes_of(Datum varlena) {
    const void* const bytes = PG_DETOAST_DATUM_PACKED(varlena);
    qvo_datum_t datum = {.kind = QVO_DATUM_BYTES};
    datum.as.bytes.data = VARDATA_ANY(bytes);
    datum.as.bytes.size = VARSIZE_ANY_EXHDR(bytes);
    return datum;
}

static qvo_datum_t text_datum(const char* text, size_t size) {
    const char* const converted = pg_server_to_any(text, (int)size, PG_UTF8);
    qvo_datum_t datum = {.kind = QVO_DATUM_TEXT};
    datum.as.bytes.data = converted;
    datum.as.bytes.size = converted == text ? size : strlen(converted);
    return datum;
}

qvo_datum_t text_of(const char* text) { return text_datum(text, strlen(text)); }

qvo_datum_t call_named(const char* name, const qvo_datum_t* arguments, size_t n, int state) {
    const qvo_limits_t limits = session_limits();
    qvo_datum_t result = {0};
    qvo_error_t error;
    if (qvo_call(qvo_function_named(name), arguments, n, &limits, &result, &error) != QVO_VALUE_OK)
        raise_error(&error, state);
    return result;
}

/* ---- Call sites ---------------------------------------------------------------------------------- */

static ArgumentForm form_of(Oid type, const char* name, int argument, const char* parameter) {
    switch (type) {
        case UNKNOWNOID:
        case CSTRINGOID:
            return FROM_CSTRING;
        case TEXTOID:
        case VARCHAROID:
        case BPCHAROID:
            return FROM_TEXT;
        case BYTEAOID:
            return FROM_BYTES;
        case BOOLOID:
            return FROM_BOOLEAN;
        case INT2OID:
            return FROM_INT2;
        case INT4OID:
            return FROM_INT4;
        case INT8OID:
            return FROM_INT8;
        case FLOAT4OID:
            return FROM_FLOAT4;
        case FLOAT8OID:
            return FROM_FLOAT8;
        case NUMERICOID:
            return FROM_NUMERIC;
        case DATEOID:
            return FROM_DATE;
        case TIMESTAMPOID:
        case TIMESTAMPTZOID:
            return FROM_TIMESTAMP;
        case INTERVALOID:
            return FROM_INTERVAL;
        default:
            if (is_own_type(type)) return FROM_BYTES;
            ereport(ERROR, (errcode(ERRCODE_DATATYPE_MISMATCH),
                            errmsg("seq_%s: argument %d: %s must be a sequence, a number, a text or a time, got %s",
                                   name, argument + 1, parameter, format_type_be(type))));
    }
}

static void describe_argument(CallSite* site, FunctionCallInfo fcinfo, Oid declared, int i, int first) {
    qvo_function_info_t info;
    qvo_function_describe(site->function, &info);
    qvo_parameter_info_t parameter;
    const size_t last = info.n_parameters - 1;
    qvo_parameter_describe(site->function, (size_t)i < last ? (size_t)i : last, &parameter);
    Oid type = declared == ANYOID ? get_fn_expr_argtype(fcinfo->flinfo, first + i) : declared;
    if (!OidIsValid(type))
        ereport(ERROR, (errcode(ERRCODE_INDETERMINATE_DATATYPE),
                        errmsg("seq_%s: argument %d: the type of %s is not known", site->name, i + 1, parameter.name)));
    type = getBaseType(type);
    site->forms[i] = form_of(type, site->name, i, parameter.name);
    /* Beside sequences times are texts. Where anything is taken, as a key or a value, they are numbers: these order. */
    site->instants[i] = parameter.takes == QVO_TAKES_ANYTHING;
    site->texts[i] = parameter.takes == QVO_TAKES_TEXT;
}

const CallSite* call_site(FunctionCallInfo fcinfo, const char* name, int first) {
    CallSite* site = fcinfo->flinfo->fn_extra;
    if (site != NULL) return site;
    site = MemoryContextAllocZero(fcinfo->flinfo->fn_mcxt, sizeof(CallSite));
    site->function = qvo_function_named(name);
    site->name = name;
    if (site->function == NULL) elog(ERROR, "the library has no function %s", name);
    Oid* declared;
    int n;
    site->result = get_func_signature(fcinfo->flinfo->fn_oid, &declared, &n);
    site->n_arguments = Max(n - first, 0);
    if (site->n_arguments > qvo_most_arguments) elog(ERROR, "seq_%s has too many arguments", name);
    for (int i = 0; i < site->n_arguments; ++i) describe_argument(site, fcinfo, declared[first + i], i, first);
    fcinfo->flinfo->fn_extra = site;
    return site;
}

/* ---- Arguments ----------------------------------------------------------------------------------- */

static qvo_datum_t integer(int64 value) { return (qvo_datum_t){.kind = QVO_DATUM_INTEGER, .as.integer = value}; }

static qvo_datum_t real(double value) { return (qvo_datum_t){.kind = QVO_DATUM_REAL, .as.real = value}; }

static qvo_datum_t instant(const CallSite* site, int i, int64 since_2000) {
    int64 since_1970;
    if (!time_of_postgres(since_2000, &since_1970))
        ereport(ERROR, (errcode(ERRCODE_DATETIME_VALUE_OUT_OF_RANGE),
                        errmsg("seq_%s: argument %d: a time must lie in the years 1 to 9999", site->name, i + 1)));
    if (site->instants[i]) return integer(since_1970);
    return text_of(time_as_text(since_1970));
}

static qvo_datum_t length_of_time(const CallSite* site, int i, const Interval* interval) {
    int64 days, all;
    if (interval->month != 0 || pg_mul_s64_overflow(interval->day, USECS_PER_DAY, &days) ||
        pg_add_s64_overflow(days, interval->time, &all))
        ereport(ERROR, (errcode(ERRCODE_INTERVAL_FIELD_OVERFLOW),
                        errmsg("seq_%s: argument %d: an interval must be of days and less, which have a fixed length",
                               site->name, i + 1)));
    return site->texts[i] ? text_of(psprintf(INT64_FORMAT " microseconds", all)) : integer(all);
}

static qvo_datum_t argument(const CallSite* site, int i, Datum value) {
    switch (site->forms[i]) {
        case FROM_BYTES:
            return bytes_of(value);
        case FROM_TEXT: {
            const text* const given = DatumGetTextPP(value);
            return text_datum(VARDATA_ANY(given), VARSIZE_ANY_EXHDR(given));
        }
        case FROM_CSTRING:
            return text_of(DatumGetCString(value));
        case FROM_BOOLEAN:
            return integer(DatumGetBool(value));
        case FROM_INT2:
            return integer(DatumGetInt16(value));
        case FROM_INT4:
            return integer(DatumGetInt32(value));
        case FROM_INT8:
            return integer(DatumGetInt64(value));
        case FROM_FLOAT4:
            return real(DatumGetFloat4(value));
        case FROM_FLOAT8:
            return real(DatumGetFloat8(value));
        case FROM_NUMERIC:
            return real(DatumGetFloat8(DirectFunctionCall1(numeric_float8, value)));
        case FROM_DATE:
            return instant(site, i, time_of_date(DatumGetInt32(value)));
        case FROM_TIMESTAMP:
            return instant(site, i, DatumGetInt64(value));
        case FROM_INTERVAL:
            return length_of_time(site, i, DatumGetIntervalP(value));
    }
    pg_unreachable();
}

void get_arguments(FunctionCallInfo fcinfo, const CallSite* site, int first, qvo_datum_t* arguments) {
    for (int i = 0; i < site->n_arguments; ++i) {
        arguments[i] = (qvo_datum_t){.kind = QVO_DATUM_NULL};
        if (!PG_ARGISNULL(first + i)) arguments[i] = argument(site, i, PG_GETARG_DATUM(first + i));
    }
}

/* ---- Results ------------------------------------------------------------------------------------- */

static void refuse_result(const char* name, Oid type, const qvo_datum_t* result) pg_attribute_noreturn();

static void refuse_result(const char* name, Oid type, const qvo_datum_t* result) {
    char value[64] = "a sequence or a state";
    if (result->kind == QVO_DATUM_INTEGER) pg_snprintf(value, sizeof value, INT64_FORMAT, (int64)result->as.integer);
    if (result->kind == QVO_DATUM_REAL) pg_snprintf(value, sizeof value, "%.17g", result->as.real);
    if (result->kind == QVO_DATUM_TEXT) strlcpy(value, "a text or a time", sizeof value);
    ereport(ERROR, (errcode(result->kind == QVO_DATUM_INTEGER || result->kind == QVO_DATUM_REAL
                                ? ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE
                                : ERRCODE_DATATYPE_MISMATCH),
                    errmsg("seq_%s: the result is %s, which %s does not hold", name, value, format_type_be(type)),
                    errhint("Names that end in _int, _time and _text give results of other types than float8.")));
}

static bool exact_real(const qvo_datum_t* result, double* value) {
    if (result->kind == QVO_DATUM_REAL) {
        *value = result->as.real;
        return true;
    }
    *value = (double)result->as.integer;
    return result->kind == QVO_DATUM_INTEGER && *value < 0x1p63 && (int64)*value == result->as.integer;
}

static bool exact_integer(const qvo_datum_t* result, int64* value) {
    if (result->kind == QVO_DATUM_INTEGER) {
        *value = result->as.integer;
        return true;
    }
    const double given = result->as.real;
    if (result->kind != QVO_DATUM_REAL || !(given >= -0x1p63 && given < 0x1p63) || given != trunc(given)) return false;
    *value = (int64)given;
    return true;
}

static Datum result_as_text(const qvo_datum_t* result) {
    if (result->kind == QVO_DATUM_TEXT) return make_text(result->as.bytes.data, result->as.bytes.size);
    const Datum text = result->kind == QVO_DATUM_REAL ? DirectFunctionCall1(float8out, Float8GetDatum(result->as.real))
                                                      : DirectFunctionCall1(int8out, Int64GetDatum(result->as.integer));
    return CStringGetTextDatum(DatumGetCString(text));
}

static Datum converted(const char* name, Oid type, const qvo_datum_t* result) {
    double number;
    int64 whole;
    const bool bytes = result->kind == QVO_DATUM_BYTES;
    switch (type) {
        case FLOAT8OID:
            if (exact_real(result, &number)) return Float8GetDatum(number);
            break;
        case INT8OID:
            if (exact_integer(result, &whole)) return Int64GetDatum(whole);
            break;
        case BOOLOID:
            if (result->kind == QVO_DATUM_INTEGER) return BoolGetDatum(result->as.integer != 0);
            break;
        case TIMESTAMPTZOID:
            if (result->kind == QVO_DATUM_TEXT && time_of_text(result->as.bytes.data, result->as.bytes.size, &whole))
                return Int64GetDatum(whole);
            break;
        case TEXTOID:
            if (!bytes) return result_as_text(result);
            break;
        default:
            if (bytes) return make_varlena(result->as.bytes.data, result->as.bytes.size);
    }
    refuse_result(name, type, result);
}

Datum give_result(const char* name, Oid type, qvo_datum_t* result, bool* is_null) {
    *is_null = result->kind == QVO_DATUM_NULL;
    const Datum datum = *is_null ? (Datum)0 : converted(name, type, result);
    qvo_datum_free(result);
    return datum;
}
