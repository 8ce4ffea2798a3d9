// Copying elements that are a few bytes wide.
#pragma once

#include "qvowseq.h"

namespace qvo {

/// Copies n bytes between different areas, without a call for up to 32: as two blocks that meet or overlap.
QVO_INLINE void copy_bytes(uint8_t* to, const uint8_t* from, size_t n) {
    struct Block {
        uint64_t words[2];
    };
    const auto both_ends = [=](auto block) __attribute__((always_inline)) {
        auto last = block;
        std::memcpy(&block, from, sizeof block);
        std::memcpy(&last, from + n - sizeof last, sizeof last);
        std::memcpy(to, &block, sizeof block);
        std::memcpy(to + n - sizeof last, &last, sizeof last);
    };
    if (n > 2 * sizeof(Block))
        std::memcpy(to, from, n);
    else if (n >= sizeof(Block))
        both_ends(Block{});
    else if (n >= sizeof(uint64_t))
        both_ends(uint64_t{});
    else if (n >= sizeof(uint32_t))
        both_ends(uint32_t{});
    else if (n >= sizeof(uint16_t))
        both_ends(uint16_t{});
    else if (n != 0)
        *to = *from;
}

}  // namespace qvo
