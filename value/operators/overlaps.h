// Overlaps of operands as arrays: of their tiles themselves where runs line up, else gathered.
#pragma once

#include <memory>

#include "core/move.h"
#include "core/overlap_list.h"

namespace qvo::value {

/// The leading elements that have the same runs on all sides; none if there are too few to be worth a loop of their
/// own. No operand is used up.
template <size_t N> RunSpan lined_up(const Operand* operands, size_t room) {
    constexpr size_t few = 8;
    size_t n = room;
    for (size_t k = 0; k < N; ++k) {
        if (operands[k].taken() != 0) return {0, 0};
        n = std::min(n, operands[k].elements_left());
    }
    RunSpan span{n, 0};
    for (size_t k = 1; k < N; ++k) span = equal_runs(operands[0].runs(), operands[k].runs(), span.elements);
    if (span.elements < few && span.elements != n) return {0, 0};
    return span;
}

/// An array of an operand's elements, filled or gathered.
class Gathered {
 public:
    static constexpr size_t most = OverlapList<2>::most;
    explicit Gathered(size_t width) : width_(width), bytes_(new uint8_t[most * width]) {}

    /// n elements by their indexes: where they lie if they are neighbours.
    const void* gather(qvo_seq_iterator_h it, const uint16_t* index, size_t n) {
        const uint8_t* const tile = it->tile.u.arr_uint1;
        const size_t span = size_t{index[n - 1]} - index[0];
        if (span + 1 == n) return tile + index[0] * width_;
        with_mover(width_, [&](auto mover) {
            if (span == 0)
                mover.fill(bytes_.get(), 0, tile, index[0], n);
            else
                for (size_t i = 0; i < n; ++i) mover.move(bytes_.get(), i, tile, index[i]);
        });
        return bytes_.get();
    }

    /// Up to n positions of an operand, which moves past them: as many as are in its tile.
    size_t expand(Operand& operand, size_t n) {
        size_t done = 0;
        with_mover(width_, [&](auto mover) {
            while (done < n && !operand.used_up()) {
                const size_t run = std::min(size_t{operand.run_left()}, n - done);
                mover.fill(bytes_.get(), done, operand.iterator()->tile.u.arr_uint1, operand.index(), run);
                operand.take(static_cast<unsigned>(run));
                done += run;
            }
        });
        return done;
    }
    const void* values() const { return bytes_.get(); }

 private:
    size_t width_;
    std::unique_ptr<uint8_t[]> bytes_;
};

}  // namespace qvo::value
