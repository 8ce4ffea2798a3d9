"""Arrow's formats: which buffers an array of a format has, and what they are in our types. Numbers without missing
values and runs (run-end encoded arrays) are read and handed over in place; a missing value is a null there and a NaN
here."""

from typing import Any

import numpy as np

from qvoseq import _qvoseq
from qvoseq._columns import CHAR, DTYPES, TYPES, array_expression, dtype_of, missing, to_our_dtype, with_missing

# Formats of numbers and times: the dtype of the buffer, and the dtype in which it is a type of ours.
_FLAT = dict(zip("cCsSiIlLfg", ["i1", "u1", "i2", "u2", "i4", "u4", "i8", "u8", "f4", "f8"])) | {"e": "f2"}
_FLAT |= {"tdD": "M8[D]", "tdm": "M8[ms]", "tDs": "m8[s]", "tDm": "m8[ms]", "tDu": "m8[us]", "tDn": "m8[ns]"}
_UNITS = {"tss:": "M8[s]", "tsm:": "M8[ms]", "tsu:": "M8[us]", "tsn:": "M8[ns]"}
_ENDS = {"s": "i2", "i": "i4", "l": "i8"}
_OUT = dict(zip(DTYPES, ["b", "c", "s", "i", "l", "C", "S", "I", "L", "f", "g", "tsu:"]))
_ARRAY, _STREAM = "__arrow_c_array__", "__arrow_c_stream__"


def is_arrow(values: Any) -> bool:
    return hasattr(values, _ARRAY) or hasattr(values, _STREAM)


def chunks_of(values: Any) -> list:
    if hasattr(values, _ARRAY):
        return [_qvoseq.ArrowIn.of(*getattr(values, _ARRAY)())]
    return _qvoseq.arrow_stream(getattr(values, _STREAM)())


def expression_of_arrow(values: Any, floating: bool) -> Any:
    return joined([expression_of_chunk(chunk, floating) for chunk in chunks_of(values)])


def joined(parts: list) -> Any:
    from qvoseq._catalog import FUNCTIONS

    if len(parts) == 1:
        return parts[0]
    join = _qvoseq.Aggregate(FUNCTIONS["join"])
    for part in parts:
        join.step((part,))
    return _qvoseq.Expression.stored(join.finish())


def columns_of_arrow(values: Any) -> dict[str, Any]:
    """The columns of a table."""
    chunks = chunks_of(values)
    if chunks[0].format != "+s":
        raise TypeError("a table is wanted, got a column: Sequence takes it")
    columns: dict[str, list] = {}
    for chunk in chunks:
        if chunk.offset != 0 or chunk.null_count > 0:
            raise ValueError("rows of an Arrow table may not be missing or begin within an array")
        for child in chunk.children:
            columns.setdefault(child.name, []).append(expression_of_chunk(child, False))
    return {name: joined(parts) for name, parts in columns.items()}


# ---- In --------------------------------------------------------------------------------------------------------------


def _flat_dtype(format: str) -> "np.dtype | None":
    name = _FLAT.get(format) or _UNITS.get(format[:4])
    return None if name is None else np.dtype(name)


def _check(format: str) -> None:
    """Refuses what has no type of ours, before anything is read."""
    if format == "+s":
        raise TypeError("a table has columns: qvoseq.columns takes them, Sequence takes one")
    if format in ("n", "b", "u", "U", "vu", "+r") or _flat_dtype(format) is not None:
        return
    raise TypeError(f"an Arrow array of format '{format}' has no type here; cast it to numbers, times or text before")


def expression_of_chunk(chunk: Any, floating: bool) -> Any:
    _check(chunk.dictionary.format if chunk.dictionary is not None else chunk.format)
    if chunk.format == "+r":
        return _runs(chunk, floating)
    return array_expression(_values(chunk, floating))


def _runs(chunk: Any, floating: bool) -> Any:
    ends, values = chunk.children
    if ends.format not in _ENDS:
        raise TypeError(f"the ends of runs must be int16, int32 or int64, got format '{ends.format}'")
    _check(values.format)
    if chunk.length == 0:
        return array_expression(_values(values, floating)[:0])
    flat = np.ascontiguousarray(_values(values, floating))
    dtype = np.dtype(_ENDS[ends.format])
    memory = _buffer(ends, 1, dtype, ends.length)
    code = CHAR if flat.dtype.kind == "S" else TYPES.index(_name(flat.dtype))
    run = _qvoseq.Expression.runs
    return run(
        code, flat.dtype.itemsize, flat.view("u1"), memory.view("u1"), dtype.itemsize, chunk.offset, chunk.length
    )


def _name(dtype: np.dtype) -> str:
    return next(name for name, ours in DTYPES.items() if np.dtype(ours) == dtype)


def _buffer(chunk: Any, index: int, dtype: Any, n: int) -> np.ndarray:
    """Values of a buffer from the array's offset on."""
    dtype = np.dtype(dtype)
    memory = chunk.buffer(index, (chunk.offset + n) * dtype.itemsize)
    return np.empty(0, dtype) if memory is None else memory.view(dtype)[chunk.offset :]


def _bits(chunk: Any, index: int) -> "np.ndarray | None":
    end = chunk.offset + chunk.length
    memory = chunk.buffer(index, (end + 7) // 8)
    if memory is None:
        return None
    return np.unpackbits(memory, bitorder="little")[chunk.offset : end].view("?")


def _values(chunk: Any, floating: bool) -> np.ndarray:
    """The values of an array as one of our dtypes."""
    format, n = chunk.format, chunk.length
    if format == "n":
        return np.full(n, np.nan)
    if n == 0:
        return np.empty(0, "?" if format == "b" else _empty_dtype(format))
    present = _bits(chunk, 0) if chunk.null_count != 0 else None
    if chunk.dictionary is not None:
        return _of_dictionary(chunk, present, floating)
    if format == "b":
        flat = _bits(chunk, 1)
    elif format in ("u", "U", "vu"):
        return _texts(chunk, present)
    else:
        flat = _numbers(chunk, format)
    made = to_our_dtype(flat, floating, present)
    return made if present is None else with_missing(made, present, floating)


def _empty_dtype(format: str) -> np.dtype:
    dtype = _flat_dtype(format)
    if dtype is None:
        return np.dtype("S1")
    return to_our_dtype(np.empty(0, dtype), False).dtype


def _numbers(chunk: Any, format: str) -> np.ndarray:
    dtype = _flat_dtype(format)
    if format == "tdD":  # days are of 4 bytes there
        return _buffer(chunk, 1, "i4", chunk.length).astype("i8").view("M8[D]")
    return _buffer(chunk, 1, dtype, chunk.length)


def _texts(chunk: Any, present: "np.ndarray | None") -> np.ndarray:
    n = chunk.length
    if present is not None and not present.all():
        raise missing("char", int(np.argmin(present)))
    if chunk.format == "vu":
        return to_our_dtype(np.array(_viewed(chunk), object), False)
    offsets = _buffer(chunk, 1, "i4" if chunk.format == "u" else "i8", n + 1).astype("i8")
    lengths = np.diff(offsets)
    if (lengths < 0).any() or offsets[0] < 0:
        raise ValueError("the offsets of the Arrow array do not ascend")
    width = max(1, int(lengths.max()))
    if width > 255:
        raise ValueError(f"text of {width} bytes: char holds up to 255")
    memory = chunk.buffer(2, int(offsets[-1]))
    texts = np.zeros((n, width), "u1")
    if memory is not None:
        texts[np.arange(width) < lengths[:, None]] = memory[offsets[0] :]
    return to_our_dtype(texts.view(f"S{width}").ravel(), False)


def _viewed(chunk: Any) -> list:
    """Text in views: up to 12 bytes within the view, else where the view says."""
    views = _buffer(chunk, 1, np.dtype([("size", "i4"), ("bytes", "S12")]), chunk.length)
    places = views.view(np.dtype([("size", "i4"), ("start", "i4"), ("buffer", "i4"), ("offset", "i4")]))
    raw = views.view("u1").reshape(-1, 16)
    sizes = _buffer_sizes(chunk)
    texts = []
    for i, (size, _, buffer, offset) in enumerate(places.tolist()):
        if size <= 12:
            texts.append(raw[i, 4 : 4 + size].tobytes().decode())
        else:
            texts.append(chunk.buffer(2 + buffer, int(sizes[buffer]))[offset : offset + size].tobytes().decode())
    return texts


def _buffer_sizes(chunk: Any) -> np.ndarray:
    """The last buffer of an array of views holds the sizes of the others."""
    n = chunk.n_buffers - 3
    return np.empty(0, "i8") if n == 0 else chunk.buffer(chunk.n_buffers - 1, 8 * n).view("i8")


def _of_dictionary(chunk: Any, present: "np.ndarray | None", floating: bool) -> np.ndarray:
    if chunk.dictionary.dictionary is not None or chunk.format not in _FLAT:
        raise TypeError("an Arrow dictionary has integers as its indices, and values of numbers, times or text")
    at = _numbers(chunk, chunk.format).astype("i8")
    values = _values(chunk.dictionary, floating)
    if present is not None:
        at = np.where(present, at, 0)
    if at.size and (at.min() < 0 or at.max() >= max(1, values.size)):
        raise ValueError("an index of the Arrow dictionary is outside")
    if values.size == 0:
        values = np.zeros(1, values.dtype)
    made = values[at]
    return made if present is None else with_missing(made, present, floating)


# ---- Out -------------------------------------------------------------------------------------------------------------


def column_out(expression: Any, name: str = "") -> Any:
    """An array of all positions."""
    code, width, memory = expression.read()
    dtype = dtype_of(code, width)
    return _plain(TYPES[code], np.empty(0, dtype) if memory is None else memory.view(dtype), name)


def runs_out(expression: Any, ends_format: str, name: str = "") -> Any:
    """A run-end encoded array."""
    code, width, memory, ends = expression.read_runs()
    dtype = dtype_of(code, width)
    values = np.empty(0, dtype) if memory is None else memory.view(dtype)
    at = np.empty(0, "i4") if ends is None else ends.view("i4")
    length = int(at[-1]) if at.size else 0
    wanted = np.dtype(_ENDS[ends_format])
    if length > np.iinfo(wanted).max:
        raise OverflowError(f"{length} positions do not fit ends of runs of {wanted}")
    at = at.astype(wanted, copy=False)
    children = [_qvoseq.ArrowOut(ends_format, "run_ends", at.size, 0, [None, at], [])]
    children.append(_plain(TYPES[code], values, "values"))
    return _qvoseq.ArrowOut("+r", name, length, 0, [], children)


def struct_out(children: list, length: int) -> Any:
    return _qvoseq.ArrowOut("+s", "", length, 0, [None], children)


def _plain(kind: str, values: np.ndarray, name: str) -> Any:
    n, out = values.size, _qvoseq.ArrowOut
    if kind == "char":
        return _text_out(values, name)
    if kind == "boolean":
        return out("b", name, n, 0, [None, np.packbits(values, bitorder="little")], [])
    if values.dtype.kind == "f":
        gaps = np.isnan(values)
        n_gaps = int(gaps.sum())
        valid = np.packbits(~gaps, bitorder="little") if n_gaps else None
        return out(_OUT[kind], name, n, n_gaps, [valid, values.view("u1")], [])
    return out(_OUT[kind], name, n, 0, [None, values.view("u1")], [])


def _text_out(values: np.ndarray, name: str) -> Any:
    n, width = values.size, values.dtype.itemsize
    lengths = np.char.str_len(values) if n else np.empty(0, "i8")
    offsets = np.zeros(n + 1, "i8")
    np.cumsum(lengths, out=offsets[1:])
    small = offsets[-1] < 2**31
    letters = values.view("u1").reshape(n, width)[np.arange(width) < lengths[:, None]] if n else np.empty(0, "u1")
    buffers = [None, offsets.astype("i4") if small else offsets, letters]
    return _qvoseq.ArrowOut("u" if small else "U", name, n, 0, buffers, [])
