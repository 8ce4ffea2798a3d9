// The checksum of a tile, compiled for machines with AVX-512; only called where there is one.
#include "stored/format.h"

#if QVO_WIDE_X86

// What the standard library has is compiled before, for any machine: the linker may keep these copies for all.
#include <immintrin.h>
#include <stdlib.h>
#include <string.h>

#ifdef __clang__
#pragma clang attribute push(__attribute__((target("avx512f,avx512bw,avx512vl,avx512dq"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512bw,avx512vl,avx512dq")
// Otherwise each vector is loaded twice, for the two instructions that take it: a tenth slower, and a quarter where
// vectors lie across two cache lines.
#pragma GCC optimize("no-tree-ter")
#endif
#define XXH_NO_PREFETCH  // what is read in order comes by itself
#define XXH_INLINE_ALL
#define XXH_VECTOR XXH_AVX512
#include <xxhash.h>

namespace qvo::value::format {

uint64_t tile_checksum_avx512(const uint8_t* bytes, size_t n) { return XXH3_64bits(bytes, n); }

}  // namespace qvo::value::format
#ifdef __clang__
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

#endif
