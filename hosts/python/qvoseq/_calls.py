"""Calls of functions of the catalog: Python's values as arguments, results as Python's values. What a function accepts
is checked by the value library, whose sentences say what was wrong; here values only change their form."""

import datetime
import sys
from collections import namedtuple
from typing import Any

from qvoseq import _qvoseq
from qvoseq._catalog import FUNCTIONS

_STORED = b"\x8fQVS"  # how every stored sequence begins
_SIMPLE = (type(None), bool, int, float, str, bytes)


def argument(function: "Callable", index: int, value: Any) -> Any:
    """A value as the module takes it: None, a number, text, bytes or an expression."""
    from qvoseq.sequence import Sequence

    if isinstance(value, Sequence):
        return value._expression
    takes = function.takes[min(index, len(function.takes) - 1)]
    if isinstance(value, (bytes, bytearray, memoryview)):
        return bytes(value) if takes in ("bytes", "anything") else _stored(function, index, bytes(value))
    if not isinstance(value, _SIMPLE) and _is_column(value):
        return Sequence(value)._expression
    return scalar(takes, value)


def _stored(function: "Callable", index: int, value: bytes) -> Any:
    try:
        return _qvoseq.Expression.stored(value)
    except ValueError as error:
        name = function.entry.parameters[min(index, len(function.takes) - 1)].name
        raise ValueError(f"seq_{function.name}: argument {index + 1}: {name} must be a sequence: {error}") from None


def _is_column(value: Any) -> bool:
    """Whether a value is many: an array, a column of a table, a list. Scalars of NumPy have a shape of nothing."""
    if getattr(value, "shape", None) == ():
        return False
    return hasattr(value, "__len__") or hasattr(value, "__arrow_c_array__") or hasattr(value, "__arrow_c_stream__")


def scalar(takes: str, value: Any) -> Any:
    if isinstance(value, _SIMPLE):
        return value
    if type(value).__module__ == "numpy":
        value = _of_numpy(value)
        if isinstance(value, _SIMPLE):
            return value
    if isinstance(value, datetime.timedelta):
        microseconds = value // datetime.timedelta(microseconds=1)
        return f"{microseconds} microseconds" if takes == "text" else microseconds
    if isinstance(value, (datetime.datetime, datetime.date)):
        return value.isoformat()
    if value is getattr(sys.modules.get("pandas"), "NA", value):
        return None
    if hasattr(value, "__index__"):
        return value.__index__()
    if hasattr(value, "__float__"):
        return float(value)
    raise TypeError(f"a number, text, time or sequence is wanted, got {type(value).__name__}")


def _of_numpy(value: Any) -> Any:
    """A NumPy scalar as Python's; times in microseconds, which Python's own have too."""
    import numpy as np

    if value.dtype.kind in "mM" and np.isnat(value):
        return None
    if value.dtype.kind == "M":
        return str(value.astype("M8[us]"))
    if value.dtype.kind == "m":
        return datetime.timedelta(microseconds=int(value.astype("m8[us]").astype("i8")))
    return value.item()


def call(function: "Callable", arguments: tuple) -> Any:
    """A call; a sequence is computed when its values are asked for, anything else at once."""
    from qvoseq.sequence import _DEEPEST, Sequence

    depth, data = 0, []
    for i, value in enumerate(arguments):
        if isinstance(value, Sequence):
            if value._depth >= _DEEPEST:
                value = value.compute()
            depth = max(depth, value._depth)
            data.append(value._expression)
        else:
            data.append(argument(function, i, value))
    data = tuple(data)
    if function.is_lazy:
        return Sequence._of(_qvoseq.Expression.call(function.entry, data), depth + 1)
    if function.kind == "table":
        return _rows(function, data)
    return result(function, _value(function, data), data)


def _value(function: "Callable", data: tuple) -> Any:
    if function.kind == "scalar":
        return _qvoseq.call(function.entry, data)
    aggregate = _qvoseq.Aggregate(function.entry)
    aggregate.step(data)
    return aggregate.finish()


def _rows(function: "Callable", data: tuple) -> Any:
    """The rows of a table, an iterator of named tuples."""
    columns = function.columns[: len(data) + 1] if function.repeats else function.columns
    if None in data:
        return iter(())
    row = namedtuple("Row", columns)  # type: ignore[misc]
    rows = _qvoseq.Rows(function.entry, data, len(columns))  # which refuses what is no sequence
    readers = [_as_it_is] * len(columns)
    if function.repeats:
        readers[1:] = [reader_of(expression) for expression in data]
    return (row(*(read(value) for read, value in zip(readers, values))) for values in rows)


def result(function: "Callable", value: Any, data: tuple) -> Any:
    """A value of the library as Python's: stored sequences, and what was taken out of a sequence of times or
    booleans."""
    from qvoseq.sequence import Sequence

    if isinstance(value, bytes) and value.startswith(_STORED):
        return Sequence._of(_qvoseq.Expression.stored(value))
    if function.gives_element and data and isinstance(data[0], _qvoseq.Expression):
        return reader_of(data[0])(value)
    return value


def reader_of(expression: Any) -> Any:
    """What makes Python's value of a value of a sequence."""
    return _READERS.get(expression.type()[0], _as_it_is)


def _as_it_is(value: Any) -> Any:
    return value


def time_of(text: "str | None") -> Any:
    """ISO 8601 text of the library as Python's time, or NumPy's where Python has no such year."""
    if text is None:
        return None
    try:
        return datetime.datetime.fromisoformat(text)
    except ValueError:
        import numpy as np

        return np.datetime64(text, "us")


_READERS = {0: lambda value: value if value is None else bool(value), 11: time_of}  # of boolean and timestamp


class Callable:
    """A function of the catalog, with what a call needs to know of it at hand."""

    def __init__(self, entry: Any):
        self.entry = entry
        self.name = entry.name
        self.kind = entry.kind
        self.takes = [parameter.takes for parameter in entry.parameters]
        self.is_lazy = entry.gives == "sequence"
        self.gives_element = entry.result.startswith("a value of")
        self.columns = entry.columns.split()
        self.repeats = entry.most > len(entry.parameters)


CALLABLES = {name: Callable(entry) for name, entry in FUNCTIONS.items()}
