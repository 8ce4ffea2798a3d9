#include "core/runs.h"

namespace qvo {

QVO_CPU_VARIANTS unsigned sum_blocks(const uint8_t* lowest, size_t n_blocks) {
    BlockSum sum;
    for (size_t i = 0; i < n_blocks; ++i) sum.add(lowest + i * run_block);
    return sum.total();
}

}  // namespace qvo
