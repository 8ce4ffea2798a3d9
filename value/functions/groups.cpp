// Groups: one sequence by the keys of another. The value that the aggregate gives is its state: a column for each part
// of the groups' states, as stored sequences one after the other, ordered by key.
#include <array>
#include <variant>

#include "evaluate/cursor.h"
#include "evaluate/source.h"
#include "evaluate/state.h"
#include "functions/catalog.h"
#include "functions/group_table.h"
#include "operators/convert.h"
#include "operators/pair_walk.h"
#include "stored/writer.h"

namespace qvo::value {

uint64_t text_word(const char* text, size_t width) {
    uint64_t word = 0;
    std::memcpy(&word, text, std::min(sizeof word, width));
    for (size_t i = sizeof word; i < width; i += sizeof word) {
        uint64_t bytes = 0;
        std::memcpy(&bytes, text + i, std::min(sizeof bytes, width - i));
        if (bytes == 0) break;  // padding: nothing but zeros follows
        word = HashTable::hash(word) ^ bytes;
    }
    return word;
}

namespace {

// ---- The saved form --------------------------------------------------------------------------------------------

/// Its columns. The parts of a sum are those of a DoubleSum, or the lower and upper half of an integer in 128 bits.
enum Column : size_t { key, count, sum_low, sum_high, mean, squares, smallest, largest, first, last, n_columns };

template <class V> ValueType type_for() {
    if (std::is_same_v<V, double>) return type_of(Type::double_);
    return type_of(std::is_same_v<V, uint64_t> ? Type::uint8 : Type::int8);
}

std::array<ValueType, n_columns> column_types(ValueType key_type, ValueType type) {
    const ValueType real = type_of(Type::double_), integer = type_of(Type::int8);
    const bool reals = type == real;
    return {key_type, integer, reals ? real : type_of(Type::uint8), reals ? real : integer, real, real, type, type,
            type,     type};
}

template <class V> Order order_of(Plan& plan, const Groups<V>& groups) {
    const size_t n = groups.size();
    if (!groups.text_keys()) {
        std::vector<uint64_t> words(n);
        for (size_t g = 0; g < n; ++g) words[g] = groups.state(g).word;
        return stable_order(plan, words.data(), n);
    }
    Elements keys(groups.key_type());
    keys.reserve(n);
    char cell[max_char];
    for (size_t g = 0; g < n; ++g) {
        groups.put_key(g, cell);
        keys.put_one(cell, 1);
    }
    return stable_order(plan, keys, false);
}

/// Writes columns of n groups at a time.
template <class V> class ColumnWriters {
 public:
    static constexpr size_t block = 512;
    explicit ColumnWriters(const Groups<V>& groups) : groups_(groups) {
        for (const ValueType type : column_types(groups.key_type(), type_for<V>())) {
            writers_.emplace_back(type);
            writers_.back().expect(groups.size());
        }
    }
    void put(const Order& order, size_t from, size_t n) {
        for (size_t i = 0; i < n; ++i) states_[i] = groups_.state(order.at(from + i));
        const size_t width = groups_.key_type().width;
        for (size_t i = 0; i < n; ++i) groups_.put_key(order.at(from + i), keys_ + i * width);
        writers_[key].put_single(keys_, n);
        column<uint64_t>(count, n, [](const State& s) { return s.count(); });
        if constexpr (State::real) {
            column<double>(sum_low, n, [](const State& s) { return s.sum.low; });
            column<double>(sum_high, n, [](const State& s) { return s.sum.high; });
        } else {
            column<uint64_t>(sum_low, n, [](const State& s) { return static_cast<uint64_t>(s.sum); });
            column<int64_t>(sum_high, n, [](const State& s) { return static_cast<int64_t>(s.sum >> 64); });
        }
        column<double>(mean, n, [](const State& s) { return s.moments.moments().mean; });
        column<double>(squares, n, [](const State& s) { return s.moments.moments().squares; });
        column<V>(smallest, n, [](const State& s) { return s.count() == 0 ? V{} : s.min; });
        column<V>(largest, n, [](const State& s) { return s.count() == 0 ? V{} : s.max; });
        column<V>(first, n, [](const State& s) { return s.first; });
        column<V>(last, n, [](const State& s) { return s.last; });
    }
    void finish(Buffer& to) {
        std::vector<Buffer> columns;
        size_t all = 0;
        for (Writer& writer : writers_) {
            columns.push_back(writer.finish());
            all += columns.back().size() + sizeof(uint64_t);
        }
        to.reserve(all + 64);  // a checksum will follow
        for (Buffer& column : columns) {
            value::put(to, uint64_t{column.size()});
            to.append(column.data(), column.size());
            column = Buffer();
        }
    }

 private:
    using State = GroupState<V>;
    template <class C, class Part> void column(Column index, size_t n, Part part) {
        C values[block];
        for (size_t i = 0; i < n; ++i) values[i] = part(states_[i]);
        writers_[index].put_single(values, n);
    }
    const Groups<V>& groups_;
    std::vector<Writer> writers_;
    State states_[block];
    char keys_[block * max_char];
};

/// Reads the columns, and trusts nothing.
class SavedGroups {
 public:
    /// Of a state that has groups.
    SavedGroups(Plan& plan, StateReader& in) {
        for (size_t i = 0; i < n_columns; ++i) {
            const auto size = in.take<uint64_t>();
            const Stored column(in.take_bytes(static_cast<size_t>(size)));
            types_[i] = column.type();
            if (i == 0) n_ = column.positions();
            if (column.positions() != n_) StateReader::damaged();
            cursors_.emplace_back(plan, stored_source(plan, column));
        }
        const bool key_fits = types_[key].type == Type::char_ || types_[key].width == sizeof(int64_t);
        if (!key_fits || !(fits(type_of(Type::int8)) || fits(type_of(Type::uint8)) || fits(type_of(Type::double_))))
            StateReader::damaged();
    }
    uint64_t size() const { return n_; }
    ValueType type(Column column) const { return types_[column]; }
    bool next() {
        for (Cursor& cursor : cursors_)
            if (!cursor.next()) return false;
        return true;
    }
    const Cursor& at(Column column) const { return cursors_[column]; }
    template <class V> V as(Column column) const {
        V value;
        std::memcpy(&value, cursors_[column].element(), sizeof value);
        return value;
    }
    template <class V> GroupState<V> state() const {
        GroupState<V> s;
        s.moments = RunningMoments({as<uint64_t>(count), as<double>(mean), as<double>(squares)});
        if constexpr (GroupState<V>::real)
            s.sum = {as<double>(sum_high), as<double>(sum_low)};
        else
            s.sum = static_cast<int128>(uint128{as<uint64_t>(sum_high)} << 64 | as<uint64_t>(sum_low));
        s.min = as<V>(smallest);
        s.max = as<V>(largest);
        s.first = as<V>(first);
        s.last = as<V>(last);
        return s;
    }

 private:
    bool fits(ValueType type) const { return types_ == column_types(types_[key], type); }
    uint64_t n_ = 0;
    std::array<ValueType, n_columns> types_;
    std::vector<Cursor> cursors_;
};

/// Calls f with the kind of value that a type is computed in.
template <class F> decltype(auto) with_kind(ValueType type, F f) {
    if (type.type == Type::double_) return f(double{});
    return type.type == Type::uint8 ? f(uint64_t{}) : f(int64_t{});
}

// ---- The aggregate ---------------------------------------------------------------------------------------------

/// The type in which keys or values are computed: int8, uint8, double; timestamp and char stay.
ValueType computed_type(ValueType type) {
    if (is_floating(type.type)) return type_of(Type::double_);
    if (!is_number(type.type) || type.type == Type::uint8) return type;
    return type_of(Type::int8);
}

class Grouping final : public Aggregate {
 public:
    explicit Grouping(const Function& function) : function_(function) {}

    void step(Arguments& row) override {
        Plan& plan = row.plan();
        Series k = row.series(0), x = row.series(1);
        const ValueType key_type = computed_type(k.type), type = computed_type(x.type);
        if (!meet_types(key_type, type)) row.refuse_type(0, "that meets " + name_of(key_type_), k.type);
        if (key_type_.type != Type::char_) k = widened(plan, k, key_type_);
        x = widened(plan, x, type_);
        with_groups([&](auto& groups) {
            using V = typename std::remove_reference_t<decltype(groups)>::Value;
            for_each_pair<char, V>(plan, k, x, [&](const char* keys, const V* values, const uint8_t* runs, size_t n) {
                groups.add(keys, k.type.width, values, runs, n);
                plan.within_budget(groups.size());
            });
        });
    }

    void finish(Result& result, const Limits& limits) const override {
        if (groups_.index() == 0) return result.set_null();
        Plan plan(limits);
        result.set_bytes(save_state(function_, [&](Buffer& to) { save(plan, to); }));
    }

    void save(Buffer& to) const override {
        Plan plan(Limits{});
        save(plan, to);
    }

    void merge(StateReader& in) override {
        if (in.take<uint8_t>() == 0) return;
        Plan plan(Limits{});
        SavedGroups saved(plan, in);
        if (!meet_types(saved.type(key), saved.type(smallest)))
            throw Error(Fault::argument, "argument 1: groups by " + name_of(key_type_) + " and by " +
                                             name_of(saved.type(key)) + " do not meet");
        with_kind(saved.type(smallest),
                  [&](auto kind) { with_groups([&](auto& groups) { merge<decltype(kind)>(saved, groups); }); });
    }

 private:
    template <class F> void with_groups(F f) {
        std::visit(
            [&](auto& groups) {
                if constexpr (!std::is_same_v<std::decay_t<decltype(groups)>, std::monostate>) f(groups);
            },
            groups_);
    }

    /// Makes the groups be of types in which those of the next row meet with those so far. False if they do not meet.
    bool meet_types(ValueType key_type, ValueType type) {
        if (groups_.index() == 0) {
            key_type_ = key_type;
            type_ = type;
            with_kind(type_, [&](auto kind) { groups_.emplace<Groups<decltype(kind)>>(key_type_); });
            return true;
        }
        const std::optional<ValueType> keys = meet(key_type_, key_type), values = meet(type_, type);
        if (!keys || !values) return false;
        const bool same = type_ == *values && (key_type_ == *keys || keys->type == Type::char_);
        key_type_ = *keys;
        type_ = *values;
        if (same) {
            with_groups([&](auto& groups) { groups.widen_text(key_type_); });
            return true;
        }
        with_kind(type_, [&](auto kind) {
            Groups<decltype(kind)> met(key_type_);
            with_groups([&](const auto& groups) { met.merge(groups); });
            groups_ = std::move(met);
        });
        return true;
    }

    template <class From, class V> static void merge(SavedGroups& saved, Groups<V>& groups) {
        const bool text = saved.type(key).type == Type::char_;
        while (saved.next()) {
            const GroupState<V> state = converted<V>(saved.state<From>());
            const size_t width = saved.type(key).width;
            const char* const cell = static_cast<const char*>(saved.at(key).element());
            uint64_t word = 0;
            if (text)
                word = text_word(cell, width);
            else
                with_kind(saved.type(key), [&](auto kind) { word = groups.word_of(saved.as<decltype(kind)>(key)); });
            if (!groups.is_missing(word)) groups.at(word, cell, width).merge(state);
        }
    }

    void save(Plan& plan, Buffer& to) const {
        put(to, uint8_t{groups_.index() != 0});
        std::visit(
            [&](const auto& groups) {
                if constexpr (!std::is_same_v<std::decay_t<decltype(groups)>, std::monostate>)
                    save_groups(plan, groups, to);
            },
            groups_);
    }
    template <class V> static void save_groups(Plan& plan, const Groups<V>& groups, Buffer& to) {
        const Order order = order_of(plan, groups);
        const auto writers = std::make_unique<ColumnWriters<V>>(groups);
        for (size_t i = 0; i < groups.size(); i += ColumnWriters<V>::block) {
            plan.poll();
            writers->put(order, i, std::min(groups.size() - i, ColumnWriters<V>::block));
        }
        writers->finish(to);
    }

    const Function& function_;
    ValueType key_type_, type_;
    std::variant<std::monostate, Groups<int64_t>, Groups<uint64_t>, Groups<double>> groups_;
};

std::unique_ptr<Aggregate> make_group(const Function& function) { return std::make_unique<Grouping>(function); }

// ---- The table -------------------------------------------------------------------------------------------------

class GroupRows final : public Rows {
 public:
    GroupRows(Plan& plan, StateReader in) {
        if (in.take<uint8_t>() != 0) groups_.emplace(plan, in);
    }
    bool next() override { return groups_ && groups_->next(); }
    void limit(uint64_t, uint64_t) override {}

    void column(unsigned index, Result& result) override {
        with_kind(groups_->type(smallest), [&](auto kind) { column(index, groups_->state<decltype(kind)>(), result); });
    }

 private:
    /// Columns in the order of the table's.
    template <class V> void column(unsigned index, const GroupState<V>& state, Result& result) const {
        if (index == 0) return set_result(result, groups_->at(key).scalar());
        if (index == 1) return result.set(static_cast<int64_t>(state.count()));
        if (state.count() == 0) return result.set_null();
        switch (index) {
            case 2:
                return set_sum(state, result);
            case 3:
                return result.set(sum_of(state).total() / static_cast<double>(state.count()));
            case 8:
                return result.set(state.moments.moments().variance(1));
            default: {
                constexpr Column columns[] = {smallest, largest, first, last};
                return set_result(result, groups_->at(columns[index - 4]).scalar());
            }
        }
    }
    template <class V> static DoubleSum sum_of(const GroupState<V>& state) {
        if constexpr (GroupState<V>::real)
            return state.sum;
        else
            return as_reals(state.sum);
    }
    template <class V> static void set_sum(const GroupState<V>& state, Result& result) {
        if constexpr (GroupState<V>::real) {
            result.set(state.sum.total());
        } else {
            if (state.sum != static_cast<int64_t>(state.sum)) throw Error(Fault::overflow, "a sum does not fit int8");
            result.set(static_cast<int64_t>(state.sum));
        }
    }
    std::optional<SavedGroups> groups_;
};

std::unique_ptr<Rows> group_rows(Arguments& a) {
    const SavedState saved = read_state(a.datum(0).bytes);
    if (saved.function->name != "group")
        a.refuse(0, "value must be one that group gives, got the state of " + std::string(saved.function->name));
    return std::make_unique<GroupRows>(a.plan(), StateReader(saved.state));
}

const Function functions[] = {
    {.name = "group",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .has_state = true,
     .in_order = true,
     .summary = "The values of x by the keys at the same positions of k.",
     .parameters = {{"k"}, {"x", Takes::sequence, Of::number}},
     .result = "a blob, which group_rows reads",
     .rule =
         "Positions with a missing key are left out. Keys are equal as eq has it, text at any width; rows with keys of "
         "different types meet, as append has it. The result is at once the state of the aggregate: merge combines "
         "such blobs, those of state('group', k, x) and those of finish too.",
     .example = {"group_rows(group(['a', 'b', 'a'], [1, 2, 3]))", "a|2|4|2.0|1|3|1|3|2.0\nb|1|2|2.0|2|2|2|2|NULL"},
     .aggregate = make_group},
    {.name = "group_rows",
     .group = Group::aggregates,
     .kind = Kind::table,
     .summary = "The groups of a value that group gives, a row each, ordered by key.",
     .parameters = {{"value", Takes::bytes}},
     .result = "columns key, count, sum, avg, min, max, first, last, var",
     .rule = "Of the values that are present; all but count are NULL where none is. Each is what the aggregate of its "
             "name gives over the values of the group; integers are added exactly, and asking for a sum that int8 does "
             "not hold is an error. No rows for NULL.",
     .example = {"group_rows(group([2, 1, 2], [0.5, 1, 2]))",
                 "1|1|1.0|1.0|1.0|1.0|1.0|1.0|NULL\n2|2|2.5|1.25|0.5|2.0|0.5|2.0|1.125"},
     .columns = "key count sum avg min max first last var",
     .rows = group_rows},
};

}  // namespace

std::span<const Function> group_functions() { return functions; }

}  // namespace qvo::value
