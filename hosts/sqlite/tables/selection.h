// What a query asks of a table: planned in xBestIndex, written into idxStr, and read again with the values in xFilter.
#pragma once

#include "tables/pieces.h"

namespace qvo::sqlite {

/// The rows that a cursor has to visit.
struct Selection {
    bool nothing = false;
    std::optional<int64_t> rowid;
    std::vector<std::optional<Key>> key_values;  // by slot: the only one wanted
    Range range;
    bool descending = false;
    uint64_t used = 0;  // columns, as in sqlite3_index_info

    /// The key, if all its values are given.
    std::optional<Key> key() const;
    bool matches(const Declaration& declaration, const Key& key) const;
    bool uses(size_t column) const { return (used >> std::min<size_t>(column, 63) & 1) != 0; }
    /// The packed columns that are used.
    Slots slots(const Declaration& declaration) const;
};

/// Chooses among the constraints those that a table of rows or of sequences takes care of.
void plan_rows(const Declaration& declaration, const Store::Size& size, sqlite3_index_info* info);
void plan_sequences(const Declaration& declaration, const Store::Size& size, sqlite3_index_info* info);

Selection selection_of(const Declaration& declaration, const char* plan, sqlite3_value** values);

/// Goes through the keys that are selected, in their order.
class KeyWalk {
 public:
    KeyWalk(Store& store, const Selection& selection) : store_(&store), selection_(&selection) {}
    /// The next key, or nothing at the end.
    const Key* next();

 private:
    Store* store_;
    const Selection* selection_;
    std::optional<Key> key_;
    bool at_end_ = false;
};

}  // namespace qvo::sqlite
