// Changes on their way into the tables: rows that were inserted, rows that were deleted or updated, and the packing of
// the tail into chunks.
//
// They wait in memory until somebody reads or the transaction ends, and never more than a few megabytes of them. What was
// written belongs to the transaction like any other row. SQLite sets a savepoint before most statements within a
// transaction, so that inserted rows have to outlive it unwritten; deletions and updates do not.
#pragma once

#include <set>

#include "tables/pieces.h"
#include "tables/waiting.h"

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
    explicit Tail(Store& store) : store_(store), waiting_(store.declaration()) {}

    using Row = Waiting::Row;

    void insert(const Key& key, const Row& row);
    /// Marks a row as deleted.
    void remove(const Place& place);
    /// Gives a row other values: where it is, if it keeps its key and its place in the order, else as one that is
    /// deleted and inserted.
    void update(const Place& place, const Key& key, const Row& row);

    /// The tables were changed by somebody else.
    void forget_known() { known_ = {}; }
    bool is_flushed() const { return waiting_.size() == 0 && changes_.empty() && !failed_; }
    /// Writes everything to the tables.
    void flush();
    /// Forgets everything, and that a flush has failed.
    void discard();
    /// Forgets everything but what a savepoint may come back to: the table is gone.
    void set_aside();
    /// True if a savepoint, other than that of the statement that asks, may come back to rows that only this object has.
    bool is_needed() const;

    /// What SQLite says of savepoints, which it numbers from the outermost on.
    void savepoint(int number);
    void release(int number);
    void roll_back_to(int number);
    /// The end of the transaction, after which no savepoints are left.
    void end();

    /// Packs the whole tail of all keys into chunks; returns the number of rows that it held.
    int64_t pack_all();

 private:
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

    /// A savepoint: how many rows waited, and all of them, if they were written since.
    struct Mark {
        int number;
        size_t rows;
        std::shared_ptr<Waiting> kept{};
    };

    void check_not_failed() const;
    bool keeps_much() const;
    void keep_for_marks();
    void forget_changes();
    /// Runs what writes to the tables. SQL that asks for the last rowid shall not see theirs.
    template <class F> void write(F f);
    void write_inserted(bool restructure);
    void pack_later_keys();
    void write_key(const Key& key, Batch rows, bool restructure);
    void write_values();
    void write_values(const ChangedSource& at, Change& change);
    void write_removals();
    void write_removal(const ChangedSource& at, const std::vector<bool>& removed);
    bool is_removed(const Place& place) const;
    const Known& known(const Place& place);
    /// Sees to it that the tail of a key can be packed in little memory.
    void spread(const Key& key);
    int64_t pack(const Key& key, bool all);
    int64_t next_place(const Key& key);

    Store& store_;
    Waiting waiting_;
    std::vector<Mark> marks_;
    size_t changed_bytes_ = 0;
    std::set<Key> later_;  // keys with rows in the tail that could not be packed yet
    std::map<ChangedSource, Change> changes_;
    std::map<ChangedSource, Change>::iterator last_removed_ = changes_.end();
    Known known_;
    bool failed_ = false;
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
