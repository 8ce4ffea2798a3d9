// Groups in memory: a hash table from keys to running states.
//
// A key is a word: of numbers and timestamps the one by which they sort, of text a hash of it. Slots of the table hold
// a part of the word's hash and the number of the group; whether it is the right one is seen in its state, which has to
// be fetched anyway. A batch of keys is looked up in stages, so that many fetches from memory are under way at once.
#pragma once

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "base/pages.h"
#include "evaluate/plan.h"
#include "operators/extremes.h"
#include "operators/moments.h"
#include "operators/sort.h"
#include "operators/sums.h"

namespace qvo::value {

__extension__ typedef unsigned __int128 uint128;

/// The word of text in a cell of a width; the same at any width.
uint64_t text_word(const char* text, size_t width);

/// What is kept of the values of a group; V is int64_t, uint64_t or double.
template <class V> struct GroupState {
    static constexpr bool real = std::is_floating_point_v<V>;
    using Sum = std::conditional_t<real, DoubleSum, int128>;

    uint64_t word = 0;
    Moments moments{};  // its n is the count of values that are present
    Sum sum{};
    V min = Smaller::worst<V>(), max = Larger::worst<V>(), first{}, last{};

    uint64_t count() const { return moments.n; }

    QVO_INLINE void add(V v, unsigned run) {
        if (v != v) return;
        if (moments.n == 0) first = v;
        const double x = static_cast<double>(v);
        moments.n += run;
        const double apart = x - moments.mean, share = run / static_cast<double>(moments.n);
        moments.mean += apart * share;
        moments.squares += apart * (x - moments.mean) * run;
        if constexpr (real)
            sum.add(v, run);
        else
            sum = added(sum, static_cast<int128>(v) * run);
        min = v < min ? v : min;
        max = v > max ? v : max;
        last = v;
    }

    /// Adds n neighbours at once.
    void add(const V* values, const uint8_t* runs, size_t n) {
        const double* reals = nullptr;
        double converted[capacity_of(sizeof(V))];
        if constexpr (real) {
            reals = values;
            sum.add(sum_values(values, runs, n).sum);
        } else {
            for (size_t i = 0; i < n; ++i) {
                converted[i] = static_cast<double>(values[i]);
                sum = added(sum, static_cast<int128>(values[i]) * get_run(runs, i));
            }
            reals = converted;
        }
        const Moments more = moments_of(reals, runs, n);
        if (more.n == 0) return;
        size_t at = 0, end = n;
        while (values[at] != values[at]) ++at;
        while (values[end - 1] != values[end - 1]) --end;
        if (moments.n == 0) first = values[at];
        last = values[end - 1];
        moments.merge(more);
        min = for_cpu<Best<V, Smaller>::of>(values, n, min);
        max = for_cpu<Best<V, Larger>::of>(values, n, max);
    }

    void merge(const GroupState& other) {
        if (other.count() == 0) return;
        if (count() == 0) first = other.first;
        last = other.last;
        moments.merge(other.moments);
        if constexpr (real)
            sum.add(other.sum);
        else
            sum = added(sum, other.sum);
        min = other.min < min ? other.min : min;
        max = other.max > max ? other.max : max;
    }

 private:
    /// States from elsewhere may hold anything, so it may come round.
    QVO_INLINE static int128 added(int128 a, int128 b) {
        return static_cast<int128>(static_cast<uint128>(a) + static_cast<uint128>(b));
    }
};

/// From the hashes of words to the numbers of groups.
class HashTable {
 public:
    static constexpr uint32_t none = ~uint32_t{0};

    QVO_INLINE static uint64_t hash(uint64_t word) {
        const uint128 product = static_cast<uint128>(word ^ 0x9e3779b97f4a7c15U) * 0xd6e8feb86659fd93U;
        return static_cast<uint64_t>(product >> 64) ^ static_cast<uint64_t>(product);
    }
    QVO_INLINE void prefetch(uint64_t hash) const { __builtin_prefetch(&slots_[hash >> shift_]); }
    /// The first group whose hash is alike in the part that is kept and that is accepted; `none` if there is none.
    template <class Accept> QVO_INLINE uint32_t find(uint64_t hash, Accept accept) const {
        for (size_t i = hash >> shift_;; i = (i + 1) & (slots_.size() - 1)) {
            if (slots_[i] == 0) return none;
            const auto group = static_cast<uint32_t>(slots_[i]) - 1;
            if (slots_[i] >> 32 == (hash & 0xffffffffU) && accept(group)) return group;
        }
    }
    /// Adds a group, the next number; hash_of(g) tells the hashes of those there are.
    template <class HashOf> void add(uint64_t hash, HashOf hash_of) {
        if (2 * (size_t{n_} + 1) > slots_.size()) grow(hash_of);
        put(hash, n_++);
    }

 private:
    void put(uint64_t hash, uint32_t group) {
        size_t i = hash >> shift_;
        while (slots_[i] != 0) i = (i + 1) & (slots_.size() - 1);
        slots_[i] = hash << 32 | (uint64_t{group} + 1);
    }
    template <class HashOf> void grow(HashOf hash_of) {
        if (n_ >= none / 2) throw std::length_error("more groups than there are numbers");
        slots_.assign(2 * slots_.size(), 0);
        --shift_;
        for (uint32_t g = 0; g < n_; ++g) put(hash_of(g), g);
    }
    LargeVector<uint64_t> slots_ = LargeVector<uint64_t>(64);  // 0: free
    unsigned shift_ = 64 - 6;
    uint32_t n_ = 0;
};

/// All groups, in the order in which their keys came.
template <class V> class Groups {
 public:
    using Value = V;
    explicit Groups(ValueType key_type) : key_type_(key_type) {}

    /// int8, uint8, double, timestamp or char; of char the widest so far.
    ValueType key_type() const { return key_type_; }
    size_t size() const { return n_; }
    const GroupState<V>& state(size_t g) const { return chunks_[g / chunk][g % chunk]; }
    std::string_view text(size_t g) const {
        const size_t from = g == 0 ? 0 : ends_[g - 1];
        return {pool_.data() + from, ends_[g] - from};
    }
    void widen_text(ValueType to) { key_type_ = to; }

    /// The state of a key, by its word and, of text, its cell.
    GroupState<V>& at(uint64_t word, const char* cell, size_t width) {
        uint32_t g = find(word, cell, width);
        if (g == HashTable::none) g = insert(word, cell, width);
        return own(g);
    }

    /// Adds n pairs; keys lie as in a tile of `width`.
    void add(const void* keys, size_t width, const V* values, const uint8_t* runs, size_t n) {
        uint64_t words[most];
        uint32_t groups[most];
        for (size_t done = 0; done < n; done += most) {
            const size_t some = std::min(n - done, most);
            const char* const cells = static_cast<const char*>(keys) + done * width;
            words_of(cells, width, some, words);
            look_up(cells, width, some, words, groups);
            fold(values + done, runs - done, some, groups);
        }
    }

    /// Adds the groups of another one with keys of this type.
    template <class From> void merge(const Groups<From>& other);
    /// The key of a group of this one as a cell of its type.
    void put_key(size_t g, char* cell) const {
        if (text_keys()) {
            const std::string_view key = text(g);
            std::memset(cell, 0, key_type_.width);
            std::memcpy(cell, key.data(), key.size());
            return;
        }
        with_key_value(state(g).word, [&](auto key) { std::memcpy(cell, &key, sizeof key); });
    }
    /// Calls f with the value of a word of this one's keys.
    template <class F> void with_key_value(uint64_t word, F f) const {
        if (key_type_.type == Type::double_) return f(value_of_key<double>(word));
        if (key_type_.type == Type::uint8) return f(value_of_key<uint64_t>(word));
        f(value_of_key<int64_t>(word));
    }
    /// The word of a key of another numeric type.
    template <class K> uint64_t word_of(K key) const {
        if (key_type_.type == Type::double_) return ascending_key(static_cast<double>(key));
        if (key_type_.type == Type::uint8) return ascending_key(static_cast<uint64_t>(key));
        if (std::is_same_v<K, uint64_t> && static_cast<int64_t>(key) < 0)
            throw Error(Fault::overflow, "a key does not fit int8, in which the rows meet; cast converts");
        return ascending_key(static_cast<int64_t>(key));
    }
    /// The word of a missing key.
    static constexpr uint64_t missing = ~uint64_t{0};
    bool is_missing(uint64_t word) const { return key_type_.type == Type::double_ && word == missing; }
    bool text_keys() const { return key_type_.type == Type::char_; }

 private:
    static constexpr size_t most = 256;

    QVO_INLINE GroupState<V>& own(size_t g) { return chunks_[g / chunk][g % chunk]; }

    template <class K> static void ascending_words(const void* keys, size_t n, uint64_t* __restrict words) {
        const K* const typed = static_cast<const K*>(keys);
        for (size_t i = 0; i < n; ++i) words[i] = ascending_key(typed[i]);
    }
    void words_of(const char* keys, size_t width, size_t n, uint64_t* words) const {
        if (text_keys())
            for (size_t i = 0; i < n; ++i) words[i] = text_word(keys + i * width, width);
        else if (key_type_.type == Type::double_)
            ascending_words<double>(keys, n, words);
        else if (key_type_.type == Type::uint8)
            ascending_words<uint64_t>(keys, n, words);
        else
            ascending_words<int64_t>(keys, n, words);
    }

    /// The group of each key; `none` for a missing one.
    void look_up(const char* cells, size_t width, size_t n, const uint64_t* words, uint32_t* groups) {
        uint64_t hashes[most];
        for (size_t i = 0; i < n; ++i) {
            hashes[i] = HashTable::hash(words[i]);
            table_.prefetch(hashes[i]);
        }
        for (size_t i = 0; i < n; ++i) {
            if (i > 0 && words[i] == words[i - 1]) {
                groups[i] = groups[i - 1];
                continue;
            }
            groups[i] = HashTable::none;
            if (is_missing(words[i])) continue;
            groups[i] = table_.find(hashes[i], [](uint32_t) { return true; });
            if (groups[i] == HashTable::none)
                groups[i] = insert(words[i], cells + i * width, width);
            else
                __builtin_prefetch(&state(groups[i])), __builtin_prefetch(&state(groups[i]).last);
        }
        // Most are right; where only the part of the hash in the slot is the same, the key is looked up once more.
        for (size_t i = 0; i < n; ++i) {
            if (groups[i] == HashTable::none || is(groups[i], words[i], cells + i * width, width)) continue;
            groups[i] = find(words[i], cells + i * width, width);
            if (groups[i] == HashTable::none) groups[i] = insert(words[i], cells + i * width, width);
        }
    }

    void fold(const V* values, const uint8_t* runs, size_t n, const uint32_t* groups) {
        constexpr size_t many = 16;
        for (size_t i = 0, end; i < n; i = end) {
            end = i + 1;
            while (end < n && groups[end] == groups[i]) ++end;
            if (groups[i] == HashTable::none) continue;
            GroupState<V>& state = own(groups[i]);
            if (end - i >= many)
                state.add(values + i, runs - i, end - i);
            else
                for (size_t k = i; k < end; ++k) state.add(values[k], get_run(runs, k));
        }
    }

    QVO_INLINE bool is(uint32_t g, uint64_t word, const char* cell, size_t width) const {
        if (state(g).word != word) return false;
        return !text_keys() || text(g) == std::string_view(cell, strnlen(cell, width));
    }
    uint32_t find(uint64_t word, const char* cell, size_t width) const {
        return table_.find(HashTable::hash(word), [&](uint32_t g) { return is(g, word, cell, width); });
    }
    uint32_t insert(uint64_t word, const char* cell, size_t width) {
        const uint32_t g = n_;
        if (g / chunk == chunks_.size()) make_room();
        if (text_keys()) {
            pool_.append(cell, strnlen(cell, width));
            ends_.push_back(pool_.size());
        }
        own(g).word = word;
        table_.add(HashTable::hash(word), [&](uint32_t other) { return HashTable::hash(state(other).word); });
        return n_++;
    }

    /// For a quarter more groups.
    void make_room() {
        const size_t more = chunks_.size() / 4 + 1;
        chunks_.reserve(chunks_.size() + more);
        slabs_.emplace_back(more * chunk);
        for (size_t k = 0; k < more; ++k) chunks_.push_back(slabs_.back().data() + k * chunk);
    }

    ValueType key_type_;
    HashTable table_;
    // States stay where they are as there come to be more.
    static constexpr size_t chunk = 64;
    std::vector<LargeVector<GroupState<V>>> slabs_;
    std::vector<GroupState<V>*> chunks_;
    uint32_t n_ = 0;
    std::string pool_;  // the texts, one after the other
    std::vector<size_t> ends_;
};

/// A state of integers as one of doubles, or of unsigned ones as one of signed ones.
template <class V, class From> GroupState<V> converted(const GroupState<From>& from) {
    if constexpr (std::is_same_v<V, From>) return from;
    GroupState<V> to;
    to.word = from.word;
    to.moments = from.moments;
    if constexpr (GroupState<V>::real && GroupState<From>::real)
        to.sum = from.sum;
    else if constexpr (GroupState<V>::real)
        to.sum = as_reals(from.sum);
    else if constexpr (!GroupState<From>::real)
        to.sum = from.sum;
    if (from.count() == 0) return to;
    if constexpr (std::is_same_v<V, int64_t> && std::is_same_v<From, uint64_t>)
        if (from.max > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
            throw Error(Fault::overflow, "a value of a group does not fit int8, in which the rows meet; cast converts");
    to.min = static_cast<V>(from.min);
    to.max = static_cast<V>(from.max);
    to.first = static_cast<V>(from.first);
    to.last = static_cast<V>(from.last);
    return to;
}

template <class V> template <class From> void Groups<V>::merge(const Groups<From>& other) {
    for (size_t g = 0; g < other.size(); ++g) {
        const GroupState<V> state = converted<V>(other.state(g));
        if (text_keys()) {
            const std::string_view key = other.text(g);
            at(state.word, key.data(), key.size()).merge(state);
            continue;
        }
        uint64_t word = state.word;
        other.with_key_value(word, [&](auto key) { word = word_of(key); });
        at(word, nullptr, 0).merge(state);
    }
}

}  // namespace qvo::value
