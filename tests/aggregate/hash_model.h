// A naive statement of hash aggregation: steps, groups, and the order in which a table delivers them.
#pragma once

#include <algorithm>
#include <cmath>
#include <map>

#include "support/host.h"
#include "support/protocol.h"

namespace test {

/// One overlap of keys and values: the keys' bytes, the index of the value, the positions shared.
struct Step {
    std::string key;
    size_t value;
    unsigned n;
};

template <class K, class V> std::vector<Step> steps_of(const Items<K>& keys, const Items<V>& values, size_t width) {
    std::vector<Step> steps;
    for (size_t k = 0, v = 0, key_taken = 0, value_taken = 0; k < keys.size() && v < values.size();) {
        const size_t n = std::min(keys[k].run - key_taken, values[v].run - value_taken);
        steps.push_back({Source::bytes_of<K>(keys[k].value, width), v, static_cast<unsigned>(n)});
        key_taken += n, value_taken += n;
        if (key_taken == keys[k].run) ++k, key_taken = 0;
        if (value_taken == values[v].run) ++v, value_taken = 0;
    }
    return steps;
}

inline uint32_t hash_of(const std::string& bytes, uint32_t seed = 377307) {
    return murmur_hash3_32(bytes.data(), bytes.size(), seed);
}

/// The number of chains that a table of this many groups ends with.
inline uint64_t chains_after(uint64_t wanted, size_t groups) {
    const auto prime = [](int i) { return uint64_t{qvo_int_get_prime_number(i)}; };
    int i = 0;
    while (i <= 27 && (wanted == 0 ? 1361 : wanted) > prime(i)) i += 2;
    uint64_t size = prime(i);
    for (size_t used = 1; used <= groups; ++used)
        if (used == static_cast<uint64_t>(static_cast<double>(size) * qvo_seq_hash_table_load_factor) - 1) {
            for (i = 0; prime(i) <= size;) ++i;
            size = prime(i);
        }
    return size;
}

/// Keys in the order of delivery: by chain, and in a chain as numbers or, if they are wide, as bytes.
inline void sort_as_delivered(std::vector<std::string>& keys, uint64_t chains) {
    const auto rank = [=](const std::string& key) {
        std::string order = key;
        if (key.size() <= 8) std::reverse(order.begin(), order.end());
        return std::pair(hash_of(key) % chains, order);
    };
    std::sort(keys.begin(), keys.end(), [&](const auto& a, const auto& b) {
        const auto x = rank(a), y = rank(b);
        if (x.first != y.first) return x.first < y.first;
        return std::lexicographical_compare(
            x.second.begin(), x.second.end(), y.second.begin(), y.second.end(),
            [](char p, char q) { return static_cast<uint8_t>(p) < static_cast<uint8_t>(q); });
    });
}

/// What an iterator over keys of any type delivers, as bytes.
inline std::vector<std::string> drain_keys(qvo_seq_iterator_h it) {
    std::vector<std::string> keys;
    for (QVO_RET rc; (rc = it->next(it)) != QVO_S_CURSOR_END;) {
        EXPECT_EQ(rc, QVO_S_OK);
        if (rc != QVO_S_OK) break;
        for (const auto& item : tile_items<t_char>(*it)) {
            keys.push_back(item.value);
            EXPECT_EQ(item.run, 1U);
        }
    }
    return keys;
}

/// Wide keys that often differ at their end only.
inline std::string random_key(Random& random, unsigned distinct, size_t width) {
    std::string key(width, 'k');
    const unsigned n = random.below(distinct);
    for (size_t i = 0; i < std::min<size_t>(width, 4); ++i) key[width - 1 - i] = static_cast<char>(n >> (8 * i));
    return key;
}

/// Makes a pair of results and releases them.
struct HashResults {
    Record agg, grp;
    bool constructed = false;
    ~HashResults() {
        if (constructed) qvo_seq_release_hash(grp.get());
    }
};

}  // namespace test
