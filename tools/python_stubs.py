#!/usr/bin/env python3
"""The types of the Python package's methods and functions, hosts/python/qvoseq/_methods.pyi and functions.pyi, from the
catalog inside the package as it is installed.

    build/python-venv/bin/python tools/python_stubs.py write hosts/python/qvoseq     rewrite the stubs, if they changed
    build/python-venv/bin/python tools/python_stubs.py check hosts/python/qvoseq     fail if the catalog gives others
"""

import os
import sys

import pages
from qvoseq import _catalog, _methods

HEAD = '"""What the catalog attaches; written by tools/python_stubs.py."""\n\n'
IMPORTS = """from typing import Any, Iterator

from qvoseq.sequence import Sequence

Scalar = Any  # a number, text, or a time of datetime, NumPy or pandas
Column = Any  # a Sequence, or what makes one: an array, a Series, an Arrow array, a list, stored bytes
"""
TAKES = {"sequence": "Column", "operand": "Column | Scalar", "scalar": "Scalar", "integer": "int", "real": "float"}
TAKES |= {"text": "Any", "bytes": "bytes", "anything": "Any"}


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
    return (
        "bytes | None" if words.startswith("a blob") else "Any" if " if " in words and first != "as" else known[first]
    )


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


def declared(function, name, method):
    indent = "    " if method else ""
    summary = function.summary.replace("\\", "\\\\")
    head = f"{indent}def {name}({parameters(function, method)}) -> {result(function)}:"
    return f'{head}\n{indent}    """{summary}"""\n'


def operators(function):
    """Declarations of the special methods."""
    operator = _catalog.operator_of(function)
    if not operator:
        return []
    if len(function.parameters) == 1:
        return [f"    def __{_methods.UNARY[operator]}__(self) -> Sequence: ...\n"]
    other = "other: Column | Scalar"
    if operator in _methods.COMPARISONS:
        ignore = "  # type: ignore[override]" if operator in ("==", "!=") else ""
        return [f"    def __{_methods.COMPARISONS[operator]}__(self, {other}) -> Sequence: ...{ignore}\n"]
    return [f"    def __{side}{_methods.BINARY[operator]}__(self, {other}) -> Sequence: ...\n" for side in ("", "r")]


def methods(functions):
    own = list(filter(_catalog.is_method, functions))
    body = "".join(declared(f, name, True) for f in own for name in _catalog.names(f))
    return f"{HEAD}{IMPORTS}\n\nclass Methods:\n{body}{''.join(line for f in own for line in operators(f))}"


def module(functions):
    body = "".join(declared(f, name, False) for f in functions for name in _catalog.names(f))
    return f"{HEAD}{IMPORTS}\n__all__: list[str]\n\n{body}"


def render():
    functions = list(_catalog.FUNCTIONS.values())
    return {"_methods.pyi": methods(functions), "functions.pyi": module(functions)}


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in ("write", "check"):
        sys.exit(__doc__)
    verb, package = sys.argv[1:]
    stale = "the stubs do not follow the catalog: see tools/python_stubs.py"
    return max(pages.keep(verb, os.path.join(package, name), text, stale) for name, text in render().items())


if __name__ == "__main__":
    sys.exit(main())
