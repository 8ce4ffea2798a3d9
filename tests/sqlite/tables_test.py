"""Tables that chunk themselves: random statements beside an ordinary table; declarations, names and values; transactions,
crashes, other connections; and what happens to whoever reads tables that somebody has damaged.

usage: tables_test.py EXTENSION"""

import ctypes
import os
import random
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest

from tables_model import SHAPES, Model

EXTENSION = sys.argv[1]
TICKS = "symbol TEXT KEY, time TIMESTAMP ORDER, price DOUBLE, volume INT4, side TEXT, chunk_rows=50"
FIRST_VERSION = os.path.join(os.path.dirname(os.path.abspath(__file__)), "tables_version_1.db")


def connect(path=":memory:", **options):
    db = sqlite3.connect(path, isolation_level=None, **options)
    db.enable_load_extension(True)
    db.load_extension(EXTENSION)
    db.execute("PRAGMA synchronous = OFF")  # processes are killed here, machines are not
    return db


def ticks(n, start=0):
    """Rows that any reader can make again: three symbols, a second between ticks."""
    return [("ABC"[i % 3], f"2026-01-01T{i // 3600:02}:{i // 60 % 60:02}:{i % 60:02}", i % 100 / 4, i, "buy" if i % 5 else "sell")
            for i in range(start, start + n)]


def insert(db, rows, table="ticks"):
    db.execute("BEGIN")
    db.executemany(f"INSERT INTO {table} VALUES (?, ?, ?, ?, ?)", rows)
    db.execute("COMMIT")


class TablesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, "test.db")

    def table(self, path=":memory:", n=0, declaration=TICKS):
        db = connect(path)
        db.execute(f"CREATE VIRTUAL TABLE ticks USING qvoseq({declaration})")
        insert(db, ticks(n))
        return db

    def refused(self, db, sql, message, *arguments, kind=sqlite3.OperationalError):
        with self.assertRaises(kind) as caught:
            db.execute(sql, arguments).fetchall()
        self.assertIn(message, str(caught.exception))

    def assert_sound(self, db, rows):
        self.assertEqual(sorted(db.execute("SELECT * FROM ticks").fetchall()), sorted(rows))
        self.assertEqual(db.execute("SELECT * FROM seq_check('ticks')").fetchall(), [])
        self.assertEqual(db.execute("PRAGMA integrity_check").fetchall(), [("ok",)])

    def test_as_an_ordinary_table(self):
        for name, shape in SHAPES.items():
            for seed in range(4):
                with self.subTest(name, seed=seed):
                    Model(connect(self.path + f"{name}{seed}"), shape, seed).run(120)

    def test_declarations(self):
        db = connect()
        for arguments, message in (
                ("x WIDE", "column x needs a type: boolean, int1 to int8"),
                ("x", "column x needs a type"),
                ("x CHAR(256)", "the width of char must be from 1 to 255"),
                ("x INT NOT NULL", "column x: unknown word NOT, known are KEY and ORDER"),
                ("x INT KEY ORDER, y INT", "column x cannot be KEY and ORDER"),
                ("x REAL KEY, y INT", "column x: a KEY must be an integer"),
                ("x TEXT ORDER", "column x: ORDER must be a timestamp or a number"),
                ("x INT ORDER, y INT ORDER", "two ORDER columns, x and y; one is allowed"),
                ("x INT, X REAL", "two columns X"),
                ("x INT KEY", "a table needs a column that is not a KEY"),
                ("x INT, chunk_rows=0", "chunk_rows must be an integer from 1 to 1048576, got 0"),
                ("x INT, rows=5", "unknown option rows, known is chunk_rows"),
                ("x INT, chunk_rows=5, chunk_rows=6", "two options chunk_rows; one is allowed"),
                ("7 INT", "expected the name of a column, got 7 INT")):
            self.refused(db, f"CREATE VIRTUAL TABLE t USING qvoseq({arguments})", message)
            self.assertEqual(db.execute("SELECT name FROM sqlite_schema").fetchall(), [], arguments)
        db.execute("CREATE TABLE t_tail(x)")
        self.refused(db, "CREATE VIRTUAL TABLE t USING qvoseq(x INT)", "table \"t_tail\" already exists")
        self.assertEqual(db.execute("SELECT name FROM sqlite_schema").fetchall(), [("t_tail",)])
        db.execute("CREATE VIRTUAL TABLE u USING qvoseq(a Boolean key, b DOUBLE PRECISION, c varchar(3), d datetime, e bigint,"
                   " f smallint, g Float, h uint8)")
        db.execute("INSERT INTO u VALUES (1, '2.5', 'abc', '2026-01-01 10:00', 7.0, 8, 0.5, 1e19)")
        self.assertEqual(db.execute("SELECT * FROM u").fetchall(), [(1, 2.5, "abc", "2026-01-01T10:00:00", 7, 8, 0.5, 1e19)])
        large = [(2**53 + 1,), (2**63 - 1,), (1.5 * 2**63,)]
        db.executemany("INSERT INTO u VALUES (1, 0, '', 0, 0, 0, 0, ?)", large)
        db.execute("UPDATE u SET a = 0")
        self.assertEqual(db.execute("SELECT h FROM u WHERE h <> 1e19").fetchall(), large)
        types = db.execute("SELECT seq_type(b), seq_type(c), seq_type(d), seq_type(e), seq_type(f), seq_type(g) FROM u_seq LIMIT 1")
        self.assertEqual(types.fetchall(), [("double", "char(3)", "timestamp", "int8", "int2", "float")])

    def test_values_that_do_not_fit(self):
        db = self.table(n=10)
        for row, message in (((None, "2026-01-01", 1, 1, ""), "ticks: column symbol: KEY may not be NULL"),
                             (("A", None, 1, 1, ""), "ticks: column time: ORDER may not be NULL"),
                             (("A", "soon", 1, 1, ""), "ticks: column time: 'soon' does not fit timestamp"),
                             (("A", "2026-01-01", "x", 1, ""), "ticks: column price: 'x' does not fit double"),
                             (("A", "2026-01-01", 1, 2**31, ""), "ticks: column volume: 2147483648 does not fit int4"),
                             (("A", "2026-01-01", 1, None, ""), "column volume: NULL is for float and double alone"),
                             (("A", "2026-01-01", 1, 1, "x" * 256), "does not fit char"),
                             (("A", "2026-01-01", 1, 1, b"x"), "column side: a blob does not fit char")):
            self.refused(db, "INSERT INTO ticks VALUES (?, ?, ?, ?, ?)", message, *row, kind=sqlite3.IntegrityError)
        self.refused(db, "INSERT INTO ticks(rowid, symbol) VALUES (5, 'A')", "cannot be chosen", kind=sqlite3.IntegrityError)
        self.refused(db, "SELECT * FROM ticks WHERE time > 'soon'", "'soon' does not fit timestamp", kind=sqlite3.IntegrityError)
        returned = db.execute("INSERT INTO ticks VALUES ('A', 0, '1.5', '7', 8) RETURNING symbol, volume").fetchall()
        self.assertEqual(returned, [("A", 7)])
        self.assert_sound(db, [*ticks(10), ("A", "1970-01-01T00:00:00", 1.5, 7, "8")])

    def test_the_shell_imports(self):
        csv = os.path.join(os.path.dirname(self.path), "ticks.csv")
        with open(csv, "w", encoding="utf-8") as file:
            file.writelines(",".join(map(str, row)) + "\n" for row in ticks(500))
        script = f".load {EXTENSION}\nCREATE VIRTUAL TABLE ticks USING qvoseq({TICKS});\n.import --csv {csv} ticks\n"
        done = subprocess.run(["sqlite3", self.path], input=script, capture_output=True, text=True, check=True)
        self.assertEqual((done.stdout, done.stderr), ("", ""))
        self.assert_sound(connect(self.path), ticks(500))
        dump = subprocess.run(["sqlite3", self.path, f".load {EXTENSION}", ".dump"], capture_output=True, text=True, check=True)
        subprocess.run(["sqlite3", self.path + "2"], input=dump.stdout, text=True, check=True)
        self.assert_sound(connect(self.path + "2"), ticks(500))

    def test_names_and_schemas(self):
        db = connect(self.path)
        db.execute("ATTACH ':memory:' AS \"other \"\"one\"\"\"")
        name = '"my ""ticks\'"'
        columns = '"sym bol" TEXT KEY, [ti\'me] TIMESTAMP ORDER, `first` DOUBLE, last INT4, "a""b" TEXT, chunk_rows=50'
        for schema in ("main", '"other ""one"""', "temp"):
            table = f"{schema}.{name}"
            db.execute(f"CREATE VIRTUAL TABLE {table} USING qvoseq({columns})")
            insert(db, ticks(200), table)
            self.assertEqual(sorted(db.execute(f"SELECT * FROM {table}").fetchall()), sorted(ticks(200)))
            sequences = f"{schema}.\"my \"\"ticks'_seq\""
            self.assertEqual(db.execute(f"SELECT sum(seq_length(last)) FROM {sequences}('2026-01-01', NULL)").fetchone(), (200,))
            db.execute(f"ALTER TABLE {table} RENAME TO \"new name\"")
            self.assertEqual(db.execute(f"SELECT seq_sum(last) FROM {schema}.\"new name_seq\"").fetchone(), (199 * 100,))
            self.assertEqual(db.execute(f"SELECT count(*) FROM {schema}.\"new name\" WHERE last < 100").fetchone(), (100,))
            insert(db, ticks(5, 200), f"{schema}.\"new name\"")
            schema_name = 'other "one"' if '"' in schema else schema
            self.assertEqual(db.execute("SELECT seq_pack_tail('new name', ?)", [schema_name]).fetchone(), (55,))
            self.assertEqual(db.execute("SELECT * FROM seq_check('new name', ?)", [schema_name]).fetchall(), [])
            db.execute(f"DROP TABLE {schema}.\"new name\"")
            self.assertEqual(db.execute(f"SELECT name FROM {schema}.sqlite_schema").fetchall(), [])
        db = self.table(n=5)
        self.refused(db, "ALTER TABLE ticks_seq RENAME TO other", "ticks_seq: is renamed with ticks")
        insert_one = "INSERT INTO ticks VALUES ('A', 0, 0, 0, '')"
        db.executescript(f"BEGIN; {insert_one}; SAVEPOINT s; {insert_one}")
        self.refused(db, "DROP TABLE ticks", "locked")  # it could not come back with the row of before
        for sql in ("ROLLBACK TO s", "RELEASE s", insert_one, "ALTER TABLE ticks RENAME TO old", insert_one.replace("ticks", "old"),
                    "CREATE VIRTUAL TABLE ticks USING qvoseq(x INT)", "INSERT INTO ticks VALUES (1)"):
            db.execute(sql)
        self.assertEqual(db.execute("SELECT (SELECT count(*) FROM ticks), count(*), seq_pack_tail('ticks') FROM old").fetchone(), (1, 8, 1))
        db.executescript("DROP TABLE old; DROP TABLE ticks")
        self.assertEqual(db.execute("SELECT name FROM sqlite_schema").fetchall(), [])
        for function in ("seq_pack_tail('t')", "seq_pack_tail(7)", "seq_pack_tail('sqlite_schema')"):
            self.refused(db, f"SELECT {function}", "seq_pack_tail: ")
        self.refused(db, "SELECT * FROM seq_check('sqlite_schema')", "seq_check: sqlite_schema is not a table of qvoseq")

    def test_a_file_goes_through_everything(self):
        db = self.table(self.path, 400)
        db.execute("VACUUM")
        self.assert_sound(db, ticks(400))
        db.execute(f"VACUUM INTO '{self.path}2'")
        copy = connect(":memory:")
        copy.execute(f"ATTACH '{self.path}2' AS file")
        # A connection that has touched nothing else yet.
        self.assertEqual(copy.execute("SELECT symbol, seq_sum(volume) FROM file.ticks_seq GROUP BY 1").fetchall(),
                         [(s, sum(row[3] for row in ticks(400) if row[0] == s)) for s in "ABC"])
        db.execute("PRAGMA journal_mode = WAL")
        db.execute("DELETE FROM ticks WHERE time < '2026-01-01T00:03:20'")
        self.assertEqual(db.execute("SELECT changes()").fetchone(), (200,))
        self.assert_sound(db, ticks(200, 200))

    def test_only_what_a_query_needs_is_read(self):
        """Whatever is broken and not needed does not matter; and everything that is, is found by the check."""
        db = self.table(n=600)
        plan = "EXPLAIN QUERY PLAN SELECT * FROM ticks WHERE symbol = 'A' ORDER BY time"
        for order in ("", " DESC"):
            self.assertNotIn("TEMP B-TREE", str(db.execute(plan + order).fetchall()))
        self.assertNotIn("TEMP B-TREE", str(db.execute("EXPLAIN QUERY PLAN SELECT symbol, max(time) FROM ticks GROUP BY symbol").fetchall()))
        joined = str(db.execute("EXPLAIN QUERY PLAN SELECT * FROM ticks, (SELECT 'A' AS s, '2026-01-01' AS t) AS k"
                                " WHERE symbol = s AND time = t").fetchall())
        self.assertIn("k0", joined)
        db.execute("UPDATE ticks_chunks SET volume = x'00' WHERE symbol = 'A'")
        db.execute("UPDATE ticks_chunks SET price = x'00' WHERE symbol = 'B' AND id = (SELECT max(id) FROM ticks_chunks WHERE symbol = 'B')")
        self.assertEqual(db.execute("SELECT count(*), sum(price) FROM ticks WHERE symbol = 'A'").fetchone(),
                         (200, sum(row[2] for row in ticks(600) if row[0] == "A")))
        self.assertEqual(db.execute("SELECT price FROM ticks WHERE symbol = 'B' LIMIT 3").fetchall(), [(0.25,), (1.0,), (1.75,)])
        self.assertEqual(db.execute("SELECT seq_sum(volume) FROM ticks_seq WHERE symbol IN ('B', 'C')").fetchone(),
                         (sum(row[3] for row in ticks(600) if row[0] != "A"),))
        for sql in ("SELECT volume FROM ticks", "SELECT sum(price) FROM ticks", "SELECT seq_sum(volume) FROM ticks_seq"):
            with self.assertRaises(sqlite3.DatabaseError, msg=sql):
                db.execute(sql).fetchall()
        faults = db.execute("SELECT \"table\", fault, count(*) FROM seq_check('ticks') GROUP BY 1, 2").fetchall()
        self.assertEqual(faults, [("ticks_chunks", "price: not a sound sequence", 1),
                                  ("ticks_chunks", "volume: not a sound sequence", 4)])
        db.execute("UPDATE ticks_chunks SET first = first - 1, number = number + 1 WHERE id = 2")
        faults = str(db.execute("SELECT fault FROM seq_check('ticks') WHERE id = 2").fetchall())
        self.assertIn("another type or number of values", faults)

    def test_readers_see_what_was_there_when_they_began(self):
        db = self.table(n=300)
        rows = db.execute("SELECT volume FROM ticks WHERE symbol = 'A'")
        chunks = db.execute("SELECT seq_to_json(volume) FROM ticks_seq WHERE symbol = 'A'")
        expected = [(row[3],) for row in ticks(300) if row[0] == "A"]
        first, first_chunk = rows.fetchone(), chunks.fetchone()
        db.execute("DELETE FROM ticks WHERE volume % 2 = 1")
        insert(db, ticks(100, 50))
        db.execute("UPDATE ticks SET volume = -1")
        self.assertEqual([first, *rows.fetchall()], expected)
        self.assertEqual([v for text, in [first_chunk, *chunks.fetchall()] for v in eval(text)], [v for v, in expected])
        self.assertEqual(db.execute("SELECT DISTINCT volume FROM ticks").fetchall(), [(-1,)])
        db.executescript("CREATE VIRTUAL TABLE t USING qvoseq(at INT ORDER, s TEXT, chunk_rows=10);"
                         "INSERT INTO t SELECT volume, side FROM ticks LIMIT 10; BEGIN; INSERT INTO t VALUES (10, 'rolled'), (11, 'back')")
        rows = db.execute("SELECT s FROM t")
        rows.fetchone()
        db.execute("ROLLBACK")
        db.executescript("INSERT INTO t VALUES (10, 'of'), (11, 'other'), (12, 'number'); UPDATE t SET s = 'x' WHERE at > 9")
        with self.assertRaisesRegex(sqlite3.OperationalError, "the table was changed while it was read"):
            rows.fetchall()
        self.refused(db, "UPDATE ticks_seq SET price = NULL", "rows are inserted into ticks, and changed there")

    def test_a_savepoint_from_before_the_first_change(self):
        db = self.table(n=10)
        db.executescript("BEGIN; SAVEPOINT a; UPDATE ticks SET price = 1; SELECT * FROM ticks;"
                         "INSERT INTO ticks VALUES ('A', 0, 0, 0, ''); SAVEPOINT b; ROLLBACK TO a; COMMIT")
        self.assert_sound(db, ticks(10))

    def test_other_connections_and_processes(self):
        writer = self.table(self.path, 300)
        writer.execute("PRAGMA journal_mode = WAL")
        reader = connect(self.path)
        reader.execute("BEGIN")
        self.assertEqual(reader.execute("SELECT count(*) FROM ticks").fetchone(), (300,))
        insert(writer, ticks(300, 300))
        writer.execute("SELECT seq_pack_tail('ticks')").fetchall()
        self.assertEqual(reader.execute("SELECT count(*), sum(volume) FROM ticks").fetchone(), (300, 299 * 150))
        self.assertEqual(reader.execute("SELECT seq_sum(volume) FROM ticks_seq").fetchone(), (299 * 150,))
        reader.execute("COMMIT")
        code = f".load {EXTENSION}\nINSERT INTO ticks VALUES ('A', '2026-02-01', 1, 1, 'x');\nSELECT seq_count(price) FROM ticks_seq;"
        done = subprocess.run(["sqlite3", self.path], input=code, capture_output=True, text=True, check=True)
        self.assertEqual(done.stdout, "601\n")
        self.assertEqual(reader.execute("SELECT count(*) FROM ticks").fetchone(), (601,))
        writer.execute("BEGIN IMMEDIATE")
        reader.execute("PRAGMA busy_timeout = 0")
        self.refused(reader, "INSERT INTO ticks VALUES ('A', 0, 0, 0, '')", "locked")
        writer.execute("COMMIT")

    def test_a_writer_is_killed(self):
        """What is committed is there, whole; what is not, is not."""
        for mode in ("DELETE", "WAL"):
            path = self.path + mode
            self.table(path).execute(f"PRAGMA journal_mode = {mode}")
            code = (f"import sys; sys.argv[1:] = [{EXTENSION!r}]; sys.path.insert(0, {os.path.dirname(__file__)!r})\n"
                    "import tables_test as t\n"
                    f"db = t.connect({path!r}, timeout=9)\n"
                    "while True:\n"
                    "    n = db.execute('SELECT count(*) FROM ticks').fetchone()[0]\n"
                    "    t.insert(db, t.ticks(70, n))\n"
                    "    print(flush=True)\n"
                    "    db.execute('BEGIN')\n"
                    "    db.execute('DELETE FROM ticks WHERE volume % 7 = 0')\n"
                    "    db.execute('UPDATE ticks SET volume = volume + 1')\n"
                    "    db.execute('SELECT seq_pack_tail(?)', ['ticks']).fetchall()\n"
                    "    db.execute('ROLLBACK')\n")
            found = 0
            for i in range(6):
                with subprocess.Popen(["/usr/bin/python3", "-c", code], stdout=subprocess.PIPE) as writer:
                    writer.stdout.readline()
                    time.sleep(0.037 * i)
                    writer.send_signal(signal.SIGKILL)
                db = connect(path, timeout=9)
                n = db.execute("SELECT count(*) FROM ticks").fetchone()[0]
                self.assertEqual(n % 70, 0)
                self.assertGreaterEqual(n, found)
                self.assert_sound(db, ticks(n))
                found = n
                db.close()
            self.assertGreater(found, 0)

    def test_damaged_tables_give_errors(self):
        rng = random.Random(1)
        db = self.table(n=400)
        outcomes = set()
        columns = {"ticks_chunks": ["id", "symbol", "first", "last", "number", "price", "volume", "side", "time"]}
        columns["ticks_tail"] = [*columns["ticks_chunks"], "raw"]
        for _ in range(400):
            table = rng.choice(list(columns))
            column = rng.choice(columns[table])
            blob = bytes(rng.randrange(256) for _ in range(rng.choice([0, 3, 50])))
            flipped = f"CAST(substr({column}, 1, {rng.randrange(200)}) || x'{rng.randrange(256):02x}' || substr({column}, {rng.randrange(200)}) AS BLOB)"
            value = rng.choice([str(rng.randrange(-5, 5)), str(rng.randrange(2**63)), "'text'", f"x'{blob.hex()}'", "1e300", flipped, "NULL"])
            db.execute("BEGIN")
            try:
                one = f"{column} = {value} WHERE id = (SELECT id FROM {table} ORDER BY random() LIMIT 1)"
                db.execute(f"UPDATE {table} SET {rng.choice([one, one, one, 'first = last, last = first'])}")
            except sqlite3.Error:
                pass
            for sql in ("SELECT * FROM ticks", "SELECT * FROM ticks WHERE symbol = 'A' AND time > '2026-01-01T00:02'",
                        "SELECT seq_to_json(price), seq_to_json(time), symbol FROM ticks_seq('2026-01-01T00:01', '2026-01-01T00:04')",
                        "SELECT * FROM seq_check('ticks')", "UPDATE ticks SET volume = volume + 1, time = time WHERE price > 5",
                        "DELETE FROM ticks_seq WHERE first = '2026-01-01T00:01' AND last = '2026-01-01T00:04'",
                        "DELETE FROM ticks WHERE volume > 100", "INSERT INTO ticks SELECT * FROM ticks LIMIT 50", "SELECT seq_pack_tail('ticks')"):
                try:
                    db.execute(sql).fetchall()
                    outcomes.add("fine")
                except (sqlite3.Error, UnicodeDecodeError) as error:
                    outcomes.add(type(error).__name__)
            db.execute("ROLLBACK")
        self.assertLessEqual({"fine", "DatabaseError"}, outcomes)
        self.assert_sound(db, ticks(400))
        db.executescript("UPDATE ticks_chunks SET price = CAST(price AS TEXT);"
                         "UPDATE ticks_tail SET side = CAST(substr(side, 2) || x'ff' AS BLOB) WHERE raw")
        self.assertEqual(db.execute("SELECT DISTINCT fault FROM seq_check('ticks')").fetchall(),
                         [("price: not a sound sequence",), ("side: values that the type does not have",)])

    def test_damaged_bounds(self):  # so that pieces overlap
        db = connect()
        db.execute("CREATE VIRTUAL TABLE ticks USING qvoseq(at INT ORDER, x INT, chunk_rows=10)")
        db.executemany("INSERT INTO ticks VALUES (?, 1)", [(i,) for i in [*range(30), 10, 20]])
        db.executescript("UPDATE ticks_chunks SET first = last, last = first; DELETE FROM ticks_seq WHERE first = 3 AND last = 24")
        self.assertNotEqual(db.execute("SELECT * FROM seq_check('ticks')").fetchall(), [])

    def test_huge_changes_take_little_memory(self):
        n = 1_300_000
        code = (f"import sys; sys.argv[1:] = [{EXTENSION!r}]; sys.path.insert(0, {os.path.dirname(__file__)!r})\n"
                "import tables_test as t\n"
                f"db = t.connect({self.path!r})\n"
                "db.execute('CREATE VIRTUAL TABLE t USING qvoseq(at INT ORDER, x INT)')\n"
                "db.execute('INSERT INTO t WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c LIMIT ?)"
                f" SELECT x, x FROM c', [{n}])\n"
                f"db.execute('UPDATE t SET at = x * 7919 % {n}')\n"
                "print(db.execute('SELECT count(*), sum(at), sum(x) FROM t').fetchone())\n"
                "print(db.execute('SELECT x FROM t LIMIT 3').fetchall())\n"
                "print(db.execute('SELECT count(*) FROM seq_check(?)', ['t']).fetchone())\n"
                "db.execute('DELETE FROM t_seq WHERE last = 1000000')\n"
                "print(db.execute('SELECT count(*), min(at) FROM t').fetchone())\n"
                "db.execute('CREATE VIRTUAL TABLE narrow USING qvoseq(x BOOLEAN)')\n"
                "db.execute('INSERT INTO narrow WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c LIMIT 4500000)"
                " SELECT x % 2 FROM c')\n"
                "print(db.execute('SELECT count(*), sum(x) FROM narrow').fetchone())\n"
                "db.execute('CREATE VIRTUAL TABLE wide USING qvoseq(at INT ORDER, x TEXT)')\n"
                f"db.execute('INSERT INTO wide SELECT at, CASE at WHEN {n} - 1 THEN printf(?, 0) ELSE 1 END FROM t', ['%0255d'])\n"
                "print(db.execute('SELECT count(*), max(length(x)) FROM wide').fetchone())\n"
                "print([line.split()[1] for line in open('/proc/self/status') if line.startswith('VmHWM')][0])\n")
        done = subprocess.run(["/usr/bin/python3", "-c", code], capture_output=True, text=True, check=True)
        *facts, peak = done.stdout.splitlines()
        total = n * (n + 1) // 2
        first = sorted(range(1, n + 1), key=lambda x: x * 7919 % n)[:3]
        self.assertEqual(facts, [str((n, total - n, total)), str([(x,) for x in first]), "(0,)", "(300000, 1000000)", "(4500000, 2250000)", "(300000, 255)"])
        self.assertLess(int(peak), 64 * 1024)

    def test_memory_runs_out(self):
        """At some limits a change succeeds, at lower ones nothing of it is left; then it succeeds."""
        sqlite = ctypes.CDLL("libsqlite3.so.0")
        sqlite.sqlite3_memory_used.restype = ctypes.c_int64
        sqlite.sqlite3_hard_heap_limit64.argtypes = [ctypes.c_int64]
        db = self.table(self.path, 300)
        db.execute("PRAGMA cache_size = 5")
        outcomes = set()
        for room in range(0, 200_000, 1700):
            sqlite.sqlite3_hard_heap_limit64(sqlite.sqlite3_memory_used() + room)
            try:
                db.execute("BEGIN")
                db.execute("UPDATE ticks SET volume = volume + 1, time = '2026-01-02' WHERE volume % 3 = 1")
                db.execute("SELECT seq_pack_tail('ticks')").fetchall()
                outcomes.add(db.execute("SELECT sum(volume) FROM ticks").fetchone()[0])
            except (MemoryError, sqlite3.Error):
                outcomes.add(None)
            finally:
                sqlite.sqlite3_hard_heap_limit64(0)
            if db.in_transaction:
                db.execute("ROLLBACK")
        self.assertEqual(outcomes, {None, 299 * 150 + 100})
        self.assert_sound(db, ticks(300))

    def test_versions(self):
        with open(FIRST_VERSION, "rb") as file, open(self.path, "wb") as copy:
            copy.write(file.read())
        db = connect(self.path)
        self.assert_sound(db, ticks(200))
        insert(db, ticks(100, 200))
        self.assert_sound(db, ticks(300))
        db.execute("UPDATE ticks_meta SET value = 2")
        for sql in ("SELECT * FROM ticks", "SELECT * FROM ticks_seq", "DELETE FROM ticks", "SELECT seq_pack_tail('ticks')"):
            self.refused(connect(self.path), sql, "newer version of qvoseq: its tables are of version 2")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
