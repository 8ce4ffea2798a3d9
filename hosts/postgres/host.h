/*
 * What the parts of the PostgreSQL extension share: data on their way in and out, limits, errors.
 *
 * The extension is C, and the value library behind its C interface is C++ that never calls back into PostgreSQL, but
 * for memory (memory.cpp, which never raises) and `interrupted`, which only looks at flags. So PostgreSQL's longjmp
 * meets frames of C alone, and C++ exceptions end within the library. Whatever an error leaves behind lies in memory
 * contexts and goes with them. (zstd's working memory does not; it is held within a call, which unwinds, and by open
 * rows, which rows.c closes whatever happens.)
 */
#ifndef QVO_POSTGRES_HOST_H
#define QVO_POSTGRES_HOST_H

#include "postgres.h"

#include "fmgr.h"
#include "qvovalue.h"
#if PG_VERSION_NUM >= 160000
#include "varatt.h"
#endif

enum { qvo_most_arguments = 9 };

/* How an argument becomes a datum of the value library. */
typedef enum {
    FROM_BYTES, /* a sequence, a state, bytea */
    FROM_TEXT,
    FROM_CSTRING, /* a literal whose type nobody asked for */
    FROM_BOOLEAN,
    FROM_INT2,
    FROM_INT4,
    FROM_INT8,
    FROM_FLOAT4,
    FROM_FLOAT8,
    FROM_NUMERIC,
    FROM_DATE,
    FROM_TIMESTAMP, /* with and without a time zone: both count microseconds from the same instant */
    FROM_INTERVAL,  /* its microseconds, or a text that says so */
} ArgumentForm;

/* What one call site knows of its function, kept in fn_extra. */
typedef struct {
    const qvo_function_t* function;
    const char* name;
    Oid result; /* the type that SQL was told */
    int n_arguments;
    ArgumentForm forms[qvo_most_arguments];
    bool instants[qvo_most_arguments]; /* times go as microseconds, not as text */
    bool texts[qvo_most_arguments];    /* a text is expected: an interval goes as one */
} CallSite;

/* The site of this call. The first argument of the function in the catalog is SQL's argument number `first`. */
const CallSite* call_site(FunctionCallInfo fcinfo, const char* name, int first);

/* The arguments as the value library takes them, NULL included; bytes and text stay in place during the call. */
void get_arguments(FunctionCallInfo fcinfo, const CallSite* site, int first, qvo_datum_t* arguments);

/* A result as a value of an SQL type; frees the result. An error if that type does not hold it. */
Datum give_result(const char* name, Oid type, qvo_datum_t* result, bool* is_null);

/* What this session allows a call, and when it wants an end. */
qvo_limits_t session_limits(void);
extern int qvoseq_budget;

/* Raises an error of the value library, with an SQLSTATE or, if that is 0, the one of its kind of fault. */
void raise_error(const qvo_error_t* error, int state) pg_attribute_noreturn();

/* Bytes as a varlena of this memory context. */
Datum make_varlena(const void* data, size_t size);

/* Text in the database's encoding, of UTF-8. */
Datum make_text(const void* data, size_t size);

/* The bytes of a varlena, as an argument. */
qvo_datum_t bytes_of(Datum varlena);
qvo_datum_t text_of(const char* text);

/* Calls a function of the catalog by its name; raises its errors, with the SQLSTATE if it is not 0. */
qvo_datum_t call_named(const char* name, const qvo_datum_t* arguments, size_t n, int state);

/* Microseconds from 1970-01-01 to PostgreSQL's epoch, 2000-01-01. */
#define QVO_POSTGRES_EPOCH INT64CONST(946684800000000)

#endif
