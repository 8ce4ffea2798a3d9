/* The records as a C compiler lays them out; hosts are built from the same header with compilers of their own. */
#include "qvoseq.h"

#define AT(record, field, offset) \
    _Static_assert(offsetof(record, field) == (offset), #field " of " #record " lies at byte " #offset)
#define SIZE(type, size) _Static_assert(sizeof(type) == (size), #type " has " #size " bytes")

SIZE(qvo_seq_payload_t, 4096);
SIZE(qvo_seq_tile_t, 4112);
SIZE(qvo_seq_value_t, 32);
SIZE(qvo_seq_bool, 1);
SIZE(qvo_seq_no_t, 8);
SIZE(qvo_seq_count_t, 8);
SIZE(qvo_datetime, 8);

#if defined(__LP64__)
SIZE(qvo_seq_iterator_t, 4504);
AT(qvo_seq_iterator_t, next, 0);
AT(qvo_seq_iterator_t, reset, 8);
AT(qvo_seq_iterator_t, prepare, 16);
AT(qvo_seq_iterator_t, merge, 24);
AT(qvo_seq_iterator_t, elem_size, 32);
AT(qvo_seq_iterator_t, tile_size, 34);
AT(qvo_seq_iterator_t, tile_offs, 36);
AT(qvo_seq_iterator_t, rle_offs, 38);
AT(qvo_seq_iterator_t, prepared, 39);
AT(qvo_seq_iterator_t, first_seq_no, 40);
AT(qvo_seq_iterator_t, next_seq_no, 48);
AT(qvo_seq_iterator_t, last_seq_no, 56);
AT(qvo_seq_iterator_t, opd, 64);
AT(qvo_seq_iterator_t, buf, 88);
AT(qvo_seq_iterator_t, buf_size, 96);
AT(qvo_seq_iterator_t, elem_type, 104);
AT(qvo_seq_iterator_t, bounded, 105);
AT(qvo_seq_iterator_t, createdBySql, 106);
AT(qvo_seq_iterator_t, owned_buf, 107);
AT(qvo_seq_iterator_t, context, 112);
AT(qvo_seq_iterator_t, tile, 392);
AT(qvo_seq_tile_t, u, 16);
AT(qvo_seq_meta_iterator_t, iterator, 16);
AT(qvo_seq_meta_iterator_t, user_data, 4520);
AT(qvo_seq_agg_context_t, count, 8);
AT(qvo_seq_agg_context_t, accumulator, 16);
AT(qvo_seq_agg_context_t, norm, 48);
AT(qvo_seq_agg_context_t, history, 56);
AT(qvo_seq_thin_context_t, curr_pos, 16);
AT(qvo_seq_filter_pos_context_t, curr_pos, 8);
AT(qvo_seq_meta_iterator_context_t, pos_kind, 8);
AT(qvo_seq_union_context_t, order, 8);
AT(qvo_seq_cross_context_t, n_zeros, 16);
AT(qvo_seq_extrema_int1_context_t, pos, 16);
AT(qvo_seq_extrema_double_context_t, prev_val, 8);
_Static_assert(sizeof(qvo_seq_agg_context_t) <= sizeof(((qvo_seq_iterator_t*)0)->context), "fits the context");
#endif

/* The type codes that every host stores, and the result codes that it compares with. */
_Static_assert(QVO_DD_UINT1 == 0 && QVO_DD_UINT2 == 1 && QVO_DD_UINT4 == 2 && QVO_DD_UINT8 == 3, "unsigned");
_Static_assert(QVO_DD_INT1 == 4 && QVO_DD_INT2 == 5 && QVO_DD_INT4 == 6 && QVO_DD_INT8 == 7, "signed");
_Static_assert(QVO_DD_FLOAT == 8 && QVO_DD_DOUBLE == 9 && QVO_DD_DATETIME == 12 && QVO_DD_CHAR == 13, "others");
_Static_assert(QVO_S_OK == 0 && QVO_S_CURSOR_END == 11 && QVO_E_NOMEM == 52 && QVO_E_UNSUPPORTED == 57, "codes");
_Static_assert(QVO_E_ILLEGAL_TYPE == 61 && QVO_E_ILLEGAL_PARAM == 62, "codes");
_Static_assert(QVO_E_SEQ_OUT_OF_ORDER == 700 && QVO_E_SEQ_BOUNDED == 701 && QVO_ERR_SEQ == 1060000, "codes");
