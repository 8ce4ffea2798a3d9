"""What the catalog attaches; written by tools/python_stubs.py."""

from typing import Any, Iterator

from qvoseq.sequence import Sequence

Scalar = Any  # a number, text, or a time of datetime, NumPy or pandas
Column = Any  # a Sequence, or what makes one: an array, a Series, an Arrow array, a list, stored bytes

__all__: list[str]

def pack(v: Any, key: Any | None = None, type: Any | None = None) -> Sequence:
    """The values of the rows as a sequence, ordered by a key."""
def rows(x: Column, *more: Column) -> Iterator[Any]:
    """The positions and values of sequences of equal length, a row each."""
def from_json(text: Any, type: Any | None = None) -> Sequence:
    """A JSON array as a sequence."""
def to_json(x: Column) -> str:
    """The sequence as a JSON array."""
def length(x: Column) -> int:
    """The number of positions, missing values included."""
def type(x: Column) -> str:
    """The name of the type."""
def get(x: Column, i: int) -> Any:
    """The value at a position."""
def slice(x: Column, start: int, stop: int | None = None) -> Sequence:
    """The positions from start up to, not including, stop."""
def info(x: Column) -> str:
    """What is known of a stored sequence without reading its values."""
def valid(blob: Any) -> int:
    """1 if the bytes are a sound sequence in every part, else 0."""
def range(start: Scalar, n: int, step: Scalar | None = None) -> Sequence:
    """start, start + step, start + 2 step …: n values."""
def repeat(v: Scalar, n: int) -> Sequence:
    """A value n times."""
def join(x: Column, key: Any | None = None) -> Sequence:
    """The sequences of the rows one after the other, ordered by a key."""
def append(x: Column, y: Column) -> Sequence:
    """x, and y after it."""
def cast(x: Column, type: Any) -> Sequence:
    """Every value as another type."""
def compress(x: Column) -> Sequence:
    """The same sequence in fewer bytes, slower to read."""
def decompress(x: Column) -> Sequence:
    """The sequence without compression."""
def add(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x + y."""
def sub(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x - y."""
def mul(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x · y."""
def div(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x / y."""
def floordiv(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x / y rounded down."""
def mod(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """The remainder of x // y."""
def neg(x: Column) -> Sequence:
    """-x."""
def abs(x: Column) -> Sequence:
    """The absolute value."""
def sign(x: Column) -> Sequence:
    """-1, 0 or 1, as x is below, at or above 0."""
def sqrt(x: Column) -> Sequence:
    """The square root."""
def exp(x: Column) -> Sequence:
    """e to the power of x."""
def ln(x: Column) -> Sequence:
    """The natural logarithm."""
def log10(x: Column) -> Sequence:
    """The decimal logarithm."""
def pow(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x to the power of y."""
def round(x: Column, digits: int | None = None) -> Sequence:
    """Rounded to a number of decimal digits, half to even."""
def floor(x: Column) -> Sequence:
    """The largest whole number not above x."""
def ceil(x: Column) -> Sequence:
    """The smallest whole number not below x."""
def least(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """The smaller of x and y."""
def greatest(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """The larger of x and y."""
def clip(x: Column | Scalar, lo: Column | Scalar, hi: Column | Scalar) -> Sequence:
    """x, but not below lo and not above hi."""
def is_missing(x: Column) -> Sequence:
    """True where the value is missing."""
def fill(x: Column | Scalar, v: Column | Scalar) -> Sequence:
    """x, with v where it is missing."""
def where(c: Column | Scalar, x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x where c is true, else y."""
def eq(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x = y."""
def ne(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x ≠ y."""
def lt(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x < y."""
def le(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x ≤ y."""
def gt(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x > y."""
def ge(x: Column | Scalar, y: Column | Scalar) -> Sequence:
    """x ≥ y."""
def between(x: Column | Scalar, lo: Column | Scalar, hi: Column | Scalar) -> Sequence:
    """lo ≤ x and x ≤ hi."""
def and_(c: Column | Scalar, d: Column | Scalar) -> Sequence:
    """True where both are."""
def or_(c: Column | Scalar, d: Column | Scalar) -> Sequence:
    """True where one or both are."""
def xor(c: Column | Scalar, d: Column | Scalar) -> Sequence:
    """True where exactly one is."""
def not_(c: Column) -> Sequence:
    """True where c is false."""
def like(x: Column, pattern: Any) -> Sequence:
    """True where the text matches a pattern."""
def year(t: Column) -> Sequence:
    """The year."""
def month(t: Column) -> Sequence:
    """The month, from 1."""
def day(t: Column) -> Sequence:
    """The day of the month, from 1."""
def hour(t: Column) -> Sequence:
    """The hour, from 0."""
def minute(t: Column) -> Sequence:
    """The minute, from 0."""
def second(t: Column) -> Sequence:
    """The second, from 0, without its fraction."""
def weekday(t: Column) -> Sequence:
    """The day of the week: Monday is 0."""
def floor_time(t: Column, width: Any) -> Sequence:
    """The start of the bucket of time that holds t."""
def diff(x: Column, n: int | None = None) -> Sequence:
    """The difference to the value n positions before."""
def pct_change(x: Column, n: int | None = None) -> Sequence:
    """The relative change from the value n positions before."""
def shift(x: Column, n: int, v: Scalar | None = None) -> Sequence:
    """The value n positions before."""
def cumsum(x: Column) -> Sequence:
    """The sum of all values up to each position."""
def cumprod(x: Column) -> Sequence:
    """The product of all values up to each position."""
def cummax(x: Column) -> Sequence:
    """The largest value up to each position."""
def cummin(x: Column) -> Sequence:
    """The smallest value up to each position."""
def ffill(x: Column, limit: int | None = None) -> Sequence:
    """Missing values replaced with the last value before them."""
def bfill(x: Column, limit: int | None = None) -> Sequence:
    """Missing values replaced with the next value after them."""
def interpolate(x: Column) -> Sequence:
    """Missing values replaced with the straight line between the values around them."""
def ema(x: Column, span: float) -> Sequence:
    """The exponential moving average of a span."""
def wilder(x: Column, n: int) -> Sequence:
    """Wilder's moving average over n positions."""
def atr(high: Column, low: Column, close: Column, n: int) -> Sequence:
    """Wilder's average true range over n positions."""
def rsi(x: Column, n: int) -> Sequence:
    """Wilder's relative strength index over n positions."""
def rolling_sum(x: Column, window: int, min_periods: int | None = None) -> Sequence:
    """The sum of the last values at each position."""
def rolling_mean(x: Column, window: int, min_periods: int | None = None) -> Sequence:
    """The mean of the last values at each position."""
def rolling_min(x: Column, window: int, min_periods: int | None = None) -> Sequence:
    """The smallest of the last values at each position."""
def rolling_max(x: Column, window: int, min_periods: int | None = None) -> Sequence:
    """The largest of the last values at each position."""
def rolling_var(x: Column, window: int, min_periods: int | None = None) -> Sequence:
    """The sample variance of the last values at each position."""
def rolling_std(x: Column, window: int, min_periods: int | None = None) -> Sequence:
    """The sample standard deviation of the last values at each position."""
def rolling_count(x: Column, window: int, min_periods: int | None = None) -> Sequence:
    """The number of values present among the last ones at each position."""
def rolling_median(x: Column, window: int, min_periods: int | None = None) -> Sequence:
    """The median of the last values at each position."""
def rolling_sum_time(x: Column, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
    """The sum of the values of the last width of time at each position."""
def rolling_mean_time(x: Column, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
    """The mean of the values of the last width of time at each position."""
def rolling_min_time(x: Column, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
    """The smallest of the values of the last width of time at each position."""
def rolling_max_time(x: Column, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
    """The largest of the values of the last width of time at each position."""
def rolling_count_time(x: Column, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
    """The number of values present in the last width of time at each position."""
def filter(x: Column, c: Column) -> Sequence:
    """The values of x where c is true."""
def positions(c: Column) -> Sequence:
    """The positions at which c is true."""
def take(x: Column, p: Column) -> Sequence:
    """The values of x at the positions in p."""
def mask(x: Column, c: Column) -> Sequence:
    """The values of x where c is true, missing where it is false."""
def sort(x: Column, order: Any | None = None) -> Sequence:
    """The values in ascending or descending order."""
def argsort(x: Column, order: Any | None = None) -> Sequence:
    """The positions of the values in ascending or descending order."""
def rank(x: Column) -> Sequence:
    """The place of each value in ascending order."""
def reverse(x: Column) -> Sequence:
    """The values from the last to the first."""
def unique(x: Column) -> Sequence:
    """The different values, in ascending order."""
def top(x: Column, n: int) -> Sequence:
    """The n largest values, the largest first."""
def bottom(x: Column, n: int) -> Sequence:
    """The n smallest values, the smallest first."""
def count(x: Column) -> int | None:
    """The number of values that are present."""
def sum(x: Column) -> Any:
    """The sum."""
def prod(x: Column) -> float | None:
    """The product."""
def avg(x: Column) -> float | None:
    """The mean."""
def mean(x: Column) -> float | None:
    """The mean."""
def any(c: Column) -> int | None:
    """1 if some condition is true, else 0."""
def all(c: Column) -> int | None:
    """1 if every condition is true, else 0."""
def var(x: Column) -> float | None:
    """The sample variance."""
def stddev(x: Column) -> float | None:
    """The sample standard deviation."""
def std(x: Column) -> float | None:
    """The sample standard deviation."""
def var_pop(x: Column) -> float | None:
    """The population variance."""
def stddev_pop(x: Column) -> float | None:
    """The population standard deviation."""
def histogram(x: Column, lo: float, hi: float, n: int) -> str | None:
    """How many values lie in each of n buckets of equal width between lo and hi."""
def min(x: Column) -> Any:
    """The smallest value."""
def max(x: Column) -> Any:
    """The largest value."""
def argmin(x: Column) -> int | None:
    """The position of the smallest value."""
def argmax(x: Column) -> int | None:
    """The position of the largest value."""
def first(x: Column, key: Any | None = None) -> Any:
    """The first value that is present."""
def last(x: Column, key: Any | None = None) -> Any:
    """The last value that is present."""
def cov(y: Column, x: Column) -> float | None:
    """The sample covariance."""
def corr(y: Column, x: Column) -> float | None:
    """The correlation (Pearson)."""
def slope(y: Column, x: Column) -> float | None:
    """The slope of the line of least squares through y over x."""
def intercept(y: Column, x: Column) -> float | None:
    """Where the line of least squares through y over x is at x = 0."""
def weighted_avg(x: Column, w: Column) -> float | None:
    """The mean of x, each value counted as often as its weight w says."""
def median(x: Column) -> float | None:
    """The middle value, or the mean of the two in the middle."""
def quantile(x: Column, q: float) -> float | None:
    """The value below which a part q of the values lies."""
def mode(x: Column) -> Any:
    """The most frequent value."""
def count_distinct(x: Column) -> int | None:
    """The number of different values."""
def approx_distinct(x: Column) -> int | None:
    """An estimate of the number of different values."""
def group(k: Column, x: Column) -> bytes | None:
    """The values of x by the keys at the same positions of k."""
def group_rows(value: bytes) -> Iterator[Any]:
    """The groups of a value that group gives, a row each, ordered by key."""
def state(name: Any, *x: Any) -> bytes | None:
    """The running state of an aggregate, as bytes."""
def merge(state: bytes) -> bytes | None:
    """The states of the rows combined."""
def finish(state: bytes) -> Any:
    """The result of the aggregate whose state it is."""
def resample(t: Column, x: Column, width: Any, how: Any, fill: Any | None = None) -> Sequence:
    """A value for each bucket of time."""
def resample_time(t: Column, width: Any, fill: Any | None = None) -> Sequence:
    """The start of each bucket of time."""
def asof(t: Column, u: Column, y: Column, tolerance: Any | None = None, direction: Any | None = None) -> Sequence:
    """For every t the y of the last u that is not after it, or of the next or the nearest."""
def align(t: Column, u: Column, y: Column, v: Scalar | None = None) -> Sequence:
    """y where u is equal to t, else v."""
