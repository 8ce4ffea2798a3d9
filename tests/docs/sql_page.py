#!/usr/bin/env python3
"""Runs the SQL of a page in the order of the page, in one connection, and compares what comes with what the page shows.

A fenced sql block is followed by its output in a text block, in the form of the shell's `.mode column` with
`.nullvalue NULL`; a block without one prints nothing. A block may hold its output itself instead, as comments on its last
lines, a row each with bars between the columns. The connection is that of Python's sqlite3, with the extension loaded and
the data file in a table raw, all text, as the shell's `.import` makes it.

    sql_page.py check|write EXTENSION DATA PAGE...     write: put the output into the text blocks
"""
import csv
import difflib
import re
import sqlite3
import sys

BLOCK = re.compile(r"^```sql\n(?P<sql>.*?)^```\n(?:(?P<between>\n?)```text\n(?P<text>.*?)^```\n)?", re.MULTILINE | re.DOTALL)
COMMENTS = re.compile(r"\n((?:--(?: .*)?\n)+)\Z")


def connect(extension, data):
    db = sqlite3.connect(":memory:", isolation_level=None)
    db.enable_load_extension(True)
    db.load_extension(extension)
    with open(data, newline="", encoding="utf-8") as file:
        header, *rows = csv.reader(file)
    db.execute(f"CREATE TABLE raw ({', '.join(f'{name} TEXT' for name in header)})")
    db.executemany(f"INSERT INTO raw VALUES ({', '.join('?' * len(header))})", rows)
    return db


def statements(sql):
    pending = ""
    for line in sql.splitlines(keepends=True):
        pending += line
        if sqlite3.complete_statement(pending):
            yield pending
            pending = ""
    if re.sub(r"--.*", "", pending).strip():
        raise SyntaxError(f"an unfinished statement: {pending}")


def shown(value):
    """A value as the shell prints it."""
    if isinstance(value, float):
        text = f"{value:.15g}"
        return text if any(c in text for c in ".en") else text + ".0"
    return "NULL" if value is None else str(value)


def columns(cursor):
    rows = [[column[0] for column in cursor.description], *([shown(v) for v in row] for row in cursor)]
    if len(rows) == 1:
        return ""
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    rows.insert(1, ["-" * width for width in widths])
    return "".join("  ".join(v.ljust(w) for v, w in zip(row, widths)).rstrip() + "\n" for row in rows)


def bars(cursor):
    return "".join("|".join("NULL" if v is None else str(v) for v in row) + "\n" for row in cursor)


def run(db, sql, form):
    """What the statements print; an error is printed as one."""
    outputs = []
    for statement in statements(sql):
        try:
            cursor = db.execute(statement)
            outputs.append(form(cursor) if cursor.description else "")
        except sqlite3.Error as error:
            outputs.append(f"Error: {error}\n")
    return "\n".join(output for output in outputs if output)


def output_of(db, block):
    """(what the page shows, what comes) for a block."""
    if comments := COMMENTS.search(block["sql"]):
        return re.sub(r"^-- ?", "", comments[1], flags=re.MULTILINE), run(db, block["sql"], bars)
    return block["text"] or "", run(db, block["sql"], columns)


def check(db, page, text):
    n = faults = 0
    for n, block in enumerate(BLOCK.finditer(text), 1):
        expected, came = output_of(db, block)
        if expected != came:
            faults += 1
            line = text.count("\n", 0, block.start()) + 1
            print(f"{page}:{line}:\n{block['sql']}")
            print("\n".join(difflib.unified_diff(expected.splitlines(), came.splitlines(), "page", "output", "", "", 9)))
    print(f"{page}: {n} blocks, {faults} with another output")
    return faults != 0 or n == 0


def filled(db, block):
    if COMMENTS.search(block["sql"]):
        run(db, block["sql"], bars)
        return block[0]
    came = run(db, block["sql"], columns)
    return f"```sql\n{block['sql']}```\n" + (f"{block['between'] or ''}```text\n{came}```\n" if came else "")


def main():
    if len(sys.argv) < 5 or sys.argv[1] not in ("check", "write"):
        sys.exit(__doc__)
    verb, extension, data, *pages = sys.argv[1:]
    wrong = False
    for page in pages:
        db = connect(extension, data)
        with open(page, encoding="utf-8") as file:
            text = file.read()
        if verb == "check":
            wrong |= check(db, page, text)
        else:
            text = BLOCK.sub(lambda block: filled(db, block), text)
            with open(page, "w", encoding="utf-8") as file:
                file.write(text)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
