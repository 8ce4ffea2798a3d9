#!/usr/bin/env python3
"""Sequences in Python beside NumPy, pandas and Polars, in one run, each on one thread: milliseconds of the
processor, the best of several.

    POLARS_MAX_THREADS=1 bench/python.py [rows]      ten million rows by default; sorts and joins over a tenth of them

Values come without runs and with mean runs of 100. Sequences are stored ones, as a database keeps them, and `array` is
the same over a NumPy array in place; the others hold arrays in memory. Every result is compared before it is timed."""

import gc
import os
import sys
import time

os.environ.setdefault("POLARS_MAX_THREADS", "1")
os.environ.setdefault("OMP_NUM_THREADS", "1")

import numpy as np  # noqa: E402
import pandas as pd  # noqa: E402
import polars as pl  # noqa: E402

import qvoseq as qs  # noqa: E402

REPEATS = 5


def best(work):
    times = []
    for _ in range(REPEATS):
        gc.collect()
        start = time.process_time()  # whatever else the machine does
        work()
        times.append(time.process_time() - start)
    return min(times) * 1e3


def flat(value):
    if isinstance(value, qs.Sequence):
        return value.to_numpy().astype("f8")
    if isinstance(value, (pd.Series, pl.Series)):
        return value.to_numpy().astype("f8")
    return np.asarray(value, "f8")


def data(rows, run, rng):
    """Prices to two digits, volumes, keys and times."""
    n = -(-rows // run)
    repeated = [
        np.repeat(v, run)[:rows]
        for v in (rng.integers(1000, 99_999, n) / 100, rng.integers(0, 2000, n), rng.integers(0, 100, n))
    ]
    times = np.cumsum(rng.integers(1, 5, rows)).astype("M8[us]")
    return [*repeated, times]


def jobs(columns, part):
    """Name, then the work with sequences, NumPy, pandas and Polars; None where a library has no such function."""
    x, v, k, t = columns["numpy"]
    px, pv, pk, pt = columns["pandas"]
    lx, lv, lk, lt = columns["polars"]
    window = 20
    m = x.size // 10
    left, right = np.sort(t[:m:1] + np.timedelta64(1, "us")), t[:m]

    def each(f):
        return lambda q: f(*q)

    def asof_of(q):
        times, values = q[3].slice(0, m), q[0].slice(0, m)
        return qs.asof(qs.Sequence(left), times, values)

    yield (
        "filtered mean",
        each(lambda x, v, k, t: x.filter(v > 1000).mean()),
        lambda: x[v > 1000].mean(),
        lambda: px[pv > 1000].mean(),
        lambda: lx.filter(lv > 1000).mean(),
    )
    yield "add", each(lambda x, v, k, t: (x + v).to_numpy()), lambda: x + v, lambda: px + pv, lambda: lx + lv
    yield "add, runs kept", each(lambda x, v, k, t: (x + v).compute()), lambda: x + v, lambda: px + pv, lambda: lx + lv
    yield (
        "rolling mean",
        each(lambda x, v, k, t: x.rolling_mean(window).to_numpy()),
        None,
        lambda: px.rolling(window).mean(),
        lambda: lx.rolling_mean(window),
    )
    yield (
        "rolling max",
        each(lambda x, v, k, t: x.rolling_max(window).to_numpy()),
        None,
        lambda: px.rolling(window).max(),
        lambda: lx.rolling_max(window),
    )
    yield (
        "cumsum",
        each(lambda x, v, k, t: x.cumsum().to_numpy()),
        lambda: np.cumsum(x),
        lambda: px.cumsum(),
        lambda: lx.cum_sum(),
    )
    frame = pl.DataFrame({"k": lk, "x": lx})
    yield (
        "group sum",
        each(lambda x, v, k, t: [g.sum for g in qs.group_rows(qs.group(k, x))]),
        lambda: np.bincount(k, x),
        lambda: px.groupby(pk).sum(),
        lambda: frame.group_by("k").agg(pl.col("x").sum()).sort("k")["x"],
    )
    yield (
        "argsort, a tenth",
        each(lambda x, v, k, t: x.slice(0, m).argsort().to_numpy()),
        lambda: np.argsort(x[:m], kind="stable"),
        lambda: px[:m].argsort(kind="stable"),
        lambda: lx[:m].arg_sort(),
    )
    a, b = pd.DataFrame({"t": left}), pd.DataFrame({"t": right, "x": x[:m]})
    la, lb = pl.DataFrame({"t": left}).set_sorted("t"), pl.DataFrame({"t": right, "x": x[:m]}).set_sorted("t")
    yield (
        "as-of join, a tenth",
        lambda q: asof_of(q).to_numpy(),
        lambda: x[:m][np.searchsorted(right, left, "right") - 1],
        lambda: pd.merge_asof(a, b, on="t")["x"],
        lambda: la.join_asof(lb, on="t")["x"],
    )


def main():
    rows = int(float(sys.argv[1])) if len(sys.argv) > 1 else 10_000_000
    rng = np.random.default_rng(2026)
    print(
        f"{rows} rows, milliseconds; NumPy {np.__version__}, pandas {pd.__version__}, "
        f"Polars {pl.__version__} on {pl.thread_pool_size()} thread"
    )
    head = ["stored", "array", "NumPy", "pandas", "Polars", "pandas/stored", "Polars/stored"]
    for run in (1, 100):
        arrays = data(rows, run, rng)
        stored = [qs.Sequence(a).compute() for a in arrays]
        in_place = [qs.Sequence(a) for a in arrays]
        columns = {"numpy": arrays, "pandas": [pd.Series(a) for a in arrays], "polars": [pl.Series(a) for a in arrays]}
        print(f"\n{'mean run ' + str(run):22}" + "".join(f"{name:>14}" for name in head))
        for name, ours, *others in jobs(columns, rows // 10):
            works = [lambda: ours(stored), lambda: ours(in_place), *others]
            if not name.startswith("argsort"):  # the order of equals is not the same everywhere
                expected = flat(others[1]())
                for work in works:
                    if work is not None:
                        result = flat(work())
                        np.testing.assert_allclose(result, expected, rtol=1e-9, atol=1e-6, err_msg=name)
            times = [None if work is None else best(work) for work in works]
            cells = ["-" if t is None else f"{t:.1f}" for t in times]
            cells += [f"{times[i] / times[0]:.1f}" for i in (3, 4)]
            print(f"{name:22}" + "".join(f"{cell:>14}" for cell in cells), flush=True)


if __name__ == "__main__":
    main()
