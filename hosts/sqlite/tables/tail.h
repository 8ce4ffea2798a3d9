// Changes on their way into the tables: rows that were inserted, rows that were deleted or updated, and the packing of
// the tail into chunks.
//
// They wait in memory until somebody reads, a savepoint is set or the transaction ends, and never more than a few
// megabytes of them. What was written belongs to the transaction like any other row.
#pragma once

#include <array>
#include <unordered_map>

#include "tables/pieces.h"

namespace qvo::sqlite {

/// Where a row lies, which a rowid says.
struct Place {
    bool tail = false;
    int64_t id = 0;
    size_t position = 0;
};
inline int64_t rowid_of(const Place& place) {
    return int64_t{place.tail} << 62 | place.id << 24 | static_cast<int64_t>(place.position);
}
inline Place place_of(int64_t rowid) {
    return {(rowid >> 62 & 1) != 0, rowid >> 24 & ((int64_t{1} << 38) - 1), static_cast<size_t>(rowid & 0xffffff)};
}

class Tail {
 public:
    explicit Tail(Store& store) : store_(store) {}

    /// The elements of a row, by slot, with their widths.
    struct Row {
        std::vector<std::array<uint8_t, 256>> elements;
        std::vector<unsigned> widths;
    };

    void insert(const Key& key, const Row& row);
    /// Marks a row as deleted.
    void remove(const Place& place);
    /// Gives a row other values: where it is, if it keeps its key and its place in the order, else as one that is
    /// deleted and inserted.
    void update(const Place& place, const Key& key, const Row& row);

    bool empty() const { return inserted_bytes_ == 0 && changes_.empty(); }
    /// Writes everything to the tables.
    void flush();
    /// Forgets everything, and that a flush has failed.
    void discard();

    /// Packs the whole tail of all keys into chunks; returns the number of rows that it held.
    int64_t pack_all();

 private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view key) const { return std::hash<std::string_view>()(key); }
    };
    /// What is to be done to a source.
    struct Change {
        std::vector<bool> removed;        // by position, as far as needed
        std::vector<uint32_t> positions;  // of rows with new values
        std::vector<Vector> values;       // of those rows, by slot
    };
    using ChangedSource = std::pair<bool, int64_t>;  // tail, id
    /// What an update has to know of the source of its row.
    struct Known {
        ChangedSource source{false, 0};
        bool exists = false;
        Key key;
        std::vector<int64_t> ranks;
    };

    void check_not_failed() const;
    /// Runs what writes to the tables. SQL that asks for the last rowid shall not see theirs.
    template <class F> void write(F f);
    void write_inserted(bool restructure);
    void write_key(const Key& key, Batch& rows, bool restructure);
    void write_values();
    void write_values(const ChangedSource& at, Change& change);
    void write_removals();
    void write_removal(const ChangedSource& at, const std::vector<bool>& removed);
    const Known& known(const Place& place);
    int64_t pack(const Key& key, bool all);
    int64_t next_place(const Key& key);

    Store& store_;
    std::unordered_map<Key, Batch, Hash, std::equal_to<>> inserted_;
    std::pair<const Key, Batch>* last_ = nullptr;  // where the last row went
    size_t inserted_bytes_ = 0, changed_bytes_ = 0;
    std::map<ChangedSource, Change> changes_;
    Known known_;
    bool removes_ = false, failed_ = false;
};

template <class F> void Tail::write(F f) {
    check_not_failed();
    const sqlite3_int64 last = sqlite3_last_insert_rowid(store_.db());
    failed_ = true;
    f();
    failed_ = false;
    known_ = {};
    sqlite3_set_last_insert_rowid(store_.db(), last);
}

}  // namespace qvo::sqlite
