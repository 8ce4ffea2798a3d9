#include "tables/row_cursor.h"

#include <algorithm>

namespace qvo::sqlite {
namespace {
constexpr size_t first_stretch = 256, longest_stretch = 16'384;
}

void RowCursor::start(Selection selection) {
    pieces_.reset();
    part_.reset();
    by_rowid_.reset();
    stored_ = nullptr;
    selection_ = std::move(selection);
    slots_ = selection_.slots(store_.declaration());
    keys_.emplace(store_, selection_);
    at_end_ = merged_ = false;
    stretch_ = first_stretch;
    at_ = end_ = 0;
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
    selection_.nothing = true;  // there is no further row
    key_ = &key_of_row_;
    if (!selection_.range.is_all()) {
        const size_t slot = store_.declaration().order_slot();
        Vector values;
        StoredRow(store_, source, {slot}).read(slot, place.position, place.position + 1, values);
        const int64_t rank = rank_at(store_.declaration().order_column().type, values.at(0));
        if (rank < selection_.range.first || rank > selection_.range.last) return;
    }
    part_ = Part{source, place.position, place.position + 1, source.first, source.last};
    stored_ = &by_rowid_.emplace(store_, source, slots_);
    at_end_ = !next_stretch();
}

void RowCursor::advance() {
    while (!next_stretch())
        if (!next_piece()) {
            at_end_ = true;
            return;
        }
}

/// Passes over all further rows of the key.
void RowCursor::leave_key() {
    pieces_.reset();
    part_.reset();
    at_ = end_ - 1;
}

/// Reads on in the piece; false at its end.
bool RowCursor::next_stretch() {
    if (std::exchange(merged_, false)) return true;
    if (!part_ || part_->from == part_->to) return false;
    const size_t left = part_->to - part_->from, n = slots_.empty() ? left : std::min(left, stretch_);
    stretch_from_ = selection_.descending ? part_->to - n : part_->from;
    for (const size_t slot : slots_) {
        Vector& values = rows_.batch.columns[slot];
        values.bytes.clear();
        values.width = 0;
        stored_->read(slot, stretch_from_, stretch_from_ + n, values);
    }
    (selection_.descending ? part_->to : part_->from) = selection_.descending ? stretch_from_ : stretch_from_ + n;
    stretch_ = std::min(4 * stretch_, longest_stretch);
    at_ = 0;
    end_ = n;
    return true;
}

/// Goes to the next piece of the key, or of the next key; false at the end of all. A merged piece is one stretch.
bool RowCursor::next_piece() {
    part_.reset();
    if (selection_.nothing) return false;
    while (!pieces_ || !pieces_->next()) {
        if ((key_ = keys_->next()) == nullptr) return false;
        pieces_.emplace(store_, *key_, selection_.range, slots_, selection_.descending);
    }
    const Piece& piece = pieces_->piece();
    if (piece.size() == 1) {
        part_ = piece[0];
        if (!slots_.empty()) stored_ = &pieces_->row(piece[0]);
        return true;
    }
    rows_ = read_rows(*pieces_);
    at_ = 0;
    end_ = rows_.batch.size();
    merged_ = true;
    return true;
}

void RowCursor::column(sqlite3_context* context, size_t column) const {
    const Column& c = store_.declaration().columns[column];
    if (c.key) return result_key(context, store_.declaration(), c.slot, *key_);
    const Vector& values = rows_.batch.columns[c.slot];
    if (values.width != 0) result_element(context, c.type, values.width, values.at(index()));
}

int64_t RowCursor::row() const {
    if (part_) return rowid_of({part_->source.tail, part_->source.id, stretch_from_ + index()});
    const uint64_t origin = rows_.origin[index()];
    const Source& source = pieces_->piece()[origin >> origin_bits].source;
    return rowid_of({source.tail, source.id, static_cast<size_t>(origin & 0xffffffff)});
}

}  // namespace qvo::sqlite
