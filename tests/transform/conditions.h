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

/// Copies the operand's current element to element i of the result.
inline void literal_copy(qvo_seq_iterator_h it, size_t i, const qvo_seq_iterator_t* from) {
    const size_t width = it->elem_size;
    std::memcpy(it->tile.u.arr_char + i * width, from->tile.u.arr_char + from->tile_offs * width, width);
}

/// Values of any type, strings of `width` bytes among them.
template <class T> Items<T> random_values(Random& random, size_t n, size_t width) {
    if constexpr (std::is_same_v<T, t_char>)
        return random_items<t_char>(random, n, [width](Random& r) {
            std::string bytes;
            while (bytes.size() < width) bytes += static_cast<char>(r.below(256));
            return bytes;
        });
    else
        return random_items<T>(random, n);
}

inline QVO_RET literal_end(qvo_seq_iterator_h it, size_t n, QVO_RET rc) {
    if (rc == QVO_S_OK) it->tile_size = static_cast<uint16_t>(n);
    return rc;
}

}  // namespace test
