#include "aggregate/hash_table.h"

#include <iterator>
#include <utility>

#include "aggregate/sketch.h"
#include "core/number.h"

namespace qvo {
namespace {

using Bucket = qvo_seq_hash_bucket_t;
static_assert(sizeof(Bucket) == 40968 && sizeof(HashElem) == 40);

constexpr int last_prime = 28;

// The kinds of keys: their order in a chain, how a new element keeps them, and, unless they are inline, when two steps
// in a row certainly look for the same element. The hash is the one that chooses the chain.

struct InlineKeys {
    static constexpr bool is_inline = true;
    explicit InlineKeys(const HashLayout&) {}
    static bool before(const HashElem& a, const HashElem& b) { return a.grp.val < b.grp.val; }
    static bool same(const HashElem& a, const HashElem& b) { return a.grp.val == b.grp.val; }
    static uint32_t hash(const HashElem& e) { return e.grp_hash; }
    static size_t bytes_kept() { return 0; }
    static void keep(HashElem&, void*) {}
    static HashElem probe(const HashFiller::Probes& probes, size_t i) {
        return {probes.key[i], {0}, nullptr, 0, probes.key_hash[i], 0};
    }
};

struct LongKeys {
    static constexpr bool is_inline = false;
    size_t width;

    explicit LongKeys(const HashLayout& layout) : width(layout.key_width) {}
    bool before(const HashElem& a, const HashElem& b) const { return qvo_memcmp(a.grp.ptr, b.grp.ptr, width) < 0; }
    bool same(const HashElem& a, const HashElem& b) const {
        return a.grp_hash == b.grp_hash && qvo_memcmp(a.grp.ptr, b.grp.ptr, width) == 0;
    }
    static bool repeated(const HashElem& a, const HashElem& b) { return a.grp.ptr == b.grp.ptr; }
    static uint32_t hash(const HashElem& e) { return e.grp_hash; }
    size_t bytes_kept() const { return width; }
    void keep(HashElem& e, void* bytes) const {
        std::memcpy(bytes, e.grp.ptr, width);
        e.grp.ptr = bytes;
    }
    static HashElem probe(const HashFiller::Probes& probes, size_t i) { return InlineKeys::probe(probes, i); }
};

/// Pairs are in the order of their values, then of their keys. A long key is that of the group, which keeps it.
struct PairKeys {
    static constexpr bool is_inline = false;
    size_t key_width, value_width;

    explicit PairKeys(const HashLayout& layout) : key_width(layout.key_width), value_width(layout.value_width) {}
    static int compare(const qvo_seq_key_t& a, const qvo_seq_key_t& b, size_t width) {
        if (width > HashLayout::widest_inline) return qvo_memcmp(a.ptr, b.ptr, width);
        return (a.val > b.val) - (a.val < b.val);
    }
    bool before(const HashElem& a, const HashElem& b) const {
        const int by_value = compare(a.agg, b.agg, value_width);
        return by_value < 0 || (by_value == 0 && compare(a.grp, b.grp, key_width) < 0);
    }
    bool same(const HashElem& a, const HashElem& b) const {
        return a.agg_hash == b.agg_hash && compare(a.agg, b.agg, value_width) == 0 &&
               compare(a.grp, b.grp, key_width) == 0;
    }
    bool repeated(const HashElem& a, const HashElem& b) const {
        return a.grp.val == b.grp.val && a.agg.val == b.agg.val;
    }
    static uint32_t hash(const HashElem& e) { return e.agg_hash; }
    size_t bytes_kept() const { return value_width > HashLayout::widest_inline ? value_width : 0; }
    void keep(HashElem& e, void* bytes) const {
        if (bytes == nullptr) return;
        std::memcpy(bytes, e.agg.ptr, value_width);
        e.agg.ptr = bytes;
    }
    static HashElem probe(const HashFiller::Probes& probes, size_t i) {
        return {probes.key[i], probes.value[i], nullptr, 0, probes.key_hash[i], probes.pair_hash[i]};
    }
};

/// The place of an element in a chain: the link to the first one that is not before it.
template <class Keys> QVO_INLINE HashElem** place(const Keys& keys, HashElem** link, const HashElem& like) {
    while (*link != nullptr && keys.before(**link, like)) link = &(*link)->collision;
    return link;
}

// A table of up to this many bytes is in a cache near enough not to be asked for in advance.
constexpr size_t near_bytes = 256 * 1024;

/// The first element of a chain or, if its inline key comes before the wanted one, the second. Which of the two cannot be
/// foretold, and the lookups of a batch overlap well as long as no branch depends on it.
QVO_INLINE HashElem* first_or_second(HashElem* elem, uint64_t key) {
    const auto first = reinterpret_cast<uintptr_t>(elem), second = reinterpret_cast<uintptr_t>(elem->collision);
    uintptr_t before = -uintptr_t{elem->grp.val < key};
    __asm__("" : "+r"(before));  // or the compiler makes the choice a branch
    return reinterpret_cast<HashElem*>(first ^ ((first ^ second) & before));
}

QVO_INLINE bool has_key(const HashElem* elem, uint64_t key) { return elem != nullptr && elem->grp.val == key; }

/// The element of an inline key, or null. That there are more than one before it is rare, and that it is missing happens
/// once per key.
QVO_INLINE HashElem* find_inline(HashElem* elem, uint64_t key) {
    if (elem == nullptr) return nullptr;
    elem = first_or_second(elem, key);
    while (elem != nullptr && elem->grp.val < key) elem = elem->collision;
    return has_key(elem, key) ? elem : nullptr;
}

/// Asks for what is read of an element, which may lie across two lines of the caches: all but the hashes at its end. There
/// need not be one: what is asked for is not read.
QVO_INLINE void fetch_element(const HashElem* elem) {
    const auto address = reinterpret_cast<uintptr_t>(elem);
    __builtin_prefetch(elem);
    __builtin_prefetch(reinterpret_cast<const void*>(address + offsetof(HashElem, grp_hash) - 1));
}

HashElem** new_chains(qvo_seq_iterator_h owner, qvo_size_t n) {
    const qvo_size_t bytes = n * sizeof(HashElem*);
    void* chains = qvo_seq_malloc(owner, bytes);
    if (chains != nullptr) qvo_memnull(chains, bytes);
    return static_cast<HashElem**>(chains);
}

}  // namespace

qvo_seq_hash_t* new_hash_table(qvo_seq_iterator_h owner, qvo_size_t chains) {
    auto* table = static_cast<qvo_seq_hash_t*>(qvo_seq_malloc(owner, sizeof(qvo_seq_hash_t)));
    if (table == nullptr) return nullptr;
    *table = {chains, 0, nullptr, nullptr, new_chains(owner, chains)};
    if (table->table != nullptr) return table;
    qvo_seq_free(owner, table, sizeof *table);
    return nullptr;
}

void free_hash_table(qvo_seq_iterator_h owner, qvo_seq_hash_t* table) {
    if (table == nullptr) return;
    for (Bucket* bucket = table->buckets; bucket != nullptr;) {
        Bucket* next = bucket->next;
        qvo_seq_free(owner, bucket, sizeof *bucket);
        bucket = next;
    }
    qvo_seq_free(owner, table->table, table->table_size * sizeof *table->table);
    qvo_seq_free(owner, table, sizeof *table);
}

// Every other prime of the host's table, which are about four times apart; growth uses all of them.
qvo_size_t hash_chains_for(qvo_size_t wanted) {
    if (wanted == 0) wanted = qvo_seq_hash_table_init_size;
    int i = 0;
    while (i < last_prime && wanted > qvo_int_get_prime_number(i)) i += 2;
    return qvo_int_get_prime_number(i);
}

HashFiller::HashFiller(qvo_seq_iterator_h owner, qvo_seq_hash_t* table, HashLayout layout)
    : owner_(owner), table_(table), layout_(layout), used_(table->table_used) {
    size_changed();
}

void HashFiller::size_changed() {
    const qvo_size_t size = table_->table_size;
    chains_ = {table_->table, size, ~uint64_t{0} / size + 1};
    limit_ = convert<uint64_t>(static_cast<double>(size) * qvo_seq_hash_table_load_factor) - 1;
}

/// hash mod size, without a division: the low 64 bits of hash times 2^64 / size are the fraction of the quotient, and
/// the fraction times the size is the remainder. Exact, as hash and size have 32 bits.
QVO_INLINE HashElem** HashFiller::Chains::of(uint32_t hash) const {
    const uint64_t fraction = reciprocal * hash;
    __extension__ typedef unsigned __int128 wide;
    return heads + static_cast<uint32_t>(static_cast<wide>(fraction) * size >> 64);
}

Bucket* HashFiller::new_bucket() {
    auto* bucket = static_cast<Bucket*>(qvo_seq_malloc(owner_, sizeof(Bucket)));
    if (bucket == nullptr) return nullptr;
    bucket->next = table_->buckets;
    if (table_->buckets == nullptr) table_->last_bucket = bucket;
    table_->buckets = bucket;
    return bucket;
}

HashElem* HashFiller::new_elem() {
    if (elem_ == elems_end_) {
        Bucket* bucket = new_bucket();
        if (bucket == nullptr) return nullptr;
        elem_ = std::begin(bucket->u.elems);
        elems_end_ = std::end(bucket->u.elems);
    }
    return elem_++;
}

void* HashFiller::carve(size_t bytes) {
    if (static_cast<size_t>(bytes_end_ - byte_) < bytes) {
        Bucket* bucket = new_bucket();
        if (bucket == nullptr) return nullptr;
        byte_ = std::begin(bucket->u.keys);
        bytes_end_ = std::end(bucket->u.keys);
    }
    return std::exchange(byte_, byte_ + bytes);
}

template <class F> auto HashFiller::with_keys(F f) const {
    if (layout_.pairs) return f(PairKeys(layout_));
    if (layout_.key_width > HashLayout::widest_inline) return f(LongKeys(layout_));
    return f(InlineKeys(layout_));
}

/// To the next larger prime. A table of the largest size stays as it is.
template <class Keys> bool HashFiller::grow(Keys keys) {
    int i = 0;
    while (i < last_prime && qvo_int_get_prime_number(i) <= table_->table_size) ++i;
    const qvo_size_t size = qvo_int_get_prime_number(i), old_size = table_->table_size;
    if (size <= old_size) return true;
    HashElem** heads = new_chains(owner_, size);
    if (heads == nullptr) return false;
    HashElem** const old_heads = std::exchange(table_->table, heads);
    table_->table_size = size;
    size_changed();
    for (qvo_size_t c = 0; c < old_size; ++c)
        for (HashElem* elem = old_heads[c]; elem != nullptr;) {
            HashElem* next = elem->collision;
            HashElem** link = place(keys, chains_.of(keys.hash(*elem)), *elem);
            elem->collision = *link;
            *link = elem;
            elem = next;
        }
    qvo_seq_free(owner_, old_heads, old_size * sizeof *old_heads);
    return true;
}

/// Asks for the memory that a batch of lookups will read: chains, their first elements, and with inline keys the second
/// ones where these are wanted. `likely` are the elements that may be the right ones, or null.
template <class Keys>
void HashFiller::fetch(Keys, const Probes& probes, const uint32_t* hashes, size_t n, HashElem** likely) const {
    HashElem** heads[most];
    for (size_t i = 0; i < n; ++i) __builtin_prefetch(heads[i] = chains_.of(hashes[i]));
    for (size_t i = 0; i < n; ++i) fetch_element(likely[i] = *heads[i]);
    if constexpr (Keys::is_inline)
        for (size_t i = 0; i < n; ++i)
            if (likely[i] != nullptr) fetch_element(likely[i] = first_or_second(likely[i], probes.key[i].val));
}

template <class Keys> size_t HashFiller::locate_as(Keys keys, const Probes& probes, size_t n, HashElem** found) {
    const uint32_t* hashes = layout_.pairs ? probes.pair_hash : probes.key_hash;
    uint16_t* created = created_;
    Chains chains = chains_;
    HashElem* likely[most];
    const bool is_far = chains.size * sizeof *chains.heads + used_ * sizeof(HashElem) > near_bytes;
    if (is_far) fetch(keys, probes, hashes, n, likely);
    [[maybe_unused]] HashElem last{};
    size_t i = 0;
    if constexpr (Keys::is_inline)
        if (!is_far)  // most batches have no new keys
            while (i < n && (found[i] = find_inline(*chains.of(hashes[i]), probes.key[i].val)) != nullptr) ++i;
    for (; i < n; ++i) {
        if constexpr (Keys::is_inline)
            if (is_far && has_key(likely[i], probes.key[i].val)) {
                found[i] = likely[i];
                continue;
            }
        HashElem** link = chains.of(hashes[i]);
        if constexpr (Keys::is_inline) {
            found[i] = find_inline(*link, probes.key[i].val);
            if (found[i] != nullptr) continue;
        }
        const HashElem like = keys.probe(probes, i);
        if constexpr (!Keys::is_inline) {
            if (i != 0 && keys.repeated(like, last)) {
                found[i] = found[i - 1];
                continue;
            }
            last = like;
        }
        link = place(keys, link, like);
        found[i] = *link;
        if (*link != nullptr && keys.same(**link, like)) continue;

        HashElem* elem = new_elem();
        if (elem == nullptr) return i;
        *elem = like;
        if (const size_t bytes = keys.bytes_kept(); bytes != 0) {
            void* kept = carve(bytes);
            if (kept == nullptr) return i;
            keys.keep(*elem, kept);
        }
        if (layout_.sketches) {
            elem->agg.ptr = carve(sketch_registers);
            if (elem->agg.ptr == nullptr) return i;
            qvo_memnull(elem->agg.ptr, sketch_registers);
        }
        elem->collision = *link;
        *link = elem;
        found[i] = elem;
        *created++ = static_cast<uint16_t>(i);
        *created = no_step;
        if (++used_ >= limit_) {
            if (!grow(keys)) return i;
            chains = chains_;
        }
    }
    return n;
}

size_t HashFiller::locate(const Probes& probes, size_t n, HashElem** found) {
    created_[0] = no_step;
    return with_keys([&](auto keys) { return locate_as(keys, probes, n, found); });
}

HashElem* HashFiller::find(const HashElem& like) const {
    return with_keys([&](auto keys) -> HashElem* {
        HashElem* elem = *place(keys, chains_.of(keys.hash(like)), like);
        return elem != nullptr && keys.same(*elem, like) ? elem : nullptr;
    });
}

template <class Keys> bool HashFiller::take_chains(Keys keys, qvo_seq_hash_t* other, Join join, void* context) {
    constexpr size_t batch = 64;
    HashElem* elems[batch];
    HashElem* next = nullptr;
    bool grown = true;
    for (qvo_size_t c = 0; c < other->table_size || next != nullptr;) {
        size_t n = 0;
        for (; n < batch; ++n) {
            while (next == nullptr && c < other->table_size) next = other->table[c++];
            if (next == nullptr) break;
            elems[n] = next;
            next = next->collision;
            __builtin_prefetch(chains_.of(keys.hash(*elems[n])));
        }
        for (size_t i = 0; i < n; ++i) __builtin_prefetch(*chains_.of(keys.hash(*elems[i])));
        for (size_t i = 0; i < n; ++i) {
            HashElem& elem = *elems[i];
            HashElem** link = place(keys, chains_.of(keys.hash(elem)), elem);
            if (*link != nullptr && keys.same(**link, elem)) {
                join(context, *link, elem);
                continue;
            }
            elem.collision = *link;
            *link = &elem;
            join(context, nullptr, elem);
            if (++used_ >= limit_ && grown) grown = grow(keys);
        }
    }
    return grown;
}

bool HashFiller::take_over(qvo_seq_hash_t* other, Join join, void* context) {
    // The elements go on living in their buckets, wherever they end up: those are taken over first.
    if (other->buckets != nullptr) {
        (table_->buckets != nullptr ? table_->last_bucket->next : table_->buckets) = other->buckets;
        table_->last_bucket = other->last_bucket;
        other->buckets = nullptr;
    }
    const bool grown = with_keys([&](auto keys) { return take_chains(keys, other, join, context); });
    free_hash_table(owner_, other);
    return grown;
}

}  // namespace qvo
