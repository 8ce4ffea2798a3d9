"""Every function of the catalog, called through PostgreSQL and through SQLite with the same arguments: results are the
same to the last bit, errors have the same sentence. (That SQLite's are those of NumPy and pandas, on these very cases,
is what tests/sqlite/catalog_test.py shows.)

usage: catalog_test.py EXTENSION LIBRARY     with PGHOST and PGUSER; EXTENSION is that of SQLite"""

import os
import sys
import unittest

import psycopg2

EXTENSION, LIBRARY = sys.argv[1:3]
import host  # noqa: E402

sys.argv[1:] = [EXTENSION, LIBRARY, os.path.join(host.ROOT, "tools")]
import catalog  # noqa: E402
import cases  # noqa: E402
import catalog_test  # noqa: E402
from oracles import ORACLES  # noqa: E402
from values import Host  # noqa: E402

EVERY = 7  # one of so many cases


def attempt(call, *arguments):
    try:
        return call(*arguments)
    except (psycopg2.Error, catalog_test.sqlite3.Error) as error:
        return error


def differs(result, expected):
    """How the answers of two hosts differ, or None."""
    if isinstance(expected, Exception):
        if not isinstance(result, psycopg2.Error):
            return f"{result!r} instead of the error {expected}"
        sentence = result.diag.message_primary
        return None if sentence == str(expected) else f"'{sentence}' instead of '{expected}'"
    if isinstance(result, Exception):
        return f"the error {result} instead of {expected!r}"
    return None if result == expected and repr(result) == repr(expected) else f"{result!r} instead of {expected!r}"


class CatalogTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.sqlite = Host(EXTENSION, LIBRARY)
        cls.sqlite.result = lambda value: value  # sequences as bytes
        cls.postgres = host.PostgresHost(LIBRARY)
        cls.postgres.run("CREATE EXTENSION IF NOT EXISTS qvoseq")

    def each(self, check, *kinds):
        done = 0
        for function in catalog_test.FUNCTIONS:
            if function.kind in kinds:
                with self.subTest(function.name):
                    check(function, ORACLES[function.name])
                    done += 1
        self.assertGreater(done, 0)

    def chosen(self, function, oracle):
        if oracle.reference is None:
            return
        for i, (case, arguments) in enumerate(cases.cases_of(function, oracle)):
            if i % EVERY == len(function.name) % EVERY:
                yield case, arguments

    def test_scalars(self):
        def check(function, oracle):
            for case, arguments in self.chosen(function, oracle):
                expected = attempt(self.sqlite.call, function.name, *arguments)
                expected = bool(expected) if function.summary.startswith("1 if ") else expected
                result = attempt(self.postgres.call, function.name, arguments, expected)
                self.assertIsNone(differs(result, expected), f"{case.shape}: {cases.shown(arguments)}")

        self.each(check, "scalar")

    def test_aggregates_and_their_states(self):
        def check(function, oracle):
            done = 0
            for case, arguments in self.chosen(function, oracle):
                rows = cases.cut(case, arguments)
                for name, given in [(function.name, rows), *self.state_of(function, rows)]:
                    call = f"seq_{name}({','.join('abcdefghi'[: len(given[0])])})"
                    expected = attempt(self.sqlite.fold, call, given)
                    if function.summary.startswith("1 if ") and isinstance(expected, int):
                        expected = bool(expected)
                    try:
                        result = attempt(self.postgres.fold, name, given, expected)
                    except host.Unlike:
                        continue
                    done += 1
                    message = f"{case.shape}: {cases.shown(arguments)} in {len(rows)} rows"
                    self.assertIsNone(differs(result, expected), message)
            self.assertTrue(done > 0 or oracle.reference is None)

        self.each(check, "aggregate")

    def state_of(self, function, rows):
        return [("state", [[function.name, *row] for row in rows])] if function.has_state else []

    def test_tables(self):
        def check(function, oracle):
            for i in range(40):
                case = cases.Case(cases.np.random.default_rng(i), i * 7 % 50, "few")
                arguments = [case.sequence(cases.TYPES[(i + j) % 13]) for j in range(1 + i % 8)]
                if function.name == "group_rows":
                    numbers = case.sequence(cases.NUMBERS[i % 11])
                    arguments = [self.sqlite.fold("seq_group(a, b)", [(arguments[0], numbers)])]
                expected = attempt(self.sqlite.rows, function.name, *arguments)
                like = [] if isinstance(expected, Exception) else [row[: function.most] for row in expected]
                if function.name == "rows":
                    like = [row[: len(arguments) + 1] for row in like]
                result = attempt(self.postgres.rows, function.name, arguments, like)
                wanted = expected if isinstance(expected, Exception) else like
                self.assertIsNone(differs(result, wanted), cases.shown(arguments))

        self.each(check, "table")

    def test_examples(self):
        for f in catalog_test.FUNCTIONS:
            statement = catalog.example_statement(f, catalog_test.CATALOG)
            if " FROM " not in statement:  # of tables, which have more than one result
                with self.subTest(f.example):
                    expected = self.sqlite.db.execute(statement).fetchone()[0]
                    outer = statement[len("SELECT seq_") : statement.index("(")]
                    name = self.postgres.name_for(outer, expected)
                    result = self.postgres.one(statement.replace(f"seq_{outer}", name, 1))
                    self.assertEqual(result, expected)

    def test_null_arguments(self):
        def check(function, oracle):
            arguments = cases.good(function, oracle, self.sqlite)
            for i, parameter in enumerate(cases.parameters_of(function)[: len(arguments)]):
                if parameter.takes != "anything":
                    given = [*arguments[:i], None, *arguments[i + 1 :]]
                    self.assertIn(attempt(self.postgres.call, function.name, given), [None, 0], parameter.name)

        self.each(check, "scalar", "aggregate")

    def test_bad_arguments_are_errors(self):
        def check(function, oracle):
            arguments = cases.good(function, oracle, self.sqlite)
            for i, parameter in enumerate(cases.parameters_of(function)[: len(arguments)]):
                for bad in cases.bad_values(parameter):
                    error = attempt(self.postgres.call, function.name, [*arguments[:i], bad, *arguments[i + 1 :]])
                    self.assertIsInstance(error, psycopg2.Error, f"{parameter.name}: {cases.shown([bad])}")
                    self.assertNotRegex(str(error), "internal error|XX000|server closed")

        self.each(check, "scalar", "aggregate")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
