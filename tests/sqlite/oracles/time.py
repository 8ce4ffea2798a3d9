"""Resampling and joins by time."""

import numpy as np

from oracle import Approx, Fault, Oracle, constant, is_number, is_time_like, same_length
from oracles.aggregates import _absolute, _total, present
from oracles.along import _ascending
from oracles.element_wise import UNITS, floor_time
from values import TIME

HOW = "sum mean min max count first last".split()


def _next_bucket(start, width):
    """The bucket after one: far enough ahead, then back to its start."""
    n, unit = width.split()
    unit = unit.rstrip("s")
    ahead = int(n) * {"month": 31, "year": 366}.get(unit, 0) * UNITS["day"] or int(n) * UNITS[unit]
    at = floor_time(np.array([start + np.timedelta64(ahead, "us")], TIME), width)[0]
    return at


def _buckets(t, width, fill):
    """Starts of buckets, and which rows are in each."""
    _ascending(t)
    floors = floor_time(t, width)
    starts = np.unique(floors)
    if fill != "none" and starts.size:
        at, every = starts[0], []
        while at <= starts[-1]:
            every.append(at)
            at = _next_bucket(at, width)
        starts = np.array(every, TIME)
    return starts, [slice(*np.searchsorted(floors, [s, s + np.timedelta64(1, "us")])) for s in starts]


def _resample_time(t, width, fill="none"):
    return _buckets(t, width, fill)[0]


def _resample(t, x, width, how, fill="none"):
    same_length(t, x)
    if how in ("sum", "mean") and not is_number(x):
        raise Fault("argument 2")
    starts, rows = _buckets(t, width, fill)
    values = [_value(present(x[r]), how) for r in rows]
    if how == "count":
        return np.array(values, "i8")
    floating = x.dtype.kind == "f"
    dtype = (
        np.dtype("f8") if how == "mean" or (how == "sum" and floating) else np.dtype("i8") if how == "sum" else x.dtype
    )
    empty = [v is None for v in values]
    if not floating and any(r.start == r.stop for r in rows):
        raise Fault("cast")
    if dtype.kind != "f":
        if how == "sum" and any(not -(2**63) <= v < 2**63 for v in values):
            raise Fault("does not fit int8")
        return np.array(values, dtype)
    numbers = np.array([np.nan if v is None else v for v in values], "f8")
    with np.errstate(all="ignore"):
        absolute = max([_absolute(x), *[0.0]]) if is_number(x) else 0.0
    if fill == "previous":
        for i in range(1, numbers.size):
            if empty[i]:
                numbers[i] = numbers[i - 1]
    if fill == "linear" and not all(empty):
        i, has = np.arange(numbers.size), ~np.array(empty)
        inside = ~has & (i > i[has][0]) & (i < i[has][-1])
        with np.errstate(all="ignore"):
            numbers[inside] = np.interp(i[inside], i[has], numbers[has])
    exact = how not in ("sum", "mean") and fill != "linear"
    relative = 0.0 if exact else 1e-9 if dtype == np.float64 else 1e-6
    return Approx(numbers.astype(dtype), relative, 1e-300 if exact else absolute)


def _value(x, how):
    if how == "count":
        return int(x.size)
    if not x.size:
        return None
    if how in ("sum", "mean"):
        return _total(x) if how == "sum" else _total(x) / x.size
    if x.dtype.kind == "S" and how in ("min", "max"):
        return min(list(x)) if how == "min" else max(list(x))
    return {"min": np.min, "max": np.max, "first": lambda v: v[0], "last": lambda v: v[-1]}[how](x)


def _asof(t, u, y, tolerance=None, direction="backward", filler=None):
    same_length(u, y)
    if is_time_like(t) != is_time_like(u):
        raise Fault("must be")
    t, u = _keys(t), _keys(u)
    for keys in (t, u):
        if keys.dtype.kind == "f" and np.isnan(keys).any():
            raise Fault()
        if (keys[1:] < keys[:-1]).any():
            raise Fault("ascend", f"position {int(np.argmax(keys[1:] < keys[:-1])) + 1}")
    if isinstance(tolerance, str):
        n, unit = tolerance.split()
        tolerance = int(n) * UNITS[unit.rstrip("s")]
    before = np.searchsorted(u, t, side="right") - 1
    after = np.searchsorted(u, t, side="left")
    chosen = []
    for at, b, a in zip(t, before, after):
        candidates = [(abs(at - u[k]), order, k) for order, k in ((0, b), (1, a)) if 0 <= k < u.size]
        wanted = {"backward": (0,), "forward": (1,), "nearest": (0, 1)}[direction]
        candidates = [c for c in candidates if c[1] in wanted and (tolerance is None or c[0] <= tolerance)]
        chosen.append(min(candidates)[2] if candidates else -1)
    chosen = np.array(chosen, int)
    if y.size == 0:
        y_of = np.zeros(chosen.size, y.dtype)
    else:
        y_of = y[np.maximum(chosen, 0)]
    if (chosen < 0).any() and filler is None:
        if y.dtype.kind != "f":
            raise Fault("cast", f"position {int(np.argmax(chosen < 0))}")
        filler = np.nan
    return np.where(chosen < 0, np.array(filler if filler is not None else 0).astype(y.dtype), y_of).astype(y.dtype)


def _keys(x):
    """Times and numbers as Python's own, which compare and subtract exactly."""
    x = x.astype("i8") if is_time_like(x) else x
    return x.astype("f8") if x.dtype.kind == "f" else x.astype(object)


def _key_maker(name):
    def maker(rng, case):
        other = case.given.get("t")
        if other is None or name == "u" and is_time_like(other):
            if (other is None and rng.random() < 0.6) or other is not None:
                return case.times(n=case.n if name == "t" else max(0, case.n + int(rng.integers(-3, 60))))
        kinds = ["int2", "int8", "uint4", "float", "double"]
        n = case.n if name == "t" else max(0, case.n + int(rng.integers(-3, 60)))
        steps = rng.integers(0, 4, n) * (0.5 if name == "t" else 1)
        from values import DTYPES

        return np.cumsum(steps).clip(0, 30_000).astype(DTYPES[kinds[rng.integers(0, 5)]])

    return maker


def _y(rng, case):
    kind = ["double", "float", "int4", "char", "timestamp", "double"][rng.integers(0, 6)]
    return case.sequence(kind, case.given["u"].size)


def _tolerance(rng, case):
    choices = [None, 0, 5_000_000, "5 seconds"] if is_time_like(case.given["t"]) else [None, 0, 2, 1.5]
    return choices[rng.integers(0, 4)]


def _filler(rng, case):
    kind = case.given["y"].dtype.kind
    return {"S": "ab", "M": "2026-01-01"}.get(kind, [0, 7][rng.integers(0, 2)])


def _align(t, u, y, v=None):
    filler = None if v is None else constant(v, is_time_like(y))
    return _asof(t, u, y, 0, "backward", filler)


WIDTHS = ["1 minute", "7 seconds", "1 hour", "1 day", "1 month", "1 week", "100 milliseconds"]
TIMES = {
    "t": lambda rng, case: case.times(int(rng.choice([1_000_000, 3_600_000_000]))),
    "width": lambda rng, case: _width(rng, case),
    "how": lambda rng, case: HOW[rng.integers(0, 7)],
    "fill": lambda rng, case: ["none", "null", "previous", "linear"][rng.integers(0, 4)],
}
JOIN = {
    "t": _key_maker("t"),
    "u": _key_maker("u"),
    "y": _y,
    "tolerance": _tolerance,
    "v": _filler,
    "direction": lambda rng, case: ["backward", "forward", "nearest"][rng.integers(0, 3)],
}


def _width(rng, case):
    """One that gives no more than some thousand buckets."""
    t = case.given["t"]
    span = int((t[-1] - t[0]).astype("i8")) if t.size else 0
    fitting = [
        w for w in WIDTHS if span / (int(w.split()[0]) * UNITS.get(w.split()[1].rstrip("s"), 27 * UNITS["day"])) < 3000
    ]
    return fitting[rng.integers(0, len(fitting))]


ORACLES = {
    "resample": Oracle(_resample, TIMES),
    "resample_time": Oracle(_resample_time, TIMES),
    "asof": Oracle(_asof, JOIN),
    "align": Oracle(_align, JOIN),
}
