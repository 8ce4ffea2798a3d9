"""Time series as values: sequences beside NumPy, pandas and Arrow, with the functions of the catalog.

`Sequence` is a column of values of one type; every function of the catalog is a method of it and a function of
`qvoseq.functions`, also to be had from here (`qvoseq.where`). docs/python.md introduces it, docs/pandas.md puts the
idioms of pandas beside.
"""

import importlib
from typing import TYPE_CHECKING, Any

from qvoseq import functions
from qvoseq._qvoseq import version
from qvoseq.aggregates import Aggregate, aggregate
from qvoseq.columns import Columns, columns
from qvoseq.sequence import Sequence

if TYPE_CHECKING:
    from qvoseq.csv_import import read_csv
    from qvoseq.database import connect, loadable_path
    from qvoseq.plotting import plot

__version__ = version
__all__ = [
    "Aggregate", "Columns", "Sequence", "aggregate", "budget", "columns", "connect", "functions", "loadable_path",
    "plot", "read_csv",
]  # fmt: skip


def budget(positions: "int | None" = None) -> int:
    """How many positions a call may read or expand, 2^31 at first; with an argument sets it. Returns what it was."""
    from qvoseq import _qvoseq

    return _qvoseq.budget() if positions is None else _qvoseq.set_budget(positions)


# What takes longer to import than to compute something, and is imported when it is asked for.
_LATER = {"read_csv": "csv_import", "connect": "database", "loadable_path": "database", "plot": "plotting"}


def __getattr__(name: str) -> Any:
    if name in _LATER:
        return globals().setdefault(name, getattr(importlib.import_module(f"qvoseq.{_LATER[name]}"), name))
    if name in functions.__all__:
        return getattr(functions, name)
    raise AttributeError(f"module 'qvoseq' has no attribute {name!r}")


def __dir__() -> list[str]:
    return sorted({*globals(), *_LATER, *functions.__all__})
