#include "tables/row_cursor.h"

#include <algorithm>

namespace qvo::sqlite {
namespace {
constexpr size_t first_stretch = 256, longest_stretch = 16'384;
}

void RowCursor::start(Selection selection) {
    source_.reset();
    pieces_.reset();
    piece_.clear();
    selection_ = std::move(selection);
    slots_ = selection_.slots(store_.declaration());
    keys_.emplace(store_, selection_);
    at_end_ = false;
    stretch_ = first_stretch;
    at_ = end_ = 0;
    merged_ = false;
    if (selection_.rowid)
        start_at_row();
    else
        advance();
}

/// The one row of a rowid, if it exists and all else that is asked is true of it.
void RowCursor::start_at_row() {
    const Place place = place_of(*selection_.rowid);
    Source source;
    at_end_ = true;
    if (selection_.nothing || *selection_.rowid <= 0 || !store_.find(place.tail, place.id, source, key_of_row_) ||
        place.position >= source.number || !selection_.matches(store_.declaration(), key_of_row_))
        return;
    key_ = &key_of_row_;
    piece_ = {{source, place.position, place.position + 1, source.first, source.last}};
    if (!selection_.range.is_all()) {
        const Slots order = {store_.declaration().order_slot()};
        const int64_t rank = read_rows(store_, piece_, order).batch.ranks()[0];
        if (rank < selection_.range.first || rank > selection_.range.last) return;
    }
    source_.emplace(store_, source, slots_);
    read_to_ = place.position;
    at_end_ = !next_stretch();
    selection_.nothing = true;  // there is no further row
}

void RowCursor::advance() {
    while (!next_stretch())
        if (!next_piece()) {
            at_end_ = true;
            return;
        }
}

/// Reads on in the source of the piece; false at its end.
bool RowCursor::next_stretch() {
    if (std::exchange(merged_, false)) return true;
    if (piece_.size() != 1 || read_to_ == piece_[0].to) return false;
    const size_t left = piece_[0].to - read_to_, n = slots_.empty() ? left : std::min(left, stretch_);
    for (const size_t slot : slots_) {
        rows_.batch.columns[slot].bytes.clear();
        rows_.batch.columns[slot].width = 0;
        source_->read(slot, read_to_, read_to_ + n, rows_.batch.columns[slot]);
    }
    read_to_ += n;
    stretch_ = std::min(4 * stretch_, longest_stretch);
    at_ = 0;
    end_ = n;
    return true;
}

/// Goes to the next piece of the key, or of the next key; false at the end of all. A merged piece is one stretch.
bool RowCursor::next_piece() {
    source_.reset();
    piece_.clear();
    if (selection_.nothing) return false;
    while (!pieces_ || !pieces_->next(piece_)) {
        if ((key_ = keys_->next()) == nullptr) return false;
        pieces_.emplace(store_, *key_, selection_.range);
    }
    read_to_ = piece_[0].from;
    if (piece_.size() == 1) {
        if (!slots_.empty()) source_.emplace(store_, piece_[0].source, slots_);
        return true;
    }
    rows_ = read_rows(store_, piece_, slots_);
    at_ = 0;
    end_ = rows_.batch.size();
    merged_ = true;
    return true;
}

void RowCursor::column(sqlite3_context* context, size_t column) const {
    const Column& c = store_.declaration().columns[column];
    if (c.key) return result_key(context, store_.declaration(), c.slot, *key_);
    const Vector& values = rows_.batch.columns[c.slot];
    if (values.width != 0) result_element(context, c.type, values.width, values.at(at_));
}

int64_t RowCursor::rowid() const {
    if (piece_.size() == 1) return rowid_of({piece_[0].source.tail, piece_[0].source.id, read_to_ - end_ + at_});
    const uint64_t origin = rows_.origin[at_];
    const Source& source = piece_[origin >> origin_bits].source;
    return rowid_of({source.tail, source.id, static_cast<size_t>(origin & 0xffffffff)});
}

}  // namespace qvo::sqlite
