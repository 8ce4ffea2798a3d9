// Integers as small offsets: base + unit * offset, or, of deltas, each integer as the one before + extra + unit * offset.
// What they stand for is the caller's: integers of any width (narrow, delta) or decimals.
//
// All arithmetic is on unsigned words and wraps, in writing as in reading, so it is exact whatever the range.
#pragma once

#include <type_traits>

#include "stored/bits.h"
#include "stored/coding.h"

namespace qvo::value {

/// Words to count in: no narrower than int, so that nothing is promoted, and no wider than needed, for more in a vector.
template <class V> using WordOf = std::conditional_t<sizeof(V) == 8, uint64_t, uint32_t>;

constexpr size_t offsets_size(uint64_t n, unsigned bits) { return sizeof(OffsetHeader) + packed_size(n, bits); }

/// Writing: V is an integer of 1 to 8 bytes.
template <class V> struct OffsetWriter {
    /// Finds the fewest bits for the integers, which are from smallest to largest: false if `below` is not undercut.
    static bool plan(const V* values, size_t n, V smallest, V largest, unsigned below, OffsetHeader& header);
    /// Writes header and offsets.
    static void write(const V* values, size_t n, const OffsetHeader& header, uint8_t* to);
};

/// Takes the header of a tile and checks it against the tile's size.
void open_offsets(OpenTile& tile);

/// Reading: `Convert` makes a T of a word, and has the value that stands for the offset of all ones, where there is one.
template <class Convert, class T> class OffsetReader {
    using Word = typename Convert::Word;

 public:
    /// Reads n integers; passes over them if `to` is null.
    static void read(OpenTile& tile, size_t n, const Convert& convert, T* to) {
        if (to == nullptr && (tile.offsets.flags & offsets_of_deltas) == 0) return;
        const unsigned bits = tile.offsets.bits;
        switch (bits) {
            case 8:
                return read_as<uint8_t>(tile, tile.body + tile.at, n, convert, to);
            case 16:
                return read_as<uint16_t>(tile, tile.body + 2 * tile.at, n, convert, to);
            case 32:
                return read_as<uint32_t>(tile, tile.body + 4 * tile.at, n, convert, to);
            default:
                for_unpacked(tile.body, bits, tile.at, n, [&](const uint8_t* bytes, size_t some) {
                    read_as<uint8_t>(tile, bytes, some, convert, to);
                    if (to != nullptr) to += some;
                });
        }
    }

 private:
    template <class Offset>
    static void read_as(OpenTile& tile, const uint8_t* from, size_t n, const Convert& convert, T* to) {
        const OffsetHeader& h = tile.offsets;
        const Loop<Offset> loop{static_cast<Word>(h.base), static_cast<Word>(h.unit), static_cast<Word>(h.extra)};
        if ((h.flags & offsets_of_deltas) != 0) {
            tile.sum = deltas(loop, static_cast<Word>(tile.sum), from, n, convert, to);
        } else if ((h.flags & offsets_with_missing) != 0) {
            const auto ones = static_cast<Offset>(~uint32_t{0} >> (32 - h.bits));
            Loop<Offset>::with_missing(loop, ones, from, n, convert, to);
        } else if (loop.unit == 1) {
            Loop<Offset>::of_one(loop, from, n, convert, to);
        } else {
            Loop<Offset>::of_units(loop, from, n, convert, to);
        }
    }

    template <class Offset> struct Loop {
        Word base, unit, extra;

        QVO_INLINE static Word offset(const uint8_t* from, size_t i) {
            return format::load<Offset>(from + i * sizeof(Offset));
        }
        QVO_CPU_VARIANTS static void of_one(const Loop& l, const uint8_t* __restrict from, size_t n, const Convert& c,
                                            T* __restrict to) {
            const Convert convert = c;
            const Word base = l.base;
            for (size_t i = 0; i < n; ++i) to[i] = convert(base + offset(from, i));
        }
        QVO_CPU_VARIANTS static void of_units(const Loop& l, const uint8_t* __restrict from, size_t n, const Convert& c,
                                              T* __restrict to) {
            const Convert convert = c;
            const Word base = l.base, unit = l.unit;
            for (size_t i = 0; i < n; ++i) to[i] = convert(base + unit * offset(from, i));
        }
        QVO_CPU_VARIANTS static void with_missing(const Loop& l, Offset ones, const uint8_t* __restrict from, size_t n,
                                                  const Convert& c, T* __restrict to) {
            const Convert convert = c;
            const Word base = l.base, unit = l.unit;
            for (size_t i = 0; i < n; ++i) {
                const T value = convert(base + unit * offset(from, i));
                to[i] = offset(from, i) == ones ? convert.missing : value;
            }
        }
        /// The words of deltas, and the last one. It is one addition after the other that takes the time.
        QVO_CPU_VARIANTS static Word sums(const Loop& l, Word sum, const uint8_t* __restrict from, size_t n,
                                          Word* __restrict to) {
            const Word unit = l.unit, extra = l.extra;
            for (size_t i = 0; i < n; ++i) {
                sum += extra + unit * offset(from, i);
                to[i] = sum;
            }
            return sum;
        }
        QVO_CPU_VARIANTS static void converted(const Word* __restrict words, size_t n, const Convert& c,
                                               T* __restrict to) {
            const Convert convert = c;
            for (size_t i = 0; i < n; ++i) to[i] = convert(words[i]);
        }
    };

    template <class Offset>
    static Word deltas(const Loop<Offset>& loop, Word sum, const uint8_t* from, size_t n, const Convert& convert,
                       T* to) {
        Word words[unpack_block];
        while (n != 0) {
            const size_t some = n < unpack_block ? n : unpack_block;
            sum = Loop<Offset>::sums(loop, sum, from, some, words);
            if (to != nullptr) {
                Loop<Offset>::converted(words, some, convert, to);
                to += some;
            }
            from += some * sizeof(Offset);
            n -= some;
        }
        return sum;
    }
};

}  // namespace qvo::value
