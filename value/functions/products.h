// Products that do not depend on how values are cut into runs, tiles, rows or parts: digits and exponent are kept
// apart, so that nothing on the way is too large or too small.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qvo::value {

/// digits * 2^exponent, the product of n values. Digits are 0, not finite, or from 0.5 to 1 in size.
struct ScaledProduct {
    double digits = 0.5;
    int64_t exponent = 1;
    uint64_t n = 0;

    void multiply(const ScaledProduct& other);
    double value() const;
};

/// Of n values, each as often as its run, those that are missing left out.
ScaledProduct product_of(const double* values, const uint8_t* first_run, size_t n);

}  // namespace qvo::value
