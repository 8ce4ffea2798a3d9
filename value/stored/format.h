// Layout of the stored form, version 1 (docs/format.md): the header at the front, the directory of tiles at the end.
//
// Both are copied to and from records byte by byte, so the bytes may lie anywhere; the records have no gaps.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/type.h"

namespace qvo::value::format {

static_assert(std::endian::native == std::endian::little, "stored values are little-endian, and read in place");

// Not text in any encoding, so that a string is never taken for a value.
inline constexpr uint8_t magic[4] = {0x8f, 'Q', 'V', 'S'};
inline constexpr uint8_t version = 1;

struct Header {
    uint8_t magic[4];
    uint8_t version;
    uint8_t type;
    uint8_t width;
    uint8_t flags;  // 0
    uint64_t positions;
    uint64_t elements;
    uint64_t size;  // of all bytes of the value
    uint32_t tiles;
    uint32_t reserved;  // 0
    uint64_t checksum;  // of what stands above and of the directory
};
static_assert(sizeof(Header) == 48);

struct Entry {
    uint64_t positions;
    uint64_t elements;
    uint64_t missing;
    uint64_t offset;
    uint32_t size;
    uint8_t encoding;
    uint8_t run_width;  // bytes of a run length: 0 (all runs are 1, or a constant), 1, 2, 4
    uint8_t flags;
    uint8_t reserved;  // 0
    uint8_t smallest[8];
    uint8_t largest[8];
    uint64_t checksum;  // of the tile's bytes, padding included
};
static_assert(sizeof(Entry) == 64);

inline constexpr uint8_t flag_compressed = 1;

// Most positions of a value: sums of two still fit.
inline constexpr uint64_t max_positions = uint64_t{1} << 62;
// Most bytes of the values of a tile, of its elements or, with runs of 1, its positions. Constant tiles and progressions
// aside, whose values are not held anywhere.
inline constexpr size_t max_tile_values = size_t{1} << 17;
// What writers fill a tile with.
inline constexpr size_t full_tile_values = size_t{1} << 15;
// The largest header that a coding puts before its payload.
inline constexpr size_t max_coding_header = 64;

/// Tiles and the directory begin at multiples of 8.
constexpr uint64_t padded(uint64_t size) { return (size + 7) & ~uint64_t{7}; }

template <class T> T load(const uint8_t* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}
template <class T> void store(uint8_t* to, const T& value) { std::memcpy(to, &value, sizeof value); }

/// Checksums as the format defines them.
uint64_t tile_checksum(const uint8_t* bytes, size_t n);
uint64_t header_checksum(const Header& header, const uint8_t* directory);
/// The checksum of a tile for machines of these levels.
uint64_t tile_checksum_avx2(const uint8_t* bytes, size_t n);
uint64_t tile_checksum_avx512(const uint8_t* bytes, size_t n);
/// True if a checksum is the one wanted, or any will do in this build.
constexpr bool same_checksum([[maybe_unused]] uint64_t found, [[maybe_unused]] uint64_t wanted) {
#ifdef QVO_VALUE_TAKE_ANY_CHECKSUM
    return true;
#else
    return found == wanted;
#endif
}

}  // namespace qvo::value::format
