#include "evaluate/scalar.h"

#include <charconv>
#include <cmath>
#include <compare>
#include <cstring>
#include <limits>

#include "base/text.h"
#include "core/number.h"

namespace qvo::value {
namespace {

std::string does_not_fit(const Datum& datum, ValueType type) {
    std::string text = datum.kind == Datum::Kind::text      ? shown(datum.text)
                       : datum.kind == Datum::Kind::integer ? std::to_string(datum.integer)
                       : datum.kind == Datum::Kind::real    ? shown(datum.real)
                       : datum.kind == Datum::Kind::bytes   ? "a blob"
                                                            : "NULL";
    return text + " does not fit " + name_of(type);
}

bool fit_integer(int64_t value, Type type, Scalar& to) {
    return with_fixed(type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        if constexpr (std::is_integral_v<V>) {
            if (!std::in_range<V>(value)) return false;
            if (type == Type::boolean && value > 1) return false;
        }
        to.integer = value;
        return true;
    });
}

bool fit_whole(double value, Type type, Scalar& to) {
    if (value != std::trunc(value)) return false;
    if (type == Type::uint8 && value >= 0x1p63 && value < 0x1p64) {
        to.natural = static_cast<uint64_t>(value);
        return true;
    }
    return value >= -0x1p63 && value < 0x1p63 && fit_integer(static_cast<int64_t>(value), type, to);
}

bool fit_floating(const Datum& datum, Type type, Scalar& to) {
    if (!datum.is_number()) return false;
    to.real = datum.kind == Datum::Kind::integer ? static_cast<double>(datum.integer) : datum.real;
    if (type != Type::float_) return true;
    const float narrow = static_cast<float>(to.real);
    if (std::isinf(narrow) && !std::isinf(to.real)) return false;
    to.real = narrow;
    return true;
}

bool fit_timestamp(const Datum& datum, Scalar& to) {
    if (datum.kind != Datum::Kind::text)
        return datum.kind == Datum::Kind::integer ? fit_integer(datum.integer, Type::timestamp, to)
                                                  : datum.is_number() && fit_whole(datum.real, Type::timestamp, to);
    const std::optional<int64_t> at = parse_timestamp(datum.text);
    to.integer = at.value_or(0);
    return at.has_value();
}

}  // namespace

std::optional<Scalar> fit(const Datum& datum, ValueType type, std::string& fault) {
    Scalar scalar = scalar_of(type);
    bool fits = false;
    switch (type.type) {
        case Type::float_:
        case Type::double_:
            fits = fit_floating(datum, type.type, scalar);
            break;
        case Type::timestamp:
            fits = fit_timestamp(datum, scalar);
            break;
        case Type::char_: {
            const size_t most = type.width == 0 ? max_char : type.width;
            fits = datum.kind == Datum::Kind::text && datum.text.size() <= most &&
                   datum.text.find('\0') == std::string_view::npos && is_utf8(datum.text);
            if (!fits) break;
            scalar.text = datum.text;
            if (type.width == 0) scalar.type = char_of(std::max<size_t>(datum.text.size(), 1));
            break;
        }
        default:
            fits = datum.kind == Datum::Kind::integer ? fit_integer(datum.integer, type.type, scalar)
                                                      : datum.is_number() && fit_whole(datum.real, type.type, scalar);
    }
    if (fits) return scalar;
    fault = does_not_fit(datum, type);
    return std::nullopt;
}

std::optional<Scalar> fit_text(std::string_view text, ValueType type, std::string& fault) {
    Datum datum(text);
    Scalar scalar = scalar_of(type);
    const char* const end = text.data() + text.size();
    if (type.type == Type::boolean) {
        if (text == "true" || text == "false") datum = Datum(int64_t{text == "true"});
    } else if (is_floating(type.type)) {
        double real = std::numeric_limits<double>::quiet_NaN();
        const auto [stop, error] = std::from_chars(text.data(), end, real);
        if (text == "null" || (stop == end && error == std::errc{})) datum = Datum(real);
        // 9e999 is how infinity is written.
        if (stop == end && error == std::errc::result_out_of_range) datum = Datum(out_of_range(text));
    } else if (type.type == Type::uint8) {
        const auto [stop, error] = std::from_chars(text.data(), end, scalar.natural);
        if (stop == end && error == std::errc{}) return scalar;
    } else if (is_integer(type.type)) {
        int64_t integer = 0;
        const auto [stop, error] = std::from_chars(text.data(), end, integer);
        if (stop == end && error == std::errc{}) datum = Datum(integer);
    }
    return fit(datum, type, fault);
}

double out_of_range(std::string_view number) {
    // Too large or too small: the sign of the exponent tells which, or the digits before the point.
    const size_t e = number.find_first_of("eE");
    const bool tiny = e != std::string_view::npos ? number.substr(e + 1).starts_with('-')
                                                  : number.find_first_of("123456789") > number.find('.');
    const double size = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    return number.starts_with('-') ? -size : size;
}

void put_element(const Scalar& scalar, void* to) {
    if (scalar.type.type == Type::char_) {
        std::memset(to, 0, scalar.type.width);
        std::memcpy(to, scalar.text.data(), std::min<size_t>(scalar.text.size(), scalar.type.width));
        return;
    }
    with_fixed(scalar.type.type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        V value;
        if constexpr (std::is_floating_point_v<V>)
            value = static_cast<V>(scalar.real);
        else
            value = static_cast<V>(scalar.integer);
        std::memcpy(to, &value, sizeof value);
    });
}

Scalar scalar_at(ValueType type, const void* element) {
    Scalar scalar = scalar_of(type);
    if (type.type == Type::char_) {
        const auto* text = static_cast<const char*>(element);
        scalar.text.assign(text, strnlen(text, type.width));
        return scalar;
    }
    with_fixed(type.type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        V value;
        std::memcpy(&value, element, sizeof value);
        if constexpr (std::is_floating_point_v<V>)
            scalar.real = static_cast<double>(value);
        else
            scalar.integer = static_cast<int64_t>(value);
    });
    return scalar;
}

void set_result(Result& result, const Scalar& scalar) {
    switch (scalar.type.type) {
        case Type::float_:
        case Type::double_:
            return result.set(scalar.real);
        case Type::uint8:
            return result.set(unsigned_to_double(scalar.natural));
        case Type::timestamp:
            return result.set_text(timestamp_text(scalar.integer));
        case Type::char_:
            return result.set_text(scalar.text);
        default:
            return result.set(scalar.integer);
    }
}

double as_double(const Scalar& scalar) {
    if (is_floating(scalar.type.type)) return scalar.real;
    return scalar.type.type == Type::uint8 ? unsigned_to_double(scalar.natural) : signed_to_double(scalar.integer);
}

void put_json(std::string& to, const Scalar& scalar) {
    switch (scalar.type.type) {
        case Type::boolean:
            to += scalar.integer != 0 ? "true" : "false";
            return;
        case Type::float_:
            return put_float(to, static_cast<float>(scalar.real));
        case Type::double_:
            return put_double(to, scalar.real);
        case Type::uint8:
            return put_natural(to, scalar.natural);
        case Type::timestamp:
            return put_quoted(to, timestamp_text(scalar.integer));
        case Type::char_:
            return put_quoted(to, scalar.text);
        default:
            return put_integer(to, scalar.integer);
    }
}

namespace {

/// An integer against a real that is not NaN, neither of which need be a value of the other's type.
int order_of(const Scalar& integer, double real) {
    const bool natural = integer.type.type == Type::uint8;
    if (real >= (natural ? 0x1p64 : 0x1p63)) return -1;
    if (real < (natural ? 0.0 : -0x1p63)) return 1;
    const double whole = std::floor(real);
    const auto order =
        natural ? integer.natural <=> static_cast<uint64_t>(whole) : integer.integer <=> static_cast<int64_t>(whole);
    return order < 0 ? -1 : order > 0 ? 1 : -(real > whole);
}

}  // namespace

int compare(const Scalar& a, const Scalar& b) {
    const auto order = [](const auto& x, const auto& y) { return x < y ? -1 : y < x ? 1 : 0; };
    if (a.type.type == Type::char_) return order(a.text, b.text);
    const bool real_a = is_floating(a.type.type), real_b = is_floating(b.type.type);
    if (real_a || real_b) {
        const bool nan_a = real_a && std::isnan(a.real), nan_b = real_b && std::isnan(b.real);
        if (nan_a || nan_b) return order(nan_a, nan_b);
        return !real_a ? order_of(a, b.real) : !real_b ? -order_of(b, a.real) : order(a.real, b.real);
    }
    const bool big_a = a.type.type == Type::uint8 && a.integer < 0, big_b = b.type.type == Type::uint8 && b.integer < 0;
    if (big_a || big_b) return big_a && big_b ? order(a.natural, b.natural) : order(big_a, big_b);
    return order(a.integer, b.integer);
}

}  // namespace qvo::value
