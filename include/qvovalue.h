/*
 * qvovalue: sequences as values.
 *
 * A sequence is an ordered column of values of one type, in self-describing bytes: the stored form (docs/format.md). The
 * functions of the catalog (docs/functions.md) take sequences and scalars and give sequences, scalars or rows. A program
 * calls them one at a time (qvo_call), builds expressions of them that stream without intermediates (qvo_expression_*),
 * or folds rows into aggregates (qvo_aggregate_*). The extensions for databases are made of this header alone.
 *
 * What holds for all functions:
 *   Errors     Every call that can fail returns a code and fills the caller's qvo_error_t, if it is not null, with one
 *              sentence that begins with the name of the function: `seq_rolling_mean: argument 2: window must be at least
 *              1, got 0`. After an error results are as they were; nothing is leaked, nothing ends the process.
 *   Memory     Bytes and text of arguments belong to the caller and stay in place during the call. Results belong to
 *              the caller, who gives them back with qvo_value_free. Memory is taken by C++'s operator new.
 *   Threads    An aggregate, a table or an expression under evaluation belongs to one thread at a time; expressions may
 *              be shared and evaluated in several threads at once. There is no other state.
 *   Trust      Bytes need not be trusted: damaged or hostile ones give QVO_VALUE_ERROR.
 */
#ifndef QVOVALUE_H
#define QVOVALUE_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__) && !defined(QVO_VALUE_API)
#define QVO_VALUE_API __attribute__((visibility("default")))
#elif !defined(QVO_VALUE_API)
#define QVO_VALUE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Codes and errors ---------------------------------------------------------------------------- */

typedef enum {
    QVO_VALUE_OK = 0,
    QVO_VALUE_END = 1,         /* no further row */
    QVO_VALUE_ERROR = 2,       /* arguments, bytes, an overflow, the budget: the message says which */
    QVO_VALUE_NOMEM = 3,       /* memory is exhausted */
    QVO_VALUE_INTERRUPTED = 4, /* the caller's `interrupted` said so */
} qvo_value_code_t;

/* What a QVO_VALUE_ERROR is about, for hosts that have classes of errors. */
typedef enum {
    QVO_FAULT_VALUE = 0,    /* a value, length or position that is not accepted; bytes that are not a sequence */
    QVO_FAULT_TYPE = 1,     /* a kind of argument or a type that is not accepted; a wrong number of arguments */
    QVO_FAULT_OVERFLOW = 2, /* a result that its type does not hold */
    QVO_FAULT_LIMIT = 3,    /* more positions than the budget allows */
} qvo_fault_t;

typedef struct {
    qvo_value_code_t code;
    char message[496]; /* zero-terminated UTF-8, cut where it is longer */
    qvo_fault_t fault;
} qvo_error_t;

/* ---- Data ---------------------------------------------------------------------------------------- */

typedef enum {
    QVO_DATUM_NULL = 0,
    QVO_DATUM_INTEGER = 1,
    QVO_DATUM_REAL = 2,
    QVO_DATUM_TEXT = 3,       /* UTF-8, not zero-terminated */
    QVO_DATUM_BYTES = 4,      /* a stored sequence, the state of an aggregate */
    QVO_DATUM_EXPRESSION = 5, /* only as an argument */
} qvo_datum_kind_t;

typedef struct qvo_expression qvo_expression_t;

/* A scalar, text or bytes, as an argument or a result. */
typedef struct {
    qvo_datum_kind_t kind;
    union {
        int64_t integer;
        double real;
        struct {
            const void* data;
            size_t size;
        } bytes; /* of text too */
        const qvo_expression_t* expression;
    } as;
} qvo_datum_t;

/* Frees the text or bytes of a result; other kinds hold nothing. The datum becomes NULL. */
QVO_VALUE_API void qvo_datum_free(qvo_datum_t* datum);
/* Frees what a result held, for hosts that keep only the pointer. Null is allowed. */
QVO_VALUE_API void qvo_value_free(void* data);

/*
 * The values of the latest results, at most four and 256 KB, so that one that is the argument of the next call need not be
 * decoded. A result is known again by where its bytes lie and by their header: bytes may be freed at any time, but a
 * result that was altered in place must not come back as an argument. For one thread at a time. Free accepts null.
 */
typedef struct qvo_recent qvo_recent_t;
QVO_VALUE_API qvo_recent_t* qvo_recent_new(void); /* null: out of memory */
QVO_VALUE_API void qvo_recent_free(qvo_recent_t* recent);

/* What the caller allows a call. A null pointer stands for the defaults. */
typedef struct {
    uint64_t budget;                /* most positions that are read or expanded for one result; 0: 2^27 */
    int (*interrupted)(void* data); /* asked about every 10 microseconds to 1 ms; not 0 ends the call; or null */
    void* data;
    qvo_recent_t* recent; /* of qvo_call and qvo_aggregate_step, where results and arguments are remembered; or null */
} qvo_limits_t;

/* ---- The catalog --------------------------------------------------------------------------------- */

typedef enum { QVO_SCALAR_FUNCTION = 0, QVO_AGGREGATE_FUNCTION = 1, QVO_TABLE_FUNCTION = 2 } qvo_function_kind_t;

/* What a parameter accepts. A NULL argument makes the result NULL, or leaves a row out, but where it is ANYTHING. */
typedef enum {
    QVO_TAKES_SEQUENCE = 0, /* bytes or an expression */
    QVO_TAKES_OPERAND = 1,  /* a sequence, or a scalar that stands for a constant one */
    QVO_TAKES_SCALAR = 2,   /* an integer, a real or text */
    QVO_TAKES_INTEGER = 3,
    QVO_TAKES_REAL = 4, /* an integer or a real */
    QVO_TAKES_TEXT = 5,
    QVO_TAKES_BYTES = 6,
    QVO_TAKES_ANYTHING = 7,
} qvo_takes_t;

/* What makes a sequence of its arguments can be a part of an expression. */
typedef enum { QVO_GIVES_VALUE = 0, QVO_GIVES_SEQUENCE = 1 } qvo_gives_t;

typedef struct qvo_function qvo_function_t;

/* An entry of the catalog. All strings are zero-terminated, static, in English with UTF-8. */
typedef struct {
    const char* name; /* without the prefix seq_ */
    const char* section;
    qvo_function_kind_t kind;
    qvo_gives_t gives;
    int has_state;       /* of an aggregate: qvo_aggregate_state and qvo_aggregate_merge work */
    int in_order;        /* of an aggregate: the result depends on the order of the rows */
    size_t n_parameters; /* described below */
    size_t fewest, most; /* arguments; the last parameter may repeat */
    const char* summary; /* one line */
    const char* result;  /* the type, in words */
    const char* rule;    /* the exact rule; may be empty */
    const char* example; /* a call; [1, null] stands for a sequence, int4[1] for one of a type */
    const char* example_result;
    const char* columns; /* of a table: names separated by blanks */
    const char* python;  /* the operator or the other name that Python has for it, or empty */
} qvo_function_info_t;

typedef struct {
    const char* name;
    qvo_takes_t takes;
    const char* of; /* the sequences it takes: "number", "boolean", …, or empty for any */
    int optional;
    int64_t lowest, highest; /* of an integer */
} qvo_parameter_info_t;

QVO_VALUE_API size_t qvo_function_count(void);
/* By index, below the count, in the order of the reference; by name, null if there is none. */
QVO_VALUE_API const qvo_function_t* qvo_function_at(size_t index);
QVO_VALUE_API const qvo_function_t* qvo_function_named(const char* name);
QVO_VALUE_API void qvo_function_describe(const qvo_function_t* function, qvo_function_info_t* info);
QVO_VALUE_API void qvo_parameter_describe(const qvo_function_t* function, size_t index, qvo_parameter_info_t* info);

/* ---- Calls --------------------------------------------------------------------------------------- */

/*
 * Calls a scalar function and sets *result, which the caller frees. Arguments that are expressions are evaluated on the
 * way, without being stored where the function does not look at them as a whole.
 */
QVO_VALUE_API qvo_value_code_t qvo_call(const qvo_function_t* function, const qvo_datum_t* arguments, size_t n,
                                        const qvo_limits_t* limits, qvo_datum_t* result, qvo_error_t* error);

/* ---- Aggregates ---------------------------------------------------------------------------------- */

typedef struct qvo_aggregate qvo_aggregate_t;

/* An aggregate without rows. Freed with qvo_aggregate_free, which accepts null. */
QVO_VALUE_API qvo_value_code_t qvo_aggregate_new(const qvo_function_t* function, qvo_aggregate_t** aggregate,
                                                 qvo_error_t* error);
QVO_VALUE_API void qvo_aggregate_free(qvo_aggregate_t* aggregate);

/* Folds in a row. After an error the row may be folded in partly: free the aggregate. */
QVO_VALUE_API qvo_value_code_t qvo_aggregate_step(qvo_aggregate_t* aggregate, const qvo_datum_t* arguments, size_t n,
                                                  const qvo_limits_t* limits, qvo_error_t* error);
/*
 * Folds in rows of n arguments each, one row after the other, as so many calls of qvo_aggregate_step do: for functions
 * that see a row for every value, where the calls cost more than what is done in them. At an error the rows after it are
 * left out.
 */
QVO_VALUE_API qvo_value_code_t qvo_aggregate_step_rows(qvo_aggregate_t* aggregate, const qvo_datum_t* arguments,
                                                       size_t n, size_t rows, const qvo_limits_t* limits,
                                                       qvo_error_t* error);

/* The result over the rows so far; may be called again after further rows. */
QVO_VALUE_API qvo_value_code_t qvo_aggregate_finish(const qvo_aggregate_t* aggregate, const qvo_limits_t* limits,
                                                    qvo_datum_t* result, qvo_error_t* error);

/*
 * The running state as bytes, and what adds such bytes to an aggregate of the same function. Bytes of another function
 * are an error, and so are damaged ones.
 */
QVO_VALUE_API qvo_value_code_t qvo_aggregate_state(const qvo_aggregate_t* aggregate, qvo_datum_t* state,
                                                   qvo_error_t* error);
QVO_VALUE_API qvo_value_code_t qvo_aggregate_merge(qvo_aggregate_t* aggregate, const void* state, size_t size,
                                                   qvo_error_t* error);

/* ---- Tables -------------------------------------------------------------------------------------- */

typedef struct qvo_rows qvo_rows_t;

/*
 * Opens a table function over arguments that stay in place until qvo_rows_free, which accepts null. first and last
 * restrict what is read to those positions, for functions whose first column is one; 0 and UINT64_MAX are all.
 */
QVO_VALUE_API qvo_value_code_t qvo_rows_open(const qvo_function_t* function, const qvo_datum_t* arguments, size_t n,
                                             uint64_t first, uint64_t last, const qvo_limits_t* limits,
                                             qvo_rows_t** rows, qvo_error_t* error);
QVO_VALUE_API void qvo_rows_free(qvo_rows_t* rows);
/* Moves to the next row, at first to the first one; QVO_VALUE_END after the last. */
QVO_VALUE_API qvo_value_code_t qvo_rows_next(qvo_rows_t* rows, qvo_error_t* error);
/* A column of the current row, counted from 0. The caller frees the result. */
QVO_VALUE_API qvo_value_code_t qvo_rows_column(qvo_rows_t* rows, unsigned column, qvo_datum_t* result,
                                               qvo_error_t* error);

/* ---- Expressions --------------------------------------------------------------------------------- */

/* Types of arrays, as in the stored form. */
typedef enum {
    QVO_TYPE_BOOLEAN = 0, /* bytes of 0 and 1 */
    QVO_TYPE_INT1 = 1,
    QVO_TYPE_INT2 = 2,
    QVO_TYPE_INT4 = 3,
    QVO_TYPE_INT8 = 4,
    QVO_TYPE_UINT1 = 5,
    QVO_TYPE_UINT2 = 6,
    QVO_TYPE_UINT4 = 7,
    QVO_TYPE_UINT8 = 8,
    QVO_TYPE_FLOAT = 9,
    QVO_TYPE_DOUBLE = 10,
    QVO_TYPE_TIMESTAMP = 11, /* int64: microseconds since 1970-01-01 UTC */
    QVO_TYPE_CHAR = 12,      /* `width` bytes each, zero-padded UTF-8 */
} qvo_type_t;

/*
 * Expressions are immutable and counted: a new one has one reference; the last qvo_expression_release frees it, and then
 * calls `release` (if not null) with `owner`, once, for those that were given bytes; after an error it is not called. A call refers to its arguments.
 */
QVO_VALUE_API qvo_value_code_t qvo_expression_stored(const void* bytes, size_t size, void (*release)(void* owner),
                                                     void* owner, qvo_expression_t** expression, qvo_error_t* error);
/* An array of `count` values of a type, read in place. width is that of char, else 0. */
QVO_VALUE_API qvo_value_code_t qvo_expression_array(qvo_type_t type, unsigned width, const void* values, uint64_t count,
                                                    void (*release)(void* owner), void* owner,
                                                    qvo_expression_t** expression, qvo_error_t* error);
/*
 * An array of runs, read in place: values[i] stands at the positions from ends[i - 1] (from 0 before the first) up to, not
 * including, ends[i]. The ends ascend from 1 and are signed integers of end_width 2, 4 or 8 bytes. Of these positions the
 * `count` from `first` on are meant. Runs stay runs.
 */
QVO_VALUE_API qvo_value_code_t qvo_expression_runs(qvo_type_t type, unsigned width, const void* values,
                                                   const void* ends, unsigned end_width, uint64_t n_runs,
                                                   uint64_t first, uint64_t count, void (*release)(void* owner),
                                                   void* owner, qvo_expression_t** expression, qvo_error_t* error);
/*
 * A call of a function that gives a sequence. Arguments may be scalars or expressions. Nothing is computed; the number,
 * kinds, ranges and types of arguments are checked.
 */
QVO_VALUE_API qvo_value_code_t qvo_expression_call(const qvo_function_t* function, const qvo_datum_t* arguments,
                                                   size_t n, qvo_expression_t** expression, qvo_error_t* error);
QVO_VALUE_API void qvo_expression_retain(qvo_expression_t* expression);
QVO_VALUE_API void qvo_expression_release(qvo_expression_t* expression);

/*
 * The type of the sequence; width may be null. Types follow from types: nothing is computed, but for a cast to a char as wide
 * as its values.
 */
QVO_VALUE_API qvo_value_code_t qvo_expression_type(const qvo_expression_t* expression, const qvo_limits_t* limits,
                                                   qvo_type_t* type, unsigned* width, qvo_error_t* error);

/* Evaluates to a stored sequence, which the caller frees; one that is stored, compressed or not, to a copy of its bytes. */
QVO_VALUE_API qvo_value_code_t qvo_expression_evaluate(const qvo_expression_t* expression, const qvo_limits_t* limits,
                                                       qvo_datum_t* result, qvo_error_t* error);

/*
 * Evaluates to an array of all positions, which the caller frees with qvo_value_free; null for no positions. type, width
 * and count may be null.
 */
QVO_VALUE_API qvo_value_code_t qvo_expression_read(const qvo_expression_t* expression, const qvo_limits_t* limits,
                                                   void** values, qvo_type_t* type, unsigned* width, uint64_t* count,
                                                   qvo_error_t* error);

/*
 * Evaluates to an array of runs as qvo_expression_runs takes it, with ends of 4 bytes: neighbours differ. The caller frees
 * both arrays with qvo_value_free; null for no positions. type and width may be null.
 */
QVO_VALUE_API qvo_value_code_t qvo_expression_read_runs(const qvo_expression_t* expression, const qvo_limits_t* limits,
                                                        void** values, int32_t** ends, qvo_type_t* type,
                                                        unsigned* width, uint64_t* n_runs, qvo_error_t* error);

/* ---- Reading a part ------------------------------------------------------------------------------ */

/* What a stored sequence holds. Like the two that follow, checks header and directory, and each tile that it reads. */
QVO_VALUE_API qvo_value_code_t qvo_stored_describe(const void* bytes, size_t size, qvo_type_t* type, unsigned* width,
                                                   uint64_t* positions, qvo_error_t* error);

/* Reads `count` positions from `first` on, which must exist, into an array of the caller's. Reads only their tiles. */
QVO_VALUE_API qvo_value_code_t qvo_stored_read(const void* bytes, size_t size, uint64_t first, uint64_t count,
                                               void* values, qvo_error_t* error);

/*
 * Of a sequence whose values ascend, of any type but char: sets *position to the number of values below *value, an element
 * of its type, or with or_equal to that of values not above it. Reads at most one tile.
 */
QVO_VALUE_API qvo_value_code_t qvo_stored_find(const void* bytes, size_t size, const void* value, int or_equal,
                                               uint64_t* position, qvo_error_t* error);

/* The type of a name such as `int4` or `char(7)`: 1, or 0 if there is none. width 0: a char as wide as its values. */
QVO_VALUE_API int qvo_type_named(const char* name, qvo_type_t* type, unsigned* width);

/*
 * A scalar as an element of an array: what a type accepts, as seq_pack does, in text ISO 8601 for a timestamp. NULL is a
 * missing value, in float and double alone. The message of an error names the value and the type.
 */
QVO_VALUE_API qvo_value_code_t qvo_element_set(const qvo_datum_t* datum, qvo_type_t type, unsigned width, void* element,
                                               qvo_error_t* error);
/* An element as a scalar: a timestamp as text, a missing value as NULL. The caller frees the result. */
QVO_VALUE_API qvo_value_code_t qvo_element_get(qvo_type_t type, unsigned width, const void* element,
                                               qvo_datum_t* result, qvo_error_t* error);

/* The release of the library that the program runs with, for instance "1.1.0". */
QVO_VALUE_API const char* qvo_value_version(void);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* QVOVALUE_H */
