#include "tables/pieces.h"

#include <algorithm>
#include <numeric>

namespace qvo::sqlite {

Pieces::Pieces(Store& store, const Key& key, const Range& range)
    : store_(store),
      range_(range),
      chunks_(store.sources(false, key, range)),
      tail_(store.sources(true, key, range)),
      tail_ranks_(tail_.size()) {}

bool Pieces::next(Piece& piece) {
    while (next_ready_ == ready_.size()) {
        if (at_end_) return false;
        ready_.clear();
        next_ready_ = 0;
        plan();
    }
    piece = std::move(ready_[next_ready_++]);
    return true;
}

/// Makes ready what lies up to the end of the next chunk.
void Pieces::plan() {
    if (!store_.declaration().has_order()) {
        // Whatever came later is behind what came before.
        const bool chunk = next_chunk_ < chunks_.size();
        if (chunk) return add_chunk(chunks_[next_chunk_++]);
        for (const Source& source : tail_) ready_.push_back({{source, 0, source.number, source.first, source.last}});
        at_end_ = true;
        return;
    }
    const int64_t behind = next_chunk_ == 0 ? range_.first : std::max(range_.first, chunks_[next_chunk_ - 1].last);
    if (next_chunk_ == chunks_.size()) {
        add_gap(behind, range_.last);
        at_end_ = true;
        return;
    }
    const Source& chunk = chunks_[next_chunk_++];
    if (chunk.first > lowest_rank) add_gap(behind, std::min(chunk.first - 1, range_.last));
    add_chunk(chunk);
}

/// Those positions of a source that are in the range.
Part Pieces::cut(const Source& source) const {
    Part part{source, 0, source.number, source.first, source.last};
    if (source.first >= range_.first && source.last <= range_.last) return part;
    const StoredRow row(store_, source, {store_.declaration().order_slot()});
    if (source.first < range_.first) part.from = row.find(range_.first, false);
    if (source.last > range_.last) part.to = row.find(range_.last, true);
    part.first = std::max(source.first, range_.first);
    part.last = std::min(source.last, range_.last);
    return part;
}

void Pieces::add_chunk(const Source& chunk) {
    if (!store_.declaration().has_order()) {
        ready_.push_back({{chunk, 0, chunk.number, chunk.first, chunk.last}});
        return;
    }
    Piece piece;
    if (const Part part = cut(chunk); part.from < part.to) piece.push_back(part);
    // Rows that equal the chunk's last come behind it.
    if (chunk.first < chunk.last)
        for (Part& part : tail_within(std::max(chunk.first, range_.first), std::min(chunk.last - 1, range_.last)))
            piece.push_back(part);
    if (!piece.empty()) ready_.push_back(std::move(piece));
}

/// Rows of the tail that no chunk reaches over: parts that overlap become one piece.
void Pieces::add_gap(int64_t first, int64_t last) {
    std::vector<Part> parts = tail_within(first, last);
    std::stable_sort(parts.begin(), parts.end(), [](const Part& a, const Part& b) { return a.first < b.first; });
    int64_t reached = 0;
    const size_t before = ready_.size();
    for (const Part& part : parts) {
        if (ready_.size() == before || part.first >= reached) {
            ready_.push_back({part});
            reached = part.last;
        } else {
            ready_.back().push_back(part);
            reached = std::max(reached, part.last);
        }
    }
    const auto by_arrival = [](const Part& a, const Part& b) { return a.source.id < b.source.id; };
    for (size_t i = before; i < ready_.size(); ++i) std::sort(ready_[i].begin(), ready_[i].end(), by_arrival);
}

const std::vector<int64_t>& Pieces::ranks_of(size_t tail) {
    if (tail_ranks_[tail].empty()) {
        const Source& source = tail_[tail];
        const size_t slot = store_.declaration().order_slot();
        Batch batch(store_.declaration());
        StoredRow(store_, source, {slot}).read(slot, 0, source.number, batch.columns[slot]);
        batch.set_size(source.number);
        tail_ranks_[tail] = batch.ranks();
    }
    return tail_ranks_[tail];
}

/// The parts of the tail with ranks from `first` up to and with `last`, in the order in which they came.
std::vector<Part> Pieces::tail_within(int64_t first, int64_t last) {
    std::vector<Part> parts;
    if (first > last) return parts;
    for (size_t i = 0; i < tail_.size(); ++i) {
        const Source& source = tail_[i];
        if (source.last < first || source.first > last) continue;
        Part part{source, 0, source.number, source.first, source.last};
        if (source.first < first || source.last > last) {
            const std::vector<int64_t>& ranks = ranks_of(i);
            part.from = static_cast<size_t>(std::lower_bound(ranks.begin(), ranks.end(), first) - ranks.begin());
            part.to = static_cast<size_t>(std::upper_bound(ranks.begin(), ranks.end(), last) - ranks.begin());
            if (part.from >= part.to) continue;
            part.first = ranks[part.from];
            part.last = ranks[part.to - 1];
        }
        parts.push_back(part);
    }
    std::sort(parts.begin(), parts.end(), [](const Part& a, const Part& b) { return a.source.id < b.source.id; });
    return parts;
}

Slots all_slots(const Declaration& declaration) {
    Slots slots(declaration.packed.size());
    std::iota(slots.begin(), slots.end(), size_t{0});
    return slots;
}

Rows read_rows(Store& store, const Piece& piece, const Slots& slots) {
    const Declaration& declaration = store.declaration();
    Slots wanted = slots;
    const bool merge = piece.size() > 1;
    if (merge && !std::binary_search(slots.begin(), slots.end(), declaration.order_slot()))
        wanted.push_back(declaration.order_slot());  // the last one
    Rows rows(declaration);
    for (size_t i = 0; i < piece.size(); ++i) {
        const Part& part = piece[i];
        const StoredRow row(store, part.source, wanted);
        for (const size_t slot : wanted) row.read(slot, part.from, part.to, rows.batch.columns[slot]);
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

}  // namespace qvo::sqlite
