#!/usr/bin/env python3
"""Ten million ticks in PostgreSQL, four ways in one run: a plain table, chunk rows in one process and with two workers,
and chunk rows on four servers of this machine. Prints medians, the ratio to the plain table in one process, and sizes.

usage: ticks.py FOLDER [TICKS]     with the extension installed; the servers live in FOLDER"""

import os
import statistics
import subprocess
import sys
import time

import psycopg2

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
CLUSTER = os.path.join(ROOT, "examples", "cluster", "cluster")
ROUNDS = 7
PLAIN = """CREATE TABLE plain AS
SELECT symbol, day, m.* FROM (SELECT symbol, day FROM chunks) AS c, make_ticks(symbol, day, {}) AS m;
ALTER TABLE plain SET (parallel_workers = 2); VACUUM ANALYZE plain"""
JOBS = {
    "filtered average": (
        "SELECT avg(price) FROM plain WHERE volume > 900",
        "SELECT seq_avg(seq_filter(price, volume > 900)) FROM chunks",
        "SELECT seq_finish(seq_merge(s)) FROM (SELECT symbol, seq_state('avg', seq_filter(price, volume > 900)) AS s "
        "FROM ticks GROUP BY symbol) AS states",
    ),
    "average by symbol": (
        "SELECT symbol, avg(price) FROM plain GROUP BY symbol ORDER BY 1",
        "SELECT symbol, seq_avg(price) FROM chunks GROUP BY symbol ORDER BY 1",
        "SELECT symbol, seq_avg(price) FROM ticks GROUP BY symbol ORDER BY 1",
    ),
    "filtered average by symbol": (
        "SELECT symbol, avg(price) FROM plain WHERE volume > 900 GROUP BY symbol ORDER BY 1",
        "SELECT symbol, seq_avg(seq_filter(price, volume > 900)) FROM chunks GROUP BY symbol ORDER BY 1",
        "SELECT symbol, seq_avg(seq_filter(price, volume > 900)) FROM ticks GROUP BY symbol ORDER BY 1",
    ),
}


def connect(folder, database):
    db = psycopg2.connect(host=f"{folder}/0", user="postgres", dbname=database)
    db.autocommit = True
    return db.cursor()


def timed(cursor, sql):
    start = time.perf_counter()
    cursor.execute(sql)
    rows = cursor.fetchall()
    return time.perf_counter() - start, rows


def same(rows, expected):
    close = lambda a, b: a == b if isinstance(a, str) else abs(a - b) <= 1e-9 * abs(b)
    return len(rows) == len(expected) and all(close(a, b) for r, e in zip(rows, expected) for a, b in zip(r, e))


def main():
    folder, n = os.path.abspath(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 10_000_000
    subprocess.run([CLUSTER, "stop", folder], check=True)
    try:
        subprocess.run([CLUSTER, "start", folder], check=True)
        start = time.perf_counter()
        subprocess.run([CLUSTER, "load", folder, str(n)], check=True)
        print(f"making and packing {n} ticks on four servers: {time.perf_counter() - start:.1f} s")
        measure(folder, n)
    finally:
        subprocess.run([CLUSTER, "stop", folder], check=True)


def measure(folder, n):
    spread = connect(folder, "cluster")
    spread.execute(open(f"{ROOT}/examples/cluster/ticks.sql", encoding="utf-8").read())
    spread.execute("CREATE TABLE chunks AS SELECT * FROM ticks ORDER BY symbol, day")
    spread.execute("ALTER TABLE chunks SET (parallel_workers = 2)")
    for statement in [*PLAIN.format(n // 1000).split(";"), "VACUUM ANALYZE chunks", "CHECKPOINT"]:
        spread.execute(statement)
    for table in ("plain", "chunks"):
        spread.execute(f"SELECT pg_total_relation_size('{table}')")
        print(f"{table:8} {spread.fetchone()[0] / 1e6:8.1f} MB")
    sizes = ", ".join(f"sum(pg_column_size({name}))" for name in ("time", "price", "volume"))
    spread.execute(f"SELECT {sizes} FROM chunks")
    print("  of it time, price, volume: " + ", ".join(f"{size / 1e6:.1f}" for size in spread.fetchone()) + " MB")
    print(f"{'seconds, median of ' + str(ROUNDS):28} plain  plain, 2   chunks  chunks, 2  4 servers")
    for job, (plain, chunks, four) in JOBS.items():
        ways = [(plain, 0), (plain, 2), (chunks, 0), (chunks, 2), (four, 2)]
        times = [[] for _ in ways]
        _, expected = timed(spread, plain)
        for _ in range(ROUNDS):
            for i, (sql, workers) in enumerate(ways):
                spread.execute(f"SET max_parallel_workers_per_gather = {workers}")
                seconds, rows = timed(spread, sql)
                times[i].append(seconds)
                assert same(rows, expected), sql
        medians = [statistics.median(t) for t in times]
        print(f"{job:26} " + " ".join(f"{m:9.4f}" for m in medians))
        print(f"{'':26} " + " ".join(f"{m / medians[0]:9.3f}" for m in medians))


if __name__ == "__main__":
    sys.exit(main())
