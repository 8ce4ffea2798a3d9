// Element tags, and what they stand for: widths, capacities, the layout of the record.
//
// A tag stands for an element type; it is not the C type. datetime and uint8, or boolean and uint1, share a
// representation but not a code or every rule, so templates take tags. Char has no tag: its width is known
// only at run time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "cpu.h"
#include "qvohost.h"
#include "qvoseq.h"

namespace qvo {

// Bytes of a payload, and the elements it holds: each costs its own bytes and one run byte.
inline constexpr size_t payload_bytes = sizeof(qvo_seq_payload_t);
constexpr size_t capacity_of(size_t width) { return payload_bytes / (width + 1); }

// Longest run of one element.
inline constexpr unsigned max_run = 255;

// The value as an unsigned number of its width, for operators that only move values: no conversion touches the bits (a
// signalling NaN stays one). Tiles are written as one type and read as another of the same width: the library is
// compiled without type-based aliasing, and loops say with __restrict what does not overlap.
using bits1 = uint8_t;
using bits2 = uint16_t;
using bits4 = uint32_t;
using bits8 = uint64_t;

template <class Value, uint8_t Code> struct Element {
    using value = Value;
    static constexpr uint8_t code = Code;
    static constexpr uint16_t width = sizeof(Value);
    static constexpr size_t capacity = capacity_of(sizeof(Value));
    static constexpr bool is_floating = std::is_floating_point_v<Value>;
    static constexpr bool is_signed = std::is_signed_v<Value>;
};

struct elem_int1 : Element<qvo_int1, QVO_DD_INT1> {
    using bits = bits1;
};
struct elem_int2 : Element<qvo_int2, QVO_DD_INT2> {
    using bits = bits2;
};
struct elem_int4 : Element<qvo_int4, QVO_DD_INT4> {
    using bits = bits4;
};
struct elem_int8 : Element<qvo_int8, QVO_DD_INT8> {
    using bits = bits8;
};
struct elem_uint1 : Element<qvo_uint1, QVO_DD_UINT1> {
    using bits = bits1;
};
struct elem_uint2 : Element<qvo_uint2, QVO_DD_UINT2> {
    using bits = bits2;
};
struct elem_uint4 : Element<qvo_uint4, QVO_DD_UINT4> {
    using bits = bits4;
};
struct elem_uint8 : Element<qvo_uint8, QVO_DD_UINT8> {
    using bits = bits8;
};
struct elem_float : Element<qvo_float, QVO_DD_FLOAT> {
    using bits = bits4;
};
struct elem_double : Element<qvo_double, QVO_DD_DOUBLE> {
    using bits = bits8;
};
struct elem_datetime : Element<qvo_datetime, QVO_DD_DATETIME> {
    using bits = bits8;
};
struct elem_bool : Element<qvo_seq_bool, QVO_DD_UINT1> {
    using bits = bits1;
};

static_assert(elem_int1::capacity == 2048 && elem_int2::capacity == 1365);
static_assert(elem_int4::capacity == 819 && elem_int8::capacity == 455);

// The record is a binary interface: hosts lay it out from the header.
static_assert(sizeof(qvo_seq_payload_t) == 4096);
#if defined(__LP64__)
static_assert(sizeof(qvo_seq_iterator_t) == 4504);
static_assert(offsetof(qvo_seq_iterator_t, elem_size) == 32 && offsetof(qvo_seq_iterator_t, first_seq_no) == 40);
static_assert(offsetof(qvo_seq_iterator_t, opd) == 64 && offsetof(qvo_seq_iterator_t, buf) == 88);
static_assert(offsetof(qvo_seq_iterator_t, elem_type) == 104 && offsetof(qvo_seq_iterator_t, context) == 112);
static_assert(offsetof(qvo_seq_iterator_t, tile) == 392 && offsetof(qvo_seq_tile_t, u) == 16);
#endif

}  // namespace qvo

// Exported functions whose names do not open with qvo_. They are weak and never called by the library itself, so that a
// program's own functions of these names take nothing away from it, with the shared library and with the archive.
#define QVO_PLAIN_NAME QVO_API __attribute__((weak))

// Loops for several instruction sets (cpu.h), and the functions that they are made of: inlined, so that they are
// compiled for each of them.
#define QVO_INLINE [[gnu::always_inline]] inline
