"""A sequence: an ordered column of values of one type, immutable, computed when its values are asked for."""

import json
from typing import Any, Iterator

import numpy as np

from qvoseq import _arrow, _qvoseq
from qvoseq._calls import CALLABLES, call
from qvoseq._columns import CHAR, dtype_of, expression_of
from qvoseq._methods import Methods

_DEEPEST = 100  # calls within calls; what is deeper is evaluated first
_SHOWN = 3  # values at each end


def _shown(value: Any) -> str:
    return value.isoformat() if hasattr(value, "isoformat") else repr(value)


class Sequence(Methods):
    """Values of one type in order: of a NumPy array, a pandas Series, an Arrow array, a list, stored bytes.

    Every function of the catalog that takes a sequence is a method. Methods that give sequences compute nothing until
    values are asked for, and then stream from end to end, anew each time; `compute` keeps what came. An array is read
    in place and must not be written to as long as a sequence refers to it.

    type: the name of another type that the values shall have, such as 'int4', 'double' or 'timestamp'
    """

    __slots__ = ("_expression", "_depth", "_length", "__weakref__")
    __array_ufunc__ = None  # an array beside a sequence leaves the operator to the sequence

    def __init__(self, values: Any, type: "str | None" = None):
        self._expression = expression_of(values, type)
        self._depth = getattr(values, "_depth", 0) + 1 if type else 0
        self._length: "int | None" = None

    @classmethod
    def _of(cls, expression: Any, depth: int = 0) -> "Sequence":
        self = cls.__new__(cls)
        self._expression, self._depth, self._length = expression, depth, None
        return self

    # ---- Stored bytes ----

    @classmethod
    def from_bytes(cls, stored: "bytes | bytearray | memoryview") -> "Sequence":
        """A stored sequence, as `bytes` gives it and databases keep it. Everything in it is checked."""
        stored = bytes(stored)
        made = cls._of(_qvoseq.Expression.stored(stored))
        if not call(CALLABLES["valid"], (stored,)):
            raise ValueError("a stored sequence is damaged")
        return made

    def __bytes__(self) -> bytes:
        return self._expression.evaluate()

    def __reduce__(self) -> Any:
        return Sequence.from_bytes, (bytes(self),)

    def __conform__(self, protocol: Any) -> bytes:
        """As an argument of a statement of sqlite3."""
        return bytes(self)

    def compute(self) -> "Sequence":
        """The sequence with its values at hand, stored: what is asked of it from then on is not computed again."""
        return Sequence._of(self._expression.compute())

    # ---- As a column ----

    def __len__(self) -> int:
        if self._length is None:
            self._length = self.length()
        return self._length

    def __iter__(self) -> Iterator[Any]:
        return iter(self.to_list())

    def __getitem__(self, key: Any) -> Any:
        if isinstance(key, slice):
            return self._slice(key)
        if hasattr(key, "__index__") and getattr(key, "shape", ()) == ():
            return self._item(key.__index__())
        chosen = Sequence(key) if len(key) else Sequence(np.empty(0, "i8"))
        return self.filter(chosen) if chosen.type() == "boolean" else self.take(chosen)

    def _item(self, i: int) -> Any:
        n = len(self)
        if not -n <= i < n:
            raise IndexError(f"position {i} of a sequence of {n}")
        i %= n
        return self.slice(i, i + 1).to_list()[0]

    def _slice(self, key: slice) -> "Sequence":
        step = 1 if key.step is None else key.step
        if step == 1:
            return self.slice(key.start or 0) if key.stop is None else self.slice(key.start or 0, key.stop)
        chosen = range(*key.indices(len(self)))
        if step == -1:
            return self.slice(chosen[-1], chosen[0] + 1).reverse() if len(chosen) else self.slice(0, 0)
        return self.take(call(CALLABLES["range"], (chosen.start, len(chosen), chosen.step)))

    def __bool__(self) -> bool:
        raise ValueError(
            "a sequence is neither true nor false: any() and all() ask for its values, equals() for all of it"
        )

    def __abs__(self) -> "Sequence":
        return self.abs()

    def __round__(self, digits: int = 0) -> "Sequence":
        return self.round(digits)

    def equals(self, other: Any) -> bool:
        """Whether type, length and all values are the same; missing ones are equal to each other."""
        other = other if isinstance(other, Sequence) else Sequence(other)
        if self.type() != other.type() or len(self) != len(other):
            return False
        same = (self == other) | (self.is_missing() & other.is_missing())
        return same.all() != 0

    def __repr__(self) -> str:
        at_hand = self if self._depth == 0 else self.compute()
        n, info = len(at_hand), json.loads(at_hand.info())
        if n <= 2 * _SHOWN + 1:
            values = [_shown(v) for v in at_hand.to_list()]
        else:
            head, tail = at_hand.slice(0, _SHOWN).to_list(), at_hand.slice(-_SHOWN).to_list()
            values = [*map(_shown, head), "…", *map(_shown, tail)]
        if self._depth:
            self._expression, self._depth = at_hand._expression, 0  # shown once, it need not be computed again
        run = f", mean run {info['mean_run']:.3g}" if n else ""
        return f"<Sequence {info['type']}, {n} position{'s' * (n != 1)}{run}: [{', '.join(values)}]>"

    # ---- To others ----

    def to_numpy(self) -> np.ndarray:
        """All positions: timestamps as datetime64[us], text as bytes (dtype S)."""
        code, width, values = self._expression.read()
        dtype = dtype_of(code, width)
        return np.empty(0, dtype) if values is None else values.view(dtype)

    def __array__(self, dtype: Any = None, copy: Any = None) -> np.ndarray:
        if copy is False:
            raise ValueError("a sequence's values are always copied into an array")
        values = self.to_numpy()
        return values if dtype is None else values.astype(dtype, copy=False)

    def to_list(self) -> list:
        """All positions as Python's values: a missing one is nan, a timestamp a datetime in UTC, text a str."""
        values = self.to_numpy()
        if values.dtype.kind == "S":
            return [text.decode() for text in values.tolist()]
        return values.tolist()

    def to_pandas(self, index: Any = None, name: Any = None) -> Any:
        """A Series. index: another sequence, or what pandas takes as one."""
        import pandas

        def column(sequence: "Sequence") -> Any:
            is_text = sequence._expression.type()[0] == CHAR
            return np.array(sequence.to_list(), object) if is_text else sequence.to_numpy()

        index = column(index) if isinstance(index, Sequence) else index
        is_text = self._expression.type()[0] == CHAR
        return pandas.Series(column(self), index=index, name=name, dtype="str" if is_text else None, copy=False)

    def to_arrow(self, runs: bool = False) -> Any:
        """An array of pyarrow; with runs a run-end encoded one."""
        import pyarrow

        if not runs:
            return pyarrow.array(self)
        column = _arrow.runs_out(self._expression, "i")
        return pyarrow.Array._import_from_c_capsule(column.schema(), column.array())

    def _column(self, requested_schema: Any = None) -> Any:
        """What Arrow is handed: runs if they were asked for, else all positions."""
        format = "" if requested_schema is None else _qvoseq.arrow_format(requested_schema)
        if format.startswith("+r") and len(format) == 3:
            return _arrow.runs_out(self._expression, format[2])
        return _arrow.column_out(self._expression)

    def __arrow_c_array__(self, requested_schema: Any = None) -> Any:
        column = self._column(requested_schema)
        return column.schema(), column.array()

    def __arrow_c_stream__(self, requested_schema: Any = None) -> Any:
        return self._column(requested_schema).stream()

    def plot(self, t: "Sequence | None" = None, **options: Any) -> Any:
        """Draws the values, over time stamps `t` if they are given: see qvoseq.plot."""
        from qvoseq.plotting import plot

        return plot(t, self, **options)
