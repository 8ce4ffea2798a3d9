// Rows that were inserted and are not in the tables yet, by key.
#pragma once

#include <array>
#include <unordered_map>

#include "tables/keys.h"

namespace qvo::sqlite {

class Waiting {
 public:
    explicit Waiting(const Declaration& declaration) : declaration_(&declaration) {}

    /// The elements of a row, by slot, with their widths.
    struct Row {
        std::vector<std::array<uint8_t, 256>> elements;
        std::vector<unsigned> widths;
        size_t bytes() const;
    };
    struct Series {
        Key key;
        Batch rows;
    };

    /// Adds a row, unless all together would take more bytes than `most` then; false if so.
    bool add(const Key& key, const Row& row, size_t most);
    size_t size() const { return size_; }  // rows
    std::vector<Series>& series() { return series_; }
    const std::vector<Series>& series() const { return series_; }

    /// From now on notes which rows come, so that `cut` can take them away again; or does so no longer.
    void note(bool on);
    /// Leaves the first `size` rows, which are not fewer than there were when it began to note.
    void cut(size_t size);

 private:
    const Declaration* declaration_;
    std::vector<Series> series_;
    std::unordered_map<Key, uint32_t> places_;  // of keys among the series
    std::vector<uint32_t> noted_;               // the series of each row that came
    uint32_t last_ = 0;                         // where the last row went
    size_t size_ = 0, bytes_ = 0;
    bool notes_ = false;
};

}  // namespace qvo::sqlite
