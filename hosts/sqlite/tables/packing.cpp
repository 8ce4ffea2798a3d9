// Packing the tail of a key into chunks, each of `full_chunk` rows at most.
//
// Rows after the last chunk become new ones, which are full but for the last. Rows that came late are merged into the
// chunk that they belong to, which is written anew, and split where it has grown too much.
#include <algorithm>

#include "tables/tail.h"

namespace qvo::sqlite {
namespace {

class Packing {
 public:
    Packing(Store& store, const Key& key, int64_t place)
        : store_(store), key_(key), place_(place), rows_(store.declaration()) {}

    /// Begins with the piece of a chunk, which stays as it is if nothing is added to it.
    void begin(Pieces& pieces) {
        const Piece& piece = pieces.piece();
        has_chunk_ = true;
        if (piece.size() == 1 && rows_.size() == 0) {
            clean_ = piece[0].source;
            return;
        }
        rows_.append(read_rows(pieces).batch);
        replaced_.push_back(piece[0].source);
    }
    /// Adds a piece of the tail.
    void add(Pieces& pieces) {
        if (clean_) {
            rows_.append(read_source(store_, *clean_));
            replaced_.push_back(*clean_);
            clean_.reset();
        }
        rows_.append(read_rows(pieces).batch);
        // What is after all chunks does not come whole into memory.
        const size_t full = store_.declaration().full_chunk();
        if (!has_chunk_ && rows_.size() >= 2 * full) write(rows_.size() / full * full);
    }
    bool has_chunk() const { return has_chunk_; }

    /// Writes what was gathered as chunks of about equal size.
    void end() {
        const size_t full = store_.declaration().full_chunk(), n = rows_.size();
        const size_t parts = n <= full + full / 2 ? 1 : (n + full - 1) / full;
        for (size_t i = 0; i < parts && n != 0; ++i)
            store_.insert(false, key_, rows_.slice(i * n / parts, (i + 1) * n / parts - i * n / parts), place_++);
        rows_ = Batch(store_.declaration());
        clean_.reset();
        has_chunk_ = false;
    }
    /// Writes full chunks, and gives back what is left.
    Batch end_full() {
        const size_t full = store_.declaration().full_chunk();
        write(rows_.size() / full * full);
        return std::exchange(rows_, Batch(store_.declaration()));
    }
    bool is_small() const { return rows_.size() <= store_.declaration().full_chunk() * 3 / 2; }
    int64_t place() const { return place_; }
    std::vector<Source>& replaced() { return replaced_; }

 private:
    void write(size_t n) {
        const size_t full = store_.declaration().full_chunk();
        for (size_t at = 0; at < n; at += full) store_.insert(false, key_, rows_.slice(at, full), place_++);
        if (n != 0) rows_ = rows_.slice(n, rows_.size() - n);
    }

    Store& store_;
    const Key& key_;
    int64_t place_;
    Batch rows_;
    std::optional<Source> clean_;  // a chunk that has not been read
    bool has_chunk_ = false;
    std::vector<Source> replaced_;
};

}  // namespace

/// Packs the tail of a key: all of it, or leaving what does not fill a chunk. Returns how many rows there were.
int64_t Tail::pack(const Key& key, bool all) {
    spread(key);
    const std::vector<Source> tail = store_.sources(true, key, {}), chunks = store_.sources(false, key, {});
    if (tail.empty()) return 0;
    int64_t n = 0;
    for (const Source& source : tail) n += static_cast<int64_t>(source.number);
    Packing packing(store_, key, store_.declaration().has_order() ? 0 : next_place(key));
    Pieces pieces(store_, key, {}, all_slots(store_.declaration()));
    size_t behind = 0;  // chunks
    while (pieces.next()) {
        const bool chunk = !pieces.piece()[0].source.tail;
        const bool full_at_end =
            behind == chunks.size() && packing.has_chunk() && chunks.back().number >= store_.declaration().full_chunk();
        // Rows before the first chunk go with it; a last chunk that is full is left alone.
        if (chunk ? behind != 0 : full_at_end) packing.end();
        behind += chunk;
        chunk ? packing.begin(pieces) : packing.add(pieces);
    }
    Batch left(store_.declaration());
    if (!all && !(packing.has_chunk() && packing.is_small())) left = packing.end_full();
    packing.end();
    for (const std::vector<Source>* list : {&tail, static_cast<const std::vector<Source>*>(&packing.replaced())})
        for (const Source& source : *list) store_.remove(source);
    if (left.size() != 0) store_.insert(true, key, left, packing.place());
    return n;
}

int64_t Tail::pack_all() {
    flush();
    int64_t n = 0;
    write([&] {
        for (std::optional<Key> key = store_.next_key(nullptr); key; key = store_.next_key(&*key))
            n += pack(*key, true);
    });
    return n;
}

}  // namespace qvo::sqlite
