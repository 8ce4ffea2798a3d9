// A key's rows in order: *pieces*, each from one source, or from several whose rows have to be merged.
//
// A chunk is a piece, together with the rows of the tail that came late for it; rows of the tail before, between and
// after chunks are pieces of their own. So what is in memory at a time is a chunk and the part of the tail beside it.
#pragma once

#include "tables/store.h"

namespace qvo::sqlite {

/// Positions of a source, and the ranks that they span.
struct Part {
    Source source;
    size_t from = 0, to = 0;
    int64_t first = 0, last = 0;
    std::shared_ptr<StoredRow> row{};  // if it was looked at already
    bool is_whole() const { return from == 0 && to == source.number; }
};

/// Parts in the order in which their rows came; several of them overlap.
using Piece = std::vector<Part>;

class Pieces {
 public:
    /// Of the sources, the slots will be read. With `backwards` pieces come from the last to the first.
    Pieces(Store& store, const Key& key, const Range& range, Slots slots, bool backwards = false);
    ~Pieces();
    Pieces(const Pieces&) = delete;
    Pieces& operator=(const Pieces&) = delete;

    /// Goes to the next piece, which is never empty; false at the end.
    bool next();
    /// The piece; its rows are here to be read until the next one.
    const Piece& piece() const { return piece_; }
    /// The row of a part of the piece.
    StoredRow& row(const Part& part);
    /// What is read of the rows of the piece: those asked for, and where rows are merged their order.
    const Slots& slots() const { return piece_.size() > 1 ? with_order_ : slots_; }
    Store& store() const { return store_; }

    bool reads(const Store& store) const { return store_.same_tables(store); }
    /// Takes the row of a source that is about to change, if it is still to be read.
    void take(const Source& source);

 private:
    /// A source with its row, if that was looked at.
    struct Kept {
        Source source;
        std::shared_ptr<StoredRow> row{};
        std::vector<int64_t> ranks{};  // of a source of the tail that spans pieces
    };
    static std::vector<Kept> kept(const std::vector<Source>& sources);
    void plan();
    void plan_backwards();
    Part part_of(const Kept& kept) const;
    void add_chunk(Kept& chunk);
    void add_gap(int64_t first, int64_t last);
    std::vector<Part> tail_within(int64_t first, int64_t last);
    Part cut(Kept& kept, int64_t first, int64_t last);
    void rank(Kept& kept);

    Store& store_;
    Range range_;
    Slots slots_, with_order_;
    bool backwards_;
    std::vector<Kept> chunks_, tail_;
    std::vector<Piece> ready_;
    Piece piece_;
    size_t next_ready_ = 0, next_chunk_ = 0;
    bool at_end_ = false;
};

/// Rows of a piece, and where each one lies: the number of the part above, the position in its source below.
struct Rows {
    explicit Rows(const Declaration& declaration) : batch(declaration) {}
    Batch batch;
    std::vector<uint64_t> origin;  // empty if the piece has one part
};
inline constexpr unsigned origin_bits = 32;

/// All rows of the current piece, in order.
Rows read_rows(Pieces& pieces);
/// All slots of all rows of a source.
Batch read_source(Store& store, const Source& source);

/// All slots of a declaration.
Slots all_slots(const Declaration& declaration);

}  // namespace qvo::sqlite
