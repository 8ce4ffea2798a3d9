/*
 * qvoseq: vectorised operators over sequences.
 *
 * A sequence is an ordered column of values of one element type. Every operator is an iterator: a
 * record that the caller owns and that a constructor fills in. Nothing is computed until the
 * iterator's `next` is called; each call produces one tile of values, run-length encoded. Operators
 * are chained by naming one iterator as an operand of another; pulling the last one pulls the rest.
 *
 * This header holds the records, codes and callback types, then one documented block per family, in
 * the order of the source folders. Every function has C linkage. The services that a host may supply
 * itself are in qvohost.h. Functions whose names do not open with qvo_ (the steps of the sorts, hashes and
 * sketches, min_count) are weak definitions that the library never calls: a program's own functions of
 * these names stand beside them, with the shared library and with the archive.
 *
 * Contents (search for ==== and the name; docs/families.md is an index by what a family does)
 *   Types, codes, tiles and iterators; Constructors, Pulling, Resetting, Threads
 *   qvofseq    settings, memory, protocol helpers, qvo_seq_check_tile, qvo_seq_code_text
 *   core       access, source, slice
 *   transform  arithmetic, compare, logic, text, unary, convert, parse, print, callback, match, choose, filter,
 *              norm, thin, repeat, reverse, trend, concat, join, map, unique, union, cross, skip_nan, histogram,
 *              extrema, progression
 *   aggregate  count, whole, pair, window, cumulative, group, grid, top, distinct, hash, hash_distinct
 *   order      sort, order_by, stretch, asof_join
 *
 * How to read a block:
 *   Elements    operand and result types
 *   Runs        what becomes of run lengths, and how positions are counted
 *   Ends        what ends the result
 *   Parameters  ranges
 *   Errors      result codes of the constructor (in the order of the checks), then those of `next`
 *   Lifetime    what must stay alive, and who releases it
 * What holds for every family is said once, under "Constructors" and "Pulling" below.
 */
#ifndef QVOSEQ_H
#define QVOSEQ_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__) && !defined(QVO_API)
#define QVO_API __attribute__((visibility("default")))
#elif !defined(QVO_API)
#define QVO_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define QVOSEQ_VERSION "1.0.0"

/* ---- Types ------------------------------------------------------------------------------------ */

typedef int8_t qvo_int1;
typedef int16_t qvo_int2;
typedef int32_t qvo_int4;
typedef int64_t qvo_int8;
typedef uint8_t qvo_uint1;
typedef uint16_t qvo_uint2;
typedef uint32_t qvo_uint4;
typedef uint64_t qvo_uint8;
typedef float qvo_float;
typedef double qvo_double;
typedef uint64_t qvo_datetime; /* time stamp in the host's unit; ordered as an unsigned number */
typedef uint32_t qvo_date;
typedef uint32_t qvo_time;
typedef uint8_t qvo_seq_bool; /* element of a boolean sequence: 0 false, any other value true */
typedef int qvo_bool;         /* a flag in a record or an argument */

typedef uint64_t qvo_size_t;
typedef uint64_t qvo_seq_no_t;      /* a position in a sequence, counted with runs expanded, from 0 */
typedef uint64_t qvo_seq_count_t;   /* a number of positions */
typedef uint64_t qvo_bitmap_word_t; /* 64 null flags; bit 0 is the least significant */

typedef int qvo_seq_order_t; /* one of the following; what any other number means, a block says */
enum { QVO_SEQ_NO_ORDER = 0, QVO_SEQ_ASC_ORDER = 1, QVO_SEQ_DESC_ORDER = 2 };

/* Type codes of elements, in `elem_type`. Boolean sequences carry QVO_DD_UINT1. */
enum {
    QVO_DD_UINT1 = 0,
    QVO_DD_UINT2 = 1,
    QVO_DD_UINT4 = 2,
    QVO_DD_UINT8 = 3,
    QVO_DD_INT1 = 4,
    QVO_DD_INT2 = 5,
    QVO_DD_INT4 = 6,
    QVO_DD_INT8 = 7,
    QVO_DD_FLOAT = 8,
    QVO_DD_DOUBLE = 9,
    QVO_DD_DATETIME = 12,
    QVO_DD_CHAR = 13 /* fixed-width byte strings; the width is the sequence's elem_size */
};

/* Result codes. Codes of a host's own iterators pass through the operators unchanged, so QVO_RET is
   an int and not an enumeration. */
typedef int QVO_RET;
enum {
    QVO_S_OK = 0,
    QVO_S_CURSOR_END = 11,   /* the sequence is exhausted; for an aggregate also: no input, no result */
    QVO_E_NOMEM = 52,        /* the allocation hook returned null */
    QVO_E_UNSUPPORTED = 57,  /* the member exists but has no meaning for its type */
    QVO_E_ILLEGAL_TYPE = 61, /* an operand has the wrong element type (or width) */
    QVO_E_ILLEGAL_PARAM = 62,
    QVO_E_SEQ_OUT_OF_ORDER = 700, /* a position sequence goes backwards where it must ascend */
    QVO_E_SEQ_BOUNDED = 701,      /* the binding check is on and the iterator already feeds a consumer */

    /* Codes of the host's enumeration that this library never returns. */
    QVO_E_SEQ_LENGTH_MISMATCH = 702,
    QVO_E_SEQ_NULL_VALUE = 703,
    QVO_E_SEQ_NOT_ORDERED = 704,

    QVO_ERR_SEQ = 1060000 /* handed to qvo_stop__ when an invariant is broken */
};

/* ---- Tiles and iterators ---------------------------------------------------------------------- */

/*
 * The values of a tile from the front; their run bytes from the back. Element i lies at index i of
 * the array of its type (char: at byte i * elem_size) and its run, 1 to 255, at byte 4095 - i: it
 * stands for that many equal consecutive positions. A tile holds at most 4096 / (elem_size + 1)
 * elements: 2048, 1365, 819 and 455 for widths 1, 2, 4 and 8. The array lengths below are the extent
 * of the union, not that capacity.
 */
typedef union {
    qvo_seq_bool arr_qvo_seq_bool[4096];
    char arr_char[4096];
    qvo_int1 arr_int1[4096];
    qvo_int2 arr_int2[2048];
    qvo_int4 arr_int4[1024];
    qvo_int8 arr_int8[512];
    qvo_uint1 arr_uint1[4096];
    qvo_uint2 arr_uint2[2048];
    qvo_uint4 arr_uint4[1024];
    qvo_uint8 arr_uint8[512];
    qvo_time arr_qvo_time[1024];
    qvo_date arr_qvo_date[1024];
    qvo_datetime arr_datetime[512];
    qvo_float arr_float[1024];
    qvo_double arr_double[512];
} qvo_seq_payload_t;

typedef struct {
    qvo_bitmap_word_t null_bitmap[2]; /* bit i set: element i is null; only the first 128 can be */
    qvo_seq_payload_t u;
} qvo_seq_tile_t;

typedef struct qvo_seq_iterator qvo_seq_iterator_t;
typedef qvo_seq_iterator_t* qvo_seq_iterator_h;

typedef QVO_RET (*qvo_seq_iterator_next_t)(qvo_seq_iterator_h iterator);
typedef QVO_RET (*qvo_seq_iterator_reset_t)(qvo_seq_iterator_h iterator);
typedef QVO_RET (*qvo_seq_iterator_prepare_t)(qvo_seq_iterator_h iterator);
typedef QVO_RET (*qvo_seq_iterator_merge_t)(qvo_seq_iterator_h iterator, qvo_seq_iterator_h other);

/*
 * One operator. The caller owns the record and keeps it alive while any iterator that names it as an
 * operand is in use; the library never allocates or frees one. It may hold anything before it is
 * constructed, except where a block asks for empty operand slots.
 */
struct qvo_seq_iterator {
    qvo_seq_iterator_next_t next;       /* produce the next tile */
    qvo_seq_iterator_reset_t reset;     /* rewind, operands included */
    qvo_seq_iterator_prepare_t prepare; /* aggregates: compute ahead of the first next; else null */
    qvo_seq_iterator_merge_t merge;     /* aggregates: fold in a partial result; else null */
    uint16_t elem_size;                 /* width of an element in bytes */
    uint16_t tile_size;                 /* elements in the tile; 0: none produced yet */
    uint16_t tile_offs;                 /* the consumer's current element; >= tile_size: used up */
    uint8_t rle_offs;                   /* positions of that element that the consumer has taken */
    uint8_t prepared;                   /* 1: prepare has run, the next next hands the result out */
    qvo_seq_no_t first_seq_no;          /* first position delivered */
    qvo_seq_no_t next_seq_no;           /* positions produced so far; aggregates: 1 once delivered */
    qvo_seq_no_t last_seq_no;           /* last position, inclusive; all ones: not bounded */
    qvo_seq_iterator_h opd[3];          /* operands; unused slots are left alone */
    void* buf;                          /* work area or the caller's array */
    uint64_t buf_size;                  /* bytes at buf */
    uint8_t elem_type;                  /* QVO_DD_... */
    uint8_t bounded;                    /* 1: feeds a consumer */
    uint8_t createdBySql;               /* the host's; never read or written here */
    uint8_t owned_buf;                  /* 1: buf is to be released with qvo_seq_free_buffer */
    uint64_t context[35];               /* parameters and state of the operator */
    qvo_seq_tile_t tile;                /* the current tile */
};

/*
 * A series of sequences, supplied by the host. `first` positions on the first sequence without
 * loading a tile. `next` moves on and leaves `iterator` holding the first tile of that sequence with
 * tile_offs 0, or an empty tile; QVO_S_CURSOR_END when there is none.
 */
typedef struct qvo_seq_meta_iterator qvo_seq_meta_iterator_t;
typedef qvo_seq_meta_iterator_t* qvo_seq_meta_iterator_h;
typedef QVO_RET (*qvo_seq_meta_iterator_next_t)(qvo_seq_meta_iterator_h iterator);
typedef QVO_RET (*qvo_seq_meta_iterator_first_t)(qvo_seq_meta_iterator_h iterator);

struct qvo_seq_meta_iterator {
    qvo_seq_meta_iterator_next_t next;
    qvo_seq_meta_iterator_first_t first;
    qvo_seq_iterator_t iterator;
    void* user_data;
};

/* A value of any element type, and the sums of the statistics, in the same 32 bytes. */
typedef union {
    qvo_int1 val_int1;
    qvo_int2 val_int2;
    qvo_int4 val_int4;
    qvo_int8 val_int8;
    qvo_uint1 val_uint1;
    qvo_uint2 val_uint2;
    qvo_uint4 val_uint4;
    qvo_uint8 val_uint8;
    qvo_float val_float;
    qvo_double val_double;
    qvo_datetime val_datetime;
    char val_char[32];
    double sx, sy, sxx, sxy, syy;
    qvo_seq_count_t count;
} qvo_seq_value_t;

/* The context of the window, cumulative, group and grid aggregates, and of some shaping operators. */
typedef struct {
    qvo_size_t interval;         /* length of a window, or of a grid cell */
    qvo_size_t count;            /* positions in the open group or cell */
    qvo_seq_value_t accumulator; /* running sum, extreme or smoothed value; the last value or key */
    double norm;                 /* running sum of squares; group wavg: the weighted sum */
    union {
        qvo_int1 trend;
        char arr_char[32];
        qvo_int1 arr_int1[208];
        qvo_int2 arr_int2[104];
        qvo_int4 arr_int4[52];
        qvo_int8 arr_int8[26];
        qvo_uint1 arr_uint1[208];
        qvo_uint2 arr_uint2[104];
        qvo_uint4 arr_uint4[52];
        qvo_uint8 arr_uint8[26];
        qvo_float arr_float[52];
        qvo_double arr_double[26];
        qvo_datetime arr_datetime[26];
    } history; /* the last `interval` values of a window; the last key of a group */
} qvo_seq_agg_context_t;

/*
 * Constructors. Every constructor takes the result first, then the operands, then the parameters, and
 * checks in this order: operand types (QVO_E_ILLEGAL_TYPE); with the binding check on, whether an
 * operand already feeds a consumer (QVO_E_SEQ_BOUNDED); then it marks the operands bound; then it
 * checks the parameters (QVO_E_ILLEGAL_PARAM, which therefore leaves the operands marked). A refused
 * constructor leaves the result as it was. Constructors never pull. Operands are distinct iterators
 * that feed nothing else, whether the check is on or not: a sequence used twice in one tree gives each side a
 * part of its tiles (see qvo_seq_tee).
 *
 * Pulling. `next` returns QVO_S_OK with 1 to capacity elements in the tile, QVO_S_CURSOR_END when there
 * is nothing more (the tile stays as it was), or an operand's error. An error drops the elements
 * produced in that call; the operands' read positions keep what was consumed, and so does next_seq_no in
 * families that count as they go (the element-wise ones, choose, filter, limit, diff, norm, groups, cells).
 * The others count when a tile is delivered, and leave next_seq_no alone: window aggregates, selections and
 * all that count elements or deliver positions (unique, union, skip_nan, thin, map, filter_pos, cross,
 * extrema, stretch, asof_join). AFTER AN ERROR RESET THE TREE BEFORE IT IS PULLED AGAIN: what else comes of it
 * differs from family to family. A consumer sets tile_offs of an iterator to 0 after each of its
 * successful `next` calls. An operand that returns QVO_S_OK with an empty tile breaks the protocol, and so
 * does a tile of more elements than its width allows: the process is stopped (qvo_stop__). Aggregates of whole
 * sequences and families that hand tiles on let an empty tile pass, as their blocks say. A source that copies
 * tiles which it stores does well to prefetch the bytes of the next one before it returns: passes over more than
 * the caches hold gain 10 to 30 %.
 *
 * Widths. elem_size stays what it is once an operator is built on the iterator. A text source without a width
 * (qvo_seq_parse_char) has none before its first tile: pull it before. Operators that copy values to tiles laid
 * out for another width return QVO_E_ILLEGAL_TYPE from `next`; group and hash keys are taken at the width of
 * their tiles.
 *
 * Nulls. Null marks are heeded by qvo_seq_get_nullable_<type>, qvo_seq_contains_nulls and
 * qvo_seq_agg_count_not_null alone; operators compute on what lies under a mark and hand no marks on.
 *
 * Alignment. Records, arrays to be sorted, permutations and null bitmaps are aligned as their types ask. Arrays
 * that are only copied (unget, get, the data of order_by) need not be.
 *
 * Resetting. `reset` rewinds the iterator and its operands, so that the same elements come again.
 *
 * Threads. An iterator and the tree below it belong to one thread at a time. Different trees may run
 * in different threads.
 *
 * Instruction sets. Hot loops are compiled for several of those of x86-64; the library takes the widest that the
 * machine has when it is loaded. Results are the same to the bit. For tests and diagnosis, the environment variable
 * QVOSEQ_CPU, which is read then, keeps it to less: "plain", or "avx2" at most.
 */

/* The element types of fixed width, and the list again for families with two types per member: the
   second form hands its first argument through. */
/* clang-format off */
#define QVO_SEQ_FOR_FIXED_TYPES(M) \
    M(int1) M(int2) M(int4) M(int8) M(uint1) M(uint2) M(uint4) M(uint8) M(float) M(double) M(datetime)
#define QVO_SEQ_FOR_FIXED_TYPES_WITH(M, first)                                  \
    M(first, int1) M(first, int2) M(first, int4) M(first, int8) M(first, uint1) \
    M(first, uint2) M(first, uint4) M(first, uint8) M(first, float)             \
    M(first, double) M(first, datetime)
/* clang-format on */

/* The element types of the aggregates, each with that of its sums and that of its averages. */
#define QVO_SEQ_FOR_AGGREGATE_TYPES(M) \
    M(int1, int8, double)              \
    M(int2, int8, double)              \
    M(int4, int8, double)              \
    M(int8, int8, double)              \
    M(uint1, uint8, double)            \
    M(uint2, uint8, double)            \
    M(uint4, uint8, double)            \
    M(uint8, uint8, double)            \
    M(float, double, double) M(double, double, double) M(datetime, datetime, datetime)

/* ==== qvofseq: settings, memory, protocol helpers ============================================== */

typedef void* (*qvo_seq_malloc_t)(qvo_seq_iterator_h iterator, qvo_size_t size);
typedef void (*qvo_seq_free_t)(qvo_seq_iterator_h iterator, void* ptr, qvo_size_t size);

/*
 * The allocation hooks. All memory that the library takes comes from qvo_seq_malloc and goes back to
 * qvo_seq_free, with the iterator on whose behalf it is taken and with the size that was asked for.
 * The release hook must accept a null pointer. Set them once at start-up: a block must go back
 * through the hook that matches the one it came from. Initially the process heap.
 */
extern QVO_API qvo_seq_malloc_t qvo_seq_malloc;
extern QVO_API qvo_seq_free_t qvo_seq_free;

/* The process heap, as hooks; both ignore the iterator, the second the size as well. */
QVO_API void* qvo_seq_sys_malloc(qvo_seq_iterator_h iterator, qvo_size_t size);
QVO_API void qvo_seq_sys_free(qvo_seq_iterator_h iterator, void* ptr, qvo_size_t size);

/* Replaces both hooks. Neither may be null; nothing is checked. */
QVO_API void qvo_seq_redefine_allocator(qvo_seq_malloc_t malloc_hook, qvo_seq_free_t free_hook);

/*
 * Takes a work buffer of `size` bytes for the iterator and returns it, or null. buf_size and owned_buf
 * are set before the allocation: after a failure buf is null and owned_buf is 1, and
 * qvo_seq_free_buffer hands the null pointer to the release hook.
 */
QVO_API void* qvo_seq_alloc_buffer(qvo_seq_iterator_h iterator, qvo_size_t size);

/* Releases the iterator's buffer if owned_buf is 1, and clears owned_buf and buf. Call it on every
   iterator whose block says that it holds a buffer, when the plan is discarded. */
QVO_API void qvo_seq_free_buffer(qvo_seq_iterator_h iterator);

/* Switches the binding check on (non-zero) or off; returns the previous setting. */
QVO_API int qvo_seq_enable_check_bindings(int flag);

/* The `prepare` of the aggregates: calls next, then marks the iterator prepared whatever came of it,
   so that the following next hands the result out. Returns the code of next. */
QVO_API QVO_RET qvo_seq_prepare_aggregate(qvo_seq_iterator_h iterator);

/* 1 if any element of the current tile is marked null, else 0. */
QVO_API int qvo_seq_contains_nulls(qvo_seq_iterator_h iterator);

/* Clears the null marks of the current tile. */
QVO_API void qvo_seq_reset_null_bitmap(qvo_seq_iterator_h iterator);

/* What qvo_seq_check_tile finds. */
enum {
    QVO_SEQ_TILE_OK = 0,
    QVO_SEQ_TILE_WIDTH = 1,    /* elem_size is not the width of elem_type */
    QVO_SEQ_TILE_EMPTY = 2,    /* tile_size is 0 */
    QVO_SEQ_TILE_OVERFULL = 3, /* more elements than a tile of this width holds */
    QVO_SEQ_TILE_RUN = 4,      /* an element whose run byte is 0: it has no positions */
    QVO_SEQ_TILE_COUNTER = 5   /* next_seq_no is less than the elements of the tile, or goes beyond last_seq_no */
};

/*
 * Looks at the tile and the counters of an iterator, as a consumer may find them after a successful `next`, and returns
 * QVO_SEQ_TILE_OK or the first rule of these that is broken. For the tests of a host's own sources, and for fuzzing:
 * operators rely on the rules and do not look at each byte. Nothing is changed; null marks are not looked at.
 *
 * Some members break a rule deliberately, each where its block says so: the elements of qvo_seq_rle_decode, of the
 * parsers and of qvo_seq_print_char have run bytes that are not written; qvo_seq_repeat_<type> may make a run of 0;
 * extremes of narrow cells (qvo_seq_grid_agg_max_<type>) are labelled double; qvo_seq_agg_count_not_null has no run
 * byte.
 */
QVO_API int qvo_seq_check_tile(const qvo_seq_iterator_t* iterator);

/* A result code in words ("the sequence is exhausted"), never null: for any other number, that it is unknown. The text
   is static. */
QVO_API const char* qvo_seq_code_text(QVO_RET code);

/* The smaller of two counts. */
QVO_API qvo_seq_count_t min_count(qvo_seq_count_t a, qvo_seq_count_t b);

/*
 * The reset of operators of three operands: qvo_seq_reset_binary_iterator, and then the `reset` of operand 2. Returns
 * the first code that is not QVO_S_OK.
 */
QVO_API QVO_RET qvo_seq_reset_ternary_iterator(qvo_seq_iterator_h iterator);

/*
 * The resets of operators that keep a running count in the second word of their context: the word is
 * set to 0, then the iterator and its one, two or three operands are rewound. The ternary one skips
 * empty operand slots and stops at the first operand that fails, leaving the iterator as it is.
 */
QVO_API QVO_RET qvo_seq_reset_unary_agg_iterator(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_reset_binary_agg_iterator(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_reset_ternary_agg_iterator(qvo_seq_iterator_h iterator);

/* ==== core/access ============================================================================== */

/*
 * qvo_seq_next_<type> (iterator, value)
 *
 * Reads one position, pulling the iterator when its tile is used up.
 * Elements  The 11 fixed types, and char: elem_size bytes go to value.
 * Runs      Expanded: an element with run 3 is read three times. tile_offs and rle_offs are the read
 *           position; the three readers of one iterator share it.
 * Errors    QVO_E_ILLEGAL_TYPE; QVO_E_SEQ_BOUNDED if the binding check is on and the iterator feeds an
 *           operator; then what its `next` returns, QVO_S_CURSOR_END at the end. Value is then as it was.
 *
 * qvo_seq_get_<type> (iterator, values, count)
 *
 * Reads up to *count positions into an array and sets *count to their number; fewer mean that the end
 * was reached. Like as many calls of qvo_seq_next_<type>, at the speed of copying.
 * Errors    The same. An error, or the end before the first position, leaves *count as it was; positions
 *           that were read before an error are lost.
 *
 * qvo_seq_get_nullable_<type> (iterator, values, count, null_bitmap)
 *
 * Reads up to *count elements, and their null marks: bit i of null_bitmap, which has (*count + 63) / 64
 * words, is 1 if values[i] is null. For sources whose runs are 1, such as the text parsers.
 * Runs      Deliberately not expanded, unlike in the other readers: an element with run 5 is read once,
 *           and rle_offs is left alone. Only the first 128 elements of a tile can be null.
 * Errors    The same, but *count is always set to the number of elements read: with an error after
 *           some elements these are valid, and at the end it is 0.
 */
#define QVO_SEQ_DECLARE_READERS(type, value_type)                                                                   \
    QVO_API QVO_RET qvo_seq_next_##type(qvo_seq_iterator_h iterator, value_type* value);                            \
    QVO_API QVO_RET qvo_seq_get_##type(qvo_seq_iterator_h iterator, value_type* values, qvo_size_t* count);         \
    QVO_API QVO_RET qvo_seq_get_nullable_##type(qvo_seq_iterator_h iterator, value_type* values, qvo_size_t* count, \
                                                qvo_bitmap_word_t* null_bitmap);
#define QVO_SEQ_DECLARE(type) QVO_SEQ_DECLARE_READERS(type, qvo_##type)
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE_READERS(char, char)
#undef QVO_SEQ_DECLARE
#undef QVO_SEQ_DECLARE_READERS

/* ==== core/source ============================================================================== */

/*
 * qvo_seq_unget_<type> (result, values, count), qvo_seq_unget_char (result, values, count, width)
 *
 * The caller's array as a sequence.
 * Elements  The 11 fixed types; char with strings of `width` bytes, one after the other.
 * Runs      All 1: an int4 array of 1000 comes as tiles of 819 and 181 elements.
 * Ends      After `count` elements. last_seq_no is count - 1, for an empty array all ones.
 * Errors    QVO_E_ILLEGAL_PARAM for char wider than 4095, of which no tile holds one. Else none.
 * Tiles     An operator may take the elements from the array itself, without a call of `next`. The iterator's counters,
 *           read position and run bytes are then as after the calls; of its tile, the elements that the operator has
 *           not taken are there when it returns, and those before them need not be.
 * Lifetime  The array is not copied, and only read; it stays in place while the iterator is used. It need not be
 *           aligned. owned_buf is 1: qvo_seq_free_buffer hands the array to the release hook. So either take the
 *           array from qvo_seq_malloc, or do not call qvo_seq_free_buffer on this iterator.
 */
#define QVO_SEQ_DECLARE(type)                                                                                    \
    QVO_API QVO_RET qvo_seq_unget_##type(qvo_seq_iterator_h result, const qvo_##type* values, qvo_size_t count); \
    QVO_API QVO_RET qvo_seq_unget_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_unget_char(qvo_seq_iterator_h result, const char* values, qvo_size_t count, qvo_size_t width);
QVO_API QVO_RET qvo_seq_unget_char_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_unget_reset(qvo_seq_iterator_h iterator);

/*
 * qvo_seq_const_<type> (result, value), qvo_seq_const_char (result, value, width)
 *
 * The same value at every position.
 * Elements  The 11 fixed types; char of the given width. The value is copied.
 * Runs      Full tiles of runs of 255, filled by the first call and then handed out again: each call adds
 *           255 * capacity to next_seq_no, 208845 for 4-byte types. Two-operand operators take it in long
 *           strides and keep the runs of their other operand.
 * Ends      Never: use it beside an operand that ends, or cut it with qvo_seq_limit.
 * Errors    QVO_E_ILLEGAL_PARAM for char wider than 280. Else none.
 */
#define QVO_SEQ_DECLARE(type)                                                          \
    QVO_API QVO_RET qvo_seq_const_##type(qvo_seq_iterator_h result, qvo_##type value); \
    QVO_API QVO_RET qvo_seq_const_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_const_char(qvo_seq_iterator_h result, const char* value, qvo_size_t width);
QVO_API QVO_RET qvo_seq_const_next_char(qvo_seq_iterator_h iterator);

/* ==== core/slice =============================================================================== */

/*
 * qvo_seq_limit (result, operand, first, last)
 *
 * The positions first .. last of the operand, both inclusive, counted from its first_seq_no.
 * Elements  Any type and width; the result has the operand's.
 * Runs      Elements are taken whole, whatever the operand's rle_offs; the first and the last one are cut
 *           to the range: 5 .. 9 of a constant is one element with run 5. The result's first_seq_no and
 *           last_seq_no are the range, and its next_seq_no counts in the operand's positions.
 * Ends      After `last`, or with the operand. A last below first is the empty sequence.
 * Errors    QVO_E_SEQ_BOUNDED. next: QVO_E_ILLEGAL_TYPE if the operand's width has changed since. The process is
 *           stopped if the operand has counted more positions than its tile holds where the range begins. So do
 *           not put it above a cumulative aggregate, which counts twice, nor above a concat, tee or repeat of a
 *           limit, which count from the limit's first position.
 */
QVO_API QVO_RET qvo_seq_limit(qvo_seq_iterator_h result, qvo_seq_iterator_h operand, qvo_seq_no_t first,
                              qvo_seq_no_t last);
QVO_API QVO_RET qvo_seq_limit_next(qvo_seq_iterator_h iterator);

/*
 * qvo_seq_tee (first, second, source)
 *
 * Two readers of one source, each of which delivers the whole of it, tile by tile.
 * Elements  Any type and width; the results have the source's.
 * Runs      Tiles are copied; null marks are not.
 * Errors    QVO_E_SEQ_BOUNDED for the source. The process is stopped when the readers are more than one
 *           tile apart. That check deliberately takes elements for positions: a reader that lags also stops
 *           at its second tile or later if that tile has a run above 1. So the source is one with runs of 1,
 *           such as an array or qvo_seq_rle_decode, or one of a single tile. A reader that has not produced
 *           anything yet is not checked: it takes the tile at which the other one is, and what came before is lost
 *           to it. So pull them in turn from the start.
 * Lifetime  Both results and the source live as long as either is used. Resetting one result resets the
 *           source and the other result.
 */
QVO_API QVO_RET qvo_seq_tee(qvo_seq_iterator_h first, qvo_seq_iterator_h second, qvo_seq_iterator_h source);
QVO_API QVO_RET qvo_seq_tee_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_reset_tee_iterator(qvo_seq_iterator_h iterator);

/*
 * qvo_seq_rle_decode (result, operand)
 *
 * One element per position, at most 128 in a tile, as many as a tile has null marks.
 * Elements  Any type and width; the result has the operand's.
 * Runs      Deliberately not written: the result's run bytes keep what the record held. It is for
 *           consumers that take elements, such as qvo_seq_get_nullable_<type>; set the record's payload to
 *           ones beforehand for any other. last_seq_no is the operand's.
 * Errors    QVO_E_SEQ_BOUNDED; the result then already has the operand's type and width, deliberately. next:
 *           QVO_E_ILLEGAL_TYPE if the operand's width has changed since.
 */
QVO_API QVO_RET qvo_seq_rle_decode(qvo_seq_iterator_h result, qvo_seq_iterator_h operand);
QVO_API QVO_RET qvo_seq_rle_decode_next(qvo_seq_iterator_h iterator);

/* ==== transform/arithmetic ===================================================================== */

/*
 * qvo_seq_add_<type>, qvo_seq_sub_<type>, qvo_seq_mul_<type>, qvo_seq_div_<type>,
 * qvo_seq_mod_<type> (result, left, right)
 *
 * Element-wise left + right, left - right, left * right, left / right and the remainder of left / right.
 * Elements  The 11 fixed types; the result has the same type. Integers wrap at their width (-128 / -1
 *           in int1 is -128); division truncates towards zero and the remainder has the sign of the
 *           dividend. datetime follows the unsigned rules. Floating types follow IEEE 754; the
 *           floating remainder is fmod, for float taken in double and narrowed.
 * Runs      One result element per overlap of the operands' runs; equal neighbours stay apart.
 * Ends      With the shorter operand; a difference in length is not an error.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed. Integer
 *           division by zero, and the most negative int4 or int8 divided by -1, end the process with
 *           the divide fault (SIGFPE), in div and mod alike: divisors are the caller's to check.
 */
#define QVO_SEQ_DECLARE(type)                                                                                         \
    QVO_API QVO_RET qvo_seq_add_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_sub_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_mul_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_div_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_mod_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_add_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_sub_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_mul_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_div_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_mod_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/*
 * qvo_seq_max_<type>, qvo_seq_min_<type> (result, left, right)
 *
 * Element-wise larger and smaller value.
 * Elements  The 11 fixed types; the result has the same type. max is left if left > right, else right.
 *           min of integers is right if right < left, else left; of float and double left if
 *           right > left, else right. So with a NaN on either side both deliver right.
 * Runs, Ends, Errors  As for add.
 */
#define QVO_SEQ_DECLARE(type)                                                                                         \
    QVO_API QVO_RET qvo_seq_max_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_min_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_max_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_min_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== transform/compare ======================================================================== */

/*
 * qvo_seq_eq_<type>, qvo_seq_ne_<type>, qvo_seq_ge_<type>, qvo_seq_le_<type>, qvo_seq_gt_<type>,
 * qvo_seq_lt_<type> (result, left, right)
 *
 * Element-wise comparison: 1 where the relation left ? right holds, else 0.
 * Elements  The 11 fixed types and char; the result is boolean (QVO_DD_UINT1). Floating values follow
 *           IEEE 754: with a NaN every relation is false but ne, which is true. Char operands have equal
 *           widths and are compared over the whole width, as unsigned bytes: strings that differ only
 *           after a zero byte are different.
 * Runs      One result element per overlap of the operands' runs; equal neighbours stay apart.
 * Ends      With the shorter operand.
 * Errors    QVO_E_ILLEGAL_TYPE (char: also for unequal widths), then QVO_E_SEQ_BOUNDED; in both cases
 *           nothing has changed.
 */
#define QVO_SEQ_DECLARE(type)                                                                                        \
    QVO_API QVO_RET qvo_seq_eq_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_ne_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_ge_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_le_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_gt_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_lt_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET qvo_seq_eq_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_ne_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_ge_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_le_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_gt_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_lt_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE

/* ==== transform/logic ========================================================================== */

/*
 * qvo_seq_and, qvo_seq_or, qvo_seq_xor (result, left, right)
 *
 * left & right, left | right, left ^ right on the bytes of two boolean sequences.
 * Elements  Boolean (QVO_DD_UINT1).
 * Runs, Ends  As for add.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 *
 * qvo_seq_not (result, operand)
 *
 * 1 where the operand is 0, else 0. Each element keeps its run byte and is taken whole, whatever the
 * operand's rle_offs.
 */
QVO_API QVO_RET qvo_seq_and(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right);
QVO_API QVO_RET qvo_seq_or(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right);
QVO_API QVO_RET qvo_seq_xor(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right);
QVO_API QVO_RET qvo_seq_not(qvo_seq_iterator_h result, qvo_seq_iterator_h operand);
QVO_API QVO_RET qvo_seq_and_qvo_seq_bool_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_or_qvo_seq_bool_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_xor_qvo_seq_bool_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_not_qvo_seq_bool_next(qvo_seq_iterator_h iterator);

/* ==== transform/text =========================================================================== */

/*
 * qvo_seq_add_char (result, left, right)
 *
 * Element-wise concatenation of strings: left up to its first zero byte, then right up to its first zero
 * byte, then zero bytes up to the width of the result. "ab" in width 4 and "cd" in width 3 give "abcd"
 * and three zero bytes.
 * Elements  Char; the width of the result is the sum of the operands' widths, at most 32.
 * Runs      One result element per overlap of the operands' runs; equal neighbours stay apart.
 * Ends      With the shorter operand.
 * Errors    QVO_E_ILLEGAL_TYPE, also for a joint width above 32; then QVO_E_SEQ_BOUNDED; in both cases
 *           nothing has changed.
 *
 * qvo_seq_cat (result, left, right)
 *
 * The bytes of both elements one after the other, as they lie in memory: an int4 and an int2 give char
 * elements of width 6. Zero bytes are bytes like any other.
 * Elements  Any types, the same or different ones; the result is char, at most 32 wide.
 * Runs, Ends, Errors  As for qvo_seq_add_char; types are not checked.
 *
 * The width of the result is that of the operands at construction. If an operand's elements turn out to
 * be wider later (qvo_seq_parse_char without a width), they are cut off where the result's end.
 */
QVO_API QVO_RET qvo_seq_add_char(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right);
QVO_API QVO_RET qvo_seq_cat(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right);
QVO_API QVO_RET qvo_seq_add_char_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_cat_next(qvo_seq_iterator_h iterator);

/* ==== transform/unary ========================================================================== */

/*
 * qvo_seq_abs_<type>, qvo_seq_neg_<type> (result, operand)
 *
 * Element-wise absolute value and negation.
 * Elements  The 11 fixed types; the result has the same type. Signed integers wrap: the most negative
 *           value is its own absolute value and its own negation (abs and neg of -128 in int1 are -128).
 *           Negating uint1, uint2, uint4 and uint8 changes nothing: neg of 5 in uint4 is 5. datetime
 *           is negated modulo 2^64: neg of 5 is 18446744073709551611. Floating values change in their
 *           sign bit alone: neg flips it, of NaNs too; abs clears it where the value is below 0, so
 *           -0 stays -0 and a NaN keeps its sign.
 * Runs      Each element keeps its run byte and is taken whole, whatever the operand's rle_offs.
 * Ends      With the operand.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 */
#define QVO_SEQ_DECLARE(type)                                                                  \
    QVO_API QVO_RET qvo_seq_abs_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h operand); \
    QVO_API QVO_RET qvo_seq_neg_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h operand); \
    QVO_API QVO_RET qvo_seq_abs_##type##_next(qvo_seq_iterator_h iterator);                    \
    QVO_API QVO_RET qvo_seq_neg_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== transform/convert ======================================================================== */

/*
 * qvo_seq_<from>_to_<to>, qvo_seq_<to>_from_<from> (result, operand)
 *
 * Converts every element of the type <from> to the type <to>. Both names build the same iterator, whose
 * `next` is qvo_seq_<from>_to_<to>_next.
 * Elements  All 121 pairs of the 11 fixed types, datetime being a uint8 of another name. Nothing is
 *           reported when a value does not fit:
 *           integer to integer    the low bits: 300 to int1 is 44, -1 in int1 to uint4 is 4294967295
 *           integer to floating   rounded once, to nearest
 *           double to float       rounded to nearest; float to double exactly
 *           floating to int4      truncated towards zero: 3.9 is 3, -3.9 is -3; NaN and values that do
 *           and int8              not fit give the most negative value: 1e10 to int4 is -2147483648
 *           floating to int1,     the low bits of the conversion to int4: 300.7 to uint1 is 44, NaN 0
 *           int2, uint1, uint2
 *           floating to uint4     the low bits of the conversion to int8: -1.0 is 4294967295
 *           floating to uint8     below 2^63, and NaN, as to int8: -1.0 is 2^64 - 1, NaN is 2^63; from
 *           and datetime          2^63 on exact; 2^64 and more, and infinity, give 2^63
 * Runs      Each element keeps its run byte and is taken whole, whatever the operand's rle_offs. A wider
 *           result takes several calls for one tile of the operand.
 * Ends      With the operand.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 */
#define QVO_SEQ_DECLARE(from, to)                                                                      \
    QVO_API QVO_RET qvo_seq_##from##_to_##to(qvo_seq_iterator_h result, qvo_seq_iterator_h operand);   \
    QVO_API QVO_RET qvo_seq_##to##_from_##from(qvo_seq_iterator_h result, qvo_seq_iterator_h operand); \
    QVO_API QVO_RET qvo_seq_##from##_to_##to##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, int1)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, int2)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, int4)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, int8)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, uint1)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, uint2)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, uint4)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, uint8)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, float)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, double)
QVO_SEQ_FOR_FIXED_TYPES_WITH(QVO_SEQ_DECLARE, datetime)
#undef QVO_SEQ_DECLARE

/* ==== transform/parse ========================================================================== */

/*
 * A text literal is an optional "{", values separated by single commas, and "}" or the end of the text.
 * It is read in place, never copied: the caller keeps it alive and unchanged while the iterator is used.
 * Parsers are sources; nothing is bound. A call that fails saves no position: the next one fails again.
 *
 * qvo_seq_parse_<type> (result, text)
 *
 * The numbers of a text literal.
 * Elements  The 11 fixed types. Numbers are read by the C library's scanner in the current locale (its
 *           white space and decimal point): int1, int2, int4 as "%i" and int8 as "%lli", so decimal, 0x10
 *           (16) or 010 (8); uint1, uint2, uint4 as "%u", uint8 and datetime as "%llu"; float and double
 *           as "%lf". Narrower types keep the low bits; float is rounded from double. White space is
 *           accepted before a number, not between a number and the comma: "1 ,2" does not scan.
 * Runs      Equal neighbours (after narrowing) become one element with a run of at most 255, but only the
 *           run byte of a tile's last element is written: {1,1,1,2} is a tile of the elements 1 and 2 in
 *           which the run byte of 2 is 1 and that of 1 is what the tile held before. So a text without
 *           equal neighbours is read correctly from a record whose run bytes the caller set to 1; for one
 *           with them use the elements, not the runs. next_seq_no grows by elements, not positions.
 * Ends      At "}" or the end of the text.
 * Errors    QVO_S_OK always; next: QVO_E_ILLEGAL_PARAM for text that does not scan, also when it is the
 *           value right after a full tile's last one that does not: that tile is then not delivered.
 *
 * qvo_seq_parse_char (result, text, width)
 *
 * The strings of a text literal: 'ab', "c, d", e or null. A quoted string ends at the same quote; one
 * without quotes at the next comma or the end of the text, and takes a "}" as a character: the last value of
 * {a,b} is "b}". In both a backslash takes the next character literally, but \0 is a zero byte, \n a
 * newline and \t a tab. Spaces and tabs before a string are skipped. The word null, right after a comma
 * or at the start, marks the element null in the tile's null bitmap and leaves its bytes as they are.
 * What follows a closing quote or a null without a comma is the next value: 'ab' ,c has three of them.
 * Elements  Char, padded with zero bytes to the width.
 * Runs      No run bytes are written: they are what the tile held before. A tile holds at most 128 elements,
 *           each with a null bit; next_seq_no grows by elements.
 * Ends      As above; tile_size is then 0.
 * Parameters  width: 1 to 4095, or 0 to take that of the first string that is not empty. In that case
 *           elem_size is 0 until the first tile: pull it before an operator is built on it.
 * Errors    QVO_E_ILLEGAL_PARAM for a width out of range; next: QVO_E_ILLEGAL_PARAM for a string that does
 *           not end, that is longer than the width, or for a null while the width is unknown.
 *
 * qvo_seq_custom_parse (result, text, elem_type, elem_size, parser)
 *
 * Elements that the caller's function reads. It is called with each token as a zero-terminated string,
 * the result's tile and the index of the element, stores the element there (and may set its null bit), and
 * returns non-zero for success. Tokens end at the next comma or, when there is none, at the next "}"; what
 * follows that is read on, and a token without either is the last.
 * Elements  elem_type and elem_size, taken as they are given.
 * Runs      1 each.
 * Ends      As above; tile_size is then 0.
 * Parameters  elem_size: at most 4095. text must be writable: the character after a token is a zero byte
 *           while the function runs.
 * Errors    QVO_E_ILLEGAL_PARAM for a width out of range; next: QVO_E_ILLEGAL_PARAM when the function
 *           returns 0.
 *
 * qvo_seq_reset_parse_iterator, qvo_seq_reset_custom_parse_iterator
 *
 * The resets of the parsers: back to the start of the text, then qvo_seq_reset_iterator. A width taken
 * from the first string stays.
 */
typedef int (*qvo_seq_custom_parser_t)(const char* token, qvo_seq_tile_t* tile, int index);

#define QVO_SEQ_DECLARE(type)                                                          \
    QVO_API QVO_RET qvo_seq_parse_##type(qvo_seq_iterator_h result, const char* text); \
    QVO_API QVO_RET qvo_seq_parse_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_parse_char(qvo_seq_iterator_h result, const char* text, int width);
QVO_API QVO_RET qvo_seq_parse_char_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_custom_parse(qvo_seq_iterator_h result, char* text, uint8_t elem_type, uint16_t elem_size,
                                     qvo_seq_custom_parser_t parser);
QVO_API QVO_RET qvo_seq_custom_parse_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_reset_parse_iterator(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_reset_custom_parse_iterator(qvo_seq_iterator_h iterator);

/* ==== transform/print ========================================================================== */

/*
 * qvo_seq_print_char (result, input, width, format)
 *
 * Text from the bytes of an element. The format's characters are copied; each directive takes the next
 * bytes of the element:
 *   %%                   none: a percent sign
 *   %c                   1: a character
 *   %d %i   %u           4: a signed, an unsigned number
 *   %e %f                4: a float
 *   %s                   those up to a zero byte, and that
 *   %.ns                 n: a string of at most n characters
 *   %hhd %hhi   %hhu     1: a signed, an unsigned number
 *   %hd  %hi    %hu      2
 *   %lld %lli   %llu     8; %L is the same, and the character between it and the type letter is any
 *   %lle %llf            8: a double
 * Numbers appear as printf prints them, in the current locale. Three things are unlike printf:
 *   - After %h, %hh, %l and %L the type letter appears in the text, too: %lld of 7 is "7d".
 *   - The operand does not move on, and a tile is always full: all its elements are the text of the
 *     operand's current element, in every call. So the sequence does not end: over 7, 8 every tile is
 *     "7", "7", "7" ... Read one element of a tile and add 1 to the operand's tile_offs to get the text of
 *     the next element from the next call.
 *   - No run bytes are written: they are what the tile held before.
 * Elements  Char, of any width to read from; a text of up to width - 1 characters and a zero byte. Bytes
 *           after that are what the tile held before.
 * Runs      next_seq_no grows by the elements of a tile.
 * Ends      Only with an operand that ends when its next tile is needed.
 * Parameters  width: 1 to 32. format: not copied.
 * Errors    QVO_E_ILLEGAL_TYPE, QVO_E_ILLEGAL_PARAM for the width (which here comes before the binding
 *           check), QVO_E_SEQ_BOUNDED; nothing has changed after any of them. next: QVO_E_ILLEGAL_PARAM for
 *           another directive, one that needs more bytes than the element has left, or a text that does
 *           not fit.
 */
QVO_API QVO_RET qvo_seq_print_char(qvo_seq_iterator_h result, qvo_seq_iterator_h input, int width, const char* format);
QVO_API QVO_RET qvo_seq_print_char_next(qvo_seq_iterator_h iterator);

/* ==== transform/callback ======================================================================= */

/*
 * The caller's functions, and the records in `context` that hold them. A function of strings writes its
 * result to `destination`, where it has `width` bytes.
 */
#define QVO_SEQ_DECLARE(type)                                                                                 \
    typedef qvo_##type (*qvo_seq_func_##type##_ptr_t)(qvo_##type value);                                      \
    typedef qvo_##type (*qvo_seq_func_ctx_##type##_ptr_t)(qvo_##type value, void* context);                   \
    typedef qvo_seq_bool (*qvo_seq_cond_##type##_ptr_t)(qvo_##type value);                                    \
    typedef qvo_seq_bool (*qvo_seq_cond_ctx_##type##_ptr_t)(qvo_##type value, void* context);                 \
    typedef qvo_##type (*qvo_seq_func2_##type##_ptr_t)(qvo_##type left, qvo_##type right);                    \
    typedef qvo_##type (*qvo_seq_func2_ctx_##type##_ptr_t)(qvo_##type left, qvo_##type right, void* context); \
    typedef struct {                                                                                          \
        qvo_seq_func_##type##_ptr_t func;                                                                     \
        void* func_ctx; /* not set without a context */                                                       \
    } qvo_seq_func_##type##_context_t;                                                                        \
    typedef struct {                                                                                          \
        qvo_seq_func_ctx_##type##_ptr_t func;                                                                 \
        void* func_ctx;                                                                                       \
    } qvo_seq_func_ctx_##type##_context_t;                                                                    \
    typedef struct {                                                                                          \
        qvo_seq_cond_##type##_ptr_t func;                                                                     \
        void* func_ctx;                                                                                       \
    } qvo_seq_cond_##type##_context_t;                                                                        \
    typedef struct {                                                                                          \
        qvo_seq_cond_ctx_##type##_ptr_t func;                                                                 \
        void* func_ctx;                                                                                       \
    } qvo_seq_cond_ctx_##type##_context_t;                                                                    \
    typedef struct {                                                                                          \
        qvo_seq_func2_##type##_ptr_t func;                                                                    \
        void* func_ctx;                                                                                       \
    } qvo_seq_func2_##type##_context_t;                                                                       \
    typedef struct {                                                                                          \
        qvo_seq_func2_ctx_##type##_ptr_t func;                                                                \
        void* func_ctx;                                                                                       \
    } qvo_seq_func2_ctx_##type##_context_t;
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

typedef void (*qvo_seq_func_char_ptr_t)(char* destination, const char* source, qvo_size_t width);
typedef void (*qvo_seq_func_ctx_char_ptr_t)(char* destination, const char* source, qvo_size_t width, void* context);
typedef qvo_seq_bool (*qvo_seq_cond_char_ptr_t)(const char* string, qvo_size_t width);
typedef qvo_seq_bool (*qvo_seq_cond_ctx_char_ptr_t)(const char* string, qvo_size_t width, void* context);
typedef void (*qvo_seq_func2_char_ptr_t)(char* destination, const char* left, const char* right, qvo_size_t width);
typedef void (*qvo_seq_func2_ctx_char_ptr_t)(char* destination, const char* left, const char* right, qvo_size_t width,
                                             void* context);
typedef struct {
    qvo_seq_func_char_ptr_t func;
} qvo_seq_func_char_context_t;
typedef struct {
    qvo_seq_func_ctx_char_ptr_t func;
    void* func_ctx;
} qvo_seq_func_ctx_char_context_t;
typedef struct {
    qvo_seq_cond_char_ptr_t cond;
} qvo_seq_cond_char_context_t;
typedef struct {
    qvo_seq_cond_ctx_char_ptr_t cond;
    void* cond_ctx;
} qvo_seq_cond_ctx_char_context_t;
typedef struct {
    qvo_seq_func2_char_ptr_t func;
} qvo_seq_func2_char_context_t;
typedef struct {
    qvo_seq_func2_ctx_char_ptr_t func;
    void* func_ctx;
} qvo_seq_func2_ctx_char_context_t;

/*
 * qvo_seq_func_<type> (result, input, func), qvo_seq_func_ctx_<type> (result, input, func, func_ctx)
 *
 * func(element), or func(element, func_ctx): the caller's own function of one operand.
 * Elements  The 11 fixed types and char; the result has the same type, and for char the same width.
 * Runs      The function is called once per element, however long its run, and in order; so it should
 *           depend on nothing but its arguments. Each element keeps its run byte and is taken whole, whatever
 *           the operand's rle_offs.
 * Ends      With the operand.
 * Parameters  func: not null. It cannot report errors and must return (no exception, no longjmp).
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 * Lifetime  What func_ctx points to must outlive the iterator's use.
 *
 * qvo_seq_cond_<type> (result, input, func), qvo_seq_cond_ctx_<type> (result, input, func, func_ctx)
 *
 * The same with a predicate; its value becomes the element as it is.
 * Elements  The 11 fixed types and char; the result is boolean (QVO_DD_UINT1). A predicate of strings is
 *           meant for strings of width 1. It is handed the width 1 always, and for element i of a tile the
 *           byte at i, whatever the width of the strings: with "ab" and "cd" in a tile of width 2 it sees
 *           "a" and "b". Wider strings can be tested by qvo_seq_eq_char and its kin.
 *
 * qvo_seq_func2_<type> (result, left, right, func),
 * qvo_seq_func2_ctx_<type> (result, left, right, func, func_ctx)
 *
 * func(left element, right element), with func_ctx after them in the second form.
 * Elements  The 11 fixed types and char; the result has the same type. Char operands have equal widths.
 * Runs      The function is called once per overlap of the operands' runs, in order: a run of 5 against
 *           runs of 2 and 3 makes two calls.
 * Ends      With the shorter operand.
 * Parameters, Errors, Lifetime  As above; QVO_E_ILLEGAL_TYPE also for char operands of unequal widths.
 */
#define QVO_SEQ_DECLARE(type)                                                                                          \
    QVO_API QVO_RET qvo_seq_func_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,                           \
                                        qvo_seq_func_##type##_ptr_t func);                                             \
    QVO_API QVO_RET qvo_seq_func_ctx_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,                       \
                                            qvo_seq_func_ctx_##type##_ptr_t func, void* func_ctx);                     \
    QVO_API QVO_RET qvo_seq_cond_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,                           \
                                        qvo_seq_cond_##type##_ptr_t func);                                             \
    QVO_API QVO_RET qvo_seq_cond_ctx_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,                       \
                                            qvo_seq_cond_ctx_##type##_ptr_t func, void* func_ctx);                     \
    QVO_API QVO_RET qvo_seq_func2_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right, \
                                         qvo_seq_func2_##type##_ptr_t func);                                           \
    QVO_API QVO_RET qvo_seq_func2_ctx_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left,                       \
                                             qvo_seq_iterator_h right, qvo_seq_func2_ctx_##type##_ptr_t func,          \
                                             void* func_ctx);                                                          \
    QVO_API QVO_RET qvo_seq_func_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_func_ctx_##type##_next(qvo_seq_iterator_h iterator);                                       \
    QVO_API QVO_RET qvo_seq_cond_##type##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET qvo_seq_cond_ctx_##type##_next(qvo_seq_iterator_h iterator);                                       \
    QVO_API QVO_RET qvo_seq_func2_##type##_next(qvo_seq_iterator_h iterator);                                          \
    QVO_API QVO_RET qvo_seq_func2_ctx_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE

/* ==== transform/match ========================================================================== */

typedef struct qvo_seq_match_context qvo_seq_match_context_t;
typedef qvo_bool (*qvo_seq_match_func_t)(const qvo_seq_match_context_t* ctx, const char* str);
struct qvo_seq_match_context {
    const char* pattern;
    qvo_seq_match_func_t match; /* the matcher that fits the pattern */
    int pn;                     /* length of the pattern, escapes included */
    int elem_size;              /* width of the strings */
    uint8_t shift[256];         /* qvo_seq_match_substring: positions to move on, by byte */
};

/*
 * qvo_seq_match (result, input, pattern)
 *
 * 1 where a string matches a pattern, else 0. % stands for any bytes, or none; _ for one byte; case counts.
 * A string ends at its first zero byte or at its width. The form of the pattern decides how it is read:
 *   no wildcard     The string is equal to the pattern. Backslashes are bytes like any other: a\_c is
 *                   those four bytes, not "a_c".
 *   %needle%        and no other wildcard: the string contains the needle. Here, too, backslashes are
 *                   bytes: %a\%b% looks for the four bytes a \ % b. %% matches every string. A last % counts
 *                   as one here even if it is escaped: %_\% has two wildcards, the first % and _, and looks for
 *                   the two bytes _ and \.
 *   anything else   A backslash takes the next byte of the pattern literally: a\_c% matches "a_cx" but not
 *                   "abcx". A backslash at the end matches nothing.
 * Elements  Char; the result is boolean (QVO_DD_UINT1).
 * Runs      One match per element, however long its run. Each element keeps its run byte and is taken whole,
 *           whatever the operand's rle_offs.
 *           For element i of a call (from 0) the string is taken from byte i of the operand's tile on. For
 *           strings of width 1 in tiles as large as the result's that is the element itself; of wider strings
 *           only the first of each call is: with "ab" and "cd" in a tile of width 2 the second match is
 *           tried on "bc". To match wide strings one by one, call the context's matcher (below).
 * Ends      With the operand.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 * Lifetime  The pattern is not copied.
 *
 * qvo_seq_exact_match, qvo_seq_match_substring, qvo_seq_match_regex (ctx, str)
 *
 * The matchers of the three forms, for a string of ctx->elem_size bytes; non-zero for a match. After
 * qvo_seq_match, the result's `context` is a qvo_seq_match_context_t, and its `match` the one in use. The
 * substring search moves on by `shift`, in which byte 255 has the entry that the record held before the
 * constructor, unless the needle holds that byte before its end: clear the record if strings may hold byte
 * 255. Else occurrences after it may be missed (an entry of 0 moves on by 1, so that none is). A zero
 * byte of the string that the search steps over does not end it.
 */
QVO_API QVO_RET qvo_seq_match(qvo_seq_iterator_h result, qvo_seq_iterator_h input, const char* pattern);
QVO_API QVO_RET qvo_seq_match_next(qvo_seq_iterator_h iterator);
QVO_API qvo_bool qvo_seq_exact_match(const qvo_seq_match_context_t* ctx, const char* str);
QVO_API qvo_bool qvo_seq_match_substring(const qvo_seq_match_context_t* ctx, const char* str);
QVO_API qvo_bool qvo_seq_match_regex(const qvo_seq_match_context_t* ctx, const char* str);

/* ==== transform/choose ========================================================================= */

/*
 * qvo_seq_iif_<type> (result, cond, then_iter, else_iter)
 *
 * Element-wise choice between two sequences that are read in lock-step: conditions 1, 0, 1 over (a1, a2, a3)
 * and (b1, b2, b3) give a1, b2, a3.
 * Elements  cond is boolean (QVO_DD_UINT1; any value but 0 is true). The other two are of the same type, one
 *           of the 11 fixed ones or char with the same width; so is the result.
 * Runs      One result element per step. A step takes the smallest of the three operands' run bytes, and
 *           deliberately of the whole runs, not of what is left of them. Over runs that line up, and beside a
 *           constant, that is the choice at every position. Where runs cross, a read position passes the end
 *           of its run and the element is used on until the position, a byte, comes round to the run: over
 *           conditions and else_iter with runs of 2, a then_iter of (a x3, b x3) never gets to b. So give it
 *           operands whose runs line up, or runs of 1, or constants.
 * Ends      With the shortest operand. MAY NOT END where runs cross and an operand stays on an element.
 * Errors    QVO_E_ILLEGAL_TYPE (char: also for unequal widths), then QVO_E_SEQ_BOUNDED; in both cases
 *           nothing has changed.
 *
 * qvo_seq_if_<type> (result, cond, then_iter, else_iter)
 *
 * A merge of two sequences of which only the chosen one is read on: conditions 1, 0, 1 over (a, b) and
 * (x, y) give a, x, b.
 * Elements, Errors  As for iif.
 * Runs      One result element per overlap of the condition's run and that of the chosen operand.
 * Ends      As soon as any of the three operands has ended, also the one that would not be chosen next.
 */
#define QVO_SEQ_DECLARE(type)                                                                       \
    QVO_API QVO_RET qvo_seq_iif_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h cond,          \
                                       qvo_seq_iterator_h then_iter, qvo_seq_iterator_h else_iter); \
    QVO_API QVO_RET qvo_seq_if_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h cond,           \
                                      qvo_seq_iterator_h then_iter, qvo_seq_iterator_h else_iter);  \
    QVO_API QVO_RET qvo_seq_iif_##type##_next(qvo_seq_iterator_h iterator);                         \
    QVO_API QVO_RET qvo_seq_if_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_iif_reset(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_if_reset(qvo_seq_iterator_h iterator);

/* ==== transform/filter ========================================================================= */

/*
 * qvo_seq_filter_<type> (result, cond, input)
 *
 * The values of input at the positions where cond is true.
 * Elements  cond is boolean (QVO_DD_UINT1; any value but 0 is true). input is one of the 11 fixed types or
 *           char; the result has its type and width.
 * Runs      One result element per overlap of the operands' runs that is kept; equal neighbours stay apart.
 *           next_seq_no counts the positions kept.
 * Ends      With the shorter operand. One call pulls the operands until the tile is full, so where nothing
 *           is true the first call reads them to the end.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed. next:
 *           QVO_E_ILLEGAL_TYPE if input's width has changed since.
 */
#define QVO_SEQ_DECLARE(type)                                                                 \
    QVO_API QVO_RET qvo_seq_filter_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h cond, \
                                          qvo_seq_iterator_h input);                          \
    QVO_API QVO_RET qvo_seq_filter_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE

/*
 * qvo_seq_filter_pos (result, cond), qvo_seq_filter_search (result, cond, search_result)
 *
 * The positions at which cond is true, counted from 0; for a search from search_result's first_seq_no, so
 * that they number the sequence that was searched.
 * Elements  cond is boolean; the result is uint8. search_result is only looked at, by the constructor.
 * Runs      One element with run 1 per position: conditions true x3, false x2, true x1 give 0, 1, 2, 5. An
 *           operand's error leaves next_seq_no without the positions of that call. Deliberately, a false
 *           element counts with its whole run and leaves cond's rle_offs as it is, also where cond was
 *           handed over in the middle of a run.
 * Ends      With cond.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 */
typedef struct {
    qvo_seq_no_t first_pos;     /* the position of cond's first element */
    qvo_seq_no_t curr_pos;      /* that of the one that is read next */
} qvo_seq_filter_pos_context_t; /* in the context words of the iterator, as all records of this kind */

QVO_API QVO_RET qvo_seq_filter_pos(qvo_seq_iterator_h result, qvo_seq_iterator_h cond);
QVO_API QVO_RET qvo_seq_filter_search(qvo_seq_iterator_h result, qvo_seq_iterator_h cond,
                                      qvo_seq_iterator_h search_result);
QVO_API QVO_RET qvo_seq_filter_pos_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_filter_pos_reset(qvo_seq_iterator_h iterator);

/*
 * qvo_seq_filter_first_pos (result, cond, n)
 *
 * `n` positions from qvo_seq_get_first_pos(result) on, in one tile; an aggregate whose partial results can
 * be merged. Deliberately, only the element at cond's read position is tested, again for every position: if
 * it is true the result is n consecutive positions. DO NOT USE IT IF IT MAY BE FALSE: `next` THEN NEVER
 * RETURNS. For the positions at which a condition holds use qvo_seq_filter_pos and qvo_seq_limit.
 * Elements  cond is boolean; the result is uint8, each with run 1. cond's read position does not move.
 * Ends      After the one tile; with n = 0 at once, without pulling.
 * Parameters  n from 0 to 455; kept in last_seq_no.
 * Errors    QVO_E_ILLEGAL_TYPE, QVO_E_SEQ_BOUNDED, QVO_E_ILLEGAL_PARAM; nothing has changed. Deliberately,
 *           cond is not marked bound and the result's reset is left as the caller set it.
 * Lifetime  Operand slots that are not in use must be null, in the result's record and in every record of the tree
 *           below it: qvo_seq_get_first_pos walks all three of each.
 *
 * The merge takes a source whose positions are one block that does not interleave with the target's, and
 * keeps the target's first n: (2, 9) and (4, 5) give (2, 4, 5) for n = 3. An empty target takes over the
 * source's positions.
 */
QVO_API QVO_RET qvo_seq_filter_first_pos(qvo_seq_iterator_h result, qvo_seq_iterator_h cond, qvo_uint8 n);
QVO_API QVO_RET qvo_seq_filter_first_pos_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_filter_first_pos_merge(qvo_seq_iterator_h iterator, qvo_seq_iterator_h other);

/* The largest first_seq_no of an iterator and all operands below it. Operand slots in use or null, not junk, in every
   record of the tree. (Of the two results of a tee each is followed to the source alone.) */
QVO_API qvo_seq_no_t qvo_seq_get_first_pos(qvo_seq_iterator_h iterator);

/* ==== transform/norm =========================================================================== */

/*
 * qvo_seq_norm_<type> (result, input)
 *
 * Every element, as a double, divided by a norm of the whole sequence: (3, 4) gives 0.6, 0.8.
 * Elements  The 11 fixed types; the result is double. A norm of 0 gives infinities and NaN.
 * Runs      Each element keeps its run byte and is taken whole, whatever the operand's rle_offs.
 *           Deliberately, the square root is taken after every tile of the input, of the root so far plus the
 *           sum of the tile's squares, which is formed from 0 in the order of the elements: (3, 4) and then (2) in a
 *           second tile is divided by sqrt(5 + 4) = 3, not by sqrt(29). Only over one tile is it the Euclidean norm.
 * Ends      With the operand. The first call reads the operand to its end and resets it.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 */
typedef struct {
    double norm; /* the divisor, once the first call has found it */
} qvo_seq_norm_context_t;

#define QVO_SEQ_DECLARE(type)                                                                 \
    QVO_API QVO_RET qvo_seq_norm_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input); \
    QVO_API QVO_RET qvo_seq_norm_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== transform/thin =========================================================================== */

/*
 * qvo_seq_thin_<type> (result, input, origin, step)
 *
 * The positions origin, origin + step, origin + 2 * step ... of the input: 1 and 2 over ten elements of run 1
 * give those at 1, 3, 5, 7, 9.
 * Elements  The 11 fixed types and char; the result has the input's type and width.
 * Runs      One element with run 1 per position. MEANT FOR INPUTS WITH RUNS OF 1. Deliberately, the read
 *           position within a run is kept as the distance from the last taken position, not from the start
 *           of the run, and is kept when the next tile is pulled. So where three taken positions fall into one
 *           run, or one into the last run of a tile, what follows is found at shifted positions: 0 and 1 over
 *           (a x4, b x4) gives a eight times. A position shifted beyond a tile's last element reads what lies
 *           there, and the process is stopped where the tile ends. An error leaves next_seq_no without the
 *           elements of that call.
 * Ends      With the operand. A tile without elements is passed over.
 * Parameters  Any. A step of 0 repeats the element at origin for ever.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 */
typedef struct {
    qvo_size_t origin;     /* the first position that is taken */
    qvo_size_t step;       /* from one taken position to the next */
    qvo_seq_no_t curr_pos; /* the input position at which its read position stands */
} qvo_seq_thin_context_t;

#define QVO_SEQ_DECLARE(type)                                                                                   \
    QVO_API QVO_RET qvo_seq_thin_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t origin, \
                                        qvo_size_t step);                                                       \
    QVO_API QVO_RET qvo_seq_thin_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE

/* ==== transform/repeat ========================================================================= */

/*
 * qvo_seq_repeat_<type> (result, input, n_times)
 *
 * Every position n_times times.
 * Elements  The 11 fixed types and char; the result has the input's type and width.
 * Runs      A tile per tile of the input, also one without elements, whatever its read position; each run
 *           byte is multiplied. Deliberately, only its low 8 bits are kept: three times a run of 100 is a run
 *           of 44, and nothing is carried into further elements. next_seq_no is the input's times n_times all
 *           the same.
 * Ends      With the operand.
 * Parameters  n_times is widened to 64 bits with its sign; nothing is checked. Keep every run times n_times
 *           between 1 and 255: no consumer expects the run of 0 that n_times 0 or 256 gives.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 */
typedef struct {
    qvo_size_t n_times;
} qvo_seq_repeat_context_t;

#define QVO_SEQ_DECLARE(type)                                                                                \
    QVO_API QVO_RET qvo_seq_repeat_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, int n_times); \
    QVO_API QVO_RET qvo_seq_repeat_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_reset_repeat_iterator(qvo_seq_iterator_h iterator);

/* ==== transform/reverse ======================================================================== */

/*
 * qvo_seq_reverse_<type> (result, input)
 *
 * The input from its end to its beginning.
 * Elements  The 11 fixed types and char; the result has the input's type and width.
 * Runs      Of an input of one tile the runs are kept; a longer one comes as positions with runs of 1.
 * Ends      With the first position of the input. An input of several tiles is reset, counted, reset and read
 *           by the first call; if it delivers fewer positions than it counted, that call deliberately returns
 *           QVO_S_OK without a tile; positions beyond the count are left out.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed. From next:
 *           QVO_E_NOMEM; QVO_E_ILLEGAL_TYPE if the width of a char input of several tiles has changed since.
 * Lifetime  Over several tiles the result holds a buffer of all values: call qvo_seq_free_buffer, or reset,
 *           before it is discarded. It is then an array source and its `bounded` is 0. Before, owned_buf is 0.
 */
#define QVO_SEQ_DECLARE(type)                                                                    \
    QVO_API QVO_RET qvo_seq_reverse_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input); \
    QVO_API QVO_RET qvo_seq_reverse_##type##_next(qvo_seq_iterator_h iterator);                  \
    QVO_API QVO_RET qvo_seq_reverse_##type##_reset(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE

/* ==== transform/trend ========================================================================== */

/*
 * qvo_seq_diff_<type> (result, input)
 *
 * The difference of each position from the one before it; the first is 0.
 * Elements  The 11 fixed types; the result has the same type. Integers wrap at their width.
 * Runs      A run gives its difference with run 1 and, if it is longer, a 0 with the rest of the run: (5 x3, 8)
 *           gives 0, 0 x2, 3. Deliberately, the rest of a run that was entered before (rle_offs is not 0) is
 *           all but one of the whole run, and the first difference is taken from the first element of the
 *           tile, wherever the operand stands: (5, 7 x9, 8) handed over inside the run gives 0 x8, 3.
 * Ends      With the operand.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 *
 * qvo_seq_trend_<type> (result, input)
 *
 * The direction of change: 1 for an element above the one before it, -1 below; an equal one keeps the
 * direction before it, and the first is 0. (1, 2, 2, 1, 1) gives 0, 1, 1, -1, -1. A NaN counts as equal.
 * Elements  The 11 fixed types; the result is int1.
 * Runs      A tile per tile of the input, also one without elements, whatever its read position, with the
 *           same runs.
 * Ends, Errors  As for diff.
 */
#define QVO_SEQ_DECLARE(type)                                                                  \
    QVO_API QVO_RET qvo_seq_diff_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input);  \
    QVO_API QVO_RET qvo_seq_trend_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input); \
    QVO_API QVO_RET qvo_seq_diff_##type##_next(qvo_seq_iterator_h iterator);                   \
    QVO_API QVO_RET qvo_seq_trend_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== transform/concat ========================================================================= */

/*
 * qvo_seq_concat (result, left, right)
 *
 * left, and right after it.
 * Elements  Any type, the same on both sides; for char also the same width. The result has left's.
 * Runs      Whole tiles are copied with their runs, each call one tile of an operand: (1, 2) and (3) come as
 *           a tile of two elements and one of a single element. Null marks are not copied. The operands'
 *           read positions are not used: elements of a tile that was pulled before are not delivered.
 *           next_seq_no is left's own, and from there on grows with right's.
 * Ends      With right.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 *
 * qvo_seq_concat_reset
 *
 * The reset: back to left, then qvo_seq_reset_binary_iterator.
 */
typedef struct {
    qvo_bool left_array; /* still reading the left operand */
} qvo_seq_concat_context_t;

QVO_API QVO_RET qvo_seq_concat(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right);
QVO_API QVO_RET qvo_seq_concat_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_concat_reset(qvo_seq_iterator_h iterator);

/* ==== transform/join =========================================================================== */

/*
 * qvo_seq_join_<type> (result, meta_iterator)
 *
 * All sequences of a series, one after the other (qvo_seq_meta_iterator_t).
 * Elements  The 11 fixed types, and char of the width that the embedded iterator has at construction. The
 *           sequences' types are not checked: they are the caller's promise.
 * Runs      Elements are copied in blocks, with their run bytes, into full tiles: sequences of 500 and 400
 *           int4 elements come as tiles of 819 and 81 elements. Elements are taken whole, whatever the
 *           embedded iterator's rle_offs.
 * Ends      When the series does; empty sequences are passed over.
 * Errors    QVO_S_OK always; next: what `first` and `next` of the series, or the embedded iterator, return.
 *           After such a failure in mid-series the call is not to be repeated without a reset: the embedded
 *           iterator's current tile would come once more. The process is stopped if a tile holds more
 *           elements than one of this width can.
 * Lifetime  The meta iterator and what it reads live as long as the result is used.
 *
 * qvo_seq_meta_iterator_next, qvo_seq_meta_iterator_reset
 *
 * The `next` of all types, and the reset: the next call starts with `first` of the series; nothing else of
 * the series is touched.
 */
typedef enum { BEFORE_FIRST = 0, AFTER_FIRST = 1, AFTER_LAST = 2 } qvo_seq_meta_iterator_position_t;

typedef struct {
    qvo_seq_meta_iterator_h meta_iterator;
    qvo_seq_meta_iterator_position_t pos_kind; /* where in the series the join is */
} qvo_seq_meta_iterator_context_t;

#define QVO_SEQ_DECLARE(type) \
    QVO_API QVO_RET qvo_seq_join_##type(qvo_seq_iterator_h result, qvo_seq_meta_iterator_h meta_iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_meta_iterator_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_meta_iterator_reset(qvo_seq_iterator_h iterator);

/* ==== transform/map ============================================================================ */

/*
 * qvo_seq_map_<type> (result, input, positions)
 *
 * The elements of input at the given positions: 0, 2, 2, 5 over 10, 11, 12, 13, 14, 15 are 10, 12, 12, 15.
 * Elements  input: the 11 fixed types and char; the result has the same type and width. positions: uint8,
 *           ascending, equal ones allowed, with runs of 1; anything else stops the process.
 * Runs      1 each. Exact where every position is the first one of a run of input, so always over runs of 1.
 *           After a position inside a run the result deliberately may be off: what was taken of the run is
 *           counted from the position before, not from the run's beginning, and is carried into the next
 *           tile. Over the elements 7 with run 4 and 8 with run 9 the positions 1, 2, 4 give 7, 7, 7 and not
 *           7, 7, 8. Where this leads past the end of a tile the process is stopped.
 * Ends      With positions. A position at or after the end of input also ends the result, and the elements
 *           of that call are lost.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed; next:
 *           QVO_E_SEQ_OUT_OF_ORDER for a position below the one before it (3, 1), which drops the elements of that
 *           call: descending positions never give more than that.
 *
 * qvo_seq_map_reset
 *
 * The reset: back to position 0 of input, then qvo_seq_reset_binary_iterator.
 */
#define QVO_SEQ_DECLARE(type)                                                               \
    QVO_API QVO_RET qvo_seq_map_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, \
                                       qvo_seq_iterator_h positions);                       \
    QVO_API QVO_RET qvo_seq_map_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_map_reset(qvo_seq_iterator_h iterator);

/* ==== transform/unique ========================================================================= */

/*
 * qvo_seq_unique_<type> (result, input)
 *
 * Drops elements that are equal to the last one kept, but deliberately not in the first call that delivers a
 * tile: that one keeps every element. So 1, 1, 2 with run 5, 2 give 1, 1, 2, 2, and only elements after the
 * first full tile, which for int4 is the first 819, are compared with the ones before them.
 * Elements  The 11 fixed types and char up to a width of 264; the result has the same type. Floating values
 *           are compared as numbers: -0 equals 0, and a NaN equals nothing and is always kept. Char is
 *           compared over the whole width.
 * Runs      1 each: a run is taken whole and gives a single element. next_seq_no counts these.
 * Ends      With input.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed. Then
 *           QVO_E_ILLEGAL_PARAM for wider char, with input marked bound. next: QVO_E_ILLEGAL_TYPE if input's width has
 *           changed since.
 */
#define QVO_SEQ_DECLARE(type)                                                                   \
    QVO_API QVO_RET qvo_seq_unique_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input); \
    QVO_API QVO_RET qvo_seq_unique_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE(char)
#undef QVO_SEQ_DECLARE

/* ==== transform/union ========================================================================== */

/*
 * qvo_seq_union_<type> (result, left, right, order)
 *
 * Merges two ordered sequences into one; of equal heads one is kept, that of right. Ascending (1, 3, 5) and
 * (2, 3, 6) give 1, 2, 3, 5, 6.
 * Elements  The 11 fixed types; the result has the same type. A NaN at the head of left lets right pass.
 * Runs      1 each; a run counts as one element: 4 with run 200 gives a single 4. Equal elements of one side
 *           stay: (2, 2) and (2) give 2, 2.
 * Ends      When both operands have.
 * Parameters  order: QVO_SEQ_DESC_ORDER for descending operands, anything else for ascending ones. That
 *           they are ordered is not checked.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 *
 * qvo_seq_reset_union_iterator
 *
 * The reset: neither side has ended, then qvo_seq_reset_binary_iterator.
 */
typedef struct {
    qvo_bool left_end; /* the side has ended */
    qvo_bool right_end;
    qvo_seq_order_t order;
} qvo_seq_union_context_t;

#define QVO_SEQ_DECLARE(type)                                                                                          \
    QVO_API QVO_RET qvo_seq_union_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right, \
                                         qvo_seq_order_t order);                                                       \
    QVO_API QVO_RET qvo_seq_union_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_reset_union_iterator(qvo_seq_iterator_h iterator);

/* ==== transform/cross ========================================================================== */

/*
 * qvo_seq_cross_<type> (result, input, first_cross_direction)
 *
 * The positions at which a sequence changes its sign: that of the first value of the other sign, or of the
 * zeros in front of it. 1, 2, 0, 0, -1, 3 changes at 2 (the first zero) and at 5.
 * Elements  int1, int2, int4, int8, float, double, datetime; the result is uint8. Zeros and NaNs have no
 *           sign, leading ones are ignored. datetime is unsigned and never crosses. The members for uint1,
 *           uint2, uint4 and uint8 only return QVO_E_UNSUPPORTED.
 * Runs      1 each; positions are those of input, runs expanded. Zeros are counted on over values that do
 *           not cross: 1, 0, 2, -1 deliberately gives 2, one position before the -1, and not 3. They are counted in
 *           32 bits: after 2^31 zeros in a row positions are wrong.
 * Ends      With input.
 * Parameters  first_cross_direction: 0 for all crossings; 1 or -1 keeps only those to positive or to negative
 *           values, deliberately in the whole of the first call that delivers a tile, which is up to 455
 *           crossings, and none after it: of the example above 1 leaves the 5.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 *
 * qvo_seq_cross_reset_iterator
 *
 * The reset: back to position 0 and no sign, then qvo_seq_reset_unary_iterator.
 */
typedef struct {
    qvo_seq_no_t pos; /* positions consumed */
    int first_sign;   /* first_cross_direction */
    int prev_sign;    /* of the last value other than zero; 0: none so far */
    int n_zeros;      /* zero positions counted since then */
} qvo_seq_cross_context_t;

#define QVO_SEQ_DECLARE(type)                                                                 \
    QVO_API QVO_RET qvo_seq_cross_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, \
                                         int first_cross_direction);
QVO_SEQ_DECLARE(int1)
QVO_SEQ_DECLARE(int2)
QVO_SEQ_DECLARE(int4)
QVO_SEQ_DECLARE(int8)
QVO_SEQ_DECLARE(uint1)
QVO_SEQ_DECLARE(uint2)
QVO_SEQ_DECLARE(uint4)
QVO_SEQ_DECLARE(uint8)
QVO_SEQ_DECLARE(float)
QVO_SEQ_DECLARE(double)
QVO_SEQ_DECLARE(datetime)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_cross_int1_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_cross_int2_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_cross_int4_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_cross_int8_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_cross_float_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_cross_double_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_cross_datetime_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_cross_reset_iterator(qvo_seq_iterator_h iterator);

/* ==== transform/skip_nan ======================================================================= */

/*
 * qvo_seq_skip_nan_<type> (result, input)
 *
 * Drops NaNs.
 * Elements  float and double; the result has the same type.
 * Runs      Kept; elements are taken whole, whatever the operand's rle_offs. next_seq_no deliberately grows by
 *           elements and not by positions: 1.0, NaN with run 5, 2.0 with run 3 give 1.0 and 2.0 with run 3, and
 *           a next_seq_no of 2, not 4. So operators that count the positions of their operand by it, such as
 *           qvo_seq_map_<type> and qvo_seq_limit, need input with runs of 1.
 * Ends      With input.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 */
#define QVO_SEQ_DECLARE(type)                                                                     \
    QVO_API QVO_RET qvo_seq_skip_nan_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input); \
    QVO_API QVO_RET qvo_seq_skip_nan_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_DECLARE(float)
QVO_SEQ_DECLARE(double)
#undef QVO_SEQ_DECLARE

/* ==== transform/histogram ====================================================================== */

/*
 * qvo_seq_histogram_<type> (result, input, min_value, max_value, n_intervals)
 *
 * Counts the positions of input in n_intervals equal intervals of min_value <= value < max_value: 0, 1, 9, 9
 * in 5 intervals from 0 to 10 are 2, 0, 0, 0, 2.
 * Elements  The 11 fixed types; the result is one tile of n_intervals counts, uint8 with runs of 1. The
 *           interval is (value - min_value) * n_intervals / (max_value - min_value), rounded down. For
 *           integers the differences are exact in the whole range of the type, and the product is taken
 *           modulo 2^64: 8-byte ranges above 2^64 / n_intervals are not divided equally. Floating values
 *           are taken as double; what rounds to n_intervals counts in the last interval. A NaN passes for
 *           a value and counts in the first one.
 * Runs      Added up. Tiles are read from their first element, whatever the operand's read position.
 * Ends      After the one tile.
 * Parameters  n_intervals: 1 to 455; max_value above min_value, neither of them NaN.
 * Errors    QVO_E_ILLEGAL_TYPE, QVO_E_ILLEGAL_PARAM, then QVO_E_SEQ_BOUNDED; nothing has changed in any of
 *           these cases. next: QVO_E_ILLEGAL_PARAM for a value outside of the range, with the counts so far in
 *           the tile but no tile_size; an error of input, in which case the tile holds the counts up to it.
 *           Empty tiles of input are passed over.
 */
#define QVO_SEQ_DECLARE(type)                                                                                   \
    QVO_API QVO_RET qvo_seq_histogram_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,               \
                                             qvo_##type min_value, qvo_##type max_value, uint64_t n_intervals); \
    QVO_API QVO_RET qvo_seq_histogram_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== transform/extrema ======================================================================== */

/*
 * qvo_seq_extrema_<type> (result, input, first_extremum)
 *
 * The positions of local maxima and minima: where the values turn from rising to falling or back. A plateau
 * counts at its last position: 1, 3, 3, 2, 5 turns at 2 (the second 3) and at 3.
 * Elements  The 11 fixed types; the result is uint8. A NaN neither rises nor falls.
 * Runs      1 each; positions are those of input, runs expanded. The last position of a run is reported.
 * Ends      With input, whose first and last values are no extrema.
 * Parameters  first_extremum: 0 for all; 1 for maxima and -1 for minima, deliberately everywhere and not
 *           only the first: of the example above 1 leaves the 2 and -1 the 3. Any other value leaves none.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed.
 *
 * qvo_seq_extrema_<type>_reset_iterator
 *
 * The reset: back to position 0 and no direction, then qvo_seq_reset_unary_iterator.
 */
#define QVO_SEQ_DECLARE(type)                                                                                        \
    typedef struct {                                                                                                 \
        int first_extremum;                                                                                          \
        int prev_trend;      /* the last direction other than 0; 0: none so far */                                   \
        qvo_##type prev_val; /* the last value consumed */                                                           \
        qvo_seq_no_t pos;    /* positions consumed */                                                                \
    } qvo_seq_extrema_##type##_context_t;                                                                            \
    QVO_API QVO_RET qvo_seq_extrema_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, int first_extremum); \
    QVO_API QVO_RET qvo_seq_extrema_##type##_next(qvo_seq_iterator_h iterator);                                      \
    QVO_API QVO_RET qvo_seq_extrema_##type##_reset_iterator(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== transform/progression ==================================================================== */

/*
 * qvo_seq_aprogres_<type> (result, init_value, step, count)
 *
 * The arithmetic progression of `count` values: 10 with step 3 is 10, 13, 16, 19.
 * Elements  The 11 fixed types. Each value is position * step + init_value; integers wrap at their width,
 *           floating types take the position as a number of that type and round both operations.
 * Runs      1 each.
 * Ends      After `count` values, which is also last_seq_no. The tile's tile_size is then 0.
 * Errors    QVO_S_OK always.
 */
#define QVO_SEQ_DECLARE(type)                                                                                  \
    QVO_API QVO_RET qvo_seq_aprogres_##type(qvo_seq_iterator_h result, qvo_##type init_value, qvo_##type step, \
                                            uint64_t count);                                                   \
    QVO_API QVO_RET qvo_seq_aprogres_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== aggregate/count ========================================================================== */

/*
 * qvo_seq_agg_count, qvo_seq_agg_count_not_null (result, operand)
 *
 * The number of positions of the operand; the number of its elements that are not null.
 * Elements  Any operand; the result is one uint8.
 * Runs      agg_count adds up runs. agg_count_not_null deliberately counts elements, an element with run
 *           5 once, and does not write the result's run byte: read it from the tile.
 * Ends      After the one element. An empty operand counts 0, unlike in other aggregates. The length of an
 *           array (qvo_seq_unget_<type>) is taken without pulling, and of a hash aggregate the groups are
 *           counted; over these two `prepare` and `merge` are null.
 * Errors    None. Deliberately, the operand's type and binding are not checked and it is not marked bound;
 *           its `next` failing ends the count without being reported.
 */
QVO_API QVO_RET qvo_seq_agg_count(qvo_seq_iterator_h result, qvo_seq_iterator_h operand);
QVO_API QVO_RET qvo_seq_agg_count_not_null(qvo_seq_iterator_h result, qvo_seq_iterator_h operand);
QVO_API QVO_RET qvo_seq_count_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_count_not_null_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_count_merge(qvo_seq_iterator_h iterator, qvo_seq_iterator_h other);

/* ==== aggregate/whole ========================================================================== */

/*
 * qvo_seq_agg_max_<type>, qvo_seq_agg_min_<type>, qvo_seq_agg_sum_<type>, qvo_seq_agg_prd_<type>,
 * qvo_seq_agg_avg_<type>, qvo_seq_agg_var_<type>, qvo_seq_agg_var_samp_<type>,
 * qvo_seq_agg_dev_<type>, qvo_seq_agg_dev_samp_<type> (result, input)
 *
 * One element for the whole sequence: largest and smallest value, sum, product, average, variance
 * and standard deviation.
 * Elements  The 11 fixed types. max, min: the input's. sum, prd: int8 for signed, uint8 for unsigned
 *           integers, double for float and double, datetime for datetime. avg: double, for datetime
 *           datetime (the unsigned integer quotient). var and dev: double.
 *           With n the positions, S the sum of value x run and Q the sum of run x value x value:
 *           avg S / n, var (Q - S x S / n) / n, dev its square root. The sample forms take n - 1 for
 *           n inside the bracket too, and 0 for a single position. That is not the textbook's: the
 *           values 1 and 3 give var_samp (10 - 16 / 1) / 1 = -6, and dev_samp is NaN.
 *           value x run is formed in 32 bits for integers of 1, 2 and 4 bytes (wrapping), in 64 bits
 *           for those of 8, in single precision for float; then it is widened. An int4 beyond 8.4
 *           million with a long run wraps: 10,000,000 with run 255 adds -1,744,967,296. A float 0.1 with
 *           run 3 adds 0.30000001192092896, which is rounded once more than in double. Integer sums
 *           wrap in 64 bits. prd multiplies in double and converts back to 64 bits at each step, so
 *           integers are exact up to 2^53. Floating sums are taken in the order of the elements.
 *           NaN: max and min skip one that is not the first value, and keep one that is; the others
 *           become NaN. Of equal zeros the first stays.
 * Runs      An element counts for as many positions as its run says; runs are not expanded. The
 *           operand's tile_offs and rle_offs are not read: each of its tiles is taken from the start. An element
 *           of run 0 gives its value (to max and min; 0 to sums, 1 to products), but no position; where all runs
 *           are 0 there is no result.
 * Ends      One call takes the operand to its end and delivers one element of run 1; the next call
 *           returns QVO_S_CURSOR_END. So does the first one for an empty input.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed. `next`
 *           passes an operand's error on and stores nothing; a later call goes on pulling. An empty
 *           tile is not checked for.
 * Parts     To aggregate data in several parts: construct one iterator per part, call `prepare` of
 *           each, then `merge` (first, other) for each other one, then `next` of the first. A part
 *           without values changes nothing; a first one without values takes the other's state over
 *           but delivers nothing itself. `merge` returns QVO_S_OK always. After a `prepare` that
 *           failed or met no values, `next` returns QVO_S_CURSOR_END. A `prepare` after the delivery
 *           hands the value out once more.
 *
 * The context after `next`: the value of max, min, sum and prd or S; Q for var and dev, else 0; n.
 */
#define QVO_SEQ_DECLARE_AGGREGATE(name, agg_type)                              \
    typedef struct {                                                           \
        agg_type agg;                                                          \
        double norm;                                                           \
        qvo_seq_count_t count;                                                 \
    } name##_context_t;                                                        \
    QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input); \
    QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator);                  \
    QVO_API QVO_RET name##_merge(qvo_seq_iterator_h iterator, qvo_seq_iterator_h other);
#define QVO_SEQ_DECLARE(type, sum, avg)                                \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_agg_max_##type, qvo_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_agg_min_##type, qvo_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_agg_sum_##type, qvo_##sum)       \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_agg_prd_##type, qvo_##sum)       \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_agg_avg_##type, qvo_##avg)       \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_agg_var_##type, qvo_double)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_agg_var_samp_##type, qvo_double) \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_agg_dev_##type, qvo_double)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_agg_dev_samp_##type, qvo_double)
QVO_SEQ_FOR_AGGREGATE_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
#undef QVO_SEQ_DECLARE_AGGREGATE

/*
 * qvo_seq_agg_min_max_<type> (result, input)
 *
 * Two elements for the whole sequence: the smallest value, then the largest one.
 * Elements  The 11 fixed types; the result has the input's, but for datetime, which is deliberately
 *           delivered as double.
 * Runs, Errors  As for max, but that runs of 0 count as any other. Either value has run 1.
 * Ends      After one call, which sets next_seq_no to 2. There are no parts: `prepare` and `merge`
 *           are null.
 */
#define QVO_SEQ_DECLARE(type)                                                                        \
    QVO_API QVO_RET qvo_seq_agg_min_max_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input); \
    QVO_API QVO_RET qvo_seq_agg_min_max_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== aggregate/pair =========================================================================== */

/*
 * qvo_seq_cov_<type>, qvo_seq_corr_<type>, qvo_seq_wsum_<type>, qvo_seq_wavg_<type>
 * (result, left, right)
 *
 * One element for two whole sequences: covariance and correlation of left (x) and right (y);
 * weighted sum and weighted average of the values right (v) with the weights left (w).
 * Elements  The 11 fixed types; the result is double. With the sums over all positions, n of them:
 *           cov (Sxy - Sx x Sy / n) / n, corr (Sxy - Sx x Sy / n) / sqrt((Syy - Sy x Sy / n) x
 *           (Sxx - Sx x Sx / n)), wsum Swv, wavg Swv / Sw. Sums are taken in double in the order of
 *           the elements, with each term multiplied by the positions that it stands for.
 *           For integers and datetime these terms are deliberately not all formed in double: x, y and
 *           w times their positions, and in wavg w x v times them, are 64-bit products converted as
 *           unsigned numbers, so a negative one counts as 2^64 minus its magnitude: cov_int4 of left
 *           -1, 1 and right 1, 1 takes 1.8446744073709552e19 for Sx. wavg forms w x v in 32 bits
 *           for types of up to 4 bytes (wrapping; signed but for uint4): w = v = 65536 gives 0. The
 *           products of two values in cov, corr and all of wsum are taken in double.
 * Runs      The operands are walked overlap by overlap, from their current positions on.
 * Ends      With the shorter operand; a difference in length is not an error. Then as for max: one
 *           element, then QVO_S_CURSOR_END; no element if there is no pair.
 * Errors    As for add and max; an operand's empty tile stops the process.
 * Parts     As for max, but `merge` adds up the records of empty parts too. It deliberately adds the
 *           *right* sum of the source to the left sum: sx += other's sy; the other fields are added
 *           each to its own. So parts of cov and corr do not join to the value of the whole, nor do
 *           those of wavg, where the weights of the source are left out: 1 x 2 joined with 3 x 4
 *           gives (2 + 12) / 1 = 14.
 */
typedef struct {
    double sx; /* sum of x; wavg: of the weights */
    double sy;
    double sxx;
    double sxy; /* wsum and wavg: of weight x value */
    double syy; /* sums that a family does not take are 0 */
    qvo_seq_count_t count;
} qvo_seq_bin_agg_context_t;

#define QVO_SEQ_DECLARE_AGGREGATE(name)                                                                 \
    QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right); \
    QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator);                                           \
    QVO_API QVO_RET name##_merge(qvo_seq_iterator_h iterator, qvo_seq_iterator_h other);
#define QVO_SEQ_DECLARE(type)                      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cov_##type)  \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_corr_##type) \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_wsum_##type) \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_wavg_##type)
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
#undef QVO_SEQ_DECLARE_AGGREGATE

/* ==== aggregate/window ========================================================================= */

/*
 * qvo_seq_window_agg_sum_<type>, qvo_seq_window_agg_avg_<type>, qvo_seq_window_agg_min_<type>,
 * qvo_seq_window_agg_max_<type>, qvo_seq_window_agg_var_<type>, qvo_seq_window_agg_var_samp_<type>,
 * qvo_seq_window_agg_dev_<type>, qvo_seq_window_agg_dev_samp_<type>, qvo_seq_window_agg_ema_<type>,
 * qvo_seq_window_agg_atr_<type> (result, input, interval)
 *
 * At every position: an aggregate of a window of `interval` values, or a smoothed value.
 * Elements  The 11 fixed types. sum: as for qvo_seq_agg_sum. avg and var: double, for datetime
 *           datetime. min, max: the input's. The others: double.
 *           The window slides from call to call of `next`, not within one: deliberately, all values of
 *           a call pass through the same slot of the history, that of next_seq_no before the call
 *           modulo interval. A sum of interval 2 over 1, 2, 3, 4 in one call gives 1, 2, 3, 4 and not
 *           1, 3, 5, 7. The history starts as zeros, and the divisor n is interval from the start: an
 *           avg of interval 4 begins at 8 / 4 = 2 for the value 8, and a min of positive values at 0.
 *           With S and Q the running sums of values and squares: avg S / n, var (Q - S x S / n) / n,
 *           dev its root; the sample forms take n - 1 for n, also inside the bracket (of interval 3,
 *           var_samp begins at (36 - 36 / 2) / 2 = 9 for the value 6), and divide by 0 at interval 1.
 *           S is a 64-bit integer for avg and var of datetime (S x S / n in integers too, the result
 *           truncated) and for integer sums, else a double.
 *           ema: in the first call the values themselves, deliberately; then smoothed =
 *           (1 - a) x smoothed + a x value with a = 2 / (interval + 1). atr: smoothed =
 *           (smoothed x (k - 1) + value) / k with k = next_seq_no before the call + 1, at most interval.
 *           NaN: S and Q stay NaN once one has entered. min and max do not take one, but a search of
 *           the history that starts with a NaN keeps it, from then on.
 * Runs      One result element of run 1 for every position of the input.
 * Ends      With the input.
 * Parameters  interval: 1 to 208 for types of 1 byte, 104 for 2, 52 for 4, 26 for 8. With 0 the
 *           first `next` ends the process with the divide fault.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED, then QVO_E_ILLEGAL_PARAM for a larger interval.
 *           After an operand's error next_seq_no is what it was, but the window holds what was read.
 */
#define QVO_SEQ_DECLARE_AGGREGATE(name)                                                             \
    QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t interval); \
    QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator);                                       \
    QVO_API QVO_RET name##_reset(qvo_seq_iterator_h iterator);
#define QVO_SEQ_DECLARE(type)                                     \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_sum_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_avg_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_min_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_max_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_var_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_var_samp_##type) \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_dev_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_dev_samp_##type) \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_ema_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_window_agg_atr_##type)
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
#undef QVO_SEQ_DECLARE_AGGREGATE

/* ==== aggregate/cumulative ===================================================================== */

/*
 * qvo_seq_cum_agg_sum_<type>, qvo_seq_cum_agg_avg_<type>, qvo_seq_cum_agg_var_<type>,
 * qvo_seq_cum_agg_var_samp_<type>, qvo_seq_cum_agg_dev_<type>, qvo_seq_cum_agg_dev_samp_<type>,
 * qvo_seq_cum_agg_prd_<type>, qvo_seq_cum_agg_max_<type>, qvo_seq_cum_agg_min_<type> (result, input)
 *
 * At every position: the aggregate of all values up to it.
 * Elements  The 11 fixed types. sum: int8, uint8, double, for datetime double too. avg: double. var, dev
 *           and their sample forms, prd: int8, uint8, double, datetime. max, min: the input's.
 *           Integer sums and products wrap in 64 bits. The statistics are computed in double and
 *           truncated to an integer result: var of the int4 values 1 and 2 is 0 and 0.25, delivered as
 *           0 and 0. The first result of var and dev is 0.
 *           Deliberately, next_seq_no counts twice, at every step and once more at the end of a call:
 *           it is 6 after a call over 3 values. The statistics take it as their number n of values,
 *           which therefore runs ahead from the second call on: after a first call of 455 values, avg
 *           takes n = 911 for the 456th. avg is carried on as (value + (n - 1) x avg) / n; var is
 *           (Q - S x S / n) / n; the sample forms take n - 1 for n, also inside the bracket: 1 and 3 give 0
 *           and (10 - 16 / 1) / 1 = -6.
 *           NaN: max and min keep a first one and skip others; the rest stays NaN from then on.
 * Runs      One result element of run 1 for every position of the input. The first one takes element 0
 *           of the input's tile, also if the input has been read from before.
 * Ends      With the input.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed. After an
 *           operand's error the steps taken stay counted and folded.
 */
#define QVO_SEQ_DECLARE_AGGREGATE(name)                                        \
    QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input); \
    QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator);
#define QVO_SEQ_DECLARE(type)                                  \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cum_agg_sum_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cum_agg_avg_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cum_agg_var_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cum_agg_var_samp_##type) \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cum_agg_dev_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cum_agg_dev_samp_##type) \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cum_agg_prd_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cum_agg_max_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_cum_agg_min_##type)
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
#undef QVO_SEQ_DECLARE_AGGREGATE

/* ==== aggregate/group ========================================================================== */

/*
 * qvo_seq_group_agg_max_<type>, qvo_seq_group_agg_min_<type>, qvo_seq_group_agg_first_<type>,
 * qvo_seq_group_agg_last_<type>, qvo_seq_group_agg_sum_<type>, qvo_seq_group_agg_avg_<type>,
 * qvo_seq_group_agg_var_<type>, qvo_seq_group_agg_var_samp_<type>, qvo_seq_group_agg_dev_<type>,
 * qvo_seq_group_agg_dev_samp_<type> (result, input, group_by)
 *
 * One aggregate of `input` for each group: a stretch of positions over which `group_by` keeps its value. A key that
 * comes again after another one opens a new group: keys 1, 1, 2, 2, 1 make three. See aggregate/hash for keys in any
 * order.
 * Elements  The 11 fixed types; max, min, first, last deliver the same type; sum int8 or uint8 (wrapping), double,
 *           datetime; avg double, datetime (truncated); var, var_samp, dev, dev_samp double. group_by: any type,
 *           compared by its bytes (0.0 and -0.0 are different keys, a NaN equals itself). Deliberately, products of
 *           integers in avg and the var family are taken as unsigned (avg of int4 -1 is 18446744073709551616.0),
 *           products of float and run are formed in single precision, and the sample forms take n - 1 for n throughout
 *           (1 and 3 give -6.0; a single value gives 0.0). max and min keep a NaN that opens a group and pass over one
 *           that comes later.
 * Runs      Folded in one step per overlap; results have run 1. A step without positions, from a run of 0, opens no
 *           group: the next one starts over.
 * Ends      With the shorter operand; the open group is delivered then.
 * Errors    QVO_E_ILLEGAL_TYPE for `input` (group_by is not checked); QVO_E_SEQ_BOUNDED for `input`, if the binding
 *           check is on, and for group_by, deliberately whether it is on or not: a key sequence feeds one group
 *           aggregate only. That leaves `input` marked. QVO_E_ILLEGAL_PARAM for keys wider than 208 bytes, with both
 *           marked; from next, if they turn out to be. An operand's error drops the groups of that call; the open
 *           group stays.
 * Keys of widths other than 1, 2, 4 and 8 are deliberately looked at in another place: where a key element begins, the
 * element of its tile whose index is the number of groups that this call has delivered, and not the current one: 3-byte
 * keys abc, xyz of one tile are both looked at as abc, and make one group. Use qvo_seq_hash to make 4-byte keys of
 * wider ones. No key beyond the tile is looked at: a call delivers at most 4096 / width groups then.
 *
 * qvo_seq_group_agg_wavg_<type> (result, left, right, group_by)
 *
 * Weighted average: the sum of left x right x positions, divided, deliberately, by left x positions of the group's last
 * step alone. left 2, 4 and right 1, 1 in one group give (2 + 4) / 4 = 1.
 * Elements  The 11 fixed types, left and right of the same; int8, uint8, double or datetime, truncated towards zero.
 * Runs, Ends  As above, over three operands.
 * Errors    QVO_E_ILLEGAL_TYPE; QVO_E_SEQ_BOUNDED, with nothing changed; QVO_E_ILLEGAL_PARAM as above.
 *
 * qvo_seq_group_agg_count (result, group_by)
 *
 * The number of positions of each group, uint8; keys 7 with run 3, then 8, give 3 and 1.
 * Runs, Ends  The same groups. Elements are taken whole, whatever group_by's rle_offs; an empty tile is not checked
 *           for. Keys of all widths are compared where they are.
 * Errors    QVO_E_SEQ_BOUNDED; QVO_E_ILLEGAL_PARAM for keys wider than 208 bytes, also from next.
 */
#define QVO_SEQ_DECLARE(type)                                                                              \
    QVO_API QVO_RET qvo_seq_group_agg_max_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,      \
                                                 qvo_seq_iterator_h group_by);                             \
    QVO_API QVO_RET qvo_seq_group_agg_min_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,      \
                                                 qvo_seq_iterator_h group_by);                             \
    QVO_API QVO_RET qvo_seq_group_agg_first_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,    \
                                                   qvo_seq_iterator_h group_by);                           \
    QVO_API QVO_RET qvo_seq_group_agg_last_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,     \
                                                  qvo_seq_iterator_h group_by);                            \
    QVO_API QVO_RET qvo_seq_group_agg_sum_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,      \
                                                 qvo_seq_iterator_h group_by);                             \
    QVO_API QVO_RET qvo_seq_group_agg_avg_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,      \
                                                 qvo_seq_iterator_h group_by);                             \
    QVO_API QVO_RET qvo_seq_group_agg_var_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,      \
                                                 qvo_seq_iterator_h group_by);                             \
    QVO_API QVO_RET qvo_seq_group_agg_var_samp_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, \
                                                      qvo_seq_iterator_h group_by);                        \
    QVO_API QVO_RET qvo_seq_group_agg_dev_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input,      \
                                                 qvo_seq_iterator_h group_by);                             \
    QVO_API QVO_RET qvo_seq_group_agg_dev_samp_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, \
                                                      qvo_seq_iterator_h group_by);                        \
    QVO_API QVO_RET qvo_seq_group_agg_wavg_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left,      \
                                                  qvo_seq_iterator_h right, qvo_seq_iterator_h group_by);  \
    QVO_API QVO_RET qvo_seq_group_agg_max_##type##_next(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_group_agg_min_##type##_next(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_group_agg_first_##type##_next(qvo_seq_iterator_h iterator);                    \
    QVO_API QVO_RET qvo_seq_group_agg_last_##type##_next(qvo_seq_iterator_h iterator);                     \
    QVO_API QVO_RET qvo_seq_group_agg_sum_##type##_next(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_group_agg_avg_##type##_next(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_group_agg_var_##type##_next(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_group_agg_var_samp_##type##_next(qvo_seq_iterator_h iterator);                 \
    QVO_API QVO_RET qvo_seq_group_agg_dev_##type##_next(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_group_agg_dev_samp_##type##_next(qvo_seq_iterator_h iterator);                 \
    QVO_API QVO_RET qvo_seq_group_agg_wavg_##type##_next(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_group_agg_count(qvo_seq_iterator_h result, qvo_seq_iterator_h group_by);
QVO_API QVO_RET qvo_seq_group_agg_count_next(qvo_seq_iterator_h iterator);

/* ==== aggregate/grid =========================================================================== */

/*
 * qvo_seq_grid_agg_max_<type>, qvo_seq_grid_agg_min_<type>, qvo_seq_grid_agg_sum_<type>,
 * qvo_seq_grid_agg_avg_<type>, qvo_seq_grid_agg_var_<type>, qvo_seq_grid_agg_var_samp_<type>,
 * qvo_seq_grid_agg_dev_<type>, qvo_seq_grid_agg_dev_samp_<type> (result, input, interval)
 *
 * One element for each cell of `interval` consecutive positions; a last, incomplete cell counts.
 * Elements  The 11 fixed types. The result is deliberately labelled double throughout, which does not
 *           always describe its tiles: max and min hold values of the input's type at its width (max
 *           of int4 delivers up to 819 values of 4 bytes a tile: read arr_int4), sums of integers and
 *           datetime hold 64-bit integers. The other tiles hold doubles. MAX AND MIN OF TYPES NARROWER THAN 8
 *           BYTES ARE NEVER AN OPERAND: a tile of more than 455 stops the process, and a smaller one is taken
 *           for doubles.
 *           With n the positions of the cell, S and Q the sums of values and squares: avg S / n, var
 *           (Q - S x S / n) / n, dev its root; the sample forms take n - 1 for n, also inside the
 *           bracket, and 0 for n = 1: 1 and 3 give (10 - 16 / 1) / 1 = -6. Integer sums wrap in 64 bits,
 *           S and Q of the statistics are doubles. NaN: as for qvo_seq_agg_max, in each cell.
 * Runs      Runs are split where a cell ends. Result elements have run 1.
 * Ends      With the input.
 * Parameters  interval: any; with 0 the whole input is one cell.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED; in both cases nothing has changed. After an
 *           operand's error the cells that the call had filled are lost, but stay counted.
 */
#define QVO_SEQ_DECLARE_AGGREGATE(name)                                                             \
    QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t interval); \
    QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator);
#define QVO_SEQ_DECLARE(type)                                   \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_grid_agg_max_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_grid_agg_min_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_grid_agg_sum_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_grid_agg_avg_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_grid_agg_var_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_grid_agg_var_samp_##type) \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_grid_agg_dev_##type)      \
    QVO_SEQ_DECLARE_AGGREGATE(qvo_seq_grid_agg_dev_samp_##type)
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
#undef QVO_SEQ_DECLARE_AGGREGATE

/* ==== aggregate/top ============================================================================ */

/* The context of the selections: how many values to keep. */
typedef struct {
    qvo_size_t top;
} qvo_seq_top_context_t;

/*
 * qvo_seq_top_max_<type>, qvo_seq_top_min_<type> (result, input, top)
 *
 * The `top` largest or smallest values of a sequence, best first, as one tile.
 * Elements  The 11 fixed types; the result has the same type. Of equal values the one that came first stays first. A
 *           NaN is taken while there is room, after all values kept so far, and never moves values; later values are
 *           placed by a binary search that passes it.
 * Runs      Deliberately ignored: a run is one candidate, so that 4 with run 3 is kept once. Results have run 1.
 * Ends      After one tile; no input, or top 0, gives no result.
 * Parameters  top: up to the capacity of a tile: 2048, 1365, 819 and 455 for widths 1, 2, 4 and 8.
 * Errors    QVO_E_ILLEGAL_TYPE; QVO_E_SEQ_BOUNDED; QVO_E_ILLEGAL_PARAM, with the operand marked. An operand's error
 *           drops what was kept. An empty tile is not checked for.
 * Parts     prepare and merge. Deliberately, merging drops a value of the other part that this one has as well: top 3
 *           of [9, 5] and [5, 2] is 9, 5, 2. Merging with a part that has no values stops the process.
 *
 * qvo_seq_top_pos_max_<type>, qvo_seq_top_pos_min_<type> (result, input, top)
 *
 * The positions of those values, in the same order, counted from 0 in elements: deliberately, runs are not expanded.
 * Of 8 with run 3, then 9, the two largest are at 1 and 0.
 * Elements  The same; the result is uint8.
 * Parameters  top: up to 2048, 1365 or 819 as above, but at most 455, the capacity of the result.
 * Errors    As above; after an operand's error tile_size is the number of positions found, and the second next ends,
 *           unless none had been found: then it goes on pulling.
 *           There is no prepare and no merge. At the end tile_size is 0.
 */
#define QVO_SEQ_DECLARE(type)                                                                                        \
    QVO_API QVO_RET qvo_seq_top_max_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t top);     \
    QVO_API QVO_RET qvo_seq_top_min_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t top);     \
    QVO_API QVO_RET qvo_seq_top_pos_max_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t top); \
    QVO_API QVO_RET qvo_seq_top_pos_min_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t top); \
    QVO_API QVO_RET qvo_seq_top_max_##type##_next(qvo_seq_iterator_h iterator);                                      \
    QVO_API QVO_RET qvo_seq_top_min_##type##_next(qvo_seq_iterator_h iterator);                                      \
    QVO_API QVO_RET qvo_seq_top_pos_max_##type##_next(qvo_seq_iterator_h iterator);                                  \
    QVO_API QVO_RET qvo_seq_top_pos_min_##type##_next(qvo_seq_iterator_h iterator);                                  \
    QVO_API QVO_RET qvo_seq_top_max_##type##_merge(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);                  \
    QVO_API QVO_RET qvo_seq_top_min_##type##_merge(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== aggregate/distinct ======================================================================= */

/* MurmurHash3, x86, 32 bits, of `len` bytes. The library hashes with the seed 377307. */
QVO_API qvo_uint4 murmur_hash3_32(const void* key, qvo_size_t len, qvo_uint4 seed);

/* A sketch of the distinct values seen: register j is the largest rank among the hashes whose top seven
   bits are j, or 0. The rank is the number of trailing zero bits and 1, at most 26. */
typedef struct {
    qvo_uint1 max_zero_bits[128];
} qvo_seq_agg_approxdc_context_t;

/* Enters one hash into a sketch (128 registers); one value of `size` bytes; the registers of another sketch. */
QVO_API void calculate_zero_bits(qvo_uint4 h, qvo_uint1* max_zero_bits);
QVO_API void calculate_hash_functions(const void* val, qvo_size_t size, qvo_uint1* max_zero_bits);
QVO_API void merge_zero_bits(qvo_uint1* dst_max_zero_bits, const qvo_uint1* src_max_zero_bits);

/* The estimate that a sketch gives; 0 for an empty sketch, and where the formula gives no number. */
QVO_API qvo_uint4 approximate_distinct_count(const qvo_uint1* max_zero_bits);

/*
 * qvo_seq_agg_approxdc (result, input), qvo_seq_agg_approxdc_hash (result, input)
 *
 * Estimate of the number of distinct values of a sequence, from a HyperLogLog sketch of 128 registers. The first
 * hashes the elements (murmur_hash3_32 with 377307); the second takes the elements as such hashes, as
 * qvo_seq_hash delivers them, and gives the same estimate.
 * Elements  approxdc: input of any type and width, which is not checked. approxdc_hash: uint4. Result uint4.
 * Runs      Ignored: a repeated value counts once.
 * Ends      After one element, which comes for an empty input too: 0. Reset and pull again to count again.
 * Errors    approxdc_hash: QVO_E_ILLEGAL_TYPE; both: QVO_E_SEQ_BOUNDED. An operand's error drops the sketch. An
 *           empty tile is not checked for.
 * Parts     approxdc has prepare and merge: merging gives the estimate of the union, and a part that was never
 *           computed changes nothing. approxdc_hash has neither.
 */
QVO_API QVO_RET qvo_seq_agg_approxdc(qvo_seq_iterator_h result, qvo_seq_iterator_h input);
QVO_API QVO_RET qvo_seq_agg_approxdc_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_agg_approxdc_merge(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);
QVO_API QVO_RET qvo_seq_agg_approxdc_hash(qvo_seq_iterator_h result, qvo_seq_iterator_h input);
QVO_API QVO_RET qvo_seq_agg_approxdc_hash_next(qvo_seq_iterator_h iterator);

/*
 * qvo_seq_group_agg_approxdc, qvo_seq_group_agg_approxdc_hash (result, input, group_by)
 *
 * The same estimate for each group of the group aggregates (see aggregate/group): one uint4 element of run 1 for each
 * stretch of equal keys.
 * Elements  As above; group_by of any type.
 * Runs, Ends  As for the group aggregates; an element counts once, whatever its run.
 * Errors    approxdc_hash: QVO_E_ILLEGAL_TYPE; both: QVO_E_SEQ_BOUNDED for `input`, then QVO_E_ILLEGAL_PARAM for
 *           keys wider than 40 bytes, with `input` marked bound; also from next. Deliberately, group_by is neither
 *           checked nor marked.
 */
QVO_API QVO_RET qvo_seq_group_agg_approxdc(qvo_seq_iterator_h result, qvo_seq_iterator_h input,
                                           qvo_seq_iterator_h group_by);
QVO_API QVO_RET qvo_seq_group_agg_approxdc_next(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_group_agg_approxdc_hash(qvo_seq_iterator_h result, qvo_seq_iterator_h input,
                                                qvo_seq_iterator_h group_by);
QVO_API QVO_RET qvo_seq_group_agg_approxdc_hash_next(qvo_seq_iterator_h iterator);

/* ==== aggregate/hash =========================================================================== */

/*
 * The tables of the hash aggregates. Every chain is in ascending order of keys: keys of up to 8 bytes
 * as unsigned 64-bit numbers (their bytes in a zeroed word), longer ones by their bytes. Elements and
 * long keys are carved out of buckets of 40968 bytes.
 */
typedef union {
    qvo_uint8 val; /* a key of up to 8 bytes; in `agg`: the bytes of a value of the aggregate's type */
    void* ptr;     /* a longer key; in `agg`: a sketch */
} qvo_seq_key_t;

typedef struct qvo_seq_hash_elem {
    qvo_seq_key_t grp;                   /* the key of the group */
    qvo_seq_key_t agg;                   /* its running aggregate */
    struct qvo_seq_hash_elem* collision; /* next in the chain */
    qvo_seq_count_t count;               /* input positions folded into the group */
    qvo_uint4 grp_hash;                  /* the hash of the key */
    qvo_uint4 agg_hash;                  /* pairs of the duplicate counts: the hash of key and value */
} qvo_seq_hash_elem_t;

typedef struct qvo_seq_hash_bucket {
    struct qvo_seq_hash_bucket* next; /* the bucket taken before this one */
    union {
        qvo_seq_hash_elem_t elems[1024];
        char keys[40960];
    } u;
} qvo_seq_hash_bucket_t;

typedef struct {
    qvo_size_t table_size;              /* chains */
    qvo_size_t table_used;              /* groups */
    qvo_seq_hash_bucket_t* buckets;     /* newest first */
    qvo_seq_hash_bucket_t* last_bucket; /* the first one taken */
    qvo_seq_hash_elem_t** table;        /* heads of the chains */
} qvo_seq_hash_t;

struct qvo_seq_hash_iterator_context;
typedef struct {
    qvo_seq_hash_t* hash;                          /* null until it is built */
    struct qvo_seq_hash_iterator_context* refs[2]; /* contexts of the two results: aggregate, group */
} qvo_seq_shared_hash_t;

/* The context of either result. */
typedef struct qvo_seq_hash_iterator_context {
    qvo_size_t n_groups;            /* initial number of chains */
    qvo_size_t chain_no;            /* the next chain to read */
    qvo_seq_hash_elem_t* curr_elem; /* the element to deliver next; null: the head of that chain */
    qvo_seq_shared_hash_t* shared;
    qvo_seq_hash_t* private_hash; /* the table that this iterator has built */
} qvo_seq_hash_iterator_context_t;

/* Groups per chain at which a table grows to the next prime, and the number of chains for n_groups 0. The host
   may set them: 1.0 and 1361 initially. Keep the factor between 0.5 and 10: with a smaller one a table may
   grow with each new group, up to its largest size, or not at all, as it does with 0, a negative number and NaN. */
extern QVO_API double qvo_seq_hash_table_load_factor;
extern QVO_API qvo_size_t qvo_seq_hash_table_init_size;

/*
 * qvo_seq_hash (result, left, right)
 *
 * The 32-bit hash of each element of `left`: murmur_hash3_32 over its bytes with the seed 377307 or, if `right` is not
 * null, with the element of `right` at the same position, so that several keys chain into one hash:
 * qvo_seq_hash(&a, x, NULL); qvo_seq_hash(&ab, y, &a).
 * Elements  left: any type; right: uint4. Result uint4.
 * Runs      Without right each element keeps its run byte; with it, one element per overlap. A call delivers at most
 *           as many elements as a tile of `left` holds, and never more than 819.
 * Ends      With the shorter operand.
 * Errors    QVO_E_ILLEGAL_TYPE for `right`, then QVO_E_SEQ_BOUNDED (`right` first); nothing has changed.
 */
QVO_API QVO_RET qvo_seq_hash(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right);
QVO_API QVO_RET qvo_seq_hash_next(qvo_seq_iterator_h iterator);

/*
 * qvo_seq_hash_agg_max_<type>, qvo_seq_hash_agg_min_<type>, qvo_seq_hash_agg_sum_<type>, qvo_seq_hash_agg_avg_<type>,
 * qvo_seq_hash_agg_count_uint8, qvo_seq_hash_agg_approxdc (result_agg, result_grp, input, group_by, n_groups),
 * qvo_seq_hash_agg_count (result_agg, result_grp, group_by, n_groups)
 *
 * Aggregates of the values of `input` by the values of `group_by`, wherever equal keys occur. Two results: the
 * aggregates and the keys; the k-th aggregate belongs to the k-th key. The first pull of either reads both operands
 * to the end and builds one table, from which both then read, each at its own pace. count counts positions of the
 * keys; approxdc estimates the number of distinct values (see aggregate/distinct).
 * Elements  input: the member's type; approxdc: any; count_uint8: uint8, or no input (null), as count passes it.
 *           group_by: any type and width, compared by its bytes (0.0 and -0.0 are different keys). Aggregates: max and
 *           min of the same type; sum int8 or uint8 (wrapping), double, datetime; avg double, datetime (truncated);
 *           count uint8; approxdc uint4. Deliberately, avg takes products of integers as unsigned: int4 -1 alone gives
 *           18446744073709551616.0. Products of float and run are formed in single precision. A NaN that comes first
 *           stays the maximum or minimum; one that comes later is passed over.
 * Runs      A value counts for its overlap with the key's run. Results have run 1.
 * Ends      After the last group; the input ends with the shorter operand. The order is that of the table: chains by
 *           hash mod the number of chains, keys in ascending order within a chain.
 * Parameters  n_groups: expected groups; 0 stands for qvo_seq_hash_table_init_size. The first prime of every other one
 *           in the host's table that is not smaller becomes the number of chains; the table grows by itself. A chain
 *           takes 8 bytes, all of them at the start: 10^9 groups 11 GB. A group takes 40 bytes.
 * Errors    QVO_E_ILLEGAL_PARAM without an input, but for count; QVO_E_ILLEGAL_TYPE; QVO_E_SEQ_BOUNDED, for input and
 *           then for group_by, which leaves input marked; QVO_E_NOMEM, with both marked. next, prepare: an operand's
 *           error, QVO_E_NOMEM, or QVO_E_ILLEGAL_TYPE for keys that change their width after the first tile. The
 *           operands then stay where they were, and the next pull starts over with an empty table and what they still
 *           deliver: rewind them first to get the whole.
 * Keys      are as wide as those of the first tile; result_grp has that width once the table is built. Hashes have a
 *           fixed seed and chains are searched from their start: with keys that someone has chosen to share a chain,
 *           time grows with the square of their number.
 * Parts     result_agg has prepare, which builds the table, and merge, which moves all groups of another one's table
 *           into its own and leaves that one without a table. Both are of the same member, with keys of the same width.
 *           What is not built yet is built first. A merge that finds no memory to grow the table is complete all the
 *           same and returns QVO_E_NOMEM; one that finds none to build a side has merged nothing. Call prepare of both
 *           first, and QVO_E_NOMEM of merge means the former.
 * Lifetime  The table is kept, also by reset, until it is released with qvo_seq_release_hash or qvo_seq_free_hash;
 *           both records must exist until then. Keep the operands until the table is built. The hooks get the
 *           iterator that built the table when a block is taken, and the one that it is released by when it goes back,
 *           also for blocks that came with a merge.
 */
#define QVO_SEQ_DECLARE(type)                                                                                 \
    QVO_API QVO_RET qvo_seq_hash_agg_max_##type(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp, \
                                                qvo_seq_iterator_h input, qvo_seq_iterator_h group_by,        \
                                                qvo_size_t n_groups);                                         \
    QVO_API QVO_RET qvo_seq_hash_agg_min_##type(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp, \
                                                qvo_seq_iterator_h input, qvo_seq_iterator_h group_by,        \
                                                qvo_size_t n_groups);                                         \
    QVO_API QVO_RET qvo_seq_hash_agg_sum_##type(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp, \
                                                qvo_seq_iterator_h input, qvo_seq_iterator_h group_by,        \
                                                qvo_size_t n_groups);                                         \
    QVO_API QVO_RET qvo_seq_hash_agg_avg_##type(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp, \
                                                qvo_seq_iterator_h input, qvo_seq_iterator_h group_by,        \
                                                qvo_size_t n_groups);                                         \
    QVO_API QVO_RET qvo_seq_hash_initialize_max_##type(qvo_seq_iterator_h iterator);                          \
    QVO_API QVO_RET qvo_seq_hash_initialize_min_##type(qvo_seq_iterator_h iterator);                          \
    QVO_API QVO_RET qvo_seq_hash_initialize_sum_##type(qvo_seq_iterator_h iterator);                          \
    QVO_API QVO_RET qvo_seq_hash_initialize_avg_##type(qvo_seq_iterator_h iterator);                          \
    QVO_API QVO_RET qvo_seq_hash_merge_max_##type(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);            \
    QVO_API QVO_RET qvo_seq_hash_merge_min_##type(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);            \
    QVO_API QVO_RET qvo_seq_hash_merge_sum_##type(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);            \
    QVO_API QVO_RET qvo_seq_hash_merge_avg_##type(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);            \
    QVO_API QVO_RET qvo_seq_hash_agg_max_##type##_next_agg(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_hash_agg_min_##type##_next_agg(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_hash_agg_sum_##type##_next_agg(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_hash_agg_avg_##type##_next_agg(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_hash_agg_max_##type##_next_grp(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_hash_agg_min_##type##_next_grp(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_hash_agg_sum_##type##_next_grp(qvo_seq_iterator_h iterator);                      \
    QVO_API QVO_RET qvo_seq_hash_agg_avg_##type##_next_grp(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE
QVO_API QVO_RET qvo_seq_hash_agg_count(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp,
                                       qvo_seq_iterator_h group_by, qvo_size_t n_groups);
QVO_API QVO_RET qvo_seq_hash_agg_count_uint8(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp,
                                             qvo_seq_iterator_h input, qvo_seq_iterator_h group_by,
                                             qvo_size_t n_groups);
QVO_API QVO_RET qvo_seq_hash_initialize_count_uint8(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_hash_merge_count_uint8(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);
QVO_API QVO_RET qvo_seq_hash_agg_count_uint8_next_agg(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_hash_agg_count_uint8_next_grp(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_hash_agg_approxdc(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp,
                                          qvo_seq_iterator_h input, qvo_seq_iterator_h group_by, qvo_size_t n_groups);
QVO_API QVO_RET qvo_seq_hash_initialize_approxdc(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_hash_merge_approxdc(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);
QVO_API QVO_RET qvo_seq_hash_agg_approxdc_next_agg(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_hash_agg_approxdc_next_grp(qvo_seq_iterator_h iterator);

/* The `reset` of every result of a hash aggregate: it is read from the start again, from the same table. The operands
   are left alone. */
QVO_API QVO_RET qvo_seq_hash_agg_reset(qvo_seq_iterator_h iterator);

/* 1 if the iterator is a result of a hash aggregate, else 0. (The name is spelled like this.) */
QVO_API qvo_bool qvo_seq_is_hash_aggreate(qvo_seq_iterator_h iterator);

/*
 * Release all memory of a hash aggregate, through either of its results; both are then without a table and must be
 * constructed anew. A second call finds nothing to release: release_hash then stops the process as if an invariant
 * were broken, free_hash returns 0 (else 1).
 */
QVO_API void qvo_seq_release_hash(qvo_seq_iterator_h iterator);
QVO_API int qvo_seq_free_hash(qvo_seq_iterator_h iterator);

/* ==== aggregate/hash_distinct ================================================================== */

/* The context of either result of the duplicate counts. */
typedef struct {
    qvo_seq_hash_iterator_context_t groups;
    qvo_size_t n_pairs;         /* initial number of chains of the pair table */
    qvo_size_t min_occurrences; /* from which on a value counts */
    qvo_seq_hash_t* agg_hash;   /* the pairs of group and value, while they are needed */
} qvo_seq_dup_hash_iterator_context_t;

/*
 * qvo_seq_hash_agg_dup_count (result_cnt, result_grp, input, group_by, n_groups, n_pairs, min_occurrences),
 * qvo_seq_hash_agg_distinct_count (result_cnt, result_grp, input, group_by, n_groups, n_pairs)
 *
 * For each value of `group_by`, the number of distinct values of `input` that occur at min_occurrences or more of its
 * positions; distinct_count: at one or more. Two results, in step, as for the hash aggregates.
 * Elements  input, group_by: any type and width, compared by their bytes. Counts uint8.
 * Runs, Ends  As for the hash aggregates. Positions are counted with runs expanded.
 * Parameters  n_groups, n_pairs: expected groups, and pairs of group and value; 0 as for the hash aggregates. With
 *           min_occurrences 0 deliberately no value ever crosses the threshold, and all counts are 0.
 * Errors    QVO_E_SEQ_BOUNDED; QVO_E_NOMEM, with both operands marked. next, prepare: as for the hash aggregates.
 * Parts     result_cnt has prepare, which keeps the pairs until the first next, and merge, which recombines them: a
 *           value that crosses the threshold only in the union counts once. Where either side has no pairs any more,
 *           counts of the same group are added.
 * Lifetime  As for the hash aggregates; the pairs are released with the rest.
 */
QVO_API QVO_RET qvo_seq_hash_agg_dup_count(qvo_seq_iterator_h result_cnt, qvo_seq_iterator_h result_grp,
                                           qvo_seq_iterator_h input, qvo_seq_iterator_h group_by, qvo_size_t n_groups,
                                           qvo_size_t n_pairs, qvo_size_t min_occurrences);
QVO_API QVO_RET qvo_seq_hash_agg_distinct_count(qvo_seq_iterator_h result_cnt, qvo_seq_iterator_h result_grp,
                                                qvo_seq_iterator_h input, qvo_seq_iterator_h group_by,
                                                qvo_size_t n_groups, qvo_size_t n_pairs);
/* Builds the tables and keeps the pairs; builds them and releases the pairs. */
QVO_API QVO_RET qvo_seq_dup_hash_prepare(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_dup_hash_initialize(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_dup_hash_merge(qvo_seq_iterator_h dst, qvo_seq_iterator_h src);
QVO_API QVO_RET qvo_seq_dup_hash_next_count(qvo_seq_iterator_h iterator);
QVO_API QVO_RET qvo_seq_dup_hash_next_grp(qvo_seq_iterator_h iterator);

/* ==== order/sort =============================================================================== */

/*
 * qvo_seq_sort_<type> (data, permutation, n_elems, order)
 *
 * Sorts an array without moving it: fills permutation with the positions 0 .. n_elems-1 such that
 * data[permutation[0]], data[permutation[1]], ... are in order. [3, 1, 2] gives [1, 2, 0].
 * Elements  The 11 fixed types. Values are compared by `greater than` only, so -0.0 and 0.0 are equal and
 *           a NaN is neither greater nor less than anything: with NaNs in the array the permutation is
 *           still one, but neither side of a NaN need be in order.
 * Parameters  permutation has n_elems entries. order is one of
 *             QVO_SEQ_ASC_ORDER   ascending;
 *             QVO_SEQ_DESC_ORDER  exactly the ascending permutation backwards, so equal values come in the
 *                                 reverse of their ascending order: [1, 2, 2, 0] gives [2, 1, 0, 3];
 *             QVO_SEQ_NO_ORDER    (and any other value) ascending, but that values which never increase
 *                                 stay as they are: [3, 2, 1] gives [0, 1, 2], yet [3, 1, 2] gives [1, 2, 0].
 * Errors    None: always QVO_S_OK.
 *
 * Deliberate: slices that are no longer than the ascending start of the array are left unsorted. A slice
 * is a part of the permutation that the sort has split off; before it works on one of n > 50 positions,
 * it tests whether the first n values of the array, in order of storage, are ascending. If so it takes the
 * slice for sorted. An array that begins with more than 50 ascending values, and does not ascend to its
 * end, may thus come out unsorted: 1000 values of which the first 900 ascend are split around one pivot, and
 * then mostly left. Handed in backwards, such a column is sorted.
 *
 * The sort is a quicksort with pivots at random positions, on heap sort when it gets too deep: O(n log n) in
 * any case, and linear in arrays that ascend, or descend, as a whole. It allocates nothing. The generator
 * of the pivots starts at 123456789 when the library is loaded, one for each type, and is never reset: the
 * order of equal values depends on the pivots, and so on all earlier sorts of the type in the process.
 * Threads may sort at the same time; equal values may then come out in another order.
 */
#define QVO_SEQ_DECLARE(type)                                                                                  \
    QVO_API QVO_RET qvo_seq_sort_##type(const qvo_##type* data, qvo_seq_no_t* permutation, qvo_size_t n_elems, \
                                        qvo_seq_order_t order);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/*
 * sorted_<type>, rev_sorted_<type>, init_permutation_<type>, insertion_sort_<type>, heap_sort_<type>,
 * median_estimate_<type>, qloop_<type> (data, permutation, n_elems)
 *
 * The steps of qvo_seq_sort_<type>, for hosts that sort in pieces. A permutation is here any array of
 * positions in data. sorted and rev_sorted: 1 if no value is greater (less) than the next, else 0.
 * init_permutation: 0, 1, 2, ...; in QVO_SEQ_DESC_ORDER backwards. insertion_sort: brings the smallest to the
 * front and inserts the rest. heap_sort: not stable. median_estimate, for 3 positions and more: draws a
 * pivot, and of it and the values at entry 1 and at the last entry puts the median first, the smallest second
 * and the largest last. qloop: the quicksort; after d splits one within the other it goes on with heap sort, so
 * d bounds its recursion; for the test above it reads the first n_elems values of data.
 * Elements  The 11 fixed types.
 */
#define QVO_SEQ_DECLARE(type)                                                                                   \
    QVO_API qvo_bool sorted_##type(const qvo_##type* data, qvo_size_t n);                                       \
    QVO_API qvo_bool rev_sorted_##type(const qvo_##type* data, qvo_size_t n);                                   \
    QVO_API void init_permutation_##type(qvo_seq_no_t* permutation, qvo_size_t n_elems, qvo_seq_order_t order); \
    QVO_API void insertion_sort_##type(const qvo_##type* data, qvo_seq_no_t* permutation, qvo_size_t n_elems);  \
    QVO_API void median_estimate_##type(const qvo_##type* data, qvo_seq_no_t* permutation, qvo_size_t n);       \
    QVO_API void heap_sort_##type(const qvo_##type* data, qvo_seq_no_t* permutation, qvo_size_t n_elems);       \
    QVO_API void qloop_##type(const qvo_##type* data, qvo_seq_no_t* permutation, qvo_size_t n_elems, unsigned int d);
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== order/order_by =========================================================================== */

/*
 * qvo_seq_order_by_<type> (result, input, permutation, n_elems, data)
 *
 * The elements of input in the order of a permutation: element i of the result is position permutation[i] of
 * the input. Sort once by the key column (qvo_seq_sort_<type>), then apply the permutation to every column.
 * Elements  The 11 fixed types, and char of any width; the result has the same type and width.
 * Runs      Expanded: every element of the result has run 1. last_seq_no is n_elems - 1.
 * Ends      After n_elems elements: an int4 column of 820 comes as tiles of 819 and 1.
 * Parameters  permutation has n_elems entries below n_elems; they are not checked, and one may occur more
 *           often than once. data is null, or an array of all n_elems values of input in order of storage, as
 *           the sort got it: the input is then not pulled at all.
 * Errors    QVO_E_ILLEGAL_TYPE, with nothing changed. Deliberately without a binding check, and the input is
 *           not marked. The first `next` without data loads n_elems positions of the input into a buffer:
 *           QVO_E_NOMEM; QVO_E_SEQ_BOUNDED if the binding check is on and the input feeds an operator;
 *           QVO_E_ILLEGAL_TYPE if its width has changed since; the
 *           input's error, or QVO_S_CURSOR_END if it is empty. The buffer is then released, and the next call
 *           loads again, from where the input now stands: reset it before. An input that ends with fewer positions is
 *           the fatal stop; one with more is not pulled beyond the tile that holds the last one needed.
 * Lifetime  The permutation is not copied; it stays in place while the iterator is used. A buffer that was
 *           loaded goes with `reset` (after which the input is loaded again) or with qvo_seq_free_buffer. A data
 *           array passes into the iterator's keeping: owned_buf is 1, and qvo_seq_free_buffer hands it to the
 *           release hook. So either take it from qvo_seq_malloc, or do not call qvo_seq_free_buffer.
 */
typedef struct {
    const qvo_seq_no_t* permutation;
    qvo_size_t n_elems;
} qvo_seq_order_by_context; /* in the context words of the iterator */

#define QVO_SEQ_DECLARE_ORDER_BY(type, value_type)                                               \
    QVO_API QVO_RET qvo_seq_order_by_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, \
                                            const qvo_seq_no_t* permutation, qvo_size_t n_elems, \
                                            const value_type* data);                             \
    QVO_API QVO_RET qvo_seq_order_by_##type##_next(qvo_seq_iterator_h iterator);
#define QVO_SEQ_DECLARE(type) QVO_SEQ_DECLARE_ORDER_BY(type, qvo_##type)
QVO_SEQ_FOR_FIXED_TYPES(QVO_SEQ_DECLARE)
QVO_SEQ_DECLARE_ORDER_BY(char, char)
#undef QVO_SEQ_DECLARE
#undef QVO_SEQ_DECLARE_ORDER_BY
QVO_API QVO_RET qvo_seq_order_by_reset(qvo_seq_iterator_h iterator);

/* ==== order/stretch ============================================================================ */

/* The types of the alignment families: those of timestamps, each with all types of values. */
#define QVO_SEQ_FOR_ALIGNED_TYPES(M)       \
    QVO_SEQ_FOR_FIXED_TYPES_WITH(M, uint4) \
    QVO_SEQ_FOR_FIXED_TYPES_WITH(M, uint8) \
    QVO_SEQ_FOR_FIXED_TYPES_WITH(M, datetime)

/*
 * qvo_seq_stretch_<ts>_<type> (result, ts1, ts2, values, filler)
 *
 * Follows the values, which belong to the timestamps ts2, up to the current timestamp of ts1.
 * Deliberate: ts1 is never moved on, so every element is compared with the same timestamp, the current one
 * of ts1. While that is not below the last timestamp taken from ts2 (0 to begin with), each element first
 * takes the next timestamp and the next value; then it delivers the last value taken, or the filler once ts2
 * has ended. ts1 = [5], ts2 = [1, 4, 9, 10], values = [10, 40, 90, 100], filler 0 give 10, 40, 90, 90, 90, ...:
 * a later value comes in before its time. With ts2 = [1, 4] they give 10, 40, 0, 0, 0, ...
 * Elements  ts1 and ts2 are <ts>: uint4, uint8 or datetime. values, filler and the result are one of the 11
 *           fixed types.
 * Runs      values: expanded. ts2: all runs must be 1. ts1: not looked at. Every element of the result has run 1,
 *           and next_seq_no grows at the end of a call.
 * Ends      Deliberately not with ts1 or ts2: one full tile per call, for as long as it is pulled (cut it with
 *           qvo_seq_limit). An empty ts1 ends it, and so do values that end before a timestamp of ts2: the
 *           elements of that call are then dropped.
 * Errors    QVO_E_ILLEGAL_TYPE, then QVO_E_SEQ_BOUNDED, for ts1, ts2, values; in both cases nothing has changed.
 *           `next`: an operand's error drops the elements of that call; timestamps and values that it took stay
 *           taken. A timestamp of ts2 with another run than 1 is the fatal stop.
 *
 * qvo_seq_stretch0_<ts>_<type> (result, ts1, ts2, values, filler)
 *
 * The union of two timelines, ordered by time: for a timestamp of ts2 the next value, for one of ts1 that ts2
 * does not have the filler. ts1 = [1, 3], ts2 = [1, 2], values = [10, 20], filler 0 give 10, 20, 0.
 * Elements  As for stretch.
 * Runs      values: expanded. ts1 and ts2: all runs must be 1. Every element of the result has run 1, and
 *           next_seq_no grows at the end of a call.
 * Ends      With both timelines, if ts2 ends first. Deliberate: once ts1 has ended ts2 is not moved on any more, and
 *           its runs are not looked at; the values go on to their end, which drops the elements of that call.
 *           ts1 = [1], ts2 = [2, 3], values = [10, 20] and 1000 more of them in int4 give the filler and 818
 *           values; the other 184 values are taken by the second call, which returns QVO_S_CURSOR_END. So give
 *           ts1 a last timestamp that is not below any of ts2.
 * Errors    As for stretch. A timestamp of ts1 or ts2 with another run than 1 is the fatal stop, when it is
 *           compared. Timelines that do not ascend are not found out: they give what the rule above makes of them.
 */
#define QVO_SEQ_DECLARE(ts, type)                                                                     \
    typedef struct {                                                                                  \
        qvo_##type default_value;                                                                     \
        qvo_##type next_value;                                                                        \
        qvo_##ts next_timestamp;                                                                      \
        qvo_bool end_of_seq;                                                                          \
    } qvo_seq_stretch_##ts##_##type##_context_t;                                                      \
    typedef struct {                                                                                  \
        qvo_##type default_value;                                                                     \
        qvo_bool left_end;                                                                            \
        qvo_bool right_end;                                                                           \
    } qvo_seq_stretch0_##ts##_##type##_context_t;                                                     \
    QVO_API QVO_RET qvo_seq_stretch_##ts##_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h ts1,  \
                                                  qvo_seq_iterator_h ts2, qvo_seq_iterator_h values,  \
                                                  qvo_##type filler);                                 \
    QVO_API QVO_RET qvo_seq_stretch0_##ts##_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h ts1, \
                                                   qvo_seq_iterator_h ts2, qvo_seq_iterator_h values, \
                                                   qvo_##type filler);                                \
    QVO_API QVO_RET qvo_seq_stretch_##ts##_##type##_next(qvo_seq_iterator_h iterator);                \
    QVO_API QVO_RET qvo_seq_stretch0_##ts##_##type##_next(qvo_seq_iterator_h iterator);               \
    QVO_API QVO_RET qvo_seq_stretch_##ts##_##type##_reset(qvo_seq_iterator_h iterator);               \
    QVO_API QVO_RET qvo_seq_stretch0_##ts##_##type##_reset(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_ALIGNED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

/* ==== order/asof_join ========================================================================== */

/*
 * qvo_seq_asof_join_<ts>_<type> (result, ts1, ts2, values)
 *
 * The values, which belong to the timestamps ts2, as they stand at the current timestamp of ts1.
 * Deliberate: as in stretch, ts1 is never moved on, and each element takes at most one timestamp of ts2 with
 * its value. The element is the value taken last if its timestamp is not above that of ts1, else the value
 * before it (0 before the first one). ts1 = [5], ts2 = [1, 4, 9], values = [10, 40, 90] give 10, 40, 40, 40, ...
 * Elements  As for stretch.
 * Runs      As for stretch.
 * Ends      Deliberately not with ts1 or ts2: one full tile per call, for as long as it is pulled; after the end of
 *           ts2 with the last value. An empty ts1 ends it, and so do an empty ts2 and values that end before a
 *           timestamp of ts2: the elements of that call are then dropped.
 * Errors    As for stretch.
 */
#define QVO_SEQ_DECLARE(ts, type)                                                                       \
    typedef struct {                                                                                    \
        qvo_##type next_value;                                                                          \
        qvo_##type prev_value;                                                                          \
        qvo_##ts next_timestamp;                                                                        \
        qvo_##ts prev_timestamp;                                                                        \
        qvo_bool end_of_seq;                                                                            \
    } qvo_seq_asof_join_##ts##_##type##_context_t;                                                      \
    QVO_API QVO_RET qvo_seq_asof_join_##ts##_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h ts1,  \
                                                    qvo_seq_iterator_h ts2, qvo_seq_iterator_h values); \
    QVO_API QVO_RET qvo_seq_asof_join_##ts##_##type##_next(qvo_seq_iterator_h iterator);                \
    QVO_API QVO_RET qvo_seq_asof_join_##ts##_##type##_reset(qvo_seq_iterator_h iterator);
QVO_SEQ_FOR_ALIGNED_TYPES(QVO_SEQ_DECLARE)
#undef QVO_SEQ_DECLARE

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* QVOSEQ_H */
