// Reading everything once, to find what is wrong with a stored value.
//
// Constant tiles and progressions may have any number of positions: they are judged by what they say, not read through.
#include <algorithm>
#include <new>

#include "stored/coding.h"

namespace qvo::value {
bool is_valid(std::span<const uint8_t> bytes) { return fault_of(bytes).empty(); }

std::string fault_of(std::span<const uint8_t> bytes) {
    try {
        const Stored stored(bytes);
        TileReader reader(stored);
        for (size_t i = 0; i < stored.n_tiles(); ++i) reader.open(i);
    } catch (const Error& error) { return error.what(); }
    return {};
}

}  // namespace qvo::value
