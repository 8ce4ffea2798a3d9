"""The extension as a guest of SQLite: how it is loaded, interrupted, limited, indexed and joined, and runs out
of memory.

usage: host_test.py EXTENSION LIBRARY"""

import ctypes
import sqlite3
import subprocess
import sys
import threading
import time
import unittest

import numpy as np

EXTENSION, LIBRARY = sys.argv[1:3]
from values import Host  # noqa: E402

# Most of a second, if nothing ends it: values in no order.
SORTED = "SELECT seq_length(seq_sort(seq_mod(seq_mul(seq_range(0, 12000000), 7919.37), 1000003)))"


class HostTest(unittest.TestCase):
    def setUp(self):
        self.host = Host(EXTENSION, LIBRARY)
        self.db = self.host.db

    def one(self, sql, *arguments, db=None):
        return (db or self.db).execute(sql, arguments).fetchone()[0]

    def refused(self, sql, *arguments, kind=sqlite3.OperationalError):
        with self.assertRaises(kind) as caught:
            self.db.execute(sql, arguments).fetchall()
        return str(caught.exception)

    def test_the_shell_loads_it(self):
        script = f".load {EXTENSION}\nSELECT seq_to_json(seq_add(seq_range(1, 3), 0.5));\n"
        done = subprocess.run(["sqlite3", ":memory:"], input=script, capture_output=True, text=True, check=True)
        self.assertEqual((done.stdout, done.stderr), ("[1.5,2.5,3.5]\n", ""))

    def test_connections_come_and_go(self):
        before = self.one("SELECT seq_budget()")
        for _ in range(50):
            other = self.host.connect()
            self.assertEqual(self.one("SELECT seq_budget(5)", db=other), before)
            self.assertEqual(self.one("SELECT seq_budget()", db=other), 5)
            other.load_extension(EXTENSION)  # a second time: as if for the first
            self.assertEqual(self.one("SELECT seq_budget()", db=other), before)
            other.close()
        self.assertEqual(self.one("SELECT seq_budget()"), before)

    def test_budget(self):
        self.one("SELECT seq_budget(1000)")
        self.assertIn("more than 1000 positions", self.refused("SELECT seq_reverse(seq_range(0, 1001))"))
        self.assertEqual(self.one("SELECT seq_length(seq_range(0, 1001))"), 1001)
        for bad in ("0", "-1", "1.5", "'x'", "NULL"):
            self.assertIn("seq_budget: argument 1: n must be", self.refused(f"SELECT seq_budget({bad})"))
        self.db.execute("CREATE VIEW b AS SELECT seq_budget(7) AS n")
        self.assertIn("unsafe use", self.refused("SELECT n FROM b"))

    def ends_soon(self, interrupt):
        """An interrupt from somewhere ends the query within a tenth of a second of this program's own time; the best of
        some, as that includes what the kernel takes to free a large result."""
        took = []
        for _ in range(3):
            asked = []
            interrupt(asked)
            with self.assertRaisesRegex(sqlite3.OperationalError, "interrupt"):
                self.one(SORTED)
            took.append(time.process_time() - asked[0])
        self.assertLess(min(took), 0.1)

    def test_interrupt_from_another_thread(self):
        self.db = self.host.connect(check_same_thread=False)

        def later(asked):
            def interrupt():
                time.sleep(0.15)
                asked.append(time.process_time())
                self.db.interrupt()

            threading.Thread(target=interrupt).start()

        self.ends_soon(later)
        self.assertEqual(self.one("SELECT seq_length(seq_range(0, 5))"), 5)

    def test_progress_handler(self):
        def handler(asked):
            start = time.process_time()

            def progress():
                if time.process_time() < start + 0.15:
                    return 0
                asked.append(time.process_time())
                return 1

            self.db.set_progress_handler(progress, 20)

        self.ends_soon(handler)

    def test_limits_are_the_database_s_own(self):
        self.db.setlimit(sqlite3.SQLITE_LIMIT_LENGTH, 5000)
        error = self.refused("SELECT seq_sqrt(seq_range(0, 5000))", kind=sqlite3.DataError)
        self.assertEqual(error, "string or blob too big")
        error = self.refused("SELECT seq_to_json(seq_range(0, 5000))", kind=sqlite3.DataError)
        self.assertEqual(error, "string or blob too big")
        self.assertEqual(self.refused("SELECT seq_add(x'00')"), "wrong number of arguments to function seq_add()")
        self.assertEqual(self.refused("SELECT seq_avg()"), "wrong number of arguments to function seq_avg()")

    def test_indexes_and_views_trust_the_functions(self):
        self.db.execute("PRAGMA trusted_schema = OFF")
        self.db.execute("CREATE TABLE t (x, n GENERATED ALWAYS AS (seq_length(x)))")
        self.db.execute("CREATE TABLE checked (x CHECK (seq_valid(x)))")
        self.db.execute("CREATE INDEX by_first ON t (seq_get(x, 0))")
        self.db.execute("CREATE VIEW v AS SELECT rowid AS id, seq_sum(x) AS s FROM t GROUP BY rowid")
        self.db.execute("CREATE VIEW r AS SELECT t.rowid AS id, pos, v1 FROM t, seq_rows(x)")
        self.db.executemany("INSERT INTO t VALUES (?)", [(self.host.argument(np.arange(i, i + 3)),) for i in range(50)])
        self.refused("INSERT INTO checked VALUES (x'00')", kind=sqlite3.IntegrityError)
        self.assertEqual(self.db.execute("SELECT s FROM v WHERE id = 5").fetchall(), [(15,)])
        self.assertEqual(self.db.execute("SELECT v1 FROM r WHERE id = 9 AND pos > 0").fetchall(), [(9,), (10,)])
        found = "SELECT n FROM t WHERE seq_get(x, 0) = 7"
        self.assertEqual(self.db.execute(found).fetchall(), [(3,)])
        self.assertIn("by_first", str(self.db.execute(f"EXPLAIN QUERY PLAN {found}").fetchall()))

    def test_table_functions_join(self):
        self.db.execute("CREATE TABLE t (k, x)")
        rows = [(k, self.host.argument(np.arange(k * 10.0, k * 10 + k))) for k in range(4)] + [(9, None)]
        self.db.executemany("INSERT INTO t VALUES (?, ?)", rows)
        expected = [(k, p, k * 10.0 + p) for k in range(4) for p in range(k)]
        for join in ("t, seq_rows(t.x)", "t JOIN seq_rows(t.x)", "t CROSS JOIN seq_rows(x) AS r"):
            self.assertEqual(self.db.execute(f"SELECT k, pos, v1 FROM {join} ORDER BY k, pos").fetchall(), expected)
        left = self.db.execute("SELECT k, count(pos) FROM t LEFT JOIN seq_rows(t.x) GROUP BY k").fetchall()
        self.assertEqual(left, [(0, 0), (1, 1), (2, 2), (3, 3), (9, 0)])
        twice = "SELECT a.v1, b.v1 FROM t, seq_rows(x) a, seq_rows(x) b WHERE a.pos = b.pos + 1 AND k = 3"
        self.assertEqual(self.db.execute(twice).fetchall(), [(31.0, 30.0), (32.0, 31.0)])
        lateral = "SELECT k, (SELECT max(v1) FROM seq_rows(t.x)) FROM t WHERE k > 1"
        self.assertEqual(self.db.execute(lateral).fetchall(), [(2, 21.0), (3, 32.0), (9, None)])
        self.assertIn("seq_rows: argument 1: x must be a sequence", self.refused("SELECT * FROM seq_rows(5)"))
        for wrong in ("seq_rows", "seq_rows()"):
            self.assertRegex(self.refused(f"SELECT * FROM {wrong}"), "seq_rows: wrong number of arguments")
        self.assertIn("too many arguments", self.refused(f"SELECT * FROM seq_rows({','.join('1' * 12)})"))

    def test_aggregates_of_aggregates(self):
        self.db.execute("CREATE TABLE t (s, x)")
        rows = [("a" if i % 2 else "b", self.host.argument(np.arange(i) + 0.5)) for i in range(1, 9)]
        self.db.executemany("INSERT INTO t VALUES (?, ?)", rows)
        each = self.db.execute("SELECT seq_max(x) FROM t GROUP BY rowid ORDER BY rowid").fetchall()
        self.assertEqual(each, [(i - 0.5,) for i in range(1, 9)])
        packed = "SELECT s, seq_to_json(seq_pack(m)) FROM (SELECT s, seq_max(x) m FROM t GROUP BY rowid) GROUP BY s"
        self.assertEqual(self.db.execute(packed).fetchall(), [("a", "[0.5,2.5,4.5,6.5]"), ("b", "[1.5,3.5,5.5,7.5]")])
        filtered = "SELECT seq_count(x) FILTER (WHERE s = 'a'), seq_count(x) FROM t"
        self.assertEqual(self.db.execute(filtered).fetchall(), [(16, 36)])
        # A group that is left early, by an error in another aggregate, lets go of what it holds.
        self.assertIn("seq_sum", self.refused("SELECT seq_pack(seq_length(x)), seq_sum(s) FROM t"))

    def test_memory_of_the_database_runs_out(self):
        """At some limits a query runs, at lower ones SQLite says so; then it runs again."""
        sqlite = ctypes.CDLL("libsqlite3.so.0")
        sqlite.sqlite3_memory_used.restype = ctypes.c_int64
        sqlite.sqlite3_hard_heap_limit64.argtypes = [ctypes.c_int64]
        query = "SELECT seq_to_json(seq_pack(v1)) FROM seq_rows(seq_range(0.5, 300))"
        expected = self.one(query)
        outcomes = set()
        for room in range(0, 400_000, 3001):
            sqlite.sqlite3_hard_heap_limit64(sqlite.sqlite3_memory_used() + room)
            try:
                outcomes.add(self.one(query) == expected)
            except (MemoryError, sqlite3.OperationalError) as error:
                self.assertTrue(isinstance(error, MemoryError) or "memory" in str(error), error)
                outcomes.add(None)
            finally:
                sqlite.sqlite3_hard_heap_limit64(0)
        self.assertEqual(outcomes, {True, None})
        self.assertEqual(self.one(query), expected)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
