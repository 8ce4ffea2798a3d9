// Table functions of the catalog as virtual tables without storage: `SELECT … FROM seq_rows(x, y)`. The arguments are
// hidden columns after those of the result, as SQLite wants it.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "host.h"

namespace qvo::sqlite {
namespace {

constexpr size_t most_arguments = 8;

struct Module {
    const qvo_function_t* function;
    qvo_function_info_t info;
    Connection* connection;
    unsigned n_columns = 0;  // of the result
    size_t n_arguments = 0;
    bool has_positions = false;  // the first column is a position, which conditions may restrict
};

struct Table : sqlite3_vtab {
    const Module* module;
};

struct FreeValue {
    void operator()(sqlite3_value* value) const { sqlite3_value_free(value); }
};
using OwnedValue = std::unique_ptr<sqlite3_value, FreeValue>;

struct Cursor : sqlite3_vtab_cursor {
    explicit Cursor(const Module& module) : sqlite3_vtab_cursor{}, limits(*module.connection) {}
    ~Cursor() { close(); }
    void close() {
        qvo_rows_free(rows);
        rows = nullptr;
    }
    CallLimits limits;
    OwnedValue arguments[most_arguments];  // as long as the rows are read
    qvo_rows_t* rows = nullptr;
    bool at_end = true;
    sqlite3_int64 row = 0;
};

int report(sqlite3_vtab* table, const qvo_error_t& error) {
    const int code = code_of(error);
    if (code == SQLITE_ERROR) {
        sqlite3_free(table->zErrMsg);
        table->zErrMsg = sqlite3_mprintf("%s", error.message);
    }
    return code;
}

int connect(sqlite3* db, void* data, int, const char* const*, sqlite3_vtab** table, char**) {
    const Module& module = *static_cast<const Module*>(data);
    std::unique_ptr<char, void (*)(void*)> schema(sqlite3_mprintf("CREATE TABLE x("), sqlite3_free);
    const auto add = [&](const char* name, int number, const char* what) {
        if (schema == nullptr) return;
        const bool first = schema.get()[std::strlen(schema.get()) - 1] == '(';
        char digits[12] = "";
        if (number != 0) sqlite3_snprintf(sizeof digits, digits, "%d", number);
        schema.reset(sqlite3_mprintf("%z%s\"%w%s\"%s", schema.release(), first ? "" : ",", name, digits, what));
    };
    char columns[256];
    sqlite3_snprintf(sizeof columns, columns, "%s", module.info.columns);
    for (char *at = columns, *end; *at != '\0'; at = end) {
        end = std::strchr(at, ' ');
        if (end != nullptr)
            *end++ = '\0';
        else
            end = at + std::strlen(at);
        add(at, 0, "");
    }
    for (size_t i = 0; i < module.n_arguments; ++i) {
        qvo_parameter_info_t parameter;
        const size_t described = std::min(i, module.info.n_parameters - 1);
        qvo_parameter_describe(module.function, described, &parameter);
        const bool repeated = module.n_arguments != module.info.n_parameters && i >= described;
        add(parameter.name, repeated ? static_cast<int>(i - (module.info.n_parameters - 1) + 1) : 0, " HIDDEN");
    }
    if (schema != nullptr) schema.reset(sqlite3_mprintf("%z)", schema.release()));
    if (schema == nullptr) return SQLITE_NOMEM;
    if (const int rc = sqlite3_declare_vtab(db, schema.get()); rc != SQLITE_OK) return rc;
    sqlite3_vtab_config(db, SQLITE_VTAB_INNOCUOUS);
    auto* const made = new (std::nothrow) Table{};
    if (made == nullptr) return SQLITE_NOMEM;
    made->module = &module;
    *table = made;
    return SQLITE_OK;
}

int disconnect(sqlite3_vtab* table) {
    delete static_cast<Table*>(table);
    return SQLITE_OK;
}

// What a plan passes to `filter`, in this order: arguments, then a lowest and a highest position. In idxNum: the number
// of arguments, and which of the two bounds there are and whether they are strict.
constexpr int argument_bits = 0xff, has_low = 0x100, low_is_strict = 0x200, has_high = 0x400, high_is_strict = 0x800,
              both_bounds = 0x1000;

int best_index(sqlite3_vtab* table, sqlite3_index_info* info) {
    const Module& module = *static_cast<Table*>(table)->module;
    int argument_at[most_arguments], low = -1, high = -1;
    std::fill(std::begin(argument_at), std::end(argument_at), -1);
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto& constraint = info->aConstraint[i];
        const bool equal = constraint.op == SQLITE_INDEX_CONSTRAINT_EQ;
        if (constraint.iColumn >= static_cast<int>(module.n_columns)) {
            if (!equal) continue;
            // An argument that another table has yet to give: not this order of tables.
            if (!constraint.usable) return SQLITE_CONSTRAINT;
            argument_at[constraint.iColumn - static_cast<int>(module.n_columns)] = i;
        } else if (constraint.iColumn == 0 && constraint.usable && module.has_positions) {
            const bool above =
                constraint.op == SQLITE_INDEX_CONSTRAINT_GE || constraint.op == SQLITE_INDEX_CONSTRAINT_GT;
            const bool below =
                constraint.op == SQLITE_INDEX_CONSTRAINT_LE || constraint.op == SQLITE_INDEX_CONSTRAINT_LT;
            if (equal || above) low = i;
            if (equal || below) high = i;
        }
    }
    int n = 0;
    while (n < static_cast<int>(module.n_arguments) && argument_at[n] >= 0) ++n;
    for (int i = n; i < static_cast<int>(module.n_arguments); ++i)
        if (argument_at[i] >= 0) return SQLITE_CONSTRAINT;  // a gap
    if (n < static_cast<int>(module.info.fewest)) {
        sqlite3_free(table->zErrMsg);
        table->zErrMsg = sqlite3_mprintf("%s%s: wrong number of arguments: %d", prefix, module.info.name, n);
        return SQLITE_ERROR;
    }
    for (int i = 0; i < n; ++i) {
        info->aConstraintUsage[argument_at[i]].argvIndex = i + 1;
        info->aConstraintUsage[argument_at[i]].omit = 1;
    }
    info->idxNum = n;
    // One constraint may be both bounds (=): then it is passed once.
    int next = n;
    if (low >= 0) {
        info->aConstraintUsage[low].argvIndex = ++next;
        info->idxNum |= has_low | (info->aConstraint[low].op == SQLITE_INDEX_CONSTRAINT_GT ? low_is_strict : 0);
    }
    if (high >= 0 && high != low) {
        info->aConstraintUsage[high].argvIndex = ++next;
        info->idxNum |= has_high | (info->aConstraint[high].op == SQLITE_INDEX_CONSTRAINT_LT ? high_is_strict : 0);
    }
    if (high >= 0 && high == low) info->idxNum |= both_bounds;
    const bool one = low >= 0 && low == high;
    info->estimatedRows = one ? 1 : low >= 0 || high >= 0 ? 1000 : 10000;
    info->estimatedCost = static_cast<double>(info->estimatedRows);
    if (one) info->idxFlags = SQLITE_INDEX_SCAN_UNIQUE;
    // Rows come in the order of their positions.
    if (module.has_positions && info->nOrderBy == 1 && info->aOrderBy[0].iColumn == 0 && !info->aOrderBy[0].desc)
        info->orderByConsumed = 1;
    return SQLITE_OK;
}

int open(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor) {
    auto* const made = new (std::nothrow) Cursor(*static_cast<Table*>(table)->module);
    if (made == nullptr) return SQLITE_NOMEM;
    *cursor = made;
    return SQLITE_OK;
}

int close(sqlite3_vtab_cursor* cursor) {
    delete static_cast<Cursor*>(cursor);
    return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* cursor) {
    Cursor& c = *static_cast<Cursor*>(cursor);
    qvo_error_t error;
    switch (qvo_rows_next(c.rows, &error)) {
        case QVO_VALUE_OK:
            ++c.row;
            return SQLITE_OK;
        case QVO_VALUE_END:
            c.at_end = true;
            return SQLITE_OK;
        default:
            return report(c.pVtab, error);
    }
}

/// Positions that conditions on them leave: SQLite checks the conditions again, so that what is no integer needs no care.
struct Bounds {
    uint64_t first = 0, last = UINT64_MAX;
    bool none = false;

    void at_least(sqlite3_value* value, bool strict) {
        if (sqlite3_value_type(value) != SQLITE_INTEGER) return;
        const sqlite3_int64 bound = sqlite3_value_int64(value);
        if (bound >= 0) first = static_cast<uint64_t>(bound) + strict;
    }
    void at_most(sqlite3_value* value, bool strict) {
        if (sqlite3_value_type(value) != SQLITE_INTEGER) return;
        const sqlite3_int64 bound = sqlite3_value_int64(value);
        none = bound < (strict ? 1 : 0);
        last = none ? 0 : static_cast<uint64_t>(bound) - strict;
    }
};

int filter(sqlite3_vtab_cursor* cursor, int index, const char*, int, sqlite3_value** values) {
    Cursor& c = *static_cast<Cursor*>(cursor);
    const Module& module = *static_cast<Table*>(c.pVtab)->module;
    c.close();
    c.at_end = true;
    c.row = 0;
    const auto n = static_cast<size_t>(index & argument_bits);
    qvo_datum_t arguments[most_arguments];
    for (size_t i = 0; i < n; ++i) {
        c.arguments[i].reset(sqlite3_value_dup(values[i]));
        if (c.arguments[i] == nullptr) return SQLITE_NOMEM;
        arguments[i] = datum_of(c.arguments[i].get());
    }
    Bounds bounds;
    size_t at = n;
    if ((index & has_low) != 0) {
        if ((index & both_bounds) != 0) bounds.at_most(values[at], false);
        bounds.at_least(values[at++], (index & low_is_strict) != 0);
    }
    if ((index & has_high) != 0) bounds.at_most(values[at], (index & high_is_strict) != 0);
    if (bounds.none || bounds.first > bounds.last) return SQLITE_OK;
    qvo_error_t error;
    if (qvo_rows_open(module.function, arguments, n, bounds.first, bounds.last, c.limits, &c.rows, &error) !=
        QVO_VALUE_OK)
        return report(c.pVtab, error);
    c.at_end = false;
    return next(cursor);
}

int eof(sqlite3_vtab_cursor* cursor) { return static_cast<Cursor*>(cursor)->at_end; }

int column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int index) {
    Cursor& c = *static_cast<Cursor*>(cursor);
    const unsigned n_columns = static_cast<Table*>(c.pVtab)->module->n_columns;
    const auto i = static_cast<unsigned>(index);
    if (i >= n_columns) {
        const auto& argument = c.arguments[i - n_columns];
        if (argument != nullptr) sqlite3_result_value(context, argument.get());
        return SQLITE_OK;
    }
    qvo_datum_t result{};
    qvo_error_t error;
    if (qvo_rows_column(c.rows, i, &result, &error) != QVO_VALUE_OK) return report(c.pVtab, error);
    set_result(context, result);
    return SQLITE_OK;
}

int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* row) {
    *row = static_cast<Cursor*>(cursor)->row;
    return SQLITE_OK;
}

sqlite3_module methods() {
    sqlite3_module m{};
    m.xConnect = connect;  // without xCreate: there is nothing to create
    m.xBestIndex = best_index;
    m.xDisconnect = disconnect;
    m.xOpen = open;
    m.xClose = close;
    m.xFilter = filter;
    m.xNext = next;
    m.xEof = eof;
    m.xColumn = column;
    m.xRowid = rowid;
    return m;
}

void forget(void* data) {
    auto* const module = static_cast<Module*>(data);
    module->connection->release();
    delete module;
}

}  // namespace

int register_table(sqlite3* db, const qvo_function_t* function, Connection* connection) {
    static const sqlite3_module table_methods = methods();
    auto* const module = new (std::nothrow) Module{};
    if (module == nullptr) return SQLITE_NOMEM;
    module->function = function;
    qvo_function_describe(function, &module->info);
    module->connection = connection;
    connection->retain();
    module->n_columns = 1;
    for (const char* at = module->info.columns; *at != '\0'; ++at) module->n_columns += *at == ' ';
    module->n_arguments = std::min(module->info.most, most_arguments);
    module->has_positions = std::strncmp(module->info.columns, "pos ", 4) == 0;
    char name[64];
    sqlite3_snprintf(sizeof name, name, "%s%s", prefix, module->info.name);
    return sqlite3_create_module_v2(db, name, &table_methods, module, forget);
}

}  // namespace qvo::sqlite
