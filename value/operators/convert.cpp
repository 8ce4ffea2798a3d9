#include "operators/convert.h"

#include <cmath>

#include "base/text.h"
#include "evaluate/deliver.h"
#include "evaluate/scalar.h"
#include "evaluate/source.h"
#include "operators/elementwise.h"
#include "operators/library.h"
#include "stored/format.h"

namespace qvo::value {
namespace {

#define TO_INT8(type) qvo_seq_##type##_to_int8
#define TO_DOUBLE(type) qvo_seq_##type##_to_double
constexpr UnaryMembers to_int8 = QVO_VALUE_MEMBERS(TO_INT8, nullptr);
constexpr UnaryMembers to_double = QVO_VALUE_MEMBERS(TO_DOUBLE, nullptr);
#undef TO_INT8
#undef TO_DOUBLE

/// Of the type that was asked for, also where a wider one comes first on the way there.
constexpr const char* does_not_fit(Type wanted) {
    constexpr const char* sentences[] = {
        "the value does not fit boolean", "the value does not fit int1",   "the value does not fit int2",
        "the value does not fit int4",    "the value does not fit int8",   "the value does not fit uint1",
        "the value does not fit uint2",   "the value does not fit uint4",  "the value does not fit uint8",
        "the value does not fit float",   "the value does not fit double", "the value does not fit timestamp"};
    return sentences[static_cast<size_t>(wanted)];
}

template <class To> struct FromInteger {
    Type wanted;
    template <class From> QVO_INLINE bool operator()(From v, To& r) const {
        r = static_cast<To>(v);
        return !std::in_range<To>(v);
    }
    template <class From> const char* fault(From) const { return does_not_fit(wanted); }
};

/// A natural number where it meets other integers.
struct Meeting {
    QVO_INLINE bool operator()(uint64_t v, int64_t& r) const { return FromInteger<int64_t>{Type::int8}(v, r); }
    const char* fault(uint64_t) const {
        return "the value does not fit int8, in which uint8 meets other integers (cast makes it double),";
    }
};

/// Rounds half to even.
template <class To> struct FromDouble {
    Type wanted;
    QVO_INLINE bool operator()(double v, To& r) const {
        const double whole = std::nearbyint(v);
        const bool fits = whole >= lowest && whole < beyond;
        r = static_cast<To>(fits ? whole : 0.0);
        return !fits;
    }
    const char* fault(double v) const {
        return std::isnan(v) ? "a missing value, which only float and double can hold (fill replaces it),"
                             : does_not_fit(wanted);
    }
    static constexpr double lowest = std::is_signed_v<To> ? -0x1p63 : 0.0;
    static constexpr double beyond = std::is_signed_v<To> ? 0x1p63 : 0x1p64;
};

struct ToFloat {
    QVO_INLINE bool operator()(double v, float& r) const {
        r = static_cast<float>(v);
        return std::isinf(r) && !std::isinf(v);
    }
    const char* fault(double) const { return does_not_fit(Type::float_); }
};

struct ToBoolean {
    QVO_INLINE bool operator()(int64_t v, uint8_t& r) const {
        r = v != 0;
        return static_cast<uint64_t>(v) > 1;
    }
    const char* fault(int64_t) const { return does_not_fit(Type::boolean); }
};

template <class R, class V, class Op> Series convert(Plan& plan, const Series& x, Type to, const Op& op) {
    return elementwise<R, V>(plan, type_of(to), std::span(&x, 1), op);
}

/// To int8 or uint8, from anything but char, on the way to the type that is wanted.
Series to_integer(Plan& plan, const Series& x, Type to, Type wanted) {
    const Type from = x.type.type;
    if (from == to) return x;
    if (is_floating(from)) {
        const Series wide = widened(plan, x, type_of(Type::double_));
        if (to == Type::uint8) return convert<uint64_t, double>(plan, wide, to, FromDouble<uint64_t>{wanted});
        return convert<int64_t, double>(plan, wide, to, FromDouble<int64_t>{wanted});
    }
    if (from == Type::uint8) return convert<int64_t, uint64_t>(plan, x, to, FromInteger<int64_t>{wanted});
    const Series wide = from == Type::int8 || from == Type::timestamp
                            ? x
                            : wire(plan, to_int8[static_cast<size_t>(from)], x, type_of(Type::int8));
    if (to == Type::uint8) return convert<uint64_t, int64_t>(plan, wide, to, FromInteger<uint64_t>{wanted});
    return wide;
}

Series narrowed(Plan& plan, const Series& x, Type to) {
    return with_fixed(to, [&](auto tag) {
        using To = typename decltype(tag)::value;
        if constexpr (std::is_same_v<decltype(tag), elem_bool>)
            return convert<uint8_t, int64_t>(plan, x, to, ToBoolean{});
        else if constexpr (std::is_integral_v<To> && sizeof(To) < 8)
            return convert<To, int64_t>(plan, x, to, FromInteger<To>{to});
        else
            return Series{x.it, type_of(to), x.length, x.constant};
    });
}

/// Elements with their runs, computed one by one, for conversions from and to text.
class Collected final : public Operator {
 public:
    explicit Collected(Buffer stored) : stored_(std::move(stored)) {}
    QVO_RET next(qvo_seq_iterator_h it) override {
        if (source_.it == nullptr) source_ = stored_source(*plan, Stored(stored_.bytes()));
        const QVO_RET rc = source_.it->next(source_.it);
        if (rc != QVO_S_OK) return rc;
        // Text that was collected in cells of the most that its type can take is handed out in the width it needs.
        const size_t from = source_.type.width, to = it->elem_size, n = source_.it->tile_size;
        for (size_t i = 0; i < n; ++i)
            std::memcpy(it->tile.u.arr_char + i * to, source_.it->tile.u.arr_char + i * from, to);
        copy_runs(runs_of(it), runs_of(source_.it), n);
        it->tile_size = source_.it->tile_size;
        it->next_seq_no = source_.it->next_seq_no;
        return rc;
    }

 private:
    Buffer stored_;
    Series source_;
};

/// Calls make(scalar, position) for every element and collects what it returns as `to`; delivers it as `to` of the
/// longest text, if `to` has no width.
template <class Make> Series collect(Plan& plan, const Series& x, ValueType to, Make make) {
    const ValueType cell = to.type == Type::char_ && to.width == 0 ? char_of(max_char) : to;
    Writer writer(cell);
    size_t longest = 1;
    uint64_t position = 0;
    for_each_tile(plan, x, [&](const char* values, const uint8_t* runs, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            const Scalar made = make(scalar_at(x.type, values + i * x.type.width), position);
            uint8_t element[max_char];
            Scalar as_cell = made;
            as_cell.type = cell;
            put_element(as_cell, element);
            longest = std::max(longest, made.text.size());
            writer.put_repeated(element, get_run(runs, i));
            position += get_run(runs, i);
        }
    });
    const ValueType type = to.type == Type::char_ && to.width == 0 ? char_of(longest) : to;
    return plan.make<Collected>(type, position, writer.finish());
}

Series to_text(Plan& plan, const Series& x, ValueType to) {
    const size_t most = to.width == 0 ? max_char : to.width;
    return collect(plan, x, to, [&](const Scalar& value, uint64_t position) {
        Scalar made = scalar_of(to);
        if (value.type.type == Type::char_)
            made.text = value.text;
        else if (value.type.type == Type::timestamp)
            put_timestamp(made.text, value.integer);
        else
            put_json(made.text, value);
        if (made.text.size() > most)
            throw Error(Fault::overflow,
                        shown(made.text) + " does not fit " + name_of(to) + " at position " + std::to_string(position));
        return made;
    });
}

Series from_text(Plan& plan, const Series& x, ValueType to) {
    return collect(plan, x, to, [&](const Scalar& value, uint64_t position) {
        std::string fault;
        const std::optional<Scalar> made = fit_text(value.text, to, fault);
        if (!made) throw Error(Fault::argument, fault + " at position " + std::to_string(position));
        return *made;
    });
}

}  // namespace

std::optional<ValueType> meet(ValueType a, ValueType b) {
    if (a == b) return a;
    if (a.type == Type::char_ && b.type == Type::char_) return char_of(std::max(a.width, b.width));
    if (a.type == b.type) return a;
    if (!is_number(a.type) || !is_number(b.type)) return std::nullopt;
    return computing_type(a, b);
}

ValueType computing_type(ValueType a, ValueType b) {
    return type_of(is_floating(a.type) || is_floating(b.type) ? Type::double_ : Type::int8);
}

namespace {

/// Texts as words, of which bytes after the text become 0. What a tile holds goes on after its last text.
template <class Word> void pad_to_word(const uint8_t* from, size_t width, size_t n, uint8_t* to) {
    const Word kept = static_cast<Word>((uint64_t{1} << 8 * width) - 1);
    for (size_t i = 0; i < n; ++i)
        format::store(to + i * sizeof(Word), static_cast<Word>(format::load<Word>(from + i * width) & kept));
}

/// Pads text to a larger width.
class Padded final : public Operator {
 public:
    explicit Padded(const Series& x) : x_(x) {}
    QVO_RET next(qvo_seq_iterator_h it) override {
        Operand input(x_.it);
        TileWriter out(it, capacity_of(it->elem_size));
        const size_t from = x_.type.width, to = it->elem_size;
        const uint8_t* const runs = runs_of(x_.it);
        return out.finish(walk_elements(input, out, Where::here(), [&](size_t index, size_t n) {
            const uint8_t* text = values_of<uint8_t>(x_.it) + index * from;
            uint8_t* at = values_of<uint8_t>(it) + out.size() * to;
            if (to == sizeof(uint64_t)) {
                pad_to_word<uint64_t>(text, from, n, at);
            } else if (to == sizeof(uint32_t)) {
                pad_to_word<uint32_t>(text, from, n, at);
            } else {
                for (size_t i = 0; i < n; ++i, text += from, at += to) {
                    std::memcpy(at, text, from);
                    std::memset(at + from, 0, to - from);
                }
            }
            out.put_runs(runs - index, n);
        }));
    }

 private:
    Series x_;
};

}  // namespace

Series widened(Plan& plan, const Series& x, ValueType to) {
    if (x.type == to) return x;
    Series result = x;
    if (to.type == Type::double_)
        result = wire(plan, to_double[static_cast<size_t>(x.type.type)], x, to);
    else if (to.type == Type::int8 && x.type.type == Type::uint8)
        result = convert<int64_t, uint64_t>(plan, x, Type::int8, Meeting{});
    else if (to.type == Type::int8)
        result = to_integer(plan, x, Type::int8, Type::int8);
    else if (to.type == Type::char_)
        result = plan.make<Padded>(to, x.length, x);
    result.type = to;
    result.constant = x.constant;
    return result;
}

Series cast(Plan& plan, const Series& x, ValueType to) {
    if (x.type == to) return x;
    if (to.type == Type::char_ && x.type.type == to.type && x.type.width < to.width) return widened(plan, x, to);
    if (to.type == Type::char_) return to_text(plan, x, to);
    if (x.type.type == Type::char_) return from_text(plan, x, to);
    if (to.type == Type::double_) return widened(plan, x, to);
    if (to.type == Type::float_)
        return convert<float, double>(plan, widened(plan, x, type_of(Type::double_)), Type::float_, ToFloat{});
    if (to.type == Type::uint8) return to_integer(plan, x, Type::uint8, Type::uint8);
    return narrowed(plan, to_integer(plan, x, Type::int8, to.type), to.type);
}

}  // namespace qvo::value
