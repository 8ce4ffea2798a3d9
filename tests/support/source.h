// Scripted sources, and draining an iterator.
#pragma once

#include <functional>

#include "support/types.h"

namespace test {

/// What a source does besides delivering its elements.
struct Script {
    std::vector<size_t> tile_sizes;  // elements per tile, over and over; none: full tiles
    size_t stop_at = SIZE_MAX;       // before this element, `next` returns stop_code instead
    QVO_RET stop_code = QVO_S_OK;    // QVO_S_OK: success with an empty tile, which no source may do
    QVO_RET reset_code = QVO_S_OK;   // what `reset` returns
    bool overfull = false;           // the first tile claims more elements than one can hold, which no source may do
};

/// An iterator over given elements, with any runs and tile sizes, that counts how it is used.
class Source {
 public:
    template <class T> static constexpr size_t width_of() {
        if constexpr (std::is_same_v<T, t_char>)
            return 1;
        else
            return T::width;
    }
    template <class T> explicit Source(T, const Items<T>& items, Script script = {}, size_t width = width_of<T>());
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    qvo_seq_iterator_h get() { return &it_; }
    qvo_seq_iterator_t* operator->() { return &it_; }
    unsigned n_next() const { return n_next_; }
    unsigned n_reset() const { return n_reset_; }
    void set_script(Script script) { script_ = std::move(script); }

    /// A value as a sequence of this width holds it.
    template <class T> static std::string bytes_of(const typename T::value& value, size_t width);

 private:
    Source(uint8_t code, size_t width, Script script);
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

/// A result record as a caller may hand it in: full of rubbish, with empty operand slots.
struct Record {
    qvo_seq_iterator_t it;
    Record();
    Record(const Record&) = delete;
    qvo_seq_iterator_h get() { return &it; }
    qvo_seq_iterator_t* operator->() { return &it; }
};

/// A text source that learns its width from its first string, with runs of 1.
struct TextSource : Record {
    const std::string text;

    explicit TextSource(std::string literal) : text(std::move(literal)) {
        std::memset(it.tile.u.arr_char, 1, sizeof it.tile.u);
        EXPECT_EQ(qvo_seq_parse_char(get(), text.c_str(), 0), QVO_S_OK);
    }
};

inline size_t capacity_of(size_t width) { return sizeof(qvo_seq_payload_t) / (width + 1); }

/// Elements of the current tile.
template <class T> Items<T> tile_items(const qvo_seq_iterator_t& it);

/// Appends what an iterator delivers until a call does not succeed, or until there are `most` elements; that call's
/// code.
template <class T> QVO_RET read_items(qvo_seq_iterator_h it, Items<T>& items, size_t most = SIZE_MAX);

/// Pulls an iterator to its end, which must come as QVO_S_CURSOR_END, twice, and leave the tile alone. Checks on the
/// way what holds for every `next`: 1 to capacity elements, and next_seq_no grows by their positions.
template <class T> Items<T> drain(qvo_seq_iterator_h it);

/// What a constructor makes of its arguments, drained.
template <class R, class Construct, class... Arguments> Items<R> drained(Construct construct, Arguments... arguments) {
    Record it;
    EXPECT_EQ(construct(it.get(), arguments...), QVO_S_OK);
    return drain<R>(it.get());
}

/// A constructor that refuses its arguments leaves the result alone.
template <class Construct, class... Arguments>
void expect_refused(QVO_RET code, Construct construct, Arguments... arguments) {
    Record it, untouched;
    EXPECT_EQ(construct(it.get(), arguments...), code);
    EXPECT_EQ(std::memcmp(&it.it, &untouched.it, sizeof it.it), 0);
}

/// act(random, seed) for so many seeds, up to the first failure.
void for_seeds(unsigned n, const std::function<void(Random&, unsigned seed)>& act);

/// Random elements: a few shapes of runs, so that stretches and crossings of all kinds come up.
template <class T> using DrawValue = std::function<typename T::value(Random&)>;
template <class T> Items<T> random_items(Random& random, size_t n, const DrawValue<T>& draw);
template <class T> Items<T> random_items(Random& random, size_t n);

/// The same for the fixed types and char, of which the strings are short enough to come up again and again.
template <class T> Items<T> draw_items(Random& random, size_t n) {
    if constexpr (std::is_same_v<T, t_char>)
        return random_items<T>(random, n, [](Random& r) { return std::string(1, char('a' + r.below(26))); });
    else
        return random_items<T>(random, n);
}

/// Strings of `shortest` to `longest` of the given letters.
std::string random_text(Random& random, std::string_view letters, size_t shortest, size_t longest);
Items<t_char> random_strings(Random& random, size_t n, std::string_view letters, size_t shortest, size_t longest);

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
