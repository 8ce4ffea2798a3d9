#include "tables/tail.h"

#include <algorithm>
#include <cstring>

namespace qvo::sqlite {
namespace {

// Most bytes of rows that wait in memory; vectors that grow take up to twice as much.
constexpr size_t most_bytes = size_t{8} << 20;

size_t bytes_of(const Tail::Row& row) {
    size_t bytes = 0;
    for (const unsigned width : row.widths) bytes += width;
    return bytes;
}

}  // namespace

void Tail::check_not_failed() const {
    if (failed_)
        fail(SQLITE_ERROR, store_.name() + ": an earlier change could not be written; roll the transaction back");
}

void Tail::insert(const Key& key, const Row& row) {
    check_not_failed();
    if (last_ == nullptr || last_->first != key) {
        auto found = inserted_.find(std::string_view(key));
        if (found == inserted_.end()) {
            found = inserted_.emplace(key, store_.declaration()).first;
            inserted_bytes_ += 256 + key.size();
        }
        last_ = &*found;
    }
    Batch& batch = last_->second;
    for (size_t slot = 0; slot < row.widths.size(); ++slot)
        batch.columns[slot].append(row.elements[slot].data(), row.widths[slot]);
    batch.set_size(batch.size() + 1);
    inserted_bytes_ += bytes_of(row);
    // While rows of a statement are deleted, the places of all others have to stay.
    if (inserted_bytes_ > most_bytes) write([this] { write_inserted(changes_.empty()); });
}

void Tail::remove(const Place& place) {
    check_not_failed();
    std::vector<bool>& removed = changes_[{place.tail, place.id}].removed;
    if (removed.size() <= place.position) removed.resize(place.position + 1);
    removed[place.position] = true;
    removes_ = true;
}

const Tail::Known& Tail::known(const Place& place) {
    const ChangedSource at{place.tail, place.id};
    if (known_.exists && known_.source == at) return known_;
    Known known;
    Source source;
    known.source = at;
    known.exists = store_.find(place.tail, place.id, source, known.key);
    if (known.exists && store_.declaration().has_order()) {
        const size_t slot = store_.declaration().order_slot();
        Batch batch(store_.declaration());
        StoredRow(store_, source, {slot}).read(slot, 0, source.number, batch.columns[slot]);
        batch.set_size(source.number);
        known.ranks = batch.ranks();
    }
    known_ = std::move(known);
    return known_;
}

void Tail::update(const Place& place, const Key& key, const Row& row) {
    const Known& old = known(place);
    if (!old.exists) return;
    const Declaration& declaration = store_.declaration();
    bool stays = old.key == key;
    if (stays && declaration.has_order()) {
        const int64_t rank = rank_at(declaration.order_column().type, row.elements[declaration.order_slot()].data());
        stays = place.position < old.ranks.size() && old.ranks[place.position] == rank;
    }
    if (!stays) {
        remove(place);
        return insert(key, row);
    }
    check_not_failed();
    Change& change = changes_[{place.tail, place.id}];
    change.positions.push_back(static_cast<uint32_t>(place.position));
    change.values.resize(row.widths.size());
    for (size_t slot = 0; slot < row.widths.size(); ++slot)
        change.values[slot].append(row.elements[slot].data(), row.widths[slot]);
    changed_bytes_ += bytes_of(row) + sizeof(uint32_t);
    if (changed_bytes_ > most_bytes) write([this] { write_values(); });
}

void Tail::flush() {
    if (empty() && !failed_) return;
    write([this] {
        write_values();
        write_removals();
        write_inserted(true);
    });
}

void Tail::discard() {
    inserted_.clear();
    last_ = nullptr;
    changes_.clear();
    inserted_bytes_ = changed_bytes_ = 0;
    removes_ = failed_ = false;
    known_ = {};
}

void Tail::write_values() {
    for (auto& [at, change] : changes_) {
        if (!change.positions.empty()) write_values(at, change);
        change.positions = {};
        change.values = {};
    }
    changed_bytes_ = 0;
}

/// Writes those columns of a source anew in which a value has changed.
void Tail::write_values(const ChangedSource& at, Change& change) {
    Source source;
    Key key;
    if (!store_.find(at.first, at.second, source, key)) return;
    const Slots slots = all_slots(store_.declaration());
    Batch rows = read_source(store_, source);
    Slots changed;
    for (const size_t slot : slots) {
        Vector &old = rows.columns[slot], &values = change.values[slot];
        bool differs = old.width < values.width;
        old.widen(values.width);
        values.widen(old.width);
        for (size_t i = 0; i < change.positions.size(); ++i) {
            if (change.positions[i] >= source.number) continue;
            uint8_t* const to = old.bytes.data() + change.positions[i] * size_t{old.width};
            differs = differs || std::memcmp(to, values.at(i), old.width) != 0;
            std::memcpy(to, values.at(i), old.width);
        }
        if (differs) changed.push_back(slot);
    }
    if (!changed.empty()) store_.update(source, changed, rows);
}

void Tail::write_removals() {
    for (const auto& [at, change] : changes_)
        if (!change.removed.empty()) write_removal(at, change.removed);
    changes_.clear();
    removes_ = false;
}

/// A source that loses rows gets a new number, so that no rowid from before leads to another row.
void Tail::write_removal(const ChangedSource& at, const std::vector<bool>& removed) {
    Source source;
    Key key;
    if (!store_.find(at.first, at.second, source, key)) return;
    std::vector<uint32_t> kept;
    for (size_t i = 0; i < source.number; ++i)
        if (i >= removed.size() || !removed[i]) kept.push_back(static_cast<uint32_t>(i));
    if (kept.size() == source.number) return;
    if (!kept.empty()) {
        Batch rows = read_source(store_, source);
        rows.take(kept);
        store_.insert(source.tail, key, rows, source.first);
    }
    store_.remove(source);
}

void Tail::write_inserted(bool restructure) {
    for (auto& [key, rows] : inserted_) write_key(key, rows, restructure);
    inserted_.clear();
    last_ = nullptr;
    inserted_bytes_ = 0;
}

/// Adds rows to the tail, together with sources that are not much larger, so that there are few of them; and packs the
/// tail if it has grown to a chunk.
void Tail::write_key(const Key& key, Batch& rows, bool restructure) {
    if (rows.size() == 0) return;
    rows.sort();
    const bool ordered = store_.declaration().has_order();
    std::vector<Source> tail;
    if (restructure || !ordered) tail = store_.sources(true, key, {});
    size_t total = rows.size();
    for (const Source& source : tail) total += source.number;
    if (!restructure || total >= store_.declaration().chunk_rows) {
        store_.insert(true, key, rows, ordered ? 0 : next_place(key));
        if (restructure) pack(key, false);
        return;
    }
    std::sort(tail.begin(), tail.end(),
              [&](const Source& a, const Source& b) { return ordered ? a.id < b.id : a.first < b.first; });
    Batch merged(store_.declaration());
    size_t n = rows.size(), from = tail.size();
    while (from > 0 && tail[from - 1].number <= 2 * n) n += tail[--from].number;
    for (size_t i = from; i < tail.size(); ++i) merged.append(read_source(store_, tail[i]));
    merged.append(rows);
    merged.sort();
    const int64_t place = ordered ? 0 : from < tail.size() ? tail[from].first : next_place(key);
    for (size_t i = from; i < tail.size(); ++i) store_.remove(tail[i]);
    store_.insert(true, key, merged, place);
}

/// Without an ORDER column: the number of the source that comes after all others.
int64_t Tail::next_place(const Key& key) {
    int64_t place = 0;
    for (const bool tail : {false, true})
        for (const Source& source : store_.sources(tail, key, {})) place = std::max(place, source.first + 1);
    return place;
}

}  // namespace qvo::sqlite
