// Element-wise comparison and logic.
#include <bit>
#include <cstring>
#include <functional>

#include "functions/catalog.h"
#include "functions/inputs.h"
#include "operators/arithmetic.h"

namespace qvo::value {
namespace {

constexpr ValueType int8{Type::int8, 8}, boolean{Type::boolean, 1};

/// The type in which a comparison is exact; nothing for uint8 beside other integers.
std::optional<ValueType> comparing_type(const Inputs& in, const Arguments& a) {
    // Scalars are compared in the sequences' own type, if there is one and it holds them.
    std::optional<ValueType> own;
    bool several = false, natural = false, other = false;
    for (size_t i = 0; i < a.size(); ++i) {
        natural |= in.type(i).type == Type::uint8;
        other |= in.type(i).type != Type::uint8;
        if (in.is_scalar(i)) continue;
        several |= own && *own != in.type(i);
        own = in.type(i);
    }
    if (!several && own->type != Type::char_ && own->type != Type::float_) {
        bool fits = true;
        std::string fault;
        for (size_t i = 0; i < a.size(); ++i) {
            if (!in.is_scalar(i)) continue;
            const bool whole = a.datum(i).kind != Datum::Kind::real || is_floating(own->type);
            fits = fits && whole && fit(a.datum(i), *own, fault);
        }
        if (fits) return own;
    }
    const ValueType type = in.meeting_type();
    if (natural && other && type == int8) return std::nullopt;
    return type;
}

/// An operation on integers, those of uint8 as such and all others as int8.
template <size_t N, class Op, class... V>
Series mixed(Inputs& in, const Op& op, std::array<Series, N> sides = std::array<Series, N>()) {
    constexpr size_t i = sizeof...(V);
    if constexpr (i == N) {
        return elementwise<uint8_t, V...>(in.plan(), boolean, sides, op);
    } else {
        const bool natural = in.type(i).type == Type::uint8;
        sides[i] = in.as(i, natural ? in.type(i) : int8);
        return natural ? mixed<N, Op, V..., uint64_t>(in, op, sides) : mixed<N, Op, V..., int64_t>(in, op, sides);
    }
}

/// A signed and an unsigned side: below 0 is below everything; the relation of the signs, else of the numbers.
template <class Relation> struct MixedSigns {
    template <class A, class B> QVO_INLINE bool operator()(A a, B b) const {
        return Relation{}(std::cmp_less(a, b) ? -1 : std::cmp_less(b, a) ? 1 : 0, 0);
    }
};
struct MixedBetween {
    template <class X, class L, class H> QVO_INLINE bool operator()(X x, L low, H high) const {
        return std::cmp_greater_equal(x, low) && std::cmp_less_equal(x, high);
    }
};

/// Short texts as numbers whose first byte is the highest: in the order of their bytes.
template <class Relation> struct ShortTexts {
    QVO_INLINE static uint8_t number(uint8_t text) { return text; }
    QVO_INLINE static uint16_t number(uint16_t text) { return __builtin_bswap16(text); }
    QVO_INLINE static uint32_t number(uint32_t text) { return __builtin_bswap32(text); }
    QVO_INLINE static uint64_t number(uint64_t text) { return __builtin_bswap64(text); }
    template <class V> QVO_INLINE bool operator()(V a, V b) const { return Relation{}(number(a), number(b)); }
};

template <class Relation> Series compared(Plan&, Arguments& a, const BinaryMembers& members) {
    Inputs in(a);
    const std::optional<ValueType> type = comparing_type(in, a);
    if (!type) return mixed<2>(in, MixedSigns<Relation>{});
    if (type->type == Type::char_ && type->width <= sizeof(uint64_t)) {
        const ValueType text{Type::char_, std::bit_ceil(type->width)};
        return with_bits(text.width, [&](auto bits) {
            using V = decltype(bits);
            return in.compute<uint8_t, V, V>(boolean, text, ShortTexts<Relation>{});
        });
    }
    return in.compute(members[static_cast<size_t>(type->type)], boolean, *type);
}

#define EQ(type) qvo_seq_eq_##type
#define NE(type) qvo_seq_ne_##type
#define LT(type) qvo_seq_lt_##type
#define LE(type) qvo_seq_le_##type
#define GT(type) qvo_seq_gt_##type
#define GE(type) qvo_seq_ge_##type
constexpr BinaryMembers eq_members = QVO_VALUE_MEMBERS(EQ, qvo_seq_eq_char);
constexpr BinaryMembers ne_members = QVO_VALUE_MEMBERS(NE, qvo_seq_ne_char);
constexpr BinaryMembers lt_members = QVO_VALUE_MEMBERS(LT, qvo_seq_lt_char);
constexpr BinaryMembers le_members = QVO_VALUE_MEMBERS(LE, qvo_seq_le_char);
constexpr BinaryMembers gt_members = QVO_VALUE_MEMBERS(GT, qvo_seq_gt_char);
constexpr BinaryMembers ge_members = QVO_VALUE_MEMBERS(GE, qvo_seq_ge_char);
#undef EQ
#undef NE
#undef LT
#undef LE
#undef GT
#undef GE

Series eq(Plan& plan, Arguments& a) { return compared<std::equal_to<>>(plan, a, eq_members); }
Series ne(Plan& plan, Arguments& a) { return compared<std::not_equal_to<>>(plan, a, ne_members); }
Series lt(Plan& plan, Arguments& a) { return compared<std::less<>>(plan, a, lt_members); }
Series le(Plan& plan, Arguments& a) { return compared<std::less_equal<>>(plan, a, le_members); }
Series gt(Plan& plan, Arguments& a) { return compared<std::greater<>>(plan, a, gt_members); }
Series ge(Plan& plan, Arguments& a) { return compared<std::greater_equal<>>(plan, a, ge_members); }

struct BetweenText {
    size_t width;
    static LoopFault run(const Batch& batch, const void* operation) {
        const size_t width = static_cast<const BetweenText*>(operation)->width;
        for (size_t i = 0; i < batch.n; ++i) {
            const auto at = [&](size_t k) { return static_cast<const char*>(batch.in[k]) + i * width; };
            static_cast<uint8_t*>(batch.out)[i] =
                std::memcmp(at(0), at(1), width) >= 0 && std::memcmp(at(0), at(2), width) <= 0;
        }
        return {};
    }
};

Series between(Plan& plan, Arguments& a) {
    Inputs in(a);
    const std::optional<ValueType> common = comparing_type(in, a);
    if (!common) return mixed<3>(in, MixedBetween{});
    const ValueType type = *common;
    if (type.type == Type::char_) {
        const Series series[] = {in.as(0, type), in.as(1, type), in.as(2, type)};
        const BetweenText loop{type.width};
        return elementwise(plan, boolean, series, BetweenText::run, &loop, sizeof loop);
    }
    return with_fixed(type.type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        return in.compute<uint8_t, V, V, V>(boolean, type, Between{});
    });
}

Series logic(Arguments& a, BinaryConstructor construct) {
    Inputs in(a);
    for (size_t i = 0; i < 2; ++i)
        if (!in.is_scalar(i) && in.type(i) != boolean) in.refuse(i, "boolean (cast converts it)");
    return in.compute(construct, boolean, boolean);
}
Series and_(Plan&, Arguments& a) { return logic(a, qvo_seq_and); }
Series or_(Plan&, Arguments& a) { return logic(a, qvo_seq_or); }
Series xor_(Plan&, Arguments& a) { return logic(a, qvo_seq_xor); }
Series not_(Plan& plan, Arguments& a) { return wire(plan, qvo_seq_not, a.series(0), boolean); }

constexpr Parameter x_any{"x", Takes::operand}, y_any{"y", Takes::operand};
constexpr Parameter c_boolean{"c", Takes::operand, Of::boolean}, d_boolean{"d", Takes::operand, Of::boolean};
constexpr std::string_view compares =
    "Integers are compared exactly, integers with floating values as doubles, text by its bytes. A missing value "
    "compares false.";

const Function functions[] = {
    {.name = "eq",
     .group = Group::element_wise,
     .summary = "x = y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"eq([1, 2], 2.0)", "[false,true]"},
     .python = "==",
     .build = eq},
    {.name = "ne",
     .group = Group::element_wise,
     .summary = "x ≠ y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = "Where one of them is missing, true; else the opposite of eq.",
     .example = {"ne(['a', 'b'], 'b')", "[true,false]"},
     .python = "!=",
     .build = ne},
    {.name = "lt",
     .group = Group::element_wise,
     .summary = "x < y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"lt([1, 2, 3], 2)", "[true,false,false]"},
     .python = "<",
     .build = lt},
    {.name = "le",
     .group = Group::element_wise,
     .summary = "x ≤ y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"le([1, 2, 3], 2)", "[true,true,false]"},
     .python = "<=",
     .build = le},
    {.name = "gt",
     .group = Group::element_wise,
     .summary = "x > y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"gt([1.5, null], 1)", "[true,false]"},
     .python = ">",
     .build = gt},
    {.name = "ge",
     .group = Group::element_wise,
     .summary = "x ≥ y.",
     .parameters = {x_any, y_any},
     .result = "boolean",
     .rule = compares,
     .example = {"ge([1, 2, 3], [3, 2, 1])", "[false,true,true]"},
     .python = ">=",
     .build = ge},
    {.name = "between",
     .group = Group::element_wise,
     .summary = "lo ≤ x and x ≤ hi.",
     .parameters = {x_any, {"lo", Takes::operand}, {"hi", Takes::operand}},
     .result = "boolean",
     .rule = compares,
     .example = {"between([1, 2, 3], 2, 3)", "[false,true,true]"},
     .build = between},
    {.name = "and",
     .group = Group::element_wise,
     .summary = "True where both are.",
     .parameters = {c_boolean, d_boolean},
     .result = "boolean",
     .rule = "The scalars 0 and 1 are booleans here.",
     .example = {"and([true, true], [true, false])", "[true,false]"},
     .python = "&",
     .build = and_},
    {.name = "or",
     .group = Group::element_wise,
     .summary = "True where one or both are.",
     .parameters = {c_boolean, d_boolean},
     .result = "boolean",
     .rule = "The scalars 0 and 1 are booleans here.",
     .example = {"or([true, false], [false, false])", "[true,false]"},
     .python = "|",
     .build = or_},
    {.name = "xor",
     .group = Group::element_wise,
     .summary = "True where exactly one is.",
     .parameters = {c_boolean, d_boolean},
     .result = "boolean",
     .rule = "The scalars 0 and 1 are booleans here.",
     .example = {"xor([true, true], [true, false])", "[false,true]"},
     .python = "^",
     .build = xor_},
    {.name = "not",
     .group = Group::element_wise,
     .summary = "True where c is false.",
     .parameters = {{"c", Takes::sequence, Of::boolean}},
     .result = "boolean",
     .rule = "",
     .example = {"not([true, false])", "[false,true]"},
     .python = "~",
     .build = not_},
};

}  // namespace

std::span<const Function> comparison_functions() { return functions; }

}  // namespace qvo::value
