// Reading values out of an iterator: one position at a time, an array of positions, and an array of elements with their
// null marks.
//
// The readers are consumers like any operator: they pull the iterator when its tile is used up, and tile_offs and
// rle_offs are their read position. The first two deliver positions, the third elements.
#include "core/construct.h"
#include "core/expand.h"
#include "core/move.h"

namespace qvo {
namespace {

QVO_INLINE QVO_RET check_reader(qvo_seq_iterator_h it, uint8_t code) {
    if (!has_type(it, code)) return QVO_E_ILLEGAL_TYPE;
    return is_bound(it) ? QVO_E_SEQ_BOUNDED : QVO_S_OK;
}

/// How values are moved: by a width that the type fixes, or by that of the tile, which for a text source is known only
/// once the tile is there.
template <size_t Width> struct FixedWidth {
    static constexpr size_t expected = Width;
    QVO_INLINE static FixedMover<Width> mover(qvo_seq_iterator_h) { return {}; }
};
struct WidthOfTile {
    static constexpr size_t expected = any_width;
    QVO_INLINE static ByteMover mover(qvo_seq_iterator_h it) { return ByteMover(it->elem_size); }
};

template <class Width> QVO_INLINE QVO_RET next_position(qvo_seq_iterator_h it, uint8_t code, void* value, Where where) {
    if (const QVO_RET rc = check_reader(it, code); rc != QVO_S_OK) return rc;
    if (it->tile_offs >= it->tile_size)
        if (const QVO_RET rc = pull_tile(it, where); rc != QVO_S_OK) return rc;
    const size_t i = it->tile_offs;
    Width::mover(it).move(value, 0, values_of<uint8_t>(it), i);
    if (++it->rle_offs == get_run(runs_of(it), i)) {
        it->rle_offs = 0;
        ++it->tile_offs;
    }
    return QVO_S_OK;
}

QVO_RET get_positions(qvo_seq_iterator_h it, uint8_t code, size_t width, void* values, qvo_size_t* count, Where where) {
    if (const QVO_RET rc = check_reader(it, code); rc != QVO_S_OK) return rc;
    uint64_t got;
    // The caller, whose reader it is, may look at the tile for what it has just read.
    const QVO_RET rc = read_tiles(it, width, static_cast<uint8_t*>(values), *count, &got, where);
    if (rc != QVO_S_OK && (rc != QVO_S_CURSOR_END || got == 0)) return rc;
    *count = got;
    return QVO_S_OK;
}

// Null marks of a tile; elements after them are not null.
constexpr size_t max_marks = 8 * sizeof(qvo_seq_tile_t::null_bitmap);

// Elements, not positions: run bytes and rle_offs are not consulted.
QVO_RET get_nullable(qvo_seq_iterator_h it, uint8_t code, void* values, qvo_size_t* count, qvo_bitmap_word_t* nulls,
                     Where where) {
    if (const QVO_RET rc = check_reader(it, code); rc != QVO_S_OK) return rc;
    constexpr qvo_size_t word_bits = 8 * sizeof(qvo_bitmap_word_t);
    const qvo_size_t wanted = *count;
    uint8_t* const to = static_cast<uint8_t*>(values);
    qvo_memnull(nulls, (wanted / word_bits + (wanted % word_bits != 0)) * sizeof(qvo_bitmap_word_t));
    Operand input(it);
    QVO_RET rc = QVO_S_OK;
    qvo_size_t got = 0;
    while (got < wanted) {
        if (rc = input.refill(where); rc != QVO_S_OK) break;
        const size_t from = input.index(), width = it->elem_size;
        const size_t n = std::min<qvo_size_t>(input.elements_left(), wanted - got);
        std::memcpy(to + got * width, values_of<uint8_t>(it) + from * width, n * width);
        if (from < max_marks)
            qvo_seq_copy_bitmap(nulls, got, it->tile.null_bitmap, from, std::min(n, max_marks - from));
        input.skip(n);
        got += n;
    }
    input.store();
    *count = got;
    return rc == QVO_S_CURSOR_END && got != 0 ? QVO_S_OK : rc;
}

}  // namespace

#define STAMP_READERS(type, value_type, code, Width)                                                            \
    extern "C" QVO_API QVO_RET qvo_seq_next_##type(qvo_seq_iterator_h iterator, value_type* value) {            \
        return next_position<Width>(iterator, code, value, Where::here());                                      \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET qvo_seq_get_##type(qvo_seq_iterator_h iterator, value_type* values,              \
                                                  qvo_size_t* count) {                                          \
        return get_positions(iterator, code, Width::expected, values, count, Where::here());                    \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET qvo_seq_get_nullable_##type(qvo_seq_iterator_h iterator, value_type* values,     \
                                                           qvo_size_t* count, qvo_bitmap_word_t* null_bitmap) { \
        return get_nullable(iterator, code, values, count, null_bitmap, Where::here());                         \
    }
#define STAMP(type) STAMP_READERS(type, qvo_##type, elem_##type::code, FixedWidth<elem_##type::width>)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
STAMP_READERS(char, char, QVO_DD_CHAR, WidthOfTile)
#undef STAMP
#undef STAMP_READERS

}  // namespace qvo
