// Hashes of values: one of any width, and many of a tile at once.
#include "aggregate/murmur3.h"

#include "core/move.h"

namespace qvo {
namespace {

template <class Bits>
QVO_INLINE void hash_array(const Bits* __restrict values, size_t n, uint32_t seed, uint32_t* __restrict hashes) {
    for (size_t i = 0; i < n; ++i) hashes[i] = murmur3::hash(values[i], seed);
}

template <class Bits>
void hash_list(const Bits* values, const uint16_t* indexes, size_t n, const uint32_t* seeds, uint32_t* hashes) {
    for (size_t i = 0; i < n; ++i) hashes[i] = murmur3::hash(values[indexes[i]], seeds[i]);
}

uint32_t block_at(const uint8_t* bytes) {
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

}  // namespace

uint32_t hash_bytes(const uint8_t* bytes, size_t len, uint32_t seed) {
    uint32_t hash = seed;
    size_t left = len;
    for (; left >= 4; left -= 4, bytes += 4) hash = murmur3::add_block(hash, block_at(bytes));
    uint32_t tail = 0;
    switch (left) {
        case 3:
            tail |= uint32_t{bytes[2]} << 16;
            [[fallthrough]];
        case 2:
            tail |= uint32_t{bytes[1]} << 8;
            [[fallthrough]];
        case 1:
            hash ^= murmur3::scrambled(tail | bytes[0]);
    }
    return murmur3::finish(hash, static_cast<uint32_t>(len));
}

void hash_values(const uint8_t* values, size_t width, size_t n, uint32_t seed, uint32_t* hashes) {
    with_unsigned(
        width,
        [=](auto bits) {
            for_cpu<hash_array<decltype(bits)>>(reinterpret_cast<const decltype(bits)*>(values), n, seed, hashes);
        },
        [=] {
            for (size_t i = 0; i < n; ++i) hashes[i] = hash_bytes(values + i * width, width, seed);
        });
}

void hash_values_at(const uint8_t* values, size_t width, const uint16_t* indexes, size_t n, const uint32_t* seeds,
                    uint32_t* hashes) {
    with_unsigned(
        width,
        [=](auto bits) { hash_list(reinterpret_cast<const decltype(bits)*>(values), indexes, n, seeds, hashes); },
        [=] {
            for (size_t i = 0; i < n; ++i) hashes[i] = hash_bytes(values + indexes[i] * width, width, seeds[i]);
        });
}

}  // namespace qvo

extern "C" QVO_PLAIN_NAME qvo_uint4 murmur_hash3_32(const void* key, qvo_size_t len, qvo_uint4 seed) {
    return qvo::hash_bytes(static_cast<const uint8_t*>(key), len, seed);
}
