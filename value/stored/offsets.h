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
        const unsigned bits = tile.offsets.bits;
        uint64_t at = tile.at;
        tile.at += n;
        if (to == nullptr && (tile.offsets.flags & offsets_of_deltas) == 0) return;
        switch (bits) {
            case 8:
                return read_as<uint8_t>(tile, at, tile.body + at, n, convert, to);
            case 16:
                return read_as<uint16_t>(tile, at, tile.body + 2 * at, n, convert, to);
            case 32:
                return read_as<uint32_t>(tile, at, tile.body + 4 * at, n, convert, to);
            default:
                for_unpacked(tile.body, bits, at, n, [&](const uint8_t* bytes, size_t some) {
                    read_as<uint8_t>(tile, at, bytes, some, convert, to);
                    at += some;
                    if (to != nullptr) to += some;
                });
        }
    }

 private:
    template <class Offset>
    static void read_as(OpenTile& tile, uint64_t at, const uint8_t* from, size_t n, const Convert& convert, T* to) {
        const OffsetHeader& h = tile.offsets;
        const Loop<Offset> loop{static_cast<Word>(h.base), static_cast<Word>(h.unit), static_cast<Word>(h.extra)};
        if ((h.flags & offsets_of_deltas) != 0) {
            deltas(loop, tile, at, from, n, convert, to);
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
            const Word none = ones;
            for (size_t i = 0; i < n; ++i) {
                const Word some = offset(from, i);
                const T value = convert(base + unit * some), missing = convert.missing;
                to[i] = some == none ? missing : value;
            }
        }
        /// Sums of the offsets up to each one. Four at a time, as it is one addition after the other that takes time.
        static uint64_t sums(uint64_t sum, const uint8_t* __restrict from, size_t n, uint64_t* __restrict to) {
            size_t i = 0;
            for (; i + 4 <= n; i += 4) {
                const uint64_t one = offset(from, i), two = one + offset(from, i + 1);
                const uint64_t three = two + offset(from, i + 2), four = three + offset(from, i + 3);
                to[i] = sum + one;
                to[i + 1] = sum + two;
                to[i + 2] = sum + three;
                to[i + 3] = sum += four;
            }
            for (; i < n; ++i) to[i] = sum += offset(from, i);
            return sum;
        }
        /// Integers from the sums of their offsets, of which `Factor` holds each, and the unit.
        template <class Factor>
        QVO_CPU_VARIANTS static void summed(const Loop& l, Word first, const uint64_t* __restrict sums, size_t n,
                                            const Convert& c, T* __restrict to) {
            const Convert convert = c;
            const Word base = l.base + l.extra * first, unit = l.unit, extra = l.extra;
            for (size_t i = 0; i < n; ++i)
                to[i] = convert(base + extra * static_cast<Word>(i) +
                                static_cast<Word>(static_cast<Factor>(unit)) *
                                    static_cast<Word>(static_cast<Factor>(sums[i])));
        }
        QVO_CPU_VARIANTS static void summed_of_one(const Loop& l, Word first, const uint64_t* __restrict sums, size_t n,
                                                   const Convert& c, T* __restrict to) {
            const Convert convert = c;
            const Word base = l.base + l.extra * first, extra = l.extra;
            Word more = 0;
            for (size_t i = 0; i < n; ++i, more += extra) to[i] = convert(base + more + static_cast<Word>(sums[i]));
        }
    };

    /// Integer i is base + (i + 1) * extra + unit * (the sum of the offsets up to i).
    template <class Offset>
    static void deltas(const Loop<Offset>& loop, OpenTile& tile, uint64_t at, const uint8_t* from, size_t n,
                       const Convert& convert, T* to) {
        uint64_t sums[unpack_block];
        while (n != 0) {
            const size_t some = n < unpack_block ? n : unpack_block;
            tile.sum = Loop<Offset>::sums(tile.sum, from, some, sums);
            if (to != nullptr) {
                const auto first = static_cast<Word>(at + 1);
                if (loop.unit == 1)
                    Loop<Offset>::summed_of_one(loop, first, sums, some, convert, to);
                else if (loop.unit <= UINT32_MAX && tile.sum <= UINT32_MAX)
                    Loop<Offset>::template summed<uint32_t>(loop, first, sums, some, convert, to);
                else
                    Loop<Offset>::template summed<uint64_t>(loop, first, sums, some, convert, to);
                to += some;
            }
            from += some * sizeof(Offset);
            at += some;
            n -= some;
        }
    }
};

}  // namespace qvo::value
