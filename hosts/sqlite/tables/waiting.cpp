#include "tables/waiting.h"

#include <algorithm>
#include <numeric>

namespace qvo::sqlite {

// What a series takes beside its rows, about, and a row beside its values.
constexpr size_t bytes_of_series = 256, bytes_of_row = sizeof(uint32_t);

size_t Waiting::Row::bytes() const { return std::accumulate(widths.begin(), widths.end(), size_t{0}); }

bool Waiting::add(const Key& key, const Row& row, size_t most) {
    if (series_.empty() || series_[last_].key != key) {
        const auto [found, is_new] = places_.try_emplace(key, static_cast<uint32_t>(series_.size()));
        if (is_new) {
            series_.push_back({key, Batch(*declaration_)});
            bytes_ += bytes_of_series + key.size();
        }
        last_ = found->second;
    }
    Batch& rows = series_[last_].rows;
    size_t more = bytes_of_row;
    for (size_t slot = 0; slot < row.widths.size(); ++slot) {
        // A longer text than those before it makes them all as long.
        const size_t before = rows.columns[slot].width, width = std::max<size_t>(before, row.widths[slot]);
        more += width + (width - before) * rows.size();
    }
    if (size_ != 0 && bytes_ + more > most) return false;
    for (size_t slot = 0; slot < row.widths.size(); ++slot)
        rows.columns[slot].append(row.elements[slot].data(), row.widths[slot]);
    rows.set_size(rows.size() + 1);
    ++size_;
    bytes_ += more;
    if (notes_) noted_.push_back(last_);
    return true;
}

void Waiting::note(bool on) {
    notes_ = on;
    noted_.clear();
}

void Waiting::cut(size_t size) {
    for (; size_ > size && !noted_.empty(); --size_) {
        Batch& rows = series_[noted_.back()].rows;
        for (Vector& column : rows.columns) {
            column.bytes.erase(column.bytes.end() - static_cast<std::ptrdiff_t>(column.width), column.bytes.end());
            bytes_ -= column.width;
        }
        bytes_ -= bytes_of_row;
        rows.set_size(rows.size() - 1);
        noted_.pop_back();
    }
}

}  // namespace qvo::sqlite
