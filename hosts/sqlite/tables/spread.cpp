// Many rows of the tail that overlap: those of an UPDATE of the ORDER column, say, for whose rows no chunk may be written
// while SQLite still names others by their places.
//
// Rows that are merged are all in memory. So where they are too many, sources are first cut and put together anew, into
// ones that follow each other.
#include <algorithm>
#include <numeric>

#include "tables/tail.h"

namespace qvo::sqlite {
namespace {

// Most bytes of rows that are merged at once, and of those that one new source shall have.
constexpr size_t most_merged = size_t{12} << 20, most_of_source = size_t{4} << 20;

class Spread {
 public:
    Spread(Store& store, const Key& key)
        : store_(store), key_(key), slots_(all_slots(store.declaration())), sources_(store.sources(true, key, {})) {
        for (const size_t slot : slots_) {
            const Column& column = store.declaration().packed_column(slot);
            constexpr size_t usual_text = 16;
            row_bytes_ += column.is_text() && column.width == 0 ? usual_text : width_of(column.type, column.width);
        }
    }

    void run() {
        if (!store_.declaration().has_order() || most_that_overlap() * row_bytes_ <= most_merged) return;
        std::sort(sources_.begin(), sources_.end(), [](const Source& a, const Source& b) { return a.id < b.id; });
        int64_t first = lowest_rank;
        for (const int64_t last : bounds()) {
            write_rows(first, last);
            if (last == highest_rank) break;
            first = last + 1;
        }
        for (const Source& source : sources_) store_.remove(source);
    }

 private:
    size_t most_that_overlap() const {
        size_t most = 0, group = 0;
        int64_t reached = lowest_rank;
        for (const Source& source : sources_) {  // in the order of their first rows
            group = source.first >= reached ? source.number : group + source.number;
            reached = std::max(reached, source.last);
            most = std::max(most, group);
        }
        return most;
    }

    /// The last ranks of sources that are to be, from a sample of all ranks. One that is very frequent is alone.
    std::vector<int64_t> bounds() {
        constexpr size_t step = 256;
        const size_t slot = store_.declaration().order_slot();
        std::vector<int64_t> sample;
        for (const Source& source : sources_) {
            Batch batch(store_.declaration());
            StoredRow(store_, source, {slot}).read(slot, 0, source.number, batch.columns[slot]);
            batch.set_size(source.number);
            const std::vector<int64_t> ranks = batch.ranks();
            for (size_t i = 0; i < ranks.size(); i += step) sample.push_back(ranks[i]);
        }
        std::sort(sample.begin(), sample.end());
        const size_t stride = std::max<size_t>(most_of_source / row_bytes_ / step, 1);
        std::vector<int64_t> bounds;
        for (size_t i = stride; i < sample.size(); i += stride) {
            const int64_t rank = sample[i];
            if (rank == sample[i - stride] && rank != lowest_rank) bounds.push_back(rank - 1);
            bounds.push_back(rank);
        }
        bounds.push_back(highest_rank);
        std::sort(bounds.begin(), bounds.end());
        bounds.erase(std::unique(bounds.begin(), bounds.end()), bounds.end());
        return bounds;
    }

    /// Writes the rows with ranks from `first` up to and with `last`. Those of one rank need no merging.
    void write_rows(int64_t first, int64_t last) {
        Batch rows(store_.declaration());
        for (const Source& source : sources_) {
            if (source.last < first || source.first > last) continue;
            const StoredRow row(store_, source, slots_);
            const size_t from = source.first < first ? row.find(first, false) : 0;
            const size_t to = source.last > last ? row.find(last, true) : source.number;
            if (from >= to) continue;
            for (const size_t slot : slots_) row.read(slot, from, to, rows.columns[slot]);
            rows.set_size(rows.size() + to - from);
            if (first == last) write(rows);
        }
        rows.sort();
        write(rows);
    }
    void write(Batch& rows) {
        if (rows.size() != 0) store_.insert(true, key_, rows, 0);
        rows = Batch(store_.declaration());
    }

    Store& store_;
    const Key& key_;
    Slots slots_;
    std::vector<Source> sources_;
    size_t row_bytes_ = sizeof(int64_t);  // the rank by which a row is sorted, then its values
};

}  // namespace

void Tail::spread(const Key& key) { Spread(store_, key).run(); }

}  // namespace qvo::sqlite
