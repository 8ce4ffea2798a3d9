// What a query asks of a table: planned in xBestIndex, written into idxStr, and read again with the values in xFilter.
#pragma once

#include "tables/pieces.h"

namespace qvo::sqlite {

/// The rows that a cursor has to visit.
struct Selection {
    bool nothing = false;
    std::optional<int64_t> rowid;
    std::vector<std::optional<std::vector<Key>>> key_values;  // by slot: those wanted, ascending
    Range range;
    bool descending = false;
    bool one_of_key = false;  // the first row of a key stands for all
    uint64_t used = 0;        // columns, as in sqlite3_index_info

    /// True if every slot's values are given.
    bool gives_keys() const;
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
    KeyWalk(Store& store, const Selection& selection)
        : store_(&store), selection_(&selection), chosen_(selection.key_values.size()) {}
    /// The next key, or nothing at the end.
    const Key* next();

 private:
    const std::vector<Key>& values(size_t slot) const { return *selection_->key_values[slot]; }
    bool is_one_key() const;
    Key chosen() const;
    bool choose_next(size_t slots);
    bool choose_from(const Key& key);
    std::optional<Key> next_given();

    Store* store_;
    const Selection* selection_;
    std::optional<Key> key_;
    std::vector<size_t> chosen_;  // of the values that are given, by slot
    bool at_end_ = false;
};

}  // namespace qvo::sqlite
