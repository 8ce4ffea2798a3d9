"""Every function of the catalog, called through SQLite: its example, its answers beside an oracle's over all types,
lengths and shapes of data, aggregates over any cut into rows and any tree of states, and the sentences with which it
refuses.

usage: catalog_test.py EXTENSION LIBRARY TOOLS [SECTION]"""

import re
import sqlite3
import sys
import unittest

import numpy as np

EXTENSION, LIBRARY, TOOLS = sys.argv[1:4]
sys.path.insert(0, TOOLS)
import catalog  # noqa: E402
from oracle import LENGTHS, SHAPES, Case, Fault, differs  # noqa: E402
from oracles import ORACLES, PENDING  # noqa: E402
from values import NUMBERS, INTEGERS, TYPES, Host  # noqa: E402

CATALOG = catalog.read(LIBRARY)
FUNCTIONS = [f for f in CATALOG if len(sys.argv) < 5 or f.section == sys.argv[4]]
ACCEPTED = {
    "": TYPES,
    "number": NUMBERS,
    "number or timestamp": [*NUMBERS, "timestamp"],
    "float or double": ["float", "double"],
    "integer": INTEGERS,
    "boolean": ["boolean"],
    "timestamp": ["timestamp"],
    "char": ["char"],
}
SCALARS = [2, -3, 0, 1, 2.5, -1, 0.0, 2**63 - 1, -(2**63), 1e300, "b%", "1970-02-01", "2026-01-31T12:00:00.5"]


def parameters_of(function):
    """One for each argument: the last one may repeat."""
    last = function.parameters[-1]
    return function.parameters + [last._replace(optional=True)] * (function.most - len(function.parameters))


def default(parameter, case, index):
    """An argument as the entry describes it."""
    rng, kinds = case.rng, ACCEPTED[parameter.of]
    if parameter.takes == "operand" and rng.random() < 0.25:
        return SCALARS[rng.integers(0, len(SCALARS))] if parameter.of != "boolean" else int(rng.integers(0, 2))
    if parameter.takes in ("sequence", "operand"):
        first = next(iter(case.given.values()), None)
        kind = kinds[index % len(kinds)] if first is None or rng.random() < 0.6 else rng.choice(kinds)
        longer = first is not None and rng.random() < 0.03
        return case.sequence(kind, case.n + 1 if longer else case.n)
    if parameter.takes == "integer":
        low, high = max(parameter.lowest, -5), min(parameter.highest, 12)
        return int(rng.integers(low, high + 1))
    if parameter.takes in ("real", "scalar"):
        return float(np.round(rng.normal(), 2)) if rng.random() < 0.5 else int(rng.integers(-9, 10))
    raise AssertionError(f"the oracle has to make {parameter.name}")


def arguments_of(function, oracle, case, index, optional=0.5):
    for parameter in parameters_of(function):
        if parameter.optional and case.rng.random() >= optional:
            break
        maker = oracle.makers.get(parameter.name)
        name = parameter.name if parameter.name not in case.given else f"{parameter.name}{len(case.given)}"
        case.given[name] = maker(case.rng, case) if maker else default(parameter, case, index)
    return list(case.given.values())


def cases_of(function, oracle, seed=0):
    """Cases in which every pair of a length, a shape and a type comes up, and some larger ones."""
    rng = np.random.default_rng([seed, *function.name.encode()])
    shapes = list(SHAPES)
    for i in range(len(LENGTHS) * len(TYPES) + 20):
        n = LENGTHS[i % len(LENGTHS)] if i < len(LENGTHS) * len(TYPES) else int(rng.integers(2, 9000))
        case = Case(rng, n, shapes[i % len(shapes)])
        yield case, arguments_of(function, oracle, case, i)
    case = Case(rng, 70_000, "mean 3")
    yield case, arguments_of(function, oracle, case, 10)


def answer(call, *arguments):
    try:
        return call(*arguments)
    except sqlite3.OperationalError as error:
        return error


def wrong(function, result, reference, *arguments):
    """What is wrong with a result, or None."""
    try:
        expected = reference(*arguments)
    except Fault as fault:
        if not isinstance(result, Exception):
            return f"{result!r} instead of an error with {fault.args}"
        text = str(result)
        named = text.startswith(f"seq_{function.name}: ")
        # Types are looked at before lengths, by those functions that do not mind which.
        said = all(word in text for word in fault.args) or ("lengths" in fault.args and " must be " in text)
        return None if named and said else f"'{text}' has not all of {fault.args}"
    if isinstance(result, Exception):
        return f"error: {result}"
    return differs(result, expected)


def shown(arguments):
    return ", ".join(f"{a.dtype} of {a.size} {a[:6]}" if isinstance(a, np.ndarray) else repr(a) for a in arguments)


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


def good(function, oracle, host):
    """Arguments that the function takes, with all that are optional."""
    rng = np.random.default_rng(1)
    if oracle.good is not None:
        return oracle.good(host) if callable(oracle.good) else oracle.good
    for index in range(200):
        case = Case(rng, 6, "few")
        arguments = arguments_of(function, oracle, case, 9 + index, optional=1.0)
        try:
            if oracle.reference is not None:
                oracle.of_rows()([arguments]) if function.kind == "aggregate" else oracle.reference(*arguments)
            return arguments
        except Fault:
            continue
    raise AssertionError("no good arguments")


def bad_values(parameter):
    sequence, junk = np.array([1.5, 2.5]), b"not a sequence"
    refused = [np.zeros(2, kind) for kind in ("?", "i4", "f8", "M8[us]", "S3")]
    names = ["boolean", "int4", "double", "timestamp", "char"]
    other = [a for a, name in zip(refused, names) if name not in ACCEPTED[parameter.of]]
    return {
        "sequence": [5, 1.5, "text", junk, *other],
        "operand": [junk, *other],
        "scalar": [sequence, junk],
        "integer": [1.5, "text", sequence]
        + [n for n in (parameter.lowest - 1, parameter.highest + 1) if -(2**63) <= n < 2**63],
        "real": ["text", sequence],
        "text": [5, 1.5, sequence],
        "bytes": [5, "text"],
        "anything": [],
    }[parameter.takes]


def cut(case, arguments):
    """Rows that together hold the arguments: some of no elements, some NULL in between, numbers of other types."""
    sequences = [a for a in arguments if isinstance(a, np.ndarray)]
    n = min((a.size for a in sequences), default=0)
    if case.rng.random() < 0.3 or any(a.size != n for a in sequences):
        return [arguments]
    at = [0, *sorted(case.rng.integers(0, n + 1, int(case.rng.integers(0, 6)))), n]
    rows = [[a[i:j] if isinstance(a, np.ndarray) else a for a in arguments] for i, j in zip(at, at[1:])]
    return rows


def over_rows(function, n):
    return f"seq_{function.name}({','.join('abcdefghi'[:n])})"


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
