// Values as text and back: numbers in the shortest form that reads back, timestamps as ISO 8601.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/type.h"

namespace qvo::value {

/// Doubles always with a point or an exponent (`3.0`), so that they read back as doubles; infinities as 9e999.
void put_double(std::string& to, double value);
void put_float(std::string& to, float value);
void put_integer(std::string& to, int64_t value);
void put_natural(std::string& to, uint64_t value);

/// `2026-01-01T00:00:00`, with six digits of a fraction only where it is not 0.
void put_timestamp(std::string& to, int64_t microseconds);
std::string timestamp_text(int64_t microseconds);

/// A date, or date and time separated by `T` or a space: hours and minutes, seconds, a fraction of up to six digits, `Z`
/// or an offset such as +02:00. Years 0001 to 9999.
std::optional<int64_t> parse_timestamp(std::string_view text);

/// A JSON string with its quotes.
void put_quoted(std::string& to, std::string_view text);

/// The part of an error message that shows a value: cut where it is long.
std::string shown(std::string_view text);
std::string shown(double value);

/// True if the bytes are well-formed UTF-8.
bool is_utf8(std::string_view text);

}  // namespace qvo::value
