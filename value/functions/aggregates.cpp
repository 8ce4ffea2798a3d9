// Aggregates over all elements of all rows of a group, and their states.
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
    void merge(std::span<const uint8_t> from) override { n_ += StateReader(from).take<uint64_t>(); }

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
            state_.floating = true;
            for_each_tile(plan, widened(plan, x, type_of(Type::double_)),
                          [&](const void* values, const uint8_t* runs, size_t n) {
                              const Summed sum = sum_values(static_cast<const double*>(values), runs, n);
                              state_.reals.add(sum.sum);
                              state_.n += sum.present;
                          });
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
    void merge(std::span<const uint8_t> from) override {
        const State other = StateReader(from).take<State>();
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

/// A value that stays the aggregate's as long as no better one comes. Rows of different types meet.
class Kept : public Aggregate {
 public:
    void finish(Result& result, const Limits&) const override {
        if (!kept_) return result.set_null();
        set_result(result, as_meeting(*kept_));
    }

 protected:
    void meet_type(const Arguments& row, ValueType type) {
        const std::optional<ValueType> met = type_ ? meet(*type_, type) : type;
        if (!met) row.refuse_type(0, "that meets " + name_of(*type_), type);
        type_ = met;
    }
    void save_kept(Buffer& to) const {
        put(to, uint8_t{kept_.has_value()});
        if (kept_) put_scalar(to, as_meeting(*kept_));
    }
    std::optional<Scalar> take_kept(StateReader& in) {
        if (in.take<uint8_t>() == 0) return std::nullopt;
        const Scalar other = in.take_scalar();
        const std::optional<ValueType> met = type_ ? meet(*type_, other.type) : other.type;
        if (!met)
            throw Error(Fault::argument,
                        "argument 1: states over " + name_of(*type_) + " and " + name_of(other.type) + " do not meet");
        type_ = met;
        return other;
    }
    std::optional<Scalar> kept_;

 private:
    Scalar as_meeting(const Scalar& scalar) const {
        Scalar met = scalar;
        if (type_->type == Type::double_ && scalar.type.type != Type::double_) met.real = as_double(scalar);
        met.type = *type_;
        return met;
    }
    std::optional<ValueType> type_;
};

/// The best of n elements that are present, or n.
template <class V, class Better> QVO_INLINE size_t best_of(const V* values, size_t n, Better better) {
    size_t best = 0;
    while (best < n && values[best] != values[best]) ++best;
    for (size_t i = best + 1; i < n; ++i)
        if (better(values[i], values[best])) best = i;
    return std::min(best, n);
}

template <class Better> class Extremum final : public Kept {
 public:
    void step(Arguments& row) override {
        if (row.is_directly_stored(0) && row.stored(0).type().type != Type::char_) {
            const Stored& x = row.stored(0);
            meet_type(row, x.type());
            for (size_t i = 0; i < x.n_tiles(); ++i) {
                const TileEntry tile = x.tile(i);
                if (tile.missing == tile.positions) continue;
                offer(scalar_at(x.type(), Better::largest ? tile.largest.bytes : tile.smallest.bytes));
            }
            return;
        }
        const Series x = row.series(0);
        meet_type(row, x.type);
        for_each_tile(row.plan(), x,
                      [&](const void* values, const uint8_t*, size_t n) { step_tile(x.type, values, n); });
    }
    void save(Buffer& to) const override { save_kept(to); }
    void merge(std::span<const uint8_t> from) override {
        StateReader in(from);
        if (const std::optional<Scalar> other = take_kept(in)) offer(*other);
    }

 private:
    void step_tile(ValueType type, const void* values, size_t n) {
        if (type.type == Type::char_) {
            for (size_t i = 0; i < n; ++i) offer(scalar_at(type, static_cast<const char*>(values) + i * type.width));
            return;
        }
        with_fixed(type.type, [&](auto tag) {
            const auto* typed = static_cast<const typename decltype(tag)::value*>(values);
            const size_t best = best_of(typed, n, Better{});
            if (best != n) offer(scalar_at(type, typed + best));
        });
    }
    void offer(const Scalar& scalar) {
        if (!kept_ || Better::prefers(compare(scalar, *kept_))) kept_ = scalar;
    }
};

/// The first or last value that is present, in the order of the rows or of their keys.
class AtEnd final : public Kept {
 public:
    explicit AtEnd(bool last) : last_(last) {}
    void step(Arguments& row) override {
        std::optional<Scalar> key;
        if (row.has(1)) {
            if (row.is_null(1)) row.refuse(1, "key must not be NULL");
            if (!row.is_scalar(1)) row.refuse(1, "key must be a number or text, got " + described(row.datum(1)));
            key = row.scalar(1, type_of(row.datum(1)));
        }
        const Series x = row.series(0);
        meet_type(row, x.type);
        if (kept_ && !wins(key)) return;
        bool found = false;
        row.plan().poll();
        while ((last_ || !found) && row.plan().pull(x.it))
            for (size_t i = 0; i < x.it->tile_size && (last_ || !found); ++i) {
                const Scalar scalar = scalar_at(x.type, x.it->tile.u.arr_char + i * x.type.width);
                if (is_floating(x.type.type) && scalar.real != scalar.real) continue;
                kept_ = scalar;
                found = true;
            }
        if (found) key_ = key;
    }
    void save(Buffer& to) const override {
        save_kept(to);
        put(to, uint8_t{key_.has_value()});
        if (key_) put_scalar(to, *key_);
    }
    void merge(std::span<const uint8_t> from) override {
        StateReader in(from);
        const std::optional<Scalar> other = take_kept(in);
        std::optional<Scalar> key;
        if (in.take<uint8_t>() != 0) key = in.take_scalar();
        if (!other || (kept_ && !wins(key))) return;
        kept_ = other;
        key_ = key;
    }

 private:
    /// Whether a later row takes the place of what is kept.
    bool wins(const std::optional<Scalar>& key) const {
        if (!key || !key_) return last_;
        const bool text = key->type.type == Type::char_, kept_text = key_->type.type == Type::char_;
        const int order = text != kept_text ? (text ? 1 : -1) : compare(*key, *key_);
        return last_ ? order >= 0 : order < 0;
    }
    bool last_;
    std::optional<Scalar> key_;
};

/// Where the best value is, counted over the rows laid end to end.
template <class Better> class ArgExtremum final : public Kept {
 public:
    void step(Arguments& row) override {
        const Series x = row.series(0);
        meet_type(row, x.type);
        for_each_tile(row.plan(), x, [&](const void* values, const uint8_t* runs, size_t n) {
            if (x.type.type == Type::char_)
                step_text(x.type, static_cast<const char*>(values), runs, n);
            else
                with_fixed(x.type.type, [&](auto tag) {
                    const auto* typed = static_cast<const typename decltype(tag)::value*>(values);
                    const size_t best = best_of(typed, n, Better{});
                    if (best != n) offer(x.type, typed + best, runs, best);
                });
            passed_ += sum_runs(runs, n);
        });
    }
    void finish(Result& result, const Limits&) const override {
        if (!kept_) return result.set_null();
        result.set(static_cast<int64_t>(position_));
    }
    void save(Buffer& to) const override {
        save_kept(to);
        put(to, position_);
        put(to, passed_);
    }
    void merge(std::span<const uint8_t> from) override {
        StateReader in(from);
        const std::optional<Scalar> other = take_kept(in);
        const auto position = in.take<uint64_t>();
        if (other && (!kept_ || Better::prefers(compare(*other, *kept_)))) {
            kept_ = other;
            position_ = passed_ + position;
        }
        passed_ += in.take<uint64_t>();
    }

 private:
    void offer(ValueType type, const void* element, const uint8_t* runs, size_t i) {
        Scalar scalar = scalar_at(type, element);
        if (kept_ && !Better::prefers(compare(scalar, *kept_))) return;
        kept_ = std::move(scalar);
        position_ = passed_ + sum_runs(runs, i);
    }
    void step_text(ValueType type, const char* values, const uint8_t* runs, size_t n) {
        size_t best = 0;
        for (size_t i = 1; i < n; ++i)
            if (Better::prefers(std::memcmp(values + i * type.width, values + best * type.width, type.width))) best = i;
        offer(type, values + best * type.width, runs, best);
    }
    uint64_t position_ = 0, passed_ = 0;  // positions of all rows so far
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
    void merge(std::span<const uint8_t> from) override {
        StateReader in(from);
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
    void merge(std::span<const uint8_t> from) override { state_.multiply(StateReader(from).take<ScaledProduct>()); }

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
    void merge(std::span<const uint8_t> from) override { state_.merge(StateReader(from).take<Moments>()); }

 private:
    unsigned free_;
    bool root_;
    Moments state_;
};

// ---- States ----------------------------------------------------------------------------------------------------

/// Runs the aggregate that is named by the first argument; its result is the state.
class State final : public Aggregate {
 public:
    void step(Arguments& row) override {
        if (aggregate_ == nullptr) name_function(row);
        const Plan::Naming naming(row.plan(), function_->name);
        Arguments inner(*function_, row.all().subspan(1), row.plan());
        if (!inner.any_null()) aggregate_->step(inner);
    }
    void finish(Result& result, const Limits&) const override {
        if (aggregate_ == nullptr) return result.set_null();
        result.set_bytes(save_state(*function_, *aggregate_));
    }
    void save(Buffer&) const override { throw Error(Fault::argument, "argument 1: state has no state of its own"); }
    void merge(std::span<const uint8_t>) override { StateReader::damaged(); }

 private:
    void name_function(const Arguments& row) {
        std::string_view name = row.text(0);
        if (name.starts_with("seq_")) name.remove_prefix(4);
        function_ = find_function(name);
        if (function_ == nullptr || function_->aggregate == nullptr || !function_->has_state)
            row.refuse(0, "name must be that of an aggregate with a state, got " + described(row.datum(0)));
        aggregate_ = function_->aggregate(*function_);
    }
    const Function* function_ = nullptr;
    std::unique_ptr<Aggregate> aggregate_;
};

/// Combines states of one function.
class Merge final : public Aggregate {
 public:
    void step(Arguments& row) override {
        const SavedState saved = read_state(row.datum(0).bytes);
        if (aggregate_ == nullptr) {
            aggregate_ = restore(saved);
            function_ = saved.function;
        } else if (function_ != saved.function) {
            row.refuse(0, "state must be one of " + std::string(function_->name) + ", as those before, got one of " +
                              std::string(saved.function->name));
        } else {
            aggregate_->merge(saved.state);
        }
    }
    void finish(Result& result, const Limits&) const override {
        if (aggregate_ == nullptr) return result.set_null();
        result.set_bytes(save_state(*function_, *aggregate_));
    }
    void save(Buffer&) const override { throw Error(Fault::argument, "argument 1: merge has no state of its own"); }
    void merge(std::span<const uint8_t>) override { StateReader::damaged(); }

 private:
    const Function* function_ = nullptr;
    std::unique_ptr<Aggregate> aggregate_;
};

void finish(Arguments& a, Result& result) { restore(read_state(a.datum(0).bytes))->finish(result, a.plan().limits()); }

template <class A, auto... Settings> std::unique_ptr<Aggregate> make(const Function&) {
    return std::make_unique<A>(Settings...);
}

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
     .aggregate = make<Sum, true>},
    {.name = "min",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The smallest value.",
     .parameters = {{"x"}},
     .result = "a value of the type in which the rows meet",
     .rule = "Text by its bytes; of char(n) the text.",
     .example = {"min([3, 1, 2])", "1"},
     .aggregate = make<Extremum<Smaller>>},
    {.name = "max",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The largest value.",
     .parameters = {{"x"}},
     .result = "a value of the type in which the rows meet",
     .rule = "Text by its bytes; of char(n) the text.",
     .example = {"max(['a', 'b'])", "b"},
     .aggregate = make<Extremum<Larger>>},
    {.name = "argmin",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The position of the smallest value.",
     .parameters = {{"x"}},
     .result = "integer",
     .rule = "Counted from 0 over the rows laid end to end, missing values included; of equal values the first.",
     .example = {"argmin([3, 1, 2, 1])", "1"},
     .aggregate = make<ArgExtremum<Smaller>>},
    {.name = "argmax",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The position of the largest value.",
     .parameters = {{"x"}},
     .result = "integer",
     .rule = "Counted from 0 over the rows laid end to end, missing values included; of equal values the first.",
     .example = {"argmax([3, null, 7, 7])", "2"},
     .aggregate = make<ArgExtremum<Larger>>},
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
    {.name = "first",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The first value that is present.",
     .parameters = {{"x"}, {"key", Takes::nullable, Of::any, {}, {}, true}},
     .result = "a value of the type in which the rows meet",
     .rule = "In the order of the rows, or of a key of each row, which may not be NULL; of equal keys the first row's.",
     .example = {"first([null, 5, 6])", "5.0"},
     .aggregate = make<AtEnd, false>},
    {.name = "last",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .summary = "The last value that is present.",
     .parameters = {{"x"}, {"key", Takes::nullable, Of::any, {}, {}, true}},
     .result = "a value of the type in which the rows meet",
     .rule = "In the order of the rows, or of a key of each row, which may not be NULL; of equal keys the last row's.",
     .example = {"last([5, 6, null])", "6.0"},
     .aggregate = make<AtEnd, true>},
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
    {.name = "state",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .summary = "The running state of an aggregate, as bytes.",
     .parameters = {{"name", Takes::text}, {"x", Takes::nullable}},
     .repeats = true,
     .result = "a blob",
     .rule =
         "name is that of an aggregate, with or without seq_; what follows are its arguments. A state can be stored, "
         "shipped and combined with others of the same function: finish(merge(state)) over parts equals the aggregate "
         "over the whole. NULL over no rows.",
     .example = {"finish(state('avg', [1, 2]))", "1.5"},
     .aggregate = make<State>},
    {.name = "merge",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .summary = "The states of the rows combined.",
     .parameters = {{"state", Takes::bytes}},
     .result = "a blob",
     .rule =
         "States of different functions are an error. NULL is left out. Where the order matters (first, last), it is "
         "that of the rows.",
     .example = {"finish(merge(state('sum', [1, 2])))", "3"},
     .aggregate = make<Merge>},
    {.name = "finish",
     .group = Group::aggregates,
     .summary = "The result of the aggregate whose state it is.",
     .parameters = {{"state", Takes::bytes}},
     .result = "as the aggregate",
     .rule = "",
     .example = {"finish(state('max', [1, 2]))", "2"},
     .compute = finish},
};

}  // namespace

std::span<const Function> aggregate_functions() { return functions; }

}  // namespace qvo::value
