// Operators that hand on what their operand delivers, of any element type: a range of its positions, all of it to two
// readers, or each position as an element of its own.
#include "core/construct.h"
#include "core/expand.h"
#include "core/move.h"

namespace qvo {
namespace {

// Positions that the operand has produced, counted from the first of its range. It may not have come that far.
qvo_seq_no_t produced(qvo_seq_iterator_h operand) {
    return operand->next_seq_no < operand->first_seq_no ? 0 : operand->next_seq_no - operand->first_seq_no;
}

// Moves the operand to the element that holds the first position of the range. *trim positions of it come before.
QVO_RET skip_to_first(qvo_seq_iterator_h it, unsigned* trim, Where where) {
    const qvo_seq_iterator_h operand = it->opd[0];
    const qvo_seq_no_t first = it->first_seq_no;
    qvo_seq_no_t skipped = 0;
    for (qvo_seq_no_t n; (n = produced(operand)) <= first; skipped = n)
        if (const QVO_RET rc = pull_tile(operand, where); rc != QVO_S_OK) return rc;
    const uint8_t* const runs = runs_of(operand);
    size_t i = operand->tile_offs;
    for (;; ++i) {
        // The operand has counted more positions than its tile holds.
        if (i >= operand->tile_size) fatal_stop(where);
        const unsigned run = get_run(runs, i);
        if (skipped + run > first) break;
        skipped += run;
    }
    operand->tile_offs = static_cast<uint16_t>(i);
    *trim = static_cast<unsigned>(first - skipped);
    it->next_seq_no = first;
    return QVO_S_OK;
}

/// The leading elements, of `n` at most, that begin at most `positions` after the first one's beginning.
RunSpan elements_within_reach(const uint8_t* runs, size_t n, uint64_t positions) {
    const RunSpan all{n, static_cast<unsigned>(sum_runs(runs, n))};
    if (all.positions <= positions) return all;
    RunSpan span{0, 0};
    while (span.positions <= positions) span.positions += get_run(runs, span.elements++);
    return span;
}

QVO_RET limit_next(qvo_seq_iterator_h it, Where where) {
    unsigned trim = 0;
    if (it->next_seq_no < it->first_seq_no)
        if (const QVO_RET rc = skip_to_first(it, &trim, where); rc != QVO_S_OK) return rc;

    const qvo_seq_no_t last = it->last_seq_no;
    uint8_t* const runs = runs_of(it);
    Operand input(it->opd[0]);
    TileWriter out(it);
    QVO_RET rc = QVO_S_OK;
    for (qvo_seq_no_t at = it->next_seq_no; out.room() != 0 && at <= last;) {
        if (rc = input.refill(where); rc != QVO_S_OK) break;
        if (rc = check_width(input.iterator(), it->elem_size); rc != QVO_S_OK) break;
        // Whole elements, the first less what lies before the range, up to one that reaches beyond `last`. (This sum
        // does not run over: what is trimmed lies before `at`.)
        RunSpan span =
            elements_within_reach(input.runs(), std::min(out.room(), input.elements_left()), last - at + trim);
        const size_t to = out.size();
        copy_values(it, to, input.iterator(), input.index(), span.elements);
        span.positions -= trim;
        out.put_runs(input.runs(), span);
        if (trim != 0) set_run(runs, to, get_run(runs, to) - trim);
        trim = 0;
        at += span.positions;
        input.skip(span.elements);
    }
    input.store();
    if (rc == QVO_S_OK && out.size() == 0) return QVO_S_CURSOR_END;
    if (rc = out.finish(rc); rc != QVO_S_OK) return rc;
    if (it->next_seq_no > last) {
        const size_t end = out.size() - 1;
        set_run(runs, end, get_run(runs, end) - static_cast<unsigned>(it->next_seq_no - last - 1));
        it->next_seq_no = last + 1;
    }
    return QVO_S_OK;
}

void fill_tee(qvo_seq_iterator_h result, qvo_seq_iterator_h source, qvo_seq_iterator_h twin) {
    fill_result(result, layout_like(source), {source, twin}, qvo_seq_tee_next, qvo_seq_reset_tee_iterator);
}

QVO_RET tee_next(qvo_seq_iterator_h it, Where where) {
    const qvo_seq_iterator_h twin = it->opd[1];
    qvo_seq_iterator_h from = it->opd[0];
    if (twin->next_seq_no > it->next_seq_no) {
        // The twin is ahead: its tile is the one that comes next here, unless it is more than a tile ahead. This
        // compares positions with elements, deliberately: over runs longer than 1 a reader that lags stops at its
        // second tile.
        if (it->tile_size != 0 && twin->next_seq_no != it->next_seq_no + twin->tile_size) fatal_stop(where);
        from = twin;
    } else if (const QVO_RET rc = pull_tile(from, where); rc != QVO_S_OK) {
        return rc;
    }
    return deliver_copy(it, from, from->next_seq_no);
}

// Every element of a tile of decoded runs has a bit in the null bitmap.
constexpr size_t most_decoded = 8 * sizeof(qvo_seq_tile_t::null_bitmap);

QVO_RET rle_decode_next(qvo_seq_iterator_h it, Where where) {
    const size_t room = std::min(most_decoded, capacity_of(it->elem_size));
    uint64_t n;
    const QVO_RET rc = read_tiles(it->opd[0], it->elem_size, values_of<uint8_t>(it), room, &n, where);
    TileWriter out(it, room);
    out.advance({n, 0});
    return out.finish(rc, Counted::elements);
}

}  // namespace

extern "C" {

QVO_API QVO_RET qvo_seq_limit_next(qvo_seq_iterator_h iterator) { return limit_next(iterator, Where::here()); }

QVO_API QVO_RET qvo_seq_limit(qvo_seq_iterator_h result, qvo_seq_iterator_h operand, qvo_seq_no_t first,
                              qvo_seq_no_t last) {
    if (const QVO_RET rc = bind({operand}); rc != QVO_S_OK) return rc;
    fill_result(result, layout_like(operand), {operand}, qvo_seq_limit_next, qvo_seq_reset_unary_agg_iterator);
    result->first_seq_no = first;
    result->last_seq_no = last;
    return QVO_S_OK;
}

QVO_API QVO_RET qvo_seq_tee_next(qvo_seq_iterator_h iterator) { return tee_next(iterator, Where::here()); }

QVO_API QVO_RET qvo_seq_reset_tee_iterator(qvo_seq_iterator_h iterator) {
    const qvo_seq_iterator_h twin = iterator->opd[1];
    twin->tile_offs = 0;
    twin->tile_size = 0;
    twin->rle_offs = 0;
    twin->next_seq_no = 0;
    return qvo_seq_reset_unary_iterator(iterator);
}

QVO_API QVO_RET qvo_seq_tee(qvo_seq_iterator_h first, qvo_seq_iterator_h second, qvo_seq_iterator_h source) {
    if (const QVO_RET rc = bind({source}); rc != QVO_S_OK) return rc;
    fill_tee(first, source, second);
    fill_tee(second, source, first);
    return QVO_S_OK;
}

QVO_API QVO_RET qvo_seq_rle_decode_next(qvo_seq_iterator_h iterator) {
    return rle_decode_next(iterator, Where::here());
}

// The result's type is set before the check, deliberately: a refused call has changed it.
QVO_API QVO_RET qvo_seq_rle_decode(qvo_seq_iterator_h result, qvo_seq_iterator_h operand) {
    result->elem_type = operand->elem_type;
    result->elem_size = operand->elem_size;
    if (const QVO_RET rc = bind({operand}); rc != QVO_S_OK) return rc;
    fill_result(result, layout_like(operand), {operand}, qvo_seq_rle_decode_next, qvo_seq_reset_unary_iterator);
    result->last_seq_no = operand->last_seq_no;
    return QVO_S_OK;
}

}  // extern "C"

}  // namespace qvo
