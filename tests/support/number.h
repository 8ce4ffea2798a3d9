// Values of all fixed types as one, so that models and checks are compiled once instead of once per type.
#pragma once

#include "support/protocol.h"

namespace test {

using Number = long double;
static_assert(std::numeric_limits<Number>::digits >= 64, "holds each value of the fixed types exactly");

__extension__ typedef __int128 wide_int;
__extension__ typedef unsigned __int128 wide_uint;

size_t width_of(uint8_t type);
bool is_floating(uint8_t type);

Number number_at(uint8_t type, const void* bytes);
std::string bytes_of(uint8_t type, Number number);
Number random_number(Random& random, uint8_t type);

/// An integer in the type's lowest bits; what the conversion of a double gives, also out of range; sum and product in
/// a 64-bit integer, which wrap, or in double.
Number wrapped(uint8_t type, wide_int integer);
Number converted(uint8_t type, double real);
Number sum_in(uint8_t type, Number a, Number b);
Number product_in(uint8_t type, Number a, Number b);

/// The elements of a tile, by the type that its record names.
struct t_number {
    using value = Number;
    static constexpr const char* name = "number";
};
template <> Items<t_number> tile_items<t_number>(const qvo_seq_iterator_t& it);

/// Elements of a type that is known when the test runs, as bytes.
struct Elements {
    uint8_t type;
    size_t width;
    Items<t_char> items;

    Number number(size_t i) const { return number_at(type, items[i].value.data()); }
    Elements cut(size_t from, size_t to) const;
};
Elements random_elements(Random& random, uint8_t type, size_t n, const std::function<Number(Random&)>& draw);
Elements random_elements(Random& random, uint8_t type, size_t n);
template <class T> Elements elements_of(const Items<T>& items, size_t width = Source::width_of<T>()) {
    Elements elements{T::code, width, {}};
    for (const auto& item : items) elements.items.push_back({Source::bytes_of<T>(item.value, width), item.run});
    return elements;
}
Elements elements_of(uint8_t type, const std::vector<Number>& values);
/// act(i, k, n) where elements i and k overlap, at n positions.
void for_overlaps(const Elements& left, const Elements& right,
                  const std::function<void(size_t i, size_t k, unsigned n)>& act);
std::unique_ptr<Source> source_of(const Elements& elements, Script script = {});
MakeSource operand(const Elements& elements);

Number literal_number(const qvo_seq_iterator_t* it, size_t i);
/// An element of run 1; the type may be another than the record's.
void literal_put_number(qvo_seq_iterator_h it, size_t i, uint8_t type, Number number);

}  // namespace test
