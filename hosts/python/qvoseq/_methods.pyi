"""What the catalog attaches; written by tools/python_stubs.py."""

from typing import Any, Iterator

from qvoseq.sequence import Sequence

Scalar = Any  # a number, text, or a time of datetime, NumPy or pandas
Column = Any  # a Sequence, or what makes one: an array, a Series, an Arrow array, a list, stored bytes


class Methods:
    def to_json(self) -> str:
        """The sequence as a JSON array."""
    def length(self) -> int:
        """The number of positions, missing values included."""
    def type(self) -> str:
        """The name of the type."""
    def get(self, i: int) -> Any:
        """The value at a position."""
    def slice(self, start: int, stop: int | None = None) -> Sequence:
        """The positions from start up to, not including, stop."""
    def info(self) -> str:
        """What is known of a stored sequence without reading its values."""
    def join(self, key: Any | None = None) -> Sequence:
        """The sequences of the rows one after the other, ordered by a key."""
    def append(self, y: Column) -> Sequence:
        """x, and y after it."""
    def cast(self, type: Any) -> Sequence:
        """Every value as another type."""
    def compress(self) -> Sequence:
        """The same sequence in fewer bytes, slower to read."""
    def decompress(self) -> Sequence:
        """The sequence without compression."""
    def add(self, y: Column | Scalar) -> Sequence:
        """x + y."""
    def sub(self, y: Column | Scalar) -> Sequence:
        """x - y."""
    def mul(self, y: Column | Scalar) -> Sequence:
        """x · y."""
    def div(self, y: Column | Scalar) -> Sequence:
        """x / y."""
    def floordiv(self, y: Column | Scalar) -> Sequence:
        """x / y rounded down."""
    def mod(self, y: Column | Scalar) -> Sequence:
        """The remainder of x // y."""
    def neg(self) -> Sequence:
        """-x."""
    def abs(self) -> Sequence:
        """The absolute value."""
    def sign(self) -> Sequence:
        """-1, 0 or 1, as x is below, at or above 0."""
    def sqrt(self) -> Sequence:
        """The square root."""
    def exp(self) -> Sequence:
        """e to the power of x."""
    def ln(self) -> Sequence:
        """The natural logarithm."""
    def log10(self) -> Sequence:
        """The decimal logarithm."""
    def pow(self, y: Column | Scalar) -> Sequence:
        """x to the power of y."""
    def round(self, digits: int | None = None) -> Sequence:
        """Rounded to a number of decimal digits, half to even."""
    def floor(self) -> Sequence:
        """The largest whole number not above x."""
    def ceil(self) -> Sequence:
        """The smallest whole number not below x."""
    def least(self, y: Column | Scalar) -> Sequence:
        """The smaller of x and y."""
    def greatest(self, y: Column | Scalar) -> Sequence:
        """The larger of x and y."""
    def clip(self, lo: Column | Scalar, hi: Column | Scalar) -> Sequence:
        """x, but not below lo and not above hi."""
    def is_missing(self) -> Sequence:
        """True where the value is missing."""
    def fill(self, v: Column | Scalar) -> Sequence:
        """x, with v where it is missing."""
    def where(self, x: Column | Scalar, y: Column | Scalar) -> Sequence:
        """x where c is true, else y."""
    def eq(self, y: Column | Scalar) -> Sequence:
        """x = y."""
    def ne(self, y: Column | Scalar) -> Sequence:
        """x ≠ y."""
    def lt(self, y: Column | Scalar) -> Sequence:
        """x < y."""
    def le(self, y: Column | Scalar) -> Sequence:
        """x ≤ y."""
    def gt(self, y: Column | Scalar) -> Sequence:
        """x > y."""
    def ge(self, y: Column | Scalar) -> Sequence:
        """x ≥ y."""
    def between(self, lo: Column | Scalar, hi: Column | Scalar) -> Sequence:
        """lo ≤ x and x ≤ hi."""
    def and_(self, d: Column | Scalar) -> Sequence:
        """True where both are."""
    def or_(self, d: Column | Scalar) -> Sequence:
        """True where one or both are."""
    def xor(self, d: Column | Scalar) -> Sequence:
        """True where exactly one is."""
    def not_(self) -> Sequence:
        """True where c is false."""
    def like(self, pattern: Any) -> Sequence:
        """True where the text matches a pattern."""
    def year(self) -> Sequence:
        """The year."""
    def month(self) -> Sequence:
        """The month, from 1."""
    def day(self) -> Sequence:
        """The day of the month, from 1."""
    def hour(self) -> Sequence:
        """The hour, from 0."""
    def minute(self) -> Sequence:
        """The minute, from 0."""
    def second(self) -> Sequence:
        """The second, from 0, without its fraction."""
    def weekday(self) -> Sequence:
        """The day of the week: Monday is 0."""
    def floor_time(self, width: Any) -> Sequence:
        """The start of the bucket of time that holds t."""
    def diff(self, n: int | None = None) -> Sequence:
        """The difference to the value n positions before."""
    def pct_change(self, n: int | None = None) -> Sequence:
        """The relative change from the value n positions before."""
    def shift(self, n: int, v: Scalar | None = None) -> Sequence:
        """The value n positions before."""
    def cumsum(self) -> Sequence:
        """The sum of all values up to each position."""
    def cumprod(self) -> Sequence:
        """The product of all values up to each position."""
    def cummax(self) -> Sequence:
        """The largest value up to each position."""
    def cummin(self) -> Sequence:
        """The smallest value up to each position."""
    def ffill(self, limit: int | None = None) -> Sequence:
        """Missing values replaced with the last value before them."""
    def bfill(self, limit: int | None = None) -> Sequence:
        """Missing values replaced with the next value after them."""
    def interpolate(self) -> Sequence:
        """Missing values replaced with the straight line between the values around them."""
    def ema(self, span: float) -> Sequence:
        """The exponential moving average of a span."""
    def wilder(self, n: int) -> Sequence:
        """Wilder's moving average over n positions."""
    def atr(self, low: Column, close: Column, n: int) -> Sequence:
        """Wilder's average true range over n positions."""
    def rsi(self, n: int) -> Sequence:
        """Wilder's relative strength index over n positions."""
    def rolling_sum(self, window: int, min_periods: int | None = None) -> Sequence:
        """The sum of the last values at each position."""
    def rolling_mean(self, window: int, min_periods: int | None = None) -> Sequence:
        """The mean of the last values at each position."""
    def rolling_min(self, window: int, min_periods: int | None = None) -> Sequence:
        """The smallest of the last values at each position."""
    def rolling_max(self, window: int, min_periods: int | None = None) -> Sequence:
        """The largest of the last values at each position."""
    def rolling_var(self, window: int, min_periods: int | None = None) -> Sequence:
        """The sample variance of the last values at each position."""
    def rolling_std(self, window: int, min_periods: int | None = None) -> Sequence:
        """The sample standard deviation of the last values at each position."""
    def rolling_count(self, window: int, min_periods: int | None = None) -> Sequence:
        """The number of values present among the last ones at each position."""
    def rolling_median(self, window: int, min_periods: int | None = None) -> Sequence:
        """The median of the last values at each position."""
    def rolling_sum_time(self, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
        """The sum of the values of the last width of time at each position."""
    def rolling_mean_time(self, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
        """The mean of the values of the last width of time at each position."""
    def rolling_min_time(self, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
        """The smallest of the values of the last width of time at each position."""
    def rolling_max_time(self, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
        """The largest of the values of the last width of time at each position."""
    def rolling_count_time(self, t: Column, width: Any, min_periods: int | None = None) -> Sequence:
        """The number of values present in the last width of time at each position."""
    def filter(self, c: Column) -> Sequence:
        """The values of x where c is true."""
    def positions(self) -> Sequence:
        """The positions at which c is true."""
    def take(self, p: Column) -> Sequence:
        """The values of x at the positions in p."""
    def mask(self, c: Column) -> Sequence:
        """The values of x where c is true, missing where it is false."""
    def sort(self, order: Any | None = None) -> Sequence:
        """The values in ascending or descending order."""
    def argsort(self, order: Any | None = None) -> Sequence:
        """The positions of the values in ascending or descending order."""
    def rank(self) -> Sequence:
        """The place of each value in ascending order."""
    def reverse(self) -> Sequence:
        """The values from the last to the first."""
    def unique(self) -> Sequence:
        """The different values, in ascending order."""
    def top(self, n: int) -> Sequence:
        """The n largest values, the largest first."""
    def bottom(self, n: int) -> Sequence:
        """The n smallest values, the smallest first."""
    def count(self) -> int | None:
        """The number of values that are present."""
    def sum(self) -> Any:
        """The sum."""
    def prod(self) -> float | None:
        """The product."""
    def avg(self) -> float | None:
        """The mean."""
    def mean(self) -> float | None:
        """The mean."""
    def any(self) -> int | None:
        """1 if some condition is true, else 0."""
    def all(self) -> int | None:
        """1 if every condition is true, else 0."""
    def var(self) -> float | None:
        """The sample variance."""
    def stddev(self) -> float | None:
        """The sample standard deviation."""
    def std(self) -> float | None:
        """The sample standard deviation."""
    def var_pop(self) -> float | None:
        """The population variance."""
    def stddev_pop(self) -> float | None:
        """The population standard deviation."""
    def histogram(self, lo: float, hi: float, n: int) -> str | None:
        """How many values lie in each of n buckets of equal width between lo and hi."""
    def min(self) -> Any:
        """The smallest value."""
    def max(self) -> Any:
        """The largest value."""
    def argmin(self) -> int | None:
        """The position of the smallest value."""
    def argmax(self) -> int | None:
        """The position of the largest value."""
    def first(self, key: Any | None = None) -> Any:
        """The first value that is present."""
    def last(self, key: Any | None = None) -> Any:
        """The last value that is present."""
    def cov(self, x: Column) -> float | None:
        """The sample covariance."""
    def corr(self, x: Column) -> float | None:
        """The correlation (Pearson)."""
    def slope(self, x: Column) -> float | None:
        """The slope of the line of least squares through y over x."""
    def intercept(self, x: Column) -> float | None:
        """Where the line of least squares through y over x is at x = 0."""
    def weighted_avg(self, w: Column) -> float | None:
        """The mean of x, each value counted as often as its weight w says."""
    def median(self) -> float | None:
        """The middle value, or the mean of the two in the middle."""
    def quantile(self, q: float) -> float | None:
        """The value below which a part q of the values lies."""
    def mode(self) -> Any:
        """The most frequent value."""
    def count_distinct(self) -> int | None:
        """The number of different values."""
    def approx_distinct(self) -> int | None:
        """An estimate of the number of different values."""
    def group(self, x: Column) -> bytes | None:
        """The values of x by the keys at the same positions of k."""
    def resample(self, x: Column, width: Any, how: Any, fill: Any | None = None) -> Sequence:
        """A value for each bucket of time."""
    def resample_time(self, width: Any, fill: Any | None = None) -> Sequence:
        """The start of each bucket of time."""
    def asof(self, u: Column, y: Column, tolerance: Any | None = None, direction: Any | None = None) -> Sequence:
        """For every t the y of the last u that is not after it, or of the next or the nearest."""
    def align(self, u: Column, y: Column, v: Scalar | None = None) -> Sequence:
        """y where u is equal to t, else v."""
    def __add__(self, other: Column | Scalar) -> Sequence: ...
    def __radd__(self, other: Column | Scalar) -> Sequence: ...
    def __sub__(self, other: Column | Scalar) -> Sequence: ...
    def __rsub__(self, other: Column | Scalar) -> Sequence: ...
    def __mul__(self, other: Column | Scalar) -> Sequence: ...
    def __rmul__(self, other: Column | Scalar) -> Sequence: ...
    def __truediv__(self, other: Column | Scalar) -> Sequence: ...
    def __rtruediv__(self, other: Column | Scalar) -> Sequence: ...
    def __floordiv__(self, other: Column | Scalar) -> Sequence: ...
    def __rfloordiv__(self, other: Column | Scalar) -> Sequence: ...
    def __mod__(self, other: Column | Scalar) -> Sequence: ...
    def __rmod__(self, other: Column | Scalar) -> Sequence: ...
    def __neg__(self) -> Sequence: ...
    def __pow__(self, other: Column | Scalar) -> Sequence: ...
    def __rpow__(self, other: Column | Scalar) -> Sequence: ...
    def __eq__(self, other: Column | Scalar) -> Sequence: ...  # type: ignore[override]
    def __ne__(self, other: Column | Scalar) -> Sequence: ...  # type: ignore[override]
    def __lt__(self, other: Column | Scalar) -> Sequence: ...
    def __le__(self, other: Column | Scalar) -> Sequence: ...
    def __gt__(self, other: Column | Scalar) -> Sequence: ...
    def __ge__(self, other: Column | Scalar) -> Sequence: ...
    def __and__(self, other: Column | Scalar) -> Sequence: ...
    def __rand__(self, other: Column | Scalar) -> Sequence: ...
    def __or__(self, other: Column | Scalar) -> Sequence: ...
    def __ror__(self, other: Column | Scalar) -> Sequence: ...
    def __xor__(self, other: Column | Scalar) -> Sequence: ...
    def __rxor__(self, other: Column | Scalar) -> Sequence: ...
    def __invert__(self) -> Sequence: ...
