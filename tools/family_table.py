#!/usr/bin/env python3
"""The table of all families, docs/families.md, from the documented blocks of include/qvoseq.h.

A block is a comment whose first lines name functions, up to an empty line; then what they compute; then paragraphs
under headings (Elements, Runs, Ends, Parameters, Errors, Lifetime). A block may hold several such entries, each opened
by names at the start of a line after an empty one. Sentences that call a rule deliberate go into a column of their own.

    family_table.py write HEADER TABLE     rewrite the table, if it changed
    family_table.py check HEADER TABLE     fail if the table is not what the header gives
"""
import re
import sys

BANNER = re.compile(r"/\* ==== (\S+?):? ")
COMMENT = re.compile(r"^/\*\n(.*?)^ \*/$", re.MULTILINE | re.DOTALL)
TITLE = re.compile(r"(qvo_\w+(<\w+>\w*)*|murmur_hash3_32|min_count|sorted_<type>)[\s,(]")
HEADING = re.compile(r"((?:Elements|Runs|Ends|Parameters|Errors|Lifetime)(?:, (?:Elements|Runs|Ends|Parameters|Errors|"
                     r"Lifetime))*)  +(.*)")
SENTENCE = re.compile(r"(?<=[.:;])\s+(?=[A-Z])")

INTRODUCTION = """# Families

Every operator family of the library, in the order of the header `qvoseq.h`, whose blocks this table is made from (the
`map` target writes it; a test compares it). `<type>` runs over int1, int2, int4, int8, uint1, uint2, uint4, uint8,
float, double and datetime, unless Elements says otherwise.
"""


def paragraphs(comment):
    """The text of a block: a list of paragraphs, each a list of lines without the comment's margin."""
    result = [[]]
    for line in comment.splitlines():
        text = line[3:] if line.startswith(" * ") else ""
        if text.strip():
            result[-1].append(text.rstrip())
        elif result[-1]:
            result.append([])
    return [paragraph for paragraph in result if paragraph]


def fold(lines):
    return " ".join(line.strip() for line in lines)


def entries(comment):
    """(title, description, {heading: text}) of every entry of a block."""
    result = []
    for lines in paragraphs(comment):
        if TITLE.match(lines[0]):
            result.append((fold(lines), [], {}))
            continue
        if not result:
            return []
        title, description, sections = result[-1]
        target = None
        for line in lines:
            if heading := HEADING.match(line):
                target = [heading[2]]
                sections.setdefault(heading[1], []).append(target)
            elif target is not None:
                target.append(line)
            else:
                description.append(line)
    return [(title, fold(description), {name: " ".join(fold(part) for part in parts)
                                        for name, parts in sections.items()}) for title, description, sections in result]


def cell(text):
    return text.replace("|", "\\|").replace("<", "&lt;").replace("*", "\\*").replace("_", "\\_") or " "


def row(title, description, sections):
    names, _, arguments = title.partition(" (")
    everything = " ".join([description, *sections.values()])
    odd = [sentence for sentence in SENTENCE.split(everything) if "eliberate" in sentence]
    pick = lambda *headings: " ".join(text for name, text in sections.items()
                                      if any(heading in name.split(", ") for heading in headings))
    names = ", ".join(f"`{name.strip()}`" for name in names.split(",") if name.strip())
    return "| " + " | ".join([names + (f" ({cell(arguments)}" if arguments else ""), cell(description),
                              cell(pick("Elements")), cell(pick("Runs", "Ends")),
                              cell(pick("Parameters", "Errors")), cell(" ".join(odd))]) + " |"


def render(header):
    lines = [INTRODUCTION]
    marks = [(match.start(), match[1]) for match in BANNER.finditer(header)]
    for (start, source), end in zip(marks, [mark[0] for mark in marks[1:]] + [len(header)]):
        rows = [row(*entry) for comment in COMMENT.finditer(header, start, end) for entry in entries(comment[1])]
        if rows:
            lines += [f"## {source}", "",
                      "| Family | Computes | Elements | Runs and end | Parameters and result codes | Deliberately so |",
                      "|---|---|---|---|---|---|", *rows, ""]
    return "\n".join(lines)


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in ("write", "check"):
        sys.exit(__doc__)
    verb, header, table = sys.argv[1:]
    with open(header, encoding="utf-8") as file:
        text = render(file.read())
    try:
        with open(table, encoding="utf-8") as file:
            current = file.read()
    except FileNotFoundError:
        current = None
    if current == text:
        return 0
    if verb == "check":
        print(f"{table} does not follow {header}: build the `map` target")
        return 1
    with open(table, "w", encoding="utf-8") as file:
        file.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
