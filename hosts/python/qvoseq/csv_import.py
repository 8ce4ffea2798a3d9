"""CSV files into chunk rows of SQLite. The file is read once, as text, into a temporary table; types are those that
every cell of a column has. SQLite then sorts, and the extension packs."""

import csv
import datetime
import math
import os
import re
import sqlite3
from typing import Any, Callable, Iterator, Sequence as Many

from qvoseq.database import connect

_BATCH = 20_000  # rows
_WHOLE = re.compile(r"[+-]?[0-9]+")
_REAL = re.compile(r"[+-]?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][+-]?[0-9]+)?")
_TIME = re.compile(
    r"[0-9]{4}-[0-9]{2}-[0-9]{2}([T ][0-9]{2}:[0-9]{2}(:[0-5][0-9](\.[0-9]{1,6})?)?(Z|[+-][0-9]{2}:[0-9]{2})?)?"
)
_CASTS = {"int8": "CAST({} AS INTEGER)", "double": "CAST({} AS REAL)"}


def _instant(cell: str) -> datetime.datetime:
    return datetime.datetime.fromisoformat(cell[:16])  # the date, and hours and minutes


class _Column:
    """The narrowest type that all cells so far have; an empty cell is a missing value, which only double has."""

    TESTS: list[tuple[str, Callable]] = [("int8", int), ("double", float), ("timestamp", _instant)]

    def __init__(self) -> None:
        self.left = list(self.TESTS)
        self.seen = self.empty = False

    def see(self, cells: tuple) -> None:
        present = [cell for cell in cells if cell]
        self.empty |= len(present) < len(cells)
        self.seen |= bool(present)
        while self.left and not _all_are(self.left[0], present):
            self.left.pop(0)

    @property
    def type(self) -> str:
        name = self.left[0][0] if self.left else "char"
        if not self.seen or (name == "int8" and self.empty):
            return "double"
        return "char" if name == "timestamp" and self.empty else name


def _all_are(test: tuple[str, Callable], cells: list) -> bool:
    """Whether all cells are of a type in a form that SQLite and the extension read alike."""
    name, convert = test
    try:
        if name == "timestamp":
            return all(_TIME.fullmatch(cell) and convert(cell) for cell in cells)
        if name == "int8":
            return all(_WHOLE.fullmatch(cell) and -(2**63) <= convert(cell) < 2**63 for cell in cells)
        return all(_REAL.fullmatch(cell) and abs(convert(cell)) < math.inf for cell in cells)
    except ValueError:
        return False


def _quoted(name: str) -> str:
    return '"' + name.replace('"', '""') + '"'


def _rows(path: Any, progress: bool) -> Iterator[list]:
    """The rows of the file, with a bar of the bytes read where tqdm is installed."""
    bar = None
    if progress:
        try:
            from tqdm import tqdm

            bar = tqdm(total=os.path.getsize(path), unit="B", unit_scale=True, desc=os.path.basename(path))
        except ImportError:
            pass
    with open(path, "rb") as raw, bar or open(os.devnull):
        at = 0
        reader = csv.reader(line.decode("utf-8-sig" if raw.tell() == len(line) else "utf-8") for line in raw)
        for i, row in enumerate(reader):
            yield row
            if bar is not None and i % _BATCH == 0:
                bar.update(raw.tell() - at)
                at = raw.tell()
        if bar is not None:
            bar.update(raw.tell() - at)


def _stage(db: sqlite3.Connection, rows: Iterator[list]) -> dict[str, _Column]:
    """The file as text in the table temp.csv_import; the types of its columns."""
    names = next(rows, None)
    if not names or len(set(names)) < len(names):
        raise ValueError(f"the first line must name the columns, got {names}")
    columns = [_Column() for _ in names]
    db.execute("DROP TABLE IF EXISTS temp.csv_import")
    db.execute(f"CREATE TEMP TABLE csv_import ({', '.join(map(_quoted, names))})")
    insert = f"INSERT INTO temp.csv_import VALUES ({', '.join('?' * len(names))})"
    batch: list = []

    def flush() -> None:
        for column, cells in zip(columns, zip(*batch)):
            column.see(cells)
        db.executemany(insert, batch)
        batch.clear()

    for number, row in enumerate(rows, 2):
        if len(row) != len(names):
            raise ValueError(f"line {number} has {len(row)} cells, the first one {len(names)}")
        batch.append(row)
        if len(batch) == _BATCH:
            flush()
    flush()
    return dict(zip(names, columns))


def read_csv(
    path: Any,
    table: str,
    database: Any,
    key: "str | Many[str]" = (),
    order: "str | None" = None,
    types: "dict[str, str] | None" = None,
    chunk_rows: int = 65_536,
    progress: bool = True,
) -> dict[str, str]:
    """Makes `table` of a CSV file with a line of names: a row for each chunk of at most `chunk_rows` rows of one key,
    with the columns of the key as they are, `chunk` (a number from 0 within the key) and all others as sequences.

    key: names of columns; a chunk holds rows of one key. order: the column by which the rows of a key are sorted; else
    they stay as they are in the file. types: of columns that shall have another type than their cells suggest (int8,
    double, timestamp or char). database: a path, or a connection with the extension. Returns the types of the
    sequences.
    """
    keys = [key] if isinstance(key, str) else list(key)
    db = database if isinstance(database, sqlite3.Connection) else connect(database)
    try:
        with db:
            columns = _stage(db, _rows(path, progress))
            unknown = [name for name in [*keys, *filter(None, [order]), *(types or {})] if name not in columns]
            if unknown:
                raise ValueError(f"the file has no column {unknown[0]!r}; it has {', '.join(columns)}")
            found = {name: column.type for name, column in columns.items() if name not in keys} | (types or {})
            db.execute(_statement(table, keys, order, found, columns[order].type if order else "", chunk_rows))
            db.execute("DROP TABLE temp.csv_import")
        return found
    finally:
        if db is not database:
            db.close()


def _statement(table: str, keys: list, order: "str | None", types: dict, order_type: str, chunk_rows: int) -> str:
    place = "rowid" if order is None else _CASTS.get(order_type, "{}").format(_quoted(order))
    partition = f"PARTITION BY {', '.join(map(_quoted, keys))} " if keys else ""
    number = f"row_number() OVER ({partition}ORDER BY {place}, rowid) - 1"
    inner = f"SELECT *, {number} AS place FROM temp.csv_import"
    chunk = [*map(_quoted, keys), f"place / {int(chunk_rows)} AS chunk"]
    packed = [
        f"seq_pack({_cell(_quoted(name), kind)}, place, '{kind}') AS {_quoted(name)}" for name, kind in types.items()
    ]
    group = ", ".join(str(i + 1) for i in range(len(chunk)))
    return f"CREATE TABLE {_quoted(table)} AS SELECT {', '.join(chunk + packed)} FROM ({inner}) GROUP BY {group}"


def _cell(name: str, kind: str) -> str:
    if kind in ("char", "timestamp"):
        return name
    return f"CASE WHEN {name} <> '' THEN {_CASTS['int8' if 'int' in kind else 'double'].format(name)} END"
