// Aggregates that count, add up and measure spread over all elements of all rows of a group.
#include <array>
#include <limits>

#include "evaluate/deliver.h"
#include "evaluate/scalar.h"
#include "evaluate/source.h"
#include "evaluate/state.h"
#include "functions/catalog.h"
#include "functions/histogram.h"
#include "functions/products.h"
#include "operators/convert.h"
#include "operators/extremes.h"
#include "operators/moments.h"
#include "operators/sums.h"

namespace qvo::value {
namespace {

/// Positions of a tile whose values are present.
uint64_t present_in(const Series& x, size_t n) {
    const uint8_t* const runs = runs_of(x.it);
    uint64_t present = sum_runs(runs, n);
    const auto take_missing = [&](const auto* values) {
        for (size_t i = 0; i < n; ++i) present -= values[i] == values[i] ? 0 : get_run(runs, i);
    };
    if (x.type.type == Type::double_) take_missing(x.it->tile.u.arr_double);
    if (x.type.type == Type::float_) take_missing(x.it->tile.u.arr_float);
    return present;
}

class Count final : public Aggregate {
 public:
    void step(Arguments& row) override {
        if (row.is_directly_stored(0)) {  // the directory knows
            const Stored& x = row.stored(0);
            for (size_t i = 0; i < x.n_tiles(); ++i) n_ += x.tile(i).positions - x.tile(i).missing;
            return;
        }
        const Series x = row.series(0);
        for_each_tile(row.plan(), x, [&](const void*, const uint8_t*, size_t n) { n_ += present_in(x, n); });
    }
    void finish(Result& result, const Limits&) const override { result.set(static_cast<int64_t>(n_)); }
    void save(Buffer& to) const override { put(to, n_); }
    void merge(StateReader& in) override { n_ += in.take<uint64_t>(); }

 private:
    uint64_t n_ = 0;
};

/// Sum and mean. Integers are added up in 128 bits as long as no row is floating.
class Sum final : public Aggregate {
 public:
    explicit Sum(bool mean) : mean_(mean) {}
    void step(Arguments& row) override {
        Series x = row.series(0);
        Plan& plan = row.plan();
        if (is_floating(x.type.type)) {
            RealSum sum;
            for_each_tile(plan, widened(plan, x, type_of(Type::double_)),
                          [&](const void* values, const uint8_t* runs, size_t n) {
                              sum.add(static_cast<const double*>(values), runs, n);
                          });
            const Summed row_sum = sum.total();
            state_.floating = true;
            state_.reals.add(row_sum.sum);
            state_.n += row_sum.present;
            return;
        }
        // uint8 has its full range here: what it adds up to decides.
        const bool natural = x.type.type == Type::uint8;
        if (!natural) x = widened(plan, x, type_of(Type::int8));
        for_each_tile(plan, x, [&](const void* values, const uint8_t* runs, size_t n) {
            const auto* integers = static_cast<const int64_t*>(values);
            int128 sum = sum_values(integers, runs, n);
            if (natural)
                for (size_t i = 0; i < n; ++i)
                    if (integers[i] < 0) sum += (static_cast<int128>(1) << 64) * get_run(runs, i);
            add(sum, sum_runs(runs, n));
        });
    }
    void finish(Result& result, const Limits&) const override {
        if (state_.n == 0) return result.set_null();
        const int128 integers = state_.integers();
        if (mean_ || state_.floating) {
            DoubleSum all = state_.reals;
            all.add(as_reals(integers));
            return result.set(mean_ ? all.total() / static_cast<double>(state_.n) : all.total());
        }
        if (integers != static_cast<int64_t>(integers)) throw Error(Fault::overflow, "the sum does not fit int8");
        result.set(static_cast<int64_t>(integers));
    }
    void save(Buffer& to) const override { put(to, state_); }
    void merge(StateReader& in) override {
        const State other = in.take<State>();
        state_.reals.add(other.reals);
        state_.floating |= other.floating != 0;
        add(other.integers(), other.n);
    }

 private:
    struct State {
        DoubleSum reals;
        uint64_t low = 0;
        int64_t high = 0;
        uint64_t n = 0;
        uint64_t floating = 0;
        int128 integers() const { return (static_cast<int128>(high) << 64) + low; }
    };
    void add(int128 sum, uint64_t n) {
        sum += state_.integers();
        state_.low = static_cast<uint64_t>(sum);
        state_.high = static_cast<int64_t>(sum >> 64);
        state_.n += n;
    }
    bool mean_;
    State state_;
};

/// Whether some condition, or every one, is true.
class Truth final : public Aggregate {
 public:
    explicit Truth(bool all) : all_(all) {}
    void step(Arguments& row) override {
        if (row.is_directly_stored(0)) {  // the directory knows
            const Stored& c = row.stored(0);
            for (size_t i = 0; i < c.n_tiles(); ++i) {
                if (c.tile(i).positions == 0) continue;
                seen_[c.tile(i).smallest.bytes[0] != 0] = 1;
                seen_[c.tile(i).largest.bytes[0] != 0] = 1;
            }
            return;
        }
        const Series c = row.series(0);
        for_each_tile(row.plan(), c, [&](const void* values, const uint8_t*, size_t n) {
            seen_[0] |= std::memchr(values, 0, n) != nullptr;
            seen_[1] |= std::memchr(values, 1, n) != nullptr;
        });
    }
    void finish(Result& result, const Limits&) const override {
        if (seen_[0] == 0 && seen_[1] == 0) return result.set_null();
        result.set(all_ ? seen_[0] == 0 : seen_[1] != 0);
    }
    void save(Buffer& to) const override { put(to, seen_); }
    void merge(StateReader& in) override {
        for (uint8_t& seen : seen_) seen |= uint8_t{in.take<uint8_t>() != 0};
    }

 private:
    bool all_;
    std::array<uint8_t, 2> seen_ = {};  // false, true
};

class Product final : public Aggregate {
 public:
    void step(Arguments& row) override {
        Plan& plan = row.plan();
        for_each_tile(plan, widened(plan, row.series(0), type_of(Type::double_)),
                      [&](const void* values, const uint8_t* runs, size_t n) {
                          state_.multiply(product_of(static_cast<const double*>(values), runs, n));
                      });
    }
    void finish(Result& result, const Limits&) const override {
        if (state_.n == 0) return result.set_null();
        result.set(state_.value());
    }
    void save(Buffer& to) const override { put(to, state_); }
    void merge(StateReader& in) override { state_.multiply(in.take<ScaledProduct>()); }

 private:
    ScaledProduct state_;
};

class Spread final : public Aggregate {
 public:
    Spread(unsigned free, bool root) : free_(free), root_(root) {}
    void step(Arguments& row) override {
        Plan& plan = row.plan();
        for_each_tile(plan, widened(plan, row.series(0), type_of(Type::double_)),
                      [&](const void* values, const uint8_t* runs, size_t n) {
                          state_.merge(moments_of(static_cast<const double*>(values), runs, n));
                      });
    }
    void finish(Result& result, const Limits&) const override {
        const double variance = state_.variance(free_);
        result.set(root_ ? std::sqrt(variance) : variance);
    }
    void save(Buffer& to) const override { put(to, state_); }
    void merge(StateReader& in) override { state_.merge(in.take<LongMoments>()); }

 private:
    unsigned free_;
    bool root_;
    LongMoments state_;
};

constexpr Parameter x_number{"x", Takes::sequence, Of::number};

const Function functions[] = {
    {.name = "count",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The number of values that are present.",
     .parameters = {{"x"}},
     .result = "integer",
     .rule = "0 over no rows. seq_length counts the missing ones too.",
     .example = {"count([1.5, null, 2])", "2"},
     .aggregate = make<Count>},
    {.name = "sum",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The sum.",
     .parameters = {x_number},
     .result = "integer if no row is floating, else real",
     .rule =
         "Integers are added exactly; a sum that int8 does not hold is an error. What floating additions lose is kept "
         "and added too, so that the result does not depend on how the values are cut into rows.",
     .example = {"sum([1, 2, 3])", "6"},
     .aggregate = make<Sum, false>},
    {.name = "prod",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The product.",
     .parameters = {x_number},
     .result = "real",
     .rule =
         "Of doubles, of integers too. What is in between may be beyond the range of doubles: only the product itself "
         "has to be within it.",
     .example = {"prod([2, 3, null, 4])", "24.0"},
     .aggregate = make<Product>},
    {.name = "avg",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The mean.",
     .parameters = {x_number},
     .result = "real",
     .rule = "The sum divided by the number of values that are present.",
     .example = {"avg([1, 2, 4, null])", "2.3333333333333335"},
     .python = "mean",
     .aggregate = make<Sum, true>},
    {.name = "any",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "1 if some condition is true, else 0.",
     .parameters = {{"c", Takes::sequence, Of::boolean}},
     .result = "integer",
     .rule = "NULL if there is none at all.",
     .example = {"any([false, true])", "1"},
     .aggregate = make<Truth, false>},
    {.name = "all",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "1 if every condition is true, else 0.",
     .parameters = {{"c", Takes::sequence, Of::boolean}},
     .result = "integer",
     .rule = "NULL if there is none at all.",
     .example = {"all([false, true])", "0"},
     .aggregate = make<Truth, true>},
    {.name = "var",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The sample variance.",
     .parameters = {x_number},
     .result = "real",
     .rule = "Its denominator is n - 1. NULL for fewer than two values.",
     .example = {"var([1, 2, 4])", "2.3333333333333335"},
     .aggregate = make<Spread, 1u, false>},
    {.name = "stddev",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The sample standard deviation.",
     .parameters = {x_number},
     .result = "real",
     .rule = "The square root of var.",
     .example = {"stddev([1, 3])", "1.4142135623730951"},
     .python = "std",
     .aggregate = make<Spread, 1u, true>},
    {.name = "var_pop",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The population variance.",
     .parameters = {x_number},
     .result = "real",
     .rule = "Its denominator is n.",
     .example = {"var_pop([1, 3])", "1.0"},
     .aggregate = make<Spread, 0u, false>},
    {.name = "stddev_pop",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The population standard deviation.",
     .parameters = {x_number},
     .result = "real",
     .rule = "The square root of var_pop.",
     .example = {"stddev_pop([1, 3])", "1.0"},
     .aggregate = make<Spread, 0u, true>},
    {.name = "histogram",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "How many values lie in each of n buckets of equal width between lo and hi.",
     .parameters = {x_number, {"lo", Takes::real}, {"hi", Takes::real}, {"n", Takes::integer, Of::any, 1}},
     .result = "text: a JSON array of n + 2 counts",
     .rule = "The first count is that of the values below lo, the last one that of the values above hi. Bucket k, from "
             "0, holds the values from lo + k * ((hi - lo) / n) up to, not including, that of k + 1; the last bucket "
             "holds hi too. Missing values are left out. lo, hi and n are the same for all rows.",
     .example = {"histogram([1, 2, 2.5, 4, 9], 0, 4, 2)", "[0,1,3,1]"},
     .aggregate = make_histogram},
};

}  // namespace

std::span<const Function> aggregate_functions() { return functions; }

}  // namespace qvo::value
