// Reading a series position by position.
#pragma once

#include "evaluate/datum.h"
#include "evaluate/plan.h"

namespace qvo::value {

class Cursor {
 public:
    Cursor(Plan& plan, const Series& series) : plan_(plan), series_(series) {}

    /// Moves to the next position; false after the last.
    bool next() {
        if (left_ > 1) {
            --left_;
            return true;
        }
        if (++index_ >= size_) {
            if (!plan_.pull(series_.it)) {
                left_ = 0;
                return false;
            }
            index_ = 0;
            size_ = series_.it->tile_size;
        }
        left_ = get_run(runs_of(series_.it), index_);
        return true;
    }
    /// The value there, as it lies in the tile.
    const void* element() const { return series_.it->tile.u.arr_char + index_ * series_.type.width; }
    Scalar scalar() const { return scalar_at(series_.type, element()); }

 private:
    Plan& plan_;
    Series series_;
    size_t index_ = 0, size_ = 0;
    unsigned left_ = 0;  // positions of the element, this one included
};

}  // namespace qvo::value
