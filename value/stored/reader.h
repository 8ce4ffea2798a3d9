// Reading the stored form: the validated header and directory of a value, and its tiles element by element.
//
// The bytes belong to somebody else and need not be aligned. Nothing in them is trusted: `Stored` checks the header and
// the directory, `TileReader` each tile when it is opened; both throw Error(Fault::value).
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "base/buffer.h"
#include "base/error.h"
#include "base/type.h"

namespace qvo::value {

/// How the values of a stored tile are written. The numbers are part of the stored form (docs/format.md).
enum class Encoding : uint8_t {
    plain = 0,
    runs = 1,  // plain, with run lengths; the others have run lengths or not
    constant = 2,
    progression = 3,
    narrow = 4,
    delta = 5,
    decimal = 6,
    dictionary = 7,
};
std::string_view name_of(Encoding encoding);

/// The smallest or largest value of a tile or a sequence: the value's own bytes, of char the first eight.
struct Extreme {
    uint8_t bytes[8] = {};
    template <class V> V as() const {
        V value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
};

/// What the directory says of a tile.
struct TileEntry {
    uint64_t positions = 0;  // with runs expanded
    uint64_t elements = 0;
    uint64_t missing = 0;  // positions whose value is NaN
    uint64_t offset = 0;   // of the tile's bytes in the value
    uint32_t size = 0;     // of the tile's bytes
    Encoding encoding{};
    uint8_t run_width = 0;  // bytes of a run length, 0 without
    bool compressed = false;
    Extreme smallest, largest;  // NaN left out; of no meaning if all are missing
    uint64_t checksum = 0;
};

/// A stored sequence. Copying it copies no bytes; they must outlive it.
class Stored {
 public:
    /// Throws unless the bytes have a sound header and directory.
    explicit Stored(std::span<const uint8_t> bytes);

    ValueType type() const { return type_; }
    uint64_t positions() const { return positions_; }
    uint64_t elements() const { return elements_; }
    size_t n_tiles() const { return n_tiles_; }
    TileEntry tile(size_t i) const;
    std::span<const uint8_t> bytes() const { return bytes_; }

    /// The tile that holds a position, and the position at which it begins. The position must exist.
    struct Place {
        size_t tile;
        uint64_t first_position;
    };
    Place find(uint64_t position) const;

 private:
    std::span<const uint8_t> bytes_;
    ValueType type_;
    uint64_t positions_ = 0, elements_ = 0;
    size_t n_tiles_ = 0;
    size_t directory_ = 0;  // offset
};

/// Reads the elements of one tile after the other. Runs are handed out as operators want them: bytes from 1 to 255, the
/// byte of element i at first_run[-i]; a longer run comes as several elements.
class TileReader {
 public:
    explicit TileReader(const Stored& stored);
    ~TileReader();
    TileReader(TileReader&&) noexcept;

    /// Opens a tile: its checksum and its inner sizes are verified, nothing is decoded yet.
    void open(size_t tile);

    /// Positions of the open tile that are left.
    uint64_t positions_left() const;

    struct Read {
        size_t elements = 0;
        uint64_t positions = 0;
        bool single = false;  // all runs are 1
    };
    /// Decodes at most `room` elements of the open tile to `values`, an array of the type, and their runs; the bytes
    /// from first_run - room + 1 to first_run may all be written. 0 elements at the end of the tile. Throws where the
    /// tile turns out to be damaged, and never writes or reads elsewhere.
    Read read(void* values, uint8_t* first_run, size_t room);

    /// Reads one element with all that is left of its run, however long, and returns that; 0 at the end of the tile.
    uint64_t read_whole(void* value);

    /// Passes over positions of the open tile, all of which are left, at the cost of a look at the runs at most.
    void skip(uint64_t positions);

    /// All values of the open tile where they lie, if it is stored plain with runs of 1; else null. Maybe unaligned.
    const uint8_t* plain() const;

 private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Reads everything once: true if every tile is sound and agrees with the directory, values included (text is UTF-8,
/// booleans are 0 or 1, extremes and counts are right). Memory does not grow with the value. `each_tile`, if there is one,
/// is called before every tile, and ends the reading if it throws an error that is not about the value.
bool is_valid(std::span<const uint8_t> bytes, const std::function<void()>& each_tile = {});

/// A sentence about the first thing that is wrong, or nothing.
std::string fault_of(std::span<const uint8_t> bytes, const std::function<void()>& each_tile = {});

}  // namespace qvo::value
