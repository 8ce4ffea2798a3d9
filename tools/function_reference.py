#!/usr/bin/env python3
"""The reference of all functions, docs/functions.md, from the catalog inside the value library.

The page opens with an index, a line a function; then every function has a short entry. Its example is an SQL block that
ends in the result as a comment, which tests/docs/sql_page.py runs as it stands.

    function_reference.py write LIBRARY PAGE     rewrite the page, if it changed
    function_reference.py check LIBRARY PAGE     fail if the page is not what the catalog gives
"""
import itertools
import os
import re
import sys
import textwrap

import catalog
import pages

sys.path.append(os.path.join(os.path.dirname(__file__), "..", "hosts", "python", "qvoseq"))
from _words import SEQUENCES  # noqa: E402

WIDTH = 120
INTRODUCTION = """# Functions

Every function of sequences, in SQL. The page is written from the catalog inside the library (the `reference` target), and
its examples are run by the tests. How to load the functions and put them together is in [sql.md](sql.md).

What holds for all of them, unless an entry says otherwise:

- A NULL argument makes the result NULL; an aggregate leaves the row out. Over no rows an aggregate is NULL.
- Missing values exist in float and double alone. Functions over elements hand them on; aggregates skip them.
- Sequences that are taken together need equal lengths. Where an entry says *or a scalar*, a number or a text stands for a
  sequence of that value, of any length; one argument at least has to be a sequence. Text beside timestamps is a timestamp.
- Whatever a function cannot do is an error that names the function, the argument, what came and what is accepted.
- *Aggregates* run over all elements of all rows of a group. Most have a *state*, which can be stored and combined: see
  [seq_state](#seq_state).
- *Tables* stand in FROM.
- A function takes memory for its result, for a tile of each operand, and for what its entry says that it holds. Functions of
  windows hold a window, seq_group its groups, seq_pack and seq_join the rows of the group, seq_from_json the numbers of the
  text. What is held, and what is read or written out for a result, counts against the budget (seq_budget, 2^27 positions
  unless it is set): beyond it a function ends with an error.
- Brackets enclose what may be left out. Positions count from 0. Texts name other functions without `seq_`.
"""

OTHERS = {"scalar": "a number or a text", "real": "a number", "text": "text", "bytes": "a blob", "anything": "any value"}


def number(n):
    power = abs(n).bit_length() - 1
    return f"{'-' if n < 0 else ''}2^{power}" if power >= 20 and abs(n) == 1 << power else str(n)


def accepted(parameter):
    """What a parameter takes, in words."""
    if parameter.takes in ("sequence", "operand"):
        return SEQUENCES[parameter.of] + (", or a scalar" if parameter.takes == "operand" else "")
    if parameter.takes != "integer":
        return OTHERS[parameter.takes]
    low, high = (None if abs(n) >= 2**63 - 1 else number(n) for n in (parameter.lowest, parameter.highest))
    bounds = (f" from {low}" if low else "") + (f" to {high}" if high else "")
    return "an integer" + (bounds if low else f" up to {high}" if high else "")


def signature(function):
    """seq_pack(v [, key [, type]]); a parameter that may come again is followed by an ellipsis."""
    text, nested = "", 0
    for i, parameter in enumerate(function.parameters):
        comma = ", " if i else ""
        if parameter.optional:
            text, nested = f"{text} [{comma}{parameter.name}", nested + 1
        else:
            text += comma + parameter.name
    if function.most > len(function.parameters):
        text += f" [, {function.parameters[-1].name} …]"
    return f"seq_{function.name}({text.lstrip()}{']' * nested})"


def escaped(text):
    """Words of the catalog as Markdown."""
    return re.sub(r"([\\*<|`])", r"\\\1", text)


def linked(text, names):
    """The same, with names of functions as links to their entries."""
    return re.sub(r"\bseq_(\w+)\b", lambda m: f"[{m[0]}](#{m[0]})" if m[1] in names else m[0], escaped(text))


def wrapped(text, first="", rest=""):
    return textwrap.fill(text, WIDTH, initial_indent=first, subsequent_indent=rest, break_long_words=False,
                         break_on_hyphens=False)


def entry(function, functions):
    names = {f.name for f in functions}
    marks = [function.kind] if function.kind != "scalar" else []
    marks += ["with a state"] if function.has_state else []
    marks += ["in the order of the rows"] if function.in_order else []
    lines = [f"### seq_{function.name}", "", f"`{signature(function)}`" + (f" · *{', '.join(marks)}*" if marks else ""),
             "", wrapped(linked(function.summary, names)), ""]
    described = ((accepted(p) + (", optional" if p.optional else ""), p.name) for p in function.parameters)
    for words, same in itertools.groupby(described, key=lambda pair: pair[0]):
        lines.append(wrapped(f"{', '.join(f'`{name}`' for _, name in same)}: {words}", "- ", "  "))
    lines += [wrapped(f"result: {escaped(function.result)}", "- ", "  "), ""]
    if function.rule:
        lines += [wrapped(linked(function.rule, names)), ""]
    result = [f"-- {line}" for line in function.example_result.split("\n")]
    return lines + ["```sql", catalog.example_statement(function, functions), *result, "```", ""]


def index(section, functions):
    lines = [f"**[{section}](#{section.lower().replace(' ', '-')})**", "", "| | |", "|---|---|"]
    for f in functions:
        shown = signature(f).replace("|", "\\|")
        lines.append(f"| [`{shown}`](#seq_{f.name}) | {escaped(f.summary)} |")
    return lines + [""]


def render(functions):
    sections = {}
    for f in functions:
        sections.setdefault(f.section, []).append(f)
    lines = [INTRODUCTION, "## Index", ""]
    for section, members in sections.items():
        lines += index(section, members)
    for section, members in sections.items():
        lines += [f"## {section}", ""]
        for f in members:
            lines += entry(f, functions)
    return "\n".join(lines)


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in ("write", "check"):
        sys.exit(__doc__)
    verb, library, page = sys.argv[1:]
    text = render(catalog.read(library))
    return pages.keep(verb, page, text, f"{page} does not follow the catalog: build the `reference` target")


if __name__ == "__main__":
    sys.exit(main())
