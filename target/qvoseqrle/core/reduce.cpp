// Pulling the operand of a whole-sequence aggregate: the same for all of them.
#include "core/reduce.h"

namespace qvo {

QVO_CPU_VARIANTS QVO_RET reduce_tiles(qvo_seq_iterator_h operand, void* state, qvo_seq_count_t& count, FoldTile fold) {
    const uint8_t* runs = runs_of(operand);
    qvo_seq_count_t positions = 0;
    QVO_RET rc;
    while ((rc = operand->next(operand)) == QVO_S_OK) {
        const size_t n = operand->tile_size;
        if (n == 0) continue;
        const size_t singles = leading_single_runs(runs, n);
        fold(state, operand, positions == 0, singles == n);
        positions += singles + sum_runs(runs - singles, n - singles);
    }
    if (rc != QVO_S_CURSOR_END || positions == 0) return rc;
    count += positions;
    return QVO_S_OK;
}

}  // namespace qvo
