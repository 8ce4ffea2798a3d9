// Aggregates that look at the order of all values, or at which of them differ: median, quantile, mode, distinct counts.
// The first two hold the values of all rows, the others the different ones, the estimate a sketch of fixed size.
#include <cmath>
#include <cstring>

#include "base/text.h"
#include "evaluate/state.h"
#include "functions/catalog.h"
#include "functions/distinct.h"
#include "functions/meeting.h"
#include "operators/selection.h"

namespace qvo::value {
namespace {

/// A number of records of a size, which must be there.
std::span<const uint8_t> take_records(StateReader& in, uint64_t n, size_t size) {
    if (n > (uint64_t{1} << 48)) StateReader::damaged();
    return in.take_bytes(n * size);
}

// ---- Quantiles ---------------------------------------------------------------------------------------------------

class Quantile final : public Aggregate {
 public:
    explicit Quantile(std::optional<double> q) : q_(q) {}

    void step(Arguments& row) override {
        if (row.has(1)) set_q(row);
        Plan& plan = row.plan();
        const Series x = row.series(0);
        hold(plan, meeting_.add_row(row, x.type));
        held_.collect(plan, widened(plan, x, held_.type()), row.is_directly_stored(0) ? row.stored(0).elements() : 0);
    }
    void finish(Result& result, const Limits& limits) const override {
        if (held_.size() == 0) return result.set_null();
        Plan plan(limits);
        plan.within_budget(held_.positions());
        with_fixed(held_.type().type, [&](auto tag) {
            using V = typename decltype(tag)::value;
            const Selection<V> all(plan, held_.values<V>(), held_.runs(), held_.size());
            all.present() == 0 ? result.set_null() : result.set(between_neighbours(all));
        });
    }
    void save(Buffer& to) const override {
        put(to, q_.value_or(-1.0));
        meeting_.save(to);
        put(to, uint64_t{held_.size()});
        put(to, uint8_t{held_.runs() != nullptr});
        to.append(held_.bytes(), held_.size() * held_.width());
        if (held_.runs() != nullptr) to.append(held_.runs(), held_.size() * sizeof(uint32_t));
    }
    void merge(StateReader& in) override {
        merge_q(in.take<double>());
        const std::optional<ValueType> type = Meeting::take(in);
        const auto n = in.take<uint64_t>();
        const bool has_runs = in.take<uint8_t>() != 0;
        if (!type) return;
        if (!is_number(type->type)) StateReader::damaged();
        Elements other(*type);
        // Bytes of a state need not be aligned.
        const std::span<const uint8_t> values = take_records(in, n, type->width);
        const std::span<const uint8_t> run_bytes = take_records(in, has_runs ? n : 0, sizeof(uint32_t));
        std::vector<uint32_t> runs(run_bytes.size() / sizeof(uint32_t));
        if (!runs.empty()) std::memcpy(runs.data(), run_bytes.data(), run_bytes.size());
        if (std::find(runs.begin(), runs.end(), 0U) != runs.end()) StateReader::damaged();
        other.put_array(values.data(), has_runs ? runs.data() : nullptr, n);
        Plan plan({.budget = ~uint64_t{0}});  // checked when it is finished
        hold(plan, meeting_.add_state(*type));
        held_.collect(plan, widened(plan, elements_source(plan, other), held_.type()), n);
    }

 private:
    void set_q(const Arguments& row) {
        const double q = row.real(1);
        if (!(q >= 0 && q <= 1)) row.refuse(1, "q must be from 0 to 1, got " + row.described(1));
        if (q_ && *q_ != q)
            row.refuse(1, "q must be the same for all rows, got " + row.described(1) + " after " + shown(*q_));
        q_ = q;
    }
    void merge_q(double q) {
        if (q == -1.0) return;
        if (!(q >= 0 && q <= 1)) StateReader::damaged();
        if (q_ && *q_ != q)
            throw Error(Fault::argument, "argument 1: states for the quantiles " + shown(*q_) + " and " + shown(q));
        q_ = q;
    }
    /// Brings what is held to a type.
    void hold(Plan& plan, ValueType type) {
        if (held_.size() == 0)
            held_ = Elements(type);
        else if (held_.type() != type)
            held_ = widened(plan, held_, type);
    }
    template <class V> double between_neighbours(const Selection<V>& all) const {
        const double place = *q_ * static_cast<double>(all.present() - 1), whole = std::floor(place);
        const uint64_t lower = std::min(static_cast<uint64_t>(whole), all.present() - 1);
        const Place found = all.at(lower);
        const auto value = [](uint64_t key) {
            return static_cast<double>(value_of_key<V>(static_cast<KeyOf<V>>(key)));
        };
        const double weight = place - whole, low = value(found.key);
        if (weight == 0 || lower + 1 < found.through) return low;
        const double high = value(all.next_above(found.key)), apart = high - low;
        if (std::isinf(apart) && std::isfinite(low) && std::isfinite(high)) return low * (1 - weight) + high * weight;
        // From the nearer end.
        return weight < 0.5 ? low + apart * weight : high - apart * (1 - weight);
    }

    std::optional<double> q_;
    Meeting meeting_;
    Elements held_;
};

// ---- The table ---------------------------------------------------------------------------------------------------

std::unique_ptr<Aggregate> median(const Function&) { return std::make_unique<Quantile>(0.5); }
std::unique_ptr<Aggregate> quantile(const Function&) { return std::make_unique<Quantile>(std::nullopt); }

constexpr Parameter x_number{"x", Takes::sequence, Of::number};

const Function functions[] = {
    {.name = "median",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The middle value, or the mean of the two in the middle.",
     .parameters = {x_number},
     .result = "real",
     .rule = "quantile(x, 0.5). Holds the values of all rows, in their type and with their runs.",
     .example = {"median([4, 1, null, 2, 8])", "3.0"},
     .aggregate = median},
    {.name = "quantile",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The value below which a part q of the values lies.",
     .parameters = {x_number, {"q", Takes::real}},
     .result = "real",
     .rule =
         "Of n values in ascending order, the one at place q * (n - 1), counted from 0; between two places linearly "
         "between their values. q is from 0 to 1, and the same for all rows. Holds the values of all rows, in "
         "their type and with their runs.",
     .example = {"quantile([1, 2, 4, 8], 0.5)", "3.0"},
     .aggregate = quantile},
    {.name = "mode",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The most frequent value.",
     .parameters = {{"x"}},
     .result = "a value of the type in which the rows meet",
     .rule = "The smallest, if several are as frequent. Missing values are left out; -0.0 and 0.0 are one, 0.0. Holds "
             "the different values of all rows.",
     .example = {"mode([3, 1, 3, 1, 2])", "1"},
     .aggregate = make_mode},
    {.name = "count_distinct",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The number of different values.",
     .parameters = {{"x"}},
     .result = "integer",
     .rule = "Exact. Missing values are left out; -0.0 and 0.0 are one. Rows of integers and of floating values are "
             "compared as double; equal text is equal in any width. 0 over no rows. Holds the different values of all "
             "rows.",
     .example = {"count_distinct([1, 2, null, 1])", "2"},
     .aggregate = make_count_distinct},
    {.name = "approx_distinct",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "An estimate of the number of different values.",
     .parameters = {{"x"}},
     .result = "integer",
     .rule =
         "From a HyperLogLog sketch of 128 registers, with a standard error of 9 %. Counts as count_distinct does. 0 "
         "over no rows. Holds the sketch: 128 bytes.",
     .example = {"approx_distinct([1, 2, null, 1])", "2"},
     .aggregate = make_approx_distinct},
};

}  // namespace

std::span<const Function> order_statistic_functions() { return functions; }

}  // namespace qvo::value
