// Selection of values and runs, which families of any type share.
#include "core/select.h"

#include "core/move.h"

namespace qvo {

Selection select_values(qvo_seq_iterator_h it, size_t to, qvo_seq_iterator_h operand, size_t from,
                        const uint8_t* conditions, size_t n, size_t room) {
    uint8_t* const out = values_of<uint8_t>(it);
    const uint8_t* const in = values_of<uint8_t>(operand);
    return with_mover(
        it->elem_size, [=](auto mover) __attribute__((always_inline)) {
            const size_t width = mover.width();
            uint8_t* __restrict const result = out + to * width;
            const uint8_t* __restrict const input = in + from * width;
            return select(
                conditions, n, room, [=](size_t k, size_t i, auto count) __attribute__((always_inline)) {
                    if constexpr (count == 1)
                        mover.move(result, k, input, i);
                    else
                        std::memcpy(result + k * width, input + i * width, count * width);
                });
        });
}

void select_runs(uint8_t* to, const uint8_t* runs, const uint8_t* conditions, size_t n) {
    select(
        conditions, n, n, [=](size_t k, size_t i, auto count) __attribute__((always_inline)) {
            if constexpr (count == 1)
                set_run(to, k, get_run(runs, i));
            else
                copy_runs(to - k, runs - i, count);
        });
}

}  // namespace qvo
