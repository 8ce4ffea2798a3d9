// Fitting what a host gives into the types of values.
#pragma once

#include <optional>
#include <string>

#include "evaluate/datum.h"

namespace qvo::value {

/// The datum as a value of a type, or nothing, and then a sentence that says why not. Whole reals fit integers, 0 and 1
/// fit boolean, integers and reals round into double and float, text and microseconds fit timestamp, text fits char (a
/// width of 0 takes any length up to the most).
std::optional<Scalar> fit(const Datum& datum, ValueType type, std::string& fault);

/// Text as a value of a type: what `put_json` writes of it, without the quotes of timestamps and char.
std::optional<Scalar> fit_text(std::string_view text, ValueType type, std::string& fault);

/// What a number whose text is out of the range of double stands for: an infinity or zero.
double out_of_range(std::string_view number);

/// Writes the value as an element of its type lies in a tile: `scalar.type.width` bytes.
void put_element(const Scalar& scalar, void* to);

/// Writes it as JSON.
void put_json(std::string& to, const Scalar& scalar);

}  // namespace qvo::value
