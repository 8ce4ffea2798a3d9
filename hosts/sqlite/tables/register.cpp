// Registers all that has to do with tables of chunks.
#include "tables/table.h"

namespace qvo::sqlite {

int register_tables(sqlite3* db) {
    return guarded(nullptr, [&] {
        const auto tables = std::make_shared<Tables>(Tables{db, {}});
        for (const auto& each : {register_rows, register_sequences})
            if (const int rc = each(db, tables); rc != SQLITE_OK) fail(rc, {});
    });
}

}  // namespace qvo::sqlite
