// The checksums of the stored form: XXH3 of 64 bits.
//
// The hash is compiled into the program, here for any machine, in checksum_avx2.cpp and checksum_avx512.cpp for those with
// wider vectors, each of which makes it half as fast again or more. All give the same numbers.
#define XXH_INLINE_ALL
#include <xxhash.h>

#include "stored/format.h"

namespace qvo::value::format {

uint64_t tile_checksum(const uint8_t* bytes, size_t n) {
#if QVO_WIDE_X86
    if (cpu_level >= CpuLevel::avx512) return tile_checksum_avx512(bytes, n);
    if (cpu_level >= CpuLevel::avx2) return tile_checksum_avx2(bytes, n);
#endif
    return XXH3_64bits(bytes, n);
}

uint64_t header_checksum(const Header& header, const uint8_t* directory) {
    // The header seeds the directory, which lies elsewhere: one number for both without a state in between.
    const uint64_t seed = XXH3_64bits(&header, offsetof(Header, checksum));
    return XXH3_64bits_withSeed(directory, header.tiles * sizeof(Entry), seed);
}

}  // namespace qvo::value::format
