// The elements of a sequence at given positions. The members move values without looking at them and differ in their
// type check.
#include "core/construct.h"
#include "core/move.h"
#include "core/operand.h"

namespace qvo {
namespace {

struct MapState {
    qvo_seq_no_t right_seq_no;  // the position of the input's read position
};

// Distances to a wanted position from which on looking for spans of runs pays.
constexpr qvo_seq_no_t long_way = 16;

/// Moves on from position `at` to the element that holds position `wanted`; returns the position where it begins.
/// What has been taken of the current element is counted from the position that was delivered last, not from the
/// element's beginning, and is kept when a tile is pulled: from the second position inside one run on, the input is
/// deliberately taken to be ahead of where it is.
QVO_INLINE qvo_seq_no_t seek(Operand& input, qvo_seq_no_t at, qvo_seq_no_t wanted, Where where) {
    for (;;) {
        if (input.used_up()) fatal_stop(where);
        // Modulo 2^64: more may have been taken than the run holds.
        const qvo_seq_no_t end = at + input.run() - input.taken();
        if (wanted < end) return at;
        at = end;
        input.move_to(input.index() + 1, 0);
        if (wanted - at < long_way || input.used_up()) continue;
        const auto budget = static_cast<unsigned>(std::min<qvo_seq_no_t>(wanted - at, payload_bytes * max_run));
        const RunSpan span = elements_within(input.runs(), input.elements_left(), budget);
        input.skip(span.elements);
        at += span.positions;
    }
}

/// Delivers positions, all of run 1, as long as they ascend within a stretch of input elements of run 1 that starts at
/// position `at`. Returns how many, and moves `at` to the last of them.
template <class Mover>
QVO_INLINE size_t map_singles(const Mover& mover, qvo_seq_iterator_h it, Operand& input, Operand& positions,
                              TileWriter& out, qvo_seq_no_t& at) {
    if (input.used_up() || input.taken() != 0 || input.run() != 1) return 0;
    const size_t most = leading_single_runs(positions.runs(), std::min(out.room(), positions.elements_left()));
    const qvo_seq_no_t after = std::min<qvo_seq_no_t>(at + leading_single_runs(input.runs(), input.elements_left()),
                                                      input.iterator()->next_seq_no);
    const qvo_uint8* __restrict const wanted = values_of<qvo_uint8>(it->opd[1]) + positions.index();
    const uint8_t* __restrict const from = values_of<uint8_t>(it->opd[0]) + input.index() * mover.width();
    uint8_t* __restrict const to = values_of<uint8_t>(it) + out.size() * mover.width();
    qvo_seq_no_t last = at;
    size_t n = 0;
    for (; n < most && wanted[n] >= last && wanted[n] < after; ++n) {
        last = wanted[n];
        mover.move(to, n, from, last - at);
    }
    out.put_equal_runs(n, 1);
    positions.skip(n);
    input.skip(last - at);
    at = last;
    return n;
}

template <class Mover> QVO_RET map_elements(const Mover& mover, qvo_seq_iterator_h it, Where where) {
    qvo_seq_no_t at = state<MapState>(it).right_seq_no;
    Operand input(it->opd[0]), positions(it->opd[1]);
    const qvo_uint8* wanted = values_of<qvo_uint8>(it->opd[1]);
    TileWriter out(it, capacity_of(it->elem_size));
    // Unlike the end of the positions, any failure of the input drops what has been produced.
    const auto fail = [&](QVO_RET rc) {
        input.store();
        positions.store();
        return rc;
    };
    QVO_RET rc = QVO_S_OK;
    while (out.room() != 0) {
        if (rc = positions.refill(where); rc != QVO_S_OK) break;
        if (map_singles(mover, it, input, positions, out, at) != 0) continue;
        const qvo_seq_no_t position = wanted[positions.index()];
        if (positions.run() != 1) fatal_stop(where);
        positions.skip(1);
        while (position >= input.iterator()->next_seq_no) {
            at = input.iterator()->next_seq_no;
            input.move_to(0, input.taken());
            input.store();
            if (rc = input.pull(where); rc != QVO_S_OK) return fail(rc);
        }
        if (position < at) return fail(QVO_E_SEQ_OUT_OF_ORDER);
        at = seek(input, at, position, where);
        input.move_to(input.index(), static_cast<uint8_t>(position - at));
        at = position;
        mover.move(values_of<uint8_t>(it), out.size(), values_of<uint8_t>(it->opd[0]), input.index());
        out.put_run(1);
    }
    input.store();
    positions.store();
    rc = out.finish(rc, Counted::elements);
    if (rc == QVO_S_OK) state<MapState>(it).right_seq_no = at;
    return rc;
}

QVO_RET map_next(qvo_seq_iterator_h it, Where where) {
    return with_mover(it->elem_size, [=](auto mover) { return map_elements(mover, it, where); });
}

QVO_RET construct_map(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_seq_iterator_h positions, uint8_t code,
                      qvo_seq_iterator_next_t next) {
    if (!has_type(input, code) || !has_type(positions, QVO_DD_UINT8)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({input, positions}); rc != QVO_S_OK) return rc;
    fill_result(result, layout_like(input), {input, positions}, next, qvo_seq_map_reset);
    state<MapState>(result).right_seq_no = 0;
    return QVO_S_OK;
}

}  // namespace

extern "C" QVO_API QVO_RET qvo_seq_map_reset(qvo_seq_iterator_h iterator) {
    state<MapState>(iterator).right_seq_no = 0;
    return qvo_seq_reset_binary_iterator(iterator);
}

#define STAMP(type, code)                                                                              \
    extern "C" QVO_API QVO_RET qvo_seq_map_##type##_next(qvo_seq_iterator_h iterator) {                \
        return map_next(iterator, Where::here());                                                      \
    }                                                                                                  \
    extern "C" QVO_API QVO_RET qvo_seq_map_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input, \
                                                  qvo_seq_iterator_h positions) {                      \
        return construct_map(result, input, positions, code, qvo_seq_map_##type##_next);               \
    }
#define STAMP_FIXED(type) STAMP(type, elem_##type::code)
QVO_SEQ_FOR_FIXED_TYPES(STAMP_FIXED)
STAMP(char, QVO_DD_CHAR)
#undef STAMP_FIXED
#undef STAMP

}  // namespace qvo
