// Any bytes as a stored sequence: refused with an error, or read like any other. Meant for a build that takes any
// checksum (QVO_VALUE_TAKE_ANY_CHECKSUM), as nothing else gets past them; libFuzzer brings the main function.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "stored/format.h"
#include "stored/reader.h"
#include "stored/writer.h"

namespace {

using namespace qvo::value;

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

// Constant tiles go on for as long as they say; there is nothing new in them after some positions.
constexpr uint64_t most_positions = 100'000;

/// Reads on in the open tile, with so many elements at a time.
void read_on(TileReader& reader, size_t width, size_t room) {
    alignas(8) uint8_t values[512 * max_char];
    uint8_t runs[512];
    for (uint64_t done = 0; done < most_positions;) {
        const uint64_t left = reader.positions_left();
        const auto read = reader.read(values, runs + room - 1, room);
        require(read.elements <= room && read.positions <= left, "no more is read than there is");
        require((read.elements == 0) == (left == 0), "the tile ends with its positions");
        if (read.elements == 0) return;
        uint64_t positions = 0;
        for (size_t i = 0; i < read.elements; ++i) {
            require(runs[room - 1 - i] != 0, "no run is empty");
            positions += runs[room - 1 - i];
        }
        require(positions == read.positions && read.single == (positions == read.elements), "runs are those counted");
        const volatile uint8_t last = values[read.elements * width - 1];
        static_cast<void>(last);
        require(reader.positions_left() == left - positions, "what is left is the rest");
        done += positions;
    }
}

void read_tiles(const Stored& stored) {
    TileReader reader(stored);
    uint64_t first = 0;
    for (size_t i = 0; i < stored.n_tiles(); ++i) {
        const TileEntry entry = stored.tile(i);
        require(stored.find(first).tile == i && stored.find(first + entry.positions - 1).tile == i, "tiles are found");
        first += entry.positions;
        reader.open(i);
        static_cast<void>(reader.plain());
        read_on(reader, stored.type().width, 1 + i * 37 % 512);
        reader.open(i);
        reader.skip(entry.positions / 3);
        alignas(8) uint8_t value[max_char + 1];
        reader.read_whole(value);
        read_on(reader, stored.type().width, 455);
        reader.skip(reader.positions_left());
        require(reader.read_whole(value) == 0, "a tile that is passed over is at its end");
    }
    require(first == stored.positions(), "tiles have all positions");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> bytes(data, size);
    const bool valid = is_valid(bytes);
    try {
        const Stored stored(bytes);
        read_tiles(stored);
        if (stored.positions() < (uint64_t{1} << 60)) {
            const Buffer twice = append(stored, stored);
            require(!valid || is_valid(twice.bytes()), "what is appended to a valid value is valid");
        }
    } catch (const Error&) { require(!valid, "a valid value is read"); }
    return 0;
}
