#include "support/number.h"

#include <algorithm>

namespace test {
namespace {

template <class Act> auto with_type(uint8_t type, Act act) {
    switch (type) {
#define CASE(type)       \
    case t_##type::code: \
        return act(qvo_##type{});
        QVO_SEQ_FOR_FIXED_TYPES(CASE)
        default:
            ADD_FAILURE() << "no fixed type: " << type;
            return act(qvo_int1{});
    }
}

}  // namespace

size_t width_of(uint8_t type) {
    return with_type(type, [](auto v) { return sizeof v; });
}

bool is_floating(uint8_t type) { return type == QVO_DD_FLOAT || type == QVO_DD_DOUBLE; }

Number number_at(uint8_t type, const void* bytes) {
    return with_type(type, [=](auto v) -> Number {
        std::memcpy(&v, bytes, sizeof v);
        return static_cast<Number>(v);
    });
}

std::string bytes_of(uint8_t type, Number number) {
    return with_type(type, [=](auto v) {
        v = static_cast<decltype(v)>(number);
        return std::string(reinterpret_cast<const char*>(&v), sizeof v);
    });
}

Number random_number(Random& random, uint8_t type) {
    return with_type(type, [&](auto v) -> Number { return static_cast<Number>(random.value<decltype(v)>()); });
}

Number wrapped(uint8_t type, wide_int integer) {
    return with_type(type, [=](auto v) -> Number { return static_cast<Number>(static_cast<decltype(v)>(integer)); });
}

Number converted(uint8_t type, double real) {
    if (is_floating(type)) return real;
    const double limit = 9223372036854775808.0;
    const auto to_signed = [=](double x) { return x >= -limit && x < limit ? static_cast<int64_t>(x) : INT64_MIN; };
    if (type != QVO_DD_INT8 && real >= limit)
        return static_cast<Number>(static_cast<uint64_t>(to_signed(real - limit)) | uint64_t{1} << 63);
    return wrapped(type, to_signed(real));
}

Number sum_in(uint8_t type, Number a, Number b) {
    if (is_floating(type)) return static_cast<double>(a) + static_cast<double>(b);
    return wrapped(type, static_cast<wide_int>(a) + static_cast<wide_int>(b));
}

Number product_in(uint8_t type, Number a, Number b) {
    if (is_floating(type)) return static_cast<double>(a) * static_cast<double>(b);
    const auto bits = [](Number x) { return static_cast<uint64_t>(static_cast<wide_int>(x)); };
    return wrapped(type, static_cast<wide_int>(bits(a) * bits(b)));
}

template <> Items<t_number> tile_items<t_number>(const qvo_seq_iterator_t& it) {
    Items<t_number> items;
    for (const auto& item : tile_items<t_char>(it))
        items.push_back({number_at(it.elem_type, item.value.data()), item.run});
    return items;
}

Elements Elements::cut(size_t from, size_t to) const {
    const auto at = [this](size_t i) { return items.begin() + static_cast<ptrdiff_t>(std::min(i, items.size())); };
    return {type, width, Items<t_char>(at(from), at(to))};
}

Elements random_elements(Random& random, uint8_t type, size_t n, const std::function<Number(Random&)>& draw) {
    return {type, width_of(type), random_items<t_char>(random, n, [&](Random& r) { return bytes_of(type, draw(r)); })};
}

Elements random_elements(Random& random, uint8_t type, size_t n) {
    return random_elements(random, type, n, [=](Random& r) { return random_number(r, type); });
}

Elements elements_of(uint8_t type, const std::vector<Number>& values) {
    Elements elements{type, width_of(type), {}};
    for (const Number v : values) elements.items.push_back({bytes_of(type, v), 1});
    return elements;
}

void for_overlaps(const Elements& left, const Elements& right,
                  const std::function<void(size_t i, size_t k, unsigned n)>& act) {
    unsigned left_taken = 0, right_taken = 0;
    for (size_t i = 0, k = 0; i < left.items.size() && k < right.items.size();) {
        const unsigned n = std::min(left.items[i].run - left_taken, right.items[k].run - right_taken);
        act(i, k, n);
        if ((left_taken += n) == left.items[i].run) left_taken = 0, ++i;
        if ((right_taken += n) == right.items[k].run) right_taken = 0, ++k;
    }
}

std::unique_ptr<Source> source_of(const Elements& elements, Script script) {
    auto source = std::make_unique<Source>(t_char{}, elements.items, std::move(script), elements.width);
    source->get()->elem_type = elements.type;
    return source;
}

MakeSource operand(const Elements& elements) {
    return [=](Script script) { return source_of(elements, std::move(script)); };
}

Number literal_number(const qvo_seq_iterator_t* it, size_t i) {
    return number_at(it->elem_type, it->tile.u.arr_char + i * it->elem_size);
}

void literal_put_number(qvo_seq_iterator_h it, size_t i, uint8_t type, Number number) {
    const std::string bytes = bytes_of(type, number);
    std::memcpy(it->tile.u.arr_char + i * bytes.size(), bytes.data(), bytes.size());
    literal_put_run(it, i, 1);
}

}  // namespace test
