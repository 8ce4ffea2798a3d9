#include "tables/selection.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "host.h"

namespace qvo::sqlite {
namespace {

// A plan as text: `c` and the used columns in hexadecimal, then what to do with each value that xFilter is given, in
// order: `k<slot>` key equals, `s<slot>` key is one of a set, `r` rowid equals, `n` nothing matches; of the ORDER column `=`, `>`, `g` (at least),
// `<`, `l` (at most); `[` and `)` are the bounds of chunk rows. These have no value: `d`, rows are wanted in
// descending order; `1`, one row of a key is enough.
class Plan {
 public:
    explicit Plan(sqlite3_index_info* info) : info_(info) {
        text_ = formatted("c%llx", static_cast<unsigned long long>(info->colUsed));
    }

    /// Hands a constraint's value to xFilter.
    void take(int i, const std::string& what, bool checked_again = false) {
        auto& usage = info_->aConstraintUsage[i];
        usage.argvIndex = ++n_;
        usage.omit = !checked_again;
        text_ += ";" + what;
    }
    void add(const char* what) { text_ += std::string(";") + what; }
    void finish() {
        info_->idxStr = sqlite3_mprintf("%s", text_.c_str());
        if (info_->idxStr == nullptr) throw std::bad_alloc();
        info_->needToFreeIdxStr = 1;
    }

 private:
    sqlite3_index_info* info_;
    std::string text_;
    int n_ = 0;
};

/// What the constraints that were taken leave of a table.
struct Reach {
    std::vector<bool> keys, one;  // by slot: values are given, only one value is
    bool order_equal = false, from = false, to = false, nothing = false, rowid = false;
    size_t n_keys() const {
        size_t n = 0;
        for (const bool key : keys) n += key;
        return n;
    }
    bool one_key() const { return std::find(one.begin(), one.end(), false) == one.end(); }
};

bool is_equality(unsigned char op) { return op == SQLITE_INDEX_CONSTRAINT_EQ || op == SQLITE_INDEX_CONSTRAINT_IS; }

void take_key(const Column& column, bool utf8, sqlite3_index_info* info, int i, Plan& plan, Reach& reach) {
    const unsigned char op = info->aConstraint[i].op;
    if (op == SQLITE_INDEX_CONSTRAINT_ISNULL) {
        reach.nothing = true;
        return plan.take(i, "n");
    }
    if (!is_equality(op) || reach.keys[column.slot]) return;
    if (column.is_text() && sqlite3_stricmp(sqlite3_vtab_collation(info, i), "BINARY") != 0) return;
    reach.keys[column.slot] = true;
    // All values of IN at once, so that keys come in order. Where text does not compare by its bytes, one by one.
    const bool set = (utf8 || !column.is_text()) && sqlite3_vtab_in(info, i, -1) != 0;
    plan.take(i, (set ? "s" : "k") + std::to_string(column.slot));
    if (set) sqlite3_vtab_in(info, i, 1);
    reach.one[column.slot] = !set;
}

void take_order(sqlite3_index_info* info, int i, Plan& plan, Reach& reach) {
    switch (info->aConstraint[i].op) {
        case SQLITE_INDEX_CONSTRAINT_EQ:
        case SQLITE_INDEX_CONSTRAINT_IS:
            reach.order_equal = true;
            return plan.take(i, "=");
        case SQLITE_INDEX_CONSTRAINT_GT:
            reach.from = true;
            return plan.take(i, ">");
        case SQLITE_INDEX_CONSTRAINT_GE:
            reach.from = true;
            return plan.take(i, "g");
        case SQLITE_INDEX_CONSTRAINT_LT:
            reach.to = true;
            return plan.take(i, "<");
        case SQLITE_INDEX_CONSTRAINT_LE:
            reach.to = true;
            return plan.take(i, "l");
        case SQLITE_INDEX_CONSTRAINT_ISNULL:
            reach.nothing = true;
            return plan.take(i, "n");
        default:
            return;
    }
}

/// How many values IN is taken to have.
constexpr double values_of_set = 5;

/// Costs in the unit of a plain table's row: a row that comes out costs about half of one, a source that is opened as
/// much as twenty.
void estimate(const Declaration& declaration, const Store::Size& size, const Reach& reach, double row_cost,
              sqlite3_index_info* info) {
    double rows = std::max(1.0, static_cast<double>(size.rows)),
           sources = std::max(1.0, static_cast<double>(size.sources));
    const size_t n_keys = declaration.keys.size();
    double keys = static_cast<double>(size.keys);
    if (n_keys != 0) {
        double values = 1;
        for (size_t slot = 0; slot < n_keys; ++slot)
            if (reach.keys[slot] && !reach.one[slot]) values *= values_of_set;
        const double one = std::pow(1.0 / keys, static_cast<double>(reach.n_keys()) / static_cast<double>(n_keys));
        const double share = std::min(1.0, one * values);
        rows *= share;
        sources *= share;
        keys *= share;
    }
    const double share = reach.order_equal
                             ? 0.0
                             : (reach.from ? 0.3 : 1.0) * (reach.to ? 0.3 : 1.0) * (reach.from && reach.to ? 0.2 : 1.0);
    // However few rows are wanted of a key, one of its sources has to be opened.
    rows = std::max(rows * share, std::max(keys, 1.0));
    sources = std::max(sources * share, std::max(keys, 1.0));
    if (reach.nothing) rows = sources = 0;
    if (reach.rowid) rows = sources = 1;
    const double out = row_cost == 0 ? sources : rows;
    info->estimatedRows = static_cast<sqlite3_int64>(std::max(out, 1.0));
    info->estimatedCost = rows * row_cost + sources * 20 + 1;
    if (reach.rowid) info->idxFlags = SQLITE_INDEX_SCAN_UNIQUE;
}

/// Whether the rows come in the order that is asked for: by the keys, then by the ORDER column.
bool serves_order(const Declaration& declaration, const Reach& reach, bool with_order, sqlite3_index_info* info,
                  bool& descending) {
    size_t slot = 0;
    descending = false;
    for (int i = 0; i < info->nOrderBy; ++i) {
        const int c = info->aOrderBy[i].iColumn;
        const bool desc = info->aOrderBy[i].desc != 0;
        if (c < 0 || static_cast<size_t>(c) >= declaration.columns.size()) return false;
        const Column& column = declaration.columns[static_cast<size_t>(c)];
        if (column.key && reach.one[column.slot]) continue;  // the same everywhere
        while (slot < declaration.keys.size() && reach.one[slot]) ++slot;
        if (column.key && column.slot == slot && !desc) {
            ++slot;
            continue;
        }
        if (!column.order || !with_order || slot != declaration.keys.size() || (desc && !reach.one_key())) return false;
        descending = desc;
        return i + 1 == info->nOrderBy;
    }
    return true;
}

/// Whether rows that agree in all the columns asked for are neighbours, which is enough for GROUP BY and DISTINCT.
bool serves_groups(const Declaration& declaration, const Reach& reach, bool with_order, sqlite3_index_info* info) {
    std::vector<bool> wanted(declaration.keys.size());
    bool order = false;
    for (int i = 0; i < info->nOrderBy; ++i) {
        const int c = info->aOrderBy[i].iColumn;
        if (c < 0 || static_cast<size_t>(c) >= declaration.columns.size()) return false;
        const Column& column = declaration.columns[static_cast<size_t>(c)];
        if (!column.key && !(column.order && with_order)) return false;
        if (column.key)
            wanted[column.slot] = true;
        else
            order = true;
    }
    bool all = true;
    for (size_t slot = 0; slot < wanted.size(); ++slot) {
        if (reach.one[slot]) continue;
        if (wanted[slot] && !all) return false;  // a key before it may change in between
        all = all && wanted[slot];
    }
    return all || !order;
}

bool names_keys_alone(const Declaration& declaration, uint64_t used) {
    Selection selection;
    selection.used = used;
    return selection.slots(declaration).empty();
}

void plan_order(const Declaration& declaration, const Store::Size& size, const Reach& reach, bool sequences,
                sqlite3_index_info* info, Plan& plan) {
    // SQLite's numbers: 0 for ORDER BY, 1 for GROUP BY, 2 for DISTINCT, 3 for DISTINCT with ORDER BY.
    const int distinct = sqlite3_vtab_distinct(info);
    bool descending = false;
    const bool groups = distinct == 1 || distinct == 2;
    if (!serves_order(declaration, reach, !sequences, info, descending) &&
        !(groups && serves_groups(declaration, reach, !sequences, info)))
        return;
    info->orderByConsumed = 1;
    if (descending) plan.add("d");
    if (distinct < 2 || sequences || !names_keys_alone(declaration, info->colUsed)) return;
    plan.add("1");
    info->estimatedRows = std::max<sqlite3_int64>(1, std::min<sqlite3_int64>(info->estimatedRows, size.keys));
    info->estimatedCost = static_cast<double>(info->estimatedRows) * 20;
}

void plan(const Declaration& declaration, const Store::Size& size, sqlite3_index_info* info, bool sequences) {
    Plan plan(info);
    Reach reach;
    reach.keys.resize(declaration.keys.size());
    reach.one.resize(declaration.keys.size());
    const auto n_columns = static_cast<int>(declaration.columns.size());
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto& constraint = info->aConstraint[i];
        const bool bound = sequences && constraint.iColumn >= n_columns;
        if (!constraint.usable) {
            // A bound that another table has yet to give: not this order of tables.
            if (bound && constraint.op == SQLITE_INDEX_CONSTRAINT_EQ) throw Failure{SQLITE_CONSTRAINT, {}};
            continue;
        }
        if (bound) {
            if (constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
            const bool first = constraint.iColumn == n_columns;
            (first ? reach.from : reach.to) = true;
            plan.take(i, first ? "[" : ")");
        } else if (constraint.iColumn < 0) {
            if (sequences || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ || reach.rowid) continue;
            reach.rowid = true;
            plan.take(i, "r");
        } else if (const Column& column = declaration.columns[static_cast<size_t>(constraint.iColumn)]; column.key) {
            take_key(column, size.utf8, info, i, plan, reach);
        } else if (column.order && !sequences) {
            take_order(info, i, plan, reach);
        }
    }
    estimate(declaration, size, reach, sequences ? 0.0 : 0.5, info);
    if (info->nOrderBy != 0 && !reach.rowid) plan_order(declaration, size, reach, sequences, info, plan);
    plan.finish();
}

/// A bound of the ORDER column as ranks.
class Bound {
 public:
    Bound(const Column& column, sqlite3_value* value) {
        if (column.type == QVO_TYPE_TIMESTAMP && sqlite3_value_type(value) == SQLITE_TEXT) {
            uint8_t element[256];
            set_element(value, column, element);
            rank_ = rank_at(column.type, element);
            return;
        }
        // As beside an ordinary column of numbers, text that is a number is one.
        switch (sqlite3_value_numeric_type(value)) {
            case SQLITE_NULL:
                null_ = true;
                return;
            case SQLITE_INTEGER:
                rank_ = sqlite3_value_int64(value);
                if (column.is_floating()) set_real(static_cast<double>(rank_), true);
                return;
            case SQLITE_FLOAT:
                set_real(sqlite3_value_double(value), column.is_floating());
                return;
            default:
                above_ = true;  // text and blobs are above all numbers
        }
    }
    void apply(char op, Range& range, bool& nothing) const {
        const bool lower = op == '>' || op == 'g' || op == '=', upper = op == '<' || op == 'l' || op == '=';
        if (null_ || (above_ && lower) || (below_ && upper) || (between_ && op == '=')) {
            nothing = true;
            return;
        }
        if (above_ || below_) return;
        // What lies between two ranks is above the one that is given.
        if (lower) {
            const bool strict = op == '>' || between_;
            if (strict && rank_ == highest_rank) nothing = true;
            range.first = std::max(range.first, rank_ + (strict && rank_ != highest_rank));
        }
        if (upper) {
            const bool strict = op == '<' && !between_;
            if (strict && rank_ == lowest_rank) nothing = true;
            range.last = std::min(range.last, rank_ - (strict && rank_ != lowest_rank));
        }
    }

 private:
    void set_real(double value, bool floating) {
        if (floating) {
            rank_ = rank_of(value);
            return;
        }
        if (value >= 0x1p63) {
            above_ = true;
        } else if (value < -0x1p63) {
            below_ = true;
        } else {
            rank_ = static_cast<int64_t>(std::floor(value));
            between_ = value != std::floor(value);
        }
    }
    int64_t rank_ = 0;
    bool null_ = false, above_ = false, below_ = false, between_ = false;
};

/// A value that a key can equal, added to those wanted.
void add_key_value(std::vector<Key>& wanted, const Column& column, sqlite3_value* value) {
    const int type = sqlite3_value_type(value);
    if (type == SQLITE_NULL || (column.is_text() && type == SQLITE_BLOB)) return;
    Key part;
    try {
        append_key(part, column, value);
    } catch (const Failure& failure) {
        // A value that the column cannot hold equals none of its own; what is no time is a mistake.
        if ((failure.code & 0xff) != SQLITE_CONSTRAINT || column.type == QVO_TYPE_TIMESTAMP) throw;
        return;
    }
    wanted.push_back(std::move(part));
}

void set_key(Selection& selection, const Column& column, sqlite3_value* value, bool set) {
    std::vector<Key> wanted;
    if (!set) {
        add_key_value(wanted, column, value);
    } else {
        sqlite3_value* one = nullptr;
        int rc = sqlite3_vtab_in_first(value, &one);
        for (; rc == SQLITE_OK; rc = sqlite3_vtab_in_next(value, &one)) add_key_value(wanted, column, one);
        if (rc == SQLITE_NOMEM) throw std::bad_alloc();
        if (rc != SQLITE_DONE) fail(rc, {});
        const auto before = [&](const Key& a, const Key& b) { return compare_values(column, a, b) < 0; };
        std::sort(wanted.begin(), wanted.end(), before);
        wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    }
    if (wanted.empty()) selection.nothing = true;
    selection.key_values[column.slot] = std::move(wanted);
}

}  // namespace

bool Selection::gives_keys() const {
    return std::all_of(key_values.begin(), key_values.end(), [](const auto& values) { return values.has_value(); });
}

Slots Selection::slots(const Declaration& declaration) const {
    Slots slots;
    for (size_t slot = 0; slot < declaration.packed.size(); ++slot)
        if (uses(declaration.packed[slot])) slots.push_back(slot);
    return slots;
}

void plan_rows(const Declaration& declaration, const Store::Size& size, sqlite3_index_info* info) {
    plan(declaration, size, info, false);
}
void plan_sequences(const Declaration& declaration, const Store::Size& size, sqlite3_index_info* info) {
    plan(declaration, size, info, true);
}

Selection selection_of(const Declaration& declaration, const char* plan, sqlite3_value** values) {
    Selection selection;
    selection.key_values.resize(declaration.keys.size());
    const char* at = plan + 1;
    selection.used = std::strtoull(at, nullptr, 16);
    for (at = std::strchr(at, ';'); at != nullptr; at = std::strchr(at, ';')) {
        const char op = *++at;
        if (op == 'd' || op == '1') {
            (op == 'd' ? selection.descending : selection.one_of_key) = true;
            continue;
        }
        sqlite3_value* const value = *values++;
        if (op == 'n') {
            selection.nothing = true;
        } else if (op == 'k' || op == 's') {
            set_key(selection, declaration.key_column(static_cast<size_t>(std::atoi(at + 1))), value, op == 's');
        } else if (op == 'r') {
            selection.rowid = sqlite3_value_int64(value);
            if (sqlite3_value_type(value) != SQLITE_INTEGER) selection.nothing = true;
        } else if (op == '[' || op == ')') {
            // NULL leaves a bound open, so that the other one can be given alone.
            if (sqlite3_value_type(value) != SQLITE_NULL)
                Bound(declaration.order_column(), value)
                    .apply(op == '[' ? 'g' : '<', selection.range, selection.nothing);
        } else {
            Bound(declaration.order_column(), value).apply(op, selection.range, selection.nothing);
        }
    }
    if (selection.range.empty()) selection.nothing = true;
    return selection;
}

bool Selection::matches(const Declaration& declaration, const Key& key) const {
    size_t at = 0;
    for (size_t slot = 0; slot < key_values.size(); ++slot) {
        const Column& column = declaration.key_column(slot);
        const std::string_view value = std::string_view(key).substr(at, size_of_value(column, key, at));
        const auto before = [&](std::string_view a, std::string_view b) { return compare_values(column, a, b) < 0; };
        if (key_values[slot] && !std::binary_search(key_values[slot]->begin(), key_values[slot]->end(), value, before))
            return false;
        at += value.size();
    }
    return true;
}

}  // namespace qvo::sqlite
