// The rows of a table of chunks, one after the other. Of a source only the columns that a query names are decoded, and
// only a stretch at a time, so that a query that ends early has not paid for a whole chunk.
#pragma once

#include "tables/table.h"

namespace qvo::sqlite {

class RowCursor {
 public:
    explicit RowCursor(Store& store) : store_(store), rows_(store.declaration()) {}

    void start(Selection selection);
    bool at_end() const { return at_end_; }
    void next() {
        if (selection_.one_of_key) leave_key();
        if (++at_ == end_) advance();
    }
    void column(sqlite3_context* context, size_t column) const;
    int64_t row() const;

 private:
    void advance();
    void leave_key();
    bool next_stretch();
    bool next_piece();
    void start_at_row();
    size_t index() const { return selection_.descending ? end_ - 1 - at_ : at_; }

    Store& store_;
    Selection selection_;
    Slots slots_;
    std::optional<KeyWalk> keys_;
    const Key* key_ = nullptr;
    Key key_of_row_;
    std::optional<Pieces> pieces_;
    std::optional<Part> part_;  // of a piece that has one alone: what is left of it
    size_t stretch_from_ = 0;   // position in it where the stretch begins
    std::optional<StoredRow> by_rowid_;
    const StoredRow* stored_ = nullptr;
    Rows rows_;                // the stretch, or a merged piece
    size_t stretch_ = 0;       // how many positions the next one takes
    size_t at_ = 0, end_ = 0;  // row of the stretch, and how many it has
    bool merged_ = false;      // a merged piece has been read and not been begun
    bool at_end_ = true;
};

}  // namespace qvo::sqlite
