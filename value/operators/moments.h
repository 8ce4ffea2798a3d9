// Means and variances by stable updates that merge (T. F. Chan, G. H. Golub, R. J. LeVeque, "Updating formulae and a
// pairwise algorithm for computing sample variances", 1979).
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace qvo::value {

/// Number, mean and sum of squared deviations from the mean.
struct Moments {
    uint64_t n = 0;
    double mean = 0, squares = 0;

    void merge(const Moments& other) {
        if (other.n == 0) return;
        if (n == 0) {
            *this = other;
            return;
        }
        const double here = static_cast<double>(n), there = static_cast<double>(other.n), all = here + there;
        const double apart = other.mean - mean;
        squares += other.squares + apart * apart * (here / all) * there;
        mean += apart * (there / all);
        n += other.n;
    }
    /// The variance with n - `free` in its denominator; NaN where that is not positive.
    double variance(unsigned free) const {
        return n > free ? squares / static_cast<double>(n - free) : std::numeric_limits<double>::quiet_NaN();
    }
};

/// Of n values, each as often as its run, those that are missing left out.
Moments moments_of(const double* values, const uint8_t* first_run, size_t n);

}  // namespace qvo::value
