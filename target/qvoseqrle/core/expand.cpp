#include "core/expand.h"

#include "core/move.h"

namespace qvo {
namespace {

// What is left of a run is counted in a byte, as the position is: a run byte of 0, which can stand in the tiles of
// rle_decode, is a run of 256.
QVO_INLINE size_t positions_left(unsigned run, unsigned taken) {
    return static_cast<uint8_t>(run - taken - 1) + size_t{1};
}

// Positions that are written at once, and the elements after which a stretch of single positions is looked for.
constexpr size_t step = 8;
constexpr size_t most_stepped = 64;

/// Expands whole elements as long as neither the tile nor the room ends near; returns the positions written. Steps
/// reach beyond a run: the elements after it, each of which has a position, overwrite that.
template <class Mover> QVO_INLINE uint64_t expand_in_steps(Mover mover, Operand& input, uint8_t* to, uint64_t room) {
    const uint8_t* const from = values_of<uint8_t>(input.iterator());
    const uint8_t* const runs = runs_of(input.iterator());
    if (input.taken() != 0 || input.elements_left() <= step) return 0;
    size_t i = input.index();
    const size_t end = i + std::min(input.elements_left() - step, most_stepped);
    uint64_t written = 0;
    for (; i < end; ++i) {
        const size_t run = positions_left(get_run(runs, i), 0);
        if (room - written < run + step) break;
        mover.fill(to, written, from, i, step);
        if (run > step) mover.fill(to, written + step, from, i, (run - 1) / step * step);
        written += run;
    }
    input.move_to(i, 0);
    return written;
}

/// Reads what the current tile holds, up to `wanted` positions; returns how many were read.
template <class Mover> QVO_INLINE uint64_t read_tile(Mover mover, Operand& input, uint8_t* to, uint64_t wanted) {
    const size_t width = mover.width();
    const uint8_t* const from = values_of<uint8_t>(input.iterator());
    uint64_t read = 0;
    while (read < wanted && !input.used_up()) {
        const size_t elements = input.elements_left();
        if (elements >= run_word && input.taken() == 0 && load_runs(input.runs()) == ones_word) {
            const size_t n = leading_single_runs(input.runs(), std::min<uint64_t>(elements, wanted - read));
            std::memcpy(to + read * width, from + input.index() * width, n * width);
            input.skip(n);
            read += n;
            continue;
        }
        if (const uint64_t n = expand_in_steps(mover, input, to + read * width, wanted - read); n != 0) {
            read += n;
            continue;
        }
        const size_t left = positions_left(input.run(), input.taken());
        const size_t n = std::min<uint64_t>(left, wanted - read);
        mover.fill(to, read, from, input.index(), n);
        read += n;
        if (n == left)
            input.move_to(input.index() + 1, 0);
        else
            input.move_to(input.index(), input.taken() + static_cast<unsigned>(n));
    }
    return read;
}

/// Whether what comes next are elements of an array, each of which is a position.
bool is_at_array(const qvo_seq_iterator_t* operand) {
    if (!is_array_source(operand) || operand->rle_offs != 0) return false;
    const size_t at = operand->tile_offs, end = operand->tile_size;
    if (at >= end) return true;
    const uint8_t* const after = operand->tile.u.arr_uint1 + payload_bytes;
    return end - at <= single_runs.size() && std::memcmp(after - end, single_runs.data(), end - at) == 0;
}

/// read_positions of an array.
QVO_RET read_array(qvo_seq_iterator_h operand, size_t width, uint8_t* to, uint64_t wanted, uint64_t* got, Where where) {
    Operand input(operand, Operand::Values::anywhere);
    QVO_RET rc = QVO_S_OK;
    uint64_t read = 0;
    while (read < wanted) {
        if (rc = input.refill(where); rc != QVO_S_OK) break;
        if (rc = check_width(operand, width); rc != QVO_S_OK) break;
        const size_t n = std::min<uint64_t>(input.elements_left(), wanted - read), tile_width = operand->elem_size;
        std::memcpy(to + read * tile_width, input.values() + input.index() * tile_width, n * tile_width);
        input.skip(n);
        read += n;
    }
    input.leave();
    *got = read;
    return rc;
}

}  // namespace

QVO_RET read_positions(qvo_seq_iterator_h operand, size_t width, uint8_t* to, uint64_t wanted, uint64_t* got,
                       Where where) {
    if (is_at_array(operand)) return read_array(operand, width, to, wanted, got, where);
    return read_tiles(operand, width, to, wanted, got, where);
}

QVO_RET read_tiles(qvo_seq_iterator_h operand, size_t width, uint8_t* to, uint64_t wanted, uint64_t* got, Where where) {
    Operand input(operand);
    QVO_RET rc = QVO_S_OK;
    uint64_t read = 0;
    while (read < wanted) {
        if (rc = input.refill(where); rc != QVO_S_OK) break;
        if (rc = check_width(operand, width); rc != QVO_S_OK) break;
        const size_t tile_width = operand->elem_size;
        read += with_mover(tile_width,
                           [&](auto mover) { return read_tile(mover, input, to + read * tile_width, wanted - read); });
    }
    input.store();
    *got = read;
    return rc;
}

}  // namespace qvo
