"""Functions called through PostgreSQL, with NumPy arrays as sequences: the same calls as tests/sqlite/values.py makes.

SQL gives every result one type: where that depends on the sequence, what is expected says which name to call."""

import os
import sys

import numpy as np
import psycopg2

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path[:0] = [os.path.join(ROOT, "tests", "sqlite"), os.path.join(ROOT, "tools")]
import catalog  # noqa: E402
import postgres_script  # noqa: E402
from values import Library  # noqa: E402

SUFFIXES = {int: "_int", float: "", str: "_text", type(None): ""}
COLUMNS = {int: "bigint", float: "float8", str: "text", type(None): "float8"}


class Unlike(Exception):
    """SQL cannot say this at all: a column of values of different types."""


class PostgresHost:
    def __init__(self, library, **connection):
        self.library = Library(library)
        self.functions = {f.name: f for f in catalog.read(library)}
        self.db = psycopg2.connect(**{"dbname": "postgres", **connection})
        self.db.autocommit = True
        self.run("SET timezone = 'UTC'")

    def run(self, sql, arguments=()):
        with self.db.cursor() as cursor:
            cursor.execute(sql, arguments or None)
            return cursor.fetchall() if cursor.description else None

    def one(self, sql, arguments=()):
        return self.run(sql, arguments)[0][0]

    def mark(self, value):
        """How SQL writes a value of Python, and the parameter for it."""
        if isinstance(value, np.ndarray):
            return "%s::bytea::qvoseq", self.library.store(value)
        if isinstance(value, bytes):
            return "%s::bytea::qvoseq_state", value
        kinds = {float: "%s::float8", int: "(%s)::bigint", str: "%s::text"}
        return kinds.get(type(value), "%s"), value

    def name_for(self, function, expected):
        """The name whose result has the type of what is expected."""
        suffixes = postgres_script.results(self.functions[function])
        suffix = SUFFIXES.get(type(expected), "")
        if suffix == "" and type(expected) is bytes:
            return f"seq_{function}"
        return f"seq_{function}{suffix if suffix in suffixes else ''}"

    def result(self, value):
        return bytes(value) if isinstance(value, memoryview) else value

    def select(self, call, function):
        """A call, with what is sequence or state in its result as bytes."""
        kind = next(iter(postgres_script.results(self.functions[function]).values()))
        return f"SELECT ({call})::bytea" if kind.startswith("qvoseq") else f"SELECT {call}"

    def call(self, function, arguments, expected=None):
        marked = [self.mark(a) for a in arguments]
        call = f"{self.name_for(function, expected)}({', '.join(m for m, _ in marked)})"
        return self.result(self.one(self.select(call, function), [a for _, a in marked]))

    def fold(self, function, rows, expected=None, arguments=None):
        """An aggregate over rows of arguments, named a, b, …, in their order."""
        names = ", ".join("abcdefghi"[: len(rows[0])])
        marked = [[self.mark(a) for a in row] for row in rows]
        for column in zip(*rows):
            kinds = {type(a) for a in column if a is not None}
            if len(kinds) > 1 and kinds != {int, float}:
                raise Unlike
        values = ", ".join(f"({', '.join(m for m, _ in row)})" for row in marked)
        call = f"{self.name_for(function, expected)}({arguments or names})"
        sql = f"{self.select(call, function)} FROM (VALUES {values}) AS t({names})"
        return self.result(self.one(sql, [a for row in marked for _, a in row]))

    def rows(self, function, arguments, like):
        """The rows of a table, in columns of the types that another host's rows have."""
        marked = [self.mark(a) for a in arguments]
        of = [next((c for c in column if c is not None), None) for column in zip(*like)]
        kinds = [COLUMNS[type(value)] for value in of] or ["bigint"]
        columns = ", ".join(f"c{i} {kind}" for i, kind in enumerate(kinds))
        sql = f"SELECT * FROM seq_{function}_as({', '.join(m for m, _ in marked)}) AS r({columns})"
        return self.run(sql, [a for _, a in marked])
