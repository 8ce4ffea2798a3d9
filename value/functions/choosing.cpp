// Element-wise functions that choose among values: extremes, conditions, what stands for a missing value.
#include <cstring>

#include "functions/catalog.h"
#include "functions/inputs.h"
#include "operators/arithmetic.h"

namespace qvo::value {
namespace {

constexpr ValueType boolean{Type::boolean, 1};

/// Text is chosen whole: Pick says which operand's.
template <class Pick> struct TextLoop {
    size_t width, n;
    static LoopFault run(const Batch& batch, const void* operation) {
        const TextLoop& loop = *static_cast<const TextLoop*>(operation);
        for (size_t i = 0; i < batch.n; ++i) {
            const char* at[most_operands];
            for (size_t k = 0; k < loop.n; ++k) at[k] = static_cast<const char*>(batch.in[k]) + i * loop.width;
            std::memcpy(static_cast<char*>(batch.out) + i * loop.width, at[Pick::pick(at, loop.width)], loop.width);
        }
        return {};
    }
};
struct PickLeast {
    static size_t pick(const char* const* at, size_t width) { return std::memcmp(at[0], at[1], width) > 0; }
};
struct PickGreatest {
    static size_t pick(const char* const* at, size_t width) { return std::memcmp(at[0], at[1], width) < 0; }
};
struct PickClipped {
    static size_t pick(const char* const* at, size_t width) {
        const size_t raised = std::memcmp(at[0], at[1], width) < 0;
        return std::memcmp(at[raised], at[2], width) > 0 ? 2 : raised;
    }
};

template <class Op, class Pick, size_t N> Series chosen(Plan& plan, Arguments& a) {
    Inputs in(a);
    const ValueType type = in.meeting_type();
    if (type.type == Type::char_) {
        Series series[N];
        for (size_t i = 0; i < N; ++i) series[i] = in.as(i, type);
        const TextLoop<Pick> loop{type.width, N};
        return elementwise(plan, type, series, TextLoop<Pick>::run, &loop, sizeof loop);
    }
    return with_fixed(type.type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        if constexpr (N == 2)
            return in.compute<V, V, V>(type, type, Op{});
        else
            return in.compute<V, V, V, V>(type, type, Op{});
    });
}

struct Where {
    template <class V> QVO_INLINE V operator()(uint8_t c, V x, V y) const { return c != 0 ? x : y; }
};
struct WhereText {
    size_t width;
    static LoopFault run(const Batch& batch, const void* operation) {
        const size_t width = static_cast<const WhereText*>(operation)->width;
        for (size_t i = 0; i < batch.n; ++i) {
            const size_t k = static_cast<const uint8_t*>(batch.in[0])[i] != 0 ? 1 : 2;
            std::memcpy(static_cast<char*>(batch.out) + i * width, static_cast<const char*>(batch.in[k]) + i * width,
                        width);
        }
        return {};
    }
};

Series where(Plan& plan, Arguments& a) {
    Inputs in(a);
    if (!in.is_scalar(0) && in.type(0) != boolean) in.refuse(0, "boolean (cast converts it)");
    const ValueType type = in.meeting_type(1);
    const Series series[] = {in.as(0, boolean), in.as(1, type), in.as(2, type)};
    if (type.type == Type::char_) {
        const WhereText loop{type.width};
        return elementwise(plan, type, series, WhereText::run, &loop, sizeof loop);
    }
    return with_bits(type.width, [&](auto bits) {
        using V = decltype(bits);
        return elementwise<V, uint8_t, V, V>(plan, type, series, Where{});
    });
}

struct IsMissing {
    template <class V> QVO_INLINE bool operator()(V x) const { return x != x; }
};
Series is_missing(Plan& plan, Arguments& a) {
    const Series x = a.series(0);
    if (x.type.type == Type::double_) return elementwise<uint8_t, double>(plan, boolean, std::span(&x, 1), IsMissing{});
    if (x.type.type == Type::float_) return elementwise<uint8_t, float>(plan, boolean, std::span(&x, 1), IsMissing{});
    const auto none = [](const Batch& batch, const void*) -> LoopFault {
        std::memset(batch.out, 0, batch.n);
        return {};
    };
    return elementwise(plan, boolean, std::span(&x, 1), none, nullptr, 0);
}

struct Fill {
    template <class V> QVO_INLINE V operator()(V x, V v) const { return x == x ? x : v; }
};
Series fill(Plan&, Arguments& a) {
    Inputs in(a);
    if (in.is_scalar(0)) in.refuse(0, "a sequence");
    ValueType type = in.type(0);
    if (!in.is_scalar(1)) {
        const ValueType met = in.meeting_type();
        if (is_floating(type.type)) type = met;
    }
    if (type.type == Type::double_) return in.compute<double, double, double>(type, type, Fill{});
    if (type.type == Type::float_) return in.compute<float, float, float>(type, type, Fill{});
    // Nothing is missing; still the values must fit, or the sequence be as long.
    const Series both[] = {in.as(0, type), in.as(1, in.is_scalar(1) ? type : in.type(1))};
    return with_equal_lengths(in.plan(), both[0], both);
}

constexpr Parameter x_any{"x", Takes::operand}, y_any{"y", Takes::operand};

const Function functions[] = {
    {.name = "least",
     .group = Group::element_wise,
     .summary = "The smaller of x and y.",
     .parameters = {x_any, y_any},
     .result = "the type of both; numbers of different types int8 or double",
     .rule = "Missing where one of them is.",
     .example = {"least([1, 5], [4, 2])", "[1,2]"},
     .build = chosen<Least, PickLeast, 2>},
    {.name = "greatest",
     .group = Group::element_wise,
     .summary = "The larger of x and y.",
     .parameters = {x_any, y_any},
     .result = "the type of both; numbers of different types int8 or double",
     .rule = "Missing where one of them is.",
     .example = {"greatest([1, 5], 3)", "[3,5]"},
     .build = chosen<Greatest, PickGreatest, 2>},
    {.name = "clip",
     .group = Group::element_wise,
     .summary = "x, but not below lo and not above hi.",
     .parameters = {x_any, {"lo", Takes::operand}, {"hi", Takes::operand}},
     .result = "the type of all; numbers of different types int8 or double",
     .rule = "least(greatest(x, lo), hi).",
     .example = {"clip([1, 5, 9], 2, 6)", "[2,5,6]"},
     .build = chosen<Clip, PickClipped, 3>},
    {.name = "is_missing",
     .group = Group::element_wise,
     .summary = "True where the value is missing.",
     .parameters = {{"x"}},
     .result = "boolean",
     .rule = "Only float and double have missing values.",
     .example = {"is_missing([1.5, null])", "[false,true]"},
     .build = is_missing},
    {.name = "fill",
     .group = Group::element_wise,
     .summary = "x, with v where it is missing.",
     .parameters = {x_any, {"v", Takes::operand}},
     .result = "the type of x; of two floating sequences the one in which they meet",
     .rule = "What is not floating has nothing to fill.",
     .example = {"fill([1.5, null], 0)", "[1.5,0.0]"},
     .build = fill},
    {.name = "where",
     .group = Group::element_wise,
     .summary = "x where c is true, else y.",
     .parameters = {{"c", Takes::operand}, x_any, y_any},
     .result = "the type in which x and y meet, as in least",
     .rule = "Missing values of a scalar cannot be said here, as NULL makes the result NULL: see mask.",
     .example = {"where([true, false], [1, 2], 0)", "[1,0]"},
     .build = where},
};

}  // namespace

std::span<const Function> choosing_functions() { return functions; }

}  // namespace qvo::value
