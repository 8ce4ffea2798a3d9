// Where an evaluation ends: a stored sequence, or positions one after the other in memory.
#pragma once

#include "base/pages.h"
#include "evaluate/plan.h"
#include "stored/writer.h"

namespace qvo::value {

/// Pulls the series to its end, a tile at a time, into a stored sequence.
Buffer to_stored(Plan& plan, const Series& series, WriterOptions options = {});
/// A stored sequence as it is, compressed or not, once every tile has shown to be sound.
Buffer checked_copy(Plan& plan, const Stored& stored);
/// What to_stored gives for the result of a call, which is remembered if the host wants that.
Buffer to_result(Plan& plan, const Series& series);

/// Calls `take(values, first_run, n)` for every tile, runs as operators have them.
template <class Take> void for_each_tile(Plan& plan, const Series& series, Take take) {
    while (plan.pull(series.it)) take(series.it->tile.u.arr_char, runs_of(series.it), size_t{series.it->tile_size});
}

/// All positions of a series, one value after the other; they count against the budget.
Buffer to_array(Plan& plan, const Series& series);

/// A series by runs: each value that differs, bit by bit, from the one before it, and where its run ends. At most 2^31 - 1
/// positions; runs count against the budget.
struct RunBuffers {
    Buffer values, ends;  // of int32_t
    uint64_t n = 0;       // runs
};
RunBuffers to_runs(Plan& plan, const Series& series);

/// All positions of a series as an array, runs expanded; they count against the budget.
template <class V> std::vector<V> to_vector(Plan& plan, const Series& series) {
    std::vector<V> all;
    if (series.length) {
        plan.within_budget(*series.length);
        all.reserve(*series.length);
        prefer_large_pages(all.data(), all.capacity() * sizeof(V));
    }
    for_each_tile(plan, series, [&](const void* tile, const uint8_t* runs, size_t n) {
        const V* values = static_cast<const V*>(tile);
        plan.within_budget(all.size() + sum_runs(runs, n));
        if (leading_single_runs(runs, n) == n)
            all.insert(all.end(), values, values + n);
        else
            for (size_t i = 0; i < n; ++i) all.insert(all.end(), get_run(runs, i), values[i]);
    });
    return all;
}

}  // namespace qvo::value
