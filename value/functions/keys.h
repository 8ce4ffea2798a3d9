// Keys of rows, by which pack and join order what they gather: one column of integers, reals or text.
#pragma once

#include <string>
#include <vector>

#include "base/blocks.h"
#include "evaluate/arguments.h"
#include "operators/sort.h"

namespace qvo::value {

/// Refuses a row whose second argument is no key.
void check_key(const Arguments& row);

/// Numbers come before text, text by its bytes, equal keys in the order in which they came.
class Keys {
 public:
    /// Adds the key of the next row: anything but NULL and blobs, which the caller has refused.
    void add(const Datum& key) {
        if (!add_alike(key)) add_other(key);
    }
    /// Adds a number after numbers of its kind, or a text after text or keys of several kinds; false if it is something
    /// else.
    bool add_alike(const Datum& key) {
        if (kind_ == Kind::integers && key.kind == Datum::Kind::integer) return add_number(ascending_key(key.integer));
        if (kind_ == Kind::reals && key.kind == Datum::Kind::real) return add_number(ascending_key(key.real));
        if (kind_ != Kind::any || key.kind != Datum::Kind::text) return false;
        add_any(key);
        return true;
    }
    size_t size() const { return numbers_.size() + keys_.size(); }
    bool empty() const { return kind_ == Kind::none; }
    /// True as long as no key is below the one before it.
    bool ascending() const { return ascending_; }
    /// The rows in the order of their keys.
    Order order(Plan& plan) const;

 private:
    enum class Kind : uint8_t { none, integers, reals, any };
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
    bool add_number(uint64_t number) {
        numbers_.push_back(number);
        ascending_ = ascending_ && number >= last_;
        last_ = number;
        return true;
    }
    void add_other(const Datum& key);
    void add_any(const Datum& key);
    std::string_view text(const Key& key) const { return std::string_view(pool_).substr(key.offset, key.size); }
    bool below(const Key& a, const Key& b) const;
    std::vector<uint64_t> words() const;

    Kind kind_ = Kind::none;
    bool ascending_ = true;
    uint64_t last_ = 0;
    // Where all keys are integers, or all reals: numbers in the same order. All sorts of keys otherwise.
    Blocks<uint64_t> numbers_;
    std::vector<Key> keys_;
    std::string pool_;  // the texts, one after the other
};

}  // namespace qvo::value
