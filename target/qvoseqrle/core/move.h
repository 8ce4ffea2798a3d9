// Moving values without looking at them. Operators that only pick, copy or reorder elements work on widths, not on
// types: one loop serves every type of a width, and char sequences of any width have one of their own.
#pragma once

#include "core/tile.h"

namespace qvo {

/// The unsigned integer of a fixed width.
template <size_t Width>
using unsigned_of =
    std::conditional_t<Width == 8, uint64_t,
                       std::conditional_t<Width == 4, uint32_t, std::conditional_t<Width == 2, uint16_t, uint8_t>>>;

/// Moves single elements of a fixed width: by memcpy, which the compiler turns into moves of one register and which
/// does not care for alignment.
template <size_t Width> struct FixedMover {
    QVO_INLINE static size_t width() { return Width; }
    QVO_INLINE static void move(void* to, size_t i, const void* from, size_t k) {
        std::memcpy(static_cast<uint8_t*>(to) + i * Width, static_cast<const uint8_t*>(from) + k * Width, Width);
    }
    /// Element k of `from` as elements i .. i+n-1 of `to`.
    QVO_INLINE static void fill(void* to, size_t i, const void* from, size_t k, size_t n) {
        uint8_t value[Width];
        std::memcpy(value, static_cast<const uint8_t*>(from) + k * Width, Width);
        uint8_t* const out = static_cast<uint8_t*>(to) + i * Width;
        for (size_t j = 0; j < n; ++j) std::memcpy(out + j * Width, value, Width);
    }
};

/// Moves single elements of any width.
class ByteMover {
 public:
    explicit ByteMover(size_t width) : width_(width) {}
    size_t width() const { return width_; }
    void move(void* to, size_t i, const void* from, size_t k) const {
        std::memcpy(static_cast<uint8_t*>(to) + i * width_, static_cast<const uint8_t*>(from) + k * width_, width_);
    }
    void fill(void* to, size_t i, const void* from, size_t k, size_t n) const {
        for (const size_t end = i + n; i != end; ++i) move(to, i, from, k);
    }

 private:
    size_t width_;
};

/// The width of a mover if it is fixed, else 0.
template <class Mover> inline constexpr size_t fixed_width = 0;
template <size_t Width> inline constexpr size_t fixed_width<FixedMover<Width>> = Width;

/// Calls f with the mover for elements of the given width.
template <class F> QVO_INLINE auto with_mover(size_t width, F f) {
    switch (width) {
        case 1:
            return f(FixedMover<1>{});
        case 2:
            return f(FixedMover<2>{});
        case 4:
            return f(FixedMover<4>{});
        case 8:
            return f(FixedMover<8>{});
        default:
            return f(ByteMover(width));
    }
}

/// Calls fixed(V{}) with the unsigned integer of a width of 1, 2, 4 or 8 bytes, and other() for all other widths.
template <class Fixed, class Other> QVO_INLINE auto with_unsigned(size_t width, Fixed fixed, Other other) {
    switch (width) {
        case 1:
            return fixed(bits1{});
        case 2:
            return fixed(bits2{});
        case 4:
            return fixed(bits4{});
        case 8:
            return fixed(bits8{});
        default:
            return other();
    }
}

/// Copies the values of `n` neighbouring elements between tiles of the same width; the tiles are different ones.
QVO_INLINE void copy_values(qvo_seq_iterator_h to, size_t to_index, qvo_seq_iterator_h from, size_t from_index,
                            size_t n) {
    const size_t width = from->elem_size;
    std::memcpy(values_of<uint8_t>(to) + to_index * width, values_of<uint8_t>(from) + from_index * width, n * width);
}

/// Ends a call that delivers another tile as it is: all elements with their runs, but not the null marks.
QVO_INLINE QVO_RET deliver_copy(qvo_seq_iterator_h to, qvo_seq_iterator_h from, uint64_t next_seq_no) {
    copy_values(to, 0, from, 0, from->tile_size);
    TileWriter out(to, from->tile_size);
    copy_runs(runs_of(to), runs_of(from), from->tile_size);
    out.advance({from->tile_size, 0});
    return out.finish_at(next_seq_no);
}

}  // namespace qvo
