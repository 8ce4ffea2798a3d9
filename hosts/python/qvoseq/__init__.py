"""Time series as values: sequences beside NumPy, pandas and Arrow, with the functions of the catalog.

`Sequence` is a column of values of one type; every function of the catalog is a method of it and a function of
`qvoseq.functions`, also to be had from here (`qvoseq.where`). docs/python.md introduces it, docs/pandas.md puts the
idioms of pandas beside.
"""

from typing import Any

from qvoseq import functions
from qvoseq._qvoseq import version
from qvoseq.aggregates import Aggregate, aggregate
from qvoseq.columns import Columns, columns
from qvoseq.csv_import import read_csv
from qvoseq.database import connect, loadable_path
from qvoseq.plotting import plot
from qvoseq.sequence import Sequence

__version__ = version
__all__ = [
    "Aggregate", "Columns", "Sequence", "aggregate", "budget", "columns", "connect", "functions", "loadable_path",
    "plot", "read_csv",
]  # fmt: skip


def budget(positions: "int | None" = None) -> int:
    """How many positions a call may read or expand, 2^31 at first; with an argument sets it. Returns what it was."""
    from qvoseq import _qvoseq

    return _qvoseq.budget() if positions is None else _qvoseq.set_budget(positions)


def __getattr__(name: str) -> Any:
    if name in functions.__all__:
        return getattr(functions, name)
    raise AttributeError(f"module 'qvoseq' has no attribute {name!r}")
