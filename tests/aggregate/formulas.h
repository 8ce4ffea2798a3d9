// The values of a group, and what the aggregates of groups make of them.
#pragma once

#include "support/number.h"

namespace test {

/// Positions of a group over which no operand changes.
struct Stretch {
    Number v, w;        // the values; most aggregates have one
    std::string bytes;  // of the first value
    unsigned n;
    size_t part;  // of a merged aggregate
};
struct Group {
    uint8_t type, result;
    std::vector<Stretch> stretches;
};
using Model = std::function<Number(const Group&)>;

/// term(stretch) joined from the first one on: each part by itself, and then the parts.
template <class Term, class Join> auto fold(const Group& g, Term term, Join join) {
    std::vector<decltype(term(g.stretches[0]))> parts;
    for (size_t i = 0; i < g.stretches.size(); ++i) {
        const auto value = term(g.stretches[i]);
        if (i == 0 || g.stretches[i].part != g.stretches[i - 1].part)
            parts.push_back(value);
        else
            parts.back() = join(parts.back(), value);
    }
    for (size_t p = 1; p < parts.size(); ++p) parts[0] = join(parts[0], parts[p]);
    return parts[0];
}
/// term(stretch) summed up.
template <class Term> auto sum_of(const Group& g, Term term) {
    return fold(g, term, [](auto a, auto b) { return a + b; });
}

inline wide_int product(const Stretch& s) { return static_cast<wide_int>(s.v) * s.n; }
inline double product_as_double(uint8_t type, const Stretch& s) {
    if (type == QVO_DD_FLOAT) return static_cast<float>(s.v) * static_cast<float>(s.n);
    if (type == QVO_DD_DOUBLE) return static_cast<double>(s.v) * s.n;
    return static_cast<double>(static_cast<uint64_t>(product(s)));
}
inline uint64_t count_of(const Group& g) {
    return sum_of(g, [](const Stretch& s) { return uint64_t{s.n}; });
}
inline double real_sum(const Group& g) {
    return sum_of(g, [&](const Stretch& s) { return product_as_double(g.type, s); });
}

inline Number model_max(const Group& g) {
    return fold(
        g, [](const Stretch& s) { return s.v; }, [](Number a, Number b) { return b > a ? b : a; });
}
inline Number model_min(const Group& g) {
    return fold(
        g, [](const Stretch& s) { return s.v; }, [](Number a, Number b) { return b < a ? b : a; });
}
inline Number model_sum(const Group& g) {
    return is_floating(g.type) ? Number{real_sum(g)} : wrapped(g.result, sum_of(g, product));
}
inline Number model_avg(const Group& g) {
    if (is_floating(g.result)) return real_sum(g) / static_cast<double>(count_of(g));
    return static_cast<uint64_t>(sum_of(g, product)) / count_of(g);
}
inline Number model_count(const Group& g) { return count_of(g); }

/// (q - s^2 / n) / n, with one less for n in the sample form.
inline double variance(const Group& g, bool sample) {
    if (sample && count_of(g) == 1) return 0.0;
    const double n = static_cast<double>(count_of(g) - sample), s = real_sum(g);
    const double q = sum_of(g, [](const Stretch& t) {
        return static_cast<double>(t.v) * static_cast<double>(t.v) * static_cast<double>(t.n);
    });
    return (q - s * s / n) / n;
}
inline Number model_var(const Group& g) { return variance(g, false); }
inline Number model_var_samp(const Group& g) { return variance(g, true); }
inline Number model_dev(const Group& g) { return std::sqrt(variance(g, false)); }
inline Number model_dev_samp(const Group& g) { return std::sqrt(variance(g, true)); }

}  // namespace test
