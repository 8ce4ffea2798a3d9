// Aggregates of two sequences: covariance and its kin, and the weighted mean. A pair of which one value is missing is
// left out.
#include "evaluate/state.h"
#include "functions/catalog.h"
#include "functions/co_moments.h"
#include "operators/convert.h"
#include "operators/pair_walk.h"
#include "operators/sums.h"

namespace qvo::value {
namespace {

/// Calls take(y, x, first_run, n) for all pairs of the first two arguments.
template <class Take> void for_each_pair_of(Arguments& row, Take take) {
    Plan& plan = row.plan();
    const Series y = widened(plan, row.series(0), type_of(Type::double_));
    const Series x = widened(plan, row.series(1), type_of(Type::double_));
    for_each_pair<double, double>(plan, y, x, take);
}

class Spread final : public Aggregate {
 public:
    using Measure = double (CoMoments::*)() const;
    explicit Spread(Measure measure) : measure_(measure) {}
    void step(Arguments& row) override {
        for_each_pair_of(row, [&](const double* y, const double* x, const uint8_t* runs, size_t n) {
            state_.merge(co_moments_of(y, x, runs, n));
        });
    }
    void finish(Result& result, const Limits&) const override { result.set((state_.*measure_)()); }
    void save(Buffer& to) const override { put(to, state_); }
    void merge(StateReader& in) override { state_.merge(in.take<CoMoments>()); }

 private:
    Measure measure_;
    CoMoments state_;
};

QVO_INLINE void weigh(const double* __restrict x, const double* __restrict w, size_t n, double* __restrict products,
                      double* __restrict weights) {
    for (size_t i = 0; i < n; ++i) {
        products[i] = x[i] * w[i];
        weights[i] = x[i] == x[i] ? w[i] : x[i];
    }
}

class WeightedMean final : public Aggregate {
 public:
    void step(Arguments& row) override {
        RealSum product_sum, weight_sum;
        for_each_pair_of(row, [&](const double* x, const double* w, const uint8_t* runs, size_t n) {
            double products[capacity_of(sizeof(double))], weights[capacity_of(sizeof(double))];
            for_cpu<weigh>(x, w, n, products, weights);
            product_sum.add(products, runs, n);
            weight_sum.add(weights, runs, n);
        });
        const Summed sum = product_sum.total(), weight = weight_sum.total();
        state_.products.add(sum.sum);
        state_.weights.add(weight.sum);
        // A pair that is present and has no product: an infinity times 0.
        state_.undefined |= uint64_t{sum.present != weight.present};
    }
    void finish(Result& result, const Limits&) const override {
        const double weights = state_.weights.total();
        if (weights == 0 || state_.undefined != 0) return result.set_null();
        result.set(state_.products.total() / weights);
    }
    void save(Buffer& to) const override { put(to, state_); }
    void merge(StateReader& in) override {
        const State other = in.take<State>();
        state_.products.add(other.products);
        state_.weights.add(other.weights);
        state_.undefined |= other.undefined;
    }

 private:
    struct State {
        DoubleSum products, weights;
        uint64_t undefined = 0;
    };
    State state_;
};

template <double (CoMoments::*measure)() const> std::unique_ptr<Aggregate> make_measure(const Function&) {
    return std::make_unique<Spread>(measure);
}

constexpr Parameter y_number{"y", Takes::sequence, Of::number};
constexpr Parameter x_number{"x", Takes::sequence, Of::number};

const Function functions[] = {
    {.name = "cov",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The sample covariance.",
     .parameters = {y_number, x_number},
     .result = "real",
     .rule = "Its denominator is n - 1, n being the number of pairs of which both values are present. NULL for fewer "
             "than two. Sequences of a row must be of equal length.",
     .example = {"cov([1, 2, 6], [1, 2, 3])", "2.5"},
     .aggregate = make_measure<&CoMoments::covariance>},
    {.name = "corr",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The correlation (Pearson).",
     .parameters = {y_number, x_number},
     .result = "real",
     .rule = "Pairs with a missing value are left out. NULL for fewer than two pairs, and if y or x is constant.",
     .example = {"corr([3, 3, 1, 1], [1, 1, 3, 3])", "-1.0"},
     .aggregate = make_measure<&CoMoments::correlation>},
    {.name = "slope",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The slope of the line of least squares through y over x.",
     .parameters = {y_number, x_number},
     .result = "real",
     .rule = "Pairs with a missing value are left out. NULL for fewer than two pairs, and if x is constant.",
     .example = {"slope([5, 7, 9], [1, 2, 3])", "2.0"},
     .aggregate = make_measure<&CoMoments::slope>},
    {.name = "intercept",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "Where the line of least squares through y over x is at x = 0.",
     .parameters = {y_number, x_number},
     .result = "real",
     .rule = "Pairs with a missing value are left out. NULL for fewer than two pairs, and if x is constant.",
     .example = {"intercept([5, 7, 9], [1, 2, 3])", "3.0"},
     .aggregate = make_measure<&CoMoments::intercept>},
    {.name = "weighted_avg",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The mean of x, each value counted as often as its weight w says.",
     .parameters = {x_number, {"w", Takes::sequence, Of::number}},
     .result = "real",
     .rule = "The sum of x * w divided by the sum of w, over the pairs of which both values are present. NULL if the "
             "weights add up to 0.",
     .example = {"weighted_avg([10, 20], [3, 1])", "12.5"},
     .aggregate = make<WeightedMean>},
};

}  // namespace

std::span<const Function> pair_functions() { return functions; }

}  // namespace qvo::value
