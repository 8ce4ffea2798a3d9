"""The methods that sequences have of the catalog, attached when the package is imported; what they are called with is
described in _methods.pyi, which is written from the catalog too."""

import inspect
from typing import Any

from qvoseq import _catalog
from qvoseq._calls import CALLABLES, call


class Methods:
    """Every function of the catalog whose first argument is a sequence, and the operators."""

    __slots__ = ()


BINARY = {
    "+": "add", "-": "sub", "*": "mul", "/": "truediv", "//": "floordiv", "%": "mod", "**": "pow",
    "&": "and", "|": "or", "^": "xor",
}  # fmt: skip
COMPARISONS = {"==": "eq", "!=": "ne", "<": "lt", "<=": "le", ">": "gt", ">=": "ge"}
UNARY = {"-": "neg", "~": "invert"}


def bound(signature: inspect.Signature, arguments: tuple, keywords: dict) -> tuple:
    """The arguments by position, up to the last one that was given."""
    if not keywords:
        return arguments
    given = signature.bind(*arguments, **keywords)
    last = max(i for i, name in enumerate(signature.parameters) if name in given.arguments)
    given.apply_defaults()
    values: list = []
    for i, (name, parameter) in enumerate(signature.parameters.items()):
        value = given.arguments[name]
        if i <= last:
            values.extend(value if parameter.kind is parameter.VAR_POSITIONAL else [value])
    return tuple(values)


def python_function(entry: Any, name: str, method: bool = False) -> Any:
    """A function of the catalog as Python's."""
    function, signature = CALLABLES[entry.name], _catalog.signature(entry, method)

    def python(*arguments: Any, **keywords: Any) -> Any:
        return call(function, bound(signature, arguments, keywords))

    python.__name__ = python.__qualname__ = name
    python.__doc__ = _catalog.docstring(entry)
    python.__signature__ = signature  # type: ignore[attr-defined]
    return python


def _operators(entry: Any, method: Any) -> dict[str, Any]:
    """Python's special methods for a function that has an operator."""
    function, operator = CALLABLES[entry.name], entry.python
    if len(entry.parameters) == 1:
        return {f"__{UNARY[operator]}__": method}
    if operator in COMPARISONS:
        return {f"__{COMPARISONS[operator]}__": method}

    def reflected(self: Any, other: Any) -> Any:
        return call(function, (other, self))

    return {f"__{BINARY[operator]}__": method, f"__r{BINARY[operator]}__": reflected}


for _name, _entry in _catalog.all_names():
    if _catalog.is_method(_entry):
        _method = python_function(_entry, _name, method=True)
        setattr(Methods, _name, _method)
        if _catalog.operator_of(_entry):
            for _special, _function in _operators(_entry, _method).items():
                setattr(Methods, _special, _function)
Methods.__hash__ = None  # type: ignore[assignment]
