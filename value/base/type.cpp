#include "base/type.h"

#include <array>
#include <charconv>

namespace qvo::value {
namespace {

constexpr std::array<std::string_view, n_types> names = {"boolean", "int1",      "int2",  "int4",  "int8",
                                                         "uint1",   "uint2",     "uint4", "uint8", "float",
                                                         "double",  "timestamp", "char"};

}  // namespace

ValueType type_of(Type type) {
    if (type == Type::char_) return {type, 0};
    return {type, with_fixed(type, [](auto tag) { return static_cast<uint8_t>(tag.width); })};
}

ValueType char_of(size_t width) { return {Type::char_, static_cast<uint8_t>(width)}; }

std::string_view name_of(Type type) { return names[static_cast<size_t>(type)]; }

std::string name_of(ValueType type) {
    std::string name(name_of(type.type));
    if (type.type == Type::char_ && type.width != 0) name += "(" + std::to_string(type.width) + ")";
    return name;
}

std::optional<ValueType> type_named(std::string_view name) {
    for (size_t i = 0; i < names.size(); ++i)
        if (name == names[i]) return type_of(static_cast<Type>(i));
    if (!name.starts_with("char(") || !name.ends_with(")")) return std::nullopt;
    unsigned width = 0;
    const char* const last = name.data() + name.size() - 1;
    const auto [end, fault] = std::from_chars(name.data() + 5, last, width);
    if (fault != std::errc{} || end != last || width < 1 || width > max_char) return std::nullopt;
    return char_of(width);
}

}  // namespace qvo::value
