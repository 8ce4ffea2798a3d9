// Keys of rows, by which pack and join order what they gather: one column of integers, reals or text.
#pragma once

#include <vector>

#include "evaluate/datum.h"

namespace qvo::value {

/// Numbers come before text, text by its bytes, equal keys in the order in which they came.
class Keys {
 public:
    /// Adds the key of the next row: anything but NULL and blobs, which the caller has refused.
    void add(const Datum& key);
    /// True as long as no key is below the one before it.
    bool ascending() const { return ascending_; }
    /// The rows in the order of their keys.
    std::vector<size_t> order() const;

 private:
    struct Key {
        bool text = false;
        bool real = false;
        union {
            int64_t integer = 0;
            double number;
            size_t offset;  // of text
        };
        size_t size = 0;
    };
    Scalar scalar(const Key& key) const;
    bool below(const Key& a, const Key& b) const;

    std::vector<Key> keys_;
    std::string pool_;  // the texts, one after the other
    bool ascending_ = true;
};

}  // namespace qvo::value
