"""Functions of the catalog beside NumPy, pandas, TA-Lib and DuckDB: time per row of the same job on the same values.

    peers.py [ROWS]     ten million by default; a tenth of it where the job is long

Ours twice: from stored sequences to a stored sequence, as SQL calls it, and from arrays to an array, as a program does.
Everything on one thread; the median of some runs, after one that is not counted.
tools/peers brings what it takes.
"""
import sys
import time

import duckdb
import numpy as np
import pandas as pd
import qvoseq as qs
import talib

REPEATS = 5


def median_time(job):
    job()
    times = []
    for _ in range(REPEATS):
        start = time.perf_counter()
        job()
        times.append(time.perf_counter() - start)
    return sorted(times)[REPEATS // 2]


class Table:
    """Prints a row a job: nanoseconds for each of its rows, and how many times ours the best of the others takes."""

    PEERS = ("NumPy", "pandas", "TA-Lib", "DuckDB")

    def __init__(self):
        self.line("", "stored", "arrays", *self.PEERS, "best/stored", "best/arrays")

    @staticmethod
    def line(name, *cells):
        print(f"{name:34}" + "".join(f"{cell:>12}" for cell in cells), flush=True)

    def row(self, name, n, stored, arrays, **peers):
        ours = [median_time(job) / n * 1e9 if job else None for job in (stored, arrays)]
        others = {peer: median_time(job) / n * 1e9 for peer, job in peers.items()}
        best = min(others.values())
        cells = [*ours, *(others.get(peer.replace("-", "")) for peer in self.PEERS)]
        self.line(
            name,
            *("–" if cell is None else f"{cell:.2f}" for cell in cells),
            *("–" if our is None else f"{best / our:.2f}x" for our in ours),
        )

    def function(self, name, n, function, columns, scalars=(), **peers):
        """A function that gives a sequence."""
        self.timed(name, n, function, columns, scalars, bytes, qs.Sequence.to_numpy, peers)

    def aggregate(self, name, n, function, columns, scalars=(), **peers):
        def result(value):
            return value

        self.timed(name, n, function, columns, scalars, result, result, peers)

    def timed(self, name, n, function, columns, scalars, to_stored, to_array, peers):
        called = getattr(qs.functions, function)
        arrays = [qs.Sequence(column) for column in columns]
        stored = [array.compute() for array in arrays]
        self.row(
            name, n, lambda: to_stored(called(*stored, *scalars)), lambda: to_array(called(*arrays, *scalars)), **peers
        )


def database_of(**columns):
    """A DuckDB database in memory with a table of the columns."""
    database = duckdb.connect()
    database.execute("SET threads = 1")
    database.register("source", pd.DataFrame(columns))
    database.execute("CREATE TABLE t AS SELECT * FROM source")
    return database


def along(table, n, random):
    walk = np.cumsum(random.normal(size=n))
    series = pd.Series(walk)
    for window in (20, 2000):
        table.function(f"rolling mean of {window}", n, "rolling_mean", [walk], [window],
                       pandas=lambda: series.rolling(window).mean(), TALib=lambda: talib.SMA(walk, window))
        table.function(f"rolling max of {window}", n, "rolling_max", [walk], [window],
                       pandas=lambda: series.rolling(window).max(), TALib=lambda: talib.MAX(walk, window))
    table.function("ema, span 20", n, "ema", [walk], [20],
                   pandas=lambda: series.ewm(span=20, adjust=False).mean(), TALib=lambda: talib.EMA(walk, 20))


def sorting(table, n, random):
    for name, values in (
        ("random", random.random(n)),
        ("sorted", np.sort(random.random(n))),
        ("ten values", random.integers(0, 10, n).astype(float)),
    ):
        table.function(f"argsort, {name}", n, "argsort", [values],
                       NumPy=lambda: np.argsort(values, kind="stable"),
                       pandas=lambda: pd.Series(values).argsort(kind="stable"))


def joining(table, n, random):
    t, u = (np.sort(random.integers(0, 100 * n, n)) for _ in range(2))
    y = random.random(n)
    left, right = pd.DataFrame({"t": t}), pd.DataFrame({"t": u, "y": y})
    database = database_of(t=t)
    database.register("other", right)
    database.execute("CREATE TABLE u AS SELECT * FROM other")
    table.function("as-of join", n, "asof", [t, u, y],
                   pandas=lambda: pd.merge_asof(left, right, on="t"),
                   DuckDB=lambda: database.execute("SELECT y FROM t ASOF LEFT JOIN u USING (t)").fetchnumpy())


def grouping(table, n, random):
    for keys in (1_000, 1_000_000):
        k, x = random.integers(0, keys, n), random.random(n)
        frame = pd.DataFrame({"k": k, "x": x})
        database = database_of(k=k, x=x)
        # Ours also counts and keeps extremes, the first, the last and the variance; so do the others here.
        table.aggregate(f"group, {keys} keys, all statistics", n, "group", [k, x],
                        pandas=lambda: frame.groupby("k")["x"].agg(
                            ["count", "sum", "mean", "min", "max", "first", "last", "var"]),
                        DuckDB=lambda: database.execute(
                            "SELECT k, count(x), sum(x), avg(x), min(x), max(x), first(x), last(x), var_samp(x) "
                            "FROM t GROUP BY k ORDER BY k").fetchnumpy())


def counting(table, n, random):
    x = random.integers(0, n // 10, n).astype(float)
    series, database = pd.Series(x), database_of(x=x)
    table.aggregate("distinct values, exact", n, "count_distinct", [x], NumPy=lambda: len(np.unique(x)),
                    pandas=series.nunique, DuckDB=lambda: database.execute("SELECT count(DISTINCT x) FROM t").fetchall())
    table.aggregate("distinct values, estimated", n, "approx_distinct", [x],
                    DuckDB=lambda: database.execute("SELECT approx_count_distinct(x) FROM t").fetchall())
    x = random.random(n)
    series, database = pd.Series(x), database_of(x=x)
    table.aggregate("quantile 0.9", n, "quantile", [x], [0.9], NumPy=lambda: np.quantile(x, 0.9),
                    pandas=lambda: series.quantile(0.9),
                    DuckDB=lambda: database.execute("SELECT quantile_cont(x, 0.9) FROM t").fetchall())


def resampling(table, n, random):
    t = np.datetime64("2025-01-01", "us") + np.arange(n) * np.timedelta64(1, "s")
    x = random.random(n)
    series, database = pd.Series(x, index=t), database_of(t=t, x=x)
    table.function("resample seconds to hours, mean", n, "resample", [t, x], ["1 hour", "mean"],
                   pandas=lambda: series.resample("1h").mean(),
                   DuckDB=lambda: database.execute(
                       "SELECT time_bucket(INTERVAL 1 hour, t) AS h, avg(x) FROM t GROUP BY h ORDER BY h").fetchnumpy())


def main():
    rows = int(sys.argv[1]) if len(sys.argv) > 1 else 10_000_000
    random = np.random.default_rng(7)
    table = Table()
    along(table, rows, random)
    sorting(table, rows // 10, random)
    joining(table, rows // 10, random)
    grouping(table, rows, random)
    counting(table, rows, random)
    resampling(table, 3 * rows + rows // 7, random)


if __name__ == "__main__":
    main()
