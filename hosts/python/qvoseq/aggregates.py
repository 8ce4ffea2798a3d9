"""Aggregates over many sequences, their states as bytes, and what merges these."""

from typing import Any, Iterable

from qvoseq import _qvoseq
from qvoseq._calls import CALLABLES, argument, result


class Aggregate:
    """An aggregate of the catalog, by its name, over rows that are added one at a time.

    `state` gives what it remembers as bytes, to be stored or sent; `merge` adds such bytes to another of the same name.
    """

    def __init__(self, name: str):
        if name not in CALLABLES or CALLABLES[name].kind != "aggregate":
            raise ValueError(f"{name!r} is not an aggregate of the catalog")
        self._function = CALLABLES[name]
        self._native = _qvoseq.Aggregate(self._function.entry)
        self._first: tuple = ()

    def step(self, *arguments: Any) -> "Aggregate":
        """Adds a row."""
        data = tuple(argument(self._function, i, value) for i, value in enumerate(arguments))
        self._native.step(data)
        self._first = self._first or data[:1]
        return self

    def merge(self, state: bytes) -> "Aggregate":
        """Adds the rows that a state is of."""
        self._native.merge(state)
        return self

    def state(self) -> bytes:
        return self._native.state()

    def result(self) -> Any:
        """The result over the rows so far."""
        return result(self._function, self._native.finish(), self._first)


def aggregate(name: str, rows: Iterable[Any]) -> Any:
    """An aggregate over rows: sequences, or tuples of arguments where it takes several."""
    folded = Aggregate(name)
    for row in rows:
        folded.step(*(row if isinstance(row, tuple) else (row,)))
    return folded.result()
