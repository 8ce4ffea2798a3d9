"""Groups by key: what group and group_rows give, beside the aggregates' own oracles over the rows of each key."""
import numpy as np

from oracle import SHAPES, Case, Oracle, comparable, differs
from oracles.aggregates import ORACLES as AGGREGATES
from values import NUMBERS, TYPES, scalar_of

COLUMNS = "count sum avg min max first last var".split()


def _rows(k, x):
    """A row for each key that is present, in the order of the keys."""
    at = np.flatnonzero(~np.isnan(k)) if k.dtype.kind == "f" else np.arange(k.size)
    for key, code in zip(*_codes(k[at])):
        values = x[at[code]]
        of_rows = [AGGREGATES[name].of_rows()([(values,)]) for name in COLUMNS]
        yield [scalar_of(key), *of_rows]


def _codes(k):
    _, codes = np.unique(comparable(k), return_inverse=True)
    order = np.argsort(codes, kind="stable")
    parts = np.split(order, np.flatnonzero(np.diff(codes[order])) + 1) if k.size else []
    return [k[part[0]] for part in parts], parts


def _check(test, host, rng, keys, x, cuts):
    at = [0, *sorted(rng.integers(0, keys.size + 1, cuts)), keys.size]
    cut = [(keys[a:b], x[a:b]) for a, b in zip(at, at[1:])]
    states = [(host.fold("seq_state('group', a, b)", [row]),) for row in cut]
    for value in (host.fold("seq_group(a, b)", cut), host.call("finish", host.fold("seq_merge(a)", states))):
        rows, expected = host.rows("group_rows", value), list(_rows(keys, x))
        test.assertEqual(len(rows), len(expected), f"{keys.dtype} {keys.size}")
        for row, wanted in zip(rows, expected):
            for name, result, value_wanted in zip(["key", *COLUMNS], row, wanted):
                test.assertIsNone(differs(result, value_wanted), f"{name} of {row} over {keys.dtype}, {x.dtype}")


def check_groups(test, host):
    rng = np.random.default_rng(11)
    for i, kind in enumerate(TYPES * 3):
        n = [0, 1, 255, 820, 4097][i % 5]
        keys = Case(rng, n, list(SHAPES)[i % len(SHAPES)]).sequence(kind)
        x = Case(rng, n, ["few", "mean 3", "missing"][i % 3]).sequence(NUMBERS[i % len(NUMBERS)])
        _check(test, host, rng, keys, x, i % 4)
    with test.assertRaisesRegex(Exception, "^seq_group: .*lengths.*2.*3"):
        host.call("group", np.arange(2), np.arange(3))


def check_many_groups(test, host):
    """Few keys with many values and many with few, in no order; values far from 0, among them a constant's."""
    rng = np.random.default_rng(12)
    for n_keys in (40, 3000):
        numbers = rng.integers(0, n_keys, 12_000)
        for keys in (
            numbers * 0x123456789ABCDEF,
            np.where(numbers == 7, np.nan, numbers / 8),
            np.array([f"key {k}" for k in numbers], "S8"),
            np.array([f"longer key {k}" for k in numbers], "S15"),
        ):
            x = np.where(numbers == 5, 0.1, 1e6 + rng.normal(size=numbers.size))
            _check(test, host, rng, keys, x, 2)


def _a_group(host):
    return [host.fold("seq_group(a, b)", [(np.array([1, 2]), np.array([0.5, 1.5]))])]


ORACLES = {
    "group": Oracle(None, checks=(check_groups, check_many_groups), good=[np.array([1, 2]), np.array([0.5, 1.5])]),
    "group_rows": Oracle(None, good=_a_group),
}
