"""Aggregates. The references take whole columns, or rows where their order or a key of theirs matters."""
import math

import numpy as np

from oracle import Approx, Fault, Oracle, as_type, doubles, is_number, meet, same_length
from values import scalar_of
from oracles.make import KEYS, _key


def present(x):
    return x[~np.isnan(x)] if x.dtype.kind == "f" else x


def _total(x):
    """The exact sum of what is present, as Python has it."""
    if x.dtype.kind != "f":
        return sum(map(int, x))
    x = x.astype("f8")
    if not np.isfinite(x).all():
        with np.errstate(invalid="ignore"):
            return float(np.sum(x))
    try:
        return math.fsum(x)
    except OverflowError:
        return float(sum(map(int, x)) > 0 or -1) * math.inf


def _numeric(x):
    if not is_number(x):
        raise Fault("must be", "number")
    return present(x)


def _sum(x):
    x = _numeric(x)
    if not x.size:
        return None
    total = _total(x)
    if isinstance(total, int):
        if not -(2**63) <= total < 2**63:
            raise Fault("does not fit int8")
        return total
    return _or_missing(Approx(total, 1e-9, _absolute(x)))


def _absolute(x):
    with np.errstate(over="ignore"):
        return 1e-12 * float(np.sum(np.abs(x[np.isfinite(x)].astype("f8"))))


def _or_missing(approx):
    """NaN is NULL in a database."""
    return None if math.isnan(approx.value) else approx


def _avg(x):
    x = _numeric(x)
    if not x.size:
        return None
    if x.dtype.kind != "f":
        return Approx(_total(x) / x.size)
    with np.errstate(over="ignore"):
        return _or_missing(Approx(_total(x) / x.size, 1e-9, _absolute(x) / x.size))


def _extremum(choose):
    def reference(x):
        x = present(x)
        if not x.size:
            return None
        if x.dtype.kind == "S":
            return scalar_of(np.array(choose(list(x)), x.dtype))
        return scalar_of(getattr(np, choose.__name__)(x))

    return reference


def _at_end(last):
    def reference(rows):
        dtype = meet(*[row[0] for row in rows])
        if len(rows[0]) > 1:
            rows = sorted(rows, key=lambda row: _key(row[1]))
        x = present(np.concatenate([as_type(row[0], dtype) for row in rows]))
        return scalar_of(x[-1 if last else 0]) if x.size else None

    return reference


def variance(x, free):
    """The variance of doubles that are present, and how far another order of additions may be from it."""
    if x.size <= free:
        return None
    if (x == x[0]).all() and np.isfinite(x[0]):
        return Approx(0.0, 0.0, 0.0)
    wide = x.astype("longdouble")
    with np.errstate(all="ignore"):
        mean = wide.mean()
        value = ((wide - mean) ** 2).sum() / (x.size - free)
        floor = 64 * np.finfo("f8").eps * np.sqrt(np.mean(wide**2)) * np.sqrt(value)
        return None if not np.isfinite(float(value)) else Approx(float(value), 1e-9, float(floor))


def _spread(free, root):
    def reference(x):
        var = variance(doubles(_numeric(x)), free)
        if var is None or not root or var.value == 0:
            return var if var is not None else None
        return Approx(math.sqrt(var.value), 1e-9, var.absolute / math.sqrt(var.value))

    return reference


def check_well_known(test, host):
    """A constant is exactly constant however it is cut; neither offsets nor cancelling terms spoil the digits."""
    for rows in ([np.full(n, 0.1) for n in (1, 7, 900)], [np.full(3, 1e9 + 0.1)] * 5):
        for name in ("var", "stddev", "var_pop", "stddev_pop"):
            test.assertEqual(host.fold(f"seq_{name}(a)", [(x,) for x in rows]), 0.0)
    x = np.array([1e9 + v for v in (4.0, 7.0, 13.0, 16.0)] * 1000)
    test.assertAlmostEqual(host.fold("seq_var_pop(a)", [(x[:5],), (x[5:],)]), 22.5, delta=1e-6)
    test.assertAlmostEqual(host.fold("seq_sum(a)", [(np.array([1e8, 1e-8]),), (np.array([-1e8]),)]), 1e-8, delta=1e-12 * 2e8)
    test.assertEqual(host.fold("seq_sum(a)", [(np.array([2**63 - 1, 2**63 - 1]),), (np.array([-(2**63), -5]),)]), 2**63 - 7)
    mixed = [(np.array([1, 2], "i4"),), (np.array([0.5]),), (np.array([True]),)]
    test.assertEqual([host.fold(f"seq_{n}(a)", mixed) for n in ("sum", "max", "min", "first", "last")], [4.5, 2.0, 0.5, 1.0, 1.0])
    for name in ("sum", "max", "first", "join"):
        with test.assertRaisesRegex(Exception, f"^seq_{name}: argument 1: x must be"):
            host.fold(f"seq_{name}(a)", [(np.array([1]),), (np.array([b"a"]),)])


def _a_state(host):
    return host.fold("seq_state('max', a)", [(np.arange(3.0),)])


def check_states(test, host):
    """States say what they are of, and are of nothing else."""
    x = np.array([1.0, 2.0])
    sums, means = [host.fold(f"seq_state('{name}', a)", [(x,)]) for name in ("sum", "seq_avg")]
    with test.assertRaisesRegex(Exception, "^seq_merge: argument 1: state must be one of sum, .*got one of avg"):
        host.fold("seq_merge(a)", [(sums,), (means,)])
    for call, bad in [("finish", b"nothing"), ("finish", sums[:-1]), ("finish", sums + b"x"), ("finish", b"")]:
        with test.assertRaisesRegex(Exception, f"^seq_{call}: argument 1"):
            host.call(call, bad)
    for name in ("add", "pack", "nothing", "state", ""):
        with test.assertRaisesRegex(Exception, "^seq_state: argument 1: name must be"):
            host.fold(f"seq_state('{name}', a)", [(x,)])
    with test.assertRaisesRegex(Exception, "^seq_sum: wrong number|^seq_state: "):
        host.fold("seq_state('sum', a, a)", [(x,)])
    kept = host.fold("seq_state('first', a, b)", [(np.array([5]), 9), (np.array([6]), 3)])
    later = host.fold("seq_state('first', a, b)", [(np.array([7]), 1)])
    test.assertEqual(host.call("finish", host.fold("seq_merge(a)", [(kept,), (later,)])), 7)


ORACLES = {
    "count": Oracle(lambda x: int(present(x).size)),
    "sum": Oracle(_sum, checks=(check_well_known,)),
    "avg": Oracle(_avg),
    "min": Oracle(_extremum(min)),
    "max": Oracle(_extremum(max)),
    "first": Oracle(_at_end(False), {"key": lambda rng, case: KEYS[rng.integers(0, len(KEYS))]}, rows=True),
    "last": Oracle(_at_end(True), {"key": lambda rng, case: KEYS[rng.integers(0, len(KEYS))]}, rows=True),
    "var": Oracle(_spread(1, False)),
    "stddev": Oracle(_spread(1, True)),
    "var_pop": Oracle(_spread(0, False)),
    "stddev_pop": Oracle(_spread(0, True)),
    "state": Oracle(None, {"name": lambda *_: "sum", "x": lambda *_: np.arange(3.0)}, checks=(check_states,), good=["sum", np.arange(3.0)]),
    "merge": Oracle(None, good=lambda host: [_a_state(host)]),
    "finish": Oracle(None, good=lambda host: [_a_state(host)]),
}
