"""Runs the SQL of docs/postgres.md with psql, in the order of the page and in one session, and compares what comes with
what the page shows: a fenced sql block is followed by its output in a text block, or prints nothing.

usage: page.py check|write PAGE      with PGHOST and PGUSER, in a new database `page`
       page.py write-spread PAGE     the part about several servers, in the database `cluster`"""

import difflib
import os
import re
import subprocess
import sys

FIRST, SPREAD = 0, 1  # the parts before and from the heading about several servers
HEADING = "\n## Several servers\n"
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tests", "docs"))
from sql_page import BLOCK  # noqa: E402

SETTINGS = {"PGTZ": "UTC", "PGOPTIONS": "-c extra_float_digits=0"}  # the last digit is nobody's business
MARK = "-- end of a block --"


def part_of(path, part):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    at = text.index(HEADING)
    return (text[:at], text[at:])[part]


def outputs(blocks, host, database):
    """What psql prints for each block."""
    script = "".join(f"{block['sql']}\\echo {MARK}\n" for block in blocks)
    command = ["psql", "-X", "-q", "-h", host, "-U", "postgres", "-d", database, "-f", "-"]
    done = subprocess.run(command, input=script, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=True, cwd=ROOT, env=os.environ | SETTINGS)
    texts = done.stdout.split(MARK + "\n")[: len(blocks)]
    return [re.sub(r"(?m)^psql:<stdin>:\d+: | +$|\n+\Z", "", text) + "\n" if text else "" for text in texts]


def check(path, part, host, database):
    """The differences between what the page shows and what comes."""
    blocks = list(BLOCK.finditer(part_of(path, part)))
    if not blocks:
        return f"{path} has no blocks"
    faults = []
    for block, came in zip(blocks, outputs(blocks, host, database), strict=True):
        shown = block["text"] or ""
        if shown != came:
            lines = shown.splitlines(), came.splitlines()
            faults += [block["sql"], *difflib.unified_diff(*lines, "page", "output", "", "", 9)]
    return "\n".join(faults)


def write(path, part, host, database):
    text = part_of(path, part)
    came = iter(outputs(list(BLOCK.finditer(text)), host, database))

    def filled(block):
        output = next(came)
        return f"```sql\n{block['sql']}```\n" + (f"{block['between'] or ''}```text\n{output}```\n" if output else "")

    parts = [part_of(path, FIRST), part_of(path, SPREAD)]
    parts[part] = BLOCK.sub(filled, text)
    with open(path, "w", encoding="utf-8") as file:
        file.write("".join(parts))


def main():
    verb, path = sys.argv[1:]
    host = os.environ["PGHOST"]
    if verb == "write-spread":
        return write(path, SPREAD, host, "cluster")
    for statement in ("DROP DATABASE IF EXISTS page WITH (FORCE)", "CREATE DATABASE page"):
        subprocess.run(["psql", "-X", "-q", "-d", "postgres", "-c", statement], check=True)
    if verb == "write":
        return write(path, FIRST, host, "page")
    faults = check(path, FIRST, host, "page")
    print(faults or f"{path}: as shown")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
