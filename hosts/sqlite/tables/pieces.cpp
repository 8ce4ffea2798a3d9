#include "tables/pieces.h"

#include <algorithm>
#include <numeric>

namespace qvo::sqlite {

Pieces::Pieces(Store& store, const Key& key, const Range& range, Slots slots, bool backwards)
    : store_(store),
      range_(range),
      slots_(std::move(slots)),
      with_order_(slots_),
      backwards_(backwards),
      chunks_(kept(store.sources(false, key, range))),
      tail_(kept(store.sources(true, key, range))) {
    const Declaration& declaration = store.declaration();
    if (declaration.has_order() && !std::binary_search(slots_.begin(), slots_.end(), declaration.order_slot()))
        with_order_.push_back(declaration.order_slot());  // which is the last
    store.reading().push_back(this);
}

Pieces::~Pieces() { std::erase(store_.reading(), this); }

std::vector<Pieces::Kept> Pieces::kept(const std::vector<Source>& sources) {
    std::vector<Kept> all;
    for (const Source& source : sources) all.push_back({source});
    return all;
}

bool Pieces::next() {
    piece_.clear();
    while (next_ready_ == ready_.size()) {
        if (at_end_) return false;
        ready_.clear();
        next_ready_ = 0;
        backwards_ ? plan_backwards() : plan();
    }
    piece_ = std::move(ready_[next_ready_++]);
    return true;
}

StoredRow& Pieces::row(const Part& part) {
    auto& row = const_cast<Part&>(part).row;
    if (row == nullptr) row = std::make_shared<StoredRow>(store_, part.source, slots());
    return *row;
}

void Pieces::take(const Source& source) {
    // After a rollback the number may be another source's, which is none of the reader's.
    const auto same = [&](const Source& other) { return other == source; };
    std::shared_ptr<StoredRow> row;
    const auto take_for = [&](std::shared_ptr<StoredRow>& of) {
        if (of == nullptr && row == nullptr) row = std::make_shared<StoredRow>(store_, source, with_order_);
        if (of == nullptr) of = row;
    };
    for (Part& part : piece_)
        if (same(part.source)) take_for(part.row);
    for (size_t i = next_ready_; i < ready_.size(); ++i)
        for (Part& part : ready_[i])
            if (same(part.source)) take_for(part.row);
    if (at_end_) return;
    for (Kept& kept : source.tail ? tail_ : chunks_)
        if (same(kept.source)) take_for(kept.row);
}

/// Makes ready what lies up to the end of the next chunk.
void Pieces::plan() {
    if (next_chunk_ == chunks_.size()) at_end_ = true;
    if (!store_.declaration().has_order()) {
        // Whatever came later is after what came before.
        if (!at_end_) return add_chunk(chunks_[next_chunk_++]);
        for (const Kept& source : tail_) ready_.push_back({part_of(source)});
        return;
    }
    const int64_t behind =
        next_chunk_ == 0 ? range_.first : std::max(range_.first, chunks_[next_chunk_ - 1].source.last);
    if (at_end_) return add_gap(behind, range_.last);
    Kept& chunk = chunks_[next_chunk_++];
    if (chunk.source.first > lowest_rank) add_gap(behind, std::min(chunk.source.first - 1, range_.last));
    add_chunk(chunk);
}

/// Makes ready what lies between the end of the chunk before and that of the last one, in turned order.
void Pieces::plan_backwards() {
    const size_t n = chunks_.size(), i = n - next_chunk_;  // chunks i .. are done
    ++next_chunk_;
    if (i == 0) at_end_ = true;
    // First what is after the chunk, then the chunk.
    const int64_t from = i == 0 ? range_.first : std::max(range_.first, chunks_[i - 1].source.last);
    const int64_t to =
        i == n ? range_.last : std::min(range_.last, std::max(chunks_[i].source.first, lowest_rank + 1) - 1);
    if (i != 0) add_chunk(chunks_[i - 1]);
    if (i == n || chunks_[i].source.first > lowest_rank) add_gap(from, to);
    std::reverse(ready_.begin(), ready_.end());
}

Part Pieces::part_of(const Kept& kept) const {
    return {kept.source, 0, kept.source.number, kept.source.first, kept.source.last, kept.row};
}

/// Those positions of a source whose ranks are from `first` up to and with `last`.
Part Pieces::cut(Kept& kept, int64_t first, int64_t last) {
    Part part = part_of(kept);
    const Source& source = kept.source;
    if (source.first >= first && source.last <= last) return part;
    if (kept.row == nullptr) kept.row = std::make_shared<StoredRow>(store_, source, with_order_);
    part.row = kept.row;
    if (source.first < first) part.from = kept.row->find(first, false);
    if (source.last > last) part.to = kept.row->find(last, true);
    part.first = std::max(source.first, first);
    part.last = std::min(source.last, last);
    return part;
}

void Pieces::add_chunk(Kept& chunk) {
    if (!store_.declaration().has_order()) {
        ready_.push_back({part_of(chunk)});
        chunk.row.reset();
        return;
    }
    const Source& source = chunk.source;
    Piece piece;
    if (const Part part = cut(chunk, range_.first, range_.last); part.from < part.to) piece.push_back(part);
    chunk.row.reset();
    // Rows that equal the chunk's last come after it.
    if (source.first < source.last)
        for (Part& part : tail_within(std::max(source.first, range_.first), std::min(source.last - 1, range_.last)))
            piece.push_back(std::move(part));
    if (!piece.empty()) ready_.push_back(std::move(piece));
}

/// Rows of the tail that no chunk reaches over: parts that overlap become one piece.
void Pieces::add_gap(int64_t first, int64_t last) {
    std::vector<Part> parts = tail_within(first, last);
    std::stable_sort(parts.begin(), parts.end(), [](const Part& a, const Part& b) { return a.first < b.first; });
    int64_t reached = 0;
    const size_t before = ready_.size();
    for (Part& part : parts) {
        const int64_t part_last = part.last;
        if (ready_.size() == before || part.first >= reached) {
            ready_.emplace_back().push_back(std::move(part));
            reached = part_last;
        } else {
            ready_.back().push_back(std::move(part));
            reached = std::max(reached, part_last);
        }
    }
    const auto by_arrival = [](const Part& a, const Part& b) { return a.source.id < b.source.id; };
    for (size_t i = before; i < ready_.size(); ++i) std::sort(ready_[i].begin(), ready_[i].end(), by_arrival);
}

void Pieces::rank(Kept& kept) {
    if (!kept.ranks.empty()) return;
    const size_t slot = store_.declaration().order_slot();
    if (kept.row == nullptr) kept.row = std::make_shared<StoredRow>(store_, kept.source, with_order_);
    Batch batch(store_.declaration());
    kept.row->read(slot, 0, kept.source.number, batch.columns[slot]);
    batch.set_size(kept.source.number);
    kept.ranks = batch.ranks();
}

/// The parts of the tail with ranks from `first` up to and with `last`, in the order in which they came.
std::vector<Part> Pieces::tail_within(int64_t first, int64_t last) {
    std::vector<Part> parts;
    if (first > last) return parts;
    for (Kept& kept : tail_) {
        const Source& source = kept.source;
        if (source.last < first || source.first > last) continue;
        if (chunks_.size() < 2) {
            if (Part part = cut(kept, first, last); part.from < part.to) parts.push_back(std::move(part));
            continue;
        }
        // Many pieces may ask for parts of it: its ranks are kept.
        Part part = part_of(kept);
        if (source.first < first || source.last > last) {
            rank(kept);
            part.row = kept.row;
            const auto begin = kept.ranks.begin();
            part.from = static_cast<size_t>(std::lower_bound(begin, kept.ranks.end(), first) - begin);
            part.to = static_cast<size_t>(std::upper_bound(begin, kept.ranks.end(), last) - begin);
            if (part.from >= part.to) continue;
            part.first = kept.ranks[part.from];
            part.last = kept.ranks[part.to - 1];
        }
        parts.push_back(std::move(part));
    }
    std::sort(parts.begin(), parts.end(), [](const Part& a, const Part& b) { return a.source.id < b.source.id; });
    return parts;
}

Slots all_slots(const Declaration& declaration) {
    Slots slots(declaration.packed.size());
    std::iota(slots.begin(), slots.end(), size_t{0});
    return slots;
}

Rows read_rows(Pieces& pieces) {
    const Piece& piece = pieces.piece();
    Rows rows(pieces.store().declaration());
    const bool merge = piece.size() > 1;
    for (size_t i = 0; i < piece.size(); ++i) {
        const Part& part = piece[i];
        const StoredRow& row = pieces.row(part);
        for (const size_t slot : pieces.slots()) row.read(slot, part.from, part.to, rows.batch.columns[slot]);
        rows.batch.set_size(rows.batch.size() + part.to - part.from);
        if (merge)
            for (size_t at = part.from; at < part.to; ++at) rows.origin.push_back(uint64_t{i} << origin_bits | at);
    }
    if (!merge) return rows;
    if (const auto places = rows.batch.sort()) {
        std::vector<uint64_t> moved(places->size());
        for (size_t i = 0; i < moved.size(); ++i) moved[i] = rows.origin[(*places)[i]];
        rows.origin = std::move(moved);
    }
    return rows;
}

Batch read_source(Store& store, const Source& source) {
    const Slots slots = all_slots(store.declaration());
    const StoredRow row(store, source, slots);
    Batch batch(store.declaration());
    for (const size_t slot : slots) row.read(slot, 0, source.number, batch.columns[slot]);
    batch.set_size(source.number);
    return batch;
}

}  // namespace qvo::sqlite
