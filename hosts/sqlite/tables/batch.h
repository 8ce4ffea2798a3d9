// Rows in memory, column by column: what an INSERT leaves, what a chunk holds while it is merged or read.
//
// Order is compared by *ranks*: 64-bit integers that order as the values of the ORDER column do, of every type.
#pragma once

#include <sqlite3ext.h>

#include <limits>
#include <optional>
#include <span>

#include "tables/declaration.h"

namespace qvo::sqlite {

inline constexpr int64_t lowest_rank = std::numeric_limits<int64_t>::min();
inline constexpr int64_t highest_rank = std::numeric_limits<int64_t>::max();

int64_t rank_of(double value);
double real_of_rank(int64_t rank);
int64_t rank_at(qvo_type_t type, const uint8_t* element);
void put_rank(qvo_type_t type, int64_t rank, uint8_t* element);

/// Bytes of an element; char needs to say it.
unsigned width_of(qvo_type_t type, unsigned width);

/// Converts a value, as an ordinary table's column of the type would: text that is a number becomes one, numbers become
/// text. Returns the element's width. Throws a constraint failure that names the column.
unsigned set_element(sqlite3_value* value, const Column& column, uint8_t* element);
void result_element(sqlite3_context* context, qvo_type_t type, unsigned width, const uint8_t* element);

/// The values of one packed column.
struct Vector {
    std::vector<uint8_t> bytes;
    unsigned width = 0;  // of a value; 0: no value has come yet

    const uint8_t* at(size_t i) const { return bytes.data() + i * width; }
    /// Makes room for wider char; no narrower one comes from it.
    void widen(unsigned to);
    void append(const uint8_t* element, unsigned element_width);
    void append(const Vector& other);
    /// Leaves the values at the given places, in their order.
    void take(std::span<const uint32_t> places);
};

/// A stored sequence of the values.
class Packed {
 public:
    Packed(qvo_type_t type, const Vector& values, size_t n);
    ~Packed() { qvo_datum_free(&datum_); }
    Packed(const Packed&) = delete;
    Packed& operator=(const Packed&) = delete;
    Packed(Packed&& other) noexcept : datum_(other.datum_) { other.datum_.kind = QVO_DATUM_NULL; }
    std::span<const uint8_t> bytes() const {
        return {static_cast<const uint8_t*>(datum_.as.bytes.data), datum_.as.bytes.size};
    }
    qvo_datum_t& datum() { return datum_; }

 private:
    qvo_datum_t datum_{};
};

class Batch {
 public:
    explicit Batch(const Declaration& declaration) : columns(declaration.packed.size()), declaration_(&declaration) {}

    size_t size() const { return size_; }
    void set_size(size_t n) { size_ = n; }
    const Declaration& declaration() const { return *declaration_; }

    /// Ranks of all rows; without an ORDER column zeros.
    std::vector<int64_t> ranks() const;
    /// Puts the rows into order, equal ones as they came. Returns the places from which they came, or nothing if they
    /// were in order.
    std::optional<std::vector<uint32_t>> sort();
    void append(const Batch& other);
    /// Rows from `from` on, `n` of them.
    Batch slice(size_t from, size_t n) const;
    void take(std::span<const uint32_t> places);

    std::vector<Vector> columns;  // by slot; those that were not read are empty

 private:
    const Declaration* declaration_;
    size_t size_ = 0;
};

}  // namespace qvo::sqlite
