"""A sequence: an ordered column of values of one type, immutable, computed when its values are asked for."""

from typing import Any

import numpy as np

from qvoseq._columns import DTYPES, TYPES, expression_of
from qvoseq._methods import Methods


class Sequence(Methods):
    """Values of one type in order: of a NumPy array, a pandas Series, an Arrow array, a list, another sequence.

    Every function of the catalog that takes a sequence is a method. Methods that give sequences compute nothing until
    values are asked for, and then stream from end to end.
    """

    __slots__ = ("_expression", "__weakref__")
    __array_priority__ = 100.0
    __array_ufunc__ = None

    def __init__(self, values: Any, type: "str | None" = None):
        self._expression = expression_of(values, type)

    @classmethod
    def _of(cls, expression: Any) -> "Sequence":
        self = cls.__new__(cls)
        self._expression = expression
        return self

    def to_numpy(self) -> np.ndarray:
        kind, width, values = self._expression.read()
        dtype = np.dtype(f"S{width}" if TYPES[kind] == "char" else DTYPES[TYPES[kind]])
        return np.empty(0, dtype) if values is None else values.view(dtype)
