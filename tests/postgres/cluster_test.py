"""Four servers as one, by examples/cluster: what is computed where, that it is what one server computes, and what a
lost server does.

usage: cluster_test.py LIBRARY FOLDER     FOLDER is where the servers are to live"""

import os
import re
import signal
import subprocess
import sys
import time
import unittest

import psycopg2

LIBRARY, FOLDER = sys.argv[1:3]
import host  # noqa: E402
import page  # noqa: E402

CLUSTER = os.path.join(host.ROOT, "examples", "cluster", "cluster")
SERVER = os.path.join(host.ROOT, "tools", "postgres-server")


def cluster(*arguments):
    subprocess.run([CLUSTER, *arguments], check=True)


class ClusterTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.addClassCleanup(cluster, "stop", FOLDER)
        cluster("stop", FOLDER)
        cluster("start", FOLDER)
        cluster("load", FOLDER, "1000000")
        cls.host = host.PostgresHost(LIBRARY, dbname="cluster", host=f"{FOLDER}/0")
        cls.run_ = staticmethod(cls.host.run)
        cls.run_("CREATE TABLE one AS SELECT * FROM ticks")  # as text, from all servers

    def calls(self):
        fixed = {"lo": "90", "hi": "110", "n": "7", "q": "0.3", "key": "day"}
        for f in self.host.functions.values():
            if f.kind == "aggregate" and f.name not in ("pack", "state", "merge", "any", "all"):
                columns = [fixed.get(p.name, ["price", "volume"][i % 2]) for i, p in enumerate(f.parameters)]
                yield f.name, f"seq_{f.name}({', '.join(columns)})"
        yield "any", "seq_any(volume > 1000)"
        yield "all", "seq_all(price > 0)"

    def assertSame(self, rows, expected):
        self.assertEqual(len(rows), len(expected))
        for row, other in zip(rows, expected):
            for value, wanted in zip(row, other):
                if isinstance(wanted, float):
                    self.assertAlmostEqual(value, wanted, delta=1e-11 * max(1, abs(wanted)))
                else:
                    self.assertEqual(value, wanted)

    def test_the_ticks_are_spread(self):
        counts = [self.run_(f"SELECT count(*) FROM ticks_{i}")[0][0] for i in range(4)]
        self.assertEqual((sum(counts), self.run_("SELECT seq_count(price) FROM one")), (1000, [(1_000_000,)]))
        self.assertGreater(min(counts), 100)

    def test_groups_of_the_key_are_computed_where_they_lie(self):
        for name, call in self.calls():
            with self.subTest(call):
                query = f"SELECT symbol, day, {call} FROM {{}} WHERE day < '2026-01-04' GROUP BY 1, 2 ORDER BY 1, 2"
                plan = "\n".join(row[0] for row in self.run_(f"EXPLAIN (VERBOSE) {query.format('ticks')}"))
                remote = re.findall("Remote SQL: (.*)", plan)
                self.assertEqual(len(remote), 4, plan)
                self.assertTrue(all(f"seq_{name}(" in sql and "GROUP BY" in sql for sql in remote), plan)
                self.assertSame(self.run_(query.format("ticks")), self.run_(query.format("one")))

    def test_other_groups_by_states(self):
        for name, call in self.calls():
            if not self.host.functions[name].has_state or self.host.functions[name].in_order:
                continue
            with self.subTest(call):
                arguments = call[call.index("(") + 1 :]
                suffix = "_text" if name == "histogram" else ""
                states = f"SELECT symbol, seq_state('{name}', {arguments} AS s FROM ticks GROUP BY symbol"
                query = f"SELECT seq_finish{suffix}(seq_merge(s)) FROM ({states}) AS states"
                plan = "\n".join(row[0] for row in self.run_(f"EXPLAIN (VERBOSE) {query}"))
                remote = re.findall("Remote SQL: (.*)", plan)
                self.assertTrue(len(remote) == 4 and all("seq_state('" in sql for sql in remote), remote)
                (merged,), (direct,) = self.run_(query)[0], self.run_(f"SELECT {call} FROM one")[0]
                self.assertSame([(merged,)], [(float(direct) if suffix == "" else direct,)])

    def test_filters_travel(self):
        for condition in ("volume > 900", "seq_hour(time) = 10", "seq_floor_time(time, '1 hour') > '2026-01-05 10:00'"):
            query = f"SELECT symbol, seq_count(seq_filter(price, {condition})) FROM {{}} GROUP BY symbol ORDER BY 1"
            plan = str(self.run_(f"EXPLAIN (VERBOSE) {query.format('ticks')}"))
            self.assertEqual(len(re.findall(r"Remote SQL: SELECT symbol, public.seq_count", plan)), 4, plan)
            self.assertSame(self.run_(query.format("ticks")), self.run_(query.format("one")))

    def test_the_page(self):
        faults = page.check(f"{host.ROOT}/docs/postgres.md", page.SPREAD, f"{FOLDER}/0", "cluster")
        if faults:
            self.fail(faults)

    def test_a_lost_server_is_an_error(self):
        query = "SELECT symbol, seq_avg(price) FROM ticks GROUP BY symbol ORDER BY 1"
        expected = self.run_(query)
        with open(f"{FOLDER}/2/data/postmaster.pid", encoding="ascii") as file:
            os.kill(int(file.readline()), signal.SIGQUIT)
        while os.path.exists(f"{FOLDER}/2/data/postmaster.pid"):
            time.sleep(0.05)
        for _ in range(3):
            with self.assertRaises(psycopg2.Error) as caught:
                self.run_(query)
            self.assertIn(caught.exception.pgcode[:2], ("08", "57"), caught.exception)
        there = "satisfies_hash_partition('ticks'::regclass, 4, 2, symbol)"
        lost = self.run_(f"SELECT DISTINCT symbol FROM one WHERE {there}")
        self.assertGreater(len(lost), 0)
        kept = [row for row in expected if (row[0],) not in lost]
        for symbol, average in (kept[0], kept[-1]):  # what lies elsewhere is still there
            self.assertEqual(self.run_("SELECT seq_avg(price) FROM ticks WHERE symbol = %s", [symbol]), [(average,)])
        subprocess.run([SERVER, "start", f"{FOLDER}/2"], check=True)
        self.assertEqual(self.run_(query), expected)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
