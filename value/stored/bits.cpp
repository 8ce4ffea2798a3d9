// Packing and unpacking, eight numbers in a word at a time.
#include "stored/bits.h"

namespace qvo::value {
namespace {

template <unsigned bits> struct PackedOf;
template <> struct PackedOf<1> { using type = uint8_t; };
template <> struct PackedOf<2> { using type = uint16_t; };
template <> struct PackedOf<4> { using type = uint32_t; };

template <unsigned bits> struct Groups {
    using Packed = typename PackedOf<bits>::type;

    QVO_INLINE static void pack(const uint8_t* __restrict bytes, size_t n, uint8_t* __restrict to) {
        for (size_t i = 0; i < n; ++i) {
            const auto packed = static_cast<Packed>(pack_group<bits>(format::load<uint64_t>(bytes + i * bit_group)));
            format::store(to + i * sizeof(Packed), packed);
        }
    }
    QVO_INLINE static void unpack(const uint8_t* __restrict packed, size_t n, uint8_t* __restrict to) {
        for (size_t i = 0; i < n; ++i)
            format::store(to + i * bit_group, unpack_group<bits>(format::load<Packed>(packed + i * sizeof(Packed))));
    }
};

}  // namespace

void pack_groups(const uint8_t* bytes, size_t groups, unsigned bits, uint8_t* to) {
    switch (bits) {
        case 1:
            return for_cpu<Groups<1>::pack>(bytes, groups, to);
        case 2:
            return for_cpu<Groups<2>::pack>(bytes, groups, to);
        default:
            return for_cpu<Groups<4>::pack>(bytes, groups, to);
    }
}

void unpack_groups(const uint8_t* packed, size_t groups, unsigned bits, uint8_t* to) {
    switch (bits) {
        case 1:
            return for_cpu<Groups<1>::unpack>(packed, groups, to);
        case 2:
            return for_cpu<Groups<2>::unpack>(packed, groups, to);
        default:
            return for_cpu<Groups<4>::unpack>(packed, groups, to);
    }
}

}  // namespace qvo::value
