// Writing the stored form, a tile at a time: elements come in with their runs, equal neighbours are joined, and each
// full tile is written in the encoding that is smallest among those that its content makes likely.
#pragma once

#include <functional>

#include "base/buffer.h"
#include "base/type.h"
#include "stored/reader.h"

namespace qvo::value {

struct WriterOptions {
    bool compress = false;                 // compress tiles where that makes them smaller
    std::function<void()> each_tile = {};  // called before every tile of a stored sequence that is added; may throw
};

class Writer {
 public:
    explicit Writer(ValueType type, WriterOptions options = {});
    ~Writer();
    Writer(Writer&&) noexcept;

    /// Says how many positions there will be, so that the bytes need not be moved as they grow. It may be wrong.
    void expect(uint64_t positions);

    /// Adds n elements: an array of the type, and their runs as operators have them, the byte of element i at
    /// first_run[-i]. Text is zero-padded.
    void put(const void* values, const uint8_t* first_run, size_t n);
    /// Adds n elements with runs of 1.
    void put_single(const void* values, size_t n);
    /// Adds one value `positions` times.
    void put_repeated(const void* value, uint64_t positions);
    /// Adds start, start + step, ... (integers and timestamps); an error if the type cannot hold all of them.
    void put_progression(int64_t start, int64_t step, uint64_t positions);
    /// Adds all of a stored sequence of the same type; its full tiles are taken over as they are.
    void put_stored(const Stored& stored);

    uint64_t positions() const;
    /// Closes the last tile and returns the value. The writer is used up.
    Buffer finish();
    /// After finish(): all values one after the other, if they are still at hand, as those of a single tile may be; else
    /// nothing.
    Buffer values();

 private:
    friend Buffer append(const Stored& x, const Stored& y, std::function<void()> each_tile);
    struct State;
    std::unique_ptr<State> state_;
};

/// `x` with `y` after it, at the cost of the last tile of `x`, of `y`, and of moving the bytes before.
Buffer append(const Stored& x, const Stored& y, std::function<void()> each_tile = {});

}  // namespace qvo::value
