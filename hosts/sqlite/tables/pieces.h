// A key's rows in order: *pieces*, each from one source, or from several whose rows have to be merged.
//
// A chunk is a piece, together with the rows of the tail that came late for it; rows of the tail before, between and
// behind chunks are pieces of their own. So what is in memory at a time is a chunk and the part of the tail beside it.
#pragma once

#include "tables/store.h"

namespace qvo::sqlite {

/// Positions of a source, and the ranks that they span.
struct Part {
    Source source;
    size_t from = 0, to = 0;
    int64_t first = 0, last = 0;
    bool is_whole() const { return from == 0 && to == source.number; }
};

/// Parts in the order in which their rows came; several of them overlap.
using Piece = std::vector<Part>;

class Pieces {
 public:
    Pieces(Store& store, const Key& key, const Range& range);

    /// The next piece, never an empty one; false at the end.
    bool next(Piece& piece);

 private:
    void plan();
    void add_chunk(const Source& chunk);
    void add_gap(int64_t first, int64_t last);
    std::vector<Part> tail_within(int64_t first, int64_t last);
    const std::vector<int64_t>& ranks_of(size_t tail);
    Part cut(const Source& source) const;

    Store& store_;
    Range range_;
    std::vector<Source> chunks_, tail_;
    std::vector<std::vector<int64_t>> tail_ranks_;  // of those that span more than one piece
    std::vector<Piece> ready_;
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

/// Reads the slots of all rows of a piece, in order.
Rows read_rows(Store& store, const Piece& piece, const Slots& slots);

/// All slots of a declaration.
Slots all_slots(const Declaration& declaration);

}  // namespace qvo::sqlite
