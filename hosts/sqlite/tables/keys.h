// The key of a series: the values of the KEY columns, as bytes that compare equal where the values do.
#pragma once

#include <sqlite3ext.h>

#include "tables/batch.h"
#include "tables/sql.h"

namespace qvo::sqlite {

/// Of an integer its 8 bytes; of text its length in 4 bytes and the text.
using Key = std::string;

/// Appends a value; throws a constraint failure if it does not fit the column.
void append_key(Key& key, const Column& column, sqlite3_value* value);
/// The key in consecutive columns of a row of a shadow table.
Key key_of(const Declaration& declaration, const Statement& row, int first);
/// Binds the values to consecutive parameters from `first` on; returns the parameter after them.
int bind_key(const Declaration& declaration, Statement& statement, int first, const Key& key);
/// Bytes of the value of a column that begins at a place in a key.
size_t size_of_value(const Column& column, const Key& key, size_t at);
/// Less than 0, 0 or more as values of a column come before one another, equal or after; text by its bytes.
int compare_values(const Column& column, std::string_view a, std::string_view b);
/// The value in a slot as a result.
void result_key(sqlite3_context* context, const Declaration& declaration, size_t slot, const Key& key);

}  // namespace qvo::sqlite
