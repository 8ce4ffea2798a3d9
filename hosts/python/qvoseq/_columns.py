"""Columns of other libraries as expressions. Memory that lies as ours does is read in place and kept alive; what is of
another form is copied once. A missing value stays missing in float and double; other types have none, and refuse it."""

import datetime
import math
import sys
from typing import Any

import numpy as np

from qvoseq import _qvoseq

TYPES = ["boolean", "int1", "int2", "int4", "int8", "uint1", "uint2", "uint4", "uint8"]
TYPES += ["float", "double", "timestamp", "char"]
DTYPES = dict(zip(TYPES, ["?", "i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "f4", "f8", "M8[us]"]))
CODES = {np.dtype(dtype): i for i, dtype in enumerate(DTYPES.values())}
CHAR = TYPES.index("char")
LONGEST = 255  # bytes of a char


def dtype_of(code: int, width: int) -> np.dtype:
    return np.dtype(f"S{width}" if code == CHAR else DTYPES[TYPES[code]])


def expression_of(values: Any, type: "str | None") -> Any:
    """A column as an expression, as another type if one is named."""
    from qvoseq._arrow import expression_of_arrow, is_arrow
    from qvoseq.sequence import Sequence

    floating = type in ("float", "double")
    if isinstance(values, Sequence):
        made = values._expression
    elif isinstance(values, bytes):
        made = Sequence.from_bytes(values)._expression
    elif isinstance(values, np.ndarray):
        made = _of_numpy(values, floating)
    elif values.__class__.__module__.partition(".")[0] == "pandas" and hasattr(values, "dtype"):
        made = _of_pandas(values, floating)
    elif is_arrow(values):
        made = expression_of_arrow(values, floating)
    else:
        made = _of_others(values, floating)
    if type is None or Sequence._of(made).type() == type:
        return made
    return Sequence._of(made).cast(type)._expression


def missing(kind: str, position: int) -> ValueError:
    return ValueError(
        f"a missing value at position {position}: {kind} has none; fill it before, or name the type double for numbers"
    )


def no_column(what: str) -> TypeError:
    return TypeError(f"a sequence is made of numbers, booleans, times or text, got {what}")


# ---- NumPy -----------------------------------------------------------------------------------------------------------


def array_expression(array: np.ndarray) -> Any:
    """An array of one of our types, in place."""
    array = np.ascontiguousarray(array)
    width = array.dtype.itemsize
    code = CHAR if array.dtype.kind == "S" else CODES[array.dtype]
    return _qvoseq.Expression.array(code, width, array.view("u1") if array.size else b"")


def _of_numpy(array: np.ndarray, floating: bool) -> Any:
    if array.ndim != 1:
        raise ValueError(f"a sequence has one dimension, got an array of shape {array.shape}")
    if isinstance(array, np.ma.MaskedArray):
        return _of_masked(np.ma.getdata(array), np.ma.getmaskarray(array), floating)
    return array_expression(to_our_dtype(array, floating))


def _of_masked(array: np.ndarray, mask: np.ndarray, floating: bool) -> Any:
    return array_expression(with_missing(to_our_dtype(array, False, ~mask), ~mask, floating))


def with_missing(array: np.ndarray, present: np.ndarray, floating: bool) -> np.ndarray:
    """The array with NaN where a value is not present."""
    if present.all():
        return array
    if array.dtype.kind != "f" and not (floating and array.dtype.kind in "biu"):
        raise missing(TYPES[CODES[array.dtype]] if array.dtype in CODES else "char", int(np.argmin(present)))
    array = array.astype("f4" if array.dtype == "f4" else "f8")
    array[~present] = np.nan
    return array


def to_our_dtype(array: np.ndarray, floating: bool, present: "np.ndarray | None" = None) -> np.ndarray:
    """The array as one of a type of ours: itself, if it is."""
    kind, size = array.dtype.kind, array.dtype.itemsize
    if kind == "b":
        wild = array.size and array.view("u1").max() > 1  # as views of other memory may have
        return array.view("u1") != 0 if wild else array
    if kind in "iu" and size <= 8:
        return array.astype(array.dtype.newbyteorder("="), copy=False)
    if kind == "f":
        return array.astype({2: "f4", 4: "f4"}.get(size, "f8"), copy=False)
    if kind == "M":
        return _microseconds(array, "timestamp", present)
    if kind == "m":
        return _microseconds(array, "int8", present).view("i8")
    if kind == "S":
        return _of_text(array)
    if kind == "U":
        return _of_text(np.char.encode(array, "utf-8") if array.size else array.astype("S1"))
    if kind in "OT":
        return _of_objects(array.tolist(), floating)
    raise no_column(f"an array of {array.dtype}")


def _missing_times(array: np.ndarray) -> "np.ndarray | None":
    """Where times are missing, or None. The number behind them is the least of all, which is found sooner than they."""
    numbers = array.view(np.dtype("i8").newbyteorder(array.dtype.byteorder))
    return np.isnat(array) if numbers.size and numbers.min() == np.iinfo("i8").min else None


def _microseconds(array: np.ndarray, kind: str, present: "np.ndarray | None" = None) -> np.ndarray:
    """Times of any unit in microseconds; finer ones are rounded down."""
    absent = _missing_times(array)
    gaps = absent if absent is None or present is None else absent & present
    if gaps is not None and gaps.any():
        raise missing(kind, int(np.argmax(gaps)))
    wide = OverflowError("a time does not fit 64 bits of microseconds")
    try:
        made = array.astype(f"{array.dtype.kind}8[us]", copy=False)
    except OverflowError:  # of NumPy, from some version on; others give another time
        raise wide from None
    coarse = np.datetime_data(array.dtype)[0] in ("Y", "M", "W", "D", "h", "m", "s", "ms")
    if coarse and not (made.astype(array.dtype) == array)[... if absent is None else ~absent].all():
        raise wide
    return made.astype(made.dtype.newbyteorder("="), copy=False)


def _of_text(array: np.ndarray) -> np.ndarray:
    if array.dtype.itemsize == 0:
        return array.astype("S1")
    if array.dtype.itemsize > LONGEST:
        longest = int(np.char.str_len(array).max()) if array.size else 1
        if longest > LONGEST:
            raise ValueError(f"text of {longest} bytes: char holds up to {LONGEST}")
        array = array.astype(f"S{max(1, longest)}")
    array = np.ascontiguousarray(array)
    if array.size and array.view("u1").max() > 127:
        for text in array.tolist():
            text.decode()  # UnicodeDecodeError is a ValueError that shows the bytes
    return array


# ---- Objects ---------------------------------------------------------------------------------------------------------


def _is_missing(value: Any) -> bool:
    if value is None or (isinstance(value, float) and math.isnan(value)):
        return True
    pandas = sys.modules.get("pandas")
    return pandas is not None and (value is pandas.NA or value is pandas.NaT)


def _of_objects(values: list, floating: bool) -> np.ndarray:
    """Python's values: all true or false boolean; integers int8, or uint8 if one needs it; numbers, missing ones too,
    double; text char; times timestamp; durations int8."""
    gaps = [_is_missing(value) for value in values]
    present = [value for value, gap in zip(values, gaps) if not gap]
    kinds = {_kind_of(value) for value in present}
    if not kinds <= {"boolean", "int8", "double"} and len(kinds) > 1:
        raise TypeError(f"a sequence is of one type, got {' and '.join(sorted(kinds))}")
    if kinds == {"timestamp"}:
        made = np.array([_naive(value) for value in present], "M8[us]")
    elif kinds == {"duration"}:
        made = np.array(present, "m8[us]").view("i8")
    elif kinds == {"char"}:
        made = _of_text(np.array([v.encode() if isinstance(v, str) else bytes(v) for v in present]))
    elif kinds == {"boolean"}:
        made = np.array(present, "?")
    elif kinds <= {"boolean", "int8"} and present and not any(gaps):
        made = _of_integers([int(value) for value in present])
    else:
        made = np.array([float(value) for value in present], "f8")
    if not any(gaps):
        return made
    if made.dtype.kind != "f" and not (floating and made.dtype.kind in "bi"):
        raise missing(TYPES[CODES[made.dtype]] if made.dtype in CODES else "char", gaps.index(True))
    whole = np.full(len(values), np.nan)
    whole[~np.array(gaps)] = made
    return whole


def _of_integers(values: list) -> np.ndarray:
    least, most = min(values), max(values)
    if least < -(2**63) or most >= 2 ** (63 if least < 0 else 64):
        raise OverflowError(f"integers from {least} to {most} do not fit 64 bits; as floats they make a double")
    return np.array(values, "i8" if most < 2**63 else "u8")


def _kind_of(value: Any) -> str:
    if isinstance(value, (bool, np.bool_)):
        return "boolean"
    if isinstance(value, (str, bytes)):
        return "char"
    if isinstance(value, (datetime.datetime, datetime.date, np.datetime64)):
        return "timestamp"
    if isinstance(value, (datetime.timedelta, np.timedelta64)):
        return "duration"
    if hasattr(value, "__index__"):
        return "int8"
    if hasattr(value, "__float__"):
        return "double"
    raise no_column(type(value).__name__)


def _naive(value: Any) -> Any:
    """A time in UTC without its zone."""
    if getattr(value, "tzinfo", None) is not None:
        return value.astimezone(datetime.timezone.utc).replace(tzinfo=None)
    return value


def _of_others(values: Any, floating: bool) -> Any:
    if isinstance(values, (str, int, float)) or not hasattr(values, "__iter__"):
        raise no_column(type(values).__name__)
    if isinstance(values, memoryview) or type(values).__module__ == "array":
        return _of_numpy(np.asarray(values), floating)
    return array_expression(_of_objects(list(values), floating))


# ---- pandas ----------------------------------------------------------------------------------------------------------


def _of_pandas(values: Any, floating: bool) -> Any:
    from qvoseq._arrow import expression_of_arrow

    dtype = values.dtype
    if isinstance(dtype, np.dtype):
        return _of_numpy(np.asarray(values), floating)
    array = getattr(values, "array", values)
    if getattr(dtype, "tz", None) is not None:
        return _of_numpy(np.asarray(array.tz_convert(None)), floating)
    if hasattr(dtype, "numpy_dtype") and hasattr(array, "isna") and hasattr(array, "__arrow_array__"):
        present = ~np.asarray(array.isna())
        if dtype.numpy_dtype.kind in "biuf":  # numbers and booleans with a mask
            flat = array.to_numpy(dtype=dtype.numpy_dtype, na_value=dtype.numpy_dtype.type(0))
            return array_expression(with_missing(to_our_dtype(flat, floating), present, floating))
    if "pyarrow" in sys.modules and hasattr(array, "__arrow_array__") and "pyarrow" in repr(dtype):
        return expression_of_arrow(array.__arrow_array__(), floating)
    return array_expression(_of_objects(np.asarray(values, object).tolist(), floating))
