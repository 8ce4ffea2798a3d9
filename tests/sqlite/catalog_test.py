"""Every function of the catalog, called through SQLite: its example, its answers beside an oracle's over all types,
lengths and shapes of data, aggregates over any cut into rows and any tree of states, and the sentences with which it
refuses.

usage: catalog_test.py EXTENSION LIBRARY TOOLS [SECTION]"""

import re
import sqlite3
import sys
import unittest

EXTENSION, LIBRARY, TOOLS = sys.argv[1:4]
sys.path.insert(0, TOOLS)
import catalog  # noqa: E402
from cases import bad_values, cases_of, cut, good, parameters_of, shown, wrong  # noqa: E402
from oracles import ORACLES, PENDING  # noqa: E402
from values import Host  # noqa: E402

CATALOG = catalog.read(LIBRARY)
FUNCTIONS = [f for f in CATALOG if len(sys.argv) < 5 or f.section == sys.argv[4]]


def answer(call, *arguments):
    try:
        return call(*arguments)
    except sqlite3.OperationalError as error:
        return error


class CatalogTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Host(EXTENSION, LIBRARY)

    def each(self, check, *kinds):
        for function in FUNCTIONS:
            if function.kind in kinds and function.name in ORACLES:
                with self.subTest(function.name):
                    check(function, ORACLES[function.name])

    def test_every_function_has_an_oracle(self):
        self.assertTrue(FUNCTIONS, "a section that there is not")
        self.assertEqual({f.name for f in CATALOG} ^ set(ORACLES), PENDING)

    def test_entries_are_complete(self):
        for f in FUNCTIONS:
            with self.subTest(f.name):
                self.assertTrue(f.summary and f.result and f.parameters and f.example, "something is empty")
                self.assertTrue(f.example_result, "the example has no result")
                self.assertTrue(f.summary.endswith("."), f.summary)
                self.assertEqual(bool(f.columns), f.kind == "table")
                for parameter in f.parameters:
                    low, high = parameter.lowest, parameter.highest
                    (
                        self.assertLess(low, high, f"{parameter.name} has no range")
                        if parameter.takes == "integer"
                        else None
                    )

    def test_examples(self):
        for f in FUNCTIONS:
            with self.subTest(f.example):
                self.assertEqual(self.example(f), f.example_result)

    def example(self, f):
        rows = self.host.db.execute(catalog.example_statement(f, CATALOG))
        return "\n".join("|".join("NULL" if v is None else str(v) for v in row) for row in rows)

    def test_scalars_equal_their_oracles(self):
        def check(function, oracle):
            for case, arguments in cases_of(function, oracle):
                result = answer(self.host.call, function.name, *arguments)
                fault = wrong(function, result, oracle.reference, *arguments)
                self.assertIsNone(fault, f"{case.shape}: {shown(arguments)}")

        self.each(lambda f, oracle: oracle.reference and check(f, oracle), "scalar")

    def test_checks_of_their_own(self):
        def check(function, oracle):
            for one in oracle.checks:
                with self.subTest(check=one.__name__):
                    one(self, self.host)

        self.each(check, "scalar", "aggregate", "table")

    def test_aggregates_equal_their_oracles_over_any_cut(self):
        def check(function, oracle):
            reference = oracle.of_rows()
            for case, arguments in cases_of(function, oracle):
                rows = cut(case, arguments)
                message = f"{case.shape}: {shown(arguments)} in rows of {[shown(row) for row in rows][:4]}"
                result = answer(self.host.fold, over_rows(function, len(arguments)), rows)
                self.assertIsNone(wrong(function, result, reference, rows), message)
                if function.has_state and not isinstance(result, Exception):
                    result = answer(self.merged, function, rows, case.rng)
                    self.assertIsNone(wrong(function, result, reference, rows), f"states: {message}")

        self.each(lambda f, oracle: oracle.reference and check(f, oracle), "aggregate")

    def merged(self, function, rows, rng):
        """The aggregate by way of states of neighbouring rows, merged in some tree."""
        call = f"seq_state('{function.name}', {','.join('abcdefghi'[: len(rows[0])])})"
        states = []
        at = 0
        while at < len(rows):
            n = int(rng.integers(1, 4))
            states.append(self.host.fold(call, rows[at : at + n]))
            at += n
        states = [s for s in states if s is not None]
        while len(states) > 1:
            i = int(rng.integers(0, len(states) - 1))
            n = int(rng.integers(2, 4))
            states[i : i + n] = [self.host.fold("seq_merge(a)", [(s,) for s in [*states[i : i + n], None]])]
        return self.host.call("finish", states[0])

    def test_no_rows(self):
        def check(function, oracle):
            arguments = good(function, oracle, self.host)
            nothing = 0 if function.name in ("count", "count_distinct", "approx_distinct") else None
            self.assertEqual(self.host.fold(over_rows(function, len(arguments)), []), nothing)
            if function.has_state:
                self.assertIsNone(self.host.fold(f"seq_state('{function.name}', a)", []))

        self.each(check, "aggregate")

    def test_null_arguments(self):
        def check(function, oracle):
            arguments = good(function, oracle, self.host)
            for i, parameter in enumerate(parameters_of(function)[: len(arguments)]):
                if parameter.takes != "anything" and (function.name, parameter.name) != ("asof", "tolerance"):
                    result = self.attempt(function, [*arguments[:i], None, *arguments[i + 1 :]])
                    nothing = [None, 0] if function.kind == "aggregate" else [[], None]
                    self.assertIn(result, nothing, parameter.name)

        self.each(check, "scalar", "aggregate", "table")

    def test_bad_arguments_are_refused_in_a_sentence(self):
        def check(function, oracle):
            arguments = good(function, oracle, self.host)
            self.assertNotIsInstance(self.attempt(function, arguments), Exception, shown(arguments))
            for i, parameter in enumerate(parameters_of(function)[: len(arguments)]):
                for bad in bad_values(parameter):
                    error = self.attempt(function, [*arguments[:i], bad, *arguments[i + 1 :]])
                    sentence = rf"^seq_{function.name}: argument {i + 1}: {parameter.name} must be .+(, got |: ).+"
                    self.assertIsInstance(error, Exception, f"{parameter.name}: {shown([bad])}")
                    self.assertRegex(str(error), re.compile(sentence, re.DOTALL), shown([bad]))
            for n in {function.fewest - 1, function.most + 1}:
                error = str(self.attempt(function, (arguments * 10)[:n]))
                self.assertRegex(
                    error,
                    rf"(number of|too many) arguments.*seq_{function.name}|seq_{function.name}: wrong",
                )

        self.each(check, "scalar", "aggregate", "table")

    def attempt(self, function, arguments):
        if function.kind == "table":
            return answer(self.host.rows, function.name, *arguments)
        return answer(self.host.call, function.name, *arguments)


def over_rows(function, n):
    return f"seq_{function.name}({','.join('abcdefghi'[:n])})"


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
