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
    /// Writes header and offsets. The values may be counted from another number than those that the header speaks of.
    static void write(const V* values, size_t n, const OffsetHeader& header, int64_t from, uint8_t* to);
};

/// Takes the header of a tile and checks it against the tile's size.
void open_offsets(OpenTile& tile);

/// Sums of offsets up to each one, the first added to `sum`; returns the last. Unaligned.
uint64_t running_sums(uint64_t sum, const uint8_t* offsets, size_t n, unsigned bits, uint64_t* to);
uint64_t running_sums(uint64_t sum, const uint16_t* offsets, size_t n, unsigned bits, uint64_t* to);
uint64_t running_sums(uint64_t sum, const uint32_t* offsets, size_t n, unsigned bits, uint64_t* to);

/// Reading: `Convert` makes a T of a word, and has the value that stands for the offset of all ones, where there is one.
/// Its `run<Loop>` calls Loop::run, compiled for the instruction sets that the conversion takes. If it has `read_groups`,
/// that makes values of small offsets that are deltas, with AVX-512 in one pass.
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
            case 12:
                return read_packed<uint16_t>(tile, at, n, convert, to);
            case 24:
                return read_packed<uint32_t>(tile, at, n, convert, to);
            default:
                return read_packed<uint8_t>(tile, at, n, convert, to);
        }
    }

 private:
    template <class Offset>
    static void read_packed(OpenTile& tile, uint64_t at, size_t n, const Convert& convert, T* to) {
        for_unpacked<Offset>(tile.body, tile.offsets.bits, tile.n, at, n, [&](const uint8_t* offsets, size_t some) {
            read_as<Offset>(tile, at, offsets, some, convert, to);
            at += some;
            if (to != nullptr) to += some;
        });
    }

    template <class Offset>
    static void read_as(OpenTile& tile, uint64_t at, const uint8_t* from, size_t n, const Convert& convert, T* to) {
        const OffsetHeader& h = tile.offsets;
        if ((h.flags & offsets_of_deltas) != 0) return deltas<Offset>(tile, at, from, n, convert, to);
        Convert::template run<Loop<Offset>>(Loop<Offset>(h), from, n, convert, to);
    }

    static Word word(uint64_t x) { return static_cast<Word>(x); }

    /// Integers from their offsets, each by itself.
    template <class Offset> struct Loop {
        Word base, unit;
        Word none;  // the offset of what is missing
        bool any_missing;

        explicit Loop(const OffsetHeader& h)
            : base(word(h.base)),
              unit(word(h.unit)),
              none(static_cast<Offset>(~uint32_t{0} >> (32 - h.bits))),
              any_missing((h.flags & offsets_with_missing) != 0) {}

        QVO_INLINE static Word offset(const uint8_t* from, size_t i) {
            return format::load<Offset>(from + i * sizeof(Offset));
        }
        QVO_INLINE static void run(const Loop& l, const uint8_t* __restrict from, size_t n, const Convert& c,
                                   T* __restrict to) {
            const Convert convert = c;
            const Word base = l.base, unit = l.unit, none = l.none;
            if (l.any_missing) {
                for (size_t i = 0; i < n; ++i) {
                    const Word some = offset(from, i);
                    const T value = convert(base + unit * some), missing = convert.missing;
                    to[i] = some == none ? missing : value;
                }
            } else if (unit == 1) {
                for (size_t i = 0; i < n; ++i) to[i] = convert(base + offset(from, i));
            } else {
                for (size_t i = 0; i < n; ++i) to[i] = convert(base + unit * offset(from, i));
            }
        }
    };

    /// Integers from the sums of their offsets, of which `Factor` holds each, and the unit.
    template <class Factor> struct Sums {
        Word base, extra, unit;

        QVO_INLINE static void run(const Sums& l, const uint64_t* __restrict sums, size_t n, const Convert& c,
                                   T* __restrict to) {
            const Convert convert = c;
            const Word base = l.base, extra = l.extra, unit = static_cast<Word>(static_cast<Factor>(l.unit));
            if (unit == 1) {
                Word more = base;
                for (size_t i = 0; i < n; ++i, more += extra) to[i] = convert(more + word(sums[i]));
            } else {
                for (size_t i = 0; i < n; ++i)
                    to[i] = convert(base + extra * word(i) + unit * static_cast<Word>(static_cast<Factor>(sums[i])));
            }
        }
    };

    /// Integer i is base + (i + 1) * extra + unit * (the sum of the offsets up to i).
    template <class Offset>
    static void deltas(OpenTile& tile, uint64_t at, const uint8_t* from, size_t n, const Convert& convert, T* to) {
        const OffsetHeader& h = tile.offsets;
        if constexpr (sizeof(Offset) == 1 &&
                      requires { Convert::read_groups(convert, Word(), Word(), uint64_t(), from, n, to); })
            if (to != nullptr && h.bits < 8 && h.unit == 1 && cpu_level >= CpuLevel::avx512) {
                const Word extra = word(h.extra), first = word(h.base) + extra * word(at + 1);
                tile.sum = Convert::read_groups(convert, first, extra, tile.sum, from, n, to);
                return;
            }
        uint64_t sums[unpack_block];
        while (n != 0) {
            const size_t some = n < unpack_block ? n : unpack_block;
            tile.sum = running_sums(tile.sum, reinterpret_cast<const Offset*>(from), some, h.bits, sums);
            if (to != nullptr) {
                const Word extra = word(h.extra), base = word(h.base) + extra * word(at + 1), unit = word(h.unit);
                if (h.unit <= UINT32_MAX && tile.sum <= UINT32_MAX)
                    Convert::template run<Sums<uint32_t>>({base, extra, unit}, sums, some, convert, to);
                else
                    Convert::template run<Sums<uint64_t>>({base, extra, unit}, sums, some, convert, to);
                to += some;
            }
            from += some * sizeof(Offset);
            at += some;
            n -= some;
        }
    }
};

}  // namespace qvo::value
