// Reading the columns of one source, whose bytes anybody with access to the file may have changed.
#include <algorithm>
#include <cstring>

#include "tables/store.h"

namespace qvo::sqlite {

StoredRow::StoredRow(Store& store, const Source& source, const Slots& slots)
    : store_(&store), source_(source), slots_(slots) {
    auto& pool = store.readers_[{source.tail, slots}];
    if (!pool.empty()) {
        statement_ = std::move(pool.back());
        pool.pop_back();
    } else {
        const Declaration& declaration = store.declaration();
        const auto named = [&](const char* name) { return quoted(declaration.free_name(name)); };
        std::string sql = "SELECT ";
        for (const size_t slot : slots) sql += quoted(declaration.packed_column(slot).name) + ",";
        statement_ = Statement(store.db(), sql + named("number") + "," + (source.tail ? named("raw") : "0") + " FROM " +
                                               store.table_of(source.tail) + " WHERE " + named("id") + "=?");
    }
    statement_.bind(1, source.id);
    // Where what the reader has seen is rolled back, the number may be another row's.
    const int n = static_cast<int>(slots.size());
    if (!statement_.step() || static_cast<size_t>(statement_.integer(n)) != source.number ||
        (statement_.integer(n + 1) != 0) != source.raw)
        fail(SQLITE_ABORT, store.about(source, "the row is gone: the table was changed while it was read"));
}

StoredRow::~StoredRow() {
    if (!statement_) return;
    statement_.reset();
    try {
        store_->readers_[{source_.tail, slots_}].push_back(std::move(statement_));
    } catch (...) {}  // for want of memory it is not kept
}

StoredRow::StoredRow(StoredRow&&) noexcept = default;

int StoredRow::column_of(size_t slot) const {
    return static_cast<int>(std::lower_bound(slots_.begin(), slots_.end(), slot) - slots_.begin());
}

std::span<const uint8_t> StoredRow::bytes(size_t slot) const { return statement_.blob(column_of(slot)); }

sqlite3_value* StoredRow::value(size_t slot) const { return statement_.value(column_of(slot)); }

void StoredRow::read(size_t slot, size_t from, size_t to, Vector& values) const {
    const Column& column = store_->declaration().packed_column(slot);
    const std::span<const uint8_t> all = bytes(slot);
    unsigned width = width_of(column.type, column.width);
    if (source_.raw) {
        if (column.is_text()) width = static_cast<unsigned>(std::min<size_t>(all.size() / source_.number, 256));
        if (width == 0 || width > 255 || all.size() != source_.number * width)
            store_->damaged(source_, column.name + " has another size than its rows take");
        Vector part;
        part.width = width;
        part.bytes.assign(all.data() + from * width, all.data() + to * width);
        return values.append(part);
    }
    qvo_type_t type;
    uint64_t positions;
    qvo_error_t error;
    const auto check = [&](qvo_value_code_t code) {
        if (code == QVO_VALUE_ERROR) store_->damaged(source_, column.name + ": " + error.message);
        must(code, error, column.name);
    };
    check(qvo_stored_describe(all.data(), all.size(), &type, &width, &positions, &error));
    if (type != column.type || positions != source_.number)
        store_->damaged(source_, column.name + " holds another type or number of values than the table says");
    Vector part;
    Vector& target = values.width == 0 || values.width == width ? values : part;
    target.width = width;
    const size_t before = target.bytes.size();
    target.bytes.resize(before + (to - from) * width);
    check(qvo_stored_read(all.data(), all.size(), from, to - from, target.bytes.data() + before, &error));
    if (&target == &part) values.append(part);
}

size_t StoredRow::find(int64_t rank, bool above) const {
    const Declaration& declaration = store_->declaration();
    const size_t slot = declaration.order_slot();
    const qvo_type_t type = declaration.order_column().type;
    if (source_.raw) {
        Vector values;
        read(slot, 0, source_.number, values);
        size_t i = 0;
        while (i < source_.number &&
               (rank_at(type, values.at(i)) < rank || (above && rank_at(type, values.at(i)) == rank)))
            ++i;
        return i;
    }
    uint8_t element[8];
    put_rank(type, rank, element);
    // A rank that the type cannot hold stands between two values of it.
    if (const int64_t held = rank_at(type, element); held != rank) above = held < rank;
    uint64_t position = 0;
    qvo_error_t error;
    const std::span<const uint8_t> all = bytes(slot);
    const qvo_value_code_t code = qvo_stored_find(all.data(), all.size(), element, above, &position, &error);
    if (code == QVO_VALUE_ERROR) store_->damaged(source_, error.message);
    must(code, error, "find");
    return std::min<size_t>(position, source_.number);
}

}  // namespace qvo::sqlite
