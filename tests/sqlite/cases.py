"""The calls that a function of the catalog is tried with, whatever host they are made in: arguments made as its entry
describes them, rows that they are cut into, values that it has to refuse; and what is wrong with a result."""

import numpy as np

from oracle import LENGTHS, SHAPES, Case, Fault, differs
from values import INTEGERS, NUMBERS, TYPES

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
    return function.parameters + function.parameters[-1:] * (function.most - len(function.parameters))


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
    for i, parameter in enumerate(parameters_of(function)):
        if i >= function.fewest and case.rng.random() >= optional:
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
