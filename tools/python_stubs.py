#!/usr/bin/env python3
"""The types of the Python package's methods and functions, hosts/python/qvoseq/_methods.pyi and functions.pyi, from the
catalog inside the value library.

    python_stubs.py write LIBRARY PACKAGE     rewrite the stubs, if they changed
    python_stubs.py check LIBRARY PACKAGE     fail if they are not what the catalog gives
"""
import keyword
import os
import sys

import catalog
import pages

HEAD = '"""What the catalog attaches; written by tools/python_stubs.py."""\n\n'
IMPORTS = """from typing import Any, Iterator

from qvoseq.sequence import Sequence

Scalar = Any  # a number, text, or a time of datetime, NumPy or pandas
Column = Any  # a Sequence, or what makes one: an array, a Series, an Arrow array, a list, stored bytes
"""
TAKES = {"sequence": "Column", "operand": "Column | Scalar", "scalar": "Scalar", "integer": "int", "real": "float"}
TAKES |= {"text": "Any", "bytes": "bytes", "anything": "Any"}
SPECIAL = {"+": "add", "-": "sub", "*": "mul", "/": "truediv", "//": "floordiv", "%": "mod", "**": "pow", "&": "and"}
SPECIAL |= {"|": "or", "^": "xor", "==": "eq", "!=": "ne", "<": "lt", "<=": "le", ">": "gt", ">=": "ge"}
UNARY = {"-": "neg", "~": "invert"}


def result(function):
    words = function.result
    if function.kind == "table":
        return "Iterator[Any]"
    if words.startswith(("a value", "as the aggregate")):
        return "Any"
    first = words.split(":")[0].split(",")[0].split(" ")[0]
    if function.kind == "scalar":
        return {"integer": "int", "text": "str"}.get(first, "Sequence")
    known = {"integer": "int | None", "real": "float | None", "text": "str | None", "as": "Sequence", "the": "Sequence"}
    return "bytes | None" if words.startswith("a blob") else "Any" if " if " in words and first != "as" else known[first]


def parameters(function, method):
    """As Python writes them: those that may be left out are None."""
    repeats = function.most > len(function.parameters)
    written = []
    for i, parameter in enumerate(function.parameters):
        kind = TAKES[parameter.takes]
        last = repeats and i == len(function.parameters) - 1
        if method and i == 0:
            written.append("self")
        elif last and i > 0:
            written.append(f"*{parameter.name}: {kind}")
        else:
            written.append(f"{parameter.name}: {kind}" + (" | None = None" if parameter.optional else ""))
        if last and i == 0:
            written.append(f"*more: {kind}")
    return ", ".join(written)


def names(function):
    own = function.name + "_" * keyword.iskeyword(function.name)
    return [own, function.python] if function.python.isidentifier() and function.python != own else [own]


def declared(function, name, method):
    indent = "    " if method else ""
    summary = function.summary.replace("\\", "\\\\")
    head = f"{indent}def {name}({parameters(function, method)}) -> {result(function)}:"
    return f'{head}\n{indent}    """{summary}"""\n'


def operators(function):
    """Declarations of the special methods."""
    operator = function.python
    if not operator or operator.isidentifier():
        return []
    if len(function.parameters) == 1:
        return [f"    def __{UNARY[operator]}__(self) -> Sequence: ...\n"]
    other = "other: Column | Scalar"
    if SPECIAL[operator] in ("eq", "ne", "lt", "le", "gt", "ge"):
        ignore = "  # type: ignore[override]" if SPECIAL[operator] in ("eq", "ne") else ""
        return [f"    def __{SPECIAL[operator]}__(self, {other}) -> Sequence: ...{ignore}\n"]
    return [f"    def __{side}{SPECIAL[operator]}__(self, {other}) -> Sequence: ...\n" for side in ("", "r")]


def methods(functions):
    own = [f for f in functions if f.parameters[0].takes in ("sequence", "operand") and f.kind != "table"]
    body = "".join(declared(f, name, True) for f in own for name in names(f))
    return f"{HEAD}{IMPORTS}\n\nclass Methods:\n{body}{''.join(line for f in own for line in operators(f))}"


def module(functions):
    body = "".join(declared(f, name, False) for f in functions for name in names(f))
    return f"{HEAD}{IMPORTS}\n__all__: list[str]\n\n{body}"


def render(functions):
    return {"_methods.pyi": methods(functions), "functions.pyi": module(functions)}


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in ("write", "check"):
        sys.exit(__doc__)
    verb, library, package = sys.argv[1:]
    stale = "the stubs do not follow the catalog: tools/python_stubs.py write LIBRARY hosts/python/qvoseq"
    texts = render(catalog.read(library)).items()
    return max(pages.keep(verb, os.path.join(package, name), text, stale) for name, text in texts)


if __name__ == "__main__":
    sys.exit(main())
