#include "tables/tail.h"

#include <algorithm>
#include <cstring>

namespace qvo::sqlite {
namespace {

// Most bytes of rows that wait in memory; vectors that grow take up to twice as much.
constexpr size_t most_bytes = size_t{8} << 20;

}  // namespace

void Tail::check_not_failed() const {
    if (failed_)
        fail(SQLITE_ERROR, store_.name() + ": an earlier change could not be written; roll the transaction back");
}

void Tail::insert(const Key& key, const Row& row) {
    check_not_failed();
    if (waiting_.add(key, row, most_bytes)) return;
    // While rows of a statement are deleted, the places of all others have to stay.
    write([this] { write_inserted(changes_.empty()); });
    waiting_.add(key, row, most_bytes);
}

void Tail::remove(const Place& place) {
    check_not_failed();
    const ChangedSource at{place.tail, place.id};
    // SQLite names the rows of a source one after the other.
    if (last_removed_ == changes_.end() || last_removed_->first != at) last_removed_ = changes_.try_emplace(at).first;
    std::vector<bool>& removed = last_removed_->second.removed;
    if (removed.size() <= place.position) removed.resize(std::max(place.position + 1, 2 * removed.size()));
    removed[place.position] = true;
}

bool Tail::is_removed(const Place& place) const {
    const auto found = changes_.find({place.tail, place.id});
    return found != changes_.end() && place.position < found->second.removed.size() &&
           found->second.removed[place.position];
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
    // UPDATE … FROM names a row once for each of the others that it finds for it.
    if (is_removed(place)) return;
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
    changed_bytes_ += row.bytes() + sizeof(uint32_t);
    if (changed_bytes_ > most_bytes) write([this] { write_values(); });
}

void Tail::flush() {
    if (is_flushed()) return;
    write([this] {
        write_values();
        write_removals();
        write_inserted(true);
        pack_later_keys();
    });
}

void Tail::discard() {
    waiting_ = Waiting(store_.declaration());
    waiting_.note(!marks_.empty());
    forget_changes();
    later_.clear();
    changed_bytes_ = 0;
    failed_ = false;
    known_ = {};
}

void Tail::set_aside() {
    keep_for_marks();
    discard();
}

bool Tail::is_needed() const {
    const auto has_rows = [](const Mark& mark) { return mark.rows != 0; };
    return !marks_.empty() && std::any_of(marks_.begin(), marks_.end() - 1, has_rows);
}

/// Rows that waited before a savepoint and were written after it are kept for one savepoint, or a few.
bool Tail::keeps_much() const {
    constexpr size_t few = 2;
    size_t n = 0;
    for (size_t i = 0; i < marks_.size(); ++i)
        n += marks_[i].kept != nullptr && (i == 0 || marks_[i].kept != marks_[i - 1].kept);
    return n >= few;
}

void Tail::savepoint(int number) {
    release(number);
    if (!changes_.empty() || failed_ || keeps_much()) flush();
    if (marks_.empty()) waiting_.note(true);
    marks_.push_back({number, waiting_.size()});
}

void Tail::release(int number) {
    while (!marks_.empty() && marks_.back().number >= number) marks_.pop_back();
    if (marks_.empty()) waiting_.note(false);
}

void Tail::roll_back_to(int number) {
    release(number + 1);
    // A savepoint from before the table took part in the transaction has no mark: no row waited then.
    if (marks_.empty() || marks_.back().number != number) return discard();
    const std::shared_ptr<Waiting> kept = std::move(marks_.back().kept);
    const size_t rows = marks_.back().rows;
    Waiting waited(store_.declaration());
    if (rows != 0) waited = kept != nullptr ? *kept : std::move(waiting_);
    discard();
    if (rows == 0) return;
    waited.cut(rows);
    waiting_ = std::move(waited);
}

void Tail::end() {
    discard();
    release(0);
}

/// Copies the rows that wait, if a savepoint may have to come back to some of them.
void Tail::keep_for_marks() {
    const auto in_need = [](const Mark& mark) { return mark.rows != 0 && mark.kept == nullptr; };
    if (std::none_of(marks_.begin(), marks_.end(), in_need)) return;
    const auto kept = std::make_shared<Waiting>(waiting_);
    for (Mark& mark : marks_)
        if (in_need(mark)) mark.kept = kept;
}

void Tail::forget_changes() {
    changes_.clear();
    last_removed_ = changes_.end();
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
    forget_changes();
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
    keep_for_marks();
    for (Waiting::Series& series : waiting_.series()) write_key(series.key, std::move(series.rows), restructure);
    waiting_ = Waiting(store_.declaration());
    waiting_.note(!marks_.empty());
}

void Tail::pack_later_keys() {
    for (const Key& key : later_) {
        size_t total = 0;
        for (const Source& source : store_.sources(true, key, {})) total += source.number;
        if (total >= store_.declaration().chunk_rows) pack(key, false);
    }
    later_.clear();
}

/// Adds rows to the tail, together with sources that are not much larger, so that there are few of them; and packs the
/// tail if it has grown to a chunk.
void Tail::write_key(const Key& key, Batch rows, bool restructure) {
    if (rows.size() == 0) return;
    rows.sort();
    const bool ordered = store_.declaration().has_order();
    std::vector<Source> tail;
    if (restructure || !ordered) tail = store_.sources(true, key, {});
    size_t total = rows.size();
    for (const Source& source : tail) total += source.number;
    if (!restructure || total >= store_.declaration().chunk_rows) {
        store_.insert(true, key, rows, ordered ? 0 : next_place(key));
        if (restructure)
            pack(key, false);
        else
            later_.insert(key);
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
