// The stable order of elements. Whatever the type, elements are compared by keys: unsigned integers in the order of the
// values, in which NaN is after everything in both directions and -0.0 is 0.0. Keys do not give the values back.
#pragma once

#include <bit>
#include <memory>

#include "core/move.h"
#include "operators/elements.h"

namespace qvo::value {

template <class V> using KeyOf = unsigned_of<sizeof(V)>;

/// The key of a value for an ascending order.
template <class V> QVO_INLINE KeyOf<V> ascending_key(V v) {
    using Key = KeyOf<V>;
    constexpr Key sign = static_cast<Key>(Key{1} << (8 * sizeof(V) - 1));
    if constexpr (std::is_floating_point_v<V>) {
        const Key bits = std::bit_cast<Key>(v + V{0});
        const Key key = bits ^ (bits & sign ? static_cast<Key>(~Key{0}) : sign);
        return v != v ? static_cast<Key>(~Key{0}) : key;
    } else if constexpr (std::is_signed_v<V>) {
        return static_cast<Key>(static_cast<Key>(v) ^ sign);
    } else {
        return v;
    }
}

template <bool descending, class V> QVO_INLINE KeyOf<V> order_key(V v) {
    const KeyOf<V> key = ascending_key(v);
    if constexpr (!descending) return key;
    const auto turned = static_cast<KeyOf<V>>(~key);
    if constexpr (std::is_floating_point_v<V>) return v != v ? key : turned;
    return turned;
}

/// What an ascending key stands for; 0.0 for both zeros.
template <class V> QVO_INLINE V value_of_key(KeyOf<V> key) {
    using Key = KeyOf<V>;
    constexpr Key sign = static_cast<Key>(Key{1} << (8 * sizeof(V) - 1));
    if constexpr (std::is_floating_point_v<V>)
        return std::bit_cast<V>(static_cast<Key>(key & sign ? key ^ sign : ~key));
    else if constexpr (std::is_signed_v<V>)
        return static_cast<V>(static_cast<Key>(key ^ sign));
    else
        return key;
}

/// The order of n elements: `at(i)` is the index of the i-th.
class Order {
 public:
    /// As they are.
    explicit Order(size_t n) : n_(n) {}
    Order(size_t n, std::unique_ptr<uint32_t[]> indexes) : n_(n), indexes_(std::move(indexes)) {}

    size_t size() const { return n_; }
    bool as_they_are() const { return indexes_ == nullptr; }
    const uint32_t* indexes() const { return indexes_.get(); }
    size_t at(size_t i) const { return indexes_ == nullptr ? i : indexes_[i]; }

 private:
    size_t n_;
    std::unique_ptr<uint32_t[]> indexes_;
};

/// The stable order of elements of any type.
Order stable_order(Plan& plan, const Elements& elements, bool descending);

/// The stable order of n keys.
Order stable_order(Plan& plan, const uint64_t* keys, size_t n);

/// Calls f(same), where same(i, j) says whether two of the elements are equal: as sorting has it, so NaN to NaN.
template <class F> decltype(auto) with_equality(const Elements& elements, F f) {
    if (elements.type().type == Type::char_) {
        const size_t width = elements.type().width;
        return f([&elements, width](size_t i, size_t j) {
            return std::memcmp(elements.element(i), elements.element(j), width) == 0;
        });
    }
    return with_fixed(elements.type().type, [&](auto tag) {
        const auto* const values = elements.values<typename decltype(tag)::value>();
        return f([values](size_t i, size_t j) { return ascending_key(values[i]) == ascending_key(values[j]); });
    });
}

}  // namespace qvo::value
