"""Columns of other libraries as expressions, without a copy where their memory is that of an array of ours."""

from typing import Any

import numpy as np

from qvoseq import _qvoseq

TYPES = ["boolean", "int1", "int2", "int4", "int8", "uint1", "uint2", "uint4", "uint8"]
TYPES += ["float", "double", "timestamp", "char"]
DTYPES = dict(zip(TYPES, ["?", "i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "f4", "f8", "M8[us]"]))
_BY_DTYPE = {np.dtype(dtype): i for i, dtype in enumerate(DTYPES.values())}


def expression_of(values: Any, type: "str | None") -> Any:
    array = np.ascontiguousarray(values)
    return _qvoseq.Expression.array(_BY_DTYPE[array.dtype], array.dtype.itemsize, array.view("u1"))
