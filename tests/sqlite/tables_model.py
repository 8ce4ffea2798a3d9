"""Random statements on a table of chunks and on an ordinary table of the same name in another schema. After each of them
both hold the same rows, the chunk rows hold them in order, and the table's own check finds no fault.

The names of tables stand in the statements as {t}, columns have the same names, and time stamps are text in the one form
in which they come out, so that the same statement means the same to both."""

import json
import random

SYMBOLS = ["A", "B", "C with ' and \"", "", "7"]
SIDES = ["buy", "sell", "Grüße"]


class Shape:
    """A declaration, and what its columns hold."""

    def __init__(self, columns, chunk_rows):
        self.declaration = ", ".join(f"{name} {kind}" for name, kind in columns) + f", chunk_rows={chunk_rows}"
        self.names = [name for name, _ in columns]
        self.keys = [name for name, kind in columns if kind.endswith("KEY")]
        self.order = next((name for name, kind in columns if kind.endswith("ORDER")), None)
        self.kinds = dict(columns)

    def value(self, name, rng):
        kind = self.kinds[name].split()[0]
        if kind == "TIMESTAMP":
            return f"2026-01-{rng.randrange(1, 29):02}T{rng.randrange(24):02}:00:{rng.randrange(60):02}"
        if kind == "DOUBLE":
            plain = name in (self.order, *self.keys)
            return None if not plain and rng.random() < 0.1 else round(rng.uniform(-50, 50), rng.choice([0, 2])) + 0.0  # no -0.0
        if kind.startswith("TEXT"):
            return rng.choice(SYMBOLS if name in self.keys else SIDES)
        return rng.randrange(-100, 100)

    def row(self, rng):
        return [self.value(name, rng) for name in self.names]


SHAPES = {
    "ticks": Shape([("symbol", "TEXT KEY"), ("time", "TIMESTAMP ORDER"), ("price", "DOUBLE"), ("volume", "INT4"),
                    ("side", "TEXT")], 20),
    "one series": Shape([("price", "DOUBLE"), ("at", "INT2 ORDER"), ("last", "DOUBLE")], 3),
    "two keys": Shape([("day", "INT1 KEY"), ("price", "DOUBLE"), ("symbol", "TEXT KEY"), ("at", "DOUBLE ORDER")], 10),
    "no order": Shape([("symbol", "TEXT KEY"), ("first", "INT1"), ("side", "TEXT")], 8),
}


class Model:
    """A connection with the table `ticks` in main and the ordinary one in the schema `plain`."""

    def __init__(self, db, shape, seed):
        self.db, self.shape, self.rng = db, shape, random.Random(seed)
        self.savepoints = []
        db.execute(f"CREATE VIRTUAL TABLE ticks USING qvoseq({shape.declaration})")
        db.execute("ATTACH ':memory:' AS plain")
        types = {"TEXT": "TEXT", "TIMESTAMP": "TIMESTAMP", "DOUBLE": "REAL"}
        columns = (f"{name} {types.get(shape.kinds[name].split()[0], 'INTEGER')}" for name in shape.names)
        db.execute(f"CREATE TABLE plain.ticks({', '.join(columns)})")

    def both(self, sql, *arguments):
        """Runs a statement on both tables: the rows, or how many rows changed."""
        results = []
        for schema in ("plain", "main"):
            cursor = self.db.execute(sql.format(t=f"{schema}.ticks"), *arguments)
            results.append(sorted(cursor.fetchall(), key=str) if cursor.description else cursor.rowcount)
        assert results[0] == results[1], f"{sql} {arguments}\nplain:  {results[0]}\nchunks: {results[1]}"
        return results[1]

    def condition(self):
        """A condition on keys, order or anything, as SQL with its values."""
        shape, rng = self.shape, self.rng
        terms, values = [], []
        for name in rng.sample(shape.names, rng.randrange(0, 3)):
            operator = rng.choice(["=", "IN (?,?) AND 1 =", "IN (SELECT ? UNION SELECT ? UNION SELECT NULL) AND 1 =", "IS"]) if name in shape.keys else rng.choice(
                ["=", "<", "<=", ">", ">=", "BETWEEN ? AND", "IS", "IN (?, ?) AND 1 ="])
            n = operator.count("?")
            terms.append(f"{name} {operator} ?")
            value = lambda: self.other_type(shape.value(name, rng))
            values += [value() for _ in range(n)] + [1 if "1 =" in operator else value()]
        if rng.random() < 0.1:
            terms.append(f"{rng.choice(shape.names)} IS NULL")
        return " AND ".join(terms) or "1", values

    def other_type(self, value):
        """Sometimes a number as text, or text that is a number as one."""
        if self.rng.random() < 0.8:
            return value
        return 7 if value == "7" else value if value is None else str(value)

    def insert(self):
        rows = [self.shape.row(self.rng) for _ in range(self.rng.choice([1, 1, 2, 30]))]
        marks = ",".join("?" * len(self.shape.names))
        if len(rows) > 2 and self.rng.random() < 0.5:
            for schema in ("plain", "main"):
                self.db.executemany(f"INSERT INTO {schema}.ticks VALUES ({marks})", rows)
        else:
            all_marks = ",".join([f"({marks})"] * len(rows))
            self.both(f"INSERT INTO {{t}} VALUES {all_marks}", [value for row in rows for value in row])

    def insert_selected(self):
        condition, values = self.condition()
        for schema in ("main", "plain"):
            self.db.execute(f"INSERT INTO {schema}.ticks SELECT * FROM plain.ticks WHERE {condition} "
                            f"ORDER BY {','.join(self.shape.names)} LIMIT 40", values)

    def update(self):
        name = self.rng.choice(self.shape.names)
        condition, values = self.condition()
        values.insert(0, self.shape.value(name, self.rng))
        if self.rng.random() < 0.7:
            return self.both(f"UPDATE {{t}} SET {name} = ? WHERE {condition}", values)
        # Rows that are found more than once are one row still, though SQLite counts each time.
        for schema in ("plain", "main"):
            self.db.execute(f"UPDATE {schema}.ticks SET {name} = ? FROM (SELECT 1 UNION ALL SELECT 2) WHERE {condition}", values)

    def delete(self):
        condition, values = self.condition()
        if condition != "1" or self.rng.random() < 0.05:
            self.both(f"DELETE FROM {{t}} WHERE {condition}", values)

    def delete_sequences(self):
        """Chunk rows that are deleted take their rows with them."""
        shape, rng = self.shape, self.rng
        if not shape.order:
            return
        bounds = sorted(shape.value(shape.order, rng) for _ in range(2))
        key = [f" AND {name} = ?" for name in shape.keys if rng.random() < 0.5]
        values = [*bounds, *(shape.value(term.split()[1], rng) for term in key)]
        first, last = (name + "_" * (name in shape.names) for name in ("first", "last"))
        self.db.execute(f"DELETE FROM ticks_seq WHERE {first} = ? AND {last} = ?{''.join(key)}", values)
        self.db.execute(f"DELETE FROM plain.ticks WHERE {shape.order} >= ? AND {shape.order} < ?{''.join(key)}", values)

    def refused(self):
        """A statement that fails after some rows leaves nothing behind, or with OR IGNORE the good rows."""
        rows = [self.shape.row(self.rng) for _ in range(3)]
        needed = (self.shape.keys + [self.shape.order or "first"])[0]
        rows[1][self.shape.names.index(needed)] = None
        marks = ",".join(["(" + ",".join("?" * len(rows[0])) + ")"] * 3)
        flat = [value for row in rows for value in row]
        try:
            self.db.execute(f"INSERT INTO main.ticks VALUES {marks}", flat)
            raise AssertionError("NULL was taken")
        except Exception as error:
            assert type(error).__name__ == "IntegrityError", error
        self.db.execute(f"INSERT OR IGNORE INTO main.ticks VALUES {marks}", flat)
        for row in (rows[0], rows[2]):
            self.db.execute(f"INSERT INTO plain.ticks VALUES ({','.join('?' * len(row))})", row)

    def transaction(self):
        db, rng = self.db, self.rng
        if not db.in_transaction:
            db.execute("BEGIN")
        elif rng.random() < 0.4:
            name = f"s{len(self.savepoints)}"
            db.execute(f"SAVEPOINT {name}")
            self.savepoints.append(name)
        elif self.savepoints and rng.random() < 0.6:
            i = rng.randrange(len(self.savepoints))
            if rng.random() < 0.5:
                db.execute(f"ROLLBACK TO {self.savepoints[i]}")
                del self.savepoints[i + 1:]
            else:
                db.execute(f"RELEASE {self.savepoints[i]}")
                del self.savepoints[i:]
        else:
            db.execute(rng.choice(["COMMIT", "ROLLBACK"]))
            self.savepoints.clear()

    def change_schema(self):
        """SQLite reads the schema anew then, and opens the table again, whatever waits in memory."""
        for sql in self.rng.choice([["CREATE TABLE other(x)", "ALTER TABLE other ADD COLUMN y", "DROP TABLE other"],
                                    ["ALTER TABLE main.ticks RENAME TO renamed", "ALTER TABLE renamed RENAME TO ticks"],
                                    ["SAVEPOINT s", "CREATE TABLE other(x)", "ROLLBACK TO s", "RELEASE s"],
                                    ["SAVEPOINT s", "ALTER TABLE main.ticks RENAME TO renamed", "ROLLBACK TO s", "RELEASE s"]]):
            self.db.execute(sql)

    def pack_tail(self):
        self.db.execute("SELECT seq_pack_tail('ticks')").fetchall()
        assert self.db.execute("SELECT count(*) FROM ticks_tail").fetchone() == (0,)

    def select(self):
        shape = self.shape
        condition, values = self.condition()
        self.both(f"SELECT {', '.join(shape.names)} FROM {{t}} WHERE {condition}", values)
        order = [*shape.keys, *([shape.order] if shape.order else [])]
        if not order:
            return
        descending = [*shape.keys, *([f"{shape.order} DESC"] if shape.order else [])]
        for by in (order, descending, order[::-1]):
            sql = f"SELECT {', '.join(order)} FROM {{t}} WHERE {condition} ORDER BY {', '.join(by)} LIMIT 5"
            rows = [self.db.execute(sql.format(t=t), values).fetchall() for t in ("plain.ticks", "main.ticks")]
            assert rows[0] == rows[1], (sql, values, rows)
        for by in (order, order[::-1], shape.keys, shape.keys[::-1]):
            names = ", ".join(by) or "1"
            self.both(f"SELECT {names}, count(*) FROM {{t}} WHERE {condition} GROUP BY {names}", values)
            self.both(f"SELECT DISTINCT {names} FROM {{t}} WHERE {condition}", values)
            self.both(f"SELECT DISTINCT {names} FROM {{t}}")

    def check(self):
        self.both("SELECT * FROM {t}")
        assert self.db.execute("SELECT * FROM seq_check('ticks')").fetchall() == []
        self.check_sequences("")
        if self.shape.order:
            bounds = sorted((self.shape.value(self.shape.order, self.rng) for _ in range(2)))
            self.check_sequences("(?, ?)", bounds)

    def check_sequences(self, call, bounds=()):
        """The chunk rows hold the rows, in order within a key."""
        shape = self.shape
        packed = [name for name in shape.names if name not in shape.keys]
        columns = ", ".join([*shape.keys, *(f"seq_to_json({name})" for name in packed)])
        found, last = [], {}
        for row in self.db.execute(f"SELECT {columns} FROM ticks_seq{call}", bounds):
            key, arrays = row[:len(shape.keys)], [json.loads(text) for text in row[len(shape.keys):]]
            assert len({len(array) for array in arrays}) == 1 and arrays[0], row
            values = [dict(zip(packed, element)) for element in zip(*arrays)]
            found += [tuple({**dict(zip(shape.keys, key)), **value}[name] for name in shape.names) for value in values]
            if shape.order:
                order = [value[shape.order] for value in values]
                assert order == sorted(order) and last.get(key, order[0]) <= order[0], (key, last.get(key), order)
                last[key] = order[-1]
        within = f" WHERE {shape.order} >= ? AND {shape.order} < ?" if bounds else ""
        expected = self.db.execute(f"SELECT * FROM plain.ticks{within}", bounds).fetchall()
        assert sorted(found, key=str) == sorted(expected, key=str), (call, bounds)

    def run(self, steps):
        jobs = [self.insert] * 6 + [self.transaction] * 4 + [self.select] * 3 + [self.update] * 3 + [self.delete] * 2 + [
            self.insert_selected, self.refused, self.pack_tail, self.delete_sequences, self.change_schema]
        for _ in range(steps):
            job = self.rng.choice(jobs)
            job()
            # Not after every step, so that changes wait in memory for one another too.
            if self.rng.random() < 0.6:
                self.check()
        if self.db.in_transaction:
            self.db.execute("COMMIT")
        self.check()
        assert self.db.execute("PRAGMA integrity_check").fetchall() == [("ok",)]
