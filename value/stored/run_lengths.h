// Run lengths as tiles hold them: numbers of 1, 2 or 4 bytes, of which none is 0.
//
// Operators have them otherwise, in bytes that lie downwards; reader and stage turn them around.
#pragma once

#include "stored/format.h"

namespace qvo::value {

/// Run lengths of a tile that is read, where it has any.
struct RunLengths {
    const uint8_t* bytes = nullptr;
    unsigned width = 0;

    uint64_t at(uint64_t i) const {
        switch (width) {
            case 1:
                return bytes[i];
            case 2:
                return format::load<uint16_t>(bytes + 2 * i);
            default:
                return format::load<uint32_t>(bytes + 4 * i);
        }
    }
    /// Whether n of them cover so many positions, and none of them nothing.
    bool match(size_t n, uint64_t positions) const;
};

/// The sum of n run bytes from the lowest address up.
uint64_t sum_run_bytes(const uint8_t* lowest, size_t n);

struct RunForm {
    uint32_t limit;  // longest run
    unsigned width;  // bytes of a run length
    uint64_t size;   // of all values and runs, about
};

/// Elements that come of n of them, if they are cut into such of at most `limit`: 1, or the longest of one byte or of two.
uint64_t pieces_of(const uint32_t* runs, size_t n, uint32_t limit);

/// How run lengths are written smallest: longer ones are cut where that lets all others be short.
RunForm run_form(const uint32_t* runs, size_t n, uint64_t value_bits);
uint32_t longest_run(const uint32_t* runs, size_t n);
/// Writes lengths that fit into so many bytes.
void write_runs(const uint32_t* runs, size_t n, unsigned width, uint8_t* to);

}  // namespace qvo::value
