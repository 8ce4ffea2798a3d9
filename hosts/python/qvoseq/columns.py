"""Several sequences of equal length under names: the columns of a table of another library, in and out."""

from typing import Any, Iterator, Mapping

from qvoseq import _arrow
from qvoseq.sequence import Sequence


class Columns(Mapping[str, Sequence]):
    """Sequences by name. Arrow's libraries (pyarrow, Polars, DuckDB) take it for a table."""

    def __init__(self, columns: "Mapping[str, Any] | None" = None, **more: Any):
        given = {**(columns or {}), **more}
        self._columns = {n: x if isinstance(x, Sequence) else Sequence(x) for n, x in given.items()}

    def __getitem__(self, name: str) -> Sequence:
        return self._columns[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._columns)

    def __len__(self) -> int:
        return len(self._columns)

    def __repr__(self) -> str:
        return f"Columns({self._columns!r})"

    def __arrow_c_stream__(self, requested_schema: Any = None) -> Any:
        lengths = {name: len(sequence) for name, sequence in self.items()}
        if len(set(lengths.values())) > 1:
            raise ValueError(f"columns of different lengths: {lengths}")
        children = [_arrow.column_out(sequence._expression, name) for name, sequence in self.items()]
        return _arrow.struct_out(children, max(lengths.values(), default=0)).stream()

    def to_pandas(self, index: Any = None) -> Any:
        """A DataFrame. index: the name of the column that becomes its index."""
        import pandas

        frame = pandas.DataFrame({name: sequence.to_pandas() for name, sequence in self.items()})
        return frame if index is None else frame.set_index(index)


def columns(table: Any) -> Columns:
    """The columns of a DataFrame of pandas, of any Arrow table or stream, or of a mapping of names to columns."""
    if isinstance(table, Mapping):
        return Columns(table)
    if table.__class__.__module__.partition(".")[0] == "pandas":
        return Columns({name: table[name] for name in table.columns})
    if _arrow.is_arrow(table):
        made = _arrow.columns_of_arrow(table)
        return Columns({name: Sequence._of(expression) for name, expression in made.items()})
    raise TypeError(f"a table or a mapping is wanted, got {type(table).__name__}")
