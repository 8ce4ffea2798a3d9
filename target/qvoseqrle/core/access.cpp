// Reading values out of an iterator: one position at a time, an array of positions, and an array of elements with their
// null marks.
//
// The readers are consumers like any operator: they pull the iterator when its tile is used up, and tile_offs and
// rle_offs are their read position. The first two deliver positions, the third elements.
#include "core/construct.h"
#include "core/move.h"
#include "core/operand.h"

namespace qvo {
namespace {

QVO_INLINE QVO_RET check_reader(qvo_seq_iterator_h it, uint8_t code) {
    if (!has_type(it, code)) return QVO_E_ILLEGAL_TYPE;
    return is_bound(it) ? QVO_E_SEQ_BOUNDED : QVO_S_OK;
}

// What is left of a run is counted in a byte, as the position is: a run byte of 0, which stands in the tiles of
// operators that do not write run bytes (rle_decode), is a run of 256.
QVO_INLINE size_t positions_left(const Operand& input) {
    return static_cast<uint8_t>(input.run_left() - 1) + size_t{1};
}

template <class Mover>
QVO_INLINE QVO_RET next_position(Mover mover, qvo_seq_iterator_h it, uint8_t code, void* value, Where where) {
    if (const QVO_RET rc = check_reader(it, code); rc != QVO_S_OK) return rc;
    if (it->tile_offs >= it->tile_size) {
        if (const QVO_RET rc = it->next(it); rc != QVO_S_OK) return rc;
        if (it->tile_size == 0) fatal_stop(where);
        it->tile_offs = 0;
    }
    const size_t i = it->tile_offs;
    mover.move(value, 0, values_of<uint8_t>(it), i);
    if (++it->rle_offs == get_run(runs_of(it), i)) {
        it->rle_offs = 0;
        ++it->tile_offs;
    }
    return QVO_S_OK;
}

// Elements that are written at once where a run is expanded.
constexpr size_t run_step = 8;

template <class Mover>
QVO_RET get_positions(Mover mover, qvo_seq_iterator_h it, uint8_t code, void* values, qvo_size_t* count, Where where) {
    if (const QVO_RET rc = check_reader(it, code); rc != QVO_S_OK) return rc;
    const qvo_size_t wanted = *count;
    const size_t width = mover.width();
    uint8_t* const to = static_cast<uint8_t*>(values);
    const uint8_t* const from = values_of<uint8_t>(it);
    Operand input(it);
    QVO_RET rc = QVO_S_OK;
    qvo_size_t got = 0;
    while (got < wanted) {
        if (rc = input.refill(where); rc != QVO_S_OK) break;
        const size_t elements = input.elements_left();
        if (elements >= run_word && input.taken() == 0 && load_runs(input.runs()) == ones_word) {
            const size_t n = leading_single_runs(input.runs(), std::min<qvo_size_t>(elements, wanted - got));
            std::memcpy(to + got * width, from + input.index() * width, n * width);
            input.skip(n);
            got += n;
            continue;
        }
        const size_t left = positions_left(input);
        // Whole steps may reach beyond the run as long as later elements of the tile overwrite what they wrote.
        if (elements > run_step && wanted - got >= left + run_step) {
            for (size_t k = 0; k < left; k += run_step) mover.fill(to, got + k, from, input.index(), run_step);
            input.move_to(input.index() + 1, 0);
            got += left;
            continue;
        }
        const size_t n = std::min<qvo_size_t>(left, wanted - got);
        mover.fill(to, got, from, input.index(), n);
        got += n;
        if (n == left)
            input.move_to(input.index() + 1, 0);
        else
            input.move_to(input.index(), input.taken() + static_cast<unsigned>(n));
    }
    input.store();
    if (rc != QVO_S_OK && (rc != QVO_S_CURSOR_END || got == 0)) return rc;
    *count = got;
    return QVO_S_OK;
}

// Null marks of a tile; elements behind them are not null.
constexpr size_t max_marks = 8 * sizeof(qvo_seq_tile_t::null_bitmap);

// Elements, not positions: run bytes and rle_offs are not consulted.
QVO_RET get_nullable(qvo_seq_iterator_h it, uint8_t code, void* values, qvo_size_t* count, qvo_bitmap_word_t* nulls,
                     Where where) {
    if (const QVO_RET rc = check_reader(it, code); rc != QVO_S_OK) return rc;
    constexpr qvo_size_t word_bits = 8 * sizeof(qvo_bitmap_word_t);
    const qvo_size_t wanted = *count;
    const size_t width = it->elem_size;
    uint8_t* const to = static_cast<uint8_t*>(values);
    qvo_memnull(nulls, (wanted / word_bits + (wanted % word_bits != 0)) * sizeof(qvo_bitmap_word_t));
    Operand input(it);
    QVO_RET rc = QVO_S_OK;
    qvo_size_t got = 0;
    while (got < wanted) {
        if (rc = input.refill(where); rc != QVO_S_OK) break;
        const size_t from = input.index();
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

#define STAMP_READERS(type, value_type, code, mover)                                                            \
    extern "C" QVO_API QVO_RET qvo_seq_next_##type(qvo_seq_iterator_h iterator, value_type* value) {            \
        return next_position(mover, iterator, code, value, Where::here());                                      \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET qvo_seq_get_##type(qvo_seq_iterator_h iterator, value_type* values,              \
                                                  qvo_size_t* count) {                                          \
        return get_positions(mover, iterator, code, values, count, Where::here());                              \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET qvo_seq_get_nullable_##type(qvo_seq_iterator_h iterator, value_type* values,     \
                                                           qvo_size_t* count, qvo_bitmap_word_t* null_bitmap) { \
        return get_nullable(iterator, code, values, count, null_bitmap, Where::here());                         \
    }
#define STAMP(type) STAMP_READERS(type, qvo_##type, elem_##type::code, FixedMover<elem_##type::width>{})
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
STAMP_READERS(char, char, QVO_DD_CHAR, ByteMover(iterator->elem_size))
#undef STAMP
#undef STAMP_READERS

}  // namespace qvo
