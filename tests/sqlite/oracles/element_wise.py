"""Element-wise functions, and those of the calendar, as NumPy has them."""

import re

import numpy as np

from oracle import (
    Approx,
    Fault,
    Oracle,
    as_type,
    comparable,
    constant,
    doubles,
    is_number,
    is_time_like,
    meet,
    numbers,
    operands,
)
from values import TIME

INT8 = np.iinfo("i8")


def _refuse(wrong, *words):
    """A fault at the first wrong position."""
    if np.any(wrong):
        raise Fault(*words, f"position {int(np.argmax(wrong))}")


def _exact(function, *arrays):
    """Integers computed without bounds, refused where int8 does not hold the result."""
    results = [function(*map(int, values)) for values in zip(*arrays)]
    _refuse([not INT8.min <= r <= INT8.max for r in results], "does not fit int8")
    return np.array(results, "i8")


def _arithmetic(integers, floats):
    def reference(*arguments):
        arrays = numbers(*operands(*arguments))
        with np.errstate(all="ignore"):
            return floats(*arrays) if arrays[0].dtype == np.float64 else integers(*arrays)

    return reference


def _by_zero(function):
    def integers(x, y):
        # Whatever comes first: a division by zero, or the one quotient that int8 does not hold.
        overflow = (x == INT8.min) & (y == -1) if function is np.floor_divide else np.zeros(len(x), bool)
        wrong = (y == 0) | overflow
        if wrong.any():
            first = int(np.argmax(wrong))
            raise Fault("division by zero" if y[first] == 0 else "does not fit int8", f"position {first}")
        return function(x, np.where(y == -1, 1, y)) * (np.where(y == -1, -1, 1) if function is np.floor_divide else 1)

    return integers


def _mod(x, y):
    return np.where(y == 0, np.nan, np.mod(x, y))


def _floordiv(x, y):
    return np.where(y == 0, np.divide(x, y), np.floor_divide(x, y))


def _moved(sign):
    """add and sub, which know of timestamps."""
    function = np.add if sign > 0 else np.subtract
    numeric = _arithmetic(lambda x, y: _exact(lambda a, b: a + sign * b, x, y), function)

    def reference(x, y):
        x, y = operands(x, y)
        times = is_time_like(x) + 2 * is_time_like(y)
        if not times:
            return numeric(x, y)
        if (sign > 0 and times == 3) or (sign < 0 and times == 2):
            raise Fault("must be")
        for side in (x, y):
            if not is_time_like(side) and side.dtype.kind not in "iu":
                raise Fault("must be", "integers")
        result = _exact(lambda a, b: a + sign * b, as_type(x, np.dtype("i8")), as_type(y, np.dtype("i8")))
        return result if times == 3 else result.astype(TIME)

    return reference


def _of_double(function):
    def reference(*arguments):
        with np.errstate(all="ignore"):
            return Approx(function(*map(doubles, operands(*arguments))), 1e-14)

    return reference


def _of_double_exactly(function):
    inexact = _of_double(function)
    return lambda *arguments: inexact(*arguments).value


def _round(x, digits=0):
    (x,) = numbers(x)
    if x.dtype == np.int64:
        if digits >= 0:
            return x
        return _exact(lambda v: _to_unit(v, 10**-digits), x)
    # In the two steps of numpy.round, whose own powers of ten end at 10^22; far beyond, what is left is 0 or x.
    with np.errstate(all="ignore"):
        scale = np.float64(10.0) ** abs(digits)
        rounded = np.rint(x * scale) / scale if digits >= 0 else np.rint(x / scale) * scale
    return np.where(np.isfinite(rounded), rounded, x)


def _to_unit(v, unit):
    down, rest = divmod(v, unit)
    up = 2 * rest > unit or (2 * rest == unit and down % 2 == 1)
    return (down + up) * unit


def _choose(function):
    def reference(*arguments):
        arrays = operands(*arguments)
        dtype = meet(*arrays)
        return function(*[as_type(a, dtype) for a in arrays])

    return reference


def _least(x, y):
    return np.minimum(x, y) if x.dtype.kind == "f" else np.where(comparable(x) > comparable(y), y, x)


def _greatest(x, y):
    return np.maximum(x, y) if x.dtype.kind == "f" else np.where(comparable(x) < comparable(y), y, x)


def _sides(x, y):
    """Two sequences in forms that Python compares exactly."""
    if is_time_like(x) != is_time_like(y) and np.int64 in (x.dtype, y.dtype):
        return x.astype("i8"), y.astype("i8")
    meet(x, y)
    if "f" in (x.dtype.kind, y.dtype.kind):
        return x.astype("f8"), y.astype("f8")
    if x.dtype != y.dtype and is_number(x):
        return x.astype(object), y.astype(object)
    return comparable(x), comparable(y)


def _compare(function):
    def reference(x, y):
        # An integer beside timestamps counts microseconds; a sequence of integers is none of times.
        wide_x, wide_y = operands(x, y)
        if isinstance(x, np.ndarray) and isinstance(y, np.ndarray):
            meet(x, y)
        with np.errstate(invalid="ignore"):
            return function(*_sides(wide_x, wide_y)).astype(bool)

    return reference


def _between(x, lo, hi):
    sequences = [a for a in (x, lo, hi) if isinstance(a, np.ndarray)]
    x, lo, hi = operands(x, lo, hi)
    meet(*sequences)
    with np.errstate(invalid="ignore"):
        return (np.greater_equal(*_sides(x, lo)) & np.less_equal(*_sides(x, hi))).astype(bool)


def _conditions(*arguments):
    """Conditions: booleans, or the scalars 0 and 1."""
    arrays = operands(*arguments)
    for argument, array in zip(arguments, arrays):
        if isinstance(argument, np.ndarray) and array.dtype != bool:
            raise Fault("must be", "boolean")
        if not isinstance(argument, np.ndarray) and argument not in (0, 1):
            raise Fault("boolean")
    return [array.astype(bool) for array in arrays]


def _where(c, x, y):
    wide_c, wide_x, wide_y = operands(c, x, y)
    if not (wide_c.dtype == bool or (not isinstance(c, np.ndarray) and c in (0, 1))):
        raise Fault()
    dtype = meet(wide_x, wide_y)
    return np.where(wide_c, as_type(wide_x, dtype), as_type(wide_y, dtype)).astype(dtype)


def _fill(x, v):
    if not isinstance(x, np.ndarray):
        raise Fault("must be a sequence")
    wide_x, wide_v = operands(x, v)
    if x.dtype.kind == "f":
        dtype = meet(wide_x, wide_v) if isinstance(v, np.ndarray) else x.dtype
        if not is_number(wide_v):
            raise Fault("float" if dtype == np.float32 else "double")
        with np.errstate(over="ignore"):
            narrow = wide_v.astype(dtype)
        if not isinstance(v, np.ndarray) and np.isinf(narrow).any() and np.isfinite(v):
            raise Fault("does not fit float")
        return np.where(np.isnan(x), narrow, x).astype(dtype)
    if isinstance(v, np.ndarray):
        meet(x, v)
    elif not _fits(v, x.dtype):
        raise Fault("does not fit")
    return x


def _fits(v, dtype):
    """Whether a scalar is a value of a type other than float and double."""
    if dtype.kind == "S":
        return isinstance(v, str) and len(v.encode()) <= dtype.itemsize
    if dtype == TIME:
        return isinstance(constant(v, True), np.datetime64) or (v == int(v) and abs(v) < 2**63)
    if isinstance(v, str) or v != np.trunc(v):
        return False
    low, high = (0, 1) if dtype == bool else (np.iinfo(dtype).min, np.iinfo(dtype).max)
    return low <= v <= high


def _like(x, pattern):
    parts = {"%": ".*", "_": "."}
    compiled = re.compile("".join(parts.get(c, re.escape(c)) for c in pattern), re.DOTALL)
    return np.array([compiled.fullmatch(v.decode()) is not None for v in x], bool)


def _accessor(name):
    return lambda t: _parts(t, name)


def _parts(t, name):
    """The calendar by arithmetic on days and microseconds, as pandas' timestamps end in 2262."""
    days = t.astype("M8[D]")
    within = (t - days).astype("i8")
    parts = {
        "year": lambda: t.astype("M8[Y]").astype("i8") + 1970,
        "month": lambda: t.astype("M8[M]").astype("i8") % 12 + 1,
        "day": lambda: (days - t.astype("M8[M]").astype("M8[D]")).astype("i8") + 1,
        "hour": lambda: within // 3_600_000_000,
        "minute": lambda: within // 60_000_000 % 60,
        "second": lambda: within // 1_000_000 % 60,
        "weekday": lambda: (days.astype("i8") + 3) % 7,
    }
    return parts[name]().astype("i8")


UNITS = {"microsecond": 1, "millisecond": 1000, "second": 10**6, "minute": 6 * 10**7, "hour": 36 * 10**8}
UNITS |= {"day": 864 * 10**8, "week": 7 * 864 * 10**8}
WIDTHS = ["1 day", "7 hours", "15 minutes", "2 weeks", "1 month", "3 months", "1 year", "10 years", "1 microsecond"]


def floor_time(t, width):
    n, unit = width.split()
    n, unit = int(n), unit.rstrip("s")
    if unit in ("month", "year"):
        n *= 12 if unit == "year" else 1
        month = t.astype("M8[M]").astype("i8") + 1970 * 12
        return (month // n * n - 1970 * 12).astype("M8[M]").astype(TIME)
    origin = 4 * UNITS["day"] if unit == "week" else 0
    step = n * UNITS[unit]
    return ((t.astype("i8") - origin) // step * step + origin).astype(TIME)


def check_any_missing(test, host):
    """Missing values differ in their bits, by how they came about, and are missing all the same."""
    for n in (60, 256, 5000):
        x = np.random.default_rng(n).integers(0, 9999, n) / 100
        x[::7] = np.nan
        x.view("u8")[14::21] = 0xFFF8_0000_0000_0000
        np.testing.assert_array_equal(host.call("is_missing", x), np.isnan(x))
        np.testing.assert_array_equal(host.library.load(host.argument(x)), x)


ORACLES = {
    "add": Oracle(_moved(1)),
    "sub": Oracle(_moved(-1)),
    "mul": Oracle(_arithmetic(lambda x, y: _exact(lambda a, b: a * b, x, y), np.multiply)),
    "div": Oracle(_of_double_exactly(np.divide)),
    "floordiv": Oracle(_arithmetic(_by_zero(np.floor_divide), _floordiv)),
    "mod": Oracle(_arithmetic(_by_zero(np.mod), _mod)),
    "neg": Oracle(_arithmetic(lambda x: _exact(lambda a: -a, x), np.negative)),
    "abs": Oracle(_arithmetic(lambda x: _exact(abs, x), np.abs)),
    "sign": Oracle(_arithmetic(np.sign, lambda x: np.where(x == 0, 0.0, np.sign(x)))),
    "sqrt": Oracle(_of_double_exactly(np.sqrt)),
    "exp": Oracle(_of_double(np.exp)),
    "ln": Oracle(_of_double(np.log)),
    "log10": Oracle(_of_double(np.log10)),
    "pow": Oracle(_of_double(np.power)),
    "round": Oracle(_round, {"digits": lambda rng, case: int(rng.integers(-20, 21))}),
    "floor": Oracle(_arithmetic(lambda x: x, np.floor)),
    "ceil": Oracle(_arithmetic(lambda x: x, np.ceil)),
    "least": Oracle(_choose(_least)),
    "greatest": Oracle(_choose(_greatest)),
    "clip": Oracle(_choose(lambda x, lo, hi: _least(_greatest(x, lo), hi))),
    "eq": Oracle(_compare(np.equal)),
    "ne": Oracle(_compare(np.not_equal)),
    "lt": Oracle(_compare(np.less)),
    "le": Oracle(_compare(np.less_equal)),
    "gt": Oracle(_compare(np.greater)),
    "ge": Oracle(_compare(np.greater_equal)),
    "between": Oracle(_between),
    "and": Oracle(lambda c, d: np.logical_and(*_conditions(c, d))),
    "or": Oracle(lambda c, d: np.logical_or(*_conditions(c, d))),
    "xor": Oracle(lambda c, d: np.logical_xor(*_conditions(c, d))),
    "not": Oracle(np.logical_not),
    "like": Oracle(
        _like, {"pattern": lambda rng, case: str(rng.choice(["%", "a%", "_", "%b%", "é_", "", "__", "a%b%%"]))}
    ),
    "is_missing": Oracle(
        lambda x: np.isnan(x) if x.dtype.kind == "f" else np.zeros(x.size, bool), checks=(check_any_missing,)
    ),
    "fill": Oracle(_fill),
    "where": Oracle(_where),
    **{name: Oracle(_accessor(name)) for name in "year month day hour minute second weekday".split()},
    "floor_time": Oracle(floor_time, {"width": lambda rng, case: str(rng.choice(WIDTHS))}),
}
