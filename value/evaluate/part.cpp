#include "evaluate/part.h"

#include <algorithm>

#include "core/move.h"

namespace qvo::value {
namespace {

constexpr size_t most_at_once = 8192;  // elements

/// Moves n elements from the front of an array apart, so that each stands as often as its run says. From the last on:
/// no element's place is before where it came from.
void expand(uint8_t* values, size_t width, const uint8_t* runs, size_t n, uint64_t positions) {
    with_mover(width, [&](auto mover) {
        uint8_t value[max_char];
        for (size_t i = n; i-- != 0;) {
            const unsigned run = get_run(runs, i);
            positions -= run;
            mover.move(value, 0, values, i);
            mover.fill(values, positions, value, 0, run);
        }
    });
}

/// Leaves of the elements read those that the first `left` positions need.
void cut(uint8_t* runs, TileReader::Read& read, uint64_t left) {
    while (read.positions > left) {
        const uint64_t over = read.positions - left;
        const unsigned run = get_run(runs, read.elements - 1);
        if (run > over) set_run(runs, read.elements - 1, run - static_cast<unsigned>(over));
        if (run <= over) --read.elements;
        read.positions -= std::min<uint64_t>(run, over);
    }
}

/// How many of a tile's values, which ascend, are below a value.
template <class V> uint64_t below_in_tile(TileReader& reader, V value, bool or_equal) {
    V values[512];
    uint8_t run_bytes[512];
    uint8_t* const runs = run_bytes + 511;
    uint64_t below = 0;
    while (true) {
        const TileReader::Read read = reader.read(values, runs, 512);
        const V* const end = values + read.elements;
        const V* const at =
            or_equal ? std::upper_bound<const V*>(values, end, value) : std::lower_bound<const V*>(values, end, value);
        if (at == end && read.elements != 0) {
            below += read.positions;
            continue;
        }
        return below + sum_runs(runs, static_cast<size_t>(at - values));
    }
}

}  // namespace

void read_part(const Stored& stored, uint64_t first, uint64_t count, void* to) {
    if (count == 0) return;
    if (first > stored.positions() || count > stored.positions() - first)
        throw Error(Fault::argument, "positions beyond the end of the sequence");
    const size_t width = stored.type().width;
    auto* values = static_cast<uint8_t*>(to);
    uint8_t run_bytes[most_at_once];
    uint8_t* const runs = run_bytes + most_at_once - 1;
    Stored::Place place = stored.find(first);
    TileReader reader(stored);
    reader.open(place.tile);
    reader.skip(first - place.first_position);
    while (true) {
        TileReader::Read read = reader.read(values, runs, static_cast<size_t>(std::min<uint64_t>(count, most_at_once)));
        if (read.elements == 0) {
            reader.open(++place.tile);
            continue;
        }
        cut(runs, read, count);
        if (read.positions != read.elements) expand(values, width, runs, read.elements, read.positions);
        count -= read.positions;
        if (count == 0) return;
        values += read.positions * width;
    }
}

uint64_t count_below(const Stored& stored, const void* value, bool or_equal) {
    if (stored.type().type == Type::char_) throw Error(Fault::argument, "a sequence of char cannot be searched");
    return with_fixed(stored.type().type, [&](auto tag) -> uint64_t {
        using V = typename decltype(tag)::value;
        V wanted;
        std::memcpy(&wanted, value, sizeof wanted);
        uint64_t below = 0;
        for (size_t i = 0; i < stored.n_tiles(); ++i) {
            const TileEntry tile = stored.tile(i);
            const V largest = tile.largest.as<V>();
            if (or_equal ? !(wanted < largest) : largest < wanted) {
                below += tile.positions;
                continue;
            }
            TileReader reader(stored);
            reader.open(i);
            return below + below_in_tile(reader, wanted, or_equal);
        }
        return below;
    });
}

}  // namespace qvo::value
