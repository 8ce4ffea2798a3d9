// The sketch of distinct values: 128 registers, each the largest rank among the hashes that belong to it.
#pragma once

#include <bit>

#include "qvowseq.h"

namespace qvo {

inline constexpr size_t sketch_registers = sizeof(qvo_seq_agg_approxdc_context_t);

/// Enters a hash. The rank looks at the low 25 bits and the register at the top seven: no bit serves both.
QVO_INLINE void add_hash(uint32_t hash, uint8_t* registers) {
    constexpr unsigned rank_bits = 25;
    const uint8_t rank = static_cast<uint8_t>(std::countr_zero(hash | 1U << rank_bits) + 1);
    uint8_t& largest = registers[hash >> rank_bits];
    largest = rank > largest ? rank : largest;
}

void add_hashes(const uint32_t* hashes, size_t n, uint8_t* registers);

/// Hashes `n` neighbouring values of any width and enters them.
void add_values(const uint8_t* values, size_t width, size_t n, uint8_t* registers);

/// Enters what the other registers have seen.
void merge_registers(uint8_t* registers, const uint8_t* others);

/// The estimated number of distinct values.
uint32_t estimate(const uint8_t* registers);

}  // namespace qvo
