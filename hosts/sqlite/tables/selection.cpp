#include "tables/selection.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "host.h"

namespace qvo::sqlite {
namespace {

// A plan as text: `c` and the used columns in hexadecimal, then what to do with each value that xFilter is given, in
// order: `k<slot>` key equals, `r` rowid equals, `n` nothing matches; of the ORDER column `=`, `>`, `g` (at least),
// `<`, `l` (at most); `[` and `)` are the bounds of chunk rows. `d` has no value: rows are wanted in descending
// order.
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
    std::vector<bool> keys;  // by slot: only one value
    bool order_equal = false, from = false, to = false, nothing = false, rowid = false;
    size_t n_keys() const {
        size_t n = 0;
        for (const bool key : keys) n += key;
        return n;
    }
};

bool is_equality(unsigned char op) { return op == SQLITE_INDEX_CONSTRAINT_EQ || op == SQLITE_INDEX_CONSTRAINT_IS; }

void take_key(const Column& column, sqlite3_index_info* info, int i, Plan& plan, Reach& reach) {
    const unsigned char op = info->aConstraint[i].op;
    if (op == SQLITE_INDEX_CONSTRAINT_ISNULL) {
        reach.nothing = true;
        return plan.take(i, "n");
    }
    if (!is_equality(op) || reach.keys[column.slot]) return;
    if (column.is_text() && sqlite3_stricmp(sqlite3_vtab_collation(info, i), "BINARY") != 0) return;
    reach.keys[column.slot] = true;
    plan.take(i, "k" + std::to_string(column.slot));
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

/// Costs in the unit of a plain table's row: a row that comes out costs about half of one, a source that is opened as
/// much as twenty.
void estimate(const Declaration& declaration, const Store::Size& size, const Reach& reach, double row_cost,
              sqlite3_index_info* info) {
    double rows = std::max(1.0, static_cast<double>(size.rows)),
           sources = std::max(1.0, static_cast<double>(size.sources));
    const size_t n_keys = declaration.keys.size();
    double keys = static_cast<double>(size.keys);
    if (n_keys != 0) {
        const double share = std::pow(1.0 / keys, static_cast<double>(reach.n_keys()) / static_cast<double>(n_keys));
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
        if (column.key && reach.keys[column.slot]) continue;  // the same everywhere
        while (slot < declaration.keys.size() && reach.keys[slot]) ++slot;
        if (column.key && column.slot == slot && !desc) {
            ++slot;
            continue;
        }
        const bool all_fixed = reach.n_keys() == declaration.keys.size();
        if (!column.order || !with_order || slot != declaration.keys.size() || (desc && !all_fixed)) return false;
        descending = desc;
        return i + 1 == info->nOrderBy;
    }
    return true;
}

void plan(const Declaration& declaration, const Store::Size& size, sqlite3_index_info* info, bool sequences) {
    Plan plan(info);
    Reach reach;
    reach.keys.resize(declaration.keys.size());
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
            take_key(column, info, i, plan, reach);
        } else if (column.order && !sequences) {
            take_order(info, i, plan, reach);
        }
    }
    estimate(declaration, size, reach, sequences ? 0.0 : 0.5, info);
    bool descending = false;
    if (info->nOrderBy != 0 && !reach.rowid && serves_order(declaration, reach, !sequences, info, descending)) {
        info->orderByConsumed = 1;
        if (descending) plan.add("d");
    }
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
        switch (sqlite3_value_type(value)) {
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

void set_key(Selection& selection, const Column& column, sqlite3_value* value) {
    const int type = sqlite3_value_type(value);
    Key part;
    if (type == SQLITE_NULL || (column.is_text() && type != SQLITE_TEXT)) {
        selection.nothing = true;
        return;
    }
    try {
        append_key(part, column, value);
    } catch (const Failure& failure) {
        // A value that the column cannot hold equals none of its own; what is no time is a mistake.
        if ((failure.code & 0xff) != SQLITE_CONSTRAINT || column.type == QVO_TYPE_TIMESTAMP) throw;
        selection.nothing = true;
        return;
    }
    selection.key_values[column.slot] = std::move(part);
}

}  // namespace

std::optional<Key> Selection::key() const {
    Key key;
    for (const auto& value : key_values) {
        if (!value) return {};
        key += *value;
    }
    return key;
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
        if (op == 'd') {
            selection.descending = true;
            continue;
        }
        sqlite3_value* const value = *values++;
        if (op == 'n') {
            selection.nothing = true;
        } else if (op == 'k') {
            set_key(selection, declaration.key_column(static_cast<size_t>(std::atoi(at + 1))), value);
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
        const size_t size = size_of_value(declaration.key_column(slot), key, at);
        if (key_values[slot] && std::string_view(key).substr(at, size) != *key_values[slot]) return false;
        at += size;
    }
    return true;
}

const Key* KeyWalk::next() {
    if (at_end_ || selection_->nothing) return nullptr;
    if (std::optional<Key> only = selection_->key()) {
        at_end_ = true;
        key_ = std::move(only);
        return &*key_;
    }
    do {
        key_ = store_->next_key(key_ ? &*key_ : nullptr);
        at_end_ = !key_;
    } while (!at_end_ && !selection_->matches(store_->declaration(), *key_));
    return at_end_ ? nullptr : &*key_;
}

}  // namespace qvo::sqlite
