// Scalars and bytes as hosts hand them in and take them back.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "base/buffer.h"
#include "base/type.h"

namespace qvo::value {

/// An argument. Text and bytes belong to the host and stay in place during the call. Small, as rows of them are many.
struct Datum {
    enum class Kind : uint8_t { null, integer, real, text, bytes };
    Kind kind = Kind::null;
    union {
        int64_t integer;
        double real;
        std::string_view text;
        std::span<const uint8_t> bytes;
    };

    Datum() : integer(0) {}
    explicit Datum(int64_t value) : kind(Kind::integer), integer(value) {}
    explicit Datum(double value) : kind(Kind::real), real(value) {}
    explicit Datum(std::string_view value) : kind(Kind::text), text(value) {}
    explicit Datum(std::span<const uint8_t> value) : kind(Kind::bytes), bytes(value) {}

    bool is_null() const { return kind == Kind::null; }
    bool is_number() const { return kind == Kind::integer || kind == Kind::real; }
};

/// A result, which owns what it holds.
class Result {
 public:
    void set_null() { kind_ = Datum::Kind::null; }
    void set(int64_t value) { kind_ = Datum::Kind::integer, integer_ = value; }
    /// NaN becomes NULL, as it stands for a missing value.
    void set(double value) {
        kind_ = value == value ? Datum::Kind::real : Datum::Kind::null;
        real_ = value;
    }
    void set(bool value) { set(int64_t{value}); }
    void set_text(std::string_view text) {
        bytes_ = Buffer({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
        kind_ = Datum::Kind::text;
    }
    void set_bytes(Buffer bytes) {
        bytes_ = std::move(bytes);
        kind_ = Datum::Kind::bytes;
    }

    Datum::Kind kind() const { return kind_; }
    int64_t integer() const { return integer_; }
    double real() const { return real_; }
    Buffer& bytes() { return bytes_; }  // of text and bytes
    std::string_view text() const { return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()}; }

 private:
    Datum::Kind kind_ = Datum::Kind::null;
    int64_t integer_ = 0;
    double real_ = 0;
    Buffer bytes_;
};

/// One value of a sequence. An exact copy of a number of its type: signed and boolean in `integer`, unsigned in
/// `natural`, floating in `real`; char without its padding in `text`.
struct Scalar {
    ValueType type;
    union {
        int64_t integer;
        uint64_t natural;
        double real = 0;
    };
    std::string text{};
};

inline Scalar scalar_of(ValueType type) {
    Scalar scalar;
    scalar.type = type;
    return scalar;
}

/// The value of an element as it lies in a tile.
Scalar scalar_at(ValueType type, const void* element);
/// As a host sees it: booleans as 0 and 1, uint8 as a real, timestamps as text, NaN as NULL.
void set_result(Result& result, const Scalar& scalar);
/// As a number: what a double holds of it.
double as_double(const Scalar& scalar);
/// Negative, 0, positive: in the order of sorting (NaN after everything, numbers exactly across their types).
int compare(const Scalar& a, const Scalar& b);

}  // namespace qvo::value
