// Groups in memory: a hash table from keys to running states.
//
// A key is a word: of numbers and timestamps the one by which they sort, of text of up to eight bytes the text, of longer
// text a hash of it. Slots of the table hold a part of the word's hash and the number of the group; whether it is the
// right one is seen in its state, which has to be fetched anyway. A batch of keys is looked up in stages, so that many
// fetches from memory are under way at once. While groups are few, a look at where the key was last is enough.
#pragma once

#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "base/pages.h"
#include "evaluate/plan.h"
#include "functions/group_state.h"
#include "operators/sort.h"

namespace qvo::value {

/// The word of text in a cell of a width; the same at any width.
uint64_t text_word(const char* text, size_t width);

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

/// The states of keys that came lately, each at the only place where its word can be. Free places have the word 0 and no
/// state, which is what 0 itself is told as long as it has not come.
template <class State> class RecentStates {
 public:
    QVO_INLINE State* find(uint64_t word) const {
        const Entry& entry = entries_[place(word)];
        return entry.word == word ? entry.state : nullptr;
    }
    /// Keeps one more of so many.
    void keep(uint64_t word, State* state, size_t of) {
        if (entries_.size() < most && entries_.size() < 16 * of) {
            entries_.assign(std::min(most, 2 * std::bit_ceil(16 * of)), {});
            shift_ = 64 - static_cast<unsigned>(std::countr_zero(entries_.size()));
        }
        entries_[place(word)] = {word, state};
    }

 private:
    static constexpr size_t most = 1 << 14;
    struct Entry {
        uint64_t word = 0;
        State* state = nullptr;
    };
    /// By a product with the golden ratio, which puts neighbouring numbers far apart.
    QVO_INLINE size_t place(uint64_t word) const { return word * 0x9e3779b97f4a7c15U >> shift_; }

    std::vector<Entry> entries_ = std::vector<Entry>(2);
    unsigned shift_ = 63;
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
        const bool single = leading_single_runs(runs, n) == n;
        Batch batch;
        for (size_t done = 0; done < n; done += most) {
            const size_t some = std::min(n - done, most);
            take_keys(batch, static_cast<const char*>(keys) + done * width, width, some);
            if (exact_words() && n_ <= few)
                recall(batch);
            else
                look_up(batch);
            fold(batch, values + done, runs - done, single);
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
    using State = GroupState<V>;
    static constexpr size_t most = 256;
    // So few groups are found by what is kept of recent ones, and stay in cache.
    static constexpr size_t few = 2048;

    /// Keys that are looked up together: of equal neighbours one.
    struct Batch {
        const char* cells;
        size_t width;
        size_t n;
        uint64_t words[most];
        uint16_t begin[most + 1];  // of the values of each, and the end of the last
        State* states[most];
        /// Of the key that the values from `begin[i]` on have.
        const char* cell(size_t i) const { return cells + begin[i] * width; }
    };

    QVO_INLINE State& own(size_t g) { return chunks_[g / chunk][g % chunk]; }

    /// Whether keys are equal where their words are.
    bool exact_words() const { return !text_keys() || key_type_.width <= sizeof(uint64_t); }

    void take_keys(Batch& batch, const char* cells, size_t width, size_t n) const {
        batch.cells = cells;
        batch.width = width;
        uint64_t* const words = batch.words;
        if (!exact_words()) {
            cut(batch, n,
                [&](size_t i) { return std::memcmp(cells + (i - 1) * width, cells + i * width, width) != 0; });
            for (size_t i = 0; i < batch.n; ++i) words[i] = text_word(batch.cell(i), width);
            return;
        }
        exact_words_of(batch, n);
        if (2 * for_cpu<changes>(words, n) >= n) {
            std::iota(batch.begin, batch.begin + n + 1, uint16_t{0});
            batch.n = n;
            return;
        }
        cut(batch, n, [&](size_t i) { return words[i - 1] != words[i]; });
        for (size_t i = 0; i < batch.n; ++i) words[i] = words[batch.begin[i]];
    }
    void exact_words_of(Batch& batch, size_t n) const {
        if (text_keys())
            short_text_words(batch.cells, batch.width, n, batch.words);
        else if (key_type_.type == Type::double_)
            ascending_words<double>(batch.cells, n, batch.words);
        else if (key_type_.type == Type::uint8)
            ascending_words<uint64_t>(batch.cells, n, batch.words);
        else
            ascending_words<int64_t>(batch.cells, n, batch.words);
    }
    template <class K> static void ascending_words(const void* keys, size_t n, uint64_t* __restrict words) {
        const K* const typed = static_cast<const K*>(keys);
        for (size_t i = 0; i < n; ++i) words[i] = ascending_key(typed[i]);
    }
    /// Loads of whole words, but where they would reach beyond the last cell.
    static void short_text_words(const char* cells, size_t width, size_t n, uint64_t* words) {
        const uint64_t mask = ~uint64_t{0} >> (64 - 8 * width);
        const size_t beyond = (sizeof mask - 1) / width, inside = n - std::min(n, beyond);
        for (size_t i = 0; i < inside; ++i) {
            std::memcpy(&words[i], cells + i * width, sizeof mask);
            words[i] &= mask;
        }
        for (size_t i = inside; i < n; ++i) words[i] = text_word(cells + i * width, width);
    }
    QVO_INLINE static size_t changes(const uint64_t* words, size_t n) {
        size_t found = 0;
        for (size_t i = 1; i < n; ++i) found += words[i] != words[i - 1];
        return found;
    }
    /// Finds where keys begin that differ from the ones before them.
    template <class Differs> static void cut(Batch& batch, size_t n, Differs differs) {
        size_t at = 0;
        batch.begin[at++] = 0;
        for (size_t i = 1; i < n; ++i) {
            batch.begin[at] = static_cast<uint16_t>(i);
            at += differs(i);
        }
        batch.begin[at] = static_cast<uint16_t>(n);
        batch.n = at;
    }

    /// Finds the states of a batch by exact words, most of them among the recent ones.
    void recall(Batch& batch) {
        for (size_t i = 0; i < batch.n; ++i) {
            State* state = recent_.find(batch.words[i]);
            if (state == nullptr) {
                state = is_missing(batch.words[i]) ? left_out_.get() : &at(batch.words[i], batch.cell(i), batch.width);
                recent_.keep(batch.words[i], state, n_);
            }
            batch.states[i] = state;
        }
    }

    /// Finds the states of a batch in the table, in stages.
    void look_up(Batch& batch) {
        uint64_t hashes[most];
        uint32_t groups[most];
        for (size_t i = 0; i < batch.n; ++i) {
            hashes[i] = HashTable::hash(batch.words[i]);
            table_.prefetch(hashes[i]);
        }
        for (size_t i = 0; i < batch.n; ++i) {
            groups[i] = HashTable::none;
            if (is_missing(batch.words[i])) continue;
            groups[i] = table_.find(hashes[i], [](uint32_t) { return true; });
            if (groups[i] == HashTable::none) groups[i] = insert(batch.words[i], batch.cell(i), batch.width);
            __builtin_prefetch(&state(groups[i])), __builtin_prefetch(&state(groups[i]).last);
        }
        // Most are right; where only the part of the hash in the slot is the same, the key is looked up once more.
        for (size_t i = 0; i < batch.n; ++i) {
            if (groups[i] == HashTable::none)
                batch.states[i] = left_out_.get();
            else if (is(groups[i], batch.words[i], batch.cell(i), batch.width))
                batch.states[i] = &own(groups[i]);
            else
                batch.states[i] = &at(batch.words[i], batch.cell(i), batch.width);
        }
    }

    /// Adds the values of a batch to their states.
    void fold(const Batch& batch, const V* values, const uint8_t* runs, bool single) {
        constexpr size_t long_enough = 16;
        const size_t n = batch.begin[batch.n];
        if (batch.n == n && single) return for_cpu<fold_singles>(batch.states, values, n);
        for (size_t i = 0; i < batch.n; ++i) {
            const size_t begin = batch.begin[i], end = batch.begin[i + 1];
            State& state = *batch.states[i];
            if (end - begin >= long_enough)
                state.add(values + begin, runs - begin, end - begin);
            else
                for (size_t k = begin; k < end; ++k) state.add(values[k], get_run(runs, k));
        }
    }
    QVO_INLINE static void fold_singles(State* const* states, const V* values, size_t n) {
        for (size_t i = 0; i < n; ++i) states[i]->add(values[i], 1);
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
    RecentStates<State> recent_;
    std::unique_ptr<State> left_out_ = std::make_unique<State>();  // of missing keys; shown to nobody
};

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
