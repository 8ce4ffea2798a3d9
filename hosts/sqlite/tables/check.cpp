// seq_check(table [, schema]): reads everything that a table of chunks keeps, and reports each fault in a row.
#include <algorithm>

#include "tables/module.h"
#include "tables/table.h"

namespace qvo::sqlite {
namespace {

struct Fault {
    bool tail;
    int64_t id;
    std::string what;
};

/// The faults of one table, source by source.
class Check {
 public:
    explicit Check(Store& store) : store_(store), slots_(all_slots(store.declaration())) {}

    std::vector<Fault> run() {
        for (const bool tail : {false, true}) {
            Statement ids(store_.db(), "SELECT " + quoted(store_.declaration().free_name("id")) + " FROM " +
                                           store_.shadow(tail ? "_tail" : "_chunks"));
            while (ids.step()) {
                const int64_t id = ids.integer(0);
                note(tail, id, [&] { source(tail, id); });
            }
        }
        for (const Source& chunk : overlapping())
            faults_.push_back({false, chunk.id, "begins before the chunk before it ends"});
        return std::move(faults_);
    }

 private:
    /// Notes what a look at a source throws; only what is wrong with the table, and not what stops the look.
    template <class F> void note(bool tail, int64_t id, F f) {
        try {
            f();
        } catch (const Failure& failure) {
            if ((failure.code & 0xff) != SQLITE_CORRUPT) throw;
            faults_.push_back({tail, id, failure.message});
        }
    }
    void fault(const Source& source, const std::string& what) { faults_.push_back({source.tail, source.id, what}); }

    void source(bool tail, int64_t id) {
        Source source;
        Key key;
        if (!store_.find(tail, id, source, key)) return;
        const StoredRow row(store_, source, slots_);
        for (const size_t slot : slots_) note(tail, id, [&] { column(source, row, slot); });
    }

    static bool is_valid(std::span<const uint8_t> sequence) {
        static const qvo_function_t* const valid = qvo_function_named("valid");
        qvo_datum_t argument{}, result{};
        argument.kind = QVO_DATUM_BYTES;
        argument.as.bytes = {sequence.data(), sequence.size()};
        qvo_error_t error;
        must(qvo_call(valid, &argument, 1, nullptr, &result, &error), error, "seq_check");
        return result.as.integer != 0;
    }

    void column(const Source& source, const StoredRow& row, size_t slot) {
        const Column& column = store_.declaration().packed_column(slot);
        const bool is_blob = sqlite3_value_type(row.value(slot)) == SQLITE_BLOB;
        if (!is_blob || (!source.raw && !is_valid(row.bytes(slot))))
            return fault(source, column.name + (source.raw ? ": not a blob" : ": not a sound sequence"));
        Batch batch(store_.declaration());
        row.read(slot, 0, source.number, batch.columns[slot]);
        if (source.raw && !is_valid(Packed(column.type, batch.columns[slot], source.number).bytes()))
            fault(source, column.name + ": values that the type does not have");
        if (!column.order) return;
        batch.set_size(source.number);
        const std::vector<int64_t> ranks = batch.ranks();
        if (!std::is_sorted(ranks.begin(), ranks.end())) fault(source, column.name + ": does not ascend");
        if (ranks.front() != source.first || ranks.back() != source.last)
            fault(source, column.name + ": first and last are others than the table says");
    }

    std::vector<Source> overlapping() {
        std::vector<Source> found;
        for (std::optional<Key> key = store_.next_key(nullptr); key; key = store_.next_key(&*key))
            note(false, 0, [&] {
                const std::vector<Source> chunks = store_.sources(false, *key, {});
                const bool ordered = store_.declaration().has_order();
                for (size_t i = 1; i < chunks.size(); ++i)
                    if (chunks[i].first < chunks[i - 1].last + !ordered) found.push_back(chunks[i]);
            });
        return found;
    }

    Store& store_;
    Slots slots_;
    std::vector<Fault> faults_;
};

struct Module : sqlite3_vtab {
    std::shared_ptr<Tables> tables;
};

struct Cursor : sqlite3_vtab_cursor {
    explicit Cursor(Module&) : sqlite3_vtab_cursor{} {}
    void next() { ++at; }
    bool at_end() const { return at >= faults.size(); }
    sqlite3_int64 row() const { return static_cast<sqlite3_int64>(at); }
    void column(sqlite3_context* context, size_t index) const {
        const Fault& fault = faults[at];
        const std::string in = table + (fault.tail ? "_tail" : "_chunks");
        if (index == 0) sqlite3_result_text(context, in.c_str(), -1, SQLITE_TRANSIENT);
        if (index == 1) sqlite3_result_int64(context, fault.id);
        if (index == 2) sqlite3_result_text(context, fault.what.c_str(), -1, SQLITE_TRANSIENT);
    }

    std::vector<Fault> faults;
    size_t at = 0;
    std::string table;
};
using CheckMethods = Methods<Module, Cursor>;

int connect(sqlite3* db, void* data, int, const char* const*, sqlite3_vtab** table, char** message) {
    return guarded(message, [&] {
        if (const int rc = sqlite3_declare_vtab(
                db, "CREATE TABLE x(\"table\" TEXT, id INTEGER, fault TEXT, name HIDDEN, schema HIDDEN)");
            rc != SQLITE_OK)
            fail_as(db, rc);
        sqlite3_vtab_config(db, SQLITE_VTAB_DIRECTONLY);
        auto* const made = new Module{};
        made->tables = *static_cast<std::shared_ptr<Tables>*>(data);
        *table = made;
    });
}

int best_index(sqlite3_vtab*, sqlite3_index_info* info) {
    constexpr int name = 3;
    int at[2] = {-1, -1};
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto& constraint = info->aConstraint[i];
        if (constraint.iColumn < name || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
        if (!constraint.usable) return SQLITE_CONSTRAINT;
        at[constraint.iColumn - name] = i;
    }
    for (int i = 0, n = 0; i < 2; ++i) {
        if (at[i] < 0) break;
        info->aConstraintUsage[at[i]].argvIndex = ++n;
        info->aConstraintUsage[at[i]].omit = 1;
    }
    info->estimatedCost = 1e6;
    return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor* cursor, int, const char*, int n, sqlite3_value** values) {
    return guarded(&cursor->pVtab->zErrMsg, [&] {
        if (n == 0) fail(SQLITE_ERROR, "seq_check: wrong number of arguments: 0");
        const Tables& tables = *static_cast<Module*>(cursor->pVtab)->tables;
        Table& table = tables.named("seq_check", values[0], n > 1 ? values[1] : nullptr);
        table.store.check_version();
        tables.flush(table.store);
        Cursor& c = CheckMethods::of(cursor);
        c.faults = Check(table.store).run();
        c.at = 0;
        c.table = table.store.name();
    });
}

sqlite3_module methods() {
    sqlite3_module m = CheckMethods::module();
    m.xConnect = connect;  // without xCreate: a function
    m.xBestIndex = best_index;
    m.xFilter = filter;
    return m;
}

}  // namespace

int register_check(sqlite3* db, const std::shared_ptr<Tables>& tables) {
    static const sqlite3_module check = methods();
    return sqlite3_create_module_v2(db, "seq_check", &check, new std::shared_ptr<Tables>(tables), forget_tables);
}

}  // namespace qvo::sqlite
