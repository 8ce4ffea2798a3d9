// What the tests of filters and of conditional choice share.
#pragma once

#include "support/protocol.h"

namespace test {

/// Conditions: stretches of few, of most, of all and of none true, whose trues are not always 1.
inline Items<t_bool> random_conditions(Random& random, size_t n) {
    unsigned percent = 50;
    return random_items<t_bool>(random, n, [&percent](Random& r) -> qvo_seq_bool {
        static constexpr unsigned percents[] = {0, 3, 50, 97, 100};
        if (r.chance(2)) percent = percents[r.below(5)];
        if (!r.chance(percent)) return 0;
        return r.chance(2) ? static_cast<qvo_seq_bool>(r.between(1, 255)) : qvo_seq_bool{1};
    });
}

inline bool literal_condition(const qvo_seq_iterator_t* it) { return it->tile.u.arr_qvo_seq_bool[it->tile_offs] != 0; }

}  // namespace test
