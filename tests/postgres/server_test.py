"""The extension as a guest of PostgreSQL: parallel plans, dumps, updates, interrupts, hostile bytes, memory.

usage: server_test.py LIBRARY     with PGHOST and PGUSER"""

import io
import os
import subprocess
import sys
import threading
import time
import unittest

import numpy as np
import psycopg2

LIBRARY = sys.argv[1]
import host  # noqa: E402
import oracle  # noqa: E402
from values import TYPES  # noqa: E402

BIN = subprocess.run(["pg_config", "--bindir"], capture_output=True, text=True, check=True).stdout.strip()
PARALLEL = """SET max_parallel_workers_per_gather = {}; SET parallel_setup_cost = 0; SET parallel_tuple_cost = 0;
SET min_parallel_table_scan_size = 0; SET parallel_leader_participation = off"""
# Calls of seconds are made of tables: the planner copies constants, however long, and hears of nothing meanwhile.
LONG = "CREATE TABLE long AS SELECT seq_sqrt(seq_range(0, 20000000, 7)) AS x"
# Bytes as a value that nobody has looked at, as a damaged disk would give them.
AS_IS = "CREATE FUNCTION as_is(bytea, bytea) RETURNS qvoseq LANGUAGE internal STRICT AS 'byteatrim'"


class ServerTest(unittest.TestCase):
    def setUp(self):
        admin = host.PostgresHost(LIBRARY)
        admin.run("DROP DATABASE IF EXISTS guest WITH (FORCE)")
        admin.run("CREATE DATABASE guest")
        self.host = host.PostgresHost(LIBRARY, dbname="guest")
        self.run_ = self.host.run
        self.one = self.host.one
        self.run_("CREATE EXTENSION qvoseq")

    def tearDown(self):
        self.host.db.close()

    def values(self, seed=1):
        """Sequences of every type in every shape, by names."""
        rng = np.random.default_rng(seed)
        return {
            f"{kind} {shape}": self.host.library.store(oracle.Case(rng, n, shape).sequence(kind))
            for kind in TYPES
            for shape, n in [("single", 100), ("few", 0), ("limits", 300), ("missing", 40), ("mean 100", 3000)]
        }

    # ---- Parallel plans ----------------------------------------------------------------------------

    def chunks(self):
        """A table of chunk rows, in which the planner sees work for two."""
        self.run_("CREATE TABLE chunks (g int, i int4, c qvoseq, d qvoseq, n qvoseq, t qvoseq, k qvoseq)")
        rng = np.random.default_rng(3)
        for row in range(60):
            case = oracle.Case(rng, int(rng.integers(0, 500)), "mean 3")
            columns = [case.sequence(kind) for kind in ("boolean", "double", "int4", "timestamp", "char")]
            stored = [self.host.library.store(x) if row % 9 else None for x in columns]
            marks = ", ".join(["%s::bytea::qvoseq"] * len(columns))
            self.run_(f"INSERT INTO chunks VALUES (%s, %s, {marks})", [row % 4, row, *stored])
        self.run_("ALTER TABLE chunks SET (parallel_workers = 2); ANALYZE chunks")

    COLUMNS = {"": "dntk", "number": "dnc", "boolean": "c"}

    def calls(self):
        """Calls of every aggregate that has a combine function, over every column that it takes."""
        combined = "SELECT aggfnoid FROM pg_aggregate WHERE aggcombinefn <> 0"
        ours = self.run_(f"SELECT proname FROM pg_proc WHERE proname LIKE 'seq\\_%' AND oid IN ({combined})")
        names = {name for (name,) in ours}
        for f in self.host.functions.values():
            for suffix in host.postgres_script.results(f) if f.kind == "aggregate" else ():
                if f"seq_{f.name}{suffix}" not in names:
                    continue
                for column in self.COLUMNS[f.parameters[0].of]:
                    if suffix in ("", "_int") and column in "tk" and len(host.postgres_script.results(f)) > 1:
                        continue
                    if (suffix == "_time") != (column == "t") and len(host.postgres_script.results(f)) > 2:
                        continue
                    if suffix == "_int" and column == "d":
                        continue
                    fixed = {"lo": "-1", "hi": "100", "n": "7", "q": "0.3"}
                    others = [fixed.get(p.name, "d") for p in f.parameters[1:]]
                    yield f"seq_{f.name}{suffix}({', '.join([column, *others])})"
                names.discard(f"seq_{f.name}{suffix}")
        self.assertEqual(names, set())

    def test_parallel_plans_equal_serial_ones_and_any_order_of_the_rows(self):
        self.chunks()
        calls = list(self.calls())
        self.assertGreater(len(calls), 60)
        for call in calls:
            query = f"SELECT g, {call} FROM chunks GROUP BY g ORDER BY g"
            with self.subTest(call):
                self.run_(PARALLEL.format(0))
                serial = self.run_(query)
                mixed = "FROM (SELECT * FROM chunks ORDER BY i * 37 % 60) AS mixed"
                shuffled = self.run_(query.replace("FROM chunks", mixed))
                self.run_(PARALLEL.format(2))
                plan = str(self.run_(f"EXPLAIN {query}"))
                self.assertTrue("Finalize" in plan and "Partial" in plan and "Workers Planned: 2" in plan, plan)
                for rows in (self.run_(query), shuffled):
                    for (_, value), (_, expected) in zip(rows, serial, strict=True):
                        if isinstance(expected, float):
                            self.assertAlmostEqual(value, expected, delta=1e-11 * max(1, abs(expected)))
                        else:
                            self.assertEqual(value, expected)

    def test_what_depends_on_the_order_is_not_computed_in_parts(self):
        self.chunks()
        self.run_(PARALLEL.format(2))
        calls = "seq_join(d, i)|seq_first(d)|seq_argmax(n)|seq_pack(g)|seq_group(n, d)|seq_state('sum', d)"
        for call in calls.split("|"):
            self.assertNotIn("Partial", str(self.run_(f"EXPLAIN SELECT {call} FROM chunks")), call)

    # ---- Dumps and updates -------------------------------------------------------------------------

    def test_dump_and_restore(self):
        self.run_("CREATE TABLE kept (name text, x qvoseq CHECK (seq_valid(x)), s qvoseq_state)")
        for name, stored in self.values().items():
            state = f"(SELECT seq_state('max', {'%s'}::bytea::qvoseq))"
            self.run_(f"INSERT INTO kept VALUES (%s, %s::bytea::qvoseq, {state})", [name, stored, stored])
        self.run_("INSERT INTO kept SELECT name || ' small', seq_compress(x) FROM kept")
        self.run_("CREATE INDEX ON kept (seq_length(x))")
        self.run_("CREATE VIEW total AS SELECT name, seq_count(x + x) FROM kept WHERE name LIKE 'd%' GROUP BY name")
        dumped = subprocess.run([f"{BIN}/pg_dump", "guest"], capture_output=True, text=True, check=True).stdout
        self.run_("CREATE DATABASE copy")
        try:
            done = subprocess.run(
                [f"{BIN}/psql", "-q", "-v", "ON_ERROR_STOP=1", "copy"], input=dumped, capture_output=True, text=True
            )
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            copy = host.PostgresHost(LIBRARY, dbname="copy")
            for sql in (
                "SELECT name, seq_type(x), seq_to_json(x), s::bytea::text FROM kept ORDER BY name",
                "SELECT * FROM total ORDER BY name",
                "SELECT indexdef FROM pg_indexes WHERE tablename = 'kept'",
            ):
                self.assertEqual(copy.run(sql), self.run_(sql))
            copy.db.close()
        finally:
            self.run_("DROP DATABASE copy WITH (FORCE)")

    # What an extension is made of, without what is numbered anew by every installation.
    OBJECTS = """SELECT pg_describe_object(classid, objid, 0) AS object,
        CASE classid WHEN 'pg_proc'::regclass THEN
            (SELECT concat_ws(' ', prosrc, provolatile, proparallel, proisstrict, procost, prorows, prosupport,
                              aggtransfn, aggfinalfn, aggcombinefn, aggfinalextra, obj_description(p.oid))
             FROM pg_proc p LEFT JOIN pg_aggregate ON aggfnoid = p.oid WHERE p.oid = objid) END
        FROM pg_depend WHERE refobjid = (SELECT oid FROM pg_extension WHERE extname = 'qvoseq') ORDER BY 1"""

    def test_update_from_the_first_version(self):
        fresh = self.run_(self.OBJECTS)
        self.assertGreater(len(fresh), 500)
        self.run_("DROP EXTENSION qvoseq")
        self.assertEqual(self.run_("SELECT proname FROM pg_proc WHERE prosrc LIKE 'qvoseq%'"), [])
        self.run_("CREATE EXTENSION qvoseq VERSION '1.0'")
        self.run_("CREATE TABLE kept AS SELECT '[1,2]'::qvoseq AS x")
        self.run_("ALTER EXTENSION qvoseq UPDATE")
        self.assertEqual(self.run_(self.OBJECTS), fresh)
        self.assertEqual(self.one("SELECT seq_sum(x + 1) FROM kept"), 5.0)

    def test_every_function_of_the_catalog_is_there(self):
        names = {name for (name,) in self.run_("SELECT proname FROM pg_proc WHERE proname LIKE 'seq\\_%'")}
        self.assertEqual({f"seq_{name}" for name in self.host.functions} - names, set())

    # ---- Interrupts --------------------------------------------------------------------------------

    def busy(self):
        """Seconds of its own time that the backend has had: others may keep the machine busy."""
        with open(f"/proc/{self.host.db.get_backend_pid()}/stat", encoding="ascii") as file:
            return sum(map(int, file.read().split()[13:15])) / os.sysconf("SC_CLK_TCK")

    def ended_after(self, sql):
        """Seconds from a cancel to the error of a query."""
        asked = []

        def later():
            time.sleep(0.15)
            asked.append(self.busy())
            self.host.db.cancel()

        thread = threading.Thread(target=later)
        thread.start()
        with self.assertRaisesRegex(psycopg2.errors.QueryCanceled, "canceling statement due to"):
            self.run_(sql)
        thread.join()
        return self.busy() - asked[0]

    def test_interrupts(self):
        self.run_(LONG)
        self.run_("CREATE TABLE big AS SELECT seq_sqrt(seq_range(0, 2000000)) AS x FROM generate_series(1, 40)")
        self.run_("ALTER TABLE big SET (parallel_workers = 2)")
        self.run_(PARALLEL.format(2))
        for sql in (
            "SELECT seq_length(seq_sort(x)) FROM long",
            "SELECT seq_length(seq_rolling_median(x, 1000)) FROM long",
            "SELECT count(*) FROM long, seq_rows(x)",
            "SELECT seq_median(x) FROM long",
            "SELECT seq_median(x), seq_count_distinct(x) FROM big",
            "SELECT length(x::text) FROM long",
            "SELECT array_length(x::float8[], 1) FROM long",
        ):
            with self.subTest(sql):
                self.assertLess(min(self.ended_after(sql) for _ in range(3)), 0.1)
                self.assertEqual(self.one("SELECT seq_length('[1,2]')"), 2)

    def test_statement_timeout(self):
        self.run_(LONG)
        self.run_("SET statement_timeout = 300")
        start = time.monotonic()
        with self.assertRaises(psycopg2.errors.QueryCanceled):
            self.run_("SELECT seq_length(seq_rolling_median(x, 1000)) FROM long")
        self.assertLess(time.monotonic() - start, 1)

    # ---- Hostile values ----------------------------------------------------------------------------

    def mutated(self, stored, rng):
        data = bytearray(stored)
        for _ in range(int(rng.integers(1, 4))):
            data[int(rng.integers(0, len(data)))] = int(rng.integers(0, 256))
        return bytes(data[: int(rng.integers(0, len(data)))] if rng.random() < 0.2 else data)

    def copied(self, table, values):
        """COPY BINARY into the table."""
        rows = b"".join(b"\0\1" + len(v).to_bytes(4, "big") + v for v in values)
        head = b"PGCOPY\n\xff\r\n\0" + b"\0" * 8
        with self.host.db.cursor() as cursor:
            cursor.copy_expert(f"COPY {table} FROM STDIN (FORMAT binary)", io.BytesIO(head + rows + b"\xff\xff"))

    def test_copy_binary(self):
        self.run_("CREATE TABLE wire (x qvoseq); CREATE TABLE states (s qvoseq_state)")
        values = list(self.values().values())
        self.copied("wire", values)
        self.assertEqual([bytes(x) for (x,) in self.run_("SELECT x::bytea FROM wire")], values)
        state = bytes(self.one("SELECT seq_state('median', x)::bytea FROM wire WHERE seq_type(x) = 'double'"))
        self.copied("states", [state])
        out = io.BytesIO()
        with self.host.db.cursor() as cursor:
            cursor.copy_expert("COPY wire TO STDOUT (FORMAT binary)", out)
        self.assertTrue(all(value in out.getvalue() for value in values))
        rng = np.random.default_rng(5)
        refused = 0
        for table, source in [("wire", values[i % len(values)]) for i in range(300)] + [("states", state)] * 100:
            try:
                self.copied(table, [self.mutated(source, rng)])
            except psycopg2.errors.InvalidBinaryRepresentation:
                refused += 1
        self.assertGreater(refused, 350)  # what is not refused mutated into itself, or beyond any checksum
        self.assertEqual(self.one("SELECT count(*) FROM wire WHERE NOT seq_valid(x)"), 0)

    def test_unchecked_bytes_end_no_backend(self):
        """Bytes that came by no input function, into every function that takes a sequence first."""
        self.run_(AS_IS)
        pid = self.one("SELECT pg_backend_pid()")
        rng = np.random.default_rng(6)
        values = list(self.values().values())
        more = {"text": "'1 hour'", "integer": "3", "real": "0.5", "anything": "1", "scalar": "2", "operand": "1"}
        functions = [f for f in self.host.functions.values() if f.parameters[0].takes in ("sequence", "operand")]
        outcomes = set()
        for f in functions:
            for i in range(12):
                value = self.mutated(values[int(rng.integers(0, len(values)))], rng) if i else b""
                others = [more.get(p.takes, "v") for p in f.parameters[1 : f.fewest]]
                call = f"seq_{f.name}({', '.join(['v', *others])})"
                sql = f"SELECT {call} FROM (SELECT as_is(%s, '') AS v) AS t"
                if f.kind == "table":
                    sql = f"SELECT count(r) FROM (SELECT as_is(%s, '') AS v) AS t, {call} AS r"
                try:
                    self.run_(sql, [value])
                    outcomes.add("a result")
                except psycopg2.Error as error:
                    self.assertIn(error.pgcode[:2], ("22", "42", "54"), error)
                    self.assertNotIn("internal error", str(error))
                    outcomes.add("an error")
        self.assertEqual(outcomes, {"a result", "an error"})
        self.assertEqual(self.one("SELECT pg_backend_pid()"), pid)

    # ---- Memory ------------------------------------------------------------------------------------

    def pages(self, which):
        """Bytes of the backend's memory: 0 addressed, 1 resident."""
        with open(f"/proc/{self.one('SELECT pg_backend_pid()')}/statm", encoding="ascii") as file:
            return int(file.read().split()[which]) * os.sysconf("SC_PAGESIZE")

    def test_nothing_is_left_behind(self):
        chunk = "seq_compress(seq_sqrt(seq_range(i, 20000)))"
        self.run_(f"CREATE TABLE t AS SELECT i, {chunk} AS x FROM generate_series(1, 20) AS i")
        self.run_("INSERT INTO t VALUES (21, '[\"a\"]')")
        good = "SELECT i % 3, seq_median(x), seq_count_distinct(x), seq_join(x, i) FROM t WHERE i < 21 GROUP BY 1"
        bad = [
            "SELECT seq_median(x), seq_group(x, x) FROM t",
            "SELECT pos, 1 / (pos - 5000) FROM t, seq_rows(x)",
            "SELECT seq_rows_int(x) FROM t",
            "SELECT x::bigint[] FROM t",
            "SELECT seq_sum(x) OVER (ORDER BY i) FROM t",
        ]

        def once():
            self.run_(good)
            for sql in bad:
                with self.assertRaises(psycopg2.Error):
                    self.run_(sql)

        for _ in range(3):
            once()
        before = self.pages(1)
        for _ in range(25):
            once()
        self.assertLess(self.pages(1) - before, 4 << 20)

    def test_memory_runs_out(self):
        """The limit of the process is an error of the statement."""
        pid = self.one("SELECT pg_backend_pid()")
        self.run_(f"COPY (SELECT 1) TO PROGRAM 'prlimit --pid {pid} --as={self.pages(0) + (1 << 30)}:'")
        self.run_("SET qvoseq.budget = 2000000000")
        many = "seq_range(0, 900000000)"
        for call in (f"seq_reverse({many})", f"seq_median(seq_sqrt({many}))"):
            with self.assertRaises(psycopg2.errors.OutOfMemory):
                self.run_(f"SELECT {call}")
            self.assertEqual(self.one("SELECT seq_sum(seq_range(0, 5))"), 10.0)
        self.assertEqual(self.one("SELECT pg_backend_pid()"), pid)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
