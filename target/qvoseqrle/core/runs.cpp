#include "core/runs.h"

namespace qvo {

namespace {

QVO_INLINE unsigned sum_of_blocks(const uint8_t* lowest, size_t n_blocks) {
    BlockSum sum;
    for (size_t i = 0; i < n_blocks; ++i) sum.add(lowest + i * run_block);
    return sum.total();
}

}  // namespace

unsigned sum_blocks(const uint8_t* lowest, size_t n_blocks) { return for_cpu<sum_of_blocks>(lowest, n_blocks); }

}  // namespace qvo
