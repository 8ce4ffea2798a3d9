// Aggregates that give one of the values, or where it is: the smallest, the largest, the first, the last.
#include "evaluate/deliver.h"
#include "evaluate/scalar.h"
#include "evaluate/source.h"
#include "functions/catalog.h"
#include "functions/keys.h"
#include "functions/meeting.h"
#include "operators/extremes.h"

namespace qvo::value {
namespace {

/// A value that stays the aggregate's as long as no better one comes. Rows of different types meet.
class Kept : public Aggregate {
 public:
    void finish(Result& result, const Limits&) const override {
        if (!kept_) return result.set_null();
        set_result(result, as_meeting(*kept_));
    }

 protected:
    void save_kept(Buffer& to) const {
        put(to, kept_ ? holds_value : holds_type);
        kept_ ? put_scalar(to, as_meeting(*kept_)) : meeting_.save(to);
    }
    std::optional<Scalar> take_kept(StateReader& in) {
        const auto holds = in.take<uint8_t>();
        if (holds == holds_type) {
            if (const std::optional<ValueType> type = Meeting::take(in)) meeting_.add_state(*type);
        } else if (holds != 0) {
            const Scalar other = in.take_scalar();
            meeting_.add_state(other.type);
            return other;
        }
        return std::nullopt;
    }

    Meeting meeting_;
    std::optional<Scalar> kept_;

 private:
    // What a state holds: a value, or the type of rows that have none. Earlier ones left such a type out, with a 0.
    static constexpr uint8_t holds_value = 1, holds_type = 2;

    Scalar as_meeting(const Scalar& scalar) const {
        Scalar met = scalar;
        const ValueType type = *meeting_.type();
        if (type.type == Type::int8 && scalar.type.type == Type::uint8 && scalar.integer < 0)
            throw Error(Fault::overflow, "the value " + std::to_string(scalar.natural) +
                                             " does not fit int8, in which the rows meet; cast makes it double");
        if (type.type == Type::double_ && scalar.type.type != Type::double_) met.real = as_double(scalar);
        met.type = type;
        return met;
    }
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
        // The directory holds extremes of so many bytes whole, and of longer text their beginning.
        if (row.is_directly_stored(0) && row.stored(0).type().width <= sizeof(Extreme)) {
            const Stored& x = row.stored(0);
            meeting_.add_row(row, x.type());
            for (size_t i = 0; i < x.n_tiles(); ++i) {
                const TileEntry tile = x.tile(i);
                if (tile.missing == tile.positions) continue;
                offer(scalar_at(x.type(), Better::largest ? tile.largest.bytes : tile.smallest.bytes));
            }
            return;
        }
        const Series x = row.series(0);
        meeting_.add_row(row, x.type);
        for_each_tile(row.plan(), x,
                      [&](const void* values, const uint8_t*, size_t n) { step_tile(x.type, values, n); });
    }
    void save(Buffer& to) const override { save_kept(to); }
    void merge(StateReader& in) override {
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
            check_key(row);
            key = row.scalar(1, type_of(row.datum(1)));
        }
        const Series x = row.is_directly_stored(0) ? end_of(row.plan(), row.stored(0)) : row.series(0);
        meeting_.add_row(row, x.type);
        if (kept_ && !wins(key)) return;
        bool found = false;
        row.plan().poll();
        while ((last_ || !found) && row.plan().pull(x.it)) found |= take_from(x);
        if (found) key_ = key;
    }
    void save(Buffer& to) const override {
        save_kept(to);
        put(to, uint8_t{key_.has_value()});
        if (key_) put_scalar(to, *key_);
    }
    void merge(StateReader& in) override {
        const std::optional<Scalar> other = take_kept(in);
        std::optional<Scalar> key;
        if (in.take<uint8_t>() != 0) key = in.take_scalar();
        if (!other || (kept_ && !wins(key))) return;
        kept_ = other;
        key_ = key;
    }

 private:
    /// The part of a sequence in which the value is: the directory knows of tiles what is missing there.
    Series end_of(Plan& plan, const Stored& x) const {
        uint64_t before = 0, after = x.positions();  // positions of the tiles on either side
        for (size_t k = 0; k < x.n_tiles(); ++k) {
            const TileEntry tile = x.tile(last_ ? x.n_tiles() - 1 - k : k);
            after -= tile.positions;
            if (tile.missing != tile.positions) {
                const uint64_t first = last_ ? after : before, end = first + tile.positions;
                if (tile.missing != 0) return stored_source(plan, x, first, end);
                return last_ ? stored_source(plan, x, end - 1, end) : stored_source(plan, x, first, first + 1);
            }
            before += tile.positions;
        }
        return stored_source(plan, x, 0, 0);
    }
    /// Keeps the value of a tile, if one is present.
    bool take_from(const Series& x) {
        const size_t n = x.it->tile_size;
        for (size_t k = 0; k < n; ++k) {
            const size_t i = last_ ? n - 1 - k : k;
            const Scalar scalar = scalar_at(x.type, x.it->tile.u.arr_char + i * x.type.width);
            if (is_floating(x.type.type) && scalar.real != scalar.real) continue;
            kept_ = scalar;
            return true;
        }
        return false;
    }
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
        meeting_.add_row(row, x.type);
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
    void merge(StateReader& in) override {
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

const Function functions[] = {
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
     .in_order = true,
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
     .in_order = true,
     .summary = "The position of the largest value.",
     .parameters = {{"x"}},
     .result = "integer",
     .rule = "Counted from 0 over the rows laid end to end, missing values included; of equal values the first.",
     .example = {"argmax([3, null, 7, 7])", "2"},
     .aggregate = make<ArgExtremum<Larger>>},
    {.name = "first",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .in_order = true,
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
     .in_order = true,
     .summary = "The last value that is present.",
     .parameters = {{"x"}, {"key", Takes::nullable, Of::any, {}, {}, true}},
     .result = "a value of the type in which the rows meet",
     .rule = "In the order of the rows, or of a key of each row, which may not be NULL; of equal keys the last row's.",
     .example = {"last([5, 6, null])", "6.0"},
     .aggregate = make<AtEnd, true>},
};

}  // namespace

std::span<const Function> extremum_functions() { return functions; }

}  // namespace qvo::value
