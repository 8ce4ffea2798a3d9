// Scripted sources, and draining an iterator.
#pragma once

#include "support/types.h"

namespace test {

/// What a source does besides delivering its elements.
struct Script {
    std::vector<size_t> tile_sizes;  // elements per tile, over and over; none: full tiles
    size_t stop_at = SIZE_MAX;       // before this element, `next` returns stop_code instead
    QVO_RET stop_code = QVO_S_OK;    // QVO_S_OK: success with an empty tile, which no source may do
    QVO_RET reset_code = QVO_S_OK;   // what `reset` returns
};

/// An iterator over given elements, with any runs and tile sizes, that counts how it is used.
class Source {
 public:
    template <class T>
    explicit Source(T, const Items<T>& items, Script script = {}, size_t width = width_of<T>())
        : Source(T::code, width, std::move(script)) {
        for (const Item<T>& item : items) add(bytes_of<T>(item.value, width), item.run);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    qvo_seq_iterator_h get() { return &it_; }
    qvo_seq_iterator_t* operator->() { return &it_; }
    unsigned n_next() const { return n_next_; }
    unsigned n_reset() const { return n_reset_; }
    void set_script(Script script) { script_ = std::move(script); }

    template <class T> static constexpr size_t width_of() {
        if constexpr (std::is_same_v<T, t_char>)
            return 1;
        else
            return T::width;
    }
    template <class T> static std::string bytes_of(const typename T::value& value, size_t width) {
        if constexpr (std::is_same_v<T, t_char>) {
            std::string bytes = value;
            bytes.resize(width, '\0');
            return bytes;
        } else {
            return std::string(reinterpret_cast<const char*>(&value), width);
        }
    }

 private:
    Source(uint8_t code, size_t width, Script script);
    void add(std::string bytes, unsigned run);
    QVO_RET next();
    QVO_RET reset();

    std::string values_;
    std::vector<uint8_t> runs_;
    Script script_;
    size_t at_ = 0;
    size_t tiles_ = 0;
    unsigned n_next_ = 0;
    unsigned n_reset_ = 0;
    qvo_seq_iterator_t it_;
};

template <class T> Source make_source(const Items<T>& items, Script script = {}, size_t width = Source::width_of<T>()) {
    return Source(T{}, items, std::move(script), width);
}

/// A result record as a caller may hand it in: full of rubbish, with empty operand slots.
struct Record {
    qvo_seq_iterator_t it;
    Record();
    Record(const Record&) = delete;
    qvo_seq_iterator_h get() { return &it; }
    qvo_seq_iterator_t* operator->() { return &it; }
};

/// Elements of the current tile.
template <class T> Items<T> tile_items(const qvo_seq_iterator_t& it) {
    Items<T> items;
    const uint8_t* payload = it.tile.u.arr_uint1;
    for (size_t i = 0; i < it.tile_size; ++i) {
        Item<T> item;
        if constexpr (std::is_same_v<T, t_char>)
            item.value.assign(reinterpret_cast<const char*>(payload) + i * it.elem_size, it.elem_size);
        else
            std::memcpy(&item.value, payload + i * sizeof item.value, sizeof item.value);
        item.run = payload[sizeof(qvo_seq_payload_t) - 1 - i];
        items.push_back(item);
    }
    return items;
}

inline size_t capacity_of(size_t width) { return sizeof(qvo_seq_payload_t) / (width + 1); }

/// Pulls an iterator to its end, which must come as QVO_S_CURSOR_END, twice, and leave the tile alone. Checks on the
/// way what holds for every `next`: 1 to capacity elements, and next_seq_no grows by their positions.
template <class T> Items<T> drain(qvo_seq_iterator_h it) {
    Items<T> all;
    for (;;) {
        const qvo_seq_iterator_t before = *it;
        const QVO_RET rc = it->next(it);
        if (rc != QVO_S_OK) {
            EXPECT_EQ(rc, QVO_S_CURSOR_END);
            EXPECT_EQ(it->next(it), QVO_S_CURSOR_END) << "the end must last";
            EXPECT_EQ(std::memcmp(&before.tile, &it->tile, sizeof it->tile), 0) << "the end must not touch the tile";
            EXPECT_EQ(it->tile_size, before.tile_size);
            return all;
        }
        EXPECT_GE(it->tile_size, 1);
        EXPECT_LE(it->tile_size, capacity_of(it->elem_size));
        uint64_t positions = 0;
        for (Item<T>& item : tile_items<T>(*it)) {
            positions += item.run;
            all.push_back(std::move(item));
        }
        EXPECT_EQ(it->next_seq_no - before.next_seq_no, positions);
        if (testing::Test::HasFailure()) return all;
        it->tile_offs = 0;
    }
}

/// Random elements: a few shapes of runs, so that stretches and crossings of all kinds come up.
template <class T, class Draw> Items<T> random_items(Random& random, size_t n, Draw draw) {
    Items<T> items;
    unsigned low = 1, high = 1;
    for (size_t i = 0; i < n; ++i) {
        if (i == 0 || random.chance(3)) {
            static constexpr unsigned shapes[][2] = {{1, 1}, {1, 1},    {2, 2},     {1, 3},
                                                     {1, 8}, {50, 150}, {255, 255}, {1, 255}};
            const auto& shape = shapes[random.below(8)];
            low = shape[0];
            high = shape[1];
        }
        items.push_back({draw(random), random.between(low, high)});
    }
    return items;
}
template <class T> Items<T> random_items(Random& random, size_t n) {
    return random_items<T>(random, n, [](Random& r) { return r.template value<typename T::value>(); });
}

/// The same for the fixed types and char, of which the strings are short enough to come up again and again.
template <class T> Items<T> draw_items(Random& random, size_t n) {
    if constexpr (std::is_same_v<T, t_char>)
        return random_items<T>(random, n, [](Random& r) { return std::string(1, char('a' + r.below(26))); });
    else
        return random_items<T>(random, n);
}

/// The width of test sequences.
template <class T> constexpr size_t test_width = std::is_same_v<T, t_char> ? 5 : Source::width_of<T>();

/// Random tile sizes, full tiles among them.
std::vector<size_t> random_tile_sizes(Random& random);

/// Random tile sizes, and for every third seed an error.
Script random_script(Random& random, unsigned seed);

/// Positions, runs expanded.
template <class T> std::vector<typename T::value> expand(const Items<T>& items) {
    std::vector<typename T::value> all;
    for (const auto& item : items) all.insert(all.end(), item.run, item.value);
    return all;
}

/// Each value as one element of run 1.
template <class T> Items<T> singles(const std::vector<typename T::value>& values) {
    Items<T> items;
    for (const auto& value : values) items.push_back({value, 1});
    return items;
}

}  // namespace test
