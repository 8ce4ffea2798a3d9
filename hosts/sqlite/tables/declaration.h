// What stands between the brackets of CREATE VIRTUAL TABLE … USING qvoseq(…), and the names that follow from it.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "qvovalue.h"

namespace qvo::sqlite {

struct Column {
    std::string name;
    qvo_type_t type{};
    unsigned width = 0;  // bytes of a value; of char 0: as wide as the values
    bool key = false, order = false;
    size_t slot = 0;  // among the keys, or among the packed columns

    bool is_text() const { return type == QVO_TYPE_CHAR; }
    bool is_floating() const { return type == QVO_TYPE_FLOAT || type == QVO_TYPE_DOUBLE; }
};

/// Columns are counted as declared; packed ones (all but keys) are stored with the ORDER column last, since whoever
/// asks for others need not pass over its bytes then.
struct Declaration {
    std::vector<Column> columns;
    std::vector<size_t> keys, packed;  // columns
    int order = -1;                    // the ORDER column
    size_t chunk_rows = 65'536;        // that wait for being packed

    /// Rows of a full chunk: few enough that looking up one of them reads few pages, and enough that the price of a
    /// call does not matter to the chunk's.
    size_t full_chunk() const { return std::min<size_t>(chunk_rows, 12'288); }
    bool has_order() const { return order >= 0; }
    const Column& order_column() const { return columns[static_cast<size_t>(order)]; }
    size_t order_slot() const { return order_column().slot; }
    const Column& packed_column(size_t slot) const { return columns[packed[slot]]; }
    const Column& key_column(size_t slot) const { return columns[keys[slot]]; }

    /// `name`, with as many underscores after it as make it none of the columns' names.
    std::string free_name(std::string_view name) const;
    /// For sqlite3_declare_vtab: of rows, or of sequences.
    std::string schema_of_rows() const;
    std::string schema_of_sequences() const;
};

/// Most chunk_rows, so that a rowid holds a position beside the chunk's number.
inline constexpr size_t max_chunk_rows = size_t{1} << 20;

/// The declaration in a module's arguments; throws a Failure that says what is wrong with it.
Declaration declaration_of(int n, const char* const* arguments);

}  // namespace qvo::sqlite
