// Covariances by stable updates that merge, as Moments does for variances.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "operators/moments.h"

namespace qvo::value {

/// Of pairs: number, means, sums of squared deviations from them, and of their products.
struct CoMoments {
    uint64_t n = 0;
    Mean mean_y, mean_x;
    double squares_y = 0, squares_x = 0, products = 0;

    void merge(const CoMoments& other) {
        if (other.n == 0) return;
        if (n == 0) {
            *this = other;
            return;
        }
        const double here = static_cast<double>(n), there = static_cast<double>(other.n), all = here + there;
        const double apart_y = other.mean_y - mean_y, apart_x = other.mean_x - mean_x;
        const double weight = here / all * there;
        squares_y += other.squares_y + apart_y * apart_y * weight;
        squares_x += other.squares_x + apart_x * apart_x * weight;
        products += other.products + apart_y * apart_x * weight;
        move(mean_y, apart_y * (there / all));
        move(mean_x, apart_x * (there / all));
        n += other.n;
    }

    double covariance() const { return n > 1 ? products / static_cast<double>(n - 1) : missing; }
    /// What follows is missing where a constant leaves it undefined: the deviations of a constant are exactly 0.
    double correlation() const {
        if (n < 2 || squares_y == 0 || squares_x == 0) return missing;
        const double r = products / (std::sqrt(squares_y) * std::sqrt(squares_x));
        return r > 1 ? 1 : r < -1 ? -1 : r;
    }
    double slope() const { return n < 2 || squares_x == 0 ? missing : products / squares_x; }
    double intercept() const { return (mean_y.high - slope() * mean_x.high) + (mean_y.low - slope() * mean_x.low); }

    static constexpr double missing = std::numeric_limits<double>::quiet_NaN();
};

/// Of n pairs, each as often as its run; those of which one value is missing are left out.
CoMoments co_moments_of(const double* y, const double* x, const uint8_t* first_run, size_t n);

}  // namespace qvo::value
