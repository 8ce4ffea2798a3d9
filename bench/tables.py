"""Tables that chunk themselves beside a plain SQLite table with an index and a DuckDB file on one thread: the same ticks,
the same questions, one run.

    tables.py PROGRAM EXTENSION [ROWS [PAGE]]

PROGRAM: made from tables.c; ROWS: ten million; PAGE: 4096, the bytes of a page of both SQLite files. At the end, a
million rows of the plain table are packed into a sequence, beside SQLite's own averages of the same two columns.

tools/tables brings what it takes.
"""
import os
import statistics
import subprocess
import sys
import tempfile
import time

import duckdb
import numpy as np

SYMBOLS, DAYS, DAY = 100, 20, 86_400_000_000
FIRST = np.datetime64("2026-01-01", "us").astype(np.int64)
NAMES = {"symbol": "u1", "time": "i8", "price": "f8", "volume": "i4", "side": "u1"}


def ticks(n):
    """Ticks of all symbols as they come: in order of time, a random walk in cents each, volumes mostly small."""
    random = np.random.default_rng(1)
    symbol = random.integers(0, SYMBOLS, n).astype("u1")
    when = FIRST + np.sort(random.integers(0, DAYS * DAY, n))
    cents = np.empty(n, "i8")
    for s in range(SYMBOLS):
        mine = symbol == s
        steps = random.integers(-3, 4, mine.sum())
        cents[mine] = 100 + np.abs(random.integers(1000, 30_000) + np.cumsum(steps))
    volume = random.integers(1, 2001, n).astype("i4")
    return {"symbol": symbol, "time": when, "price": cents / 100, "volume": volume,
            "side": random.integers(0, 2, n).astype("u1")}


def sqlite(program, kind, extension, folder, n, page):
    command = [program, kind, extension, folder, str(n), str(page)]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    return {name: (float(value), float(result)) for name, value, result in map(str.split, output.splitlines())}


def duck(columns, folder, n):
    path = os.path.join(folder, "ticks.duckdb")
    db = duckdb.connect(path, config={"threads": 1})
    db.register("source", {name: column for name, column in columns.items()})
    start = time.perf_counter()
    db.execute("CREATE TABLE ticks AS SELECT 'SYM' || lpad(symbol::VARCHAR, 2, '0') AS symbol, make_timestamp(time) AS time,"
               " price, volume, CASE side WHEN 0 THEN 'buy' ELSE 'sell' END AS side FROM source")
    db.execute("CHECKPOINT")
    figures = {"load": (time.perf_counter() - start, n)}
    db.close()
    figures["size"] = (os.path.getsize(path), 0)
    db = duckdb.connect(path, config={"threads": 1})
    day = f"symbol = 'SYM42' AND time >= make_timestamp({FIRST + 3 * DAY}) AND time < make_timestamp({FIRST + 4 * DAY})"
    for name, sql in {"filtered": "SELECT avg(price) FROM ticks WHERE volume > 1000",
                      "grouped": "SELECT symbol, avg(price) FROM ticks GROUP BY symbol",
                      "day_filtered": f"SELECT avg(price) FROM ticks WHERE {day} AND volume > 1000",
                      "day_rows": f"SELECT time, volume, side, price FROM ticks WHERE {day}"}.items():
        took = []
        for _ in range(6):
            start = time.perf_counter()
            rows = db.execute(sql).fetchall()
            took.append(time.perf_counter() - start)
        figures[name] = (statistics.median(took[1:]), sum(row[-1] for row in rows))
    db.close()
    # Its blocks stay in memory as they are.
    return figures | {f"{name}_cached": figures[name] for name in ("filtered", "grouped")}


def main():
    program, extension, *rest = sys.argv[1:]
    n, page = int(rest[0]) if rest else 10_000_000, int(rest[1]) if len(rest) > 1 else 4096
    with tempfile.TemporaryDirectory(dir=os.environ.get("TMPDIR")) as folder:
        columns = ticks(n)
        for name, kind in NAMES.items():
            columns[name].astype(kind).tofile(os.path.join(folder, f"{name}.{kind}"))
        found = {kind: sqlite(program, kind, extension, folder, n, page) for kind in ("plain", "chunks")}
        found["duckdb"] = duck(columns, folder, n)
    for question in ("filtered", "grouped", "filtered_cached", "grouped_cached", "day_filtered", "day_rows", "point",
                     "retention", "delete"):
        results = [figures[question][1] for figures in found.values() if question in figures]
        if max(results) - min(results) > 1e-9 * abs(max(results)):
            sys.exit(f"{question} differs: {results}")
    show(found, n, page)


def show(found, n, page):
    print(f"{n} ticks of {SYMBOLS} symbols in {DAYS} days; SQLite's pages of {page} bytes; "
          f"DuckDB {duckdb.__version__} on one thread; cached: with 32 MB for SQLite's pages, not 2")
    print(f"{'':27} {'plain':>10} {'chunks':>10} {'DuckDB':>10}   chunks to plain, to DuckDB")
    scale = {"load": (1e9 / n, "ns a row"), "pack_tail": (1e9 / n, "ns a row"), "size": (1 / n, "bytes a row"),
             "filtered": (1e9 / n, "ns a row"), "grouped": (1e9 / n, "ns a row"),
             "filtered_cached": (1e9 / n, "ns a row"), "grouped_cached": (1e9 / n, "ns a row"), "day_filtered": (1e6, "us"),
             "day_rows": (1e6, "us"), "point": (1e6, "us"), "retention": (2e9 / n, "ns a row"),
             "delete": (4e9 / n, "ns a row"), "load_memory": (2**-20, "MB at most"), "memory": (2**-20, "MB at most"),
             "memory_cached": (2**-20, "MB at most")}
    scale |= dict.fromkeys(("own_aggregates", "pack_in_order", "pack_out_of_order"),
                           (1e9 / min(n, 1_000_000), "ns a row"))
    for name, (factor, unit) in scale.items():
        values = [found[kind][name][0] * factor if name in found[kind] else None for kind in ("plain", "chunks", "duckdb")]
        cells = " ".join(f"{'–' if v is None else format(v, '.2f'):>10}" for v in values)
        ratios = ", ".join("–" if None in (v, values[1]) else f"{values[1] / v:.3f}" for v in (values[0], values[2]))
        print(f"{name + ', ' + unit:27} {cells}   {ratios}")


if __name__ == "__main__":
    main()
