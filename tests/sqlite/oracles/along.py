"""Functions along the sequence, as pandas has them, but that every window counts by itself, without what
others left."""

import warnings

import numpy as np
import pandas as pd

from oracle import Approx, Fault, Oracle, as_type, constant, doubles, is_number, is_time_like, same_length
from oracles.element_wise import UNITS, _fits

NAN = float("nan")
warnings.simplefilter("ignore", RuntimeWarning)  # of windows without values


def _before(x, n):
    """The positions that have one n before them, and the value there."""
    i = np.arange(x.size)
    at = [k for k in i if 0 <= k - n < x.size] if abs(n) >= 2**31 else i[(i - n >= 0) & (i - n < x.size)]
    return at, x[[k - n for k in at]] if len(at) else x[:0]


def _diff(x, n=1):
    if is_time_like(x):
        x = x.astype("i8")
    at, before = _before(x, n)
    out = np.full(x.size, NAN)
    if len(at):
        now = x[at]
        exact = [float(int(a) - int(b)) for a, b in zip(now, before)] if x.dtype.kind != "f" else None
        with np.errstate(all="ignore"):
            out[at] = exact if exact is not None else now.astype("f8") - before.astype("f8")
    return out


def _pct_change(x, n=1):
    x = doubles(x)
    at, before = _before(x, n)
    out = np.full(x.size, NAN)
    with np.errstate(all="ignore"):
        if len(at):
            out[at] = x[at] / before - 1
    return out


def _shift(x, n, v=None):
    if v is None and not is_number(x):
        raise Fault("must be", "fill")
    if v is None:
        out = np.full(x.size, NAN)
        x = x.astype("f8")
    else:
        if x.dtype.kind != "f" and not _fits(v, x.dtype) or x.dtype.kind == "f" and isinstance(v, str):
            raise Fault("does not fit")
        filler = constant(v, is_time_like(x))
        if x.dtype == np.float32 and np.isinf(np.float32(filler)):
            raise Fault("does not fit float")
        out = np.full(
            x.size, filler.astype(x.dtype) if not is_time_like(x) else np.datetime64(int(filler.astype("i8")), "us")
        )
    at, before = _before(x, n)
    if len(at):
        out[at] = before
    return out


def _cumsum(x):
    if x.dtype.kind == "f":
        x = x.astype("f8")
        with np.errstate(all="ignore"):
            absolute = 1e-12 * np.cumsum(np.where(np.isfinite(x), np.abs(x), 0))
            return Approx(pd.Series(x).cumsum().to_numpy(), 1e-9, np.where(np.isfinite(absolute), absolute, 0))
    x = as_type(x, np.dtype("i8"))
    sums = np.cumsum(x.astype(object))
    for i, s in enumerate(sums):
        if not -(2**63) <= s < 2**63:
            raise Fault("does not fit int8", f"position {i}")
    return sums.astype("i8")


def _cumprod(x):
    with np.errstate(all="ignore"):
        return Approx(pd.Series(doubles(x)).cumprod().to_numpy(), 1e-9)


def _cumulative(function):
    def reference(x):
        if x.dtype.kind != "f":
            return function.accumulate(x) if x.size else x
        filled = np.where(np.isnan(x), -np.inf if function is np.maximum else np.inf, x).astype(x.dtype)
        best = np.where(np.isnan(x), x, function.accumulate(filled) if x.size else x).astype(x.dtype)
        return Approx(best, 0.0, 1e-300)  # either zero

    return reference


def _fill(forward):
    def reference(x, limit=None):
        if x.dtype.kind != "f":
            return x
        series = pd.Series(x)
        return (series.ffill(limit=limit) if forward else series.bfill(limit=limit)).to_numpy()

    return reference


def _interpolate(x):
    x = doubles(x)
    i, present = np.arange(x.size), ~np.isnan(x)
    if not present.any():
        return x
    out = x.copy()
    before = np.maximum.accumulate(np.where(present, i, -1))
    after = np.minimum.accumulate(np.where(present, i, x.size)[::-1])[::-1]
    gaps = ~present & (before >= 0) & (after < x.size)
    a, b = before[gaps], after[gaps]
    with np.errstate(all="ignore"):
        lo, hi, part = x[a].astype("longdouble"), x[b].astype("longdouble"), (i[gaps] - a) / (b - a)
        out[gaps] = lo * (1 - part) + hi * part
        size = np.zeros(x.size)
        size[gaps] = np.nan_to_num(np.abs(lo) + np.abs(hi), posinf=0)
        return Approx(out, 1e-9, 1e-12 * size + 1e-300)


# ---- Windows -------------------------------------------------------------------------------------------------------


def _windows(x, first):
    """A row for each position: the values of its window, missing where it is shorter than others."""
    i = np.arange(x.size)
    width = int((i - first).max()) + 1 if x.size else 1
    at = i[:, None] - np.arange(width)[None, :]
    return np.where(at >= first[:, None], x[np.maximum(at, 0)], NAN)


def _statistic(how, x, first, least):
    x = doubles(x)
    if how == "count":
        rows = np.arange(x.size) - first + 1
        values = (~np.isnan(_windows(x, first))).sum(1) if x.size else np.zeros(0)
        return np.where(rows >= least, values.astype("f8"), NAN)
    windows = _windows(np.where(np.isfinite(x), x, NAN), first).astype("longdouble")
    if not x.size:
        return np.zeros(0)
    n = (~np.isnan(windows)).sum(1)
    with np.errstate(all="ignore"):
        zeros = np.nan_to_num(windows)
        magnitude, mean = np.abs(zeros).sum(1), zeros.sum(1) / n
        high, low = np.fmax.reduce(windows, 1), np.fmin.reduce(windows, 1)
        var = ((zeros - mean[:, None]) ** 2 * ~np.isnan(windows)).sum(1) / (n - 1)
        var = np.where(high == low, 0, var)
        rms = np.sqrt((zeros**2).sum(1) / n)
        eps = 64 * np.finfo("f8").eps
        value, floor = {
            "sum": lambda: (zeros.sum(1), 1e-12 * magnitude),
            "mean": lambda: (mean, 1e-12 * magnitude / n),
            "min": lambda: (low, None),
            "max": lambda: (high, None),
            "median": lambda: (np.nanmedian(windows, 1), 1e-12 * magnitude / n),
            "var": lambda: (var, eps * rms * np.sqrt(var)),
            "std": lambda: (np.sqrt(var), eps * rms + 1e-150),
        }[how]()
        fewest = 2 if how in ("var", "std") else 0 if how == "sum" else 1
        value = np.where(n >= max(least, fewest), value, NAN).astype("f8")
        if floor is None:
            return Approx(value, 0.0, 1e-300)
        # A constant is exactly constant.
        floor = np.where((high == low) & (n > 1) & (how in ("var", "std")), 0, floor)
        return Approx(value, 1e-9, np.where(np.isfinite(floor), floor, 0).astype("f8"))


def _rolling(how):
    def reference(x, window, min_periods=None):
        least = (0 if how == "count" else window) if min_periods is None else min_periods
        if least > window:
            raise Fault("argument 3")
        return _statistic(how, x, np.maximum(np.arange(x.size) - window + 1, 0), least)

    return reference


def _rolling_time(how):
    def reference(x, t, width, min_periods=1):
        same_length(x, t)
        n, unit = width.split()
        _ascending(t)
        at = t.astype("i8")
        first = np.searchsorted(at, at - int(n) * UNITS[unit.rstrip("s")], side="right")
        return _statistic(how, x, first, min_periods)

    return reference


def _ascending(t):
    wrong = t[1:] < t[:-1]
    if wrong.any():
        raise Fault("ascend", f"position {int(np.argmax(wrong)) + 1}")


def check_windows(test, host):
    """Whatever has been in a window leaves nothing behind: huge values before small ones, falling magnitudes. Squares
    may be too large."""
    x = np.array([1e9, 0.1, 0.2, 0.3, 0.4, 0.5, 1e16, 1.0, 2.0, 3.0, 1e-3, 2e-3, 3e-3, np.inf, 1.0, 2.0, 5.0])
    falling = 10.0 ** -np.arange(0, 60) * np.random.default_rng(1).normal(size=60)
    for values in (x, np.resize(x, 300), falling, falling[::-1].copy(), np.full(600, 0.1)):
        for how in ("sum", "mean", "var", "std", "min", "max", "median"):
            from oracle import differs

            for window in (2, 3, 10, 60):
                result = host.call(f"rolling_{how}", values, window)
                test.assertIsNone(differs(result, _rolling(how)(values, window)), f"{how} over {window}: {values[:6]}")
    for window in (3, 60):
        huge = host.call("rolling_var", np.arange(1, 99) * 1e200, window)
        np.testing.assert_array_equal(huge[window - 1 :], np.inf)
    counts = host.call("rolling_count", np.array([1, NAN, 3]), 3, 2)
    np.testing.assert_array_equal(counts, [NAN, 1, 2])


def check_extremes(test, host):
    """Long runs, short ones and gaps one after the other, in windows narrower and wider than they are."""
    rng = np.random.default_rng(5)
    means = (1, 100, 3, 400, 1, 100)
    n = [4000 // mean for mean in means]
    values = rng.normal(size=sum(n)).round(2)
    values[rng.random(values.size) < 0.1] = NAN
    values[rng.random(values.size) < 0.05] = np.inf
    x = np.repeat(values, rng.integers(1, 2 * np.repeat(means, n)))
    for window in (1, 2, 7, 32, 33, 100, 1000, 5000, 30_000, 2**31):
        for least in {0, 1, min(window, 40), window * 9 // 10, window}:
            for how in ("min", "max"):
                result = host.call(f"rolling_{how}", x, window, least)
                expected = getattr(pd.Series(_finite(x)).rolling(window, min_periods=least), how)().to_numpy()
                np.testing.assert_array_equal(result, expected, f"{how} over {window}, {least} present")


# ---- Smoothing -----------------------------------------------------------------------------------------------------


def _finite(x):
    return np.where(np.isfinite(doubles(x)), doubles(x), NAN)


def _smoothed(x, alpha):
    """The weights of values that are present add up to the last mean; over gaps the older weight decays."""
    x = _finite(x)
    scale = np.maximum.accumulate(np.nan_to_num(np.abs(x))) if x.size else x
    return Approx(pd.Series(x).ewm(alpha=alpha, adjust=False).mean().to_numpy(), 1e-9, 1e-12 * scale)


def _ema(x, span):
    if span < 1:
        raise Fault("argument 2")
    return _smoothed(x, 2 / (span + 1))


def _wide_wilder(x, n):
    """Value by value, in a range of numbers where nothing shrinks to 0."""
    mean, weight, out, present = np.longdouble(0), np.longdouble(1), np.full(x.size, NAN, "longdouble"), 0
    decay = 1 - 1 / np.longdouble(n)
    for i, v in enumerate(x.astype("longdouble")):
        if not np.isnan(v):
            present += 1
            before = weight * decay
            mean = mean + v / n if present <= n else (before * mean + v / n) / (before + 1 - decay)
            weight = np.longdouble(1)
        elif present >= n:
            weight *= decay
        if present >= n:
            out[i] = mean
    return out


def _wilder(x, n):
    x = _finite(x)
    return Approx(_wide_wilder(x, n).astype("f8"), 1e-9, 1e-12 * np.maximum.accumulate(np.nan_to_num(np.abs(x))))


def _atr(high, low, close, n):
    same_length(high, low, close)
    high, low, close = map(doubles, (high, low, close))
    before = np.concatenate([[NAN], close[:-1]])[: close.size]
    with np.errstate(all="ignore"):
        spread = high - low
        other = np.fmax(np.abs(high - before), np.abs(low - before))
        ranges = np.where(np.isnan(spread) | np.isnan(before), spread, np.maximum(spread, other))
    return _wilder(ranges, n)


def _rsi(x, n):
    x = _finite(x)
    with np.errstate(all="ignore"):
        steps = np.concatenate([[NAN], np.diff(x)])[: x.size]
        gain, loss = _wide_wilder(np.maximum(steps, 0), n), _wide_wilder(np.maximum(-steps, 0), n)
        return Approx((100 * gain / (gain + loss)).astype("f8"), 1e-9, 1e-7)


def _small(*choices):
    return lambda rng, case: choices[rng.integers(0, len(choices))]


WINDOW = {
    "window": lambda rng, case: _small(1, 2, 7, *([20] * (case.n < 9000)), *([300, 2**31] * (case.n < 500)))(rng, case),
    "min_periods": lambda rng, case: int(rng.integers(0, min(case.given["window"], 40) + 2)),
}
TIMES = {
    "t": lambda rng, case: case.times(),
    "width": _small("1 second", "5 seconds", "40 seconds", "2 minutes", "1 microsecond"),
    "min_periods": _small(0, 1, 2, 9),
}
STEPS = {"n": _small(1, 2, -1, 0, 7, 455, -300, 2**40, -(2**62))}
TIMED = {"n": _small(1, 2, 3, 14, 300)}

ORACLES = {
    "diff": Oracle(_diff, STEPS),
    "pct_change": Oracle(_pct_change, STEPS),
    "shift": Oracle(_shift, {**STEPS, "v": _small(0, 1, 2.5, -7, "ab", "1970-01-01", 1e300)}),
    "cumsum": Oracle(_cumsum),
    "cumprod": Oracle(_cumprod),
    "cummax": Oracle(_cumulative(np.maximum)),
    "cummin": Oracle(_cumulative(np.minimum)),
    "ffill": Oracle(_fill(True), {"limit": _small(1, 2, 50)}),
    "bfill": Oracle(_fill(False), {"limit": _small(1, 2, 50)}),
    "interpolate": Oracle(_interpolate),
    **{f"rolling_{how}": Oracle(_rolling(how), WINDOW) for how in "min var std count median sum".split()},
    "rolling_max": Oracle(_rolling("max"), WINDOW, checks=(check_extremes,)),
    "rolling_mean": Oracle(_rolling("mean"), WINDOW, checks=(check_windows,)),
    **{f"rolling_{how}_time": Oracle(_rolling_time(how), TIMES) for how in "sum mean min max count".split()},
    "ema": Oracle(_ema, {"span": _small(1, 2, 3.5, 20, 100, 0.5)}),
    "wilder": Oracle(_wilder, TIMED),
    "atr": Oracle(_atr, TIMED),
    "rsi": Oracle(_rsi, TIMED),
}
