"""The catalog of functions inside the value library, and how Python spells what it says: names, signatures, docstrings
and examples. Nothing about any one function is written here."""

import inspect
import keyword
import re
import textwrap
from typing import Any, Iterator

from qvoseq import _qvoseq
from qvoseq._words import SEQUENCES

FUNCTIONS = {function.name: function for function in _qvoseq.catalog()}

# What a parameter takes that is no sequence, in Python's words.
OTHERS = {"scalar": "a number, text or time", "integer": "an integer", "real": "a number", "text": "text"}
OTHERS |= {"bytes": "bytes", "anything": "any value"}


def operator_of(function: Any) -> str:
    """The operator that Python spells a function with, or ''."""
    return "" if function.python.isidentifier() else function.python


def names(function: Any) -> list[str]:
    """What a function is called in Python: its own name, with an underscore where that is a word of the language, and
    the name that Python's users know it by."""
    own = function.name + "_" if keyword.iskeyword(function.name) else function.name
    other = function.python if function.python.isidentifier() else own
    return [own] if other == own else [own, other]


def is_method(function: Any) -> bool:
    """Whether the first parameter takes a sequence: then the function is a method of sequences too."""
    return function.parameters[0].takes in ("sequence", "operand") and function.kind != "table"


def signature(function: Any, method: bool = False) -> inspect.Signature:
    """The parameters by position or by name; those that may be left out are None."""
    kinds = inspect.Parameter
    repeats = function.most > len(function.parameters)
    made = []
    for i, parameter in enumerate(function.parameters):
        last = repeats and i == len(function.parameters) - 1
        name = "self" if method and i == 0 else parameter.name
        kind = kinds.VAR_POSITIONAL if last and i > 0 else kinds.POSITIONAL_OR_KEYWORD
        default = None if parameter.optional else kinds.empty
        made.append(kinds(name, kind) if kind is kinds.VAR_POSITIONAL else kinds(name, kind, default=default))
        if last and i == 0:
            made.append(kinds("more", kinds.VAR_POSITIONAL))
    return inspect.Signature(made)


def accepted(parameter: Any) -> str:
    if parameter.takes in ("sequence", "operand"):
        return SEQUENCES[parameter.of] + (", or a scalar" if parameter.takes == "operand" else "")
    return OTHERS[parameter.takes]


def docstring(function: Any) -> str:
    """Summary, parameters, result, rule and the example, which doctest can run in the namespace of the functions."""
    lines = [function.summary, ""]
    for parameter in function.parameters:
        lines.append(f"{parameter.name}: {accepted(parameter)}" + (", optional" if parameter.optional else ""))
    lines += [f"result: {function.result}", ""]
    if function.rule:
        lines += [*textwrap.wrap(function.rule, 100), ""]
    call, result = example(function)
    lines += [f">>> {call}", *result]
    if operator_of(function):
        lines += ["", f"In Python also: {operator_of(function)}"]
    return "\n".join(lines)


_TOKEN = re.compile(
    r"(?P<text>'[^']*')|(?P<type>(?:boolean|u?int[1248]|float|double|timestamp|char(?:\(\d+\))?)?)"
    r"(?P<values>\[[^\]]*\])|(?P<name>\b[a-z_][a-z0-9_]*)(?=\()"
)
_WORDS = {"null": "None", "true": "True", "false": "False"}


def _spelled(match: "re.Match[str]") -> str:
    if match["text"]:
        return match["text"]
    if match["name"]:
        return names(FUNCTIONS[match["name"]])[0]
    values = re.sub(r"'[^']*'|\w+", lambda word: _WORDS.get(word[0], word[0]), match["values"])
    return f"Sequence({values}, '{match['type']}')" if match["type"] else values


def _shown(text: str) -> str:
    """A value as an example of the catalog prints it, in Python's spelling."""
    if text == "NULL":
        return "None"
    return text if re.fullmatch(r"-?\d+(\.\d+)?(e[+-]?\d+)?", text) else repr(text)


def example(function: Any) -> tuple[str, list[str]]:
    """An example's call as Python, and the lines that it prints."""
    call, result = _TOKEN.sub(_spelled, function.example), function.example_result
    outermost = FUNCTIONS[function.example.split("(")[0]]
    if outermost.kind == "table":
        rows = [f"({', '.join(map(_shown, row.split('|')))}{',' * ('|' not in row)})" for row in result.split("\n")]
        width = result.split("\n")[0].count("|") + 1
        return f"for row in {call}: print(tuple(row)[:{width}])", rows
    if result.startswith("[") and not outermost.result.startswith("text"):
        return f"print({call}.to_json())", [result]
    return call, [_shown(result)]


def all_names() -> Iterator[tuple[str, Any]]:
    for function in FUNCTIONS.values():
        for name in names(function):
            yield name, function
