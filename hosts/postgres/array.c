/*
 * Arrays of PostgreSQL as sequences, and back. NULL among floating values is a missing value; other types have none.
 */
#include "host.h"

#include <math.h>

#include "catalog/pg_type.h"
#include "instant.h"
#include "utils/array.h"
#include "utils/builtins.h"
#include "utils/lsyscache.h"
#include "utils/memutils.h"
#include "utils/numeric.h"

PG_FUNCTION_INFO_V1(qvoseq_of_array);
PG_FUNCTION_INFO_V1(qvoseq_as_array);

/* A C array in the memory of PostgreSQL's choosing: what the value library reads and writes. */
typedef struct {
    qvo_type_t type;
    unsigned width; /* of a value in bytes */
    int count;
    char* values;
} Values;

static void refuse_null(int i) pg_attribute_noreturn();

static void refuse_null(int i) {
    ereport(ERROR, (errcode(ERRCODE_NULL_VALUE_NOT_ALLOWED),
                    errmsg("NULL at position %d: only sequences of floating values have missing values", i),
                    errhint("coalesce replaces it.")));
}

/* What the elements of arrays are as values. */
static const struct {
    Oid element;
    qvo_type_t type;
    unsigned width;
} element_types[] = {
    {BOOLOID, QVO_TYPE_BOOLEAN, sizeof(bool)},     {INT2OID, QVO_TYPE_INT2, sizeof(int16)},
    {INT4OID, QVO_TYPE_INT4, sizeof(int32)},       {INT8OID, QVO_TYPE_INT8, sizeof(int64)},
    {FLOAT4OID, QVO_TYPE_FLOAT, sizeof(float4)},   {FLOAT8OID, QVO_TYPE_DOUBLE, sizeof(float8)},
    {NUMERICOID, QVO_TYPE_DOUBLE, sizeof(float8)}, {TIMESTAMPTZOID, QVO_TYPE_TIMESTAMP, sizeof(int64)},
};

static Values values_for(Oid element, int count) {
    size_t i = 0;
    while (i < lengthof(element_types) && element_types[i].element != element) ++i;
    if (i == lengthof(element_types)) elog(ERROR, "arrays of %s are no sequences", format_type_be(element));
    Values values = {.type = element_types[i].type, .width = element_types[i].width, .count = count};
    values.values = palloc0(Max((Size)count * values.width, 1));
    return values;
}

static void put_value(Values* values, int i, Oid element, Datum datum) {
    char* const at = values->values + (Size)i * values->width;
    double real;
    int64 time;
    switch (element) {
        case BOOLOID:
            *(bool*)at = DatumGetBool(datum);
            break;
        case INT2OID:
            *(int16*)at = DatumGetInt16(datum);
            break;
        case INT4OID:
            *(int32*)at = DatumGetInt32(datum);
            break;
        case FLOAT4OID:
            *(float4*)at = DatumGetFloat4(datum);
            break;
        case NUMERICOID:
            real = DatumGetFloat8(DirectFunctionCall1(numeric_float8, datum));
            memcpy(at, &real, sizeof real);
            break;
        case TIMESTAMPTZOID:
            if (!time_of_postgres(DatumGetInt64(datum), &time))
                ereport(ERROR, (errcode(ERRCODE_DATETIME_VALUE_OUT_OF_RANGE),
                                errmsg("the time at position %d does not lie in the years 1 to 9999", i)));
            memcpy(at, &time, sizeof time);
            break;
        default: /* int8, float8 */
            memcpy(at, &datum, sizeof datum);
    }
}

static void put_missing(Values* values, int i) {
    if (values->type == QVO_TYPE_FLOAT)
        ((float4*)values->values)[i] = (float4)NAN;
    else if (values->type == QVO_TYPE_DOUBLE)
        ((float8*)values->values)[i] = NAN;
    else
        refuse_null(i);
}

/* Texts side by side, as wide as the longest. */
static Values texts(const Datum* data, const bool* nulls, int count) {
    qvo_datum_t* const all = palloc(Max(sizeof(qvo_datum_t) * (Size)count, 1));
    size_t width = 1;
    for (int i = 0; i < count; ++i) {
        if (nulls[i]) refuse_null(i);
        all[i] = text_of(TextDatumGetCString(data[i]));
        width = Max(width, all[i].as.bytes.size);
        if (width > 255)
            ereport(ERROR, (errcode(ERRCODE_STRING_DATA_RIGHT_TRUNCATION),
                            errmsg("the text at position %d has %zu bytes, more than 255", i, width)));
    }
    Values values = {.type = QVO_TYPE_CHAR, .width = (unsigned)width, .count = count};
    values.values = palloc0(Max(width * (Size)count, 1));
    for (int i = 0; i < count; ++i) memcpy(values.values + width * (Size)i, all[i].as.bytes.data, all[i].as.bytes.size);
    return values;
}

static Datum store(const Values* values) {
    qvo_expression_t* expression = NULL;
    qvo_datum_t result = {0};
    qvo_error_t error;
    const qvo_limits_t limits = session_limits();
    const unsigned width = values->type == QVO_TYPE_CHAR ? values->width : 0;
    if (qvo_expression_array(values->type, width, values->values, (uint64_t)values->count, NULL, NULL, &expression,
                             &error) != QVO_VALUE_OK)
        raise_error(&error, 0);
    const qvo_value_code_t code = qvo_expression_evaluate(expression, &limits, &result, &error);
    qvo_expression_release(expression);
    if (code != QVO_VALUE_OK) raise_error(&error, 0);
    const Datum sequence = make_varlena(result.as.bytes.data, result.as.bytes.size);
    qvo_datum_free(&result);
    return sequence;
}

Datum qvoseq_of_array(PG_FUNCTION_ARGS) {
    ArrayType* const array = PG_GETARG_ARRAYTYPE_P(0);
    const Oid element = ARR_ELEMTYPE(array);
    if (ARR_NDIM(array) > 1)
        ereport(ERROR, (errcode(ERRCODE_ARRAY_SUBSCRIPT_ERROR),
                        errmsg("an array of %d dimensions is no sequence", ARR_NDIM(array))));
    int16 length;
    bool by_value;
    char alignment;
    get_typlenbyvalalign(element, &length, &by_value, &alignment);
    Datum* data;
    bool* nulls;
    int count;
    deconstruct_array(array, element, length, by_value, alignment, &data, &nulls, &count);
    Values values;
    if (element == TEXTOID) {
        values = texts(data, nulls, count);
    } else {
        values = values_for(element, count);
        for (int i = 0; i < count; ++i)
            if (nulls[i])
                put_missing(&values, i);
            else
                put_value(&values, i, element, data[i]);
    }
    return store(&values);
}

/* ---- Back ---------------------------------------------------------------------------------------- */

static const char* type_for(Oid element) {
    switch (element) {
        case BOOLOID:
            return "boolean";
        case INT8OID:
            return "int8";
        case FLOAT8OID:
            return "double";
        case TIMESTAMPTZOID:
            return "timestamp";
        default:
            return "char";
    }
}

/* All values of a sequence, in the type that seq_cast gives. */
static Values read_as(qvo_datum_t sequence, const char* type) {
    const qvo_datum_t arguments[2] = {sequence, text_of(type)};
    const qvo_datum_t cast = call_named("cast", arguments, 2, 0);
    qvo_expression_t* expression = NULL;
    qvo_error_t error;
    const qvo_limits_t limits = session_limits();
    if (qvo_expression_stored(cast.as.bytes.data, cast.as.bytes.size, NULL, NULL, &expression, &error) != QVO_VALUE_OK)
        raise_error(&error, 0);
    Values values = {0};
    uint64_t count = 0;
    void* read = NULL;
    const qvo_value_code_t code =
        qvo_expression_read(expression, &limits, &read, &values.type, &values.width, &count, &error);
    qvo_expression_release(expression);
    if (code != QVO_VALUE_OK) raise_error(&error, 0);
    if (count > MaxArraySize)
        ereport(ERROR,
                (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED), errmsg("an array holds at most %zu values", MaxArraySize)));
    values.values = read;
    values.count = (int)count;
    return values;
}

static Datum element_at(const Values* values, int i, bool* is_null) {
    const char* const at = values->values + (Size)i * values->width;
    int64 whole;
    double real;
    *is_null = false;
    switch (values->type) {
        case QVO_TYPE_BOOLEAN:
            return BoolGetDatum(*at != 0);
        case QVO_TYPE_DOUBLE:
            memcpy(&real, at, sizeof real);
            *is_null = isnan(real);
            return Float8GetDatum(real);
        case QVO_TYPE_CHAR:
            return make_text(at, strnlen(at, values->width));
        case QVO_TYPE_TIMESTAMP:
            memcpy(&whole, at, sizeof whole);
            return Int64GetDatum(whole - QVO_POSTGRES_EPOCH);
        default:
            memcpy(&whole, at, sizeof whole);
            return Int64GetDatum(whole);
    }
}

Datum qvoseq_as_array(PG_FUNCTION_ARGS) {
    const Oid element = get_element_type(get_func_rettype(fcinfo->flinfo->fn_oid));
    const Values values = read_as(bytes_of(PG_GETARG_DATUM(0)), type_for(element));
    Datum* const data = palloc(Max(sizeof(Datum) * (Size)values.count, 1));
    bool* const nulls = palloc(Max(sizeof(bool) * (Size)values.count, 1));
    for (int i = 0; i < values.count; ++i) data[i] = element_at(&values, i, &nulls[i]);
    int16 length;
    bool by_value;
    char alignment;
    get_typlenbyvalalign(element, &length, &by_value, &alignment);
    const int bounds[1] = {1};
    const int sizes[1] = {values.count};
    if (values.count == 0) return PointerGetDatum(construct_empty_array(element));
    return PointerGetDatum(
        construct_md_array(data, nulls, 1, (int*)sizes, (int*)bounds, element, length, by_value, alignment));
}
