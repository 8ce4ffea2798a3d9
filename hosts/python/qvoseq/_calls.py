"""Calls of functions of the catalog: Python's values as arguments, results as Python's values. What a function accepts is
checked by the value library, whose sentences say what was wrong; here values only change their form."""

import datetime
import sys
from typing import Any

from qvoseq import _qvoseq
from qvoseq._catalog import FUNCTIONS

_STORED = b"\x8fQVS"  # how every stored sequence begins
_EPOCH = datetime.timedelta(0)
_SIMPLE = (type(None), bool, int, float, str, bytes)


def argument(takes: str, value: Any) -> Any:
    """A value as the module takes it: None, a number, text, bytes or an expression."""
    from qvoseq.sequence import Sequence

    if isinstance(value, Sequence):
        return value._expression
    if takes in ("sequence", "operand", "anything"):
        if isinstance(value, (bytes, bytearray, memoryview)):
            return bytes(value) if takes == "anything" else Sequence.from_bytes(value)._expression
        if not isinstance(value, _SIMPLE) and _is_column(value):
            return Sequence(value)._expression
    return scalar(takes, value)


def _is_column(value: Any) -> bool:
    """Whether a value is many: an array, a column of a table, a list. Scalars of NumPy have a shape of nothing."""
    if getattr(value, "shape", None) == ():
        return False
    return hasattr(value, "__len__") or hasattr(value, "__arrow_c_array__") or hasattr(value, "__arrow_c_stream__")


def scalar(takes: str, value: Any) -> Any:
    if isinstance(value, _SIMPLE):
        return value
    if isinstance(value, (bytearray, memoryview)):
        return bytes(value)
    if type(value).__module__ == "numpy":
        value = _of_numpy(value)
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

    if np.isnat(value) if value.dtype.kind in "mM" else False:
        return None
    if value.dtype.kind == "M":
        return str(value.astype("M8[us]"))
    if value.dtype.kind == "m":
        return datetime.timedelta(microseconds=int(value.astype("m8[us]").astype("i8")))
    return value.item()


def call(function: Any, arguments: tuple) -> Any:
    """A call; a sequence is computed when its values are asked for, anything else at once."""
    from qvoseq.sequence import Sequence

    parameters = function.takes
    data = tuple(
        argument(parameters[i if i < len(parameters) else -1], value) for i, value in enumerate(arguments)
    )
    if function.is_lazy:
        return Sequence._of(_qvoseq.Expression.call(function.entry, data))
    return result(function, _value(function, data), data)


def _value(function: Any, data: tuple) -> Any:
    if function.kind == "scalar":
        return _qvoseq.call(function.entry, data)
    aggregate = _qvoseq.Aggregate(function.entry)
    aggregate.step(data)
    return aggregate.finish()


def result(function: Any, value: Any, data: tuple) -> Any:
    """A value of the library as Python's: stored sequences, and what was taken out of a sequence of times or booleans."""
    from qvoseq.sequence import Sequence

    if isinstance(value, bytes) and value.startswith(_STORED):
        return Sequence._of(_qvoseq.Expression.stored(value))
    if value is None or not function.gives_element or not isinstance(data[0], _qvoseq.Expression):
        return value
    kind = data[0].type()
    if kind == "timestamp":
        return time_of(value)
    return bool(value) if kind == "boolean" else value


def time_of(text: str) -> Any:
    """ISO 8601 text of the library as Python's time, or NumPy's where Python has no such year."""
    try:
        return datetime.datetime.fromisoformat(text)
    except ValueError:
        import numpy as np

        return np.datetime64(text, "us")


class Callable:
    """A function of the catalog, with what a call needs to know of it at hand."""

    def __init__(self, entry: Any):
        self.entry = entry
        self.name = entry.name
        self.kind = entry.kind
        self.takes = [parameter.takes for parameter in entry.parameters]
        self.is_lazy = entry.gives == "sequence"
        self.gives_element = entry.result.startswith("a value of")


CALLABLES = {name: Callable(entry) for name, entry in FUNCTIONS.items()}
