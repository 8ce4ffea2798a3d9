"""Aggregates. The references take whole columns, or rows where their order or a key of theirs matters."""

import json
import math

import numpy as np

from oracle import Approx, Fault, Oracle, as_type, comparable, doubles, is_number, meet, same_length
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
    minutes = np.arange(20_000.0)
    times, twice = 1.7e15 + 6e7 * minutes, 1e9 + 2 * minutes  # far from 0, and of several tiles
    rows = [(twice[:7000], times[:7000]), (twice[7000:], times[7000:])]
    exact = {"seq_slope(a, b)": 2 / 6e7, "seq_corr(a, b)": 1.0, "seq_var_pop(b)": 6e7**2 * (2e4**2 - 1) / 12}
    for call, value in exact.items():
        test.assertAlmostEqual(host.fold(call, rows) / value, 1, delta=1e-14, msg=call)
    test.assertAlmostEqual(
        host.fold("seq_sum(a)", [(np.array([1e8, 1e-8]),), (np.array([-1e8]),)]), 1e-8, delta=1e-12 * 2e8
    )
    test.assertEqual(
        host.fold("seq_sum(a)", [(np.array([2**63 - 1, 2**63 - 1]),), (np.array([-(2**63), -5]),)]), 2**63 - 7
    )
    mixed = [(np.array([1, 2], "i4"),), (np.array([0.5]),), (np.array([True]),)]
    test.assertEqual(
        [host.fold(f"seq_{n}(a)", mixed) for n in ("sum", "max", "min", "first", "last")], [4.5, 2.0, 0.5, 1.0, 1.0]
    )
    gaps = np.full(30_000, np.nan)  # whole tiles of nothing on both sides
    gaps[[9_000, 9_001, 12_345]] = 1.0, 2.0, 3.0
    test.assertEqual([host.fold(f"seq_{n}(a)", [(gaps,)]) for n in ("first", "last")], [1.0, 3.0])
    for name in ("sum", "max", "first", "join"):
        with test.assertRaisesRegex(Exception, f"^seq_{name}: argument 1: x must be"):
            host.fold(f"seq_{name}(a)", [(np.array([1]),), (np.array([b"a"]),)])
    for name in ("max", "last", "mode", "join"):
        with test.assertRaisesRegex(Exception, f"^seq_{name}: the value .*does not fit int8, .*cast"):
            host.fold(f"seq_{name}(a)", [(np.array([1]),), (np.array([2**64 - 1, 2**64 - 1], "u8"),)])


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
    for call, sentence in [
        ("'sum', a, a", "^seq_sum: wrong number of arguments: 2"),
        ("'sum', 5", "^seq_sum: argument 1: x must be"),
        ("'quantile', a, 7", "^seq_quantile: argument 2: q must be"),
        ("'cov', a, seq_range(0, 3)", "^seq_cov: sequences of different lengths: 2 and 3"),
    ]:
        with test.assertRaisesRegex(Exception, sentence):
            host.fold(f"seq_state({call})", [(x,)])
    for name in ("max", "min", "first", "last"):  # rows without values have a type
        of_rows = [(host.fold(f"seq_state('{name}', a)", [(x,)]),) for x in (np.array([math.nan]), np.array([7]))]
        for states in (of_rows, of_rows[::-1]):
            result = host.call("finish", host.fold("seq_merge(a)", states))
            test.assertEqual((result, type(result)), (7.0, float), name)
    kept = host.fold("seq_state('first', a, b)", [(np.array([5]), 9), (np.array([6]), 3)])
    later = host.fold("seq_state('first', a, b)", [(np.array([7]), 1)])
    test.assertEqual(host.call("finish", host.fold("seq_merge(a)", [(kept,), (later,)])), 7)


def _best(least):
    def reference(x):
        values = comparable(x)
        at = np.flatnonzero(~np.isnan(x)) if x.dtype.kind == "f" else np.arange(x.size)
        if not at.size:
            return None
        best = min(values[at]) if least else max(values[at])
        return int(at[np.flatnonzero(values[at] == best)[0]])

    return reference


def _prod(x):
    """With the exponent apart, so that no order of the factors overflows on the way."""
    x = doubles(_numeric(x))
    if not np.isfinite(x).all() or not x.size:
        return _or_missing(Approx(float(np.prod(x)))) if x.size else None
    product, exponent = 1.0, 0
    for v in x:
        product, more = math.frexp(product * math.frexp(v)[0])
        exponent += more + math.frexp(v)[1]
    try:
        return Approx(math.ldexp(product, exponent), 1e-9, 1e-300)
    except OverflowError:
        return Approx(math.copysign(math.inf, product))


def _histogram(x, lo, hi, n):
    if not lo < hi:
        raise Fault("argument 3")
    x = doubles(_numeric(x))
    inner = np.histogram(x[np.isfinite(x)], bins=n, range=(lo, hi))[0]
    return json.dumps([int((x < lo).sum()), *map(int, inner), int((x > hi).sum())], separators=(",", ":"))


def _pairs(y, x):
    same_length(y, x)
    y, x = doubles(y), doubles(x)
    both = ~(np.isnan(y) | np.isnan(x))
    return y[both].astype("longdouble"), x[both].astype("longdouble")


def _co_moments(give):
    """Of pairs: what give makes of the mean products of deviations, with what rounding may do to them."""

    def reference(y, x):
        y, x = _pairs(y, x)
        with np.errstate(all="ignore"):
            return give(y, x) if y.size > 1 else None

    return reference


def _moments(y, x):
    dy, dx = y - y.mean(), x - x.mean()
    eps = 64 * np.finfo("f8").eps
    rms = [np.sqrt(np.mean(v**2)) for v in (y, x)]
    sd = [np.sqrt(np.mean(v**2)) for v in (dy, dx)]
    return (dy * dx).mean(), sd, eps * (rms[0] * sd[1] + rms[1] * sd[0]), [bool((v == v[0]).all()) for v in (y, x)]


def _number(value, error):
    return Approx(float(value), 1e-9, float(error)) if np.isfinite(value) else None


def _cov(y, x):
    product, sd, error, constant = _moments(y, x)
    part = y.size / (y.size - 1)
    return _number(product * part, error * part)


def _corr(y, x):
    product, sd, error, constant = _moments(y, x)
    return None if any(constant) else _number(product / sd[0] / sd[1], error / sd[0] / sd[1] + 1e-12)


def _slope(y, x):
    product, sd, error, constant = _moments(y, x)
    return None if constant[1] else _number(product / sd[1] ** 2, 3 * error / sd[1] ** 2)


def _intercept(y, x):
    slope = _slope(y, x)
    if slope is None:
        return None
    error = slope.absolute * abs(x.mean()) + 1e-12 * (np.abs(y).mean() + abs(slope.value) * np.abs(x).mean())
    return _number(y.mean() - slope.value * x.mean(), error)


def _weighted_avg(x, w):
    x, w = _pairs(x, w)
    with np.errstate(all="ignore"):
        total = w.sum()
        return _number((x * w).sum() / total, 1e-12 * np.abs(x * w).sum() / abs(total)) if x.size and total else None


def _quantile(x, q):
    if not 0 <= q <= 1:
        raise Fault("argument 2")
    x = np.sort(doubles(_numeric(x)))
    if not x.size:
        return None
    place = q * (x.size - 1)
    below = math.floor(place)
    weight, low = place - below, x[below]
    if weight == 0 or x[below + 1] == low:
        return _or_missing(Approx(float(low)))
    with np.errstate(all="ignore"):
        value = np.longdouble(low) * (1 - weight) + np.longdouble(x[below + 1]) * weight
    return _or_missing(Approx(float(value), 1e-9, 1e-12 * float(np.nan_to_num(max(abs(low), abs(x[below + 1]))))))


def _different(x):
    x = present(x)
    return np.unique(comparable(x), return_counts=True)


def _mode(x):
    values, counts = _different(x)
    return scalar_of(np.array([values[np.argmax(counts)]], x.dtype)[0]) if values.size else None


def check_approximate(test, host):
    """Near the exact number; the same for equal values of any type; merged states as the whole."""
    rng = np.random.default_rng(9)
    for n in (0, 1, 10, 1000, 50_000):
        x = rng.integers(0, 2**31, n)
        exact = np.unique(x).size
        results = {host.call("approx_distinct", x.astype(kind)) for kind in ("i8", "u4", "f8", "u8")}
        test.assertEqual(len(results), 1, f"{n}: {results}")
        test.assertAlmostEqual(results.pop(), exact, delta=max(1, 0.05 * exact))
        states = [(host.fold("seq_state('approx_distinct', a)", [(part,)]),) for part in np.array_split(x, 3)]
        test.assertEqual(host.call("finish", host.fold("seq_merge(a)", states)), host.call("approx_distinct", x))
    test.assertEqual(host.fold("seq_approx_distinct(a)", [(np.array([b"ab"]),), (np.array([b"ab"], "S9"),)]), 1)
    test.assertEqual(host.call("approx_distinct", np.array([0.0, -0.0, np.nan])), 1)


BOUNDS = {
    "lo": lambda rng, case: [-5, 0, 0.5, -1e6][rng.integers(0, 4)],
    "hi": lambda rng, case: [10, 7.25, 1e6, -5][rng.integers(0, 4)],
    "n": lambda rng, case: int(rng.integers(1, 30)),
}
NEITHER = {
    "y": lambda rng, case: _tame(case),
    "x": lambda rng, case: _tame(case),
    "w": lambda rng, case: np.abs(_tame(case)),
}


def _tame(case):
    """Numbers whose products are finite."""
    kind = ["int4", "double", "float", "boolean", "uint2", "double"][case.rng.integers(0, 6)]
    shape, case.shape = case.shape, "few" if case.shape == "limits" else case.shape
    x = case.sequence(kind)
    case.shape = shape
    return x


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
    "state": Oracle(
        None,
        {"name": lambda *_: "sum", "x": lambda *_: np.arange(3.0)},
        checks=(check_states,),
        good=["sum", np.arange(3.0)],
    ),
    "merge": Oracle(None, good=lambda host: [_a_state(host)]),
    "finish": Oracle(None, good=lambda host: [_a_state(host)]),
    "prod": Oracle(_prod),
    "argmin": Oracle(_best(True)),
    "argmax": Oracle(_best(False)),
    "any": Oracle(lambda c: int(c.any()) if c.size else None),
    "all": Oracle(lambda c: int(c.all()) if c.size else None),
    "histogram": Oracle(_histogram, BOUNDS),
    "cov": Oracle(_co_moments(_cov), NEITHER),
    "corr": Oracle(_co_moments(_corr), NEITHER),
    "slope": Oracle(_co_moments(_slope), NEITHER),
    "intercept": Oracle(_co_moments(_intercept), NEITHER),
    "weighted_avg": Oracle(_weighted_avg, NEITHER),
    "median": Oracle(lambda x: _quantile(x, 0.5)),
    "quantile": Oracle(_quantile, {"q": lambda rng, case: [0, 1, 0.5, 0.25, 0.9, 1 / 3, 1.5][rng.integers(0, 7)]}),
    "mode": Oracle(_mode),
    "count_distinct": Oracle(lambda x: int(_different(x)[0].size)),
    "approx_distinct": Oracle(None, checks=(check_approximate,)),
}
