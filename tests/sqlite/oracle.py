"""What the oracles are made of: the data that functions are tried on, and what their answers may differ by.

An oracle states a function a second time in NumPy or pandas. It returns what the function gives (an array, a scalar,
None for NULL), Approx where rounding is allowed, or raises Fault where the function has to refuse."""

from dataclasses import dataclass, field
from typing import Callable

import numpy as np

from values import DTYPES, TIME, type_of

# Around the borders of the tiles that operators and encodings work in, for elements of 1 to 8 bytes and of char.
LENGTHS = [
    0,
    1,
    2,
    3,
    7,
    65,
    254,
    255,
    256,
    454,
    455,
    456,
    818,
    819,
    820,
    1023,
    1640,
    2047,
    2048,
    2049,
    4095,
    4096,
    4097,
]


class Fault(Exception):
    """The function refuses; its sentence holds all of these words."""


@dataclass
class Approx:
    """A result within a relative error and beside it an absolute one."""

    value: object
    relative: float = 1e-9
    absolute: object = 0.0


@dataclass
class Oracle:
    reference: Callable
    makers: dict = field(default_factory=dict)  # parameter -> maker(rng, case), for others than what its entry says
    rows: bool = False  # of an aggregate: the reference takes rows, not whole columns
    checks: tuple = ()  # worked cases of its own: check(test, host)
    good: list = None  # arguments that the function takes, where those that are made do not do

    def of_rows(self):
        """The reference of an aggregate over rows."""
        if self.rows:
            return self.reference

        def reference(rows):
            columns = list(zip(*rows))
            return self.reference(*[np.concatenate(c) if isinstance(c[0], np.ndarray) else c[0] for c in columns])

        return reference


class Case:
    """The data of one case: sequences of a length and shape, of types that belong together."""

    def __init__(self, rng, n, shape):
        self.rng, self.n, self.shape = rng, n, shape
        self.given = {}  # arguments so far, by parameter

    def sequence(self, kind, n=None):
        n = self.n if n is None else n
        return pool(self.rng, kind, self.shape, n)[SHAPES[self.shape](self.rng, n)]

    def times(self, step=1_000_000, n=None):
        """Ascending times, some of them equal, some far apart."""
        steps = self.rng.choice([0, 1, step, 7 * step, 40 * step], self.n if n is None else n)
        return (np.datetime64("2026-01-30T23:59:00", "us") + np.cumsum(steps)).astype(TIME)


def _runs(lengths):
    """Indices of a pool, each for a run of some length."""

    def indices(rng, n):
        at, out = 0, []
        while len(out) < n:
            out += [at] * lengths(rng, at)
            at += 1
        return np.array(out[:n], dtype=int)

    return indices


SHAPES = {
    "single": lambda rng, n: np.arange(n),
    "few": lambda rng, n: rng.integers(0, min(n, 5) or 1, n),
    "constant": lambda rng, n: np.zeros(n, int),
    "mean 3": _runs(lambda rng, at: int(rng.integers(1, 6))),
    "mean 100": _runs(lambda rng, at: int(rng.integers(1, 200))),
    "long": _runs(lambda rng, at: int(rng.integers(256, 900))),
    "alternating": _runs(lambda rng, at: 1 if at % 2 else int(rng.integers(200, 300))),
    "limits": lambda rng, n: rng.integers(0, n or 1, n),
    "missing": lambda rng, n: np.arange(n),
    "ascending": lambda rng, n: np.arange(n),
}


def pool(rng, kind, shape, n):
    """n values of a type: mostly tame, so that what is computed of them fits; at its limits where the shape says so."""
    wild = shape == "limits"
    dtype = np.dtype(DTYPES[kind])
    if kind == "char":
        letters = "a b é ß ab b% x_ äöü %".split() + [""]
        words = ["".join(rng.choice(letters, 2)).encode()[:5] for _ in range(n)]
        return np.array([w.decode(errors="ignore").encode() for w in words], "S5" if n else "S1")
    if kind == "boolean":
        return rng.integers(0, 2, n).astype(bool)
    if kind == "timestamp":
        most = 250_000_000_000_000_000 if wild else 40_000_000_000_000  # the years 1 to 9892
        low = -62_135_596_800_000_000 if wild else -most
        values = rng.integers(low, most, n)
        return (np.sort(values) if shape == "ascending" else values).astype(TIME)
    if dtype.kind in "iu":
        info = np.iinfo(dtype)
        if wild:
            special = [info.min, info.max, 0, 1, info.max - 1, info.min // 2, info.max // 2, 2]
            return np.array([special[i] for i in rng.integers(0, len(special), n)], dtype)
        most = min(info.max, 1000)
        values = rng.integers(max(info.min, -most), most, n)
        return (np.sort(values) if shape == "ascending" else values).astype(dtype)
    values = np.round(rng.normal(0, 100, n), int(rng.integers(0, 4)))
    if shape in ("single", "mean 3"):
        values = rng.normal(0, 1, n) * 10.0 ** rng.integers(-6, 7, n)
    if shape == "ascending":
        values.sort()
    if wild:
        special = [0.0, -0.0, np.inf, -np.inf, np.nan, 1e100, -1e100, 5e-324, 0.5, -1.5, 2.5, 1e16]
        values = rng.choice(special, n)
    if shape in ("missing", "mean 3", "alternating"):
        values[rng.random(n) < 0.3] = np.nan
    if shape == "missing" and n:
        values[: int(rng.integers(0, 4))] = np.nan
        from_ = int(rng.integers(0, n))
        values[from_ : from_ + int(rng.integers(0, 300))] = np.nan
    with np.errstate(over="ignore"):
        return values.astype(dtype)


# ---- Types ---------------------------------------------------------------------------------------------------------


def is_number(array):
    return array.dtype.kind in "biuf"


def meet(*arrays):
    """The type in which sequences are put together."""
    dtype = arrays[0].dtype
    for array in arrays[1:]:
        if dtype == array.dtype:
            continue
        if dtype.kind == array.dtype.kind == "S":
            dtype = max(dtype, array.dtype, key=lambda d: d.itemsize)
        elif dtype.kind in "biuf" and array.dtype.kind in "biuf":
            dtype = np.dtype("f8" if "f" in (dtype.kind, array.dtype.kind) else "i8")
        else:
            raise Fault("must be")
    return dtype


def as_type(array, dtype):
    """A sequence in the type where it meets others: wider, or uint8 as int8, which may not hold it."""
    if dtype == np.int64 and array.dtype == np.uint64 and (array > np.uint64(2**63 - 1)).any():
        raise Fault("does not fit int8", "cast", f"position {int(np.argmax(array > np.uint64(2**63 - 1)))}")
    return array.astype(dtype)


def numbers(*arrays):
    """Sequences of numbers as those that arithmetic computes with: int8 or double."""
    for array in arrays:
        if not is_number(array):
            raise Fault("must be", "number")
    dtype = np.dtype("f8" if any(a.dtype.kind == "f" for a in arrays) else "i8")
    return [as_type(a, dtype) for a in arrays]


def same_length(*arrays):
    for array in arrays:
        if array.size != arrays[0].size:
            raise Fault("lengths", str(arrays[0].size), str(array.size))


def doubles(array):
    if not is_number(array):
        raise Fault("must be", "number")
    return array.astype("f8")


def comparable(array):
    """In a form that compares as values do. (NumPy takes the bytes of text for signed.)"""
    return array.astype(object) if array.dtype.kind == "S" else array


def is_time_like(array):
    return array.dtype == TIME


def operands(*arguments):
    """Sequences and scalars as sequences of one length."""
    arrays = [a for a in arguments if isinstance(a, np.ndarray)]
    if not arrays:
        raise Fault("at least one argument must be a sequence")
    same_length(*arrays)
    times = any(map(is_time_like, arrays))
    return [a if isinstance(a, np.ndarray) else np.full(arrays[0].size, constant(a, times)) for a in arguments]


def constant(scalar, beside_time=False):
    """A scalar in the type that it has by itself."""
    if isinstance(scalar, str):
        if not beside_time:
            return np.array(scalar.encode(), f"S{max(1, len(scalar.encode()))}")
        try:
            return np.datetime64(scalar, "us")
        except ValueError:
            raise Fault() from None
    return np.int64(scalar) if isinstance(scalar, int) else np.float64(scalar)


# ---- Comparing -----------------------------------------------------------------------------------------------------


def differs(result, expected):
    """How a result is wrong, or None."""
    approx = expected if isinstance(expected, Approx) else None
    value = approx.value if approx else expected
    if not isinstance(value, np.ndarray):
        if value is None or isinstance(value, str) or approx is None:
            same = result == value and isinstance(result, type(value))
            return None if same else f"{result!r} instead of {value!r}"
        if not isinstance(result, type(value)):
            return f"{result!r} instead of {value!r}"
        return _first_difference(np.array([result], "f8"), Approx(np.array([value], "f8"), *_errors(approx)))
    if not isinstance(result, np.ndarray):
        return f"{result!r} instead of a sequence"
    if result.dtype != value.dtype or result.size != value.size:
        return f"{type_of(result)} of {result.size} instead of {type_of(value)} of {value.size}"
    return _first_difference(result, approx or Approx(value, 0.0, 0.0))


def _errors(approx):
    return approx.relative, approx.absolute


def _first_difference(result, approx):
    value = approx.value
    if value.dtype.kind == "M":
        wrong = result.view("i8") != value.view("i8")  # as NumPy has no name for the lowest one
    elif value.dtype.kind != "f":
        wrong = result != value
    else:
        with np.errstate(all="ignore"):
            near = np.abs(result - value) <= approx.relative * np.abs(value) + approx.absolute
        exact = approx.relative == 0 and np.ndim(approx.absolute) == 0 and approx.absolute == 0
        same = (result == value) & ((not exact) | (np.signbit(result) == np.signbit(value)))
        wrong = ~(same | (np.isnan(result) & np.isnan(value)) | (near & np.isfinite(value) & (not exact)))
    if not wrong.any():
        return None
    i = int(np.argmax(wrong))
    return f"{result[i]!r} instead of {value[i]!r} at position {i} ({int(wrong.sum())} of {value.size} differ)"
