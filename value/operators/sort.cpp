// Inputs that are in order already, or nearly, or have few different values, are found out in passes that give up early
// on others. What is left is sorted by radix: 32 of the bits in which the keys differ, packed with the index into eight
// bytes, then the few that agree in these by the rest of their bits.
#include "operators/sort.h"

#include <array>
#include <cstring>
#include <optional>
#include <stdexcept>

#include "base/pages.h"

namespace qvo::value {
namespace {

using Indexes = std::unique_ptr<uint32_t[]>;
using Words = std::unique_ptr<uint64_t[]>;

template <class V> std::unique_ptr<V[]> new_block(size_t n) {
    std::unique_ptr<V[]> block(new V[n]);
    prefer_large_pages(block.get(), n * sizeof(V));
    return block;
}
Indexes new_indexes(size_t n) { return new_block<uint32_t>(n); }
Words new_words(size_t n) { return new_block<uint64_t>(n); }

// ---- Inputs in order ---------------------------------------------------------------------------------------------

/// Whether each element is at least, and at most, its predecessor.
struct Monotone {
    bool ascending = true, descending = true;
};

template <bool descending, class V> struct NeighbourLoop {
    using Key = KeyOf<V>;
    /// Of elements first .. last - 1; first is at least 1. By the values themselves: a missing one is in no order.
    QVO_INLINE static Monotone plain(const V* __restrict values, size_t first, size_t last) {
        uint64_t falls = 0, rises = 0;
        for (size_t i = first; i < last; ++i) {
            const V before = values[descending ? i : i - 1], here = values[descending ? i - 1 : i];
            falls |= uint64_t{!(before <= here)};
            rises |= uint64_t{!(before >= here)};
        }
        return {falls == 0, rises == 0};
    }
    /// By keys, which order missing values too.
    QVO_INLINE static Monotone by_keys(const V* __restrict values, size_t first, size_t last) {
        unsigned falls = 0, rises = 0;
        for (size_t i = first; i < last; ++i) {
            const Key before = order_key<descending>(values[i - 1]), here = order_key<descending>(values[i]);
            falls |= here < before;
            rises |= here > before;
        }
        return {falls == 0, rises == 0};
    }
    static Monotone run(const V* values, size_t first, size_t last) {
        const Monotone found = for_cpu<plain>(values, first, last);
        if (!std::is_floating_point_v<V> || found.ascending || found.descending) return found;
        return for_cpu<by_keys>(values, first, last);
    }
};

template <class Look> Monotone look_for_order(Plan& plan, size_t n, Look look) {
    constexpr size_t block = 1024;
    Monotone all;
    Milestones milestones(plan);
    for (size_t i = 1; i < n && (all.ascending || all.descending); i += block) {
        milestones.pass(i);
        const Monotone here = look(i, std::min(n, i + block));
        all.ascending &= here.ascending;
        all.descending &= here.descending;
    }
    return all;
}

/// The order of elements that descend: from the last to the first, equal ones as they are.
template <class Same> Order turned_round(Plan& plan, size_t n, Same same) {
    Indexes indexes = new_indexes(n);
    Milestones milestones(plan);
    for (size_t end = n, to = 0; end != 0;) {
        milestones.pass(to);
        size_t begin = end - 1;
        while (begin != 0 && same(begin - 1, begin)) --begin;
        for (size_t i = begin; i < end; ++i) indexes[to++] = static_cast<uint32_t>(i);
        end = begin;
    }
    return {n, std::move(indexes)};
}

// ---- Nearly in order ---------------------------------------------------------------------------------------------

/// Takes out pairs of neighbours that are out of order (C. R. Cook and D. J. Kim, "Best sorting algorithm for nearly
/// sorted lists", 1980), sorts those and merges them into the rest. Nothing if they turn out to be many.
std::optional<Order> order_nearly_sorted(Plan& plan, const uint64_t* keys, size_t n) {
    Indexes kept = new_indexes(n);
    std::vector<uint32_t> out;
    size_t n_kept = 0;
    uint64_t last = 0;
    bool few = true;
    in_stretches(plan, n, [&](size_t first, size_t end) {
        for (size_t i = first; i < end && few; ++i) {
            if (keys[i] >= last) {
                kept[n_kept++] = static_cast<uint32_t>(i);
                last = keys[i];
                continue;
            }
            out.push_back(kept[--n_kept]);
            out.push_back(static_cast<uint32_t>(i));
            last = n_kept == 0 ? 0 : keys[kept[n_kept - 1]];
            few = out.size() <= 64 + i / 16;
        }
    });
    if (!few) return std::nullopt;
    std::sort(out.begin(), out.end());
    Words out_keys = new_words(out.size());
    for (size_t i = 0; i < out.size(); ++i) out_keys[i] = keys[out[i]];
    const Order order = stable_order(plan, out_keys.get(), out.size());
    Indexes merged = new_indexes(n);
    size_t to = 0, k = 0;
    for (size_t i = 0; i < out.size(); ++i) {
        const uint32_t index = out[order.at(i)];
        const uint64_t key = keys[index];
        for (; k < n_kept && (keys[kept[k]] < key || (keys[kept[k]] == key && kept[k] < index)); ++k)
            merged[to++] = kept[k];
        merged[to++] = index;
    }
    std::copy(kept.get() + k, kept.get() + n_kept, merged.get() + to);
    return Order(n, std::move(merged));
}

// ---- Few different values ----------------------------------------------------------------------------------------

/// Up to 256 different keys, each with a number.
class FewKeys {
 public:
    static constexpr unsigned most = 256;

    /// The number of a key, or `most` if it would be one too many.
    QVO_INLINE unsigned number(uint64_t key) {
        size_t slot = (key * 0x9e3779b97f4a7c15U) >> (64 - slot_bits);
        while (numbers_[slot] != none && slots_[slot] != key) slot = (slot + 1) % n_slots;
        if (numbers_[slot] != none) return numbers_[slot];
        if (n_ == most) return most;
        slots_[slot] = keys_[n_] = key;
        return numbers_[slot] = static_cast<uint16_t>(n_++);
    }
    unsigned size() const { return n_; }
    uint64_t key(unsigned number) const { return keys_[number]; }

    FewKeys() { numbers_.fill(none); }

 private:
    static constexpr unsigned slot_bits = 11;
    static constexpr size_t n_slots = size_t{1} << slot_bits;
    static constexpr uint16_t none = most;
    std::array<uint64_t, n_slots> slots_;
    std::array<uint16_t, n_slots> numbers_;
    std::array<uint64_t, most> keys_;
    unsigned n_ = 0;
};

/// Counts the different keys and puts each index into its place. Nothing if there are too many.
std::optional<Order> order_few_valued(Plan& plan, const uint64_t* keys, size_t n) {
    FewKeys few;
    std::array<size_t, FewKeys::most> places{};
    const std::unique_ptr<uint8_t[]> numbers(new uint8_t[n]);
    bool too_many = false;
    in_stretches(plan, n, [&](size_t first, size_t last) {
        for (size_t i = first; i < last && !too_many; ++i) {
            const unsigned number = few.number(keys[i]);
            too_many = number == FewKeys::most;
            if (too_many) return;
            numbers[i] = static_cast<uint8_t>(number);
            ++places[number];
        }
    });
    if (too_many) return std::nullopt;
    std::array<uint16_t, FewKeys::most> sorted;
    for (unsigned k = 0; k < few.size(); ++k) sorted[k] = static_cast<uint16_t>(k);
    std::sort(sorted.begin(), sorted.begin() + few.size(),
              [&](unsigned a, unsigned b) { return few.key(a) < few.key(b); });
    size_t place = 0;
    for (unsigned k = 0; k < few.size(); ++k) place += std::exchange(places[sorted[k]], place);
    Indexes indexes = new_indexes(n);
    in_stretches(plan, n, [&](size_t first, size_t last) {
        for (size_t i = first; i < last; ++i) indexes[places[numbers[i]]++] = static_cast<uint32_t>(i);
    });
    return Order(n, std::move(indexes));
}

// ---- Radix -------------------------------------------------------------------------------------------------------

// A pair is 32 bits of a key above an index.
constexpr unsigned index_bits = 32;
constexpr unsigned most_digit_bits = 11, most_digits = 3;
// Fewer are sorted by comparing: clearing the counts would cost more.
constexpr size_t fewest_for_radix = 1500;

/// Sorts pairs by the lowest `bits` bits of their keys, from the lowest digit up. Digits that are the same throughout
/// cost nothing. The result is in `pairs` or in `other`, whichever is returned.
uint64_t* radix_sort(Plan& plan, uint64_t* pairs, uint64_t* other, size_t n, unsigned bits) {
    const unsigned n_digits = (bits + most_digit_bits - 1) / most_digit_bits;
    if (n_digits == 0) return pairs;
    const unsigned digit_bits = (bits + n_digits - 1) / n_digits;
    const uint64_t mask = (uint64_t{1} << digit_bits) - 1;
    const auto counts = std::make_unique<std::array<std::array<uint32_t, 1 << most_digit_bits>, most_digits>>();
    in_stretches(plan, n, [&](size_t first, size_t last) {
        for (size_t i = first; i < last; ++i)
            for (unsigned d = 0; d < n_digits; ++d) ++(*counts)[d][(pairs[i] >> (index_bits + d * digit_bits)) & mask];
    });
    for (unsigned d = 0; d < n_digits; ++d) {
        const unsigned shift = index_bits + d * digit_bits;
        uint32_t* const places = (*counts)[d].data();
        if (places[(pairs[0] >> shift) & mask] == n) continue;
        uint32_t place = 0;
        for (size_t k = 0; k <= mask; ++k) place += std::exchange(places[k], place);
        in_stretches(plan, n, [&](size_t first, size_t last) {
            for (size_t i = first; i < last; ++i) other[places[(pairs[i] >> shift) & mask]++] = pairs[i];
        });
        std::swap(pairs, other);
    }
    return pairs;
}

/// Sorts pairs that agree in the high bits of their keys by the `bits` low ones.
void sort_rest(Plan& plan, const uint64_t* keys, uint64_t* pairs, uint64_t* other, size_t n, unsigned bits) {
    const uint64_t mask = (uint64_t{1} << bits) - 1;
    bool in_order = true;
    for (size_t i = 0; i < n; ++i) {
        const uint64_t index = pairs[i] & ~uint32_t{0};
        pairs[i] = (keys[index] & mask) << index_bits | index;
        in_order &= i == 0 || pairs[i - 1] < pairs[i];
    }
    if (in_order) return;
    if (n < fewest_for_radix) return std::sort(pairs, pairs + n);
    if (uint64_t* const sorted = radix_sort(plan, pairs, other, n, bits); sorted != pairs)
        std::copy(sorted, sorted + n, pairs);
}

Order order_by_radix(Plan& plan, const uint64_t* keys, size_t n) {
    uint64_t differing = 0;
    for (size_t i = 1; i < n; ++i) differing |= keys[i] ^ keys[0];
    const unsigned bits = 64 - static_cast<unsigned>(std::countl_zero(differing));
    const unsigned rest = bits > index_bits ? bits - index_bits : 0;
    const Words first = new_words(n), second = new_words(n);
    in_stretches(plan, n, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) first[i] = (keys[i] >> rest) << index_bits | i;
    });
    uint64_t* const sorted = radix_sort(plan, first.get(), second.get(), n, bits - rest);
    uint64_t* const other = sorted == first.get() ? second.get() : first.get();
    Indexes indexes = new_indexes(n);
    Milestones milestones(plan);
    for (size_t i = 0; i < n;) {
        milestones.pass(i);
        size_t end = i + 1;
        while (end < n && sorted[end] >> index_bits == sorted[i] >> index_bits) ++end;
        if (rest != 0 && end - i > 1) sort_rest(plan, keys, sorted + i, other + i, end - i, rest);
        for (; i < end; ++i) indexes[i] = static_cast<uint32_t>(sorted[i]);
    }
    return {n, std::move(indexes)};
}

Order order_by_comparing(const uint64_t* keys, size_t n) {
    Indexes indexes = new_indexes(n);
    for (size_t i = 0; i < n; ++i) indexes[i] = static_cast<uint32_t>(i);
    std::sort(indexes.get(), indexes.get() + n,
              [&](uint32_t a, uint32_t b) { return keys[a] < keys[b] || (keys[a] == keys[b] && a < b); });
    return {n, std::move(indexes)};
}

// ---- Of elements -------------------------------------------------------------------------------------------------

template <bool descending, class V> struct Keys {
    QVO_INLINE static void write(const V* __restrict values, size_t n, uint64_t* __restrict keys) {
        for (size_t i = 0; i < n; ++i) keys[i] = order_key<descending>(values[i]);
    }
};

template <bool descending, class V> Order order_fixed(Plan& plan, const V* values, size_t n) {
    const Monotone found = look_for_order(
        plan, n, [&](size_t first, size_t last) { return NeighbourLoop<descending, V>::run(values, first, last); });
    if (found.ascending) return Order(n);
    if (found.descending)
        return turned_round(plan, n,
                            [&](size_t i, size_t j) { return ascending_key(values[i]) == ascending_key(values[j]); });
    const Words keys = new_words(n);
    in_stretches(plan, n, [&](size_t first, size_t last) {
        for_cpu<Keys<descending, V>::write>(values + first, last - first, keys.get() + first);
    });
    return stable_order(plan, keys.get(), n);
}

constexpr size_t word_bytes = sizeof(uint64_t);

/// Eight bytes of a text from `from` on as a number that compares as they do; those after the text are 0.
uint64_t text_word(const Elements& elements, size_t i, size_t from) {
    const size_t bytes = std::min(word_bytes, elements.width() - from);
    uint64_t word = 0;
    if ((elements.size() - i) * elements.width() - from < word_bytes) {
        std::memcpy(&word, elements.element(i) + from, bytes);
        return __builtin_bswap64(word);
    }
    std::memcpy(&word, elements.element(i) + from, sizeof word);
    return __builtin_bswap64(word) & ~uint64_t{0} << 8 * (word_bytes - bytes);
}

/// Text by eight bytes at a time: the elements that agree in them are sorted by those that follow.
class TextOrder {
 public:
    TextOrder(Plan& plan, const Elements& elements, bool descending)
        : plan_(plan),
          elements_(elements),
          width_(elements.type().width),
          turn_(descending ? ~uint64_t{0} : 0),
          keys_(new_words(elements.size())),
          moved_(new_indexes(elements.size())),
          milestones_(plan) {}

    /// Sorts the elements at the given indexes, which agree in the bytes before `from`.
    void sort(uint32_t* indexes, size_t n, size_t from) {
        milestones_.pass(compared_ += n);
        if (n < 32) return sort_few(indexes, n, from);
        for (size_t i = 0; i < n; ++i) keys_[i] = word(indexes[i], from);
        {
            const Order order = stable_order(plan_, keys_.get(), n);
            if (!order.as_they_are()) {
                for (size_t i = 0; i < n; ++i) moved_[i] = indexes[order.at(i)];
                std::copy(moved_.get(), moved_.get() + n, indexes);
            }
        }
        if (from + word_bytes >= width_) return;
        for (size_t i = 0, end; i < n; i = end) {
            const uint64_t key = word(indexes[i], from);
            for (end = i + 1; end < n && word(indexes[end], from) == key; ++end) {}
            if (end - i > 1) sort(indexes + i, end - i, from + word_bytes);
        }
    }
    /// Negative, 0, positive: in the order of sorting.
    int compare(size_t i, size_t j, size_t from) const {
        const int order = std::memcmp(elements_.element(i) + from, elements_.element(j) + from, width_ - from);
        return turn_ != 0 ? -order : order;
    }

 private:
    uint64_t word(size_t i, size_t from) const { return text_word(elements_, i, from) ^ turn_; }
    void sort_few(uint32_t* indexes, size_t n, size_t from) const {
        for (size_t i = 1; i < n; ++i) {
            const uint32_t index = indexes[i];
            size_t to = i;
            for (; to > 0 && compare(indexes[to - 1], index, from) > 0; --to) indexes[to] = indexes[to - 1];
            indexes[to] = index;
        }
    }

    Plan& plan_;
    const Elements& elements_;
    size_t width_;
    uint64_t turn_;
    Words keys_;
    Indexes moved_;
    Milestones milestones_;
    size_t compared_ = 0;
};

Order order_text(Plan& plan, const Elements& elements, bool descending) {
    const size_t n = elements.size();
    if (elements.width() <= word_bytes) {
        const Words words = new_words(n);
        for (size_t i = 0; i < n; ++i) words[i] = text_word(elements, i, 0);
        return descending ? order_fixed<true>(plan, words.get(), n) : order_fixed<false>(plan, words.get(), n);
    }
    TextOrder text(plan, elements, descending);
    const Monotone found = look_for_order(plan, n, [&](size_t first, size_t last) {
        Monotone here;
        for (size_t i = first; i < last; ++i) {
            const int order = text.compare(i - 1, i, 0);
            here.ascending &= order <= 0;
            here.descending &= order >= 0;
        }
        return here;
    });
    if (found.ascending) return Order(n);
    if (found.descending) return turned_round(plan, n, [&](size_t i, size_t j) { return text.compare(i, j, 0) == 0; });
    Indexes indexes = new_indexes(n);
    for (size_t i = 0; i < n; ++i) indexes[i] = static_cast<uint32_t>(i);
    text.sort(indexes.get(), n, 0);
    return {n, std::move(indexes)};
}

}  // namespace

Order stable_order(Plan& plan, const uint64_t* keys, size_t n) {
    if (n < fewest_for_radix) return order_by_comparing(keys, n);
    if (std::optional<Order> order = order_nearly_sorted(plan, keys, n)) return std::move(*order);
    if (std::optional<Order> order = order_few_valued(plan, keys, n)) return std::move(*order);
    return order_by_radix(plan, keys, n);
}

Order stable_order(Plan& plan, const Elements& elements, bool descending) {
    const size_t n = elements.size();
    if (n > ~uint32_t{0}) throw std::length_error("more elements than there are indexes");
    if (elements.type().type == Type::char_) return order_text(plan, elements, descending);
    return with_fixed(elements.type().type, [&](auto tag) {
        const auto* const values = elements.values<typename decltype(tag)::value>();
        return descending ? order_fixed<true>(plan, values, n) : order_fixed<false>(plan, values, n);
    });
}

}  // namespace qvo::value
